/// @file
/// The client of the family's port monitor, which does registry work inside the print spooler for callers with few
/// rights.
#pragma once

#include <cstddef>
#include <vector>

#include "environment/HKeyRegistry.h"
#include "environment/PortMonitorRequest.h"
#include "environment/ValueEnt.h"
#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/DriverVersion.h"

/// How a step of the monitor's installation ended.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the enumeration's established name
enum class _VelomPortMonitorStatus : std::uint32_t {
    VPMS_DONE = 0,            ///< the step was taken
    VPMS_UP_TO_DATE = 1,      ///< nothing to do: what is there is not older
    VPMS_SOURCE_MISSING = 2,  ///< the driver's folder does not have the file
    VPMS_NO_FOLDER = 3,       ///< the system has no folder for DLLs: its spooler is embedded
    VPMS_ACCESS_DENIED = 4,   ///< the caller may not
    VPMS_FAILED = 5,          ///< anything else; GetLastStatus has the system's number
};

/// The client side of the port monitor: the channel to it, the registry operations that it does, its installation, and
/// the low-rights data of users that it keeps.
///
/// **The channel** is opened when it is first needed, or at once on request, and belongs to the object: one object is
/// one channel.  A key handle from CreateKey or OpenKey is a number that only the monitor understands, and only on the
/// channel that it came from; it is closed with CloseKey of the same object and never given to the registry itself.
/// Administrators' channels are opened with the right to administer, everybody else's with the right to use.  Under the
/// system's loader lock no channel is opened and no call is made; operations then fail with 170.
///
/// **Registry operations** come in pairs: on a key handle, and on a root (1 to 9) with a key path below the root's base
/// path, where an empty path is the base itself.  A value name that is empty is the key's default value.  On a root
/// that needs a user's SID (IsSIDRequired, with the users tree, which is the monitor's way), `kcsSid` names the user,
/// ".DEFAULT" for the default user; empty: the current one.  Without a SID nothing is sent.
/// Each answers whether the monitor did it; GetLastStatus tells why not: 2 absent, 5 refused, 6 no channel or no such
/// key, 13 a reply that is no reply.  An output argument keeps its value after a failure.
///
/// **Threads**: one object by one thread at a time; static members by any.  **Failure**: no operation throws; failures
/// are reported under the operation's name.
class VLM_API VelomPortMonitor {
public:
    /// The files of the monitor.
    static constexpr const XCHAR* MONITOR_DLL = VTEXT("q7lrs.dll");
    static constexpr const XCHAR* LOADER_DLL = VTEXT("q7lrsl.dll");

    /// @param fOpenChannel opens the channel at once; if that fails, IsChannelOpen tells, and the next operation tries
    ///        again.
    explicit VelomPortMonitor(bool fOpenChannel = false) noexcept;
    /// Closes the channel, and with it every key handle that came from it.
    ~VelomPortMonitor();
    VelomPortMonitor(const VelomPortMonitor&) = delete;
    VelomPortMonitor& operator=(const VelomPortMonitor&) = delete;
    VelomPortMonitor(VelomPortMonitor&& rOther) noexcept;
    VelomPortMonitor& operator=(VelomPortMonitor&& rOther) noexcept;

    // ---- channel ----

    /// The channel's handle, opened if need be; null when it cannot be opened.  Borrowed.
    HANDLE GetVelomPortMonitorHandle() noexcept;
    bool IsChannelOpen() const noexcept { return m_hVelomPortMonitor != nullptr; }
    /// Status of the last call: the spooler's, or when it carried the call, the monitor's.
    DWORD GetLastStatus() const noexcept { return m_dwLastStatus; }

    /// Builds the record of a request (PortMonitorRequest has its table).
    /// @param eRoot ignored, and written as 0, when `hKey` is given.  @param pszKeyPath and the other texts: null or
    ///        empty is absent.  @param pbyData null is allowed with size 0.
    /// @param rbbRecord replaced.  @return false after a failure, which is reported; the buffer is then empty.
    static bool FillInXPMRegistryObject(_HKEYREGISTRY_ eRoot, HKEY hKey, _XPMRegistryFunction eFunction,
                                        DWORD dwAccessMask, const XCHAR* pszKeyPath, const XCHAR* pszValueName,
                                        const XCHAR* pszThird, const BYTE* pbyData, DWORD cbData,
                                        ByteBuffer& rbbRecord) noexcept;
    /// Sends a record over the channel under the command "xregistry".
    /// @param pdwNeeded bytes of the whole reply; may be null.  @param pdwStatus the monitor's status; may be null.
    /// @return whether the call was carried and the monitor's status is 0.
    bool XcvDataPort(const ByteBuffer& kbbRequest, BYTE* pbyOutput, DWORD cbOutput, DWORD* pdwNeeded,
                     DWORD* pdwStatus) noexcept;

    /// Builds a request, sends it and takes the reply.  Eight forms: with a root or without, input as a buffer or as
    /// pointer and size, output as a buffer that grows as needed or as pointer and size.
    /// @return as XcvDataPort.  An output buffer holds exactly the reply after success and nothing after a failure.
    bool CallVelomPortMonitor(_HKEYREGISTRY_ eRoot, HKEY hKey, _XPMRegistryFunction eFunction, DWORD dwAccessMask,
                              const XCHAR* pszKeyPath, const XCHAR* pszValueName, const XCHAR* pszThird,
                              const ByteBuffer& kbbInput, ByteBuffer& rbbOutput, DWORD* pdwNeeded,
                              DWORD* pdwStatus) noexcept;
    bool CallVelomPortMonitor(_HKEYREGISTRY_ eRoot, HKEY hKey, _XPMRegistryFunction eFunction, DWORD dwAccessMask,
                              const XCHAR* pszKeyPath, const XCHAR* pszValueName, const XCHAR* pszThird,
                              const ByteBuffer& kbbInput, BYTE* pbyOutput, DWORD cbOutput, DWORD* pdwNeeded,
                              DWORD* pdwStatus) noexcept;
    bool CallVelomPortMonitor(_HKEYREGISTRY_ eRoot, HKEY hKey, _XPMRegistryFunction eFunction, DWORD dwAccessMask,
                              const XCHAR* pszKeyPath, const XCHAR* pszValueName, const XCHAR* pszThird,
                              const BYTE* pbyInput, DWORD cbInput, ByteBuffer& rbbOutput, DWORD* pdwNeeded,
                              DWORD* pdwStatus) noexcept;
    bool CallVelomPortMonitor(_HKEYREGISTRY_ eRoot, HKEY hKey, _XPMRegistryFunction eFunction, DWORD dwAccessMask,
                              const XCHAR* pszKeyPath, const XCHAR* pszValueName, const XCHAR* pszThird,
                              const BYTE* pbyInput, DWORD cbInput, BYTE* pbyOutput, DWORD cbOutput, DWORD* pdwNeeded,
                              DWORD* pdwStatus) noexcept;
    bool CallVelomPortMonitor(HKEY hKey, _XPMRegistryFunction eFunction, DWORD dwAccessMask, const XCHAR* pszKeyPath,
                              const XCHAR* pszValueName, const XCHAR* pszThird, const ByteBuffer& kbbInput,
                              ByteBuffer& rbbOutput, DWORD* pdwNeeded, DWORD* pdwStatus) noexcept;
    bool CallVelomPortMonitor(HKEY hKey, _XPMRegistryFunction eFunction, DWORD dwAccessMask, const XCHAR* pszKeyPath,
                              const XCHAR* pszValueName, const XCHAR* pszThird, const ByteBuffer& kbbInput,
                              BYTE* pbyOutput, DWORD cbOutput, DWORD* pdwNeeded, DWORD* pdwStatus) noexcept;
    bool CallVelomPortMonitor(HKEY hKey, _XPMRegistryFunction eFunction, DWORD dwAccessMask, const XCHAR* pszKeyPath,
                              const XCHAR* pszValueName, const XCHAR* pszThird, const BYTE* pbyInput, DWORD cbInput,
                              ByteBuffer& rbbOutput, DWORD* pdwNeeded, DWORD* pdwStatus) noexcept;
    bool CallVelomPortMonitor(HKEY hKey, _XPMRegistryFunction eFunction, DWORD dwAccessMask, const XCHAR* pszKeyPath,
                              const XCHAR* pszValueName, const XCHAR* pszThird, const BYTE* pbyInput, DWORD cbInput,
                              BYTE* pbyOutput, DWORD cbOutput, DWORD* pdwNeeded, DWORD* pdwStatus) noexcept;

    // ---- registry operations: keys ----

    /// Copies the values and sub-keys of the key at a path into the key; the source lies under the same root (of a key
    /// handle: the root that it was opened by).  A root that needs a SID is reached through a handle only.
    bool CopyKeyAndSubkeysFrom(HKEY hKey, const CXString& kcsSourcePath) noexcept;
    bool CopyKeyAndSubkeysFrom(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath,
                               const CXString& kcsSourcePath) noexcept;
    /// Creates a key, or opens it if it exists.
    bool CreateKey(HKEY hParent, const CXString& kcsSubKey, DWORD dwAccessMask, HKEY& rhKey) noexcept;
    bool CreateKey(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, DWORD dwAccessMask, HKEY& rhKey,
                   const CXString& kcsSid = CXString()) noexcept;
    bool OpenKey(HKEY hParent, const CXString& kcsSubKey, DWORD dwAccessMask, HKEY& rhKey) noexcept;
    bool OpenKey(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, DWORD dwAccessMask, HKEY& rhKey,
                 const CXString& kcsSid = CXString()) noexcept;
    /// Gives a key handle back.  Roots are never open, so there is no second form.
    bool CloseKey(HKEY hKey) noexcept;
    bool EnumKeyNames(HKEY hKey, std::vector<CXString>& rvcsNames) noexcept;
    bool EnumKeyNames(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, std::vector<CXString>& rvcsNames,
                      const CXString& kcsSid = CXString()) noexcept;
    bool GetCountOfSubKeys(HKEY hKey, DWORD& rcSubKeys) noexcept;
    bool GetCountOfSubKeys(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, DWORD& rcSubKeys,
                           const CXString& kcsSid = CXString()) noexcept;
    /// Deletes a key without sub-keys.  A key is deleted through its parent's handle, by its name.
    bool DeleteKey(HKEY hParent, const CXString& kcsSubKey) noexcept;
    bool DeleteKey(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsSid = CXString()) noexcept;
    bool DeleteKeyAndSubkeys(HKEY hParent, const CXString& kcsSubKey) noexcept;
    bool DeleteKeyAndSubkeys(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath,
                             const CXString& kcsSid = CXString()) noexcept;
    /// Could the key be opened with these rights?
    bool TestAccess(HKEY hKey, DWORD dwAccessMask) noexcept;
    bool TestAccess(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, DWORD dwAccessMask,
                    const CXString& kcsSid = CXString()) noexcept;

    // ---- registry operations: values ----

    bool GetBooleanValue(HKEY hKey, const CXString& kcsName, bool& rfValue) noexcept;
    bool GetBooleanValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName, bool& rfValue,
                         const CXString& kcsSid = CXString()) noexcept;
    bool GetLongValue(HKEY hKey, const CXString& kcsName, LONG& rlValue) noexcept;
    bool GetLongValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName, LONG& rlValue,
                      const CXString& kcsSid = CXString()) noexcept;
    bool GetLong64Value(HKEY hKey, const CXString& kcsName, LONGLONG& rllValue) noexcept;
    bool GetLong64Value(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName, LONGLONG& rllValue,
                        const CXString& kcsSid = CXString()) noexcept;
    bool GetStringValue(HKEY hKey, const CXString& kcsName, CXString& rcsValue) noexcept;
    bool GetStringValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName, CXString& rcsValue,
                        const CXString& kcsSid = CXString()) noexcept;
    bool GetBytesValue(HKEY hKey, const CXString& kcsName, ByteBuffer& rbbValue) noexcept;
    bool GetBytesValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName, ByteBuffer& rbbValue,
                       const CXString& kcsSid = CXString()) noexcept;
    bool EnumValueNames(HKEY hKey, std::vector<CXString>& rvcsNames) noexcept;
    bool EnumValueNames(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, std::vector<CXString>& rvcsNames,
                        const CXString& kcsSid = CXString()) noexcept;
    bool GetCountOfValues(HKEY hKey, DWORD& rcValues) noexcept;
    bool GetCountOfValues(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, DWORD& rcValues,
                          const CXString& kcsSid = CXString()) noexcept;
    bool SetBooleanValue(HKEY hKey, const CXString& kcsName, bool fValue) noexcept;
    bool SetBooleanValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName, bool fValue,
                         const CXString& kcsSid = CXString()) noexcept;
    bool SetLongValue(HKEY hKey, const CXString& kcsName, LONG lValue) noexcept;
    bool SetLongValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName, LONG lValue,
                      const CXString& kcsSid = CXString()) noexcept;
    bool SetLong64Value(HKEY hKey, const CXString& kcsName, LONGLONG llValue) noexcept;
    bool SetLong64Value(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName, LONGLONG llValue,
                        const CXString& kcsSid = CXString()) noexcept;
    /// The text goes with its terminating zero, so an empty one is two bytes of data.
    bool SetStringValue(HKEY hKey, const CXString& kcsName, const CXString& kcsValue) noexcept;
    bool SetStringValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                        const CXString& kcsValue, const CXString& kcsSid = CXString()) noexcept;
    bool SetBytesValue(HKEY hKey, const CXString& kcsName, const ByteBuffer& kbbValue) noexcept;
    bool SetBytesValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                       const ByteBuffer& kbbValue, const CXString& kcsSid = CXString()) noexcept;
    bool DeleteValue(HKEY hKey, const CXString& kcsName) noexcept;
    bool DeleteValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                     const CXString& kcsSid = CXString()) noexcept;
    bool RenameValue(HKEY hKey, const CXString& kcsOldName, const CXString& kcsNewName) noexcept;
    bool RenameValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsOldName,
                     const CXString& kcsNewName, const CXString& kcsSid = CXString()) noexcept;
    /// Deliberate: false only when the monitor says that the value is absent (2); a refusal and any failure answer
    /// true. So it must never serve as "I may read it".
    bool DoesValueExist(HKEY hKey, const CXString& kcsName) noexcept;
    bool DoesValueExist(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                        const CXString& kcsSid = CXString()) noexcept;
    /// Reads several values of one key at once, under the monitor's lock.  It fails as a whole when one is absent.
    /// @param pEntries `cEntries` entries with their names; the rest is filled in.
    /// @param rbbValues receives the data that the entries then point to; it must live as long as they are used.
    bool QueryMultipleValues(HKEY hKey, value_entW* pEntries, DWORD cEntries, ByteBuffer& rbbValues) noexcept;
    bool QueryMultipleValues(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, value_entW* pEntries, DWORD cEntries,
                             ByteBuffer& rbbValues, const CXString& kcsSid = CXString()) noexcept;
    /// Reads a flag and deletes the value, in one step of the monitor.
    bool GetClearBooleanValue(HKEY hKey, const CXString& kcsName, bool& rfValue) noexcept;
    bool GetClearBooleanValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName, bool& rfValue,
                              const CXString& kcsSid = CXString()) noexcept;
    /// Reads a counter and writes (value + 1) modulo `lModulus` (signed remainder) back, in one step of the monitor. An
    /// absent value reads as `lDefault`, and this side writes (default + 1) modulo the modulus.
    /// A modulus of 0, or one of -1 with a value of 2147483647, is a fault of the caller: 87, and nothing is written.
    /// @param rlValue the value that was read.
    bool GetIncLongValue(HKEY hKey, const CXString& kcsName, LONG lDefault, LONG lModulus, LONG& rlValue) noexcept;
    bool GetIncLongValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName, LONG lDefault,
                         LONG lModulus, LONG& rlValue, const CXString& kcsSid = CXString()) noexcept;
    bool GetIncLong64Value(HKEY hKey, const CXString& kcsName, LONGLONG llDefault, LONGLONG llModulus,
                           LONGLONG& rllValue) noexcept;
    bool GetIncLong64Value(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                           LONGLONG llDefault, LONGLONG llModulus, LONGLONG& rllValue,
                           const CXString& kcsSid = CXString()) noexcept;

    /// Turns an array of entries into one buffer without pointers: the entries, each with the offset of its name in
    /// place of the pointer and zeros behind it, then the names.  docs/formats/xregistry.md has the layout.
    /// @return false for no entries, too many, or a name that is missing, empty or too long; the buffer is then empty.
    static bool MakeVALENTArraySpoolerCompatible(const value_entW* pEntries, DWORD cEntries,
                                                 ByteBuffer& rbbCompatible) noexcept;
    /// The converse, for the monitor's reply: fills in length, type and data pointer of each entry; the names stay the
    /// caller's.  The reply is taken for a stranger's: every offset is checked.
    /// @param kbbReply keeps the data; the entries point into it.
    /// @return false for a reply that does not fit the array; the array is then unchanged.
    static bool UpdateVALENTArrayFromSpooler(value_entW* pEntries, DWORD cEntries, const ByteBuffer& kbbReply) noexcept;

    // ---- installation; each needs an elevated administrator, or the spooler itself ----

    /// Installs the monitor when it is not there: copies both DLLs into the system folder and registers the loader with
    /// the spooler.  When it is there, checks that it answers and upgrades it when the driver's DLL is newer.  When
    /// that cannot be found out, nothing is done.
    /// @param fUpgrade false: leaves a monitor that is there as it is.
    /// @return whether a working monitor is installed afterwards (with `fUpgrade`, none that is older than the
    /// driver's).
    bool InstallAndUpgrade(bool fUpgrade) noexcept;
    /// @param fOpenChannel also asks that the channel can be opened.
    bool IsVelomPortMonitorInstalled(bool fOpenChannel) noexcept;
    /// Does the monitor answer "isready"?  @param fOpenChannel false: only on a channel that is already open.
    bool IsVelomPortMonitorFunctional(bool fOpenChannel) noexcept;
    /// Registers the loader DLL with the spooler; a monitor that is registered already is fine.
    bool AddOurMonitor() noexcept;
    /// Closes the channel and removes the monitor from the spooler; one that is not registered is fine.
    /// @param fDeleteFiles then deletes both DLLs, now or at the system's next start.
    bool DeleteOurMonitor(bool fDeleteFiles) noexcept;
    /// Puts the driver's DLL into the system folder, complete and beside the one in force, and asks the monitor to take
    /// it ("upgrade").  @return true also when the one in force is not older.
    bool UpgradeVelomPortMonitor() noexcept;
    /// Deletes a DLL of the monitor, or has the system delete it at its next start.
    /// @return whether it is gone, or will be.
    bool deletePortMonitorDll(const CXString& kcsPath) noexcept;
    /// @return whether the deletion is scheduled.
    bool deleteDllAfterSystemRestart(const CXString& kcsPath) noexcept;
    /// Version of a DLL; 0.0.0.0 when there is no such file, or it has none.
    static DriverVersion GetVersionOfFile(const CXString& kcsPath) noexcept;
    /// The name that the monitor is registered under: from the product's language resources where present, else
    /// "Velom Virtualization Port".
    static CXString GetPortMonitorName();
    /// The same for a clean-up program that does not run in the driver's folder.
    /// @param pszFolder folder that the language resources lie below; null or empty: as GetPortMonitorName.
    static CXString GetPortMonitorNameForScrubber(const XCHAR* pszFolder);
    /// Forgets what the process keeps for all objects.  Call it before the library is unloaded.
    static void CleanUp() noexcept;

    // ---- users and their low-rights storage ----

    /// SID text of an account.  @param kcsUserName empty: the current user.
    /// @param fDefaultForSystem the local system's answer is ".DEFAULT", whose hive is its own.
    /// @return empty when it cannot be had.
    static CXString GetUserSID(const CXString& kcsUserName, bool fDefaultForSystem) noexcept;
    /// The current user's SID where the root needs one, else empty.
    static CXString GetUserSIDIfNeeded(_HKEYREGISTRY_ eRoot, bool fUsersTree) noexcept;
    /// @param rcsSid kept when it is not empty; else set as above.  @return false when a SID is needed and missing.
    static bool GetUserSIDIfNeeded(_HKEYREGISTRY_ eRoot, bool fUsersTree, CXString& rcsSid) noexcept;
    /// Removes a user's low-rights data: one's own, or as an administrator anybody's.
    bool RemoveLRSDataForUser(const XCHAR* pszSid) noexcept;
    /// Removes everybody's.
    bool RemoveLRSData() noexcept;

    // ---- roots, paths, rights ----

    /// The predefined key of a root, as the system numbers it; null for roots without one (0, 19, 20) and, with a
    /// failed assertion, for numbers that are no root.  @param fUsersTree roots 6 to 9 through HKEY_USERS.
    static HKEY GetRegHkeyFromContext(_HKEYREGISTRY_ hKey, bool fUsersTree) noexcept;
    /// Must the caller's operations on this root go through the monitor?  True for the machine-wide roots 1 to 5
    /// outside the spooler when the current user is not an elevated administrator, and for the user's family trees, 6
    /// to 8, when he acts with low integrity.
    static bool IsXPMRegistryRequired(_HKEYREGISTRY_ eRoot) noexcept;
    /// Does a request on this root carry a user's SID?  Root 2 always, 6 to 9 through the users tree.
    static bool IsSIDRequired(_HKEYREGISTRY_ eRoot, bool fUsersTree) noexcept;
    /// Is this a value that stands for no key (null, or all bits set)?
    static bool IsHKeyInvalidValid(HKEY hKey) noexcept;
    /// Does writing below this root take an administrator?
    static bool AreAdminRightsRequired(_HKEYREGISTRY_ eRoot) noexcept;
    /// The base path of a root: what stands in front of a relative sub-key.  Root 2: joined with `kcsComponent`; 6 to 9
    /// with `fUsersTree`: below `kcsComponent`, the SID.  Empty for roots without one.
    static CXString GetKeyPathFromHkey(_HKEYREGISTRY_ eRoot, bool fUsersTree, const CXString& kcsComponent);
    /// Joins with one backslash; a sub-key that already contains the base path, whatever its letter case, is taken as
    /// given, and so is either one when the other is empty.
    static CXString MakePath(const CXString& kcsBase, const CXString& kcsSubKey);

    /// Does the process see a virtualised registry?  Found out once, by CheckForVirtualizedRegistry; false as long as
    /// that gives no answer.
    static bool IsRegistryVirtualized() noexcept;

private:
    enum class Answer : int { Unknown, No, Yes };
    class Proxy;

    HANDLE OpenVelomPortMonitor() noexcept;
    void CloseVelomPortMonitor() noexcept;
    /// Sends a command over the channel, without output; @return the status, which m_dwLastStatus then has, too.
    DWORD SendCommand(const XCHAR* pszCommand, const ByteBuffer& kbbInput, BYTE* pbyOutput, DWORD cbOutput,
                      DWORD& rcbNeeded) noexcept;
    _VelomPortMonitorStatus CopyOrReplaceLoader();
    _VelomPortMonitorStatus CopyOrReplaceMonitor();
    /// @param rcsFile the file's name with its backslash; becomes the path in the system folder.
    _VelomPortMonitorStatus CommonCopyOrReplace(CXString& rcsFile);
    static Answer CheckForVirtualizedRegistry();

    HANDLE m_hVelomPortMonitor = nullptr;
    DWORD m_dwLastStatus = 0;
};

// ---- the helpers of the request's code, under the names that it is written with ----

/// Neither null nor the system's "invalid handle", all bits set.
inline bool IS_VALID_HANDLE(HANDLE hObject) noexcept {
    return hObject != nullptr && reinterpret_cast<std::uintptr_t>(hObject) != ~std::uintptr_t{0};
}
/// Does the offset field of a record point to something?
inline bool IS_VALID_OFFSET(DWORD dwOffset) noexcept {
    return dwOffset != vlm::PortMonitorRequest::ABSENT;
}
inline bool IS_VALID_POINTER(const void* pObject) noexcept {
    return pObject != nullptr;
}
/// Neither null nor empty.
inline bool IS_VALID_STRING(const XCHAR* pszText) noexcept {
    return pszText != nullptr && *pszText != 0;
}
/// Code units with the terminating zero; 0 for null.
inline std::size_t STRINGLENGTHWITHNULL(const XCHAR* pszText) noexcept {
    return pszText ? std::char_traits<XCHAR>::length(pszText) + 1 : 0;
}
/// Bytes with the terminating zero; 0 for null.
inline std::size_t STRINGSIZE(const XCHAR* pszText) noexcept {
    return STRINGLENGTHWITHNULL(pszText) * sizeof(XCHAR);
}
/// Bytes of a string with its terminating zero.
inline std::size_t CXSTRINGSIZE(const CXString& kcsText) noexcept {
    return (static_cast<std::size_t>(kcsText.GetLength()) + 1) * sizeof(XCHAR);
}
