/// @file
/// Thread slots, the pool pointer and the recursive lock over kernel32.
#include "platform/win32/Win32ThreadPort.h"

#include <winternl.h>

#include <atomic>
#include <cstddef>
#include <new>

#include "platform/PoolPointerImpl.h"
#include "platform/win32/System.h"

namespace vlm::win32 {

namespace {

// The first 64 slots stand in the thread's own block, which a segment register leads to: one load, and the last error
// is left alone.  Later ones take the call.
constexpr DWORD cDirectSlots = 64;
static_assert(offsetof(TEB, TlsSlots) == 0x1480 && sizeof(TEB::TlsSlots) == cDirectSlots * sizeof(void*));

void* ReadDirectSlot(DWORD dwSlot) noexcept {
    void* pValue;
    asm volatile("movq %%gs:0x1480(,%1,8), %0" : "=r"(pValue) : "r"(ULONGLONG{dwSlot}));
    return pValue;
}

constexpr DWORD NO_SLOT = ThreadPort::OUT_OF_SLOTS, SLOT_RELEASED = NO_SLOT - 1;
static_assert(ThreadPort::OUT_OF_SLOTS == TLS_OUT_OF_INDEXES);

constinit std::atomic<DWORD> gdwPoolSlot{NO_SLOT};

/// The slot of the pool pointer, reserved by the first thread that comes.
DWORD PoolSlot() noexcept {
    DWORD dwSlot = gdwPoolSlot.load(std::memory_order_acquire);
    if (dwSlot != NO_SLOT) return dwSlot;
    const DWORD dwNew = TlsAlloc();
    if (dwNew == TLS_OUT_OF_INDEXES) return NO_SLOT;
    if (gdwPoolSlot.compare_exchange_strong(dwSlot, dwNew, std::memory_order_acq_rel)) return dwNew;
    TlsFree(dwNew);
    return dwSlot;
}

}  // namespace

DWORD Win32ThreadPort::AllocSlot(void (*)(void*)) noexcept {
    return TlsAlloc();
}

Status Win32ThreadPort::FreeSlot(DWORD dwSlot) noexcept {
    return StatusOf(TlsFree(dwSlot));
}

void* Win32ThreadPort::GetSlot(DWORD dwSlot, Status& rStatus) noexcept {
    const LastErrorScope oKeep;
    void* const pValue = TlsGetValue(dwSlot);
    rStatus = pValue ? Status::Success : LastStatus();
    return pValue;
}

Status Win32ThreadPort::SetSlot(DWORD dwSlot, void* pValue) noexcept {
    return StatusOf(TlsSetValue(dwSlot, pValue));
}

void* Win32ThreadPort::LocalAllocate(std::size_t cBytes) noexcept {
    return LocalAlloc(LPTR, cBytes ? cBytes : 1);
}

void Win32ThreadPort::LocalRelease(void* pMemory) noexcept {
    LocalFree(pMemory);
}

DWORD Win32ThreadPort::CurrentThreadId() noexcept {
    return GetCurrentThreadId();
}

DWORD Win32ThreadPort::LastError() noexcept {
    return GetLastError();
}

void Win32ThreadPort::LeaveLastError(DWORD dwError) noexcept {
    SetLastError(dwError);
}

}  // namespace vlm::win32

namespace vlm {

void* LoadPoolPointer() noexcept {
    using namespace win32;
    const DWORD dwSlot = gdwPoolSlot.load(std::memory_order_acquire);
    if (dwSlot < cDirectSlots) return ReadDirectSlot(dwSlot);
    if (dwSlot >= SLOT_RELEASED) return nullptr;
    const LastErrorScope oKeep;
    return TlsGetValue(dwSlot);
}

bool StorePoolPointer(void* pValue, void (*)(void*)) noexcept {
    const win32::LastErrorScope oKeep;
    const DWORD dwSlot = win32::PoolSlot();
    return dwSlot < win32::SLOT_RELEASED && TlsSetValue(dwSlot, pValue);
}

void ReleasePoolPointerSlot() noexcept {
    const DWORD dwSlot = win32::gdwPoolSlot.exchange(win32::SLOT_RELEASED, std::memory_order_acq_rel);
    if (dwSlot < win32::SLOT_RELEASED) TlsFree(dwSlot);
}

static_assert(sizeof(CRITICAL_SECTION) <= 64 && alignof(CRITICAL_SECTION) <= 16, "the lock fits its storage");

namespace {
CRITICAL_SECTION* SectionIn(unsigned char* pbyStorage) noexcept {
    return std::launder(reinterpret_cast<CRITICAL_SECTION*>(pbyStorage));
}
}  // namespace

SystemLock::SystemLock() noexcept {
    // Most holders leave within a microsecond: a short spin saves the wait.
    constexpr DWORD dwSpins = 4000;
    InitializeCriticalSectionEx(::new (static_cast<void*>(m_abyStorage)) CRITICAL_SECTION, dwSpins,
                                CRITICAL_SECTION_NO_DEBUG_INFO);
}

SystemLock::~SystemLock() {
    DeleteCriticalSection(SectionIn(m_abyStorage));
}

void SystemLock::Enter() noexcept {
    EnterCriticalSection(SectionIn(m_abyStorage));
}

bool SystemLock::TryEnter() noexcept {
    return TryEnterCriticalSection(SectionIn(m_abyStorage)) != FALSE;
}

void SystemLock::Leave() noexcept {
    LeaveCriticalSection(SectionIn(m_abyStorage));
}

}  // namespace vlm
