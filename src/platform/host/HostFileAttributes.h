/// @file
/// The modes of the host's files as attributes.
#pragma once

#include <sys/stat.h>

#include "platform/WinTypes.h"

namespace vlm::host {

/// A file whose owner has no right to write.
bool IsReadOnly(const struct stat& rStat) noexcept;

/// As FilePort::GetAttributes tells them.
DWORD AttributesOfStat(const struct stat& rStat) noexcept;

/// The mode that gives a file these attributes.  @return false when there is nothing to change.
bool ModeForAttributes(const struct stat& rStat, DWORD dwAttributes, mode_t& ruMode) noexcept;

}  // namespace vlm::host
