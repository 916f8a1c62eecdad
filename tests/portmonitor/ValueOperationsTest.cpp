/// @file
/// What each operation on values does, by root and by key handle.
#include <limits>

#include "MonitorBench.h"
#include "support/FaultLoop.h"

namespace vlm::test {

namespace {

constexpr auto VERSION = HKeyRegistry::Hkey_Machine_Version;

/// Each test runs once with a root and once with a key handle.
class ValueOperations : public testing::TestWithParam<bool> {
protected:
    ValueOperations() : m_path(XString(VERSION_PATH) + VTEXT("\\Key")) { m_oBench.oFake.registry.AddKey(m_path); }

    Answer Run(Function eFunction, const XCHAR* pszName, const ByteBuffer& kbbData = ByteBuffer(),
               std::size_t cbRoom = 4096) {
        if (!GetParam()) return m_oBench.Send(MakeRequest(eFunction, VERSION, VTEXT("Key"), pszName, kbbData), cbRoom);
        if (m_ullToken == 0) m_ullToken = m_oBench.OpenToken(Function::OpenKey, VTEXT("Key"));
        return m_oBench.Send(MakeRequest(eFunction, m_ullToken, CXString(), pszName, kbbData), cbRoom);
    }
    std::string Reply(Function eFunction, const XCHAR* pszName, const ByteBuffer& kbbData = ByteBuffer()) {
        const Answer oAnswer = Run(eFunction, pszName, kbbData);
        EXPECT_EQ(oAnswer.eStatus, Status::Success) << static_cast<int>(eFunction);
        return ToHex(oAnswer.vbyReply);
    }
    /// Type and data, "-" for a value that is not there.
    std::string Stored(const XCHAR* pszName) {
        const auto oValue = m_oBench.oFake.registry.ValueAt(m_path, pszName);
        return oValue ? std::to_string(oValue->dwType) + ":" + ToHex(oValue->vbyData) : "-";
    }
    void Store(const XCHAR* pszName, DWORD dwType, const char* pszHex) {
        m_oBench.oFake.registry.AddValue(m_path, pszName, dwType, FromHex(pszHex));
    }

    MonitorBench m_oBench;
    XString m_path;
    ULONGLONG m_ullToken = 0;
};

TEST_P(ValueOperations, WritesStoreTypeAndBytes) {
    using enum _XPMRegistryFunction;
    const struct {
        Function eFunction;
        const char* pszData;
        const char* pszStored;
    } aRows[] = {
        {SetBooleanValue, "01", "3:01"},
        {SetLongValue, "01020304", "4:01020304"},
        {SetLong64Value, "0102030405060708", "11:0102030405060708"},
        {SetStringValue, "41000000", "1:41000000"},
        {SetStringValue, "0000", "1:0000"},
        {SetBytesValue, "ABCDEF", "3:ABCDEF"},
        {SetBytesValue, "", "3:"},
    };
    for (const auto& rRow : aRows) {
        EXPECT_EQ(Run(rRow.eFunction, VTEXT("v"), ByteBuffer(FromHex(rRow.pszData))), Status::Success);
        EXPECT_EQ(Stored(VTEXT("v")), rRow.pszStored);
    }
    EXPECT_EQ(Run(SetLongValue, VTEXT(""), ByteBuffer(FromHex("01020304"))), Status::Success);
    EXPECT_EQ(Stored(VTEXT("")), "4:01020304");
    EXPECT_EQ(Run(DeleteValue, VTEXT("V")), Status::Success);
    EXPECT_EQ(Stored(VTEXT("v")), "-");
    EXPECT_EQ(Run(DeleteValue, VTEXT("v")), Status::FileNotFound);
}

TEST_P(ValueOperations, ReadsAnswerWhatIsStored) {
    using enum _XPMRegistryFunction;
    const struct {
        Function eFunction;
        const char* pszStored;
        Status eStatus;
        const char* pszReply;
    } aRows[] = {
        {GetBooleanValue, "02", Status::Success, "01"},
        {GetBooleanValue, "0001", Status::Success, "00"},
        {GetBooleanValue, "", Status::InvalidData, ""},
        {GetLongValue, "0102030405", Status::Success, "01020304"},
        {GetLongValue, "010203", Status::InvalidData, ""},
        {GetLong64Value, "0102030405060708", Status::Success, "0102030405060708"},
        {GetLong64Value, "01020304050607", Status::InvalidData, ""},
        {GetStringValue, "4100", Status::Success, "41000000"},
        {GetStringValue, "41000000", Status::Success, "41000000"},
        {GetStringValue, "", Status::Success, "0000"},
        {GetBytesValue, "00FF00", Status::Success, "00FF00"},
        {GetBytesValue, "", Status::Success, ""},
        {DoesValueExist, "01", Status::Success, ""},
    };
    for (const auto& rRow : aRows) {
        Store(VTEXT("v"), RegistryPort::TYPE_BINARY, rRow.pszStored);
        const Answer oAnswer = Run(rRow.eFunction, VTEXT("v"));
        EXPECT_EQ(oAnswer.eStatus, rRow.eStatus) << static_cast<int>(rRow.eFunction) << " " << rRow.pszStored;
        EXPECT_EQ(ToHex(oAnswer.vbyReply), rRow.pszReply);
        EXPECT_EQ(Run(rRow.eFunction, VTEXT("none")), Status::FileNotFound);
    }
}

TEST_P(ValueOperations, ASizeQueryTellsTheRoomThatIsThenEnough) {
    using enum _XPMRegistryFunction;
    Store(VTEXT("v"), RegistryPort::TYPE_BINARY, "4142434445464748");
    for (const Function eFunction :
         {GetBooleanValue, GetLongValue, GetLong64Value, GetStringValue, GetBytesValue, EnumKeyNames, EnumValueNames,
          GetCountOfSubKeys, GetCountOfValues, QueryMultipleValues}) {
        const bool fNamed = FindRequestOperation(static_cast<WORD>(eFunction))->m_eName != RequestName::No;
        const XCHAR* const pszName = fNamed ? VTEXT("v") : VTEXT("");
        const ByteBuffer bbData = eFunction == QueryMultipleValues ? ValueListData({VTEXT("v")}) : ByteBuffer();
        const Answer oSize = Run(eFunction, pszName, bbData, 0);
        EXPECT_EQ(oSize, Status::InsufficientBuffer) << static_cast<int>(eFunction);
        EXPECT_GT(oSize.cbNeeded, 0u);
        EXPECT_EQ(Run(eFunction, pszName, bbData, oSize.cbNeeded - 1).eStatus, Status::InsufficientBuffer);
        const Answer oRead = Run(eFunction, pszName, bbData, oSize.cbNeeded);
        EXPECT_EQ(oRead.eStatus, Status::Success);
        EXPECT_EQ(oRead.vbyReply.size(), oSize.cbNeeded);
    }
}

TEST_P(ValueOperations, NamesAndCounts) {
    using enum _XPMRegistryFunction;
    for (const XCHAR* pszName : {VTEXT("b"), VTEXT("a"), VTEXT("")})
        Store(pszName, RegistryPort::TYPE_BINARY, "01");
    for (const XCHAR* pszName : {VTEXT("\\Two"), VTEXT("\\One")})
        m_oBench.oFake.registry.AddKey(m_path + pszName);
    EXPECT_EQ(Reply(GetCountOfValues, VTEXT("")), "03000000");
    EXPECT_EQ(Reply(GetCountOfSubKeys, VTEXT("")), "02000000");
    std::vector<CXString> vcsNames;
    EXPECT_TRUE(PortMonitorReply::DecodeNames(Run(EnumKeyNames, VTEXT("")).vbyReply, vcsNames));
    EXPECT_EQ(vcsNames, (std::vector<CXString>{VTEXT("One"), VTEXT("Two")}));
    EXPECT_TRUE(PortMonitorReply::DecodeNames(Run(EnumValueNames, VTEXT("")).vbyReply, vcsNames));
    EXPECT_EQ(vcsNames, (std::vector<CXString>{VTEXT(""), VTEXT("a"), VTEXT("b")}));
}

TEST_P(ValueOperations, SeveralValuesComeInTheOrderAskedForOrNotAtAll) {
    Store(VTEXT("a"), RegistryPort::TYPE_DWORD, "01020304");
    Store(VTEXT("b"), RegistryPort::TYPE_BINARY, "AA");
    Store(VTEXT("empty"), RegistryPort::TYPE_NONE, "");
    const auto Ask = [&](const std::vector<CXString>& kvcsNames) {
        return Run(Function::QueryMultipleValues, VTEXT(""), ValueListData(kvcsNames));
    };
    const Answer oAnswer = Ask({VTEXT("B"), VTEXT("empty"), VTEXT("a")});
    std::vector<PortMonitorReply::Value> vValues;
    ASSERT_TRUE(PortMonitorReply::DecodeValues(oAnswer.vbyReply, 3, vValues));
    EXPECT_EQ(ToHex(oAnswer.vbyReply.data() + 96, oAnswer.vbyReply.size() - 96), "AA01020304");
    EXPECT_EQ(vValues[0].m_dwType, RegistryPort::TYPE_BINARY);
    EXPECT_EQ(vValues[2].m_dwType, RegistryPort::TYPE_DWORD);
    EXPECT_EQ(vValues[1].m_cbData, 0u);
    EXPECT_EQ(Ask({VTEXT("a"), VTEXT("none")}), Status::FileNotFound);
    EXPECT_EQ(Ask({VTEXT("empty")}).vbyReply.size(), 32u);
}

TEST_P(ValueOperations, AFlagIsConsumedByItsFirstReader) {
    Store(VTEXT("flag"), RegistryPort::TYPE_BINARY, "01");
    EXPECT_EQ(Reply(Function::GetClearBooleanValue, VTEXT("flag")), "01");
    EXPECT_EQ(Stored(VTEXT("flag")), "-");
    EXPECT_EQ(Run(Function::GetClearBooleanValue, VTEXT("flag")), Status::FileNotFound);
}

TEST_P(ValueOperations, IncrementsFollowTheDirectRule) {
    constexpr LONG MOST = std::numeric_limits<LONG>::max(), LEAST = std::numeric_limits<LONG>::min();
    const struct {
        LONG lValue, lModulus, lNext;
    } aRows[] = {{5, 100, 6},          {2, 3, 0},        {0, 1, 0},  {-5, 3, -1},    {5, -4, 2},
                 {MOST, 7, LEAST % 7}, {MOST, LEAST, 0}, {-1, 5, 0}, {LEAST, -1, 0}, {MOST - 1, -1, 0}};
    for (const auto& rRow : aRows) {
        m_oBench.oFake.registry.AddDword(m_path, VTEXT("n"), static_cast<DWORD>(rRow.lValue));
        const ByteBuffer bbModulus = ByteBuffer::createFromLongValue(rRow.lModulus);
        EXPECT_EQ(Reply(Function::GetIncLongValue, VTEXT("n"), bbModulus),
                  ToHex(ByteBuffer::createFromLongValue(rRow.lValue).GetVector()));
        EXPECT_EQ(Stored(VTEXT("n")), "4:" + ToHex(ByteBuffer::createFromLongValue(rRow.lNext).GetVector()))
            << rRow.lValue << " + 1 modulo " << rRow.lModulus;
    }
    // What the processor cannot divide, and what is not there.
    m_oBench.oFake.registry.AddDword(m_path, VTEXT("n"), static_cast<DWORD>(MOST));
    for (const LONG lModulus : {0, -1}) {
        EXPECT_EQ(Run(Function::GetIncLongValue, VTEXT("n"), ByteBuffer::createFromLongValue(lModulus)),
                  Status::InvalidParameter);
    }
    EXPECT_EQ(Stored(VTEXT("n")), "4:FFFFFF7F");
    EXPECT_EQ(Run(Function::GetIncLongValue, VTEXT("none"), ByteBuffer::createFromLongValue(9)), Status::FileNotFound);
    EXPECT_EQ(Stored(VTEXT("none")), "-");

    constexpr LONGLONG MOST_64 = std::numeric_limits<LONGLONG>::max();
    Store(VTEXT("q"), RegistryPort::TYPE_QWORD, "FFFFFFFFFFFFFF7F");
    EXPECT_EQ(Run(Function::GetIncLong64Value, VTEXT("q"), ByteBuffer::createFromLong64Value(-1)),
              Status::InvalidParameter);
    EXPECT_EQ(Reply(Function::GetIncLong64Value, VTEXT("q"), ByteBuffer::createFromLong64Value(MOST_64)),
              "FFFFFFFFFFFFFF7F");
    EXPECT_EQ(Stored(VTEXT("q")), "11:" + ToHex(ByteBuffer::createFromLong64Value(-1).GetVector()));
}

TEST_P(ValueOperations, RenamingKeepsTypeAndDataAndNeverLosesThem) {
    Store(VTEXT("old"), 4711, "0102");
    Store(VTEXT("taken"), 3, "FF");
    const auto Rename = [&](const XCHAR* pszOld, const XCHAR* pszNew) {
        return Run(Function::RenameValue, pszOld, TextData(pszNew));
    };
    EXPECT_EQ(Rename(VTEXT("old"), VTEXT("new")), Status::Success);
    EXPECT_EQ(Stored(VTEXT("old")), "-");
    EXPECT_EQ(Stored(VTEXT("new")), "4711:0102");
    EXPECT_EQ(Rename(VTEXT("new"), VTEXT("NEW")), Status::Success);
    std::vector<CXString> vcsNames;
    EXPECT_TRUE(PortMonitorReply::DecodeNames(Run(Function::EnumValueNames, VTEXT("")).vbyReply, vcsNames));
    EXPECT_EQ(vcsNames, (std::vector<CXString>{VTEXT("NEW"), VTEXT("taken")}));
    EXPECT_EQ(Rename(VTEXT("NEW"), VTEXT("taken")), Status::Success);
    EXPECT_EQ(Stored(VTEXT("taken")), "4711:0102");
    EXPECT_EQ(Rename(VTEXT("none"), VTEXT("other")), Status::FileNotFound);
}

TEST_P(ValueOperations, ValuesBeyondTheBoundAreRefused) {
    std::vector<BYTE> vbyLarge(bounds::MAX_MONITOR_VALUE_BYTES + 1);
    m_oBench.oFake.registry.AddValue(m_path, VTEXT("large"), 3, vbyLarge);
    EXPECT_EQ(Run(Function::GetBytesValue, VTEXT("large")), Status::NoSystemResources);
    vbyLarge.pop_back();
    m_oBench.oFake.registry.AddValue(m_path, VTEXT("large"), 3, vbyLarge);
    EXPECT_EQ(Run(Function::GetBytesValue, VTEXT("large"), ByteBuffer(), vbyLarge.size()).vbyReply, vbyLarge);
    m_oBench.oFake.registry.AddValue(m_path, VTEXT("more"), 3, {1});
    EXPECT_EQ(Run(Function::QueryMultipleValues, VTEXT(""), ValueListData({VTEXT("large"), VTEXT("more")})),
              Status::NoSystemResources);
}

INSTANTIATE_TEST_SUITE_P(By, ValueOperations, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& rInfo) { return rInfo.param ? "Handle" : "Root"; });

TEST(ValueOperationsByRoot, SettingCreatesTheKeyAndNothingElseDoes) {
    using enum _XPMRegistryFunction;
    MonitorBench oBench;
    const std::string before = oBench.Everything();
    const auto Run = [&](Function eFunction, const ByteBuffer& kbbData) {
        return oBench.Send(MakeRequest(eFunction, VERSION, VTEXT("New\\Key"), VTEXT("v"), kbbData));
    };
    const ByteBuffer bbLong = ByteBuffer::createFromLongValue(1);
    for (const Function eFunction : {GetLongValue, DeleteValue, GetClearBooleanValue, DoesValueExist})
        EXPECT_EQ(Run(eFunction, ByteBuffer()), Status::FileNotFound);
    EXPECT_EQ(Run(GetIncLongValue, bbLong), Status::FileNotFound);
    EXPECT_EQ(Run(RenameValue, TextData(VTEXT("w"))), Status::FileNotFound);
    EXPECT_EQ(oBench.Everything(), before);
    EXPECT_EQ(Run(SetLongValue, bbLong), Status::Success);
    EXPECT_TRUE(oBench.oFake.registry.ValueAt(XString(VERSION_PATH) + VTEXT("\\New\\Key"), VTEXT("v")));
}

TEST(ValueOperationsByRoot, ARenamingByCaseThatFailsLeavesTheValueUnderOneOfItsNames) {
    const XString path = XString(VERSION_PATH) + VTEXT("\\Key");
    FaultLoop oLoop;
    oLoop.fnPrepare = [&](FakePlatform& rFake) { rFake.registry.AddDword(path, VTEXT("name"), 7); };
    oLoop.fnRun = [] {
        ByteBuffer bbRecord;
        DWORD cbNeeded = 0;
        MonitorChannels oChannels;
        HANDLE hChannel = nullptr;
        Status eStatus = oChannels.Open(0, hChannel);
        try {
            MakeRequest(Function::RenameValue, VERSION, VTEXT("Key"), VTEXT("name"), TextData(VTEXT("NAME")))
                .AppendTo(bbRecord);
        } catch (const std::exception&) {
            return FaultOutcome::Failed;
        }
        if (eStatus == Status::Success)
            eStatus = oChannels.Transceive(hChannel, VTEXT("xregistry"), bbRecord, {}, cbNeeded);
        return eStatus == Status::Success ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    oLoop.fnCheck = [&](FakePlatform& rFake, FaultOutcome) {
        EXPECT_TRUE(rFake.registry.ValueAt(path, VTEXT("name")));
    };
    oLoop.vModes = {FaultMode::FailOnce};
    RunFaultLoop(oLoop);
}

}  // namespace

}  // namespace vlm::test
