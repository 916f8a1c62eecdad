/// @file
/// The contract of the session port, as far as nobody needs to answer a box.
#include "platform/SessionPort.h"

#include <vector>

#include "PortContract.h"

namespace vlm::test {

namespace {

class SessionPortContract : public PortContract {
protected:
    SessionPort& Sessions() const { return *Ports().pSessions; }
    bool HasDesktop() const { return Sessions().RegisterMessage(VTEXT("Q9_CONTRACT_MESSAGE")) != 0; }
};

TEST_P(SessionPortContract, AListTellsItsWholeLength) {
    m_oFake.sessions.AddSession(0, false);
    m_oFake.sessions.AddSession(2, true);
    DWORD cSessions = 0;
    const Status eStatus = Sessions().EnumerateSessions(nullptr, cSessions);
    if (eStatus == Status::NotSupported) {
        EXPECT_EQ(cSessions, 0u);
        return;
    }
    ASSERT_EQ(eStatus, Status::Success);
    std::vector<SessionPort::Session> vSessions(cSessions + 1, SessionPort::Session{4711, true});
    DWORD cAgain = cSessions + 1;
    EXPECT_EQ(Sessions().EnumerateSessions(vSessions.data(), cAgain), Status::Success);
    EXPECT_EQ(cAgain, cSessions);
    EXPECT_EQ(vSessions[cSessions].dwId, 4711u);
    if (IsFake()) {
        EXPECT_EQ(cSessions, 2u);
        EXPECT_EQ(vSessions[1].dwId, 2u);
        cAgain = 1;
        vSessions[1].dwId = 4711;
        EXPECT_EQ(Sessions().EnumerateSessions(vSessions.data(), cAgain), Status::Success);
        EXPECT_EQ(cAgain, 2u);
        EXPECT_EQ(vSessions[1].dwId, 4711u);
    }
}

TEST_P(SessionPortContract, WindowsThatAreNoneAreRefused) {
    EXPECT_EQ(Sessions().FindWindowOfClass(VTEXT("Q9NoSuchWindowClass")), nullptr);
    EXPECT_EQ(Sessions().FindWindowOfClass(nullptr), nullptr);
    EXPECT_EQ(Sessions().FindWindowOfClass(VTEXT("")), nullptr);
    for (const std::uintptr_t uiWindow : {std::uintptr_t{0}, std::uintptr_t{0x7FFF'FFF0}}) {
        const HWND hwnd = reinterpret_cast<HWND>(uiWindow);
        EXPECT_EQ(Sessions().PostToWindow(hwnd, 0xC123, 1), Status::InvalidWindowHandle);
        EXPECT_EQ(Sessions().SendToWindow(hwnd, 0xC123, 1, 10), Status::InvalidWindowHandle);
    }
    EXPECT_EQ(Sessions().RegisterMessage(nullptr), 0u);
    EXPECT_EQ(Sessions().RegisterMessage(VTEXT("")), 0u);
}

TEST_P(SessionPortContract, AtomsCountTheirUsesAndRefuseNumbers) {
    for (const XString& rText : {XString(), XString(VTEXT("#1234")), XString(256, VTEXT('x'))})
        EXPECT_EQ(Sessions().AddGlobalAtom(rText.c_str()), 0u);
    EXPECT_EQ(Sessions().AddGlobalAtom(nullptr), 0u);
    Sessions().DeleteGlobalAtom(0);
    if (!HasDesktop()) return;
    EXPECT_EQ(Sessions().RegisterMessage(VTEXT("Q9_CONTRACT_MESSAGE")),
              Sessions().RegisterMessage(VTEXT("Q9_CONTRACT_MESSAGE")));
    EXPECT_NE(Sessions().RegisterMessage(VTEXT("Q9_CONTRACT_MESSAGE")),
              Sessions().RegisterMessage(VTEXT("Q9_CONTRACT_MESSAGE_2")));
    for (const XString& rText : {UniqueName(), VTEXT("#12x") + UniqueName(), XString(255, VTEXT('y'))}) {
        const WORD wAtom = Sessions().AddGlobalAtom(rText.c_str());
        EXPECT_NE(wAtom, 0u);
        EXPECT_EQ(Sessions().AddGlobalAtom(rText.c_str()), wAtom);
        Sessions().DeleteGlobalAtom(wAtom);
        Sessions().DeleteGlobalAtom(wAtom);
    }
    EXPECT_EQ(m_oFake.sessions.LivingAtoms(), 0u);
}

Q9_CONTRACT_SUITE(SessionPortContract);

}  // namespace

}  // namespace vlm::test
