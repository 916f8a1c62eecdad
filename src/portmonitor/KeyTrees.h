/// @file
/// Copies and deletes whole trees of keys.
#pragma once

#include "portmonitor/KeyTreeWalk.h"
#include "portmonitor/RequestAuthorisation.h"
#include "portmonitor/StorageUsage.h"

namespace vlm {

/// A tree that is to be deleted or copied: the key at its top, open, and where it is.
struct KeyTree {
    HKEY m_hTop = nullptr;
    ResolvedKey m_oKey;
};

/// May this caller delete every key of the tree, with every value that is in them?  The rights on a key say nothing
/// about what lies below it.
/// @param fRecursive false: the key alone.
Status CheckDeletion(const RequestCaller& rCaller, const KeyTree& rTree, bool fRecursive, WorkLock& rLock);

/// Deletes a tree, sub-keys first; a symbolic link in it goes itself, its target stays.  The top has the right to be
/// deleted and to enumerate.
/// @return NoSystemResources when it has too many keys; those that went are gone then.
Status DeleteTree(const KeyTree& rTree, WorkLock& rLock);

/// A copy: who asks for it, and with which rights it was allowed.
struct TreeCopy {
    const RequestCaller& m_rCaller;
    RequestRights m_eRights;
    KeyTree m_oSource;
    KeyTree m_oTarget;  ///< not open yet when the copy is checked
};

/// Looks at everything that is to be copied, before anything is written: whether this caller may read each value here
/// and write it there with these rights, and that there is no link and not too much of it.  Takes room from the quota.
Status CheckCopy(const TreeCopy& rCopy, StorageUsage& rUsage, WorkLock& rLock);

/// Copies the values and sub-keys of the source into the target; looks at each once more.
/// @return AccessDenied, NoSystemResources, or the registry's failure; what was copied by then stays.
Status CopyTree(const TreeCopy& rCopy, WorkLock& rLock);

}  // namespace vlm
