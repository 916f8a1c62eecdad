/// @file
/// Random bytes of the kernel.
#include "platform/host/HostCryptoPort.h"

#include <sys/random.h>

#include <cerrno>

#include "platform/host/HostNames.h"

namespace vlm::host {

Status HostCryptoPort::Random(void* pTarget, DWORD cbTarget) noexcept {
    BYTE* pbyNext = static_cast<BYTE*>(pTarget);
    while (cbTarget > 0) {
        const ssize_t cbGot = getrandom(pbyNext, cbTarget, 0);
        if (cbGot < 0 && errno != EINTR) return StatusFromErrno(errno);
        if (cbGot <= 0) continue;
        pbyNext += cbGot;
        cbTarget -= static_cast<DWORD>(cbGot);
    }
    return Status::Success;
}

}  // namespace vlm::host
