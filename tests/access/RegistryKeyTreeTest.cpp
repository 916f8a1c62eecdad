/// @file
/// The keys below a registry key, on the registry in memory and on the system's.
#include <algorithm>

#include "platform/RegistryHandleImpl.h"
#include "support/RegistryKeyFixture.h"
#include "utilities/registry/detail/RegistryTree.h"

namespace vlm::test {

namespace {

class RegistryKeyTree : public RegistryKeyFixture {
protected:
    std::unique_ptr<RegistryKey> Make(const XCHAR* pszSubKey) const {
        return RegistryKey::CreateRegistryKey(HIVE, m_csPath + VTEXT("\\") + pszSubKey, RegistryKey::FULL_ACCESS);
    }
    bool Has(const XCHAR* pszSubKey) const {
        return RegistryKey::TryOpenRegistryKey(HIVE, m_csPath + VTEXT("\\") + pszSubKey) != nullptr;
    }
};

TEST_P(RegistryKeyTree, CountsAndListsSayWhatIsThere) {
    std::vector<CXString> vcsKeys{CXString(VTEXT("old"))}, vcsValues;
    EXPECT_FALSE(m_oKey.AnySubKeysExist());
    EXPECT_EQ(m_oKey.GetLastStatus(), 0u);
    EXPECT_TRUE(m_oKey.EnumKeyNamesAndValueNames(&vcsKeys, &vcsValues));
    EXPECT_TRUE(vcsKeys.empty() && vcsValues.empty());
    const CXString csLong(VTEXT('k'), 255), csLongValue(VTEXT('v'), 1000);
    EXPECT_TRUE(Make(csLong)->IsCreated());
    EXPECT_FALSE(Make(csLong)->IsCreated());
    Make(VTEXT("one"));
    m_oKey.SetLongValue(csLongValue, 1);
    EXPECT_TRUE(m_oKey.AnySubKeysExist());
    EXPECT_EQ(m_oKey.GetCountOfSubKeys(), 2u);
    EXPECT_EQ(m_oKey.GetCountOfValues(), 1u);
    EXPECT_TRUE(m_oKey.EnumKeyNamesAndValueNames(&vcsKeys, &vcsValues));
    std::sort(vcsKeys.begin(), vcsKeys.end());
    EXPECT_EQ(vcsKeys, (std::vector<CXString>{csLong, VTEXT("one")}));
    EXPECT_EQ(vcsValues, (std::vector<CXString>{csLongValue}));
}

TEST_P(RegistryKeyTree, KeysAreDeletedOneByOneOrWithAllBelow) {
    Make(VTEXT("a\\b\\c"));
    EXPECT_FALSE(m_oKey.DeleteKey(VTEXT("a")));
    EXPECT_EQ(m_oKey.GetLastStatus(), 5u);
    EXPECT_TRUE(m_oKey.DeleteKey(VTEXT("A\\b\\C")));
    EXPECT_TRUE(m_oKey.DeleteKeyAndSubkeys(VTEXT("a")));
    EXPECT_FALSE(Has(VTEXT("a")));
    // An empty name would mean the key itself.
    EXPECT_FALSE(m_oKey.DeleteKey(VTEXT("")));
    EXPECT_FALSE(m_oKey.DeleteKeyAndSubkeys(VTEXT("")));
}

TEST_P(RegistryKeyTree, ATreeIsCopiedFromAKeyOrFromAPath) {
    const auto apoSource = Make(VTEXT("source")), apoTarget = Make(VTEXT("target"));
    apoSource->SetLongValue(VTEXT("n"), 5);
    Make(VTEXT("source\\below"))->SetStringValue(VTEXT("t"), VTEXT("deep"));
    apoTarget->SetLongValue(VTEXT("kept"), 6);
    Make(VTEXT("target\\below"))->SetLongValue(VTEXT("T"), 7);
    EXPECT_TRUE(apoTarget->CopyKeyAndSubkeysFrom(*apoSource));
    EXPECT_EQ(apoTarget->GetLongValue(VTEXT("n"), 0), 5);
    EXPECT_EQ(apoTarget->GetLongValue(VTEXT("kept"), 0), 6);
    EXPECT_EQ(Make(VTEXT("target\\below"))->GetStringValue(VTEXT("t"), VTEXT("")), CXString(VTEXT("deep")));
    const auto apoSecond = Make(VTEXT("second"));
    EXPECT_TRUE(apoSecond->CopyKeyAndSubkeysFrom(HIVE, m_csPath + VTEXT("\\source")));
    EXPECT_TRUE(Has(VTEXT("second\\below")));
    EXPECT_FALSE(apoSecond->CopyKeyAndSubkeysFrom(HIVE, m_csPath + VTEXT("\\none")));
    EXPECT_EQ(apoSecond->GetLastStatus(), 2u);
    // Into the source itself: the copy ends.
    EXPECT_TRUE(Make(VTEXT("source\\below\\copy"))->CopyKeyAndSubkeysFrom(*apoSource));
    EXPECT_TRUE(Has(VTEXT("source\\below\\copy\\below\\copy")));
    EXPECT_FALSE(Has(VTEXT("source\\below\\copy\\below\\copy\\below")));
}

TEST_P(RegistryKeyTree, CountsAreRefusedWithoutTheRightToAsk) {
    if (GetParam() == RegistryKind::System) GTEST_SKIP() << "not every system refuses it";
    const auto apoWriter = Open(RegistryKey::WRITE_ACCESS);
    ASSERT_TRUE(apoWriter);
    std::vector<CXString> vcsNames{CXString(VTEXT("old"))};
    const RecordingSink oSink;
    EXPECT_EQ(apoWriter->GetCountOfSubKeys(), 0u);
    EXPECT_EQ(apoWriter->GetCountOfValues(), 0u);
    EXPECT_FALSE(apoWriter->EnumKeyNames(vcsNames));
    EXPECT_TRUE(vcsNames.empty());
    EXPECT_FALSE(apoWriter->AnySubKeysExist());
    EXPECT_EQ(apoWriter->GetLastStatus(), 5u);
    const std::string hint =
        ". Does the hKey have the required permissions (e.g. KEY_WRITE does not include queries.): ";
    for (const char* pszCall : {"GetCountOfSubKeys()", "GetCountOfValues()", "RegQueryInfoKey()"})
        EXPECT_EQ(oSink.Count("Error calling " + (pszCall + hint)), 1u) << pszCall;
    EXPECT_EQ(oSink.Count("Error enumerating reg subkeys to count them: "), 1u);
    EXPECT_EQ(oSink.Count("(dwStatus == (DWORD)0L)"), 3u);
    EXPECT_EQ(oSink.Count("(dwStatus == 0L || dwStatus == 259L)"), 1u);
}

TEST_P(RegistryKeyTree, HandlesPassFromCopyToCopy) {
    m_oKey.SetLongValue(VTEXT("n"), 5);
    const auto apoFirst = Open(RegistryKey::READ_ACCESS);
    RegistryKey oSecond(*apoFirst);
    EXPECT_FALSE(apoFirst->IsKeyValid());
    EXPECT_FALSE(apoFirst->IsInitialized());
    EXPECT_EQ(apoFirst->GetLongValue(VTEXT("n"), 0), 0);
    EXPECT_EQ(oSecond.GetLongValue(VTEXT("n"), 0), 5);
    EXPECT_TRUE(oSecond.IsReadOnly());
    RegistryKey& rSame = oSecond;
    oSecond = rSame;
    EXPECT_TRUE(oSecond.IsKeyValid());
    const auto apoThird = Make(VTEXT("third"));
    *apoThird = oSecond;
    EXPECT_EQ(apoThird->GetLongValue(VTEXT("n"), 0), 5);
    EXPECT_EQ(apoThird->GetSubKey(), m_csPath);
    EXPECT_FALSE(oSecond.IsKeyValid());
    // The one that was left without opens again where it was.
    EXPECT_TRUE(apoFirst->OpenRegistryKey());
    EXPECT_EQ(apoFirst->GetLongValue(VTEXT("n"), 0), 5);
    if (GetParam() == RegistryKind::Fake) {
        EXPECT_EQ(m_oFake.registry.OpenHandles(), 3u);
    }
}

Q9_REGISTRY_SUITE(RegistryKeyTree);

// ---- the walks behind it: nothing is followed, nothing is endless ----

constexpr DWORD ALL = RegistryPort::RIGHTS_ALL;

HKEY Machine() {
    return Registry().RootKey(RegistryPort::Root::LocalMachine);
}

RegistryHandle OpenKey(const XCHAR* pszPath) {
    RegistryHandle oKey;
    EXPECT_EQ(Registry().Open(Machine(), pszPath, ALL, oKey.Receive()), Status::Success);
    return oKey;
}

class RegistryTreeTest : public testing::Test {
protected:
    /// Source\{A\{Deep}, B}, each with a value of its own name.
    RegistryTreeTest() {
        for (const XCHAR* pszKey :
             {VTEXT("Source"), VTEXT("Source\\A"), VTEXT("Source\\A\\Deep"), VTEXT("Source\\B")}) {
            const XString path = XString(VTEXT("HKEY_LOCAL_MACHINE\\")) + pszKey;
            m_oFake.registry.AddText(path, VTEXT("Name"), pszKey);
            m_oFake.registry.AddDword(path, VTEXT(""), 7);
        }
    }
    bool Has(const XCHAR* pszKey) const {
        return m_oFake.registry.HasKey(XString(VTEXT("HKEY_LOCAL_MACHINE\\")) + pszKey);
    }

    FakePlatform m_oFake;
    PlatformScope m_oScope{m_oFake.Get()};
};

TEST_F(RegistryTreeTest, LinksGoAndTheirTargetsStay) {
    m_oFake.registry.AddText(VTEXT("HKEY_LOCAL_MACHINE\\Victim\\Below"), VTEXT("v"), VTEXT("precious"));
    m_oFake.registry.AddLink(VTEXT("HKEY_LOCAL_MACHINE\\Source\\A\\Deep\\Link"), VTEXT("HKEY_LOCAL_MACHINE\\Victim"));
    m_oFake.registry.AddLink(VTEXT("HKEY_LOCAL_MACHINE\\Direct"), VTEXT("HKEY_LOCAL_MACHINE\\Victim"));
    EXPECT_EQ(DeleteRegistryTree(Machine(), VTEXT("Source")), Status::Success);
    EXPECT_EQ(DeleteRegistryTree(Machine(), VTEXT("Direct")), Status::Success);
    EXPECT_FALSE(Has(VTEXT("Source")));
    EXPECT_FALSE(Has(VTEXT("Direct")));
    EXPECT_EQ(DeleteRegistryTree(Machine(), nullptr), Status::InvalidParameter);
    EXPECT_TRUE(m_oFake.registry.ValueAt(VTEXT("HKEY_LOCAL_MACHINE\\Victim\\Below"), VTEXT("v")).has_value());
}

TEST_F(RegistryTreeTest, ACopyNeitherReadsNorWritesThroughLinks) {
    m_oFake.registry.AddText(VTEXT("HKEY_LOCAL_MACHINE\\Secret"), VTEXT("v"), VTEXT("secret"));
    m_oFake.registry.AddLink(VTEXT("HKEY_LOCAL_MACHINE\\Source\\A\\Link"), VTEXT("HKEY_LOCAL_MACHINE\\Secret"));
    m_oFake.registry.AddKey(VTEXT("HKEY_LOCAL_MACHINE\\Target"));
    const RegistryHandle oSource = OpenKey(VTEXT("Source")), oTarget = OpenKey(VTEXT("Target"));
    EXPECT_EQ(CopyRegistryTree(oSource.Get(), oTarget.Get()), Status::Success);
    EXPECT_FALSE(Has(VTEXT("Target\\A\\Link")));
    m_oFake.registry.AddLink(VTEXT("HKEY_LOCAL_MACHINE\\Trap\\B"), VTEXT("HKEY_LOCAL_MACHINE\\Secret"));
    const RegistryHandle oTrap = OpenKey(VTEXT("Trap"));
    EXPECT_EQ(CopyRegistryTree(oSource.Get(), oTrap.Get()), Status::AccessDenied);
    EXPECT_FALSE(m_oFake.registry.ValueAt(VTEXT("HKEY_LOCAL_MACHINE\\Secret"), VTEXT("Name")).has_value());
    // A value that would make a link of its key is not written.
    m_oFake.registry.AddValue(VTEXT("HKEY_LOCAL_MACHINE\\Source"), VTEXT("SymbolicLinkValue"), RegistryPort::TYPE_LINK,
                              {1});
    EXPECT_EQ(CopyRegistryTree(oSource.Get(), oTarget.Get()), Status::Success);
    EXPECT_FALSE(m_oFake.registry.ValueAt(VTEXT("HKEY_LOCAL_MACHINE\\Target"), VTEXT("SymbolicLinkValue")).has_value());
}

TEST_F(RegistryTreeTest, EveryLimitHoldsOnBothSides) {
    m_oFake.registry.AddKey(VTEXT("HKEY_LOCAL_MACHINE\\Target"));
    const RegistryHandle oSource = OpenKey(VTEXT("Source")), oTarget = OpenKey(VTEXT("Target"));
    // Three keys below the source, two levels, and their data: four numbers and the four texts with their zeros.
    const ULONGLONG cbData = 4 * 4 + 2 * ((6 + 8 + 13 + 8) + 4);
    const auto Copy = [&](ULONGLONG cKeys, std::size_t cLevels, ULONGLONG cbMost) {
        return CopyRegistryTree(oSource.Get(), oTarget.Get(), {cKeys, cLevels, cbMost});
    };
    EXPECT_EQ(Copy(3, 2, cbData), Status::Success);
    EXPECT_EQ(Copy(2, 2, cbData), Status::NoSystemResources);
    EXPECT_EQ(Copy(3, 1, cbData), Status::NoSystemResources);
    EXPECT_EQ(Copy(3, 2, cbData - 1), Status::NoSystemResources);
    EXPECT_EQ(DeleteRegistryTree(Machine(), VTEXT("Target"), {3, 2, 0}), Status::NoSystemResources);
    EXPECT_TRUE(Has(VTEXT("Target")));
    EXPECT_EQ(DeleteRegistryTree(Machine(), VTEXT("Source"), {4, 1, 0}), Status::NoSystemResources);
    EXPECT_EQ(DeleteRegistryTree(Machine(), VTEXT("Source"), {4, 2, 0}), Status::Success);
}

}  // namespace

}  // namespace vlm::test
