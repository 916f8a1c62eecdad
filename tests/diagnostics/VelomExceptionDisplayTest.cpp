/// @file
/// What is shown of a caught exception, and to whom.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "support/FakePlatform.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/CustomerMessages.h"
#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;
using vlm::PlatformScope;
using vlm::test::FakePlatform;
using vlm::test::Narrow;
using vlm::test::RecordingSink;

constexpr const char* UNEXPECTED = "An unexpected error occurred in the Velom Printer Driver Product DLL.";

/// How one display ends.
struct Outcome {
    bool fThrownAgain = false;
    std::vector<std::string> vQuestions;
    std::vector<std::string> vTexts;
};

class VelomExceptionDisplay : public ::testing::Test {
protected:
    VelomExceptionDisplay() : m_oScope(m_oFake.Get()) { Switch(false, true); }
    ~VelomExceptionDisplay() override { Switch(false, true); }

    /// The switches of the process's own manager.
    static void Switch(bool fMessages, bool fBoxes) {
        DebugMessageConfiguration& rSettings = GetDebugMessageManager().GetConfiguration();
        rSettings.SetMessagesEnabled(fMessages);
        rSettings.SetShowMessageBoxOnExceptionThrow(fBoxes);
    }

    template <class Exception, class Title>
    Outcome Show(const Exception& rException, bool fForce, bool fSuppress, HWND hwnd, const Title& rTitle,
                 const XCHAR* pszMessage = VTEXT("")) {
        Outcome outcome;
        RecordingSink sink;
        sink.iAnswer = m_iAnswer;
        try {
            try {
                throw rException;
            } catch (const std::exception& rCaught) {
                VelomException::DisplayExceptionMessage(fForce, fSuppress, &rCaught, VTEXT("src\\Catcher.cpp"), 77,
                                                        VTEXT("Catcher::Run"), m_pStack, hwnd, rTitle,
                                                        CXString(pszMessage));
            }
        } catch (const Exception&) {
            outcome.fThrownAgain = true;
        }
        outcome.vQuestions = sink.Questions();
        outcome.vTexts = sink.Texts();
        return outcome;
    }
    Outcome Show(bool fForce = false, bool fSuppress = false) {
        return Show(m_oException, fForce, fSuppress, nullptr, CXString(VTEXT("Title")));
    }

    FakePlatform m_oFake;
    const PlatformScope m_oScope;
    int m_iAnswer = 1;
    const ExecutionContextStack* m_pStack = nullptr;
    const ExceptionReadFile m_oException{VTEXT("disk on fire"), VTEXT("src\\Raiser.cpp"), 57, VTEXT("Raiser::Read"),
                                         nullptr};
};

TEST_F(VelomExceptionDisplay, DebugMessageIsWrittenInAnyCase) {
    m_oFake.sessions.SetDesktopVisible(false);
    const Outcome without = Show(false, true);
    EXPECT_THAT(without.vQuestions, IsEmpty());
    EXPECT_THAT(
        without.vTexts,
        ElementsAre(AllOf(
            StartsWith("\n\n\n>========================= Exception caught ========================<Caught in "
                       "Catcher::Run! Details: Location of catch: src\\Catcher.cpp (line 77); <ExecutionContextStack "
                       "Unavailable>\r\n\r\nObject of ExceptionReadFile thrown from:\r\n\r\n"),
            HasSubstr("disk on fire"),
            EndsWith("\n>========================== End, Exception =========================<\n\n\n"))));
    const ExecutionContextLifetime lifetime(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE));
    m_pStack = UtilitiesDllPerThreadStorage::PeekExecutionContextStack();
    EXPECT_THAT(Show().vTexts.back(), HasSubstr("; Execution context ("));
}

TEST_F(VelomExceptionDisplay, SwitchesAndFlagsDecideWhoSeesABox) {
    const struct {
        bool fMessages, fBoxes, fForce, fSuppress, fVisible;
        bool fCustomer, fDeveloper;
    } aoRows[] = {
        {false, true, false, false, true, true, false},  {false, true, true, false, true, true, false},
        {false, true, false, true, true, false, false},  {false, false, false, false, true, false, false},
        {false, false, true, false, true, true, false},  {false, true, true, false, false, false, false},
        {true, true, false, false, true, true, true},    {true, true, false, true, true, false, true},
        {true, true, false, false, false, false, false}, {true, false, false, false, true, false, false},
        {true, false, true, false, true, true, false},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(&rRow - aoRows);
        Switch(rRow.fMessages, rRow.fBoxes);
        m_oFake.sessions.SetDesktopVisible(rRow.fVisible);
        const Outcome outcome = Show(rRow.fForce, rRow.fSuppress);
        ASSERT_EQ(outcome.vQuestions.size(), rRow.fCustomer || rRow.fDeveloper ? 1u : 0u);
        if (outcome.vQuestions.empty()) continue;
        const std::string question = outcome.vQuestions[0];
        EXPECT_THAT(question,
                    StartsWith(rRow.fDeveloper ? "Exception Caught in 'Catcher::Run': Object of" : "Title: "));
        const std::string customer = "A file of the printer driver could not be read or written.";
        EXPECT_EQ(question.find(customer) != std::string::npos, rRow.fCustomer);
        if (!rRow.fDeveloper) continue;
        EXPECT_THAT(question, HasSubstr("Select Cancel to re-throw the exception."));
        if (rRow.fCustomer) {
            EXPECT_THAT(question, HasSubstr("The customer's message (if visible) would look like this (Title: Message) "
                                            "->\r\n\r\n\"Title: " +
                                            customer));
        } else {
            EXPECT_THAT(question, HasSubstr("NOTE: A customer would NOT see any message in this case. \r\nSelect OK"));
        }
    }
    EXPECT_THAT(
        Show(true, true).vTexts,
        ElementsAre(AllOf(HasSubstr("It's not legal for both of these parameters to be 'true'!"),
                          HasSubstr("Failed Condition:\t(!fForceInReleaseBuild || !fSuppressInReleaseBuild)\r\n")),
                    HasSubstr("Exception caught")));
}

TEST_F(VelomExceptionDisplay, OnlyADevelopersCancelThrowsAgain) {
    for (const auto& [fMessages, iAnswer, fThrown] : {std::tuple{false, 2, false}, std::tuple{true, 1, false},
                                                      std::tuple{true, 2, true}, std::tuple{true, 0, false}}) {
        Switch(fMessages, true);
        m_iAnswer = iAnswer;
        EXPECT_EQ(Show().fThrownAgain, fThrown) << fMessages << iAnswer;
        EXPECT_EQ(Show(std::out_of_range("foreign"), false, false, nullptr, UINT{0}).fThrownAgain, fThrown);
    }
}

TEST_F(VelomExceptionDisplay, CustomersReadWhatHappenedAndWhatToQuote) {
    const auto question = [&](const auto& rException, const XCHAR* pszMessage = VTEXT("")) {
        return Show(rException, false, false, nullptr, CXString(VTEXT("T")), pszMessage).vQuestions.at(0);
    };
    EXPECT_EQ(question(m_oException, VTEXT("The settings are lost.")),
              "T: The settings are lost.\r\n\r\nA file of the printer driver could not be read or written. Make sure "
              "that the disk is not full and that you may use the file.\r\n\r\n065:003:0057");
    EXPECT_EQ(question(std::out_of_range("x")), std::string("T: ") + UNEXPECTED + "\r\n\r\n000:000:000");
    const struct {
        CustomerMessageId eExpected;
        CustomerMessageId eActual;
    } aoRows[] = {
#define Q9_ROW(Class, id)                                                                                     \
    {id, GetCustomerMessageIDsForException(                                                                   \
             &static_cast<const std::exception&>(Get##Class(CXString(), CXString(), 1, CXString(), nullptr))) \
             .eMessage}
        Q9_ROW(ExceptionRegistryRequest, IDS_STORED_SETTING),
        Q9_ROW(ExceptionSNMP, IDS_COMMUNICATION),
        Q9_ROW(ExceptionCommunicationsFailure, IDS_COMMUNICATION),
        Q9_ROW(ExceptionFile, IDS_FILE),
        Q9_ROW(ExceptionOutOfMemory, IDS_NO_MEMORY),
        Q9_ROW(ExceptionCompression, IDS_PRINT_SETTINGS),
        Q9_ROW(ExceptionInvalidFormName, IDS_INPUT),
        Q9_ROW(ExceptionSpoolerFailure, IDS_PRINTING_SYSTEM),
        Q9_ROW(ExceptionAssertion, IDS_NONE),
#undef Q9_ROW
    };
    for (const auto& rRow : aoRows)
        EXPECT_EQ(rRow.eActual, rRow.eExpected) << &rRow - aoRows;
    EXPECT_EQ(GetCustomerMessageIDsForException(nullptr).eMessage, IDS_NONE);
    // A translation wins over what is compiled in.
    m_oFake.text.AddString(nullptr, IDS_FILE, VTEXT("Eine Datei ging verloren."));
    EXPECT_THAT(question(m_oException), StartsWith("T: Eine Datei ging verloren. Make sure"));
    EXPECT_TRUE(LoadTextResource(1).IsEmpty());
}

TEST_F(VelomExceptionDisplay, HresultJoinsTheDetails) {
    Switch(true, true);
    const VelomComException com(VTEXT("m"), VTEXT("f"), 1, VTEXT("A::B"), nullptr, static_cast<HRESULT>(0x80070005));
    const Outcome outcome = Show(com, false, false, nullptr, UINT{IDS_PRODUCT_TITLE});
    EXPECT_THAT(outcome.vTexts, ElementsAre(HasSubstr("COM Error HRESULT = 0x80070005 (")));
    EXPECT_THAT(outcome.vQuestions, ElementsAre(AllOf(HasSubstr("COM Error HRESULT = 0x80070005 ("),
                                                      HasSubstr("\"Velom Printer Driver: "))));
}

TEST_F(VelomExceptionDisplay, TitleComesFromTheWindowsOrTheResource) {
    const auto titleOf = [&](HWND hwnd, const auto& rTitle) {
        const Outcome outcome = Show(m_oException, false, false, hwnd, rTitle);
        const std::string question = outcome.vQuestions.at(0);
        return std::pair{question.substr(0, question.find(": A file")), outcome.vTexts.size() - 1};
    };
    const HWND parent = m_oFake.text.AddWindow(VTEXT("Parent"));
    const HWND child = m_oFake.text.AddWindow(VTEXT("Child"), parent);
    const HWND bare = m_oFake.text.AddWindow(VTEXT(""), parent);
    const HWND orphan = m_oFake.text.AddWindow(VTEXT(""));
    const HWND gone = m_oFake.text.AddWindow(VTEXT("Gone"));
    m_oFake.text.RemoveWindow(gone);
    m_oFake.text.AddString(nullptr, 4711, VTEXT("Resource"));
    const std::pair<std::string, std::size_t> CHILD{"Child", 0}, PARENT{"Parent", 0}, RESOURCE{"Resource", 0},
        PRODUCT{"Velom Printer Driver", 0}, GIVEN{"Given", 0};
    EXPECT_EQ(titleOf(child, CXString(VTEXT("Given"))), GIVEN);
    EXPECT_EQ(titleOf(child, CXString()), CHILD);
    EXPECT_EQ(titleOf(child, UINT{4711}), CHILD);
    EXPECT_EQ(titleOf(bare, UINT{4711}), PARENT);
    EXPECT_EQ(titleOf(orphan, UINT{4711}), RESOURCE);
    EXPECT_EQ(titleOf(nullptr, UINT{4711}), RESOURCE);
    EXPECT_EQ(titleOf(nullptr, UINT{1}), PRODUCT);
    const Outcome outcome = Show(m_oException, false, false, gone, UINT{4711});
    EXPECT_THAT(outcome.vQuestions, ElementsAre(StartsWith("Resource: ")));
    EXPECT_THAT(outcome.vTexts, ElementsAre(HasSubstr("Exception caught"),
                                            AllOf(StartsWith("Failed GetWindowText() for hwndCurrentWindow (0x"),
                                                  HasSubstr(") or its parent (0x0) "))));
}

}  // namespace
