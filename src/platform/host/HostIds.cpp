/// @file
/// The system has both numbers behind a call each, and a debug message needs six of them: they are kept.
#include "platform/host/HostIds.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>

namespace vlm::host {

namespace {

constinit std::atomic<DWORD> gdwProcess{0};
constinit thread_local DWORD tdwThread = 0;

/// In a child that was forked only the thread that forked goes on.
void ForgetInChild() {
    gdwProcess = 0;
    tdwThread = 0;
}

/// Without the note for children nothing is kept.
bool IsKept() noexcept {
    static const bool sfKept = pthread_atfork(nullptr, nullptr, &ForgetInChild) == 0;
    return sfKept;
}

}  // namespace

DWORD CurrentProcess() noexcept {
    DWORD dwProcess = gdwProcess.load(std::memory_order_relaxed);
    if (dwProcess != 0) return dwProcess;
    dwProcess = static_cast<DWORD>(getpid());
    if (IsKept()) gdwProcess.store(dwProcess, std::memory_order_relaxed);
    return dwProcess;
}

DWORD CurrentThread() noexcept {
    if (tdwThread != 0) return tdwThread;
    const auto dwThread = static_cast<DWORD>(gettid());
    if (IsKept()) tdwThread = dwThread;
    return dwThread;
}

}  // namespace vlm::host
