/// @file
/// The debug settings: seeding, reading, refreshing, and what is derived from them.
#include "utilities/debuggingandexceptions/DebugMessageConfiguration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "DebugSettingsFixture.h"
#include "support/FaultLoop.h"
#include "support/Gate.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/utilitiesdll/VelomUtilities_DebugLog.h"

namespace vlm::test {
namespace {

using ::testing::ElementsAre;

class DebugMessageConfigurationTest : public DebugSettingsFixture {};

TEST_F(DebugMessageConfigurationTest, SeedsAnEmptyKeyWithEverySettingInItsKindAndDefault) {
    const DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    constexpr const char* EMPTY[] = {"3:00", "4:", "11:0000000000000000", "1:"};
    std::vector<std::string> vOn;
    std::vector<ULONGLONG> vNumbers;
    for (std::size_t i = 0; i < DEBUG_SETTINGS.size(); ++i) {
        const DebugSettingKind eKind = DEBUG_SETTINGS[i].eKind;
        const std::string strName = Narrow(DEBUG_SETTINGS[i].pszName), strStored = Stored(DEBUG_SETTINGS[i].pszName);
        if (strStored == "3:01") {
            vOn.push_back(strName);
            continue;
        }
        EXPECT_THAT(strStored, ::testing::StartsWith(EMPTY[static_cast<std::size_t>(eKind)])) << strName;
        const auto ullNumber = configuration.GetSettingNumber(static_cast<DebugSettingId>(i));
        if (eKind == DebugSettingKind::Number) vNumbers.push_back(ullNumber);
    }
    EXPECT_EQ(DEBUG_SETTINGS.size(), 68u);
    EXPECT_THAT(vOn,
                ElementsAre("PerfShowXTimingOutput", "PerfShowDurationOfZero", "PerfIndentMsgsByLevel",
                            "DataModelInitMessagesEnabled", "TracingEnabled", "ShowMsgBoxOnThrow",
                            "MaintainSIDWCDescription", "CapValEnableValidation", "CapValIncludeReportInMessageBox",
                            "CapValPrinterInLogFileName", "CapValAllowLogFileOverwrite"));
    EXPECT_THAT(vNumbers, ElementsAre(255, 5000, 50000, 255, 5000, 50000, 2000, 50, 200, 4, 0, 0, 24, 24, 40, 40));
    EXPECT_EQ(Stored(VTEXT("PerfMaxMicroSecondsToOmitFromReport")), "4:50C30000");
    EXPECT_EQ(Stored(VTEXT("ExcludedMsgCategories")), "1:0000");
}

TEST_F(DebugMessageConfigurationTest, ReadsWhatIsThereAndLeavesItAloneAndDataThatDoNotFitCountAsTheDefault) {
    const struct {
        const XCHAR* pszName;
        DWORD dwType;
        std::vector<BYTE> vbyData;
    } aoRows[] = {
        {VTEXT("TracingEnabled"), RegistryPort::TYPE_BINARY, {}},
        {VTEXT("MinMethodWidth"), RegistryPort::TYPE_DWORD, {1, 2, 3}},
        {VTEXT("PerfLastOperationTime64"), RegistryPort::TYPE_QWORD, {1, 2, 3, 4, 5, 6, 7}},
        {VTEXT("LogFileName"), RegistryPort::TYPE_BINARY, {'C', 0, ':', 0, 0, 0}},
        {VTEXT("CapValReportLogFileName"), RegistryPort::TYPE_SZ, {'a', 0, 'b', 0, 'c'}},  // no end, and half a unit
    };
    for (const auto& rRow : aoRows)
        oFake.registry.AddValue(DEBUG_KEY, rRow.pszName, rRow.dwType, rRow.vbyData);
    PutSwitch(VTEXT("ShowTime"), 0x80);
    PutSwitch(VTEXT("ShowMsgBoxOnThrow"), 0);
    PutNumber(VTEXT("ShowDate"), 1);  // a switch that somebody wrote as a number
    PutNumber(VTEXT("MaxMethodWidth"), 0xFFFFFFFF);
    PutNumber64(VTEXT("PerfAccountedForTime64"), -5);
    const DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    EXPECT_TRUE(configuration.IsTracingEnabled());
    EXPECT_EQ(configuration.GetMinMethodWidth(), 40u);
    EXPECT_EQ(configuration.GetPerfLastOperationTime(), 0);
    EXPECT_EQ(configuration.GetLogFileName(), DEBUG_SETTINGS[DMS_LogFileName].pszDefault);
    EXPECT_EQ(Narrow(configuration.GetCapabilitiesValidationReportFileName().View()), "ab");
    EXPECT_TRUE(configuration.IsShowDate() && configuration.IsShowTime());
    EXPECT_FALSE(configuration.IsShowMessageBoxOnExceptionThrow());
    EXPECT_EQ(configuration.GetMaxMethodWidth(), 0xFFFFFFFFu) << "widths are clamped where they are used";
    EXPECT_EQ(configuration.GetPerfAccountedForTime(), -5);
    EXPECT_EQ(Stored(VTEXT("ShowTime")), "3:80");
}

TEST_F(DebugMessageConfigurationTest, GoesWithoutAKeyUntilThereIsOne) {
    oFake.registry.RemoveKey(DEBUG_KEY);
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    EXPECT_FALSE(oFake.registry.HasKey(DEBUG_KEY)) << "an installer or the tool makes it";
    EXPECT_EQ(configuration.GetPerfDriverSessionTimeoutMilliseconds(), 2000u);
    EXPECT_EQ(configuration.GetAllowedMessageCategories(), DebugCategory::All);
    EXPECT_FALSE(configuration.GetLatestConfigurationInformation(true));
    for (const DWORD dwWidth : {77u, 78u}) {  // the second time it is a key made anew
        PutNumber(VTEXT("MaxMessageWidth"), dwWidth);
        EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true));
        EXPECT_EQ(configuration.GetMaxMessageWidth(), dwWidth);
        EXPECT_EQ(Stored(VTEXT("UseLogFile")), "3:00") << "and it is seeded";
        EXPECT_EQ(oFake.registry.OpenHandles(), 2u);
        oFake.registry.RemoveKey(DEBUG_KEY);
        EXPECT_FALSE(configuration.GetLatestConfigurationInformation(true));
    }
}

TEST_F(DebugMessageConfigurationTest, ReadsAKeyThatItMayNotWriteAndThatMissesValues) {
    PutSwitch(VTEXT("ShowDate"), 1);
    PutText(VTEXT("ExcludedMsgCategories"), VTEXT("perf"));
    oFake.registry.Deny(DEBUG_KEY, RegistryPort::SET_VALUE);
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    EXPECT_TRUE(configuration.IsShowDate());
    EXPECT_EQ(configuration.GetAllowedMessageCategories(), ~DebugCategory::Perf);
    EXPECT_EQ(Stored(VTEXT("TracingEnabled")), "absent");
    PutSwitch(VTEXT("TracingEnabled"), 0);
    EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true));
    EXPECT_FALSE(configuration.IsTracingEnabled()) << "a value that has appeared since";
}

TEST_F(DebugMessageConfigurationTest, ARefreshIsOneQueryAndAppliesOnlyWhatDiffersFromTheLast) {
    FaultPlatform oCounting(oFake.Get());
    const PlatformScope scope(oCounting.Get());
    PutNumber(VTEXT("MaxMessageWidth"), 77);
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    configuration.SetShowDate(true);
    EXPECT_EQ(Stored(VTEXT("ShowDate")), "3:00") << "setters leave the registry alone";
    oCounting.Script().Disarm();
    EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true));
    EXPECT_EQ(oCounting.Script().Calls(), 1u);
    EXPECT_TRUE(configuration.IsShowDate()) << "nothing has changed in the registry";

    RegistryKey::TryOpenRegistryKey(HKeyRegistry::Hkey_Local_Machine, DEBUG_SETTINGS_PATH, RegistryKey::FULL_ACCESS,
                                    RegistryKey::DIRECT)
        ->DeleteValue(VTEXT("MaxMessageWidth"));
    EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true));
    EXPECT_EQ(configuration.GetMaxMessageWidth(), 0u) << "a value that goes falls back to its default";
    EXPECT_FALSE(configuration.IsShowDate());
    EXPECT_EQ(Stored(VTEXT("MaxMessageWidth")), "absent") << "only a key that was opened is seeded";
}

TEST_F(DebugMessageConfigurationTest, AnExclusionWinsOverAnInclusion) {
    const struct {
        const XCHAR* pszIncluded;
        const XCHAR* pszExcluded;
        DebugMessageCategories allowed;
    } aoRows[] = {
        {VTEXT("errors,perf,nonsense,,wfunivdll"), VTEXT(""), 0x4000000000011},
        {VTEXT(" errors , perf"), VTEXT("perf "), 0x1},
        {VTEXT("errors,all"), VTEXT("errors"), ~1ULL},
        {VTEXT("errors"), VTEXT("all"), 0},
        {VTEXT("ERRORS"), VTEXT(""), 0},
    };
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    for (const auto& rRow : aoRows) {
        PutText(VTEXT("IncludedMsgCategories"), rRow.pszIncluded);
        PutText(VTEXT("ExcludedMsgCategories"), rRow.pszExcluded);
        configuration.GetLatestConfigurationInformation(true);
        EXPECT_EQ(configuration.GetAllowedMessageCategories(), rRow.allowed) << Narrow(rRow.pszIncluded);
    }
    configuration.SetIncludedMsgCategories(VTEXT("perf"));
    EXPECT_EQ(configuration.GetAllowedMessageCategories(), DebugCategory::Perf) << "a setter takes effect, too";
}

TEST_F(DebugMessageConfigurationTest, TakesTheProcessNameFromTheCommandLineAndNeverTracesOne) {
    constexpr DebugSettingId TRACE_SWITCHES[] = {DMS_MessagesEnabled, DMS_XMsgMessagesEnabled, DMS_PerfMeasureEnabled,
                                                 DMS_PerfShowXTimingOutput};
    for (const DebugSettingId eSwitch : TRACE_SWITCHES)
        PutSwitch(DEBUG_SETTINGS[eSwitch].pszName, 1);
    const std::pair<const XCHAR*, const char*> aoRows[] = {
        {VTEXT("\"C:\\Program Files\\App\\app.exe\" /x"), "app"},
        {VTEXT("\"C:\\Windows\\System32\\wbem\\wmiprvse.exe\" -secured"), "wmiprvse"},
        {VTEXT("C:\\Windows\\WmiPrvSE.exe"), "WmiPrvSE"},
        {VTEXT("wmiprvse"), "wmiprvse"},
        {VTEXT("C:\\x\\0123456789012345678901234567890123456789012345678901234.exe"),
         "01234567890123456789012345678901234567890123456"},
        {VTEXT(""), "Not initialized"},
    };
    for (const auto& [pszCommandLine, pszName] : aoRows) {
        oFake.process.SetCommandLineTo(pszCommandLine);
        DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
        EXPECT_EQ(Narrow(configuration.GetProcessName().View()), pszName);
        const bool fTraced = std::string(pszName) != "wmiprvse";
        for (DWORD dwRound = 0; dwRound < 2; ++dwRound) {
            for (const DebugSettingId eSwitch : TRACE_SWITCHES)
                EXPECT_EQ(configuration.GetSettingNumber(eSwitch), fTraced ? 1u : 0u) << pszName << eSwitch;
            PutNumber(VTEXT("MaxMessageWidth"), dwRound + 1);  // so that all is applied anew
            EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true));
        }
        configuration.SetMessagesEnabled(true);
        EXPECT_EQ(configuration.IsMessagesEnabled(), fTraced);
    }
    EXPECT_EQ(Stored(VTEXT("MessagesEnabled")), "3:01") << "in memory only";
}

TEST_F(DebugMessageConfigurationTest, TellsItsListenerAndReadsBeforeUseWhenAsked) {
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    int cCalls = 0;
    configuration.SetChangeListener([](void* pCalls) noexcept { ++*static_cast<int*>(pCalls); }, &cCalls);
    configuration.SetShowDate(true);
    configuration.SetLogFileName(VTEXT("x"));
    configuration.GetLatestConfigurationInformation(true);
    EXPECT_EQ(cCalls, 4);
    PutNumber(VTEXT("MaxMessageWidth"), 77);
    for (const bool fAlways : {false, true}) {
        configuration.SetAlwaysReadConfig(fAlways);
        configuration.RefreshBeforeUse();
        EXPECT_EQ(configuration.GetMaxMessageWidth(), fAlways ? 77u : 0u);
    }
    configuration.SetChangeListener(nullptr, nullptr);
}

TEST_F(DebugMessageConfigurationTest, TheLogFilesNameCanBeHadFromTheRegistryAlone) {
    const XString strLongest(259, VTEXT('x'));
    PutText(VTEXT("LogFileName"), strLongest);
    EXPECT_EQ(VelomUtilities::GetDebugLogFileName().View(), strLongest);
    PutText(VTEXT("LogFileName"), strLongest + VTEXT('x'));
    EXPECT_TRUE(VelomUtilities::GetDebugLogFileName().IsEmpty());
    oFake.registry.RemoveKey(DEBUG_KEY);
    EXPECT_TRUE(VelomUtilities::GetDebugLogFileName().IsEmpty());
    EXPECT_EQ(oFake.registry.OpenHandles(), 0u);
}

TEST_F(DebugMessageConfigurationTest, StartsUpWhateverFails) {
    bool fWhole = true;
    FaultLoop oLoop;
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        rFake.registry.AddDword(DEBUG_KEY, VTEXT("MaxMessageWidth"), 77);
        rFake.registry.AddText(DEBUG_KEY, VTEXT("LogFileName"), VTEXT("D:\\a.log"));
        rFake.registry.AddValue(DEBUG_KEY, VTEXT("PerfMeasureEnabled"), RegistryPort::TYPE_BINARY, {1});
    };
    const CXString csKey(DEBUG_SETTINGS_KEY);
    oLoop.fnRun = [&] {
        DebugMessageConfiguration configuration(csKey);
        configuration.SetAlwaysReadConfig(true);
        configuration.RefreshBeforeUse();
        configuration.SaveConfigurationInformation();
        const DWORD dwWidth = configuration.GetMaxMessageWidth();
        fWhole = fWhole && (dwWidth == 77 || dwWidth == 0) && configuration.GetMaxMethodWidth() == 40;
        const bool fRead = dwWidth == 77 && configuration.GetLogFileName() == VTEXT("D:\\a.log");
        return fRead ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    oLoop.vStatuses = {Status::AccessDenied, Status::KeyDeleted};
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome) {
        EXPECT_EQ(rFake.registry.ValueAt(DEBUG_KEY, VTEXT("MaxMessageWidth"))->vbyData.size(), 4u);
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 140u) << "opening, asking for 68 values, writing 65";
    EXPECT_TRUE(fWhole);
}

TEST_F(DebugMessageConfigurationTest, WhatARefreshHadNoMemoryForTheNextOneBrings) {
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    bool fFired = true;
    for (std::uint64_t ullAt = 1; fFired && !HasFailure(); ++ullAt) {
        const XString strName =
            ullAt % 2 != 0 ? VTEXT("C:\\first-name-of-the-log.txt") : VTEXT("D:\\the-second-name.txt");
        PutText(VTEXT("LogFileName"), strName);
        {
            const AllocationFaults oFaults(ullAt);
            configuration.GetLatestConfigurationInformation(true);
            fFired = oFaults.HasFired();
        }
        EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true));
        EXPECT_EQ(configuration.GetLogFileName().View(), strName) << "without memory at allocation " << ullAt;
    }
}

TEST_F(DebugMessageConfigurationTest, ReadersSeeWholeTextsWhileAnotherThreadRefreshes) {
    constexpr const XCHAR* NAMES[] = {VTEXT("C:\\first-name-of-the-log.txt"), VTEXT("D:\\the-second-name-of-it.txt")};
    PutText(VTEXT("LogFileName"), NAMES[0]);
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    std::atomic<bool> fStop{false};
    std::atomic<int> cTorn{0};
    Gate start(9);
    std::vector<std::jthread> vReaders;
    for (int i = 0; i < 8; ++i) {
        vReaders.emplace_back([&, i] {
            start.ArriveAndWait();
            while (!fStop) {
                const CXString csName = configuration.GetLogFileName();
                if (csName != NAMES[0] && csName != NAMES[1]) ++cTorn;
                if (i == 0) configuration.SetShowDate(!configuration.IsShowDate());
                if (i == 1) configuration.SetLastOperationTimeAndAccountedForTime(1, 2, 3);
                static_cast<void>(configuration.GetAllowedMessageCategories());
            }
        });
    }
    start.ArriveAndWait();
    for (int iRound = 0; iRound < 300; ++iRound) {
        PutText(VTEXT("LogFileName"), NAMES[iRound % 2]);
        PutText(VTEXT("ExcludedMsgCategories"), iRound % 2 != 0 ? VTEXT("perf") : VTEXT("errors"));
        EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true));
        configuration.SetLogFileName(NAMES[(iRound + 1) % 2]);
    }
    fStop = true;
    vReaders.clear();
    EXPECT_EQ(cTorn, 0);
}

}  // namespace
}  // namespace vlm::test
