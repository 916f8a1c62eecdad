/// @file
/// Inner loops over runs of code units.
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

#include <emmintrin.h>

#include <algorithm>
#include <bit>

#include "utilities/utilitiesdll/detail/text/TwoWaySearch.h"

namespace vlm::text {

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

namespace {

template <class FoldVector, class FoldUnit>
[[gnu::always_inline]] inline std::size_t FindFolded(const XCHAR* pchText, std::size_t cUnits, XCHAR ch,
                                                     FoldVector foldVector, FoldUnit foldUnit) noexcept {
    const __m128i wanted = Splat(foldUnit(ch));
    std::size_t u = 0;
    for (; u + STEP <= cUnits; u += STEP) {
        const unsigned uEqual = Mask(_mm_cmpeq_epi16(foldVector(Load(pchText + u)), wanted));
        if (uEqual) return u + FirstUnit(uEqual);
    }
    for (; u < cUnits; ++u) {
        if (foldUnit(pchText[u]) == foldUnit(ch)) return u;
    }
    return NOT_FOUND;
}

constexpr auto SAME_VECTOR = [](__m128i units) { return units; };
constexpr auto SAME_UNIT = [](XCHAR ch) { return ch; };
constexpr auto LOWER_UNIT = [](XCHAR ch) { return ToLower(ch); };

/// Looks for a pattern of at least two units, sixteen positions per step: those where its first and last unit both fit
/// are compared in full.  When the comparisons in vain become more work than the steps, the two-way search goes on, so
/// that no text makes it quadratic.
template <class FoldVector, class FoldUnit, class Compare>
[[gnu::always_inline]] inline std::size_t FindByEnds(const XCHAR* pchText, std::size_t cUnits, const XCHAR* pchPattern,
                                                     std::size_t cPattern, FoldVector foldVector, FoldUnit foldUnit,
                                                     Compare mismatch) noexcept {
    constexpr std::size_t COST = 8, CREDIT = 2048;  // of a comparison beside the units it looks at; what is free
    const std::size_t cPositions = cUnits - cPattern + 1;
    const std::size_t cMiddle = cPattern - 2;
    const __m128i first = Splat(foldUnit(pchPattern[0]));
    const __m128i last = Splat(foldUnit(pchPattern[cPattern - 1]));
    const auto fits = [&](std::size_t u) {
        const __m128i atFirst = _mm_cmpeq_epi16(foldVector(Load(pchText + u)), first);
        const __m128i atLast = _mm_cmpeq_epi16(foldVector(Load(pchText + u + cPattern - 1)), last);
        return _mm_and_si128(atFirst, atLast);
    };
    std::size_t cSpent = 0;
    // Compares at the positions from `u` on that have a bit in the mask.
    const auto compare = [&](std::size_t u, unsigned uMask) {
        for (; uMask != 0; uMask &= uMask - 1) {
            const std::size_t uHit = u + static_cast<std::size_t>(std::countr_zero(uMask));
            const std::size_t cSame = mismatch(pchText + uHit + 1, pchPattern + 1, cMiddle);
            if (cSame == cMiddle) return uHit;
            cSpent += COST + cSame;
        }
        return NOT_FOUND;
    };
    const auto candidates = [&](std::size_t u) { return Mask(_mm_packs_epi16(fits(u), fits(u + STEP))); };
    std::size_t uFound = NOT_FOUND;
    if (cPositions < 2 * STEP) {
        for (std::size_t u = 0; u < cPositions; ++u) {
            if (foldUnit(pchText[u]) == foldUnit(pchPattern[0]) &&
                foldUnit(pchText[u + cPattern - 1]) == foldUnit(pchPattern[cPattern - 1])) {
                uFound = compare(u, 1);
                if (uFound != NOT_FOUND) return uFound;
            }
        }
        return NOT_FOUND;
    }
    std::size_t u = 0;
    for (; u + 2 * STEP <= cPositions; u += 2 * STEP) {
        const unsigned uMask = candidates(u);
        if (uMask == 0) continue;
        uFound = compare(u, uMask);
        if (uFound != NOT_FOUND) return uFound;
        if (cSpent > CREDIT + 4 * u) {
            return TwoWaySearch<FoldUnit>(pchPattern, cPattern, foldUnit).Find(pchText, cUnits, u + 1);
        }
    }
    // The last step overlaps the one before.
    return u == cPositions ? NOT_FOUND : compare(cPositions - 2 * STEP, candidates(cPositions - 2 * STEP));
}

}  // namespace

std::size_t FindUnit(const XCHAR* pchText, std::size_t cUnits, XCHAR ch) noexcept {
    return FindFolded(pchText, cUnits, ch, SAME_VECTOR, SAME_UNIT);
}

std::size_t FindUnitNoCase(const XCHAR* pchText, std::size_t cUnits, XCHAR ch) noexcept {
    return FindFolded(pchText, cUnits, ch, Lower, LOWER_UNIT);
}

std::size_t FindText(const XCHAR* pchText, std::size_t cUnits, const XCHAR* pchPattern, std::size_t cPattern) noexcept {
    if (cPattern == 0) return 0;
    if (cPattern > cUnits) return NOT_FOUND;
    if (cPattern == 1) return FindUnit(pchText, cUnits, *pchPattern);
    return FindByEnds(pchText, cUnits, pchPattern, cPattern, SAME_VECTOR, SAME_UNIT, Mismatch);
}

std::size_t FindTextNoCase(const XCHAR* pchText, std::size_t cUnits, const XCHAR* pchPattern,
                           std::size_t cPattern) noexcept {
    if (cPattern == 0) return 0;
    if (cPattern > cUnits) return NOT_FOUND;
    if (cPattern == 1) return FindUnitNoCase(pchText, cUnits, *pchPattern);
    return FindByEnds(pchText, cUnits, pchPattern, cPattern, Lower, LOWER_UNIT, MismatchNoCase);
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
