/// @file
/// UTF-8, Base64 and hexadecimal text.
#include "utilities/utilitiesdll/TextCodec.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
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
    for (const auto& [strBytes, uPlace, pszReplaced] :
         {std::tuple{"a\x80"s, 1u, VTEXT("a\uFFFD")},
          {"\xC0\xAF", 0, VTEXT("\uFFFD\uFFFD")},  // overlong
          {"\xE0\x9F\xBF", 0, VTEXT("\uFFFD\uFFFD\uFFFD")},
          {"\xF0\x8F\xBF\xBF", 0, VTEXT("\uFFFD\uFFFD\uFFFD\uFFFD")},
          {"\xED\xA0\x80", 0, VTEXT("\uFFFD\uFFFD\uFFFD")},            // a surrogate
          {"\xF4\x90\x80\x80", 0, VTEXT("\uFFFD\uFFFD\uFFFD\uFFFD")},  // above the last character
          {"ab\xE2\x82", 2, VTEXT("ab\uFFFD")},                        // cut short: one mark
          {"\xF0\x9F\x98x", 0, VTEXT("\uFFFDx")},
          {"\xE2\x82\xE2\x82\xAC", 0, VTEXT("\uFFFD\u20AC")},
          {"0123456789abcdef\xFF"s, 16, VTEXT("0123456789abcdef\uFFFD")}}) {
        CXString csText(VTEXT("former"));
        std::size_t uBad = 999;
        EXPECT_FALSE(TextCodec::Utf8ToUtf16(strBytes, csText, TCR_STRICT, &uBad));
        EXPECT_EQ(uBad, uPlace);
        EXPECT_TRUE(csText.IsEmpty());
        EXPECT_FALSE(TextCodec::IsWellFormedUtf8(strBytes));
        EXPECT_EQ(TextCodec::Utf8ToUtf16(strBytes), pszReplaced);
    }
}

/// That every text survives when they are kept is what the fuzz target of UTF-8 watches.
TEST(TextCodec, LoneSurrogatesAreRefusedReplacedOrKept) {
    std::size_t uBad = 0;
    std::string strBytes = "former";
    EXPECT_FALSE(TextCodec::Utf16ToUtf8(VTEXT("ab\xD83D!"), strBytes, TCR_STRICT, &uBad));
    EXPECT_FALSE(TextCodec::IsWellFormed(VTEXT("ab\xD83D!")));
    EXPECT_TRUE(TextCodec::IsWellFormed(VTEXT("ab\U0001F600!")));
    EXPECT_EQ(uBad, 2u);
    EXPECT_EQ(strBytes, "");
    EXPECT_EQ(TextCodec::Utf16ToUtf8(VTEXT("\xDC00")), "\xEF\xBF\xBD");
    EXPECT_TRUE(TextCodec::Utf16ToUtf8(VTEXT("\xDC00"), strBytes, TCR_KEEP_SURROGATES));
    EXPECT_EQ(strBytes, "\xED\xB0\x80");
    CXString csText;  // two kept halves that should have been one sequence
    EXPECT_FALSE(TextCodec::Utf8ToUtf16("\xED\xA0\xBD\xED\xB8\x80", csText, TCR_KEEP_SURROGATES, &uBad));
    EXPECT_EQ(uBad, 3u);
    EXPECT_EQ(TextCodec::CutAtCharacter(VTEXT("a\U0001F600b"), 2), VTEXT("a"));
    EXPECT_EQ(TextCodec::CutAtCharacter(VTEXT("a\U0001F600b"), 3), VTEXT("a\U0001F600"));
}

TEST(Base64, TextIsCodedAsItsUnitsInLittleEndianOrder) {
    CXString csBack;
    EXPECT_EQ(CXString(VTEXT("A\u20AC")).Base64EncodeUnicodeString(), VTEXT("QQCsIA=="));
    EXPECT_TRUE(CXString(VTEXT(" QQ\r\nCsIA= =\t")).Base64DecodeAsUnicodeString(csBack));
    EXPECT_EQ(csBack, VTEXT("A\u20AC"));
    EXPECT_FALSE(CXString(VTEXT("QQCs")).Base64DecodeAsUnicodeString(csBack));  // three bytes are no UTF-16
    EXPECT_TRUE(csBack.IsEmpty());
}

TEST(Base64, BadTextsAreRefusedAtTheirPlace) {
    for (const auto& [pszText, uPlace] : {std::pair{VTEXT("Zg="), 3u},
                                          {VTEXT("Z"), 1},
                                          {VTEXT("Z==="), 1},
                                          {VTEXT("Zg==Zg=="), 4},
                                          {VTEXT("Zh=="), 2},
                                          {VTEXT("Zm9="), 3},
                                          {VTEXT("Zm-_"), 2},
                                          {VTEXT("Zm9\u0176"), 3},
                                          {VTEXT("Zm9vZm9vZm9vZm9vZm9vZm9v!m9v"), 24},
                                          {VTEXT("Zg=A"), 3}}) {
        std::vector<BYTE> vBytes(3);
        std::size_t uBad = 999;
        EXPECT_FALSE(Base64::Decode(pszText, vBytes, &uBad));
        EXPECT_EQ(uBad, uPlace) << CXString(pszText).GetAsMultiByte(0).data();
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

TEST(HexText, EveryUnitIsADigitOrStopsTheDecodingWhereverItStands) {
    constexpr std::size_t UNITS = 78;  // some in blocks, some behind them
    BYTE abyTarget[UNITS / 2];
    for (const std::size_t uAt : {0u, 1u, 15u, 16u, 31u, 63u, 64u, 77u}) {
        for (unsigned uUnit = 0; uUnit < 0x10000; uUnit += uUnit < 0x180 ? 1 : 0x11) {
            Text strText(UNITS, VTEXT('A'));
            strText[uAt] = static_cast<XCHAR>(uUnit);
            const bool fDigit = XStringView(VTEXT("0123456789ABCDEFabcdef")).find(strText[uAt]) != XStringView::npos;
            ASSERT_EQ(HexText::DecodeTo(strText, abyTarget), fDigit ? UNITS : uAt / 2 * 2) << uAt << ' ' << uUnit;
        }
    }
    EXPECT_EQ(HexText::DecodeTo(VTEXT("0aF"), abyTarget), 2u);
    EXPECT_EQ(HexText::DigitOf(16), VTEXT('0'));
}

}  // namespace
