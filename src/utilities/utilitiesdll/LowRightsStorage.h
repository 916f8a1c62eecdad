/// @file
/// Where the family keeps data for users with few rights.
#pragma once

#include "environment/HKeyRegistry.h"
#include "platform/Export.h"
#include "utilities/utilitiesdll/CXString.h"

/// The low-rights storage: a tree of the machine's registry that every user writes to through the port monitor, his own
/// part (root 2) or the shared one (root 1).
///
///     Software\Velom\PrinterDriver\V5.0\LowRightsStorage            the base, root 1
///     Software\Velom\PrinterDriver\V5.0\LowRightsStorage\SID        a user's part, root 2; ".DEFAULT" is nobody's
///     Software\Velom\PrinterDriver\V5.0\LowRightsStorage\SID\NAME   one storage of his, "DeviceSettings" for one
///
/// An object names one storage of one user, by the component and the sub-key that registry accesses through root 2
/// take.
/// **Threads**: as any value.  **Failure**: without a user's SID IsAvailable is false, and nothing is stored.
class VLM_API LowRightsStorage {
public:
    /// The root that a user's storage is reached by.
    static constexpr _HKEYREGISTRY_ ROOT = HKeyRegistry::Hkey_Low_Rights_Storage_User;
    static constexpr _HKEYREGISTRY_ SHARED_ROOT = HKeyRegistry::Hkey_Low_Rights_Storage;
    static constexpr const XCHAR* DEFAULT_USER = VTEXT(".DEFAULT");

    /// @param kcsName the storage; a path of registry components.  @param kcsSid empty: the current user's.
    explicit LowRightsStorage(const CXString& kcsName, const CXString& kcsSid = CXString());

    /// Is there a user whose part can be reached?
    bool IsAvailable() const noexcept { return !m_csSid.IsEmpty(); }
    const CXString& GetSID() const noexcept { return m_csSid; }
    /// The storage's name, which is the sub-key relative to ROOT with GetSID as its component.
    const CXString& GetName() const noexcept { return m_csName; }
    /// The whole path below the machine's root; empty when not available.
    CXString GetKeyPath() const;

    /// The base, without a user's part.
    static CXString GetBasePath();
    /// The part of one user; empty for a text that is no SID.
    static CXString GetPathOfUser(const CXString& kcsSid);

private:
    CXString m_csName;
    CXString m_csSid;
};
