/// @file
/// The library's lock: makes the system's lock when it is first needed.
#include "utilities/utilitiesdll/CriticalResource.h"

#include <new>
#include <thread>

#include "platform/ThreadPort.h"

namespace {

enum : std::uint32_t { STATE_NONE, STATE_MAKING, STATE_READY };

vlm::SystemLock& AsLock(void* pStorage) noexcept {
    return *std::launder(static_cast<vlm::SystemLock*>(pStorage));
}

}  // namespace

void* CriticalResource::Ready() noexcept {
    static_assert(sizeof(vlm::SystemLock) <= STORAGE_BYTES && alignof(vlm::SystemLock) <= 16);
    std::uint32_t dwState = m_dwState.load(std::memory_order_acquire);
    while (dwState != STATE_READY) {
        if (dwState == STATE_NONE &&
            m_dwState.compare_exchange_weak(dwState, STATE_MAKING, std::memory_order_acquire)) {
            new (m_abyLock) vlm::SystemLock;
            m_dwState.store(STATE_READY, std::memory_order_release);
            break;
        }
        if (dwState == STATE_MAKING) std::this_thread::yield();
        dwState = m_dwState.load(std::memory_order_acquire);
    }
    return m_abyLock;
}

CriticalResource::~CriticalResource() {
    // Back to "none": a static that is asked for once more while the process ends makes itself a new lock.
    if (m_dwState.exchange(STATE_NONE, std::memory_order_acq_rel) == STATE_READY) AsLock(m_abyLock).~SystemLock();
}

void CriticalResource::Lock() noexcept {
    AsLock(Ready()).Enter();
}

bool CriticalResource::TryLock() noexcept {
    return AsLock(Ready()).TryEnter();
}

void CriticalResource::Unlock() noexcept {
    AsLock(m_abyLock).Leave();
}
