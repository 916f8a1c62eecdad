/// @file
/// What is shown of a caught exception, and to whom.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <tuple>

#include "support/FakePlatform.h"
#include "support/FaultLoop.h"
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
using ::testing::StartsWith;
using vlm::PlatformScope;
using vlm::test::FakePlatform;
using vlm::test::FaultLoop;
using vlm::test::FaultOutcome;
using vlm::test::RecordingSink;

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
    // All settings of five switches; who sees the box follows from the promises of the header.
    for (unsigned uCase = 0; uCase < 32; ++uCase) {
        SCOPED_TRACE(uCase);
        const bool fMessages = uCase & 1, fBoxes = uCase & 2, fForce = uCase & 4, fSuppress = uCase & 8;
        const bool fVisible = uCase & 16;
        Switch(fMessages, fBoxes);
        m_oFake.sessions.SetDesktopVisible(fVisible);
        const Outcome outcome = Show(fForce, fSuppress);
        const bool fCustomer = fVisible && !fSuppress && (fBoxes || fForce);
        const bool fDeveloper = fVisible && fBoxes && fMessages;
        ASSERT_EQ(outcome.vQuestions.size(), fCustomer || fDeveloper ? 1u : 0u);
        EXPECT_EQ(outcome.vTexts.size(), fForce && fSuppress ? 2u : 1u);
        if (outcome.vQuestions.empty()) continue;
        EXPECT_THAT(outcome.vQuestions[0],
                    StartsWith(fDeveloper ? "Exception Caught in 'Catcher::Run': Object of" : "Title: A file"));
        if (!fDeveloper) continue;
        EXPECT_THAT(
            outcome.vQuestions[0],
            AllOf(HasSubstr("Select Cancel to re-throw the exception."),
                  HasSubstr(fCustomer ? "The customer's message (if visible) would look like this (Title: "
                                        "Message) ->\r\n\r\n\"Title: A file of the printer driver"
                                      : "NOTE: A customer would NOT see any message in this case. \r\nSelect")));
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
    EXPECT_EQ(question(std::out_of_range("x")),
              "T: An unexpected error occurred in the Velom Printer Driver Product DLL.\r\n\r\n000:000:000");
    // A translation wins over what is compiled in.
    m_oFake.text.AddString(nullptr, IDS_FILE, VTEXT("Eine Datei ging verloren."));
    EXPECT_THAT(question(m_oException), StartsWith("T: Eine Datei ging verloren. Make sure"));
    EXPECT_EQ(GetCustomerMessageIDsForException(nullptr).eMessage, IDS_NONE);
    const auto idOf = [](const std::exception& rException) {
        return GetCustomerMessageIDsForException(&rException).eMessage;
    };
    const CXString cs;
    EXPECT_EQ(idOf(GetExceptionRegistryRequest(cs, cs, 1, cs, nullptr)), IDS_STORED_SETTING);
    EXPECT_EQ(idOf(GetExceptionSNMP(cs, cs, 1, cs, nullptr)), IDS_COMMUNICATION);
    EXPECT_EQ(idOf(GetExceptionMissingOrBadAttributeBytesFormat(cs, cs, 1, cs, nullptr)), IDS_PRINT_SETTINGS);
    EXPECT_EQ(idOf(GetExceptionOutOfMemory(cs, cs, 1, cs, nullptr)), IDS_NO_MEMORY);
    EXPECT_EQ(idOf(GetExceptionAssertion(cs, cs, 1, cs, nullptr)), IDS_NONE);
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
    const HWND parent = m_oFake.text.AddWindow(VTEXT("Parent"));
    const HWND child = m_oFake.text.AddWindow(VTEXT("Child"), parent);
    const HWND bare = m_oFake.text.AddWindow(VTEXT(""), parent);
    const HWND orphan = m_oFake.text.AddWindow(VTEXT(""));
    const HWND gone = m_oFake.text.AddWindow(VTEXT("Gone"));
    m_oFake.text.RemoveWindow(gone);
    m_oFake.text.AddString(nullptr, 4711, VTEXT("Resource"));
    const std::tuple<HWND, UINT, const char*> aoRows[] = {
        {child, 4711, "Child: "},
        {bare, 4711, "Parent: "},
        {orphan, 4711, "Resource: "},
        {nullptr, 4711, "Resource: "},
        {nullptr, 1, "Velom Printer Driver: "},
        {gone, 4711, "Resource: "},
    };
    for (const auto& [hwnd, uTitle, pszTitle] : aoRows) {
        const Outcome outcome = Show(m_oException, false, false, hwnd, uTitle);
        EXPECT_THAT(outcome.vQuestions, ElementsAre(StartsWith(pszTitle)));
        ASSERT_EQ(outcome.vTexts.size(), hwnd == gone ? 2u : 1u);
        if (hwnd != gone) continue;
        EXPECT_THAT(outcome.vTexts[1], AllOf(StartsWith("Failed GetWindowText() for hwndCurrentWindow (0x"),
                                             HasSubstr(") or its parent (0x0) ")));
    }
    EXPECT_THAT(Show(m_oException, false, false, child, CXString(VTEXT("Given"))).vQuestions,
                ElementsAre(StartsWith("Given: ")));
}

TEST_F(VelomExceptionDisplay, ADeveloperIsAskedWhateverFails) {
    Switch(true, true);
    RecordingSink sink(DebugCategory::Errors);
    sink.iAnswer = 2;
    HWND child = nullptr;
    CXString csLocked(VTEXT("copies of it take memory"));
    csLocked.LockBuffer();
    const CXString csLong(VTEXT('x'), 600), csNone;
    FaultLoop loop;
    loop.fnPrepare = [&](FakePlatform& rFake) {
        child = rFake.text.AddWindow(VTEXT(""), rFake.text.AddWindow(VTEXT("Parent")));
    };
    const auto show = [&](const CXString& kcsTitle) {
        // Throwing again is the answer to a question: it was asked.
        return VelomException::ShowCaughtException(true, true, &m_oException, csLong, 7, csLong, nullptr, child,
                                                   kcsTitle, IDS_PRODUCT_TITLE, csLong)
                   ? FaultOutcome::Succeeded
                   : FaultOutcome::Failed;
    };
    loop.fnCheck = [](FakePlatform&, FaultOutcome eOutcome) { EXPECT_EQ(eOutcome, FaultOutcome::Succeeded); };
    const vlm::test::FaultRow ROWS[] = {{"title of a window", [&] { return show(csNone); }},
                                        {"title given", [&] { return show(csLocked); }}};
    RunFaultRows(ROWS, loop);
}

}  // namespace
