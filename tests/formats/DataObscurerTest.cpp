/// @file
/// Obscured texts come back, and stay texts.
#include "utilities/utilitiesdll/DataObscurer.h"

#include <gtest/gtest.h>

#include "support/TextPrinter.h"

namespace {

/// Which characters must stay among themselves.
int GroupOf(unsigned u) {
    if (u < 0x20 || (u >= 0x7F && u < 0xA0) || u > 0xFFFD) return -1;
    return u < 0x7F ? 0 : u < 0xD800 ? 1 : u < 0xDC00 ? 2 : u < 0xE000 ? 3 : 4;
}

TEST(DataObscurer, EveryCharacterComesBackAndStaysInItsGroup) {
    for (const int iPosition : {0, 1, 64, 0x7FFFFFFF, -1}) {
        unsigned cChanged = 0;
        for (unsigned u = 0; u <= 0xFFFF; ++u) {
            const auto ch = static_cast<XCHAR>(u);
            const XCHAR chObscured = DataObscurer::ObscureUnobscureWchar(ch, iPosition);
            ASSERT_EQ(DataObscurer::ObscureUnobscureWchar(chObscured, iPosition), ch) << u;
            ASSERT_EQ(GroupOf(chObscured), GroupOf(u)) << u;
            ASSERT_TRUE(GroupOf(u) >= 0 || chObscured == ch) << u;
            cChanged += chObscured != ch;
        }
        EXPECT_GT(cChanged, 63000u);
        for (int i = -128; i < 128; ++i) {
            const char ch = static_cast<char>(i);
            const char chObscured = DataObscurer::ObscureUnobscureChar(ch, iPosition);
            ASSERT_EQ(DataObscurer::ObscureUnobscureChar(chObscured, iPosition), ch);
            ASSERT_EQ(chObscured == 0, ch == 0);
        }
    }
}

TEST(DataObscurer, TextsComeBackAndDoNotShowTheirRepetitions) {
    const CXString csText(VTEXT("aaaaaaaa \u00FC\u20AC\U0001F600\r\n"));
    const CXString csObscured = DataObscurer::ObscureUnobscureCXString(csText);
    EXPECT_NE(csObscured.GetAt(0), csObscured.GetAt(1));
    EXPECT_EQ(DataObscurer::ObscureUnobscureCXString(csObscured), csText);
    EXPECT_TRUE(DataObscurer::ObscureUnobscureCXString(CXString()).IsEmpty());
    // Stored texts must read for ever: what the scheme makes of a text does not change.
    EXPECT_EQ(DataObscurer::ObscureUnobscureCXString(VTEXT("Secret 1")), CXString(VTEXT(".MAnv(X|")));
}

}  // namespace
