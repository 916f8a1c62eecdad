/// @file
/// Installing and upgrading the monitor, on fake files and a fake spooler.
#include <gtest/gtest.h>

#include "access/PortMonitorDriver.h"
#include "environment/PortMonitorFilesImpl.h"
#include "support/FaultLoop.h"

namespace {

using namespace vlm;
using namespace vlm::test;

TEST(PortMonitorInstall, CopiesRegistersAndAsks) {
    FakePlatform oFake;
    AddDriver(oFake);
    const PlatformScope oScope(oFake.Get());
    const RecordingSink oSink;
    VelomPortMonitor oMonitor;
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

TEST(PortMonitorInstall, OnlyAnOlderFileIsReplaced) {
    const struct {
        std::vector<BYTE> vbyThere;
        bool fReplaced;
    } aRows[] = {
        {Dll(V5_0_1_0), true}, {Dll(V5_0_2_0), false}, {Dll("FFFFFFFF FFFFFFFF"), false}, {BytesOf("x"), true}};
    for (const auto& rRow : aRows) {
        FakePlatform oFake;
        AddDriver(oFake, V5_0_2_0);
        oFake.files.AddFile(IN_FORCE, rRow.vbyThere);
        const PlatformScope oScope(oFake.Get());
        EXPECT_TRUE(VelomPortMonitor().InstallAndUpgrade(false));
        EXPECT_EQ(ContentsHex(oFake, IN_FORCE), ToHex(rRow.fReplaced ? Dll(V5_0_2_0) : rRow.vbyThere));
    }
}

TEST(PortMonitorInstall, UpgradesByAFileBesideTheOneInForce) {
    FakePlatform oFake;
    AddDriver(oFake);
    const PlatformScope oScope(oFake.Get());
    VelomPortMonitor oMonitor;
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

TEST(PortMonitorInstall, WhatIsMissingIsNotFatalUntilTheSpoolerMissesIt) {
    FakePlatform oFake;
    AddDriver(oFake);
    oFake.process.SetSystemFolder(VTEXT(""));
    const PlatformScope oScope(oFake.Get());
    EXPECT_TRUE(VelomPortMonitor().InstallAndUpgrade(true)) << "an embedded spooler has no folder";
    EXPECT_TRUE(VelomPortMonitor().UpgradeVelomPortMonitor());
    oFake.spooler.DeleteMonitorByName(MONITOR_NAME, nullptr);
    oFake.spooler.SetMissingDll(VTEXT("q7lrsl.dll"));
    VelomPortMonitor oMonitor;
    EXPECT_FALSE(oMonitor.InstallAndUpgrade(true));
    EXPECT_EQ(oMonitor.GetLastStatus(), ToDword(Status::ModuleNotFound));
}

TEST(PortMonitorInstall, VersionsAreFoundInAnyBytes) {
    const auto Find = [](const std::vector<BYTE>& rvbyFile) {
        return FindFileVersion(ByteBuffer(rvbyFile.data(), rvbyFile.size()));
    };
    const std::vector<BYTE> vbyDll = Dll("01000500 04000300");
    EXPECT_EQ(Find(vbyDll), DriverVersion(5, 1, 3, 4));
    for (std::size_t cBytes = 0; cBytes < vbyDll.size() - 4; ++cBytes)
        EXPECT_EQ(Find({vbyDll.begin(), vbyDll.begin() + static_cast<std::ptrdiff_t>(cBytes)}), DriverVersion());
    std::vector<BYTE> vbyTwice = Dll(V5_0_1_0);
    vbyTwice[44] = 0;  // the signature
    vbyTwice.insert(vbyTwice.end(), vbyDll.begin(), vbyDll.end());
    EXPECT_EQ(Find(vbyTwice), DriverVersion(5, 1, 3, 4)) << "a key without its signature is passed over";
}

TEST(PortMonitorInstall, TheNameComesFromTheLanguageResourcesWhereTheyAre) {
    FakePlatform oFake;
    const PlatformScope oScope(oFake.Get());
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

TEST(PortMonitorInstall, WhateverFailsNoFileIsAPart) {
    FaultLoop oLoop;
    oLoop.vModes = {FaultMode::FailOnce, FaultMode::FailFrom, FaultMode::ShortOnce, FaultMode::KillAt,
                    FaultMode::KillTorn};
    oLoop.vStatuses = {Status::AccessDenied, Status::SharingViolation};
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        rFake.identity.SetMisuseFailsTest(false);
        AddDriver(rFake, V5_0_2_0);
        rFake.files.AddFile(IN_FORCE, Dll(V5_0_1_0));
    };
    oLoop.fnRun = [] {
        VelomPortMonitor oMonitor;
        return oMonitor.InstallAndUpgrade(true) ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome eOutcome) {
        CheckFiles(rFake);
        if (eOutcome != FaultOutcome::Succeeded) return;
        EXPECT_EQ(rFake.spooler.Monitors().size(), 1u);
        EXPECT_EQ(ContentsHex(rFake, IN_FORCE), ToHex(Dll(V5_0_2_0)));
        EXPECT_EQ(ContentsHex(rFake, LOADER), ToHex(Dll(V5_0_2_0)));
    };
    oLoop.fnCheckAfterKill = CheckFiles;
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 20u);
}

}  // namespace
