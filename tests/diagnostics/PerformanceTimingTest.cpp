/// @file
/// What timing scopes print.
#include "utilities/debuggingandexceptions/PerformanceTimingScope.h"

#include <limits>
#include <thread>

#include "diagnostics/ManagerFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using vlm::test::ManagerTest;

class PerformanceTiming : public ManagerTest {
protected:
    PerformanceTiming() {
        Make();
        Settings().SetPerformanceMeasurementEnabled(true);
        Settings().SetUseOutputDebugString(true);
        Settings().SetMinimumTimeToDisplayInPerformanceOutput(0);
        Settings().SetPerfGapSinceLastOperationWithoutWarning(100'000);
        Settings().SetPerfDriverSessionTimeout(1'000'000);
        // The session begins with the first scope.
        Scope(0);
        m_cBefore = DebuggerLines().size();
    }
    /// One scope that takes so long.
    void Scope(LONGLONG llMilliseconds, XStringView svDetail = {}) {
        const LONGLONG llStart = m_oManager->NotifyTimingScopeStarted(VLM_HERE, VTEXT("Work"), svDetail);
        m_oFake.clock.Advance(llMilliseconds);
        m_oManager->NotifyTimingScopeEnded(VLM_HERE, VTEXT("Work"), svDetail, llStart);
    }
    std::vector<std::string> NewLines() {
        std::vector<std::string> vLines = DebuggerLines();
        vLines.erase(vLines.begin(), vLines.begin() + static_cast<std::ptrdiff_t>(m_cBefore));
        m_cBefore += vLines.size();
        return vLines;
    }

    std::size_t m_cBefore = 0;
};

TEST_F(PerformanceTiming, PrintsHowLongAScopeTook) {
    m_oFake.clock.Advance(20);
    Scope(1500, VTEXT("queue"));
    EXPECT_THAT(NewLines(), ElementsAre("> *PERF L0* 1500.0ms (1.500sec) (20.00ms since last) (session 1520.00ms, "
                                        "1.520s) in Work: queue\r\n"));
    Scope(0);
    EXPECT_THAT(NewLines(), ElementsAre("> *PERF L0*        0ms (  0us) (0.00ms since last) (session 1520.00ms, "
                                        "1.520s) in Work\r\n"));
    Settings().SetShowStartPerformanceScopeMsg(true);
    m_oFake.clock.Advance(30);
    Scope(7);
    EXPECT_THAT(NewLines(), ElementsAre("> *PERF L0* Starting (30ms since last snapshot) Work\r\n",
                                        "> *PERF L0*   7.0ms (0.007sec) (30.00ms since last) (session 1557.00ms, "
                                        "1.557s) in Work\r\n"));
}

TEST_F(PerformanceTiming, SurvivesAnyStoredNumbers) {
    constexpr LONGLONG LEAST = std::numeric_limits<LONGLONG>::min(), MOST = std::numeric_limits<LONGLONG>::max();
    for (const LONGLONG llStored : {LEAST, LONGLONG{-1}, LONGLONG{1}, MOST}) {
        Settings().SetDriverSessionStartTime(llStored);
        Settings().SetPerfAccountedForTime(llStored);
        Scope(1);
        EXPECT_THAT(NewLines(), ElementsAre(HasSubstr("*PERF L0*   1.0ms")));
    }
}

TEST_F(PerformanceTiming, SwitchesDecideWhatIsPrinted) {
    const auto lines = [&](LONGLONG llMilliseconds) {
        Scope(llMilliseconds);
        return NewLines().size();
    };
    Settings().SetShowPerformanceDurationsOfZero(false);
    EXPECT_EQ(lines(0), 0u);
    EXPECT_EQ(lines(1), 1u);
    Settings().SetMinimumTimeToDisplayInPerformanceOutput(5000);
    EXPECT_EQ(lines(5), 1u);
    EXPECT_EQ(lines(4), 0u);
    Settings().SetShowPerformanceXTimingOutput(false);
    EXPECT_EQ(lines(100), 0u);
    Settings().SetMessagesEnabled(true);
    EXPECT_EQ(lines(100), 1u);
    Settings().SetPerformanceMeasurementEnabled(false);
    EXPECT_EQ(lines(100), 0u);
}

TEST_F(PerformanceTiming, LevelsIndentAndLimit) {
    const auto nested = [&] {
        const LONGLONG llOuter = m_oManager->NotifyTimingScopeStarted(VLM_HERE, VTEXT("Outer"), {});
        Scope(10);
        m_oManager->NotifyTimingScopeEnded(VLM_HERE, VTEXT("Outer"), {}, llOuter);
        return NewLines();
    };
    EXPECT_THAT(nested(), ElementsAre(MatchesRegex(">    \\*PERF L1\\* .*in Work\r\n"),
                                      MatchesRegex("> \\*PERF L0\\* .*in Outer\r\n")));
    Settings().SetIndentPerfMsgsByLevel(false);
    EXPECT_THAT(nested(), ElementsAre(MatchesRegex("> \\*PERF L1\\* .*\r\n"), MatchesRegex("> \\*PERF L0\\* .*\r\n")));
    Settings().SetMaxLevelInPerformanceOutput(0);
    Settings().SetMaximumTimeToOmitFromPerformanceOutput(9999);
    EXPECT_EQ(nested().size(), 2u) << "deep, but too long to be left out";
    Settings().SetMaximumTimeToOmitFromPerformanceOutput(10000);
    EXPECT_THAT(nested(), ElementsAre(MatchesRegex("> \\*PERF L0\\* .*\r\n")));
}

TEST_F(PerformanceTiming, WarnsOfTimeThatNobodyMeasured) {
    Settings().SetPerfGapSinceLastOperationWithoutWarning(50);
    m_oFake.clock.Advance(50);
    Scope(1);
    EXPECT_EQ(NewLines().size(), 1u);
    m_oFake.clock.Advance(51);
    Scope(1);
    EXPECT_THAT(NewLines(), ElementsAre("> **** There are 51.00ms of unmeasured time between the end of the last "
                                        "snapshot and the start of this snapshot. This is larger than the threshhold, "
                                        "50ms\r\n",
                                        HasSubstr("*PERF L0*   1.0ms")));
    const LONGLONG llOuter = m_oManager->NotifyTimingScopeStarted(VLM_HERE, VTEXT("Outer"), {});
    Scope(10);
    m_oFake.clock.Advance(201);
    m_oManager->NotifyTimingScopeEnded(VLM_HERE, VTEXT("Outer"), {}, llOuter);
    EXPECT_THAT(NewLines(), ElementsAre(HasSubstr("L1*  10.0ms"), HasSubstr("L0* 211.0ms"),
                                        ::testing::StartsWith("> **** There are 201.00ms of unmeasured time as "
                                                              "measured by scopes embedded within this one")));
}

TEST_F(PerformanceTiming, OnAnotherThreadAScopeStandsForItself) {
    const LONGLONG llOuter = m_oManager->NotifyTimingScopeStarted(VLM_HERE, VTEXT("Outer"), {});
    std::jthread([&] { Scope(10); }).join();
    m_oManager->NotifyTimingScopeEnded(VLM_HERE, VTEXT("Outer"), {}, llOuter);
    EXPECT_THAT(NewLines(), ElementsAre(MatchesRegex("> \\[2nd Thrd\\] \\*PERF L0\\*  10\\.0ms .*in Work\r\n"),
                                        MatchesRegex("> \\*PERF L0\\*  10\\.0ms .*in Outer\r\n")));
}

TEST(PerformanceTimingScope, DrivesTheManagerOfTheProcess) {
    DebugMessageConfiguration& rSettings = GetDebugMessageManager().GetConfiguration();
    vlm::test::FakeDesktopPort desktop;
    vlm::Platform platform = vlm::GetPlatform();
    platform.pDesktop = &desktop;
    const vlm::PlatformScope scope(platform);
    { const PerformanceTimingScope off(VLM_HERE, VTEXT("Off")); }
    rSettings.SetPerformanceMeasurementEnabled(true);
    rSettings.SetMinimumTimeToDisplayInPerformanceOutput(0);
    rSettings.SetUseOutputDebugString(true);
    { const PerformanceTimingScope on(VLM_HERE, VTEXT("On"), CXString(VTEXT("detail"))); }
    rSettings.SetUseOutputDebugString(false);
    rSettings.SetPerformanceMeasurementEnabled(false);
    ASSERT_FALSE(desktop.DebuggerLines().empty());
    EXPECT_THAT(vlm::test::Narrow(desktop.DebuggerLines().back()), HasSubstr("in On: detail\r\n"));
    for (const auto& rLine : desktop.DebuggerLines())
        EXPECT_THAT(vlm::test::Narrow(rLine), ::testing::Not(HasSubstr("Off")));
}

}  // namespace
