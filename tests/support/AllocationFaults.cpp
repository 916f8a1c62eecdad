/// @file
/// The replaced operators.  Memory comes from malloc, so that the sanitizers keep their eyes on it.
#include "support/AllocationFaults.h"

#include <atomic>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <new>
#include <unordered_set>

#include "support/FaultTrace.h"

namespace vlm::test {

namespace {

struct ThreadState {
    bool fArmed;
    bool fFrom;
    bool fFired;
    unsigned cExempt;
    std::uint64_t ullCount;
    std::uint64_t ullFailAt;
    std::uint64_t ullBytes;
};
constinit thread_local ThreadState tState{};

constinit PoolHooks goPools{};
constinit std::int64_t gllPoolBlocksBefore = 0;

/// Counts an allocation of the thread.  @return whether it is to fail.
bool Fails(std::size_t cBytes) noexcept {
    if (!tState.fArmed || tState.cExempt != 0) return false;
    ++tState.ullCount;
    tState.ullBytes += cBytes;
    const bool fFails = tState.ullCount == tState.ullFailAt || (tState.fFrom && tState.ullCount > tState.ullFailAt);
    tState.fFired = tState.fFired || fFails;
    if (fFails) TraceFault();
    return fFails;
}

/// Keeps the bookkeeping itself out of the operators.
template <typename T>
struct MallocAllocator {
    using value_type = T;
    MallocAllocator() = default;
    template <typename U>
    explicit MallocAllocator(const MallocAllocator<U>&) noexcept {}
    T* allocate(std::size_t c) {
        void* p = std::malloc(c * sizeof(T));
        if (p == nullptr) std::abort();
        return static_cast<T*>(p);
    }
    void deallocate(T* p, std::size_t) noexcept { std::free(p); }
    template <typename U>
    bool operator==(const MallocAllocator<U>&) const noexcept {
        return true;
    }
};

using PointerSet = std::unordered_set<void*, std::hash<void*>, std::equal_to<void*>, MallocAllocator<void*>>;

struct Tracked {
    std::mutex oMutex;
    PointerSet pointers;
};
Tracked& TrackedPointers() {
    // Never destroyed: memory is given back until the very end of the process.
    alignas(Tracked) static unsigned char sabyStorage[sizeof(Tracked)];
    static Tracked* spTracked = ::new (static_cast<void*>(sabyStorage)) Tracked;
    return *spTracked;
}
constinit std::atomic<std::size_t> gcTracked{0};

void Track(void* p) {
    Tracked& rTracked = TrackedPointers();
    const std::lock_guard oLock(rTracked.oMutex);
    rTracked.pointers.insert(p);
    gcTracked = rTracked.pointers.size();
}

void Forget(void* p) noexcept {
    if (p == nullptr || gcTracked.load() == 0) return;
    Tracked& rTracked = TrackedPointers();
    const std::lock_guard oLock(rTracked.oMutex);
    rTracked.pointers.erase(p);
    gcTracked = rTracked.pointers.size();
}

/// @return null when the allocation is to fail.
void* Allocate(std::size_t cBytes, std::size_t cAlignment) noexcept {
    const bool fCounted = tState.fArmed && tState.cExempt == 0;
    if (Fails(cBytes)) return nullptr;
    if (cBytes == 0) cBytes = 1;
    void* p = nullptr;
    if (cAlignment <= alignof(std::max_align_t)) {
        p = std::malloc(cBytes);
    } else {
        // The address that malloc gave stands right before the aligned block; not every system has aligned_alloc.
        void* pRaw = std::malloc(cBytes + cAlignment + sizeof(void*));
        if (pRaw != nullptr) {
            const std::uintptr_t uiFirst = reinterpret_cast<std::uintptr_t>(pRaw) + sizeof(void*);
            p = reinterpret_cast<void*>((uiFirst + cAlignment - 1) / cAlignment * cAlignment);
            static_cast<void**>(p)[-1] = pRaw;
        }
    }
    if (fCounted && p != nullptr) Track(p);
    return p;
}

[[maybe_unused]] void* AllocateOrThrow(std::size_t cBytes, std::size_t cAlignment) {
    void* p = Allocate(cBytes, cAlignment);
    if (p == nullptr) throw std::bad_alloc();
    return p;
}

[[maybe_unused]] void Release(void* p) noexcept {
    Forget(p);
    std::free(p);
}

[[maybe_unused]] void ReleaseAligned(void* p) noexcept {
    if (p == nullptr) return;
    Forget(p);
    std::free(static_cast<void**>(p)[-1]);
}

[[maybe_unused]] constexpr std::size_t PLAIN = alignof(std::max_align_t);

}  // namespace

AllocationFaults::AllocationFaults(std::uint64_t ullFailAt, bool fFrom) noexcept {
    Tracked& rTracked = TrackedPointers();
    const std::lock_guard oLock(rTracked.oMutex);
    rTracked.pointers.clear();
    gcTracked = 0;
    if (goPools.pfnExchangeGate && IN_FORCE) {
        goPools.pfnLeaveLists();
        gllPoolBlocksBefore = goPools.pfnOutstanding();
        goPools.pfnExchangeGate([](std::size_t cBytes) noexcept { return !Fails(cBytes); });
    }
    tState = {true, fFrom, false, tState.cExempt, 0, ullFailAt, 0};
}

AllocationFaults::~AllocationFaults() {
    tState.fArmed = false;
    if (goPools.pfnExchangeGate) goPools.pfnExchangeGate(nullptr);
}

std::uint64_t AllocationFaults::Count() const noexcept {
    return tState.ullCount;
}

std::uint64_t AllocationFaults::Bytes() const noexcept {
    return tState.ullBytes;
}

bool AllocationFaults::HasFired() const noexcept {
    return tState.fFired;
}

std::size_t AllocationFaults::Outstanding() const noexcept {
    if (!IN_FORCE) return 0;
    const std::int64_t llPoolBlocks = goPools.pfnOutstanding ? goPools.pfnOutstanding() - gllPoolBlocksBefore : 0;
    return gcTracked.load() + static_cast<std::size_t>(llPoolBlocks);
}

void RegisterPools(const PoolHooks& rHooks) noexcept {
    goPools = rHooks;
}

AllocationExempt::AllocationExempt() noexcept {
    ++tState.cExempt;
}

AllocationExempt::~AllocationExempt() {
    --tState.cExempt;
}

}  // namespace vlm::test

#ifndef Q9_THREAD_SANITIZER
// clang-format off
void* operator new(std::size_t c) { return vlm::test::AllocateOrThrow(c, vlm::test::PLAIN); }
void* operator new[](std::size_t c) { return vlm::test::AllocateOrThrow(c, vlm::test::PLAIN); }
void* operator new(std::size_t c, const std::nothrow_t&) noexcept { return vlm::test::Allocate(c, vlm::test::PLAIN); }
void* operator new[](std::size_t c, const std::nothrow_t&) noexcept { return vlm::test::Allocate(c, vlm::test::PLAIN); }
void* operator new(std::size_t c, std::align_val_t e) { return vlm::test::AllocateOrThrow(c, static_cast<std::size_t>(e)); }
void* operator new[](std::size_t c, std::align_val_t e) { return vlm::test::AllocateOrThrow(c, static_cast<std::size_t>(e)); }
void* operator new(std::size_t c, std::align_val_t e, const std::nothrow_t&) noexcept { return vlm::test::Allocate(c, static_cast<std::size_t>(e)); }
void* operator new[](std::size_t c, std::align_val_t e, const std::nothrow_t&) noexcept { return vlm::test::Allocate(c, static_cast<std::size_t>(e)); }
void operator delete(void* p) noexcept { vlm::test::Release(p); }
void operator delete[](void* p) noexcept { vlm::test::Release(p); }
void operator delete(void* p, std::size_t) noexcept { vlm::test::Release(p); }
void operator delete[](void* p, std::size_t) noexcept { vlm::test::Release(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { vlm::test::Release(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { vlm::test::Release(p); }
void operator delete(void* p, std::align_val_t) noexcept { vlm::test::ReleaseAligned(p); }
void operator delete[](void* p, std::align_val_t) noexcept { vlm::test::ReleaseAligned(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { vlm::test::ReleaseAligned(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { vlm::test::ReleaseAligned(p); }
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept { vlm::test::ReleaseAligned(p); }
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept { vlm::test::ReleaseAligned(p); }
// clang-format on
#endif
