/// @file
/// Text over kernel32 and user32.
#include "platform/win32/Win32TextPort.h"

#include <algorithm>
#include <climits>
#include <memory>

#include "platform/win32/System.h"

namespace vlm::win32 {

namespace {

struct LocalDeleter {
    void operator()(wchar_t* pszText) const noexcept { LocalFree(pszText); }
};
using LocalText = std::unique_ptr<wchar_t, LocalDeleter>;

/// Lets the system allocate the text, so that a short target can be told from a text that is not there.
std::size_t Format(DWORD dwFlags, const void* pSource, DWORD dwMessage, DWORD_PTR* pInserts,
                   LocalText& rText) noexcept {
    wchar_t* pszText = nullptr;
    const DWORD dwUnits = FormatMessageW(dwFlags | FORMAT_MESSAGE_ALLOCATE_BUFFER, pSource, dwMessage, 0,
                                         reinterpret_cast<wchar_t*>(&pszText), 0, reinterpret_cast<va_list*>(pInserts));
    rText.reset(pszText);
    return pszText ? dwUnits : 0;
}

/// The module that this code stands in.
HMODULE OwnModule() noexcept {
    HMODULE hModule = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&OwnModule), &hModule);
    return hModule;
}

int Room(const void* pTarget, std::size_t cCapacity) noexcept {
    return pTarget ? static_cast<int>(std::min<std::size_t>(cCapacity, INT_MAX)) : 0;
}

}  // namespace

std::size_t Win32TextPort::ToWide(DWORD dwCodePage, const char* pSource, std::size_t cBytes, XCHAR* pTarget,
                                  std::size_t cCapacity) noexcept {
    // A target without room must not be taken for a question about the size.
    if (cBytes > INT_MAX || (pTarget && cCapacity == 0)) return 0;
    return static_cast<std::size_t>(
        MultiByteToWideChar(dwCodePage, 0, pSource, static_cast<int>(cBytes), pTarget, Room(pTarget, cCapacity)));
}

std::size_t Win32TextPort::ToNarrow(DWORD dwCodePage, const XCHAR* pSource, std::size_t cUnits, char* pTarget,
                                    std::size_t cCapacity) noexcept {
    if (cUnits > INT_MAX || (pTarget && cCapacity == 0)) return 0;
    const auto convert = [&](DWORD dwFlags, const char* pszDefault) {
        return static_cast<std::size_t>(WideCharToMultiByte(dwCodePage, dwFlags, pSource, static_cast<int>(cUnits),
                                                            pTarget, Room(pTarget, cCapacity), pszDefault, nullptr));
    };
    // UTF-8, and the few code pages that hold every character or change their state, take neither flag nor default.
    if (dwCodePage != CP_UTF8) {
        const std::size_t cBytes = convert(WC_NO_BEST_FIT_CHARS, "?");
        if (cBytes > 0 || GetLastError() == ERROR_INSUFFICIENT_BUFFER) return cBytes;
    }
    return convert(0, nullptr);
}

std::size_t Win32TextPort::SystemErrorText(DWORD dwError, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    LocalText apszText;
    std::size_t cUnits =
        Format(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, dwError, nullptr, apszText);
    while (cUnits > 0 && (apszText.get()[cUnits - 1] == L'\n' || apszText.get()[cUnits - 1] == L'\r'))
        --cUnits;
    cUnits = pTarget ? std::min(cUnits, cCapacity) : 0;
    std::copy_n(apszText.get(), cUnits, pTarget);
    return cUnits;
}

std::size_t Win32TextPort::FormatMessageText(const XCHAR* pszFormat, const XCHAR* const* ppszInserts,
                                             std::size_t cInserts, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    if (pszFormat == nullptr || pTarget == nullptr) return 0;
    // The system believes every number in the text: the array covers them all, and two more for the "*" formats.
    constexpr std::size_t cMost = 99;
    DWORD_PTR aInserts[cMost + 2];
    for (std::size_t i = 0; i < std::size(aInserts); ++i) {
        const XCHAR* pszInsert = ppszInserts && i < cInserts && i < cMost ? ppszInserts[i] : nullptr;
        aInserts[i] = reinterpret_cast<DWORD_PTR>(pszInsert ? pszInsert : L"");
    }
    LocalText apszText;
    const std::size_t cUnits =
        Format(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY, pszFormat, 0, aInserts, apszText);
    if (cUnits > cCapacity) return 0;
    std::copy_n(apszText.get(), cUnits, pTarget);
    return cUnits;
}

XStringView Win32TextPort::StringResource(HINSTANCE hModule, UINT uId) noexcept {
    // With no room for a copy the call hands out the resource itself.
    const wchar_t* pText = nullptr;
    const int iUnits = LoadStringW(hModule ? hModule : OwnModule(), uId, reinterpret_cast<wchar_t*>(&pText), 0);
    return iUnits > 0 && pText ? XStringView(pText, static_cast<std::size_t>(iUnits)) : XStringView();
}

Status Win32TextPort::WindowText(HWND hwnd, XCHAR* pTarget, std::size_t cCapacity, std::size_t& rcLength) noexcept {
    rcLength = 0;
    if (pTarget == nullptr || cCapacity == 0) return Status::InvalidParameter;
    *pTarget = 0;
    if (!IsWindow(hwnd)) return Status::InvalidWindowHandle;
    SetLastError(0);
    const int iUnits = GetWindowTextW(hwnd, pTarget, Room(pTarget, cCapacity));
    if (iUnits == 0) return LastStatus();  // 0 for an empty caption
    rcLength = static_cast<std::size_t>(iUnits);
    return Status::Success;
}

HWND Win32TextPort::ParentWindow(HWND hwnd) noexcept {
    const LastErrorScope oKeep;
    return GetParent(hwnd);
}

Status Win32TextPort::SetWindowCaption(HWND hwnd, const XCHAR* pszText) noexcept {
    if (!IsWindow(hwnd)) return Status::InvalidWindowHandle;
    return StatusOf(SetWindowTextW(hwnd, pszText ? pszText : L""));
}

}  // namespace vlm::win32
