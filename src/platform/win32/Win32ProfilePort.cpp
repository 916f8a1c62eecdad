/// @file
/// The profile functions of kernel32.
#include "platform/win32/Win32ProfilePort.h"

#include "platform/win32/System.h"

namespace vlm::win32 {

DWORD Win32ProfilePort::GetInt(const XCHAR* pszSection, const XCHAR* pszKey, DWORD dwDefault,
                               const XCHAR* pszFile) noexcept {
    return GetPrivateProfileIntW(pszSection, pszKey, static_cast<INT>(dwDefault), pszFile);
}

DWORD Win32ProfilePort::GetString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszDefault,
                                  XCHAR* pszBuffer, DWORD cUnits, const XCHAR* pszFile) noexcept {
    return GetPrivateProfileStringW(pszSection, pszKey, pszDefault ? pszDefault : L"", pszBuffer, cUnits, pszFile);
}

DWORD Win32ProfilePort::GetSection(const XCHAR* pszSection, XCHAR* pszBuffer, DWORD cUnits,
                                   const XCHAR* pszFile) noexcept {
    return GetPrivateProfileSectionW(pszSection, pszBuffer, cUnits, pszFile);
}

DWORD Win32ProfilePort::GetSectionNames(XCHAR* pszBuffer, DWORD cUnits, const XCHAR* pszFile) noexcept {
    return GetPrivateProfileSectionNamesW(pszBuffer, cUnits, pszFile);
}

Status Win32ProfilePort::GetStruct(const XCHAR* pszSection, const XCHAR* pszKey, void* pBuffer, DWORD cbBuffer,
                                   const XCHAR* pszFile) noexcept {
    SetLastError(ERROR_SUCCESS);
    if (GetPrivateProfileStructW(pszSection, pszKey, pBuffer, cbBuffer, pszFile)) return Status::Success;
    // A wrong size or sum need not set an error.
    return GetLastError() == ERROR_SUCCESS ? Status::InvalidData : LastStatus();
}

Status Win32ProfilePort::WriteString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszValue,
                                     const XCHAR* pszFile) noexcept {
    return StatusOf(WritePrivateProfileStringW(pszSection, pszKey, pszValue, pszFile));
}

Status Win32ProfilePort::WriteSection(const XCHAR* pszSection, const XCHAR* pszList, const XCHAR* pszFile) noexcept {
    return StatusOf(WritePrivateProfileSectionW(pszSection, pszList, pszFile));
}

Status Win32ProfilePort::WriteStruct(const XCHAR* pszSection, const XCHAR* pszKey, const void* pData, DWORD cbData,
                                     const XCHAR* pszFile) noexcept {
    // The call takes its data as writable and does not write.
    return StatusOf(WritePrivateProfileStructW(pszSection, pszKey, const_cast<void*>(pData), cbData, pszFile));
}

}  // namespace vlm::win32
