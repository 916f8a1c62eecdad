/// @file
/// The string: editing, concatenation, aliasing, conversions, lack of memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <span>
#include <string>
#include <tuple>

#include "support/FaultLoop.h"
#include "support/TextPrinter.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/TextCodec.h"
#include "utilities/utilitiesdll/VelomUtilities_Text.h"
#include "utilities/utilitiesdll/VlmSharedPtr.h"

namespace {

TEST(CXStringEdit, OperationsMayTakeTheirOwnText) {
    CXString csText(VTEXT("abcabc"));
    for (int i = 0; i < 10; ++i)
        csText += csText;  // through every block size
    EXPECT_EQ(csText.GetLength(), 6 << 10);
    EXPECT_EQ(csText.Right(6), VTEXT("abcabc"));
    csText = VTEXT("aabcbc");
    csText = csText.GetLpcwstr() + 2;
    csText.Replace(csText, csText + csText);
    EXPECT_EQ(csText, VTEXT("bcbcbcbc"));
    csText.Filter(csText, csText);
    csText.Format(VTEXT("<%s|%s>"), csText, csText.GetLpcwstr());
    EXPECT_EQ(csText, VTEXT("<bcbcbcbc|bcbcbcbc>"));
    EXPECT_TRUE(csText.TrimRight(csText).IsEmpty());
    csText = VTEXT("self");
    csText = *&csText;
    csText = std::move(*&csText);
    EXPECT_EQ(csText, VTEXT("self"));
}

TEST(CXStringEdit, InsertAndDeleteClampTheirPlaces) {
    CXString csText(VTEXT("bc"));
    EXPECT_EQ(csText.Insert(-3, VTEXT('a')), 3);
    EXPECT_EQ(csText.Insert(99, VTEXT("ef")), 5);
    EXPECT_EQ(csText.Insert(3, nullptr), 5);
    EXPECT_EQ(csText.Delete(-1), 4);
    EXPECT_EQ(csText.Delete(1, 2147483647), 1);
    EXPECT_EQ(csText.Delete(0, -2147483647 - 1), 1);
    EXPECT_EQ(csText, VTEXT("b"));
}

TEST(CXStringEdit, ReplaceGoesFromLeftToRightWithoutOverlap) {
    for (const auto& [pszText, pszOld, pszNew, pszResult, iCount] :
         {std::tuple{VTEXT("aaaa"), VTEXT("aa"), VTEXT("b"), VTEXT("bb"), 2},
          {VTEXT("abc"), VTEXT("b"), VTEXT("<b>"), VTEXT("a<b>c"), 1},
          {VTEXT("aBc"), VTEXT(""), VTEXT("x"), VTEXT("aBc"), 0},
          {VTEXT("aBc"), VTEXT("b"), VTEXT("x"), VTEXT("aBc"), 0}}) {
        CXString csText(pszText);
        EXPECT_EQ(csText.Replace(pszOld, pszNew), iCount);
        EXPECT_EQ(csText, pszResult);
    }
    CXString csText(VTEXT("Red red RED"));
    EXPECT_EQ(csText.ReplaceNoCase(VTEXT("rEd"), VTEXT("blue")), 3);
    EXPECT_EQ(csText, VTEXT("blue blue blue"));
    EXPECT_EQ(csText.Replace(VTEXT('e'), VTEXT('E')), 3);
    EXPECT_EQ(csText.Replace(VTEXT('?'), VTEXT('!')), 0);
    EXPECT_EQ(csText.Remove(VTEXT('b')), 3);
    EXPECT_EQ(csText, VTEXT("luE luE luE"));
}

TEST(CXStringEdit, TrimmingTakesOneEndOnly) {
    const CXString csText(VTEXT("\t xyabyx \n"));
    EXPECT_EQ(CXString(csText).TrimLeft().TrimRight().TrimLeft(VTEXT('x')).TrimRight(VTEXT('x')), VTEXT("yaby"));
    EXPECT_EQ(CXString(csText).TrimLeft(VTEXT("\t xy")).TrimRight(VTEXT("\n xy")), VTEXT("ab"));
    EXPECT_TRUE(CXString(VTEXT(" \t ")).TrimLeft().IsEmpty());
    EXPECT_EQ(CXString(VTEXT("\u00A0a")).TrimLeft(), VTEXT("\u00A0a"));  // ASCII white space alone
}

TEST(CXStringEdit, ReversingKeepsCharactersWhole) {
    EXPECT_EQ(CXString(VTEXT("\U0001F600ab\U0001F601")).MakeReverse(), VTEXT("\U0001F601ba\U0001F600"));
}

TEST(CXStringEdit, FilterKeepsOrDropsASet) {
    CXString csResult;
    EXPECT_EQ(CXString(VTEXT("a1B2c3")).Filter(VTEXT("0123456789"), csResult), 3);
    EXPECT_EQ(csResult, VTEXT("123"));
    EXPECT_EQ(CXString(VTEXT("a1B2c3")).Filter(VTEXT("b1"), csResult, false, true), 2);
    EXPECT_EQ(csResult, VTEXT("a2c3"));
    EXPECT_EQ(CXString(VTEXT("a1B2c3")).Filter(VTEXT("b1"), csResult, true, false), 5);
    EXPECT_EQ(csResult, VTEXT("1"));
}

TEST(CXStringEdit, ConcatenationJoinsEveryKindOfText) {
    const CXString csA(VTEXT("a"));
    EXPECT_EQ(csA + csA + VTEXT("b") + VTEXT('c') + csA.View(), VTEXT("aabca"));
    EXPECT_EQ(VTEXT("x") + csA, VTEXT("xa"));
    EXPECT_EQ(VTEXT('x') + csA, VTEXT("xa"));
    EXPECT_EQ(csA + static_cast<const XCHAR*>(nullptr), VTEXT("a"));
    CXString csLong(VTEXT('x'), 500);
    const XCHAR* pchBlock = nullptr;
    int iMoves = 0;
    for (int i = 0; i < 10000; ++i) {
        csLong += VTEXT("0123456789");
        if (csLong.GetLpcwstr() != pchBlock) ++iMoves;
        pchBlock = csLong.GetLpcwstr();
    }
    EXPECT_EQ(csLong.GetLength(), 100500);
    EXPECT_LT(iMoves, 30);  // appending stays linear
}

TEST(CXStringEdit, NarrowTextGoesInAndComesOutWholeOrCutBetweenCharacters) {
    CXString csNarrow("caf\xE9 \x80");
    EXPECT_EQ(csNarrow, VTEXT("caf\u00E9 \u20AC"));
    EXPECT_EQ(csNarrow = "\xE4", VTEXT("\u00E4"));
    EXPECT_EQ(CXString("cut here", 3) + CXString(static_cast<const char*>(nullptr), 3), VTEXT("cut"));
    EXPECT_EQ(CXString::SafeStrlen(static_cast<const char*>(nullptr)), 0);
    const CXString csText(VTEXT("caf\u00E9 \u20AC \U0001F600"));
    const std::vector<char> vchUtf8 = csText.GetAsMultiByte(65001);
    EXPECT_STREQ(vchUtf8.data(), "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80");
    EXPECT_EQ(vchUtf8.size(), 15u);
    EXPECT_STREQ(CXString(VTEXT("caf\u00E9\u20AC")).GetAsMultiByte(0).data(), "caf\xE9\x80");
    EXPECT_EQ(CXString().GetAsMultiByte(0).size(), 1u);
    EXPECT_EQ(CXString(VTEXT("plain")).GetAsMultiByte(12345).size(), 1u);     // no such code page
    EXPECT_STREQ(CXString(VTEXT("\uFF3Cx")).GetAsMultiByte(0).data(), "?x");  // no look-alike of the backslash
    char achBuffer[6];
    EXPECT_EQ(CXString(VTEXT("plain text")).GetAsMultiByte(achBuffer, 6), 5);
    EXPECT_STREQ(achBuffer, "plain");
    EXPECT_EQ(CXString(VTEXT("\u00E9\u00E8")).GetAsMultiByte(achBuffer, 2), 1);
    EXPECT_STREQ(achBuffer, "\xE9");
    EXPECT_EQ(CXString(VTEXT("ab")).GetAsMultiByte(achBuffer, 1), 0);
    EXPECT_STREQ(achBuffer, "");
    EXPECT_EQ(CXString(VTEXT("ab")).GetAsMultiByte(achBuffer, 0), 0);
}

TEST(CXStringEdit, MessageTextsTakeTextInsertsOnly) {
    CXString csText(VTEXT("before"));
    EXPECT_TRUE(csText.FormatMessageW(VTEXT("%2 then %1!s!, %1 100%%"), VTEXT("one"), 2));
    EXPECT_EQ(csText, VTEXT("2 then one, one 100%"));
    const CXString csLong(VTEXT('x'), 3000);
    EXPECT_TRUE(csText.FormatMessageW(VTEXT("%1%1%1%1%1%1"), csLong));
    EXPECT_EQ(csText.GetLength(), 18000);
    csText = VTEXT("before");
    for (const XCHAR* pszBad :
         {VTEXT("%1!d!"), VTEXT("%1!*.*s!"), VTEXT("%1!S!"), VTEXT("%2"), VTEXT("%99"), VTEXT("x%")}) {
        EXPECT_FALSE(csText.FormatMessageW(pszBad, VTEXT("one")));
    }
    EXPECT_FALSE(csText.FormatMessageW(nullptr));
    EXPECT_FALSE(csText.LoadStringW(nullptr, 65000));
    EXPECT_FALSE(csText.Format(static_cast<HINSTANCE>(nullptr), 65000u, 1));
    EXPECT_EQ(csText, VTEXT("before"));
}

TEST(CXStringEdit, TextsAreSplitAtEachSeparator) {
    const auto pieces = [](const XCHAR* pszText) {
        CXString csJoined;
        for (const CXString& kcsPiece : VelomUtilities::parseCharacterSeparatedStrings(pszText, VTEXT(',')))
            csJoined += kcsPiece + VTEXT('|');
        return csJoined;
    };
    EXPECT_EQ(pieces(VTEXT("")), VTEXT(""));
    EXPECT_EQ(pieces(VTEXT(",")), VTEXT("||"));
    EXPECT_EQ(pieces(VTEXT("one, two,,three")), VTEXT("one| two||three|"));
}

TEST(CXStringEdit, TooLongIsRefusedLikeALackOfMemory) {
    CXString csText(VTEXT("kept"));
    const XStringView huge(csText.GetLpcwstr(), MemoryPoolAllocatorServices::MAX_UNITS + 1);  // never read
    EXPECT_THROW(CXString{huge}, std::bad_alloc);
    EXPECT_THROW(csText = huge, std::bad_alloc);
    EXPECT_THROW(csText += huge, std::bad_alloc);
    EXPECT_THROW(csText.Insert(2, huge), std::bad_alloc);
    EXPECT_THROW(csText + huge, std::bad_alloc);
    EXPECT_EQ(csText, VTEXT("kept"));
}

struct OutOfMemoryMarker {};

TEST(CXStringEdit, TheHandlerMayRaiseSomethingBetter) {
    const CXString csText(VTEXT("kept"));
    const auto pfnFormer = MemoryPool::ExchangeOutOfMemoryHandler([] { throw OutOfMemoryMarker(); });
    {
        const vlm::test::AllocationFaults oFaults(1, true);
        EXPECT_THROW(csText + csText, OutOfMemoryMarker);
    }
    MemoryPool::ExchangeOutOfMemoryHandler(pfnFormer);
}

/// What classes made from the string may call.
struct Internals : CXString {
    using CXString::AllocBeforeWrite;
    using CXString::AllocCopy;
    using CXString::ConcatCopy;
    using CXString::CXString;
    explicit Internals(const CXString& kcsText) : CXString(kcsText) {}
};

struct PooledObjectOfTests : PooledObject {
    int m_iValue = 5;
};

/// Every operation that takes memory or asks the system, while each of these requests fails: the string is then as it
/// was, and so is the one that shares its block.
TEST(CXStringEdit, WhateverFailsLeavesTheStringAsItWas) {
    static const CXString kcsOriginal(VTEXT('a'), 600), kcsOther(VTEXT('b'), 700);
    static const CXString kcsForeign(VTEXT("caf\u00E9 \u20AC")), kcsCoded(VTEXT("QQCsIA=="));
    static HWND shwnd = nullptr;
    using vlm::test::FaultOutcome;
    const struct {
        const char* pszName;
        bool (*pfnChange)(CXString& r);  // answers whether it did what it is for
    } aoRows[] = {
        {"append", [](CXString& r) { return (r += kcsOther).GetLength() == 1300; }},
        {"assign text", [](CXString& r) { return (r = kcsOther.View()).GetLength() == 700; }},
        {"assign ANSI", [](CXString& r) { return (r = "caf\xE9 and a tail").GetLength() > 0; }},
        {"set a unit", [](CXString& r) { return r.SetAt(1, VTEXT('x')), true; }},
        {"insert", [](CXString& r) { return r.Insert(3, kcsOther) == 1300; }},
        {"replace text", [](CXString& r) { return r.Replace(VTEXT("aa"), kcsOther) == 300; }},
        {"replace, no case", [](CXString& r) { return r.ReplaceNoCase(VTEXT("A"), VTEXT("bc")) == 600; }},
        {"replace unit", [](CXString& r) { return r.Replace(VTEXT('a'), VTEXT('b')) == 600; }},
        {"filter", [](CXString& r) { return kcsOther.Filter(VTEXT("b"), r) == 0; }},
        {"buffer", [](CXString& r) { return *r.GetBuffer(0) = 1, true; }},
        {"buffer with length", [](CXString& r) { return r.GetBufferSetLength(2)[0] = 1, true; }},
        {"release a shared buffer", [](CXString& r) { return r.ReleaseBuffer(3), r.GetLength() == 3; }},
        {"lock", [](CXString& r) { return *r.LockBuffer() = 1, true; }},
        {"free the rest",
         [](CXString&) {
             CXString csLarge(kcsOther);
             return csLarge.GetBuffer(5000) && (csLarge.FreeExtra(), csLarge.GetLength() == 700);
         }},
        {"join", [](CXString& r) { return (kcsOther + r + VTEXT('x')).GetLength() == 1301; }},
        {"join a view", [](CXString& r) { return (kcsOther.View() + r).GetLength() == 1300; }},
        {"copy parts",
         [](CXString& r) {
             Internals oJoined, oShared(r);
             oJoined.ConcatCopy(kcsOther, kcsForeign);
             oShared.AllocBeforeWrite(900);
             oJoined.AllocCopy(r, 4, 699, 40);
             return r == VTEXT("bcaf") && r.GetAllocLength() >= 44 && oShared.GetAllocLength() >= 900;
         }},
        {"parts", [](CXString& r) { return r.Mid(1).GetLength() + r.Right(2).GetLength() == 601; }},
        {"format", [](CXString& r) { return r.Format(VTEXT("%s%d%S%g"), kcsOther, 5, "caf\xE9", 0.1).IsClean(); }},
        {"format without exception", [](CXString& r) { return vlm::TryFormat(r, VTEXT("%s"), kcsOther).IsClean(); }},
        {"format from a resource", [](CXString& r) { return r.Format(HINSTANCE{nullptr}, 7u, 5); }},
        {"message text", [](CXString& r) { return r.FormatMessageW(VTEXT("%1 %2%2%2"), kcsOther, 5); }},
        {"caption", [](CXString& r) { return r.GetWindowTextW(shwnd); }},
        {"set caption", [](CXString&) { return kcsOther.SetWindowTextW(shwnd); }},
        {"multi-byte", [](CXString&) { return kcsForeign.GetAsMultiByte(0).size() == 7; }},
        {"multi-byte, own buffer",
         [](CXString&) {
             char achBuffer[4];
             return kcsForeign.GetAsMultiByte(achBuffer, 4) == 3;
         }},
        {"Base64 of text", [](CXString& r) { return r.Base64EncodeUnicodeString().GetLength() == 1600; }},
        {"Base64 of bytes and back",
         [](CXString& r) {
             constexpr BYTE BYTES[] = {0x41, 0x00, 0xFF};
             CXString csSame;
             csSame.Base64EncodeBinaryData(BYTES, 3);
             std::vector<BYTE> vBack;
             const bool fBack = csSame.Base64DecodeAsBinaryData(vBack) && std::ranges::equal(vBack, BYTES);
             r.Base64EncodeBinaryData(std::span<const BYTE>(BYTES));
             return fBack && r == csSame && r == VTEXT("QQD/");
         }},
        {"Base64 to text", [](CXString& r) { return kcsCoded.Base64DecodeAsUnicodeString(r); }},
        {"UTF-8",
         [](CXString& r) {
             r = TextCodec::Utf8ToUtf16(TextCodec::Utf16ToUtf8(kcsOther + kcsForeign));
             return r.GetLength() == 706;
         }},
        {"shared pointer", [](CXString&) { return MakeVlmShared<PooledObjectOfTests>()->m_iValue == 5; }},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszName);
        bool fUnchanged = true;
        vlm::test::FaultLoop oLoop;
        oLoop.fnPrepare = [](vlm::test::FakePlatform& rFake) {
            rFake.text.AddString(nullptr, 7, VTEXT("text %d"));
            shwnd = rFake.text.AddWindow(VTEXT("caption"));
        };
        oLoop.fnRun = [&] {
            bool fDone = false;
            CXString csText = kcsOriginal;
            vlm::test::Attempt<>([&] { fDone = rRow.pfnChange(csText); });
            fUnchanged = fUnchanged && (fDone || csText.GetLpcwstr() == kcsOriginal.GetLpcwstr());
            return fDone ? FaultOutcome::Succeeded : FaultOutcome::Failed;
        };
        const vlm::test::FaultLoopReport oReport = RunFaultLoop(oLoop);
        EXPECT_TRUE(oReport.ullFaults > 0 || !vlm::test::AllocationFaults::IN_FORCE) << "nothing can fail here";
        EXPECT_TRUE(fUnchanged);
        EXPECT_EQ(kcsOriginal, CXString(VTEXT('a'), 600));  // which every one of them shares
    }
}

}  // namespace
