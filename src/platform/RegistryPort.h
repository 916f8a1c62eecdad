/// @file
/// Port: the registry.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Keys and values, with the system's status numbers.  On the host one SQLite file holds the tree; several processes may
/// share it, and a killed process loses nothing that a call had confirmed.
/// Names compare without case (ASCII), keep the case they were created with, and use "\" between components.
/// Threads: any; one key handle by one thread at a time.  Failure: by status; nothing throws.
class RegistryPort {
public:
    /// Rights, as the system numbers them.
    static constexpr DWORD QUERY_VALUE = 0x1, SET_VALUE = 0x2, CREATE_SUB_KEY = 0x4, ENUMERATE_SUB_KEYS = 0x8,
                           RIGHTS_READ = 0x20019, RIGHTS_WRITE = 0x20006, RIGHTS_ALL = 0xF003F;
    /// Value types, as the system numbers them.
    static constexpr DWORD TYPE_NONE = 0, TYPE_SZ = 1, TYPE_EXPAND_SZ = 2, TYPE_BINARY = 3, TYPE_DWORD = 4, TYPE_LINK = 6,
                           TYPE_MULTI_SZ = 7, TYPE_QWORD = 11;
    /// The predefined roots, as the system numbers them (sign-extended to the handle's width).
    enum class Root : DWORD {
        ClassesRoot = 0x80000000,
        CurrentUser = 0x80000001,
        LocalMachine = 0x80000002,
        Users = 0x80000003,
    };

    /// One member of a multi-value query.  Before: the name.  After: type, and where its data stands in the buffer.
    struct ValueQuery {
        const XCHAR* pszName = nullptr;
        DWORD dwType = 0;
        DWORD cbData = 0;
        DWORD dwOffset = 0;
    };

    virtual ~RegistryPort() = default;

    virtual HKEY RootKey(Root eRoot) noexcept = 0;
    virtual Status Open(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey) noexcept = 0;
    virtual Status Create(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, bool fVolatile, HKEY& rhKey,
                          bool& rfCreated) noexcept = 0;
    virtual Status Close(HKEY hKey) noexcept = 0;

    /// Reads a value.  `pTarget` null asks for the size; a short buffer answers MoreData with the size in `rcbData`.
    virtual Status QueryValue(HKEY hKey, const XCHAR* pszName, DWORD& rdwType, void* pTarget, DWORD& rcbData) noexcept = 0;
    /// Reads several values at once, packed in the order asked; fails as a whole when one is absent.
    virtual Status QueryMultipleValues(HKEY hKey, ValueQuery* pQueries, DWORD cQueries, void* pTarget,
                                       DWORD& rcbData) noexcept = 0;
    virtual Status SetValue(HKEY hKey, const XCHAR* pszName, DWORD dwType, const void* pData, DWORD cbData) noexcept = 0;
    virtual Status DeleteValue(HKEY hKey, const XCHAR* pszName) noexcept = 0;
    /// Deletes a key that has no sub-keys.
    virtual Status DeleteKey(HKEY hParent, const XCHAR* pszSubKey) noexcept = 0;
    /// The `dwIndex`-th name in the system's order.  `rcName`: room before (with terminator), units after (without).
    virtual Status EnumerateKey(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept = 0;
    virtual Status EnumerateValue(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName, DWORD& rdwType, void* pTarget,
                                  DWORD& rcbData) noexcept = 0;
    /// The hive of the user that the calling thread impersonates, or of the process.
    virtual Status OpenCurrentUser(DWORD dwRights, HKEY& rhKey) noexcept = 0;
};

}  // namespace vlm
