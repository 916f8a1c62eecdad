/// @file
/// Random bytes over advapi32.
#include "platform/win32/Win32CryptoPort.h"

#include "platform/win32/System.h"

// The system's own source: it needs no provider, so it loads no library into the spooler.  Its header knows it as
// RtlGenRandom; this is the name that it is exported by.
extern "C" BOOLEAN NTAPI SystemFunction036(void* pTarget, ULONG cbTarget);

namespace vlm::win32 {

Status Win32CryptoPort::Random(void* pTarget, DWORD cbTarget) noexcept {
    return cbTarget == 0 || SystemFunction036(pTarget, cbTarget) ? Status::Success : Status::GeneralFailure;
}

}  // namespace vlm::win32
