/// @file
/// What the host's adapters tell of paths and modes.
#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/WinTypes.h"

namespace vlm::host {

/// The folder part of a path, "." without one.
std::string FolderOf(const std::string& rPath);

/// The status of a call on a path: a missing file and a missing folder on the way are different answers.
Status StatusForPath(int iError, const std::string& rPath);

/// A file whose owner has no right to write.
bool IsReadOnly(const struct stat& rStat) noexcept;

/// As FilePort::GetAttributes tells them.
DWORD AttributesOfStat(const struct stat& rStat) noexcept;

/// The mode that gives a file these attributes.  @return false when there is nothing to change.
bool ModeForAttributes(const struct stat& rStat, DWORD dwAttributes, mode_t& ruMode) noexcept;

}  // namespace vlm::host
