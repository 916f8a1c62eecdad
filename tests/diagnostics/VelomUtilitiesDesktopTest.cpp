/// @file
/// What reaches a person: boxes that hang no service, and the viewer window.
#include "utilities/utilitiesdll/VelomUtilities_Desktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/FakePlatform.h"
#include "support/Narrow.h"
#include "support/RecordingSink.h"
#include "utilities/debuggingandexceptions/XDebugPadManager.h"
#include "utilities/utilitiesdll/LoaderLock.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using vlm::PlatformScope;
using vlm::Status;
using vlm::test::FakePlatform;
using vlm::test::FakeSessionPort;
using vlm::test::Narrow;
using vlm::test::RecordingSink;
using vlm::test::XString;

const HWND OWNER = reinterpret_cast<HWND>(std::uintptr_t{0x70});

int Show() {
    return VelomUtilities::NoHangDebugMessageBox(OWNER, VTEXT("text"), VTEXT("caption"), 0x10);
}

class NoHangDebugMessageBox : public ::testing::Test {
protected:
    FakePlatform fake;
    const PlatformScope scope{fake.Get()};
    const RecordingSink sink;
};

TEST_F(NoHangDebugMessageBox, IsThePlainBoxWhereSomebodySeesItAndNoneUnderTheLoaderLock) {
    {
        const vlm::LoaderLockScope loader;
        const vlm::LoaderLockScope nested;
        EXPECT_EQ(Show(), 0);
    }
    EXPECT_TRUE(fake.sessions.Boxes().empty());
    EXPECT_EQ(Narrow(fake.desktop.DebuggerLines().at(0)), "text");
    fake.sessions.AddSession(1, true);
    fake.sessions.AnswerWith(2);
    EXPECT_EQ(Show(), 2);
    const FakeSessionPort::Box box = fake.sessions.Boxes().at(0);
    EXPECT_EQ(box.hwndOwner, OWNER);
    EXPECT_EQ(box.dwStyle, 0x10u);
    EXPECT_EQ(box.oSession, std::nullopt);
    EXPECT_EQ(Narrow(box.caption), "caption");
    EXPECT_THAT(sink.Texts(), ElementsAre("**Notification MessageBox**caption:\ntext\n"));
}

using ActiveSession = std::tuple<bool, bool, Status, Status, std::optional<DWORD>, const char*>;
class NoHangBoxOfAService : public NoHangDebugMessageBox, public ::testing::WithParamInterface<ActiveSession> {};

TEST_P(NoHangBoxOfAService, GoesToTheFirstActiveSessionThatTakesIt) {
    const auto& [fFirst, fSecond, eSessions, eFirstBox, oShownIn, pszReport] = GetParam();
    fake.sessions.SetDesktopVisible(false);
    fake.sessions.AddSession(7, fFirst);
    fake.sessions.AddSession(8, fSecond);
    fake.sessions.SetSessionsStatus(eSessions);
    fake.sessions.SetSessionBoxStatus(7, eFirstBox);
    fake.sessions.AnswerWith(4);
    EXPECT_EQ(Show(), 4);
    const FakeSessionPort::Box box = fake.sessions.Boxes().at(0);
    EXPECT_EQ(box.oSession, oShownIn);
    EXPECT_EQ(box.dwStyle, 0x210010u);
    EXPECT_EQ(Narrow(box.caption), "test.exe: caption");
    ASSERT_EQ(sink.Texts().size(), pszReport ? 2u : 1u);
    if (!pszReport) return;
    EXPECT_THAT(sink.Texts()[1], AllOf(HasSubstr(pszReport), ::testing::EndsWith(")")));
}

constexpr Status DONE = Status::Success, DENIED = Status::AccessDenied, NO_SERVICES = static_cast<Status>(1151);
INSTANTIATE_TEST_SUITE_P(
    Cases, NoHangBoxOfAService,
    ::testing::Values(
        ActiveSession{true, true, DONE, DONE, 7, nullptr}, ActiveSession{false, true, DONE, DONE, 8, nullptr},
        ActiveSession{true, true, DONE, DENIED, 8,
                      "WTSSendMessage() failed for session, 7, returned Windows error Access"},
        ActiveSession{false, false, DONE, DONE, std::nullopt,
                      "WTSEnumerateSessions() returned 2 sessions, but no active session found to display MessageBox. "
                      "Falling back to MB_SERVICE_NOTIFICATION)"},
        ActiveSession{true, true, DENIED, DONE, std::nullopt,
                      "WTSEnumerateSessions() failed. Returned Windows error Access"},
        ActiveSession{true, true, NO_SERVICES, DONE, std::nullopt, nullptr}));

using Behaviour = FakeSessionPort::Behaviour;

TEST(XDebugPadManager, SendsLongTextsInPiecesOf255) {
    const std::pair<int, std::vector<std::size_t>> aoRows[] = {{255, {255}}, {256, {255, 1}}, {600, {255, 255, 90}}};
    for (const auto& [iUnits, vExpected] : aoRows) {
        FakePlatform fake;
        const PlatformScope scope(fake.Get());
        const HWND hwnd = fake.sessions.OpenWindow(VTEXT("MfxTraceWindow"));
        XDebugPadManager pad;
        CXString csText;
        for (int i = 0; i < iUnits; ++i)
            csText += static_cast<XCHAR>(VTEXT('a') + i % 26);  // no two pieces look alike
        EXPECT_EQ(pad.AppendDebugMsg(csText), static_cast<int>(vExpected.size()));
        std::vector<std::size_t> vSizes;
        XString joined;
        for (const FakeSessionPort::Message& rMessage : fake.sessions.Messages()) {
            EXPECT_EQ(rMessage.hwnd, hwnd);
            EXPECT_EQ(rMessage.uMessage, fake.sessions.MessageNumber(VTEXT("*WM_TRACE_MSG_2_RECEIVER_FREES_ATOM")));
            vSizes.push_back(rMessage.text.size());
            joined += rMessage.text;
        }
        EXPECT_EQ(vSizes, vExpected);
        EXPECT_EQ(joined, csText.View());
    }
}

TEST(XDebugPadManager, TellsWhatFailsAndKeepsNoAtom) {
    constexpr const char* NO_ATOM = "Debug message failed unexpectedly.  GlobalAtom() returned 0.";
    constexpr const char* NO_TAKER =
        "Debug message failed unexpectedly.  Unable to post or send message to XDebugPad.exe.";
    const std::tuple<Behaviour, std::size_t, const XCHAR*, const char*> aoRows[] = {
        {Behaviour::RefusesPost, 10, VTEXT("text"), nullptr},
        {Behaviour::Hangs, 10, VTEXT("text"), NO_TAKER},
        {Behaviour::Works, 0, VTEXT("text"), NO_ATOM},
        {Behaviour::Works, 10, VTEXT("#1234"), NO_ATOM},
    };
    for (const auto& [eBehaviour, cMostAtoms, pszText, pszFailure] : aoRows) {
        FakePlatform fake;
        const PlatformScope scope(fake.Get());
        fake.sessions.OpenWindow(VTEXT("MfxTraceWindow"), eBehaviour);
        fake.sessions.LimitAtoms(cMostAtoms);
        XDebugPadManager pad;
        EXPECT_EQ(pad.AppendDebugMsg(CXString(pszText)), pszFailure ? 0 : 1);
        EXPECT_EQ(fake.sessions.LivingAtoms(), 0u);
        ASSERT_EQ(fake.sessions.Boxes().size(), pszFailure ? 1u : 0u);
        if (!pszFailure) continue;
        EXPECT_EQ(Narrow(fake.desktop.DebuggerLines().at(0)), pszFailure);
        const FakeSessionPort::Box box = fake.sessions.Boxes()[0];
        EXPECT_EQ(Narrow(box.text), pszFailure);
        EXPECT_EQ(Narrow(box.caption), "Debug Message Manager Error");
        EXPECT_EQ(box.dwStyle, 0x10u);
    }
}

TEST(XDebugPadManager, LooksForAViewerOnceAndOnlyWhereSomebodySeesIt) {
    FakePlatform fake;
    const PlatformScope scope(fake.Get());
    XDebugPadManager early, service;
    EXPECT_EQ(early.AppendDebugMsg(CXString(VTEXT("nobody there"))), 0);
    fake.sessions.OpenWindow(VTEXT("MfxTraceWindow"));
    EXPECT_EQ(early.AppendDebugMsg(CXString(VTEXT("too late"))), 0);
    fake.sessions.SetDesktopVisible(false);
    EXPECT_EQ(service.AppendDebugMsg(CXString(VTEXT("secret"))), 0);
    EXPECT_TRUE(fake.sessions.Messages().empty());
    EXPECT_TRUE(fake.desktop.DebuggerLines().empty());
}

}  // namespace
