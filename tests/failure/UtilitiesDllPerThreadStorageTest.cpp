/// @file
/// The per-thread storage: its objects' lives, and every call of the system failing.
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/Platform.h"
#include "support/FakePorts.h"
#include "support/Gate.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using vlm::Status;
using vlm::test::Gate;
using vlm::test::RecordingSink;

using Storage = UtilitiesDllPerThreadStorage;

/// The system's port, with calls that can be made to fail.
class FailingThreadPort final : public vlm::test::FakeThreadPort {
public:
    bool fAllocFails = false;
    bool fGetFails = false;
    bool fSetFails = false;
    bool fLocalFails = false;
    DWORD dwSlot = OUT_OF_SLOTS;  ///< the last one reserved

    DWORD AllocSlot(void (*pfnThreadEnd)(void*)) noexcept override {
        return dwSlot = fAllocFails ? OUT_OF_SLOTS : FakeThreadPort::AllocSlot(pfnThreadEnd);
    }
    void* GetSlot(DWORD dwAsked, Status& rStatus) noexcept override {
        if (!fGetFails) return FakeThreadPort::GetSlot(dwAsked, rStatus);
        rStatus = Status::InvalidParameter;
        return nullptr;
    }
    Status SetSlot(DWORD dwAsked, void* pValue) noexcept override {
        return fSetFails ? Status::InvalidParameter : FakeThreadPort::SetSlot(dwAsked, pValue);
    }
    void* LocalAllocate(std::size_t cBytes) noexcept override {
        return fLocalFails ? nullptr : FakeThreadPort::LocalAllocate(cBytes);
    }
};

class PerThreadStorage : public ::testing::Test {
protected:
    PerThreadStorage() : m_oPlatform(vlm::GetPlatform()) {
        m_oPlatform.pThreads = &oPort;
        vlm::ExchangePlatform(&m_oPlatform);
        Storage::CleanUpDueToProcessDetach();
        Storage::InitializeDueToProcessAttach();
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

TEST_F(PerThreadStorage, ReportsThatItIsNotInitializedAndAnswersAStackOfTheThreadsOwn) {
    Storage::CleanUpDueToProcessDetach();
    ExecutionContextStack& rMine = Storage::GetExecutionContextStack();
    RunThread([&] { EXPECT_NE(&Storage::GetExecutionContextStack(), &rMine); });
    EXPECT_EQ(&Storage::GetExecutionContextStack(), &rMine);
    EXPECT_FALSE(Storage::SetSlot(PTS_PROPERTY_BAG, &rMine, nullptr));
    EXPECT_EQ(oSink.Count("Can't get the ExecutionContextStack! geUtilitiesDllPerThreadStorageInitializedState == "
                          "UDPTS_UNINITIALIZED. Tell Tobin if"),
              4u);
}

TEST_F(PerThreadStorage, AskedAgainWhileItReportsSaysSoOnceInTheWordsOfWhatWasAskedFor) {
    Storage::CleanUpDueToProcessDetach();
    UtilitiesDllPerThreadStorageState eDuring = UDPTS_INITIALIZED;
    oSink.onWrite = [&] {
        eDuring = Storage::GetState();
        Storage::GetExecutionContextStack();
    };
    ConstraintExecutionContextStack& rMine = Storage::GetConstraintExecutionContextStack();
    EXPECT_EQ(eDuring, UDPTS_RAISING_ERROR_IN_GET_METHOD);
    EXPECT_EQ(Storage::GetState(), UDPTS_UNINITIALIZED);
    oSink.onWrite = [] { Storage::GetConstraintExecutionContextStack(); };
    Storage::GetExecutionContextStack();
    oSink.onWrite = nullptr;
    EXPECT_EQ(&Storage::GetConstraintExecutionContextStack(), &rMine);
    EXPECT_THAT(oSink.Texts(),
                ElementsAre(HasSubstr("Can't get the ConstraintExecutionContextStack! "),
                            HasSubstr("IN_GET_METHOD so we're returning a default ExecutionContextStack. "),
                            HasSubstr("Can't get the ExecutionContextStack! "),
                            HasSubstr("IN_GET_METHOD so we're returning a default ConstraintExecutionContextStack. "),
                            HasSubstr("Can't get the ConstraintExecutionContextStack! ")));
}

TEST_F(PerThreadStorage, ReportsEachFailingCallOfTheSystemAndRecovers) {
    const struct {
        bool FailingThreadPort::*pfFails;
        const char* pszReport;
    } aoRows[] = {
        {&FailingThreadPort::fGetFails, "TlsGetValue(0x"},
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
}

TEST_F(PerThreadStorage, ReportsThatTheSystemHasNoSlotLeft) {
    Storage::CleanUpDueToProcessDetach();
    oPort.fAllocFails = true;
    EXPECT_FALSE(Storage::InitializeDueToProcessAttach());
    EXPECT_THAT(oSink.Texts(),
                ElementsAre(AllOf(HasSubstr("Failed Condition:\t(gdwUtilitiesTlsData != ((DWORD)0xFFFFFFFF))\r\n"),
                                  HasSubstr("TlsAlloc() FAILED unexpectedly: TLS_OUT_OF_INDEXES"))));
    EXPECT_EQ(Storage::GetState(), UDPTS_UNINITIALIZED);
    oPort.fAllocFails = false;
    EXPECT_TRUE(Storage::InitializeDueToProcessAttach());
    EXPECT_TRUE(Storage::InitializeDueToProcessAttach());
    EXPECT_EQ(Storage::GetState(), UDPTS_INITIALIZED);
}

TEST_F(PerThreadStorage, AnObjectThatIsNotListedIsReportedAndLeftAlone) {
    // The thread's object is taken by unloading between the moment it is found and the moment it is looked up.
    static char chForeign = 0;
    oPort.SetSlot(oPort.dwSlot, &chForeign);
    Storage::CleanUpDueToThreadDetach(true);
    EXPECT_THAT(oSink.Texts(), ElementsAre(::testing::MatchesRegex(
                                   "The static vector of UtilitiesDllPerThreadStorage pointers does NOT contain this "
                                   "pointer \\(0x\\w+\\) during DLL_PROCESS_DETACH! The current thread is "
                                   "0x\\w+/\\w+. The vector has 0 members.")));
    EXPECT_EQ(Storage::PeekExecutionContextStack(), nullptr);
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
