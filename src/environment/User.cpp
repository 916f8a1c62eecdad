/// @file
/// Asks the identity port, and holds privileges and identities for a while.
#include "environment/User.h"

#include <array>

#include "platform/IdentityPort.h"
#include "platform/Platform.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace {

using vlm::IdentityPort;
using vlm::Status;

constexpr XStringView LOCAL_SYSTEM_SID = VTEXT("S-1-5-18");

IdentityPort& Identities() noexcept {
    return *vlm::GetPlatform().pIdentity;
}

/// An identity of the least trust when the system does not tell.
IdentityPort::Identity LeastTrust() noexcept {
    IdentityPort::Identity oIdentity;
    oIdentity.dwIntegrity = 0;
    oIdentity.fRemote = true;
    return oIdentity;
}

IdentityPort::Identity Current() noexcept {
    IdentityPort::Identity oIdentity;
    const Status status = Identities().CurrentIdentity(oIdentity);
    if (status == Status::Success) return oIdentity;
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("The identity of the thread cannot be had! %s"),
                     vlm::TextOfStatus(status));
    return LeastTrust();
}

IdentityPort::Identity OfProcess() noexcept {
    IdentityPort::Identity oIdentity;
    const Status status = Identities().ProcessIdentity(oIdentity);
    if (status == Status::Success) return oIdentity;
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("The identity of the process cannot be had! %s"),
                     vlm::TextOfStatus(status));
    return LeastTrust();
}

}  // namespace

CXString User::GetCurrentUserName() {
    std::array<XCHAR, 513> achName{};
    const std::size_t cUnits = Identities().CurrentUserName(achName.data(), achName.size());
    return CXString(achName.data(), static_cast<int>(cUnits));
}

CXString User::GetCurrentUserSID() {
    return CXString(Current().szSid);
}

CXString User::GetProcessUserSID() {
    return CXString(OfProcess().szSid);
}

CXString User::GetSIDOfAccount(const CXString& kcsAccount) {
    std::array<XCHAR, IdentityPort::MAX_SID_UNITS> achSid{};
    const Status status = Identities().SidOfAccount(kcsAccount, achSid.data(), achSid.size());
    if (status == Status::Success) return CXString(achSid.data());
    VLM_REPORT(DebugCategory::Utils, VTEXT("There is no SID of the account '%s'. %s"), kcsAccount,
               vlm::TextOfStatus(status));
    return CXString();
}

bool User::IsImpersonating() noexcept {
    return Current().fImpersonating;
}

bool User::IsAdministrator() noexcept {
    const IdentityPort::Identity oIdentity = Current();
    return oIdentity.fAdministrator || oIdentity.szSid == LOCAL_SYSTEM_SID;
}

bool User::IsProcessAdministrator() noexcept {
    const IdentityPort::Identity oIdentity = OfProcess();
    return oIdentity.fAdministrator || oIdentity.szSid == LOCAL_SYSTEM_SID;
}

bool User::IsLocalSystem() noexcept {
    return Current().szSid == LOCAL_SYSTEM_SID;
}

bool User::HasLowIntegrity() noexcept {
    const IdentityPort::Identity oIdentity = Current();
    return oIdentity.fAppContainer || oIdentity.dwIntegrity < IdentityPort::INTEGRITY_MEDIUM;
}

PrivilegeScope::PrivilegeScope(const XCHAR* pszPrivilege) noexcept : m_pszPrivilege(pszPrivilege) {
    const Status status = Identities().SetPrivilege(pszPrivilege, true, m_bFormer);
    m_bHeld = status == Status::Success;
    if (m_bHeld) return;
    VLM_REPORT(DebugCategory::Utils, VTEXT("The privilege '%s' cannot be had. %s"), pszPrivilege,
               vlm::TextOfStatus(status));
}

PrivilegeScope::~PrivilegeScope() {
    if (!m_bHeld || m_bFormer) return;
    bool bIgnored = false;
    const Status status = Identities().SetPrivilege(m_pszPrivilege, false, bIgnored);
    if (status == Status::Success) return;
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("The privilege '%s' cannot be given back! %s"), m_pszPrivilege,
                     vlm::TextOfStatus(status));
}

ImpersonateLoggedOnUserWrapper::ImpersonateLoggedOnUserWrapper() noexcept {
    const Status status = Identities().ImpersonateLoggedOnUser();
    m_bImpersonating = status == Status::Success;
    if (m_bImpersonating) return;
    VLM_REPORT(DebugCategory::Utils, VTEXT("The thread cannot act for the logged-on user. %s"),
               vlm::TextOfStatus(status));
}

ImpersonateLoggedOnUserWrapper::~ImpersonateLoggedOnUserWrapper() {
    if (!m_bImpersonating) return;
    if (Identities().EndImpersonation() == Status::Success) return;
    Identities().EndProcess(RevertToPrinterSelfWrapper::EXIT_CODE_IDENTITY_LOST);
}

RevertToPrinterSelfWrapper::RevertToPrinterSelfWrapper() noexcept {
    const Status status = Identities().Revert(m_hToken);
    m_bReverted = status == Status::Success;
    if (m_bReverted) return;
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("The thread keeps the identity of the user! %s"),
                     vlm::TextOfStatus(status));
}

RevertToPrinterSelfWrapper::~RevertToPrinterSelfWrapper() {
    if (!m_hToken) return;
    // Nothing else happens after a failure, not even a report: whatever it did would be done with the wrong rights.
    if (Identities().Restore(m_hToken) != Status::Success) Identities().EndProcess(EXIT_CODE_IDENTITY_LOST);
}
