/// @file
/// Port: message boxes, sessions, and the windows of other processes.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// What reaches a person, or another process's window.  The host has neither: a box answers 0, sessions NotSupported,
/// look-ups nothing.
/// Threads: any; a box blocks its caller until it is answered.  Failure: by status; nothing throws.
class SessionPort {
public:
    /// Styles and answers of a box, as the system numbers them.
    static constexpr DWORD BOX_OK_CANCEL = 0x1, BOX_ICON_ERROR = 0x10, BOX_TASK_MODAL = 0x2000,
                           BOX_SET_FOREGROUND = 0x10000, BOX_SERVICE_NOTIFICATION = 0x200000;
    static constexpr int ANSWER_OK = 1, ANSWER_CANCEL = 2;
    /// Text of a global atom in code units, without the terminator.
    static constexpr std::size_t MAX_ATOM_UNITS = 255;

    struct Session {
        DWORD dwId = 0;
        bool fActive = false;
    };

    virtual ~SessionPort() = default;

    /// Shows a box.  @return the button, or 0 when none could be shown.
    virtual int ShowBox(HWND hwndOwner, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle) noexcept = 0;
    /// Can somebody see a box of this process?  False for a service and in session 0.
    virtual bool IsDesktopVisible() noexcept = 0;
    /// @param dwKind a box's icon style, or 0xFFFFFFFF for the plain beep.
    virtual void Beep(DWORD dwKind) noexcept = 0;

    /// The sessions of this machine, in the system's order.  `rcSessions`: room before; after it their number, which
    /// may be greater: then only the first ones were written.  0 after a failure.
    virtual Status EnumerateSessions(Session* pSessions, DWORD& rcSessions) noexcept = 0;
    /// Shows a box in a session and waits for the answer.
    virtual Status ShowBoxInSession(DWORD dwSession, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle,
                                    int& riAnswer) noexcept = 0;

    /// The first top-level window of a class; null when there is none.
    virtual HWND FindWindowOfClass(const XCHAR* pszClass) noexcept = 0;
    /// The number that all processes of the desktop know a message name by; 0 on failure.
    virtual UINT RegisterMessage(const XCHAR* pszName) noexcept = 0;
    /// @return InvalidWindowHandle (also for null, which would reach the calling thread instead of a window).
    virtual Status PostToWindow(HWND hwnd, UINT uMessage, WORD wAtom) noexcept = 0;
    /// Sends, and gives up after `dwMilliseconds` (TimeOut) or when the window hangs.
    virtual Status SendToWindow(HWND hwnd, UINT uMessage, WORD wAtom, DWORD dwMilliseconds) noexcept = 0;
    /// @return the atom, or 0: no room, an empty or too long text, or one of "#" and digits, which the system would
    /// take for a number instead of keeping it.
    virtual WORD AddGlobalAtom(const XCHAR* pszText) noexcept = 0;
    virtual void DeleteGlobalAtom(WORD wAtom) noexcept = 0;
};

}  // namespace vlm
