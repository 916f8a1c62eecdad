/// @file
/// What becomes of a failure of one of the outputs: it is told through the others.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Writes the text to the debugger output, and shows it in a box with caption "Debug Message Manager Error" (style
/// 0x10) where that is allowed.  Call it without a lock of the library.  **Failure**: none.
void TellOutputFailure(const XCHAR* pszText) noexcept;

/// Shows a box of the diagnostics.  In a process with a visible desktop the caller waits for the answer; in any other
/// one the box is put up by a thread of its own, and dropped while another one is up.  None under the loader lock.
void ShowDiagnosticsBox(const XCHAR* pszText, const XCHAR* pszCaption, UINT uStyle) noexcept;

}  // namespace vlm
