/// @file
/// The exception hierarchy: descriptions, identifiers, codes and `what()`.
#include "utilities/debuggingandexceptions/VelomExceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
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
        const char* pszExpected;
    } aoRows[] = {
        {VTEXT("told"), VTEXT("c:\\a\\b.cpp"), nullptr,
         "Path:\tc:\\a\\\r\nFile:\tb.cpp\r\nMethod:\tA::B()\r\nLine:\t4294967295\r\n\r\nDetails:\r\n\ttold\r\n"},
        {VTEXT(""), VTEXT("b.cpp"), nullptr, "Path:\t\r\nFile:\tb.cpp\r\nMethod:\tA::B()\r\nLine:\t4294967295\r\n"},
        {VTEXT(""), VTEXT("a\\"), &emptyStack,
         "Path:\ta\\\r\nFile:\t\r\nMethod:\tA::B()\r\nLine:\t4294967295\r\n<No Context>"},
        {VTEXT("100%s"), VTEXT(""), nullptr,
         "Path:\t\r\nFile:\t\r\nMethod:\tA::B()\r\nLine:\t4294967295\r\n\r\nDetails:\r\n\t100%s\r\n"},
    };
    for (const auto& rRow : aoRows) {
        EXPECT_EQ(Narrow(VelomException::GetLocationAndMessageDescription(rRow.pszMessage, rRow.pszFile, 0xFFFFFFFF,
                                                                          VTEXT("A::B"), rRow.pStack)
                             .View()),
                  rRow.pszExpected);
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
    EXPECT_EQ(Narrow(MakeReadFile(57).GetExceptionIdentifierForUserDisplay().View()), "065:003:0057");
    EXPECT_EQ(Narrow(MakeReadFile(7).GetExceptionIdentifierForUserDisplay().View()), "065:003:0007");
    EXPECT_EQ(Narrow(MakeReadFile(123456).GetExceptionIdentifierForUserDisplay().View()), "065:003:123456");
    const ExceptionReadFile exception = MakeReadFile(1);
    EXPECT_EQ(
        Narrow(
            VelomException::GetExceptionIdentifierForUserDisplay(static_cast<const std::exception&>(exception)).View()),
        "065:003:0001");
    EXPECT_EQ(Narrow(VelomException::GetExceptionIdentifierForUserDisplay(std::runtime_error("x")).View()),
              "000:000:000");
    EXPECT_TRUE(VelomException::IsVelomException(exception));
    EXPECT_FALSE(VelomException::IsVelomException(std::runtime_error("x")));
}

template <class Exception>
std::string CodeOf(Exception (*pfnFactory)(const CXString&, const CXString&, int, const CXString&,
                                           const ExecutionContextStack*)) {
    const Exception exception = pfnFactory(CXString(), CXString(), 0, CXString(), nullptr);
    return Narrow(exception.GetExceptionTypeByNumericCode().View());
}

TEST(TypeCodes, OfTheGroupsAndOfTheEndsOfTheList) {
    const std::pair<std::string, const char*> aoRows[] = {
        {CodeOf(&GetExceptionRegistryRequest), "001:000"},
        {CodeOf(&GetExceptionCommunicationsFailure), "024:000"},
        {CodeOf(&GetExceptionAutoDiscovery), "024:001"},
        {CodeOf(&GetExceptionBEACON), "024:002"},
        {CodeOf(&GetExceptionDLP), "024:003"},
        {CodeOf(&GetExceptionHTTP), "024:004"},
        {CodeOf(&GetExceptionIPP), "024:005"},
        {CodeOf(&GetExceptionNETBIOS), "024:006"},
        {CodeOf(&GetExceptionSNMP), "024:007"},
        {CodeOf(&GetExceptionSOCKET), "024:008"},
        {CodeOf(&GetExceptionUSB), "024:009"},
        {CodeOf(&GetExceptionWSD), "024:010"},
        {CodeOf(&GetExceptionAttributeValueTypeMismatch), "025:000"},
        {CodeOf(&GetExceptionInvalidAttributeOperationParamter), "029:000"},
        {CodeOf(&GetExceptionFile), "065:000"},
        {CodeOf(&GetExceptionCreateFileForReading), "065:001"},
        {CodeOf(&GetExceptionCreateFileForWriting), "065:002"},
        {CodeOf(&GetExceptionReadFile), "065:003"},
        {CodeOf(&GetExceptionWriteFile), "065:004"},
        {CodeOf(&GetExceptionGroupMembershipFailure), "066:000"},
        {CodeOf(&GetExceptionOutOfMemory), "072:000"},
        {CodeOf(&GetExceptionSomethingBadHappened), "080:000"},
        {CodeOf(&GetExceptionAssertion), "999:000"},
    };
    for (const auto& [code, pszExpected] : aoRows)
        EXPECT_EQ(code, pszExpected);

    std::set<std::string> codes;
#define VLM_EXCEPTION(name, base, code) EXPECT_TRUE(codes.insert(code).second) << #name;
#include "utilities/debuggingandexceptions/VelomExceptionList.inl"
#undef VLM_EXCEPTION
    EXPECT_EQ(codes.size(), 94u);
}

TEST(Hierarchy, GroupsAreCaughtByTheirBase) {
    EXPECT_THROW(throw MakeReadFile(1), ExceptionFile);
    EXPECT_THROW(throw GetExceptionWSD(CXString(), CXString(), 1, CXString(), nullptr), ExceptionCommunicationsFailure);
    EXPECT_THROW(throw GetVelomComException(CXString(), CXString(), 1, CXString(), nullptr, 0), VelomException);
    EXPECT_EQ(Narrow(MakeReadFile(1).GetExceptionType().View()), "ExceptionReadFile");
    EXPECT_EQ(
        Narrow(static_cast<const VelomException&>(GetExceptionFile(CXString(), CXString(), 1, CXString(), nullptr))
                   .GetExceptionType()
                   .View()),
        "ExceptionFile");
}

TEST(What, IsTheDescriptionInTheAnsiCodePageAndEarlierTextsStayGood) {
    const ExceptionReadFile exception = MakeReadFile(57, VTEXT("\x20AC 5 \x4E2D"));
    const char* const pszFirst = exception.what();
    EXPECT_THAT(pszFirst, ::testing::StartsWith("Object of ExceptionReadFile thrown from:\r\n\r\nPath:\tc:\\q9"));
    EXPECT_THAT(pszFirst, HasSubstr("\x80 5 ?"));
    const char* const pszSecond = exception.what();
    EXPECT_NE(pszFirst, pszSecond);
    EXPECT_STREQ(pszFirst, pszSecond);

    const ExceptionReadFile copy(exception);
    EXPECT_STREQ(copy.what(), pszFirst);
    ExceptionReadFile assigned = MakeReadFile(1);
    assigned = exception;
    EXPECT_STREQ(assigned.what(), pszFirst);
}

TEST(What, IsCutAtTheSizeOfItsBuffer) {
    const std::size_t cAround = std::string(MakeReadFile(1, VTEXT("x")).what()).size() - 1;
    for (const std::size_t cMessage : {2047 - cAround, 2048 - cAround, std::size_t(9000)}) {
        const ExceptionReadFile exception = MakeReadFile(1, CXString(VTEXT('x'), static_cast<int>(cMessage)));
        EXPECT_EQ(std::string(exception.what()).size(), 2047u);
    }
    EXPECT_EQ(std::string(MakeReadFile(1, CXString(VTEXT('x'), static_cast<int>(2046 - cAround))).what()).size(),
              2046u);
}

TEST(ComException, DescribesItsResultCode) {
    const VelomComException exception =
        GetVelomComException(CXString(), CXString(), 3, CXString(), nullptr, static_cast<HRESULT>(5));
    EXPECT_EQ(Narrow(exception.GetExceptionIdentifierForUserDisplay().View()), "071:000:0003");
    const std::string text = Narrow(VelomComException::GetAdditionalExceptionDescription(&exception).View());
    EXPECT_THAT(text, ::testing::MatchesRegex("COM Error HRESULT = 0x5 \\(Access.*denied.*\\)\\."));
    EXPECT_TRUE(VelomComException::GetAdditionalExceptionDescription(nullptr).IsEmpty());
}

TEST(JotfParse, NamesItsCodesAndPutsThemIntoItsTypeCode) {
    const struct {
        int iCode;
        const char* pszName;
        const char* pszType;
    } aoRows[] = {
        {0, "ILLEGAL_JOTFPARSE_EXCEPTION_CODE", "001:000"},
        {10, "REQUIRED_DTD_NOT_SPECIFIED", "001:010"},
        {15, "FAILED_CREATFILE_DURING_READ", "001:015"},
        {26, "NO_CATEGORY_FOR_JCAP_ATTRIBUTE", "001:026"},
        {27, "<Unknown code!!!>", "001:027"},
        {1234, "<Unknown code!!!>", "001:1234"},
        {-1, "<Unknown code!!!>", "001:-01"},
    };
    for (const auto& rRow : aoRows) {
        const auto eCode = static_cast<JotfParseException::ExceptionCode>(rRow.iCode);
        const JotfParseException exception =
            GetJotfParseException(CXString(), CXString(), 1, CXString(), nullptr, eCode);
        EXPECT_EQ(exception.GetCode(), eCode);
        EXPECT_EQ(Narrow(exception.GetCodeString().View()), rRow.pszName);
        EXPECT_EQ(Narrow(exception.GetExceptionTypeByNumericCode().View()), rRow.pszType);
    }
}

// Made on one thread, displayed and destroyed on another, while the first goes on pushing and popping.
TEST(ConcurrencyOfExceptions, ContextsTravelToAnotherThread) {
    constexpr int PAIRS = 8;
    constexpr int ROUNDS = 200;
    std::mutex mutex;
    std::condition_variable ready;
    std::deque<std::exception_ptr> queue;
    std::atomic<int> iGood{0};

    std::vector<std::jthread> threads;
    for (int iPair = 0; iPair < PAIRS; ++iPair) {
        threads.emplace_back([&] {
            for (int i = 0; i < ROUNDS; ++i) {
                const ExecutionContextLifetime lifetime(
                    MakeExecutionContext(ECIE_THREAD_WSD_REQUEST, VLM_HERE, CXString(VTEXT("shared text"))));
                std::exception_ptr pException =
                    std::make_exception_ptr(GetExceptionWSD(VTEXT("m"), VTEXT("f"), i, VTEXT("A::B"),
                                                            &UtilitiesDllPerThreadStorage::GetExecutionContextStack()));
                const std::lock_guard lock(mutex);
                queue.push_back(std::move(pException));
                ready.notify_one();
            }
        });
        threads.emplace_back([&] {
            for (int i = 0; i < ROUNDS; ++i) {
                std::exception_ptr pException;
                {
                    std::unique_lock lock(mutex);
                    ready.wait(lock, [&] { return !queue.empty(); });
                    pException = std::move(queue.front());
                    queue.pop_front();
                }
                try {
                    std::rethrow_exception(pException);
                } catch (const VelomException& rException) {
                    iGood += Describe(rException).find("ECIE_THREAD_WSD_REQUEST: shared text") != std::string::npos;
                }
            }
        });
    }
    threads.clear();
    EXPECT_EQ(iGood.load(), PAIRS * ROUNDS);
}

}  // namespace
