/// @file
/// The reserve behind the pools.
#include "utilities/utilitiesdll/detail/text/PoolReserve.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace vlm::pool {

namespace {
constexpr std::size_t CHUNK_BYTES = 8192;
}  // namespace

// ---- a thread's list ----

bool ThreadList::UseSpare() noexcept {
    FreeBlock* const pSpare = m_pSpare.load(std::memory_order_relaxed);
    if (!pSpare) return false;
    m_pSpare.store(nullptr, std::memory_order_relaxed);
    m_pHead = pSpare;
    SetRoom(0);
    return true;
}

FreeBlock* ThreadList::PutAside(std::size_t uClass) noexcept {
    FreeBlock* const pFormer = m_pSpare.load(std::memory_order_relaxed);
    m_pSpare.store(std::exchange(m_pHead, nullptr), std::memory_order_relaxed);
    SetRoom(BUNDLE_BLOCKS[uClass]);
    return pFormer;
}

// ---- the store of one size ----

void BlockStore::AddBundle(FreeBlock* pBundle) noexcept {
    Unpoison(pBundle, sizeof(FreeBlock));
    pBundle->m_pNextBundle = m_pBundles;
    Poison(pBundle, sizeof(FreeBlock));
    m_pBundles = pBundle;
    ++m_cBundles;
}

FreeBlock* BlockStore::TakeBundle() noexcept {
    FreeBlock* const pBundle = m_pBundles;
    if (!pBundle) return nullptr;
    Unpoison(pBundle, sizeof(FreeBlock));
    m_pBundles = pBundle->m_pNextBundle;
    Poison(pBundle, sizeof(FreeBlock));
    --m_cBundles;
    return pBundle;
}

void BlockStore::AddOne(std::size_t uClass, FreeBlock* pBlock) noexcept {
    Unpoison(pBlock, sizeof(FreeBlock));
    pBlock->m_pNext = m_pLoose;
    m_pLoose = pBlock;
    Poison(pBlock, BLOCK_BYTES[uClass]);
    if (++m_cLoose < BUNDLE_BLOCKS[uClass]) return;
    AddBundle(std::exchange(m_pLoose, nullptr));
    m_cLoose = 0;
}

FreeBlock* BlockStore::TakeOne(std::size_t uClass) noexcept {
    if (!m_pLoose) {
        m_pLoose = TakeBundle();
        if (!m_pLoose) return nullptr;
        m_cLoose = BUNDLE_BLOCKS[uClass];
    }
    FreeBlock* const pBlock = m_pLoose;
    Unpoison(pBlock, sizeof(FreeBlock));
    m_pLoose = pBlock->m_pNext;
    --m_cLoose;
    return pBlock;
}

// ---- the reserve ----

/// The blocks of a new chunk as a chain in the order of their addresses; null without memory.
FreeBlock* Reserve::Carve(std::size_t uClass, std::size_t& rcBlocks) noexcept {
    void* const pMemory = m_rpfnAllocate.load(std::memory_order_relaxed)(CHUNK_BYTES);
    if (!pMemory) return nullptr;
    m_pChunks = new (pMemory) Chunk{m_pChunks};
    const std::size_t cBytes = BLOCK_BYTES[uClass];
    rcBlocks = (CHUNK_BYTES - sizeof(Chunk)) / cBytes;  // fewer than a bundle
    m_cCarved += rcBlocks;
    char* const pchFirst = static_cast<char*>(pMemory) + sizeof(Chunk);
    FreeBlock* pChain = nullptr;
    for (std::size_t u = rcBlocks; u-- > 0;) {
        pChain = new (pchFirst + u * cBytes) FreeBlock{pChain, nullptr};
        Poison(pChain, cBytes);
    }
    return pChain;
}

bool Reserve::Refill(std::size_t uClass, ThreadList& roList) noexcept {
    const CriticalResourceLock oLock(m_scLock);
    BlockStore& roStore = m_aoStores[uClass];
    std::size_t cBlocks = BUNDLE_BLOCKS[uClass];
    FreeBlock* pChain = roStore.TakeBundle();
    if (!pChain && roStore.m_pLoose) {
        pChain = std::exchange(roStore.m_pLoose, nullptr);
        cBlocks = std::exchange(roStore.m_cLoose, 0);
    }
    if (!pChain) pChain = Carve(uClass, cBlocks);
    if (!pChain) return false;
    roList.Take(pChain, cBlocks);
    return true;
}

void Reserve::AddBundle(std::size_t uClass, FreeBlock* pBundle) noexcept {
    const CriticalResourceLock oLock(m_scLock);
    m_aoStores[uClass].AddBundle(pBundle);
}

void* Reserve::TakeOne(std::size_t uClass) noexcept {
    const CriticalResourceLock oLock(m_scLock);
    BlockStore& roStore = m_aoStores[uClass];
    if (!roStore.m_pLoose && !roStore.m_pBundles) roStore.m_pLoose = Carve(uClass, roStore.m_cLoose);
    return roStore.TakeOne(uClass);
}

void Reserve::GiveOne(std::size_t uClass, void* pBlock) noexcept {
    const CriticalResourceLock oLock(m_scLock);
    m_aoStores[uClass].AddOne(uClass, static_cast<FreeBlock*>(pBlock));
}

void Reserve::Enlist(ThreadPools& roPools) noexcept {
    const CriticalResourceLock oLock(m_scLock);
    roPools.m_pNext = m_pThreads;
    if (m_pThreads) m_pThreads->m_pPrevious = &roPools;
    m_pThreads = &roPools;
}

void Reserve::Retire(ThreadPools& roPools) noexcept {
    const CriticalResourceLock oLock(m_scLock);
    for (std::size_t u = 0; u < CLASS_COUNT; ++u) {
        ThreadList& roList = roPools.m_aoLists[u];
        while (FreeBlock* const pBlock = roList.Pop())
            m_aoStores[u].AddOne(u, pBlock);
        if (FreeBlock* const pSpare = roList.PutAside(u)) m_aoStores[u].AddBundle(pSpare);
    }
    if (roPools.m_pNext) roPools.m_pNext->m_pPrevious = roPools.m_pPrevious;
    (roPools.m_pPrevious ? roPools.m_pPrevious->m_pNext : m_pThreads) = roPools.m_pNext;
}

void Reserve::FreeAll() noexcept {
    while (ThreadPools* const pPools = m_pThreads) {
        Retire(*pPools);
        std::free(pPools);
    }
    if (Outstanding() != 0) return;
    const CriticalResourceLock oLock(m_scLock);
    m_aoStores = {};
    while (Chunk* const pChunk = m_pChunks) {
        m_pChunks = pChunk->m_pNext;
        Unpoison(pChunk, CHUNK_BYTES);
        std::free(pChunk);
    }
    m_cCarved = 0;
}

std::int64_t Reserve::Outstanding() noexcept {
    const CriticalResourceLock oLock(m_scLock);
    std::size_t cFree = 0;
    for (std::size_t u = 0; u < CLASS_COUNT; ++u) {
        cFree += m_aoStores[u].m_cBundles * BUNDLE_BLOCKS[u] + m_aoStores[u].m_cLoose;
        for (const ThreadPools* pPools = m_pThreads; pPools; pPools = pPools->m_pNext)
            cFree += pPools->m_aoLists[u].Count(u);
    }
    return static_cast<std::int64_t>(m_cCarved) - static_cast<std::int64_t>(cFree);
}

}  // namespace vlm::pool
