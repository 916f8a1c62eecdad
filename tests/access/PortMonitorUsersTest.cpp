/// @file
/// Roots, users, their low-rights data, and the virtualisation check.
#include <gtest/gtest.h>

#include "access/PortMonitorBench.h"
#include "support/FaultLoop.h"
#include "utilities/utilitiesdll/CriticalResource.h"
#include "utilities/utilitiesdll/LowRightsStorage.h"

namespace {

using namespace vlm;
using namespace vlm::test;

FakeIdentityPort::Identity Someone(DWORD dwIntegrity, bool fAdministrator) {
    return FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-9-9-9-1001"), dwIntegrity, fAdministrator);
}

/// The keys and paths of the roots show in the registry keys that are opened by them.
TEST(PortMonitorRoots, RightsAndNumbersBeyondTheTable) {
    PortMonitorBench oBench;
    const RecordingSink oSink;
    std::string withoutAdministrator;
    for (int i = 0; i <= HKeyRegistry::Hkey_Last; ++i) {
        if (!VelomPortMonitor::AreAdminRightsRequired(static_cast<_HKEYREGISTRY_>(i)))
            withoutAdministrator += std::to_string(i) + " ";
    }
    EXPECT_EQ(withoutAdministrator, "0 6 7 8 9 18 19 20 ");
    EXPECT_TRUE(oSink.Texts().empty());
    EXPECT_EQ(VelomPortMonitor::GetRegHkeyFromContext(static_cast<_HKEYREGISTRY_>(21), false), nullptr);
    EXPECT_EQ(oSink.Count("Invalid HKeyRegistry (21)"), 1u);
    EXPECT_EQ(oSink.Count("(HKeyRegistry::Hkey_First <= hKey && hKey <= HKeyRegistry::Hkey_Last)"), 1u);
}

TEST(PortMonitorRoots, WhoMayNotWriteItselfGoesThroughTheMonitor) {
    PortMonitorBench oBench;
    const auto Required = [] {
        std::string roots;
        for (int i = 0; i <= HKeyRegistry::Hkey_Last; ++i) {
            if (VelomPortMonitor::IsXPMRegistryRequired(static_cast<_HKEYREGISTRY_>(i)))
                roots += std::to_string(i) + " ";
        }
        return roots;
    };
    EXPECT_EQ(Required(), "1 2 3 4 5 ");
    oBench.oFake.identity.SetProcessIdentity(Someone(IdentityPort::INTEGRITY_LOW, false));
    EXPECT_EQ(Required(), "1 2 3 4 5 6 7 8 ");
    oBench.oFake.identity.SetProcessIdentity(Someone(IdentityPort::INTEGRITY_HIGH, true));
    EXPECT_EQ(Required(), "");
    oBench.oFake.identity.Impersonate(Someone(IdentityPort::INTEGRITY_MEDIUM, false));
    EXPECT_EQ(Required(), "1 2 3 4 5 ");
    oBench.oFake.process.SetModulePath(nullptr, VTEXT("C:\\Windows\\System32\\SpoolSv.EXE"));
    EXPECT_EQ(CriticalResource::GetDriverLoadedContext(), DriverLoadedContext::DLC_SPOOLER);
    EXPECT_EQ(Required(), "") << "the spooler does not ask itself";
}

TEST(PortMonitorUsers, SidsAreThoseOfTheUserInCharge) {
    PortMonitorBench oBench;
    FakeIdentityPort& rIdentity = oBench.oFake.identity;
    rIdentity.AddAccount(VTEXT("HOME\\ann"), VTEXT("S-1-5-21-7-7-7-1005"));
    EXPECT_EQ(VelomPortMonitor::GetUserSID(CXString(), false), VTEXT("S-1-5-21-1-2-3-1001"));
    EXPECT_EQ(VelomPortMonitor::GetUserSID(VTEXT("HOME\\ann"), true), VTEXT("S-1-5-21-7-7-7-1005"));
    EXPECT_EQ(VelomPortMonitor::GetUserSID(VTEXT("HOME\\nobody"), true), VTEXT(""));
    EXPECT_EQ(VelomPortMonitor::GetUserSIDIfNeeded(HKeyRegistry::Hkey_Machine_Velom, true), VTEXT(""));
    EXPECT_EQ(VelomPortMonitor::GetUserSIDIfNeeded(HKeyRegistry::Hkey_User_Velom, true), VTEXT("S-1-5-21-1-2-3-1001"));
    CXString csSid = VTEXT(".DEFAULT");
    EXPECT_TRUE(VelomPortMonitor::GetUserSIDIfNeeded(HKeyRegistry::Hkey_User_Velom, true, csSid));
    EXPECT_EQ(csSid, VTEXT(".DEFAULT"));
    rIdentity.SetProcessIdentity(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-18"), IdentityPort::INTEGRITY_SYSTEM));
    EXPECT_EQ(VelomPortMonitor::GetUserSID(CXString(), false), VTEXT("S-1-5-18"));
    EXPECT_EQ(VelomPortMonitor::GetUserSID(CXString(), true), VTEXT(".DEFAULT"));
}

TEST(PortMonitorUsers, WhatIsNoSidIsNotSent) {
    PortMonitorBench oBench;
    RecordingSink oSink;
    VelomPortMonitor oMonitor;
    for (const XCHAR* const pszSid :
         {VTEXT(""), VTEXT("ann"), VTEXT("S-1-5-18\\x"), static_cast<const XCHAR*>(nullptr)})
        EXPECT_FALSE(oMonitor.RemoveLRSDataForUser(pszSid));
    EXPECT_TRUE(oBench.vvbyInputs.empty());
    EXPECT_EQ(oSink.Count(" not removed! "), 4u);
}

TEST(LowRightsStorageTest, NamesThePartOfOneUserOrNothing) {
    PortMonitorBench oBench;
    const LowRightsStorage oOwn(VTEXT("DeviceSettings"));
    EXPECT_EQ(oOwn.GetSID(), VTEXT("S-1-5-21-1-2-3-1001"));
    EXPECT_EQ(oOwn.GetKeyPath(),
              VTEXT("Software\\Velom\\PrinterDriver\\V5.0\\LowRightsStorage\\S-1-5-21-1-2-3-1001\\DeviceSettings"));
    EXPECT_EQ(LowRightsStorage(VTEXT("x"), LowRightsStorage::DEFAULT_USER).GetKeyPath(),
              LowRightsStorage::GetBasePath() + VTEXT("\\.DEFAULT\\x"));
    for (const XCHAR* const pszSid : {VTEXT("..\\x"), VTEXT("S-1-5-18\\x"), VTEXT("ann")}) {
        EXPECT_FALSE(LowRightsStorage(VTEXT("x"), pszSid).IsAvailable());
        EXPECT_EQ(LowRightsStorage(VTEXT("x"), pszSid).GetKeyPath(), VTEXT(""));
        EXPECT_EQ(LowRightsStorage::GetPathOfUser(pszSid), VTEXT(""));
    }
    oBench.oFake.identity.SetProcessIdentity({});
    EXPECT_FALSE(LowRightsStorage(VTEXT("x")).IsAvailable());
}

const XCHAR* const CHECK_PATH = VTEXT("HKEY_USERS\\.DEFAULT\\Software\\Velom\\PrinterDriver\\V5.0");

TEST(PortMonitorVirtualisation, IsFoundOutOnceByTheWayRound) {
    for (const bool fSameRegistry : {true, false}) {
        VelomPortMonitor::CleanUp();
        PortMonitorBench oBench;
        FakeSpoolerPort& rSpooler = oBench.oFake.spooler;
        rSpooler.SetScript([&](XStringView, std::span<const BYTE> input, std::size_t, std::vector<BYTE>&) {
            if (input[16] == 15 && fSameRegistry)
                oBench.oFake.registry.AddValue(CHECK_PATH, VTEXT("VRCheck"), 4, {input.end() - 6, input.end() - 2});
            return Status::Success;
        });
        rSpooler.RefuseOpen(static_cast<Status>(SpoolerPort::UNKNOWN_PORT));
        EXPECT_FALSE(VelomPortMonitor::IsRegistryVirtualized()) << "nobody to ask";
        rSpooler.RefuseOpen(Status::Success);
        EXPECT_EQ(VelomPortMonitor::IsRegistryVirtualized(), !fSameRegistry);
        // Written, and taken back; written again when it did not come back.
        const std::size_t cCommands = rSpooler.Commands().size();
        EXPECT_EQ(cCommands, fSameRegistry ? 2u : 4u);
        EXPECT_EQ(VelomPortMonitor::IsRegistryVirtualized(), !fSameRegistry);
        EXPECT_EQ(rSpooler.Commands().size(), cCommands);
        EXPECT_EQ(oBench.oFake.registry.OpenHandles(), 0u);
    }
    VelomPortMonitor::CleanUp();
}

TEST(PortMonitorUsers, WhateverFailsTheAnswerIsTheOneOrNone) {
    static const CXString csNone, csSystem = VTEXT("S-1-5-18"), csDefault = VTEXT(".DEFAULT");
    const auto IsHad = [](const CXString& kcsSid, const CXString& kcsExpected) {
        if (!kcsSid.IsEmpty() && kcsSid != kcsExpected) throw std::logic_error("somebody else's SID");
        return kcsSid.IsEmpty() ? FaultOutcome::Failed : FaultOutcome::Succeeded;
    };
    bool fSameRegistry = false;
    FaultLoop oLoop;
    oLoop.fnPrepare = [&](FakePlatform& rFake) {
        rFake.identity.SetProcessIdentity(FakeIdentityPort::MakeIdentity(csSystem, IdentityPort::INTEGRITY_SYSTEM));
        rFake.spooler.AddMonitor(MONITOR_NAME, VTEXT("q7lrsl.dll"));
        rFake.spooler.SetScript([&](XStringView, std::span<const BYTE> input, std::size_t, std::vector<BYTE>&) {
            if (input[16] == 15 && fSameRegistry)
                rFake.registry.AddValue(CHECK_PATH, VTEXT("VRCheck"), 4, {input.end() - 6, input.end() - 2});
            return Status::Success;
        });
    };
    const auto IsVirtualized = [&](bool fSame) {
        fSameRegistry = fSame;
        VelomPortMonitor::CleanUp();
        const bool fVirtualized = VelomPortMonitor::IsRegistryVirtualized();
        VelomPortMonitor::CleanUp();
        return fVirtualized;
    };
    const FaultRow aoRows[] = {
        {"the default user's SID", [=] { return IsHad(VelomPortMonitor::GetUserSID(csNone, true), csDefault); }},
        {"a SID that is needed",
         [=] { return IsHad(VelomPortMonitor::GetUserSIDIfNeeded(HKeyRegistry::Hkey_User_Velom, true), csSystem); }},
        {"a number that is no root",
         [] {
             const RecordingSink oSink;
             const HKEY hKey = VelomPortMonitor::GetRegHkeyFromContext(static_cast<_HKEYREGISTRY_>(21), false);
             return hKey ? FaultOutcome::Failed : FaultOutcome::Succeeded;
         }},
        {"another registry than the monitor's",
         [&] { return IsVirtualized(false) ? FaultOutcome::Succeeded : FaultOutcome::Failed; }},
        {"the monitor's own registry",
         [&] {
             if (IsVirtualized(true)) throw std::logic_error("no answer is not an answer");
             return FaultOutcome::Succeeded;
         }},
    };
    RunFaultRows(aoRows, oLoop);
}

}  // namespace
