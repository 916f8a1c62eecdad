/// @file
/// The string: blocks and sharing, buffers, comparison, search, tokens, predicates.
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/detail/text/TwoWaySearch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>
#include <random>
#include <string>
#include <unordered_set>

#include "support/TextPrinter.h"
#include "utilities/utilitiesdll/MemoryPool.h"

namespace {

using Text = std::basic_string<XCHAR>;

int Sign(int i) {
    return (i > 0) - (i < 0);
}

TEST(CXString, RequestsGetTheCapacityOfTheirBucket) {
    int iSmaller = 0;
    for (const int iBucket : {6, 12, 16, 20, 24, 32, 64, 128, 256, 512}) {
        EXPECT_EQ(CXString(VTEXT('x'), iSmaller + 1).GetAllocLength(), iBucket);
        EXPECT_EQ(CXString(VTEXT('x'), iBucket).GetAllocLength(), iBucket);
        iSmaller = iBucket;
    }
    for (const int iExact : {513, 600, 5000})
        EXPECT_EQ(CXString(VTEXT('x'), iExact).GetAllocLength(), iExact);
}

TEST(CXString, EmptyStringsShareOneBlockAndOwnNothing) {
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    const CXString csDefault;
    for (const CXString& kcsText : {CXString(nullptr), CXString(VTEXT("")), CXString(""), CXString(VTEXT("abc"), 0),
                                    CXString(VTEXT('x'), -1), csDefault + csDefault, CXString(VTEXT("ab")).Mid(5)}) {
        EXPECT_EQ(kcsText.GetLpcwstr(), csDefault.GetLpcwstr());
    }
    EXPECT_EQ(csDefault.GetLpcwstr()[0], 0);
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore);
}

TEST(CXString, CopiesShareTheirBlockUntilOneChanges) {
    const CXString csFirst(VTEXT("shared text"));
    CXString csCopy = csFirst;
    EXPECT_EQ(csCopy.GetLpcwstr(), csFirst.GetLpcwstr());
    EXPECT_EQ(csFirst.GetData()->m_lRefs.load(), 2);
    csCopy.SetAt(0, VTEXT('S'));
    EXPECT_EQ(csCopy + csFirst, VTEXT("Shared textshared text"));
    EXPECT_EQ(csFirst.GetData()->m_lRefs.load(), 1);
}

TEST(CXString, LockedBuffersAreNotShared) {
    CXString csLocked(VTEXT("locked")), csAssigned;
    XCHAR* const pchBuffer = csLocked.LockBuffer();
    const CXString csCopy = csLocked;
    csAssigned = csLocked;
    EXPECT_NE(csAssigned.GetLpcwstr(), pchBuffer);
    pchBuffer[0] = VTEXT('L');
    EXPECT_EQ(csCopy, VTEXT("locked"));
    csLocked = csCopy;  // an assignment fills the locked buffer
    csLocked.Empty();
    EXPECT_EQ(csLocked.GetLpcwstr(), pchBuffer);
    csLocked = VTEXT("text that needs a larger block than the first one");
    EXPECT_NE(CXString(csLocked).GetLpcwstr(), csLocked.GetLpcwstr());  // still locked
    csLocked.UnlockBuffer();
    EXPECT_EQ(CXString(csLocked).GetLpcwstr(), csLocked.GetLpcwstr());
}

TEST(CXString, BuffersKeepTheTextAndMeasureIt) {
    CXString csText(VTEXT("abc"));
    XCHAR* pchBuffer = csText.GetBuffer(100);
    EXPECT_EQ(csText.GetAllocLength(), 128);
    pchBuffer[3] = VTEXT('d');
    pchBuffer[4] = 0;
    csText.ReleaseBuffer();
    csText.FreeExtra();
    EXPECT_EQ(csText, VTEXT("abcd"));
    EXPECT_EQ(csText.GetAllocLength(), 6);
    csText.ReleaseBuffer(1000);  // beyond the capacity: clamped
    EXPECT_EQ(csText.GetLength(), 6);
    std::fill_n(csText.GetBuffer(6), 7, VTEXT('z'));  // the caller lost the terminator
    csText.ReleaseBuffer();
    EXPECT_EQ(csText, VTEXT("zzzzzz"));
    csText.GetBuffer(0)[0] = 0;
    csText.ReleaseBuffer();
    EXPECT_EQ(csText.GetLpcwstr(), CXString().GetLpcwstr());
}

TEST(CXString, IndexesOutsideTheTextReadZeroAndWriteNothing) {
    CXString csText(VTEXT("ab"));
    for (const int iIndex : {-1, 2, 3, 1000000, -2147483647 - 1, 2147483647}) {
        EXPECT_EQ(csText.GetAt(iIndex), 0);
        EXPECT_EQ(csText[iIndex], 0);
        csText.SetAt(iIndex, VTEXT('x'));
    }
    EXPECT_EQ(csText[std::size_t{1}], VTEXT('b'));
    EXPECT_EQ(csText[std::int64_t{0x100000001}], 0);
    EXPECT_EQ(csText, VTEXT("ab"));
}

TEST(CXString, ComparisonCountsAZeroUnitWithinTheText) {
    const CXString csShort(VTEXT("ab")), csZero(VTEXT("ab\0"), 3);
    EXPECT_LT(csShort.Compare(csZero), 0);
    EXPECT_GT(csZero.Compare(csShort), 0);
    EXPECT_EQ(CXString(VTEXT("\uFFFF")).Compare(VTEXT("\u0001")), 0xFFFE);
    EXPECT_EQ(CXString().compare(nullptr), 0);
}

TEST(CXString, RelationsAgreeWithCompareInEveryForm) {
    std::vector<CXString> vcsTexts = {VTEXT(""), VTEXT("a"), VTEXT("B"), VTEXT("ab"), VTEXT("aB"), VTEXT("\u00E4")};
    for (const CXString& kcsLeft : vcsTexts) {
        for (const CXString& kcsRight : vcsTexts) {
            const int iSign = Sign(kcsLeft.Compare(kcsRight));
            EXPECT_EQ(kcsLeft == kcsRight, iSign == 0);
            EXPECT_EQ(kcsLeft != kcsRight.GetLpcwstr(), iSign != 0);
            EXPECT_EQ(kcsLeft < kcsRight.View(), iSign < 0);
            EXPECT_EQ(kcsLeft.View() <= kcsRight, iSign <= 0);
            EXPECT_EQ(kcsLeft.GetLpcwstr() > kcsRight, iSign > 0);
            EXPECT_EQ(kcsLeft >= kcsRight, iSign >= 0);
        }
    }
}

/// Every length and place round the steps of the inner loops, against the plain standard-library answer.
TEST(CXString, SearchComparisonAndCaseAgreeWithThePlainForm) {
    std::mt19937 oRandom(20240607);
    const XStringView alphabet = VTEXT("abABzZ@[`{\u0161\u00E1");
    const auto lower = [](Text strText) {
        for (XCHAR& rch : strText) {
            if (rch >= 'A' && rch <= 'Z') rch = static_cast<XCHAR>(rch + 32);
        }
        return strText;
    };
    const auto draw = [&](std::size_t cUnits) {
        Text strText;
        for (std::size_t u = 0; u < cUnits; ++u)
            strText += alphabet[oRandom() % alphabet.size()];
        return strText;
    };
    const auto difference = [](const Text& kstrLeft, const Text& kstrRight) {
        const std::size_t u = static_cast<std::size_t>(
            std::mismatch(kstrLeft.begin(), kstrLeft.end(), kstrRight.begin(), kstrRight.end()).first -
            kstrLeft.begin());
        return static_cast<int>(kstrLeft.c_str()[u]) - static_cast<int>(kstrRight.c_str()[u]);
    };
    for (int i = 0; i < 30000; ++i) {
        const Text strText = draw(oRandom() % 70);
        Text strPart = draw(oRandom() % 4);
        if (i % 3 == 0) strPart = strText.substr(oRandom() % (strText.size() + 1), oRandom() % 20);
        if (i % 3 == 1) strPart = strText.substr(0, oRandom() % (strText.size() + 1)) + strPart + strText;
        const CXString csText(strText), csPart(strPart);
        const std::size_t uStart = oRandom() % (strText.size() + 1);
        const XCHAR ch = alphabet[oRandom() % alphabet.size()];
        ASSERT_EQ(csText.Find(csPart, static_cast<int>(uStart)), static_cast<int>(strText.find(strPart, uStart)));
        ASSERT_EQ(csText.FindNoCase(csPart, static_cast<int>(uStart)),
                  static_cast<int>(lower(strText).find(lower(strPart), uStart)));
        ASSERT_EQ(csText.Find(ch, static_cast<int>(uStart)), static_cast<int>(strText.find(ch, uStart)));
        ASSERT_EQ(csText.FindNoCase(ch), static_cast<int>(lower(strText).find(lower(Text(1, ch)))));
        ASSERT_EQ(csText.ReverseFind(ch), static_cast<int>(strText.rfind(ch)));
        ASSERT_EQ(csText.Compare(csPart), difference(strText, strPart));
        ASSERT_EQ(csText.CompareNoCase(csPart), difference(lower(strText), lower(strPart)));
        ASSERT_EQ(CXString(csText).MakeLower(), CXString(lower(strText)));
        ASSERT_EQ(CXString(csText).MakeUpper().MakeLower(), CXString(lower(strText)));
    }
}

/// Every pattern of up to eight letters in every text of twelve, of two letters.
TEST(CXString, TheLinearSearchAgreesWithThePlainForm) {
    const auto spell = [](unsigned uBits, std::size_t cUnits) {
        return std::bitset<12>(uBits).to_string<XCHAR>().substr(12 - cUnits);
    };
    const auto same = [](XCHAR ch) { return ch; };
    for (std::size_t cPart = 1; cPart <= 8; ++cPart) {
        for (unsigned uPart = 0; uPart < 1u << cPart; ++uPart) {
            const Text strPart = spell(uPart, cPart);
            const vlm::text::TwoWaySearch oSearch(strPart.data(), cPart, same);
            for (unsigned uText = 0; uText < 1u << 12; ++uText) {
                const Text strText = spell(uText, 12);
                ASSERT_EQ(oSearch.Find(strText.data(), 12, uText % 3), strText.find(strPart, uText % 3));
            }
        }
    }
    // Where nearly every place fits at both ends, the search turns to it.
    for (const std::size_t cMiddle : {20u, 200u}) {
        const Text strPart = Text(cMiddle, 'a') + VTEXT("ba") + Text(cMiddle, 'a');
        const Text strText = Text(3000, 'a') + strPart + VTEXT("ab");
        EXPECT_EQ(CXString(strText).Find(CXString(strPart)), 3000);
        EXPECT_EQ(CXString(strText).MakeUpper().FindNoCase(CXString(strPart)), 3000);
        EXPECT_EQ(CXString(Text(3000, 'a')).Find(CXString(strPart)), -1);
    }
}

TEST(CXString, PlacesAreClampedToTheText) {
    const CXString csText(VTEXT("abcde"));
    EXPECT_EQ(csText.Find(VTEXT('c'), -5), 2);
    EXPECT_EQ(csText.Find(VTEXT(""), 5), 5);
    EXPECT_EQ(csText.Find(VTEXT(""), 6), -1);
    EXPECT_EQ(csText.Find(nullptr), 0);
    EXPECT_EQ(csText.Left(-1), VTEXT(""));
    EXPECT_EQ(csText.Left(99).GetLpcwstr(), csText.GetLpcwstr());
    EXPECT_EQ(csText.Right(2), VTEXT("de"));
    EXPECT_EQ(csText.Right(-2147483647 - 1), VTEXT(""));
    EXPECT_EQ(csText.Right(2147483647), csText);
    EXPECT_EQ(csText.Mid(-2, 3), VTEXT("abc"));
    EXPECT_EQ(csText.Mid(3, 2147483647), VTEXT("de"));
    EXPECT_EQ(csText.SpanIncluding(VTEXT("cba")), VTEXT("abc"));
    EXPECT_EQ(csText.SpanExcluding(VTEXT("dx\u0161")), VTEXT("abc"));
    EXPECT_EQ(CXString(VTEXT("\u0161\u0162x")).SpanIncluding(VTEXT("\u0162\u0161")), VTEXT("\u0161\u0162"));
}

TEST(CXString, TokensSkipRunsOfDelimiters) {
    const auto tokens = [](const CXString& kcsText, const XCHAR* pszDelimiters) {
        CXString csJoined;
        for (int iPosition = 0;;) {
            const CXString csToken =
                pszDelimiters ? kcsText.Tokenize(pszDelimiters, iPosition) : kcsText.TokenizeUsingWhitespace(iPosition);
            if (iPosition < 0) return csJoined;
            csJoined += csToken + VTEXT('|');
        }
    };
    EXPECT_EQ(tokens(VTEXT(",a;;bc,"), VTEXT(",;")), VTEXT("a|bc|"));
    EXPECT_EQ(tokens(VTEXT(",,"), VTEXT(",")), VTEXT(""));
    EXPECT_EQ(tokens(VTEXT("a,b"), VTEXT("")), VTEXT("a,b|"));
    EXPECT_EQ(tokens(VTEXT(" one\ttwo\r\n\vthree\f "), nullptr), VTEXT("one|two|three|"));
    for (int iOutside : {99, -7}) {
        EXPECT_EQ(CXString(VTEXT("abc")).Tokenize(VTEXT(","), iOutside), VTEXT(""));
        EXPECT_EQ(iOutside, -1);
    }
}

TEST(CXString, PredicatesLookAtEveryCharacter) {
    EXPECT_TRUE(CXString(VTEXT("   ")).IsBlank());
    EXPECT_FALSE(CXString(VTEXT("  \t")).IsBlank());
    EXPECT_FALSE(CXString(VTEXT(" \0"), 2).IsBlank());
    EXPECT_FALSE(CXString().IsContainNumericCharsOnly());
    EXPECT_TRUE(CXString(VTEXT("0123456789")).IsContainNumericCharsOnly());
    EXPECT_FALSE(CXString(VTEXT("12a")).IsContainNumericCharsOnly());
}

TEST(CXString, HashIsTheRecurrenceUpToTheTerminator) {
    EXPECT_EQ(CXString(VTEXT("ab\0cd"), 5).GetHashValue(), 97u * 31 + 98);
    std::mt19937 oRandom(7);
    for (int iLength = 0; iLength < 60; ++iLength) {
        CXString csText;
        ULONGLONG ullHash = 0;
        for (int i = 0; i < iLength; ++i) {
            const XCHAR ch = static_cast<XCHAR>(oRandom() % 0xFFFF + 1);
            csText += ch;
            ullHash = ullHash * 31 + ch;
        }
        EXPECT_EQ(csText.GetHashValue(), ullHash) << iLength;
    }
    EXPECT_EQ((std::unordered_set<CXString>{VTEXT("one"), VTEXT("two"), VTEXT("one")}.size()), 2u);
}

}  // namespace
