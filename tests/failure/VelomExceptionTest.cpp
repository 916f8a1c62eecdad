/// @file
/// The exception hierarchy: descriptions, identifiers, codes and `what()`.
#include "utilities/debuggingandexceptions/VelomExceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "support/Narrow.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/VelomComException.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"
#include "utilities/xmlparser/JotfParseException.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using vlm::test::Narrow;

ExceptionReadFile MakeReadFile(int iLine, const CXString& kcsMessage = VTEXT("cut short")) {
    return GetExceptionReadFile(kcsMessage, VTEXT("c:\\q9\\src\\SimpleFile.cpp"), iLine, VTEXT("SimpleFile::Read"),
                                nullptr);
}

std::string Describe(const std::exception& rException) {
    return Narrow(VelomException::GetExceptionDescription(rException).View());
}

class SilentException : public std::exception {
public:
    const char* what() const noexcept override { return ""; }
};

TEST(LocationBlock, SplitsThePathAndLeavesOutWhatIsMissing) {
    const ExecutionContextStack emptyStack;
    const struct {
        const XCHAR* pszMessage;
        const XCHAR* pszFile;
        const ExecutionContextStack* pStack;
        const char* pszHead;
        const char* pszTail;
    } aoRows[] = {
        {VTEXT("100%s"), VTEXT("c:\\a\\b.cpp"), nullptr, "Path:\tc:\\a\\\r\nFile:\tb.cpp\r\n",
         "\r\nDetails:\r\n\t100%s\r\n"},
        {VTEXT(""), VTEXT("b.cpp"), nullptr, "Path:\t\r\nFile:\tb.cpp\r\n", ""},
        {VTEXT(""), VTEXT("a\\"), &emptyStack, "Path:\ta\\\r\nFile:\t\r\n", "<No Context>"},
    };
    for (const auto& rRow : aoRows) {
        EXPECT_EQ(Narrow(VelomException::GetLocationAndMessageDescription(rRow.pszMessage, rRow.pszFile, 0xFFFFFFFF,
                                                                          VTEXT("A::B"), rRow.pStack)
                             .View()),
                  rRow.pszHead + std::string("Method:\tA::B()\r\nLine:\t4294967295\r\n") + rRow.pszTail);
    }
}

TEST(Description, TellsClassPlaceAndMessageOrWhatAForeignExceptionSays) {
    EXPECT_EQ(Describe(MakeReadFile(57)),
              "Object of ExceptionReadFile thrown from:\r\n\r\nPath:\tc:\\q9\\src\\\r\nFile:\tSimpleFile.cpp\r\n"
              "Method:\tSimpleFile::Read()\r\nLine:\t57\r\n\r\nDetails:\r\n\tcut short\r\n");
    EXPECT_EQ(Describe(std::out_of_range("too far")), "Object of std::out_of_range\r\n\r\n\ttoo far\r\n");
    EXPECT_THAT(Describe(SilentException()),
                ::testing::EndsWith("SilentException\r\n\r\n\tNo additional information available.\r\n"));
}

TEST(Description, ShowsTheContextsThatWereOpenEvenAfterTheyHaveEnded) {
    ExecutionContextStack stack;
    std::unique_ptr<ExceptionAssertion> apoException;
    {
        const ExecutionContextLifetime outer(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE, VTEXT("outer")), stack);
        const ExecutionContextLifetime inner(MakeExecutionContext(ECIE_EXPORT_JOTF_FILE, VLM_HERE), stack);
        apoException = std::make_unique<ExceptionAssertion>(CXString(), CXString(), 1, CXString(), &stack);
    }
    EXPECT_TRUE(stack.IsEmpty());
    EXPECT_EQ(apoException->GetExecutionContextStack().GetDepth(), 2u);
    EXPECT_THAT(Describe(*apoException), HasSubstr("(2 levels deep):\r\n  ECIE_IMPORT_JCAP: outer ("));
    EXPECT_THAT(Describe(MakeReadFile(1)), Not(HasSubstr("Context")));
}

TEST(Identifier, JoinsTheCodeAndALineOfAtLeastFourDigits) {
    const auto identify = [](const std::exception& rException) {
        return Narrow(VelomException::GetExceptionIdentifierForUserDisplay(rException).View());
    };
    EXPECT_EQ(identify(MakeReadFile(7)), "065:003:0007");
    EXPECT_EQ(identify(MakeReadFile(123456)), "065:003:123456");
    EXPECT_EQ(identify(std::runtime_error("x")), "000:000:000");
    EXPECT_TRUE(VelomException::IsVelomException(MakeReadFile(1)));
    EXPECT_FALSE(VelomException::IsVelomException(std::runtime_error("x")));
    EXPECT_FALSE(VelomException::AllowForExceptionDebug(MakeReadFile(1)));
}

TEST(Hierarchy, ClassesHaveTheirCodesAndGroupsTheirBases) {
    std::map<std::string, std::string> mapClasses;
#define VLM_EXCEPTION(name, base, code)                                                      \
    {                                                                                        \
        const name exception = Get##name(CXString(), CXString(), 0, CXString(), nullptr);    \
        mapClasses[Narrow(exception.GetExceptionTypeByNumericCode().View())] =               \
            Narrow(static_cast<const VelomException&>(exception).GetExceptionType().View()); \
    }
#include "utilities/debuggingandexceptions/VelomExceptionList.inl"
#undef VLM_EXCEPTION
    EXPECT_EQ(mapClasses.size(), 94u) << "no code twice";
    const std::pair<const char*, const char*> KNOWN[] = {
        {"024:010", "ExceptionWSD"},       {"029:000", "ExceptionInvalidAttributeOperationParamter"},
        {"065:004", "ExceptionWriteFile"}, {"072:000", "ExceptionOutOfMemory"},
        {"999:000", "ExceptionAssertion"},
    };
    for (const auto& [pszCode, pszClass] : KNOWN)
        EXPECT_EQ(mapClasses[pszCode], pszClass);
    EXPECT_THROW(throw MakeReadFile(1), ExceptionFile);
    EXPECT_THROW(throw GetExceptionWSD(CXString(), CXString(), 1, CXString(), nullptr), ExceptionCommunicationsFailure);
}

TEST(What, IsTheDescriptionInTheAnsiCodePageAndEarlierTextsStayGood) {
    const ExceptionReadFile exception = MakeReadFile(57, VTEXT("\x20AC 5 \x4E2D"));
    const char* const pszFirst = exception.what();
    EXPECT_THAT(pszFirst, ::testing::StartsWith("Object of ExceptionReadFile thrown from:\r\n\r\nPath:\tc:\\q9"));
    EXPECT_THAT(pszFirst, HasSubstr("\x80 5 ?"));
    const char* const pszSecond = exception.what();
    EXPECT_NE(pszFirst, pszSecond);
    EXPECT_STREQ(pszFirst, pszSecond);
    EXPECT_STREQ(ExceptionReadFile(exception).what(), pszFirst);
    ExceptionReadFile assigned = MakeReadFile(1);
    assigned = exception;
    EXPECT_STREQ(assigned.what(), pszFirst);

    const std::size_t cAround = std::string(MakeReadFile(1, VTEXT("x")).what()).size() - 1;
    for (const std::size_t cMessage : {2046 - cAround, 2047 - cAround, 2048 - cAround, std::size_t(9000)}) {
        const ExceptionReadFile longOne = MakeReadFile(1, CXString(VTEXT('x'), static_cast<int>(cMessage)));
        EXPECT_EQ(std::string(longOne.what()).size(), std::min<std::size_t>(cMessage + cAround, 2047));
    }
}

TEST(ExceptionsWithMore, TellTheirOwnCodes) {
    const VelomComException com =
        GetVelomComException(CXString(), CXString(), 3, CXString(), nullptr, static_cast<HRESULT>(5));
    EXPECT_EQ(Narrow(com.GetExceptionIdentifierForUserDisplay().View()), "071:000:0003");
    EXPECT_THAT(Narrow(VelomComException::GetAdditionalExceptionDescription(&com).View()),
                ::testing::MatchesRegex("COM Error HRESULT = 0x5 \\(Access.*denied.*\\)\\."));
    EXPECT_TRUE(VelomComException::GetAdditionalExceptionDescription(nullptr).IsEmpty());
    const std::tuple<int, const char*, const char*> aoRows[] = {
        {15, "FAILED_CREATFILE_DURING_READ", "001:015"},
        {27, "<Unknown code!!!>", "001:027"},
        {-1, "<Unknown code!!!>", "001:-01"},
    };
    for (const auto& [iCode, pszName, pszType] : aoRows) {
        const JotfParseException jotf = GetJotfParseException(CXString(), CXString(), 1, CXString(), nullptr,
                                                              static_cast<JotfParseException::ExceptionCode>(iCode));
        EXPECT_EQ(Narrow(jotf.GetCodeString().View()), pszName);
        EXPECT_EQ(Narrow(jotf.GetExceptionTypeByNumericCode().View()), pszType);
    }
}

// Made on one thread, displayed and destroyed on another, while the first goes on pushing and popping.
TEST(ConcurrencyOfExceptions, ContextsTravelToAnotherThread) {
    constexpr int THREADS = 8;
    constexpr int ROUNDS = 200;
    std::mutex mutex;
    std::vector<std::exception_ptr> queue;
    std::vector<std::jthread> threads;
    for (int iThread = 0; iThread < THREADS; ++iThread) {
        threads.emplace_back([&] {
            for (int i = 0; i < ROUNDS; ++i) {
                const ExecutionContextLifetime lifetime(
                    MakeExecutionContext(ECIE_THREAD_WSD_REQUEST, VLM_HERE, CXString(VTEXT("shared text"))));
                std::exception_ptr pException =
                    std::make_exception_ptr(GetExceptionWSD(VTEXT("m"), VTEXT("f"), i, VTEXT("A::B"),
                                                            &UtilitiesDllPerThreadStorage::GetExecutionContextStack()));
                const std::lock_guard lock(mutex);
                queue.push_back(std::move(pException));
            }
        });
    }
    for (int iTaken = 0; iTaken < THREADS * ROUNDS;) {
        std::vector<std::exception_ptr> taken;
        {
            const std::lock_guard lock(mutex);
            taken.swap(queue);
        }
        for (; !taken.empty(); taken.pop_back(), ++iTaken) {
            try {
                std::rethrow_exception(taken.back());
            } catch (const VelomException& rException) {
                EXPECT_THAT(Describe(rException), HasSubstr("ECIE_THREAD_WSD_REQUEST: shared text"));
            }
        }
    }
}

}  // namespace
