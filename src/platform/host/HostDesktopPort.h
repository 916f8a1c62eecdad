/// @file
/// The host has no debugger channel: a recorder may listen instead.
#pragma once

#include "platform/DesktopPort.h"

namespace vlm::host {

/// Receives what would go to a debugger, zero-terminated and borrowed for the call, on the thread that sends it.
using DebuggerListener = void (*)(const XCHAR* pszText) noexcept;

/// Puts a listener in place (null: none) and returns the former one.  Threads: any.
DebuggerListener ExchangeDebuggerListener(DebuggerListener pfnListener) noexcept;

class HostDesktopPort final : public DesktopPort {
public:
    void DebuggerOutput(const XCHAR* pszText) noexcept override;
};

}  // namespace vlm::host
