/// @file
/// The small ports in memory.
#include "support/FakePorts.h"

#include <algorithm>
#include <chrono>

#include "platform/Platform.h"
#include "support/AllocationFaults.h"
#include "support/FakeCalls.h"

namespace vlm::test {

namespace {

TextPort& SystemText() {
    return *GetSystemPlatform().pText;
}
ThreadPort& SystemThreads() {
    return *GetSystemPlatform().pThreads;
}

std::size_t CopyTerminated(const XString& rText, XCHAR* pTarget, std::size_t cCapacity) {
    if (pTarget == nullptr || rText.size() >= cCapacity) return 0;
    *std::copy(rText.begin(), rText.end(), pTarget) = 0;
    return rText.size();
}

}  // namespace

void FakeTextPort::AddString(HINSTANCE hModule, UINT uId, XStringView svText) {
    const FakeCall oCall(m_oMutex);
    m_mapStrings[{hModule, uId}] = svText;
}

HWND FakeTextPort::AddWindow(XStringView svCaption, HWND hwndParent) {
    const FakeCall oCall(m_oMutex);
    const HWND hwnd = reinterpret_cast<HWND>(m_uiLastWindow += 0x10);
    m_mapWindows[hwnd] = svCaption;
    m_mapParents[hwnd] = hwndParent;
    return hwnd;
}

void FakeTextPort::RemoveWindow(HWND hwnd) {
    const std::lock_guard oLock(m_oMutex);
    m_mapWindows.erase(hwnd);
}

std::size_t FakeTextPort::ToWide(DWORD dwCodePage, const char* pSource, std::size_t cBytes, XCHAR* pTarget,
                                 std::size_t cCapacity) noexcept {
    return SystemText().ToWide(dwCodePage, pSource, cBytes, pTarget, cCapacity);
}

std::size_t FakeTextPort::ToNarrow(DWORD dwCodePage, const XCHAR* pSource, std::size_t cUnits, char* pTarget,
                                   std::size_t cCapacity) noexcept {
    return SystemText().ToNarrow(dwCodePage, pSource, cUnits, pTarget, cCapacity);
}

std::size_t FakeTextPort::SystemErrorText(DWORD dwError, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    return SystemText().SystemErrorText(dwError, pTarget, cCapacity);
}

std::size_t FakeTextPort::FormatMessageText(const XCHAR* pszFormat, const XCHAR* const* ppszInserts,
                                            std::size_t cInserts, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    return SystemText().FormatMessageText(pszFormat, ppszInserts, cInserts, pTarget, cCapacity);
}

XStringView FakeTextPort::StringResource(HINSTANCE hModule, UINT uId) noexcept {
    const std::lock_guard oLock(m_oMutex);
    const auto it = m_mapStrings.find({hModule, uId});
    return it != m_mapStrings.end() ? XStringView(it->second) : XStringView();
}

Status FakeTextPort::WindowText(HWND hwnd, XCHAR* pTarget, std::size_t cCapacity, std::size_t& rcLength) noexcept {
    const std::lock_guard oLock(m_oMutex);
    rcLength = 0;
    if (pTarget == nullptr || cCapacity == 0) return Status::InvalidParameter;
    *pTarget = 0;
    const auto it = m_mapWindows.find(hwnd);
    if (it == m_mapWindows.end()) return Status::InvalidWindowHandle;
    rcLength = std::min(it->second.size(), cCapacity - 1);
    *std::copy_n(it->second.begin(), rcLength, pTarget) = 0;
    return Status::Success;
}

HWND FakeTextPort::ParentWindow(HWND hwnd) noexcept {
    const std::lock_guard oLock(m_oMutex);
    const auto it = m_mapParents.find(hwnd);
    return it != m_mapParents.end() ? it->second : nullptr;
}

Status FakeTextPort::SetWindowCaption(HWND hwnd, const XCHAR* pszText) noexcept {
    const FakeCall oCall(m_oMutex);
    const auto it = m_mapWindows.find(hwnd);
    if (it == m_mapWindows.end()) return Status::InvalidWindowHandle;
    it->second = pszText ? pszText : VTEXT("");
    return Status::Success;
}

std::vector<XString> FakeDesktopPort::DebuggerLines() const {
    const FakeCall oCall(m_oMutex);
    return m_vLines;
}

void FakeDesktopPort::DebuggerOutput(const XCHAR* pszText) noexcept {
    const FakeCall oCall(m_oMutex);
    m_vLines.emplace_back(pszText ? pszText : VTEXT(""));
}

void FakeProcessPort::SetModulePath(HINSTANCE hModule, XStringView svPath) {
    m_mapModules[hModule] = svPath;
}

void FakeProcessPort::SetSystemFolder(XStringView svPath) {
    m_systemFolder = svPath;
}

void FakeProcessPort::AddResources(XStringView svPath, HINSTANCE hModule) {
    m_mapResources[XString(svPath)] = hModule;
}

void FakeProcessPort::SetEnvironmentVariableTo(XStringView svName, XStringView svValue) {
    m_mapEnvironment[XString(svName)] = svValue;
}

std::size_t FakeProcessPort::ModulePath(HINSTANCE hModule, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    const auto it = m_mapModules.find(hModule);
    return it != m_mapModules.end() ? CopyTerminated(it->second, pTarget, cCapacity) : 0;
}

std::size_t FakeProcessPort::LibraryPath(XCHAR* pTarget, std::size_t cCapacity) noexcept {
    return CopyTerminated(m_libraryPath, pTarget, cCapacity);
}

Status FakeProcessPort::SystemFolder(XCHAR* pTarget, std::size_t cCapacity) noexcept {
    if (m_systemFolder.empty()) return Status::NotSupported;
    return CopyTerminated(m_systemFolder, pTarget, cCapacity) != 0 ? Status::Success : Status::InsufficientBuffer;
}

Status FakeProcessPort::LoadResources(const XCHAR* pszPath, HINSTANCE& rhModule) noexcept {
    const AllocationExempt oExempt;
    const auto it = pszPath ? m_mapResources.find(pszPath) : m_mapResources.end();
    if (it == m_mapResources.end()) return Status::FileNotFound;
    rhModule = it->second;
    ++m_iLoadedResources;
    return Status::Success;
}

Status FakeProcessPort::FreeResources(HINSTANCE) noexcept {
    return m_iLoadedResources-- > 0 ? Status::Success : Status::InvalidHandle;
}

std::size_t FakeProcessPort::EnvironmentVariable(const XCHAR* pszName, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    const AllocationExempt oExempt;
    const auto it = pszName ? m_mapEnvironment.find(pszName) : m_mapEnvironment.end();
    return it != m_mapEnvironment.end() ? CopyTerminated(it->second, pTarget, cCapacity) : 0;
}

std::size_t FakeProcessPort::ComputerName(XCHAR* pTarget, std::size_t cCapacity) noexcept {
    return CopyTerminated(m_computerName, pTarget, cCapacity);
}

std::size_t FakeProcessPort::CommandLine(XCHAR* pTarget, std::size_t cCapacity) noexcept {
    return CopyTerminated(m_strCommandLine, pTarget, cCapacity);
}

std::size_t FakeProcessPort::ProcessIds(DWORD* pdwIds, std::size_t cCapacity) noexcept {
    if (pdwIds == nullptr || cCapacity == 0) return 0;
    *pdwIds = CurrentProcessId();
    const std::size_t cOthers = std::min(m_vdwOthers.size(), cCapacity - 1);
    std::copy_n(m_vdwOthers.begin(), cOthers, pdwIds + 1);
    return 1 + cOthers;
}

DWORD FakeThreadPort::AllocSlot(void (*pfnThreadEnd)(void*)) noexcept {
    const DWORD dwSlot = SystemThreads().AllocSlot(pfnThreadEnd);
    if (dwSlot != OUT_OF_SLOTS) ++m_llSlots;
    return dwSlot;
}

Status FakeThreadPort::FreeSlot(DWORD dwSlot) noexcept {
    const Status eStatus = SystemThreads().FreeSlot(dwSlot);
    if (eStatus == Status::Success) --m_llSlots;
    return eStatus;
}

void* FakeThreadPort::GetSlot(DWORD dwSlot, Status& rStatus) noexcept {
    return SystemThreads().GetSlot(dwSlot, rStatus);
}

Status FakeThreadPort::SetSlot(DWORD dwSlot, void* pValue) noexcept {
    return SystemThreads().SetSlot(dwSlot, pValue);
}

void* FakeThreadPort::LocalAllocate(std::size_t cBytes) noexcept {
    void* pMemory = SystemThreads().LocalAllocate(cBytes);
    if (pMemory != nullptr) ++m_llBlocks;
    return pMemory;
}

void FakeThreadPort::LocalRelease(void* pMemory) noexcept {
    if (pMemory != nullptr) --m_llBlocks;
    SystemThreads().LocalRelease(pMemory);
}

DWORD FakeThreadPort::CurrentThreadId() noexcept {
    return SystemThreads().CurrentThreadId();
}

DWORD FakeThreadPort::LastError() noexcept {
    return SystemThreads().LastError();
}

void FakeThreadPort::LeaveLastError(DWORD dwError) noexcept {
    SystemThreads().LeaveLastError(dwError);
}

LONGLONG FakeClockPort::PerformanceCounter() noexcept {
    return static_cast<LONGLONG>(static_cast<double>(m_llMilliseconds) / 1000.0 * static_cast<double>(m_llFrequency));
}

LONGLONG FakeClockPort::UtcSeconds() noexcept {
    return std::chrono::floor<std::chrono::seconds>(std::chrono::milliseconds(m_llMilliseconds)).count();
}

CalendarTime FakeClockPort::LocalTime() noexcept {
    using namespace std::chrono;
    const sys_time<milliseconds> oNow{milliseconds(m_llMilliseconds) + minutes(m_llZoneMinutes)};
    const sys_days oDay = floor<days>(oNow);
    const year_month_day oDate(oDay);
    const hh_mm_ss oTime(oNow - oDay);
    const auto word = [](auto value) { return static_cast<WORD>(value); };
    return {word(static_cast<int>(oDate.year())), word(static_cast<unsigned>(oDate.month())),
            word(weekday(oDay).c_encoding()),     word(static_cast<unsigned>(oDate.day())),
            word(oTime.hours().count()),          word(oTime.minutes().count()),
            word(oTime.seconds().count()),        word(oTime.subseconds().count())};
}

}  // namespace vlm::test
