/// @file
/// Values of a registry key, on the registry in memory and on the system's.
#include <algorithm>
#include <limits>

#include "support/RegistryKeyFixture.h"
#include "utilities/registry/RegistryMultiValueOperations.h"

namespace vlm::test {

namespace {

constexpr DWORD ABSENT = 2, DENIED = 5, NO_KEY = 6, BAD_DATA = 13;

class RegistryKeyValues : public RegistryKeyFixture {};

TEST_P(RegistryKeyValues, EverySetterStoresItsTypeAndBytes) {
    m_oKey.SetBooleanValue(VTEXT("flag"), true);
    m_oKey.SetLongValue(VTEXT("long"), -5);
    m_oKey.SetLong64Value(VTEXT("long64"), -6'000'000'000);
    m_oKey.SetStringValue(VTEXT("text"), VTEXT("gr\u00FC\u00DFe"));
    m_oKey.SetStringValue(VTEXT(""), VTEXT(""));
    m_oKey.SetBytesValue(VTEXT("bytes"), ByteBuffer::createFromLongValue(0x01020304));
    const struct {
        const XCHAR* pszName;
        DWORD dwType;
        const char* pszData;
    } aRows[] = {
        {VTEXT("FLAG"), 3, "01"},
        {VTEXT("long"), 4, "FBFFFFFF"},
        {VTEXT("long64"), 11, "00445F9AFEFFFFFF"},
        {VTEXT("text"), 1, "67007200FC00DF0065000000"},
        {VTEXT(""), 1, "0000"},
        {VTEXT("bytes"), 3, "04030201"},
    };
    for (const auto& rRow : aRows) {
        ByteBuffer bbData;
        DWORD dwType = 0;
        EXPECT_TRUE(m_oKey.GetValue(rRow.pszName, bbData, &dwType));
        EXPECT_EQ(dwType, rRow.dwType) << Printable(rRow.pszName);
        EXPECT_EQ(ToHex(bbData.data(), bbData.size()), rRow.pszData) << Printable(rRow.pszName);
        EXPECT_EQ(m_oKey.GetLastStatus(), 0u);
    }
}

/// Data of 0 to 9 bytes of any type: a read takes its first bytes, or the default when they do not suffice.
TEST_P(RegistryKeyValues, ReadsTakeTypeAndSizeAsTheyFindThem) {
    const std::string digits =
        "1122334455667788"
        "99";
    for (const DWORD dwType : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 8u, 11u, 4711u}) {
        for (std::size_t c = 0; c <= 9; ++c) {
            SCOPED_TRACE(testing::Message() << "type " << dwType << ", " << c << " bytes");
            Put(VTEXT("v"), dwType, digits.substr(0, 2 * c));
            EXPECT_EQ(m_oKey.GetBooleanValue(VTEXT("v"), false), c >= 1);
            EXPECT_EQ(m_oKey.GetLastStatus(), c >= 1 ? 0u : BAD_DATA);
            EXPECT_EQ(m_oKey.GetLongValue(VTEXT("v"), -1), c >= 4 ? 0x44332211 : -1);
            EXPECT_EQ(m_oKey.GetLastStatus(), c >= 4 ? 0u : BAD_DATA);
            EXPECT_EQ(m_oKey.GetLong64Value(VTEXT("v"), -1) == -1, c < 8);
            EXPECT_EQ(m_oKey.GetLastStatus(), c >= 8 ? 0u : BAD_DATA);
            EXPECT_EQ(m_oKey.GetStringValue(VTEXT("v"), VTEXT("?")).GetLength(), static_cast<int>(c / 2));
            EXPECT_TRUE(m_oKey.DoesValueExist(VTEXT("v")));
        }
    }
}

TEST_P(RegistryKeyValues, TextsEndWhereTheyEnd) {
    const std::pair<DWORD, std::pair<const char*, int>> aTexts[] = {
        {1, {"410042000000", 2}},
        {1, {"41004200", 2}},
        {1, {"410000004200 0000", 1}},
        {2, {"410000004200 00000000", 1}},
        {7, {"41000000420000000000", 4}},
        {3, {"410000004200", 3}},
        {1, {"0000", 0}},
        {1, {"4100420043", 2}},
    };
    for (const auto& [dwType, rText] : aTexts) {
        Put(VTEXT("v"), dwType, rText.first);
        EXPECT_EQ(m_oKey.GetStringValue(VTEXT("v"), VTEXT("?")).GetLength(), rText.second) << rText.first;
    }
}

TEST_P(RegistryKeyValues, AnAbsentValueGivesTheDefault) {
    const RecordingSink oSink;
    ByteBuffer bbData = ByteBuffer::createFromByteValue(1);
    EXPECT_TRUE(m_oKey.GetBooleanValue(VTEXT("no"), true));
    EXPECT_EQ(m_oKey.GetLongValue(VTEXT("no"), 4), 4);
    EXPECT_EQ(m_oKey.GetLong64Value(VTEXT("no"), 5), 5);
    EXPECT_EQ(m_oKey.GetStringValue(VTEXT("no"), VTEXT("six")), CXString(VTEXT("six")));
    EXPECT_FALSE(m_oKey.GetBytesValue(VTEXT("no"), bbData));
    EXPECT_TRUE(bbData.empty());
    EXPECT_EQ(m_oKey.GetLastStatus(), ABSENT);
    EXPECT_FALSE(m_oKey.DoesValueExist(VTEXT("no")));
    EXPECT_FALSE(m_oKey.DeleteValue(VTEXT("no")));
    EXPECT_EQ(oSink.Count("No value name exists. Returned data buffer will be empty."), 5u);
    EXPECT_EQ(oSink.Count("returning '4"), 1u);
    EXPECT_EQ(oSink.Count("returning 0 bytes"), 1u);
}

TEST_P(RegistryKeyValues, AReadIsReportedStepByStep) {
    m_oKey.SetStringValue(VTEXT("v"), VTEXT("abc"));
    m_oKey.SetBooleanValue(VTEXT("b"), true);
    const RecordingSink oSink(DebugCategory::Registry);
    m_oKey.GetStringValue(VTEXT("v"), VTEXT(""));
    m_oKey.GetBooleanValue(VTEXT("b"), false);
    m_oKey.GetLong64Value(VTEXT("b"), 9);
    m_oKey.DoesValueExist(VTEXT("v"));
    m_oKey.SetLongValue(VTEXT("l"), 1);
    EXPECT_EQ(oSink.Texts(), (std::vector<std::string>{
                                 "Calling RegQueryValueEx(v) to get size of data.",
                                 "RegQueryValueEx() reserving 8 bytes for the data",
                                 "Allocated 8 bytes for data. Calling RegQueryValueEx(v) again",
                                 "returning 'abc'",
                                 "Calling RegQueryValueEx(b) to get size of data.",
                                 "RegQueryValueEx() reserving 1 bytes for the data",
                                 "Allocated 1 bytes for data. Calling RegQueryValueEx(b) again",
                                 "returning 'true'",
                                 "Calling RegQueryValueEx(b) to get size of data.",
                                 "RegQueryValueEx() reserving 1 bytes for the data",
                                 "Allocated 1 bytes for data. Calling RegQueryValueEx(b) again",
                                 "returning '9",
                                 "Calling RegQueryValueEx(v) to try to get size of data (as a test for existence)",
                                 "Calling RegSetValueEx(l) to set the value.",
                             }));
}

TEST_P(RegistryKeyValues, ADeniedValueExistsAndReadsAsTheDefault) {
    m_oKey.SetLongValue(VTEXT("v"), 3);
    const auto apoWriter = Open(RegistryKey::WRITE_ACCESS);
    ASSERT_TRUE(apoWriter);
    const RecordingSink oSink;
    EXPECT_TRUE(apoWriter->DoesValueExist(VTEXT("v")));
    EXPECT_TRUE(apoWriter->DoesValueExist(VTEXT("never was")));
    EXPECT_EQ(apoWriter->GetLongValue(VTEXT("v"), 8), 8);
    EXPECT_EQ(apoWriter->GetLastStatus(), DENIED);
    // What cannot be read is not counted on.
    EXPECT_EQ(apoWriter->GetIncLongValue(VTEXT("v"), 8, 10), 8);
    EXPECT_EQ(m_oKey.GetLongValue(VTEXT("v"), 0), 3);
    EXPECT_EQ(oSink.Count("Access is denied. Returned data buffer will be empty."), 2u);
}

TEST_P(RegistryKeyValues, AWriteThatIsDeniedThrows) {
    const auto apoReader = Open(RegistryKey::READ_ACCESS);
    ASSERT_TRUE(apoReader);
    EXPECT_TRUE(apoReader->IsReadOnly());
    EXPECT_FALSE(m_oKey.IsReadOnly());
    const RecordingSink oSink;
    try {
        apoReader->SetLongValue(VTEXT("v"), 1);
        ADD_FAILURE() << "a denied write must throw";
    } catch (const ExceptionRegistryRequest& rException) {
        const std::string text = Narrow(rException.GetExceptionMesage());
        EXPECT_EQ(text.find("RegSetValueEx(v) failed unexpectedly! Application="), 0u) << text;
        EXPECT_GT(text.size(), 70u);
    }
    EXPECT_EQ(apoReader->GetLastStatus(), DENIED);
    EXPECT_EQ(oSink.Count("*Throwing* ExceptionRegistryRequest: RegSetValueEx(v) failed unexpectedly!"), 1u);
    EXPECT_FALSE(apoReader->DeleteValue(VTEXT("v2")));
    EXPECT_EQ(oSink.Count("(lStatus == 0L)"), 1u);
    m_oKey.SetLongValue(VTEXT("n"), 7);
    EXPECT_EQ(apoReader->GetIncLongValue(VTEXT("n"), 0, 10), 7);
    EXPECT_EQ(apoReader->GetLastStatus(), DENIED);
}

TEST_P(RegistryKeyValues, WithoutAKeyEverythingIsAnswered) {
    RegistryKey oClosed(HIVE, RegistryKey::AS_NEEDED, RegistryKey::OWN_TREE);
    const RecordingSink oSink;
    ByteBuffer bbData;
    std::vector<CXString> vcsNames{CXString(VTEXT("old"))};
    RegistryMultiValueOperations oValues;
    oValues.Add(VTEXT("v"));
    EXPECT_EQ(oClosed.GetLongValue(VTEXT("v"), 8), 8);
    EXPECT_EQ(oSink.Count("Invalid Handle. Returned data buffer will be empty."), 1u);
    EXPECT_TRUE(oClosed.DoesValueExist(VTEXT("v")));
    EXPECT_FALSE(oClosed.GetClearBooleanValue(VTEXT("v"), false));
    EXPECT_EQ(oClosed.GetIncLong64Value(VTEXT("v"), 2, 5), 2);
    EXPECT_FALSE(oClosed.QueryMultipleValues(oValues));
    EXPECT_FALSE(oClosed.DeleteValue(VTEXT("v")));
    EXPECT_FALSE(oClosed.RenameValue(VTEXT("v"), VTEXT("w")));
    EXPECT_EQ(oClosed.GetCountOfSubKeys() + oClosed.GetCountOfValues(), 0u);
    EXPECT_FALSE(oClosed.AnySubKeysExist());
    EXPECT_FALSE(oClosed.EnumKeyNames(vcsNames));
    EXPECT_TRUE(vcsNames.empty());
    EXPECT_FALSE(oClosed.DeleteKey(VTEXT("k")));
    EXPECT_FALSE(oClosed.DeleteKeyAndSubkeys(VTEXT("k")));
    EXPECT_FALSE(oClosed.CopyKeyAndSubkeysFrom(m_oKey));
    EXPECT_EQ(oClosed.GetLastStatus(), NO_KEY);
    EXPECT_THROW(oClosed.SetBooleanValue(VTEXT("v"), true), ExceptionRegistryRequest);
}

TEST_P(RegistryKeyValues, AFlagIsConsumedByItsFirstReader) {
    m_oKey.SetBooleanValue(VTEXT("f"), true);
    EXPECT_TRUE(m_oKey.GetClearBooleanValue(VTEXT("f"), false));
    EXPECT_FALSE(m_oKey.DoesValueExist(VTEXT("f")));
    EXPECT_FALSE(m_oKey.GetClearBooleanValue(VTEXT("f"), false));
    EXPECT_TRUE(m_oKey.GetClearBooleanValue(VTEXT("f"), true));
}

TEST_P(RegistryKeyValues, CountersRollOver) {
    constexpr LONG MOST = std::numeric_limits<LONG>::max(), LEAST = std::numeric_limits<LONG>::min();
    EXPECT_EQ(m_oKey.GetIncLongValue(VTEXT("c"), 5, 3), 5);
    EXPECT_EQ(Hex(VTEXT("c")), "00000000");
    const struct {
        LONG lStored, lModulus, lAfter;
    } aSteps[] = {{2, 3, 0},   {0, 3, 1},      {-5, 3, -1},      {7, -3, 2},      {0, 1, 0},
                  {-1, -1, 0}, {MOST, 10, -8}, {MOST, LEAST, 0}, {LEAST, MOST, 0}};
    for (const auto& rStep : aSteps) {
        m_oKey.SetLongValue(VTEXT("c"), rStep.lStored);
        EXPECT_EQ(m_oKey.GetIncLongValue(VTEXT("c"), 99, rStep.lModulus), rStep.lStored);
        EXPECT_EQ(m_oKey.GetLastStatus(), 0u);
        EXPECT_EQ(m_oKey.GetLongValue(VTEXT("c"), 99), rStep.lAfter) << rStep.lStored << " mod " << rStep.lModulus;
    }
    m_oKey.SetLong64Value(VTEXT("d"), std::numeric_limits<LONGLONG>::max());
    EXPECT_EQ(m_oKey.GetIncLong64Value(VTEXT("d"), 0, 1000), std::numeric_limits<LONGLONG>::max());
    EXPECT_EQ(m_oKey.GetIncLong64Value(VTEXT("d"), 0, 1000), -808);
    EXPECT_EQ(m_oKey.GetIncLong64Value(VTEXT("d"), 0, 1000), -807);
}

TEST_P(RegistryKeyValues, AFaultyModulusChangesNothing) {
    const RecordingSink oSink;
    const std::pair<LONG, LONG> aFaults[] = {{5, 0}, {std::numeric_limits<LONG>::max(), -1}};
    for (const auto& [lStored, lModulus] : aFaults) {
        m_oKey.SetLongValue(VTEXT("c"), lStored);
        EXPECT_EQ(m_oKey.GetIncLongValue(VTEXT("c"), 0, lModulus), lStored);
        EXPECT_EQ(m_oKey.GetLongValue(VTEXT("c"), 0), lStored);
    }
    m_oKey.SetLong64Value(VTEXT("d"), std::numeric_limits<LONGLONG>::max());
    EXPECT_EQ(m_oKey.GetIncLong64Value(VTEXT("d"), 0, -1), std::numeric_limits<LONGLONG>::max());
    EXPECT_EQ(m_oKey.GetIncLong64Value(VTEXT("no"), 4, 0), 4);
    EXPECT_FALSE(m_oKey.DoesValueExist(VTEXT("no")));
    EXPECT_EQ(oSink.Count("(fCanCount)"), 4u);
}

TEST_P(RegistryKeyValues, ARenamedValueKeepsTypeAndData) {
    std::vector<CXString> vcsNames;
    Put(VTEXT("old"), 4711, "0102");
    m_oKey.SetLongValue(VTEXT("taken"), 1);
    EXPECT_TRUE(m_oKey.RenameValue(VTEXT("old"), VTEXT("OLD")));
    EXPECT_TRUE(m_oKey.EnumValueNames(vcsNames));
    EXPECT_EQ(std::count(vcsNames.begin(), vcsNames.end(), CXString(VTEXT("OLD"))), 1);
    EXPECT_TRUE(m_oKey.RenameValue(VTEXT("OLD"), VTEXT("OLD")));
    EXPECT_TRUE(m_oKey.RenameValue(VTEXT("old"), VTEXT("taken")));
    ByteBuffer bbData;
    DWORD dwType = 0;
    EXPECT_TRUE(m_oKey.GetValue(VTEXT("taken"), bbData, &dwType));
    EXPECT_EQ(dwType, 4711u);
    EXPECT_EQ(Hex(VTEXT("taken")), "0102");
    EXPECT_EQ(m_oKey.GetCountOfValues(), 1u);
    // Two names here, one name to a registry that knows the case of every letter.
    EXPECT_TRUE(m_oKey.RenameValue(VTEXT("taken"), VTEXT("\u00C4")));
    EXPECT_TRUE(m_oKey.RenameValue(VTEXT("\u00C4"), VTEXT("\u00E4")));
    EXPECT_TRUE(m_oKey.EnumValueNames(vcsNames));
    EXPECT_EQ(vcsNames, (std::vector<CXString>{VTEXT("\u00E4")}));
    EXPECT_EQ(Hex(VTEXT("\u00E4")), "0102");
    EXPECT_FALSE(m_oKey.RenameValue(VTEXT("old"), VTEXT("new")));
    EXPECT_EQ(m_oKey.GetLastStatus(), ABSENT);
}

TEST_P(RegistryKeyValues, SeveralValuesComeInOneQuery) {
    m_oKey.SetBooleanValue(VTEXT("flag"), true);
    m_oKey.SetLong64Value(VTEXT("number"), 1LL << 40);
    m_oKey.SetStringValue(VTEXT("text"), VTEXT("abc"));
    RegistryMultiValueOperations oValues;
    const std::size_t cNumber = oValues.Add(VTEXT("NUMBER")), cText = oValues.Add(VTEXT("text")),
                      cFlag = oValues.Add(VTEXT("flag"));
    EXPECT_EQ(oValues.GetLong64(cNumber, 5), 5);
    const RecordingSink oSink;
    EXPECT_TRUE(m_oKey.QueryMultipleValues(oValues));
    EXPECT_TRUE(oValues.HasChanged());
    EXPECT_EQ(oValues.GetLong64(cNumber, 0), 1LL << 40);
    EXPECT_EQ(oValues.GetString(cText, VTEXT("")), CXString(VTEXT("abc")));
    EXPECT_TRUE(oValues.GetBoolean(cFlag, false));
    EXPECT_EQ(oValues.GetLong(cFlag, -1), -1);
    EXPECT_EQ(oValues.GetType(cText), 1u);
    EXPECT_EQ(oValues.GetLong(99, -2), -2);
    EXPECT_TRUE(m_oKey.QueryMultipleValues(oValues));
    EXPECT_FALSE(oValues.HasChanged());
    EXPECT_EQ(oSink.Count("Calling RegQueryMultipleValues() for the 3 entries and a buffer size of 1024."), 2u);
    // More data than there was room for.
    ByteBuffer bbLarge;
    bbLarge.resize(5000);
    m_oKey.SetBytesValue(VTEXT("text"), bbLarge);
    EXPECT_TRUE(m_oKey.QueryMultipleValues(oValues));
    EXPECT_TRUE(oValues.HasChanged());
    EXPECT_EQ(oSink.Count("RegQueryMultipleValues() requires a buffer size of 5009. Resizing and trying again"), 1u);
    ByteBuffer bbBack;
    EXPECT_TRUE(oValues.GetBytes(cText, bbBack));
    EXPECT_EQ(bbBack.size(), 5000u);
    // One that is absent fails all, and what was read stays.
    EXPECT_TRUE(m_oKey.DeleteValue(VTEXT("flag")));
    EXPECT_FALSE(m_oKey.QueryMultipleValues(oValues));
    EXPECT_EQ(m_oKey.GetLastStatus(), ABSENT);
    EXPECT_TRUE(oValues.GetBoolean(cFlag, false));
    EXPECT_EQ(oSink.Count("Call to RegQueryMultipleValues() failed! Buffer size for the 3 entries was 5009 bytes."),
              1u);
}

Q9_REGISTRY_SUITE(RegistryKeyValues);

}  // namespace

}  // namespace vlm::test
