/// @file
/// Installing, upgrading and removing the monitor, on fake files and a fake spooler.
#include <gtest/gtest.h>

#include "access/PortMonitorBench.h"
#include "environment/PortMonitorFilesImpl.h"
#include "support/FaultLoop.h"

namespace {

using namespace vlm;
using namespace vlm::test;

const XCHAR* const SHIPPED = VTEXT("C:\\Driver\\q7lrs.dll");
const XCHAR* const SHIPPED_LOADER = VTEXT("C:\\Driver\\q7lrsl.dll");
const XCHAR* const IN_FORCE = VTEXT("C:\\Windows\\System32\\q7lrs.dll");
const XCHAR* const LOADER = VTEXT("C:\\Windows\\System32\\q7lrsl.dll");
const XCHAR* const PENDING = VTEXT("C:\\Windows\\System32\\q7lrs.new");

/// A file with a version resource somewhere in it.
std::vector<BYTE> Dll(const char* pszVersionHex) {
    return FromHex(std::string("4D5A9000") + "340000000000" +
                   "560053005F00560045005200530049004F004E005F0049004E0046004F000000" + "0000" + "BD04EFFE" +
                   "00000100" + pszVersionHex + "3F000000");
}

const char* const V5_0_1_0 = "00000500 00000100";
const char* const V5_0_2_0 = "00000500 00000200";

void AddDriver(FakePlatform& rFake, const char* pszVersionHex = V5_0_1_0) {
    rFake.files.AddFolder(VTEXT("C:\\Windows\\System32"));
    rFake.files.AddFile(SHIPPED, Dll(pszVersionHex));
    rFake.files.AddFile(SHIPPED_LOADER, Dll(pszVersionHex));
    rFake.spooler.SetScript(
        [](XStringView, std::span<const BYTE>, std::size_t, std::vector<BYTE>&) { return Status::Success; });
}

std::string ContentsHex(const FakePlatform& rFake, const XCHAR* pszPath) {
    const auto ovby = rFake.files.Contents(pszPath);
    return ovby ? ToHex(*ovby) : "(none)";
}

/// A driver to install from, and a spooler that answers.
class PortMonitorInstall : public testing::Test {
protected:
    PortMonitorInstall() { AddDriver(oFake); }

    FakePlatform oFake;
    const PlatformScope oScope{oFake.Get()};
    RecordingSink oSink;
    VelomPortMonitor oMonitor;
};

TEST_F(PortMonitorInstall, CopiesRegistersAndAsks) {
    EXPECT_FALSE(oMonitor.IsVelomPortMonitorInstalled(false));
    EXPECT_TRUE(oMonitor.InstallAndUpgrade(false));
    ASSERT_EQ(oFake.spooler.Monitors().size(), 1u);
    EXPECT_EQ(oFake.spooler.Monitors()[0].name, VTEXT("Velom Virtualization Port"));
    EXPECT_EQ(oFake.spooler.Monitors()[0].environment, VTEXT("Windows x64"));
    EXPECT_EQ(oFake.spooler.Monitors()[0].dll, VTEXT("q7lrsl.dll"));
    EXPECT_EQ(ContentsHex(oFake, IN_FORCE), ToHex(Dll(V5_0_1_0)));
    EXPECT_EQ(ContentsHex(oFake, LOADER), ToHex(Dll(V5_0_1_0)));
    EXPECT_EQ(oFake.spooler.Commands(), (std::vector<test::XString>{VTEXT("isready")}));
    EXPECT_TRUE(oMonitor.IsVelomPortMonitorInstalled(true));
    EXPECT_FALSE(oFake.identity.IsPrivilegeOn(VTEXT("SeLoadDriverPrivilege"))) << "given back";
    EXPECT_TRUE(oMonitor.AddOurMonitor()) << "once more is fine";
    EXPECT_TRUE(oMonitor.InstallAndUpgrade(true)) << "nothing newer: it is only asked";
    EXPECT_EQ(oFake.spooler.Commands().back(), VTEXT("isready"));
    for (const RecordingSink::Report& rReport : oSink.Reports())
        EXPECT_FALSE(rReport.fError) << rReport.text;
}

TEST(PortMonitorInstallFiles, OnlyAnOlderFileIsReplaced) {
    const struct {
        std::vector<BYTE> vbyThere;
        bool fReplaced;
    } aRows[] = {{Dll(V5_0_1_0), true}, {Dll(V5_0_2_0), false}, {BytesOf("x"), true}};
    for (const auto& rRow : aRows) {
        FakePlatform oFake;
        AddDriver(oFake, V5_0_2_0);
        oFake.files.AddFile(IN_FORCE, rRow.vbyThere);
        const PlatformScope oScope(oFake.Get());
        EXPECT_TRUE(VelomPortMonitor().InstallAndUpgrade(false));
        EXPECT_EQ(ContentsHex(oFake, IN_FORCE), ToHex(rRow.fReplaced ? Dll(V5_0_2_0) : rRow.vbyThere));
    }
}

TEST_F(PortMonitorInstall, UpgradesByAFileBesideTheOneInForce) {
    ASSERT_TRUE(oMonitor.InstallAndUpgrade(false));
    oFake.files.AddFile(SHIPPED, Dll(V5_0_2_0));
    EXPECT_TRUE(oMonitor.InstallAndUpgrade(false));
    EXPECT_EQ(ContentsHex(oFake, PENDING), "(none)") << "not asked to";
    EXPECT_TRUE(oMonitor.InstallAndUpgrade(true));
    EXPECT_EQ(ContentsHex(oFake, PENDING), ToHex(Dll(V5_0_2_0)));
    EXPECT_EQ(ContentsHex(oFake, IN_FORCE), ToHex(Dll(V5_0_1_0))) << "the monitor itself changes places";
    EXPECT_EQ(oFake.spooler.Commands()[oFake.spooler.Commands().size() - 2], VTEXT("upgrade"));

    const auto Answer = [&](Status status) {
        oFake.spooler.SetScript(
            [status](XStringView, std::span<const BYTE>, std::size_t, std::vector<BYTE>&) { return status; });
    };
    Answer(Status::AlreadyExists);
    EXPECT_TRUE(oMonitor.UpgradeVelomPortMonitor()) << "what is in force is not older";
    EXPECT_EQ(ContentsHex(oFake, PENDING), "(none)");
    Answer(Status::AccessDenied);
    EXPECT_FALSE(oMonitor.UpgradeVelomPortMonitor());
    EXPECT_EQ(oMonitor.GetLastStatus(), ToDword(Status::AccessDenied));
    EXPECT_FALSE(oMonitor.IsVelomPortMonitorFunctional(true));
    EXPECT_FALSE(oMonitor.InstallAndUpgrade(true)) << "a monitor that does not answer";
}

TEST_F(PortMonitorInstall, WhatIsMissingIsNotFatalUntilTheSpoolerMissesIt) {
    oFake.process.SetSystemFolder(VTEXT(""));
    EXPECT_TRUE(VelomPortMonitor().InstallAndUpgrade(true)) << "an embedded spooler has no folder";
    EXPECT_TRUE(VelomPortMonitor().UpgradeVelomPortMonitor());
    oFake.spooler.DeleteMonitorByName(MONITOR_NAME, nullptr);
    oFake.spooler.SetMissingDll(VTEXT("q7lrsl.dll"));
    EXPECT_FALSE(oMonitor.InstallAndUpgrade(true));
    EXPECT_EQ(oMonitor.GetLastStatus(), ToDword(Status::ModuleNotFound));
}

TEST(PortMonitorInstallFiles, VersionsAreFoundInAnyBytes) {
    const auto Find = [](const std::vector<BYTE>& rvbyFile) {
        return FindFileVersion(ByteBuffer(rvbyFile.data(), rvbyFile.size()));
    };
    const std::vector<BYTE> vbyDll = Dll("01000500 04000300");
    EXPECT_EQ(Find(vbyDll), DriverVersion(5, 1, 3, 4));
    EXPECT_EQ(Find({vbyDll.begin(), vbyDll.end() - 5}), DriverVersion());
    std::vector<BYTE> vbyTwice = Dll(V5_0_1_0);
    vbyTwice[44] = 0;  // the signature
    vbyTwice.insert(vbyTwice.end(), vbyDll.begin(), vbyDll.end());
    EXPECT_EQ(Find(vbyTwice), DriverVersion(5, 1, 3, 4)) << "a key without its signature is passed over";
}

TEST_F(PortMonitorInstall, TheNameComesFromTheLanguageResourcesWhereTheyAre) {
    const auto hModule = reinterpret_cast<HINSTANCE>(std::uintptr_t{0x10000});
    EXPECT_EQ(VelomPortMonitor::GetPortMonitorName(), MONITOR_NAME);
    oFake.process.AddResources(VTEXT("C:\\Driver\\Velom\\V5.0\\Language Data\\x64\\Neutral\\q9txt073.dll"), hModule);
    for (const XCHAR* const pszName : {VTEXT("a\\b"), VTEXT("a,b"), VTEXT("\t"), VTEXT("")}) {
        oFake.text.AddString(hModule, 2001, pszName);
        EXPECT_EQ(VelomPortMonitor::GetPortMonitorName(), MONITOR_NAME);
    }
    oFake.text.AddString(hModule, 2001, VTEXT("Velom Port"));
    EXPECT_EQ(VelomPortMonitor::GetPortMonitorName(), VTEXT("Velom Port"));
    EXPECT_EQ(VelomPortMonitor::GetPortMonitorNameForScrubber(VTEXT("D:\\x")), MONITOR_NAME);
    EXPECT_EQ(VelomPortMonitor::GetPortMonitorNameForScrubber(VTEXT("C:\\Driver")), VTEXT("Velom Port"));
    EXPECT_EQ(oFake.process.LoadedResources(), 0);
}

/// Each file is as it was or complete, and a registered monitor has its files.
void CheckFiles(FakePlatform& rFake) {
    for (const XCHAR* const pszPath : {IN_FORCE, LOADER, PENDING}) {
        const std::string hex = ContentsHex(rFake, pszPath);
        EXPECT_TRUE(hex == "(none)" || hex == ToHex(Dll(V5_0_1_0)) || hex == ToHex(Dll(V5_0_2_0))) << hex;
    }
}

TEST(PortMonitorInstallFaults, NoFileIsAPart) {
    for (const bool fUpgrade : {false, true}) {
        SCOPED_TRACE(fUpgrade ? "upgrading" : "installing");
        FaultLoop oLoop;
        oLoop.vModes = {FaultMode::FailOnce, FaultMode::FailFrom, FaultMode::ShortOnce, FaultMode::KillAt,
                        FaultMode::KillTorn};
        oLoop.vStatuses = {Status::AccessDenied, Status::SharingViolation};
        oLoop.fnPrepare = [fUpgrade](FakePlatform& rFake) {
            rFake.identity.SetMisuseFailsTest(false);
            AddDriver(rFake, V5_0_2_0);
            rFake.files.AddFile(IN_FORCE, Dll(V5_0_1_0));
            if (fUpgrade) rFake.spooler.AddMonitor(MONITOR_NAME, VTEXT("q7lrsl.dll"));
        };
        oLoop.fnRun = [] {
            VelomPortMonitor oMonitor;
            return oMonitor.InstallAndUpgrade(true) ? FaultOutcome::Succeeded : FaultOutcome::Failed;
        };
        oLoop.fnCheck = [fUpgrade](FakePlatform& rFake, FaultOutcome eOutcome) {
            CheckFiles(rFake);
            if (eOutcome != FaultOutcome::Succeeded) return;
            EXPECT_EQ(rFake.spooler.Monitors().size(), 1u);
            EXPECT_EQ(ContentsHex(rFake, fUpgrade ? PENDING : IN_FORCE), ToHex(Dll(V5_0_2_0)));
            EXPECT_EQ(ContentsHex(rFake, LOADER), fUpgrade ? "(none)" : ToHex(Dll(V5_0_2_0)));
        };
        oLoop.fnCheckAfterKill = CheckFiles;
        EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 12u);
    }
}

TEST_F(PortMonitorInstall, RemovesTheMonitorAndBothFiles) {
    ASSERT_TRUE(oMonitor.InstallAndUpgrade(false));
    EXPECT_TRUE(oMonitor.DeleteOurMonitor(false));
    EXPECT_FALSE(oMonitor.IsChannelOpen());
    EXPECT_NE(ContentsHex(oFake, LOADER), "(none)") << "the files only when asked";
    EXPECT_TRUE(oMonitor.DeleteOurMonitor(true)) << "a monitor that is not there is fine";
    EXPECT_EQ(ContentsHex(oFake, LOADER) + ContentsHex(oFake, IN_FORCE), "(none)(none)");
    EXPECT_EQ(ContentsHex(oFake, SHIPPED), ToHex(Dll(V5_0_1_0)));
    EXPECT_TRUE(oFake.spooler.Monitors().empty());
    EXPECT_TRUE(oMonitor.deletePortMonitorDll(LOADER));
    EXPECT_EQ(oSink.Count("The PortMonitor Dll C:\\Windows\\System32\\q7lrsl.dll "
                          "doesn't exists. Either it is already "
                          "deleted or Port Monitor is not yet Installed"),
              1u);
}

TEST_F(PortMonitorInstall, AFileInUseGoesAtTheNextStart) {
    ASSERT_TRUE(oMonitor.InstallAndUpgrade(false));
    HANDLE hFile = nullptr;
    ASSERT_EQ(oFake.files.Open(LOADER, {}, hFile), Status::Success);
    EXPECT_TRUE(oMonitor.DeleteOurMonitor(true)) << "scheduling it is a success";
    EXPECT_EQ(oSink.Count("The Portmonitor Dll C:\\Windows\\System32\\q7lrsl.dll "
                          "is not Deleted - "),
              1u);
    EXPECT_EQ(oSink.Count(" - marking the dll to be Deleted on Reboot"), 1u);
    EXPECT_EQ(oSink.Count("Port Monitor Dll C:\\Windows\\System32\\q7lrsl.dll is "
                          "successfully marked to be deleted after "
                          "restart"),
              1u);
    EXPECT_NE(ContentsHex(oFake, LOADER), "(none)");
    oFake.files.Close(hFile);
    oFake.files.Restart();
    EXPECT_EQ(ContentsHex(oFake, LOADER), "(none)");
    oSink.Clear();
    EXPECT_FALSE(oMonitor.deleteDllAfterSystemRestart(CXString()));
    EXPECT_EQ(oSink.Count("Port Monitor Dll  marking for Deletion after restart "
                          "is failed - Use Scrubber to delete it"),
              1u);
}

TEST(PortMonitorInstallFaults, ARemovalCanBeRepeated) {
    FaultLoop oLoop;
    oLoop.vModes = {FaultMode::FailOnce, FaultMode::FailFrom, FaultMode::KillAt};
    oLoop.vStatuses = {Status::AccessDenied, Status::SharingViolation};
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        rFake.identity.SetMisuseFailsTest(false);
        AddDriver(rFake);
        rFake.files.AddFile(IN_FORCE, Dll(V5_0_1_0));
        rFake.files.AddFile(LOADER, Dll(V5_0_1_0));
        rFake.spooler.AddMonitor(MONITOR_NAME, VTEXT("q7lrsl.dll"));
    };
    oLoop.fnRun = [] {
        VelomPortMonitor oMonitor;
        return oMonitor.DeleteOurMonitor(true) ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome eOutcome) {
        rFake.files.Restart();
        if (eOutcome != FaultOutcome::Succeeded) return;
        EXPECT_TRUE(rFake.spooler.Monitors().empty());
        EXPECT_EQ(rFake.files.FileNames().size(), 2u) << "those of the driver";
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 5u);
}

}  // namespace
