/// @file
/// Messages from many threads while everything round them changes, boxes that nobody answers, and calls that fail.
#include <atomic>
#include <map>
#include <thread>

#include "diagnostics/ManagerFixture.h"
#include "platform/EventPort.h"
#include "support/FaultLoop.h"
#include "support/Gate.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"

namespace {

using ::testing::StartsWith;
using vlm::PlatformScope;
using vlm::test::FakePlatform;
using vlm::test::FakeSessionPort;
using vlm::test::FaultLoop;
using vlm::test::FaultOutcome;
using vlm::test::Gate;
using vlm::test::ManagerTest;
using vlm::test::Narrow;
using vlm::test::XString;

class DebugMessageStress : public ManagerTest {};

/// The lines of a log, without their ends; a line that is not whole fails the test.
std::vector<std::string> LinesOf(const std::string& rLog) {
    std::vector<std::string> vLines;
    for (std::size_t iBegin = 0; iBegin < rLog.size();) {
        const std::size_t iEnd = rLog.find("\r\n", iBegin);
        EXPECT_NE(iEnd, std::string::npos) << "a torn line at the end";
        if (iEnd == std::string::npos) break;
        vLines.push_back(rLog.substr(iBegin, iEnd - iBegin));
        iBegin = iEnd + 2;
    }
    return vLines;
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
            const XString from = i % 2 == 0 ? VTEXT("C:\\logs\\name0.log") : VTEXT("C:\\logs\\name1.log");
            const XString to(CXString::FormatString(VTEXT("C:\\logs\\moved%d.log"), i).View());
            if (m_oFake.files.Move(from.c_str(), to.c_str(), false) == vlm::Status::Success) ++iMoves;
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

    std::map<std::string, int> mapLines;
    for (const XString& rName : m_oFake.files.FileNames()) {
        for (const std::string& rLine : LinesOf(Log(rName))) {
            const std::size_t iText = rLine.find('<');
            ASSERT_NE(iText, std::string::npos) << rLine;
            ++mapLines[rLine.substr(iText)];
        }
    }
    EXPECT_EQ(mapLines.size(), static_cast<std::size_t>(THREADS * LINES)) << "torn lines are lines, too";
    for (int iThread = 0; iThread < THREADS; ++iThread) {
        for (int i = 0; i < LINES; ++i) {
            const CXString csLine = CXString::FormatString(VTEXT("<thread %02d line %04d>"), iThread, i);
            EXPECT_EQ(mapLines[Narrow(csLine.View())], 1) << iThread << " " << i;
        }
    }
    EXPECT_GT(iMoves, 0);
    EXPECT_TRUE(m_oFake.desktop.DebuggerLines().empty()) << "a write on a closed handle, or another failure";
}

TEST_F(DebugMessageStress, ClearingLeavesWholeLines) {
    constexpr int THREADS = 4, LINES = 200;
    Make();
    Settings().SetMessagesEnabled(true);
    UseLogFile();
    m_oManager->StartConfigUpdater();
    const DWORD dwProcess = m_oFake.process.CurrentProcessId();
    const CXString csClear = CXString::FormatString(VTEXT("Global\\KestrixDebugClearLog.%lu"), dwProcess);
    {
        std::vector<std::jthread> vThreads;
        for (int iThread = 0; iThread < THREADS; ++iThread) {
            vThreads.emplace_back([&, iThread] {
                for (int i = 0; i < LINES; ++i) {
                    VLM_REPORT(DebugCategory::Perf, VTEXT("<thread %02d line %04d>"), iThread, i);
                    if (i % 50 == 0) {
                        EXPECT_TRUE(m_oFake.events.SetFromOutside(csClear.View()));
                    }
                }
            });
        }
    }
    VLM_REPORT(DebugCategory::Perf, VTEXT("<the end>"));
    m_oManager->StopConfigUpdater();
    for (const std::string& rLine : LinesOf(Log())) {
        EXPECT_THAT(rLine, ::testing::AnyOf(StartsWith("> <"), StartsWith("> [2nd Thrd] <")));
        EXPECT_THAT(rLine, ::testing::EndsWith(">"));
    }
    EXPECT_EQ(m_oFake.events.RunningThreads(), 0u);
}

/// A desktop where boxes stay up until the gate opens.
class PatientSessions final : public vlm::SessionPort {
public:
    explicit PatientSessions(vlm::SessionPort& rBelow) : m_rBelow(rBelow) {}
    int ShowBox(HWND hwnd, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle) noexcept override {
        ++iUp;
        answered.Wait();
        return m_rBelow.ShowBox(hwnd, pszText, pszCaption, dwStyle);
    }
    bool IsDesktopVisible() noexcept override { return m_rBelow.IsDesktopVisible(); }
    void Beep(DWORD dwKind) noexcept override { m_rBelow.Beep(dwKind); }
    vlm::Status EnumerateSessions(Session* pSessions, DWORD& rcSessions) noexcept override {
        return m_rBelow.EnumerateSessions(pSessions, rcSessions);
    }
    vlm::Status ShowBoxInSession(DWORD dwSession, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle,
                                 int& riAnswer) noexcept override {
        return m_rBelow.ShowBoxInSession(dwSession, pszText, pszCaption, dwStyle, riAnswer);
    }
    HWND FindWindowOfClass(const XCHAR* pszClass) noexcept override { return m_rBelow.FindWindowOfClass(pszClass); }
    UINT RegisterMessage(const XCHAR* pszName) noexcept override { return m_rBelow.RegisterMessage(pszName); }
    vlm::Status PostToWindow(HWND hwnd, UINT uMessage, WORD wAtom) noexcept override {
        return m_rBelow.PostToWindow(hwnd, uMessage, wAtom);
    }
    vlm::Status SendToWindow(HWND hwnd, UINT uMessage, WORD wAtom, DWORD dwMilliseconds) noexcept override {
        return m_rBelow.SendToWindow(hwnd, uMessage, wAtom, dwMilliseconds);
    }
    WORD AddGlobalAtom(const XCHAR* pszText) noexcept override { return m_rBelow.AddGlobalAtom(pszText); }
    void DeleteGlobalAtom(WORD wAtom) noexcept override { m_rBelow.DeleteGlobalAtom(wAtom); }

    Gate answered;
    std::atomic<int> iUp{0};

private:
    vlm::SessionPort& m_rBelow;
};

TEST_F(DebugMessageStress, AServiceHasOneBoxUpHoweverManyWritesFail) {
    constexpr int MESSAGES = 1000;
    m_oFake.sessions.SetDesktopVisible(false);
    PatientSessions sessions(m_oFake.sessions);
    vlm::Platform platform = m_oFake.Get();
    platform.pSessions = &sessions;
    const PlatformScope scope(platform);
    Make();
    Settings().SetMessagesEnabled(true);
    Settings().SetUseLogFile(true);
    Settings().SetLogFileName(CXString(VTEXT("C:\\none\\debug.log")));
    std::jthread([] {
        for (int i = 0; i < MESSAGES / 2; ++i)
            VLM_REPORT(DebugCategory::Perf, VTEXT("thread"));
    }).join();
    for (int i = 0; i < MESSAGES / 2; ++i)
        VLM_REPORT(DebugCategory::Perf, VTEXT("main"));
    while (sessions.iUp == 0)
        std::this_thread::yield();
    EXPECT_EQ(sessions.iUp, 1);
    EXPECT_EQ(m_oFake.desktop.DebuggerLines().size(), static_cast<std::size_t>(MESSAGES));
    sessions.answered.Arrive();
    while (m_oFake.events.RunningThreads() > 0)
        std::this_thread::yield();
    EXPECT_EQ(m_oFake.sessions.Boxes().size(), 1u);
}

TEST_F(DebugMessageStress, AMessageReachesTheOutputsThatWorkWhateverFails) {
    const CXString csKey(VTEXT("TestDebugConfig")), csLog(LOG);  // the texts of the test itself are always there
    FaultLoop loop;
    loop.fnPrepare = [](FakePlatform& rFake) {
        rFake.files.AddFolder(VTEXT("C:\\logs"));
        rFake.files.Delete(LOG);
        if (rFake.sessions.FindWindowOfClass(VTEXT("MfxTraceWindow")) == nullptr) {
            rFake.sessions.OpenWindow(VTEXT("MfxTraceWindow"));
        }
    };
    loop.fnRun = [&] {
        DebugClock::ChooseAnew();
        DebugMessageManager manager(csKey);
        DebugMessageConfiguration& rSettings = manager.GetConfiguration();
        rSettings.SetMessagesEnabled(true);
        rSettings.SetBeepOnError(true);
        for (int i = DMS_SeverityLevelFilter; i < DMS_CapValEnableValidation; ++i) {
            if (DEBUG_SETTINGS[static_cast<std::size_t>(i)].eKind == DebugSettingKind::Switch) {
                rSettings.SetSettingNumber(static_cast<DebugSettingId>(i), 1);
            }
        }
        rSettings.SetAllCategoriesRequired(false);
        rSettings.SetPerformanceMeasurementEnabled(true);
        rSettings.SetLogFileName(csLog);
        const LONGLONG llStart = manager.NotifyTimingScopeStarted(VLM_HERE, VTEXT("Scope"), {});
        VLM_REPORT_ERROR(DebugCategory::Perf, VTEXT("line %d"), 1);
        manager.NotifyTimingScopeEnded(VLM_HERE, VTEXT("Scope"), {}, llStart);
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
