/// @file
/// Ordinary INI files: the guards before the system's profile functions.
#include <algorithm>
#include <cstring>

#include "environment/UTF8Ini.h"
#include "platform/Platform.h"
#include "platform/ProfilePort.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SystemText.h"
#include "utilities/utilitiesdll/TextCodec.h"

namespace {

using vlm::Status;

vlm::ProfilePort& Profiles() noexcept {
    return *vlm::GetPlatform().pProfiles;
}

template <typename... Arguments>
bool AreGiven(const Arguments&... arguments) noexcept {
    return (... && static_cast<bool>(arguments));
}

/// What a write came to.
bool IsWritten(Status status, const XCHAR* pszFile) noexcept {
    if (status == Status::Success) return true;
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("The profile %s was not written. %s"), pszFile,
                     vlm::TextOfStatus(status));
    return false;
}

}  // namespace

int UTF8Ini::GetPrivateProfileIntW(const XCHAR* pszSection, const XCHAR* pszKey, int iDefault,
                                   const XCHAR* pszFile) noexcept {
    if (!AreGiven(pszSection, pszKey, pszFile)) return iDefault;
    const bool fNames = vlm::NoThrow(
        [&] { return !TextCodec::Utf16ToUtf8(pszSection).empty() && !TextCodec::Utf16ToUtf8(pszKey).empty(); }, false);
    if (!fNames) return iDefault;
    return static_cast<int>(Profiles().GetInt(pszSection, pszKey, static_cast<DWORD>(iDefault), pszFile));
}

DWORD UTF8Ini::GetPrivateProfileStringW(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszDefault,
                                        XCHAR* pszBuffer, DWORD dwSize, const XCHAR* pszFile) noexcept {
    if (!AreGiven(pszBuffer, dwSize)) return 0;
    if (pszDefault == nullptr) pszDefault = VTEXT("");
    pszBuffer[0] = 0;
    if (AreGiven(pszSection, pszKey, pszFile)) {
        return Profiles().GetString(pszSection, pszKey, pszDefault, pszBuffer, dwSize, pszFile);
    }
    const XStringView svDefault = XStringView(pszDefault).substr(0, dwSize - 1);
    svDefault.copy(pszBuffer, svDefault.size());
    pszBuffer[svDefault.size()] = 0;
    return static_cast<DWORD>(svDefault.size());
}

bool UTF8Ini::GetPrivateProfileStructW(const XCHAR* pszSection, const XCHAR* pszKey, void* pBuffer, DWORD dwSize,
                                       const XCHAR* pszFile) noexcept {
    if (!AreGiven(pszSection, pszKey, pBuffer, dwSize, pszFile)) return false;
    std::memset(pBuffer, 0, std::min<DWORD>(dwSize, 2));
    return Profiles().GetStruct(pszSection, pszKey, pBuffer, dwSize, pszFile) == Status::Success;
}

DWORD UTF8Ini::GetPrivateProfileSectionW(const XCHAR* pszSection, XCHAR* pszBuffer, DWORD dwSize,
                                         const XCHAR* pszFile) noexcept {
    if (!AreGiven(pszSection, pszBuffer, dwSize, pszFile)) return 0;
    return Profiles().GetSection(pszSection, pszBuffer, dwSize, pszFile);
}

DWORD UTF8Ini::GetPrivateProfileSectionNamesW(XCHAR* pszBuffer, DWORD dwSize, const XCHAR* pszFile) noexcept {
    return AreGiven(pszBuffer, dwSize, pszFile) ? Profiles().GetSectionNames(pszBuffer, dwSize, pszFile) : 0;
}

bool UTF8Ini::WritePrivateProfileStringW(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszValue,
                                         const XCHAR* pszFile) noexcept {
    return AreGiven(pszSection, pszFile) &&
           IsWritten(Profiles().WriteString(pszSection, pszKey, pszValue, pszFile), pszFile);
}

bool UTF8Ini::WritePrivateProfileInt(const XCHAR* pszSection, const XCHAR* pszKey, int iValue,
                                     const XCHAR* pszFile) noexcept {
    return vlm::NoThrow(
        [&] {
            CXString csValue;
            csValue.Format(VTEXT("%d"), iValue);
            return WritePrivateProfileStringW(pszSection, pszKey, csValue, pszFile);
        },
        false);
}

bool UTF8Ini::WritePrivateProfileStructW(const XCHAR* pszSection, const XCHAR* pszKey, const void* pBuffer,
                                         DWORD dwSize, const XCHAR* pszFile) noexcept {
    return AreGiven(pszSection, pszKey, pBuffer, dwSize, pszFile) &&
           IsWritten(Profiles().WriteStruct(pszSection, pszKey, pBuffer, dwSize, pszFile), pszFile);
}

bool UTF8Ini::WritePrivateProfileSectionW(const XCHAR* pszSection, const XCHAR* pszList,
                                          const XCHAR* pszFile) noexcept {
    return AreGiven(pszSection, pszList, pszFile) &&
           IsWritten(Profiles().WriteSection(pszSection, pszList, pszFile), pszFile);
}
