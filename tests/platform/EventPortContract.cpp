/// @file
/// The contract of the event port.
#include "platform/EventPort.h"

#include <atomic>
#include <thread>
#include <vector>

#include "PortContract.h"
#include "platform/ThreadPort.h"
#include "support/Gate.h"

#ifdef _WIN32
#include "platform/win32/System.h"

#include <aclapi.h>
#endif

namespace vlm::test {

namespace {

constexpr DWORD FOREVER = EventPort::WAIT_FOREVER;

class EventPortContract : public PortContract {
protected:
    EventPort& Events() const { return *Ports().pEvents; }
    HANDLE Event(bool fManualReset, bool fSignalled, const XString& rName = {}) const {
        HANDLE hEvent = nullptr;
        EXPECT_EQ(Events().CreateEventAt(rName.empty() ? nullptr : rName.c_str(), fManualReset, fSignalled, hEvent),
                  Status::Success);
        EXPECT_NE(hEvent, nullptr);
        return hEvent;
    }
    HANDLE Mutex(const XString& rName = {}) const {
        HANDLE hMutex = nullptr;
        EXPECT_EQ(Events().CreateMutexAt(rName.empty() ? nullptr : rName.c_str(), hMutex), Status::Success);
        return hMutex;
    }
    void Close(const std::vector<HANDLE>& rvHandles) const {
        for (const HANDLE hObject : rvHandles)
            EXPECT_EQ(Events().CloseObject(hObject), Status::Success);
    }
    Status Wait(const std::vector<HANDLE>& rvHandles, DWORD dwMilliseconds, DWORD& rdwIndex, bool& rfAbandoned) const {
        return Events().WaitAny(rvHandles.data(), static_cast<DWORD>(rvHandles.size()), dwMilliseconds, rdwIndex,
                                rfAbandoned);
    }
    /// Looks, does not wait.
    bool Take(HANDLE hObject, bool* pfAbandoned = nullptr) const {
        DWORD dwIndex = 99;
        bool fAbandoned = true;
        const Status eStatus = Wait({hObject}, 0, dwIndex, fAbandoned);
        EXPECT_EQ(eStatus == Status::Success, dwIndex == 0);
        EXPECT_TRUE(eStatus == Status::Success || eStatus == Status::TimeOut);
        if (pfAbandoned) *pfAbandoned = fAbandoned;
        return eStatus == Status::Success;
    }
    bool TakeElsewhere(HANDLE hObject) const {
        bool fTaken = false;
        std::thread([&] { fTaken = Take(hObject); }).join();
        return fTaken;
    }
};

TEST_P(EventPortContract, EventsLetOneOrAllThrough) {
    const struct {
        bool fManualReset, fSignalled;
    } aRows[] = {{false, false}, {false, true}, {true, false}, {true, true}};
    for (const auto& rRow : aRows) {
        const HANDLE hEvent = Event(rRow.fManualReset, rRow.fSignalled);
        EXPECT_EQ(Take(hEvent), rRow.fSignalled);
        EXPECT_EQ(Take(hEvent), rRow.fSignalled && rRow.fManualReset);
        // However often it is set, one wait takes the signal.
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(Events().SetEventState(hEvent, true), Status::Success);
        EXPECT_TRUE(Take(hEvent));
        EXPECT_EQ(Take(hEvent), rRow.fManualReset);
        EXPECT_EQ(Events().SetEventState(hEvent, true), Status::Success);
        EXPECT_EQ(Events().SetEventState(hEvent, false), Status::Success);
        EXPECT_FALSE(Take(hEvent));
        Close({hEvent});
    }
}

TEST_P(EventPortContract, TheFirstOfSeveralIsAnsweredAndOnlyItIsTaken) {
    std::vector<HANDLE> vHandles;
    for (DWORD i = 0; i < EventPort::MAX_WAIT_HANDLES; ++i)
        vHandles.push_back(i % 3 == 2 ? Mutex() : Event(false, false, i % 3 == 1 ? UniqueName() : XString()));
    // Every third is a mutex that somebody else holds.
    Gate oHeld, oDone;
    std::thread oHolder([&] {
        for (std::size_t i = 2; i < vHandles.size(); i += 3)
            EXPECT_TRUE(Take(vHandles[i]));
        oHeld.Arrive();
        oDone.Wait();
        for (std::size_t i = 2; i < vHandles.size(); i += 3)
            EXPECT_EQ(Events().ReleaseMutexOf(vHandles[i]), Status::Success);
    });
    oHeld.Wait();
    DWORD dwIndex = 99;
    bool fAbandoned = true;
    EXPECT_EQ(Wait(vHandles, 1, dwIndex, fAbandoned), Status::TimeOut);
    EXPECT_EQ(dwIndex, 99u);
    for (const DWORD i : {63u, 31u, 0u})
        EXPECT_EQ(Events().SetEventState(vHandles[i], true), Status::Success);
    for (const DWORD i : {0u, 31u, 63u}) {
        EXPECT_EQ(Wait(vHandles, FOREVER, dwIndex, fAbandoned), Status::Success);
        EXPECT_EQ(dwIndex, i);
        EXPECT_FALSE(fAbandoned);
    }
    EXPECT_EQ(Wait(vHandles, 0, dwIndex, fAbandoned), Status::TimeOut);
    oDone.Arrive();
    oHolder.join();
    EXPECT_EQ(Wait(vHandles, FOREVER, dwIndex, fAbandoned), Status::Success);
    EXPECT_EQ(dwIndex, 2u);
    EXPECT_EQ(Events().ReleaseMutexOf(vHandles[2]), Status::Success);
    vHandles.push_back(vHandles[0]);
    EXPECT_EQ(Wait(vHandles, 0, dwIndex, fAbandoned), Status::InvalidParameter);
    EXPECT_EQ(Events().WaitAny(vHandles.data(), 0, 0, dwIndex, fAbandoned), Status::InvalidParameter);
    EXPECT_EQ(Events().WaitAny(nullptr, 1, 0, dwIndex, fAbandoned), Status::InvalidParameter);
    vHandles.pop_back();
    Close(vHandles);
}

TEST_P(EventPortContract, ConcurrentWaitersGetEverySignalOnce) {
    constexpr int cWaiters = 4, cSignals = 200;
    const HANDLE hWork = Event(false, false, UniqueName()), hTaken = Event(false, false), hEnd = Event(true, false);
    std::atomic<int> iTaken{0};
    int iUnguarded = 0;  // the events alone keep its users apart
    std::vector<std::thread> vThreads;
    for (int i = 0; i < cWaiters; ++i) {
        vThreads.emplace_back([&] {
            DWORD dwIndex = 0;
            bool fAbandoned = false;
            while (Wait({hWork, hEnd}, FOREVER, dwIndex, fAbandoned) == Status::Success && dwIndex == 0) {
                ++iUnguarded;
                ++iTaken;
                EXPECT_EQ(Events().SetEventState(hTaken, true), Status::Success);
            }
        });
    }
    DWORD dwIndex = 0;
    bool fAbandoned = false;
    for (int i = 0; i < cSignals; ++i) {
        EXPECT_EQ(Events().SetEventState(hWork, true), Status::Success);
        EXPECT_EQ(Wait({hTaken}, FOREVER, dwIndex, fAbandoned), Status::Success);
        EXPECT_EQ(iTaken, i + 1);
    }
    EXPECT_EQ(Events().SetEventState(hEnd, true), Status::Success);
    for (std::thread& rThread : vThreads)
        rThread.join();
    EXPECT_EQ(iUnguarded, cSignals);
    Close({hWork, hTaken, hEnd});
}

TEST_P(EventPortContract, NamesLeadToOneObject) {
    const XString name = UniqueName(), local = VTEXT("Local\\") + name, global = VTEXT("Global\\") + name;
    const HANDLE hFirst = Event(true, true, name);
    // An existing one keeps its kind and its state.
    const HANDLE hSecond = Event(false, false, local), hGlobal = Event(false, false, global);
    HANDLE hOpened = nullptr;
    EXPECT_EQ(Events().OpenEventAt(local.c_str(), hOpened), Status::Success);
    EXPECT_TRUE(Take(hSecond));
    EXPECT_TRUE(Take(hOpened));
    EXPECT_FALSE(Take(hGlobal));
    EXPECT_EQ(Events().SetEventState(hOpened, false), Status::Success);
    EXPECT_FALSE(Take(hFirst));
    // It lives until its last handle.
    EXPECT_EQ(Events().SetEventState(hFirst, true), Status::Success);
    Close({hFirst, hSecond});
    EXPECT_TRUE(Take(hOpened));
    Close({hOpened, hGlobal});
    HANDLE hNone = nullptr;
    EXPECT_EQ(Events().OpenEventAt(name.c_str(), hNone), Status::FileNotFound);
    EXPECT_EQ(hNone, nullptr);
    const HANDLE hNew = Event(false, false, name);
    EXPECT_FALSE(Take(hNew));
    Close({hNew});
}

TEST_P(EventPortContract, NamesThatCannotBeAreRefused) {
    const XString name = UniqueName(), upper = name + VTEXT("A"), lower = name + VTEXT("a");
    HANDLE hObject = nullptr;
    EXPECT_EQ(Events().OpenEventAt(nullptr, hObject), Status::InvalidParameter);
    EXPECT_EQ(Events().OpenEventAt(VTEXT(""), hObject), Status::InvalidParameter);
    const XString deep = name + VTEXT("\\below");
    EXPECT_EQ(Events().CreateEventAt(deep.c_str(), false, false, hObject), Status::PathNotFound);
    EXPECT_EQ(Events().CreateMutexAt(deep.c_str(), hObject), Status::PathNotFound);
    // Taken by another kind.
    const HANDLE hMutex = Mutex(name), hUpper = Event(true, true, upper), hLower = Event(true, false, lower);
    EXPECT_EQ(Events().CreateEventAt(name.c_str(), false, false, hObject), Status::InvalidHandle);
    EXPECT_EQ(Events().OpenEventAt(name.c_str(), hObject), Status::InvalidHandle);
    EXPECT_EQ(Events().CreateMutexAt(upper.c_str(), hObject), Status::InvalidHandle);
    EXPECT_EQ(hObject, nullptr);
    EXPECT_TRUE(Take(hUpper));
    EXPECT_FALSE(Take(hLower));
    Close({hMutex, hUpper, hLower});
    // Names without meaning for a file system.
    for (const XString& rName : {name + VTEXT("/../x"), name + VTEXT(":%25*?\u20AC\U0001F600"), XString(VTEXT("."))}) {
        const HANDLE hEvent = Event(true, true, rName), hAgain = Event(true, false, rName);
        EXPECT_TRUE(Take(hAgain));
        Close({hEvent, hAgain});
    }
}

TEST_P(EventPortContract, AMutexBelongsToOneThread) {
    const XString name = UniqueName();
    for (const bool fNamed : {false, true}) {
        const HANDLE hMutex = Mutex(fNamed ? name : XString());
        const HANDLE hOther = fNamed ? Mutex(name) : hMutex;
        EXPECT_EQ(Events().ReleaseMutexOf(hMutex), Status::NotOwner);
        EXPECT_TRUE(Take(hMutex));
        EXPECT_TRUE(Take(hOther));
        EXPECT_FALSE(TakeElsewhere(hMutex));
        EXPECT_EQ(Events().ReleaseMutexOf(hOther), Status::Success);
        EXPECT_FALSE(TakeElsewhere(hOther));
        std::thread([&] { EXPECT_EQ(Events().ReleaseMutexOf(hMutex), Status::NotOwner); }).join();
        EXPECT_EQ(Events().ReleaseMutexOf(hMutex), Status::Success);
        EXPECT_EQ(Events().ReleaseMutexOf(hMutex), Status::NotOwner);
        Close({hMutex});
        if (fNamed) Close({hOther});
    }
}

TEST_P(EventPortContract, AMutexWhoseOwnerEndedIsAbandonedOnce) {
    const XString name = UniqueName();
    for (const bool fNamed : {false, true}) {
        const HANDLE hMutex = Mutex(fNamed ? name : XString());
        EXPECT_TRUE(TakeElsewhere(hMutex));
        DWORD dwIndex = 99;
        bool fAbandoned = false;
        EXPECT_EQ(Wait({hMutex}, FOREVER, dwIndex, fAbandoned), Status::Success);
        EXPECT_EQ(dwIndex, 0u);
        EXPECT_TRUE(fAbandoned);
        EXPECT_EQ(Events().ReleaseMutexOf(hMutex), Status::Success);
        EXPECT_TRUE(Take(hMutex, &fAbandoned));
        EXPECT_FALSE(fAbandoned);
        EXPECT_EQ(Events().ReleaseMutexOf(hMutex), Status::Success);
        Close({hMutex});
    }
}

TEST_P(EventPortContract, AMutexKeepsThreadsApart) {
    const HANDLE hMutex = Mutex(UniqueName());
    int iUnguarded = 0;
    std::vector<std::thread> vThreads;
    for (int i = 0; i < 4; ++i) {
        vThreads.emplace_back([&] {
            for (int j = 0; j < 25; ++j) {
                DWORD dwIndex = 0;
                bool fAbandoned = false;
                EXPECT_EQ(Wait({hMutex}, FOREVER, dwIndex, fAbandoned), Status::Success);
                ++iUnguarded;
                EXPECT_EQ(Events().ReleaseMutexOf(hMutex), Status::Success);
            }
        });
    }
    for (std::thread& rThread : vThreads)
        rThread.join();
    EXPECT_EQ(iUnguarded, 100);
    Close({hMutex});
}

struct ThreadRecord {
    ThreadPort* pThreads;
    EventPort* pEvents;
    HANDLE hGo;
    DWORD dwThread;
};

TEST_P(EventPortContract, AStartedThreadIsSignalledAtItsEnd) {
    ThreadRecord oRecord{Ports().pThreads, &Events(), Event(false, false), 0};
    HANDLE hThread = nullptr;
    const auto body = [](void* pArgument) -> unsigned {
        ThreadRecord& rRecord = *static_cast<ThreadRecord*>(pArgument);
        DWORD dwIndex = 0;
        bool fAbandoned = false;
        rRecord.pEvents->WaitAny(&rRecord.hGo, 1, FOREVER, dwIndex, fAbandoned);
        rRecord.dwThread = rRecord.pThreads->CurrentThreadId();
        return 3;
    };
    ASSERT_EQ(Events().StartThread(body, &oRecord, hThread), Status::Success);
    EXPECT_FALSE(Take(hThread));
    EXPECT_EQ(Events().SetEventState(hThread, true), Status::InvalidHandle);
    EXPECT_EQ(Events().SetEventState(oRecord.hGo, true), Status::Success);
    DWORD dwIndex = 0;
    bool fAbandoned = false;
    EXPECT_EQ(Wait({hThread}, FOREVER, dwIndex, fAbandoned), Status::Success);
    EXPECT_TRUE(Take(hThread));
    EXPECT_NE(oRecord.dwThread, 0u);
    EXPECT_NE(oRecord.dwThread, Ports().pThreads->CurrentThreadId());
    Close({hThread, oRecord.hGo});
    HANDLE hNone = nullptr;
    EXPECT_EQ(Events().StartThread(nullptr, nullptr, hNone), Status::InvalidParameter);
    EXPECT_EQ(hNone, nullptr);
}

TEST_P(EventPortContract, WhatIsNotOpenOrOfAnotherKindIsRefused) {
    const HANDLE hEvent = Event(false, true), hMutex = Mutex(), hClosed = Event(false, true);
    Close({hClosed});
    EXPECT_EQ(Events().SetEventState(hMutex, true), Status::InvalidHandle);
    EXPECT_EQ(Events().ReleaseMutexOf(hEvent), Status::InvalidHandle);
    DWORD dwIndex = 99;
    bool fAbandoned = false;
    for (const HANDLE hBad : {hClosed, HANDLE{nullptr}}) {
        EXPECT_EQ(Events().SetEventState(hBad, true), Status::InvalidHandle);
        EXPECT_EQ(Events().ReleaseMutexOf(hBad), Status::InvalidHandle);
        EXPECT_EQ(Events().CloseObject(hBad), Status::InvalidHandle);
        EXPECT_EQ(Wait({hEvent, hBad}, 0, dwIndex, fAbandoned), Status::InvalidHandle);
    }
    // A refused wait takes nothing.
    EXPECT_TRUE(Take(hEvent));
    Close({hEvent, hMutex});
    EXPECT_EQ(m_oFake.events.OpenHandles(), 0u);
}

Q9_CONTRACT_SUITE(EventPortContract);

#ifdef _WIN32

TEST(Win32EventPort, NamedObjectsAreClosedToOtherUsers) {
    EventPort& rEvents = *GetSystemPlatform().pEvents;
    const XString name = Wide("q9-security-" + std::to_string(GetCurrentProcessId()));
    HANDLE hEvent = nullptr;
    ASSERT_EQ(rEvents.CreateEventAt(name.c_str(), false, false, hEvent), Status::Success);
    const HANDLE hLooking = OpenEventW(READ_CONTROL, FALSE, name.c_str());
    ASSERT_NE(hLooking, nullptr);
    ACL* pList = nullptr;
    PSECURITY_DESCRIPTOR pDescriptor = nullptr;
    ASSERT_EQ(GetSecurityInfo(hLooking, SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &pList, nullptr,
                              &pDescriptor),
              DWORD{ERROR_SUCCESS});
    // The system, administrators and this user are allowed in; no list at all would allow everybody.
    ASSERT_NE(pList, nullptr);
    EXPECT_EQ(pList->AceCount, 3);
    for (DWORD i = 0; i < pList->AceCount; ++i) {
        void* pEntry = nullptr;
        ASSERT_TRUE(GetAce(pList, i, &pEntry));
        auto* const pAllowed = static_cast<ACCESS_ALLOWED_ACE*>(pEntry);
        EXPECT_EQ(pAllowed->Header.AceType, ACCESS_ALLOWED_ACE_TYPE);
        EXPECT_FALSE(IsWellKnownSid(&pAllowed->SidStart, WinWorldSid));
    }
    LocalFree(pDescriptor);
    CloseHandle(hLooking);
    EXPECT_EQ(rEvents.CloseObject(hEvent), Status::Success);
}

#endif

}  // namespace

}  // namespace vlm::test
