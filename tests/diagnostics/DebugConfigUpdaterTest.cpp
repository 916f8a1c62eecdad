/// @file
/// The thread that picks up changed settings: what each event does, and every call of the system failing.
#include "utilities/debuggingandexceptions/DebugConfigUpdater.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "DebugSettingsFixture.h"
#include "support/FaultLoop.h"
#include "support/Gate.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/DebugMessageHelperInterface.h"

namespace vlm::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const XCHAR* CHANGED = VTEXT("Local\\changed");
constexpr const XCHAR* CLEAR = VTEXT("Local\\clear");

/// Counts, and opens a gate with the next call.
class CountingHelper final : public DebugMessageHelperInterface {
public:
    void ClearTheLog() noexcept override {
        ++cCleared;
        oCalled.Arrive();
    }
    void CloseLogFile() noexcept override {
        ++cClosed;
        oCalled.Arrive();
    }
    std::atomic<int> cCleared{0};
    std::atomic<int> cClosed{0};
    Gate oCalled;
};

class DebugConfigUpdaterTest : public DebugSettingsFixture {
protected:
    DebugConfigUpdaterTest() { oFake.events.CreateEventAt(nullptr, true, false, hCompletion); }
    ~DebugConfigUpdaterTest() override {
        while (oFake.events.RunningThreads() != 0)
            std::this_thread::yield();
        oFake.events.CloseObject(hCompletion);
    }

    bool IsCompleted() {
        DWORD dwIndex = 0;
        bool fAbandoned = false;
        return oFake.events.WaitAny(&hCompletion, 1, 0, dwIndex, fAbandoned) == Status::Success;
    }

    HANDLE hCompletion = nullptr;
    DebugMessageConfiguration oConfiguration{DEBUG_SETTINGS_KEY};
    CountingHelper oHelper;
};

TEST_F(DebugConfigUpdaterTest, ReadsChangedSettingsAndClosesTheLogOnlyForAnotherName) {
    Gate oRead(2);  // one call of the listener when it is put in place, one for the read
    oConfiguration.SetChangeListener([](void* pGate) noexcept { static_cast<Gate*>(pGate)->Arrive(); }, &oRead);
    {
        const DebugConfigUpdater updater(oConfiguration, oHelper, hCompletion, CHANGED, CLEAR);
        PutSwitch(VTEXT("MessagesEnabled"), 1);
        EXPECT_TRUE(oFake.events.SetFromOutside(CHANGED));
        oRead.Wait();
        EXPECT_TRUE(oConfiguration.IsMessagesEnabled());
        PutText(VTEXT("LogFileName"), VTEXT("D:\\other.log"));
        EXPECT_TRUE(oFake.events.SetFromOutside(CHANGED));
        oHelper.oCalled.Wait();
        EXPECT_EQ(Narrow(oConfiguration.GetLogFileName().View()), "D:\\other.log");
        EXPECT_FALSE(IsCompleted());
    }
    EXPECT_TRUE(IsCompleted());
    EXPECT_EQ(oHelper.cClosed, 1);
    EXPECT_EQ(oHelper.cCleared, 0);
    EXPECT_EQ(oFake.events.OpenHandles(), 1u) << "the completion event";
    oConfiguration.SetChangeListener(nullptr, nullptr);
}

TEST_F(DebugConfigUpdaterTest, ClearsTheLogWhenItsEventIsSet) {
    const DebugConfigUpdater updater(oConfiguration, oHelper, hCompletion, CHANGED, CLEAR);
    oFake.events.SetEventState(updater.GetDebugConfigClearLogHandle(), true);
    oHelper.oCalled.Wait();
    EXPECT_EQ(oHelper.cCleared, 1);
    EXPECT_EQ(oHelper.cClosed, 0);
}

TEST_F(DebugConfigUpdaterTest, WaitsForTheEventsThatItHas) {
    oFake.events.TakeName(CHANGED, FakeEventPort::Kind::Mutex);
    const RecordingSink sink(DebugCategory::Errors);
    {
        const DebugConfigUpdater updater(oConfiguration, oHelper, hCompletion, CHANGED, CLEAR);
        oFake.events.SetFromOutside(CLEAR);
        oHelper.oCalled.Wait();
    }
    EXPECT_TRUE(IsCompleted());
    EXPECT_THAT(sink.Texts(), ElementsAre(HasSubstr("Failed Condition:\t(m_hDebugConfigChange != 0)\r\n")));
}

/// Lets the first `cPassing` calls of one kind through and answers a failure to the others.
class FailingEventPort final : public EventPort {
public:
    explicit FailingEventPort(EventPort& rBelow) : m_rBelow(rBelow) {}
    std::atomic<int> cCreate{99}, cStart{99}, cWait{99}, cSet{99};

    Status CreateEventAt(const XCHAR* pszName, bool fManualReset, bool fSignalled, HANDLE& rh) noexcept override {
        return cCreate-- > 0 ? m_rBelow.CreateEventAt(pszName, fManualReset, fSignalled, rh) : Status::AccessDenied;
    }
    Status OpenEventAt(const XCHAR* pszName, HANDLE& rh) noexcept override { return m_rBelow.OpenEventAt(pszName, rh); }
    Status SetEventState(HANDLE h, bool fSignalled) noexcept override {
        return cSet-- > 0 ? m_rBelow.SetEventState(h, fSignalled) : Status::InvalidHandle;
    }
    Status CreateMutexAt(const XCHAR* pszName, HANDLE& rh) noexcept override {
        return m_rBelow.CreateMutexAt(pszName, rh);
    }
    Status ReleaseMutexOf(HANDLE h) noexcept override { return m_rBelow.ReleaseMutexOf(h); }
    Status WaitAny(const HANDLE* ph, DWORD c, DWORD dwMilliseconds, DWORD& rdwIndex, bool& rf) noexcept override {
        return cWait-- > 0 ? m_rBelow.WaitAny(ph, c, dwMilliseconds, rdwIndex, rf) : Status::InvalidHandle;
    }
    Status CloseObject(HANDLE h) noexcept override { return m_rBelow.CloseObject(h); }
    Status StartThread(unsigned (*pfn)(void*), void* pArgument, HANDLE& rh) noexcept override {
        return cStart-- > 0 ? m_rBelow.StartThread(pfn, pArgument, rh) : Status::NotEnoughMemory;
    }

private:
    EventPort& m_rBelow;
};

class DebugConfigUpdaterFailures : public DebugConfigUpdaterTest {
protected:
    DebugConfigUpdaterFailures() {
        oPlatform.pEvents = &oPort;
        ExchangePlatform(&oPlatform);
    }
    ~DebugConfigUpdaterFailures() override {
        while (oFake.events.RunningThreads() != 0)
            std::this_thread::yield();
        ExchangePlatform(&oFake.Get());
    }

    FailingEventPort oPort{oFake.events};
    Platform oPlatform{oFake.Get()};
    RecordingSink oSink{DebugCategory::Errors};
};

TEST_F(DebugConfigUpdaterFailures, WithoutItsEventsOrItsThreadItOnlyReports) {
    const struct {
        int cCreate, cStart;
        std::vector<std::string> vConditions;
    } aoRows[] = {
        {0, 99, {"(m_hDebugConfigChange != 0)", "(m_hClearLogEvent != 0)", "(m_hThreadExitEvent != 0)"}},
        {2, 99, {"(m_hThreadExitEvent != 0)"}},
        {99, 0, {"(m_hUpdateThread != 0)"}},
    };
    for (const auto& rRow : aoRows) {
        oSink.Clear();
        oPort.cCreate = rRow.cCreate;
        oPort.cStart = rRow.cStart;
        { const DebugConfigUpdater updater(oConfiguration, oHelper, hCompletion, CHANGED, CLEAR); }
        EXPECT_EQ(oSink.Texts().size(), rRow.vConditions.size());
        for (const std::string& rCondition : rRow.vConditions)
            EXPECT_EQ(oSink.Count("Failed Condition:\t" + rCondition + "\r\n"), 1u) << rCondition;
        EXPECT_FALSE(IsCompleted()) << "no thread was started";
        EXPECT_EQ(oFake.events.OpenHandles(), 1u);
    }
}

TEST_F(DebugConfigUpdaterFailures, AWaitThatFailsEndsTheThreadAfterOneReport) {
    oPort.cWait = 0;
    Gate oReported;
    oSink.onWrite = [&] { oReported.Arrive(); };
    {
        const DebugConfigUpdater updater(oConfiguration, oHelper, hCompletion, CHANGED, CLEAR);
        oReported.Wait();
        oPort.cWait = 99;
    }
    EXPECT_THAT(oSink.Texts(), ElementsAre(HasSubstr("unreachable code")));
    EXPECT_TRUE(IsCompleted());
}

TEST_F(DebugConfigUpdaterFailures, EndsThoughItCannotSayThatItHas) {
    oPort.cSet = 1;  // the one that tells the thread to leave
    { const DebugConfigUpdater updater(oConfiguration, oHelper, hCompletion, CHANGED, CLEAR); }
    EXPECT_THAT(oSink.Texts(), ElementsAre(HasSubstr("Failed Condition:\t(bSetEventRet != 0)\r\n")));
}

TEST_F(DebugConfigUpdaterTest, ReachesTheProcessesThatWait) {
    oFake.process.AddProcess(4712);
    oFake.process.AddProcess(4713);
    const auto take = [&](const CXString& kcsName) {
        HANDLE hEvent = nullptr;
        EXPECT_EQ(oFake.events.CreateEventAt(kcsName, false, false, hEvent), Status::Success);
        return hEvent;
    };
    const HANDLE ahEvents[] = {take(DebugConfigUpdater::GetConfigChangeEventName(4711)),
                               take(DebugConfigUpdater::GetConfigChangeEventName(4713)),
                               take(DebugConfigUpdater::GetClearLogEventName(4713))};
    EXPECT_EQ(DebugConfigUpdater::RequestRefresh(4712), 0u);
    EXPECT_EQ(DebugConfigUpdater::RequestRefresh(), 2u);
    EXPECT_TRUE(oFake.events.IsSet(VTEXT("Global\\KestrixDebugConfigChanged.4711")));
    EXPECT_TRUE(oFake.events.IsSet(VTEXT("Global\\KestrixDebugConfigChanged.4713")));
    EXPECT_FALSE(oFake.events.IsSet(VTEXT("Global\\KestrixDebugClearLog.4713")));
    EXPECT_EQ(DebugConfigUpdater::RequestClearLog(4713), 1u);
    EXPECT_TRUE(oFake.events.IsSet(VTEXT("Global\\KestrixDebugClearLog.4713")));
    for (const HANDLE hEvent : ahEvents)
        oFake.events.CloseObject(hEvent);
}

}  // namespace
}  // namespace vlm::test
