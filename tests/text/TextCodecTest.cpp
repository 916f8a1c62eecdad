/// @file
/// UTF-8, Base64 and hexadecimal text.
#include "utilities/utilitiesdll/TextCodec.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/TextPrinter.h"
#include "utilities/utilitiesdll/Base64.h"
#include "utilities/utilitiesdll/HexText.h"

namespace {

using Text = std::basic_string<XCHAR>;
using namespace std::string_literals;

TEST(TextCodec, EveryCharacterSurvivesTheWayThere_AndBack) {
    for (char32_t ch = 1; ch <= 0x10FFFF; ch += ch < 0x3000 ? 1 : 97) {
        if (ch >= 0xD800 && ch <= 0xDFFF) continue;
        const CXString csText = CXString::FormatString(VTEXT("%c"), ch);
        std::string strUtf8;
        CXString csBack;
        ASSERT_TRUE(TextCodec::Utf16ToUtf8(csText, strUtf8, TCR_STRICT));
        ASSERT_EQ(strUtf8.size(), ch < 0x80 ? 1u : ch < 0x800 ? 2u : ch < 0x10000 ? 3u : 4u);
        ASSERT_TRUE(TextCodec::IsWellFormedUtf8(strUtf8));
        ASSERT_TRUE(TextCodec::Utf8ToUtf16(strUtf8, csBack, TCR_STRICT));
        ASSERT_EQ(csBack, csText);
    }
    EXPECT_EQ(TextCodec::Utf8ToUtf16("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), VTEXT("\u00E9\u20AC\U0001F600"));
}

TEST(TextCodec, IllFormedBytesAreRefusedOrReplacedByTheirMaximalParts) {
    struct Row {
        std::string strBytes;
        std::size_t uBad;
        const XCHAR* pszReplaced;
    };
    for (const Row& rRow : {Row{"a\x80", 1, VTEXT("a\uFFFD")},
                            {"\xC0\xAF", 0, VTEXT("\uFFFD\uFFFD")},  // overlong
                            {"\xC1\xBF!", 0, VTEXT("\uFFFD\uFFFD!")},
                            {"\xE0\x9F\xBF", 0, VTEXT("\uFFFD\uFFFD\uFFFD")},
                            {"\xF0\x8F\xBF\xBF", 0, VTEXT("\uFFFD\uFFFD\uFFFD\uFFFD")},
                            {"\xED\xA0\x80", 0, VTEXT("\uFFFD\uFFFD\uFFFD")},            // a surrogate
                            {"\xF4\x90\x80\x80", 0, VTEXT("\uFFFD\uFFFD\uFFFD\uFFFD")},  // above the last character
                            {"\xF5", 0, VTEXT("\uFFFD")},
                            {"ab\xE2\x82", 2, VTEXT("ab\uFFFD")},  // cut short: one mark
                            {"\xF0\x9F\x98", 0, VTEXT("\uFFFD")},
                            {"\xF0\x9F\x98x", 0, VTEXT("\uFFFDx")},
                            {"\xE2\x82\xE2\x82\xAC", 0, VTEXT("\uFFFD\u20AC")},
                            {"0123456789abcdef\xFF"s, 16, VTEXT("0123456789abcdef\uFFFD")}}) {
        CXString csText(VTEXT("former"));
        std::size_t uBad = 999;
        EXPECT_FALSE(TextCodec::Utf8ToUtf16(rRow.strBytes, csText, TCR_STRICT, &uBad));
        EXPECT_EQ(uBad, rRow.uBad);
        EXPECT_TRUE(csText.IsEmpty());
        EXPECT_FALSE(TextCodec::IsWellFormedUtf8(rRow.strBytes));
        EXPECT_EQ(TextCodec::Utf8ToUtf16(rRow.strBytes), rRow.pszReplaced);
    }
}

TEST(TextCodec, LoneSurrogatesAreRefusedReplacedOrKept) {
    std::mt19937 oRandom(3);
    for (int i = 0; i < 3000; ++i) {
        Text strText;
        for (std::size_t u = oRandom() % 30; u > 0; --u) {
            strText += static_cast<XCHAR>(oRandom() % 3 ? 0xD800 + oRandom() % 0x800 : oRandom() % 0x900);
        }
        std::string strKept;
        CXString csBack;
        ASSERT_TRUE(TextCodec::Utf16ToUtf8(strText, strKept, TCR_KEEP_SURROGATES));
        ASSERT_TRUE(TextCodec::Utf8ToUtf16(strKept, csBack, TCR_KEEP_SURROGATES));
        ASSERT_EQ(csBack.View(), XStringView(strText));
        std::string strStrict;
        ASSERT_EQ(TextCodec::Utf16ToUtf8(strText, strStrict, TCR_STRICT), TextCodec::IsWellFormed(strText));
        ASSERT_TRUE(TextCodec::IsWellFormedUtf8(TextCodec::Utf16ToUtf8(strText)));
    }
    std::size_t uBad = 0;
    std::string strBytes = "former";
    EXPECT_FALSE(TextCodec::Utf16ToUtf8(VTEXT("ab\xD83D!"), strBytes, TCR_STRICT, &uBad));
    EXPECT_EQ(uBad, 2u);
    EXPECT_EQ(strBytes, "");
    CXString csText;  // two kept halves that should have been one sequence
    EXPECT_FALSE(TextCodec::Utf8ToUtf16("\xED\xA0\xBD\xED\xB8\x80", csText, TCR_KEEP_SURROGATES, &uBad));
    EXPECT_EQ(uBad, 3u);
    EXPECT_EQ(TextCodec::CutAtCharacter(VTEXT("a\U0001F600b"), 2), VTEXT("a"));
    EXPECT_EQ(TextCodec::CutAtCharacter(VTEXT("a\U0001F600b"), 3), VTEXT("a\U0001F600"));
    EXPECT_EQ(TextCodec::CutAtCharacter(VTEXT("ab"), 9), VTEXT("ab"));
}

std::vector<BYTE> Bytes(std::string_view text) {
    return {text.begin(), text.end()};
}

TEST(Base64, KnownTextsBothWays) {
    // The examples of RFC 4648, section 10.
    for (const auto& [pszPlain, pszCoded] : {std::pair{"", VTEXT("")},
                                             {"f", VTEXT("Zg==")},
                                             {"fo", VTEXT("Zm8=")},
                                             {"foo", VTEXT("Zm9v")},
                                             {"foob", VTEXT("Zm9vYg==")},
                                             {"fooba", VTEXT("Zm9vYmE=")},
                                             {"foobar", VTEXT("Zm9vYmFy")},
                                             {"\xFB\xFF\xBF", VTEXT("+/+/")}}) {
        CXString csText(VTEXT("former"));
        csText.Base64EncodeBinaryData(Bytes(pszPlain));
        EXPECT_EQ(csText, pszCoded);
        std::vector<BYTE> vBytes(3);
        EXPECT_TRUE(csText.Base64DecodeAsBinaryData(vBytes));
        EXPECT_EQ(vBytes, Bytes(pszPlain));
    }
    CXString csBack;
    EXPECT_EQ(CXString(VTEXT("A\u20AC")).Base64EncodeUnicodeString(), VTEXT("QQCsIA=="));
    EXPECT_TRUE(CXString(VTEXT(" QQ\r\nCsIA= =\t")).Base64DecodeAsUnicodeString(csBack));
    EXPECT_EQ(csBack, VTEXT("A\u20AC"));
    EXPECT_FALSE(CXString(VTEXT("QQCs")).Base64DecodeAsUnicodeString(csBack));  // three bytes are no UTF-16
    EXPECT_TRUE(csBack.IsEmpty());
}

TEST(Base64, BadTextsAreRefusedAtTheirPlace) {
    struct Row {
        const XCHAR* pszText;
        std::size_t uBad;
    };
    for (const Row& rRow : {Row{VTEXT("Zg="), 3},
                            {VTEXT("Zg"), 2},
                            {VTEXT("Z"), 1},
                            {VTEXT("="), 0},
                            {VTEXT("Z==="), 1},
                            {VTEXT("Zg==="), 4},
                            {VTEXT("Zg==Zg=="), 4},
                            {VTEXT("Zm9v="), 4},
                            {VTEXT("Zh=="), 2},
                            {VTEXT("Zm9="), 3},
                            {VTEXT("Z=m9"), 1},
                            {VTEXT("Zm-_"), 2},
                            {VTEXT("Zm9\u0176"), 3},
                            {VTEXT("Zm9vZm9vZm9vZm9vZm9vZm9v!m9v"), 24},
                            {VTEXT("Zg=A"), 3}}) {
        std::vector<BYTE> vBytes(3);
        std::size_t uBad = 999;
        EXPECT_FALSE(Base64::Decode(rRow.pszText, vBytes, &uBad)) << CXString(rRow.pszText).GetAsMultiByte(0).data();
        EXPECT_EQ(uBad, rRow.uBad) << CXString(rRow.pszText).GetAsMultiByte(0).data();
        EXPECT_TRUE(vBytes.empty());
    }
}

TEST(Base64AndHexText, EveryLengthAndByteBothWays) {
    std::mt19937 oRandom(11);
    for (std::size_t cBytes = 0; cBytes < 200; ++cBytes) {
        std::vector<BYTE> vBytes(cBytes);
        for (BYTE& rby : vBytes)
            rby = static_cast<BYTE>(oRandom());
        std::vector<BYTE> vBack;
        const CXString csBase64 = Base64::Encode(vBytes);
        ASSERT_TRUE(Base64::Decode(csBase64, vBack));
        ASSERT_EQ(vBack, vBytes);
        CXString csPlain;  // the encoding again, digit by digit
        for (std::size_t u = 0; u * 6 < cBytes * 8; ++u) {
            unsigned uDigit = 0;
            for (std::size_t uBit = u * 6; uBit < u * 6 + 6; ++uBit) {
                uDigit = uDigit * 2 + (uBit / 8 < cBytes ? vBytes[uBit / 8] >> (7 - uBit % 8) & 1u : 0u);
            }
            csPlain += XStringView(VTEXT("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"))[uDigit];
        }
        while (csPlain.GetLength() % 4)
            csPlain += VTEXT('=');
        ASSERT_EQ(csBase64, csPlain);
        const CXString csHex = HexText::Encode(vBytes), csLower = HexText::Encode(vBytes, true);
        CXString csExpected;
        for (const BYTE by : vBytes)
            csExpected += CXString::FormatString(VTEXT("%02X"), by);
        ASSERT_EQ(csHex, csExpected);
        ASSERT_EQ(CXString(csLower).MakeUpper(), csExpected);
        vBack.assign(cBytes, 0);
        ASSERT_EQ(HexText::DecodeTo(csLower, vBack.data()), cBytes * 2);
        ASSERT_EQ(vBack, vBytes);
    }
}

TEST(HexText, BadPairsStopTheDecoding) {
    BYTE abyTarget[40] = {};
    for (const auto& [pszText, uEnd] : {std::pair{VTEXT("0aFf"), 4u},
                                        {VTEXT("0aF"), 2u},
                                        {VTEXT("0g"), 0u},
                                        {VTEXT("00 1"), 2u},
                                        {VTEXT("0x10"), 0u},
                                        {VTEXT("00\u0131\u0661"), 2u},
                                        {VTEXT("00112233445566778899aabbccddeeff0:11"), 32u}}) {
        EXPECT_EQ(HexText::DecodeTo(pszText, abyTarget), uEnd);
    }
    for (unsigned u = 0; u < 0x10000; ++u) {
        const XCHAR ch = static_cast<XCHAR>(u);
        const std::size_t uPlace = XStringView(VTEXT("0123456789ABCDEFabcdef")).find(ch);
        ASSERT_EQ(HexText::ValueOf(ch),
                  uPlace == XStringView::npos ? -1 : static_cast<int>(uPlace > 15 ? uPlace - 6 : uPlace));
    }
    EXPECT_EQ(HexText::DigitOf(11), VTEXT('B'));
    EXPECT_EQ(HexText::DigitOf(11, true), VTEXT('b'));
    EXPECT_EQ(HexText::DigitOf(16), VTEXT('0'));
}

}  // namespace
