/// @file
/// What the library's entry point knows about the loaded module.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"

/// The library's own module handle, recorded when it was loaded; null where the system has no such thing.
VLM_API HINSTANCE GetUtilitiesDllInstance() noexcept;
