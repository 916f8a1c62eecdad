/// @file
/// Users of the host as identities; impersonation as a note that the thread carries.
#include "platform/host/HostIdentityPort.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "platform/host/HandleTable.h"
#include "platform/host/HostNames.h"
#include "platform/host/Undying.h"

namespace vlm::host {

namespace {

using Identity = IdentityPort::Identity;

/// The identities lent to threads or taken back from them.
constinit Undying<HandleTable<Identity>> goTokens;

/// The token that the thread acts under, 0: none.
constinit thread_local std::uintptr_t tuiToken = 0;

std::string SidOfUser(uid_t uUser) {
    return "S-1-5-21-0-0-0-" + std::to_string(uUser);
}

std::size_t CopyTerminated(std::string_view svBytes, XCHAR* pTarget, std::size_t cCapacity) {
    const std::basic_string<XCHAR> units = UnitsFromBytes(svBytes);
    if (pTarget == nullptr || units.size() >= cCapacity) return 0;
    *std::copy(units.begin(), units.end(), pTarget) = 0;
    return units.size();
}

/// Asks the user data base with as much room as it wants.  @return whether there is such a user.
template <typename Query>
Status WithUser(Query query, passwd& rEntry, std::vector<char>& rvcRoom) {
    passwd* pFound = nullptr;
    int iError = 0;
    for (rvcRoom.resize(1024); rvcRoom.size() <= (std::size_t{1} << 20); rvcRoom.resize(rvcRoom.size() * 2)) {
        iError = query(&rEntry, rvcRoom.data(), rvcRoom.size(), &pFound);
        if (iError != ERANGE) break;
    }
    if (pFound != nullptr) return Status::Success;
    return iError == 0 || iError == ENOENT || iError == ESRCH ? Status::NoneMapped : StatusFromErrno(iError);
}

// Names of the system's privileges; what is switched stands in the bit of the place.
constexpr std::array<std::string_view, 16> PRIVILEGES{"SeAssignPrimaryTokenPrivilege",
                                                      "SeBackupPrivilege",
                                                      "SeChangeNotifyPrivilege",
                                                      "SeCreateGlobalPrivilege",
                                                      "SeDebugPrivilege",
                                                      "SeImpersonatePrivilege",
                                                      "SeIncreaseQuotaPrivilege",
                                                      "SeLoadDriverPrivilege",
                                                      "SeManageVolumePrivilege",
                                                      "SeRestorePrivilege",
                                                      "SeSecurityPrivilege",
                                                      "SeShutdownPrivilege",
                                                      "SeSystemtimePrivilege",
                                                      "SeTakeOwnershipPrivilege",
                                                      "SeTcbPrivilege",
                                                      "SeUndockPrivilege"};
constinit std::atomic<std::uint32_t> guPrivileges{0};

}  // namespace

Status ImpersonateOnHost(const Identity& rIdentity) noexcept try {
    Identity oIdentity = rIdentity;
    oIdentity.fImpersonating = true;
    const std::uintptr_t uiToken = goTokens.object.Add(oIdentity);
    if (tuiToken != 0) goTokens.object.Remove(tuiToken);
    tuiToken = uiToken;
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostIdentityPort::ProcessIdentity(Identity& rIdentity) noexcept try {
    const uid_t uUser = getuid();
    Identity oIdentity;
    CopyTerminated(SidOfUser(uUser), oIdentity.szSid, MAX_SID_UNITS);
    oIdentity.fAdministrator = uUser == 0;
    oIdentity.dwIntegrity = uUser == 0 ? INTEGRITY_HIGH : INTEGRITY_MEDIUM;
    rIdentity = oIdentity;
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostIdentityPort::CurrentIdentity(Identity& rIdentity) noexcept {
    if (tuiToken == 0) return ProcessIdentity(rIdentity);
    const std::optional<Identity> oIdentity = goTokens.object.Find(tuiToken);
    if (!oIdentity) return Status::InvalidHandle;
    rIdentity = *oIdentity;
    return Status::Success;
}

std::size_t HostIdentityPort::CurrentUserName(XCHAR* pTarget, std::size_t cCapacity) noexcept try {
    Identity oIdentity;
    if (CurrentIdentity(oIdentity) != Status::Success) return 0;
    // The user number is the last part of a SID of ours.
    std::string sid;
    constexpr std::string_view OURS = "S-1-5-21-0-0-0-";
    if (!BytesFromUnits(oIdentity.szSid, sid) || !sid.starts_with(OURS)) return 0;
    const std::string digits = sid.substr(OURS.size());
    if (digits.empty() || digits.size() > 10 || digits.find_first_not_of("0123456789") != std::string::npos) return 0;
    passwd oEntry{};
    std::vector<char> vcRoom;
    const uid_t uUser = static_cast<uid_t>(std::stoull(digits));
    const Status eStatus = WithUser([&](passwd* pEntry, char* pcRoom, std::size_t cRoom,
                                        passwd** ppFound) { return getpwuid_r(uUser, pEntry, pcRoom, cRoom, ppFound); },
                                    oEntry, vcRoom);
    return eStatus == Status::Success ? CopyTerminated(oEntry.pw_name, pTarget, cCapacity)
                                      : CopyTerminated(digits, pTarget, cCapacity);
} catch (const std::bad_alloc&) {
    return 0;
}

Status HostIdentityPort::SidOfAccount(const XCHAR* pszAccount, XCHAR* pTarget, std::size_t cCapacity) noexcept try {
    if (pszAccount == nullptr || *pszAccount == 0) return Status::InvalidParameter;
    std::string account;
    if (!BytesFromUnits(pszAccount, account)) return Status::NoneMapped;
    if (const std::size_t iSlash = account.find('\\'); iSlash != std::string::npos) {
        char acHost[256] = {};
        if (gethostname(acHost, sizeof(acHost) - 1) != 0) return StatusFromErrno(errno);
        const std::string domain = account.substr(0, iSlash);
        if (domain != "." && domain != acHost) return Status::NoneMapped;
        account.erase(0, iSlash + 1);
    }
    passwd oEntry{};
    std::vector<char> vcRoom;
    const Status eStatus =
        WithUser([&](passwd* pEntry, char* pcRoom, std::size_t cRoom,
                     passwd** ppFound) { return getpwnam_r(account.c_str(), pEntry, pcRoom, cRoom, ppFound); },
                 oEntry, vcRoom);
    if (eStatus != Status::Success) return eStatus;
    return CopyTerminated(SidOfUser(oEntry.pw_uid), pTarget, cCapacity) ? Status::Success : Status::InsufficientBuffer;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostIdentityPort::Revert(HANDLE& rhToken) noexcept {
    rhToken = reinterpret_cast<HANDLE>(tuiToken);
    tuiToken = 0;
    return Status::Success;
}

Status HostIdentityPort::Restore(HANDLE hToken) noexcept {
    const std::uintptr_t uiToken = reinterpret_cast<std::uintptr_t>(hToken);
    if (uiToken == 0) return Status::Success;
    const std::optional<Identity> oIdentity = goTokens.object.Remove(uiToken);
    return oIdentity ? ImpersonateOnHost(*oIdentity) : Status::InvalidHandle;
}

Status HostIdentityPort::ImpersonateLoggedOnUser() noexcept {
    return tuiToken == 0 ? Status::NotSupported : Status::InvalidParameter;
}

Status HostIdentityPort::EndImpersonation() noexcept {
    return Status::Success;
}

void HostIdentityPort::EndProcess(DWORD dwExitCode) noexcept {
    _exit(static_cast<int>(dwExitCode));
}

Status HostIdentityPort::SetPrivilege(const XCHAR* pszPrivilege, bool fEnable, bool& rfFormer) noexcept try {
    std::string name;
    if (pszPrivilege == nullptr || !BytesFromUnits(pszPrivilege, name)) return Status::NoSuchPrivilege;
    const auto it = std::find(PRIVILEGES.begin(), PRIVILEGES.end(), name);
    if (it == PRIVILEGES.end()) return Status::NoSuchPrivilege;
    Identity oIdentity;
    if (const Status eStatus = CurrentIdentity(oIdentity); eStatus != Status::Success) return eStatus;
    if (!oIdentity.fAdministrator) return Status::NotAllAssigned;
    const std::uint32_t uBit = 1u << (it - PRIVILEGES.begin());
    rfFormer = ((fEnable ? guPrivileges.fetch_or(uBit) : guPrivileges.fetch_and(~uBit)) & uBit) != 0;
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

}  // namespace vlm::host
