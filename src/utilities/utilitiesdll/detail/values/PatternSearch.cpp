/// @file
/// Pattern search by the first and last byte: two vector comparisons leave the few offsets worth a full comparison.
#include "utilities/utilitiesdll/detail/values/PatternSearch.h"

#include <immintrin.h>

#include <bit>
#include <cstdint>
#include <cstring>

#include "utilities/utilitiesdll/detail/values/CpuLevel.h"

#define VLM_AVX2 __attribute__((target("avx2")))

namespace vlm {
namespace {

using Kind = PatternSearchResult::Kind;

/// A comparison in vain costs about as much as the classic loop needs for this many bytes.
constexpr std::size_t COST_OF_COMPARISON = 32;
/// Bytes' worth of comparisons in vain that are free at the beginning.
constexpr std::size_t CREDIT = 512;

/// One search; `Engine` compares a byte with `Engine::WIDTH` neighbouring ones and answers a bit for each.
class EndsSearch {
public:
    EndsSearch(const BYTE* pbyData, std::size_t cData, const BYTE* pbyPattern, std::size_t cPattern,
               std::size_t cStart) noexcept
        : m_pbyData(pbyData),
          m_pbyPattern(pbyPattern),
          m_cPattern(cPattern),
          m_cInner(cPattern > 2 ? cPattern - 2 : 0),
          m_cStart(cStart),
          m_cOffsets(cData - cPattern + 1) {}

    template <class Engine>
    [[gnu::always_inline]] PatternSearchResult Run() noexcept {
        constexpr std::size_t WIDTH = Engine::WIDTH;
        const Engine engine(m_pbyPattern[0], m_pbyPattern[m_cPattern - 1]);
        const BYTE* const pbyLast = m_pbyData + m_cPattern - 1;
        std::size_t cAt = m_cStart;
        for (; cAt + WIDTH <= m_cOffsets; cAt += WIDTH) {
            const std::uint32_t mask = engine.Candidates(m_pbyData + cAt, pbyLast + cAt);
            if (mask != 0 && Check(cAt, mask)) return m_result;
        }
        if (cAt < m_cOffsets && m_cOffsets - m_cStart >= WIDTH) {
            // The last block overlaps the one before; the offsets that both hold have been looked at.
            const std::size_t cBlock = m_cOffsets - WIDTH;
            const std::uint32_t mask = engine.Candidates(m_pbyData + cBlock, pbyLast + cBlock) >> (cAt - cBlock);
            if (mask != 0 && Check(cAt, mask)) return m_result;
            cAt = m_cOffsets;
        }
        for (; cAt < m_cOffsets; ++cAt) {
            if (m_pbyData[cAt] == m_pbyPattern[0] && pbyLast[cAt] == m_pbyPattern[m_cPattern - 1] && Check(cAt, 1)) {
                return m_result;
            }
        }
        return {Kind::Absent, 0};
    }

private:
    /// Compares at the offsets that the mask names.  @return whether the search is over.
    [[gnu::always_inline]] bool Check(std::size_t cBase, std::uint32_t mask) noexcept {
        do {
            const std::size_t cAt = cBase + static_cast<std::size_t>(std::countr_zero(mask));
            if (std::memcmp(m_pbyData + cAt + 1, m_pbyPattern + 1, m_cInner) == 0) {
                m_result = {Kind::Found, cAt};
                return true;
            }
            m_cSpent += COST_OF_COMPARISON;
            mask &= mask - 1;
        } while (mask != 0);
        m_result = {Kind::GaveUp, cBase};
        return m_cSpent > CREDIT + (cBase - m_cStart);
    }

    const BYTE* m_pbyData;
    const BYTE* m_pbyPattern;
    std::size_t m_cPattern;
    std::size_t m_cInner;  ///< bytes between the first and the last
    std::size_t m_cStart;
    std::size_t m_cOffsets;  ///< offsets below this have room for the pattern
    std::size_t m_cSpent = 0;
    PatternSearchResult m_result{Kind::Absent, 0};
};

class Sse2Engine {
public:
    static constexpr std::size_t WIDTH = 16;
    Sse2Engine(BYTE byFirst, BYTE byLast) noexcept
        : m_first(_mm_set1_epi8(static_cast<char>(byFirst))), m_last(_mm_set1_epi8(static_cast<char>(byLast))) {}
    std::uint32_t Candidates(const BYTE* pbyFirst, const BYTE* pbyLast) const noexcept {
        const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pbyFirst));
        const __m128i last = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pbyLast));
        return static_cast<std::uint32_t>(
            _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(first, m_first), _mm_cmpeq_epi8(last, m_last))));
    }

private:
    __m128i m_first;
    __m128i m_last;
};

/// Keeps its bytes as bytes: no 256-bit value lives in memory, whose alignment not every system's stack would give.
class Avx2Engine {
public:
    static constexpr std::size_t WIDTH = 32;
    Avx2Engine(BYTE byFirst, BYTE byLast) noexcept : m_byFirst(byFirst), m_byLast(byLast) {}
    VLM_AVX2 std::uint32_t Candidates(const BYTE* pbyFirst, const BYTE* pbyLast) const noexcept {
        const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pbyFirst));
        const __m256i last = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pbyLast));
        const __m256i firstHits = _mm256_cmpeq_epi8(first, _mm256_set1_epi8(static_cast<char>(m_byFirst)));
        const __m256i lastHits = _mm256_cmpeq_epi8(last, _mm256_set1_epi8(static_cast<char>(m_byLast)));
        return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_and_si256(firstHits, lastHits)));
    }

private:
    BYTE m_byFirst;
    BYTE m_byLast;
};

VLM_AVX2 PatternSearchResult RunAvx2(EndsSearch search) noexcept {
    return search.Run<Avx2Engine>();
}

}  // namespace

PatternSearchResult SearchByEnds(const BYTE* pbyData, std::size_t cData, const BYTE* pbyPattern, std::size_t cPattern,
                                 std::size_t cStart) noexcept {
    EndsSearch search(pbyData, cData, pbyPattern, cPattern, cStart);
    return GetCpuLevel() >= CpuLevel::Avx2 ? RunAvx2(search) : search.Run<Sse2Engine>();
}

}  // namespace vlm
