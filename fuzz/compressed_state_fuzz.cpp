/// @file
/// Fuzzes compressed-buffer states: the three footers, the conversion of zlib data, the try-form.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "support/CabinetImages.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace {

constexpr DWORD MOST_BYTES = 4 * 1024 * 1024;

void Require(bool f, const char* pszWhat) {
    if (f) return;
    std::fprintf(stderr, "broken promise: %s\n", pszWhat);
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const ByteBuffer bbState(pby, cBytes);
    ByteBuffer bbOriginal;
    bool fRestored = false;
    bool fExact = false;
    try {
        const auto apoBuffer = CabCompressedBuffer::CreateWithBufferState(bbState);
        const ByteBuffer bbRewritten = apoBuffer->GetCompressedBufferState();
        Require(bbRewritten.size() >= 13, "a state ends in a footer");
        // A rewritten state reads back as itself.
        const auto apoAgain = CabCompressedBuffer::CreateWithBufferState(bbRewritten);
        Require(apoAgain->GetCompressedBufferState() == bbRewritten, "reading a current state does not change it");
        Require(apoAgain->GetOriginalDataSize() == apoBuffer->GetOriginalDataSize(), "the size is kept");
        apoBuffer->SetMaximumOriginalDataSize(MOST_BYTES);
        apoBuffer->GetOriginalData(bbOriginal);
        fRestored = true;
        fExact = bbOriginal.size() == apoBuffer->GetOriginalDataSize();
        Require(bbOriginal.size() <= std::size_t{apoBuffer->GetOriginalDataSize()} + 1,
                "never more than one byte over");
    } catch (const ExceptionMissingOrBadCompressedBufferFooter&) {
    } catch (const ExceptionIncompatibleCompressionFormat&) {
    } catch (const ExceptionCompression&) {
    }
    ByteBuffer bbTried = bbState;
    if (CabCompressedBuffer::TryToUncompressStateData(bbTried)) {
        Require(!fRestored || (fExact && bbTried == bbOriginal), "both ways restore the same");
    } else {
        Require(bbTried == bbState, "a failed try leaves the data alone");
        Require(!(fRestored && fExact), "the try-form restores what the other restores");
    }
    return 0;
}

/// Keeps a footer at the end, varies it, and varies the image before it.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                               unsigned int uSeed) {
    std::mt19937 random(uSeed);
    vlm::test::ImageBytes state(pby, pby + cBytes);
    const std::size_t cFooter = state.size() >= 13 ? 13 : state.size();
    vlm::test::ImageBytes footer(state.end() - static_cast<std::ptrdiff_t>(cFooter), state.end());
    state.resize(state.size() - cFooter);
    if (random() % 4 != 0) vlm::test::MutateImage(state, random);
    if (!footer.empty() && random() % 4 == 0) {
        std::uint8_t& rby = footer[random() % footer.size()];
        rby = random() % 2 ? static_cast<std::uint8_t>(rby ^ (1U << (random() % 8)))
                           : static_cast<std::uint8_t>(random());
    }
    state.insert(state.end(), footer.begin(), footer.end());
    if (state.size() > cMost) state.resize(cMost);
    std::copy(state.begin(), state.end(), pby);
    return state.size();
}
