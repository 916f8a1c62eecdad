/// @file
/// The sum of 16-bit words, left to the compiler's vectors.
#include "utilities/utilitiesdll/detail/values/WordSum.h"

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

/// The same loop with vectors of twice the width.
__attribute__((target("avx2"))) std::uint32_t SumAvx2(const BYTE* pbyData, std::size_t cWords) noexcept {
    return Sum(pbyData, cWords);
}

}  // namespace

DWORD SumOfWords(const BYTE* pbyData, std::size_t cWords) noexcept {
    constexpr std::size_t WIDE_FROM = 64;
    if (cWords >= WIDE_FROM && GetCpuLevel() >= CpuLevel::Avx2) return SumAvx2(pbyData, cWords);
    return Sum(pbyData, cWords);
}

}  // namespace vlm
