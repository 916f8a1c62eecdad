/// @file
/// The contract of the text port.
#include <cstdint>

#include "PortContract.h"
#include "platform/TextPort.h"

namespace vlm::test {

namespace {

constexpr DWORD ANSI = 0, WINDOWS_1252 = 1252, UTF8 = 65001;

class TextPortContract : public PortContract {
protected:
    TextPort& Text() const { return *Ports().pText; }
    XString Wide(DWORD dwCodePage, std::string_view svBytes) const {
        XCHAR szTarget[300];
        return {szTarget, Text().ToWide(dwCodePage, svBytes.data(), svBytes.size(), szTarget, std::size(szTarget))};
    }
    std::string Narrow(DWORD dwCodePage, XStringView svText) const {
        char acTarget[300];
        return {acTarget, Text().ToNarrow(dwCodePage, svText.data(), svText.size(), acTarget, std::size(acTarget))};
    }
    XString Message(const XCHAR* pszFormat, std::vector<const XCHAR*> vInserts = {VTEXT("one"), VTEXT("two")}) const {
        XCHAR szTarget[100];
        return {szTarget,
                Text().FormatMessageText(pszFormat, vInserts.data(), vInserts.size(), szTarget, std::size(szTarget))};
    }
};

TEST_P(TextPortContract, EveryByteOfTheCodePageGoesThereAndBack) {
    std::string bytes;
    for (int i = 0; i < 256; ++i)
        bytes += static_cast<char>(i);
    const XString wide = Wide(WINDOWS_1252, bytes);
    ASSERT_EQ(wide.size(), 256u);
    EXPECT_EQ(XStringView(wide).substr(0x80, 8),
              (XString{0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021}));
    EXPECT_EQ(wide[0x9F], 0x0178);
    EXPECT_EQ(wide[0xE4], 0x00E4);
    EXPECT_EQ(ToHex(bytes.data(), 256), ToHex(Narrow(WINDOWS_1252, wide).data(), 256));
    EXPECT_EQ(Wide(ANSI, "\xE4\x80"), Wide(WINDOWS_1252, "\xE4\x80"));
}

TEST_P(TextPortContract, WhatTheCodePageLacksBecomesAQuestionMarkNotALookAlike) {
    // A division slash, a full-width solidus, a look-alike letter, a pair, a lone surrogate.
    EXPECT_EQ(Narrow(WINDOWS_1252, VTEXT("a\u2215b\uFF0Fc\u0410")), "a?b?c?");
    EXPECT_EQ(Narrow(WINDOWS_1252, VTEXT("\U0001F600")), "??");
    EXPECT_EQ(Narrow(WINDOWS_1252, XString(1, XCHAR{0xD800})), "?");
}

TEST_P(TextPortContract, Utf8IsStrict) {
    EXPECT_EQ(Wide(UTF8, "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"), VTEXT("a\u00E4\u20AC\U0001F600"));
    EXPECT_EQ(Narrow(UTF8, VTEXT("a\u00E4\u20AC\U0001F600")), "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
    const XString lone{XCHAR{'a'}, XCHAR{0xDC00}, XCHAR{0xD800}};
    EXPECT_EQ(Narrow(UTF8, lone), "a\xEF\xBF\xBD\xEF\xBF\xBD");
    for (const std::string_view svBad :
         {"\xFF", "\xC0\x80", "\xED\xA0\x80", "\xF5\x80\x80\x80", "\xE2\x82", "\xF4\x90\x80\x80"}) {
        std::string bytes(1, '<');
        bytes.append(svBad).append(1, '>');
        const XString wide = Wide(UTF8, bytes);
        ASSERT_GE(wide.size(), 3u);
        EXPECT_EQ(wide.front(), VTEXT('<'));
        EXPECT_EQ(wide.back(), VTEXT('>'));
        EXPECT_EQ(wide.find_first_not_of(XCHAR{0xFFFD}, 1), wide.size() - 1) << Printable(wide);
    }
}

TEST_P(TextPortContract, SizesAreAskedForAndKept) {
    XCHAR szWide[4] = {0, 0, 0, VTEXT('#')};
    char acNarrow[4] = {0, 0, 0, '#'};
    EXPECT_EQ(Text().ToWide(UTF8, "\xC3\xA4xy", 4, nullptr, 0), 3u);
    EXPECT_EQ(Text().ToWide(UTF8, "\xC3\xA4xy", 4, szWide, 3), 3u);
    EXPECT_EQ(szWide[3], VTEXT('#'));
    EXPECT_EQ(Text().ToWide(UTF8, "\xC3\xA4xy", 4, szWide, 2), 0u);
    EXPECT_EQ(Text().ToNarrow(UTF8, VTEXT("\u00E4x"), 2, nullptr, 0), 3u);
    EXPECT_EQ(Text().ToNarrow(UTF8, VTEXT("\u00E4x"), 2, acNarrow, 3), 3u);
    EXPECT_EQ(acNarrow[3], '#');
    EXPECT_EQ(Text().ToNarrow(UTF8, VTEXT("\u00E4x"), 2, acNarrow, 2), 0u);
    for (const DWORD dwCodePage : {ANSI, UTF8}) {
        EXPECT_EQ(Text().ToWide(dwCodePage, "x", 0, szWide, 3), 0u);
        EXPECT_EQ(Text().ToWide(dwCodePage, "x", 1, szWide, 0), 0u);
        EXPECT_EQ(Text().ToNarrow(dwCodePage, VTEXT("x"), 1, acNarrow, 0), 0u);
        EXPECT_EQ(Wide(dwCodePage, std::string_view("a\0b", 3)).size(), 3u);
    }
    EXPECT_EQ(Text().ToWide(4711, "x", 1, szWide, 3), 0u);
    EXPECT_EQ(Text().ToNarrow(4711, VTEXT("x"), 1, acNarrow, 3), 0u);
}

TEST_P(TextPortContract, ErrorsHaveTextsWithoutLineEnds) {
    for (const DWORD dwError : {2u, 3u, 5u, 6u, 32u, 87u, 122u, 183u, 234u, 259u, 1018u, 1400u, 1801u, 0x80070005u}) {
        XCHAR szText[300];
        const XStringView svText(szText, Text().SystemErrorText(dwError, szText, std::size(szText)));
        ASSERT_GT(svText.size(), 5u) << dwError;
        EXPECT_EQ(svText.find_first_of(VTEXT("\r\n")), XStringView::npos) << dwError;
        XCHAR szCut[4] = {0, 0, 0, VTEXT('#')};
        EXPECT_EQ(Text().SystemErrorText(dwError, szCut, 3), 3u);
        EXPECT_EQ(XStringView(szCut, 3), svText.substr(0, 3));
        EXPECT_EQ(szCut[3], VTEXT('#'));
    }
    XCHAR szText[300];
    EXPECT_EQ(Text().SystemErrorText(0x2FFFFFFF, szText, std::size(szText)), 0u);
}

TEST_P(TextPortContract, MessagesTakeTheirInserts) {
    EXPECT_EQ(Message(VTEXT("a %1 b %2 c %1!s!.")), VTEXT("a one b two c one."));
    EXPECT_EQ(Message(VTEXT("100%% %n%t%r%.%!")), VTEXT("100% \r\n\t\r.!"));
    EXPECT_EQ(Message(VTEXT("a\nb\r\nc\rd")), VTEXT("a\r\nb\r\nc\r\nd"));
    EXPECT_EQ(Message(VTEXT("end%0 lost")), VTEXT("end"));
    EXPECT_EQ(Message(VTEXT("<%3%99>")), VTEXT("<>"));
    EXPECT_EQ(Message(VTEXT("<%1>"), {nullptr}), VTEXT("<>"));
    EXPECT_EQ(Message(VTEXT("%2"), {VTEXT("a"), VTEXT("%1 is not looked at again")}),
              VTEXT("%1 is not looked at again"));
    std::vector<const XCHAR*> vMany(99, VTEXT("-"));
    vMany[11] = VTEXT("twelve");
    EXPECT_EQ(Message(VTEXT("%12%100"), vMany), VTEXT("twelve-0"));
    for (const XCHAR* pszBad : {VTEXT("x%"), VTEXT("%1!s"), VTEXT("")})
        EXPECT_EQ(Message(pszBad), VTEXT(""));
    XCHAR szTarget[8];
    const XCHAR* pszInsert = VTEXT("12345678");
    EXPECT_EQ(Text().FormatMessageText(VTEXT("%1"), &pszInsert, 1, szTarget, 8), 8u);
    EXPECT_EQ(Text().FormatMessageText(VTEXT("%1"), &pszInsert, 1, szTarget, 7), 0u);
    EXPECT_EQ(Text().FormatMessageText(nullptr, &pszInsert, 1, szTarget, 7), 0u);
}

TEST_P(TextPortContract, WhatIsNotThereIsSaidSo) {
    XCHAR szText[8] = VTEXT("#");
    std::size_t cLength = 99;
    const HWND hwndNone = reinterpret_cast<HWND>(std::uintptr_t{0x7FFFFFF0});
    EXPECT_EQ(Text().WindowText(hwndNone, szText, 8, cLength), Status::InvalidWindowHandle);
    EXPECT_EQ(cLength, 0u);
    EXPECT_EQ(szText[0], 0);
    EXPECT_EQ(Text().WindowText(hwndNone, szText, 0, cLength), Status::InvalidParameter);
    EXPECT_EQ(Text().SetWindowCaption(hwndNone, VTEXT("x")), Status::InvalidWindowHandle);
    EXPECT_EQ(Text().ParentWindow(hwndNone), nullptr);
    EXPECT_TRUE(Text().StringResource(nullptr, 59999).empty());
}

Q9_CONTRACT_SUITE(TextPortContract);

}  // namespace

}  // namespace vlm::test
