/// @file
/// Boxes, sessions and windows of the system.
#pragma once

#include "platform/SessionPort.h"

namespace vlm::win32 {

class Win32SessionPort final : public SessionPort {
public:
    int ShowBox(HWND hwndOwner, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle) noexcept override;
    bool IsDesktopVisible() noexcept override;
    void Beep(DWORD dwKind) noexcept override;
    Status EnumerateSessions(Session* pSessions, DWORD& rcSessions) noexcept override;
    Status ShowBoxInSession(DWORD dwSession, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle,
                            int& riAnswer) noexcept override;
    HWND FindWindowOfClass(const XCHAR* pszClass) noexcept override;
    UINT RegisterMessage(const XCHAR* pszName) noexcept override;
    Status PostToWindow(HWND hwnd, UINT uMessage, WORD wAtom) noexcept override;
    Status SendToWindow(HWND hwnd, UINT uMessage, WORD wAtom, DWORD dwMilliseconds) noexcept override;
    WORD AddGlobalAtom(const XCHAR* pszText) noexcept override;
    void DeleteGlobalAtom(WORD wAtom) noexcept override;
};

}  // namespace vlm::win32
