/// @file
/// Execution contexts: fields, names, stacks and lifetimes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"
#include "utilities/utilitiesdll/MemoryPool.h"

namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using vlm::test::Narrow;
using vlm::test::RecordingSink;

BasicExecutionContext Make(ExecutionContextIdType eContext, const XCHAR* pszFunction,
                           const XCHAR* pszMessage = VTEXT(""), bool fEmbedded = false) {
    return BasicExecutionContext(eContext, VTEXT("c:\\a.cpp"), pszFunction, 42, fEmbedded, pszMessage);
}

ExecutionContextPointer Share(const BasicExecutionContext& rContext) {
    return ExecutionContextPointer(rContext.Clone());
}

TEST(ExecutionContext, ShowsNameMessageAndLocationInOneLine) {
    const struct {
        BasicExecutionContext oContext;
        bool fWithLocation;
        const char* pszExpected;
    } aoRows[] = {
        {Make(ECIE_IMPORT_JCAP, VTEXT("A::B")), true, "ECIE_IMPORT_JCAP (A::B line 42)"},
        {Make(ECIE_IMPORT_JCAP, VTEXT("A::B")), false, "ECIE_IMPORT_JCAP"},
        {Make(ECIE_IMPORT_JCAP, VTEXT("B"), VTEXT("m")), true, "ECIE_IMPORT_JCAP: m (c:\\a.cpp, B line 42)"},
        {Make(ECIE_IMPORT_JCAP, VTEXT("A::B"), VTEXT("m at 42"), true), true, "ECIE_IMPORT_JCAP: m at 42"},
        {Make(static_cast<ExecutionContextIdType>(500), VTEXT("A::B")), false, "Dynamic context 500"},
    };
    const RecordingSink sink(DebugCategory::Errors);
    for (const auto& rRow : aoRows) {
        EXPECT_EQ(Narrow(rRow.oContext.GetContextDebugDisplayString(rRow.fWithLocation).View()), rRow.pszExpected);
    }
    EXPECT_THAT(sink.Texts(), IsEmpty());
}

TEST(ExecutionContext, ComparesByItsFieldsWhetherTheyAreLiteralsOrStrings) {
    const BasicExecutionContext base = Make(ECIE_IMPORT_JCAP, VTEXT("A::B"), VTEXT("m"));
    static constexpr vlm::SourcePosition PLACE{VTEXT("c:\\a.cpp"), 42, VTEXT("A::B")};
    const BasicExecutionContext literal(ECIE_IMPORT_JCAP, PLACE, VTEXT("m"));
    EXPECT_TRUE(base == literal);
    EXPECT_FALSE(base < literal || literal < base);
    EXPECT_TRUE(*base.Clone() == base);
    // Each row differs in one field, and the earlier field decides.
    const BasicExecutionContext aoGreater[] = {
        Make(ECIE_IMPORT_CBR_XML_DATA, VTEXT("A::B"), VTEXT("m")),
        BasicExecutionContext(ECIE_IMPORT_JCAP, VTEXT("d:\\"), VTEXT("A::A"), 42, false, VTEXT("m")),
        BasicExecutionContext(ECIE_IMPORT_JCAP, VTEXT("c:\\a.cpp"), VTEXT("A::C"), 1, false, VTEXT("m")),
        BasicExecutionContext(ECIE_IMPORT_JCAP, VTEXT("c:\\a.cpp"), VTEXT("A::B"), 43, false, VTEXT("a")),
        BasicExecutionContext(ECIE_IMPORT_JCAP, VTEXT("c:\\a.cpp"), VTEXT("A::B"), 42, true, VTEXT("a")),
        Make(ECIE_IMPORT_JCAP, VTEXT("A::B"), VTEXT("n")),
    };
    for (const BasicExecutionContext& rGreater : aoGreater) {
        EXPECT_FALSE(base == rGreater);
        EXPECT_TRUE(base < rGreater);
        EXPECT_FALSE(rGreater < base);
    }
}

TEST(ExecutionContextId, HasAConsecutiveValueAndItsOwnName) {
    EXPECT_EQ(static_cast<int>(ECIE_NOT_SPECIFIED), 0);
    EXPECT_EQ(static_cast<int>(ECIE_IMPORT_JCAP), 79);
    EXPECT_EQ(static_cast<int>(ECIE_NO_MORE_ENUMS), 153);
    EXPECT_EQ(Narrow(ExecutionContextBase::GetDebugDisplayString(ECIE_IMPORT_JCAP, true).View()),
              "ECIE_IMPORT_JCAP (79)");
    EXPECT_EQ(
        Narrow(ExecutionContextBase::GetDebugDisplayString(ECIE_IMPORT_JCAP_IN_DO_JCAP_TESTING_OR_PROCESSING, false)
                   .View()),
        "ECIE_IMPORT_JCAP_IN_DO_JCAP_TESTING_OR_PROCESSING");
    const RecordingSink sink;
    EXPECT_EQ(
        Narrow(ExecutionContextBase::GetDebugDisplayString(static_cast<ExecutionContextIdType>(-2), false).View()),
        "<Unknown context -2>");
    EXPECT_THAT(
        sink.Texts(),
        ElementsAre("The specified ExecutionContextIdType, -2 (0xfffffffe), is not a dynamically-generated "
                    "ExecutionContextIdType, yet it does not have an enum-to-string mapping defined for it. Did "
                    "you use the X_DEFINE_ENUM_IM() or X_DEFINE_ENUM_EX() macro to define it?"));
}

TEST(ExecutionContextId, OutsideTheFixedOnesIsReported) {
    const RecordingSink sink(DebugCategory::Errors);
    EXPECT_TRUE(ExecutionContextBase::AssertValidContextIdType(ECIE_NOT_SPECIFIED));
    EXPECT_TRUE(ExecutionContextBase::AssertValidContextIdType(ECIE_IMPORT_JCAP_IN_DO_JCAP_TESTING_OR_PROCESSING));
    EXPECT_THAT(sink.Texts(), IsEmpty());
    EXPECT_FALSE(ExecutionContextBase::AssertValidContextIdType(ECIE_NO_MORE_ENUMS));
    ASSERT_EQ(sink.Texts().size(), 1u);
    EXPECT_THAT(
        sink.Texts()[0],
        HasSubstr("Failed Condition:\t((eContext >= ECIE_NOT_SPECIFIED) && (eContext < ECIE_NO_MORE_ENUMS))\r\n"));
    EXPECT_THAT(sink.Texts()[0],
                HasSubstr("Invalid ExecutionContextIdType of 153 (0x99). Legal values are between 0 and "
                          "152, inclusive"));
    EXPECT_EQ(Make(static_cast<ExecutionContextIdType>(-1), VTEXT("f")).GetExecutionContextIdType(),
              ECIE_NOT_SPECIFIED);
    EXPECT_EQ(sink.Count("Invalid ExecutionContextIdType of -1 (0xffffffff)"), 1u);
}

TEST(ExecutionContextStack, ShowsItsContextsIndented) {
    ExecutionContextStack stack;
    EXPECT_EQ(Narrow(stack.GetMultiLineDisplayString(true).View()), "<No Context>");
    EXPECT_EQ(Narrow(stack.GetMostRecentContextDisplayString(true).View()), "<No Context>");
    stack.PushContext(Share(Make(ECIE_IMPORT_JCAP, VTEXT("A::B"))));
    stack.PushContext(Share(Make(ECIE_EXPORT_JOTF_FILE, VTEXT("A::C"), VTEXT("m"))));
    EXPECT_THAT(
        Narrow(stack.GetMultiLineDisplayString(true).View()),
        MatchesRegex("Execution context \\(Process=test_failure.*, Thread=0x\\w+\\) \\(2 levels deep\\):\r\n"
                     "  ECIE_IMPORT_JCAP \\(A::B line 42\\)\r\n    ECIE_EXPORT_JOTF_FILE: m \\(A::C line 42\\)\r\n"));
    EXPECT_THAT(Narrow(stack.GetMultiLineDisplayString(false).View()),
                EndsWith("\r\n  ECIE_IMPORT_JCAP\r\n    ECIE_EXPORT_JOTF_FILE: m\r\n"));
    EXPECT_EQ(Narrow(stack.GetMostRecentContextDisplayString(false).View()), "ECIE_EXPORT_JOTF_FILE: m");
}

TEST(ExecutionContextStack, ReportsPopsThatDoNotFitAndGoesOn) {
    const RecordingSink sink(DebugCategory::Errors);
    ExecutionContextStack stack;
    const ExecutionContextPointer shpoFirst = Share(Make(ECIE_IMPORT_JCAP, VTEXT("A::B")));
    const ExecutionContextPointer shpoTwin = Share(Make(ECIE_IMPORT_JCAP, VTEXT("A::B")));
    stack.PushContext(shpoFirst);
    stack.PopContext(shpoFirst);
    EXPECT_THAT(sink.Texts(), IsEmpty());

    stack.PopContext(shpoFirst);
    EXPECT_TRUE(stack.IsEmpty());
    ASSERT_EQ(sink.Texts().size(), 1u);
    EXPECT_THAT(sink.Texts()[0], HasSubstr("Failed Condition:\t(!m_vshpoExecutionContextStack.empty())\r\n"));
    EXPECT_THAT(sink.Texts()[0], HasSubstr("The stack of execution contexts is empty! Cannot pop this context: "
                                           "ECIE_IMPORT_JCAP (A::B line 42)"));

    stack.PushContext(shpoFirst);
    stack.PushContext(Share(Make(ECIE_EXPORT_JOTF_FILE, VTEXT("A::C"))));
    stack.PopContext(shpoFirst);
    EXPECT_EQ(stack.GetDepth(), 1u);
    ASSERT_EQ(sink.Texts().size(), 2u);
    EXPECT_THAT(sink.Texts()[1], HasSubstr("Failed Condition:\t(m_vshpoExecutionContextStack.back().get() == "
                                           "shpoExecutionContextBase.get())\r\n"));
    EXPECT_THAT(
        sink.Texts()[1],
        HasSubstr("Expected to pop this context, 'ECIE_IMPORT_JCAP (A::B line 42)', but this one is on top of the "
                  "stack, 'ECIE_EXPORT_JOTF_FILE (A::C line 42)'! There's a problem with the order in which "
                  "contexts are ending. We'll pop the last item for now, but somebody needs to fix this."));
    stack.PopContext(shpoTwin);  // equal by value, yet another object
    EXPECT_EQ(sink.Texts().size(), 3u);
    EXPECT_TRUE(stack.IsEmpty());
}

TEST(ExecutionContextLifetime, GivesEverythingBack) {
    const RecordingSink sink(DebugCategory::Errors);
    ExecutionContextStack stack;
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    for (int iDepth = 0; iDepth < 40; ++iDepth) {
        const ExecutionContextLifetime outer(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE), stack);
        const ExecutionContextLifetime inner(
            MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE, CXString(VTEXT("a string"))), stack);
        EXPECT_EQ(stack.GetDepth(), 2u);
    }
    EXPECT_TRUE(stack.IsEmpty());
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore);
    EXPECT_THAT(sink.Texts(), IsEmpty());
    {
        auto apoOuter =
            std::make_unique<ExecutionContextLifetime>(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE), stack);
        auto apoInner =
            std::make_unique<ExecutionContextLifetime>(MakeExecutionContext(ECIE_GENERATE_JOTF, VLM_HERE), stack);
        apoOuter.reset();
        EXPECT_THAT(sink.Texts(), ElementsAre(HasSubstr("Expected to pop this context, 'ECIE_IMPORT_JCAP (")));
        apoInner.reset();  // its context went with the pop before
        EXPECT_THAT(sink.Texts(),
                    ElementsAre(testing::_, HasSubstr("Expected to pop this context, 'ECIE_GENERATE_JOTF (")));
    }
    EXPECT_TRUE(stack.IsEmpty());
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore);
    RecordingSink sinkOfNull(DebugCategory::Errors);
    { const ExecutionContextLifetime nothing(nullptr, stack); }
    EXPECT_THAT(sinkOfNull.Texts(), ElementsAre(HasSubstr("A null execution context cannot be pushed.")));
}

}  // namespace
