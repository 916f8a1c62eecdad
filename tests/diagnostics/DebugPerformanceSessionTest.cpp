/// @file
/// The performance session of the debug settings, and what is noted about timing levels.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "DebugSettingsFixture.h"
#include "support/RecordingSink.h"

namespace vlm::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

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

TEST_F(DebugPerformanceSession, BeginsWithTheFirstProcessAndIsStored) {
    const LONGLONG llNow = Now();
    {
        const DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
        EXPECT_EQ(configuration.GetDriverSessionStartTime(), llNow);
    }
    EXPECT_EQ(StoredNumber64(VTEXT("PerfSessionStartTime64")), llNow);
    EXPECT_EQ(StoredNumber64(VTEXT("PerfLastOperationTime64")), llNow);
    // 2024-02-29 12:34:56.789 in 100 ns since 1601.
    EXPECT_EQ(StoredNumber64(VTEXT("PerfSessionStartTimeBeforeUtilitiesDllAsSystemTime64")), 133536836967890000);
}

TEST_F(DebugPerformanceSession, DoesNotBeginWhereNothingIsMeasured) {
    PutSwitch(VTEXT("PerfMeasureEnabled"), 0);
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    EXPECT_EQ(StoredNumber64(VTEXT("PerfSessionStartTime64")), 0);
    EXPECT_THAT(Announced(configuration), IsEmpty());
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
    constexpr LONGLONG EXTREMES[] = {std::numeric_limits<LONGLONG>::min(), -1, 1, std::numeric_limits<LONGLONG>::max()};
    for (const LONGLONG llStart : EXTREMES) {
        for (const LONGLONG llLast : EXTREMES) {
            for (const LONGLONG llBefore : EXTREMES) {
                PutNumber64(VTEXT("PerfSessionStartTime64"), llStart);
                PutNumber64(VTEXT("PerfLastOperationTime64"), llLast);
                PutNumber64(VTEXT("PerfSessionStartTimeBeforeUtilitiesDll64"), llBefore);
                DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
                const auto texts = Announced(configuration);
                EXPECT_TRUE(texts.empty() || texts.size() >= 3);
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

    configuration.SetLastOperationTimeAndAccountedForTime(100, 10, 2);
    configuration.SetAlreadyWarnedForTickCountOfLastOperationAtLevel(2);
    EXPECT_EQ(configuration.GetTimeOfLastOperationAtLevel(fWarned, 2), 100);
    EXPECT_TRUE(fWarned);
    configuration.SetLastOperationTimeAndAccountedForTime(120, 25, 2);
    EXPECT_EQ(configuration.GetTimeOfLastOperationAtLevel(fWarned, 2), 120);
    EXPECT_FALSE(fWarned) << "another operation";
    EXPECT_TRUE(configuration.GetMeasuredTimeAtLowerLevels(1, llTime));
    EXPECT_EQ(llTime, 25);
    EXPECT_EQ(configuration.GetAccountedForTimeAtLevel(2), 25);
    EXPECT_EQ(configuration.GetAccountedForTimeAtLevel(1), 0);

    configuration.SetLastOperationTimeAndAccountedForTime(130, 30, 1);
    EXPECT_FALSE(configuration.GetMeasuredTimeAtLowerLevels(1, llTime)) << "what lay inside is over";
    EXPECT_TRUE(configuration.GetMeasuredTimeAtLowerLevels(0, llTime));
    EXPECT_EQ(llTime, 30);

    configuration.SetAlreadyWarnedForTickCountOfLastOperationAtLevel(0);
    EXPECT_NE(configuration.GetTimeOfLastOperationAtLevel(fWarned, 0), 0);
    EXPECT_TRUE(fWarned);
    configuration.SetLastOperationTimeAndAccountedForTime(140, 40, 0);
    EXPECT_EQ(configuration.GetTimeOfLastOperationAtLevel(fWarned, 0), 140);
    EXPECT_FALSE(fWarned);
    EXPECT_FALSE(configuration.GetMeasuredTimeAtLowerLevels(0, llTime));
    configuration.SaveConfigurationInformation();
    EXPECT_EQ(StoredNumber64(VTEXT("PerfLastOperationTime64")), 140) << "the outermost level is stored";
    EXPECT_EQ(StoredNumber64(VTEXT("PerfAccountedForTime64")), 40);
}

TEST_F(DebugPerformanceSession, ReportsLevelsThatCannotBe) {
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    const RecordingSink sink;
    LONGLONG llTime = 7;
    EXPECT_FALSE(configuration.GetMeasuredTimeAtLowerLevels(-3, llTime));
    EXPECT_EQ(llTime, 7);
    configuration.SetLastOperationTimeAndAccountedForTime(1, 1, -3);
    configuration.SetAlreadyWarnedForTickCountOfLastOperationAtLevel(0x7FFFFFFF);
    configuration.SetLastOperationTimeAndAccountedForTime(1, 1, 0x7FFFFFFF);
    EXPECT_THAT(sink.Texts(), ElementsAre(AllOf(HasSubstr("Failed Condition:\t(lLevel >= 0)\r\n"),
                                                HasSubstr("lLevel, -3, is negative")),
                                          "vector<bool> too long", "vector<bool> too long"));
    EXPECT_EQ(configuration.GetAccountedForTimeAtLevel(-3), 0);
    EXPECT_EQ(configuration.GetAccountedForTimeAtLevel(0x7FFFFFFF), 0);
}

TEST_F(DebugPerformanceSession, SavingWithoutAKeyIsReported) {
    oFake.registry.Deny(DEBUG_KEY, RegistryPort::SET_VALUE);
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    const RecordingSink sink(DebugCategory::Errors);
    configuration.SaveConfigurationInformation();
    EXPECT_THAT(sink.Texts(),
                ElementsAre(AllOf(HasSubstr("Failed Condition:\t(0 != m_apoConfigurationKeyForWriting.get())\r\n"),
                                  HasSubstr("Can't write to the registry. The key doesn't exist. Error: Access "))));
}

}  // namespace
}  // namespace vlm::test
