/// @file
/// Constraint execution contexts: displays, stacks, and that they keep apart from the general ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/ConstraintExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/detail/failure/ContextIdNames.h"
#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using vlm::test::Narrow;
using vlm::test::RecordingSink;

using Context = BasicConstraintExecutionContext;

Context Make(ConstraintExecutionContextIdType eContext, const XCHAR* pszMessage = VTEXT(""), bool fEmbedded = false) {
    return Context(eContext, VTEXT("c:\\a.cpp"), VTEXT("A::B"), 42, fEmbedded, pszMessage);
}

ConstraintExecutionContextPointer Share(const Context& rContext) {
    return ConstraintExecutionContextPointer(rContext.Clone());
}

TEST(ConstraintExecutionContext, ShowsNameMessageAndLocation) {
    const struct {
        Context oContext;
        const char* pszAlone;
        const char* pszWithLocation;
    } aoRows[] = {
        {Make(CECIE_ADD_UI_OFFICE_CONSTRAINTS), "CECIE_ADD_UI_OFFICE_CONSTRAINTS",
         "CECIE_ADD_UI_OFFICE_CONSTRAINTS (A::B line 42)"},
        {Make(CECIE_ADD_DI_LABEL_CONSTRAINTS, VTEXT("m")), "CECIE_ADD_DI_LABEL_CONSTRAINTS (m)",
         "CECIE_ADD_DI_LABEL_CONSTRAINTS: m (A::B line 42)"},
        {Make(CECIE_ADD_DI_LABEL_CONSTRAINTS, VTEXT("m at 42"), true), "CECIE_ADD_DI_LABEL_CONSTRAINTS (m at 42)",
         "CECIE_ADD_DI_LABEL_CONSTRAINTS (m at 42)"},
        {Context(CECIE_ADD_DI_COMMON_CONSTRAINTS, VTEXT("m")), "CECIE_ADD_DI_COMMON_CONSTRAINTS (m)",
         "CECIE_ADD_DI_COMMON_CONSTRAINTS (m)"},
        {Make(CECIE_NOT_SPECIFIED, VTEXT("why")), "CECIE_NOT_SPECIFIED (::COMMENT:: why)",
         "CECIE_NOT_SPECIFIED: ::COMMENT:: why (A::B line 42)"},
        {Make(static_cast<ConstraintExecutionContextIdType>(500)), "Dynamic context 500",
         "Dynamic context 500 (A::B line 42)"},
    };
    for (const auto& rRow : aoRows) {
        EXPECT_EQ(Narrow(rRow.oContext.GetContextAndMessage().View()), rRow.pszAlone);
        EXPECT_EQ(Narrow(rRow.oContext.GetContextDebugDisplayString(false).View()), rRow.pszAlone);
        EXPECT_EQ(Narrow(rRow.oContext.GetContextDebugDisplayString(true).View()), rRow.pszWithLocation);
    }
    EXPECT_TRUE(Make(CECIE_NOT_SPECIFIED, VTEXT("m")) < Make(CECIE_ADD_DI_COMMON_CONSTRAINTS));
    EXPECT_TRUE(*Share(Make(CECIE_NOT_SPECIFIED, VTEXT("m"))) == Make(CECIE_NOT_SPECIFIED, VTEXT("m")));
}

TEST(ConstraintExecutionContextId, IsNamedAndCheckedInItsOwnWords) {
    EXPECT_EQ(static_cast<int>(CECIE_NO_MORE_ENUMS), 13);
    EXPECT_EQ(Narrow(Context::GetDebugDisplayString(CECIE_ADD_UI_LABEL_CONSTRAINTS, true).View()),
              "CECIE_ADD_UI_LABEL_CONSTRAINTS (12)");
    const RecordingSink sink;
    EXPECT_EQ(Narrow(Context::GetDebugDisplayString(static_cast<ConstraintExecutionContextIdType>(-2), false).View()),
              "<Unknown context -2>");
    EXPECT_TRUE(Context::AssertValidContextIdType(CECIE_ADD_UI_LABEL_CONSTRAINTS));
    EXPECT_FALSE(Context::AssertValidContextIdType(CECIE_NO_MORE_ENUMS));
    EXPECT_THAT(
        sink.Texts(),
        ElementsAre(
            "The specified ConstraintExecutionContextIdType, -2 (0xfffffffe), is not a dynamically-generated "
            "ConstraintExecutionContextIdType, yet it does not have an enum-to-string mapping defined for it. Did you "
            "use the X_DEFINE_ENUM_IM() or X_DEFINE_ENUM_EX() macro to define it?",
            AllOf(HasSubstr("((eContext >= CECIE_NOT_SPECIFIED) && (eContext < CECIE_NO_MORE_ENUMS))\r\n"),
                  HasSubstr("Invalid ConstraintExecutionContextIdType of 13 (0xd). Legal values are between 0 and 12, "
                            "inclusive"))));
}

TEST(ContextIdNames, FillsOnceAndReportsWhatDoesNotFit) {
    using Names = vlm::ContextIdNames<ConstraintExecutionContextIdType, 3>;
    constexpr Names::Entries ENTRIES{{{CECIE_NOT_SPECIFIED, VTEXT("a")},
                                      {CECIE_NOT_SPECIFIED, VTEXT("b")},
                                      {static_cast<ConstraintExecutionContextIdType>(3), VTEXT("c")}}};
    Names names;
    CriticalResource lock;
    const RecordingSink sink(DebugCategory::Errors);
    EXPECT_TRUE(names.Populate(ENTRIES, lock));
    EXPECT_FALSE(names.Populate(ENTRIES, lock));
    EXPECT_THAT(sink.Texts(),
                ElementsAre(AllOf(HasSubstr("Failed Condition:\t(fSuccess)\r\n"),
                                  HasSubstr("Failed to add an entry into the String Map for the enum value 0, 'b'. The "
                                            "numeric values need to be unique!")),
                            HasSubstr("the enum value 3, 'c'.")));
    EXPECT_EQ(Narrow(names.GetDisplayString(CECIE_NOT_SPECIFIED, false, [] {}).View()), "a");
}

TEST(ConstraintExecutionContextStack, ShowsItsContextsAndTheInnermostId) {
    const RecordingSink sink(DebugCategory::ConstraintExecutionContext);
    ConstraintExecutionContextStack stack;
    EXPECT_EQ(Narrow(stack.GetMultiLineDisplayString(true).View()), "<No Context>");
    EXPECT_EQ(Narrow(stack.GetMostRecentContextDisplayString(true).View()), "<No Context>");
    EXPECT_EQ(Narrow(stack.GetStackString().View()), "<No Context>");
    EXPECT_EQ(stack.GetMostRecentContext(), CECIE_NOT_SPECIFIED);

    stack.PushContext(Share(Make(CECIE_ADD_DI_COMMON_CONSTRAINTS, VTEXT("one\r\ntwo\nthree"))));
    stack.PushContext(Share(Make(CECIE_ADD_UI_DESKTOP_CONSTRAINTS)));
    EXPECT_THAT(sink.Texts(), Contains("New Context: CECIE_ADD_UI_DESKTOP_CONSTRAINTS (A::B line 42)"));
    EXPECT_EQ(stack.GetMostRecentContext(), CECIE_ADD_UI_DESKTOP_CONSTRAINTS);
    EXPECT_EQ(Narrow(stack.GetMostRecentContextDisplayString(false).View()), "CECIE_ADD_UI_DESKTOP_CONSTRAINTS");
    EXPECT_EQ(Narrow(stack.GetStackString().View()),
              "CECIE_ADD_DI_COMMON_CONSTRAINTS (one\r\ntwo\nthree) > CECIE_ADD_UI_DESKTOP_CONSTRAINTS");
    EXPECT_THAT(
        Narrow(stack.GetMultiLineDisplayString(true).View()),
        MatchesRegex("Constraint Execution context \\(Process=test_failure.*, Thread=0x\\w+\\) \\(2 levels deep\\):\r\n"
                     "  CECIE_ADD_DI_COMMON_CONSTRAINTS: one\r\n\t\t\t\t  two\r\n\t\t\t\t  three \\(A::B line 42\\)\r\n"
                     "    CECIE_ADD_UI_DESKTOP_CONSTRAINTS \\(A::B line 42\\)\r\n"));
}

TEST(ConstraintExecutionContextStack, ReportsPopsThatDoNotFitAndGoesOn) {
    const RecordingSink sink(DebugCategory::Errors);
    ConstraintExecutionContextStack stack;
    const ConstraintExecutionContextPointer shpoFirst = Share(Make(CECIE_ADD_DI_COMMON_CONSTRAINTS));
    stack.PopContext(shpoFirst);
    stack.PushContext(shpoFirst);
    stack.PushContext(Share(Make(CECIE_ADD_UI_DESKTOP_CONSTRAINTS)));
    stack.PopContext(shpoFirst);
    EXPECT_EQ(stack.GetDepth(), 1u);
    stack.PushContext(nullptr);
    stack.PopContext(shpoFirst);
    EXPECT_TRUE(stack.IsEmpty());
    EXPECT_THAT(
        sink.Texts(),
        ElementsAre(
            AllOf(HasSubstr("Failed Condition:\t(!m_vshpoConstraintExecutionContextStack.empty())\r\n"),
                  HasSubstr("The stack of constraint execution contexts is empty! Cannot pop this context: "
                            "CECIE_ADD_DI_COMMON_CONSTRAINTS (A::B line 42)")),
            AllOf(HasSubstr("Failed Condition:\t(m_vshpoConstraintExecutionContextStack.back().get() == "
                            "shpoConstraintExecutionContextBase.get())\r\n"),
                  HasSubstr("Expected to pop this context, 'CECIE_ADD_DI_COMMON_CONSTRAINTS (A::B line 42)', but this "
                            "one is on top of the stack, 'CECIE_ADD_UI_DESKTOP_CONSTRAINTS (A::B line 42)'! There's "
                            "a problem with the order in which contexts are ending. We'll pop the last item for now, "
                            "but somebody needs to fix this.")),
            HasSubstr("A null constraint execution context cannot be pushed.")));
}

TEST(ConstraintExecutionContextLifetime, ServesTheThreadsOwnStack) {
    using Storage = UtilitiesDllPerThreadStorage;
    const RecordingSink sink(DebugCategory::Errors);
    const std::size_t cGeneral = Storage::GetExecutionContextStack().GetDepth();
    Storage::GetConstraintExecutionContextStack();  // its memory stays with the thread
    const auto push = [] { return std::make_unique<Context>(CECIE_ADD_DI_COMMON_CONSTRAINTS, VTEXT("m")); };
    { const ConstraintExecutionContextLifetime warmUp(push()); }
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    {
        const ConstraintExecutionContextLifetime outer(push());
        const ConstraintExecutionContextLifetime inner(push());
        EXPECT_EQ(Storage::GetConstraintExecutionContextStack().GetDepth(), 2u);
        EXPECT_EQ(Storage::GetExecutionContextStack().GetDepth(), cGeneral);
        std::thread([] {
            EXPECT_TRUE(Storage::GetConstraintExecutionContextStack().IsEmpty());
            Storage::CleanUpDueToThreadDetach(false);
        }).join();
    }
    EXPECT_TRUE(Storage::GetConstraintExecutionContextStack().IsEmpty());
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore);
    EXPECT_THAT(sink.Texts(), IsEmpty());
}

}  // namespace
