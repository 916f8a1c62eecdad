/// @file
/// Opens and creates keys so that no symbolic link leads out of the family's trees.
#pragma once

#include "platform/RegistryHandleImpl.h"
#include "portmonitor/RequestTarget.h"

namespace vlm {

/// Where a walk begins: a root of the registry or an open key, and the path below it.  An empty path is the key itself.
struct KeyPlace {
    HKEY m_hBase = nullptr;  ///< borrowed; confined already
    CXString m_csPath;
};

/// The place of a key below its root.
KeyPlace PlaceOf(const ResolvedKey& rKey);

/// Spells generic rights out.
DWORD EffectiveRights(DWORD dwRights) noexcept;

/// Opens a key component by component.  Each component is opened itself, never what a link in its place leads to, and a
/// link is refused wherever it stands: a caller who may write somewhere below could otherwise have the monitor follow
/// it to any key of the machine.
/// @return FileNotFound, AccessDenied (for a link, too), or the registry's own failure.
Status OpenConfined(const KeyPlace& rPlace, DWORD dwRights, RegistryHandle& roHandle);

/// The same for a key that is to be deleted: a link as the last component is opened itself, so that it goes and not its
/// target.
Status OpenForDeletion(const KeyPlace& rPlace, DWORD dwRights, RegistryHandle& roHandle, bool& rfLink);

/// Opens a key, and creates what is missing of its path, under the same rules.
/// @param rKey the whole path: in the machine's tree new keys are the system's and the administrators', and only to be
///        read by the owner of a user's storage, or by all users elsewhere; in a user's hive they inherit its list.
Status CreateConfined(const KeyPlace& rPlace, const ResolvedKey& rKey, DWORD dwRights, RegistryHandle& roHandle);

}  // namespace vlm
