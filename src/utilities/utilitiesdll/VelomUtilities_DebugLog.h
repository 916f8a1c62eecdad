/// @file
/// General routines: the log file of the debug messages.
#pragma once

#include "platform/Export.h"
#include "utilities/utilitiesdll/CXString.h"

namespace VelomUtilities {

/// Longest name that GetDebugLogFileName answers, in code units: a buffer of 260 with its terminator.
inline constexpr int MAX_DEBUG_LOG_FILE_NAME = 259;

/// The name of the log file as it stands in the registry now, whatever this process has read so far and whether or not
/// messages go there.  Empty when there is none, or none that may be read or is that short.
/// Opens "SOFTWARE\\Velom\\KestrixDebugConfig" directly under HKEY_LOCAL_MACHINE for reading.
/// **Threads**: any.  **Failure**: nothing throws.
VLM_API CXString GetDebugLogFileName() noexcept;

}  // namespace VelomUtilities
