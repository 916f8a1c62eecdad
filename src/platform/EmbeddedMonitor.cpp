/// @file
/// Holds the monitor in place.
#include "platform/EmbeddedMonitor.h"

#include <atomic>

namespace vlm {

namespace {
constinit std::atomic<EmbeddedMonitor*> gpMonitor{nullptr};
}

EmbeddedMonitor* GetEmbeddedMonitor() noexcept {
    return gpMonitor.load(std::memory_order_acquire);
}

EmbeddedMonitor* ExchangeEmbeddedMonitor(EmbeddedMonitor* pMonitor) noexcept {
    return gpMonitor.exchange(pMonitor, std::memory_order_acq_rel);
}

}  // namespace vlm
