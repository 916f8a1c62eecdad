/// @file
/// Where in the registry a request acts: the final path, and which part of the family's trees it lies in.
#pragma once

#include "environment/PortMonitorRequest.h"

namespace vlm {

/// A key in canonical form: a tree, and a path below it without leading or trailing backslash.
struct ResolvedKey {
    enum class Tree : std::uint8_t { Machine, User };

    Tree m_eTree = Tree::Machine;
    _HKEYREGISTRY_ m_eRoot = HKeyRegistry::Hkey_None;  ///< the hive that it was reached through
    CXString m_csSid;   ///< the user that the hive is about; ".DEFAULT" for the default user; empty for other hives
    CXString m_csPath;  ///< "Software\Velom\…"; never empty in the machine tree
};

/// The base path that a hive puts in front of a relative sub-key; empty for hives without one.
XStringView BasePathOfRoot(_HKEYREGISTRY_ eRoot) noexcept;

/// Joins base path and sub-key as the client does (a sub-key that already contains the base path is taken as it is) and
/// then confines the result: the final path must be the base or lie below it, whole components compared without case.
/// @param csSid the user's SID for roots that need one.  Pure.
/// @return Success, or AccessDenied for a path that leads out of the base.
Status ResolveKey(_HKEYREGISTRY_ eRoot, const CXString& kcsSid, const CXString& kcsSubKey, ResolvedKey& rKey);

/// The key `kcsSubKey` below a resolved key, under the same confinement.  An empty sub-key is the key itself.
Status ResolveSubKey(const ResolvedKey& rParent, const CXString& kcsSubKey, ResolvedKey& rKey);

/// The parts of the registry that rights differ for; the rows of the authorisation table.
enum class RequestTarget : std::uint8_t {
    LowRightsOwn,     ///< the caller's own low-rights storage
    LowRightsShared,  ///< the shared part of it
    LowRightsOther,   ///< somebody else's
    Family,           ///< the family's machine-wide tree
    FamilyTrusted,    ///< what code inside the spooler believes: debug settings, mirrored data, paths
    UserFamily,       ///< the caller's own family tree in his hive
    User,             ///< the caller's own hive
    UserDefault,      ///< the family tree of the default user
    UserOther,        ///< somebody else's hive
    Count,
};

/// @param kcsCallerSid who asks.  @param kcsValueName the value that the request names; empty for a key or its default
/// value.
RequestTarget ClassifyTarget(const ResolvedKey& rKey, const CXString& kcsValueName, const CXString& kcsCallerSid);

/// Components between the base of the hive that the key was reached through (for the low-rights storage: its base) and
/// the key: 0 for the base itself.
int DepthBelowBase(const ResolvedKey& rKey);

/// True for a key that is a hive's base path or an ancestor of one: deleting it would take whole trees of the family
/// along.
bool IsAtOrAboveABasePath(const ResolvedKey& rKey);

/// Does the key lie in the low-rights storage, in any spelling that a registry takes for its path?
bool IsInStorage(const ResolvedKey& rKey) noexcept;

/// The user whose storage a path in the storage lies in, spelt regularly; empty for the shared part.
CXString StorageOwnerOf(XStringView path);

/// Does `path` equal `base`, or lie below it?  Whole components, A to Z without case.
bool IsWithin(XStringView path, XStringView base) noexcept;

/// Values that code inside the spooler takes for a path or for a reason to trust; compared without case.
bool IsTrustedValueName(XStringView name) noexcept;

/// Values below ".DEFAULT" that users may write: the virtualisation check's and the cached settings'.
bool IsDefaultUserValueName(XStringView name) noexcept;

}  // namespace vlm
