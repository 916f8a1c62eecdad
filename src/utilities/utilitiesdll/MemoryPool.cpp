/// @file
/// Per-thread free lists over a process-wide reserve.
#include "utilities/utilitiesdll/MemoryPool.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "platform/PoolPointerImpl.h"
#include "utilities/utilitiesdll/CXStringData.h"
#include "utilities/utilitiesdll/detail/text/PoolReserve.h"

namespace {

using vlm::pool::BLOCK_BYTES;
using vlm::pool::ClassOf;
using vlm::pool::FreeBlock;
using vlm::pool::Reserve;
using vlm::pool::ThreadList;
using vlm::pool::ThreadPools;
using vlm::pool::Unpoison;

void* DefaultAllocate(std::size_t cBytes) noexcept {
    return std::malloc(cBytes);
}

constinit std::atomic<MemoryPool::RawAllocator> gpfnAllocate{&DefaultAllocate};
constinit std::atomic<MemoryPool::OutOfMemoryHandler> gpfnOutOfMemory{nullptr};
constinit std::atomic<MemoryPool::AllocationGate> gpfnGate{nullptr};
constinit std::atomic<std::int64_t> gllLargeBlocks{0};

/// Keeps the destructor of its content from running: blocks outlive every static object.
union ReserveHolder {
    constexpr ReserveHolder() noexcept : m_oReserve(gpfnAllocate) {}
    ~ReserveHolder() {}
    Reserve m_oReserve;
};
constinit ReserveHolder gReserve;

void EndOfThread(void* pValue) noexcept {
    vlm::StorePoolPointer(nullptr, &EndOfThread);
    gReserve.m_oReserve.Retire(*static_cast<ThreadPools*>(pValue));
    std::free(pValue);
}

/// The calling thread's lists, made on first use; null when the system has no slot or no memory for them, or a gate
/// forbids it.
ThreadPools* GetThreadPools() noexcept {
    if (void* const pValue = vlm::LoadPoolPointer()) return static_cast<ThreadPools*>(pValue);
    if (gpfnGate.load(std::memory_order_relaxed)) return nullptr;
    void* const pMemory = std::malloc(sizeof(ThreadPools));
    if (!pMemory) return nullptr;
    ThreadPools* const pPools = new (pMemory) ThreadPools;
    if (!vlm::StorePoolPointer(pPools, &EndOfThread)) {
        std::free(pMemory);
        return nullptr;
    }
    gReserve.m_oReserve.Enlist(*pPools);
    return pPools;
}

/// The calling thread's list for a size, if the thread has lists already and the size is one of the pool's.  What most
/// requests need is in here; all else is called out of line, so that it costs them nothing.
inline ThreadList* OwnList(std::size_t cBytes) noexcept {
    if (cBytes > MemoryPool::MAX_POOLED_BYTES) [[unlikely]]
        return nullptr;
    auto* const pPools = static_cast<ThreadPools*>(vlm::LoadPoolPointer());
    if (!pPools) [[unlikely]]
        return nullptr;
    return &pPools->m_aoLists[ClassOf(cBytes)];
}

[[gnu::noinline]] void* TryAllocateOutOfLine(std::size_t cBytes) noexcept {
    const MemoryPool::AllocationGate pfnGate = gpfnGate.load(std::memory_order_relaxed);
    if (pfnGate && !pfnGate(cBytes)) return nullptr;
    if (cBytes > MemoryPool::MAX_POOLED_BYTES) {
        void* const pBlock = gpfnAllocate.load(std::memory_order_relaxed)(cBytes);
        if (pBlock) gllLargeBlocks.fetch_add(1, std::memory_order_relaxed);
        return pBlock;
    }
    const std::size_t uClass = ClassOf(cBytes);
    void* pBlock = nullptr;
    if (ThreadPools* const pPools = GetThreadPools()) {
        ThreadList& roList = pPools->m_aoLists[uClass];
        pBlock = roList.Pop();
        if (!pBlock && (roList.UseSpare() || gReserve.m_oReserve.Refill(uClass, roList))) pBlock = roList.Pop();
    } else {
        pBlock = gReserve.m_oReserve.TakeOne(uClass);
    }
    if (pBlock) Unpoison(pBlock, cBytes);
    return pBlock;
}

[[gnu::noinline]] void* AllocateOutOfLine(std::size_t cBytes) {
    void* const pBlock = TryAllocateOutOfLine(cBytes);
    if (!pBlock) MemoryPool::RaiseOutOfMemory();
    return pBlock;
}

[[gnu::noinline]] void ReleaseOutOfLine(void* pBlock, std::size_t cBytes) noexcept {
    if (!pBlock) return;
    if (cBytes > MemoryPool::MAX_POOLED_BYTES) {
        gllLargeBlocks.fetch_sub(1, std::memory_order_relaxed);
        std::free(pBlock);
        return;
    }
    const std::size_t uClass = ClassOf(cBytes);
    ThreadPools* const pPools = GetThreadPools();
    if (!pPools) return gReserve.m_oReserve.GiveOne(uClass, pBlock);
    ThreadList& roList = pPools->m_aoLists[uClass];
    if (roList.Push(pBlock, BLOCK_BYTES[uClass])) return;
    if (FreeBlock* const pBundle = roList.PutAside(uClass)) gReserve.m_oReserve.AddBundle(uClass, pBundle);
    roList.Push(pBlock, BLOCK_BYTES[uClass]);
}

}  // namespace

void* MemoryPool::TryAllocate(std::size_t cBytes) noexcept {
    ThreadList* const pList = OwnList(cBytes);
    void* const pBlock = pList ? pList->Pop() : nullptr;
    if (!pBlock) [[unlikely]]
        return TryAllocateOutOfLine(cBytes);
    Unpoison(pBlock, cBytes);
    return pBlock;
}

void* MemoryPool::Allocate(std::size_t cBytes) {
    ThreadList* const pList = OwnList(cBytes);
    void* const pBlock = pList ? pList->Pop() : nullptr;
    if (!pBlock) [[unlikely]]
        return AllocateOutOfLine(cBytes);
    Unpoison(pBlock, cBytes);
    return pBlock;
}

void MemoryPool::Release(void* pBlock, std::size_t cBytes) noexcept {
    ThreadList* const pList = OwnList(cBytes);
    if (!pList || !pBlock || !pList->Push(pBlock, BLOCK_BYTES[ClassOf(cBytes)])) [[unlikely]]
        ReleaseOutOfLine(pBlock, cBytes);
}

void MemoryPool::CleanUpDueToThreadDetach() noexcept {
    if (void* const pValue = vlm::LoadPoolPointer()) EndOfThread(pValue);
}

void MemoryPool::CleanUpDueToProcessDetach() noexcept {
    if (vlm::LoadPoolPointer()) vlm::StorePoolPointer(nullptr, &EndOfThread);
    gReserve.m_oReserve.FreeAll();
}

std::int64_t MemoryPool::GetOutstandingBlocks() noexcept {
    return gReserve.m_oReserve.Outstanding() + gllLargeBlocks.load(std::memory_order_relaxed);
}

MemoryPool::RawAllocator MemoryPool::ExchangeRawAllocator(RawAllocator pfnAllocate) noexcept {
    return gpfnAllocate.exchange(pfnAllocate ? pfnAllocate : &DefaultAllocate, std::memory_order_acq_rel);
}

MemoryPool::AllocationGate MemoryPool::ExchangeAllocationGate(AllocationGate pfnGate) noexcept {
    return gpfnGate.exchange(pfnGate, std::memory_order_acq_rel);
}

MemoryPool::OutOfMemoryHandler MemoryPool::ExchangeOutOfMemoryHandler(OutOfMemoryHandler pfnHandler) noexcept {
    return gpfnOutOfMemory.exchange(pfnHandler, std::memory_order_acq_rel);
}

void MemoryPool::RaiseOutOfMemory() {
    if (const OutOfMemoryHandler pfnHandler = gpfnOutOfMemory.load(std::memory_order_acquire)) pfnHandler();
    throw std::bad_alloc();
}

std::int32_t MemoryPoolAllocatorServices::GetCapacity(std::size_t cUnits) noexcept {
    return static_cast<std::int32_t>(vlm::pool::CapacityFor(cUnits));
}

CXStringData* MemoryPoolAllocatorServices::AllocateBlock(std::size_t cUnits) {
    return AllocateBlock(cUnits, cUnits);
}

CXStringData* MemoryPoolAllocatorServices::AllocateBlock(std::size_t cUnits, std::size_t cCapacity) {
    if (cUnits > MAX_UNITS) MemoryPool::RaiseOutOfMemory();
    if (cCapacity > MAX_UNITS) cCapacity = MAX_UNITS;
    cCapacity = vlm::pool::CapacityFor(cCapacity);
    CXStringData* const pData = new (MemoryPool::Allocate(vlm::pool::StringBytes(cCapacity)))
        CXStringData{{1}, static_cast<std::int32_t>(cUnits), static_cast<std::int32_t>(cCapacity)};
    pData->Text()[cUnits] = XCHAR();
    return pData;
}

void MemoryPoolAllocatorServices::ReleaseBlock(CXStringData* pData) noexcept {
    MemoryPool::Release(pData, vlm::pool::StringBytes(static_cast<std::size_t>(pData->m_lCapacity)));
}

std::int64_t MemoryPoolAllocatorServices::GetOutstandingBlocks() noexcept {
    return MemoryPool::GetOutstandingBlocks();
}
