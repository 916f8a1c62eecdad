/// @file
/// The registry on the host: a tree in the store file.
#pragma once

#include <cstdint>

#include "platform/RegistryPort.h"
#include "platform/host/HandleTable.h"

namespace vlm::host {

class StoreTransaction;

/// Every call is one transaction of the store: done as a whole and in the file when it answers Success, or not at
/// all. The current user's hive is HKEY_USERS\S-1-5-21-0-0-0-(user number); HKEY_CLASSES_ROOT is
/// HKEY_LOCAL_MACHINE\Software\Classes.  A store that cannot be opened, read or written answers with what is wrong with
/// the file: PathNotFound, AccessDenied, WriteProtect, BadDatabase, DiskFull, Busy.
class HostRegistryPort final : public RegistryPort {
public:
    HKEY RootKey(Root eRoot) noexcept override;
    Status Open(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey) noexcept override;
    Status Create(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, bool fVolatile, HKEY& rhKey,
                  bool& rfCreated) noexcept override;
    Status CreateRestricted(HKEY hParent, const XCHAR* pszName, DWORD dwRights, const XCHAR* pszReaderSid, HKEY& rhKey,
                            bool& rfCreated) noexcept override;
    Status OpenLink(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey, bool& rfLink) noexcept override;
    Status CreateLink(HKEY hParent, const XCHAR* pszName, HKEY hTarget) noexcept override;
    Status Close(HKEY hKey) noexcept override;
    Status QueryValue(HKEY hKey, const XCHAR* pszName, DWORD& rdwType, void* pTarget, DWORD& rcbData) noexcept override;
    Status QueryMultipleValues(HKEY hKey, ValueQuery* pQueries, DWORD cQueries, void* pTarget,
                               DWORD& rcbData) noexcept override;
    Status SetValue(HKEY hKey, const XCHAR* pszName, DWORD dwType, const void* pData, DWORD cbData) noexcept override;
    Status DeleteValue(HKEY hKey, const XCHAR* pszName) noexcept override;
    Status DeleteKey(HKEY hParent, const XCHAR* pszSubKey) noexcept override;
    Status DeleteOpenKey(HKEY hKey) noexcept override;
    Status EnumerateKey(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept override;
    Status EnumerateValue(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName, DWORD& rdwType, void* pTarget,
                          DWORD& rcbData) noexcept override;
    Status QueryInfo(HKEY hKey, KeyInfo& rInfo) noexcept override;
    Status OpenCurrentUser(DWORD dwRights, HKEY& rhKey) noexcept override;
    Status ConnectRemote(const XCHAR* pszMachine, HKEY& rhKey) noexcept override;

private:
    /// What a handle stands for.
    struct OpenKey {
        std::int64_t llKey;
        std::uint64_t ullStore;
        DWORD dwRights;
        bool fVolatile;
    };
    /// Finds the key behind a handle and checks that it is there.
    Status Resolve(StoreTransaction& rStore, HKEY hKey, DWORD dwRights, OpenKey& rKey);
    HKEY MakeHandle(StoreTransaction& rStore, std::int64_t llKey, DWORD dwRights);

    HandleTable<OpenKey> m_oKeys;
};

}  // namespace vlm::host
