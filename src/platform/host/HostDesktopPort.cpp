/// @file
/// Hands debugger output to a listener, if there is one.
#include "platform/host/HostDesktopPort.h"

#include <atomic>

namespace vlm::host {

namespace {
constinit std::atomic<DebuggerListener> gpfnListener{nullptr};
}

DebuggerListener ExchangeDebuggerListener(DebuggerListener pfnListener) noexcept {
    return gpfnListener.exchange(pfnListener, std::memory_order_acq_rel);
}

void HostDesktopPort::DebuggerOutput(const XCHAR* pszText) noexcept {
    if (const DebuggerListener pfnListener = gpfnListener.load(std::memory_order_acquire)) {
        pfnListener(pszText ? pszText : VTEXT(""));
    }
}

}  // namespace vlm::host
