/// @file
/// Tells ordinary files on local drives from everything else that a path may lead to.
#pragma once

#include "platform/win32/System.h"

namespace vlm::win32 {

/// Before anything is opened or made: does the path name something on a local drive, in a folder that is where its path
/// says?  @param pszPath as the system takes it.  @return AccessDenied when not.
Status CheckPlainPath(const XCHAR* pszPath) noexcept;

/// Afterwards: is what was opened (with the flag that opens links themselves) an ordinary file with one name, where the
/// path says?  @return AccessDenied when not.
Status CheckPlainFile(HANDLE hFile, const XCHAR* pszPath) noexcept;

}  // namespace vlm::win32
