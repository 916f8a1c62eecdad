/// @file
/// Inner loops over runs of code units.
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace vlm::text {

#ifdef __SSE2__

namespace {

constexpr std::size_t STEP = 8;

__m128i Load(const XCHAR* pch) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pch));
}
void Store(XCHAR* pch, __m128i units) noexcept {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pch), units);
}
__m128i Splat(XCHAR ch) noexcept {
    return _mm_set1_epi16(static_cast<short>(ch));
}
unsigned Mask(__m128i equal) noexcept {
    return static_cast<unsigned>(_mm_movemask_epi8(equal));
}
std::size_t FirstUnit(unsigned uMask) noexcept {
    return static_cast<std::size_t>(std::countr_zero(uMask)) / 2;
}

/// All ones in each unit from chFirst to chFirst + 25, 0 elsewhere.
__m128i InRange(__m128i units, XCHAR chFirst) noexcept {
    // Shifted so that the wanted range is the lowest of the signed numbers: one comparison tells it.
    const __m128i shifted = _mm_add_epi16(units, _mm_set1_epi16(static_cast<short>(0x8000 - chFirst)));
    return _mm_cmplt_epi16(shifted, _mm_set1_epi16(static_cast<short>(-0x8000 + 26)));
}
__m128i CaseBits(__m128i units, XCHAR chFirst) noexcept {
    return _mm_and_si128(InRange(units, chFirst), _mm_set1_epi16(0x20));
}
__m128i Lower(__m128i units) noexcept {
    return _mm_or_si128(units, CaseBits(units, XCHAR('A')));
}
__m128i Upper(__m128i units) noexcept {
    return _mm_xor_si128(units, CaseBits(units, XCHAR('a')));
}

}  // namespace

std::size_t Mismatch(const XCHAR* pchLeft, const XCHAR* pchRight, std::size_t cUnits) noexcept {
    if (cUnits < STEP) {
        std::size_t u = 0;
        while (u < cUnits && pchLeft[u] == pchRight[u])
            ++u;
        return u;
    }
    const auto differ = [&](std::size_t u) {
        return Mask(_mm_cmpeq_epi16(Load(pchLeft + u), Load(pchRight + u))) ^ 0xFFFF;
    };
    std::size_t u = 0;
    for (; u + 2 * STEP <= cUnits; u += 2 * STEP) {
        const __m128i first = _mm_cmpeq_epi16(Load(pchLeft + u), Load(pchRight + u));
        const __m128i second = _mm_cmpeq_epi16(Load(pchLeft + u + STEP), Load(pchRight + u + STEP));
        if (Mask(_mm_and_si128(first, second)) != 0xFFFF) break;  // the steps below find the place
    }
    for (; u + STEP <= cUnits; u += STEP) {
        if (const unsigned uDiffer = differ(u)) return u + FirstUnit(uDiffer);
    }
    if (u == cUnits) return cUnits;
    // The last step overlaps units that are known to be equal.
    const unsigned uDiffer = differ(cUnits - STEP);
    return uDiffer ? cUnits - STEP + FirstUnit(uDiffer) : cUnits;
}

std::size_t MismatchNoCase(const XCHAR* pchLeft, const XCHAR* pchRight, std::size_t cUnits) noexcept {
    if (cUnits < STEP) {
        std::size_t u = 0;
        while (u < cUnits && ToLower(pchLeft[u]) == ToLower(pchRight[u]))
            ++u;
        return u;
    }
    const auto differ = [&](std::size_t u) {
        return Mask(_mm_cmpeq_epi16(Lower(Load(pchLeft + u)), Lower(Load(pchRight + u)))) ^ 0xFFFF;
    };
    std::size_t u = 0;
    for (; u + STEP <= cUnits; u += STEP) {
        if (const unsigned uDiffer = differ(u)) return u + FirstUnit(uDiffer);
    }
    if (u == cUnits) return cUnits;
    const unsigned uDiffer = differ(cUnits - STEP);
    return uDiffer ? cUnits - STEP + FirstUnit(uDiffer) : cUnits;
}

std::size_t FindUnit(const XCHAR* pchText, std::size_t cUnits, XCHAR ch) noexcept {
    const __m128i wanted = Splat(ch);
    std::size_t u = 0;
    for (; u + STEP <= cUnits; u += STEP) {
        const unsigned uEqual = Mask(_mm_cmpeq_epi16(Load(pchText + u), wanted));
        if (uEqual) return u + FirstUnit(uEqual);
    }
    for (; u < cUnits; ++u) {
        if (pchText[u] == ch) return u;
    }
    return NOT_FOUND;
}

std::size_t FindText(const XCHAR* pchText, std::size_t cUnits, const XCHAR* pchPattern, std::size_t cPattern) noexcept {
    if (cPattern == 0) return 0;
    if (cPattern > cUnits) return NOT_FOUND;
    if (cPattern == 1) return FindUnit(pchText, cUnits, *pchPattern);
    // Eight positions per step: those where the pattern's first and last unit both fit are compared in full.
    const std::size_t cPositions = cUnits - cPattern + 1;
    const XCHAR chFirst = pchPattern[0];
    const XCHAR chLast = pchPattern[cPattern - 1];
    const __m128i first = Splat(chFirst);
    const __m128i last = Splat(chLast);
    const std::size_t cMiddle = (cPattern - 2) * sizeof(XCHAR);
    std::size_t u = 0;
    for (; u + STEP <= cPositions; u += STEP) {
        unsigned uBoth = Mask(_mm_and_si128(_mm_cmpeq_epi16(Load(pchText + u), first),
                                            _mm_cmpeq_epi16(Load(pchText + u + cPattern - 1), last)));
        while (uBoth) {
            const std::size_t uHit = FirstUnit(uBoth);
            if (std::memcmp(pchText + u + uHit + 1, pchPattern + 1, cMiddle) == 0) return u + uHit;
            uBoth &= ~(3u << (2 * uHit));
        }
    }
    for (; u < cPositions; ++u) {
        if (pchText[u] == chFirst && pchText[u + cPattern - 1] == chLast &&
            std::memcmp(pchText + u + 1, pchPattern + 1, cMiddle) == 0) {
            return u;
        }
    }
    return NOT_FOUND;
}

std::size_t FindTextNoCase(const XCHAR* pchText, std::size_t cUnits, const XCHAR* pchPattern,
                           std::size_t cPattern) noexcept {
    if (cPattern == 0) return 0;
    if (cPattern > cUnits) return NOT_FOUND;
    const std::size_t cPositions = cUnits - cPattern + 1;
    const __m128i first = Splat(ToLower(pchPattern[0]));
    const __m128i last = Splat(ToLower(pchPattern[cPattern - 1]));
    std::size_t u = 0;
    for (; u + STEP <= cPositions; u += STEP) {
        unsigned uBoth = Mask(_mm_and_si128(_mm_cmpeq_epi16(Lower(Load(pchText + u)), first),
                                            _mm_cmpeq_epi16(Lower(Load(pchText + u + cPattern - 1)), last)));
        while (uBoth) {
            const std::size_t uHit = FirstUnit(uBoth);
            if (MismatchNoCase(pchText + u + uHit, pchPattern, cPattern) == cPattern) return u + uHit;
            uBoth &= ~(3u << (2 * uHit));
        }
    }
    for (; u < cPositions; ++u) {
        if (MismatchNoCase(pchText + u, pchPattern, cPattern) == cPattern) return u;
    }
    return NOT_FOUND;
}

bool HasLower(const XCHAR* pchText, std::size_t cUnits) noexcept {
    std::size_t u = 0;
    for (; u + STEP <= cUnits; u += STEP) {
        if (Mask(InRange(Load(pchText + u), XCHAR('a')))) return true;
    }
    return std::any_of(pchText + u, pchText + cUnits, IsLower);
}

bool HasUpper(const XCHAR* pchText, std::size_t cUnits) noexcept {
    std::size_t u = 0;
    for (; u + STEP <= cUnits; u += STEP) {
        if (Mask(InRange(Load(pchText + u), XCHAR('A')))) return true;
    }
    return std::any_of(pchText + u, pchText + cUnits, IsUpper);
}

void CopyLower(XCHAR* pchTarget, const XCHAR* pchSource, std::size_t cUnits) noexcept {
    std::size_t u = 0;
    for (; u + STEP <= cUnits; u += STEP)
        Store(pchTarget + u, Lower(Load(pchSource + u)));
    for (; u < cUnits; ++u)
        pchTarget[u] = ToLower(pchSource[u]);
}

void CopyUpper(XCHAR* pchTarget, const XCHAR* pchSource, std::size_t cUnits) noexcept {
    std::size_t u = 0;
    for (; u + STEP <= cUnits; u += STEP)
        Store(pchTarget + u, Upper(Load(pchSource + u)));
    for (; u < cUnits; ++u)
        pchTarget[u] = ToUpper(pchSource[u]);
}

std::size_t CountAscii(const XCHAR* pchText, std::size_t cUnits) noexcept {
    const __m128i high = _mm_set1_epi16(static_cast<short>(0xFF80));
    const __m128i zero = _mm_setzero_si128();
    std::size_t u = 0;
    for (; u + STEP <= cUnits; u += STEP) {
        const unsigned uAscii = Mask(_mm_cmpeq_epi16(_mm_and_si128(Load(pchText + u), high), zero));
        if (uAscii != 0xFFFF) return u + FirstUnit(~uAscii);
    }
    while (u < cUnits && pchText[u] < 0x80)
        ++u;
    return u;
}

#else

std::size_t Mismatch(const XCHAR* pchLeft, const XCHAR* pchRight, std::size_t cUnits) noexcept {
    std::size_t u = 0;
    while (u < cUnits && pchLeft[u] == pchRight[u])
        ++u;
    return u;
}

std::size_t MismatchNoCase(const XCHAR* pchLeft, const XCHAR* pchRight, std::size_t cUnits) noexcept {
    std::size_t u = 0;
    while (u < cUnits && ToLower(pchLeft[u]) == ToLower(pchRight[u]))
        ++u;
    return u;
}

std::size_t FindUnit(const XCHAR* pchText, std::size_t cUnits, XCHAR ch) noexcept {
    return XStringView(pchText, cUnits).find(ch);
}

std::size_t FindText(const XCHAR* pchText, std::size_t cUnits, const XCHAR* pchPattern, std::size_t cPattern) noexcept {
    return XStringView(pchText, cUnits).find(XStringView(pchPattern, cPattern));
}

std::size_t FindTextNoCase(const XCHAR* pchText, std::size_t cUnits, const XCHAR* pchPattern,
                           std::size_t cPattern) noexcept {
    for (std::size_t u = 0; u + cPattern <= cUnits; ++u) {
        if (MismatchNoCase(pchText + u, pchPattern, cPattern) == cPattern) return u;
    }
    return NOT_FOUND;
}

bool HasLower(const XCHAR* pchText, std::size_t cUnits) noexcept {
    return std::any_of(pchText, pchText + cUnits, IsLower);
}

bool HasUpper(const XCHAR* pchText, std::size_t cUnits) noexcept {
    return std::any_of(pchText, pchText + cUnits, IsUpper);
}

void CopyLower(XCHAR* pchTarget, const XCHAR* pchSource, std::size_t cUnits) noexcept {
    for (std::size_t u = 0; u < cUnits; ++u)
        pchTarget[u] = ToLower(pchSource[u]);
}

void CopyUpper(XCHAR* pchTarget, const XCHAR* pchSource, std::size_t cUnits) noexcept {
    for (std::size_t u = 0; u < cUnits; ++u)
        pchTarget[u] = ToUpper(pchSource[u]);
}

std::size_t CountAscii(const XCHAR* pchText, std::size_t cUnits) noexcept {
    std::size_t u = 0;
    while (u < cUnits && pchText[u] < 0x80)
        ++u;
    return u;
}

#endif

std::size_t FindUnitNoCase(const XCHAR* pchText, std::size_t cUnits, XCHAR ch) noexcept {
    return FindTextNoCase(pchText, cUnits, &ch, 1);
}

std::uint64_t Hash31(const XCHAR* pchText, std::size_t cUnits) noexcept {
    // Eight units per step: the products do not depend on each other, only one multiplication per step is in the chain.
    constexpr std::uint64_t P2 = 31 * 31, P3 = P2 * 31, P4 = P3 * 31, P5 = P4 * 31, P6 = P5 * 31, P7 = P6 * 31,
                            P8 = P7 * 31;
    std::uint64_t ullHash = 0;
    std::size_t u = 0;
    for (; u + 8 <= cUnits; u += 8) {
        const XCHAR* const pch = pchText + u;
        ullHash = ullHash * P8 + pch[0] * P7 + pch[1] * P6 + pch[2] * P5 + pch[3] * P4 + pch[4] * P3 + pch[5] * P2 +
                  pch[6] * std::uint64_t{31} + pch[7];
    }
    for (; u < cUnits; ++u)
        ullHash = ullHash * 31 + pchText[u];
    return ullHash;
}

}  // namespace vlm::text
