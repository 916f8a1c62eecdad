/// @file
/// Reporting, throwing and asserting.
#include "utilities/debuggingandexceptions/RaiseMacros.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"

namespace {

using ::testing::ElementsAre;
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

constexpr const char* EMPTY_RESULT =
    "A message argument was supplied, but the resulting string is empty. The format string and variable argument list "
    "for this message causes a crash. Perhaps there's an argument mismatch or one of the arguments is a NULL pointer. "
    "Look at the message arguments at the file and line number indicated above.";

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
    {
        const RecordingSink sink(DebugCategory::Perf);
        Worker::Report(iCalls);
        EXPECT_THAT(sink.Texts(), IsEmpty());
    }
    EXPECT_EQ(iCalls, 0);

    const RecordingSink sink(DebugCategory::Utils);
    Worker::Report(iCalls);
    ASSERT_THAT(sink.Texts(), ElementsAre("call 1 of worker"));
    const RecordingSink::Report report = sink.Reports()[0];
    EXPECT_FALSE(report.fError);
    EXPECT_EQ(report.categories, DebugCategory::Registry | DebugCategory::Utils);
    EXPECT_EQ(report.method, "Worker::Report");
    EXPECT_THAT(report.file, HasSubstr("RaiseMacrosTest.cpp"));
}

TEST(Report, AnErrorCarriesTheErrorCategory) {
    const RecordingSink sink;
    VLM_REPORT_ERROR(DebugCategory::Compress, VTEXT("plain"));
    ASSERT_EQ(sink.Reports().size(), 1u);
    EXPECT_TRUE(sink.Reports()[0].fError);
    EXPECT_EQ(sink.Reports()[0].categories, DebugCategory::Errors | DebugCategory::Compress);
}

TEST(Report, ReplacesAWorthlessTextByADiagnosis) {
    const RecordingSink sink;
    const CXString csEmpty;
    VLM_REPORT(DebugCategory::Utils, VTEXT("%s"), csEmpty);
    VLM_REPORT(DebugCategory::Utils, VTEXT("%d and %d"), 1);
    VLM_REPORT(DebugCategory::Utils, VTEXT("%s"), static_cast<const XCHAR*>(nullptr));
    VLM_REPORT(DebugCategory::Utils, VTEXT("value %d"), Explode());
    VLM_REPORT(DebugCategory::Utils, VTEXT(""));
    const std::vector<std::string> texts = sink.Texts();
    ASSERT_EQ(texts.size(), 5u);
    const std::string intended = std::string(" The format string arguments for the intended error message:\r\n\r\n");
    EXPECT_EQ(texts[0], EMPTY_RESULT + intended + "VTEXT(\"%s\"), csEmpty");
    EXPECT_THAT(texts[1], StartsWith(EMPTY_RESULT + intended + "VTEXT(\"%d and %d\"), 1\r\n1 and "));
    EXPECT_EQ(texts[2], "(null)");
    EXPECT_THAT(texts[3],
                HasSubstr("The argument list for this message causes a crash. Some code that executes to marshal "
                          "the arguments to pass to the format string method causes a crash (e.g., a NULL "
                          "pointer indirection). Look at the message arguments at the file and line number "
                          "indicated above. The format string arguments"));
    EXPECT_THAT(texts[3], HasSubstr("Explode()"));
    EXPECT_EQ(texts[4], "");
}

TEST(Throw, ReportsOnceThenThrowsWithPlaceMessageAndContexts) {
    const RecordingSink sink;
    const ExecutionContextLifetime lifetime(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE, VTEXT("in the test")));
    try {
        Worker::Fail();
        FAIL() << "nothing was thrown";
    } catch (const ExceptionFeatureNotFound& rException) {
        EXPECT_EQ(Narrow(rException.GetExceptionMesage().View()), "No feature 7");
        EXPECT_EQ(Narrow(rException.GetExceptionLocationFunctionName().View()), "Worker::Fail");
        EXPECT_THAT(Narrow(rException.GetExceptionLocationFileName().View()), HasSubstr("RaiseMacrosTest.cpp"));
        EXPECT_EQ(rException.GetExceptionLocationLineNumber(), sink.Reports()[0].dwLine);
        EXPECT_EQ(rException.GetExecutionContextStack().GetDepth(), 1u);
    }
    EXPECT_THAT(sink.Texts(), ElementsAre("*Throwing* ExceptionFeatureNotFound: No feature 7"));
    EXPECT_TRUE(sink.Reports()[0].fError);
    EXPECT_EQ(sink.Reports()[0].categories, DebugCategory::Errors | DebugCategory::ErrInfra);
}

TEST(Throw, CarriesTheExtraDataOfTheClassThatHasSome) {
    try {
        VLM_THROW_WITH(VelomComException, static_cast<HRESULT>(-2147467259), VTEXT("no object"));
    } catch (const VelomComException& rException) {
        EXPECT_EQ(rException.GetHresult(), static_cast<HRESULT>(-2147467259));
        return;
    }
    FAIL() << "nothing was thrown";
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
    EXPECT_THAT(report.text, ::testing::EndsWith(
                                 "\r\nDetails:\r\n\tCount is -3\r\n"
                                 "\n>========================= End, Failed Assertion =======================<\n\n\n"));
    VLM_ASSERT(sink.Reports().empty());
    EXPECT_EQ(sink.Count("(sink.Reports().empty())"), 1u);
}

TEST(Assert, InsideTheReportOfAnotherIsDropped) {
    RecordingSink sink;
    sink.onWrite = [] { Worker::Check(-1); };
    Worker::Check(-2);
    EXPECT_THAT(sink.Texts(), ElementsAre(HasSubstr("Count is -2")));
    Worker::Check(-4);
    EXPECT_EQ(sink.Count("Count is -4"), 1u) << "the guard must open again";
}

TEST(Assert, AsksForABreakOnlyWhenTheSinkWantsOne) {
    const auto process = [] {
        return VelomException::ProcessFailedAssertion(VTEXT("(x)"), VTEXT("f"), VTEXT("m"), 1, CXString(), nullptr,
                                                      DebugCategory::Errors);
    };
    EXPECT_FALSE(process());
    RecordingSink sink(DebugCategory::Perf);
    EXPECT_FALSE(process());
    sink.fWantsBreak = true;
    EXPECT_TRUE(process());
    EXPECT_THAT(sink.Texts(), IsEmpty()) << "the categories are not allowed";
}

}  // namespace
