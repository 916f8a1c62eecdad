/// @file
/// The names of the message categories.
#include "utilities/debuggingandexceptions/DebugMessageCategoryHelper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "support/Gate.h"
#include "support/RecordingSink.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using vlm::test::Gate;
using vlm::test::Narrow;
using vlm::test::RecordingSink;

using Helper = DebugMessageCategoryHelper;

TEST(DebugMessageCategoryHelper, NamesEachBitOnceAndFindsItAgain) {
    // First use, by all at once.
    Gate start(8);
    {
        std::vector<std::jthread> vThreads;
        for (int i = 0; i < 8; ++i) {
            vThreads.emplace_back([&] {
                start.ArriveAndWait();
                EXPECT_EQ(Narrow(Helper::GetCategoryString(0x1000).View()), "wfiddll");
            });
        }
    }
    std::vector<std::string> vNames;
    for (int iBit = 0; iBit < 64; ++iBit) {
        const DebugMessageCategories category = 1ULL << iBit;
        const CXString& kcsName = Helper::GetCategoryString(category);
        EXPECT_EQ(Helper::GetCategoryFromString(kcsName), category) << Narrow(kcsName.View());
        vNames.push_back(Narrow(kcsName.View()));
    }
    std::sort(vNames.begin(), vNames.end());
    EXPECT_EQ(std::adjacent_find(vNames.begin(), vNames.end()), vNames.end());
    EXPECT_EQ(Narrow(Helper::GetCategoryString(DebugCategory::All).View()), "all");
}

TEST(DebugMessageCategoryHelper, FindsExactNamesOnly) {
    const struct {
        const XCHAR* pszName;
        DebugMessageCategories categories;
    } aoRows[] = {
        {VTEXT("wfunivdll"), 0x4000000000000},
        {VTEXT("thread"), 0x4000000000},
        {VTEXT("cbrs"), 0x80000000000000},
        {VTEXT("xjobtracker"), 0x200000000},
        {VTEXT("constraintminiverbose"), 0x8000000000000000},
        {VTEXT("all"), ~0ULL},
        {VTEXT("Errors"), 0},
        {VTEXT("error"), 0},
        {VTEXT("errors "), 0},
        {VTEXT(""), 0},
    };
    for (const auto& rRow : aoRows)
        EXPECT_EQ(Helper::GetCategoryFromString(rRow.pszName), rRow.categories) << Narrow(rRow.pszName);
}

TEST(DebugMessageCategoryHelper, ReportsAMaskThatIsNoCategory) {
    for (const DebugMessageCategories categories : {0x3ULL, 0x0ULL, ~1ULL}) {
        const RecordingSink sink(DebugCategory::Errors);
        EXPECT_EQ(Narrow(Helper::GetCategoryString(categories).View()), "");
        std::string strMask = Narrow(CXString::FormatString(VTEXT("0x%I64x."), categories).View());
        EXPECT_THAT(
            sink.Texts(),
            ElementsAre(
                AllOf(HasSubstr("Failed Condition:\t(posMatchingEntry != m_smapCategoryBitMaskToNamesPtr.end())\r\n"),
                      HasSubstr("Invalid category mask: " + strMask + " Does it represent more than one category?"))));
    }
}

TEST(DebugMessageCategoryHelper, AppendsNamesInTheOrderOfMasksAndNeverBeyondTheRoom) {
    const struct {
        const XCHAR* pszBefore;
        DebugMessageCategories categories;
        const char* pszAfter;
    } aoRows[] = {
        {VTEXT(""), DebugCategory::Perf | DebugCategory::Errors, "[ errors perf ]"},
        {VTEXT("12:00 "), DebugCategory::WfUnivDll | DebugCategory::WfidDll, "12:00 [ wfiddll wfunivdll ]"},
        {VTEXT("x"), DebugCategory::None, "x[ ]"},
    };
    for (const auto& rRow : aoRows) {
        const std::string strWhole(rRow.pszAfter);
        const std::size_t cBefore = XStringView(rRow.pszBefore).size();
        for (std::size_t cCapacity = cBefore + 1; cCapacity <= strWhole.size() + 2; ++cCapacity) {
            std::vector<XCHAR> vchBuffer(cCapacity);  // of exactly that size, for the address sanitizer
            std::copy_n(rRow.pszBefore, cBefore + 1, vchBuffer.begin());
            Helper::AddCategoryStringsToBuffer(rRow.categories, vchBuffer.data(), cCapacity);
            EXPECT_EQ(Narrow(XStringView(vchBuffer.data())), strWhole.substr(0, cCapacity - 1));
        }
    }
    XCHAR achAll[1024] = {};
    Helper::AddCategoryStringsToBuffer(DebugCategory::All, achAll, std::size(achAll));
    EXPECT_EQ(std::count(std::begin(achAll), std::end(achAll), VTEXT(' ')), 65);
    EXPECT_EQ(XStringView(achAll).find(VTEXT(" all ")), XStringView::npos);
}

TEST(DebugMessageCategoryHelper, LeavesABufferAloneThatItCannotUse) {
    XCHAR achFull[] = {VTEXT('a'), VTEXT('b')};
    Helper::AddCategoryStringsToBuffer(DebugCategory::Errors, achFull, 2);
    EXPECT_EQ(Narrow(XStringView(achFull, 2)), "ab");
    XCHAR achText[8] = VTEXT("a");
    Helper::AddCategoryStringsToBuffer(DebugCategory::Errors, achText, 0);
    Helper::AddCategoryStringsToBuffer(DebugCategory::Errors, achText, 0x80000000);
    EXPECT_EQ(Narrow(XStringView(achText)), "a");
    Helper::AddCategoryStringsToBuffer(DebugCategory::Errors, nullptr, 8);
}

}  // namespace
