/// @file
/// Users as a test wants them.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "platform/IdentityPort.h"
#include "support/FakeCalls.h"
#include "support/PortCalls.h"

namespace vlm::test {

using XString = std::basic_string<XCHAR>;

/// Keeps the identity port's contract; who is who stands in the script.  A token that is restored twice, or is none,
/// fails the running test, unless told otherwise.  Threads: any.
class FakeIdentityPort final : public IdentityPort, public MisuseAlarm {
public:
    /// An identity in one line.
    static Identity MakeIdentity(XStringView svSid, DWORD dwIntegrity = INTEGRITY_MEDIUM, bool fAdministrator = false);

    // --- the script ---
    /// At the beginning: "S-1-5-21-1-2-3-1001", medium integrity, no administrator.
    void SetProcessIdentity(const Identity& rIdentity);
    /// The calling thread acts for somebody from now on, or no more.
    void Impersonate(const Identity& rIdentity);
    void StopImpersonating();
    /// The user that ImpersonateLoggedOnUser lets threads act for; at the beginning nobody: AccessDenied.
    void SetLoggedOnUser(const Identity& rIdentity);
    /// An account that look-ups find; the user's name is the part after the last "\".  The process's is "tester".
    void AddAccount(XStringView svName, XStringView svSid);
    /// Privileges that users hold; at the beginning "SeLoadDriverPrivilege" and "SeRestorePrivilege", switched off.
    void SetPrivilegeHeld(XStringView svPrivilege, bool fHeld);
    bool IsPrivilegeOn(XStringView svPrivilege) const;
    /// What EndProcess was called with, if it was.
    std::optional<DWORD> EndedWith() const;
    /// Tokens taken by Revert and not restored yet.
    std::size_t OpenTokens() const;
    /// Closes a token unused, as a restore that fails does.
    void DiscardToken(HANDLE hToken);

    // --- the port ---
    Q9_IDENTITY_CALLS(Q9_DECLARE)

private:
    mutable std::mutex m_oMutex;
    Identity m_oProcess = MakeIdentity(VTEXT("S-1-5-21-1-2-3-1001"));
    std::map<std::thread::id, Identity> m_mapThreads;
    std::map<HANDLE, Identity> m_mapTokens;
    std::map<XString, XString> m_mapAccounts{{VTEXT("tester"), VTEXT("S-1-5-21-1-2-3-1001")}};
    std::map<XString, bool> m_mapPrivileges{{VTEXT("SeLoadDriverPrivilege"), false},
                                            {VTEXT("SeRestorePrivilege"), false}};
    std::optional<Identity> m_oLoggedOn;
    std::uintptr_t m_uiLastToken = 0x7000;
    std::optional<DWORD> m_oEndedWith;
};

}  // namespace vlm::test
