/// @file
/// Exceptions, reports and threads between the library and the program that uses it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using vlm::test::Narrow;
using vlm::test::RecordingSink;

/// A class of the program's own, below one of the library's.
class ProgramException : public ExceptionFile {
public:
    using ExceptionFile::ExceptionFile;
};

/// What the program throws when memory has run out; unlike the library's exceptions it takes none itself.
class OutOfPaper : public std::exception {};

/// Makes the library's pools find no more memory.
class NoMemory {
public:
    NoMemory() : m_pfnFormer(MemoryPool::ExchangeRawAllocator(&Refuse)) {}
    ~NoMemory() { MemoryPool::ExchangeRawAllocator(m_pfnFormer); }
    NoMemory(const NoMemory&) = delete;
    NoMemory& operator=(const NoMemory&) = delete;

private:
    static void* Refuse(std::size_t) noexcept { return nullptr; }
    MemoryPool::RawAllocator m_pfnFormer;
};

void ThrowInTheLibrary() {
    const NoMemory noMemory;
    const CXString csLong(VTEXT('x'), 100000);
}

TEST(Exceptions, ThrownInTheLibraryAreCaughtInTheProgramByEveryBase) {
    EXPECT_THROW(ThrowInTheLibrary(), ExceptionOutOfMemory);
    EXPECT_THROW(ThrowInTheLibrary(), VelomException);
    try {
        ThrowInTheLibrary();
    } catch (const std::exception& rException) {
        EXPECT_NE(dynamic_cast<const ExceptionOutOfMemory*>(&rException), nullptr);
        EXPECT_EQ(dynamic_cast<const ExceptionFile*>(&rException), nullptr);
        EXPECT_THAT(rException.what(), HasSubstr("Object of ExceptionOutOfMemory thrown from:"));
    }
    EXPECT_EQ(vlm::NoThrow([] { return ThrowInTheLibrary(), 1; }, -1), -1);
}

TEST(Exceptions, ThrownInTheProgramAreKnownToTheLibrary) {
    const RecordingSink sink;
    try {
        VLM_THROW(ExceptionFile, VTEXT("from the program"));
    } catch (const std::exception& rException) {
        EXPECT_TRUE(VelomException::IsVelomException(rException));
        EXPECT_THAT(Narrow(VelomException::GetExceptionIdentifierForUserDisplay(rException).View()),
                    ::testing::StartsWith("065:000:"));
    }
    EXPECT_THAT(sink.Texts(), ElementsAre("*Throwing* ExceptionFile: from the program"));

    const ProgramException derived(VTEXT("m"), VTEXT("f"), 1, VTEXT("A::B"), nullptr);
    EXPECT_TRUE(VelomException::IsVelomException(derived));
    EXPECT_THAT(Narrow(VelomException::GetExceptionDescription(derived).View()),
                HasSubstr("ProgramException thrown from:\r\n\r\nPath:\t\r\nFile:\tf\r\n"));
    EXPECT_FALSE(VelomException::IsVelomException(std::out_of_range("x")));
}

TEST(Exceptions, OfTheProgramPassThroughTheLibrary) {
    const MemoryPool::OutOfMemoryHandler pfnFormer = MemoryPool::ExchangeOutOfMemoryHandler([] { throw OutOfPaper(); });
    const auto raise = [] { CXString().GetBufferSetLength(100000); };
    {
        const NoMemory noMemory;
        EXPECT_THROW(raise(), OutOfPaper);
    }
    MemoryPool::ExchangeOutOfMemoryHandler(pfnFormer);
}

TEST(Threads, AnEndedThreadLeavesNothingInTheLibrary) {
    const std::size_t cBefore = UtilitiesDllPerThreadStorage::GetAllocatedObjectCount();
    std::thread([&] {
        const ExecutionContextLifetime lifetime(MakeExecutionContext(ECIE_THREAD_WSD_REQUEST, VLM_HERE));
        EXPECT_EQ(UtilitiesDllPerThreadStorage::GetAllocatedObjectCount(), cBefore + 1);
    }).join();
    EXPECT_EQ(UtilitiesDllPerThreadStorage::GetAllocatedObjectCount(), cBefore);
}

}  // namespace
