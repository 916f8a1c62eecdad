/// @file
/// Notices when a thread enters a stretch of code that it is already in.
#include "utilities/debuggingandexceptions/detail/failure/ThreadGuard.h"

#include "platform/Platform.h"
#include "platform/ThreadPort.h"

namespace vlm {

bool ThreadGuard::Holds() const noexcept {
    // A thread that is inside counts itself: 0 says that this one is not, whatever others do meanwhile.
    if (m_cInside.load(std::memory_order_relaxed) == 0) return false;
    const DWORD dwSelf = GetPlatform().pThreads->CurrentThreadId();
    for (const std::atomic<DWORD>& rdwEntry : m_adwThreads) {
        if (rdwEntry.load(std::memory_order_relaxed) == dwSelf) return true;
    }
    return false;
}

ThreadGuard::Scope::Scope(ThreadGuard& rGuard) noexcept {
    if (rGuard.Holds()) return;
    const DWORD dwSelf = GetPlatform().pThreads->CurrentThreadId();
    for (std::atomic<DWORD>& rdwEntry : rGuard.m_adwThreads) {
        DWORD dwFree = 0;
        if (rdwEntry.compare_exchange_strong(dwFree, dwSelf, std::memory_order_relaxed)) {
            rGuard.m_cInside.fetch_add(1, std::memory_order_relaxed);
            m_pGuard = &rGuard;
            m_pdwEntry = &rdwEntry;
            return;
        }
    }
}

ThreadGuard::Scope::~Scope() {
    if (!m_pdwEntry) return;
    m_pdwEntry->store(0, std::memory_order_relaxed);
    m_pGuard->m_cInside.fetch_sub(1, std::memory_order_relaxed);
}

}  // namespace vlm
