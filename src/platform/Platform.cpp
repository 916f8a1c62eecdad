/// @file
/// Holds the ports in force.
#include "platform/Platform.h"

#include <atomic>

namespace vlm {

namespace {
constinit std::atomic<const Platform*> gpPlatform{nullptr};
}

const Platform& GetPlatform() noexcept {
    const Platform* pPlatform = gpPlatform.load(std::memory_order_acquire);
    return pPlatform ? *pPlatform : GetSystemPlatform();
}

const Platform* ExchangePlatform(const Platform* pPlatform) noexcept {
    return gpPlatform.exchange(pPlatform, std::memory_order_acq_rel);
}

}  // namespace vlm
