/// @file
/// The way to the viewer window.
#include "utilities/debuggingandexceptions/XDebugPadManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/FakePlatform.h"
#include "support/Narrow.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vlm::PlatformScope;
using vlm::test::FakePlatform;
using vlm::test::FakeSessionPort;
using vlm::test::Narrow;
using vlm::test::XString;
using Behaviour = FakeSessionPort::Behaviour;

/// "ab…zab…": no two pieces look alike.
CXString TextOf(int iUnits) {
    CXString csText;
    for (int i = 0; i < iUnits; ++i)
        csText += static_cast<XCHAR>(VTEXT('a') + i % 26);
    return csText;
}

TEST(XDebugPadManager, SendsLongTextsInPiecesOf255) {
    const struct {
        int iUnits;
        std::vector<std::size_t> vSizes;
    } aoRows[] = {{1, {1}}, {255, {255}}, {256, {255, 1}}, {510, {255, 255}}, {600, {255, 255, 90}}};
    for (const auto& rRow : aoRows) {
        FakePlatform fake;
        const PlatformScope scope(fake.Get());
        const HWND hwnd = fake.sessions.OpenWindow(VTEXT("MfxTraceWindow"));
        XDebugPadManager pad;
        const CXString csText = TextOf(rRow.iUnits);
        EXPECT_EQ(pad.AppendDebugMsg(csText), static_cast<int>(rRow.vSizes.size()));
        std::vector<std::size_t> vSizes;
        XString joined;
        for (const FakeSessionPort::Message& rMessage : fake.sessions.Messages()) {
            EXPECT_EQ(rMessage.hwnd, hwnd);
            EXPECT_EQ(rMessage.uMessage, fake.sessions.MessageNumber(VTEXT("*WM_TRACE_MSG_2_RECEIVER_FREES_ATOM")));
            EXPECT_FALSE(rMessage.fSent);
            vSizes.push_back(rMessage.text.size());
            joined += rMessage.text;
        }
        EXPECT_EQ(vSizes, rRow.vSizes);
        EXPECT_EQ(Narrow(joined), Narrow(csText.View()));
    }
}

TEST(XDebugPadManager, TellsWhatFailsAndKeepsNoAtom) {
    constexpr const char* NO_ATOM = "Debug message failed unexpectedly.  GlobalAtom() returned 0.";
    constexpr const char* NO_TAKER =
        "Debug message failed unexpectedly.  Unable to post or send message to XDebugPad.exe.";
    const struct {
        const char* pszCase;
        Behaviour eBehaviour;
        std::size_t cMostAtoms;
        const XCHAR* pszText;
        int iSent;
        std::vector<std::string> vFailures;
    } aoRows[] = {
        {"works", Behaviour::Works, 10, VTEXT("text"), 1, {}},
        {"refuses posts", Behaviour::RefusesPost, 10, VTEXT("text"), 1, {}},
        {"hangs", Behaviour::Hangs, 10, VTEXT("text"), 0, {NO_TAKER}},
        {"no atoms left", Behaviour::Works, 0, VTEXT("text"), 0, {NO_ATOM}},
        {"a number", Behaviour::Works, 10, VTEXT("#1234"), 0, {NO_ATOM}},
        {"nothing", Behaviour::Works, 10, VTEXT(""), 0, {}},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszCase);
        FakePlatform fake;
        const PlatformScope scope(fake.Get());
        fake.sessions.OpenWindow(VTEXT("MfxTraceWindow"), rRow.eBehaviour);
        fake.sessions.LimitAtoms(rRow.cMostAtoms);
        XDebugPadManager pad;
        EXPECT_EQ(pad.AppendDebugMsg(CXString(rRow.pszText)), rRow.iSent);
        EXPECT_EQ(fake.sessions.LivingAtoms(), 0u);
        std::vector<std::string> vLines, vBoxes;
        for (const XString& rLine : fake.desktop.DebuggerLines())
            vLines.push_back(Narrow(rLine));
        for (const FakeSessionPort::Box& rBox : fake.sessions.Boxes()) {
            EXPECT_EQ(Narrow(rBox.caption), "Debug Message Manager Error");
            EXPECT_EQ(rBox.dwStyle, 0x10u);
            vBoxes.push_back(Narrow(rBox.text));
        }
        EXPECT_EQ(vLines, rRow.vFailures);
        EXPECT_EQ(vBoxes, rRow.vFailures);
    }
}

TEST(XDebugPadManager, LooksForAViewerOnceAndOnlyWhereSomebodySeesIt) {
    FakePlatform fake;
    const PlatformScope scope(fake.Get());
    XDebugPadManager early;
    EXPECT_EQ(early.AppendDebugMsg(CXString(VTEXT("nobody there"))), 0);
    fake.sessions.OpenWindow(VTEXT("MfxTraceWindow"));
    EXPECT_EQ(early.AppendDebugMsg(CXString(VTEXT("too late"))), 0);

    fake.sessions.SetDesktopVisible(false);
    XDebugPadManager service;
    EXPECT_EQ(service.AppendDebugMsg(CXString(VTEXT("secret"))), 0);
    EXPECT_THAT(fake.sessions.Messages(), IsEmpty());
    EXPECT_THAT(fake.desktop.DebuggerLines(), IsEmpty());
}

}  // namespace
