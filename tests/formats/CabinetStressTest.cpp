/// @file
/// Pushes damaged images through the check and, when it accepts them, into the real cabinet library.
///
/// The number of images is that of the environment variable Q9_CABINET_STRESS (20,000 when it is not set).  Some
/// libraries write outside their buffers on damaged deflate data, so a crash of this test means a hole in the check.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "support/CabinetImages.h"
#include "support/DeflateBits.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/compression/CabinetImage.h"
#include "utilities/compression/ZlibAsCabinet.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm {
namespace {

using test::ImageBytes;

std::vector<ImageBytes> Seeds() {
    std::vector<ImageBytes> vSeeds;
    std::mt19937 random(7);
    // Skewed text makes dynamic blocks with long codes; a few words make fixed ones; noise is stored.
    for (const std::size_t cBytes : {1, 40, 300, 2000, 33000}) {
        for (const unsigned uLetters : {256U, 12U, 1U}) {
            ImageBytes original(cBytes);
            for (BYTE& rby : original)
                rby = static_cast<BYTE>((random() % 256) * (random() % 256) / 256 % uLetters);
            ByteBuffer bbImage;
            CabCompressedBuffer::CompressBuffer(original.data(), static_cast<DWORD>(cBytes), bbImage, -1);
            vSeeds.push_back(bbImage.GetVector());
        }
    }
    // Streams that no compressor would write: many small blocks, all kinds, far matches.
    test::DeflateBits bits;
    bits.Stored(false, ImageBytes(50, 's'));
    for (int i = 0; i < 10; ++i) {
        bits.Block(false, 1)
            .Fixed(static_cast<unsigned>('a' + i))
            .FixedMatch(270, 1, 1, 4, 1, 1)
            .Fixed(256)
            .Stored(false, {});
    }
    bits.Block(true, 1).Fixed(256);
    ImageBytes zlib = bits.Bytes();
    zlib.insert(zlib.begin(), 2, 0x78);
    ByteBuffer bbImage;
    MakeZlibDataLookLikeCabinetData(ByteBuffer(zlib), 50 + 10 * (1 + 24), bbImage);
    vSeeds.push_back(bbImage.GetVector());
    return vSeeds;
}

TEST(CabinetStress, NoDamagedImageThatTheCheckAcceptsHarmsTheLibrary) {
    const char* const pszCount = std::getenv("Q9_CABINET_STRESS");
    const long lCount = pszCount ? std::atol(pszCount) : 20000;
    const std::vector<ImageBytes> vSeeds = Seeds();
    std::mt19937 random(pszCount ? 20260702U : 1U);
    long lRefused = 0, lExtracted = 0, lFailed = 0;
    for (long l = 0; l < lCount; ++l) {
        // The longest seeds cost most and show least.
        const std::size_t uSeed = random() % vSeeds.size();
        ImageBytes image = vSeeds[vSeeds[uSeed].size() > 5000 && random() % 16 ? uSeed % 3 : uSeed];
        for (unsigned c = 1 + random() % 3; c > 0; --c)
            test::MutateImage(image, random);
        const CabinetVerdict verdict = ValidateCabinetImage(image.data(), image.size(), SINGLE_MEMBER_CABINET);
        if (!verdict.IsAccepted()) {
            ++lRefused;
            continue;
        }
        try {
            ByteBuffer bbOriginal;
            CabCompressedBuffer::UncompressBuffer(ByteBuffer(image), bbOriginal);
            ASSERT_EQ(verdict.dwOriginalBytes, bbOriginal.size());
            ++lExtracted;
        } catch (const ExceptionCompression&) {
            ++lFailed;
        }
    }
    std::printf("%ld images: %ld refused by the check, %ld extracted, %ld failed cleanly in the library\n", lCount,
                lRefused, lExtracted, lFailed);
    EXPECT_GT(lRefused, lCount / 4);
    EXPECT_GT(lExtracted, lCount / 50);
}

}  // namespace
}  // namespace vlm
