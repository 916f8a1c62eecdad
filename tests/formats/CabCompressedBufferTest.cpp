/// @file
/// Compressed buffers: footers byte by byte, round trips, old states, hostile states.
#include "utilities/compression/CabCompressedBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/CabinetImages.h"
#include "support/DeflateBits.h"
#include "support/RecordingSink.h"
#include "utilities/compression/CabinetImage.h"
#include "utilities/compression/ZlibAsCabinet.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm {
namespace {

using Bytes = std::vector<BYTE>;

ByteBuffer Buffer(Bytes bytes) {
    return ByteBuffer(std::move(bytes));
}
Bytes BytesOfBuffer(const ByteBuffer& kbb) {
    return kbb.GetVector();
}
Bytes Concatenate(Bytes left, const Bytes& rRight) {
    left.insert(left.end(), rRight.begin(), rRight.end());
    return left;
}

enum class Kind { Zeros, Text, Noise };

Bytes Sample(std::size_t cBytes, Kind eKind) {
    static constexpr char WORDS[] = "the quick brown fox jumps over the lazy dog. ";
    Bytes bytes(cBytes);
    std::uint32_t uState = 12345;
    for (std::size_t u = 0; u < cBytes; ++u) {
        uState = uState * 1664525 + 1013904223;
        bytes[u] = eKind == Kind::Zeros  ? BYTE{0}
                   : eKind == Kind::Text ? static_cast<BYTE>(WORDS[(u + (uState >> 30)) % (sizeof WORDS - 1)])
                                         : static_cast<BYTE>(uState >> 24);
    }
    return bytes;
}

/// A zlib stream of one stored deflate block: header, block, check value.
Bytes StoredZlib(const Bytes& rOriginal) {
    std::uint32_t uLow = 1;
    std::uint32_t uHigh = 0;
    for (const BYTE by : rOriginal) {
        uLow = (uLow + by) % 65521;
        uHigh = (uHigh + uLow) % 65521;
    }
    Bytes stream = Concatenate({0x78, 0x01}, test::DeflateBits().Stored(true, rOriginal).Bytes());
    return Concatenate(stream, {static_cast<BYTE>(uHigh >> 8), static_cast<BYTE>(uHigh), static_cast<BYTE>(uLow >> 8),
                                static_cast<BYTE>(uLow)});
}

Bytes BigEndian(std::uint32_t uValue) {
    return {static_cast<BYTE>(uValue >> 24), static_cast<BYTE>(uValue >> 16), static_cast<BYTE>(uValue >> 8),
            static_cast<BYTE>(uValue)};
}
Bytes FooterV50(BYTE byFormat, std::uint32_t uLevel, std::uint32_t uSize) {
    return Concatenate(Concatenate({byFormat}, Concatenate(BigEndian(uLevel), BigEndian(uSize))), {'C', 'O', 'M', '5'});
}
Bytes FooterV40(std::uint32_t uLevel, std::uint32_t uSize) {
    return Concatenate(Concatenate(BigEndian(uLevel), BigEndian(uSize)), {'C', 'O', 'M', '4'});
}
Bytes FooterV37(std::uint32_t uSize) {
    return Concatenate(BigEndian(uSize), {'C', 'O', 'M', 'P'});
}

Bytes OriginalOf(const CompressedBuffer& rBuffer) {
    ByteBuffer bb;
    rBuffer.GetOriginalData(bb);
    return BytesOfBuffer(bb);
}

/// The class of what a call throws, "" when it throws nothing.
template <typename Call>
std::string Thrown(Call&& call) {
    try {
        call();
    } catch (const ExceptionMissingOrBadCompressedBufferFooter&) {
        return "footer";
    } catch (const ExceptionIncompatibleCompressionFormat&) {
        return "format";
    } catch (const ExceptionCompression&) {
        return "compression";
    } catch (const ExceptionFileOperationCompression&) {
        return "file";
    } catch (const std::exception&) {
        return "other";
    }
    return "";
}

TEST(CabCompressedBuffer, AnEmptyBufferIsAFooter) {
    CabCompressedBuffer buffer;
    const Bytes footer = FooterV50(2, 0xFFFFFFFF, 0);
    EXPECT_EQ(footer, BytesOfBuffer(buffer.GetCompressedBufferState()));
    buffer.Store(Buffer(Sample(100, Kind::Text)));
    buffer.Store(nullptr, 0);
    EXPECT_EQ(footer, BytesOfBuffer(buffer.GetCompressedBufferState()));
    EXPECT_EQ(13U, buffer.GetCompressedBufferStateSize());
    EXPECT_EQ(13U, buffer.GetCompressedBufferStateDword());
    ByteBuffer bb = Buffer({1, 2, 3});
    buffer.GetOriginalData(bb);
    EXPECT_TRUE(bb.empty());
    bb = Buffer({1, 2, 3});
    buffer.GetCompressedData(bb);
    EXPECT_TRUE(bb.empty());
}

TEST(CabCompressedBuffer, RestoresWhatItStored) {
    for (const std::size_t cBytes : {1, 100, 32767, 32768, 32769, 65536, 1048576, 1048577}) {
        for (const Kind eKind : {Kind::Zeros, Kind::Text, Kind::Noise}) {
            const Bytes original = Sample(cBytes, eKind);
            CabCompressedBuffer buffer;
            buffer.Store(original.data(), static_cast<DWORD>(original.size()));
            const Bytes state = BytesOfBuffer(buffer.GetCompressedBufferState());
            const Bytes footer = FooterV50(2, 0xFFFFFFFF, static_cast<std::uint32_t>(cBytes));
            ASSERT_TRUE(std::equal(footer.rbegin(), footer.rend(), state.rbegin()));
            EXPECT_LT(state.size(), eKind == Kind::Noise ? state.size() + 1 : cBytes / 2 + 200);
            EXPECT_LT(state.size(), cBytes + 13 + 80 + 23 * (cBytes / 32768 + 1));
            EXPECT_EQ(original, OriginalOf(buffer));
            EXPECT_EQ(original, OriginalOf(*CabCompressedBuffer::CreateWithBufferState(Buffer(state))));
            ByteBuffer bb = Buffer(state);
            ASSERT_TRUE(CabCompressedBuffer::TryToUncompressStateData(bb));
            EXPECT_EQ(original, BytesOfBuffer(bb));
            ByteBuffer bbImage;
            buffer.GetCompressedData(bbImage);
            EXPECT_EQ(original, OriginalOf(*CabCompressedBuffer::CreateWithCompressedData(bbImage)));
        }
    }
}

TEST(CabCompressedBuffer, EveryLevelIsStoredAndReadable) {
    const Bytes original = Sample(5000, Kind::Text);
    for (const LONG lLevel : {-1, 0, 1, 6, 9, 10, -2, 0x7FFFFFFF}) {
        const auto apoBuffer = CabCompressedBuffer::CreateWithUncompressedData(Buffer(original), lLevel);
        const Bytes state = BytesOfBuffer(apoBuffer->GetCompressedBufferState());
        const Bytes level(state.end() - 12, state.end() - 8);
        EXPECT_EQ(BigEndian(static_cast<std::uint32_t>(lLevel)), level);
        const auto apoRead = CabCompressedBuffer::CreateWithBufferState(Buffer(state));
        EXPECT_EQ(lLevel, apoRead->GetCompressionLevel());
        EXPECT_EQ(original, OriginalOf(*apoRead));
    }
}

// The head of an image by the published format: 36 bytes of header, 8 of folder, the file with its fixed date and time.
TEST(CabCompressedBuffer, WritesOneMemberWithFixedDateAndTime) {
    ByteBuffer bb = Buffer({0xEE});
    const Bytes original{'a'};
    CabCompressedBuffer::CompressBuffer(original.data(), 1, bb, -1);
    Bytes image = BytesOfBuffer(bb);
    ASSERT_EQ(0xEE, image[0]);  // appended
    image.erase(image.begin());
    ASSERT_EQ(93U, image.size());
    test::PutNumber(image, 80, 0, 4);  // the checksum is the check's affair
    Bytes expected{'M', 'S', 'C', 'F', 0, 0, 0, 0, 93, 0, 0, 0, 0, 0, 0,    0,    44,   0,    0,    0,
                   0,   0,   0,   0,   3, 1, 1, 0, 1,  0, 0, 0, 0, 0, 0,    0,    80,   0,    0,    0,
                   1,   0,   1,   0,   1, 0, 0, 0, 0,  0, 0, 0, 0, 0, 0x6C, 0x22, 0xBA, 0x59, 0x20, 0};
    const char NAME[] = "//Compressed-Data//";
    expected.insert(expected.end(), NAME, NAME + sizeof NAME);
    expected = Concatenate(expected, {0, 0, 0, 0, 5, 0, 1, 0, 'C', 'K'});
    image.resize(expected.size());
    EXPECT_EQ(expected, image);
}

TEST(CabCompressedBuffer, AnImageMayHoldAnEmptyMember) {
    ByteBuffer bbImage;
    CabCompressedBuffer::CompressBuffer(nullptr, 0, bbImage, -1);
    EXPECT_TRUE(ValidateCabinetImage(bbImage.data(), bbImage.size(), SINGLE_MEMBER_CABINET).IsAccepted());
    ByteBuffer bb = Buffer({1});
    CabCompressedBuffer::UncompressBuffer(bbImage, bb);
    EXPECT_TRUE(bb.empty());
    EXPECT_EQ(13U, CabCompressedBuffer::CreateWithCompressedData(bbImage)->GetCompressedBufferStateSize());
}

TEST(CabCompressedBuffer, CopiesAreIndependent) {
    CabCompressedBuffer buffer(CompressedBuffer::CF_MS_CABINET, 3);
    buffer.Store(Buffer(Sample(500, Kind::Text)));
    const std::unique_ptr<CompressedBuffer> apoClone = buffer.Clone();
    CabCompressedBuffer assigned;
    assigned = buffer;
    buffer.Store(Buffer({1}));
    for (const CompressedBuffer* pCopy : {apoClone.get(), static_cast<CompressedBuffer*>(&assigned)}) {
        EXPECT_EQ(Sample(500, Kind::Text), OriginalOf(*pCopy));
        EXPECT_EQ(500U, pCopy->GetOriginalDataSize());
        EXPECT_EQ(3, pCopy->GetCompressionLevel());
        EXPECT_EQ(CompressedBuffer::CF_MS_CABINET, pCopy->GetCompressionFormat());
    }
}

TEST(CabCompressedBuffer, ReadsOldFootersAndRewritesThem) {
    const Bytes original = Sample(1000, Kind::Text);
    const Bytes zlib = StoredZlib(original);
    struct Old {
        Bytes footer;
        LONG lLevel;
    };
    for (const Old& rOld : {Old{FooterV40(9, 1000), 9}, Old{FooterV37(1000), -1}, Old{FooterV50(1, 7, 1000), 7}}) {
        const auto apoBuffer = CabCompressedBuffer::CreateWithBufferState(Buffer(Concatenate(zlib, rOld.footer)));
        EXPECT_EQ(original, OriginalOf(*apoBuffer));
        const Bytes state = BytesOfBuffer(apoBuffer->GetCompressedBufferState());
        const Bytes footer = FooterV50(2, static_cast<std::uint32_t>(rOld.lLevel), 1000);
        EXPECT_TRUE(std::equal(footer.rbegin(), footer.rend(), state.rbegin()));
        EXPECT_EQ(0, std::memcmp(state.data(), "MSCF", 4));
    }
    // Size 0 is an empty buffer, whatever stands before the footer.
    EXPECT_EQ(13U, CabCompressedBuffer::CreateWithBufferState(Buffer(FooterV37(0)))->GetCompressedBufferStateSize());
    EXPECT_EQ(FooterV50(2, 5, 0),
              BytesOfBuffer(CabCompressedBuffer::CreateWithBufferState(Buffer(Concatenate(zlib, FooterV40(5, 0))))
                                ->GetCompressedBufferState()));
}

TEST(CabCompressedBuffer, RefusesStatesWithoutAFooter) {
    struct Bad {
        Bytes state;
        const char* pszThrown;
    };
    const Bytes COM6{2, 0, 0, 0, 0, 0, 0, 0, 0, 'C', 'O', 'M', '6'};
    std::vector<Bad> vBad{{COM6, "footer"},
                          {Concatenate(FooterV50(2, 0, 0), {0}), "footer"},
                          {FooterV50(3, 0, 1), "format"},
                          {FooterV50(0, 0, 1), "format"},
                          {FooterV50(255, 0, 1), "format"},
                          {FooterV50(1, 0, 1), "format"},  // zlib without data
                          {Concatenate({0x78}, FooterV37(1)), "format"},
                          {Concatenate({0x78, 0x01}, FooterV37(1)), "format"},
                          {Concatenate(StoredZlib({7}), FooterV40(0, 2)), "format"},
                          {Concatenate(StoredZlib({7}), FooterV40(0, 0xFFFFFFFF)), "format"}};
    for (std::size_t c = 0; c < 8; ++c)
        vBad.push_back({Bytes(c, 'P'), "footer"});
    for (const Bytes& rShort : {FooterV50(2, 0, 0), FooterV40(0, 0), FooterV37(0)}) {
        vBad.push_back({Bytes(rShort.begin() + 1, rShort.end()), "footer"});
    }
    for (const Bad& rBad : vBad) {
        EXPECT_EQ(rBad.pszThrown, Thrown([&] { CabCompressedBuffer::CreateWithBufferState(Buffer(rBad.state)); }))
            << rBad.state.size();
        ByteBuffer bb = Buffer(rBad.state);
        EXPECT_FALSE(CabCompressedBuffer::TryToUncompressStateData(bb));
        EXPECT_EQ(rBad.state, BytesOfBuffer(bb));
    }
}

TEST(CabCompressedBuffer, ConvertsZlibUpTo32767Bytes) {
    for (const std::size_t cBytes : {1, 32767}) {
        const Bytes original = Sample(cBytes, Kind::Noise);
        const Bytes state = Concatenate(StoredZlib(original), FooterV37(static_cast<std::uint32_t>(cBytes)));
        EXPECT_EQ(original, OriginalOf(*CabCompressedBuffer::CreateWithBufferState(Buffer(state))));
    }
    const Bytes state = Concatenate(StoredZlib(Sample(32768, Kind::Noise)), FooterV37(32768));
    EXPECT_EQ("format", Thrown([&] { CabCompressedBuffer::CreateWithBufferState(Buffer(state)); }));
}

TEST(CabCompressedBuffer, WrapsZlibDataFieldByField) {
    ByteBuffer bb;
    MakeZlibDataLookLikeCabinetData(Buffer({0x78, 0x9C, 0x4B, 0x04, 0x00, 0x00, 0x62, 0x00, 0x62}), 1, bb);
    const Bytes expected{'M', 'S', 'C', 'F',  0,    0,    0,    0,   100,  0,    0,    0,    0,    0,    0,   0,   44,
                         0,   0,   0,   0,    0,    0,    0,    3,   1,    1,    0,    1,    0,    0,    0,   0,   0,
                         0,   0,   83,  0,    0,    0,    1,    0,   1,    0,    1,    0,    0,    0,    0,   0,   0,
                         0,   0,   0,   0x6C, 0x22, 0xBA, 0x59, 0,   0,    '/',  '/',  'U',  'n',  'c',  'o', 'm', 'p',
                         'r', 'e', 's', 's',  'e',  'd',  '-',  'D', 'a',  't',  'a',  '/',  '/',  0,    0,   0,   0,
                         0,   0,   9,   0,    1,    0,    'C',  'K', 0x4B, 0x04, 0x00, 0x00, 0x62, 0x00, 0x62};
    EXPECT_EQ(expected, BytesOfBuffer(bb));
    ByteBuffer bbOriginal;
    CabCompressedBuffer::UncompressBuffer(bb, bbOriginal);
    EXPECT_EQ(Bytes{'a'}, BytesOfBuffer(bbOriginal));

    struct Limit {
        std::size_t cZlib;
        DWORD dwOriginal;
        const char* pszThrown;
    };
    for (const Limit& r :
         {Limit{0, 1, "compression"}, Limit{1, 1, "compression"}, Limit{2, 0, ""}, Limit{65535, 65535, ""},
          Limit{65536, 1, "compression"}, Limit{2, 65536, "compression"}, Limit{2, 0xFFFFFFFF, "compression"}}) {
        ByteBuffer bbOut = Buffer({9});
        EXPECT_EQ(r.pszThrown,
                  Thrown([&] { MakeZlibDataLookLikeCabinetData(Buffer(Bytes(r.cZlib)), r.dwOriginal, bbOut); }))
            << r.cZlib << ' ' << r.dwOriginal;
        EXPECT_EQ(*r.pszThrown != 0, BytesOfBuffer(bbOut) == Bytes{9});
    }
}

/// A state whose footer says another size than its image holds.
Bytes StateWithClaim(const Bytes& rOriginal, std::uint32_t uClaim) {
    ByteBuffer bbImage;
    CabCompressedBuffer::CompressBuffer(rOriginal.data(), static_cast<DWORD>(rOriginal.size()), bbImage, -1);
    return Concatenate(BytesOfBuffer(bbImage), FooterV50(2, 0xFFFFFFFF, uClaim));
}

TEST(CabCompressedBuffer, GivesOneByteMoreThanTheFooterSaysAtMost) {
    const Bytes original = Sample(100000, Kind::Text);
    struct Claim {
        std::uint32_t uClaim;
        std::size_t cResult;
    };
    for (const Claim& r : {Claim{99999, 100000}, Claim{10, 11}, Claim{32768, 32769}, Claim{100001, 100000}}) {
        const auto apoBuffer = CabCompressedBuffer::CreateWithBufferState(Buffer(StateWithClaim(original, r.uClaim)));
        EXPECT_EQ(r.uClaim, apoBuffer->GetOriginalDataSize());
        EXPECT_EQ(Bytes(original.begin(), original.begin() + static_cast<std::ptrdiff_t>(r.cResult)),
                  OriginalOf(*apoBuffer));
        ByteBuffer bb = Buffer(StateWithClaim(original, r.uClaim));
        EXPECT_FALSE(CabCompressedBuffer::TryToUncompressStateData(bb));
    }
}

TEST(CabCompressedBuffer, RefusesClaimsAboveTheBoundsBeforeDecompressing) {
    const Bytes zeros(3000000);
    const auto Refused = [&](const Bytes& rState, DWORD dwMaximum) {
        const auto apoBuffer = CabCompressedBuffer::CreateWithBufferState(Buffer(rState));
        apoBuffer->SetMaximumOriginalDataSize(dwMaximum);
        return Thrown([&] { OriginalOf(*apoBuffer); });
    };
    const Bytes state = StateWithClaim(zeros, 3000000);
    EXPECT_EQ("", Refused(state, 3000000));
    EXPECT_EQ("compression", Refused(state, 2999999));
    // No stream of this length can stand for so much.
    EXPECT_EQ("compression", Refused(StateWithClaim(zeros, 0xFFFFFFFF), 0xFFFFFFFF));
    EXPECT_EQ("compression", Refused(Concatenate({'M', 'S', 'C', 'F'}, FooterV50(2, 0, 40000)), 0xFFFFFFFF));
    // The footer is modest, the image is not: it is refused whole instead of being cut.
    EXPECT_EQ("compression", Refused(StateWithClaim(zeros, 10), 1000000));
    // What the library stored itself it also restores, however large.
    CabCompressedBuffer large;
    const Bytes zeros65(65 * 1024 * 1024);
    large.Store(zeros65.data(), static_cast<DWORD>(zeros65.size()));
    EXPECT_EQ(zeros65.size(), OriginalOf(large).size());
    ByteBuffer bbImage;
    large.GetCompressedData(bbImage);
    ByteBuffer bb;
    EXPECT_EQ("compression", Thrown([&] { CabCompressedBuffer::UncompressBuffer(bbImage, bb); }));
}

TEST(CabCompressedBuffer, DamagedImagesThrowAndLeaveTheTargetAlone) {
    const Bytes original = Sample(40000, Kind::Text);
    const Bytes state = StateWithClaim(original, 40000);
    for (std::size_t uBit = 0; uBit < 2000 * 8; uBit += 3) {
        Bytes damaged = state;
        damaged[uBit / 8] ^= static_cast<BYTE>(1U << (uBit % 8));
        const auto apoBuffer = CabCompressedBuffer::CreateWithBufferState(Buffer(damaged));
        ByteBuffer bb = Buffer({1, 2, 3});
        const std::string thrown = Thrown([&] { apoBuffer->GetOriginalData(bb); });
        if (thrown.empty()) {
            EXPECT_EQ(original, BytesOfBuffer(bb)) << "bit " << uBit;  // a date, a name: nothing that matters
        } else {
            EXPECT_EQ("compression", thrown) << "bit " << uBit;
            EXPECT_EQ((Bytes{1, 2, 3}), BytesOfBuffer(bb));
        }
    }
}

TEST(CabCompressedBuffer, TryLeavesPlainTextAlone) {
    ByteBuffer bb = Buffer({'p', 'l', 'a', 'i', 'n', ' ', 't', 'e', 'x', 't', ' ', 'h', 'e', 'r', 'e'});
    const Bytes before = BytesOfBuffer(bb);
    EXPECT_FALSE(CabCompressedBuffer::TryToUncompressStateData(bb));
    EXPECT_EQ(before, BytesOfBuffer(bb));
}

TEST(CabCompressedBuffer, ReportsItsStepsVerbatim) {
    test::RecordingSink sink(DebugCategory::Compress);
    CabCompressedBuffer buffer;
    buffer.Store(nullptr, 0);
    buffer.Store(Buffer({1, 2}));
    CabCompressedBuffer::CreateWithBufferState(buffer.GetCompressedBufferState());
    CabCompressedBuffer::CreateWithBufferState(Buffer(FooterV50(2, 0xFFFFFFFF, 0)));
    CabCompressedBuffer::CreateWithBufferState(Buffer(Concatenate(StoredZlib({7}), FooterV40(4, 1))));
    CabCompressedBuffer::CreateWithBufferState(Buffer(Concatenate(StoredZlib({7}), FooterV37(1))));
    ByteBuffer bb = Buffer(Concatenate(StoredZlib({7}), FooterV40(4, 2)));
    CabCompressedBuffer::TryToUncompressStateData(bb);
    bb = Buffer(FooterV37(40000));
    CabCompressedBuffer::TryToUncompressStateData(bb);
    bb = Buffer(FooterV50(9, 0, 1));
    CabCompressedBuffer::TryToUncompressStateData(bb);
    bb = Buffer({'C', 'O', 'M', '6'});
    CabCompressedBuffer::TryToUncompressStateData(bb);
    const char* const TEXTS[] = {
        "Original data size is zero, so the result will be an empty buffer.",
        "Storing 2 bytes of original source data.",
        "adding the compression format after the compressed data in the buffer.",
        "adding the compression level after the compression format in the buffer.",
        "adding the original size after the compression level in the buffer.",
        "Adding the signature bytes to the end of the buffer.",
        "Checking for valid signature bytes at the end of the buffer.",
        "The signature matches Current",
        "The signature matches v4.0",
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
}  // namespace vlm
