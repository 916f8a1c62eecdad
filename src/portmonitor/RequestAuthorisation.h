/// @file
/// Who may do what: the decision between taking a request apart and carrying it out.
#pragma once

#include "platform/IdentityPort.h"
#include "portmonitor/RequestTarget.h"

namespace vlm {

/// Callers, by trust.  Another user's session is a standard user with another SID.
enum class CallerClass : std::uint8_t {
    Remote,         ///< the call came over the wire
    LowIntegrity,   ///< an app container, or less than medium integrity
    Standard,       ///< a user
    Administrator,  ///< an elevated administrator
    System,         ///< the local system, or the process that hosts the monitor
    Count,
};

/// Who sent a request.
struct RequestCaller {
    CallerClass m_eClass = CallerClass::Remote;
    CXString m_csSid;
    /// Rights that the channel was opened with.
    DWORD m_dwGrantedAccess = 0;
};

/// An administrator, or the system itself.
bool IsTrustedCaller(const RequestCaller& rCaller) noexcept;

/// @param fHostProcess the thread carries no token of its own: the call comes from inside the spooler.
CallerClass ClassifyCaller(const IdentityPort::Identity& rIdentity, bool fHostProcess) noexcept;

/// With whose rights an allowed request runs.
enum class RequestRights : std::uint8_t { Refused, AsSystem, AsCaller };

/// Decides about one request on one key.
/// @param eEffect what the request does; an Open counts by its mask (see EffectOfMask).  Copy is decided by
/// AuthoriseCopy.
/// @param kcsValueName the value it names, or empty.
RequestRights Authorise(const RequestCaller& rCaller, RequestEffect eEffect, const ResolvedKey& rKey,
                        const CXString& kcsValueName);

/// Decides about a copy: reading the source and writing the target must both be allowed with the same rights, both ends
/// must lie in one confined tree unless an administrator asks, and the target must not lie at or below the source.
RequestRights AuthoriseCopy(const RequestCaller& rCaller, const ResolvedKey& rSource, const ResolvedKey& rTarget);

/// Rights that are taken out of a caller's mask before any key is opened with it: nobody gets to change security
/// descriptors or to plant links through the monitor.
DWORD MaskRights(DWORD dwAccessMask) noexcept;

/// Read, or Write when the mask holds any right to change something.
RequestEffect EffectOfMask(DWORD dwAccessMask) noexcept;

/// The commands beside "xregistry".
enum class ChannelCommand : std::uint8_t { IsReady, Upgrade, RemoveSid, RemoveLrs };

/// @param kcsSid the user that RemoveSid is about.
bool AuthoriseCommand(const RequestCaller& rCaller, ChannelCommand eCommand, const CXString& kcsSid) noexcept;

}  // namespace vlm
