/// @file
/// The contract of the session port, as far as nobody needs to answer a box.
#include "platform/SessionPort.h"

#include <algorithm>
#include <thread>
#include <vector>

#include "PortContract.h"
#include "support/Gate.h"

#ifdef _WIN32
#include "platform/win32/System.h"
#endif

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

#ifdef _WIN32

/// A viewer's window on a thread of its own: keeps the texts that come as atoms, and deletes these.
class ViewerWindow {
public:
    explicit ViewerWindow(const XString& rClass, bool fHangs) : m_oThread([&, fHangs] { Run(rClass, fHangs); }) {
        m_oOpen.Wait();
    }
    ~ViewerWindow() {
        m_oEnd.Arrive();
        PostThreadMessageW(m_dwThread, WM_QUIT, 0, 0);
        m_oThread.join();
        s_pTexts = nullptr;
    }
    ViewerWindow(const ViewerWindow&) = delete;
    ViewerWindow& operator=(const ViewerWindow&) = delete;

    static inline std::vector<XString>* s_pTexts = nullptr;
    static inline UINT s_uMessage = 0;

private:
    static LRESULT CALLBACK Receive(HWND hwnd, UINT uMessage, WPARAM wParam, LPARAM lParam) {
        if (s_uMessage == 0 || uMessage != s_uMessage) return DefWindowProcW(hwnd, uMessage, wParam, lParam);
        XCHAR szText[300] = {};
        GlobalGetAtomNameW(static_cast<ATOM>(wParam), szText, 300);
        GlobalDeleteAtom(static_cast<ATOM>(wParam));
        s_pTexts->emplace_back(szText);
        return 0;
    }
    void Run(const XString& rClass, bool fHangs) {
        WNDCLASSW oClass{};
        oClass.lpfnWndProc = &Receive;
        oClass.hInstance = GetModuleHandleW(nullptr);
        oClass.lpszClassName = rClass.c_str();
        RegisterClassW(&oClass);
        const HWND hwnd = CreateWindowExW(0, rClass.c_str(), L"", WS_OVERLAPPED, 0, 0, 10, 10, nullptr, nullptr,
                                          oClass.hInstance, nullptr);
        EXPECT_NE(hwnd, nullptr);
        m_dwThread = GetCurrentThreadId();
        m_oOpen.Arrive();
        MSG oMessage{};
        if (fHangs) {
            m_oEnd.Wait();
        } else {
            while (GetMessageW(&oMessage, nullptr, 0, 0) > 0)
                DispatchMessageW(&oMessage);
        }
        DestroyWindow(hwnd);
        UnregisterClassW(rClass.c_str(), oClass.hInstance);
    }

    Gate m_oOpen, m_oEnd;
    DWORD m_dwThread = 0;
    std::thread m_oThread;
};

TEST(Win32SessionPort, AtomsReachAWindowOfAnotherThread) {
    SessionPort& rSessions = *GetSystemPlatform().pSessions;
    const XString cls = Wide("Q9ContractWindow" + std::to_string(GetCurrentProcessId()));
    std::vector<XString> vTexts;
    ViewerWindow::s_pTexts = &vTexts;
    ViewerWindow::s_uMessage = rSessions.RegisterMessage(L"Q9_CONTRACT_MESSAGE");
    ASSERT_NE(ViewerWindow::s_uMessage, 0u);
    {
        const ViewerWindow oWindow(cls, false);
        const HWND hwnd = rSessions.FindWindowOfClass(cls.c_str());
        ASSERT_NE(hwnd, nullptr);
        const WORD wPosted = rSessions.AddGlobalAtom(L"posted"), wSent = rSessions.AddGlobalAtom(L"sent");
        EXPECT_EQ(rSessions.PostToWindow(hwnd, ViewerWindow::s_uMessage, wPosted), Status::Success);
        EXPECT_EQ(rSessions.SendToWindow(hwnd, ViewerWindow::s_uMessage, wSent, 10'000), Status::Success);
        // What was posted is there before the window goes.
    }
    std::sort(vTexts.begin(), vTexts.end());
    EXPECT_EQ(vTexts, (std::vector<XString>{L"posted", L"sent"}));
    EXPECT_EQ(rSessions.FindWindowOfClass(cls.c_str()), nullptr);
}

TEST(Win32SessionPort, AWindowThatHangsDoesNotHoldItsSender) {
    SessionPort& rSessions = *GetSystemPlatform().pSessions;
    const XString cls = Wide("Q9HangingWindow" + std::to_string(GetCurrentProcessId()));
    const ViewerWindow oWindow(cls, true);
    const HWND hwnd = rSessions.FindWindowOfClass(cls.c_str());
    ASSERT_NE(hwnd, nullptr);
    EXPECT_EQ(rSessions.SendToWindow(hwnd, WM_APP, 1, 20), Status::TimeOut);
}

#endif

}  // namespace

}  // namespace vlm::test
