/// @file
/// One open registry key, named by a logical hive: typed reads and writes, enumeration, deletion and copying.
#pragma once

#include <memory>
#include <new>
#include <vector>

#include "environment/HKeyRegistry.h"
#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

class RegistryMultiValueOperations;
class VelomPortMonitor;

/// The library's one way to the registry.
///
/// **Hives** (HKeyRegistry.h).  A key of hives 1 to 8 lies below the hive's base path: a sub-key that already contains
/// the base path, in any letter case, is taken as it is; any other is joined to it with one backslash.  Hive 2 puts the
/// user's SID between the two.  Hives 6 to 9 mean the tree of the current user (of the impersonated one where the
/// thread impersonates), or with USERS_TREE the same place below the users' root and the user's SID; without a SID that
/// way is refused, and the key stays closed.  All paths are those of the 64-bit view.
///
/// **Forwarding**.  A key of hives 1 to 5 that is opened by a process that is not elevated and not the spooler is
/// reached through the port monitor: every operation is then the monitor's, and a failed forwarded read gives the
/// default.  Where no monitor answers, or forwarding is not switched on yet (while the library is being loaded), and
/// with DIRECT, the key is opened directly, with the rights that the process has.
///
/// **Names**.  An empty value name is the key's default value.
///
/// **Failure**.  Reads never throw: they give the caller's default, and GetLastStatus says why.  Opening, creating and
/// setting throw `ExceptionRegistryRequest` unless told not to; deleting, renaming and copying answer whether it was
/// done.  Counts and enumerations that fail are failed assertions and answer 0, false or nothing.
/// **Ownership**: owns its key handle, the impersonated user's hive and the port monitor's channel.  A copy takes them
/// over and leaves the source closed.
/// **Threads**: one at a time.  The user whose tree is meant is the one that the initialising thread acts for.
class VLM_API RegistryKey {
public:
    /// Names for the switches of constructors, openers and the routines of VelomUtilities.
    static constexpr bool AS_NEEDED = false, DIRECT = true;
    static constexpr bool OWN_TREE = false, USERS_TREE = true;
    static constexpr bool THROW = false, NO_THROW = true;
    /// The common access masks.
    static constexpr DWORD READ_ACCESS = 0x20019, WRITE_ACCESS = 0x20006, READ_WRITE_ACCESS = 0x2001F,
                           FULL_ACCESS = 0xF003F;
    /// The value types that the class writes.
    static constexpr DWORD TYPE_STRING = 1, TYPE_BYTES = 3, TYPE_LONG = 4, TYPE_LONG64 = 11;
    /// How often a read asks again when a value has grown since its size was asked for.
    static constexpr int MAX_READ_ATTEMPTS = 5;

    /// Nothing is opened yet.  Hkey_Port_Monitor_Key is a failed assertion, and the key cannot be opened.
    /// @throws ExceptionRegistryRequest for a hive that does not exist.
    RegistryKey(_HKEYREGISTRY_ eHive, bool fDirect, bool fUsersTree);
    /// Round a handle that is open already, which becomes the object's own.  Such a key is never forwarded.  When the
    /// constructor throws, the handle stays the caller's.
    RegistryKey(_HKEYREGISTRY_ eHive, HKEY hKey, bool fDirect, bool fUsersTree);
    RegistryKey(_HKEYREGISTRY_ eHive, const CXString& kcsSubKey, bool fDirect, bool fUsersTree);
    /// Takes the source's handles and port monitor; the source keeps hive and path, and is closed.
    RegistryKey(RegistryKey& rOther);
    RegistryKey& operator=(RegistryKey& rOther);
    /// Closes the key and the impersonated user's hive; a failure is a failed assertion.
    virtual ~RegistryKey();

    /// Decides once and for all where the key is: forwarding, root, SID, the impersonated user's hive.  Done by the
    /// first opening, if not before.
    void InitializeRegistryKey();

    /// Opens the object's own path.  A key that was open is closed first.
    /// @return true; false with NO_THROW when it cannot be opened.  @throws ExceptionRegistryRequest.
    bool OpenRegistryKey(DWORD dwAccess = READ_ACCESS, bool fNoThrow = THROW);
    /// Opens another path of the same hive, which becomes the object's own.
    bool OpenRegistryKey(const CXString& kcsSubKey, DWORD dwAccess, bool fNoThrow = THROW);
    /// Opens a key; null when it cannot be opened.
    static std::unique_ptr<RegistryKey> TryOpenRegistryKey(_HKEYREGISTRY_ eHive, const CXString& kcsSubKey,
                                                           DWORD dwAccess = READ_ACCESS, bool fDirect = AS_NEEDED,
                                                           bool fUsersTree = OWN_TREE) noexcept;

    /// Creates or opens a path of the object's hive with all that is missing above it; it becomes the object's own.
    void CreateRegistryKey(const CXString& kcsSubKey, DWORD dwAccess);
    static std::unique_ptr<RegistryKey> CreateRegistryKey(_HKEYREGISTRY_ eHive, const CXString& kcsSubKey,
                                                          DWORD dwAccess, bool fDirect = AS_NEEDED,
                                                          bool fUsersTree = OWN_TREE);
    /// The same; null when it cannot be created.
    static std::unique_ptr<RegistryKey> CreateRegistryKey(const std::nothrow_t&, _HKEYREGISTRY_ eHive,
                                                          const CXString& kcsSubKey, DWORD dwAccess,
                                                          bool fDirect = AS_NEEDED,
                                                          bool fUsersTree = OWN_TREE) noexcept;

    /// Is a handle open?
    bool IsKeyValid() const noexcept { return m_hKey != nullptr; }
    /// The logical hive; Hkey_Impersonated_User once the impersonated user's own hive is open.
    _HKEYREGISTRY_ GetHKeyRegistry() const noexcept { return m_eHive; }
    /// The user's SID; empty unless hive 2 or the users' tree is used.
    const CXString& GetSID() const noexcept { return m_csSid; }
    /// The sub-key as it was given, without the hive's base path.
    const CXString& GetSubKey() const noexcept { return m_csSubKey; }
    DWORD GetDesiredAccess() const noexcept { return m_dwAccess; }
    /// The port monitor behind a forwarded key, else null.  Borrowed.
    VelomPortMonitor* GetPortMonitor() const noexcept { return m_apoPortMonitor.get(); }
    bool IsForwarded() const noexcept { return m_fForward; }
    bool IsInitialized() const noexcept { return m_fInitialized; }
    /// Was the key made by CreateRegistryKey, rather than found?  Never true of a forwarded key.
    bool IsCreated() const noexcept { return m_fCreated; }
    /// Was the key opened without a right to change it?
    bool IsReadOnly() const noexcept { return m_fReadOnly; }

    /// The registry's status of the last operation: 0 when it succeeded, 2 when a key or value was absent, 5 when
    /// access was denied, 6 without an open key, 13 when a value's data does not fit the read, 234 when a value is
    /// larger than bounds::MAX_REGISTRY_VALUE_BYTES or grew faster than it could be read.
    DWORD GetLastStatus() const noexcept { return m_dwLastStatus; }

    // ---- values ----

    /// Deliberate: false only when the registry says that there is no such value; true after every other failure,
    /// access denied included.  It must not serve as "I may read it".
    bool DoesValueExist(const CXString& kcsName) noexcept;
    /// The data's first byte, non-zero as true.
    bool GetBooleanValue(const CXString& kcsName, bool fDefault) noexcept;
    /// The data's first 4 or 8 bytes, whatever the type.
    LONG GetLongValue(const CXString& kcsName, LONG lDefault) noexcept;
    LONGLONG GetLong64Value(const CXString& kcsName, LONGLONG llDefault) noexcept;
    /// As GetBooleanValue; a value that is there is deleted, so that a flag is consumed by its first reader.
    bool GetClearBooleanValue(const CXString& kcsName, bool fDefault) noexcept;
    /// Returns the value (the default when absent) and stores (value + 1) modulo `lModulus`, the remainder signed; the
    /// sum wraps.  A modulus of 0, and −1 with the largest value, is a fault of the caller: a failed assertion, and the
    /// value stays as it is.  When the value can be neither read nor found absent, nothing is stored.
    LONG GetIncLongValue(const CXString& kcsName, LONG lDefault, LONG lModulus) noexcept;
    LONGLONG GetIncLong64Value(const CXString& kcsName, LONGLONG llDefault, LONGLONG llModulus) noexcept;
    /// The data as UTF-16, up to its first zero unit where the type is a text; an odd last byte is dropped.
    CXString GetStringValue(const CXString& kcsName, const CXString& kcsDefault) noexcept;
    /// @return whether it was read; the buffer is empty otherwise.
    bool GetBytesValue(const CXString& kcsName, ByteBuffer& rbbValue) noexcept;
    /// The common read: the data as it is stored.
    /// @param pdwType the value's type, when not null; 0 for the default value of a forwarded key.
    /// @return false, with an empty buffer, when there is no such value, access is denied or no key is open, and after
    ///         any other failure, which is reported as an error.
    bool GetValue(const CXString& kcsName, ByteBuffer& rbbData, DWORD* pdwType = nullptr) noexcept;
    /// Reads all values that are bound to `rValues` in one query; they belong together.
    /// @return whether it succeeded; a single absent value fails the whole query, and `rValues` is then unchanged.
    bool QueryMultipleValues(RegistryMultiValueOperations& rValues) noexcept;

    /// REG_BINARY, one byte.  These throw ExceptionRegistryRequest.
    void SetBooleanValue(const CXString& kcsName, bool fValue);
    void SetLongValue(const CXString& kcsName, LONG lValue);
    void SetLong64Value(const CXString& kcsName, LONGLONG llValue);
    /// With its terminator.
    void SetStringValue(const CXString& kcsName, const CXString& kcsValue);
    void SetBytesValue(const CXString& kcsName, const ByteBuffer& kbbValue);
    /// @param dwType the registry's number.  A forwarded key can only store the types that the class writes; the others
    ///        are refused with status 50.
    void SetValue(const CXString& kcsName, DWORD dwType, const ByteBuffer& kbbData);

    /// @return whether the value was deleted; an absent one was not.
    bool DeleteValue(const CXString& kcsName) noexcept;
    /// Gives a value another name.  Names that differ in case alone: the old value is deleted, then the data written
    /// under the new name, and put back under the old one should that fail.  Other names: written, then the old one
    /// deleted; a value that has the new name is replaced.  Where the registry takes two names for one, however they
    /// differ, nothing is lost.
    /// @return whether both was done.
    bool RenameValue(const CXString& kcsOldName, const CXString& kcsNewName) noexcept;

    // ---- keys below this one ----

    DWORD GetCountOfSubKeys() noexcept;
    DWORD GetCountOfValues() noexcept;
    bool AnySubKeysExist() noexcept;
    /// The names in the registry's order, replacing what the list held; empty after a failure.
    /// @return whether the enumeration came to its end.
    bool EnumKeyNames(std::vector<CXString>& rvcsNames) noexcept;
    bool EnumValueNames(std::vector<CXString>& rvcsNames) noexcept;
    /// @param pvcsKeyNames, pvcsValueNames null: not wanted.
    bool EnumKeyNamesAndValueNames(std::vector<CXString>* pvcsKeyNames, std::vector<CXString>* pvcsValueNames) noexcept;

    /// Deletes a sub-key that has none itself.  @return whether it was deleted.  An empty name is refused.
    bool DeleteKey(const CXString& kcsName) noexcept;
    /// Deletes a sub-key with all below it.  Links are deleted, never followed.
    bool DeleteKeyAndSubkeys(const CXString& kcsName) noexcept;
    /// Copies the source's values and all keys below it into this key; what is there already and has another name
    /// stays.  The copy is of the tree as it stood at the beginning, also when this key lies in it.  Links are left
    /// out. A forwarded key copies through the port monitor, which takes sources of the key's own hive alone (status
    /// 50).
    /// @return whether everything was copied.
    bool CopyKeyAndSubkeysFrom(RegistryKey& rSource) noexcept;
    bool CopyKeyAndSubkeysFrom(_HKEYREGISTRY_ eSourceHive, const CXString& kcsSourcePath) noexcept;

    // ---- the user's hive ----

    /// Does the process's user have the default user's hive for his own, as the system account does?
    static bool IsHkcuRegistryHiveHkuDotDefault() noexcept;
    /// May the calling thread write to the hive of the user that it acts for?
    static bool DoesThreadHavePermissiontoWriteToHkcu() noexcept;

protected:
    /// The open key; of a forwarded key the monitor's number for it, which no other function takes.  Borrowed.
    HKEY GetRegHkey() const noexcept { return m_hKey; }

private:
    static _HKEYREGISTRY_ CheckHive(_HKEYREGISTRY_ hKey);
    /// The key that paths start from; null when the hive has none.  Borrowed.
    HKEY GetRoot() const noexcept;
    /// The path below the root.
    CXString GetFullPath() const;
    /// Takes over what a copy takes over.
    void TakeFrom(RegistryKey& rOther) noexcept;
    void CloseRegistryKey() noexcept;
    void CloseEverything() noexcept;
    /// Makes the path the object's own, and everything else ready for opening it.
    void PrepareToOpen(const CXString& kcsSubKey, DWORD dwAccess);
    /// Where there is no place to open the key in: the status that says so, else 0.
    DWORD CheckPlace() const noexcept;
    void OpenImpersonatedUser() noexcept;

    /// Is a key open?  If not, that is the last status.
    bool RequireKey() noexcept;
    bool Note(DWORD dwStatus) noexcept {
        m_dwLastStatus = dwStatus;
        return dwStatus == 0;
    }
    /// Takes the port monitor's answer for the object's own.
    bool NoteForwarded(bool fDone) noexcept;
    /// Runs an operation that promises not to throw.  @return whether it ran to its end.
    template <class Body>
    bool Quietly(Body&& body) noexcept;

    /// The direct operations.  They answer the registry's status, and throw ExceptionOutOfMemory alone.
    DWORD ReadValue(const CXString& kcsName, ByteBuffer& rbbData, DWORD& rdwType);
    DWORD StoreValue(const CXString& kcsName, DWORD dwType, const ByteBuffer& kbbData);
    bool ForwardSetValue(const CXString& kcsName, DWORD dwType, const ByteBuffer& kbbData);
    bool ForwardGetValue(const CXString& kcsName, ByteBuffer& rbbData, DWORD* pdwType);
    bool QueryDirectly(RegistryMultiValueOperations& rValues);
    bool QueryForwarded(RegistryMultiValueOperations& rValues);
    bool RenameDirectly(const CXString& kcsOldName, const CXString& kcsNewName);
    bool EnumDirectly(std::vector<CXString>* pvcsKeyNames, std::vector<CXString>* pvcsValueNames);
    /// The message of a write that failed with the last status.
    CXString SetFailure(const CXString& kcsName) const;
    template <class T>
    bool ReadNumber(const CXString& kcsName, T& rValue);
    template <class T>
    T GetAndIncrement(const CXString& kcsName, T defaultValue, T modulus);

    _HKEYREGISTRY_ m_eHive;
    _HKEYREGISTRY_ m_eGivenHive;  ///< the hive of the base path: m_eHive may become that of the impersonated user
    HKEY m_hKey = nullptr;
    CXString m_csSid;
    CXString m_csSubKey;
    DWORD m_dwAccess = READ_ACCESS;
    bool m_fDirect;
    bool m_fUsersTree;
    bool m_fForward = false;
    bool m_fCreated = false;
    bool m_fInitialized = false;
    bool m_fReadOnly = false;
    DWORD m_dwLastStatus = 0;
    HKEY m_hRegKeyCurrentUserLoaded = nullptr;
    std::unique_ptr<VelomPortMonitor> m_apoPortMonitor;
};
