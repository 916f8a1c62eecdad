/// @file
/// The per-thread storage: its objects' lives, and every call of the system failing.
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/Platform.h"
#include "platform/ThreadPort.h"
#include "support/Gate.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using vlm::Status;
using vlm::test::Gate;
using vlm::test::RecordingSink;

using Storage = UtilitiesDllPerThreadStorage;

/// The system's port, with calls that can be made to fail.
class FailingThreadPort : public vlm::ThreadPort {
public:
    bool fAllocFails = false;
    bool fGetFails = false;
    bool fSetFails = false;
    bool fLocalFails = false;

    DWORD AllocSlot(void (*pfnThreadEnd)(void*)) noexcept override {
        return fAllocFails ? OUT_OF_SLOTS : m_rSystem.AllocSlot(pfnThreadEnd);
    }
    Status FreeSlot(DWORD dwSlot) noexcept override { return m_rSystem.FreeSlot(dwSlot); }
    void* GetSlot(DWORD dwSlot, Status& rStatus) noexcept override {
        if (!fGetFails) return m_rSystem.GetSlot(dwSlot, rStatus);
        rStatus = Status::InvalidParameter;
        return nullptr;
    }
    Status SetSlot(DWORD dwSlot, void* pValue) noexcept override {
        return fSetFails ? Status::InvalidParameter : m_rSystem.SetSlot(dwSlot, pValue);
    }
    void* LocalAllocate(std::size_t cBytes) noexcept override {
        return fLocalFails ? nullptr : m_rSystem.LocalAllocate(cBytes);
    }
    void LocalRelease(void* pMemory) noexcept override { m_rSystem.LocalRelease(pMemory); }
    DWORD CurrentThreadId() noexcept override { return m_rSystem.CurrentThreadId(); }
    DWORD LastError() noexcept override { return m_rSystem.LastError(); }
    void LeaveLastError(DWORD dwError) noexcept override { m_rSystem.LeaveLastError(dwError); }

private:
    vlm::ThreadPort& m_rSystem = *vlm::GetSystemPlatform().pThreads;
};

class PerThreadStorage : public ::testing::Test {
protected:
    PerThreadStorage() : m_oPlatform(vlm::GetPlatform()) {
        Storage::CleanUpDueToProcessDetach();
        Storage::InitializeDueToProcessAttach();
        m_oPlatform.pThreads = &oPort;
        vlm::ExchangePlatform(&m_oPlatform);
    }
    ~PerThreadStorage() override {
        vlm::ExchangePlatform(nullptr);
        Storage::CleanUpDueToProcessDetach();
        Storage::InitializeDueToProcessAttach();
    }

    FailingThreadPort oPort;
    RecordingSink oSink{DebugCategory::Errors};

private:
    vlm::Platform m_oPlatform;
};

/// What the entry point does where the system does not call at a thread's end.
template <class Body>
void RunThread(Body body) {
    std::thread([&] {
        body();
        Storage::CleanUpDueToThreadDetach(false);
    }).join();
}

TEST_F(PerThreadStorage, GivesEachThreadOneStackAndFreesItWithTheThread) {
    EXPECT_EQ(Storage::PeekExecutionContextStack(), nullptr);
    EXPECT_EQ(Storage::GetAllocatedObjectCount(), 0u);
    ExecutionContextStack& rMine = Storage::GetExecutionContextStack();
    EXPECT_EQ(&Storage::GetExecutionContextStack(), &rMine);
    RunThread([&] {
        EXPECT_NE(&Storage::GetExecutionContextStack(), &rMine);
        EXPECT_EQ(Storage::GetAllocatedObjectCount(), 2u);
    });
    EXPECT_EQ(Storage::GetAllocatedObjectCount(), 1u);
    EXPECT_THAT(oSink.Texts(), IsEmpty());
}

TEST_F(PerThreadStorage, DestroysTheObjectsInItsSlotsLatestSlotFirst) {
    static std::vector<int> viDestroyed;
    viDestroyed.clear();
    const auto destroy = [](void* pObject) { viDestroyed.push_back(*static_cast<int*>(pObject)); };
    static int aiValues[] = {1, 2, 3};
    EXPECT_EQ(Storage::GetSlot(PTS_PROPERTY_BAG), nullptr);
    EXPECT_TRUE(Storage::SetSlot(PTS_PROPERTY_BAG, &aiValues[0], destroy));
    EXPECT_TRUE(Storage::SetSlot(PTS_PROPERTY_BAG, &aiValues[1], destroy));
    EXPECT_TRUE(Storage::SetSlot(PTS_PCL_HALFTONES, &aiValues[2], destroy));
    EXPECT_EQ(Storage::GetSlot(PTS_PROPERTY_BAG), &aiValues[1]);
    EXPECT_THAT(viDestroyed, ElementsAre(1));
    RunThread([] { EXPECT_EQ(Storage::GetSlot(PTS_PROPERTY_BAG), nullptr); });
    Storage::CleanUpDueToThreadDetach(false);
    EXPECT_THAT(viDestroyed, ElementsAre(1, 3, 2));
    EXPECT_FALSE(Storage::SetSlot(PTS_COUNT, &aiValues[0], destroy));
}

TEST_F(PerThreadStorage, UnloadingFreesTheObjectsOfThreadsThatStillRun) {
    Gate made(1);
    Gate unloaded(1);
    std::jthread thread([&] {
        Storage::GetExecutionContextStack().PushContext(
            ExecutionContextPointer(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE)));
        made.Arrive();
        unloaded.Wait();
    });
    made.Wait();
    Storage::CleanUpDueToProcessDetach();
    EXPECT_EQ(Storage::GetState(), UDPTS_UNINITIALIZED);
    EXPECT_EQ(Storage::GetAllocatedObjectCount(), 0u);
    EXPECT_TRUE(Storage::InitializeDueToProcessAttach());
    EXPECT_EQ(Storage::GetState(), UDPTS_INITIALIZED);
    EXPECT_EQ(Storage::PeekExecutionContextStack(), nullptr) << "a new life begins without old objects";
    unloaded.Arrive();
}

TEST_F(PerThreadStorage, ReportsThatItIsNotInitializedAndAnswersAStackOfTheThreadsOwn) {
    Storage::CleanUpDueToProcessDetach();
    ExecutionContextStack& rMine = Storage::GetExecutionContextStack();
    EXPECT_THAT(
        oSink.Texts(),
        ElementsAre("Can't get the ExecutionContextStack! geUtilitiesDllPerThreadStorageInitializedState == "
                    "UDPTS_UNINITIALIZED. Tell Tobin if you see this message and leave it open so a debugger can "
                    "be attached to determine the cause."));
    RunThread([&] { EXPECT_NE(&Storage::GetExecutionContextStack(), &rMine); });
    EXPECT_EQ(&Storage::GetExecutionContextStack(), &rMine);
    EXPECT_FALSE(Storage::SetSlot(PTS_PROPERTY_BAG, &rMine, nullptr));
    {
        const ExecutionContextLifetime lifetime(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE));
        EXPECT_EQ(rMine.GetDepth(), 1u);
    }
    EXPECT_TRUE(rMine.IsEmpty());
}

TEST_F(PerThreadStorage, AskedAgainWhileItReportsSaysSoOnce) {
    Storage::CleanUpDueToProcessDetach();
    UtilitiesDllPerThreadStorageState eDuring = UDPTS_INITIALIZED;
    oSink.onWrite = [&] {
        eDuring = Storage::GetState();
        Storage::GetExecutionContextStack();
    };
    Storage::GetExecutionContextStack();
    EXPECT_EQ(eDuring, UDPTS_RAISING_ERROR_IN_GET_METHOD);
    EXPECT_EQ(Storage::GetState(), UDPTS_UNINITIALIZED);
    const std::vector<std::string> texts = oSink.Texts();
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_EQ(
        texts[1],
        "geUtilitiesDllPerThreadStorageInitializedState == UDPTS_RAISING_ERROR_IN_GET_METHOD so we're returning a "
        "default ExecutionContextStack. This is probably going to lead to subsequent assertions when we later pop off "
        "the wrong stack. Tell Tobin if you see this message and leave it open so a debugger can be attached to "
        "determine the cause.");
}

TEST_F(PerThreadStorage, SpeaksOfTheConstraintStackWhenItWasAskedForThatOne) {
    Storage::CleanUpDueToProcessDetach();
    oSink.onWrite = [] { Storage::GetConstraintExecutionContextStack(); };
    ConstraintExecutionContextStack& rMine = Storage::GetConstraintExecutionContextStack();
    oSink.onWrite = nullptr;
    EXPECT_EQ(&Storage::GetConstraintExecutionContextStack(), &rMine);
    const std::vector<std::string> texts = oSink.Texts();
    ASSERT_EQ(texts.size(), 3u);
    EXPECT_EQ(texts[0], texts[2]);
    EXPECT_EQ(
        texts[0],
        "Can't get the ConstraintExecutionContextStack! geUtilitiesDllPerThreadStorageInitializedState == "
        "UDPTS_UNINITIALIZED. Tell Tobin if you see this message and leave it open so a debugger can be attached to "
        "determine the cause.");
    EXPECT_EQ(texts[1],
              "geUtilitiesDllPerThreadStorageInitializedState == UDPTS_RAISING_ERROR_IN_GET_METHOD so we're returning "
              "a default ConstraintExecutionContextStack. This is probably going to lead to subsequent assertions when "
              "we later pop off the wrong stack. Tell Tobin if you see this message and leave it open so a debugger "
              "can be attached to determine the cause.");
}

TEST_F(PerThreadStorage, ReportsEachFailingCallOfTheSystemAndRecovers) {
    const struct {
        bool FailingThreadPort::*pfFails;
        const char* pszReport;
    } aoRows[] = {
        {&FailingThreadPort::fGetFails, "failed!\r\n\r\n"},
        {&FailingThreadPort::fSetFails, "TlsSetValue(0x"},
        {&FailingThreadPort::fLocalFails, "Failed to allocate space for UtilitiesDllPerThreadStorage via LocalAlloc!"},
    };
    for (const auto& rRow : aoRows) {
        oSink.Clear();
        oPort.*rRow.pfFails = true;
        ExecutionContextStack& rDefault = Storage::GetExecutionContextStack();
        EXPECT_EQ(oSink.Count(rRow.pszReport), 1u) << rRow.pszReport;
        EXPECT_EQ(oSink.Texts().size(), 1u) << rRow.pszReport;
        EXPECT_EQ(Storage::GetAllocatedObjectCount(), 0u) << rRow.pszReport;
        EXPECT_THROW(VLM_THROW(ExceptionInvalidHandle, VTEXT("raised all the same")), ExceptionInvalidHandle);
        oPort.*rRow.pfFails = false;
        EXPECT_NE(&Storage::GetExecutionContextStack(), &rDefault);
        Storage::CleanUpDueToThreadDetach(false);
    }
    oPort.fGetFails = true;
    oSink.Clear();
    Storage::GetExecutionContextStack();
    EXPECT_THAT(oSink.Texts()[0], ::testing::MatchesRegex("TlsGetValue\\(0x\\w+/\\w+\\) failed!\r\n\r\n.+"));
}

TEST_F(PerThreadStorage, ReportsThatTheSystemHasNoSlotLeft) {
    Storage::CleanUpDueToProcessDetach();
    oPort.fAllocFails = true;
    EXPECT_FALSE(Storage::InitializeDueToProcessAttach());
    ASSERT_EQ(oSink.Texts().size(), 1u);
    EXPECT_THAT(oSink.Texts()[0], HasSubstr("Failed Condition:\t(gdwUtilitiesTlsData != ((DWORD)0xFFFFFFFF))\r\n"));
    EXPECT_THAT(oSink.Texts()[0], HasSubstr("TlsAlloc() FAILED unexpectedly: TLS_OUT_OF_INDEXES"));
    EXPECT_EQ(Storage::GetState(), UDPTS_UNINITIALIZED);
    oPort.fAllocFails = false;
    EXPECT_TRUE(Storage::InitializeDueToProcessAttach());
    EXPECT_TRUE(Storage::InitializeDueToProcessAttach());
}

TEST_F(PerThreadStorage, AnObjectThatIsNotListedIsReportedAndLeftAlone) {
    // The thread's object is taken by unloading between the moment it is found and the moment it is looked up.
    static void* spStale = nullptr;
    class StalePort final : public FailingThreadPort {
    public:
        DWORD AllocSlot(void (*)(void*)) noexcept override { return 7; }
        Status FreeSlot(DWORD) noexcept override { return Status::Success; }
        void* GetSlot(DWORD, Status& rStatus) noexcept override {
            rStatus = Status::Success;
            return spStale;
        }
        Status SetSlot(DWORD, void* pValue) noexcept override {
            spStale = pValue;
            return Status::Success;
        }
        void* LocalAllocate(std::size_t) noexcept override { return nullptr; }
        void LocalRelease(void*) noexcept override { ADD_FAILURE() << "freed an object that is not its own"; }
        DWORD CurrentThreadId() noexcept override { return 0x1234; }
    } oStale;
    static char chForeign = 0;
    spStale = &chForeign;
    vlm::Platform oPlatform = vlm::GetSystemPlatform();
    oPlatform.pThreads = &oStale;
    const vlm::PlatformScope scope(oPlatform);
    Storage::CleanUpDueToThreadDetach(true);
    EXPECT_THAT(oSink.Texts(),
                ElementsAre(::testing::MatchesRegex(
                    "The static vector of UtilitiesDllPerThreadStorage pointers does NOT contain this pointer "
                    "\\(0x\\w+\\) during DLL_PROCESS_DETACH! The current thread is 0x1234/4660. The vector has 0 "
                    "members.")));
    EXPECT_EQ(spStale, nullptr);
}

// Threads that end while the library is being unloaded: each object is destroyed once, by one of the two.
TEST_F(PerThreadStorage, ThreadsEndingRoundAnUnloadAreSafe) {
    static std::atomic<int> siAlive{0};
    const auto destroy = [](void*) { siAlive.fetch_sub(1); };
    constexpr int ROUNDS = 25;
    constexpr int THREADS = 16;
    for (int iRound = 0; iRound < ROUNDS; ++iRound) {
        Gate ready(THREADS + 1);
        std::vector<std::jthread> threads;
        for (int i = 0; i < THREADS; ++i) {
            threads.emplace_back([&] {
                if (Storage::SetSlot(PTS_PROPERTY_BAG, &siAlive, destroy)) siAlive.fetch_add(1);
                ready.ArriveAndWait();
                Storage::CleanUpDueToThreadDetach(false);
            });
        }
        ready.ArriveAndWait();
        Storage::CleanUpDueToProcessDetach();
        threads.clear();
        EXPECT_EQ(siAlive.load(), 0);
        EXPECT_TRUE(Storage::InitializeDueToProcessAttach());
    }
}

}  // namespace
