/// @file
/// The registry over advapi32.
#include "platform/win32/Win32RegistryPort.h"

#include <new>
#include <vector>

#include "platform/win32/System.h"

namespace vlm::win32 {

namespace {

Status StatusOfCall(LSTATUS lStatus) noexcept {
    return static_cast<Status>(lStatus);
}

static_assert(RegistryPort::RIGHTS_READ == KEY_READ && RegistryPort::RIGHTS_WRITE == KEY_WRITE &&
              RegistryPort::RIGHTS_ALL == KEY_ALL_ACCESS && RegistryPort::MAXIMUM_RIGHTS == MAXIMUM_ALLOWED);

/// Some systems take longer components than others can read.
bool HasLongComponent(const XCHAR* pszSubKey) noexcept {
    std::size_t cUnits = 0;
    for (; *pszSubKey; ++pszSubKey) {
        cUnits = *pszSubKey == L'\\' ? 0 : cUnits + 1;
        if (cUnits > RegistryPort::MAX_KEY_NAME) return true;
    }
    return false;
}

}  // namespace

HKEY Win32RegistryPort::RootKey(Root eRoot) noexcept {
    return reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(eRoot)));
}

Status Win32RegistryPort::Open(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey) noexcept {
    HKEY hKey = nullptr;
    const LSTATUS lStatus = RegOpenKeyExW(hParent, pszSubKey, 0, dwRights, &hKey);
    if (lStatus == ERROR_SUCCESS) rhKey = hKey;
    return StatusOfCall(lStatus);
}

Status Win32RegistryPort::Create(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, bool fVolatile, HKEY& rhKey,
                                 bool& rfCreated) noexcept {
    if (pszSubKey == nullptr || HasLongComponent(pszSubKey)) return Status::InvalidParameter;
    HKEY hKey = nullptr;
    DWORD dwDisposition = 0;
    const LSTATUS lStatus =
        RegCreateKeyExW(hParent, pszSubKey, 0, nullptr, fVolatile ? REG_OPTION_VOLATILE : REG_OPTION_NON_VOLATILE,
                        dwRights, nullptr, &hKey, &dwDisposition);
    if (lStatus != ERROR_SUCCESS) return StatusOfCall(lStatus);
    rhKey = hKey;
    rfCreated = dwDisposition == REG_CREATED_NEW_KEY;
    return Status::Success;
}

Status Win32RegistryPort::Close(HKEY hKey) noexcept {
    return StatusOfCall(RegCloseKey(hKey));
}

Status Win32RegistryPort::QueryValue(HKEY hKey, const XCHAR* pszName, DWORD& rdwType, void* pTarget,
                                     DWORD& rcbData) noexcept {
    return StatusOfCall(RegQueryValueExW(hKey, pszName, nullptr, &rdwType, static_cast<BYTE*>(pTarget), &rcbData));
}

Status Win32RegistryPort::QueryMultipleValues(HKEY hKey, ValueQuery* pQueries, DWORD cQueries, void* pTarget,
                                              DWORD& rcbData) noexcept try {
    std::vector<VALENTW> vEntries(cQueries);
    for (DWORD i = 0; i < cQueries; ++i)
        vEntries[i].ve_valuename = const_cast<XCHAR*>(pQueries[i].pszName);
    const LSTATUS lStatus =
        RegQueryMultipleValuesW(hKey, vEntries.data(), cQueries, static_cast<wchar_t*>(pTarget), &rcbData);
    if (lStatus != ERROR_SUCCESS) return StatusOfCall(lStatus);
    for (DWORD i = 0; i < cQueries; ++i) {
        pQueries[i].dwType = vEntries[i].ve_type;
        pQueries[i].cbData = vEntries[i].ve_valuelen;
        pQueries[i].dwOffset = static_cast<DWORD>(vEntries[i].ve_valueptr - reinterpret_cast<DWORD_PTR>(pTarget));
    }
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status Win32RegistryPort::SetValue(HKEY hKey, const XCHAR* pszName, DWORD dwType, const void* pData,
                                   DWORD cbData) noexcept {
    if (pData == nullptr && cbData != 0) return Status::NoAccess;
    return StatusOfCall(RegSetValueExW(hKey, pszName, 0, dwType, static_cast<const BYTE*>(pData), cbData));
}

Status Win32RegistryPort::DeleteValue(HKEY hKey, const XCHAR* pszName) noexcept {
    return StatusOfCall(RegDeleteValueW(hKey, pszName));
}

Status Win32RegistryPort::DeleteKey(HKEY hParent, const XCHAR* pszSubKey) noexcept {
    // An empty name would delete the key behind the handle itself.
    if (pszSubKey == nullptr || *pszSubKey == 0) return Status::InvalidParameter;
    return StatusOfCall(RegDeleteKeyW(hParent, pszSubKey));
}

Status Win32RegistryPort::EnumerateKey(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept {
    return StatusOfCall(RegEnumKeyExW(hKey, dwIndex, pszName, &rcName, nullptr, nullptr, nullptr, nullptr));
}

Status Win32RegistryPort::EnumerateValue(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName, DWORD& rdwType,
                                         void* pTarget, DWORD& rcbData) noexcept {
    return StatusOfCall(
        RegEnumValueW(hKey, dwIndex, pszName, &rcName, nullptr, &rdwType, static_cast<BYTE*>(pTarget), &rcbData));
}

Status Win32RegistryPort::OpenCurrentUser(DWORD dwRights, HKEY& rhKey) noexcept {
    HKEY hKey = nullptr;
    const LSTATUS lStatus = RegOpenCurrentUser(dwRights, &hKey);
    if (lStatus == ERROR_SUCCESS) rhKey = hKey;
    return StatusOfCall(lStatus);
}

}  // namespace vlm::win32
