/// @file
/// Identities, impersonation and privileges over advapi32.
#include "platform/win32/Win32IdentityPort.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <new>
#include <string_view>

#include "platform/win32/TokenSid.h"

#include <lmcons.h>
#include <sddl.h>
#include <wtsapi32.h>

namespace vlm::win32 {

namespace {

/// One kind of information about a token, in memory of its own.
/// @return null with the status in `reStatus`.
template <typename Information>
std::unique_ptr<std::byte[]> QueryToken(HANDLE hToken, TOKEN_INFORMATION_CLASS eClass,
                                        const Information*& rpInformation, Status& reStatus) noexcept {
    DWORD cbNeeded = 0;
    GetTokenInformation(hToken, eClass, nullptr, 0, &cbNeeded);
    constexpr DWORD MOST = 1u << 20;
    if (cbNeeded < sizeof(Information) || cbNeeded > MOST) {
        reStatus = cbNeeded == 0 ? LastStatus() : Status::InvalidData;
        return nullptr;
    }
    std::unique_ptr<std::byte[]> apbyRoom(new (std::nothrow) std::byte[cbNeeded]);
    if (!apbyRoom) {
        reStatus = Status::NotEnoughMemory;
        return nullptr;
    }
    reStatus = StatusOf(GetTokenInformation(hToken, eClass, apbyRoom.get(), cbNeeded, &cbNeeded));
    if (reStatus != Status::Success) return nullptr;
    rpInformation = reinterpret_cast<const Information*>(apbyRoom.get());
    return apbyRoom;
}

Status SidText(PSID pSid, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    XCHAR* pszText = nullptr;
    if (!ConvertSidToStringSidW(pSid, &pszText)) return LastStatus();
    const std::wstring_view svText(pszText);
    const bool fFits = pTarget != nullptr && svText.size() < cCapacity;
    if (fFits) *std::copy(svText.begin(), svText.end(), pTarget) = 0;
    LocalFree(pszText);
    return fFits ? Status::Success : Status::InsufficientBuffer;
}

Status ReadUser(HANDLE hToken, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    Status eStatus = Status::Success;
    const TOKEN_USER* pUser = nullptr;
    const auto apbyRoom = QueryToken(hToken, TokenUser, pUser, eStatus);
    return apbyRoom ? SidText(pUser->User.Sid, pTarget, cCapacity) : eStatus;
}

Status ReadIntegrity(HANDLE hToken, DWORD& rdwIntegrity) noexcept {
    Status eStatus = Status::Success;
    const TOKEN_MANDATORY_LABEL* pLabel = nullptr;
    const auto apbyRoom = QueryToken(hToken, TokenIntegrityLevel, pLabel, eStatus);
    if (!apbyRoom) return eStatus;
    const BYTE cParts = *GetSidSubAuthorityCount(pLabel->Label.Sid);
    if (cParts == 0) return Status::InvalidData;
    rdwIntegrity = *GetSidSubAuthority(pLabel->Label.Sid, cParts - 1u);
    return Status::Success;
}

Status ReadGroups(HANDLE hToken, bool& rfRemote, bool& rfAdministrator) noexcept {
    Status eStatus = Status::Success;
    const TOKEN_GROUPS* pGroups = nullptr;
    const auto apbyRoom = QueryToken(hToken, TokenGroups, pGroups, eStatus);
    if (!apbyRoom) return eStatus;
    for (DWORD i = 0; i < pGroups->GroupCount; ++i) {
        const SID_AND_ATTRIBUTES& rGroup = pGroups->Groups[i];
        rfRemote = rfRemote || IsWellKnownSid(rGroup.Sid, WinNetworkSid);
        // A user who is not elevated holds the group for denials only, which is not enabled.
        rfAdministrator = rfAdministrator || ((rGroup.Attributes & SE_GROUP_ENABLED) != 0 &&
                                              IsWellKnownSid(rGroup.Sid, WinBuiltinAdministratorsSid));
    }
    return Status::Success;
}

/// Systems without app containers do not know the question.
Status ReadAppContainer(HANDLE hToken, bool& rfAppContainer) noexcept {
    DWORD dwAnswer = 0, cbNeeded = 0;
    if (!GetTokenInformation(hToken, TokenIsAppContainer, &dwAnswer, sizeof(dwAnswer), &cbNeeded)) {
        const DWORD dwError = GetLastError();
        const bool fUnknown = dwError == ERROR_INVALID_PARAMETER || dwError == ERROR_NOT_SUPPORTED ||
                              dwError == ERROR_CALL_NOT_IMPLEMENTED || dwError == ERROR_INVALID_FUNCTION;
        return fUnknown ? Status::Success : static_cast<Status>(dwError);
    }
    rfAppContainer = dwAnswer != 0;
    return Status::Success;
}

Status ReadIdentity(HANDLE hToken, IdentityPort::Identity& rIdentity) noexcept {
    IdentityPort::Identity oIdentity;
    Status eStatus = ReadUser(hToken, oIdentity.szSid, IdentityPort::MAX_SID_UNITS);
    if (eStatus == Status::Success) eStatus = ReadIntegrity(hToken, oIdentity.dwIntegrity);
    if (eStatus == Status::Success) eStatus = ReadGroups(hToken, oIdentity.fRemote, oIdentity.fAdministrator);
    if (eStatus == Status::Success) eStatus = ReadAppContainer(hToken, oIdentity.fAppContainer);
    if (eStatus == Status::Success) rIdentity = oIdentity;
    return eStatus;
}

}  // namespace

bool OpenThreadsToken(DWORD dwAccess, OwnedHandle& rToken) noexcept {
    return OpenThreadToken(GetCurrentThread(), dwAccess, TRUE, rToken.Receive()) != FALSE;
}

Status OpenEffectiveToken(OwnedHandle& rToken, bool& rfImpersonating) noexcept {
    rfImpersonating = OpenThreadsToken(TOKEN_QUERY, rToken);
    if (rfImpersonating) return Status::Success;
    if (GetLastError() != ERROR_NO_TOKEN) return LastStatus();
    return StatusOf(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, rToken.Receive()));
}

Status SidTextOfToken(HANDLE hToken, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    return ReadUser(hToken, pTarget, cCapacity);
}

Status Win32IdentityPort::CurrentIdentity(Identity& rIdentity) noexcept {
    OwnedHandle oToken;
    bool fImpersonating = false;
    Status eStatus = OpenEffectiveToken(oToken, fImpersonating);
    if (eStatus == Status::Success) eStatus = ReadIdentity(oToken.Get(), rIdentity);
    if (eStatus == Status::Success) rIdentity.fImpersonating = fImpersonating;
    return eStatus;
}

Status Win32IdentityPort::ProcessIdentity(Identity& rIdentity) noexcept {
    OwnedHandle oToken;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, oToken.Receive())) return LastStatus();
    return ReadIdentity(oToken.Get(), rIdentity);
}

std::size_t Win32IdentityPort::CurrentUserName(XCHAR* pTarget, std::size_t cCapacity) noexcept {
    if (pTarget == nullptr || cCapacity == 0) return 0;
    DWORD cUnits = static_cast<DWORD>(std::min<std::size_t>(cCapacity, UNLEN + 1));
    return GetUserNameW(pTarget, &cUnits) && cUnits > 0 ? cUnits - 1 : 0;
}

Status Win32IdentityPort::SidOfAccount(const XCHAR* pszAccount, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    if (pszAccount == nullptr || *pszAccount == 0) return Status::InvalidParameter;
    alignas(SID) std::byte abySid[SECURITY_MAX_SID_SIZE];
    XCHAR szDomain[DNLEN + 256];
    DWORD cbSid = sizeof(abySid), cDomain = static_cast<DWORD>(std::size(szDomain));
    SID_NAME_USE eUse{};
    if (!LookupAccountNameW(nullptr, pszAccount, abySid, &cbSid, szDomain, &cDomain, &eUse)) return LastStatus();
    return SidText(abySid, pTarget, cCapacity);
}

Status Win32IdentityPort::Revert(HANDLE& rhToken) noexcept {
    OwnedHandle oToken;
    if (!OpenThreadsToken(TOKEN_QUERY | TOKEN_IMPERSONATE, oToken)) {
        if (GetLastError() != ERROR_NO_TOKEN) return LastStatus();
        rhToken = nullptr;
        return Status::Success;
    }
    if (!RevertToSelf()) return LastStatus();
    rhToken = oToken.Release();
    return Status::Success;
}

Status Win32IdentityPort::Restore(HANDLE hToken) noexcept {
    if (hToken == nullptr) return Status::Success;
    const OwnedHandle oToken(hToken);
    return StatusOf(SetThreadToken(nullptr, hToken));
}

Status Win32IdentityPort::ImpersonateLoggedOnUser() noexcept {
    OwnedHandle oPresent;
    if (OpenThreadsToken(TOKEN_QUERY, oPresent)) return Status::InvalidParameter;
    if (GetLastError() != ERROR_NO_TOKEN) return LastStatus();
    OwnedHandle oUser;
    if (!WTSQueryUserToken(WTSGetActiveConsoleSessionId(), oUser.Receive())) return LastStatus();
    return StatusOf(::ImpersonateLoggedOnUser(oUser.Get()));
}

Status Win32IdentityPort::EndImpersonation() noexcept {
    return StatusOf(RevertToSelf());
}

void Win32IdentityPort::EndProcess(DWORD dwExitCode) noexcept {
    TerminateProcess(GetCurrentProcess(), dwExitCode);
}

Status Win32IdentityPort::SetPrivilege(const XCHAR* pszPrivilege, bool fEnable, bool& rfFormer) noexcept {
    TOKEN_PRIVILEGES oNew{}, oFormer{};
    oNew.PrivilegeCount = 1;
    oNew.Privileges[0].Attributes = fEnable ? SE_PRIVILEGE_ENABLED : 0;
    if (pszPrivilege == nullptr) return Status::NoSuchPrivilege;
    if (!LookupPrivilegeValueW(nullptr, pszPrivilege, &oNew.Privileges[0].Luid)) return LastStatus();
    OwnedHandle oToken;
    constexpr DWORD ACCESS = TOKEN_QUERY | TOKEN_ADJUST_PRIVILEGES;
    if (!OpenThreadsToken(ACCESS, oToken)) {
        if (GetLastError() != ERROR_NO_TOKEN) return LastStatus();
        if (!OpenProcessToken(GetCurrentProcess(), ACCESS, oToken.Receive())) return LastStatus();
    }
    DWORD cbFormer = 0;
    if (!AdjustTokenPrivileges(oToken.Get(), FALSE, &oNew, sizeof(oFormer), &oFormer, &cbFormer)) return LastStatus();
    // Success with an error: the user does not hold it.
    if (GetLastError() != ERROR_SUCCESS) return LastStatus();
    // Only what was changed is told of.
    const bool fChanged = oFormer.PrivilegeCount == 1;
    rfFormer = fChanged ? (oFormer.Privileges[0].Attributes & SE_PRIVILEGE_ENABLED) != 0 : fEnable;
    return Status::Success;
}

}  // namespace vlm::win32
