/// @file
/// The thread that picks up changed settings: what each event does, and every call of the system failing.
#include "utilities/debuggingandexceptions/DebugConfigUpdater.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "DebugSettingsFixture.h"
#include "support/Gate.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/DebugMessageHelper.h"

namespace vlm::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr const XCHAR* CHANGED = VTEXT("Local\\changed");
constexpr const XCHAR* CLEAR = VTEXT("Local\\clear");

/// Counts, and opens a gate with the next call.
class CountingHelper final : public DebugMessageHelperInterface {
public:
    void ClearTheLog() noexcept override {
        ++cCleared;
        oClearedOnce.Arrive();
    }
    void CloseLogFile() noexcept override {
        ++cClosed;
        oClosedOnce.Arrive();
    }
    std::atomic<int> cCleared{0}, cClosed{0};
    Gate oClearedOnce, oClosedOnce;
};

/// Lets so many calls of each kind through and answers a failure to the others.
class FailingEventPort final : public FakeEventPort {
public:
    std::atomic<int> cCreate{99}, cStart{99}, cWait{99}, cSet{99};

    Status CreateEventAt(const XCHAR* pszName, bool fManualReset, bool fSignalled, HANDLE& rh) noexcept override {
        return cCreate-- > 0 ? FakeEventPort::CreateEventAt(pszName, fManualReset, fSignalled, rh)
                             : Status::AccessDenied;
    }
    Status SetEventState(HANDLE h, bool fSignalled) noexcept override {
        return cSet-- > 0 ? FakeEventPort::SetEventState(h, fSignalled) : Status::InvalidHandle;
    }
    Status WaitAny(const HANDLE* ph, DWORD c, DWORD dwMilliseconds, DWORD& rdwIndex, bool& rf) noexcept override {
        return cWait-- > 0 ? FakeEventPort::WaitAny(ph, c, dwMilliseconds, rdwIndex, rf) : Status::InvalidHandle;
    }
    Status StartThread(unsigned (*pfn)(void*), void* pArgument, HANDLE& rh) noexcept override {
        return cStart-- > 0 ? FakeEventPort::StartThread(pfn, pArgument, rh) : Status::NotEnoughMemory;
    }
};

class DebugConfigUpdaterTest : public DebugSettingsFixture {
protected:
    DebugConfigUpdaterTest() {
        oPlatform.pEvents = &oPort;
        ExchangePlatform(&oPlatform);
        oPort.CreateEventAt(nullptr, true, false, hCompletion);
    }
    ~DebugConfigUpdaterTest() override {
        while (oPort.RunningThreads() != 0)
            std::this_thread::yield();
        EXPECT_EQ(oPort.OpenHandles(), 1u) << "the completion event";
        oPort.CloseObject(hCompletion);
        ExchangePlatform(&oFake.Get());
    }

    bool IsCompleted() {
        DWORD dwIndex = 0;
        bool fAbandoned = false;
        return oPort.WaitAny(&hCompletion, 1, 0, dwIndex, fAbandoned) == Status::Success;
    }

    FailingEventPort oPort;
    Platform oPlatform{oFake.Get()};
    HANDLE hCompletion = nullptr;
    DebugMessageConfiguration oConfiguration{DEBUG_SETTINGS_KEY};
    CountingHelper oHelper;
    RecordingSink oSink{DebugCategory::Errors};
};

TEST_F(DebugConfigUpdaterTest, ReadsChangedSettingsAndClosesTheLogOnlyForAnotherName) {
    Gate oRead(2);  // one call of the listener when it is put in place, one for the read
    oConfiguration.SetChangeListener([](void* pGate) noexcept { static_cast<Gate*>(pGate)->Arrive(); }, &oRead);
    {
        const DebugConfigUpdater updater(oConfiguration, oHelper, hCompletion, CHANGED, CLEAR);
        PutSwitch(VTEXT("MessagesEnabled"), 1);
        EXPECT_TRUE(oPort.SetFromOutside(CHANGED));
        oRead.Wait();
        EXPECT_TRUE(oConfiguration.IsMessagesEnabled());
        oPort.SetEventState(updater.GetDebugConfigClearLogHandle(), true);
        oHelper.oClearedOnce.Wait();
        EXPECT_EQ(oHelper.cClosed, 0);
        PutText(VTEXT("LogFileName"), VTEXT("D:\\other.log"));
        EXPECT_TRUE(oPort.SetFromOutside(CHANGED));
        oHelper.oClosedOnce.Wait();
        EXPECT_EQ(Narrow(oConfiguration.GetLogFileName().View()), "D:\\other.log");
        EXPECT_FALSE(IsCompleted());
    }
    EXPECT_TRUE(IsCompleted());
    EXPECT_EQ(oHelper.cClosed, 1);
    EXPECT_EQ(oHelper.cCleared, 1);
    oConfiguration.SetChangeListener(nullptr, nullptr);
}

TEST_F(DebugConfigUpdaterTest, WaitsForTheEventsThatItHas) {
    oPort.TakeName(CHANGED, FakeEventPort::Kind::Mutex);
    {
        const DebugConfigUpdater updater(oConfiguration, oHelper, hCompletion, CHANGED, CLEAR);
        oPort.SetFromOutside(CLEAR);
        oHelper.oClearedOnce.Wait();
    }
    EXPECT_TRUE(IsCompleted());
    EXPECT_THAT(oSink.Texts(), ElementsAre(HasSubstr("Failed Condition:\t(m_hDebugConfigChange != 0)\r\n")));
}

TEST_F(DebugConfigUpdaterTest, WithoutItsEventsOrItsThreadItOnlyReports) {
    const struct {
        int cCreate, cStart;
        std::vector<std::string> vConditions;
    } aoRows[] = {
        {0, 99, {"(m_hDebugConfigChange != 0)", "(m_hClearLogEvent != 0)", "(m_hThreadExitEvent != 0)"}},
        {2, 99, {"(m_hThreadExitEvent != 0)"}},
        {99, 0, {"(m_hUpdateThread != 0)"}},
    };
    TestDebugMessageHelper oIdle;  // does nothing, and is not asked to
    for (const auto& rRow : aoRows) {
        oSink.Clear();
        oPort.cCreate = rRow.cCreate;
        oPort.cStart = rRow.cStart;
        { const DebugConfigUpdater updater(oConfiguration, oIdle, hCompletion, CHANGED, CLEAR); }
        EXPECT_EQ(oSink.Texts().size(), rRow.vConditions.size());
        for (const std::string& rCondition : rRow.vConditions)
            EXPECT_EQ(oSink.Count("Failed Condition:\t" + rCondition + "\r\n"), 1u) << rCondition;
        EXPECT_FALSE(IsCompleted()) << "no thread was started";
    }
}

TEST_F(DebugConfigUpdaterTest, AWaitThatFailsEndsTheThreadAfterOneReport) {
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

TEST_F(DebugConfigUpdaterTest, EndsThoughItCannotSayThatItHas) {
    oPort.cSet = 1;  // the one that tells the thread to leave
    { const DebugConfigUpdater updater(oConfiguration, oHelper, hCompletion, CHANGED, CLEAR); }
    EXPECT_THAT(oSink.Texts(), ElementsAre(HasSubstr("Failed Condition:\t(bSetEventRet != 0)\r\n")));
}

TEST_F(DebugConfigUpdaterTest, ReachesTheProcessesThatWait) {
    oFake.process.AddProcess(4712);
    oFake.process.AddProcess(4713);
    HANDLE ahEvents[3] = {};
    oPort.CreateEventAt(DebugConfigUpdater::GetConfigChangeEventName(4711), false, false, ahEvents[0]);
    oPort.CreateEventAt(DebugConfigUpdater::GetConfigChangeEventName(4713), false, false, ahEvents[1]);
    oPort.CreateEventAt(DebugConfigUpdater::GetClearLogEventName(4713), false, false, ahEvents[2]);
    EXPECT_EQ(DebugConfigUpdater::RequestRefresh(4712), 0u);
    EXPECT_EQ(DebugConfigUpdater::RequestRefresh(), 2u);
    EXPECT_TRUE(oPort.IsSet(VTEXT("Global\\KestrixDebugConfigChanged.4711")));
    EXPECT_TRUE(oPort.IsSet(VTEXT("Global\\KestrixDebugConfigChanged.4713")));
    EXPECT_FALSE(oPort.IsSet(VTEXT("Global\\KestrixDebugClearLog.4713")));
    EXPECT_EQ(DebugConfigUpdater::RequestClearLog(4713), 1u);
    EXPECT_TRUE(oPort.IsSet(VTEXT("Global\\KestrixDebugClearLog.4713")));
    for (const HANDLE hEvent : ahEvents)
        oPort.CloseObject(hEvent);
}

}  // namespace
}  // namespace vlm::test
