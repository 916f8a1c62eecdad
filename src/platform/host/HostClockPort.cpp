/// @file
/// Clocks of the host: the monotonic clock in nanoseconds, and the wall clock.
#include "platform/host/HostClockPort.h"

#include <ctime>

namespace vlm::host {

namespace {

constexpr LONGLONG NANOSECONDS_PER_SECOND = 1'000'000'000;

timespec Now(clockid_t eClock) noexcept {
    timespec oNow{};
    clock_gettime(eClock, &oNow);
    return oNow;
}

}  // namespace

LONGLONG HostClockPort::PerformanceCounter() noexcept {
    const timespec oNow = Now(CLOCK_MONOTONIC);
    return oNow.tv_sec * NANOSECONDS_PER_SECOND + oNow.tv_nsec;
}

LONGLONG HostClockPort::PerformanceFrequency() noexcept {
    return NANOSECONDS_PER_SECOND;
}

DWORD HostClockPort::TickCount() noexcept {
    return static_cast<DWORD>(PerformanceCounter() / 1'000'000);
}

LONGLONG HostClockPort::UtcSeconds() noexcept {
    return Now(CLOCK_REALTIME).tv_sec;
}

CalendarTime HostClockPort::LocalTime() noexcept {
    const timespec oNow = Now(CLOCK_REALTIME);
    tm oTime{};
    localtime_r(&oNow.tv_sec, &oTime);
    return {static_cast<WORD>(oTime.tm_year + 1900),
            static_cast<WORD>(oTime.tm_mon + 1),
            static_cast<WORD>(oTime.tm_wday),
            static_cast<WORD>(oTime.tm_mday),
            static_cast<WORD>(oTime.tm_hour),
            static_cast<WORD>(oTime.tm_min),
            static_cast<WORD>(oTime.tm_sec > 59 ? 59 : oTime.tm_sec),
            static_cast<WORD>(oNow.tv_nsec / 1'000'000)};
}

}  // namespace vlm::host
