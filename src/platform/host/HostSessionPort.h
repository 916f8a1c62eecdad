/// @file
/// The host has no desktop of this system's kind.
#pragma once

#include "platform/SessionPort.h"

namespace vlm::host {

/// Answers "not available" to everything, and never writes anywhere: a caller with something to say has other outputs.
class HostSessionPort final : public SessionPort {
public:
    int ShowBox(HWND, const XCHAR*, const XCHAR*, DWORD) noexcept override { return 0; }
    bool IsDesktopVisible() noexcept override { return false; }
    void Beep(DWORD) noexcept override {}
    Status EnumerateSessions(Session*, DWORD& rcSessions) noexcept override {
        rcSessions = 0;
        return Status::NotSupported;
    }
    Status ShowBoxInSession(DWORD, const XCHAR*, const XCHAR*, DWORD, int&) noexcept override {
        return Status::NotSupported;
    }
    HWND FindWindowOfClass(const XCHAR*) noexcept override { return nullptr; }
    UINT RegisterMessage(const XCHAR*) noexcept override { return 0; }
    Status PostToWindow(HWND, UINT, WORD) noexcept override { return Status::InvalidWindowHandle; }
    Status SendToWindow(HWND, UINT, WORD, DWORD) noexcept override { return Status::InvalidWindowHandle; }
    WORD AddGlobalAtom(const XCHAR*) noexcept override { return 0; }
    void DeleteGlobalAtom(WORD) noexcept override {}
};

}  // namespace vlm::host
