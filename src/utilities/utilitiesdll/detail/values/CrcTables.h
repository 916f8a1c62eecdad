/// @file
/// Arithmetic of the CRC-32 polynomial and the tables made from it, all at compile time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vlm::crc {

/// P(x) = x^32 + 0x04C11DB7, reflected: bit 31 is the coefficient of x^0.
inline constexpr std::uint32_t POLYNOMIAL = 0xEDB88320;

/// v(x) * x mod P.
constexpr std::uint32_t TimesX(std::uint32_t v) noexcept {
    return (v >> 1) ^ ((v & 1) ? POLYNOMIAL : 0);
}

/// x^n mod P.
constexpr std::uint32_t PowerOfX(unsigned n) noexcept {
    std::uint32_t v = 0x80000000;
    while (n-- > 0)
        v = TimesX(v);
    return v;
}

/// Bytes that one step of the table form takes.
inline constexpr std::size_t SLICE_BYTES = 16;

/// Row 0 is the usual table; row k is the effect of a byte that is followed by k zero bytes.
inline constexpr auto TABLES = [] {
    std::array<std::array<std::uint32_t, 256>, SLICE_BYTES> aTables{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t v = i;
        for (int bit = 0; bit < 8; ++bit)
            v = TimesX(v);
        aTables[0][i] = v;
    }
    for (std::size_t k = 1; k < SLICE_BYTES; ++k) {
        for (std::size_t i = 0; i < 256; ++i) {
            const std::uint32_t v = aTables[k - 1][i];
            aTables[k][i] = (v >> 8) ^ aTables[0][v & 0xFF];
        }
    }
    return aTables;
}();

/// The two factors that move 128 bits of a message `iBits` further up, for the carry-less multiplication of reflected
/// values: the product comes out one bit too low, hence the shift.
struct FoldFactors {
    std::int64_t llLow;   ///< for the earlier half, which stands 64 bits higher
    std::int64_t llHigh;  ///< for the later half
};

consteval FoldFactors FoldBy(unsigned iBits) noexcept {
    return {static_cast<std::int64_t>(PowerOfX(iBits + 32)) << 1, static_cast<std::int64_t>(PowerOfX(iBits - 32)) << 1};
}

/// The polynomial and floor(x^64 / P), both of 33 bits and reflected, for the last reduction (P. Barrett).
inline constexpr std::int64_t POLYNOMIAL_33 = static_cast<std::int64_t>(POLYNOMIAL) << 1 | 1;
inline constexpr std::int64_t QUOTIENT_33 = [] {
    std::int64_t llQuotient = 1;  // the coefficient of x^32, which reflection puts lowest
    std::uint32_t v = PowerOfX(32);
    for (int bit = 1; bit <= 32; ++bit) {
        llQuotient |= static_cast<std::int64_t>(v & 1) << bit;
        v = TimesX(v);
    }
    return llQuotient;
}();

}  // namespace vlm::crc
