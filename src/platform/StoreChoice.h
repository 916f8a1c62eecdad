/// @file
/// Which file the embedded registry and spooler live in, where they are embedded.
#pragma once

#include "platform/Export.h"

namespace vlm {

/// Has the process use this file as its store from now on; handles into the former one become invalid.
/// @param pszFile UTF-8; ":memory:" for one in the process's memory alone; null: the default again.
/// @return false where registry and spooler are the system's own (Windows), or when memory is short.
/// Threads: any.
VLM_API bool ChooseStore(const char* pszFile) noexcept;

}  // namespace vlm
