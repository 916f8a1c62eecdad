/// @file
/// Clocks over kernel32.
#include "platform/win32/Win32ClockPort.h"

#include "platform/win32/System.h"

namespace vlm::win32 {

LONGLONG Win32ClockPort::PerformanceCounter() noexcept {
    LARGE_INTEGER oTicks{};
    return QueryPerformanceCounter(&oTicks) ? oTicks.QuadPart : 0;
}

LONGLONG Win32ClockPort::PerformanceFrequency() noexcept {
    LARGE_INTEGER oTicks{};
    return QueryPerformanceFrequency(&oTicks) ? oTicks.QuadPart : 0;
}

DWORD Win32ClockPort::TickCount() noexcept {
    return GetTickCount();
}

LONGLONG Win32ClockPort::UtcSeconds() noexcept {
    // A file time counts 100 ns from 1601; 11644473600 seconds lie before 1970.
    constexpr LONGLONG UNITS_PER_SECOND = 10'000'000, SECONDS_TO_1970 = 11'644'473'600;
    FILETIME oTime{};
    GetSystemTimeAsFileTime(&oTime);
    const LONGLONG llUnits = static_cast<LONGLONG>((ULONGLONG{oTime.dwHighDateTime} << 32) | oTime.dwLowDateTime);
    return llUnits / UNITS_PER_SECOND - SECONDS_TO_1970;
}

CalendarTime Win32ClockPort::LocalTime() noexcept {
    SYSTEMTIME o{};
    GetLocalTime(&o);
    return {o.wYear, o.wMonth, o.wDayOfWeek, o.wDay, o.wHour, o.wMinute, o.wSecond, o.wMilliseconds};
}

}  // namespace vlm::win32
