/// @file
/// Whole trees of keys: deleting and copying them without ever following a link.
#pragma once

#include "platform/WinTypes.h"
#include "utilities/Bounds.h"

namespace vlm {

/// What a walk stops at, with NoSystemResources.
struct RegistryTreeLimits {
    ULONGLONG m_cKeys = bounds::MAX_TREE_KEYS;
    std::size_t m_cLevels = bounds::MAX_KEY_LEVELS;
    ULONGLONG m_cbData = bounds::MAX_TREE_DATA_BYTES;  ///< of all values together; for copies
};

/// Deletes a sub-key with all below it, the deepest keys first.  A link is deleted as a link.  Every key is reached
/// from its parent's handle by one component, so that nothing put in the way can lead the walk elsewhere.
/// @param pszSubKey may have several components; those before the last are the caller's to vouch for.
/// @return the first failure; what was deleted before it stays deleted.
Status DeleteRegistryTree(HKEY hParent, const XCHAR* pszSubKey, const RegistryTreeLimits& rLimits = {}) noexcept;

/// Copies a key's values, and all keys below it, into another key.  What the target has besides stays.  The names of
/// the keys are gathered before the first is made, so the target may lie in the source.  Links in the source are left
/// out; a link in the target's place is refused with AccessDenied.  Values of the link type are left out.
/// @param hSource opened for reading.  @param hTarget opened for writing.
/// @return the first failure; what was copied before it stays.
Status CopyRegistryTree(HKEY hSource, HKEY hTarget, const RegistryTreeLimits& rLimits = {}) noexcept;

}  // namespace vlm
