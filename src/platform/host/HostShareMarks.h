/// @file
/// Windows' sharing rules between the users of a file, in this process and in others.
#pragma once

#include "platform/WinTypes.h"

namespace vlm::host {

/// Every open file description that follows the rules leaves marks on its file: read locks on single bytes far beyond
/// any data, one byte for each way that it uses the file and one for each way that it denies to others.  Open file
/// description locks meet even within one process, and the kernel takes them away with the last close, a kill included.
/// @param dwUses,dwDenies combinations of FilePort::ShareRead, ShareWrite and ShareDelete.
/// @return SharingViolation when somebody's marks forbid it (none are left then); Success also where the file system
///         knows no locks.
Status PlaceShareMarks(int iFile, DWORD dwUses, DWORD dwDenies) noexcept;

}  // namespace vlm::host
