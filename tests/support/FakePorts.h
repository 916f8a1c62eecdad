/// @file
/// The small ports in memory: text, desktop, process, threads, clock.
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/ClockPort.h"
#include "platform/DesktopPort.h"
#include "platform/ProcessPort.h"
#include "platform/TextPort.h"
#include "platform/ThreadPort.h"
#include "support/PortCalls.h"

namespace vlm::test {

using XString = std::basic_string<XCHAR>;

/// The system's conversions and texts; string resources and windows of its own.
class FakeTextPort final : public TextPort {
public:
    void AddString(HINSTANCE hModule, UINT uId, XStringView svText);
    HWND AddWindow(XStringView svCaption, HWND hwndParent = nullptr);
    /// Later calls on the window answer InvalidWindowHandle.
    void RemoveWindow(HWND hwnd);

    Q9_TEXT_CALLS(Q9_DECLARE)

private:
    std::mutex m_oMutex;
    std::map<std::pair<HINSTANCE, UINT>, XString> m_mapStrings;
    std::map<HWND, XString> m_mapWindows;
    std::map<HWND, HWND> m_mapParents;
    std::uintptr_t m_uiLastWindow = 0x3000;
};

/// Records what is sent to the debugger.
class FakeDesktopPort final : public DesktopPort {
public:
    std::vector<XString> DebuggerLines() const;

    void DebuggerOutput(const XCHAR* pszText) noexcept override;

private:
    mutable std::mutex m_oMutex;
    std::vector<XString> m_vLines;
};

/// A process with a scripted name and environment.
class FakeProcessPort final : public ProcessPort {
public:
    /// @param hModule null: the executable ("C:\\Program Files\\Test\\test.exe" at the beginning).
    void SetModulePath(HINSTANCE hModule, XStringView svPath);
    /// At the beginning "C:\\Windows\\System32"; an empty folder: there is none.
    void SetSystemFolder(XStringView svPath);
    /// A module that LoadResources finds; its strings are the text port's (AddString).
    void AddResources(XStringView svPath, HINSTANCE hModule);
    int LoadedResources() const { return m_iLoadedResources; }
    void SetEnvironmentVariableTo(XStringView svName, XStringView svValue);
    /// ("\"C:\\Program Files\\Test\\test.exe\" /quiet" at the beginning.)
    void SetCommandLineTo(XStringView svCommandLine) { m_strCommandLine = svCommandLine; }
    /// Another process of the system.
    void AddProcess(DWORD dwId) { m_vdwOthers.push_back(dwId); }
    /// (64-bit Windows 10.0 at the beginning.)
    void SetSystemTo(const System& rSystem) { m_oSystem = rSystem; }

    System DescribeSystem() noexcept override { return m_oSystem; }
    std::size_t ModulePath(HINSTANCE hModule, XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    std::size_t LibraryPath(XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    Status SystemFolder(XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    Status LoadResources(const XCHAR* pszPath, HINSTANCE& rhModule) noexcept override;
    Status FreeResources(HINSTANCE hModule) noexcept override;
    DWORD CurrentProcessId() noexcept override { return 4711; }
    std::size_t EnvironmentVariable(const XCHAR* pszName, XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    std::size_t CommandLine(XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    std::size_t ComputerName(XCHAR* pTarget, std::size_t cCapacity) noexcept override;
    std::size_t ProcessIds(DWORD* pdwIds, std::size_t cCapacity) noexcept override;

private:
    std::map<HINSTANCE, XString> m_mapModules{{nullptr, VTEXT("C:\\Program Files\\Test\\test.exe")}};
    XString m_libraryPath = VTEXT("C:\\Driver\\q9util073.dll");
    XString m_systemFolder = VTEXT("C:\\Windows\\System32");
    std::map<XString, HINSTANCE> m_mapResources;
    std::atomic<int> m_iLoadedResources{0};
    std::map<XString, XString> m_mapEnvironment;
    XString m_strCommandLine = VTEXT("\"C:\\Program Files\\Test\\test.exe\" /quiet");
    XString m_computerName = VTEXT("TESTBENCH");
    std::vector<DWORD> m_vdwOthers;
    System m_oSystem{.fWindows = true, .f64Bit = true, .dwMajor = 10, .dwMinor = 0};
};

/// The system's threads, with an account of what was taken.
class FakeThreadPort : public ThreadPort {
public:
    LONGLONG OpenSlots() const { return m_llSlots; }
    LONGLONG LocalBlocks() const { return m_llBlocks; }

    DWORD AllocSlot(void (*pfnThreadEnd)(void*)) noexcept override;
    Status FreeSlot(DWORD dwSlot) noexcept override;
    void* GetSlot(DWORD dwSlot, Status& rStatus) noexcept override;
    Status SetSlot(DWORD dwSlot, void* pValue) noexcept override;
    void* LocalAllocate(std::size_t cBytes) noexcept override;
    void LocalRelease(void* pMemory) noexcept override;
    DWORD CurrentThreadId() noexcept override;
    DWORD LastError() noexcept override;
    void LeaveLastError(DWORD dwError) noexcept override;

private:
    std::atomic<LONGLONG> m_llSlots{0};
    std::atomic<LONGLONG> m_llBlocks{0};
};

/// A clock that stands still until it is set.  It begins on 2024-02-29 12:34:56.789 UTC, with 10 MHz ticks.
class FakeClockPort final : public ClockPort {
public:
    /// Moves every clock on.
    void Advance(LONGLONG llMilliseconds) { m_llMilliseconds += llMilliseconds; }
    /// Milliseconds since 1970-01-01 UTC; may go back (the counter then does, too, as on bad hardware).
    void SetUtcMilliseconds(LONGLONG llMilliseconds) { m_llMilliseconds = llMilliseconds; }
    void SetFrequency(LONGLONG llTicksPerSecond) { m_llFrequency = llTicksPerSecond; }
    /// Minutes that local time is ahead of UTC.
    void SetZoneMinutes(LONGLONG llMinutes) { m_llZoneMinutes = llMinutes; }

    LONGLONG PerformanceCounter() noexcept override;
    LONGLONG PerformanceFrequency() noexcept override { return m_llFrequency; }
    DWORD TickCount() noexcept override { return static_cast<DWORD>(m_llMilliseconds); }
    LONGLONG UtcSeconds() noexcept override;
    CalendarTime LocalTime() noexcept override;

private:
    std::atomic<LONGLONG> m_llMilliseconds{1'709'210'096'789};
    std::atomic<LONGLONG> m_llFrequency{10'000'000};
    std::atomic<LONGLONG> m_llZoneMinutes{0};
};

}  // namespace vlm::test
