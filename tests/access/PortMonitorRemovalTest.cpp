/// @file
/// Removing the monitor, on fake files and a fake spooler.
#include <gtest/gtest.h>

#include "access/PortMonitorDriver.h"
#include "support/FaultLoop.h"

namespace {

using namespace vlm;
using namespace vlm::test;

TEST(PortMonitorRemoval, RemovesTheMonitorAndBothFiles) {
    FakePlatform oFake;
    AddDriver(oFake);
    const PlatformScope oScope(oFake.Get());
    RecordingSink oSink;
    VelomPortMonitor oMonitor;
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

TEST(PortMonitorRemoval, AFileInUseGoesAtTheNextStart) {
    FakePlatform oFake;
    AddDriver(oFake);
    const PlatformScope oScope(oFake.Get());
    RecordingSink oSink;
    VelomPortMonitor oMonitor;
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

TEST(PortMonitorRemoval, WhateverFailsARemovalCanBeRepeated) {
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
