/// @file
/// The registry of the system.
#pragma once

#include "platform/RegistryPort.h"

namespace vlm::win32 {

class Win32RegistryPort final : public RegistryPort {
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
};

}  // namespace vlm::win32
