/// @file
/// Acting as the monitor's own process for a while, and whom a call comes from.
#pragma once

#include "portmonitor/RequestAuthorisation.h"

namespace vlm {

/// Ends the calling thread's impersonation for its own lifetime, so that what is done meanwhile is done with the rights
/// of the process.  When the client's identity cannot be restored, the process is ended on the spot: code that was
/// meant to run with few rights must never go on with many.
/// **Threads**: belongs to one thread.  **Failure**: by status.
class SystemIdentity {
public:
    /// Exit code of a process that could not take up its client's identity again.
    static constexpr DWORD EXIT_CODE = 1368;

    SystemIdentity() noexcept = default;
    ~SystemIdentity() { End(); }
    SystemIdentity(const SystemIdentity&) = delete;
    SystemIdentity& operator=(const SystemIdentity&) = delete;

    /// @return a failure with the client's identity still in force: nothing may then be done in the system's name.
    Status Begin() noexcept;
    /// Restores the client's identity, if Begin gave it up.
    /// @return GeneralFailure where the process survived its end (in a test): make no further call.
    Status End() noexcept;

private:
    HANDLE m_hToken = nullptr;
    bool m_fActive = false;
};

/// Whom the calling thread acts for.  A thread without impersonation acts for the process that hosts the monitor.
/// @param dwGrantedAccess rights that the channel was opened with.
/// @return a failure when the identity cannot be had; the caller is then nobody.
Status IdentifyCaller(DWORD dwGrantedAccess, RequestCaller& rCaller);

}  // namespace vlm
