/// @file
/// The system's profile functions.
#pragma once

#include "platform/ProfilePort.h"

namespace vlm::win32 {

class Win32ProfilePort final : public ProfilePort {
public:
    DWORD GetInt(const XCHAR* pszSection, const XCHAR* pszKey, DWORD dwDefault, const XCHAR* pszFile) noexcept override;
    DWORD GetString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszDefault, XCHAR* pszBuffer,
                    DWORD cUnits, const XCHAR* pszFile) noexcept override;
    DWORD GetSection(const XCHAR* pszSection, XCHAR* pszBuffer, DWORD cUnits, const XCHAR* pszFile) noexcept override;
    DWORD GetSectionNames(XCHAR* pszBuffer, DWORD cUnits, const XCHAR* pszFile) noexcept override;
    Status GetStruct(const XCHAR* pszSection, const XCHAR* pszKey, void* pBuffer, DWORD cbBuffer,
                     const XCHAR* pszFile) noexcept override;
    Status WriteString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszValue,
                       const XCHAR* pszFile) noexcept override;
    Status WriteSection(const XCHAR* pszSection, const XCHAR* pszList, const XCHAR* pszFile) noexcept override;
    Status WriteStruct(const XCHAR* pszSection, const XCHAR* pszKey, const void* pData, DWORD cbData,
                       const XCHAR* pszFile) noexcept override;
};

}  // namespace vlm::win32
