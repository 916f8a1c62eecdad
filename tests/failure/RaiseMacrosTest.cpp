/// @file
/// Reporting, throwing and asserting; where exceptions end, and what a lack of memory becomes.
#include "utilities/debuggingandexceptions/RaiseMacros.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "support/Narrow.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/SourcePosition.h"
#include "utilities/debuggingandexceptions/VelomComException.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using vlm::test::Narrow;
using vlm::test::RecordingSink;

int CountCalls(int& riCalls) {
    return ++riCalls;
}

int Explode() {
    throw std::runtime_error("bang");
}

struct Worker {
    static void Report(int& riCalls) {
        VLM_REPORT(DebugCategory::Registry | DebugCategory::Utils, VTEXT("call %d of %s"), CountCalls(riCalls),
                   VTEXT("worker"));
    }
    static void Fail() { VLM_THROW(ExceptionFeatureNotFound, VTEXT("No feature %ld"), 7); }
    static bool Check(int iCount) {
        VLM_ASSERT(iCount >= 0, VTEXT("Count is %d"), iCount);
        return iCount >= 0;
    }
};

TEST(Report, EvaluatesItsArgumentsOnlyWhenItIsWanted) {
    int iCalls = 0;
    Worker::Report(iCalls);  // no sink
    for (const DebugMessageCategories allowed : {DebugCategory::Perf, DebugCategory::Utils}) {
        const RecordingSink sink(allowed);
        Worker::Report(iCalls);
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("plain"));
        if (allowed == DebugCategory::Perf) continue;
        EXPECT_THAT(sink.Texts(), ElementsAre("call 1 of worker", "plain"));
        const RecordingSink::Report report = sink.Reports()[0];
        EXPECT_FALSE(report.fError);
        EXPECT_EQ(report.categories, DebugCategory::Registry | DebugCategory::Utils);
        EXPECT_EQ(report.method, "Worker::Report");
        EXPECT_THAT(report.file, EndsWith("tests\\failure\\RaiseMacrosTest.cpp"));
        EXPECT_TRUE(sink.Reports()[1].fError);
        EXPECT_EQ(sink.Reports()[1].categories, DebugCategory::Errors | DebugCategory::Utils);
    }
}

TEST(Report, ReplacesAWorthlessTextByADiagnosis) {
    const RecordingSink sink;
    const CXString csEmpty;
    VLM_REPORT(DebugCategory::Utils, VTEXT("%s"), csEmpty);
    VLM_REPORT(DebugCategory::Utils, VTEXT("%d and %d"), 1);
    VLM_REPORT(DebugCategory::Utils, VTEXT("%s"), static_cast<const XCHAR*>(nullptr));
    VLM_REPORT(DebugCategory::Utils, VTEXT("value %d"), Explode());
    VLM_REPORT(DebugCategory::Utils, VTEXT(""));
    constexpr const char* INTENDED = "above. The format string arguments for the intended error message:\r\n\r\n";
    EXPECT_THAT(
        sink.Texts(),
        ElementsAre(
            AllOf(
                StartsWith("A message argument was supplied, but the resulting string is empty. The format string and "
                           "variable argument list for this message causes a crash. Perhaps"),
                EndsWith(std::string(INTENDED) + "VTEXT(\"%s\"), csEmpty")),
            HasSubstr(std::string(INTENDED) + "VTEXT(\"%d and %d\"), 1\r\n1 and "), "(null)",
            AllOf(HasSubstr(" is empty. The argument list for this message causes a crash. Some code that executes"),
                  HasSubstr(std::string(INTENDED) + "VTEXT(\"value %d\"), Explode()")),
            ""));
}

TEST(Throw, ReportsOnceThenThrowsWithPlaceMessageAndContexts) {
    const RecordingSink sink;
    const ExecutionContextLifetime lifetime(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE, VTEXT("in the test")));
    try {
        Worker::Fail();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const ExceptionFeatureNotFound& rException) {
        EXPECT_EQ(Narrow(rException.GetExceptionMesage().View()), "No feature 7");
        EXPECT_EQ(Narrow(rException.GetExceptionLocationFunctionName().View()), "Worker::Fail");
        EXPECT_THAT(Narrow(rException.GetExceptionLocationFileName().View()), HasSubstr("RaiseMacrosTest.cpp"));
        EXPECT_EQ(rException.GetExceptionLocationLineNumber(), sink.Reports()[0].dwLine);
        EXPECT_EQ(rException.GetExecutionContextStack().GetDepth(), 1u);
    }
    EXPECT_TRUE(sink.Reports()[0].fError);
    EXPECT_EQ(sink.Reports()[0].categories, DebugCategory::Errors | DebugCategory::ErrInfra);
    try {
        VLM_THROW_WITH(VelomComException, HRESULT{-5}, VTEXT("no object"));
        ADD_FAILURE() << "nothing was thrown";
    } catch (const VelomComException& rException) {
        EXPECT_EQ(rException.GetHresult(), -5);
    }
    EXPECT_THAT(sink.Texts(), ElementsAre("*Throwing* ExceptionFeatureNotFound: No feature 7",
                                          "*Throwing* VelomComException: no object"));
}

TEST(Assert, ReportsTheConditionInItsFrameAndGoesOn) {
    RecordingSink sink;
    EXPECT_TRUE(Worker::Check(0));
    EXPECT_THAT(sink.Texts(), IsEmpty());
    EXPECT_FALSE(Worker::Check(-3));
    ASSERT_EQ(sink.Reports().size(), 1u);
    const RecordingSink::Report report = sink.Reports()[0];
    EXPECT_TRUE(report.fError);
    EXPECT_EQ(report.categories, DebugCategory::Errors);
    EXPECT_EQ(report.method, "VelomException::ProcessFailedAssertion");
    EXPECT_THAT(report.text,
                StartsWith("\n\n\n>========================= Failed Assertion ============================<"
                           "Failed Condition:\t(iCount >= 0)\r\n\r\nPath:\t"));
    EXPECT_THAT(report.text, HasSubstr("Method:\tWorker::Check()\r\n"));
    EXPECT_THAT(report.text,
                EndsWith("\r\nDetails:\r\n\tCount is -3\r\n"
                         "\n>========================= End, Failed Assertion =======================<\n\n\n"));
    VLM_ASSERT(sink.Reports().empty());
    EXPECT_EQ(sink.Count("Failed Condition:\t(sink.Reports().empty())\r\n"), 1u);
}

TEST(Assert, InsideTheReportOfAnotherIsDroppedAndAsksForABreakWhenTheSinkWantsOne) {
    RecordingSink sink;
    sink.onWrite = [] { Worker::Check(-1); };
    Worker::Check(-2);
    EXPECT_THAT(sink.Texts(), ElementsAre(HasSubstr("Count is -2")));
    Worker::Check(-4);
    EXPECT_EQ(sink.Count("Count is -4"), 1u) << "the guard must open again";
    for (const bool fBreak : {false, true}) {
        sink.fWantsBreak = fBreak;
        EXPECT_EQ(VelomException::ProcessFailedAssertion(VTEXT("(x)"), VTEXT("f"), VTEXT("m"), 1, CXString(), nullptr,
                                                         DebugCategory::Errors),
                  fBreak);
    }
}

TEST(CrtReportHook, MakesAFailedAssertionOfEachReportAndLeavesNothingToTheRuntime) {
    const RecordingSink sink;
    const char* const apszNames[] = {"_CRT_WARN", "_CRT_ERROR", "_CRT_ASSERT", "<Unknown!>"};
    for (int iType = 0; iType < 4; ++iType) {
        int iBreak = 1;
        char achMessage[] = "heap is corrupt";
        EXPECT_EQ(VelomException::VelomCrtDbgReportHook(iType, achMessage, &iBreak), 1);
        EXPECT_EQ(iBreak, 0);
        EXPECT_THAT(sink.Texts().back(), AllOf(HasSubstr("Method:\tVelomException::VelomCrtDbgReportHook()"),
                                               HasSubstr(apszNames[iType] + std::string(")\r\nheap is corrupt"))));
    }
    EXPECT_EQ(sink.Count("Missing case in reportType switch statement for 3"), 1u);
    EXPECT_EQ(sink.Texts().size(), 5u);
    EXPECT_EQ(VelomException::VelomCrtDbgReportHook(0, nullptr, nullptr), 1);
}

struct Widget {
    std::string operator()(int) const {
        return [] { return Narrow(VLM_HERE.pszMethod); }();
    }
};

TEST(SourcePosition, NamesClassAndMethodFromTheTextsOfBothCompilers) {
    const struct {
        const char* pszFunction;
        const char* pszExpected;
    } aoRows[] = {
        {"void RegistryKey::GetValue(int) const", "RegistryKey::GetValue"},
        {"static bool vlm::host::Store::Open(const char16_t*, std::function<void(int)>)", "Store::Open"},
        {"int {anonymous}::Helper(int (*)(int))", "Helper"},
        {"CXString::CXString(const CXString&)", "CXString::CXString"},
        {"bool X::operator<(int) const", "X::operator<"},
        {"X::operator const char16_t*() const", "X::operator const char16_t*"},
        {"void List<T, C>::reset() [with T = int; C = A::B]", "List<T, C>::reset"},
        {"void A::Do(int)::<lambda(int)>", "A::Do"},
        {"auto A::Do(int)::(anonymous class)::operator()(int) const", "A::Do"},
        {"", ""},
    };
    for (const auto& rRow : aoRows)
        EXPECT_EQ(vlm::detail::QualifiedName(rRow.pszFunction), rRow.pszExpected);
    EXPECT_EQ(Widget()(1), "Widget::operator()") << "the method around the lambda";
}

TEST(NoThrow, ReportsWhatItSwallowedAndALackOfMemoryBecomesOurs) {
    const RecordingSink sink;
    EXPECT_EQ(vlm::NoThrow([] { return 5; }, 0), 5);
    EXPECT_TRUE(vlm::NoThrow([] {}));
    EXPECT_EQ(vlm::NoThrow([]() -> int { throw std::out_of_range("too far"); }, -1), -1);
    EXPECT_FALSE(vlm::NoThrow([] { throw 3; }));
    EXPECT_THAT(sink.Texts(),
                ElementsAre(HasSubstr("Object of std::out_of_range\r\n\r\n\ttoo far\r\n"), HasSubstr("unknown class")));
    EXPECT_EQ(vlm::TranslateOutOfMemory([] { return 5; }), 5);
    EXPECT_THROW(vlm::TranslateOutOfMemory([] { throw std::bad_alloc(); }), ExceptionOutOfMemory);
    EXPECT_THROW(vlm::TranslateOutOfMemory([] { std::vector<int>().reserve(SIZE_MAX); }), ExceptionOutOfMemory);
    EXPECT_THROW(vlm::TranslateOutOfMemory([] { throw std::out_of_range("x"); }), std::out_of_range);
    EXPECT_EQ(sink.Count("*Throwing* ExceptionOutOfMemory: There is not enough memory."), 2u);
    EXPECT_EQ(sink.Reports().back().method, "MemoryPool::RaiseOutOfMemory");
}

}  // namespace
