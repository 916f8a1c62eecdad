/// @file
/// Clocks of the host.
#pragma once

#include "platform/ClockPort.h"

namespace vlm::host {

class HostClockPort final : public ClockPort {
public:
    LONGLONG PerformanceCounter() noexcept override;
    LONGLONG PerformanceFrequency() noexcept override;
    DWORD TickCount() noexcept override;
    LONGLONG UtcSeconds() noexcept override;
    CalendarTime LocalTime() noexcept override;
};

}  // namespace vlm::host
