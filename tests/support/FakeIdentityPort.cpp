/// @file
/// Identities in memory.
#include "support/FakeIdentityPort.h"

#include <algorithm>

#include "support/AllocationFaults.h"
#include "support/FakeCalls.h"

namespace vlm::test {

namespace {

bool CopyTerminated(XStringView svText, XCHAR* pTarget, std::size_t cCapacity) {
    if (pTarget == nullptr || svText.size() >= cCapacity) return false;
    *std::copy(svText.begin(), svText.end(), pTarget) = 0;
    return true;
}

XString LeafOf(const XString& rAccount) {
    return rAccount.substr(rAccount.rfind(VTEXT('\\')) + 1);
}

}  // namespace

IdentityPort::Identity FakeIdentityPort::MakeIdentity(XStringView svSid, DWORD dwIntegrity, bool fAdministrator) {
    Identity oIdentity;
    CopyTerminated(svSid.substr(0, MAX_SID_UNITS - 1), oIdentity.szSid, MAX_SID_UNITS);
    oIdentity.dwIntegrity = dwIntegrity;
    oIdentity.fAdministrator = fAdministrator;
    return oIdentity;
}

void FakeIdentityPort::SetProcessIdentity(const Identity& rIdentity) {
    const std::lock_guard oLock(m_oMutex);
    m_oProcess = rIdentity;
    m_oProcess.fImpersonating = false;
}

void FakeIdentityPort::Impersonate(const Identity& rIdentity) {
    const FakeCall oCall(m_oMutex);
    Identity& rThread = m_mapThreads[std::this_thread::get_id()];
    rThread = rIdentity;
    rThread.fImpersonating = true;
}

void FakeIdentityPort::StopImpersonating() {
    const FakeCall oCall(m_oMutex);
    m_mapThreads.erase(std::this_thread::get_id());
}

void FakeIdentityPort::AddAccount(XStringView svName, XStringView svSid) {
    const FakeCall oCall(m_oMutex);
    m_mapAccounts[XString(svName)] = svSid;
}

void FakeIdentityPort::SetPrivilegeHeld(XStringView svPrivilege, bool fHeld) {
    const FakeCall oCall(m_oMutex);
    if (fHeld) {
        m_mapPrivileges.emplace(svPrivilege, false);
    } else {
        m_mapPrivileges.erase(XString(svPrivilege));
    }
}

bool FakeIdentityPort::IsPrivilegeOn(XStringView svPrivilege) const {
    const FakeCall oCall(m_oMutex);
    const auto it = m_mapPrivileges.find(XString(svPrivilege));
    return it != m_mapPrivileges.end() && it->second;
}

std::optional<DWORD> FakeIdentityPort::EndedWith() const {
    const std::lock_guard oLock(m_oMutex);
    return m_oEndedWith;
}

std::size_t FakeIdentityPort::OpenTokens() const {
    const std::lock_guard oLock(m_oMutex);
    return m_mapTokens.size();
}

void FakeIdentityPort::DiscardToken(HANDLE hToken) {
    const FakeCall oCall(m_oMutex);
    m_mapTokens.erase(hToken);
}

Status FakeIdentityPort::CurrentIdentity(Identity& rIdentity) noexcept {
    const std::lock_guard oLock(m_oMutex);
    const auto it = m_mapThreads.find(std::this_thread::get_id());
    rIdentity = it != m_mapThreads.end() ? it->second : m_oProcess;
    return Status::Success;
}

Status FakeIdentityPort::ProcessIdentity(Identity& rIdentity) noexcept {
    const std::lock_guard oLock(m_oMutex);
    rIdentity = m_oProcess;
    return Status::Success;
}

std::size_t FakeIdentityPort::CurrentUserName(XCHAR* pTarget, std::size_t cCapacity) noexcept {
    const AllocationExempt oExempt;
    Identity oIdentity;
    CurrentIdentity(oIdentity);
    const std::lock_guard oLock(m_oMutex);
    for (const auto& [account, sid] : m_mapAccounts) {
        if (sid != XStringView(oIdentity.szSid)) continue;
        const XString name = LeafOf(account);
        return CopyTerminated(name, pTarget, cCapacity) ? name.size() : 0;
    }
    return 0;
}

Status FakeIdentityPort::SidOfAccount(const XCHAR* pszAccount, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    const AllocationExempt oExempt;
    if (pszAccount == nullptr || *pszAccount == 0) return Status::InvalidParameter;
    const std::lock_guard oLock(m_oMutex);
    for (const auto& [account, sid] : m_mapAccounts) {
        if (account != pszAccount && LeafOf(account) != pszAccount) continue;
        return CopyTerminated(sid, pTarget, cCapacity) ? Status::Success : Status::InsufficientBuffer;
    }
    return Status::NoneMapped;
}

Status FakeIdentityPort::Revert(HANDLE& rhToken) noexcept {
    const FakeCall oCall(m_oMutex);
    rhToken = nullptr;
    const auto it = m_mapThreads.find(std::this_thread::get_id());
    if (it == m_mapThreads.end()) return Status::Success;
    rhToken = reinterpret_cast<HANDLE>(m_uiLastToken += 4);
    m_mapTokens[rhToken] = it->second;
    m_mapThreads.erase(it);
    return Status::Success;
}

Status FakeIdentityPort::Restore(HANDLE hToken) noexcept {
    const AllocationExempt oExempt;
    if (hToken == nullptr) return Status::Success;
    const std::lock_guard oLock(m_oMutex);
    const auto it = m_mapTokens.find(hToken);
    if (it == m_mapTokens.end()) {
        ReportMisuse("a token that is none, or was restored before", hToken);
        return Status::InvalidHandle;
    }
    m_mapThreads[std::this_thread::get_id()] = it->second;
    m_mapTokens.erase(it);
    return Status::Success;
}

void FakeIdentityPort::SetLoggedOnUser(const Identity& rIdentity) {
    const std::lock_guard oLock(m_oMutex);
    m_oLoggedOn = rIdentity;
    m_oLoggedOn->fImpersonating = true;
}

Status FakeIdentityPort::ImpersonateLoggedOnUser() noexcept {
    const FakeCall oCall(m_oMutex);
    if (m_mapThreads.contains(std::this_thread::get_id())) return Status::InvalidParameter;
    if (!m_oLoggedOn) return Status::AccessDenied;
    m_mapThreads[std::this_thread::get_id()] = *m_oLoggedOn;
    return Status::Success;
}

Status FakeIdentityPort::EndImpersonation() noexcept {
    StopImpersonating();
    return Status::Success;
}

void FakeIdentityPort::EndProcess(DWORD dwExitCode) noexcept {
    const std::lock_guard oLock(m_oMutex);
    m_oEndedWith = dwExitCode;
}

Status FakeIdentityPort::SetPrivilege(const XCHAR* pszPrivilege, bool fEnable, bool& rfFormer) noexcept {
    const AllocationExempt oExempt;
    const XStringView svPrivilege = pszPrivilege ? XStringView(pszPrivilege) : XStringView();
    if (!svPrivilege.starts_with(VTEXT("Se")) || !svPrivilege.ends_with(VTEXT("Privilege"))) {
        return Status::NoSuchPrivilege;
    }
    const std::lock_guard oLock(m_oMutex);
    const auto it = m_mapPrivileges.find(XString(svPrivilege));
    if (it == m_mapPrivileges.end()) return Status::NotAllAssigned;
    rfFormer = it->second;
    it->second = fEnable;
    return Status::Success;
}

}  // namespace vlm::test
