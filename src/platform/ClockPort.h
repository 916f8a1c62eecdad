/// @file
/// Port: clocks.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// A moment broken down into calendar fields.
struct CalendarTime {
    WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};

/// Counters and the time of day.  Threads: any.  Nothing throws.
class ClockPort {
public:
    virtual ~ClockPort() = default;

    /// Ticks of the performance counter; never goes back.
    virtual LONGLONG PerformanceCounter() noexcept = 0;
    /// Ticks per second; constant while the process runs; 0: the system has no counter.
    virtual LONGLONG PerformanceFrequency() noexcept = 0;
    /// Milliseconds since start-up; wraps at 2^32.
    virtual DWORD TickCount() noexcept = 0;
    /// Seconds since 1970-01-01 00:00 UTC.
    virtual LONGLONG UtcSeconds() noexcept = 0;
    /// The time of day in the user's time zone.  `wDayOfWeek` counts from 0, Sunday; a leap second shows as 59.
    virtual CalendarTime LocalTime() noexcept = 0;
};

}  // namespace vlm
