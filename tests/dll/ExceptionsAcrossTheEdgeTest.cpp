/// @file
/// Exceptions and reports between the library and the program that uses it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/Platform.h"
#include "support/FakeSessionPort.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/MemoryPool.h"

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

void ThrowInTheProgram() {
    throw std::out_of_range("of the program");
}

void CatchAndShow(void (*pfnRaise)()) {
    try {
        pfnRaise();
    } catch (const std::exception& rException) {
        VelomException::DisplayExceptionMessage(false, false, &rException, CXString(VTEXT("Caller.cpp")), 1,
                                                CXString(VTEXT("Caller::Run")), nullptr, nullptr,
                                                CXString(VTEXT("Title")), CXString());
    }
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
    EXPECT_THROW(VLM_THROW(ExceptionFile, VTEXT("from the program")), ExceptionFile);
    EXPECT_THAT(sink.Texts(), ElementsAre("*Throwing* ExceptionFile: from the program"));
    const ProgramException derived(VTEXT("m"), VTEXT("f"), 1, VTEXT("A::B"), nullptr);
    EXPECT_TRUE(VelomException::IsVelomException(derived));
    EXPECT_THAT(Narrow(VelomException::GetExceptionDescription(derived).View()),
                HasSubstr("ProgramException thrown from:\r\n\r\nPath:\t\r\nFile:\tf\r\n"));
    EXPECT_FALSE(VelomException::IsVelomException(std::out_of_range("x")));
}

TEST(Exceptions, OfTheProgramPassThroughTheLibrary) {
    const MemoryPool::OutOfMemoryHandler pfnFormer = MemoryPool::ExchangeOutOfMemoryHandler([] { throw OutOfPaper(); });
    EXPECT_THROW(ThrowInTheLibrary(), OutOfPaper);
    MemoryPool::ExchangeOutOfMemoryHandler(pfnFormer);
}

TEST(Exceptions, OfEitherSideAreThrownAgainInTheProgramWhenADeveloperAsksForIt) {
    vlm::test::FakeSessionPort desktop;
    vlm::Platform platform = vlm::GetPlatform();
    platform.pSessions = &desktop;
    const vlm::PlatformScope scope(platform);
    DebugMessageConfiguration& rSettings = GetDebugMessageManager().GetConfiguration();
    rSettings.SetMessagesEnabled(true);
    RecordingSink sink;
    sink.iAnswer = vlm::SessionPort::ANSWER_CANCEL;
    EXPECT_THROW(CatchAndShow(&ThrowInTheLibrary), ExceptionOutOfMemory);
    EXPECT_THROW(CatchAndShow(&ThrowInTheProgram), std::out_of_range);
    sink.iAnswer = vlm::SessionPort::ANSWER_OK;
    EXPECT_NO_THROW(CatchAndShow(&ThrowInTheLibrary));
    rSettings.SetMessagesEnabled(false);
    EXPECT_THAT(sink.Questions().at(0), HasSubstr("There is not enough memory to finish the operation."));
}

}  // namespace
