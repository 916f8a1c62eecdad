/// @file
/// Goes through a key and everything below it, without recursion and within bounds.
#pragma once

#include "platform/RegistryHandleImpl.h"
#include "portmonitor/RequestTarget.h"
#include "portmonitor/WorkLock.h"

namespace vlm {

/// What a walk does.  Anything but Success ends it.
class KeyTreeVisitor {
public:
    virtual ~KeyTreeVisitor() = default;
    /// A key, before its sub-keys.  @param hKey borrowed.  @param cLevel 0 for the key at the top.
    virtual Status EnterKey(HKEY hKey, const ResolvedKey& rKey, std::size_t cLevel) = 0;
    /// Whether a key's tree is walked at all; asked before EnterKey, not for the top.
    virtual bool IsOfInterest(const ResolvedKey&) { return true; }
    /// A key, after its sub-keys.  @param rfGone whether it is not there any more.
    virtual Status LeaveKey(HKEY, bool& rfGone) {
        rfGone = false;
        return Status::Success;
    }
    /// A symbolic link in the place of a sub-key; the handle is the link's own.  By default it is refused.
    virtual Status OnLink(HKEY, bool& rfGone) {
        rfGone = false;
        return Status::AccessDenied;
    }
};

struct KeyTreeLimits {
    DWORD m_cKeys;          ///< keys in all
    std::size_t m_cLevels;  ///< the top is level 0
};

/// Walks.
/// @param hTop the key at the top; has the rights to enumerate sub-keys and query values, and `dwRights`.
/// @param dwRights what the visitor needs of each key below.  @param pLock let go of between two keys; may be null.
/// @return NoSystemResources when a limit is reached.
Status WalkKeyTree(HKEY hTop, const ResolvedKey& rTop, DWORD dwRights, const KeyTreeLimits& rLimits,
                   KeyTreeVisitor& rVisitor, WorkLock* pLock);

}  // namespace vlm
