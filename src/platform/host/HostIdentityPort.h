/// @file
/// Identities of the host.
#pragma once

#include "platform/IdentityPort.h"

namespace vlm::host {

/// The user of the process, as this system's kind of identity: the SID "S-1-5-21-0-0-0-<user number>" that the store
/// keeps the user's hive under, medium integrity; the superuser is an elevated administrator of high integrity.
/// Privileges are the superuser's; switching one is remembered and has no other effect.
class HostIdentityPort final : public IdentityPort {
public:
    Status CurrentIdentity(Identity& rIdentity) noexcept override;
    Status ProcessIdentity(Identity& rIdentity) noexcept override;
    std::size_t CurrentUserName(XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    Status SidOfAccount(const XCHAR* pszAccount, XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    Status Revert(HANDLE& rhToken) noexcept override;
    Status Restore(HANDLE hToken) noexcept override;
    Status ImpersonateLoggedOnUser() noexcept override;
    Status EndImpersonation() noexcept override;
    void EndProcess(DWORD dwExitCode) noexcept override;
    Status SetPrivilege(const XCHAR* pszPrivilege, bool fEnable, bool& rfFormer) noexcept override;
};

/// Makes the calling thread act for somebody: what the embedded spooler does for its clients.  The kernel takes no
/// notice; only this port and those above it do.  `fImpersonating` is set by the call.
Status ImpersonateOnHost(const IdentityPort::Identity& rIdentity) noexcept;

}  // namespace vlm::host
