/// @file
/// Debugger output over kernel32.
#include "platform/win32/Win32DesktopPort.h"

#include "platform/win32/System.h"

namespace vlm::win32 {

void Win32DesktopPort::DebuggerOutput(const XCHAR* pszText) noexcept {
    const LastErrorScope oKeep;
    OutputDebugStringW(pszText ? pszText : L"");
}

}  // namespace vlm::win32
