/// @file
/// The tables behind string resources and window captions.
#include "platform/host/HostTextTables.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <new>

#include "platform/host/Undying.h"

namespace vlm::host {

namespace {

struct StringTable {
    const StringResourceEntry* pEntries;
    std::size_t cEntries;
};

struct Tables {
    std::mutex oMutex;
    std::map<HINSTANCE, StringTable> mapStrings;
    std::map<std::uintptr_t, std::basic_string<XCHAR>> mapCaptions;
    std::uintptr_t uiLastWindow = 0;
};

Tables& TheTables() {
    static Undying<Tables> soTables;
    return soTables.object;
}

std::uintptr_t NumberOf(HWND hwnd) noexcept {
    return reinterpret_cast<std::uintptr_t>(hwnd);
}

}  // namespace

bool RegisterStringResources(HINSTANCE hModule, const StringResourceEntry* pEntries, std::size_t cEntries) noexcept
    try {
    Tables& rTables = TheTables();
    const std::lock_guard oLock(rTables.oMutex);
    if (cEntries == 0) {
        rTables.mapStrings.erase(hModule);
    } else {
        rTables.mapStrings.insert_or_assign(hModule, StringTable{pEntries, cEntries});
    }
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

XStringView FindStringResource(HINSTANCE hModule, UINT uId) noexcept {
    Tables& rTables = TheTables();
    const std::lock_guard oLock(rTables.oMutex);
    const auto it = rTables.mapStrings.find(hModule);
    if (it == rTables.mapStrings.end()) return {};
    const auto pEnd = it->second.pEntries + it->second.cEntries;
    const auto pEntry = std::find_if(it->second.pEntries, pEnd, [=](const auto& rEntry) { return rEntry.uId == uId; });
    return pEntry != pEnd ? XStringView(pEntry->pszText) : XStringView();
}

HWND OpenCaptionWindow(const XCHAR* pszCaption) noexcept try {
    Tables& rTables = TheTables();
    const std::lock_guard oLock(rTables.oMutex);
    const std::uintptr_t uiWindow = rTables.uiLastWindow + 0x10;
    rTables.mapCaptions.emplace(uiWindow, pszCaption ? pszCaption : VTEXT(""));
    rTables.uiLastWindow = uiWindow;
    return reinterpret_cast<HWND>(uiWindow);
} catch (const std::bad_alloc&) {
    return nullptr;
}

bool CloseCaptionWindow(HWND hwnd) noexcept {
    Tables& rTables = TheTables();
    const std::lock_guard oLock(rTables.oMutex);
    return rTables.mapCaptions.erase(NumberOf(hwnd)) != 0;
}

std::optional<std::basic_string<XCHAR>> WindowCaption(HWND hwnd) {
    Tables& rTables = TheTables();
    const std::lock_guard oLock(rTables.oMutex);
    const auto it = rTables.mapCaptions.find(NumberOf(hwnd));
    if (it == rTables.mapCaptions.end()) return std::nullopt;
    return it->second;
}

bool ReplaceWindowCaption(HWND hwnd, XStringView svCaption) {
    Tables& rTables = TheTables();
    const std::lock_guard oLock(rTables.oMutex);
    const auto it = rTables.mapCaptions.find(NumberOf(hwnd));
    if (it == rTables.mapCaptions.end()) return false;
    it->second = svCaption;
    return true;
}

}  // namespace vlm::host
