/// @file
/// The keys below a registry key, on the registry in memory and on the system's.
#include <algorithm>

#include "support/RegistryKeyFixture.h"

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

}  // namespace

}  // namespace vlm::test
