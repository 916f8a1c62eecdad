/// @file
/// Fuzzes the check of cabinet images together with the library behind it: whatever the check accepts must extract to
/// exactly what it announced.
#include <random>
#include <vector>

#include "Fuzz.h"
#include "support/CabinetImages.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/compression/CabinetArchive.h"
#include "utilities/compression/CabinetImage.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

using vlm::test::IsTaken;
using vlm::test::Require;

namespace {

constexpr DWORD MOST_BYTES = 4 * 1024 * 1024;  // keeps a bomb from eating the time of a run

void TrySingle(const ByteBuffer& kbbImage) {
    vlm::CabinetProfile profile = vlm::SINGLE_MEMBER_CABINET;
    profile.dwMostOriginalBytes = MOST_BYTES;
    const vlm::CabinetVerdict verdict = vlm::ValidateCabinetImage(kbbImage.data(), kbbImage.size(), profile);
    Require(verdict.uOffset <= kbbImage.size(), "a defect lies inside the image");
    if (!verdict.IsAccepted()) return;
    ByteBuffer bbOriginal;
    // The library may be stricter, but it fails cleanly.
    if (!IsTaken<ExceptionCompression>([&] { CabCompressedBuffer::UncompressBuffer(kbbImage, bbOriginal); })) return;
    Require(bbOriginal.size() == verdict.dwOriginalBytes, "an accepted image extracts to its announced size");
    ByteBuffer bbAgain;
    CabCompressedBuffer::CompressBuffer(bbOriginal.data(), bbOriginal.GetLength(), bbAgain, 1);
    ByteBuffer bbRestored;
    CabCompressedBuffer::UncompressBuffer(bbAgain, bbRestored);
    Require(bbRestored == bbOriginal, "what was extracted compresses and extracts to the same");
}

void TryArchive(const ByteBuffer& kbbImage) {
    IsTaken<ExceptionCompression>([&] {
        const CabinetArchive archive(kbbImage);
        const std::vector<ByteBuffer> vbb = archive.ExtractAll(MOST_BYTES);
        Require(vbb.size() == archive.GetMembers().size(), "every member is extracted");
        for (const CabinetArchive::Member& rMember : archive.GetMembers())
            CabinetArchive::IsSafeName(rMember.csName);
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const ByteBuffer bbImage(pby, cBytes);
    TrySingle(bbImage);
    TryArchive(bbImage);
    return 0;
}

/// Changes that know the format: fields, checksums, deflate data.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                               unsigned int uSeed) {
    std::mt19937 random(uSeed);
    vlm::test::ImageBytes image(pby, pby + cBytes);
    for (unsigned c = 1 + random() % 3; c > 0; --c)
        vlm::test::MutateImage(image, random);
    return vlm::test::GiveBack(image, pby, cMost);
}
