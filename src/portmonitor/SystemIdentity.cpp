/// @file
/// Gives identities up and takes them up again.
#include "portmonitor/SystemIdentity.h"

#include "platform/Platform.h"

namespace vlm {

Status SystemIdentity::Begin() noexcept {
    const Status eStatus = GetPlatform().pIdentity->Revert(m_hToken);
    m_fActive = eStatus == Status::Success;
    return eStatus;
}

Status SystemIdentity::End() noexcept {
    if (!m_fActive) return Status::Success;
    m_fActive = false;
    IdentityPort& rIdentity = *GetPlatform().pIdentity;
    if (rIdentity.Restore(m_hToken) == Status::Success) return Status::Success;
    rIdentity.EndProcess(EXIT_CODE);
    return Status::GeneralFailure;
}

Status IdentifyCaller(DWORD dwGrantedAccess, RequestCaller& rCaller) {
    IdentityPort::Identity oIdentity;
    const Status eStatus = GetPlatform().pIdentity->CurrentIdentity(oIdentity);
    if (eStatus != Status::Success) return eStatus;
    rCaller = {ClassifyCaller(oIdentity, !oIdentity.fImpersonating), oIdentity.szSid, dwGrantedAccess};
    return Status::Success;
}

}  // namespace vlm
