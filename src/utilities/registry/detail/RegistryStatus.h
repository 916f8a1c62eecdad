/// @file
/// A registry status in words.
#pragma once

#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

namespace vlm {

/// The system's text of a status, with the application in front where its name is known; the bare number for a status
/// that has no text.  For the end of a message about a registry call.
CXString RegistryStatusInWords(DWORD dwStatus) noexcept;

}  // namespace vlm
