/// @file
/// The debug settings: seeding, reading, refreshing, and what is derived from them.
#include "utilities/debuggingandexceptions/DebugMessageConfiguration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <thread>

#include "DebugSettingsFixture.h"
#include "support/FaultLoop.h"
#include "support/Gate.h"
#include "utilities/utilitiesdll/VelomUtilities_DebugLog.h"

namespace vlm::test {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

class DebugMessageConfigurationTest : public DebugSettingsFixture {};

TEST_F(DebugMessageConfigurationTest, SeedsAnEmptyKeyWithEverySettingInItsKindAndDefault) {
    const DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    EXPECT_EQ(DEBUG_SETTINGS.size(), 68u);
    std::vector<std::string> vOn;
    std::map<std::string, DWORD> mapNumbers;
    for (const DebugSetting& rSetting : DEBUG_SETTINGS) {
        const std::string strName = Narrow(rSetting.pszName);
        const std::string strStored = Stored(rSetting.pszName);
        switch (rSetting.eKind) {
            case DebugSettingKind::Switch:
                EXPECT_TRUE(strStored == "3:00" || strStored == "3:01") << strName << " " << strStored;
                if (strStored == "3:01") vOn.push_back(strName);
                break;
            case DebugSettingKind::Number:
                EXPECT_EQ(strStored.size(), 2u + 8u) << strName << " " << strStored;
                mapNumbers[strName] = oFake.registry.ValueAt(DEBUG_KEY, rSetting.pszName)->vbyData[0];
                break;
            case DebugSettingKind::Number64:
                EXPECT_EQ(strStored, "11:0000000000000000") << strName;
                break;
            case DebugSettingKind::Text:
                EXPECT_EQ(strStored.substr(0, 2), "1:") << strName;
                EXPECT_EQ(strStored.substr(strStored.size() - 4), "0000") << strName << " has its terminator";
                break;
        }
    }
    EXPECT_THAT(vOn, UnorderedElementsAre("PerfShowXTimingOutput", "PerfShowDurationOfZero", "PerfIndentMsgsByLevel",
                                          "DataModelInitMessagesEnabled", "TracingEnabled", "ShowMsgBoxOnThrow",
                                          "MaintainSIDWCDescription", "CapValEnableValidation",
                                          "CapValIncludeReportInMessageBox", "CapValPrinterInLogFileName",
                                          "CapValAllowLogFileOverwrite"));
    EXPECT_EQ(mapNumbers.size(), 16u);
    EXPECT_EQ(Stored(VTEXT("PerfMaxMicroSecondsToOmitFromReport")), "4:50C30000");
    EXPECT_EQ(Stored(VTEXT("PerfSessionTimeOut")), "4:D0070000");
    EXPECT_EQ(Stored(VTEXT("SeverityLevelFilter")), "4:04000000");
    EXPECT_EQ(Stored(VTEXT("MaxMethodWidth")), "4:28000000");
    EXPECT_EQ(configuration.GetMaxMethodWidth(), 40u);
    EXPECT_EQ(oFake.registry.OpenHandles(), 2u);
}

TEST_F(DebugMessageConfigurationTest, ReadsWhatIsThereAndLeavesItAlone) {
    PutSwitch(VTEXT("ShowDate"), 0x80);
    PutSwitch(VTEXT("TracingEnabled"), 0);
    PutNumber(VTEXT("MaxMethodWidth"), 0xFFFFFFFF);
    PutNumber64(VTEXT("PerfAccountedForTime64"), -5);
    PutText(VTEXT("LogFileName"), VTEXT("D:\\a.log"));
    const DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    EXPECT_TRUE(configuration.IsShowDate());
    EXPECT_FALSE(configuration.IsTracingEnabled());
    EXPECT_EQ(configuration.GetMaxMethodWidth(), 0xFFFFFFFFu) << "widths are clamped where they are used";
    EXPECT_EQ(configuration.GetPerfAccountedForTime(), -5);
    EXPECT_EQ(Narrow(configuration.GetLogFileName().View()), "D:\\a.log");
    EXPECT_EQ(Stored(VTEXT("ShowDate")), "3:80");
    EXPECT_EQ(Stored(VTEXT("UseLogFile")), "3:00") << "what was missing is there now";
}

TEST_F(DebugMessageConfigurationTest, DataThatDoNotFitCountAsTheDefault) {
    const struct {
        const XCHAR* pszName;
        DWORD dwType;
        std::vector<BYTE> vbyData;
    } aoRows[] = {
        {VTEXT("TracingEnabled"), RegistryPort::TYPE_BINARY, {}},
        {VTEXT("MinMethodWidth"), RegistryPort::TYPE_DWORD, {1, 2, 3}},
        {VTEXT("PerfLastOperationTime64"), RegistryPort::TYPE_QWORD, {1, 2, 3, 4, 5, 6, 7}},
        {VTEXT("LogFileName"), RegistryPort::TYPE_BINARY, {'C', 0, ':', 0, 0, 0}},
        {VTEXT("IncludedMsgCategories"), RegistryPort::TYPE_DWORD, {'p', 0, 'e', 0}},
    };
    for (const auto& rRow : aoRows)
        oFake.registry.AddValue(DEBUG_KEY, rRow.pszName, rRow.dwType, rRow.vbyData);
    oFake.registry.AddValue(DEBUG_KEY, VTEXT("CapValReportLogFileName"), RegistryPort::TYPE_SZ,
                            {'a', 0, 'b', 0, 'c'});  // no terminator, and half a unit
    PutNumber(VTEXT("ShowDate"), 1);                 // a switch that somebody wrote as a number
    const DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    EXPECT_TRUE(configuration.IsTracingEnabled());
    EXPECT_EQ(configuration.GetMinMethodWidth(), 40u);
    EXPECT_EQ(configuration.GetPerfLastOperationTime(), 0);
    EXPECT_EQ(configuration.GetLogFileName(), DEBUG_SETTINGS[DMS_LogFileName].pszDefault);
    EXPECT_EQ(configuration.GetAllowedMessageCategories(), DebugCategory::All);
    EXPECT_EQ(Narrow(configuration.GetCapabilitiesValidationReportFileName().View()), "ab");
    EXPECT_TRUE(configuration.IsShowDate());
}

TEST_F(DebugMessageConfigurationTest, GoesWithoutAKeyUntilThereIsOne) {
    oFake.registry.RemoveKey(DEBUG_KEY);
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    EXPECT_FALSE(oFake.registry.HasKey(DEBUG_KEY)) << "an installer or the tool makes it";
    EXPECT_TRUE(configuration.IsTracingEnabled());
    EXPECT_EQ(configuration.GetPerfDriverSessionTimeoutMilliseconds(), 2000u);
    EXPECT_EQ(configuration.GetAllowedMessageCategories(), DebugCategory::All);
    EXPECT_FALSE(configuration.GetLatestConfigurationInformation(true));

    PutSwitch(VTEXT("MessagesEnabled"), 1);
    EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true));
    EXPECT_TRUE(configuration.IsMessagesEnabled());
    EXPECT_EQ(Stored(VTEXT("UseLogFile")), "3:00") << "and it is seeded";

    oFake.registry.RemoveKey(DEBUG_KEY);
    EXPECT_FALSE(configuration.GetLatestConfigurationInformation(true));
    PutNumber(VTEXT("MaxMessageWidth"), 77);
    EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true)) << "a key made anew";
    EXPECT_EQ(configuration.GetMaxMessageWidth(), 77u);
    EXPECT_EQ(oFake.registry.OpenHandles(), 2u);
}

TEST_F(DebugMessageConfigurationTest, ReadsAKeyThatItMayNotWriteAndThatMissesValues) {
    PutSwitch(VTEXT("ShowDate"), 1);
    PutText(VTEXT("ExcludedMsgCategories"), VTEXT("perf"));
    oFake.registry.Deny(DEBUG_KEY, RegistryPort::SET_VALUE);
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    EXPECT_TRUE(configuration.IsShowDate());
    EXPECT_TRUE(configuration.IsTracingEnabled());
    EXPECT_EQ(configuration.GetAllowedMessageCategories(), ~DebugCategory::Perf);
    EXPECT_EQ(Stored(VTEXT("TracingEnabled")), "absent");

    PutSwitch(VTEXT("TracingEnabled"), 0);
    EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true));
    EXPECT_FALSE(configuration.IsTracingEnabled()) << "a value that has appeared since";
}

TEST_F(DebugMessageConfigurationTest, AValueThatGoesFallsBackToItsDefault) {
    PutNumber(VTEXT("MaxMessageWidth"), 77);
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    EXPECT_EQ(configuration.GetMaxMessageWidth(), 77u);
    HKEY hKey = nullptr;
    ASSERT_EQ(oFake.registry.Open(oFake.registry.RootKey(RegistryPort::Root::LocalMachine), DEBUG_SETTINGS_PATH,
                                  RegistryPort::RIGHTS_ALL, hKey),
              Status::Success);
    EXPECT_EQ(oFake.registry.DeleteValue(hKey, VTEXT("MaxMessageWidth")), Status::Success);
    oFake.registry.Close(hKey);
    EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true));
    EXPECT_EQ(configuration.GetMaxMessageWidth(), 0u);
    EXPECT_EQ(Stored(VTEXT("MaxMessageWidth")), "absent") << "only a key that was opened is seeded";
}

TEST_F(DebugMessageConfigurationTest, ARefreshIsOneQueryAndAppliesOnlyWhatDiffersFromTheLast) {
    FaultPlatform oCounting(oFake.Get());
    const PlatformScope scope(oCounting.Get());
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    configuration.SetShowDate(true);
    configuration.SetLogFileName(VTEXT("E:\\mine.log"));
    EXPECT_EQ(Stored(VTEXT("ShowDate")), "3:00") << "setters leave the registry alone";

    oCounting.Script().Disarm();
    EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true));
    EXPECT_EQ(oCounting.Script().Calls(), 1u);
    EXPECT_TRUE(configuration.IsShowDate()) << "nothing has changed in the registry";

    PutSwitch(VTEXT("ShowTime"), 1);
    EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true));
    EXPECT_TRUE(configuration.IsShowTime());
    EXPECT_FALSE(configuration.IsShowDate());
    EXPECT_EQ(configuration.GetLogFileName(), DEBUG_SETTINGS[DMS_LogFileName].pszDefault);
}

TEST_F(DebugMessageConfigurationTest, AnExclusionWinsOverAnInclusion) {
    const struct {
        const XCHAR* pszIncluded;
        const XCHAR* pszExcluded;
        DebugMessageCategories allowed;
    } aoRows[] = {
        {VTEXT("all"), VTEXT(""), ~0ULL},
        {VTEXT("errors,perf,nonsense,,wfunivdll"), VTEXT(""), 0x4000000000011},
        {VTEXT(" errors , perf"), VTEXT("perf "), 0x1},
        {VTEXT("errors,all"), VTEXT("errors"), ~1ULL},
        {VTEXT("errors"), VTEXT("all"), 0},
        {VTEXT("ERRORS"), VTEXT(""), 0},
        {VTEXT(""), VTEXT(""), 0},
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
    for (const XCHAR* pszName :
         {VTEXT("MessagesEnabled"), VTEXT("XMsgMessagesEnabled"), VTEXT("PerfMeasureEnabled"), VTEXT("ShowDate")}) {
        PutSwitch(pszName, 1);
    }
    const struct {
        const XCHAR* pszCommandLine;
        const char* pszName;
        bool fTraced;
    } aoRows[] = {
        {VTEXT("\"C:\\Program Files\\App\\app.exe\" /x"), "app", true},
        {VTEXT("C:\\Windows\\System32\\wbem\\wmiprvse.exe"), "wmiprvse", false},
        {VTEXT("\"C:\\Windows\\System32\\wbem\\wmiprvse.exe\" -secured"), "wmiprvse", false},
        {VTEXT("C:\\Windows\\WmiPrvSE.exe"), "WmiPrvSE", true},
        {VTEXT("wmiprvse"), "wmiprvse", false},
        {VTEXT("C:\\x\\0123456789012345678901234567890123456789012345678901234.exe"),
         "01234567890123456789012345678901234567890123456", true},
        {VTEXT(""), "Not initialized", true},
    };
    for (const auto& rRow : aoRows) {
        oFake.process.SetCommandLineTo(rRow.pszCommandLine);
        DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
        EXPECT_EQ(Narrow(configuration.GetProcessName().View()), rRow.pszName);
        for (int iRound = 0; iRound < 2; ++iRound) {
            EXPECT_EQ(configuration.IsMessagesEnabled(), rRow.fTraced) << rRow.pszName;
            EXPECT_EQ(configuration.IsXMsgMessagesEnabled(), rRow.fTraced) << rRow.pszName;
            EXPECT_EQ(configuration.IsPerformanceMeasurementEnabled(), rRow.fTraced) << rRow.pszName;
            EXPECT_EQ(configuration.IsShowPerformanceXTimingOutput(), rRow.fTraced) << rRow.pszName;
            EXPECT_TRUE(configuration.IsShowDate());
            PutNumber(VTEXT("MaxMessageWidth"), static_cast<DWORD>(iRound) + 1);  // so that all is applied anew
            EXPECT_TRUE(configuration.GetLatestConfigurationInformation(true));
        }
        configuration.SetMessagesEnabled(true);
        EXPECT_EQ(configuration.IsMessagesEnabled(), rRow.fTraced);
    }
    EXPECT_EQ(Stored(VTEXT("MessagesEnabled")), "3:01") << "in memory only";
}

TEST_F(DebugMessageConfigurationTest, TellsItsListenerAndReadsBeforeUseWhenAsked) {
    DebugMessageConfiguration configuration(DEBUG_SETTINGS_KEY);
    int cCalls = 0;
    configuration.SetChangeListener([](void* pCalls) noexcept { ++*static_cast<int*>(pCalls); }, &cCalls);
    EXPECT_EQ(cCalls, 1);
    configuration.SetShowDate(true);
    configuration.SetLogFileName(VTEXT("x"));
    configuration.GetLatestConfigurationInformation(true);
    EXPECT_EQ(cCalls, 4);

    PutNumber(VTEXT("MaxMessageWidth"), 77);
    configuration.RefreshBeforeUse();
    EXPECT_EQ(configuration.GetMaxMessageWidth(), 0u);
    configuration.SetAlwaysReadConfig(true);
    configuration.RefreshBeforeUse();
    EXPECT_EQ(configuration.GetMaxMessageWidth(), 77u);
    configuration.SetChangeListener(nullptr, nullptr);
}

TEST_F(DebugMessageConfigurationTest, TheLogFilesNameCanBeHadFromTheRegistryAlone) {
    const XString strLongest(259, VTEXT('x'));
    const struct {
        XString strStored;
        std::size_t cExpected;
    } aoRows[] = {{VTEXT("D:\\a.log"), 8}, {strLongest, 259}, {strLongest + VTEXT('x'), 0}, {VTEXT(""), 0}};
    for (const auto& rRow : aoRows) {
        PutText(VTEXT("LogFileName"), rRow.strStored);
        EXPECT_EQ(VelomUtilities::GetDebugLogFileName().View(), XStringView(rRow.strStored).substr(0, rRow.cExpected));
    }
    oFake.registry.RemoveKey(DEBUG_KEY);
    EXPECT_TRUE(VelomUtilities::GetDebugLogFileName().IsEmpty());
    EXPECT_EQ(oFake.registry.OpenHandles(), 0u);
}

TEST_F(DebugMessageConfigurationTest, StartsUpWhateverFails) {
    bool fWhole = true;
    FaultLoop oLoop;
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        rFake.registry.RemoveKey(DEBUG_KEY);
        rFake.registry.AddKey(DEBUG_KEY);
        rFake.registry.AddDword(DEBUG_KEY, VTEXT("MaxMessageWidth"), 77);
        rFake.registry.AddText(DEBUG_KEY, VTEXT("LogFileName"), VTEXT("D:\\a.log"));
        rFake.registry.AddValue(DEBUG_KEY, VTEXT("PerfMeasureEnabled"), RegistryPort::TYPE_BINARY, {1});
    };
    const CXString csKey(DEBUG_SETTINGS_KEY);
    oLoop.fnRun = [&] {
        DebugMessageConfiguration configuration(csKey);
        configuration.GetLatestConfigurationInformation(true);
        const CXString csLog = configuration.GetLogFileName();
        const DWORD dwWidth = configuration.GetMaxMessageWidth();
        const bool fRead = dwWidth == 77 && csLog == VTEXT("D:\\a.log");
        const bool fDefault = dwWidth == 0 || csLog == DEBUG_SETTINGS[DMS_LogFileName].pszDefault || csLog.IsEmpty();
        fWhole = fWhole && (fRead || fDefault) && configuration.GetMaxMethodWidth() == 40;
        return fRead ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    oLoop.vStatuses = {Status::AccessDenied, Status::KeyDeleted};
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome) {
        EXPECT_EQ(rFake.registry.ValueAt(DEBUG_KEY, VTEXT("MaxMessageWidth"))->vbyData.size(), 4u);
    };
    const FaultLoopReport report = RunFaultLoop(oLoop);
    EXPECT_TRUE(fWhole);
    EXPECT_GT(report.ullCalls, 140u) << "opening, asking for 68 values, writing 65";
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
