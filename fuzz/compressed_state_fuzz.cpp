/// @file
/// Fuzzes compressed-buffer states: the three footers, the conversion of zlib data, the try-form.
#include "StateMutator.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

using vlm::test::Require;

namespace {

constexpr DWORD MOST_BYTES = 4 * 1024 * 1024;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const ByteBuffer bbState(pby, cBytes);
    ByteBuffer bbOriginal;
    bool fExact = false;
    const bool fRestored = vlm::test::IsTaken<ExceptionMissingOrBadCompressedBufferFooter,
                                              ExceptionIncompatibleCompressionFormat, ExceptionCompression>([&] {
        const auto apoBuffer = CabCompressedBuffer::CreateWithBufferState(bbState);
        const ByteBuffer bbRewritten = apoBuffer->GetCompressedBufferState();
        Require(bbRewritten.size() >= 13, "a state ends in a footer");
        // A rewritten state reads back as itself.
        const auto apoAgain = CabCompressedBuffer::CreateWithBufferState(bbRewritten);
        Require(apoAgain->GetCompressedBufferState() == bbRewritten, "reading a current state does not change it");
        Require(apoAgain->GetOriginalDataSize() == apoBuffer->GetOriginalDataSize(), "the size is kept");
        apoBuffer->SetMaximumOriginalDataSize(MOST_BYTES);
        apoBuffer->GetOriginalData(bbOriginal);
        fExact = bbOriginal.size() == apoBuffer->GetOriginalDataSize();
        Require(bbOriginal.size() <= std::size_t{apoBuffer->GetOriginalDataSize()} + 1,
                "never more than one byte over");
    });
    ByteBuffer bbTried = bbState;
    if (CabCompressedBuffer::TryToUncompressStateData(bbTried)) {
        Require(!fRestored || (fExact && bbTried == bbOriginal), "both ways restore the same");
    } else {
        Require(bbTried == bbState, "a failed try leaves the data alone");
        Require(!(fRestored && fExact), "the try-form restores what the other restores");
    }
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                               unsigned int uSeed) {
    return vlm::test::MutateState(pby, cBytes, cMost, uSeed);
}
