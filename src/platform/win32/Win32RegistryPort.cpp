/// @file
/// The registry over advapi32.
#include "platform/win32/Win32RegistryPort.h"

#include <cwchar>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "platform/win32/System.h"
// Needs the one before it.
#include <sddl.h>

// The system's own names for two things that advapi32 has no call for: deleting a link, and the full name of a key.
extern "C" {
LONG NTAPI NtDeleteKey(HANDLE hKey);
LONG NTAPI NtQueryKey(HANDLE hKey, int iInformationClass, void* pInformation, ULONG cbInformation, ULONG* pcbNeeded);
ULONG NTAPI RtlNtStatusToDosError(LONG lStatus);
}

namespace vlm::win32 {

namespace {

Status StatusOfCall(LSTATUS lStatus) noexcept {
    return static_cast<Status>(lStatus);
}

constexpr wchar_t LINK_VALUE[] = L"SymbolicLinkValue";

static_assert(RegistryPort::RIGHT_DELETE == DELETE && RegistryPort::TYPE_LINK == REG_LINK);
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

/// Any value of a link's type under the link's name counts: a key dressed up as a link is no more to be trusted.
bool IsLink(HKEY hKey) noexcept {
    DWORD dwType = 0;
    return RegQueryValueExW(hKey, LINK_VALUE, nullptr, &dwType, nullptr, nullptr) == ERROR_SUCCESS &&
           dwType == REG_LINK;
}

/// The full name of a key in the system's name space.
Status NameOfKey(HKEY hKey, std::wstring& rName) {
    HKEY hOwn = nullptr;  // predefined roots are no handles of the system
    if (const LSTATUS lStatus = RegOpenKeyExW(hKey, nullptr, 0, KEY_QUERY_VALUE, &hOwn); lStatus != ERROR_SUCCESS)
        return StatusOfCall(lStatus);
    constexpr int KEY_NAME_INFORMATION_CLASS = 3;
    std::vector<ULONG> vInformation(8192);
    ULONG cbNeeded = 0;
    const LONG lStatus = NtQueryKey(hOwn, KEY_NAME_INFORMATION_CLASS, vInformation.data(),
                                    static_cast<ULONG>(vInformation.size() * sizeof(ULONG)), &cbNeeded);
    RegCloseKey(hOwn);
    if (lStatus < 0) return static_cast<Status>(RtlNtStatusToDosError(lStatus));
    rName.assign(reinterpret_cast<const wchar_t*>(vInformation.data() + 1), vInformation[0] / sizeof(wchar_t));
    return Status::Success;
}

struct LocalFreeDeleter {
    void operator()(void* pMemory) const noexcept { LocalFree(pMemory); }
};

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

Status Win32RegistryPort::CreateRestricted(HKEY hParent, const XCHAR* pszName, DWORD dwRights,
                                           const XCHAR* pszReaderSid, HKEY& rhKey, bool& rfCreated) noexcept try {
    if (pszName == nullptr || *pszName == 0 || std::wcschr(pszName, L'\\') != nullptr || HasLongComponent(pszName))
        return Status::InvalidParameter;
    // Checked before it becomes part of a text: a SID must not smuggle in entries of its own.
    if (pszReaderSid == nullptr || !IsSidText(pszReaderSid)) return Status::InvalidParameter;
    const std::wstring sddl = std::wstring(L"D:P(A;CI;KA;;;SY)(A;CI;KA;;;BA)(A;CI;KR;;;") + pszReaderSid + L")";
    PSECURITY_DESCRIPTOR pDescriptor = nullptr;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(sddl.c_str(), SDDL_REVISION_1, &pDescriptor, nullptr))
        return static_cast<Status>(GetLastError());
    const std::unique_ptr<void, LocalFreeDeleter> apoDescriptor(pDescriptor);
    SECURITY_ATTRIBUTES oAttributes{sizeof(SECURITY_ATTRIBUTES), pDescriptor, FALSE};
    HKEY hKey = nullptr;
    DWORD dwDisposition = 0;
    const LSTATUS lStatus = RegCreateKeyExW(hParent, pszName, 0, nullptr, REG_OPTION_OPEN_LINK, dwRights, &oAttributes,
                                            &hKey, &dwDisposition);
    if (lStatus != ERROR_SUCCESS) return StatusOfCall(lStatus);
    rhKey = hKey;
    rfCreated = dwDisposition == REG_CREATED_NEW_KEY;
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status Win32RegistryPort::OpenLink(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey,
                                   bool& rfLink) noexcept {
    HKEY hKey = nullptr;
    const LSTATUS lStatus = RegOpenKeyExW(hParent, pszSubKey, REG_OPTION_OPEN_LINK, dwRights | KEY_QUERY_VALUE, &hKey);
    if (lStatus != ERROR_SUCCESS) return StatusOfCall(lStatus);
    rhKey = hKey;
    rfLink = IsLink(hKey);
    return Status::Success;
}

Status Win32RegistryPort::CreateLink(HKEY hParent, const XCHAR* pszName, HKEY hTarget) noexcept try {
    if (pszName == nullptr || *pszName == 0 || HasLongComponent(pszName)) return Status::InvalidParameter;
    std::wstring target;
    if (const Status eStatus = NameOfKey(hTarget, target); eStatus != Status::Success) return eStatus;
    HKEY hKey = nullptr;
    DWORD dwDisposition = 0;
    LSTATUS lStatus = RegCreateKeyExW(hParent, pszName, 0, nullptr, REG_OPTION_CREATE_LINK,
                                      KEY_CREATE_LINK | KEY_SET_VALUE, nullptr, &hKey, &dwDisposition);
    if (lStatus != ERROR_SUCCESS) return StatusOfCall(lStatus);
    if (dwDisposition != REG_CREATED_NEW_KEY) {
        RegCloseKey(hKey);
        return Status::AlreadyExists;
    }
    lStatus = RegSetValueExW(hKey, LINK_VALUE, 0, REG_LINK, reinterpret_cast<const BYTE*>(target.data()),
                             static_cast<DWORD>(target.size() * sizeof(wchar_t)));
    RegCloseKey(hKey);
    return StatusOfCall(lStatus);
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
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
                                   DWORD cbData) noexcept try {
    if (pData == nullptr && cbData != 0) return Status::NoAccess;
    const BYTE* pbyData = static_cast<const BYTE*>(pData);
    std::vector<BYTE> vbyPadded;
    // Behind a text without terminator the system looks for one beyond the data, and would store it, too.
    if (cbData != 0 && (dwType == TYPE_SZ || dwType == TYPE_EXPAND_SZ || dwType == TYPE_MULTI_SZ)) {
        vbyPadded.reserve(std::size_t{cbData} + sizeof(wchar_t));
        vbyPadded.assign(pbyData, pbyData + cbData);
        vbyPadded.resize(std::size_t{cbData} + sizeof(wchar_t), 0xFF);
        pbyData = vbyPadded.data();
    }
    return StatusOfCall(RegSetValueExW(hKey, pszName, 0, dwType, pbyData, cbData));
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status Win32RegistryPort::DeleteValue(HKEY hKey, const XCHAR* pszName) noexcept {
    return StatusOfCall(RegDeleteValueW(hKey, pszName));
}

Status Win32RegistryPort::DeleteKey(HKEY hParent, const XCHAR* pszSubKey) noexcept {
    // An empty name would delete the key behind the handle itself.
    if (pszSubKey == nullptr || *pszSubKey == 0) return Status::InvalidParameter;
    return StatusOfCall(RegDeleteKeyW(hParent, pszSubKey));
}

Status Win32RegistryPort::DeleteOpenKey(HKEY hKey) noexcept {
    const LONG lStatus = NtDeleteKey(hKey);
    return lStatus >= 0 ? Status::Success : static_cast<Status>(RtlNtStatusToDosError(lStatus));
}

Status Win32RegistryPort::EnumerateKey(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept {
    return StatusOfCall(RegEnumKeyExW(hKey, dwIndex, pszName, &rcName, nullptr, nullptr, nullptr, nullptr));
}

Status Win32RegistryPort::EnumerateValue(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName, DWORD& rdwType,
                                         void* pTarget, DWORD& rcbData) noexcept {
    return StatusOfCall(
        RegEnumValueW(hKey, dwIndex, pszName, &rcName, nullptr, &rdwType, static_cast<BYTE*>(pTarget), &rcbData));
}

Status Win32RegistryPort::QueryInfo(HKEY hKey, KeyInfo& rInfo) noexcept {
    KeyInfo oInfo;
    const LSTATUS lStatus =
        RegQueryInfoKeyW(hKey, nullptr, nullptr, nullptr, &oInfo.cSubKeys, &oInfo.cMaxKeyName, nullptr, &oInfo.cValues,
                         &oInfo.cMaxValueName, &oInfo.cbMaxData, nullptr, nullptr);
    if (lStatus == ERROR_SUCCESS) rInfo = oInfo;
    return StatusOfCall(lStatus);
}

Status Win32RegistryPort::OpenCurrentUser(DWORD dwRights, HKEY& rhKey) noexcept {
    HKEY hKey = nullptr;
    const LSTATUS lStatus = RegOpenCurrentUser(dwRights, &hKey);
    if (lStatus == ERROR_SUCCESS) rhKey = hKey;
    return StatusOfCall(lStatus);
}

Status Win32RegistryPort::ConnectRemote(const XCHAR* pszMachine, HKEY& rhKey) noexcept {
    if (pszMachine == nullptr) return Status::InvalidParameter;
    HKEY hKey = nullptr;
    const LSTATUS lStatus = RegConnectRegistryW(pszMachine, HKEY_LOCAL_MACHINE, &hKey);
    if (lStatus == ERROR_SUCCESS) rhKey = hKey;
    return StatusOfCall(lStatus);
}

}  // namespace vlm::win32
