/// @file
/// The walk through deflate streams: hand-made defects, and zlib as the judge where it is at hand.
#include "utilities/compression/DeflateCheck.h"

#include <gtest/gtest.h>

#include "support/Bytes.h"

#ifndef _WIN32
#include <zlib.h>

#include <random>
#endif

namespace vlm {
namespace {

using Bytes = std::vector<BYTE>;

struct Outcome {
    DeflateDefect eDefect;
    std::size_t cConsumed;
};

Outcome CheckStream(const Bytes& rStream, std::size_t cExpected, std::size_t cHistory = 0) {
    static DeflateChecker oChecker;  // one object for all: nothing of a stream may leak into the next
    std::size_t cConsumed = 0;
    const Bytes exact(rStream);  // so that the sanitizer sees a read behind the end
    const DeflateDefect eDefect = oChecker.Check(exact.data(), exact.size(), cHistory, cExpected, cConsumed);
    return {eDefect, cConsumed};
}

// The streams are written by the rules of RFC 1951.
TEST(DeflateCheck, JudgesHandMadeStreams) {
    using Defect = DeflateDefect;
    const struct {
        const char* pszWhat;
        const char* pszStream;
        std::size_t cExpected, cHistory;
        Defect eDefect;
    } aoCases[] = {
        {"literals", "4B3C0100", 2, 0, Defect::None},
        {"fewer bytes than announced", "4B0400", 2, 0, Defect::TooLittleData},
        {"more bytes than announced", "4B4C0200", 1, 0, Defect::TooMuchData},
        {"the longest match", "4B1C0500", 259, 0, Defect::None},
        {"a match before the first byte", "030200", 3, 0, Defect::DistanceTooFar},
        {"a match one byte too far", "4B044200", 4, 0, Defect::DistanceTooFar},
        {"a match into the history", "03DEFF0F00", 3, 32768, Defect::None},
        {"a match beyond the history", "03DEFF0F00", 3, 32767, Defect::DistanceTooFar},
        {"length symbol 286", "1B0300", 3, 0, Defect::Symbol},
        {"distance symbol 30", "4B043E00", 4, 0, Defect::Symbol},
        {"block type 3", "07", 0, 0, Defect::BlockType},
        {"a stored block", "010300FCFF010203", 3, 0, Defect::None},
        {"a stored block that is too long", "010300FCFF010203", 2, 0, Defect::TooMuchData},
        {"stored lengths that disagree", "010100010000", 1, 0, Defect::StoredLength},
        {"a stored block that leaves the stream", "010200FDFF", 2, 0, Defect::Truncated},
        {"blocks of all kinds", "000200FDFF0102AA00000000FFFF0300", 3, 0, Defect::None},
        {"no final block", "000100FEFF01", 1, 0, Defect::Truncated},
        {"287 literal/length codes", "F5001200", 0, 0, Defect::CodeCounts},
        {"31 distance codes", "051E1200", 0, 0, Defect::CodeCounts},
        {"an over-subscribed code-length code", "0500920000000000", 0, 0, Defect::CodeLengths},
        {"an incomplete code-length code", "0500240100000000", 0, 0, Defect::CodeLengths},
        {"a repeat with nothing before it", "050082000000000000", 0, 0, Defect::CodeLengths},
        {"more lengths than announced", "05C081000000000090FF7F0000000000", 0, 0, Defect::CodeLengths},
        {"no code to end the block", "55C081000000000090FF6A01000000000000", 0, 0, Defect::NoEndOfBlock},
        {"nothing but an end, in one bit", "05C081000000000090FF6B00", 0, 0, Defect::None},
        {"a bit that stands for nothing", "05C081000000000090FF6B020000000000", 0, 0, Defect::Symbol},
        {"an over-subscribed literal code", "05C081000000000010FC47030000000000", 0, 0, Defect::LiteralCode},
        {"an over-subscribed distance code", "05C281000000000010FFD5000000000000", 0, 0, Defect::DistanceCode},
    };
    for (const auto& rCase : aoCases) {
        SCOPED_TRACE(rCase.pszWhat);
        const Bytes stream = test::FromHex(rCase.pszStream);
        const Outcome outcome = CheckStream(stream, rCase.cExpected, rCase.cHistory);
        EXPECT_EQ(static_cast<int>(rCase.eDefect), static_cast<int>(outcome.eDefect));
        EXPECT_LE(outcome.cConsumed, stream.size());
        if (outcome.eDefect != Defect::None) continue;
        EXPECT_EQ(stream.size(), outcome.cConsumed);
        for (std::size_t c = 0; c < stream.size(); ++c) {
            const Bytes cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(c));
            EXPECT_NE(Defect::None, CheckStream(cut, rCase.cExpected, rCase.cHistory).eDefect) << c;
        }
    }
}

#ifndef _WIN32

/// What zlib makes of a stream.
bool Inflate(const Bytes& rStream, const Bytes& rHistory, std::size_t& rcOut, std::size_t& rcConsumed) {
    static Bytes out(65536);
    z_stream oEngine{};
    inflateInit2(&oEngine, -15);
    if (!rHistory.empty()) inflateSetDictionary(&oEngine, rHistory.data(), static_cast<uInt>(rHistory.size()));
    oEngine.next_in = const_cast<Bytef*>(rStream.data());
    oEngine.avail_in = static_cast<uInt>(rStream.size());
    oEngine.next_out = out.data();
    oEngine.avail_out = static_cast<uInt>(out.size());
    const int iResult = inflate(&oEngine, Z_FINISH);
    rcOut = oEngine.total_out;
    rcConsumed = oEngine.total_in;
    inflateEnd(&oEngine);
    return iResult == Z_STREAM_END;
}

Bytes Deflate(const Bytes& rData, int iLevel, int iStrategy, int iMemory) {
    z_stream oEngine{};
    deflateInit2(&oEngine, iLevel, Z_DEFLATED, -15, iMemory, iStrategy);
    Bytes out(deflateBound(&oEngine, rData.size()) + 64);
    oEngine.next_in = const_cast<Bytef*>(rData.data());
    oEngine.avail_in = static_cast<uInt>(rData.size());
    oEngine.next_out = out.data();
    oEngine.avail_out = static_cast<uInt>(out.size());
    deflate(&oEngine, Z_FINISH);
    out.resize(oEngine.total_out);
    deflateEnd(&oEngine);
    return out;
}

// An independent decoder accepts exactly what the check accepts, and takes as many bytes.
TEST(DeflateCheck, AgreesWithAnIndependentDecoder) {
    std::mt19937 random(20260701);
    const auto Below = [&](unsigned uLimit) { return static_cast<unsigned>(random() % uLimit); };
    int cAccepted = 0;
    int cRefused = 0;
    for (int i = 0; i < 8000; ++i) {
        Bytes data(i % 50 == 0 ? Below(32768) : Below(600));
        const unsigned cLetters = i % 3 == 0 ? 256 : 1 + Below(8);
        for (BYTE& rby : data)
            rby = static_cast<BYTE>(Below(cLetters));
        Bytes stream =
            Deflate(data, static_cast<int>(Below(10)), static_cast<int>(Below(5)), 1 + static_cast<int>(Below(9)));
        const Bytes history(Below(2) ? 0 : Below(32769), 'h');
        for (unsigned c = Below(4); c > 0 && !stream.empty(); --c) {
            if (Below(8) == 0) {
                stream.resize(Below(static_cast<unsigned>(stream.size())));
            } else {
                const std::size_t cSpan = Below(2) ? stream.size() : std::min<std::size_t>(stream.size(), 20);
                BYTE& rby = stream[Below(static_cast<unsigned>(cSpan))];
                rby = static_cast<BYTE>(rby ^ (1U << Below(8)));
            }
        }
        std::size_t cOut = 0;
        std::size_t cConsumed = 0;
        const bool fInflates = Inflate(stream, history, cOut, cConsumed);
        const Outcome outcome = CheckStream(stream, fInflates ? cOut : data.size(), history.size());
        ASSERT_EQ(fInflates, outcome.eDefect == DeflateDefect::None) << "input " << i;
        ASSERT_EQ(fInflates ? cConsumed : outcome.cConsumed, outcome.cConsumed) << "input " << i;
        ++(fInflates ? cAccepted : cRefused);
    }
    EXPECT_GT(cAccepted, 2000);
    EXPECT_GT(cRefused, 2000);
}

#endif

}  // namespace
}  // namespace vlm
