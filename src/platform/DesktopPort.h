/// @file
/// Port: the desktop and the debugger.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Debugger output.  Message boxes, sessions and windows join this port with the classes that use them.
/// Threads: any.  Nothing throws.
class DesktopPort {
public:
    virtual ~DesktopPort() = default;

    /// Sends a zero-terminated text to an attached debugger (null: an empty text).  On the host there is none: the text
    /// goes to the recorder that a program has put in place, or nowhere.
    virtual void DebuggerOutput(const XCHAR* pszText) noexcept = 0;
};

}  // namespace vlm
