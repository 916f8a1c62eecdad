/// @file
/// Fuzzes compressed files on a disk in memory: a file is refused in the promised ways, or gives data that comes back.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "support/CabinetImages.h"
#include "support/FakePlatform.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/SimpleFileWithCompression.h"

namespace {

const XCHAR* const PATH = VTEXT("C:\\file.bin");
constexpr DWORD MOST_BYTES = 1024 * 1024;
constexpr std::size_t FOOTER_BYTES = 13;

void Require(bool f, const char* pszWhat) {
    if (f) return;
    std::fprintf(stderr, "broken promise: %s\n", pszWhat);
    std::abort();
}

bool Read(const SimpleFile& rFile, ByteBuffer& rbbData, DWORD dwLimit) {
    try {
        rFile.ReadTheFile(rbbData, dwLimit);
        return true;
    } catch (const ExceptionReadFile&) {
    } catch (const ExceptionMissingOrBadCompressedBufferFooter&) {
    } catch (const ExceptionIncompatibleCompressionFormat&) {
    } catch (const ExceptionCompression&) {
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const std::vector<BYTE> vbyFile(pby, pby + cBytes);
    vlm::test::FakePlatform oFake;
    oFake.files.AddFile(PATH, vbyFile);
    const vlm::PlatformScope oScope(oFake.Get());
    SimpleFileWithCompression oFile{CXString(PATH)};
    oFile.SetMaximumOriginalDataSize(MOST_BYTES);
    ByteBuffer bb, bbLimited;
    const bool fRead = Read(oFile, bb, 0);
    Require(fRead || bb.empty(), "a failure leaves the target alone");
    Require(bb.size() <= MOST_BYTES, "no more than the bound comes out");
    Require(oFake.files.OpenHandles() == 0, "no handle stays open");
    Require(oFake.files.Contents(PATH) == vbyFile, "reading changes nothing");
    if (cBytes > 1) Require(!Read(oFile, bbLimited, static_cast<DWORD>(cBytes - 1)), "the limit is kept");
    if (fRead) {
        oFile.WriteTheFile(bb, SimpleFile::FAA_LEAVE);
        Require(Read(oFile, bbLimited, 0) && bbLimited == bb, "what is written is read");
    }
    return 0;
}

/// Varies the image and, less often, the footer.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                               unsigned int uSeed) {
    std::mt19937 random(uSeed);
    vlm::test::ImageBytes image(pby, pby + cBytes);
    const std::size_t cFooter = std::min(image.size(), FOOTER_BYTES);
    vlm::test::ImageBytes footer(image.end() - static_cast<std::ptrdiff_t>(cFooter), image.end());
    image.resize(image.size() - cFooter);
    if (random() % 4 != 0) vlm::test::MutateImage(image, random);
    if (!footer.empty() && random() % 4 == 0) footer[random() % footer.size()] = static_cast<std::uint8_t>(random());
    image.insert(image.end(), footer.begin(), footer.end());
    if (image.size() > cMost) image.resize(cMost);
    std::copy(image.begin(), image.end(), pby);
    return image.size();
}
