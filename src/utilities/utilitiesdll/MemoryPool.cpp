/// @file
/// Per-thread free lists over a process-wide reserve.
#include "utilities/utilitiesdll/MemoryPool.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "platform/ThreadPort.h"
#include "utilities/utilitiesdll/CXStringData.h"
#include "utilities/utilitiesdll/CriticalResource.h"
#include "utilities/utilitiesdll/detail/text/PoolClasses.h"

namespace {

using vlm::pool::BLOCK_BYTES;
using vlm::pool::CLASS_COUNT;
using vlm::pool::ClassOf;
using vlm::pool::FreeBlock;
using vlm::pool::LIST_CAPS;
using vlm::pool::Poison;
using vlm::pool::Unpoison;

constexpr std::size_t CHUNK_BYTES = 8192;
constexpr std::size_t REFILL_BLOCKS = 32;

void* DefaultAllocate(std::size_t cBytes) noexcept {
    return std::malloc(cBytes);
}

constinit std::atomic<MemoryPool::RawAllocator> gpfnAllocate{&DefaultAllocate};
constinit std::atomic<MemoryPool::OutOfMemoryHandler> gpfnOutOfMemory{nullptr};
constinit std::atomic<std::int64_t> gllLargeBlocks{0};

void* RawAllocate(std::size_t cBytes) noexcept {
    return gpfnAllocate.load(std::memory_order_relaxed)(cBytes);
}

/// A chain of free blocks of one size.  Only its owner changes it; the count may be read by any thread.
struct FreeList {
    FreeBlock* m_pHead = nullptr;
    std::atomic<std::size_t> m_cBlocks{0};

    std::size_t Count() const noexcept { return m_cBlocks.load(std::memory_order_relaxed); }
    void Forget() noexcept {
        m_pHead = nullptr;
        m_cBlocks.store(0, std::memory_order_relaxed);
    }

    void Push(FreeBlock* pBlock) noexcept {
        pBlock->m_pNext = m_pHead;
        m_pHead = pBlock;
        m_cBlocks.store(Count() + 1, std::memory_order_relaxed);
    }
    FreeBlock* Pop() noexcept {
        FreeBlock* const pBlock = m_pHead;
        if (pBlock) {
            Unpoison(pBlock, sizeof(FreeBlock));
            m_pHead = pBlock->m_pNext;
            m_cBlocks.store(Count() - 1, std::memory_order_relaxed);
        }
        return pBlock;
    }
};

/// The lists of one thread, in the chain of all threads' lists.
struct ThreadPools {
    FreeList m_aoLists[CLASS_COUNT];
    ThreadPools* m_pNext = nullptr;
    ThreadPools* m_pPrevious = nullptr;
};

struct Chunk {
    alignas(16) Chunk* m_pNext;
};

/// What all threads share; never destroyed, because blocks outlive every static object.
class Reserve {
public:
    constexpr Reserve() noexcept = default;

    /// Moves some blocks into `roList`: from the reserve, else from a new chunk.  False without memory.
    bool Refill(std::size_t uClass, FreeList& roList) noexcept {
        const CriticalResourceLock oLock(m_scLock);
        FreeList& roOwn = m_aoLists[uClass];
        if (roOwn.Count() == 0 && !Carve(uClass, roOwn)) return false;
        Move(roOwn, roList, REFILL_BLOCKS, BLOCK_BYTES[uClass]);
        return true;
    }
    void TakeBack(std::size_t uClass, FreeList& roList, std::size_t cBlocks) noexcept {
        const CriticalResourceLock oLock(m_scLock);
        Move(roList, m_aoLists[uClass], cBlocks, BLOCK_BYTES[uClass]);
    }
    void* TakeOne(std::size_t uClass) noexcept {
        const CriticalResourceLock oLock(m_scLock);
        if (m_aoLists[uClass].Count() == 0 && !Carve(uClass, m_aoLists[uClass])) return nullptr;
        return m_aoLists[uClass].Pop();
    }
    void GiveOne(std::size_t uClass, void* pBlock) noexcept {
        const CriticalResourceLock oLock(m_scLock);
        m_aoLists[uClass].Push(static_cast<FreeBlock*>(pBlock));
        Poison(pBlock, BLOCK_BYTES[uClass]);
    }
    void Enlist(ThreadPools& roPools) noexcept {
        const CriticalResourceLock oLock(m_scLock);
        roPools.m_pNext = m_pThreads;
        if (m_pThreads) m_pThreads->m_pPrevious = &roPools;
        m_pThreads = &roPools;
    }
    void Retire(ThreadPools& roPools) noexcept {
        const CriticalResourceLock oLock(m_scLock);
        for (std::size_t u = 0; u < CLASS_COUNT; ++u) {
            Move(roPools.m_aoLists[u], m_aoLists[u], roPools.m_aoLists[u].Count(), BLOCK_BYTES[u]);
        }
        if (roPools.m_pNext) roPools.m_pNext->m_pPrevious = roPools.m_pPrevious;
        (roPools.m_pPrevious ? roPools.m_pPrevious->m_pNext : m_pThreads) = roPools.m_pNext;
    }
    /// Takes back what all threads hold in their lists, then frees the chunks if none of their blocks is in use.
    void FreeAll() noexcept {
        while (ThreadPools* const pPools = m_pThreads) {
            Retire(*pPools);
            std::free(pPools);
        }
        if (Outstanding() != 0) return;
        const CriticalResourceLock oLock(m_scLock);
        for (FreeList& roList : m_aoLists)
            roList.Forget();
        while (Chunk* const pChunk = m_pChunks) {
            m_pChunks = pChunk->m_pNext;
            Unpoison(pChunk, CHUNK_BYTES);
            std::free(pChunk);
        }
        m_cCarved = 0;
    }
    std::int64_t Outstanding() noexcept {
        const CriticalResourceLock oLock(m_scLock);
        std::size_t cFree = 0;
        for (const FreeList& koList : m_aoLists)
            cFree += koList.Count();
        for (const ThreadPools* pPools = m_pThreads; pPools; pPools = pPools->m_pNext) {
            for (const FreeList& koList : pPools->m_aoLists)
                cFree += koList.Count();
        }
        return static_cast<std::int64_t>(m_cCarved) - static_cast<std::int64_t>(cFree);
    }

private:
    bool Carve(std::size_t uClass, FreeList& roList) noexcept {
        void* const pMemory = RawAllocate(CHUNK_BYTES);
        if (!pMemory) return false;
        m_pChunks = new (pMemory) Chunk{m_pChunks};
        const std::size_t cBytes = BLOCK_BYTES[uClass];
        char* const pchFirst = static_cast<char*>(pMemory) + sizeof(Chunk);
        const std::size_t cBlocks = (CHUNK_BYTES - sizeof(Chunk)) / cBytes;
        for (std::size_t u = cBlocks; u-- > 0;) {  // the list then hands them out in the order of their addresses
            roList.Push(new (pchFirst + u * cBytes) FreeBlock);
            Poison(roList.m_pHead, cBytes);
        }
        m_cCarved += cBlocks;
        return true;
    }
    static void Move(FreeList& roFrom, FreeList& roTo, std::size_t cBlocks, std::size_t cBytes) noexcept {
        while (cBlocks-- > 0) {
            FreeBlock* const pBlock = roFrom.Pop();
            if (!pBlock) return;
            roTo.Push(pBlock);
            Poison(pBlock, cBytes);
        }
    }

    CriticalResource m_scLock;
    FreeList m_aoLists[CLASS_COUNT];
    Chunk* m_pChunks = nullptr;
    ThreadPools* m_pThreads = nullptr;
    std::size_t m_cCarved = 0;
};

/// Keeps the destructor of its content from running.
union ReserveHolder {
    constexpr ReserveHolder() noexcept : m_oReserve() {}
    ~ReserveHolder() {}
    Reserve m_oReserve;
};
constinit ReserveHolder gReserve;

void EndOfThread(void* pValue) noexcept {
    vlm::StorePoolPointer(nullptr, &EndOfThread);
    gReserve.m_oReserve.Retire(*static_cast<ThreadPools*>(pValue));
    std::free(pValue);
}

/// The calling thread's lists, made on first use; null when the system has no slot or no memory for them.
ThreadPools* MakeThreadPools() noexcept {
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

ThreadPools* GetThreadPools() noexcept {
    void* const pValue = vlm::LoadPoolPointer();
    return pValue ? static_cast<ThreadPools*>(pValue) : MakeThreadPools();
}

void* AllocateFromClass(std::size_t uClass) noexcept {
    ThreadPools* const pPools = GetThreadPools();
    if (!pPools) return gReserve.m_oReserve.TakeOne(uClass);
    FreeList& roList = pPools->m_aoLists[uClass];
    if (!roList.m_pHead && !gReserve.m_oReserve.Refill(uClass, roList)) return nullptr;
    return roList.Pop();
}

void ReleaseToClass(std::size_t uClass, void* pBlock) noexcept {
    ThreadPools* const pPools = GetThreadPools();
    if (!pPools) return gReserve.m_oReserve.GiveOne(uClass, pBlock);
    FreeList& roList = pPools->m_aoLists[uClass];
    Unpoison(pBlock, BLOCK_BYTES[uClass]);
    roList.Push(static_cast<FreeBlock*>(pBlock));
    Poison(pBlock, BLOCK_BYTES[uClass]);
    if (roList.Count() > LIST_CAPS[uClass]) gReserve.m_oReserve.TakeBack(uClass, roList, LIST_CAPS[uClass] / 2);
}

}  // namespace

namespace {

/// The calling thread's list for a size, if the thread has lists already and the size is one of the pool's.  What most
/// requests need is in here; all else is called out of line, so that it costs them nothing.
inline FreeList* OwnList(std::size_t cBytes) noexcept {
    if (cBytes > MemoryPool::MAX_POOLED_BYTES) [[unlikely]]
        return nullptr;
    auto* const pPools = static_cast<ThreadPools*>(vlm::LoadPoolPointer());
    if (!pPools) [[unlikely]]
        return nullptr;
    return &pPools->m_aoLists[ClassOf(cBytes)];
}

[[gnu::noinline]] void* TryAllocateOutOfLine(std::size_t cBytes) noexcept {
    if (cBytes > MemoryPool::MAX_POOLED_BYTES) {
        void* const pBlock = RawAllocate(cBytes);
        if (pBlock) gllLargeBlocks.fetch_add(1, std::memory_order_relaxed);
        return pBlock;
    }
    void* const pBlock = AllocateFromClass(ClassOf(cBytes));
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
    ReleaseToClass(ClassOf(cBytes), pBlock);
}

}  // namespace

void* MemoryPool::TryAllocate(std::size_t cBytes) noexcept {
    FreeList* const pList = OwnList(cBytes);
    void* const pBlock = pList ? pList->Pop() : nullptr;
    if (!pBlock) [[unlikely]]
        return TryAllocateOutOfLine(cBytes);
    Unpoison(pBlock, cBytes);
    return pBlock;
}

void* MemoryPool::Allocate(std::size_t cBytes) {
    FreeList* const pList = OwnList(cBytes);
    void* const pBlock = pList ? pList->Pop() : nullptr;
    if (!pBlock) [[unlikely]]
        return AllocateOutOfLine(cBytes);
    Unpoison(pBlock, cBytes);
    return pBlock;
}

void MemoryPool::Release(void* pBlock, std::size_t cBytes) noexcept {
    FreeList* const pList = OwnList(cBytes);
    if (!pList || !pBlock || pList->Count() >= LIST_CAPS[ClassOf(cBytes)]) [[unlikely]]
        return ReleaseOutOfLine(pBlock, cBytes);
    Unpoison(pBlock, BLOCK_BYTES[ClassOf(cBytes)]);
    pList->Push(static_cast<FreeBlock*>(pBlock));
    Poison(pBlock, BLOCK_BYTES[ClassOf(cBytes)]);
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
