/// @file
/// Pools, shared pointers and the lock, over many threads.
#include "utilities/utilitiesdll/MemoryPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/CriticalResource.h"
#include "utilities/utilitiesdll/VlmSharedPtr.h"

namespace {

constexpr int THREADS = 16;

template <class Body>
void OnThreads(int iThreads, Body body) {
    std::vector<std::thread> voThreads;
    for (int i = 0; i < iThreads; ++i) {
        voThreads.emplace_back([body, i] {
            body(i);
            MemoryPool::CleanUpDueToThreadDetach();  // there is no entry point in this program to do it on Windows
        });
    }
    for (std::thread& roThread : voThreads)
        roThread.join();
}

TEST(MemoryPool, BlocksAreDistinctAlignedAndCounted) {
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    std::vector<std::pair<unsigned char*, std::size_t>> vBlocks;
    for (std::size_t cBytes = 0; cBytes < 2100; cBytes += 7) {
        for (int i = 0; i < 3; ++i) {
            auto* const pby = static_cast<unsigned char*>(MemoryPool::Allocate(cBytes));
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(pby) % 16, 0u);
            std::fill_n(pby, cBytes, static_cast<unsigned char>(vBlocks.size()));
            vBlocks.emplace_back(pby, cBytes);
        }
    }
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore + static_cast<std::int64_t>(vBlocks.size()));
    EXPECT_EQ(MemoryPoolAllocatorServices::GetOutstandingBlocks(), MemoryPool::GetOutstandingBlocks());
    for (std::size_t u = 0; u < vBlocks.size(); ++u) {
        for (std::size_t uByte = 0; uByte < vBlocks[u].second; ++uByte) {
            ASSERT_EQ(vBlocks[u].first[uByte], static_cast<unsigned char>(u));  // no two blocks overlap
        }
        MemoryPool::Release(vBlocks[u].first, vBlocks[u].second);
    }
    MemoryPool::Release(nullptr, 16);
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore);
}

std::atomic<int> giRawCalls{0};
void* CountingAllocate(std::size_t cBytes) noexcept {
    ++giRawCalls;
    return std::malloc(cBytes);
}

/// Blocks outlive the thread that took them; and a producer whose blocks another thread releases must find them again
/// in the reserve, not ask for ever more memory.
TEST(MemoryPool, BlocksReleasedElsewhereComeBackThroughTheReserve) {
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    const auto round = [] {
        std::vector<void*> vBlocks(5000);
        OnThreads(1, [&](int) {
            for (std::size_t u = 0; u < vBlocks.size(); ++u)
                vBlocks[u] = std::memset(MemoryPool::Allocate(96), static_cast<int>(u % 256), 96);
        });
        OnThreads(1, [&](int) {
            for (std::size_t u = 0; u < vBlocks.size(); ++u) {
                const auto* const pby = static_cast<const unsigned char*>(vBlocks[u]);
                ASSERT_EQ(std::count(pby, pby + 96, u % 256), 96);
                MemoryPool::Release(vBlocks[u], 96);
            }
        });
    };
    round();
    MemoryPool::ExchangeRawAllocator(&CountingAllocate);
    giRawCalls = 0;
    for (int i = 0; i < 20; ++i)
        round();
    MemoryPool::ExchangeRawAllocator(nullptr);
    EXPECT_EQ(giRawCalls, 0);
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore);
}

TEST(MemoryPool, LettingTheLibraryGoKeepsBlocksThatAreHeld) {
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    auto* const pbyHeld = static_cast<unsigned char*>(MemoryPool::Allocate(64));
    std::memset(pbyHeld, 0x5A, 64);
    MemoryPool::CleanUpDueToProcessDetach();
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore + 1);
    EXPECT_EQ(std::count(pbyHeld, pbyHeld + 64, 0x5A), 64);
    MemoryPool::Release(pbyHeld, 64);
    MemoryPool::CleanUpDueToProcessDetach();
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore);
    const CXString csAfter(VTEXT("a life after"));
    EXPECT_EQ(csAfter, VTEXT("a life after"));
}

TEST(CXStringThreads, CopiesAreCountedRightAcrossThreads) {
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    {
        std::vector<CXString> vcsShared;
        for (int i = 0; i < 8; ++i)
            vcsShared.push_back(CXString::FormatString(VTEXT("shared string number %d"), i));
        OnThreads(THREADS, [&](int iThread) {
            std::vector<CXString> vcsMine = vcsShared;
            for (int i = 0; i < 4000; ++i) {
                CXString csCopy = vcsMine[(i + iThread) % 8];
                vcsMine[i % 8] = csCopy;
                if (i % 5 == 0) csCopy += VTEXT("!");  // copy-before-write while others share
                if (i % 7 == 0) vcsMine[i % 8].SetAt(0, VTEXT('S'));
                if (i % 7 == 1) vcsMine[i % 8] = vcsShared[i % 8];
            }
        });
        for (int i = 0; i < 8; ++i) {
            EXPECT_EQ(vcsShared[i], CXString::FormatString(VTEXT("shared string number %d"), i));
            EXPECT_EQ(vcsShared[i].GetData()->m_lRefs.load(), 1);
        }
    }
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore);
}

/// The last two owners give a block up at the same moment, again and again: it must go back exactly once.
TEST(CXStringThreads, TheLastOfTwoOwnersFreesTheBlock) {
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    std::atomic<int> iTurn{0};
    CXString acsOwners[2];
    constexpr int iRounds = 2000;
    OnThreads(2, [&](int iThread) {
        for (int i = 0; i < iRounds; ++i) {
            if (iThread == 0) acsOwners[0] = acsOwners[1] = CXString::FormatString(VTEXT("round %d"), i);
            iTurn.fetch_add(1);
            while (iTurn.load() < 4 * i + 2)
                std::this_thread::yield();
            if (iThread == 0) {
                acsOwners[0].Empty();
            } else {
                acsOwners[1] += VTEXT("?");  // count 2 or 1: copies, or changes in place
                EXPECT_EQ(acsOwners[1], CXString::FormatString(VTEXT("round %d?"), i));
                acsOwners[1].Empty();
            }
            iTurn.fetch_add(1);
            while (iTurn.load() < 4 * i + 4)
                std::this_thread::yield();
        }
    });
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore);
}

struct Counted : PooledObject {
    static inline std::atomic<int> siAlive{0};
    explicit Counted(int i) : iValue(i) { ++siAlive; }
    Counted(const Counted&) = delete;
    virtual ~Counted() { --siAlive; }
    bool operator<(const Counted& rOther) const { return iValue < rOther.iValue; }
    int iValue;
};
struct LargerCounted : Counted {
    using Counted::Counted;
    char achMore[300] = {};
};

TEST(VlmSharedPtr, TheLastPointerDeletesTheObject) {
    using Pointer = VlmSharedPtr<Counted>;
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    {
        Pointer shpoFirst(std::make_unique<LargerCounted>(1));
        EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore + 2);  // the object and the control block
        Pointer shpoSecond = shpoFirst, shpoNull, shpoFromNull{std::unique_ptr<Counted>()};
        EXPECT_EQ(shpoFirst.use_count(), 2);
        EXPECT_TRUE(shpoFirst == shpoSecond);
        EXPECT_FALSE(shpoNull || shpoFromNull);
        shpoFirst.reset();
        EXPECT_EQ(shpoSecond->iValue, 1);
        shpoSecond = std::move(shpoNull);
        EXPECT_EQ(Counted::siAlive, 0);
        shpoSecond.reset(new Counted(2));
        Counted oOnStack(3);
        Pointer shpoBorrowed(&oOnStack);
        shpoBorrowed.SetOwns(false);
        const Pointer shpoCopy = shpoBorrowed;
        shpoBorrowed.reset();
        EXPECT_EQ(shpoCopy->iValue, 3);
    }
    EXPECT_EQ(Counted::siAlive, 0);
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore);
}

TEST(VlmSharedPtr, SetsOrderByValueAndIdentityIsSeparate) {
    using Pointer = VlmSharedPtr<Counted>;
    std::set<Pointer, SharedPtrCompare<Counted>> setPointers;
    for (const int i : {3, 1, 2, 3})
        setPointers.insert(MakeVlmShared<Counted>(i));
    ASSERT_EQ(setPointers.size(), 3u);
    EXPECT_EQ((*setPointers.begin())->iValue, 1);
    setPointers.insert(nullptr);
    EXPECT_FALSE(*setPointers.begin());
    EXPECT_FALSE(MakeVlmShared<Counted>(5) == MakeVlmShared<Counted>(5));
}

constinit CriticalResource gscFirstUse;

TEST(CriticalResource, IsRecursiveExclusiveAndMadeOnFirstUseByOneThread) {
    int iCount = 0;
    OnThreads(THREADS, [&](int) {
        for (int i = 0; i < 2000; ++i) {
            const CriticalResourceLock oOuter(gscFirstUse);
            const CriticalResourceLock oInner(gscFirstUse);
            ++iCount;
        }
    });
    EXPECT_EQ(iCount, THREADS * 2000);
    EXPECT_TRUE(gscFirstUse.TryLock());
    EXPECT_TRUE(gscFirstUse.TryLock());
    OnThreads(1, [](int) { EXPECT_FALSE(gscFirstUse.TryLock()); });
    gscFirstUse.Unlock();
    gscFirstUse.Unlock();
    OnThreads(1, [](int) {
        EXPECT_TRUE(gscFirstUse.TryLock());
        gscFirstUse.Unlock();
    });
}

}  // namespace
