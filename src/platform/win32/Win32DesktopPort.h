/// @file
/// The debugger of the system.
#pragma once

#include "platform/DesktopPort.h"

namespace vlm::win32 {

class Win32DesktopPort final : public DesktopPort {
public:
    void DebuggerOutput(const XCHAR* pszText) noexcept override;
};

}  // namespace vlm::win32
