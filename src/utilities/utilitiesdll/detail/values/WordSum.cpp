/// @file
/// The sum of 16-bit words.
#include "utilities/utilitiesdll/detail/values/WordSum.h"

#include <immintrin.h>

#include <bit>
#include <cstdint>
#include <cstring>

#include "utilities/utilitiesdll/detail/values/CpuLevel.h"

namespace vlm {
namespace {

static_assert(std::endian::native == std::endian::little, "words are loaded as they stand");

[[gnu::always_inline]] inline std::uint32_t Sum(const BYTE* pbyData, std::size_t cWords) noexcept {
    std::uint32_t sum = 0;
    // Two words at a time: splitting a lane is cheaper than widening one.
    for (std::size_t i = 0; i < cWords / 2; ++i) {
        std::uint32_t pair;
        std::memcpy(&pair, pbyData + 4 * i, sizeof pair);
        sum += (pair & 0xFFFF) + (pair >> 16);
    }
    if (cWords % 2 != 0) {
        std::uint16_t word;
        std::memcpy(&word, pbyData + 2 * (cWords - 1), sizeof word);
        sum += word;
    }
    return sum;
}

/// Sixteen words per step of each of four sums, so that none waits for its last addition.
__attribute__((target("avx2"))) std::uint32_t SumAvx2(const BYTE* pbyData, std::size_t cWords) noexcept {
    constexpr std::size_t STEP_WORDS = 64;
    constexpr std::uint32_t BIAS =
        0x8000;  // the multiplication takes words for signed: they are moved down, the sum up
    const __m256i bias = _mm256_set1_epi16(static_cast<short>(BIAS));
    const __m256i ones = _mm256_set1_epi16(1);
    __m256i sums[4] = {};
    const std::size_t cSteps = cWords / STEP_WORDS;
    for (std::size_t i = 0; i < cSteps; ++i) {
        const auto* const pwords = reinterpret_cast<const __m256i*>(pbyData + i * STEP_WORDS * 2);
        for (int j = 0; j < 4; ++j) {
            const __m256i words = _mm256_xor_si256(_mm256_loadu_si256(pwords + j), bias);
            sums[j] = _mm256_add_epi32(sums[j], _mm256_madd_epi16(words, ones));
        }
    }
    const __m256i all = _mm256_add_epi32(_mm256_add_epi32(sums[0], sums[1]), _mm256_add_epi32(sums[2], sums[3]));
    std::uint32_t adwLanes[8];
    std::memcpy(adwLanes, &all, sizeof adwLanes);
    std::uint32_t sum = static_cast<std::uint32_t>(cSteps * STEP_WORDS) * BIAS;
    for (const std::uint32_t dwLane : adwLanes)
        sum += dwLane;
    return sum + Sum(pbyData + cSteps * STEP_WORDS * 2, cWords % STEP_WORDS);
}

}  // namespace

DWORD SumOfWords(const BYTE* pbyData, std::size_t cWords) noexcept {
    constexpr std::size_t WIDE_FROM = 128;
    if (cWords >= WIDE_FROM && GetCpuLevel() >= CpuLevel::Avx2) return SumAvx2(pbyData, cWords);
    return Sum(pbyData, cWords);
}

}  // namespace vlm
