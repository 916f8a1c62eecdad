/// @file
/// Boxes, sessions and windows over user32, wtsapi32 and kernel32.
#include "platform/win32/Win32SessionPort.h"

#include <algorithm>
#include <cwchar>
#include <string_view>

#include "platform/win32/System.h"

#include <wtsapi32.h>

namespace vlm::win32 {

namespace {

/// "#" and digits: an integer atom, which keeps no text.
bool IsNumber(std::wstring_view svText) noexcept {
    return svText.size() > 1 && svText[0] == L'#' &&
           std::all_of(svText.begin() + 1, svText.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

DWORD TextBytes(const XCHAR* pszText) noexcept {
    constexpr std::size_t LONGEST = 0x100000;
    return static_cast<DWORD>(std::min(std::wcslen(pszText), LONGEST) * sizeof(XCHAR));
}

}  // namespace

int Win32SessionPort::ShowBox(HWND hwndOwner, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle) noexcept {
    return MessageBoxW(hwndOwner, pszText ? pszText : L"", pszCaption ? pszCaption : L"", dwStyle);
}

bool Win32SessionPort::IsDesktopVisible() noexcept {
    DWORD dwSession = 0;
    if (ProcessIdToSessionId(GetCurrentProcessId(), &dwSession) && dwSession == 0) return false;
    USEROBJECTFLAGS oFlags{};
    DWORD cbNeeded = 0;
    const HWINSTA hStation = GetProcessWindowStation();
    return hStation != nullptr && GetUserObjectInformationW(hStation, UOI_FLAGS, &oFlags, sizeof(oFlags), &cbNeeded) &&
           (oFlags.dwFlags & WSF_VISIBLE) != 0;
}

void Win32SessionPort::Beep(DWORD dwKind) noexcept {
    const LastErrorScope oKeep;
    MessageBeep(dwKind);
}

Status Win32SessionPort::EnumerateSessions(Session* pSessions, DWORD& rcSessions) noexcept {
    const DWORD cRoom = pSessions ? rcSessions : 0;
    rcSessions = 0;
    WTS_SESSION_INFOW* pInfos = nullptr;
    DWORD cInfos = 0;
    if (!WTSEnumerateSessionsW(WTS_CURRENT_SERVER_HANDLE, 0, 1, &pInfos, &cInfos)) return LastStatus();
    for (DWORD i = 0; i < std::min(cRoom, cInfos); ++i)
        pSessions[i] = {pInfos[i].SessionId, pInfos[i].State == WTSActive};
    rcSessions = cInfos;
    WTSFreeMemory(pInfos);
    return Status::Success;
}

Status Win32SessionPort::ShowBoxInSession(DWORD dwSession, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle,
                                          int& riAnswer) noexcept {
    // The call takes its texts as writable and does not write.
    XCHAR* pszWritableText = const_cast<XCHAR*>(pszText ? pszText : L"");
    XCHAR* pszWritableCaption = const_cast<XCHAR*>(pszCaption ? pszCaption : L"");
    constexpr DWORD NO_TIME_OUT = 0;
    DWORD dwAnswer = 0;
    if (!WTSSendMessageW(WTS_CURRENT_SERVER_HANDLE, dwSession, pszWritableCaption, TextBytes(pszWritableCaption),
                         pszWritableText, TextBytes(pszWritableText), dwStyle, NO_TIME_OUT, &dwAnswer, TRUE)) {
        return LastStatus();
    }
    riAnswer = static_cast<int>(dwAnswer);
    return Status::Success;
}

HWND Win32SessionPort::FindWindowOfClass(const XCHAR* pszClass) noexcept {
    return pszClass && *pszClass ? FindWindowW(pszClass, nullptr) : nullptr;
}

UINT Win32SessionPort::RegisterMessage(const XCHAR* pszName) noexcept {
    return pszName && *pszName ? RegisterWindowMessageW(pszName) : 0;
}

Status Win32SessionPort::PostToWindow(HWND hwnd, UINT uMessage, WORD wAtom) noexcept {
    // Null would be the calling thread's own queue, and -1 every window there is.
    if (hwnd == nullptr || hwnd == HWND_BROADCAST) return Status::InvalidWindowHandle;
    return StatusOf(PostMessageW(hwnd, uMessage, wAtom, 0));
}

Status Win32SessionPort::SendToWindow(HWND hwnd, UINT uMessage, WORD wAtom, DWORD dwMilliseconds) noexcept {
    if (hwnd == nullptr || hwnd == HWND_BROADCAST) return Status::InvalidWindowHandle;
    DWORD_PTR dwAnswer = 0;
    SetLastError(ERROR_SUCCESS);
    if (SendMessageTimeoutW(hwnd, uMessage, wAtom, 0, SMTO_ABORTIFHUNG, dwMilliseconds, &dwAnswer)) {
        return Status::Success;
    }
    // Some systems tell of a time-out by no error at all.
    return GetLastError() == ERROR_SUCCESS ? Status::TimeOut : LastStatus();
}

WORD Win32SessionPort::AddGlobalAtom(const XCHAR* pszText) noexcept {
    if (pszText == nullptr || *pszText == 0 || std::wcslen(pszText) > MAX_ATOM_UNITS || IsNumber(pszText)) return 0;
    return GlobalAddAtomW(pszText);
}

void Win32SessionPort::DeleteGlobalAtom(WORD wAtom) noexcept {
    const LastErrorScope oKeep;
    GlobalDeleteAtom(wAtom);
}

}  // namespace vlm::win32
