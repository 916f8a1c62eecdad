/// @file
/// The system's clocks.
#pragma once

#include "platform/ClockPort.h"

namespace vlm::win32 {

class Win32ClockPort final : public ClockPort {
public:
    LONGLONG PerformanceCounter() noexcept override;
    LONGLONG PerformanceFrequency() noexcept override;
    DWORD TickCount() noexcept override;
    LONGLONG UtcSeconds() noexcept override;
    CalendarTime LocalTime() noexcept override;
};

}  // namespace vlm::win32
