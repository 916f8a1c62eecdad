/// @file
/// The string: blocks and sharing, buffers, comparison, search, tokens, predicates.
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/detail/text/TwoWaySearch.h"

#include <gtest/gtest.h>

#include <algorithm>
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
    struct Row {
        int iRequest, iCapacity;
    };
    for (const Row& rRow :
         {Row{1, 6},  {6, 6},     {7, 12},    {12, 12},   {13, 16},   {16, 16},   {17, 20},    {20, 20},
          {21, 24},   {24, 24},   {25, 32},   {32, 32},   {33, 64},   {64, 64},   {65, 128},   {128, 128},
          {129, 256}, {256, 256}, {257, 512}, {512, 512}, {513, 513}, {600, 600}, {5000, 5000}}) {
        const CXString csText(VTEXT('x'), rRow.iRequest);
        EXPECT_EQ(csText.GetAllocLength(), rRow.iCapacity) << rRow.iRequest;
        EXPECT_EQ(csText.GetLength(), rRow.iRequest);
        EXPECT_EQ(csText.GetLpcwstr()[rRow.iRequest], 0);
        EXPECT_EQ(csText.GetData()->m_lRefs.load(), 1);
    }
}

TEST(CXString, EmptyStringsShareOneBlockAndOwnNothing) {
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    const CXString csDefault, csNull(nullptr), csText(VTEXT("")), csNarrow(""), csNone(VTEXT("abc"), 0),
        csNegative(VTEXT('x'), -1);
    const CXString csSum = csDefault + csText, csCopy = csNull, csPart = CXString(VTEXT("ab")).Mid(5);
    for (const CXString* pcs : {&csNull, &csText, &csNarrow, &csNone, &csNegative, &csSum, &csCopy, &csPart}) {
        EXPECT_EQ(pcs->GetLpcwstr(), csDefault.GetLpcwstr());
    }
    EXPECT_EQ(csDefault.GetLpcwstr()[0], 0);
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore);
}

TEST(CXString, CopiesShareTheirBlockUntilOneChanges) {
    const CXString csFirst(VTEXT("shared text"));
    const std::int64_t llOne = MemoryPool::GetOutstandingBlocks();
    CXString csCopy = csFirst;
    EXPECT_EQ(csCopy.GetLpcwstr(), csFirst.GetLpcwstr());
    EXPECT_EQ(csFirst.GetData()->m_lRefs.load(), 2);
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llOne);
    csCopy.SetAt(0, VTEXT('S'));
    EXPECT_NE(csCopy.GetLpcwstr(), csFirst.GetLpcwstr());
    EXPECT_EQ(csFirst, VTEXT("shared text"));
    EXPECT_EQ(csCopy, VTEXT("Shared text"));
    EXPECT_EQ(csFirst.GetData()->m_lRefs.load(), 1);
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llOne + 1);
}

TEST(CXString, NoOperationChangesASharingCopy) {
    const CXString csText(VTEXT("  aXbxc  "));
    using Operation = void (*)(CXString&);
    for (const Operation pfnChange :
         std::initializer_list<Operation>{[](CXString& r) { r.MakeUpper(); },
                                          [](CXString& r) { r.MakeLower(); },
                                          [](CXString& r) { r.MakeReverse(); },
                                          [](CXString& r) { r.Replace(VTEXT('x'), VTEXT('y')); },
                                          [](CXString& r) { r.Replace(VTEXT("x"), VTEXT("y")); },
                                          [](CXString& r) { r.ReplaceNoCase(VTEXT("x"), VTEXT("")); },
                                          [](CXString& r) { r.Remove(VTEXT(' ')); },
                                          [](CXString& r) { r.Insert(1, VTEXT('!')); },
                                          [](CXString& r) { r.Delete(0, 3); },
                                          [](CXString& r) { r.TrimLeft(); },
                                          [](CXString& r) { r.TrimRight(); },
                                          [](CXString& r) { r += VTEXT("!"); },
                                          [](CXString& r) { *r.GetBuffer(0) = 1; },
                                          [](CXString& r) { r.GetBufferSetLength(2)[0] = 1; },
                                          [](CXString& r) { *r.LockBuffer() = 1; },
                                          [](CXString& r) { r.ReleaseBuffer(3); },
                                          [](CXString& r) { r.FreeExtra(); },
                                          [](CXString& r) { r.Empty(); },
                                          [](CXString& r) { r = VTEXT("other"); },
                                          [](CXString& r) { r.Format(VTEXT("%s"), VTEXT("other")); }}) {
        CXString csCopy = csText;
        pfnChange(csCopy);
        EXPECT_EQ(csText, VTEXT("  aXbxc  "));
        EXPECT_EQ(csText.GetLength(), 9);
    }
}

TEST(CXString, LockedBuffersAreNotShared) {
    CXString csLocked(VTEXT("locked"));
    XCHAR* const pchBuffer = csLocked.LockBuffer();
    const CXString csCopy = csLocked;
    CXString csAssigned;
    csAssigned = csLocked;
    EXPECT_NE(csCopy.GetLpcwstr(), pchBuffer);
    EXPECT_NE(csAssigned.GetLpcwstr(), pchBuffer);
    pchBuffer[0] = VTEXT('L');
    EXPECT_EQ(csCopy, VTEXT("locked"));
    csLocked = csCopy;  // an assignment fills the locked buffer
    EXPECT_EQ(csLocked.GetLpcwstr(), pchBuffer);
    csLocked.Empty();
    EXPECT_EQ(csLocked.GetLpcwstr(), pchBuffer);
    csLocked = VTEXT("text that needs a larger block than the first one");
    const CXString csOther = csLocked;
    EXPECT_NE(csOther.GetLpcwstr(), csLocked.GetLpcwstr());  // still locked
    csLocked.UnlockBuffer();
    const CXString csShared = csLocked;
    EXPECT_EQ(csShared.GetLpcwstr(), csLocked.GetLpcwstr());
}

TEST(CXString, BuffersKeepTheTextAndMeasureIt) {
    CXString csText(VTEXT("abc"));
    XCHAR* pchBuffer = csText.GetBuffer(100);
    EXPECT_EQ(csText.GetAllocLength(), 128);
    EXPECT_EQ(csText, VTEXT("abc"));
    pchBuffer[3] = VTEXT('d');
    pchBuffer[4] = 0;
    csText.ReleaseBuffer();
    EXPECT_EQ(csText, VTEXT("abcd"));
    csText.FreeExtra();
    EXPECT_EQ(csText.GetAllocLength(), 6);
    csText.ReleaseBuffer(1000);  // beyond the capacity: clamped
    EXPECT_EQ(csText.GetLength(), 6);
    std::fill_n(csText.GetBuffer(6), 7, VTEXT('z'));  // the caller lost the terminator
    csText.ReleaseBuffer();
    EXPECT_EQ(csText, VTEXT("zzzzzz"));
    CXString csNew;
    csNew.GetBufferSetLength(3)[2] = VTEXT('3');
    EXPECT_EQ(csNew.GetLength(), 3);
    csNew.GetBuffer(0)[0] = 0;
    csNew.ReleaseBuffer();
    EXPECT_EQ(csNew.GetLpcwstr(), CXString().GetLpcwstr());
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

TEST(CXString, NarrowTextIsConvertedFromTheAnsiPage) {
    EXPECT_EQ(CXString("plain"), VTEXT("plain"));
    EXPECT_EQ(CXString("caf\xE9 \x80"), VTEXT("caf\u00E9 \u20AC"));
    EXPECT_EQ(CXString("cut here", 3), VTEXT("cut"));
    EXPECT_EQ(CXString(static_cast<const char*>(nullptr), 3), VTEXT(""));
    CXString csText;
    csText = "\xE4";
    EXPECT_EQ(csText, VTEXT("\u00E4"));
    EXPECT_EQ(CXString::SafeStrlen(static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(CXString::SafeStrlen(static_cast<const XCHAR*>(nullptr)), 0);
    EXPECT_EQ(CXString::SafeStrlen(VTEXT("abc")), 3);
}

TEST(CXString, ComparisonIsTheDifferenceOfTheFirstUnitsThatDiffer) {
    struct Row {
        const XCHAR* pszLeft;
        const XCHAR* pszRight;
        int iCompare, iNoCase;
    };
    for (const Row& rRow : {Row{VTEXT("a"), VTEXT("ab"), -'b', -'b'},
                            {VTEXT("ab"), VTEXT("a"), 'b', 'b'},
                            {VTEXT("abc"), VTEXT("abc"), 0, 0},
                            {VTEXT("aBc"), VTEXT("abC"), 'B' - 'b', 0},
                            {VTEXT("\uFFFF"), VTEXT("\u0001"), 0xFFFE, 0xFFFE},
                            {VTEXT("_"), VTEXT("A"), '_' - 'A', '_' - 'a'},
                            {VTEXT("0123456789abcdefX"), VTEXT("0123456789ABCDEFY"), 'a' - 'A', -1},
                            {VTEXT("\u00C4"), VTEXT("\u00E4"), -32, -32},
                            {VTEXT(""), nullptr, 0, 0},
                            {VTEXT("@["), VTEXT("`{"), -32, -32}}) {
        const CXString csLeft(rRow.pszLeft);
        EXPECT_EQ(csLeft.Compare(rRow.pszRight), rRow.iCompare) << csLeft.GetLength();
        EXPECT_EQ(csLeft.compare(rRow.pszRight), rRow.iCompare);
        EXPECT_EQ(csLeft.CompareNoCase(rRow.pszRight), rRow.iNoCase);
    }
    const CXString csShort(VTEXT("ab")), csZero(VTEXT("ab\0"), 3);
    EXPECT_LT(csShort.Compare(csZero), 0);  // a zero unit within the text still counts
    EXPECT_GT(csZero.Compare(csShort), 0);
    EXPECT_NE(csShort, csZero);
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

TEST(CXString, FindAnswersTheFirstOccurrenceFromTheStart) {
    const CXString csText(VTEXT("abcABCabc"));
    EXPECT_EQ(csText.Find(VTEXT('c')), 2);
    EXPECT_EQ(csText.Find(VTEXT('c'), 3), 8);
    EXPECT_EQ(csText.Find(VTEXT('c'), -5), 2);
    EXPECT_EQ(csText.Find(VTEXT('c'), 9), -1);
    EXPECT_EQ(csText.Find(VTEXT("abc"), 1), 6);
    EXPECT_EQ(csText.Find(VTEXT("abcd")), -1);
    EXPECT_EQ(csText.Find(VTEXT(""), 9), 9);
    EXPECT_EQ(csText.Find(VTEXT(""), 10), -1);
    EXPECT_EQ(csText.Find(nullptr), 0);
    EXPECT_EQ(csText.Find(csText), 0);
    EXPECT_EQ(csText.FindNoCase(VTEXT('C'), 3), 5);
    EXPECT_EQ(csText.FindNoCase(VTEXT("BCA")), 1);
    EXPECT_EQ(csText.FindNoCase(VTEXT("BCA"), 2), 4);
    EXPECT_EQ(csText.FindNoCase(VTEXT('[')), -1);
    EXPECT_EQ(csText.ReverseFind(VTEXT('b')), 7);
    EXPECT_EQ(csText.ReverseFind(VTEXT('x')), -1);
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
    for (int i = 0; i < 20000; ++i) {
        const Text strText = draw(oRandom() % 70);
        Text strPart = draw(oRandom() % 4);
        if (i % 3 == 0) strPart = strText.substr(oRandom() % (strText.size() + 1), oRandom() % 20);
        const CXString csText(strText), csPart(strPart);
        const std::size_t uStart = oRandom() % (strText.size() + 1);
        ASSERT_EQ(csText.Find(csPart, static_cast<int>(uStart)), static_cast<int>(strText.find(strPart, uStart)));
        ASSERT_EQ(csText.FindNoCase(csPart, static_cast<int>(uStart)),
                  static_cast<int>(lower(strText).find(lower(strPart), uStart)));
        ASSERT_EQ(Sign(csText.Compare(csPart)), Sign(strText.compare(strPart)));
        ASSERT_EQ(Sign(csText.CompareNoCase(csPart)), Sign(lower(strText).compare(lower(strPart))));
        ASSERT_EQ(CXString(csText).MakeLower(), CXString(lower(strText)));
        ASSERT_EQ(CXString(csText).MakeUpper().CompareNoCase(csText), 0);
        ASSERT_EQ(CXString(csText).MakeUpper().MakeLower(), CXString(lower(strText)));
    }
}

/// Every pattern of up to eight letters in every text of twelve, of two letters.
TEST(CXString, TheLinearSearchAgreesWithThePlainForm) {
    const auto spell = [](unsigned uBits, std::size_t cUnits) {
        Text strText(cUnits, 'a');
        for (std::size_t u = 0; u < cUnits; ++u)
            strText[u] = static_cast<XCHAR>(strText[u] + (uBits >> u & 1));
        return strText;
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

TEST(CXString, ADifferenceIsFoundAtEveryPlaceOfEveryLength) {
    for (int iLength = 1; iLength < 70; ++iLength) {
        const CXString csText(VTEXT('m'), iLength);
        for (int iPlace = 0; iPlace < iLength; ++iPlace) {
            CXString csOther(csText);
            csOther.SetAt(iPlace, VTEXT('N'));
            ASSERT_EQ(csText.Compare(csOther), 'm' - 'N') << iLength << ' ' << iPlace;
            ASSERT_EQ(csText.CompareNoCase(csOther), 'm' - 'n') << iLength << ' ' << iPlace;
            ASSERT_EQ(csOther.Find(VTEXT('N')), iPlace);
            ASSERT_EQ(CXString(csOther).MakeLower()[iPlace], VTEXT('n'));
            csOther.SetAt(iPlace, VTEXT('M'));
            ASSERT_EQ(csText.CompareNoCase(csOther), 0);
        }
    }
}

TEST(CXString, PartsAreClampedToTheText) {
    const CXString csText(VTEXT("abcde"));
    EXPECT_EQ(csText.Left(2), VTEXT("ab"));
    EXPECT_EQ(csText.Left(-1), VTEXT(""));
    EXPECT_EQ(csText.Left(99).GetLpcwstr(), csText.GetLpcwstr());
    EXPECT_EQ(csText.Right(2), VTEXT("de"));
    EXPECT_EQ(csText.Right(-2147483647 - 1), VTEXT(""));
    EXPECT_EQ(csText.Right(2147483647), csText);
    EXPECT_EQ(csText.Mid(1, 3), VTEXT("bcd"));
    EXPECT_EQ(csText.Mid(-2, 3), VTEXT("abc"));
    EXPECT_EQ(csText.Mid(3, 2147483647), VTEXT("de"));
    EXPECT_EQ(csText.Mid(5), VTEXT(""));
    EXPECT_EQ(csText.SpanIncluding(VTEXT("cba")), VTEXT("abc"));
    EXPECT_EQ(csText.SpanExcluding(VTEXT("dx\u0161")), VTEXT("abc"));
    EXPECT_EQ(CXString(VTEXT("\u0161\u0162x")).SpanIncluding(VTEXT("\u0162\u0161")), VTEXT("\u0161\u0162"));
}

TEST(CXString, TokensSkipRunsOfDelimiters) {
    const auto tokens = [](const CXString& kcsText, const XCHAR* pszDelimiters) {
        CXString csJoined;
        int iPosition = 0;
        for (CXString csToken = pszDelimiters ? kcsText.Tokenize(pszDelimiters, iPosition)
                                              : kcsText.TokenizeUsingWhitespace(iPosition);
             iPosition >= 0; csToken = pszDelimiters ? kcsText.Tokenize(pszDelimiters, iPosition)
                                                     : kcsText.TokenizeUsingWhitespace(iPosition)) {
            csJoined += csToken + VTEXT('|');
        }
        return csJoined;
    };
    EXPECT_EQ(tokens(VTEXT(",a;;bc,"), VTEXT(",;")), VTEXT("a|bc|"));
    EXPECT_EQ(tokens(VTEXT("a,b"), VTEXT(",")), VTEXT("a|b|"));
    EXPECT_EQ(tokens(VTEXT(",,"), VTEXT(",")), VTEXT(""));
    EXPECT_EQ(tokens(VTEXT(""), VTEXT(",")), VTEXT(""));
    EXPECT_EQ(tokens(VTEXT("a,b"), VTEXT("")), VTEXT("a,b|"));
    EXPECT_EQ(tokens(VTEXT(" one\ttwo\r\n\vthree\f "), nullptr), VTEXT("one|two|three|"));
    int iBeyond = 99, iNegative = -7;
    EXPECT_EQ(CXString(VTEXT("abc")).Tokenize(VTEXT(","), iBeyond), VTEXT(""));
    EXPECT_EQ(iBeyond, -1);
    EXPECT_EQ(CXString(VTEXT("abc")).Tokenize(VTEXT(","), iNegative), VTEXT(""));
    EXPECT_EQ(iNegative, -1);
}

TEST(CXString, PredicatesLookAtEveryCharacter) {
    EXPECT_TRUE(CXString().IsBlank());
    EXPECT_TRUE(CXString(VTEXT("   ")).IsBlank());
    EXPECT_FALSE(CXString(VTEXT("  \t")).IsBlank());
    EXPECT_FALSE(CXString(VTEXT(" \0"), 2).IsBlank());
    EXPECT_FALSE(CXString().IsContainNumericCharsOnly());
    EXPECT_TRUE(CXString(VTEXT("0123456789")).IsContainNumericCharsOnly());
    EXPECT_FALSE(CXString(VTEXT("12a")).IsContainNumericCharsOnly());
    EXPECT_FALSE(CXString(VTEXT("1\u0662")).IsContainNumericCharsOnly());  // an Arabic-Indic digit
}

TEST(CXString, HashIsTheRecurrenceUpToTheTerminator) {
    EXPECT_EQ(CXString().GetHashValue(), 0u);
    EXPECT_EQ(CXString(VTEXT("a")).GetHashValue(), 97u);
    EXPECT_EQ(CXString(VTEXT("ab")).GetHashValue(), 97u * 31 + 98);
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
    const std::unordered_set<CXString> csetNames = {VTEXT("one"), VTEXT("two"), VTEXT("one")};
    EXPECT_EQ(csetNames.size(), 2u);
}

}  // namespace
