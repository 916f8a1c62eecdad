/// @file
/// Sums with ticks of the diagnostics' clock.
#pragma once

#include <algorithm>
#include <limits>

#include "platform/WinTypes.h"

namespace vlm {

inline constexpr LONGLONG MOST_TICKS = std::numeric_limits<LONGLONG>::max();

/// From one moment to a later one; 0 when it is not later.  The moments may be anything: they come from the registry.
constexpr LONGLONG TicksBetween(LONGLONG llEarlier, LONGLONG llLater) noexcept {
    if (llLater <= llEarlier) return 0;
    const ULONGLONG ullTicks = static_cast<ULONGLONG>(llLater) - static_cast<ULONGLONG>(llEarlier);
    return static_cast<LONGLONG>(std::min(ullTicks, static_cast<ULONGLONG>(MOST_TICKS)));
}

/// A span, and another that is not negative, as far as they can be counted.
constexpr LONGLONG AddTicks(LONGLONG llTicks, LONGLONG llMore) noexcept {
    return llTicks > MOST_TICKS - llMore ? MOST_TICKS : llTicks + llMore;
}

}  // namespace vlm
