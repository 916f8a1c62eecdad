/// @file
/// The operations of the diagnostics with every request for memory and to the system failing: none throws, and what
/// each answers then is what its header says.
#include <gmock/gmock.h>

#include <thread>

#include "diagnostics/DebugSettingsFixture.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/DebugConfigUpdater.h"
#include "utilities/debuggingandexceptions/DebugMessageCategoryHelper.h"
#include "utilities/utilitiesdll/VelomUtilities_DebugLog.h"

namespace vlm::test {
namespace {

constexpr const XCHAR* LOG = VTEXT("C:\\debug.log");

FaultOutcome SucceededIf(bool fDone) {
    return fDone ? FaultOutcome::Succeeded : FaultOutcome::Failed;
}

class DiagnosticsFaults : public testing::Test {
protected:
    DiagnosticsFaults() {
        m_oLoop.fnPrepare = [this](FakePlatform& rFake) { Prepare(rFake); };
        m_oLoop.fnCheck = [this](FakePlatform&, FaultOutcome) { EXPECT_TRUE(m_fKept); };
        m_csLocked.LockBuffer();
    }

    void Prepare(FakePlatform& rFake) {
        m_pFake = &rFake;
        DebugClock::ChooseAnew();
        rFake.process.AddProcess(4712);
        rFake.events.CreateEventAt(DebugConfigUpdater::GetConfigChangeEventName(4712), false, false, m_hEvent);
        rFake.events.CreateEventAt(DebugConfigUpdater::GetClearLogEventName(4712), false, false, m_hEvent);
        rFake.registry.AddText(DEBUG_KEY, VTEXT("LogFileName"), LOG);
        rFake.files.AddFile(LOG, {1, 2, 3});
        rFake.sessions.OpenWindow(VTEXT("MfxTraceWindow"));
    }
    /// What holds whatever fails.
    void Keep(bool fHolds) { m_fKept = m_fKept && fHolds; }

    FaultLoop m_oLoop;
    FakePlatform* m_pFake = nullptr;
    HANDLE m_hEvent = nullptr;
    // The texts of the test itself are always there.
    const CXString m_csNoKey{VTEXT("TestDebugConfig")}, m_csLog{LOG}, m_csPerf{VTEXT("perf")};
    const CXString m_csLong{VTEXT('x'), 600};
    CXString m_csLocked{VTEXT("copies of it take memory")};
    bool m_fKept = true;
};

TEST_F(DiagnosticsFaults, EachAnswersItsNeutralValue) {
    const RecordingSink oSink(DebugCategory::Errors);
    const FaultRow ROWS[] = {
        {"asking processes",
         [&] {
             const std::size_t cRefreshed = DebugConfigUpdater::RequestRefresh();
             const std::size_t cCleared = DebugConfigUpdater::RequestClearLog(4712);
             Keep(cRefreshed <= 1 && cCleared <= 1);
             return SucceededIf(cRefreshed == 1 && cCleared == 1);
         }},
        {"name of the log file",
         [&] {
             const CXString csName = VelomUtilities::GetDebugLogFileName();
             Keep(csName.IsEmpty() || csName == m_csLog);
             return SucceededIf(csName == m_csLog);
         }},
        {"the open log file",
         [&] {
             HANDLE hFile = DebugMessageHelper::ClosedFile();
             FilePort::OpenOptions options;
             options.eAccess = FilePort::Access::Write;
             m_pFake->files.Open(LOG, options, hFile);
             DebugMessageHelper helper(hFile);
             helper.ClearTheLog();
             helper.CloseLogFile();
             const AllocationExempt oExempt;
             const std::size_t cBytes = m_pFake->files.Contents(LOG)->size();
             Keep((cBytes == 0 || cBytes == 3) && hFile == DebugMessageHelper::ClosedFile());
             return SucceededIf(cBytes == 0);
         }},
        {"categories",
         [&] {
             Keep(DebugMessageCategoryHelper::GetCategoryString(3).IsEmpty());
             const DebugMessageCategories parsed = DebugMessageConfiguration::ParseCategoryString(m_csPerf);
             Keep(parsed == DebugCategory::Perf || parsed == DebugCategory::None);
             return SucceededIf(parsed == DebugCategory::Perf);
         }},
        {"settings",
         [&] {
             DebugMessageConfiguration configuration(m_csNoKey);
             LONGLONG llTime = -1;
             Keep(!configuration.GetMeasuredTimeAtLowerLevels(-1, llTime) && llTime == -1);
             configuration.SetLastOperationTimeAndAccountedForTime(5, 6, 3);
             bool fWarned = false;
             const LONGLONG llLast = configuration.GetTimeOfLastOperationAtLevel(fWarned, 3);
             Keep(llLast == 5 ? configuration.GetAccountedForTimeAtLevel(3) == 6 : llLast == 0);
             configuration.SetLogFileName(m_csLog);
             configuration.SetLogFileName(m_csLocked);
             const CXString csName = configuration.GetLogFileName();
             Keep(csName == m_csLog || csName == m_csLocked);
             configuration.SetIncludedMsgCategories(m_csPerf);
             configuration.SaveConfigurationInformation();  // there is no key: a report
             return SucceededIf(llLast == 5 && csName == m_csLocked &&
                                configuration.GetAllowedMessageCategories() == DebugCategory::Perf);
         }},
        {"viewer",
         [&] {
             XDebugPadManager pad;
             const int iSent = pad.AppendDebugMsg(m_csLong);
             Keep(iSent >= 0 && iSent <= 3);
             return SucceededIf(iSent == 3);
         }},
    };
    RunFaultRows(ROWS, m_oLoop);
}

TEST_F(DiagnosticsFaults, TheUpdaterOfTheSettingsEnds) {
    const CXString csChanged = DebugConfigUpdater::GetConfigChangeEventName(4711);
    m_oLoop.vModes = {FaultMode::FailOnce, FaultMode::ShortOnce};
    m_oLoop.fnRun = [&] {
        DebugMessageManager manager(m_csNoKey);
        manager.StartConfigUpdater();
        {
            const AllocationExempt oExempt;
            const XString strKey = XString(VTEXT("HKEY_LOCAL_MACHINE\\Software\\Velom\\")) + m_csNoKey.GetLpcwstr();
            m_pFake->registry.AddDword(strKey, VTEXT("MaxMessageWidth"), 77);
            m_pFake->registry.Deny(strKey, RegistryPort::SET_VALUE);
            // This one is seen before the one that ends the thread.
            m_pFake->events.SetFromOutside(csChanged.View());
        }
        manager.StopConfigUpdater();
        while (m_pFake->events.RunningThreads() != 0)
            std::this_thread::yield();
        return SucceededIf(manager.GetConfiguration().GetMaxMessageWidth() == 77);
    };
    EXPECT_GT(RunFaultLoop(m_oLoop).ullFaults, 100u);
}

TEST_F(DiagnosticsFaults, TheUpdaterStartsLaterWhenThereWasNoMemoryForIt) {
    FakePlatform fake;
    const PlatformScope scope(fake.Get());
    DebugMessageManager manager(m_csNoKey);
    {
        const AllocationFaults oNoMemory(1, true);
        manager.StartConfigUpdater();
    }
    EXPECT_EQ(fake.events.RunningThreads(), AllocationFaults::IN_FORCE ? 0u : 1u);
    manager.StartConfigUpdater();
    EXPECT_EQ(fake.events.RunningThreads(), 1u);
    manager.StopConfigUpdater();
    while (fake.events.RunningThreads() != 0)
        std::this_thread::yield();
}

}  // namespace
}  // namespace vlm::test
