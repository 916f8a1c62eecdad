/// @file
/// Raising, describing and noting contexts with every request for memory and to the system failing.
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <thread>

#include "support/FaultLoop.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/BasicConstraintExecutionContext.h"
#include "utilities/debuggingandexceptions/ConstraintExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/VelomComException.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"
#include "utilities/xmlparser/JotfParseException.h"

namespace vlm::test {
namespace {

using Storage = UtilitiesDllPerThreadStorage;

const CXString gcsLong(VTEXT('m'), 2000), gcsShort(VTEXT("in the test"));
CXString gcsLocked(VTEXT("copies of it take memory"));
/// Whether all that holds whatever fails has held so far.
bool gfKept = true;
void Keep(bool fHolds) {
    gfKept = gfKept && fHolds;
}

struct Detach {
    ~Detach() { Storage::CleanUpDueToThreadDetach(false); }
};

/// Never a third kind of failure: what the body is for, or the exception that says that there is no memory.
std::function<FaultOutcome()> Try(void (*pfnBody)()) {
    return [=] {
        const Detach oDetach;
        return Attempt<ExceptionOutOfMemory>(pfnBody);
    };
}

class FailureFaults : public testing::Test {
protected:
    FailureFaults() {
        gfKept = true;
        gcsLocked.LockBuffer();
        Storage::CleanUpDueToThreadDetach(false);
    }
    ~FailureFaults() override { EXPECT_TRUE(gfKept); }

    const RecordingSink oSink{DebugCategory::Errors};
};

TEST_F(FailureFaults, RaisingNeverGivesAThirdKindOfFailure) {
    const FaultRow ROWS[] = {
        {"throw in a context", Try([] {
             const ExecutionContextLifetime lifetime(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE, gcsLong));
             Storage::SetSlot(PTS_PROPERTY_BAG, nullptr, nullptr);
             try {
                 VLM_THROW(ExceptionReadFile, VTEXT("%s"), gcsLong);
             } catch (const ExceptionFile& rException) {
                 Keep(rException.what() != nullptr);
                 rException.Dump();
                 rException.GetExceptionIdentifierForUserDisplay();
             }
         })},
        {"report", Try([] {
             VLM_ASSERT(gcsLong.IsEmpty(), VTEXT("%s"), gcsLong);
             VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("%d and %d"), 1);
             WriteReport(false, DebugCategory::Utils, VLM_HERE, gcsLocked);
             char achMessage[] = "heap is corrupt";
             int iBreak = 1;
             Keep(VelomException::VelomCrtDbgReportHook(3, achMessage, &iBreak) == 1 && iBreak == 0);
         })},
        {"swallow", Try([] { Keep(!NoThrow([] { VLM_THROW(ExceptionFile, VTEXT("%s"), gcsLong); })); })},
        {"the system's lack of memory", Try([] {
             try {
                 TranslateOutOfMemory([] { throw std::bad_alloc(); });
             } catch (const ExceptionOutOfMemory&) {  // which it is to be, if there is memory for it
             }
         })},
        {"additional description", Try([] {
             const VelomComException com = GetVelomComException(gcsLong, gcsLong, 3, gcsLong, nullptr, 5);
             VelomComException::GetAdditionalExceptionDescription(&com);
         })},
    };
    RunFaultRows(ROWS);
}

// ---- every class of exceptions ----

const ExecutionContextStack* gpStack = nullptr;

/// Without memory for the contexts they are left out; everything else is always there.
bool IsWhole(const VelomException& rException, DWORD dwLine) {
    return rException.GetExceptionLocationLineNumber() == dwLine && rException.GetExceptionMesage() == gcsLong &&
           rException.GetExecutionContextStack().GetDepth() <= gpStack->GetDepth();
}

template <class Exception, Exception (*pfnMake)(int)>
FaultOutcome MakeCopyAndAssign() {
    const Exception oMade = pfnMake(1);
    const Exception oCopy(oMade);
    Exception oAssigned = pfnMake(2);
    Keep(IsWhole(oMade, 1) && IsWhole(oCopy, 1) && IsWhole(oAssigned, 2));
    const FaultOutcome eAssigned = Attempt<ExceptionOutOfMemory>([&] { oAssigned = oMade; });
    Keep(IsWhole(oAssigned, eAssigned == FaultOutcome::Succeeded ? 1 : 2));
    const FaultOutcome eNumbered = Attempt<ExceptionOutOfMemory>([&] { oCopy.GetExceptionTypeByNumericCode(); });
    return eAssigned == FaultOutcome::Succeeded ? eNumbered : eAssigned;
}

template <class Exception, auto pfnGet, auto... Extra>
Exception Make(int iLine) {
    return pfnGet(gcsLong, gcsLong, iLine, gcsLong, gpStack, Extra...);
}

TEST_F(FailureFaults, ExceptionsAreMadeAndCopiedWithoutMemory) {
    ExecutionContextStack oStack;
    oStack.PushContext(ExecutionContextPointer(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE)));
    gpStack = &oStack;
    const FaultRow ROWS[] = {
#define VLM_EXCEPTION(name, base, code) {#name, &MakeCopyAndAssign<name, &Make<name, &Get##name>>},
#include "utilities/debuggingandexceptions/VelomExceptionList.inl"
#undef VLM_EXCEPTION
        {"COM", &MakeCopyAndAssign<VelomComException, &Make<VelomComException, &GetVelomComException, HRESULT{5}>>},
        {"JOTF",
         &MakeCopyAndAssign<JotfParseException,
                            &Make<JotfParseException, &GetJotfParseException, JotfParseException::ExceptionCode{}>>},
    };
    FaultLoop oLoop;
    oLoop.vModes = {};  // nothing is asked of the system
    RunFaultRows(ROWS, oLoop);
}

// ---- contexts, of both families ----

/// Opens and closes contexts in and out of order.  Whatever fails, nothing stays open.
template <class Context, class Lifetime, class Stack, class Pointer, auto eContext>
FaultOutcome UseContexts() {
    using Id = decltype(eContext);
    const Detach oDetach;
    Stack oStack;
    const FaultOutcome eOutcome = Attempt<ExceptionOutOfMemory>([&] {
        const Context oContext(eContext, gcsShort, gcsShort, 42, false, gcsShort);
        const Context oUnnamed(static_cast<Id>(-2), gcsShort, gcsShort, 42, false, gcsShort);
        const Lifetime oOuter(oContext.Clone(), oStack);
        std::optional<Lifetime> oOfThread(std::in_place, oContext.Clone());
        const Stack oCopy(oStack);
        oCopy.GetMultiLineDisplayString(true);
        oCopy.GetMostRecentContextDisplayString(true);
        const Pointer shpoOther(oContext.Clone());
        oStack.PopContext(shpoOther);  // a report, and the outer one goes
    });
    Keep(oStack.IsEmpty());
    return eOutcome;
}

TEST_F(FailureFaults, ContextsEndWhateverFails) {
    const FaultRow ROWS[] = {
        {"execution contexts", &UseContexts<BasicExecutionContext, ExecutionContextLifetime, ExecutionContextStack,
                                            ExecutionContextPointer, ECIE_IMPORT_JCAP>},
        {"constraint execution contexts",
         &UseContexts<BasicConstraintExecutionContext, ConstraintExecutionContextLifetime,
                      ConstraintExecutionContextStack, ConstraintExecutionContextPointer,
                      CECIE_ADD_DI_LABEL_CONSTRAINTS>},
    };
    RunFaultRows(ROWS);
}

TEST_F(FailureFaults, AThreadsObjectsAreThereAndGoWhateverFails) {
    static int siAlive = 0;
    FaultLoop oLoop;
    oLoop.fnRun = [] {
        struct Unload {
            ~Unload() { Storage::CleanUpDueToProcessDetach(); }
        };
        const Unload oUnload;
        const bool fInitialized = Storage::InitializeDueToProcessAttach();
        Keep(Storage::GetExecutionContextStack().IsEmpty());
        Keep(Storage::GetConstraintExecutionContextStack().IsEmpty());
        const auto destroy = [](void*) {
            --siAlive;
            VLM_REPORT_ERROR(DebugCategory::Thread, VTEXT("%s"), gcsLong);
        };
        const bool fSet = Storage::SetSlot(PTS_PROPERTY_BAG, &siAlive, destroy);
        if (fSet) ++siAlive;
        Keep(Storage::GetSlot(PTS_PROPERTY_BAG) == (fSet ? &siAlive : nullptr));
        Storage::CleanUpDueToThreadDetach(false);
        Keep(siAlive == 0 && Storage::GetAllocatedObjectCount() == 0);
        return fInitialized && fSet ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    Storage::CleanUpDueToProcessDetach();
    EXPECT_GT(RunFaultLoop(oLoop).ullFaults, 5u);
    Storage::InitializeDueToProcessAttach();
}

TEST_F(FailureFaults, AThreadsEndNeedsNoMemory) {
    static int siDestroyed = 0;
    std::thread([] {
        Storage::SetSlot(PTS_PROPERTY_BAG, &siDestroyed, [](void*) {
            ++siDestroyed;
            const AllocationFaults oNoMemory(1, true);
            VLM_REPORT_ERROR(DebugCategory::Thread, VTEXT("%s"), gcsLong);
        });
    }).join();
    Storage::CleanUpDueToProcessDetach();  // where the system does not tell when a thread ends
    EXPECT_EQ(siDestroyed, 1);
    Storage::InitializeDueToProcessAttach();
}

}  // namespace
}  // namespace vlm::test
