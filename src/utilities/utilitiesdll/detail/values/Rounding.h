/// @file
/// Truncation and rounding of doubles, with a defined answer for every value.
#pragma once

#include <emmintrin.h>

#include <cmath>
#include <cstdint>

#include "platform/WinTypes.h"

namespace vlm {

/// Cuts off the fraction.  What 64 (32) bits cannot hold, and what is no number, gives the lowest value: that is what
/// the processor's instruction does, while the language leaves it undefined.
inline std::int64_t TruncateToInt64(double dbl) noexcept {
    return _mm_cvttsd_si64(_mm_set_sd(dbl));
}
inline std::int32_t TruncateToInt32(double dbl) noexcept {
    return _mm_cvttsd_si32(_mm_set_sd(dbl));
}

/// 10^n: exact from 0 to 22.
inline double PowerOfTen(int iExponent) noexcept {
    constexpr double EXACT[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr int LAST = sizeof EXACT / sizeof *EXACT - 1;
    return iExponent >= 0 && iExponent <= LAST ? EXACT[iExponent] : std::pow(10.0, iExponent);
}

/// The rounded count of last places; `dblScaled` is not negative.  See Number::Round for the rule.
inline std::int64_t RoundScaled(double dblScaled, double dblThreshold) noexcept {
    constexpr double STEPS = 100000.0;
    std::int64_t llWhole = TruncateToInt64(dblScaled);
    if (dblScaled > 0 && llWhole < 0) llWhole = 0x7FFFFFFE;
    // Unsigned: the products may wrap, and are meant to.
    const std::uint64_t ullFraction = static_cast<std::uint64_t>(TruncateToInt64(dblScaled * STEPS)) -
                                      static_cast<std::uint64_t>(llWhole) * static_cast<std::uint64_t>(STEPS);
    const bool fUp = TruncateToInt64(STEPS * dblThreshold) < static_cast<std::int64_t>(ullFraction);
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(llWhole) + (fUp ? 1 : 0));
}

/// What is added to a rounded value so that cutting it to an integer later cannot fall below it.
inline constexpr double TRUNCATION_GUARD = 0.0000001;

/// Number::Round for 0 places.
inline double RoundToWhole(double dblValue, double dblThreshold) noexcept {
    const double dblSign = dblValue < 0 ? -1.0 : 1.0;
    return (static_cast<double>(RoundScaled(dblSign * dblValue, dblThreshold)) + TRUNCATION_GUARD) * dblSign;
}

}  // namespace vlm
