/// @file
/// Requests and replies: nothing but a canonical one by the rules is taken apart.  The bytes of requests are in the
/// tool's tests.
#include "environment/PortMonitorRequest.h"

#include <gtest/gtest.h>

#include "environment/PortMonitorReply.h"
#include "environment/PortMonitorRequestRules.h"
#include "support/Bytes.h"
#include "utilities/Bounds.h"

namespace {

using vlm::PortMonitorReply;
using vlm::PortMonitorRequest;
using vlm::Status;
using Function = _XPMRegistryFunction;

PortMonitorRequest Request(_HKEYREGISTRY_ eRoot, Function eFunction, const XCHAR* pszPath = VTEXT(""),
                           const XCHAR* pszName = VTEXT(""), const XCHAR* pszThird = VTEXT("")) {
    PortMonitorRequest oRequest;
    oRequest.m_eRoot = eRoot;
    oRequest.m_eFunction = eFunction;
    const vlm::RequestOperation* const pOperation = vlm::FindRequestOperation(static_cast<WORD>(eFunction));
    oRequest.m_dwAccessMask =
        pOperation->m_dwMask == vlm::RequestOperation::BY_ADDRESS ? 0x2001F : pOperation->m_dwMask;
    oRequest.m_csKeyPath = pszPath;
    oRequest.m_csValueName = pszName;
    oRequest.m_csThird = pszThird;
    return oRequest;
}

std::vector<BYTE> Record(const PortMonitorRequest& rRequest) {
    ByteBuffer bbRecord;
    rRequest.AppendTo(bbRecord);
    return bbRecord.GetVector();
}

Status DecodeStatus(const std::vector<BYTE>& rvbyRecord) {
    PortMonitorRequest oRequest;
    return PortMonitorRequest::Decode(rvbyRecord, oRequest);
}

const PortMonitorRequest& SetLong() {
    static const PortMonitorRequest oRequest = [] {
        PortMonitorRequest oSet =
            Request(HKeyRegistry::Hkey_Machine_Version, Function::SetLongValue, VTEXT("Ab"), VTEXT("v"));
        oSet.m_bbData = ByteBuffer::createFromIntValue(0x01020304);
        return oSet;
    }();
    return oRequest;
}

TEST(PortMonitorRequest, EveryCutIsRefusedAndAnAcceptedMutationIsCanonical) {
    const std::vector<BYTE> vbyRecord = Record(SetLong());
    int iAccepted = 0;
    for (std::size_t c = 0; c < vbyRecord.size(); ++c) {
        EXPECT_EQ(DecodeStatus({vbyRecord.begin(), vbyRecord.begin() + static_cast<std::ptrdiff_t>(c)}),
                  Status::InvalidParameter)
            << c;
        for (int iBit = 0; iBit < 8; ++iBit) {
            std::vector<BYTE> vbyMutant = vbyRecord;
            vbyMutant[c] = static_cast<BYTE>(vbyMutant[c] ^ 1 << iBit);
            PortMonitorRequest oRead;
            if (PortMonitorRequest::Decode(vbyMutant, oRead) != Status::Success) continue;
            ++iAccepted;
            EXPECT_EQ(Record(oRead), vbyMutant) << "byte " << c << ", bit " << iBit;
        }
    }
    EXPECT_GT(iAccepted, 0);  // the texts and the data may change
}

TEST(PortMonitorRequest, RulesHoldOneByOne) {
    const auto Changed = [](auto&& change) {
        PortMonitorRequest oRequest = SetLong();
        change(oRequest);
        return DecodeStatus(Record(oRequest));
    };
    using R = PortMonitorRequest;
    const struct {
        const char* pszRule;
        void (*change)(R&);
    } aRows[] = {
        {"neither root nor handle", [](R& r) { r.m_eRoot = HKeyRegistry::Hkey_None; }},
        {"root and handle", [](R& r) { r.m_ullKeyHandle = 7; }},
        {"a root that no client sends", [](R& r) { r.m_eRoot = HKeyRegistry::Hkey_Local_Machine; }},
        {"another mask", [](R& r) { r.m_dwAccessMask = 0x20019; }},
        {"no key path where one is written", [](R& r) { r.m_csKeyPath.Empty(); }},
        {"a doubled backslash", [](R& r) { r.m_csKeyPath = VTEXT("a\\\\b"); }},
        {"a leading backslash", [](R& r) { r.m_csKeyPath = VTEXT("\\a"); }},
        {"a trailing backslash", [](R& r) { r.m_csKeyPath = VTEXT("a\\"); }},
        {"a control character", [](R& r) { r.m_csKeyPath = VTEXT("a\nb"); }},
        {"too long a component", [](R& r) { r.m_csKeyPath = CXString(VTEXT('a'), 256); }},
        {"a SID where none belongs", [](R& r) { r.m_csThird = VTEXT("S-1-5-18"); }},
        {"data of another size", [](R& r) { r.m_bbData.appendNullByte(); }},
        {"no data", [](R& r) { r.m_bbData.clear(); }},
    };
    for (const auto& rRow : aRows)
        EXPECT_EQ(Changed(rRow.change), Status::InvalidParameter) << rRow.pszRule;
    EXPECT_EQ(Changed([](R& r) { r.m_csKeyPath = CXString(VTEXT('a'), 255); }), Status::Success);
    EXPECT_EQ(Changed([](R& r) { r.m_csValueName.Empty(); }), Status::Success);
}

TEST(PortMonitorRequest, TextsAndSidsAreRegularOrRefused) {
    PortMonitorRequest oRequest = Request(HKeyRegistry::Hkey_Machine_Version, Function::SetStringValue, VTEXT("k"));
    const auto With = [&](const char* pszHex) {
        oRequest.m_bbData = ByteBuffer(vlm::test::FromHex(pszHex));
        return DecodeStatus(Record(oRequest));
    };
    EXPECT_EQ(With("0000"), Status::Success);
    EXPECT_EQ(With("41000000"), Status::Success);
    EXPECT_EQ(With("4100"), Status::InvalidParameter);
    EXPECT_EQ(With("410000"), Status::InvalidParameter);

    for (const XCHAR* pszGood : {VTEXT("S-1-5-18"), VTEXT(".DEFAULT"), VTEXT("S-1-5-21-0-0-0-1000")})
        EXPECT_TRUE(vlm::IsRegularSid(pszGood));
    for (const XCHAR* pszBad : {VTEXT(""), VTEXT("S-1-"), VTEXT("S-1-5-"), VTEXT("S-1-05"), VTEXT("S-1-5-18\\Software"),
                                VTEXT("s-1-5-18"), VTEXT("S-1-1-2-3-4-5-6-7-8-9-10-11-12-13-14-15-16")})
        EXPECT_FALSE(vlm::IsRegularSid(pszBad));
}

TEST(PortMonitorRequest, ValueListsAreCanonical) {
    PortMonitorRequest oRequest =
        Request(HKeyRegistry::Hkey_Machine_Version, Function::QueryMultipleValues, VTEXT("k"));
    const std::string zeros(48, '0');
    const auto With = [&](const std::string& hex) {
        oRequest.m_bbData = ByteBuffer(vlm::test::FromHex(hex));
        return DecodeStatus(Record(oRequest));
    };
    const std::string two = "4000000000000000" + zeros + "4400000000000000" + zeros;
    EXPECT_EQ(With(two + "41000000"
                         "4200"
                         "0000"),
              Status::Success);
    EXPECT_EQ(With(two + "41000000"
                         "4200"),
              Status::InvalidParameter);  // not terminated
    EXPECT_EQ(With(two + "41000000"
                         "4200"
                         "0000"
                         "00"),
              Status::InvalidParameter);  // more than the names
    EXPECT_EQ(With("4000000000000000" + zeros + "4000000000000000" + zeros + "41000000"), Status::InvalidParameter);
    EXPECT_EQ(With("2000000000000000" + zeros + "0000"), Status::InvalidParameter);  // an empty name
    EXPECT_EQ(With("2100000000000000" + zeros + "0041000000"), Status::InvalidParameter);
    EXPECT_EQ(With("FFFFFFFFFFFFFFFF" + zeros), Status::InvalidParameter);
}

ByteBuffer NamesReply() {
    ByteBuffer bbReply;
    PortMonitorReply::AppendNames(bbReply, {VTEXT("Ab"), VTEXT(""), VTEXT("C")});
    return bbReply;
}

ByteBuffer ValuesReply() {
    ByteBuffer bbReply;
    PortMonitorReply::Value aValues[] = {{4, 3, 0}, {1, 0, 0}};
    PortMonitorReply::AppendValueEntries(bbReply, aValues);
    bbReply.append(ByteBuffer(vlm::test::FromHex("010203")));
    return bbReply;
}

TEST(PortMonitorReply, LayoutsHaveTheirBytes) {
    EXPECT_EQ(vlm::test::ToHex(NamesReply().GetVector()), "03000000020041006200000001004300");
    const std::string zeros(16, '0');
    EXPECT_EQ(vlm::test::ToHex(ValuesReply().GetVector()), zeros + "0300000000000000" + "4000000000000000" +
                                                               "0400000000000000" + zeros + "0000000000000000" +
                                                               "4300000000000000" + "0100000000000000" + "010203");
    const struct {
        const char* pszStored;
        const char* pszReply;
    } aTexts[] = {
        {"", "0000"}, {"41", "0000"}, {"4100", "41000000"}, {"41000000", "41000000"}, {"4100000042", "41000000"}};
    for (const auto& rText : aTexts) {
        ByteBuffer bbReply;
        PortMonitorReply::AppendText(bbReply, vlm::test::FromHex(rText.pszStored));
        EXPECT_EQ(vlm::test::ToHex(bbReply.GetVector()), rText.pszReply) << rText.pszStored;
    }
}

TEST(PortMonitorReply, EveryCutAndEveryExtensionIsRefused) {
    std::vector<CXString> vcsNames;
    std::vector<PortMonitorReply::Value> vValues;
    for (const ByteBuffer& kbbReply : {NamesReply(), ValuesReply()}) {
        const bool fNames = kbbReply[0] == 3;
        for (std::size_t c = 0; c <= kbbReply.size() + 1; ++c) {
            if (c == kbbReply.size()) continue;
            ByteBuffer bbOther = kbbReply;
            bbOther.resize(c);
            EXPECT_FALSE(fNames ? PortMonitorReply::DecodeNames(bbOther, vcsNames)
                                : PortMonitorReply::DecodeValues(bbOther, 2, vValues))
                << c;
        }
    }
    EXPECT_TRUE(vcsNames.empty());
    EXPECT_TRUE(vValues.empty());
}

TEST(PortMonitorReply, LiesAreRefused) {
    bool bValue = false;
    LONG lValue = 0;
    ULONGLONG ullToken = 0;
    CXString csText;
    std::vector<CXString> vcsNames;
    std::vector<PortMonitorReply::Value> vValues;
    EXPECT_FALSE(PortMonitorReply::DecodeBoolean(vlm::test::FromHex("02"), bValue));
    EXPECT_FALSE(PortMonitorReply::DecodeBoolean({}, bValue));
    EXPECT_FALSE(PortMonitorReply::DecodeLong(vlm::test::FromHex("0100000000"), lValue));
    // A root's number, a small handle, zero and -1 are no tokens.
    for (const char* pszHex : {"02000080FFFFFFFF", "1401000000000000", "0000000000000000", "FFFFFFFFFFFFFFFF"}) {
        EXPECT_FALSE(PortMonitorReply::DecodeKeyToken(vlm::test::FromHex(pszHex), ullToken)) << pszHex;
    }
    EXPECT_TRUE(PortMonitorReply::DecodeKeyToken(vlm::test::FromHex("0100000000000040"), ullToken));
    for (const char* pszHex : {"", "00", "4100", "410000"})
        EXPECT_FALSE(PortMonitorReply::DecodeText(vlm::test::FromHex(pszHex), csText)) << pszHex;
    for (const char* pszHex : {"FFFFFFFF",
                               "00000100"
                               "0000",
                               "01000000"
                               "01000000"})
        EXPECT_FALSE(PortMonitorReply::DecodeNames(vlm::test::FromHex(pszHex), vcsNames)) << pszHex;
    // Each field of an entry in turn.
    for (const std::size_t c : {0u, 7u, 8u, 12u, 16u, 20u, 28u, 31u}) {
        ByteBuffer bbReply = ValuesReply();
        bbReply[c] = static_cast<BYTE>(bbReply[c] + 1);
        EXPECT_FALSE(PortMonitorReply::DecodeValues(bbReply, 2, vValues)) << c;
    }
    EXPECT_FALSE(PortMonitorReply::DecodeValues(ValuesReply(), 1, vValues));
    EXPECT_FALSE(PortMonitorReply::DecodeValues(ValuesReply(), 3, vValues));
}

}  // namespace
