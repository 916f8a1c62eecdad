/// @file
/// Where exceptions end, and what a lack of memory becomes.
#include "utilities/debuggingandexceptions/NoThrow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/FaultLoop.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/VelomComException.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"
#include "utilities/xmlparser/JotfParseException.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using vlm::test::Narrow;
using vlm::test::RecordingSink;

TEST(NoThrow, AnswersTheBodysAnswerOrTheNeutralOneAndReportsWhatItSwallowed) {
    const RecordingSink sink;
    EXPECT_EQ(vlm::NoThrow([] { return 5; }, 0), 5);
    bool fRan = false;
    EXPECT_TRUE(vlm::NoThrow([&] { fRan = true; }));
    EXPECT_TRUE(fRan);
    EXPECT_THAT(sink.Texts(), IsEmpty());

    EXPECT_EQ(vlm::NoThrow([]() -> int { throw std::out_of_range("too far"); }, -1), -1);
    EXPECT_FALSE(vlm::NoThrow([] { throw 3; }));
    EXPECT_THAT(sink.Texts(),
                ElementsAre(HasSubstr("Object of std::out_of_range\r\n\r\n\ttoo far\r\n"), HasSubstr("unknown class")));
    EXPECT_TRUE(sink.Reports()[0].fError);
}

TEST(TranslateOutOfMemory, TurnsTheStandardLibrarysLackOfMemoryIntoOurs) {
    const RecordingSink sink;
    EXPECT_EQ(vlm::TranslateOutOfMemory([] { return 5; }), 5);
    EXPECT_THROW(vlm::TranslateOutOfMemory([] { throw std::bad_alloc(); }), ExceptionOutOfMemory);
    EXPECT_THROW(vlm::TranslateOutOfMemory([] { std::vector<int>().reserve(SIZE_MAX); }), ExceptionOutOfMemory);
    EXPECT_THROW(vlm::TranslateOutOfMemory([] { throw std::out_of_range("x"); }), std::out_of_range);
    EXPECT_EQ(sink.Count("*Throwing* ExceptionOutOfMemory: There is not enough memory."), 2u);
}

TEST(OutOfMemory, OfTheStringsIsOurExceptionWithItsPlaceAndText) {
    try {
        const CXString csLong(VTEXT('x'), 100000);
        const vlm::test::AllocationFaults oFaults(1);
        const CXString csJoined = csLong + csLong;
        EXPECT_FALSE(vlm::test::AllocationFaults::IN_FORCE) << "there was memory";
    } catch (const ExceptionOutOfMemory& rException) {
        EXPECT_EQ(Narrow(rException.GetExceptionMesage().View()), "There is not enough memory.");
        EXPECT_EQ(Narrow(rException.GetExceptionLocationFunctionName().View()), "MemoryPool::RaiseOutOfMemory");
    }
}

// Raising, reporting and describing with every request to the system failing: the exception asked for, or the one that
// says why not; never a third kind, and never the end of the process.
TEST(OutOfMemory, WhileRaisingNeverGivesAThirdKindOfFailure) {
    using vlm::test::Attempt;
    using vlm::test::FaultOutcome;
    static const CXString kcsLong(VTEXT('m'), 2000);
    const RecordingSink sink;
    const auto attempt = [](void (*pfnBody)()) { return [=] { return Attempt<ExceptionOutOfMemory>(pfnBody); }; };
    static const auto catchFile = [](const auto& body) {
        try {
            body();
        } catch (const ExceptionFile& rException) {
            static_cast<void>(rException.what());
            VelomException::GetExceptionDescription(rException);
            rException.GetExceptionIdentifierForUserDisplay();
        }
    };
    const vlm::test::FaultRow ROWS[] = {
        {"throw", attempt([] { catchFile([] { VLM_THROW(ExceptionFile, VTEXT("%s and %s"), kcsLong, kcsLong); }); })},
        {"throw in a context", attempt([] {
             catchFile([] {
                 const ExecutionContextLifetime lifetime(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE, kcsLong));
                 VLM_THROW(ExceptionReadFile, VTEXT("%s"), kcsLong);
             });
         })},
        {"assert", attempt([] { VLM_ASSERT(kcsLong.IsEmpty(), VTEXT("%s"), kcsLong); })},
        {"report", attempt([] {
             VLM_REPORT(DebugCategory::Utils, VTEXT("%s"), kcsLong);
             VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("%d and %d"), 1);
         })},
        {"swallow", attempt([] { vlm::NoThrow([] { VLM_THROW(ExceptionFile, VTEXT("%s"), kcsLong); }); })},
        {"the system's lack of memory", attempt([] {
             try {
                 vlm::TranslateOutOfMemory([] { throw std::bad_alloc(); });
             } catch (const ExceptionOutOfMemory&) {  // which it is to be, if there is memory for it
             }
         })},
        {"stack", attempt([] {
             ExecutionContextStack stack;
             const ExecutionContextPointer shpoContext(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE, kcsLong));
             stack.PushContext(shpoContext);
             const ExecutionContextStack copy(stack);
             copy.GetMultiLineDisplayString(true);
             copy.GetMostRecentContextDisplayString(true);
             stack.PopContext(shpoContext);
             stack.PopContext(shpoContext);
             shpoContext->Clone();
         })},
        {"dynamic and bad ids", attempt([] {
             ExecutionContextBase::GetDebugDisplayString(static_cast<ExecutionContextIdType>(500), true);
             ExecutionContextBase::GetDebugDisplayString(static_cast<ExecutionContextIdType>(-2), true);
             ExecutionContextBase::AssertValidContextIdType(ECIE_NO_MORE_ENUMS);
         })},
        {"COM", attempt([] {
             const VelomComException exception =
                 GetVelomComException(CXString(), CXString(), 3, CXString(), nullptr, 5);
             VelomComException::GetAdditionalExceptionDescription(&exception);
             GetJotfParseException(CXString(), CXString(), 1, CXString(), nullptr,
                                   static_cast<JotfParseException::ExceptionCode>(10))
                 .GetExceptionTypeByNumericCode();
         })},
    };
    UtilitiesDllPerThreadStorage::GetExecutionContextStack();  // made once for the thread
    RunFaultRows(ROWS);
    UtilitiesDllPerThreadStorage::CleanUpDueToThreadDetach(false);
    const vlm::test::FaultRow STORAGE[] = {
        {"a thread's storage", attempt([] {
             const struct Detach {
                 ~Detach() { UtilitiesDllPerThreadStorage::CleanUpDueToThreadDetach(false); }
             } oDetach;
             const ExecutionContextLifetime lifetime(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE));
             UtilitiesDllPerThreadStorage::SetSlot(PTS_PROPERTY_BAG, nullptr, nullptr);
         })},
    };
    RunFaultRows(STORAGE);
}

}  // namespace
