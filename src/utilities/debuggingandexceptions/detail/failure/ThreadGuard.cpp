/// @file
/// Notices when a thread enters a stretch of code that it is already in.
#include "utilities/debuggingandexceptions/detail/failure/ThreadGuard.h"

#include "platform/Platform.h"
#include "platform/ThreadPort.h"

namespace vlm {

bool ThreadGuard::Holds() const noexcept {
    const DWORD dwSelf = GetPlatform().pThreads->CurrentThreadId();
    for (const std::atomic<DWORD>& rdwEntry : m_adwThreads) {
        if (rdwEntry.load(std::memory_order_relaxed) == dwSelf) return true;
    }
    return false;
}

ThreadGuard::Scope::Scope(ThreadGuard& rGuard) noexcept : m_pdwEntry(nullptr) {
    if (rGuard.Holds()) return;
    const DWORD dwSelf = GetPlatform().pThreads->CurrentThreadId();
    for (std::atomic<DWORD>& rdwEntry : rGuard.m_adwThreads) {
        DWORD dwFree = 0;
        if (rdwEntry.compare_exchange_strong(dwFree, dwSelf, std::memory_order_relaxed)) {
            m_pdwEntry = &rdwEntry;
            return;
        }
    }
}

ThreadGuard::Scope::~Scope() {
    if (m_pdwEntry) m_pdwEntry->store(0, std::memory_order_relaxed);
}

}  // namespace vlm
