/// @file
/// Fuzzes compressed files on a disk in memory: a file is refused in the promised ways, or gives data that comes back.
#include "StateMutator.h"
#include "support/FakePlatform.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/SimpleFileWithCompression.h"

using vlm::test::Require;

namespace {

const XCHAR* const PATH = VTEXT("C:\\file.bin");
constexpr DWORD MOST_BYTES = 1024 * 1024;

bool Read(const SimpleFile& rFile, ByteBuffer& rbbData, DWORD dwLimit) {
    return vlm::test::IsTaken<ExceptionReadFile, ExceptionMissingOrBadCompressedBufferFooter,
                              ExceptionIncompatibleCompressionFormat, ExceptionCompression>(
        [&] { rFile.ReadTheFile(rbbData, dwLimit); });
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

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                               unsigned int uSeed) {
    return vlm::test::MutateState(pby, cBytes, cMost, uSeed);
}
