/// @file
/// Execution contexts of both families: fields, names, stacks and lifetimes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/ConstraintExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/detail/failure/ContextIdNames.h"
#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using vlm::test::Narrow;
using vlm::test::RecordingSink;

using Constraint = BasicConstraintExecutionContext;

BasicExecutionContext Make(ExecutionContextIdType eContext, const XCHAR* pszFunction,
                           const XCHAR* pszMessage = VTEXT(""), bool fEmbedded = false) {
    return BasicExecutionContext(eContext, VTEXT("c:\\a.cpp"), pszFunction, 42, fEmbedded, pszMessage);
}
Constraint Make(ConstraintExecutionContextIdType eContext, const XCHAR* pszMessage = VTEXT(""),
                bool fEmbedded = false) {
    return Constraint(eContext, VTEXT("c:\\a.cpp"), VTEXT("A::B"), 42, fEmbedded, pszMessage);
}

TEST(ExecutionContext, ShowsNameMessageAndLocationInOneLine) {
    const struct {
        BasicExecutionContext oContext;
        bool fWithLocation;
        const char* pszExpected;
    } aoRows[] = {
        {Make(ECIE_IMPORT_JCAP, VTEXT("A::B")), true, "ECIE_IMPORT_JCAP (A::B line 42)"},
        {Make(ECIE_IMPORT_JCAP, VTEXT("A::B"), VTEXT("m")), false, "ECIE_IMPORT_JCAP: m"},
        {Make(ECIE_IMPORT_JCAP, VTEXT("B"), VTEXT("m")), true, "ECIE_IMPORT_JCAP: m (c:\\a.cpp, B line 42)"},
        {Make(ECIE_IMPORT_JCAP, VTEXT("A::B"), VTEXT("m at 42"), true), true, "ECIE_IMPORT_JCAP: m at 42"},
        {Make(static_cast<ExecutionContextIdType>(500), VTEXT("A::B")), false, "Dynamic context 500"},
    };
    for (const auto& rRow : aoRows)
        EXPECT_EQ(Narrow(rRow.oContext.GetContextDebugDisplayString(rRow.fWithLocation).View()), rRow.pszExpected);

    const struct {
        Constraint oContext;
        const char* pszAlone;
        const char* pszWithLocation;
    } aoConstraintRows[] = {
        {Make(CECIE_ADD_DI_LABEL_CONSTRAINTS, VTEXT("m")), "CECIE_ADD_DI_LABEL_CONSTRAINTS (m)",
         "CECIE_ADD_DI_LABEL_CONSTRAINTS: m (A::B line 42)"},
        {Make(CECIE_ADD_DI_LABEL_CONSTRAINTS, VTEXT("m at 42"), true), "CECIE_ADD_DI_LABEL_CONSTRAINTS (m at 42)",
         "CECIE_ADD_DI_LABEL_CONSTRAINTS (m at 42)"},
        {Constraint(CECIE_ADD_DI_COMMON_CONSTRAINTS, VTEXT("m")), "CECIE_ADD_DI_COMMON_CONSTRAINTS (m)",
         "CECIE_ADD_DI_COMMON_CONSTRAINTS (m)"},
        {Make(CECIE_NOT_SPECIFIED, VTEXT("why")), "CECIE_NOT_SPECIFIED (::COMMENT:: why)",
         "CECIE_NOT_SPECIFIED: ::COMMENT:: why (A::B line 42)"},
    };
    for (const auto& rRow : aoConstraintRows) {
        EXPECT_EQ(Narrow(rRow.oContext.GetContextAndMessage().View()), rRow.pszAlone);
        EXPECT_EQ(Narrow(rRow.oContext.GetContextDebugDisplayString(false).View()), rRow.pszAlone);
        EXPECT_EQ(Narrow(rRow.oContext.GetContextDebugDisplayString(true).View()), rRow.pszWithLocation);
    }
}

/// Each differs from the one before it.
template <class Context, std::size_t N>
void ExpectAscending(const Context (&raoContexts)[N]) {
    for (const Context& rLeft : raoContexts) {
        for (const Context& rRight : raoContexts) {
            EXPECT_EQ(rLeft < rRight, &rLeft < &rRight);
            EXPECT_EQ(*rLeft.Clone() == rRight, &rLeft == &rRight);
        }
    }
}

TEST(ExecutionContext, ComparesByItsFieldsWhetherTheyAreLiteralsOrStrings) {
    static constexpr vlm::SourcePosition PLACE{VTEXT("c:\\a.cpp"), 42, VTEXT("A::B")};
    // Each differs from the first in one field, and the earlier field decides.
    const BasicExecutionContext aoAscending[] = {
        BasicExecutionContext(ECIE_IMPORT_JCAP, PLACE, VTEXT("m")),
        BasicExecutionContext(ECIE_IMPORT_JCAP, VTEXT("c:\\a.cpp"), VTEXT("A::B"), 42, true, VTEXT("a")),
        BasicExecutionContext(ECIE_IMPORT_JCAP, VTEXT("c:\\a.cpp"), VTEXT("A::B"), 43, false, VTEXT("a")),
        BasicExecutionContext(ECIE_IMPORT_JCAP, VTEXT("c:\\a.cpp"), VTEXT("A::C"), 1, false, VTEXT("m")),
        BasicExecutionContext(ECIE_IMPORT_JCAP, VTEXT("d:\\"), VTEXT("A::A"), 42, false, VTEXT("m")),
        Make(ECIE_IMPORT_CBR_XML_DATA, VTEXT("A::A"), VTEXT("a")),
    };
    EXPECT_TRUE(aoAscending[0] == Make(ECIE_IMPORT_JCAP, VTEXT("A::B"), VTEXT("m")));
    ExpectAscending(aoAscending);
    const Constraint aoConstraints[] = {
        Make(CECIE_NOT_SPECIFIED, VTEXT("z")),
        Make(CECIE_ADD_DI_LABEL_CONSTRAINTS, VTEXT("a"), true),
        Make(CECIE_ADD_DI_LABEL_CONSTRAINTS, VTEXT("b"), true),
    };
    ExpectAscending(aoConstraints);
}

TEST(ExecutionContextId, HasANameAndIsReportedOutsideTheFixedOnes) {
    const RecordingSink sink;
    std::string strNames;
    for (const int i : {79, 152, -2})
        strNames +=
            Narrow(ExecutionContextBase::GetDebugDisplayString(static_cast<ExecutionContextIdType>(i), true).View());
    EXPECT_EQ(strNames,
              "ECIE_IMPORT_JCAP (79)ECIE_UPDATE_DATAMODEL_WITH_BIDI_STATUS_DURING_DATAMODEL_INIT (152)"
              "<Unknown context -2> (-2)");
    EXPECT_TRUE(ExecutionContextBase::AssertValidContextIdType(static_cast<ExecutionContextIdType>(152)));
    EXPECT_FALSE(ExecutionContextBase::AssertValidContextIdType(ECIE_NO_MORE_ENUMS));
    EXPECT_EQ(Make(static_cast<ExecutionContextIdType>(-1), VTEXT("")).GetExecutionContextIdType(), ECIE_NOT_SPECIFIED);
    EXPECT_EQ(Narrow(Constraint::GetDebugDisplayString(CECIE_ADD_UI_LABEL_CONSTRAINTS, true).View()),
              "CECIE_ADD_UI_LABEL_CONSTRAINTS (12)");
    Constraint::GetDebugDisplayString(static_cast<ConstraintExecutionContextIdType>(-2), false);
    EXPECT_TRUE(Constraint::AssertValidContextIdType(CECIE_ADD_UI_LABEL_CONSTRAINTS));
    EXPECT_FALSE(Constraint::AssertValidContextIdType(CECIE_NO_MORE_ENUMS));
    for (const char* pszText :
         {"The specified ExecutionContextIdType, -2 (0xfffffffe), is not a dynamically-generated",
          "Failed Condition:\t((eContext >= ECIE_NOT_SPECIFIED) && (eContext < ECIE_NO_MORE_ENUMS))\r\n",
          "Invalid ExecutionContextIdType of 153 (0x99). Legal values are between 0 and 152, inclusive",
          "Invalid ExecutionContextIdType of -1 (0xffffffff)",
          "The specified ConstraintExecutionContextIdType, -2 (0xfffffffe), is not a dynamically-generated",
          "Failed Condition:\t((eContext >= CECIE_NOT_SPECIFIED) && (eContext < CECIE_NO_MORE_ENUMS))\r\n",
          "Invalid ConstraintExecutionContextIdType of 13 (0xd). Legal values are between 0 and 12, inclusive"}) {
        EXPECT_GT(sink.Count(pszText), 0u) << pszText;
    }
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
    EXPECT_EQ(sink.Count("Failed Condition:\t(fSuccess)\r\n"), 2u);
    EXPECT_THAT(sink.Texts(), ElementsAre(HasSubstr("the enum value 0, 'b'. "), HasSubstr("the enum value 3, 'c'. ")));
    EXPECT_EQ(Narrow(names.GetDisplayString(CECIE_NOT_SPECIFIED, false, [] {}).View()), "a");
}

TEST(ExecutionContextStack, ShowsItsContextsAndReportsPopsThatDoNotFit) {
    ExecutionContextStack stack;
    EXPECT_EQ(Narrow(stack.GetMostRecentContextDisplayString(true).View()), "<No Context>");
    RecordingSink sink(DebugCategory::Errors);
    const ExecutionContextPointer shpoFirst(Make(ECIE_IMPORT_JCAP, VTEXT("A::B")).Clone());
    stack.PushContext(shpoFirst);
    stack.PopContext(shpoFirst);
    EXPECT_THAT(sink.Texts(), IsEmpty());
    stack.PopContext(shpoFirst);
    EXPECT_TRUE(stack.IsEmpty());

    stack.PushContext(shpoFirst);
    stack.PushContext(ExecutionContextPointer(Make(ECIE_EXPORT_JOTF_FILE, VTEXT("A::C"), VTEXT("m")).Clone()));
    EXPECT_EQ(Narrow(stack.GetMostRecentContextDisplayString(false).View()), "ECIE_EXPORT_JOTF_FILE: m");
    EXPECT_THAT(
        Narrow(stack.GetMultiLineDisplayString(true).View()),
        MatchesRegex("Execution context \\(Process=test_failure.*, Thread=0x\\w+\\) \\(2 levels deep\\):\r\n"
                     "  ECIE_IMPORT_JCAP \\(A::B line 42\\)\r\n    ECIE_EXPORT_JOTF_FILE: m \\(A::C line 42\\)\r\n"));
    stack.PopContext(shpoFirst);
    EXPECT_EQ(stack.GetDepth(), 1u);
    for (const char* pszText :
         {"Failed Condition:\t(!m_vshpoExecutionContextStack.empty())\r\n",
          "The stack of execution contexts is empty! Cannot pop this context: ECIE_IMPORT_JCAP (A::B line 42)",
          "Failed Condition:\t(m_vshpoExecutionContextStack.back().get() == shpoExecutionContextBase.get())\r\n",
          "Expected to pop this context, 'ECIE_IMPORT_JCAP (A::B line 42)', but this one is on top of the stack, "
          "'ECIE_EXPORT_JOTF_FILE: m (A::C line 42)'!"}) {
        EXPECT_EQ(sink.Count(pszText), 1u) << pszText;
    }
    stack.PopContext(ExecutionContextPointer(shpoFirst->Clone()));  // equal by value, yet another object
    EXPECT_EQ(sink.Texts().size(), 3u);
    EXPECT_TRUE(stack.IsEmpty());
}

TEST(ConstraintExecutionContextStack, ShowsItsContextsAndReportsPopsThatDoNotFit) {
    ConstraintExecutionContextStack stack;
    EXPECT_EQ(Narrow(stack.GetStackString().View()), "<No Context>");
    EXPECT_EQ(stack.GetMostRecentContext(), CECIE_NOT_SPECIFIED);
    RecordingSink sink(DebugCategory::Errors | DebugCategory::ConstraintExecutionContext);
    const ConstraintExecutionContextPointer shpoFirst(
        Make(CECIE_ADD_DI_COMMON_CONSTRAINTS, VTEXT("one\r\ntwo\nthree")).Clone());
    stack.PopContext(shpoFirst);
    stack.PushContext(shpoFirst);
    stack.PushContext(ConstraintExecutionContextPointer(Make(CECIE_ADD_UI_DESKTOP_CONSTRAINTS).Clone()));
    EXPECT_EQ(stack.GetMostRecentContext(), CECIE_ADD_UI_DESKTOP_CONSTRAINTS);
    EXPECT_EQ(Narrow(stack.GetMostRecentContextDisplayString(false).View()), "CECIE_ADD_UI_DESKTOP_CONSTRAINTS");
    EXPECT_EQ(Narrow(stack.GetStackString().View()),
              "CECIE_ADD_DI_COMMON_CONSTRAINTS (one\r\ntwo\nthree) > CECIE_ADD_UI_DESKTOP_CONSTRAINTS");
    EXPECT_THAT(
        Narrow(stack.GetMultiLineDisplayString(true).View()),
        MatchesRegex("Constraint Execution context \\(Process=test_failure.*, Thread=0x\\w+\\) \\(2 levels deep\\):\r\n"
                     "  CECIE_ADD_DI_COMMON_CONSTRAINTS: one\r\n\t\t\t\t  two\r\n\t\t\t\t  three \\(A::B line 42\\)\r\n"
                     "    CECIE_ADD_UI_DESKTOP_CONSTRAINTS \\(A::B line 42\\)\r\n"));
    stack.PopContext(shpoFirst);
    EXPECT_EQ(stack.GetDepth(), 1u);
    stack.PushContext(nullptr);
    for (const char* pszText :
         {"Failed Condition:\t(!m_vshpoConstraintExecutionContextStack.empty())\r\n",
          "The stack of constraint execution contexts is empty! Cannot pop this context: CECIE_ADD_DI_COMMON",
          "New Context: CECIE_ADD_UI_DESKTOP_CONSTRAINTS (A::B line 42)",
          "(m_vshpoConstraintExecutionContextStack.back().get() == shpoConstraintExecutionContextBase.get())\r\n",
          "Expected to pop this context, 'CECIE_ADD_DI_COMMON_CONSTRAINTS: one",
          "A null constraint execution context cannot be pushed."}) {
        EXPECT_EQ(sink.Count(pszText), 1u) << pszText;
    }
}

TEST(ExecutionContextLifetime, GivesEverythingBack) {
    const RecordingSink sink(DebugCategory::Errors);
    ExecutionContextStack stack;
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    {
        const ExecutionContextLifetime outer(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE), stack);
        const ExecutionContextLifetime inner(
            MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE, CXString(VTEXT("a string"))), stack);
        EXPECT_EQ(stack.GetDepth(), 2u);
        ConstraintExecutionContextStack& rConstraints =
            UtilitiesDllPerThreadStorage::GetConstraintExecutionContextStack();
        {
            const ConstraintExecutionContextLifetime constraint(Make(CECIE_ADD_DI_COMMON_CONSTRAINTS).Clone());
            EXPECT_EQ(rConstraints.GetDepth(), 1u);
        }
        EXPECT_TRUE(rConstraints.IsEmpty());
    }
    EXPECT_THAT(sink.Texts(), IsEmpty());
    std::optional<ExecutionContextLifetime> oOuter, oInner;
    oOuter.emplace(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE), stack);
    oInner.emplace(MakeExecutionContext(ECIE_GENERATE_JOTF, VLM_HERE), stack);
    oOuter.reset();
    oInner.reset();  // its context went with the pop before
    { const ExecutionContextLifetime nothing(nullptr, stack); }
    EXPECT_THAT(sink.Texts(), ElementsAre(HasSubstr("Expected to pop this context, 'ECIE_IMPORT_JCAP ("),
                                          HasSubstr("Expected to pop this context, 'ECIE_GENERATE_JOTF ("),
                                          HasSubstr("A null execution context cannot be pushed.")));
    EXPECT_TRUE(stack.IsEmpty());
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore);
}

}  // namespace
