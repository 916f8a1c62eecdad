/// @file
/// Timing: what scopes print, the session that they belong to, and what is noted about levels.
#include "utilities/debuggingandexceptions/PerformanceTimingScope.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <thread>
#include <utility>

#include "DebugSettingsFixture.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace vlm::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

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
        oFake.clock.Advance(llMilliseconds);
        m_oManager->NotifyTimingScopeEnded(VLM_HERE, VTEXT("Work"), svDetail, llStart);
    }
    std::vector<std::string> NewLines() {
        const std::vector<std::string> vLines = DebuggerLines();
        return {vLines.begin() + static_cast<std::ptrdiff_t>(std::exchange(m_cBefore, vLines.size())), vLines.end()};
    }

    std::size_t m_cBefore = 0;
};

TEST_F(PerformanceTiming, PrintsHowLongAScopeTook) {
    oFake.clock.Advance(20);
    Scope(1500, VTEXT("queue"));
    EXPECT_THAT(NewLines(), ElementsAre("> *PERF L0* 1500.0ms (1.500sec) (20.00ms since last) (session 1520.00ms, "
                                        "1.520s) in Work: queue\r\n"));
    Scope(0);
    EXPECT_THAT(NewLines(), ElementsAre("> *PERF L0*        0ms (  0us) (0.00ms since last) (session 1520.00ms, "
                                        "1.520s) in Work\r\n"));
    Settings().SetShowStartPerformanceScopeMsg(true);
    oFake.clock.Advance(30);
    Scope(7);
    EXPECT_THAT(NewLines(), ElementsAre("> *PERF L0* Starting (30ms since last snapshot) Work\r\n",
                                        "> *PERF L0*   7.0ms (0.007sec) (30.00ms since last) (session 1557.00ms, "
                                        "1.557s) in Work\r\n"));
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

TEST_F(PerformanceTiming, LevelsIndentAndLimitAndBelongToOneThread) {
    const auto nested = [&](bool fOnAnotherThread = false) {
        const LONGLONG llOuter = m_oManager->NotifyTimingScopeStarted(VLM_HERE, VTEXT("Outer"), {});
        if (fOnAnotherThread) {
            std::jthread([&] { Scope(10); }).join();
        } else {
            Scope(10);
        }
        m_oManager->NotifyTimingScopeEnded(VLM_HERE, VTEXT("Outer"), {}, llOuter);
        return NewLines();
    };
    EXPECT_THAT(nested(), ElementsAre(MatchesRegex(">    \\*PERF L1\\* .*in Work\r\n"),
                                      MatchesRegex("> \\*PERF L0\\* .*in Outer\r\n")));
    EXPECT_THAT(nested(true), ElementsAre(MatchesRegex("> \\[2nd Thrd\\] \\*PERF L0\\*  10\\.0ms .*in Work\r\n"),
                                          MatchesRegex("> \\*PERF L0\\*  10\\.0ms .*in Outer\r\n")));
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
    oFake.clock.Advance(50);
    Scope(1);
    EXPECT_EQ(NewLines().size(), 1u);
    oFake.clock.Advance(51);
    Scope(1);
    EXPECT_THAT(NewLines(), ElementsAre("> **** There are 51.00ms of unmeasured time between the end of the last "
                                        "snapshot and the start of this snapshot. This is larger than the threshhold, "
                                        "50ms\r\n",
                                        HasSubstr("*PERF L0*   1.0ms")));
    const LONGLONG llOuter = m_oManager->NotifyTimingScopeStarted(VLM_HERE, VTEXT("Outer"), {});
    Scope(10);
    oFake.clock.Advance(201);
    m_oManager->NotifyTimingScopeEnded(VLM_HERE, VTEXT("Outer"), {}, llOuter);
    EXPECT_THAT(NewLines(), ElementsAre(HasSubstr("L1*  10.0ms"), HasSubstr("L0* 211.0ms"),
                                        ::testing::StartsWith("> **** There are 201.00ms of unmeasured time as "
                                                              "measured by scopes embedded within this one")));
}

TEST(PerformanceTimingScope, DrivesTheManagerOfTheProcess) {
    DebugMessageConfiguration& rSettings = GetDebugMessageManager().GetConfiguration();
    FakePlatform fake;
    const PlatformScope scope(fake.Get());
    rSettings.SetMinimumTimeToDisplayInPerformanceOutput(0);
    rSettings.SetUseOutputDebugString(true);
    for (const bool fMeasured : {true, false}) {
        rSettings.SetPerformanceMeasurementEnabled(fMeasured);
        const PerformanceTimingScope timing(VLM_HERE, VTEXT("On"), CXString(VTEXT("detail")));
    }
    rSettings.SetUseOutputDebugString(false);
    ASSERT_EQ(fake.desktop.DebuggerLines().size(), 1u);
    EXPECT_THAT(Narrow(fake.desktop.DebuggerLines().back()), HasSubstr("in On: detail\r\n"));
}

TEST(PerformanceTimingScope, PrintsItsLineWhateverFails) {
    DebugMessageConfiguration& rSettings = GetDebugMessageManager().GetConfiguration();
    CXString csLocked(VTEXT("copies of it take memory"));
    csLocked.LockBuffer();
    FaultLoop oLoop;
    oLoop.fnRun = [&] {
        rSettings.SetPerformanceMeasurementEnabled(true);
        { const PerformanceTimingScope timing(VLM_HERE, VTEXT("On"), csLocked); }
        rSettings.SetPerformanceMeasurementEnabled(false);
        return FaultOutcome::Succeeded;
    };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome) {
        EXPECT_THAT(Narrow(rFake.desktop.DebuggerLines().at(0)), HasSubstr("in On"));
    };
    rSettings.SetMinimumTimeToDisplayInPerformanceOutput(0);
    rSettings.SetUseOutputDebugString(true);
    rSettings.SetShowContext(true);
    EXPECT_TRUE(RunFaultLoop(oLoop).ullFaults > 0 || !AllocationFaults::IN_FORCE);
    rSettings.SetUseOutputDebugString(false);
    rSettings.SetShowContext(false);
}

constexpr LONGLONG TICKS_PER_MILLISECOND = 10'000;

class DebugPerformanceSession : public DebugSettingsFixture {
protected:
    DebugPerformanceSession() { PutSwitch(VTEXT("PerfMeasureEnabled"), 1); }
    LONGLONG Now() { return oFake.clock.PerformanceCounter(); }
    std::vector<std::string> Announced(DebugMessageConfiguration& rConfiguration) const {
        const RecordingSink sink(DebugCategory::Perf);
        rConfiguration.DebugDisplayMsgIfNewPerformanceSession();
        return sink.Texts();
    }
};

TEST_F(DebugPerformanceSession, BeginsWithTheFirstProcessThatMeasuresAndIsStored) {
    PutSwitch(VTEXT("PerfMeasureEnabled"), 0);
    { const DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY); }
    EXPECT_EQ(StoredNumber64(VTEXT("PerfSessionStartTime64")), 0);
    PutSwitch(VTEXT("PerfMeasureEnabled"), 1);
    { const DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY); }
    EXPECT_EQ(StoredNumber64(VTEXT("PerfSessionStartTime64")), Now());
    EXPECT_EQ(StoredNumber64(VTEXT("PerfLastOperationTime64")), Now());
    // 2024-02-29 12:34:56.789 in 100 ns since 1601.
    EXPECT_EQ(StoredNumber64(VTEXT("PerfSessionStartTimeBeforeUtilitiesDllAsSystemTime64")), 133536836967890000);
}

TEST_F(DebugPerformanceSession, GoesOnFromProcessToProcessUntilNothingHappensForLongEnough) {
    const LONGLONG llStart = Now() - 9000 * TICKS_PER_MILLISECOND;
    const struct {
        const char* pszWhat;
        LONGLONG llIdleMilliseconds;    // since the last operation; negative: it lies ahead
        LONGLONG llBeforeMilliseconds;  // how long ago the program noted its start; 0: it did not
        bool fNewSession;
        LONGLONG llStartMilliseconds;  // how long ago the session began
    } aoRows[] = {
        {"just now", 0, 0, false, 9000},
        {"at the limit", 2000, 0, false, 9000},
        {"beyond it", 2001, 0, true, 0},
        {"noted before", 2500, 400, true, 400},
        {"noted before, and still not idle", 2500, 600, false, 9000},
        {"noted before another process's last operation", 100, 200, false, 9000},
        {"the clock was set back", -5, 0, true, 0},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszWhat);
        const LONGLONG llNow = Now();
        const LONGLONG llBefore = llNow - rRow.llBeforeMilliseconds * TICKS_PER_MILLISECOND;
        PutNumber64(VTEXT("PerfSessionStartTime64"), llStart);
        PutNumber64(VTEXT("PerfLastOperationTime64"), llNow - rRow.llIdleMilliseconds * TICKS_PER_MILLISECOND);
        PutNumber64(VTEXT("PerfSessionStartTimeBeforeUtilitiesDll64"), rRow.llBeforeMilliseconds != 0 ? llBefore : 0);
        DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
        EXPECT_EQ((llNow - configuration.GetDriverSessionStartTime()) / TICKS_PER_MILLISECOND,
                  rRow.llStartMilliseconds);
        EXPECT_EQ(StoredNumber64(VTEXT("PerfSessionStartTime64")), configuration.GetDriverSessionStartTime());
        EXPECT_EQ(StoredNumber64(VTEXT("PerfSessionStartTimeBeforeUtilitiesDll64")), 0) << "taken up";
        EXPECT_EQ(Announced(configuration).empty(), !rRow.fNewSession);
    }
}

TEST_F(DebugPerformanceSession, IsAnnouncedOnceWithTheLengthOfTheOneBefore) {
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    constexpr const char* BAR = "==========================================";
    constexpr const char* TITLE = "== New Driver Session:                  ==";
    EXPECT_THAT(Announced(configuration), ElementsAre(BAR, TITLE, BAR));
    EXPECT_THAT(Announced(configuration), IsEmpty());

    oFake.clock.Advance(1500);
    configuration.SetLastOperationTimeAndAccountedForTime(Now(), 0, 0);
    oFake.clock.Advance(2001);
    EXPECT_FALSE(configuration.ResetPerformanceSessionDataIfTimedOut(Now(), oFake.clock.LocalTime(), 1))
        << "inside an operation";
    EXPECT_TRUE(configuration.ResetPerformanceSessionDataIfTimedOut(Now(), oFake.clock.LocalTime(), 0));
    EXPECT_THAT(Announced(configuration), ElementsAre(BAR, TITLE, BAR, "== Previous Session: 1500.00ms (1.500sec)"));
    EXPECT_EQ(StoredNumber64(VTEXT("PerfSessionStartTime64")), Now());
}

TEST_F(DebugPerformanceSession, WorksOnTheTickCountWhereThereIsNoCounter) {
    oFake.clock.SetFrequency(0);
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    EXPECT_FALSE(DebugClock::IsHighResolution());
    EXPECT_EQ(configuration.GetDriverSessionStartTime(), static_cast<LONGLONG>(oFake.clock.TickCount()));
    oFake.clock.Advance(2001);
    EXPECT_TRUE(configuration.ResetPerformanceSessionDataIfTimedOut(DebugClock::Now(), oFake.clock.LocalTime(), 0));
}

TEST_F(DebugPerformanceSession, SurvivesAnyStoredNumbers) {
    const LONGLONG EXTREMES[] = {std::numeric_limits<LONGLONG>::min(), -1, 1, Now(),
                                 std::numeric_limits<LONGLONG>::max()};
    for (const LONGLONG llStart : EXTREMES) {
        for (const LONGLONG llLast : EXTREMES) {
            for (const LONGLONG llOther : EXTREMES) {
                PutNumber64(VTEXT("PerfSessionStartTime64"), llStart);
                PutNumber64(VTEXT("PerfLastOperationTime64"), llLast);
                PutNumber64(VTEXT("PerfAccountedForTime64"), llOther);
                PutNumber64(VTEXT("PerfSessionStartTimeBeforeUtilitiesDll64"), llOther);
                DebugMessageManager manager{CXString(DEBUG_SETTINGS_KEY)};
                const LONGLONG llScope = manager.NotifyTimingScopeStarted(VLM_HERE, VTEXT("Scope"), {});
                EXPECT_NE(llScope, 0);
                oFake.clock.Advance(1);
                manager.NotifyTimingScopeEnded(VLM_HERE, VTEXT("Scope"), {}, llScope);
            }
        }
    }
}

TEST_F(DebugPerformanceSession, NotesTimesByLevelAndForgetsWhatLiesInside) {
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    LONGLONG llTime = -1;
    bool fWarned = true;
    EXPECT_FALSE(configuration.GetMeasuredTimeAtLowerLevels(0, llTime));
    EXPECT_EQ(configuration.GetTimeOfLastOperationAtLevel(fWarned, 2), 0);
    EXPECT_FALSE(fWarned);
    for (const LONG lLevel : {2, 1, 0}) {
        for (const LONGLONG llAt : {100, 120}) {
            configuration.SetLastOperationTimeAndAccountedForTime(llAt, llAt + lLevel, lLevel);
            EXPECT_EQ(configuration.GetTimeOfLastOperationAtLevel(fWarned, lLevel), llAt);
            EXPECT_FALSE(fWarned) << "another operation";
            configuration.SetAlreadyWarnedForTickCountOfLastOperationAtLevel(lLevel);
            configuration.GetTimeOfLastOperationAtLevel(fWarned, lLevel);
            EXPECT_TRUE(fWarned);
        }
        EXPECT_EQ(configuration.GetAccountedForTimeAtLevel(lLevel), 120 + lLevel);
        EXPECT_FALSE(configuration.GetMeasuredTimeAtLowerLevels(lLevel, llTime)) << "what lay inside is over";
        if (lLevel == 0) break;
        EXPECT_TRUE(configuration.GetMeasuredTimeAtLowerLevels(lLevel - 1, llTime));
        EXPECT_EQ(llTime, 120 + lLevel);
    }
    configuration.SaveConfigurationInformation();
    EXPECT_EQ(StoredNumber64(VTEXT("PerfLastOperationTime64")), 120) << "the outermost level is stored";
    EXPECT_EQ(StoredNumber64(VTEXT("PerfAccountedForTime64")), 120);
}

TEST_F(DebugPerformanceSession, ReportsWhatCannotBe) {
    oFake.registry.Deny(DEBUG_KEY, RegistryPort::SET_VALUE);
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    const RecordingSink sink;
    LONGLONG llTime = 7;
    EXPECT_FALSE(configuration.GetMeasuredTimeAtLowerLevels(-3, llTime));
    configuration.SetLastOperationTimeAndAccountedForTime(1, 1, -3);
    configuration.SetLastOperationTimeAndAccountedForTime(1, 1, 0x7FFFFFFF);
    configuration.SaveConfigurationInformation();
    EXPECT_THAT(
        sink.Texts(),
        ElementsAre(AllOf(HasSubstr("Failed Condition:\t(lLevel >= 0)\r\n"), HasSubstr("lLevel, -3, is negative")),
                    "vector<bool> too long",
                    AllOf(HasSubstr("Failed Condition:\t(0 != m_apoConfigurationKeyForWriting.get())\r\n"),
                          HasSubstr("Can't write to the registry. The key doesn't exist. Error: Access "))));
    EXPECT_EQ(llTime, 7);
    EXPECT_EQ(configuration.GetAccountedForTimeAtLevel(-3), 0);
    EXPECT_EQ(configuration.GetAccountedForTimeAtLevel(0x7FFFFFFF), 0);
}

}  // namespace
}  // namespace vlm::test
