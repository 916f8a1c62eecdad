/// @file
/// Whom the calling thread acts for, and how to step back to the process's own identity for a while.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

/// Questions about the user.  "Current" is the identity that the calling thread acts with: the impersonated user's
/// where it impersonates, else the process's.
/// **Threads**: any; the answer belongs to the calling thread.  **Failure**: a question that the system refuses gets
/// the answer of least trust (empty, or false), and is reported.
class VLM_API User {
public:
    /// Account name of the current user; empty when it cannot be had.  @throws ExceptionOutOfMemory.
    static CXString GetCurrentUserName();
    /// SID text of the current user ("S-1-5-21-…"); empty when it cannot be had.  @throws ExceptionOutOfMemory.
    static CXString GetCurrentUserSID();
    /// SID text of the user that the process runs as, whoever the thread impersonates.
    static CXString GetProcessUserSID();
    /// SID text of an account, "DOMAIN\name" or a bare name; empty when there is no such account.
    static CXString GetSIDOfAccount(const CXString& kcsAccount);

    static bool IsImpersonating() noexcept;
    /// Is the current user an administrator with the right in force (elevated)?  The local system counts.
    static bool IsAdministrator() noexcept;
    /// Is the process one, whoever the thread impersonates?
    static bool IsProcessAdministrator() noexcept;
    /// Is the current user the local system?
    static bool IsLocalSystem() noexcept;
    /// Does the current user act from an app container, or with less than medium integrity?
    static bool HasLowIntegrity() noexcept;
};

/// Holds a privilege of the effective token in force for its own lifetime; one that was in force before stays so.
/// **Threads**: belongs to the thread that made it.
class VLM_API PrivilegeScope {
public:
    /// Loads and unloads drivers and monitors.
    static constexpr const XCHAR* LOAD_DRIVER = VTEXT("SeLoadDriverPrivilege");

    /// @param pszPrivilege the privilege's name; borrowed as long as the object lives.
    explicit PrivilegeScope(const XCHAR* pszPrivilege) noexcept;
    ~PrivilegeScope();
    PrivilegeScope(const PrivilegeScope&) = delete;
    PrivilegeScope& operator=(const PrivilegeScope&) = delete;

    /// False when the token has no such privilege.
    bool IsHeld() const noexcept { return m_bHeld; }

private:
    const XCHAR* m_pszPrivilege;
    bool m_bHeld = false;
    bool m_bFormer = false;
};

/// Lets the calling thread act for the user who is logged on, for its own lifetime.  Does nothing where the thread acts
/// for somebody already, or the system does not allow it.
/// **Threads**: belongs to the thread that made it.
/// **Failure**: if the thread cannot stop acting for the user the process ends at once, as below.
class VLM_API ImpersonateLoggedOnUserWrapper {
public:
    ImpersonateLoggedOnUserWrapper() noexcept;
    ~ImpersonateLoggedOnUserWrapper();
    ImpersonateLoggedOnUserWrapper(const ImpersonateLoggedOnUserWrapper&) = delete;
    ImpersonateLoggedOnUserWrapper& operator=(const ImpersonateLoggedOnUserWrapper&) = delete;

    bool IsImpersonating() const noexcept { return m_bImpersonating; }

private:
    bool m_bImpersonating = false;
};

/// Gives the calling thread the process's own identity (in the spooler: the spooler's) for its own lifetime, and the
/// impersonated one back afterwards.  Without an impersonation, and inside another wrapper, there is nothing to do.
/// **Threads**: belongs to the thread that made it.
/// **Failure**: if the former identity cannot be restored the process ends at once, with EXIT_CODE_IDENTITY_LOST: to go
/// on would be to do a user's work with the spooler's rights.
class VLM_API RevertToPrinterSelfWrapper {
public:
    static constexpr DWORD EXIT_CODE_IDENTITY_LOST = 1368;

    RevertToPrinterSelfWrapper() noexcept;
    ~RevertToPrinterSelfWrapper();
    RevertToPrinterSelfWrapper(const RevertToPrinterSelfWrapper&) = delete;
    RevertToPrinterSelfWrapper& operator=(const RevertToPrinterSelfWrapper&) = delete;

    /// False when the thread could not be given the process's identity; it then still has its own.
    bool IsReverted() const noexcept { return m_bReverted; }

private:
    HANDLE m_hToken = nullptr;
    bool m_bReverted = false;
};
