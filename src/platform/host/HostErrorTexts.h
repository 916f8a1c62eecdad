/// @file
/// Texts of the system's error numbers on the host.
#pragma once

#include "platform/WinTypes.h"

namespace vlm::host {

/// @return the text without line end, or an empty view for a number without one.
XStringView ErrorText(DWORD dwError) noexcept;

}  // namespace vlm::host
