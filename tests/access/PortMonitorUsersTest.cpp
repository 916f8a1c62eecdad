/// @file
/// Roots, users, their low-rights data, and the virtualisation check.
#include <gtest/gtest.h>

#include "access/PortMonitorBench.h"
#include "utilities/utilitiesdll/CriticalResource.h"
#include "utilities/utilitiesdll/LowRightsStorage.h"

namespace {

using namespace vlm;
using namespace vlm::test;

FakeIdentityPort::Identity Someone(DWORD dwIntegrity, bool fAdministrator) {
    return FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-9-9-9-1001"), dwIntegrity, fAdministrator);
}

TEST(PortMonitorRoots, EachRootHasItsKeyBaseAndRules) {
    PortMonitorBench oBench;
    const struct {
        DWORD dwDirect;
        DWORD dwUsersTree;
        const char* pszBase;
        bool fAdminRights;
        bool fSid;
        bool fUsersSid;
    } aRows[] = {
        {0, 0, "", false, false, false},
        {0x80000002, 0x80000002, "Software\\Velom\\PrinterDriver\\V5.0\\LowRightsStorage", true, false, false},
        {0x80000002, 0x80000002, "Software\\Velom\\PrinterDriver\\V5.0\\LowRightsStorage\\S", true, true, true},
        {0x80000002, 0x80000002, "Software\\Velom", true, false, false},
        {0x80000002, 0x80000002, "Software\\Velom\\PrinterDriver", true, false, false},
        {0x80000002, 0x80000002, "Software\\Velom\\PrinterDriver\\V5.0", true, false, false},
        {0x80000001, 0x80000003, "Software\\Velom", false, false, true},
        {0x80000001, 0x80000003, "Software\\Velom\\PrinterDriver", false, false, true},
        {0x80000001, 0x80000003, "Software\\Velom\\PrinterDriver\\V5.0", false, false, true},
        {0x80000001, 0x80000003, "", false, false, true},
        {0x80000000, 0x80000000, "", true, false, false},
        {0x80000003, 0x80000003, "", true, false, false},
        {0x80000002, 0x80000002, "", true, false, false},
        {0x80000004, 0x80000004, "", true, false, false},
        {0x80000050, 0x80000050, "", true, false, false},
        {0x80000060, 0x80000060, "", true, false, false},
        {0x80000005, 0x80000005, "", true, false, false},
        {0x80000006, 0x80000006, "", true, false, false},
        {0x80000007, 0x80000007, "", false, false, false},
        {0, 0, "", false, false, false},
        {0, 0, "", false, false, false},
    };
    RecordingSink oSink;
    const auto Number = [](HKEY hKey) { return static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(hKey)); };
    for (int i = 0; i <= HKeyRegistry::Hkey_Last; ++i) {
        SCOPED_TRACE(i);
        const auto eRoot = static_cast<_HKEYREGISTRY_>(i);
        EXPECT_EQ(Number(VelomPortMonitor::GetRegHkeyFromContext(eRoot, false)), aRows[i].dwDirect);
        EXPECT_EQ(Number(VelomPortMonitor::GetRegHkeyFromContext(eRoot, true)), aRows[i].dwUsersTree);
        EXPECT_EQ(Narrow(VelomPortMonitor::GetKeyPathFromHkey(eRoot, false, VTEXT("S")).View()), aRows[i].pszBase);
        EXPECT_EQ(VelomPortMonitor::AreAdminRightsRequired(eRoot), aRows[i].fAdminRights);
        EXPECT_EQ(VelomPortMonitor::IsSIDRequired(eRoot, false), aRows[i].fSid);
        EXPECT_EQ(VelomPortMonitor::IsSIDRequired(eRoot, true), aRows[i].fUsersSid);
    }
    EXPECT_EQ(VelomPortMonitor::GetKeyPathFromHkey(HKeyRegistry::Hkey_User_Velom, true, VTEXT("S")),
              VTEXT("S\\Software\\Velom"));
    EXPECT_EQ(VelomPortMonitor::GetKeyPathFromHkey(HKeyRegistry::Hkey_Current_User, true, VTEXT("S")), VTEXT("S"));
    EXPECT_TRUE(oSink.Texts().empty());
    EXPECT_EQ(VelomPortMonitor::GetRegHkeyFromContext(static_cast<_HKEYREGISTRY_>(21), false), nullptr);
    EXPECT_EQ(oSink.Count("Invalid HKeyRegistry (21)"), 1u);
    EXPECT_EQ(oSink.Count("(HKeyRegistry::Hkey_First <= hKey && hKey <= HKeyRegistry::Hkey_Last)"), 1u);
}

TEST(PortMonitorRoots, PathsAreJoinedOnce) {
    const struct {
        const XCHAR* pszBase;
        const XCHAR* pszSubKey;
        const XCHAR* pszJoined;
    } aRows[] = {
        {VTEXT("Software\\Velom"), VTEXT("a\\b"), VTEXT("Software\\Velom\\a\\b")},
        {VTEXT("Software\\Velom"), VTEXT("SOFTWARE\\velom\\a"), VTEXT("SOFTWARE\\velom\\a")},
        {VTEXT("Software\\Velom"), VTEXT("x\\Software\\Velom\\a"), VTEXT("x\\Software\\Velom\\a")},
        {VTEXT("Software\\Velom"), VTEXT(""), VTEXT("Software\\Velom")},
        {VTEXT(""), VTEXT("a"), VTEXT("a")},
        {VTEXT(""), VTEXT(""), VTEXT("")},
    };
    for (const auto& rRow : aRows)
        EXPECT_EQ(VelomPortMonitor::MakePath(rRow.pszBase, rRow.pszSubKey), rRow.pszJoined);
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

TEST(PortMonitorUsers, LowRightsDataIsRemovedByCommand) {
    PortMonitorBench oBench;
    RecordingSink oSink;
    VelomPortMonitor oMonitor;
    EXPECT_TRUE(oMonitor.RemoveLRSDataForUser(VTEXT("S-1-5-18")));
    EXPECT_EQ(ToHex(oBench.vvbyInputs.back()), "53002D0031002D0035002D00310038000000");
    EXPECT_TRUE(oMonitor.RemoveLRSData());
    EXPECT_TRUE(oBench.vvbyInputs.back().empty());
    EXPECT_EQ(oBench.oFake.spooler.Commands(), (std::vector<test::XString>{VTEXT("XRemoveSID"), VTEXT("XRemoveLRS")}));
    for (const XCHAR* const pszSid :
         {VTEXT(""), VTEXT("ann"), VTEXT("S-1-5-18\\x"), static_cast<const XCHAR*>(nullptr)})
        EXPECT_FALSE(oMonitor.RemoveLRSDataForUser(pszSid));
    EXPECT_EQ(oBench.vvbyInputs.size(), 2u) << "what is no SID is not sent";
    oBench.Reply({}, Status::AccessDenied);
    EXPECT_FALSE(oMonitor.RemoveLRSData());
    EXPECT_FALSE(oMonitor.RemoveLRSDataForUser(VTEXT("S-1-5-18")));
    EXPECT_EQ(oSink.Count(" not removed! "), 6u);
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

/// A monitor that writes numbers into the registry below the default user, or into another one.
class CheckMonitor {
public:
    explicit CheckMonitor(PortMonitorBench& rBench, bool fSameRegistry) {
        VelomPortMonitor::CleanUp();
        rBench.oFake.spooler.SetScript(
            [&rBench, fSameRegistry](XStringView, std::span<const BYTE> input, std::size_t, std::vector<BYTE>&) {
                if (input[16] == 15 && fSameRegistry) {
                    rBench.oFake.registry.AddValue(VTEXT("HKEY_USERS\\.DEFAULT\\Software\\Velom\\PrinterDriver\\V5.0"),
                                                   VTEXT("VRCheck"), 4, {input.end() - 6, input.end() - 2});
                }
                return Status::Success;
            });
    }
    ~CheckMonitor() { VelomPortMonitor::CleanUp(); }
};

TEST(PortMonitorVirtualisation, IsFoundOutOnceByTheWayRound) {
    PortMonitorBench oBench;
    {
        const CheckMonitor oSame(oBench, true);
        EXPECT_FALSE(VelomPortMonitor::IsRegistryVirtualized());
        const std::size_t cCommands = oBench.oFake.spooler.Commands().size();
        EXPECT_EQ(cCommands, 2u) << "written, and taken back";
        EXPECT_FALSE(VelomPortMonitor::IsRegistryVirtualized());
        EXPECT_EQ(oBench.oFake.spooler.Commands().size(), cCommands);
    }
    {
        oBench.oFake.registry.RemoveKey(VTEXT("HKEY_USERS\\.DEFAULT"));
        const CheckMonitor oOther(oBench, false);
        EXPECT_TRUE(VelomPortMonitor::IsRegistryVirtualized());
        const std::size_t cCommands = oBench.oFake.spooler.Commands().size();
        EXPECT_TRUE(VelomPortMonitor::IsRegistryVirtualized());
        EXPECT_EQ(oBench.oFake.spooler.Commands().size(), cCommands);
    }
    const CheckMonitor oNone(oBench, true);
    oBench.oFake.spooler.RefuseOpen(static_cast<Status>(SpoolerPort::UNKNOWN_PORT));
    EXPECT_FALSE(VelomPortMonitor::IsRegistryVirtualized()) << "nobody to ask";
    oBench.oFake.spooler.RefuseOpen(Status::Success);
    EXPECT_FALSE(VelomPortMonitor::IsRegistryVirtualized());
    EXPECT_EQ(oBench.oFake.registry.OpenHandles(), 0u);
}

}  // namespace
