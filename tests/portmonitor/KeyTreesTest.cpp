/// @file
/// Copies, deletions and quotas: whole trees at once, and nothing beyond what the caller may do with each key.
#include "MonitorBench.h"

namespace vlm::test {

namespace {

constexpr auto VERSION = HKeyRegistry::Hkey_Machine_Version;
constexpr auto STORAGE = HKeyRegistry::Hkey_Low_Rights_Storage;
constexpr auto STORAGE_USER = HKeyRegistry::Hkey_Low_Rights_Storage_User;

XString InVersion(const XCHAR* pszPath) {
    return XString(VERSION_PATH) + VTEXT("\\") + pszPath;
}

XString InStorage(const XString& rPath) {
    return XString(STORAGE_PATH) + VTEXT("\\") + rPath;
}

Status Copy(MonitorBench& rBench, const XCHAR* pszTarget, const XCHAR* pszSource) {
    PortMonitorRequest oRequest = MakeRequest(Function::CopyKeyAndSubkeysFrom, VERSION, pszTarget);
    oRequest.m_csThird = pszSource;
    return rBench.Send(oRequest).eStatus;
}

Status Delete(MonitorBench& rBench, const XCHAR* pszPath, Function eFunction = Function::DeleteKeyAndSubkeys) {
    return rBench.Send(MakeRequest(eFunction, VERSION, pszPath)).eStatus;
}

Status SetIn(MonitorBench& rBench, _HKEYREGISTRY_ eRoot, const CXString& kcsPath, const ByteBuffer& kbbData) {
    return rBench.Send(MakeRequest(Function::SetBytesValue, eRoot, kcsPath, VTEXT("v"), kbbData)).eStatus;
}

ByteBuffer Zeros(std::size_t cBytes) {
    ByteBuffer bbData;
    bbData.resize(cBytes);
    return bbData;
}

TEST(KeyTrees, ACopyGoesThroughAHandleAndKeepsWhatIsThere) {
    MonitorBench oBench;
    FakeRegistryPort& rRegistry = oBench.oFake.registry;
    rRegistry.AddText(InVersion(VTEXT("From")), VTEXT(""), VTEXT("default"));
    rRegistry.AddDword(InVersion(VTEXT("From\\A\\B")), VTEXT("n"), 5);
    rRegistry.AddDword(InVersion(VTEXT("To\\A")), VTEXT("kept"), 1);
    rRegistry.AddDword(InVersion(VTEXT("To\\A\\B")), VTEXT("N"), 6);
    PortMonitorRequest oByHandle =
        MakeRequest(Function::CopyKeyAndSubkeysFrom, oBench.OpenToken(Function::OpenKey, VTEXT("To")));
    oByHandle.m_csThird = VTEXT("From");
    EXPECT_EQ(oBench.Send(oByHandle), Status::Success);
    EXPECT_EQ(rRegistry.ValueAt(InVersion(VTEXT("To")), VTEXT(""))->vbyData.size(), 16u);
    EXPECT_EQ(rRegistry.ValueAt(InVersion(VTEXT("To\\A\\B")), VTEXT("n"))->vbyData[0], 5);
    EXPECT_TRUE(rRegistry.ValueAt(InVersion(VTEXT("To\\A")), VTEXT("kept")));
    // In a user's own storage, where the handle knows whose it is.
    rRegistry.AddDword(InStorage(XString(OWN_SID) + VTEXT("\\From")), VTEXT("n"), 7);
    PortMonitorRequest oStorage = MakeRequest(Function::CreateKey, STORAGE_USER, VTEXT("To"));
    oStorage.m_csThird = OWN_SID;
    oByHandle.m_ullKeyHandle = TokenIn(oBench.Send(oStorage));
    EXPECT_EQ(oBench.Send(oByHandle), Status::Success);
    EXPECT_TRUE(rRegistry.ValueAt(InStorage(XString(OWN_SID) + VTEXT("\\To")), VTEXT("n")));
    EXPECT_EQ(Copy(oBench, VTEXT("Third"), VTEXT("none")), Status::FileNotFound);
    EXPECT_FALSE(rRegistry.HasKey(InVersion(VTEXT("Third"))));
}

TEST(KeyTrees, ACopyDoesNotCarryContrabandToWhereItIsTrusted) {
    MonitorBench oBench;
    FakeRegistryPort& rRegistry = oBench.oFake.registry;
    const struct {
        const XCHAR* pszSource;  // what is in it
        const XCHAR* pszValue;
        const XCHAR* pszTarget;
    } aRows[] = {
        {VTEXT("a\\Mirrored"), VTEXT("v"), VTEXT("b")},
        {VTEXT("a\\x\\LowRightsStorage\\y"), VTEXT("XMLConstraint"), VTEXT("b")},
        {VTEXT("a\\x"), VTEXT("TPath"), VTEXT("b")},
    };
    for (const auto& rRow : aRows) {
        rRegistry.RemoveKey(InVersion(VTEXT("a")));
        rRegistry.AddDword(InVersion(VTEXT("a")), VTEXT("harmless"), 1);
        rRegistry.AddDword(InVersion(rRow.pszSource), rRow.pszValue, 1);
        oBench.ActAs(OWN_SID);
        const std::string before = oBench.Everything();
        EXPECT_EQ(Copy(oBench, rRow.pszTarget, VTEXT("a")), Status::AccessDenied);
        EXPECT_EQ(oBench.Everything(), before);
        oBench.ActAsAdministrator();
        EXPECT_EQ(Copy(oBench, rRow.pszTarget, VTEXT("a")), Status::Success);
        rRegistry.RemoveKey(InVersion(VTEXT("b")));
    }
    // The debug key, reached from above: root 3 is the parent of both.
    oBench.ActAs(OWN_SID);
    rRegistry.AddDword(VTEXT("HKEY_LOCAL_MACHINE\\Software\\Velom\\Own\\Inner\\KestrixDebugConfig"), VTEXT("LogToFile"),
                       1);
    rRegistry.AddKey(VTEXT("HKEY_LOCAL_MACHINE\\Software\\Velom\\KestrixDebugConfig"));
    const std::string before = oBench.Everything();
    PortMonitorRequest oUp =
        MakeRequest(Function::CopyKeyAndSubkeysFrom, HKeyRegistry::Hkey_Machine_Velom, VTEXT("Software\\Velom"));
    oUp.m_csThird = VTEXT("Own\\Inner");
    EXPECT_EQ(oBench.Send(oUp), Status::AccessDenied);
    // Somebody else's storage, reached in the same way.
    rRegistry.AddDword(InVersion(VTEXT("Own\\LowRightsStorage\\")) + OTHER_SID, VTEXT("v"), 1);
    EXPECT_EQ(Copy(oBench, VTEXT("Software\\Velom\\PrinterDriver\\V5.0"), VTEXT("Own")), Status::AccessDenied);
    EXPECT_FALSE(rRegistry.HasKey(InStorage(OTHER_SID)));
    rRegistry.RemoveKey(InVersion(VTEXT("Own")));
    EXPECT_EQ(oBench.Everything(), before);
}

TEST(KeyTrees, CopiesAreBounded) {
    MonitorBench oBench;
    FakeRegistryPort& rRegistry = oBench.oFake.registry;
    XString path = InVersion(VTEXT("Deep"));
    for (std::size_t i = 1; i < bounds::MAX_COPIED_LEVELS; ++i)
        path += VTEXT("\\d");
    rRegistry.AddKey(path);
    EXPECT_EQ(Copy(oBench, VTEXT("x"), VTEXT("Deep")), Status::Success);
    rRegistry.AddKey(path + VTEXT("\\d"));
    EXPECT_EQ(Copy(oBench, VTEXT("y"), VTEXT("Deep")), Status::NoSystemResources);
    rRegistry.AddValue(InVersion(VTEXT("Large")), VTEXT("v"), 3,
                       std::vector<BYTE>(bounds::MAX_MONITOR_VALUE_BYTES + 1));
    EXPECT_EQ(Copy(oBench, VTEXT("z"), VTEXT("Large")), Status::NoSystemResources);
    rRegistry.AddValue(InVersion(VTEXT("Link")), VTEXT("v"), RegistryPort::TYPE_LINK, {1, 2});
    EXPECT_EQ(Copy(oBench, VTEXT("z"), VTEXT("Link")), Status::AccessDenied);
}

TEST(KeyTrees, WhatIsTrustedDoesNotGoWithTheKeyAboveIt) {
    MonitorBench oBench;
    FakeRegistryPort& rRegistry = oBench.oFake.registry;
    rRegistry.AddDword(InVersion(VTEXT("One\\Two\\Deep\\Mirrored")), VTEXT("n"), 1);
    rRegistry.AddDword(InVersion(VTEXT("One\\Three")), VTEXT("XMLConstraint"), 1);
    const std::string before = oBench.Everything();
    EXPECT_EQ(Delete(oBench, VTEXT("One\\Two")), Status::AccessDenied);
    EXPECT_EQ(Delete(oBench, VTEXT("One\\Three")), Status::AccessDenied);
    EXPECT_EQ(Delete(oBench, VTEXT("One\\Three"), Function::DeleteKey), Status::AccessDenied);
    EXPECT_EQ(oBench.Everything(), before);
    oBench.ActAsAdministrator();
    EXPECT_EQ(Delete(oBench, VTEXT("One")), Status::Success);
    EXPECT_FALSE(rRegistry.HasKey(InVersion(VTEXT("One"))));
}

TEST(KeyTrees, AUsersStorageHasAQuotaOfBytesAndKeys) {
    MonitorBench oBench;
    FakeRegistryPort& rRegistry = oBench.oFake.registry;
    const CXString csOwn(OWN_SID);
    const ByteBuffer bbMegabyte = Zeros(bounds::MAX_REQUEST_DATA_BYTES);
    const auto Path = [&](int i) { return csOwn + CXString::FormatString(VTEXT("\\k%d"), i); };
    for (int i = 0; i < 15; ++i)
        ASSERT_EQ(SetIn(oBench, STORAGE, Path(i), bbMegabyte), Status::Success) << i;
    EXPECT_EQ(SetIn(oBench, STORAGE, Path(15), bbMegabyte), Status::NoSystemResources);
    // Nobody else pays for it, the same value may be written again and again, and what is deleted is free again.
    EXPECT_EQ(SetIn(oBench, STORAGE, VTEXT("shared"), bbMegabyte), Status::Success);
    const ByteBuffer bbSmall = Zeros(1000);
    for (int i = 0; i < 2000; ++i)
        ASSERT_EQ(SetIn(oBench, STORAGE, Path(0) + VTEXT("\\small"), bbSmall), Status::Success) << i;
    rRegistry.RemoveKey(InStorage(XString(OWN_SID)) + VTEXT("\\k3"));
    EXPECT_EQ(SetIn(oBench, STORAGE, Path(15), bbMegabyte), Status::Success);
}

TEST(KeyTrees, KeysThatExistAreOpenedWhenTheQuotaIsUsedUp) {
    MonitorBench oBench;
    const CXString csOwn(OWN_SID);
    for (std::uint32_t i = 0; i < bounds::MAX_STORAGE_KEYS - 125; ++i)
        oBench.oFake.registry.AddKey(InStorage(XString(OWN_SID)) + VTEXT("\\") + Wide(std::to_string(i % 100)) +
                                     VTEXT("\\") + Wide(std::to_string(i)));
    const auto Create = [&](int i) {
        const Answer oAnswer =
            oBench.Send(MakeRequest(Function::CreateKey, STORAGE, csOwn + CXString::FormatString(VTEXT("\\k%d"), i)));
        if (oAnswer.eStatus == Status::Success) oBench.Send(MakeRequest(Function::CloseKey, TokenIn(oAnswer)));
        return oAnswer.eStatus;
    };
    int iMade = 0;
    while (iMade < 30 && Create(iMade) == Status::Success)
        ++iMade;
    EXPECT_GT(iMade, 0);
    EXPECT_LT(iMade, 25);
    EXPECT_EQ(Create(iMade), Status::NoSystemResources);
    EXPECT_EQ(Create(0), Status::Success);
}

TEST(KeyTrees, NewKeysAreReadByTheirOwnersAndWrittenByNobodyElse) {
    MonitorBench oBench;
    FakeRegistryPort& rRegistry = oBench.oFake.registry;
    const ByteBuffer bbData(FromHex("01"));
    EXPECT_EQ(SetIn(oBench, STORAGE, CXString(OWN_SID) + VTEXT("\\a"), bbData), Status::Success);
    EXPECT_EQ(SetIn(oBench, VERSION, VTEXT("b\\c"), bbData), Status::Success);
    EXPECT_EQ(XStringView(rRegistry.ReaderOf(InStorage(OWN_SID))), OWN_SID);
    EXPECT_EQ(XStringView(rRegistry.ReaderOf(InStorage(XString(OWN_SID) + VTEXT("\\a")))), OWN_SID);
    EXPECT_EQ(XStringView(rRegistry.ReaderOf(InVersion(VTEXT("b\\c")))), XStringView(VTEXT("S-1-5-32-545")));
    // In his own hive a user keeps what he had: the list there is inherited.
    PortMonitorRequest oOwn =
        MakeRequest(Function::SetBytesValue, HKeyRegistry::Hkey_User_Velom, VTEXT("d"), VTEXT("v"), bbData);
    oOwn.m_csThird = OWN_SID;
    EXPECT_EQ(oBench.Send(oOwn), Status::Success);
    const XString hive = XString(VTEXT("HKEY_USERS\\")) + OWN_SID;
    EXPECT_TRUE(rRegistry.HasKey(hive + VTEXT("\\Software\\Velom\\d")));
    EXPECT_TRUE(rRegistry.ReaderOf(hive + VTEXT("\\Software\\Velom\\d")).empty());
    // A hive that is not loaded is not made, and the default user's tree does not fill up with keys.
    oOwn.m_csThird = VTEXT("S-1-5-21-7-7-7-7");
    oBench.ActAs(VTEXT("S-1-5-21-7-7-7-7"));
    EXPECT_EQ(oBench.Send(oOwn), Status::FileNotFound);
    rRegistry.AddKey(VTEXT("HKEY_USERS\\.DEFAULT\\Software"));
    PortMonitorRequest oDefault =
        MakeRequest(Function::SetBytesValue, HKeyRegistry::Hkey_User_Version, VTEXT("junk"), VTEXT("VRCheck"), bbData);
    oDefault.m_csThird = VTEXT(".DEFAULT");
    EXPECT_EQ(oBench.Send(oDefault), Status::AccessDenied);
    oDefault.m_csKeyPath = VTEXT("Software\\Velom\\PrinterDriver\\V5.0");
    EXPECT_EQ(oBench.Send(oDefault), Status::Success);
}

}  // namespace

}  // namespace vlm::test
