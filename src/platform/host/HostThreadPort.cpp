/// @file
/// Thread slots, the pool pointer and the recursive lock over POSIX threads.
#include "platform/host/HostThreadPort.h"

#include <pthread.h>

#include <climits>
#include <cstdlib>
#include <mutex>
#include <new>

#include "platform/PoolPointerImpl.h"
#include "platform/host/HostIds.h"
#include "platform/host/HostNames.h"

namespace vlm::host {

namespace {

constinit std::once_flag goPoolKeyOnce;
constinit pthread_key_t goPoolKey = 0;
constinit bool gfPoolKey = false;
using ThreadEnd = void (*)(void*);
constinit ThreadEnd gpfnPoolThreadEnd = nullptr;
constinit thread_local DWORD tdwLastError = 0;

void EndPoolOfThread(void* pValue) {
    vlm::detail::tpPool = nullptr;
    if (gpfnPoolThreadEnd != nullptr) gpfnPoolThreadEnd(pValue);
}

}  // namespace

DWORD HostThreadPort::AllocSlot(void (*pfnThreadEnd)(void*)) noexcept {
    pthread_key_t key = 0;
    return pthread_key_create(&key, pfnThreadEnd) == 0 ? key : OUT_OF_SLOTS;
}

Status HostThreadPort::FreeSlot(DWORD dwSlot) noexcept {
    return dwSlot < PTHREAD_KEYS_MAX ? StatusFromErrno(pthread_key_delete(dwSlot)) : Status::InvalidParameter;
}

void* HostThreadPort::GetSlot(DWORD dwSlot, Status& rStatus) noexcept {
    rStatus = dwSlot < PTHREAD_KEYS_MAX ? Status::Success : Status::InvalidParameter;
    return rStatus == Status::Success ? pthread_getspecific(dwSlot) : nullptr;
}

Status HostThreadPort::SetSlot(DWORD dwSlot, void* pValue) noexcept {
    return dwSlot < PTHREAD_KEYS_MAX ? StatusFromErrno(pthread_setspecific(dwSlot, pValue)) : Status::InvalidParameter;
}

void* HostThreadPort::LocalAllocate(std::size_t cBytes) noexcept {
    return std::calloc(1, cBytes ? cBytes : 1);
}

void HostThreadPort::LocalRelease(void* pMemory) noexcept {
    std::free(pMemory);
}

DWORD HostThreadPort::CurrentThreadId() noexcept {
    return CurrentThread();
}

DWORD HostThreadPort::LastError() noexcept {
    return tdwLastError;
}

void HostThreadPort::LeaveLastError(DWORD dwError) noexcept {
    tdwLastError = dwError;
}

}  // namespace vlm::host

namespace vlm {

constinit thread_local void* detail::tpPool [[gnu::tls_model("initial-exec")]] = nullptr;

bool StorePoolPointer(void* pValue, void (*pfnThreadEnd)(void*)) noexcept {
    std::call_once(host::goPoolKeyOnce, [&] {
        host::gpfnPoolThreadEnd = pfnThreadEnd;
        host::gfPoolKey = pthread_key_create(&host::goPoolKey, &host::EndPoolOfThread) == 0;
    });
    // The key only wakes us at the thread's end; reads go to the variable.
    if (!host::gfPoolKey || pthread_setspecific(host::goPoolKey, pValue) != 0) return false;
    detail::tpPool = pValue;
    return true;
}

void ReleasePoolPointerSlot() noexcept {}

static_assert(sizeof(pthread_mutex_t) <= 64 && alignof(pthread_mutex_t) <= 16, "the lock fits its storage");

namespace {
pthread_mutex_t* MutexIn(unsigned char* pbyStorage) noexcept {
    return std::launder(reinterpret_cast<pthread_mutex_t*>(pbyStorage));
}
}  // namespace

SystemLock::SystemLock() noexcept {
    pthread_mutexattr_t oAttributes;
    pthread_mutexattr_init(&oAttributes);
    pthread_mutexattr_settype(&oAttributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(::new (static_cast<void*>(m_abyStorage)) pthread_mutex_t, &oAttributes);
    pthread_mutexattr_destroy(&oAttributes);
}

SystemLock::~SystemLock() {
    pthread_mutex_destroy(MutexIn(m_abyStorage));
}

void SystemLock::Enter() noexcept {
    pthread_mutex_lock(MutexIn(m_abyStorage));
}

bool SystemLock::TryEnter() noexcept {
    return pthread_mutex_trylock(MutexIn(m_abyStorage)) == 0;
}

void SystemLock::Leave() noexcept {
    pthread_mutex_unlock(MutexIn(m_abyStorage));
}

}  // namespace vlm
