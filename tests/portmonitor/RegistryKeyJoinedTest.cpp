/// @file
/// A registry key gives the same answers whether it is forwarded to the monitor or opened directly.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "MonitorBench.h"
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
    for (const XCHAR* pszName :
         {VTEXT("flag"), VTEXT("LONG"), VTEXT("long64"), VTEXT("text"), VTEXT("empty"), VTEXT("bytes"), VTEXT(""),
          VTEXT("absent"), VTEXT("two texts"), VTEXT("list"), VTEXT("short"), VTEXT("nothing")}) {
        oNotes.Note("exists", oKey.DoesValueExist(pszName));
        oNotes.Note("boolean", oKey.GetBooleanValue(pszName, true));
        oNotes.Note("long", oKey.GetLongValue(pszName, -1));
        oNotes.Note("long64", oKey.GetLong64Value(pszName, -1));
        oNotes.Note("string", oKey.GetStringValue(pszName, VTEXT("default")));
        oNotes.Note("bytes", oKey.GetBytesValue(pszName, bbBack));
        oNotes.Note("bytes", bbBack.getAsHexBinaryString());
        DWORD dwType = 0;
        if (*pszName != 0 && oKey.GetValue(pszName, bbBack, &dwType)) oNotes.Note("type", dwType);
    }
    for (const LONG lModulus : {3, -1000, 1, -1}) {
        oNotes.Note("count", oKey.GetIncLongValue(VTEXT("counter"), std::numeric_limits<LONG>::max(), lModulus));
        oNotes.Note("count", oKey.GetIncLongValue(VTEXT("short"), 5, lModulus));
        oNotes.Note("count", oKey.GetIncLong64Value(VTEXT("counter64"), 5, lModulus));
        oNotes.Note("wrap", oKey.GetIncLongValue(VTEXT("long"), 5, lModulus));
    }
    for (const XCHAR* pszName : {VTEXT("flag"), VTEXT("flag"), VTEXT("nothing"), VTEXT("nothing")})
        oNotes.Note("consume", oKey.GetClearBooleanValue(pszName, true));
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
    oKey.SetBytesValue(VTEXT("nothing"), ByteBuffer());
    RegistryMultiValueOperations oValues, oNothing;
    oNothing.Add(VTEXT("nothing"));
    oNotes.Note("query", oKey.QueryMultipleValues(oNothing));
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
        MonitorBench oBench;
        const XString path = XString(VERSION_PATH) + VTEXT("\\Key");
        oBench.oFake.registry.AddValue(path, VTEXT("two texts"), RegistryPort::TYPE_SZ, FromHex("410000004200"));
        oBench.oFake.registry.AddValue(path, VTEXT("list"), RegistryPort::TYPE_MULTI_SZ, FromHex("410000004200000000"));
        oBench.oFake.registry.AddValue(path, VTEXT("short"), RegistryPort::TYPE_BINARY, FromHex("0102"));
        oBench.oFake.registry.AddValue(path, VTEXT("nothing"), RegistryPort::TYPE_BINARY, {});
        (fDirect ? vDirect : vForwarded) = UseEverything(fDirect);
        EXPECT_EQ(oBench.oFake.TakenResources(), 0u);
    }
    ASSERT_GT(vDirect.size(), 110u);
    ASSERT_EQ(vForwarded.size(), vDirect.size());
    for (std::size_t i = 0; i < vDirect.size(); ++i)
        EXPECT_EQ(vForwarded[i], vDirect[i]) << "line " << i;
}

TEST(RegistryKeyJoined, RefusalsAreToldApartAndTheKeyGoesToItsCopy) {
    MonitorBench oBench;
    RegistryKey oFirst(VERSION, RegistryKey::AS_NEEDED, RegistryKey::OWN_TREE);
    oFirst.CreateRegistryKey(VTEXT("Key"), RegistryKey::READ_WRITE_ACCESS);
    RegistryKey oKey(oFirst);
    EXPECT_FALSE(oFirst.GetPortMonitor());
    EXPECT_EQ(oFirst.GetLongValue(VTEXT("n"), 5), 5);
    oKey.SetLongValue(VTEXT("n"), 1);
    EXPECT_THROW(oKey.SetLongValue(VTEXT("XMLConstraint"), 1), ExceptionRegistryRequest);
    EXPECT_THROW(oKey.SetBooleanValue(VTEXT("XMLConstraint"), true), ExceptionRegistryRequest);
    EXPECT_EQ(oKey.GetLastStatus(), ToDword(Status::AccessDenied));
    // What no request can say.
    EXPECT_FALSE(oKey.CopyKeyAndSubkeysFrom(HKeyRegistry::Hkey_Current_User, VTEXT("Other")));
    EXPECT_EQ(oKey.GetLastStatus(), ToDword(Status::NotSupported));
    EXPECT_THROW(oKey.SetValue(VTEXT("v"), RegistryPort::TYPE_MULTI_SZ, ByteBuffer()), ExceptionRegistryRequest);
    EXPECT_EQ(oKey.GetLastStatus(), ToDword(Status::NotSupported));
    EXPECT_THROW(VelomUtilities::Write32BitValueIntoRegistry(VERSION, VTEXT("Key"), VTEXT("XMLConstraint"), 1),
                 ExceptionRegistryRequest);
    // Without a monitor the process does what it may itself.
    oBench.oFake.spooler.RefuseOpen(static_cast<Status>(SpoolerPort::INVALID_PRINTER_NAME));
    const auto apoDirect = RegistryKey::TryOpenRegistryKey(VERSION, VTEXT("Key"));
    ASSERT_TRUE(apoDirect);
    EXPECT_FALSE(apoDirect->IsForwarded());
    EXPECT_EQ(apoDirect->GetLongValue(VTEXT("n"), 0), 1);
}

}  // namespace

}  // namespace vlm::test
