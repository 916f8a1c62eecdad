/// @file
/// The door through which an embedded spooler reaches a port monitor of its own process.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// A port monitor that is part of this program.  A spooler without processes and DLLs of its own (the host's, and the
/// one of the tests) opens its channels here; Windows loads the monitor's DLL instead.
/// Threads: any; one channel by several threads at a time.  Failure: by status; nothing throws.
class EmbeddedMonitor {
public:
    virtual ~EmbeddedMonitor() = default;

    /// Whether it stands for this DLL (a path or a bare name).
    virtual bool IsDll(const XCHAR* pszDll) const noexcept = 0;
    /// @param dwGrantedAccess rights that the spooler granted.
    virtual Status OpenChannel(DWORD dwGrantedAccess, HANDLE& rhChannel) noexcept = 0;
    virtual Status CloseChannel(HANDLE hChannel) noexcept = 0;
    /// Carries a command out for the calling thread's user.
    /// @param rcbNeeded bytes written, or needed (InsufficientBuffer).  @return the monitor's own status.
    virtual Status Transceive(HANDLE hChannel, const XCHAR* pszCommand, const BYTE* pbyInput, DWORD cbInput,
                              BYTE* pbyOutput, DWORD cbOutput, DWORD& rcbNeeded) noexcept = 0;
};

/// The monitor in place; null until the program's own has put itself there.  One atomic read.
EmbeddedMonitor* GetEmbeddedMonitor() noexcept;

/// Puts a monitor in place (null: none) and returns the former one.  The caller keeps it alive.
EmbeddedMonitor* ExchangeEmbeddedMonitor(EmbeddedMonitor* pMonitor) noexcept;

}  // namespace vlm
