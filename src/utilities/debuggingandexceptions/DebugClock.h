/// @file
/// The clock of the diagnostics.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"

/// The one clock of the process that performance timing and time stamps go by: the performance counter where the system
/// has one, otherwise the tick count.  Which one is chosen on first use, once.
/// **Threads**: any.  **Failure**: none.
class VLM_API DebugClock {
public:
    DebugClock() = delete;

    /// Is it the performance counter?
    static bool IsHighResolution() noexcept;
    /// The clock in ticks.  The tick count of the system wraps at 2^32 ms and so does this one, then.
    static LONGLONG Now() noexcept;
    /// Ticks per second; never 0.
    static LONGLONG GetTicksPerSecond() noexcept;
    /// A span of ticks in milliseconds.
    static double ToMilliseconds(LONGLONG llTicks) noexcept;

    /// Forgets the choice, for tests that exchange the platform.
    static void ChooseAnew() noexcept;
};
