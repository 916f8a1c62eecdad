/// @file
/// What operations on values make of stored data that does not fit, of the room for a reply, and of keys that are not
/// there.
#include <limits>

#include "MonitorBench.h"

namespace vlm::test {

namespace {

constexpr auto VERSION = HKeyRegistry::Hkey_Machine_Version;

class ValueOperations : public testing::Test {
protected:
    Answer Run(Function eFunction, const XCHAR* pszName, const ByteBuffer& kbbData = ByteBuffer(),
               std::size_t cbRoom = 4096) {
        return m_oBench.Send(MakeRequest(eFunction, VERSION, VTEXT("Key"), pszName, kbbData), cbRoom);
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
    const XString m_path = XString(VERSION_PATH) + VTEXT("\\Key");
};

TEST_F(ValueOperations, ReadsAnswerTheFirstBytesOfWhatIsStored) {
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
        {GetLong64Value, "01020304050607", Status::InvalidData, ""},
        {GetStringValue, "", Status::Success, "0000"},
        {GetStringValue, "4100", Status::Success, "41000000"},
        {GetIncLongValue, "010203", Status::FileNotFound, ""},
        {DoesValueExist, "01", Status::Success, ""},
    };
    for (const auto& rRow : aRows) {
        Store(VTEXT("v"), RegistryPort::TYPE_BINARY, rRow.pszStored);
        const ByteBuffer bbData = rRow.eFunction == GetIncLongValue ? ByteBuffer::createFromLongValue(9) : ByteBuffer();
        const Answer oAnswer = Run(rRow.eFunction, VTEXT("v"), bbData);
        EXPECT_EQ(oAnswer.eStatus, rRow.eStatus) << static_cast<int>(rRow.eFunction) << " " << rRow.pszStored;
        EXPECT_EQ(ToHex(oAnswer.vbyReply), rRow.pszReply);
        EXPECT_EQ(Run(rRow.eFunction, VTEXT("none"), bbData), Status::FileNotFound);
    }
}

TEST_F(ValueOperations, ASizeQueryTellsTheRoomThatIsThenEnough) {
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
        ASSERT_GT(oSize.cbNeeded, 0u);
        EXPECT_EQ(Run(eFunction, pszName, bbData, oSize.cbNeeded - 1).eStatus, Status::InsufficientBuffer);
        EXPECT_EQ(Run(eFunction, pszName, bbData, oSize.cbNeeded).vbyReply.size(), oSize.cbNeeded);
    }
}

TEST_F(ValueOperations, WhatCannotBeDividedIsNotCounted) {
    m_oBench.oFake.registry.AddDword(m_path, VTEXT("n"), static_cast<DWORD>(std::numeric_limits<LONG>::max()));
    Store(VTEXT("q"), RegistryPort::TYPE_QWORD, "FFFFFFFFFFFFFF7F");
    for (const LONG lModulus : {0, -1}) {
        EXPECT_EQ(Run(Function::GetIncLongValue, VTEXT("n"), ByteBuffer::createFromLongValue(lModulus)),
                  Status::InvalidParameter);
        EXPECT_EQ(Run(Function::GetIncLong64Value, VTEXT("q"), ByteBuffer::createFromLong64Value(lModulus)),
                  Status::InvalidParameter);
    }
    EXPECT_EQ(Stored(VTEXT("n")) + " " + Stored(VTEXT("q")), "4:FFFFFF7F 11:FFFFFFFFFFFFFF7F");
}

TEST_F(ValueOperations, ValuesBeyondTheBoundAreRefused) {
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

TEST_F(ValueOperations, SettingCreatesTheKeyAndNothingElseDoes) {
    using enum _XPMRegistryFunction;
    const std::string before = m_oBench.Everything();
    const ByteBuffer bbLong = ByteBuffer::createFromLongValue(1);
    for (const Function eFunction : {GetLongValue, DeleteValue, GetClearBooleanValue, DoesValueExist})
        EXPECT_EQ(Run(eFunction, VTEXT("v")), Status::FileNotFound);
    EXPECT_EQ(Run(GetIncLongValue, VTEXT("v"), bbLong), Status::FileNotFound);
    EXPECT_EQ(Run(RenameValue, VTEXT("v"), TextData(VTEXT("w"))), Status::FileNotFound);
    EXPECT_EQ(m_oBench.Everything(), before);
    EXPECT_EQ(Run(SetLongValue, VTEXT("v"), bbLong), Status::Success);
    EXPECT_EQ(Stored(VTEXT("v")), "4:01000000");
}

}  // namespace

}  // namespace vlm::test
