/// @file
/// Where exceptions end, and what a lack of memory becomes.
#include "utilities/debuggingandexceptions/NoThrow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

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

/// Lets the pools take `cCalls` more blocks from the system.
class MemoryLimit {
public:
    explicit MemoryLimit(int cCalls) : m_pfnFormer(MemoryPool::ExchangeRawAllocator(&Allocate)) { s_cCalls = cCalls; }
    ~MemoryLimit() { MemoryPool::ExchangeRawAllocator(m_pfnFormer); }
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;
    static bool Reached() { return s_cCalls < 0; }

private:
    static void* Allocate(std::size_t cBytes) noexcept { return --s_cCalls < 0 ? nullptr : std::malloc(cBytes); }
    static int s_cCalls;
    MemoryPool::RawAllocator m_pfnFormer;
};
int MemoryLimit::s_cCalls = 0;

TEST(OutOfMemory, OfTheStringsIsOurExceptionWithItsPlaceAndText) {
    const MemoryLimit limit(0);
    try {
        const CXString csLong(VTEXT('x'), 100000);
        FAIL() << "there was memory";
    } catch (const ExceptionOutOfMemory& rException) {
        EXPECT_EQ(Narrow(rException.GetExceptionMesage().View()), "There is not enough memory.");
        EXPECT_EQ(Narrow(rException.GetExceptionLocationFunctionName().View()), "MemoryPool::RaiseOutOfMemory");
    }
}

// Raising with memory running out at every point gives the exception asked for, or the one that says why not.
TEST(OutOfMemory, WhileRaisingNeverGivesAThirdKindOfFailure) {
    const CXString csLong(VTEXT('m'), 2000);
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    for (int cCalls = 0; cCalls < 100; ++cCalls) {
        bool fReached = false;
        {
            RecordingSink sink;
            const MemoryLimit limit(cCalls);
            try {
                const ExecutionContextLifetime lifetime(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE, csLong));
                VLM_ASSERT(csLong.IsEmpty(), VTEXT("%s"), csLong);
                VLM_THROW(ExceptionFile, VTEXT("%s and %s"), csLong, csLong);
            } catch (const ExceptionFile& rException) {
                // A piece of the description that finds no memory is left out; with memory none is.
                const std::string description = rException.what();
                EXPECT_TRUE(MemoryLimit::Reached() || description.starts_with("Object of ExceptionFile thrown from:"))
                    << description;
            } catch (const ExceptionOutOfMemory&) {
                EXPECT_TRUE(MemoryLimit::Reached());
            }
            fReached = MemoryLimit::Reached();
        }
        EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore) << cCalls;
        if (!fReached) {
            EXPECT_GT(cCalls, 3) << "the scenario must have met the limit";
            return;
        }
    }
    FAIL() << "the limit was met at every size";
}

}  // namespace
