/// @file
/// Narrow text to and from UTF-16.
#include "utilities/utilitiesdll/detail/text/NarrowText.h"

#include <emmintrin.h>

#include <bit>

#include "platform/Platform.h"
#include "platform/TextPort.h"

namespace vlm::text {

std::size_t CountAscii(const char* pchText, std::size_t cBytes) noexcept {
    std::size_t u = 0;
    for (; u + 16 <= cBytes; u += 16) {
        const int iHigh = _mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pchText + u)));
        if (iHigh) return u + static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(iHigh)));
    }
    while (u < cBytes && static_cast<unsigned char>(pchText[u]) < 0x80)
        ++u;
    return u;
}

void WidenAscii(const char* pchSource, std::size_t cBytes, XCHAR* pchTarget) noexcept {
    std::size_t u = 0;
    const __m128i zero = _mm_setzero_si128();
    for (; u + 16 <= cBytes; u += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pchSource + u));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pchTarget + u), _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pchTarget + u + 8), _mm_unpackhi_epi8(bytes, zero));
    }
    for (; u < cBytes; ++u)
        pchTarget[u] = static_cast<XCHAR>(static_cast<unsigned char>(pchSource[u]));
}

void NarrowAscii(const XCHAR* pchSource, std::size_t cUnits, char* pchTarget) noexcept {
    std::size_t u = 0;
    for (; u + 16 <= cUnits; u += 16) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pchSource + u));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pchSource + u + 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pchTarget + u), _mm_packus_epi16(low, high));
    }
    for (; u < cUnits; ++u)
        pchTarget[u] = static_cast<char>(pchSource[u]);
}

std::size_t WidenAnsi(const char* pchSource, std::size_t cBytes, XCHAR* pchTarget) noexcept {
    const std::size_t cAscii = CountAscii(pchSource, cBytes);
    WidenAscii(pchSource, cAscii, pchTarget);
    if (cAscii == cBytes) return cBytes;
    const std::size_t cRest = cBytes - cAscii;
    const std::size_t cWritten = GetPlatform().pText->ToWide(0, pchSource + cAscii, cRest, pchTarget + cAscii, cRest);
    if (cWritten > 0) return cAscii + cWritten;
    for (std::size_t u = cAscii; u < cBytes; ++u) {
        const unsigned char by = static_cast<unsigned char>(pchSource[u]);
        pchTarget[u] = by < 0x80 ? static_cast<XCHAR>(by) : XCHAR('?');
    }
    return cBytes;
}

}  // namespace vlm::text
