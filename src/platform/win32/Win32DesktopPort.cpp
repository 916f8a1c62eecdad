/// @file
/// Debugger output over kernel32.
#include "platform/win32/Win32DesktopPort.h"

#include "platform/win32/System.h"

namespace vlm::win32 {

void Win32DesktopPort::DebuggerOutput(const XCHAR* pszText) noexcept {
    const LastErrorScope oKeep;
    OutputDebugStringW(pszText ? pszText : L"");
}

bool Win32DesktopPort::IsDebuggerPresent() noexcept {
    return ::IsDebuggerPresent() != FALSE;
}

}  // namespace vlm::win32
