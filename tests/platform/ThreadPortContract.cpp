/// @file
/// The contract of the thread port, the pool pointer and the lock.
#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include "PortContract.h"
#include "platform/PoolPointerImpl.h"
#include "platform/ThreadPort.h"

namespace vlm::test {

namespace {

class ThreadPortContract : public PortContract {
protected:
    ThreadPort& Threads() const { return *Ports().pThreads; }
    void* Get(DWORD dwSlot) const {
        Status eStatus = Status::GeneralFailure;
        void* pValue = Threads().GetSlot(dwSlot, eStatus);
        EXPECT_EQ(eStatus, Status::Success);
        return pValue;
    }
};

TEST_P(ThreadPortContract, SlotsHoldOneValuePerThread) {
    const DWORD dwSlot = Threads().AllocSlot(nullptr), dwOther = Threads().AllocSlot(nullptr);
    ASSERT_NE(dwSlot, ThreadPort::OUT_OF_SLOTS);
    ASSERT_NE(dwSlot, dwOther);
    int iHere = 0, iThere = 0;
    EXPECT_EQ(Get(dwSlot), nullptr);
    EXPECT_EQ(Threads().SetSlot(dwSlot, &iHere), Status::Success);
    void* apSeen[2] = {&iHere, nullptr};
    std::thread([&] {
        Status eStatus{};
        apSeen[0] = Threads().GetSlot(dwSlot, eStatus);
        Threads().SetSlot(dwSlot, &iThere);
        apSeen[1] = Threads().GetSlot(dwSlot, eStatus);
        Threads().SetSlot(dwSlot, nullptr);
    }).join();
    EXPECT_EQ(apSeen[0], nullptr);
    EXPECT_EQ(apSeen[1], &iThere);
    EXPECT_EQ(Get(dwSlot), &iHere);
    EXPECT_EQ(Get(dwOther), nullptr);
    EXPECT_EQ(Threads().FreeSlot(dwSlot), Status::Success);
    // A slot that is reserved again is empty again.
    const DWORD dwAgain = Threads().AllocSlot(nullptr);
    EXPECT_EQ(Get(dwAgain), nullptr);
    EXPECT_EQ(Threads().FreeSlot(dwAgain), Status::Success);
    EXPECT_EQ(Threads().FreeSlot(dwOther), Status::Success);
}

TEST_P(ThreadPortContract, NumbersThatAreNoSlotsAreRefused) {
    for (const DWORD dwBad : {DWORD{ThreadPort::OUT_OF_SLOTS}, DWORD{5000}}) {
        Status eStatus = Status::Success;
        EXPECT_EQ(Threads().GetSlot(dwBad, eStatus), nullptr);
        EXPECT_EQ(eStatus, Status::InvalidParameter);
        EXPECT_EQ(Threads().SetSlot(dwBad, this), Status::InvalidParameter);
        EXPECT_EQ(Threads().FreeSlot(dwBad), Status::InvalidParameter);
    }
}

TEST_P(ThreadPortContract, SlotsRunOutWithoutHarm) {
    std::vector<DWORD> vSlots;
    while (vSlots.size() < 5000) {
        const DWORD dwSlot = Threads().AllocSlot(nullptr);
        if (dwSlot == ThreadPort::OUT_OF_SLOTS) break;
        vSlots.push_back(dwSlot);
    }
    EXPECT_GE(vSlots.size(), 64u);
    EXPECT_LT(vSlots.size(), 5000u);
    for (const DWORD dwSlot : vSlots)
        EXPECT_EQ(Threads().FreeSlot(dwSlot), Status::Success);
}

TEST_P(ThreadPortContract, LocalMemoryIsZeroed) {
    constexpr std::size_t cBytes = 10'000;
    const auto pbyMemory = static_cast<BYTE*>(Threads().LocalAllocate(cBytes));
    ASSERT_NE(pbyMemory, nullptr);
    EXPECT_EQ(std::count(pbyMemory, pbyMemory + cBytes, BYTE{0}), 10'000);
    Threads().LocalRelease(pbyMemory);
    Threads().LocalRelease(nullptr);
}

TEST_P(ThreadPortContract, ThreadsHaveNumbersOfTheirOwn) {
    const DWORD dwHere = Threads().CurrentThreadId();
    DWORD dwThere = dwHere;
    std::thread([&] { dwThere = Threads().CurrentThreadId(); }).join();
    EXPECT_NE(dwHere, 0u);
    EXPECT_NE(dwHere, dwThere);
    EXPECT_EQ(dwHere, Threads().CurrentThreadId());
}

TEST_P(ThreadPortContract, EachThreadHasItsOwnLastError) {
    // Nothing but turns between the two: whatever else is called may leave an error of its own.
    std::atomic<int> iStep{0};
    DWORD dwThere = 0;
    std::thread oOther([&] {
        Threads().LeaveLastError(1);
        iStep = 1;
        while (iStep != 2)
            std::this_thread::yield();
        dwThere = Threads().LastError();
    });
    while (iStep != 1)
        std::this_thread::yield();
    Threads().LeaveLastError(4711);
    const DWORD dwHere = Threads().LastError();
    iStep = 2;
    oOther.join();
    EXPECT_EQ(dwHere, 4711u);
    EXPECT_EQ(dwThere, 1u);
}

Q9_CONTRACT_SUITE(ThreadPortContract);

TEST(PoolPointer, IsOnePerThread) {
    int iHere = 0, iThere = 0;
    ASSERT_TRUE(StorePoolPointer(&iHere, nullptr));
    void* apSeen[2] = {&iHere, nullptr};
    std::thread([&] {
        apSeen[0] = LoadPoolPointer();
        StorePoolPointer(&iThere, nullptr);
        apSeen[1] = LoadPoolPointer();
        StorePoolPointer(nullptr, nullptr);
    }).join();
    EXPECT_EQ(apSeen[0], nullptr);
    EXPECT_EQ(apSeen[1], &iThere);
    EXPECT_EQ(LoadPoolPointer(), &iHere);
    ASSERT_TRUE(StorePoolPointer(nullptr, nullptr));
    EXPECT_EQ(LoadPoolPointer(), nullptr);
}

TEST(SystemLock, IsRecursiveAndKeepsOthersOut) {
    SystemLock oLock;
    const auto othersGetIn = [&] {
        bool fEntered = false;
        std::thread([&] {
            fEntered = oLock.TryEnter();
            if (fEntered) oLock.Leave();
        }).join();
        return fEntered;
    };
    oLock.Enter();
    EXPECT_TRUE(oLock.TryEnter());
    EXPECT_FALSE(othersGetIn());
    oLock.Leave();
    EXPECT_FALSE(othersGetIn());
    oLock.Leave();
    EXPECT_TRUE(othersGetIn());
}

TEST(SystemLock, LosesNoCount) {
    SystemLock oLock;
    std::uint64_t ullCount = 0;
    std::vector<std::thread> vThreads;
    for (int i = 0; i < 4; ++i) {
        vThreads.emplace_back([&] {
            for (int j = 0; j < 20'000; ++j) {
                oLock.Enter();
                ++ullCount;
                oLock.Leave();
            }
        });
    }
    for (std::thread& rThread : vThreads)
        rThread.join();
    EXPECT_EQ(ullCount, 80'000u);
}

}  // namespace

}  // namespace vlm::test
