/// @file
/// Tokens of the system.
#pragma once

#include "platform/IdentityPort.h"

namespace vlm::win32 {

class Win32IdentityPort final : public IdentityPort {
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

}  // namespace vlm::win32
