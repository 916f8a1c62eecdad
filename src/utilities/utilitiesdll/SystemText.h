/// @file
/// The system's words for its status numbers.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

namespace vlm {

/// "Access is denied. (error 5)": the system's own words, then the number; the number alone when the system has no
/// words.  @throws as a string that finds no memory.
VLM_API CXString TextOfStatus(DWORD dwStatus);
inline CXString TextOfStatus(Status status) {
    return TextOfStatus(ToDword(status));
}

}  // namespace vlm
