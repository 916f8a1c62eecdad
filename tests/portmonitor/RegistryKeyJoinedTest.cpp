/// @file
/// A registry key gives the same answers whether it is forwarded to the monitor or opened directly.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "MonitorBench.h"
#include "support/FaultLoop.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/registry/RegistryMultiValueOperations.h"
#include "utilities/utilitiesdll/VelomUtilities_Registry.h"

namespace vlm::test {

namespace {

constexpr auto VERSION = HKeyRegistry::Hkey_Machine_Version;

/// What a key answered, one line for each operation with the status behind it.
class Transcript {
public:
    explicit Transcript(RegistryKey& rKey) : m_rKey(rKey) {}
    void Note(const char* pszWhat, LONGLONG llAnswer) {
        m_vLines.push_back(std::string(pszWhat) + " " + std::to_string(llAnswer) + " (" +
                           std::to_string(m_rKey.GetLastStatus()) + ")");
    }
    void Note(const char* pszWhat, const CXString& kcsAnswer) {
        m_vLines.push_back(std::string(pszWhat) + " " + Narrow(kcsAnswer) + " (" +
                           std::to_string(m_rKey.GetLastStatus()) + ")");
    }
    void Note(const char* pszWhat, std::vector<CXString> vcsNames) {
        std::sort(vcsNames.begin(), vcsNames.end());
        for (const CXString& rcsName : vcsNames)
            Note(pszWhat, rcsName);
    }
    const std::vector<std::string>& Lines() const { return m_vLines; }

private:
    RegistryKey& m_rKey;
    std::vector<std::string> m_vLines;
};

std::vector<std::string> UseEverything(bool fDirect) {
    RegistryKey oKey(VERSION, fDirect, RegistryKey::OWN_TREE);
    oKey.CreateRegistryKey(VTEXT("Key"), RegistryKey::READ_WRITE_ACCESS);
    EXPECT_EQ(oKey.IsForwarded(), !fDirect);
    Transcript oNotes(oKey);
    std::vector<CXString> vcsNames;
    ByteBuffer bbData = ByteBuffer::createFromLong64Value(0x0102030405060708), bbBack;
    oKey.SetBooleanValue(VTEXT("flag"), true);
    oKey.SetLongValue(VTEXT("long"), std::numeric_limits<LONG>::max());
    oKey.SetLong64Value(VTEXT("long64"), -7);
    oKey.SetStringValue(VTEXT("text"), VTEXT("text"));
    oKey.SetStringValue(VTEXT("empty"), VTEXT(""));
    oKey.SetBytesValue(VTEXT("bytes"), bbData);
    oKey.SetLongValue(VTEXT(""), 5);
    for (const XCHAR* pszName : {VTEXT("flag"), VTEXT("LONG"), VTEXT("long64"), VTEXT("text"), VTEXT("empty"),
                                 VTEXT("bytes"), VTEXT(""), VTEXT("absent")}) {
        oNotes.Note("exists", oKey.DoesValueExist(pszName));
        oNotes.Note("boolean", oKey.GetBooleanValue(pszName, true));
        oNotes.Note("long", oKey.GetLongValue(pszName, -1));
        oNotes.Note("long64", oKey.GetLong64Value(pszName, -1));
        oNotes.Note("string", oKey.GetStringValue(pszName, VTEXT("default")));
        oNotes.Note("bytes", oKey.GetBytesValue(pszName, bbBack));
        oNotes.Note("bytes", bbBack.getAsHexBinaryString());
    }
    for (const LONG lModulus : {3, -1000, 1}) {
        oNotes.Note("count", oKey.GetIncLongValue(VTEXT("counter"), 5, lModulus));
        oNotes.Note("count", oKey.GetIncLong64Value(VTEXT("counter64"), 5, lModulus));
        oNotes.Note("wrap", oKey.GetIncLongValue(VTEXT("long"), 5, lModulus));
    }
    oNotes.Note("consume", oKey.GetClearBooleanValue(VTEXT("flag"), false));
    oNotes.Note("consume", oKey.GetClearBooleanValue(VTEXT("flag"), false));
    oNotes.Note("rename", oKey.RenameValue(VTEXT("text"), VTEXT("TEXT")));
    oNotes.Note("rename", oKey.RenameValue(VTEXT("TEXT"), VTEXT("other")));
    oNotes.Note("rename", oKey.RenameValue(VTEXT("absent"), VTEXT("other")));
    oNotes.Note("delete", oKey.DeleteValue(VTEXT("bytes")));
    oNotes.Note("delete", oKey.DeleteValue(VTEXT("bytes")));
    VelomUtilities::WriteStringValueIntoRegistry(VERSION, VTEXT("Key\\Sub\\Deep"), VTEXT("t"), VTEXT("deep"), fDirect);
    oNotes.Note("copy", oKey.CopyKeyAndSubkeysFrom(VERSION, VTEXT("Key\\Sub")));
    oNotes.Note("keys", oKey.GetCountOfSubKeys());
    oNotes.Note("values", oKey.GetCountOfValues());
    oNotes.Note("any", oKey.AnySubKeysExist());
    oKey.EnumKeyNames(vcsNames);
    oNotes.Note("key", vcsNames);
    oKey.EnumValueNames(vcsNames);
    oNotes.Note("value", vcsNames);
    RegistryMultiValueOperations oValues;
    oValues.Add(VTEXT("other"));
    oValues.Add(VTEXT("long64"));
    oNotes.Note("query", oKey.QueryMultipleValues(oValues));
    oNotes.Note("query", oValues.GetString(0, VTEXT("default")));
    oNotes.Note("query", oValues.GetLong64(1, 0));
    oValues.Add(VTEXT("absent"));
    oNotes.Note("query", oKey.QueryMultipleValues(oValues));
    oNotes.Note("delete key", oKey.DeleteKey(VTEXT("Sub")));
    oNotes.Note("delete tree", oKey.DeleteKeyAndSubkeys(VTEXT("Sub")));
    oNotes.Note("delete tree", oKey.DeleteKeyAndSubkeys(VTEXT("Sub")));
    oNotes.Note("delete key", VelomUtilities::DeleteRegistryKey(VERSION, VTEXT("Key\\Deep"), fDirect));
    return oNotes.Lines();
}

TEST(RegistryKeyJoined, AForwardedKeyAnswersLikeADirectOne) {
    std::vector<std::string> vDirect, vForwarded;
    for (const bool fDirect : {true, false}) {
        FakePlatform oFake;
        oFake.spooler.AddMonitor(VTEXT("Velom Virtualization Port"), VTEXT("q7lrsl.dll"));
        oFake.registry.AddKey(VERSION_PATH);
        oFake.identity.Impersonate(FakeIdentityPort::MakeIdentity(OWN_SID));
        const PlatformScope oScope(oFake.Get());
        (fDirect ? vDirect : vForwarded) = UseEverything(fDirect);
        EXPECT_EQ(oFake.TakenResources(), 0u);
    }
    ASSERT_GT(vDirect.size(), 70u);
    ASSERT_EQ(vForwarded.size(), vDirect.size());
    for (std::size_t i = 0; i < vDirect.size(); ++i)
        EXPECT_EQ(vForwarded[i], vDirect[i]) << "line " << i;
}

}  // namespace

}  // namespace vlm::test
