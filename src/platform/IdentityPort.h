/// @file
/// Port: whom the calling thread acts for.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Identities, impersonation and privileges.
/// Threads: any; impersonation belongs to the calling thread.  Failure: by status; nothing throws; outputs keep their
/// values then.
class IdentityPort {
public:
    /// Mandatory integrity levels, as the system numbers them.
    static constexpr DWORD INTEGRITY_LOW = 0x1000, INTEGRITY_MEDIUM = 0x2000, INTEGRITY_HIGH = 0x3000,
                           INTEGRITY_SYSTEM = 0x4000;
    /// Units of the longest SID text that the system writes, with its terminator.
    static constexpr std::size_t MAX_SID_UNITS = 185;

    struct Identity {
        XCHAR szSid[MAX_SID_UNITS] = {};  ///< "S-1-5-21-…", zero-terminated
        DWORD dwIntegrity = INTEGRITY_MEDIUM;
        bool fAppContainer = false;
        bool fRemote = false;         ///< the token holds the network group: the caller came over the wire
        bool fAdministrator = false;  ///< administrator with the right in force (elevated)
        bool fImpersonating = false;  ///< taken from the thread's token, not from the process's
    };

    virtual ~IdentityPort() = default;

    /// The thread's token where it impersonates, else the process's.
    virtual Status CurrentIdentity(Identity& rIdentity) noexcept = 0;
    virtual Status ProcessIdentity(Identity& rIdentity) noexcept = 0;
    /// Name of the user that the thread acts for, always terminated.
    /// @return units written without the terminator, 0 on failure and when it does not fit.
    virtual std::size_t CurrentUserName(XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;
    /// SID text of an account ("DOMAIN\name" or a bare name).
    /// @return NoneMapped for a name that nobody has, InsufficientBuffer, InvalidParameter for a null or empty name.
    virtual Status SidOfAccount(const XCHAR* pszAccount, XCHAR* pTarget, std::size_t cCapacity) noexcept = 0;

    /// Ends the thread's impersonation and hands its token over; null when it did not impersonate.
    virtual Status Revert(HANDLE& rhToken) noexcept = 0;
    /// Impersonates with a token from Revert and closes it; null is no work.  A failure closes it, too, and leaves the
    /// thread with the process's identity: the caller must not go on with work for the client.
    virtual Status Restore(HANDLE hToken) noexcept = 0;
    /// Lets the thread act for the user who is logged on to the active session; the local system can.
    /// @return InvalidParameter when the thread acts for somebody already; else the system's status, NotSupported where
    /// there are no sessions (host).
    virtual Status ImpersonateLoggedOnUser() noexcept = 0;
    /// Ends what ImpersonateLoggedOnUser began.
    virtual Status EndImpersonation() noexcept = 0;
    /// Ends the process at once, because an identity could not be restored.  The fake records it instead.
    virtual void EndProcess(DWORD dwExitCode) noexcept = 0;

    /// Switches a privilege of the effective token ("SeLoadDriverPrivilege"); `rfFormer` tells what it was.
    /// @return NoSuchPrivilege for a name that the system does not know, NotAllAssigned when the user does not hold it.
    virtual Status SetPrivilege(const XCHAR* pszPrivilege, bool fEnable, bool& rfFormer) noexcept = 0;
};

}  // namespace vlm
