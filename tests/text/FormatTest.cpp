/// @file
/// The formatter: the language, arguments that do not fit, bounds.
#include "utilities/utilitiesdll/Format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <utility>

#include "support/TextPrinter.h"
#include "utilities/utilitiesdll/CXString.h"

namespace {

using namespace vlm;

template <class... Args>
CXString F(const XCHAR* pszFormat, const Args&... args) {
    CXString csText;
    const FormatResult oResult = csText.Format(pszFormat, args...);
    EXPECT_EQ(oResult.m_cUnits, csText.View().size());
    EXPECT_TRUE(oResult.IsClean()) << oResult.m_dwFlags;
    return csText;
}

CXString V(std::uint32_t dwFlags, const XCHAR* pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    CXString csText;
    EXPECT_EQ(csText.FormatV(pszFormat, args).m_dwFlags, dwFlags);
    va_end(args);
    return csText;
}

TEST(Format, TextConversionsAreWideOrNarrowAsOnWindows) {
    EXPECT_EQ(F(VTEXT("%s|%S|%hs|%ls|%ws|%lS"), VTEXT("wide"), "narrow", "hs", VTEXT("ls"), VTEXT("ws"), VTEXT("lS")),
              VTEXT("wide|narrow|hs|ls|ws|lS"));
    EXPECT_EQ(F(VTEXT("%s %s %S"), CXString(VTEXT("object")), XStringView(VTEXT("viewed"), 4), std::string("str")),
              VTEXT("object view str"));
    EXPECT_EQ(F(VTEXT("[%-6s|%06s|%6.2s|%.0s]"), VTEXT("abc"), VTEXT("abc"), VTEXT("abc"), VTEXT("abc")),
              VTEXT("[abc   |000abc|    ab|]"));
    EXPECT_EQ(F(VTEXT("[%5S|%-5S|%.1S]"), "\xE9t\xE9", "\x80", "abc"), VTEXT("[  \u00E9t\u00E9|\u20AC    |a]"));
    EXPECT_EQ(F(VTEXT("%c%C%hc%lc%3c|%-3c|"), VTEXT('w'), 'n', 'h', VTEXT('l'), 120, 'y'), VTEXT("wnhl  x|y  |"));
    EXPECT_EQ(F(VTEXT("%c%c"), '\xE9', char32_t{0x1F600}), VTEXT("\u00E9\U0001F600"));
    EXPECT_EQ(F(VTEXT("%.1s|%.2s"), VTEXT("\U0001F600"), VTEXT("\U0001F600")),
              VTEXT("|\U0001F600"));                   // pairs stay whole
    const XCHAR achOpen[] = {VTEXT('a'), VTEXT('b')};  // not terminated: a precision bounds the read
    EXPECT_EQ(F(VTEXT("%.2s"), static_cast<const XCHAR*>(achOpen)), VTEXT("ab"));
    EXPECT_EQ(F(VTEXT("100%% %5%")), VTEXT("100% %"));
    EXPECT_EQ(V(FMTF_NONE, VTEXT("%s %S %hs %c %.*s|%-*d|"), VTEXT("w"), "n", "h", 'c', 2, VTEXT("abc"), 4, 7),
              VTEXT("w n h c ab|7   |"));
}

TEST(Format, StarsAndPointers) {
    EXPECT_EQ(F(VTEXT("%*d|%-*d|%*d|%.*d|%.*d"), 4, 7, 4, 7, -4, 7, 3, 7, -3, 7), VTEXT("   7|7   |7   |007|7"));
    EXPECT_EQ(F(VTEXT("%p %p"), reinterpret_cast<void*>(std::uintptr_t{0xABC}), nullptr),
              VTEXT("0000000000000ABC 0000000000000000"));
}

TEST(Format, SizesMeanWhatTheyMeanOnWindows) {
    // l is 32 bits; a 64-bit argument still shows its whole value.
    EXPECT_EQ(F(VTEXT("%ld %lx %lu"), LONG{-1}, DWORD{0xFFFFFFFF}, DWORD{0x80000000}), VTEXT("-1 ffffffff 2147483648"));
    EXPECT_EQ(F(VTEXT("%ld %d"), std::int64_t{-5000000000}, std::size_t{5000000000}), VTEXT("-5000000000 5000000000"));
    // Bits are read as the conversion says, as if the argument had been promoted.
    EXPECT_EQ(F(VTEXT("%d %x %u %hx %hhu %hd"), 0xFFFFFFFFu, std::int16_t{-1}, -1, -1, 0x1FF, 0x8000),
              VTEXT("-1 ffffffff 4294967295 ffff 255 -32768"));
    EXPECT_EQ(F(VTEXT("%lld %I64x %Id %zu %td %jd %I32d"), LONGLONG{-1}, -1, std::int64_t{-1}, std::size_t{1},
                std::ptrdiff_t{-1}, std::int64_t{-1}, 5),
              VTEXT("-1 ffffffffffffffff -1 1 -1 -1 5"));
    EXPECT_EQ(F(VTEXT("%d %d %u %d"), true, BYTE{200}, WORD{65535}, Status::MoreData), VTEXT("1 200 65535 234"));
    EXPECT_EQ(V(FMTF_NONE, VTEXT("%ld %lx %I64x %lld %Ix %hd %d"), -1, 0xFFFFFFFFu, 0x123456789ABCDEFLL, -5LL,
                std::size_t{7}, 65537, -2),
              VTEXT("-1 ffffffff 123456789abcdef -5 7 1 -2"));
}

/// The C library's narrow formatter is the oracle where its language is the same.
TEST(Format, NumbersAgreeWithTheCLibrary) {
    std::mt19937_64 oRandom(99);
    // Flags that C leaves undefined for a conversion are not drawn for it.
    const std::string astrKinds[] = {"di-+ 0", "u-0", "xXo-#0", "eEfFgG-+ #0"};
    int (*const pfnPrint)(char*, std::size_t, const char*, ...) = &std::snprintf;
    char achExpected[6000];
    for (int i = 0; i < 40000; ++i) {
        std::string strSpec = "%";
        const bool bFloat = i % 2 != 0;
        const std::string& kstrKind = astrKinds[bFloat ? 3 : oRandom() % 3];
        const std::size_t cConversions = kstrKind.find('-');
        for (int j = oRandom() % 4; j > 0; --j) {
            strSpec += kstrKind[cConversions + oRandom() % (kstrKind.size() - cConversions)];
        }
        if (oRandom() % 2) strSpec += std::to_string(oRandom() % 25 + 1);
        if (oRandom() % 2) strSpec.append(".").append(std::to_string(oRandom() % 20));
        const ULONGLONG ullBits = oRandom() >> (oRandom() % 64);
        double dblValue =
            static_cast<double>(static_cast<LONGLONG>(ullBits)) / std::pow(10.0, static_cast<double>(oRandom() % 30));
        if (oRandom() % 50 == 0) dblValue = 0.0;
        if (oRandom() % 50 == 0) dblValue = -0.0;
        CXString csText;
        if (bFloat) {
            strSpec += kstrKind[oRandom() % cConversions];
            pfnPrint(achExpected, sizeof achExpected, strSpec.c_str(), dblValue);
            csText.Format(CXString(strSpec.c_str()), dblValue);
        } else {
            strSpec += "ll";
            strSpec += kstrKind[oRandom() % cConversions];
            pfnPrint(achExpected, sizeof achExpected, strSpec.c_str(), ullBits);
            csText.Format(CXString(strSpec.c_str()), ullBits);
        }
        ASSERT_EQ(csText, CXString(achExpected)) << strSpec << " of " << dblValue << " / " << ullBits;
    }
}

TEST(Format, FloatingValuesAtTheEdges) {
    const double dblMax = std::numeric_limits<double>::max();
    EXPECT_EQ(F(VTEXT("%.0f"), dblMax).GetLength(), 309);
    EXPECT_EQ(F(VTEXT("%.4096f"), dblMax).GetLength(), 309 + 1 + 4096);
    EXPECT_EQ(F(VTEXT("%#.4096g"), 1e-4).GetLength(), 2 + 3 + 4096);
    EXPECT_EQ(F(VTEXT("%f|%5.1F|%05f|%+g"), std::nan(""), -INFINITY, INFINITY, INFINITY),
              VTEXT("nan| -INF|  inf|+inf"));
    EXPECT_EQ(F(VTEXT("%a %A %.1a %#.0a"), 1.5, 255.0, 1.99, 1.0), VTEXT("0x1.8p+0 0X1.FEP+7 0x2.0p+0 0x1.p+0"));
    EXPECT_EQ(V(FMTF_NONE, VTEXT("%.2f %g"), 2.5, 1e100), VTEXT("2.50 1e+100"));
}

TEST(Format, ArgumentsThatDoNotFitAreShownAsWhatTheyAre) {
    const auto check = [](const XCHAR* pszText, std::uint32_t dwFlags, const XCHAR* pszFormat, const auto&... args) {
        CXString csText;
        EXPECT_EQ(csText.Format(pszFormat, args...).m_dwFlags, dwFlags) << csText.GetAsMultiByte(65001).data();
        EXPECT_EQ(csText, pszText);
    };
    const XCHAR* const pszNull = nullptr;
    const char* const pszNarrowNull = nullptr;
    void* const pAddress = reinterpret_cast<void*>(std::uintptr_t{0x10});  // must never be read
    check(VTEXT("5|1.5|text|n"), FMTF_WRONG_KIND, VTEXT("%s|%s|%d|%x"), 5, 1.5, VTEXT("text"), "n");
    check(VTEXT("wide|narrow"), FMTF_WRONG_KIND, VTEXT("%S|%s"), VTEXT("wide"), "narrow");
    check(VTEXT("0000000000000010 16"), FMTF_WRONG_KIND, VTEXT("%s %d"), pAddress, pAddress);
    check(VTEXT("3.000000 x"), FMTF_WRONG_KIND, VTEXT("%f %e"), 3, VTEXT("x"));
    check(VTEXT("(null) (null)| (null)|(null)"), FMTF_NULL_TEXT, VTEXT("%s %S|%7s|%.2s"), pszNull, pszNarrowNull,
          nullptr, pszNull);
    check(VTEXT("1 (missing) (missing)"), FMTF_MISSING_ARGUMENT, VTEXT("%d %s %5d"), 1);
    check(VTEXT("(missing)"), FMTF_MISSING_ARGUMENT, VTEXT("%*.*f"));
    check(VTEXT("1"), FMTF_UNUSED_ARGUMENT, VTEXT("%d"), 1, 2);
    check(VTEXT("%n 2"), FMTF_BAD_CONVERSION, VTEXT("%n %d"), pAddress, 2);
    check(VTEXT("%y %-5.3ly 7 %"), FMTF_BAD_CONVERSION, VTEXT("%y %-5.3ly %d %"), 7);
    check(VTEXT("%5.2l"), FMTF_BAD_CONVERSION, VTEXT("%5.2l"));
    check(VTEXT("x"), FMTF_WRONG_KIND, VTEXT("%*s"), VTEXT("y"), VTEXT("x"));
    check(VTEXT(""), FMTF_NULL_TEXT, pszNull);
}

TEST(Format, WidthsAndTextsAreBounded) {
    CXString csText;
    EXPECT_EQ(csText.Format(VTEXT("%99999999999999999999d"), 1).m_dwFlags, FMTF_CLAMPED);
    EXPECT_EQ(csText.GetLength(), FORMAT_MAX_WIDTH);
    EXPECT_EQ(csText.Format(VTEXT("%*.*d"), -2147483647 - 1, 2147483647, 1).m_dwFlags, FMTF_CLAMPED);
    EXPECT_EQ(csText.GetLength(), FORMAT_MAX_WIDTH);
    EXPECT_EQ(csText.Format(VTEXT("%*d"), std::int64_t{1} << 40, 1).m_dwFlags, FMTF_CLAMPED);
    EXPECT_EQ(csText.GetLength(), FORMAT_MAX_WIDTH);
    const CXString csMost(VTEXT('m'), static_cast<int>(FORMAT_MAX_UNITS));
    EXPECT_TRUE(csText.Format(VTEXT("%s"), csMost).IsClean());
    EXPECT_EQ(csText, csMost);
    EXPECT_EQ(csText.Format(VTEXT("%s%s%d"), csMost, VTEXT("x"), 5).m_dwFlags, FMTF_TRUNCATED);
    EXPECT_EQ(csText, csMost);
    const CXString csPair = csMost.Left(static_cast<int>(FORMAT_MAX_UNITS) - 1) + VTEXT("\U0001F600");
    EXPECT_EQ(csText.Format(VTEXT("%s%d"), csPair, 5).m_dwFlags, FMTF_TRUNCATED);
    EXPECT_EQ(csText, csMost.Left(static_cast<int>(FORMAT_MAX_UNITS) - 1));
    EXPECT_EQ(csText.Format(VTEXT("%s%S"), csMost, "narrow").m_dwFlags, FMTF_TRUNCATED);
    EXPECT_EQ(csText, csMost);
}

TEST(Format, TheCallersBufferIsAlwaysTerminated) {
    for (std::size_t cCapacity = 0; cCapacity <= 8; ++cCapacity) {
        std::vector<XCHAR> vchBuffer(cCapacity, VTEXT('#'));  // exact, so that a sanitizer sees one unit too many
        const FormatResult oResult =
            FormatToBuffer(vchBuffer.data(), cCapacity, VTEXT("%d%s%S"), 12, VTEXT("34\U0001F600"), "x");
        const XStringView whole = VTEXT("1234\U0001F600x");
        std::size_t cExpected = std::min(cCapacity ? cCapacity - 1 : 0, whole.size());
        if (cExpected == 5) cExpected = 4;  // the pair is not parted, and nothing follows behind the cut
        EXPECT_EQ(XStringView(vchBuffer.data(), oResult.m_cUnits), whole.substr(0, cExpected)) << cCapacity;
        EXPECT_EQ(oResult.m_dwFlags, cExpected < whole.size() ? FMTF_TRUNCATED : FMTF_NONE);
        EXPECT_TRUE(cCapacity == 0 || vchBuffer[oResult.m_cUnits] == 0);
    }
    EXPECT_EQ(FormatToBuffer(nullptr, 5, VTEXT("%d"), 1).m_cUnits, 0u);
}

TEST(Format, VariadicArgumentsBeyondTheBoundAreMissing) {
    CXString csFormat(VTEXT("%%%*d")), csExpected(VTEXT("% 1"));
    for (int i = 2; i < 65; ++i) {
        csFormat += VTEXT("%d");
        csExpected += i < 64 ? XStringView(VTEXT("0123456789")).substr(i % 10, 1) : XStringView(VTEXT("(missing)"));
    }
    // Only so many as the bound are read; that fewer were passed than the text names is the caller's fault, which this
    // cannot see.
    const auto digits = [&]<int... I>(std::integer_sequence<int, I...>) {
        return V(FMTF_MISSING_ARGUMENT, csFormat, 2, (I + 1) % 10 ...);
    };
    EXPECT_EQ(digits(std::make_integer_sequence<int, 64>()), csExpected);
}

}  // namespace
