/// @file
/// The debug message manager: filter, outputs, levels.
#include "utilities/debuggingandexceptions/DebugMessageManager.h"

#include <random>
#include <thread>

#include "diagnostics/ManagerFixture.h"
#include "support/AllocationFaults.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/EmissionGuard.h"
#include "utilities/utilitiesdll/LoaderLock.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using vlm::test::FakeIdentityPort;
using vlm::test::FakeSessionPort;
using vlm::test::ManagerTest;
using vlm::test::Narrow;
using vlm::test::XString;

constexpr DebugMessageCategories ERRORS = DebugCategory::Errors, BEEP = DebugCategory::MsgBeep,
                                 TRACE = DebugCategory::TraceMsg, PERF = DebugCategory::Perf,
                                 REGISTRY = DebugCategory::Registry, XMSG = DebugCategory::XMsg;

class DebugMessageManagerTest : public ManagerTest {};

TEST_F(DebugMessageManagerTest, FilterLetsPassWhatTheSettingsSay) {
    const struct {
        const char* pszCase;
        const XCHAR* pszIncluded;
        bool fTracing, fBeep, fAllRequired;
        DebugMessageCategories message;
        bool fAllowed;
        DebugMessageCategories effective;
    } aoRows[] = {
        {"one allowed", VTEXT("perf"), true, false, false, PERF, true, PERF},
        {"none allowed", VTEXT("perf"), true, false, false, REGISTRY, false, 0},
        {"one of two", VTEXT("perf"), true, false, false, PERF | REGISTRY, true, PERF},
        {"one of two, all required", VTEXT("perf"), true, false, true, PERF | REGISTRY, false, PERF},
        {"two of two, all required", VTEXT("perf,registry"), true, false, true, PERF | REGISTRY, true, PERF | REGISTRY},
        {"an error, all required", VTEXT("errors"), true, false, true, ERRORS | REGISTRY, true, ERRORS},
        {"an error that is not allowed", VTEXT("registry"), true, false, true, ERRORS | REGISTRY, false, REGISTRY},
        {"tracing on", VTEXT("all"), true, false, false, TRACE | PERF, true, TRACE | PERF},
        {"tracing off", VTEXT("all"), false, false, false, TRACE | PERF, false, 0},
        {"an error beeps", VTEXT("all"), true, true, true, ERRORS, true, ERRORS | BEEP},
        {"beep alone", VTEXT("msgbeep"), true, true, false, ERRORS, true, BEEP},
        {"no error, no beep", VTEXT("all"), true, true, false, PERF, true, PERF},
        {"nothing included", VTEXT(""), true, false, false, PERF, false, 0},
        {"no categories", VTEXT(""), true, false, true, 0, true, 0},
    };
    DebugMessageManager& rManager = MakeListening();
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszCase);
        Settings().SetIncludedMsgCategories(CXString(rRow.pszIncluded));
        Settings().SetTracingEnabled(rRow.fTracing);
        Settings().SetBeepOnError(rRow.fBeep);
        Settings().SetAllCategoriesRequired(rRow.fAllRequired);
        DebugMessageCategories effective = ~0ULL;
        EXPECT_EQ(rManager.AllowsMessageWithTheseCategories(rRow.message, effective), rRow.fAllowed);
        EXPECT_EQ(effective, rRow.effective);
        EXPECT_EQ(rManager.Allows(rRow.message), rRow.fAllowed);
    }
}

TEST_F(DebugMessageManagerTest, ReportMaskNeverHoldsBackWhatTheFilterWouldLetPass) {
    DebugMessageManager& rManager = Make();
    std::mt19937 random(20240229);
    const auto flip = [&] { return (random() & 1) != 0; };
    const XCHAR* const apszLists[] = {VTEXT(""),          VTEXT("all"),  VTEXT("errors"),      VTEXT("msgbeep"),
                                      VTEXT("xmsg,perf"), VTEXT("perf"), VTEXT("errors,perf"), VTEXT("tracemsg")};
    const DebugMessageCategories aoMessages[] = {ERRORS, BEEP, TRACE, PERF, XMSG, ERRORS | PERF, XMSG | REGISTRY};
    int iPassed = 0;
    for (int i = 0; i < 500; ++i) {
        Settings().SetMessagesEnabled(flip());
        Settings().SetXMsgMessagesEnabled(flip());
        Settings().SetBeepOnError(flip());
        Settings().SetTracingEnabled(flip());
        Settings().SetAllCategoriesRequired(flip());
        Settings().SetUseOutputDebugString(flip());
        Settings().SetAlwaysReadConfig((random() & 15) == 0);
        Settings().SetIncludedMsgCategories(CXString(apszLists[random() % 8]));
        Settings().SetExcludedMsgCategories(CXString(apszLists[random() % 8]));
        for (const DebugMessageCategories categories : aoMessages) {
            const std::size_t cBefore = DebuggerLines().size() + m_oFake.sessions.Beeps().size();
            rManager.Write(false, categories, VelomDebugMessage());
            if (DebuggerLines().size() + m_oFake.sessions.Beeps().size() == cBefore) continue;
            ++iPassed;
            EXPECT_TRUE(vlm::ReportsAllowed(categories)) << std::hex << categories;
        }
        if (HasFailure()) break;
    }
    EXPECT_GT(iPassed, 100);
}

TEST_F(DebugMessageManagerTest, ASuppressedMessageStopsAtTheMask) {
    Make();
    EXPECT_EQ(vlm::detail::gullReportMask.load(), DebugCategory::None);
    Settings().SetMessagesEnabled(true);
    EXPECT_EQ(vlm::detail::gullReportMask.load(), BEEP) << "without an output a message can beep and no more";
    Settings().SetUseOutputDebugString(true);
    Settings().SetExcludedMsgCategories(CXString(VTEXT("perf")));
    EXPECT_EQ(vlm::detail::gullReportMask.load(), ~PERF);
    bool fEvaluated = false;
    VLM_REPORT(PERF, VTEXT("%d"), [&] {
        fEvaluated = true;
        return 1;
    }());
    EXPECT_FALSE(fEvaluated);
    m_oManager.reset();
    EXPECT_EQ(vlm::detail::gullReportMask.load(), DebugCategory::None);
}

TEST_F(DebugMessageManagerTest, SwitchesDecideWhichMessagesAreDealtWith) {
    DebugMessageManager& rManager = MakeListening();
    const auto shown = [&](bool fError, DebugMessageCategories categories) {
        const std::size_t cBefore = DebuggerLines().size();
        rManager.Write(fError, categories, VelomDebugMessage());
        return DebuggerLines().size() > cBefore;
    };
    EXPECT_TRUE(shown(false, PERF));
    Settings().SetMessagesEnabled(false);
    EXPECT_FALSE(shown(false, PERF));
    EXPECT_FALSE(shown(false, XMSG));
    Settings().SetXMsgMessagesEnabled(true);
    EXPECT_FALSE(shown(false, PERF));
    EXPECT_TRUE(shown(false, XMSG));
    Settings().SetMessagesEnabled(true);
    for (const auto& [dwFilter, fMessages, fErrors] :
         {std::tuple{0u, false, false}, std::tuple{1u, false, true}, std::tuple{3u, false, true},
          std::tuple{4u, true, true}, std::tuple{9u, true, true}}) {
        Settings().SetSeverityLevelFilter(dwFilter);
        EXPECT_EQ(shown(false, PERF), fMessages) << dwFilter;
        EXPECT_EQ(shown(true, ERRORS), fErrors) << dwFilter;
    }
    Settings().SetSeverityLevelFilter(4);
    rManager.IncrementDisableCount();
    EXPECT_FALSE(shown(false, PERF));
    EXPECT_FALSE(rManager.Allows(PERF));
    rManager.DecrementDisableCount();
    rManager.DecrementDisableCount();
    EXPECT_TRUE(shown(false, PERF));
}

TEST_F(DebugMessageManagerTest, OutputsComeInTheirOrder) {
    MakeListening();
    UseLogFile();
    Settings().SetUseXDebugPad(true);
    Settings().SetUseMessageBox(true);
    Settings().SetBeepOnError(true);
    m_oFake.sessions.OpenWindow(VTEXT("MfxTraceWindow"));
    VLM_REPORT_ERROR(PERF, VTEXT("number %d"), 7);
    EXPECT_THAT(DebuggerLines(), ElementsAre("> number 7\r\n"));
    ASSERT_EQ(m_oFake.sessions.Messages().size(), 1u);
    EXPECT_EQ(Narrow(m_oFake.sessions.Messages()[0].text), "> number 7\r\n");
    ASSERT_EQ(m_oFake.sessions.Boxes().size(), 1u);
    const FakeSessionPort::Box box = m_oFake.sessions.Boxes()[0];
    EXPECT_EQ(Narrow(box.text), "> number 7\r\n");
    EXPECT_EQ(Narrow(box.caption), "Velom Debug Message");
    EXPECT_EQ(box.dwStyle, 0x2010u);
    EXPECT_EQ(Log(), "> number 7\r\n");
    EXPECT_THAT(m_oFake.sessions.Beeps(), ElementsAre(0xFFFFFFFFu));
    VLM_REPORT(REGISTRY, VTEXT("no error"));
    EXPECT_EQ(Log(), "> number 7\r\n> no error\r\n");
    EXPECT_EQ(m_oFake.sessions.Beeps().size(), 1u);
}

TEST_F(DebugMessageManagerTest, LogFileStaysOpenUntilItIsClosedAndFollowsItsName) {
    DebugMessageManager& rManager = MakeListening();
    UseLogFile();
    VLM_REPORT(PERF, VTEXT("one"));
    VLM_REPORT(PERF, VTEXT("two"));
    EXPECT_EQ(m_oFake.files.OpenHandles(), 1u);
    EXPECT_EQ(m_oFake.files.Move(LOG, VTEXT("C:\\logs\\old.log"), false), vlm::Status::Success)
        << "shared in every way";
    VLM_REPORT(PERF, VTEXT("three"));
    EXPECT_EQ(Log(VTEXT("C:\\logs\\old.log")), "> one\r\n> two\r\n> three\r\n");
    rManager.CloseDebugMessageOutput();
    rManager.CloseDebugMessageOutput();
    EXPECT_EQ(m_oFake.files.OpenHandles(), 0u);
    VLM_REPORT(PERF, VTEXT("four"));
    EXPECT_EQ(Log(), "> four\r\n");

    HANDLE hFile = DebugMessageHelper::ClosedFile();
    DebugMessageHelper helper(hFile);
    helper.ClearTheLog();
    helper.CloseLogFile();
    vlm::FilePort::OpenOptions options;
    options.eAccess = vlm::FilePort::Access::Write;
    options.dwShare = 7;
    ASSERT_EQ(m_oFake.files.Open(LOG, options, hFile), vlm::Status::Success);
    helper.ClearTheLog();
    EXPECT_EQ(Log(), "");
    helper.CloseLogFile();
    EXPECT_EQ(hFile, DebugMessageHelper::ClosedFile());
    VLM_REPORT(PERF, VTEXT("five"));
    EXPECT_EQ(Log(), "> five\r\n");
    m_oManager.reset();
    EXPECT_EQ(m_oFake.TakenResources(), 0u);
}

TEST_F(DebugMessageManagerTest, AnUnwritableLogIsToldOncePerMessage) {
    MakeListening();
    UseLogFile();
    Settings().SetUseOutputDebugString(false);
    Settings().SetLogFileName(CXString(VTEXT("C:\\none\\debug.log")));
    VLM_REPORT(PERF, VTEXT("one"));
    {
        const vlm::test::AllocationFaults oNoMemory(1, true);
        VLM_REPORT(PERF, VTEXT("two"));
    }
    const std::vector<std::string> vLines = DebuggerLines();
    ASSERT_EQ(vLines.size(), 2u);
    EXPECT_THAT(vLines[1], StartsWith("CreateFile(C:\\none\\debug.log) failed in "
                                      "DebugMessageManager::OutputDebugMessageString(). "));
    EXPECT_EQ(BoxTexts(), vLines);
    EXPECT_EQ(Narrow(m_oFake.sessions.Boxes()[1].caption), "Debug Message Manager Error");
    EXPECT_EQ(m_oFake.sessions.Boxes()[1].dwStyle, 0x10u);

    Settings().SetLogFileName(CXString(LOG));
    m_oFake.files.LimitSpace(12);
    VLM_REPORT(PERF, VTEXT("three"));
    VLM_REPORT(PERF, VTEXT("four"));
    EXPECT_EQ(Log(), "> three\r\n");
    ASSERT_EQ(DebuggerLines().size(), 3u);
    EXPECT_THAT(DebuggerLines()[2],
                StartsWith("WriteFile() failed in DebugMessageManager::OutputDebugMessageString(). It returned FALSE "
                           "and wrote 0 bytes (wanted 8). "));
}

TEST_F(DebugMessageManagerTest, OfTheLocalSystemOpensPlainFilesOnly) {
    m_oFake.files.AddFile(LOG, {});
    m_oFake.files.SetFacts(LOG, {.cLinks = 2, .fDisk = true, .fLocal = true});
    for (const bool fSystem : {true, false}) {
        m_oFake.identity.SetProcessIdentity(
            FakeIdentityPort::MakeIdentity(fSystem ? VTEXT("S-1-5-18") : VTEXT("S-1-5-21-1-2-3-1001")));
        MakeListening();
        UseLogFile();
        VLM_REPORT(PERF, VTEXT("line"));
        EXPECT_EQ(Log(), fSystem ? "" : "> line\r\n");
        EXPECT_EQ(m_oFake.sessions.Boxes().size(), 1u);
    }
    EXPECT_THAT(BoxTexts(), ElementsAre(StartsWith("CreateFile(C:\\logs\\debug.log) failed in ")));
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
    MakeListening();
    UseLogFile();
    Settings().SetUseXDebugPad(true);
    Settings().SetUseMessageBox(true);
    Settings().SetBeepOnError(true);
    m_oFake.sessions.OpenWindow(VTEXT("MfxTraceWindow"));
    {
        const vlm::LoaderLockScope loader;
        VLM_REPORT_ERROR(PERF, VTEXT("loading"));
        Settings().SetLogFileName(CXString(VTEXT("C:\\none\\debug.log")));
        m_oManager->CloseDebugMessageOutput();
        VLM_REPORT(PERF, VTEXT("no log"));
    }
    EXPECT_THAT(DebuggerLines(),
                ElementsAre("> loading\r\n", "> no log\r\n", StartsWith("CreateFile(C:\\none\\debug.log) failed")));
    EXPECT_THAT(m_oFake.sessions.Boxes(), IsEmpty());
    EXPECT_THAT(m_oFake.sessions.Messages(), IsEmpty());
    EXPECT_THAT(m_oFake.sessions.Beeps(), IsEmpty());
    EXPECT_EQ(Log(), "> loading\r\n");
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

TEST_F(DebugMessageManagerTest, HandsTheReportsBackToTheSinkBefore) {
    vlm::ReportSink* const pBefore = vlm::GetReportSink();
    Make();
    EXPECT_EQ(vlm::GetReportSink(), &*m_oManager);
    m_oManager.reset();
    EXPECT_EQ(vlm::GetReportSink(), pBefore);
}

}  // namespace
