/// @file
/// The hook for the C runtime's debug reports.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/VelomException.h"

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using vlm::test::RecordingSink;

TEST(CrtReportHook, MakesAFailedAssertionOfEachReportAndLeavesNothingToTheRuntime) {
    const struct {
        int iType;
        const char* pszName;
        std::size_t cReports;
    } aoRows[] = {{0, "_CRT_WARN", 1}, {1, "_CRT_ERROR", 1}, {2, "_CRT_ASSERT", 1}, {3, "<Unknown!>", 2}};
    for (const auto& rRow : aoRows) {
        const RecordingSink sink;
        int iBreak = 1;
        char achMessage[] = "heap is corrupt";
        EXPECT_EQ(VelomException::VelomCrtDbgReportHook(rRow.iType, achMessage, &iBreak), 1);
        EXPECT_EQ(iBreak, 0);
        ASSERT_EQ(sink.Reports().size(), rRow.cReports);
        EXPECT_THAT(sink.Texts().back(),
                    AllOf(HasSubstr("Failed Assertion"), HasSubstr("Method:\tVelomException::VelomCrtDbgReportHook()"),
                          HasSubstr(std::string(rRow.pszName) + ")\r\nheap is corrupt")));
        EXPECT_EQ(sink.Count("Missing case in reportType switch statement for 3"), rRow.iType == 3 ? 1u : 0u);
    }
    EXPECT_EQ(VelomException::VelomCrtDbgReportHook(0, nullptr, nullptr), 1);
}

}  // namespace
