/// @file
/// The clock of the diagnostics.
#include "utilities/debuggingandexceptions/DebugClock.h"

#include <atomic>

#include "platform/ClockPort.h"
#include "platform/Platform.h"
#include "utilities/utilitiesdll/CriticalResource.h"

namespace {

constexpr LONGLONG TICK_COUNTS_PER_SECOND = 1000;

constinit CriticalResource gscChoice;
constinit std::atomic<bool> gfChosen{false};
/// Ticks per second of the performance counter; 0 when the tick count was chosen.
constinit std::atomic<LONGLONG> gllFrequency{0};

LONGLONG ChosenFrequency() noexcept {
    if (!gfChosen.load(std::memory_order_acquire)) {
        const CriticalResourceLock lock(gscChoice);
        if (!gfChosen.load(std::memory_order_relaxed)) {
            const LONGLONG llFrequency = vlm::GetPlatform().pClock->PerformanceFrequency();
            gllFrequency.store(llFrequency > 0 ? llFrequency : 0, std::memory_order_relaxed);
            gfChosen.store(true, std::memory_order_release);
        }
    }
    return gllFrequency.load(std::memory_order_relaxed);
}

}  // namespace

bool DebugClock::IsHighResolution() noexcept {
    return ChosenFrequency() != 0;
}

LONGLONG DebugClock::Now() noexcept {
    vlm::ClockPort& rClock = *vlm::GetPlatform().pClock;
    return IsHighResolution() ? rClock.PerformanceCounter() : static_cast<LONGLONG>(rClock.TickCount());
}

LONGLONG DebugClock::GetTicksPerSecond() noexcept {
    const LONGLONG llFrequency = ChosenFrequency();
    return llFrequency != 0 ? llFrequency : TICK_COUNTS_PER_SECOND;
}

double DebugClock::ToMilliseconds(LONGLONG llTicks) noexcept {
    return static_cast<double>(llTicks) * 1000.0 / static_cast<double>(GetTicksPerSecond());
}

void DebugClock::ChooseAnew() noexcept {
    gfChosen.store(false, std::memory_order_release);
}
