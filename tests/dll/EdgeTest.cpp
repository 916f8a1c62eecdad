/// @file
/// Both sides of the module's edge: what is made on one side is used, thrown, caught and freed on the other.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>

#include "q9util.h"
#include "support/Narrow.h"
#include "support/RecordingSink.h"

using vlm::test::Narrow;

namespace {

/// A kind of failure that the library has never seen.
class ProgramFailure : public VelomException {
public:
    ProgramFailure()
        : VelomException(VTEXT("of the program"), VTEXT("Program.cpp"), 7, VTEXT("Program::Run"), nullptr) {}
    CXString GetExceptionTypeByNumericCode() const override { return VTEXT("999:001"); }
};

void* NoMemory(std::size_t) noexcept {
    return nullptr;
}

/// What this program throws when memory has run out; it takes none itself.
class OutOfPaper : public std::exception {};

void FailAsTheProgramDoes() {
    throw OutOfPaper();
}

/// Text far too long for a block that lies ready in a pool.
CXString LongText() {
    return CXString(VTEXT('x'), 100'000);
}

}  // namespace

TEST(Edge, WhatTheLibraryThrowsTheProgramCatches) {
    const BYTE abyTwo[] = {1, 2};
    const BYTE* pbyCursor = abyTwo;
    DWORD dwRemaining = sizeof abyTwo;
    const auto read = [&] { static_cast<void>(ByteBuffer::WalkBufferToGetLong(pbyCursor, dwRemaining)); };
    EXPECT_THROW(read(), ExceptionNotEnoughBytesForDesiredDataType);
    EXPECT_THROW(read(), VelomException);
    EXPECT_THROW(read(), std::exception);
    try {
        read();
    } catch (const VelomException& rException) {
        EXPECT_EQ(Narrow(rException.GetExceptionType()), "ExceptionNotEnoughBytesForDesiredDataType");
        EXPECT_NE(std::string(rException.what()), "");
    }
}

TEST(Edge, WhatTheProgramThrowsTheLibraryKnows) {
    try {
        throw ProgramFailure();
    } catch (const std::exception& rException) {
        EXPECT_TRUE(VelomException::IsVelomException(rException));
        EXPECT_EQ(Narrow(VelomException::GetExceptionIdentifierForUserDisplay(rException)), "999:001:0007");
    }
    try {
        throw std::runtime_error("of the language");
    } catch (const std::exception& rException) {
        EXPECT_FALSE(VelomException::IsVelomException(rException));
        EXPECT_NE(Narrow(VelomException::GetExceptionDescription(rException)).find("of the language"),
                  std::string::npos);
    }
}

TEST(Edge, AProgramsExceptionPassesThroughTheLibrary) {
    CXString csText(VTEXT("as it was"));
    const CXString csLong = LongText();
    const auto pfnFormerHandler = MemoryPool::ExchangeOutOfMemoryHandler(&FailAsTheProgramDoes);
    const auto pfnFormerAllocator = MemoryPool::ExchangeRawAllocator(&NoMemory);
    EXPECT_THROW(csText += csLong, OutOfPaper);
    MemoryPool::ExchangeRawAllocator(pfnFormerAllocator);
    MemoryPool::ExchangeOutOfMemoryHandler(pfnFormerHandler);
    EXPECT_EQ(Narrow(csText), "as it was");
}

TEST(Edge, AnExceptionRaisedByMacroIsReportedToTheProgramsSink) {
    vlm::test::RecordingSink oSink;
    EXPECT_THROW(VLM_THROW(ExceptionFile, VTEXT("No file %d"), 5), ExceptionFile);
    ASSERT_EQ(oSink.Reports().size(), 1U);
    EXPECT_NE(oSink.Reports()[0].text.find("*Throwing* ExceptionFile"), std::string::npos);
}

TEST(Edge, BlocksComeBackWhicheverSideFreesThem) {
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    for (int i = 0; i < 3; ++i) {
        std::thread oThread([] {
            CXString csText = LongText();  // made there, shortened here, freed at the thread's end
            csText += VTEXT("more");
            const BYTE abyTwo[] = {1, 2};
            const ByteBuffer bbBytes(abyTwo, sizeof abyTwo);
            const ByteBuffer bbCopy(bbBytes);
        });
        oThread.join();
    }
    EXPECT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore);
}
