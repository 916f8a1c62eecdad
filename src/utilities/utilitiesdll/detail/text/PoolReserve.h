/// @file
/// What lies behind the pools: each thread's free blocks, and the reserve that all threads share.
///
/// Blocks go between a thread and the reserve in bundles, chains of a fixed count, so that a bundle changes hands by
/// its first block alone, however cold the others are.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "utilities/utilitiesdll/CriticalResource.h"
#include "utilities/utilitiesdll/detail/text/PoolClasses.h"

namespace vlm::pool {

/// One thread's free blocks of one size: a chain of at most a bundle, and at most one whole bundle aside, so that a
/// need that swings about the size of a bundle does not go to the reserve each time.
/// Only its thread changes it; the counts may be read by any.
class ThreadList {
public:
    void Init(std::size_t uClass) noexcept { SetRoom(BUNDLE_BLOCKS[uClass]); }

    /// A block, or null when the chain is empty.
    FreeBlock* Pop() noexcept {
        FreeBlock* const pBlock = m_pHead;
        if (pBlock) {
            Unpoison(pBlock, sizeof(FreeBlock));
            m_pHead = pBlock->m_pNext;
            SetRoom(Room() + 1);
        }
        return pBlock;
    }
    /// False when the chain is a whole bundle already.
    bool Push(void* pMemory, std::size_t cBytes) noexcept {
        const std::uint32_t cRoom = Room();
        if (cRoom == 0) return false;
        Unpoison(pMemory, cBytes);
        auto* const pBlock = static_cast<FreeBlock*>(pMemory);
        pBlock->m_pNext = m_pHead;
        m_pHead = pBlock;
        SetRoom(cRoom - 1);
        Poison(pMemory, cBytes);
        return true;
    }

    /// Makes the empty chain the bundle aside.  False when there is none.
    bool UseSpare() noexcept;
    /// Puts the chain, a whole bundle, aside.  @return the bundle that lay there, or null.
    FreeBlock* PutAside(std::size_t uClass) noexcept;
    /// Makes the empty chain another one.
    void Take(FreeBlock* pChain, std::size_t cBlocks) noexcept {
        m_pHead = pChain;
        SetRoom(Room() - static_cast<std::uint32_t>(cBlocks));
    }
    std::size_t Count(std::size_t uClass) const noexcept {
        const std::size_t cBundle = BUNDLE_BLOCKS[uClass];
        return cBundle - Room() + (m_pSpare.load(std::memory_order_relaxed) ? cBundle : 0);
    }

private:
    std::uint32_t Room() const noexcept { return m_cRoom.load(std::memory_order_relaxed); }
    void SetRoom(std::uint32_t cRoom) noexcept { m_cRoom.store(cRoom, std::memory_order_relaxed); }

    FreeBlock* m_pHead = nullptr;
    std::atomic<std::uint32_t> m_cRoom{0};  ///< blocks that the chain lacks to a bundle
    std::atomic<FreeBlock*> m_pSpare{nullptr};
};

/// The lists of one thread, in the chain of all threads' lists.
struct ThreadPools {
    ThreadPools() noexcept {
        for (std::size_t u = 0; u < CLASS_COUNT; ++u)
            m_aoLists[u].Init(u);
    }
    ThreadList m_aoLists[CLASS_COUNT];
    ThreadPools* m_pNext = nullptr;
    ThreadPools* m_pPrevious = nullptr;
};

/// Free blocks of one size in the reserve: bundles, and fewer loose ones than make a bundle.
struct BlockStore {
    FreeBlock* m_pBundles = nullptr;
    std::size_t m_cBundles = 0;
    FreeBlock* m_pLoose = nullptr;
    std::size_t m_cLoose = 0;

    void AddBundle(FreeBlock* pBundle) noexcept;
    FreeBlock* TakeBundle() noexcept;
    void AddOne(std::size_t uClass, FreeBlock* pBlock) noexcept;
    FreeBlock* TakeOne(std::size_t uClass) noexcept;
};

/// What all threads share.  Threads: any.
class Reserve {
public:
    using Allocator = void* (*)(std::size_t cBytes) noexcept;

    constexpr explicit Reserve(std::atomic<Allocator>& rpfnAllocate) noexcept : m_rpfnAllocate(rpfnAllocate) {}

    /// Fills a thread's empty list: from the reserve, else from new memory.  False when there is none.
    bool Refill(std::size_t uClass, ThreadList& roList) noexcept;
    void AddBundle(std::size_t uClass, FreeBlock* pBundle) noexcept;
    /// Single blocks, for threads that have no lists.
    void* TakeOne(std::size_t uClass) noexcept;
    void GiveOne(std::size_t uClass, void* pBlock) noexcept;
    /// A thread's lists come and go; what they hold stays here.
    void Enlist(ThreadPools& roPools) noexcept;
    void Retire(ThreadPools& roPools) noexcept;
    /// Takes back what all threads hold in their lists, then frees the memory if none of the blocks is in use.
    void FreeAll() noexcept;
    /// Blocks handed out.
    std::int64_t Outstanding() noexcept;

private:
    struct Chunk {
        alignas(16) Chunk* m_pNext;
    };

    FreeBlock* Carve(std::size_t uClass, std::size_t& rcBlocks) noexcept;

    std::atomic<Allocator>& m_rpfnAllocate;
    CriticalResource m_scLock;
    std::array<BlockStore, CLASS_COUNT> m_aoStores{};
    Chunk* m_pChunks = nullptr;
    ThreadPools* m_pThreads = nullptr;
    std::size_t m_cCarved = 0;
};

}  // namespace vlm::pool
