/// @file
/// The replies: their bytes, and that nothing but an exact layout is taken apart.
#include "environment/PortMonitorReply.h"

#include <gtest/gtest.h>

#include "support/Bytes.h"

namespace {

using vlm::PortMonitorReply;
using vlm::ReplyLayout;
using vlm::test::FromHex;

ByteBuffer NamesReply() {
    ByteBuffer bbReply;
    PortMonitorReply::AppendNames(bbReply, {VTEXT("Ab"), VTEXT(""), VTEXT("C")});
    return bbReply;
}

ByteBuffer ValuesReply() {
    ByteBuffer bbReply;
    PortMonitorReply::Value aValues[] = {{4, 3, 0}, {1, 0, 0}};
    PortMonitorReply::AppendValueEntries(bbReply, aValues);
    bbReply.append(ByteBuffer(FromHex("010203")));
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
        PortMonitorReply::AppendText(bbReply, FromHex(rText.pszStored));
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
    EXPECT_FALSE(PortMonitorReply::DecodeBoolean(FromHex("02"), bValue));
    EXPECT_FALSE(PortMonitorReply::DecodeBoolean({}, bValue));
    EXPECT_FALSE(PortMonitorReply::DecodeLong(FromHex("0100000000"), lValue));
    // A root's number, a small handle, zero and -1 are no tokens.
    for (const char* pszHex : {"02000080FFFFFFFF", "1401000000000000", "0000000000000000", "FFFFFFFFFFFFFFFF"}) {
        EXPECT_FALSE(PortMonitorReply::DecodeKeyToken(FromHex(pszHex), ullToken)) << pszHex;
    }
    EXPECT_TRUE(PortMonitorReply::DecodeKeyToken(FromHex("0100000000000040"), ullToken));
    for (const char* pszHex : {"", "00", "4100", "410000"})
        EXPECT_FALSE(PortMonitorReply::DecodeText(FromHex(pszHex), csText)) << pszHex;
    for (const char* pszHex : {"FFFFFFFF",
                               "00000100"
                               "0000",
                               "01000000"
                               "01000000"})
        EXPECT_FALSE(PortMonitorReply::DecodeNames(FromHex(pszHex), vcsNames)) << pszHex;
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
