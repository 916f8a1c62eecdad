/// @file
/// Messages from many threads while everything round them changes, boxes that nobody answers, and calls that fail.
#include <gmock/gmock.h>

#include <atomic>
#include <set>
#include <thread>

#include "diagnostics/DebugSettingsFixture.h"
#include "support/FaultLoop.h"
#include "support/Gate.h"
#include "utilities/debuggingandexceptions/DebugConfigUpdater.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

using vlm::test::FakePlatform;
using vlm::test::FakeSessionPort;
using vlm::test::FaultLoop;
using vlm::test::FaultOutcome;
using vlm::test::Gate;
using vlm::test::ManagerTest;
using vlm::test::XString;

class DebugMessageStress : public ManagerTest {};

/// The messages of a log, each in brackets and with its line end; a line that is not whole fails the test.
std::vector<std::string> MessagesOf(const std::string& rLog) {
    std::vector<std::string> vMessages;
    for (std::size_t iBegin = 0; iBegin < rLog.size();) {
        const std::size_t iText = rLog.find('<', iBegin), iEnd = rLog.find(">\r\n", iBegin);
        if (iText >= iEnd || iEnd == std::string::npos) {
            ADD_FAILURE() << "torn: " << rLog.substr(iBegin);
            break;
        }
        vMessages.push_back(rLog.substr(iText, iEnd - iText));
        iBegin = iEnd + 3;
    }
    return vMessages;
}

TEST_F(DebugMessageStress, NoLineIsLostOrTornWhileSettingsChangeAndTheFileMoves) {
    constexpr int THREADS = 16, LINES = 150;
    DebugMessageManager& rManager = Make();
    Settings().SetMessagesEnabled(true);
    UseLogFile();
    std::atomic<bool> fEnd{false};
    int iMoves = 0;
    std::jthread changer([&] {
        for (int i = 0; !fEnd; ++i) {
            Settings().SetShowTime(i % 2 == 0);
            Settings().SetShowCategories(i % 3 == 0);
            Settings().SetLogFileName(CXString::FormatString(VTEXT("C:\\logs\\name%d.log"), i % 2));
            Settings().SetIncludedMsgCategories(CXString(i % 2 == 0 ? VTEXT("all") : VTEXT("perf")));
            if (i % 5 == 0) rManager.CloseDebugMessageOutput();
            const CXString csTo = CXString::FormatString(VTEXT("C:\\logs\\moved%d.log"), i);
            const XCHAR* const pszFrom = i % 2 == 0 ? VTEXT("C:\\logs\\name0.log") : VTEXT("C:\\logs\\name1.log");
            if (oFake.files.Move(pszFrom, csTo, false) == vlm::Status::Success) ++iMoves;
            std::this_thread::yield();
        }
    });
    {
        Gate start(THREADS);
        std::vector<std::jthread> vThreads;
        for (int iThread = 0; iThread < THREADS; ++iThread) {
            vThreads.emplace_back([&, iThread] {
                start.ArriveAndWait();
                for (int i = 0; i < LINES; ++i)
                    VLM_REPORT(DebugCategory::Perf, VTEXT("<thread %02d line %04d>"), iThread, i);
            });
        }
    }
    fEnd = true;
    changer.join();
    m_oManager.reset();

    std::vector<std::string> vFound;
    for (const XString& rName : oFake.files.FileNames()) {
        const std::vector<std::string> vMessages = MessagesOf(Log(rName));
        vFound.insert(vFound.end(), vMessages.begin(), vMessages.end());
    }
    EXPECT_EQ(vFound.size(), static_cast<std::size_t>(THREADS * LINES));
    EXPECT_EQ(std::set(vFound.begin(), vFound.end()).size(), vFound.size()) << "each once, so none is missing";
    EXPECT_GT(iMoves, 0);
    EXPECT_TRUE(oFake.desktop.DebuggerLines().empty()) << "a write on a closed handle, or another failure";
}

TEST_F(DebugMessageStress, ClearingLeavesWholeLines) {
    constexpr int THREADS = 4, LINES = 200;
    Make();
    Settings().SetMessagesEnabled(true);
    UseLogFile();
    m_oManager->StartConfigUpdater();
    const CXString csClear = DebugConfigUpdater::GetClearLogEventName(oFake.process.CurrentProcessId());
    {
        std::vector<std::jthread> vThreads;
        for (int iThread = 0; iThread < THREADS; ++iThread) {
            vThreads.emplace_back([&, iThread] {
                for (int i = 0; i < LINES; ++i) {
                    VLM_REPORT(DebugCategory::Perf, VTEXT("<thread %02d line %04d>"), iThread, i);
                    EXPECT_TRUE(i % 50 != 0 || oFake.events.SetFromOutside(csClear.View()));
                }
            });
        }
    }
    m_oManager->StopConfigUpdater();
    VLM_REPORT(DebugCategory::Perf, VTEXT("<the end>"));
    const std::vector<std::string> vMessages = MessagesOf(Log());
    EXPECT_LE(vMessages.size(), static_cast<std::size_t>(THREADS * LINES)) << "one at least was cleared";
    EXPECT_EQ(vMessages.back(), "<the end");
}

/// A desktop where boxes stay up until the gate opens.
class PatientSessions final : public FakeSessionPort {
public:
    int ShowBox(HWND hwnd, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle) noexcept override {
        ++iUp;
        answered.Wait();
        return FakeSessionPort::ShowBox(hwnd, pszText, pszCaption, dwStyle);
    }
    Gate answered;
    std::atomic<int> iUp{0};
};

TEST_F(DebugMessageStress, AServiceHasOneBoxUpHoweverManyWritesFail) {
    constexpr std::size_t MESSAGES = 1000;
    PatientSessions sessions;
    sessions.SetDesktopVisible(false);
    vlm::Platform platform = oFake.Get();
    platform.pSessions = &sessions;
    const vlm::PlatformScope scope(platform);
    Make();
    Settings().SetMessagesEnabled(true);
    UseLogFile(VTEXT("C:\\none\\debug.log"));
    const auto report = [] {
        for (std::size_t i = 0; i < MESSAGES / 2; ++i)
            VLM_REPORT(DebugCategory::Perf, VTEXT("text"));
    };
    std::jthread(report).join();
    report();
    while (sessions.iUp == 0)
        std::this_thread::yield();
    EXPECT_EQ(oFake.desktop.DebuggerLines().size(), MESSAGES);
    sessions.answered.Arrive();
    while (oFake.events.RunningThreads() > 0)
        std::this_thread::yield();
    EXPECT_EQ(sessions.Boxes().size(), 1u);
}

TEST_F(DebugMessageStress, AMessageReachesTheOutputsThatWorkWhateverFails) {
    const CXString csKey(VTEXT("TestDebugConfig")), csLog(LOG);  // the texts of the test itself are always there
    FaultLoop loop;
    loop.fnPrepare = [](FakePlatform& rFake) {
        rFake.files.AddFolder(VTEXT("C:\\logs"));
        rFake.sessions.OpenWindow(VTEXT("MfxTraceWindow"));
    };
    loop.fnRun = [&] {
        DebugClock::ChooseAnew();
        DebugMessageManager manager(csKey);
        DebugMessageConfiguration& rSettings = manager.GetConfiguration();
        rSettings.SetMessagesEnabled(true);
        rSettings.SetBeepOnError(true);
        for (const DebugSettingId eSwitch :
             {DMS_ShowFileName, DMS_ShowMethod, DMS_ShowTime, DMS_ShowContext, DMS_ShowModule, DMS_UseOutputDebugString,
              DMS_UseXDebugPad, DMS_UseMessageBox, DMS_UseLogFile}) {
            rSettings.SetSettingNumber(eSwitch, 1);
        }
        rSettings.SetPerformanceMeasurementEnabled(true);
        rSettings.SetMinimumTimeToDisplayInPerformanceOutput(0);
        rSettings.SetLogFileName(csLog);
        const LONGLONG llStart = manager.NotifyTimingScopeStarted(VLM_HERE, VTEXT("Scope"), {});
        VLM_REPORT_ERROR(DebugCategory::Perf, VTEXT("line %d"), 1);
        manager.NotifyTimingScopeEnded(VLM_HERE, VTEXT("Scope"), {}, llStart);
        manager.DecrementTimingLevel();  // one too many: a report
        manager.AddMessage(DebugCategory::Perf, VLM_HERE, VTEXT("unformatted"));
        manager.Ask(nullptr, VTEXT("text"), VTEXT("caption"), 0);
        rSettings.SetAlwaysReadConfig(true);
        VLM_REPORT(DebugCategory::Perf, VTEXT("line %d"), 2);
        // Without memory for the list of categories nothing is allowed.
        return rSettings.GetAllowedMessageCategories() ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    loop.fnCheck = [](FakePlatform& rFake, FaultOutcome eOutcome) {
        EXPECT_NE(rFake.desktop.DebuggerLines().empty(), eOutcome == FaultOutcome::Succeeded);
        EXPECT_EQ(rFake.sessions.LivingAtoms(), 0u);
    };
    const auto report = vlm::test::RunFaultLoop(loop);
    EXPECT_GT(report.ullFaults, 50u);
    DebugClock::ChooseAnew();
}

}  // namespace
