/// @file
/// The numbers of the process and of the thread, asked of the system once.
#pragma once

#include "platform/WinTypes.h"

namespace vlm::host {

/// As getpid.  A child that was forked asks for its own.  Threads: any.
DWORD CurrentProcess() noexcept;
/// As gettid.
DWORD CurrentThread() noexcept;

}  // namespace vlm::host
