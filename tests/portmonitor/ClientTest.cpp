/// @file
/// The client joined to the monitor itself: every operation there and back, on a registry in memory.
#include "environment/PortMonitor.h"

#include <gtest/gtest.h>

#include <limits>

#include "MonitorBench.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"

namespace vlm::test {

namespace {

constexpr auto VERSION = HKeyRegistry::Hkey_Machine_Version;
constexpr auto USER = HKeyRegistry::Hkey_User_Version;

/// A platform whose embedded spooler leads to the monitor, and a user with few rights.
struct ClientBench {
    ClientBench() {
        oFake.spooler.AddMonitor(VTEXT("Velom Virtualization Port"), VTEXT("q7lrsl.dll"));
        oFake.registry.AddKey(VERSION_PATH);
        oFake.registry.AddKey(XString(VTEXT("HKEY_USERS\\")) + OWN_SID +
                              VTEXT("\\Software\\Velom\\PrinterDriver\\V5.0"));
        oFake.identity.Impersonate(FakeIdentityPort::MakeIdentity(OWN_SID));
    }

    FakePlatform oFake;
    const PlatformScope oScope{oFake.Get()};
};

/// Each test runs once with a root and once with a key handle.
class Client : public testing::TestWithParam<bool> {
protected:
    Client() {
        if (GetParam()) {
            EXPECT_TRUE(m_oMonitor.CreateKey(VERSION, VTEXT("Key"), 0xF003F, m_hKey));
        }
    }
    ~Client() override {
        if (m_hKey) {
            EXPECT_TRUE(m_oMonitor.CloseKey(m_hKey));
        }
    }

    std::string Stored(const XCHAR* pszName) {
        const auto oValue = m_oBench.oFake.registry.ValueAt(m_path, pszName);
        return oValue ? std::to_string(oValue->dwType) + ":" + ToHex(oValue->vbyData) : "-";
    }

    ClientBench m_oBench;
    VelomPortMonitor m_oMonitor;
    HKEY m_hKey = nullptr;
    const CXString m_csKey = VTEXT("Key");
    const XString m_path = XString(VERSION_PATH) + VTEXT("\\Key");
};

/// The operation in the form under test.
#define Q9_CALL(operation, ...) \
    (m_hKey ? m_oMonitor.operation(m_hKey, __VA_ARGS__) : m_oMonitor.operation(VERSION, m_csKey, __VA_ARGS__))

INSTANTIATE_TEST_SUITE_P(BothForms, Client, testing::Bool(),
                         [](const auto& rInfo) { return rInfo.param ? "ByHandle" : "ByRoot"; });

TEST_P(Client, ValuesComeBackAsTheyWereWritten) {
    const CXString v = VTEXT("v");
    for (const LONG lValue : {LONG{0}, LONG{-1}, std::numeric_limits<LONG>::min(), std::numeric_limits<LONG>::max()}) {
        LONG lRead = 1;
        EXPECT_TRUE(Q9_CALL(SetLongValue, v, lValue) && Q9_CALL(GetLongValue, v, lRead));
        EXPECT_EQ(lRead, lValue);
    }
    for (const LONGLONG llValue : {std::numeric_limits<LONGLONG>::min(), std::numeric_limits<LONGLONG>::max()}) {
        LONGLONG llRead = 1;
        EXPECT_TRUE(Q9_CALL(SetLong64Value, v, llValue) && Q9_CALL(GetLong64Value, v, llRead));
        EXPECT_EQ(llRead, llValue);
    }
    for (const bool fValue : {true, false}) {
        bool fRead = !fValue;
        EXPECT_TRUE(Q9_CALL(SetBooleanValue, v, fValue) && Q9_CALL(GetBooleanValue, v, fRead));
        EXPECT_EQ(fRead, fValue);
        fRead = !fValue;
        EXPECT_TRUE(Q9_CALL(GetClearBooleanValue, v, fRead));
        EXPECT_EQ(fRead, fValue);
        EXPECT_EQ(Stored(v), "-");
        EXPECT_FALSE(Q9_CALL(GetClearBooleanValue, v, fRead)) << "its first reader has consumed it";
        EXPECT_EQ(m_oMonitor.GetLastStatus(), ToDword(Status::FileNotFound));
    }
    for (const CXString& kcsValue : {CXString(), CXString(VTEXT("text")), CXString(VTEXT('x'), 20000)}) {
        CXString csRead = VTEXT("?");
        EXPECT_TRUE(Q9_CALL(SetStringValue, v, kcsValue) && Q9_CALL(GetStringValue, v, csRead));
        EXPECT_EQ(csRead, kcsValue);
    }
    for (const std::size_t cbValue : {std::size_t{0}, std::size_t{3}, bounds::MAX_REQUEST_DATA_BYTES}) {
        const ByteBuffer bbValue(std::vector<BYTE>(cbValue, 7));
        ByteBuffer bbRead(FromHex("AA"));
        EXPECT_TRUE(Q9_CALL(SetBytesValue, v, bbValue) && Q9_CALL(GetBytesValue, v, bbRead));
        EXPECT_EQ(bbRead, bbValue);
    }
    EXPECT_TRUE(Q9_CALL(SetLongValue, CXString(), LONG{5}));
    EXPECT_EQ(Stored(VTEXT("")), "4:05000000") << "no name is the key's default value";
}

TEST_P(Client, NamesCountsAndMovesAgree) {
    const std::vector<CXString> vcsNames = {VTEXT("a"), VTEXT("b"), VTEXT("C")};
    for (const CXString& kcsName : vcsNames)
        EXPECT_TRUE(Q9_CALL(SetLongValue, kcsName, LONG{1}));
    std::vector<CXString> vcsRead;
    DWORD cValues = 0;
    EXPECT_TRUE(Q9_CALL(EnumValueNames, vcsRead) && Q9_CALL(GetCountOfValues, cValues));
    EXPECT_EQ(vcsRead, vcsNames);
    EXPECT_EQ(cValues, 3u);
    EXPECT_TRUE(Q9_CALL(RenameValue, VTEXT("a"), VTEXT("A")) && Q9_CALL(RenameValue, VTEXT("b"), VTEXT("d")));
    EXPECT_TRUE(Q9_CALL(DeleteValue, VTEXT("C")));
    EXPECT_TRUE(Q9_CALL(EnumValueNames, vcsRead));
    EXPECT_EQ(vcsRead.size(), 2u);
    EXPECT_EQ(Stored(VTEXT("d")), "4:01000000");
    EXPECT_TRUE(Q9_CALL(DoesValueExist, VTEXT("d")));
    EXPECT_FALSE(Q9_CALL(DoesValueExist, VTEXT("b")));
    EXPECT_FALSE(Q9_CALL(DeleteValue, VTEXT("b")));
    EXPECT_TRUE(Q9_CALL(TestAccess, DWORD{0x20019}));

    ValueEnt aoEntries[] = {{VTEXT("d"), 0, nullptr, 0}, {VTEXT("A"), 0, nullptr, 0}};
    ByteBuffer bbValues;
    EXPECT_TRUE(Q9_CALL(SetStringValue, VTEXT("d"), VTEXT("x")));
    EXPECT_TRUE(Q9_CALL(QueryMultipleValues, AsSystemEntries(aoEntries), DWORD{2}, bbValues));
    EXPECT_EQ(ToHex(aoEntries[0].ve_valueptr, aoEntries[0].ve_valuelen), "78000000");
    EXPECT_EQ(ToHex(aoEntries[1].ve_valueptr, aoEntries[1].ve_valuelen), "01000000");
    EXPECT_EQ(aoEntries[0].ve_type, RegistryPort::TYPE_SZ);
    aoEntries[1].ve_valuename = VTEXT("absent");
    EXPECT_FALSE(Q9_CALL(QueryMultipleValues, AsSystemEntries(aoEntries), DWORD{2}, bbValues));
    EXPECT_EQ(m_oMonitor.GetLastStatus(), ToDword(Status::FileNotFound));
}

TEST_P(Client, CountersBeginHereAndGoOnThere) {
    if (!m_hKey) m_oBench.oFake.registry.AddKey(m_path);
    LONG lValue = 0;
    for (const LONG lExpected : {LONG{5}, LONG{0}, LONG{1}, LONG{2}, LONG{0}}) {
        EXPECT_TRUE(Q9_CALL(GetIncLongValue, VTEXT("n"), LONG{5}, LONG{3}, lValue));
        EXPECT_EQ(lValue, lExpected);
    }
    LONGLONG llValue = 0;
    EXPECT_TRUE(Q9_CALL(GetIncLong64Value, VTEXT("m"), LONGLONG{-9}, LONGLONG{5}, llValue));
    EXPECT_TRUE(Q9_CALL(GetIncLong64Value, VTEXT("m"), LONGLONG{-9}, LONGLONG{5}, llValue));
    EXPECT_EQ(llValue, -3);
}

TEST(ClientTest, KeysAreMadeListedCopiedAndRemoved) {
    ClientBench oBench;
    VelomPortMonitor m;
    HKEY hTop = nullptr, hSub = nullptr;
    ASSERT_TRUE(m.CreateKey(VERSION, VTEXT("Top"), 0xF003F, hTop));
    ASSERT_TRUE(m.CreateKey(hTop, VTEXT("Sub\\Deep"), 0xF003F, hSub));
    EXPECT_TRUE(m.SetLongValue(hSub, VTEXT("v"), 7) && m.CloseKey(hSub));
    EXPECT_FALSE(m.CloseKey(hSub)) << "a handle that was given back";
    EXPECT_EQ(m.GetLastStatus(), ToDword(Status::InvalidHandle));
    EXPECT_TRUE(m.OpenKey(hTop, VTEXT("sub"), 0x20019, hSub) && m.CloseKey(hSub));
    EXPECT_FALSE(m.OpenKey(VERSION, VTEXT("Top\\Absent"), 0x20019, hSub));
    EXPECT_EQ(m.GetLastStatus(), ToDword(Status::FileNotFound));
    std::vector<CXString> vcsNames;
    DWORD cKeys = 0;
    EXPECT_TRUE(m.EnumKeyNames(hTop, vcsNames) && m.GetCountOfSubKeys(VERSION, VTEXT("Top"), cKeys));
    EXPECT_EQ(vcsNames, std::vector<CXString>{VTEXT("Sub")});
    EXPECT_EQ(cKeys, 1u);
    LONG lValue = 0;
    EXPECT_TRUE(m.CopyKeyAndSubkeysFrom(VERSION, VTEXT("Copy"), VTEXT("Top")));
    EXPECT_TRUE(m.GetLongValue(VERSION, VTEXT("Copy\\Sub\\Deep"), VTEXT("v"), lValue));
    EXPECT_EQ(lValue, 7);
    EXPECT_FALSE(m.DeleteKey(hTop, VTEXT("Sub"))) << "it has a sub-key";
    EXPECT_TRUE(m.DeleteKey(hTop, VTEXT("Sub\\Deep")) && m.DeleteKeyAndSubkeys(hTop, VTEXT("Sub")));
    EXPECT_TRUE(m.DeleteKeyAndSubkeys(VERSION, VTEXT("Copy\\Sub")));
    EXPECT_FALSE(m.DeleteKeyAndSubkeys(VERSION, VTEXT("Copy"))) << "a user removes nothing directly below the base";
    EXPECT_EQ(m.GetLastStatus(), ToDword(Status::AccessDenied));
    VelomPortMonitor oOther;
    EXPECT_FALSE(oOther.GetCountOfSubKeys(hTop, cKeys)) << "a handle of another channel";
    EXPECT_TRUE(m.CloseKey(hTop));
}

TEST(ClientTest, UsersReachTheirOwnTreesAndNobodyElses) {
    ClientBench oBench;
    VelomPortMonitor m;
    LONG lValue = 0;
    EXPECT_TRUE(m.SetLongValue(USER, VTEXT("Key"), VTEXT("v"), 3));
    const XString path =
        XString(VTEXT("HKEY_USERS\\")) + OWN_SID + VTEXT("\\Software\\Velom\\PrinterDriver\\V5.0\\Key");
    EXPECT_TRUE(oBench.oFake.registry.ValueAt(path, VTEXT("v")));
    EXPECT_FALSE(m.SetLongValue(USER, VTEXT("Key"), VTEXT("v"), 3, OTHER_SID));
    EXPECT_EQ(m.GetLastStatus(), ToDword(Status::AccessDenied));
    EXPECT_TRUE(m.DoesValueExist(USER, VTEXT("Key"), VTEXT("v"), OTHER_SID)) << "a refusal is not an absence";
    EXPECT_TRUE(m.SetLongValue(HKeyRegistry::Hkey_Low_Rights_Storage_User, VTEXT("DeviceSettings"), VTEXT("v"), 4));
    EXPECT_TRUE(m.GetLongValue(HKeyRegistry::Hkey_Low_Rights_Storage, CXString(OWN_SID) + VTEXT("\\DeviceSettings"),
                               VTEXT("v"), lValue));
    EXPECT_EQ(lValue, 4);
    EXPECT_FALSE(m.RemoveLRSDataForUser(OTHER_SID));
    EXPECT_TRUE(m.RemoveLRSDataForUser(OWN_SID));
    EXPECT_FALSE(oBench.oFake.registry.HasKey(XString(STORAGE_PATH) + VTEXT("\\") + OWN_SID));
    EXPECT_FALSE(m.RemoveLRSData());
    EXPECT_EQ(m.GetLastStatus(), ToDword(Status::AccessDenied));
    oBench.oFake.identity.Impersonate(FakeIdentityPort::MakeIdentity(OTHER_SID, IdentityPort::INTEGRITY_HIGH, true));
    EXPECT_FALSE(m.RemoveLRSData()) << "the channel was opened by somebody else";
    EXPECT_TRUE(VelomPortMonitor().RemoveLRSData());
}

TEST(ClientTest, TheRegistryOfTheProcessIsTheMonitorsOwn) {
    ClientBench oBench;
    VelomPortMonitor::CleanUp();
    oBench.oFake.registry.AddKey(VTEXT("HKEY_USERS\\.DEFAULT\\Software\\Velom\\PrinterDriver\\V5.0"));
    RecordingSink oSink;
    EXPECT_FALSE(VelomPortMonitor::IsRegistryVirtualized());
    EXPECT_EQ(oSink.Count("The registry of this process is the system's own."), 1u);
    VelomPortMonitor::CleanUp();
}

TEST(ClientTest, WhateverFailsAForwardedWriteIsDoneOrNot) {
    static const CXString csKey = VTEXT("Key");
    static const CXString csName = VTEXT("v");
    FaultLoop oLoop;
    oLoop.vStatuses = {Status::AccessDenied, Status::NotEnoughMemory, static_cast<Status>(1726)};
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        rFake.identity.SetMisuseFailsTest(false);
        rFake.spooler.AddMonitor(VTEXT("Velom Virtualization Port"), VTEXT("q7lrsl.dll"));
        rFake.registry.AddKey(VERSION_PATH);
    };
    oLoop.fnRun = [] {
        VelomPortMonitor oMonitor;
        HKEY hKey = nullptr;
        const bool fDone = oMonitor.CreateKey(VERSION, csKey, 0xF003F, hKey) &&
                           oMonitor.SetLongValue(hKey, csName, 7) && oMonitor.CloseKey(hKey);
        return fDone ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome eOutcome) {
        const auto oValue = rFake.registry.ValueAt(XString(VERSION_PATH) + VTEXT("\\Key"), VTEXT("v"));
        if (eOutcome == FaultOutcome::Succeeded) {
            EXPECT_TRUE(oValue);
        }
        if (oValue) {
            EXPECT_EQ(ToHex(oValue->vbyData), "07000000");
        }
        EXPECT_FALSE(rFake.identity.EndedWith() && eOutcome == FaultOutcome::Succeeded);
    };
    EXPECT_GT(RunFaultLoop(oLoop).ullCalls, 10u);
}

}  // namespace

}  // namespace vlm::test
