/// @file
/// Port: threads, per-thread slots and locks.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Thread-local slots and thread identity.
/// Threads: any.  Failure: by status; nothing throws.
class ThreadPort {
public:
    /// Answer of AllocSlot when no slot is left.
    static constexpr DWORD OUT_OF_SLOTS = 0xFFFFFFFF;

    virtual ~ThreadPort() = default;

    /// Reserves a slot that holds null in every thread.
    /// @param pfnThreadEnd called with the slot's value when a thread ends while it is not null; the slot reads as null
    ///        during the call, and a value set again is handed over again a few times at most.  May be null.  On
    ///        Windows the library's entry point does that instead, and the argument is not used.
    virtual DWORD AllocSlot(void (*pfnThreadEnd)(void*)) noexcept = 0;
    /// Gives a slot back; values still stored are forgotten, not handed over.
    /// @return InvalidParameter for a number that cannot be a slot.
    virtual Status FreeSlot(DWORD dwSlot) noexcept = 0;

    /// Reads the calling thread's value.  `rStatus` tells a stored null from a failure (InvalidParameter for a number
    /// that cannot be a slot, OUT_OF_SLOTS included; what a freed slot answers is not part of the contract).
    virtual void* GetSlot(DWORD dwSlot, Status& rStatus) noexcept = 0;
    virtual Status SetSlot(DWORD dwSlot, void* pValue) noexcept = 0;

    /// Zeroed memory from the system's own heap, for objects that must outlive the library's clean-ups; null when there
    /// is none.
    virtual void* LocalAllocate(std::size_t cBytes) noexcept = 0;
    virtual void LocalRelease(void* pMemory) noexcept = 0;

    /// Never 0; unique among the threads alive.
    virtual DWORD CurrentThreadId() noexcept = 0;

    /// The calling thread's last error: the system's own on Windows, where any of its calls may set it; on the host the
    /// number that the thread left here, 0 at its start.
    virtual DWORD LastError() noexcept = 0;
    virtual void LeaveLastError(DWORD dwError) noexcept = 0;
};

/// A recursive lock of the process: the system's critical section, or its equal.
class SystemLock {
public:
    SystemLock() noexcept;
    ~SystemLock();
    SystemLock(const SystemLock&) = delete;
    SystemLock& operator=(const SystemLock&) = delete;
    /// Waits until the calling thread holds the lock once more; as many Leave calls free it.
    void Enter() noexcept;
    bool TryEnter() noexcept;
    void Leave() noexcept;

private:
    alignas(16) unsigned char m_abyStorage[64];
};

}  // namespace vlm
