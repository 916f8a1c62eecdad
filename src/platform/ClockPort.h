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

    /// Ticks of the performance counter; its frequency in ticks per second (0: the system has none).
    virtual LONGLONG PerformanceCounter() noexcept = 0;
    virtual LONGLONG PerformanceFrequency() noexcept = 0;
    /// Milliseconds since start-up; wraps at 2^32.
    virtual DWORD TickCount() noexcept = 0;
    /// Seconds since 1970-01-01 00:00 UTC.
    virtual LONGLONG UtcSeconds() noexcept = 0;
    virtual CalendarTime LocalTime() noexcept = 0;
};

}  // namespace vlm
