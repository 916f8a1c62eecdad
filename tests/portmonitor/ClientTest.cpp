/// @file
/// The client joined to the monitor itself, by root and path: every operation there and back, on a registry in memory.
/// By key handle the registry key's own tests use it.
#include "environment/PortMonitor.h"

#include <gtest/gtest.h>

#include "MonitorBench.h"
#include "platform/EmbeddedMonitor.h"

namespace vlm::test {

namespace {

constexpr auto VERSION = HKeyRegistry::Hkey_Machine_Version;
constexpr auto USER = HKeyRegistry::Hkey_User_Version;

class Client : public testing::Test, protected MonitorBench {
protected:
    VelomPortMonitor m;
    const CXString m_csKey = VTEXT("Key"), v = VTEXT("v");
};

TEST_F(Client, ValuesComeBackAsTheyWereWritten) {
    for (const CXString& kcsValue : {CXString(), CXString(VTEXT("text")), CXString(VTEXT('x'), 20000)}) {
        CXString csRead = VTEXT("?");
        EXPECT_TRUE(m.SetStringValue(VERSION, m_csKey, v, kcsValue) && m.GetStringValue(VERSION, m_csKey, v, csRead));
        EXPECT_EQ(csRead, kcsValue);
    }
    for (const std::size_t cbValue : {std::size_t{0}, std::size_t{3}, bounds::MAX_REQUEST_DATA_BYTES}) {
        const ByteBuffer bbValue(std::vector<BYTE>(cbValue, 7));
        ByteBuffer bbRead(FromHex("AA"));
        EXPECT_TRUE(m.SetBytesValue(VERSION, m_csKey, v, bbValue) && m.GetBytesValue(VERSION, m_csKey, v, bbRead));
        EXPECT_EQ(bbRead, bbValue);
    }
    LONG lRead = 0;
    for (const LONG lExpected : {5, 0, 1, 2, 0}) {
        EXPECT_TRUE(m.GetIncLongValue(VERSION, m_csKey, VTEXT("n"), 5, 3, lRead));
        EXPECT_EQ(lRead, lExpected);
    }
    LONGLONG llRead = 0;
    for (const LONGLONG llExpected : {-9, -3, -2}) {
        EXPECT_TRUE(m.GetIncLong64Value(VERSION, m_csKey, VTEXT("m"), -9, 5, llRead));
        EXPECT_EQ(llRead, llExpected);
    }
}

TEST_F(Client, NamesCountsAndMovesAgree) {
    for (const XCHAR* pszName : {VTEXT("a"), VTEXT("b"), VTEXT("C")})
        EXPECT_TRUE(m.SetLongValue(VERSION, m_csKey, pszName, 1));
    EXPECT_TRUE(m.RenameValue(VERSION, m_csKey, VTEXT("a"), VTEXT("A")));
    EXPECT_TRUE(m.DeleteValue(VERSION, m_csKey, VTEXT("C")));
    std::vector<CXString> vcsRead;
    DWORD cValues = 0;
    EXPECT_TRUE(m.EnumValueNames(VERSION, m_csKey, vcsRead) && m.GetCountOfValues(VERSION, m_csKey, cValues));
    EXPECT_EQ(vcsRead, (std::vector<CXString>{VTEXT("A"), VTEXT("b")}));
    EXPECT_EQ(cValues, 2u);
    EXPECT_TRUE(m.TestAccess(VERSION, m_csKey, 0x20019));
    ValueEnt aoEntries[] = {{VTEXT("b"), 0, nullptr, 0}, {VTEXT("A"), 0, nullptr, 0}};
    ByteBuffer bbValues;
    EXPECT_TRUE(m.SetStringValue(VERSION, m_csKey, VTEXT("b"), VTEXT("x")));
    EXPECT_TRUE(m.QueryMultipleValues(VERSION, m_csKey, AsSystemEntries(aoEntries), 2, bbValues));
    EXPECT_EQ(ToHex(aoEntries[0].ve_valueptr, aoEntries[0].ve_valuelen), "78000000");
    EXPECT_EQ(ToHex(aoEntries[1].ve_valueptr, aoEntries[1].ve_valuelen), "01000000");
    EXPECT_EQ(aoEntries[0].ve_type, RegistryPort::TYPE_SZ);
}

TEST_F(Client, KeysAreMadeListedCopiedAndRemoved) {
    HKEY hTop = nullptr, hSub = nullptr;
    ASSERT_TRUE(m.CreateKey(VERSION, VTEXT("Top"), 0xF003F, hTop));
    ASSERT_TRUE(m.CreateKey(hTop, VTEXT("Sub\\Deep"), 0xF003F, hSub));
    EXPECT_TRUE(m.SetLongValue(hSub, v, 7) && m.CloseKey(hSub));
    EXPECT_FALSE(m.CloseKey(hSub)) << "a handle that was given back";
    EXPECT_EQ(m.GetLastStatus(), ToDword(Status::InvalidHandle));
    EXPECT_TRUE(m.OpenKey(hTop, VTEXT("sub"), 0x20019, hSub) && m.CloseKey(hSub));
    EXPECT_FALSE(m.OpenKey(VERSION, VTEXT("Top\\Absent"), 0x20019, hSub));
    EXPECT_EQ(m.GetLastStatus(), ToDword(Status::FileNotFound));
    std::vector<CXString> vcsNames;
    DWORD cKeys = 0;
    EXPECT_TRUE(m.EnumKeyNames(VERSION, VTEXT("Top"), vcsNames) && m.GetCountOfSubKeys(VERSION, VTEXT("Top"), cKeys));
    EXPECT_EQ(vcsNames, std::vector<CXString>{VTEXT("Sub")});
    EXPECT_EQ(cKeys, 1u);
    LONG lValue = 0;
    EXPECT_TRUE(m.CopyKeyAndSubkeysFrom(VERSION, VTEXT("Copy"), VTEXT("Top")));
    EXPECT_TRUE(m.GetLongValue(VERSION, VTEXT("Copy\\Sub\\Deep"), v, lValue));
    EXPECT_EQ(lValue, 7);
    EXPECT_FALSE(m.DeleteKey(VERSION, VTEXT("Top\\Sub"))) << "it has a sub-key";
    EXPECT_TRUE(m.DeleteKey(VERSION, VTEXT("Top\\Sub\\Deep")) && m.DeleteKeyAndSubkeys(hTop, VTEXT("Sub")));
    EXPECT_TRUE(m.DeleteKeyAndSubkeys(VERSION, VTEXT("Copy\\Sub")));
    EXPECT_FALSE(m.DeleteKeyAndSubkeys(VERSION, VTEXT("Copy"))) << "a user removes nothing directly below the base";
    EXPECT_EQ(m.GetLastStatus(), ToDword(Status::AccessDenied));
    EXPECT_FALSE(VelomPortMonitor().GetCountOfSubKeys(hTop, cKeys)) << "a handle of another channel";
    EXPECT_TRUE(m.CloseKey(hTop));
}

TEST_F(Client, UsersReachTheirOwnTreesAndNobodyElses) {
    EXPECT_TRUE(m.SetLongValue(USER, m_csKey, v, 3));
    const XString path =
        XString(VTEXT("HKEY_USERS\\")) + OWN_SID + VTEXT("\\Software\\Velom\\PrinterDriver\\V5.0\\Key");
    EXPECT_TRUE(oFake.registry.ValueAt(path, VTEXT("v")));
    EXPECT_FALSE(m.SetLongValue(USER, m_csKey, v, 3, OTHER_SID));
    EXPECT_EQ(m.GetLastStatus(), ToDword(Status::AccessDenied));
    EXPECT_TRUE(m.DoesValueExist(USER, m_csKey, v, OTHER_SID)) << "a refusal is not an absence";
    EXPECT_TRUE(m.SetLongValue(HKeyRegistry::Hkey_Low_Rights_Storage_User, VTEXT("DeviceSettings"), v, 4));
    LONG lValue = 0;
    EXPECT_TRUE(m.GetLongValue(HKeyRegistry::Hkey_Low_Rights_Storage, CXString(OWN_SID) + VTEXT("\\DeviceSettings"), v,
                               lValue));
    EXPECT_EQ(lValue, 4);
    const XString storage = XString(STORAGE_PATH) + VTEXT("\\");
    oFake.registry.AddKey(storage + OTHER_SID + VTEXT("\\a\\b"));
    EXPECT_FALSE(m.RemoveLRSDataForUser(OTHER_SID));
    EXPECT_TRUE(m.RemoveLRSDataForUser(OWN_SID));
    EXPECT_FALSE(oFake.registry.HasKey(storage + OWN_SID));
    EXPECT_TRUE(oFake.registry.HasKey(storage + OTHER_SID + VTEXT("\\a\\b")));
    EXPECT_FALSE(m.RemoveLRSData());
    oFake.identity.Impersonate(FakeIdentityPort::MakeIdentity(OTHER_SID, IdentityPort::INTEGRITY_HIGH, true));
    EXPECT_FALSE(m.RemoveLRSData()) << "the channel was opened by somebody else";
    EXPECT_TRUE(VelomPortMonitor().RemoveLRSData());
    EXPECT_FALSE(oFake.registry.HasKey(STORAGE_PATH));
    EXPECT_TRUE(oFake.registry.HasKey(VERSION_PATH));
}

TEST_F(Client, AnEmbeddedSpoolerKnowsTheMonitorByItsFile) {
    ASSERT_NE(GetEmbeddedMonitor(), nullptr);
    EXPECT_TRUE(GetEmbeddedMonitor()->IsDll(VTEXT("C:\\Windows\\System32\\Q7LRSL.dll")));
    EXPECT_FALSE(GetEmbeddedMonitor()->IsDll(VTEXT("C:\\q7lrsl.dll\\other.dll")));
    EXPECT_FALSE(GetEmbeddedMonitor()->IsDll(nullptr));
}

}  // namespace

}  // namespace vlm::test
