/// @file
/// Compressed buffers: footers byte by byte, round trips, old states, hostile states.
#include "utilities/compression/CabCompressedBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "formats/Buffers.h"
#include "support/CabinetImages.h"
#include "support/DeflateBits.h"
#include "support/RecordingSink.h"
#include "utilities/compression/CabinetImage.h"
#include "utilities/compression/ZlibAsCabinet.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

using Bytes = std::vector<BYTE>;

ByteBuffer Joined(const ByteBuffer& rbbLeft, const ByteBuffer& rbbRight) {
    ByteBuffer bb(rbbLeft);
    return bb.append(rbbRight);
}

enum class Kind { Zeros, Text, Noise };

ByteBuffer Sample(std::size_t cBytes, Kind eKind) {
    static constexpr char WORDS[] = "the quick brown fox jumps over the lazy dog. ";
    Bytes bytes(cBytes);
    std::uint32_t uState = 12345;
    for (std::size_t u = 0; u < cBytes && eKind != Kind::Zeros; ++u) {
        uState = uState * 1664525 + 1013904223;
        bytes[u] = eKind == Kind::Text ? static_cast<BYTE>(WORDS[(u + (uState >> 30)) % (sizeof WORDS - 1)])
                                       : static_cast<BYTE>(uState >> 24);
    }
    return ByteBuffer(std::move(bytes));
}

/// A zlib stream of one stored deflate block; nobody looks at the check value behind it.
ByteBuffer StoredZlib(const ByteBuffer& rbbOriginal) {
    Bytes stream = DeflateBits().Stored(true, rbbOriginal.GetVector()).Bytes();
    stream.insert(stream.begin(), {0x78, 0x01});
    stream.resize(stream.size() + 4);
    return ByteBuffer(std::move(stream));
}

ByteBuffer BigEndian(std::uint32_t uValue) {
    return ByteBuffer(Bytes{static_cast<BYTE>(uValue >> 24), static_cast<BYTE>(uValue >> 16),
                            static_cast<BYTE>(uValue >> 8), static_cast<BYTE>(uValue)});
}
ByteBuffer FooterV37(std::uint32_t uSize) {
    return Joined(BigEndian(uSize), TextBuffer("COMP"));
}
ByteBuffer FooterV40(std::uint32_t uLevel, std::uint32_t uSize) {
    return Joined(BigEndian(uLevel), Joined(BigEndian(uSize), TextBuffer("COM4")));
}
ByteBuffer FooterV50(BYTE byFormat, std::uint32_t uLevel, std::uint32_t uSize) {
    const ByteBuffer bbSize = Joined(BigEndian(uSize), TextBuffer("COM5"));
    return Joined(ByteBuffer(Bytes{byFormat}), Joined(BigEndian(uLevel), bbSize));
}
constexpr std::uint32_t DEFAULT_LEVEL = 0xFFFFFFFF;

bool EndsIn(const ByteBuffer& rbb, const ByteBuffer& rbbEnd) {
    return rbb.size() >= rbbEnd.size() && std::equal(rbbEnd.begin(), rbbEnd.end(), rbb.end() - rbbEnd.GetLength());
}

ByteBuffer OriginalOf(const CompressedBuffer& rBuffer) {
    ByteBuffer bb;
    rBuffer.GetOriginalData(bb);
    return bb;
}

auto Open(const ByteBuffer& rbbState) {
    return CabCompressedBuffer::CreateWithBufferState(rbbState);
}

/// The class of what a call throws, "" when it throws nothing.
template <typename Call>
std::string Thrown(const Call& rCall) {
    try {
        rCall();
    } catch (const ExceptionMissingOrBadCompressedBufferFooter&) {
        return "footer";
    } catch (const ExceptionIncompatibleCompressionFormat&) {
        return "format";
    } catch (const ExceptionCompression&) {
        return "compression";
    }
    return "";
}

TEST(CabCompressedBuffer, AnEmptyBufferIsAFooter) {
    CabCompressedBuffer buffer;
    const ByteBuffer bbFooter = FooterV50(2, DEFAULT_LEVEL, 0);
    EXPECT_EQ(bbFooter, buffer.GetCompressedBufferState());
    buffer.Store(Sample(100, Kind::Text));
    buffer.Store(nullptr, 0);
    EXPECT_EQ(bbFooter, buffer.GetCompressedBufferState());
    EXPECT_EQ(13U, buffer.GetCompressedBufferStateDword());
    ByteBuffer bbOriginal = TextBuffer("former"), bbCompressed = bbOriginal;
    buffer.GetOriginalData(bbOriginal);
    buffer.GetCompressedData(bbCompressed);
    EXPECT_TRUE(bbOriginal.empty() && bbCompressed.empty());
    // An image may hold an empty member, too.
    ByteBuffer bbImage;
    CabCompressedBuffer::CompressBuffer(nullptr, 0, bbImage, -1);
    bbOriginal = TextBuffer("former");
    CabCompressedBuffer::UncompressBuffer(bbImage, bbOriginal);
    EXPECT_TRUE(bbOriginal.empty());
    EXPECT_EQ(13U, CabCompressedBuffer::CreateWithCompressedData(bbImage)->GetCompressedBufferStateSize());
}

TEST(CabCompressedBuffer, RestoresWhatItStored) {
    for (const std::size_t cBytes : {1, 32767, 32768, 32769, 65536, 1048577}) {
        for (const Kind eKind : {Kind::Zeros, Kind::Text, Kind::Noise}) {
            const ByteBuffer bbOriginal = Sample(cBytes, eKind);
            CabCompressedBuffer buffer;
            buffer.Store(bbOriginal);
            ByteBuffer bbState = buffer.GetCompressedBufferState(), bbImage;
            ASSERT_TRUE(EndsIn(bbState, FooterV50(2, DEFAULT_LEVEL, static_cast<std::uint32_t>(cBytes))));
            EXPECT_LT(bbState.size(),
                      eKind == Kind::Noise ? cBytes + 93 + 23 * (cBytes / 32768 + 1) : cBytes / 2 + 200);
            EXPECT_EQ(bbOriginal, OriginalOf(buffer));
            buffer.GetCompressedData(bbImage);
            EXPECT_EQ(bbOriginal, OriginalOf(*CabCompressedBuffer::CreateWithCompressedData(bbImage)));
            ASSERT_TRUE(CabCompressedBuffer::TryToUncompressStateData(bbState));
            EXPECT_EQ(bbOriginal, bbState);
        }
    }
}

TEST(CabCompressedBuffer, EveryLevelIsStoredAndCopied) {
    const ByteBuffer bbOriginal = Sample(5000, Kind::Text);
    for (const LONG lLevel : {-1, 0, 1, 9, 10, -2, 0x7FFFFFFF}) {
        const auto apoBuffer = CabCompressedBuffer::CreateWithUncompressedData(bbOriginal, lLevel);
        EXPECT_TRUE(
            EndsIn(apoBuffer->GetCompressedBufferState(), FooterV50(2, static_cast<std::uint32_t>(lLevel), 5000)));
        const std::unique_ptr<CompressedBuffer> apoClone = apoBuffer->Clone();
        CabCompressedBuffer assigned;
        assigned = *apoBuffer;
        apoBuffer->Store(nullptr, 0);
        for (const CompressedBuffer* pCopy : {apoClone.get(), static_cast<CompressedBuffer*>(&assigned)}) {
            EXPECT_EQ(bbOriginal, OriginalOf(*pCopy));
            EXPECT_EQ(lLevel, Open(pCopy->GetCompressedBufferState())->GetCompressionLevel());
        }
    }
}

TEST(CabCompressedBuffer, ReadsOldFootersAndRewritesThem) {
    const ByteBuffer bbOriginal = Sample(32767, Kind::Text), bbZlib = StoredZlib(bbOriginal);
    const struct {
        ByteBuffer bbFooter;
        LONG lLevel;
    } aoRows[] = {{FooterV40(9, 32767), 9}, {FooterV37(32767), -1}, {FooterV50(1, 7, 32767), 7}};
    for (const auto& rRow : aoRows) {
        const auto apoBuffer = Open(Joined(bbZlib, rRow.bbFooter));
        EXPECT_EQ(bbOriginal, OriginalOf(*apoBuffer));
        const ByteBuffer bbState = apoBuffer->GetCompressedBufferState();
        EXPECT_TRUE(EndsIn(bbState, FooterV50(2, static_cast<std::uint32_t>(rRow.lLevel), 32767)));
        EXPECT_EQ("MSCF", TextOf(bbState).substr(0, 4));
    }
    // Size 0 is an empty buffer, whatever stands before the footer.
    EXPECT_EQ(FooterV50(2, 5, 0), Open(Joined(bbZlib, FooterV40(5, 0)))->GetCompressedBufferState());
}

TEST(CabCompressedBuffer, RefusesStatesThatAreNone) {
    const ByteBuffer bbSeven = StoredZlib(ByteBuffer(Bytes{7}));
    struct Bad {
        ByteBuffer bbState;
        const char* pszThrown;
    };
    std::vector<Bad> vBad{{BufferOf("02 00000000 00000000 434F4D36"), "footer"},
                          {TextBuffer("plain text, longer than any footer"), "footer"},
                          {Joined(FooterV50(2, 0, 0), TextBuffer("x")), "footer"},
                          {FooterV50(3, 0, 1), "format"},
                          {FooterV50(0, 0, 1), "format"},
                          {FooterV50(255, 0, 1), "format"},
                          {FooterV50(1, 0, 1), "format"},  // zlib without data
                          {Joined(BufferOf("78"), FooterV37(1)), "format"},
                          {Joined(BufferOf("7801"), FooterV37(1)), "format"},
                          {Joined(bbSeven, FooterV40(0, 2)), "format"},
                          {Joined(StoredZlib(Sample(32768, Kind::Noise)), FooterV37(32768)), "format"},
                          {Joined(bbSeven, FooterV40(0, 0xFFFFFFFF)), "format"}};
    for (std::size_t c = 0; c < 8; ++c)
        vBad.push_back({ByteBuffer(Bytes(c, 'P')), "footer"});
    for (const ByteBuffer& rbb : {FooterV50(2, 0, 0), FooterV40(0, 0), FooterV37(0)})
        vBad.push_back({ByteBuffer(rbb.data() + 1, rbb.size() - 1), "footer"});
    for (const Bad& rBad : vBad) {
        EXPECT_EQ(rBad.pszThrown, Thrown([&] { Open(rBad.bbState); })) << rBad.bbState.size();
        ByteBuffer bb = rBad.bbState;
        EXPECT_FALSE(CabCompressedBuffer::TryToUncompressStateData(bb));
        EXPECT_EQ(rBad.bbState, bb);
    }
}

TEST(CabCompressedBuffer, WrapsZlibDataFieldByField) {
    ByteBuffer bb, bbOriginal;
    MakeZlibDataLookLikeCabinetData(BufferOf("789C 4B0400 00620062"), 1, bb);
    EXPECT_EQ(HexOf(bb),
              "4D534346000000006400000000000000"
              "2C000000000000000301010001000000"
              "0000000053000000010001000100000000000000"
              "00006C22BA5900002F2F556E636F6D707265737365642D446174612F2F0000"
              "0000000009000100434B4B040000620062");
    CabCompressedBuffer::UncompressBuffer(bb, bbOriginal);
    EXPECT_EQ("a", TextOf(bbOriginal));
    const struct {
        std::size_t cZlib;
        DWORD dwOriginal;
        bool fTaken;
    } aoLimits[] = {{1, 1, false},     {2, 0, true},      {65535, 65535, true},
                    {65536, 1, false}, {2, 65536, false}, {2, 0xFFFFFFFF, false}};
    for (const auto& r : aoLimits) {
        ByteBuffer bbOut = TextBuffer("former");
        const ByteBuffer bbZlib{Bytes(r.cZlib)};
        EXPECT_EQ(r.fTaken ? "" : "compression",
                  Thrown([&] { MakeZlibDataLookLikeCabinetData(bbZlib, r.dwOriginal, bbOut); }))
            << r.cZlib << ' ' << r.dwOriginal;
        EXPECT_EQ(r.fTaken, TextOf(bbOut) != "former");
    }
}

/// A state whose footer says another size than its image holds.
ByteBuffer StateWithClaim(const ByteBuffer& rbbOriginal, std::uint32_t uClaim) {
    ByteBuffer bbState = TextBuffer("x");
    CabCompressedBuffer::CompressBuffer(rbbOriginal.data(), rbbOriginal.GetLength(), bbState, -1);
    EXPECT_EQ('x', bbState[0]) << "the image is appended";
    return Joined(ByteBuffer(bbState.data() + 1, bbState.size() - 1), FooterV50(2, DEFAULT_LEVEL, uClaim));
}

TEST(CabCompressedBuffer, GivesOneByteMoreThanTheFooterSaysAtMost) {
    const ByteBuffer bbOriginal = Sample(100000, Kind::Text);
    for (const std::uint32_t uClaim : {99999u, 10u, 32768u, 100001u}) {
        ByteBuffer bbState = StateWithClaim(bbOriginal, uClaim);
        EXPECT_EQ(ByteBuffer(bbOriginal.data(), std::min(uClaim + 1, 100000u)), OriginalOf(*Open(bbState)));
        EXPECT_FALSE(CabCompressedBuffer::TryToUncompressStateData(bbState));
    }
}

TEST(CabCompressedBuffer, RefusesClaimsAboveTheBoundsBeforeDecompressing) {
    const ByteBuffer bbZeros{Bytes(3000000)};
    const auto Refused = [&](const ByteBuffer& rbbState, DWORD dwMaximum) {
        const auto apoBuffer = Open(rbbState);
        apoBuffer->SetMaximumOriginalDataSize(dwMaximum);
        return Thrown([&] { OriginalOf(*apoBuffer); });
    };
    const ByteBuffer bbState = StateWithClaim(bbZeros, 3000000);
    EXPECT_EQ("", Refused(bbState, 3000000));
    EXPECT_EQ("compression", Refused(bbState, 2999999));
    // No stream of this length can stand for so much.
    EXPECT_EQ("compression", Refused(StateWithClaim(bbZeros, 0xFFFFFFFF), 0xFFFFFFFF));
    EXPECT_EQ("compression", Refused(Joined(TextBuffer("MSCF"), FooterV50(2, 0, 40000)), 0xFFFFFFFF));
    // The footer is modest, the image is not: it is refused whole instead of being cut.
    EXPECT_EQ("compression", Refused(StateWithClaim(bbZeros, 10), 1000000));
    // What the library stored itself it also restores, however large.
    CabCompressedBuffer large;
    large.Store(ByteBuffer(Bytes(65 * 1024 * 1024)));
    EXPECT_EQ(65U * 1024 * 1024, OriginalOf(large).size());
    ByteBuffer bbImage, bb;
    large.GetCompressedData(bbImage);
    EXPECT_EQ("compression", Thrown([&] { CabCompressedBuffer::UncompressBuffer(bbImage, bb); }));
}

TEST(CabCompressedBuffer, ReportsItsStepsVerbatim) {
    RecordingSink sink(DebugCategory::Compress);
    CabCompressedBuffer buffer;
    buffer.Store(nullptr, 0);
    buffer.Store(BufferOf("0102"));
    Open(buffer.GetCompressedBufferState());
    Open(FooterV50(2, DEFAULT_LEVEL, 0));
    const ByteBuffer bbSeven = StoredZlib(ByteBuffer(Bytes{7}));
    Open(Joined(bbSeven, FooterV40(4, 1)));
    Open(Joined(bbSeven, FooterV37(1)));
    for (ByteBuffer bb : {Joined(bbSeven, FooterV40(4, 2)), FooterV37(40000), FooterV50(9, 0, 1), TextBuffer("COM6")})
        EXPECT_FALSE(CabCompressedBuffer::TryToUncompressStateData(bb));
    const char* const TEXTS[] = {
        "Original data size is zero, so the result will be an empty buffer.",
        "Storing 2 bytes of original source data.",
        "adding the compression format after the compressed data in the buffer.",
        "adding the compression level after the compression format in the buffer.",
        "adding the original size after the compression level in the buffer.",
        "Adding the signature bytes to the end of the buffer.",
        "Checking for valid signature bytes at the end of the buffer.",
        "The signature matches Current",
        "The signature matches v3.7",
        "Retrieved an original data size of 2.",
        "Retrieved a compression level of -1.",
        "Retrieved a compression format of 2.",
        "contains original data of size 2 (compression level -1). The format is 2. Footer is 13 bytes.",
        "Original data size is 0. Update the member variables.",
        "Current version signature mismatch. Byte in buffer ('4') doesn't match expected byte #4 ('5') in current "
        "signature.",
        "Version 4.0 signature mismatch. Byte in buffer ('P') doesn't match expected byte #4 ('4') in v4.0 signature.",
        "This is an older version footer (v4.0) or the buffer (24 bytes) is not big enough (13 bytes). Use default "
        "compression format.",
        "This is an older version footer (v3.7) or the buffer (20 bytes) is not big enough (12 bytes). Use default "
        "compression level.",
        "Uncompress the ZLIB data to get the original data (1 bytes). Try to make it look like CAB data, since "
        "ZlibCompressedBuffer is not supported.",
        "Compress the original data (1) into the native CAB format.",
        "Exception thrown while trying to convert the ZLIB data into CAB format. Original data size was 2 bytes. Note "
        "that original Zlib data > 32K (32767) bytes will always fail when trying to use CabCompressedBuffer.",
        "Compression data is in Zlib format, which could not be converted by this class!",
        "Compression data is in Zlib format and the original data size is 40000 bytes. Original data > 32K (32767) "
        "bytes cannot be uncompressed by this class.",
        "Compression data is in an unrecognized format (9)!",
        "Footer information missing (buffer is 4 bytes versus footer size of 13, 12, or 8) OR signature bytes were "
        "invalid (434F4D36). CompressedBuffer ByteBuffer is invalid!",
        "MS Cabinet",
    };
    for (const char* pszText : TEXTS)
        EXPECT_GT(sink.Count(pszText), 0U) << pszText;
}

}  // namespace
}  // namespace vlm::test
