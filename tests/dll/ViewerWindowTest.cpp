/// @file
/// The viewer window of another process, on Windows: this program starts itself a second time and shows the window
/// there.
#ifdef _WIN32

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "utilities/debuggingandexceptions/XDebugPadManager.h"

namespace {

constexpr int PIECES = 3;
constexpr const wchar_t* VIEWER_CLASS = L"MfxTraceWindow";
constexpr DWORD PATIENCE_MILLISECONDS = 30000;

UINT guMessage = 0;
std::vector<std::size_t> gvSizes;
std::wstring gText;

LRESULT CALLBACK ViewerProcedure(HWND hwnd, UINT uMessage, WPARAM wParam, LPARAM lParam) {
    if (uMessage != guMessage) return DefWindowProcW(hwnd, uMessage, wParam, lParam);
    wchar_t achText[256];
    const UINT uUnits = GlobalGetAtomNameW(static_cast<ATOM>(wParam), achText, 256);
    GlobalDeleteAtom(static_cast<ATOM>(wParam));
    gvSizes.push_back(uUnits);
    gText.append(achText, uUnits);
    if (gvSizes.size() == PIECES) PostQuitMessage(0);
    return 0;
}

std::wstring TextToSend() {
    std::wstring text;
    for (int i = 0; i < 600; ++i)
        text += static_cast<wchar_t>(L'a' + i % 26);
    return text;
}

/// The second process; its exit code says what it got.
TEST(ViewerWindow, DISABLED_OfTheSecondProcess) {
    guMessage = RegisterWindowMessageW(L"*WM_TRACE_MSG_2_RECEIVER_FREES_ATOM");
    WNDCLASSW oClass{};
    oClass.lpfnWndProc = &ViewerProcedure;
    oClass.lpszClassName = VIEWER_CLASS;
    ASSERT_NE(RegisterClassW(&oClass), 0);
    const HWND hwnd =
        CreateWindowExW(0, VIEWER_CLASS, L"viewer", WS_OVERLAPPED, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(hwnd, nullptr);
    const UINT_PTR uTimer = SetTimer(hwnd, 1, PATIENCE_MILLISECONDS, nullptr);
    MSG oMessage{};
    while (GetMessageW(&oMessage, nullptr, 0, 0) > 0 && !(oMessage.message == WM_TIMER && oMessage.wParam == uTimer))
        DispatchMessageW(&oMessage);
    DestroyWindow(hwnd);
    EXPECT_EQ(gvSizes, (std::vector<std::size_t>{255, 255, 90}));
    EXPECT_EQ(gText, TextToSend());
}

TEST(ViewerWindow, OfAnotherProcessGets600CharactersInThreePieces) {
    wchar_t achProgram[MAX_PATH];
    GetModuleFileNameW(nullptr, achProgram, MAX_PATH);
    std::wstring line = L"\"" + std::wstring(achProgram) +
                        L"\" --gtest_also_run_disabled_tests --gtest_filter=ViewerWindow.DISABLED_OfTheSecondProcess";
    STARTUPINFOW oStart{};
    oStart.cb = sizeof(oStart);
    PROCESS_INFORMATION oProcess{};
    ASSERT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &oStart, &oProcess));
    while (!FindWindowW(VIEWER_CLASS, nullptr) && WaitForSingleObject(oProcess.hProcess, 20) == WAIT_TIMEOUT) {
    }
    XDebugPadManager pad;
    EXPECT_EQ(pad.AppendDebugMsg(CXString(TextToSend().c_str())), PIECES);
    DWORD dwExitCode = 99;
    EXPECT_EQ(WaitForSingleObject(oProcess.hProcess, PATIENCE_MILLISECONDS), WAIT_OBJECT_0);
    GetExitCodeProcess(oProcess.hProcess, &dwExitCode);
    EXPECT_EQ(dwExitCode, 0u);
    CloseHandle(oProcess.hThread);
    CloseHandle(oProcess.hProcess);
}

}  // namespace

#endif
