/// @file
/// The debug message manager: filter, outputs, levels.
#include "utilities/debuggingandexceptions/DebugMessageManager.h"

#include <gmock/gmock.h>

#include <random>
#include <thread>
#include <utility>

#include "diagnostics/DebugSettingsFixture.h"
#include "support/AllocationFaults.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/EmissionGuard.h"
#include "utilities/utilitiesdll/LoaderLock.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using vlm::test::FakeIdentityPort;
using vlm::test::FakeSessionPort;
using vlm::test::ManagerTest;
using vlm::test::Narrow;

constexpr DebugMessageCategories ERRORS = DebugCategory::Errors, BEEP = DebugCategory::MsgBeep,
                                 TRACE = DebugCategory::TraceMsg, PERF = DebugCategory::Perf,
                                 REGISTRY = DebugCategory::Registry, XMSG = DebugCategory::XMsg;

class DebugMessageManagerTest : public ManagerTest {
protected:
    void MakeWithEveryOutput() {
        MakeListening();
        UseLogFile();
        Settings().SetUseXDebugPad(true);
        Settings().SetUseMessageBox(true);
        Settings().SetBeepOnError(true);
        oFake.sessions.OpenWindow(VTEXT("MfxTraceWindow"));
    }
};

TEST_F(DebugMessageManagerTest, FilterLetsPassWhatTheSettingsSayAndTheReportMaskHoldsNoneOfItBack) {
    DebugMessageManager& rManager = Make();
    std::mt19937 random(20240229);
    const auto flip = [&] { return (random() & 1) != 0; };
    const std::pair<const XCHAR*, DebugMessageCategories> LISTS[] = {{VTEXT(""), 0},
                                                                     {VTEXT("all"), ~0ULL},
                                                                     {VTEXT("errors"), ERRORS},
                                                                     {VTEXT("msgbeep"), BEEP},
                                                                     {VTEXT("xmsg,perf"), XMSG | PERF},
                                                                     {VTEXT("perf"), PERF},
                                                                     {VTEXT("errors,perf"), ERRORS | PERF},
                                                                     {VTEXT("tracemsg"), TRACE}};
    const DebugMessageCategories MESSAGES[] = {
        ERRORS, BEEP, TRACE, PERF, XMSG, 0, ERRORS | PERF, XMSG | REGISTRY, PERF | REGISTRY, TRACE | PERF};
    int iPassed = 0;
    for (int i = 0; i < 500 && !HasFailure(); ++i) {
        const bool fBeeps = flip(), fTracing = flip(), fAllRequired = flip();
        const auto& [pszIncluded, included] = LISTS[random() % 8];
        const auto& [pszExcluded, excluded] = LISTS[random() % 8];
        Settings().SetMessagesEnabled(flip());
        Settings().SetXMsgMessagesEnabled(flip());
        Settings().SetBeepOnError(fBeeps);
        Settings().SetTracingEnabled(fTracing);
        Settings().SetAllCategoriesRequired(fAllRequired);
        Settings().SetUseOutputDebugString(flip());
        Settings().SetAlwaysReadConfig((random() & 15) == 0);
        Settings().SetIncludedMsgCategories(CXString(pszIncluded));
        Settings().SetExcludedMsgCategories(CXString(pszExcluded));
        for (const DebugMessageCategories categories : MESSAGES) {
            const bool fTraced = fTracing || !(categories & TRACE);
            const DebugMessageCategories message = categories | (fBeeps && (categories & ERRORS) ? BEEP : 0);
            const DebugMessageCategories allowed = fTraced ? message & included & ~excluded : 0;
            DebugMessageCategories effective = ~0ULL;
            EXPECT_EQ(rManager.AllowsMessageWithTheseCategories(categories, effective),
                      fTraced && ((allowed & ERRORS) || allowed == message || (!fAllRequired && allowed)));
            EXPECT_EQ(effective, allowed);

            const std::size_t cBefore = DebuggerLines().size() + oFake.sessions.Beeps().size();
            rManager.Write(false, categories, VelomDebugMessage());
            if (DebuggerLines().size() + oFake.sessions.Beeps().size() == cBefore) continue;
            ++iPassed;
            EXPECT_TRUE(vlm::ReportsAllowed(categories)) << std::hex << categories;
        }
    }
    EXPECT_GT(iPassed, 100);
}

TEST_F(DebugMessageManagerTest, ASuppressedMessageStopsAtTheMaskWhichGoesWithTheManager) {
    vlm::ReportSink* const pBefore = vlm::GetReportSink();
    MakeListening();
    Settings().SetExcludedMsgCategories(CXString(VTEXT("perf")));
    EXPECT_EQ(vlm::detail::gullReportMask.load(), ~PERF);
    Settings().SetUseOutputDebugString(false);
    EXPECT_EQ(vlm::detail::gullReportMask.load(), BEEP) << "without an output a message can beep and no more";
    Settings().SetMessagesEnabled(false);
    EXPECT_EQ(vlm::detail::gullReportMask.load(), DebugCategory::None);
    Settings().SetAlwaysReadConfig(true);
    m_oManager.reset();
    EXPECT_EQ(vlm::detail::gullReportMask.load(), DebugCategory::None);
    EXPECT_EQ(vlm::GetReportSink(), pBefore);
}

TEST_F(DebugMessageManagerTest, SwitchesDecideWhichMessagesAreDealtWith) {
    DebugMessageManager& rManager = MakeListening();
    const auto shown = [&](bool fError, DebugMessageCategories categories) {
        const std::size_t cBefore = DebuggerLines().size();
        rManager.Write(fError, categories, VelomDebugMessage());
        return DebuggerLines().size() > cBefore;
    };
    Settings().SetMessagesEnabled(false);
    EXPECT_FALSE(shown(false, XMSG));
    Settings().SetXMsgMessagesEnabled(true);
    EXPECT_FALSE(shown(false, PERF));
    EXPECT_TRUE(shown(false, XMSG));
    Settings().SetMessagesEnabled(true);
    for (const DWORD dwFilter : {0u, 1u, 3u, 4u, 9u}) {
        Settings().SetSeverityLevelFilter(dwFilter);
        EXPECT_EQ(shown(false, PERF), dwFilter >= 4) << dwFilter;
        EXPECT_EQ(shown(true, ERRORS), dwFilter > 0) << dwFilter;
    }
    rManager.IncrementDisableCount();
    EXPECT_FALSE(shown(false, PERF));
    EXPECT_FALSE(rManager.Allows(PERF));
    rManager.DecrementDisableCount();
    rManager.DecrementDisableCount();
    EXPECT_TRUE(shown(false, PERF));
}

TEST_F(DebugMessageManagerTest, EachOutputGetsTheLine) {
    MakeWithEveryOutput();
    VLM_REPORT_ERROR(PERF, VTEXT("number %d"), 7);
    EXPECT_THAT(DebuggerLines(), ElementsAre("> number 7\r\n"));
    EXPECT_EQ(Narrow(oFake.sessions.Messages().at(0).text), "> number 7\r\n");
    const FakeSessionPort::Box box = oFake.sessions.Boxes().at(0);
    EXPECT_EQ(Narrow(box.text), "> number 7\r\n");
    EXPECT_EQ(Narrow(box.caption), "Velom Debug Message");
    EXPECT_EQ(box.dwStyle, 0x2010u);
    VLM_REPORT(REGISTRY, VTEXT("no error"));
    EXPECT_EQ(Log(), "> number 7\r\n> no error\r\n");
    EXPECT_THAT(oFake.sessions.Beeps(), ElementsAre(0xFFFFFFFFu));
}

TEST_F(DebugMessageManagerTest, LogFileStaysOpenUntilItIsClosedAndFollowsItsName) {
    DebugMessageManager& rManager = MakeListening();
    UseLogFile();
    VLM_REPORT(PERF, VTEXT("one"));
    EXPECT_EQ(oFake.files.OpenHandles(), 1u);
    EXPECT_EQ(oFake.files.Move(LOG, VTEXT("C:\\logs\\old.log"), false), vlm::Status::Success) << "shared in every way";
    VLM_REPORT(PERF, VTEXT("two"));
    EXPECT_EQ(Log(VTEXT("C:\\logs\\old.log")), "> one\r\n> two\r\n");
    rManager.CloseDebugMessageOutput();
    rManager.CloseDebugMessageOutput();
    EXPECT_EQ(oFake.files.OpenHandles(), 0u);
    VLM_REPORT(PERF, VTEXT("three"));
    EXPECT_EQ(Log(), "> three\r\n");
    m_oManager.reset();
    EXPECT_EQ(oFake.TakenResources(), 0u);

    HANDLE hFile = DebugMessageHelper::ClosedFile();
    DebugMessageHelper helper(hFile);
    helper.ClearTheLog();
    helper.CloseLogFile();
    vlm::FilePort::OpenOptions options;
    options.eAccess = vlm::FilePort::Access::Write;
    ASSERT_EQ(oFake.files.Open(LOG, options, hFile), vlm::Status::Success);
    helper.ClearTheLog();
    EXPECT_EQ(Log(), "");
    helper.CloseLogFile();
    EXPECT_EQ(hFile, DebugMessageHelper::ClosedFile());
}

TEST_F(DebugMessageManagerTest, AnUnwritableLogIsToldOncePerMessage) {
    MakeListening();
    UseLogFile(VTEXT("C:\\none\\debug.log"));
    Settings().SetUseOutputDebugString(false);
    Settings().SetIncludedMsgCategories(CXString(VTEXT("perf")));  // not the failures for want of memory
    VLM_REPORT(PERF, VTEXT("one"));
    {
        const vlm::test::AllocationFaults oNoMemory(1, true);
        VLM_REPORT(PERF, VTEXT("two"));
    }
    const std::vector<std::string> vLines = DebuggerLines();
    ASSERT_EQ(vLines.size(), 2u);
    EXPECT_THAT(vLines[1], StartsWith("CreateFile(C:\\none\\debug.log) failed in "
                                      "DebugMessageManager::OutputDebugMessageString(). "));
    EXPECT_EQ(vLines[0], vLines[1]);
    EXPECT_EQ(Narrow(oFake.sessions.Boxes().at(1).text), vLines[1]);

    Settings().SetLogFileName(CXString(LOG));
    oFake.files.LimitSpace(12);
    VLM_REPORT(PERF, VTEXT("three"));
    VLM_REPORT(PERF, VTEXT("four"));
    EXPECT_EQ(Log(), "> three\r\n");
    EXPECT_THAT(DebuggerLines().at(2),
                StartsWith("WriteFile() failed in DebugMessageManager::OutputDebugMessageString(). It returned FALSE "
                           "and wrote 0 bytes (wanted 8). "));
}

TEST_F(DebugMessageManagerTest, OfTheLocalSystemOpensPlainFilesOnly) {
    oFake.files.AddFile(LOG, {});
    oFake.files.SetFacts(LOG, {.cLinks = 2, .fDisk = true, .fLocal = true});
    for (const bool fSystem : {true, false}) {
        oFake.identity.SetProcessIdentity(
            FakeIdentityPort::MakeIdentity(fSystem ? VTEXT("S-1-5-18") : VTEXT("S-1-5-21-1-2-3-1001")));
        MakeListening();
        UseLogFile();
        VLM_REPORT(PERF, VTEXT("line"));
        EXPECT_EQ(Log(), fSystem ? "" : "> line\r\n");
        EXPECT_EQ(oFake.sessions.Boxes().size(), 1u) << "of the failure";
    }
}

TEST_F(DebugMessageManagerTest, WhileAThreadEmitsItsFurtherMessagesAreDropped) {
    DebugMessageManager& rManager = MakeListening();
    {
        const vlm::EmissionScope scope;
        EXPECT_FALSE(rManager.Allows(PERF));
        VLM_REPORT(PERF, VTEXT("inner"));
        rManager.Write(false, PERF, VelomDebugMessage());
        std::jthread([] { VLM_REPORT(PERF, VTEXT("other thread")); }).join();
    }
    VLM_REPORT(PERF, VTEXT("afterwards"));
    EXPECT_THAT(DebuggerLines(), ElementsAre("> [2nd Thrd] other thread\r\n", "> afterwards\r\n"));
}

TEST_F(DebugMessageManagerTest, UnderTheLoaderLockThereIsNeitherBoxNorViewer) {
    MakeWithEveryOutput();
    {
        const vlm::LoaderLockScope loader;
        VLM_REPORT_ERROR(PERF, VTEXT("loading"));
        Settings().SetLogFileName(CXString(VTEXT("C:\\none\\debug.log")));
        m_oManager->CloseDebugMessageOutput();
        VLM_REPORT(PERF, VTEXT("no log"));
    }
    EXPECT_THAT(DebuggerLines(),
                ElementsAre("> loading\r\n", "> no log\r\n", StartsWith("CreateFile(C:\\none\\debug.log) failed")));
    EXPECT_THAT(oFake.sessions.Boxes(), IsEmpty());
    EXPECT_THAT(oFake.sessions.Messages(), IsEmpty());
    EXPECT_THAT(oFake.sessions.Beeps(), IsEmpty());
    EXPECT_EQ(Log(), "> loading\r\n");
}

TEST_F(DebugMessageManagerTest, WhereTheLibraryStaysTheUpdaterStartsWithTheFirstMessage) {
    DebugMessageManager& rManager = Make();
    for (const bool fStays : {false, true}) {
        vlm::NoteLoadingEnded(fStays);
        rManager.NoteLoaded();
        VLM_REPORT(PERF, VTEXT("suppressed"));
        EXPECT_EQ(oFake.events.RunningThreads(), fStays ? 1u : 0u);
    }
    vlm::NoteLoadingEnded(false);
    rManager.StopConfigUpdater();
    while (oFake.events.RunningThreads() != 0)
        std::this_thread::yield();
}

TEST_F(DebugMessageManagerTest, LevelsBelongToTheBuildingThread) {
    DebugMessageManager& rManager = MakeListening();
    rManager.IncrementIndentLevel();
    std::jthread([&] {
        rManager.IncrementIndentLevel();
        rManager.DecrementIndentLevel();
        rManager.DecrementIndentLevel();
        rManager.IncrementDisableCount();
        rManager.DecrementTimingLevel();
    }).join();
    VLM_REPORT(PERF, VTEXT("in"));
    rManager.DecrementIndentLevel();
    rManager.DecrementIndentLevel();
    VLM_REPORT(PERF, VTEXT("out"));
    Settings().SetShowMethod(true);
    Settings().SetMinMethodWidth(1);
    Settings().SetMaxMethodWidth(60);
    rManager.DecrementTimingLevel();
    EXPECT_THAT(DebuggerLines(),
                ElementsAre(">    in\r\n", "> out\r\n",
                            "DebugMessageManager::DecrementTimingLevel()> Attempting to set the timing message indent "
                            "level below zero! There must be a mismatch of indent macro calls.\r\n"));
}

}  // namespace
