/// @file
/// Port: the registry.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Keys and values, with the system's status numbers.  On the host one SQLite file holds the tree; several processes
/// may share it, and a killed process loses nothing that a call had confirmed. Names compare without case (ASCII), keep
/// the case they were created with, and use "\" between components; doubled and trailing ones are ignored, a leading
/// one answers BadPathName, and "." and ".." are names like any other. A key handle outlives its key: every call on it
/// then answers KeyDeleted, except Close.  Rights are those asked for at Open or Create, checked at each call
/// (AccessDenied); opening and deleting sub-keys needs none of the parent's handle. InvalidHandle: a null or closed
/// handle, in every call, and a root that the system does not have. A link is a key that stands for another one: every
/// path through it leads there, except the last component of OpenLink's.  The 64-bit view is the only one.
/// Threads: any; one key handle by one thread at a time.  Failure: by status; nothing throws.
class RegistryPort {
public:
    /// Rights, as the system numbers them.
    static constexpr DWORD QUERY_VALUE = 0x1, SET_VALUE = 0x2, CREATE_SUB_KEY = 0x4, ENUMERATE_SUB_KEYS = 0x8,
                           RIGHTS_READ = 0x20019, RIGHTS_WRITE = 0x20006, RIGHTS_ALL = 0xF003F,
                           RIGHTS_READ_WRITE = 0x2001F, RIGHT_DELETE = 0x10000, MAXIMUM_RIGHTS = 0x02000000;
    /// Longest name of one key component and of a value, in code units without the terminator.
    static constexpr std::size_t MAX_KEY_NAME = 255, MAX_VALUE_NAME = 16383;
    /// Value types, as the system numbers them.
    static constexpr DWORD TYPE_NONE = 0, TYPE_SZ = 1, TYPE_EXPAND_SZ = 2, TYPE_BINARY = 3, TYPE_DWORD = 4,
                           TYPE_LINK = 6, TYPE_MULTI_SZ = 7, TYPE_QWORD = 11;
    /// The predefined roots, as the system numbers them (sign-extended to the handle's width).
    enum class Root : DWORD {
        ClassesRoot = 0x80000000,
        CurrentUser = 0x80000001,
        LocalMachine = 0x80000002,
        Users = 0x80000003,
        // The host has none of the following; a system may lack some.
        PerformanceData = 0x80000004,
        CurrentConfig = 0x80000005,
        DynData = 0x80000006,
        CurrentUserLocalSettings = 0x80000007,
        PerformanceText = 0x80000050,
        PerformanceNlstext = 0x80000060,
    };

    /// Counts of a key, and the longest name of each kind in code units without terminator.
    struct KeyInfo {
        DWORD cSubKeys = 0;
        DWORD cMaxKeyName = 0;
        DWORD cValues = 0;
        DWORD cMaxValueName = 0;
        DWORD cbMaxData = 0;
    };

    /// One member of a multi-value query.  Before: the name.  After: type, and where its data stands in the buffer.
    struct ValueQuery {
        const XCHAR* pszName = nullptr;
        DWORD dwType = 0;
        DWORD cbData = 0;
        DWORD dwOffset = 0;
    };

    virtual ~RegistryPort() = default;

    /// "S-1-" and nothing but digits and hyphens: no text of this form says more than whom it means.
    static constexpr bool IsSidText(XStringView svText) noexcept {
        return svText.starts_with(VTEXT("S-1-")) && svText.find_first_not_of(VTEXT("0123456789-"), 4) == svText.npos;
    }

    /// The handle of a predefined root; needs no Close (closing it does nothing and succeeds).
    virtual HKEY RootKey(Root eRoot) noexcept = 0;
    /// Opens an existing key.  @param pszSubKey null or empty: another handle of the parent.
    /// @return FileNotFound, AccessDenied.
    virtual Status Open(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey) noexcept = 0;
    /// Opens a key, and creates it with all missing components above it in one step.
    /// @param fVolatile a key created goes away at the next start of the system (host: of the machine).
    /// @param rfCreated whether the last component was created.
    /// @return ChildMustBeVolatile, InvalidParameter (a null `pszSubKey`, a component too long), AccessDenied.
    virtual Status Create(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, bool fVolatile, HKEY& rhKey,
                          bool& rfCreated) noexcept = 0;
    /// As Create, for one component; a key that is made gets an access list of its own in the same step: the system and
    /// administrators may do everything, `pszReaderSid` may read, nobody else anything.  A key that exists keeps its.
    /// A link of that name is opened itself: nothing is made where it leads.
    /// On systems without access lists the same as Create.
    /// @return InvalidParameter for a name that is empty or no single component, or a SID text that is none.
    virtual Status CreateRestricted(HKEY hParent, const XCHAR* pszName, DWORD dwRights, const XCHAR* pszReaderSid,
                                    HKEY& rhKey, bool& rfCreated) noexcept = 0;
    /// As Open, but a link in the place of the last component is opened itself.  The handle has the right to query
    /// values in addition.
    /// @param rfLink whether it is one.  A component-wise walk that refuses links cannot be led astray.
    virtual Status OpenLink(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey,
                            bool& rfLink) noexcept = 0;
    /// Makes a link.  For tools and tests: nothing in the library makes links.
    /// @param hTarget the key that it leads to; borrowed.
    /// @return AlreadyExists, NotSupported where there are no links.
    virtual Status CreateLink(HKEY hParent, const XCHAR* pszName, HKEY hTarget) noexcept = 0;
    virtual Status Close(HKEY hKey) noexcept = 0;

    /// Reads a value, bytes as they were stored; a text stored without terminator may come back with one added.
    /// @param pszName null or empty: the key's default value.
    /// @param rcbData room before, size after.  `pTarget` null asks for the size (Success); a short buffer answers
    /// MoreData
    ///        with the size, and its contents are then undefined.
    /// @return FileNotFound when there is no such value.
    virtual Status QueryValue(HKEY hKey, const XCHAR* pszName, DWORD& rdwType, void* pTarget,
                              DWORD& rcbData) noexcept = 0;
    /// Reads several values at once, packed in the order asked (members may be unaligned); they belong together: no
    /// other process's write falls between them.  Fails as a whole with FileNotFound when one is absent.
    /// @param rcbData room before, size needed after (Success and MoreData).  A null `pTarget` answers MoreData.
    virtual Status QueryMultipleValues(HKEY hKey, ValueQuery* pQueries, DWORD cQueries, void* pTarget,
                                       DWORD& rcbData) noexcept = 0;
    /// Creates or replaces a value in one step; an existing name keeps its case.
    /// @return InvalidParameter for a name that is too long, NoAccess for null data with a size, AccessDenied.
    virtual Status SetValue(HKEY hKey, const XCHAR* pszName, DWORD dwType, const void* pData,
                            DWORD cbData) noexcept = 0;
    virtual Status DeleteValue(HKEY hKey, const XCHAR* pszName) noexcept = 0;
    /// Deletes a key that has no sub-keys, with its values.
    /// @return FileNotFound, AccessDenied when it has sub-keys or is a root, InvalidParameter for a null name.
    virtual Status DeleteKey(HKEY hParent, const XCHAR* pszSubKey) noexcept = 0;
    /// Deletes the key behind a handle that has RIGHT_DELETE, a link rather than its target.  The handle stays to be
    /// closed.  @return AccessDenied when it has sub-keys or is a root.
    virtual Status DeleteOpenKey(HKEY hKey) noexcept = 0;
    /// The `dwIndex`-th name in the system's order, which is stable while nothing changes; each name once.
    /// `rcName`: room before (with terminator), units after (without) on success; not part of the contract after
    /// MoreData.
    /// @return NoMoreItems at the end, MoreData when the name does not fit.
    virtual Status EnumerateKey(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept = 0;
    /// The same for values.  `pTarget` null asks for the size; a short buffer answers MoreData with the size in
    /// `rcbData`.
    virtual Status EnumerateValue(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName, DWORD& rdwType,
                                  void* pTarget, DWORD& rcbData) noexcept = 0;
    /// Counts and longest names; the names seen by an enumeration may have grown since.  Needs the right to query
    /// values.
    virtual Status QueryInfo(HKEY hKey, KeyInfo& rInfo) noexcept = 0;
    /// The hive of the user that the calling thread impersonates, or of the process.
    virtual Status OpenCurrentUser(DWORD dwRights, HKEY& rhKey) noexcept = 0;
    /// The local machine's root of another machine ("\\SERVER"), with the calling thread's identity; closed as other
    /// keys are.  @return BadNetworkPath when there is no such machine (on the host: always), AccessDenied.
    virtual Status ConnectRemote(const XCHAR* pszMachine, HKEY& rhKey) noexcept = 0;
};

}  // namespace vlm
