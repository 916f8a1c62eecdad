/// @file
/// General routines: what reaches a person.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"

/// General routines of the library, by room: this header has those that reach a person.
namespace VelomUtilities {

/// Shows a message box so that somebody sees it and no service hangs for ever: in a process whose desktop is visible as
/// the system's own box, else in the active sessions of the machine, one after the other until one takes it.
/// The text first goes to the debug messages (category "utils"), and what goes wrong on the way, too.
/// Without a visible desktop the style gains the service notification and the foreground, and the caption begins with
/// the name of the program.  There is at most one such box of a process at any time: while it is up, further ones are
/// only written to the debug messages.  Under the loader lock, and while the process ends, the text goes to the
/// debugger output and no box comes up.
/// @param hwndOwner may be null; not used without a visible desktop.
/// @param pszText,pszCaption null: empty.
/// @param uStyle as the system's message box takes it.
/// @return the button pressed; 0 when no box could be shown.
/// **Threads**: any; the caller waits for the answer and must not hold a lock of the library.  **Failure**: none
/// throws.
VLM_API int NoHangDebugMessageBox(HWND hwndOwner, const XCHAR* pszText, const XCHAR* pszCaption, UINT uStyle) noexcept;

}  // namespace VelomUtilities
