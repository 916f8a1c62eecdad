/// @file
/// The walk through deflate streams: hand-made defects, and zlib as the judge where it is at hand.
#include "utilities/compression/DeflateCheck.h"

#include <gtest/gtest.h>

#include "support/DeflateBits.h"

#ifndef _WIN32
#include <zlib.h>

#include <random>
#endif

namespace vlm {
namespace {

using test::DeflateBits;
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

DeflateBits Fixed() {
    return DeflateBits().Block(true, 1);
}

/// A dynamic head whose code-length code has two codes of one bit: "0" is length 1, "1" is a run of 11 zeros and more.
DeflateBits OneBitLengths(unsigned cLiterals, unsigned cDistances) {
    return DeflateBits().Block(true, 2).Dynamic(cLiterals, cDistances,
                                                {0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
}

struct Case {
    const char* pszWhat;
    DeflateBits bits;
    std::size_t cExpected;
    std::size_t cHistory;
    DeflateDefect eDefect;
};

TEST(DeflateCheck, JudgesHandMadeStreams) {
    const auto Eob = [](DeflateBits bits) { return bits.Fixed(256); };
    const Case CASES[] = {
        {"an empty fixed block", Eob(Fixed()), 0, 0, DeflateDefect::None},
        {"literals", Eob(Fixed().Fixed('a').Fixed(200)), 2, 0, DeflateDefect::None},
        {"fewer bytes than announced", Eob(Fixed().Fixed('a')), 2, 0, DeflateDefect::TooLittleData},
        {"more bytes than announced", Eob(Fixed().Fixed('a').Fixed('b')), 1, 0, DeflateDefect::TooMuchData},
        {"a match that is too long", Eob(Fixed().Fixed('a').FixedMatch(285, 0, 0, 0, 0, 0)), 258, 0,
         DeflateDefect::TooMuchData},
        {"the longest match", Eob(Fixed().Fixed('a').FixedMatch(285, 0, 0, 0, 0, 0)), 259, 0, DeflateDefect::None},
        {"the longest match with extra bits", Eob(Fixed().Fixed('a').FixedMatch(284, 31, 5, 0, 0, 0)), 259, 0,
         DeflateDefect::None},
        {"a match before the first byte", Eob(Fixed().FixedMatch(257, 0, 0, 0, 0, 0)), 3, 0,
         DeflateDefect::DistanceTooFar},
        {"a match one byte too far", Eob(Fixed().Fixed('a').FixedMatch(257, 0, 0, 1, 0, 0)), 4, 0,
         DeflateDefect::DistanceTooFar},
        {"a match into the history", Eob(Fixed().FixedMatch(257, 0, 0, 29, 8191, 13)), 3, 32768, DeflateDefect::None},
        {"a match beyond the history", Eob(Fixed().FixedMatch(257, 0, 0, 29, 8191, 13)), 3, 32767,
         DeflateDefect::DistanceTooFar},
        {"length symbol 286", Eob(Fixed().Fixed(286)), 3, 0, DeflateDefect::Symbol},
        {"length symbol 287", Eob(Fixed().Fixed(287)), 3, 0, DeflateDefect::Symbol},
        {"distance symbol 30", Eob(Fixed().Fixed('a').FixedMatch(257, 0, 0, 30, 0, 0)), 4, 0, DeflateDefect::Symbol},
        {"block type 3", DeflateBits().Block(true, 3), 0, 0, DeflateDefect::BlockType},
        {"an empty stored block", DeflateBits().Stored(true, {}), 0, 0, DeflateDefect::None},
        {"a stored block", DeflateBits().Stored(true, {1, 2, 3}), 3, 0, DeflateDefect::None},
        {"a stored block that is too long", DeflateBits().Stored(true, {1, 2, 3}), 2, 0, DeflateDefect::TooMuchData},
        {"stored lengths that disagree", DeflateBits().Block(true, 0).Align().Number(1, 16).Number(1, 16).Number(0, 8),
         1, 0, DeflateDefect::StoredLength},
        {"a stored block that leaves the stream", DeflateBits().Block(true, 0).Align().Number(2, 16).Number(0xFFFD, 16),
         2, 0, DeflateDefect::Truncated},
        {"blocks of all kinds",
         DeflateBits()
             .Stored(false, {1, 2})
             .Block(false, 1)
             .Fixed('x')
             .Fixed(256)
             .Stored(false, {})
             .Block(true, 1)
             .Fixed(256),
         3, 0, DeflateDefect::None},
        {"no final block", DeflateBits().Stored(false, {1}), 1, 0, DeflateDefect::Truncated},
        {"287 literal/length codes", DeflateBits().Block(true, 2).Dynamic(287, 1, {1, 1, 0, 0}), 0, 0,
         DeflateDefect::CodeCounts},
        {"31 distance codes", DeflateBits().Block(true, 2).Dynamic(257, 31, {1, 1, 0, 0}), 0, 0,
         DeflateDefect::CodeCounts},
        {"no code-length code", DeflateBits().Block(true, 2).Dynamic(257, 1, {0, 0, 0, 0}).Number(0, 30), 0, 0,
         DeflateDefect::CodeLengths},
        {"an over-subscribed code-length code",
         DeflateBits().Block(true, 2).Dynamic(257, 1, {1, 1, 1, 0}).Number(0, 30), 0, 0, DeflateDefect::CodeLengths},
        {"an incomplete code-length code", DeflateBits().Block(true, 2).Dynamic(257, 1, {2, 2, 2, 0}).Number(0, 30), 0,
         0, DeflateDefect::CodeLengths},
        {"a repeat with nothing before it",
         DeflateBits().Block(true, 2).Dynamic(257, 1, {1, 0, 1, 0}).Code("0").Number(0, 40), 0, 0,
         DeflateDefect::CodeLengths},
        // 138 + 138 zeros are more than 257 + 1 lengths.
        {"more lengths than announced",
         OneBitLengths(257, 1).Code("1").Number(127, 7).Code("1").Number(127, 7).Number(0, 40), 0, 0,
         DeflateDefect::CodeLengths},
        // 255 zeros, one bit for symbol 255, and zeros from 256 on.
        {"no code to end the block",
         OneBitLengths(267, 1)
             .Code("1")
             .Number(127, 7)
             .Code("1")
             .Number(106, 7)
             .Code("0")
             .Code("1")
             .Number(0, 7)
             .Code("0")
             .Number(0, 40),
         0, 0, DeflateDefect::NoEndOfBlock},
        // Only symbol 256 has a code, of one bit; no distance has one.
        {"nothing but an end, in one bit",
         OneBitLengths(257, 1).Code("1").Number(127, 7).Code("1").Number(107, 7).Code("00").Code("0"), 0, 0,
         DeflateDefect::None},
        // The unused half of that code.
        {"a bit that stands for nothing",
         OneBitLengths(257, 1).Code("1").Number(127, 7).Code("1").Number(107, 7).Code("00").Code("1").Number(0, 40), 0,
         0, DeflateDefect::Symbol},
        // Three literal codes of one bit.
        {"an over-subscribed literal code",
         OneBitLengths(257, 1).Code("000").Code("1").Number(127, 7).Code("1").Number(104, 7).Code("00").Number(0, 40),
         0, 0, DeflateDefect::LiteralCode},
        // Literals 'a' and end in one bit each; three distances of one bit.
        {"an over-subscribed distance code",
         OneBitLengths(257, 3).Code("0").Code("1").Number(127, 7).Code("1").Number(106, 7).Code("0").Code("000").Number(
             0, 40),
         0, 0, DeflateDefect::DistanceCode},
    };
    for (const Case& rCase : CASES) {
        const Bytes stream = rCase.bits.Bytes();
        const Outcome outcome = CheckStream(stream, rCase.cExpected, rCase.cHistory);
        EXPECT_EQ(static_cast<int>(rCase.eDefect), static_cast<int>(outcome.eDefect)) << rCase.pszWhat;
        EXPECT_LE(outcome.cConsumed, stream.size()) << rCase.pszWhat;
        if (outcome.eDefect != DeflateDefect::None) continue;
        EXPECT_EQ(stream.size(), outcome.cConsumed) << rCase.pszWhat;
        for (std::size_t c = 0; c < stream.size(); ++c) {
            const Bytes cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(c));
            EXPECT_NE(DeflateDefect::None, CheckStream(cut, rCase.cExpected, rCase.cHistory).eDefect)
                << rCase.pszWhat << " cut to " << c;
        }
    }
}

TEST(DeflateCheck, LeavesWhatFollowsTheFinalBlockAlone) {
    Bytes stream = DeflateBits().Block(true, 1).Fixed('a').Fixed(256).Bytes();
    const std::size_t cStream = stream.size();
    stream.insert(stream.end(), 300, 0xFF);
    const Outcome outcome = CheckStream(stream, 1);
    EXPECT_EQ(DeflateDefect::None, outcome.eDefect);
    EXPECT_EQ(cStream, outcome.cConsumed);
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
        const unsigned uKind = Below(4);
        for (std::size_t u = 0; u < data.size(); ++u) {
            data[u] = static_cast<BYTE>(uKind == 0   ? random()
                                        : uKind == 1 ? 'a' + Below(8)
                                        : uKind == 2 ? u % 7
                                        : Below(3)   ? 'x'
                                                     : random());
        }
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
