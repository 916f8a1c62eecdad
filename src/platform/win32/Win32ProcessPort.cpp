/// @file
/// Names of the process and its modules over kernel32.
#include "platform/win32/Win32ProcessPort.h"

#include <algorithm>
#include <climits>

#include "platform/win32/System.h"

#include <psapi.h>

// The one call that tells the version whatever the program's manifest says; the headers here do not declare it.
extern "C" NTSYSAPI LONG NTAPI RtlGetVersion(OSVERSIONINFOW* pVersion);

namespace vlm::win32 {

namespace {
DWORD Room(std::size_t cCapacity) noexcept {
    return static_cast<DWORD>(std::min<std::size_t>(cCapacity, INT_MAX));
}
}  // namespace

ProcessPort::System Win32ProcessPort::DescribeSystem() noexcept {
    System oSystem{.fWindows = true};
    SYSTEM_INFO oInformation{};
    GetNativeSystemInfo(&oInformation);
    oSystem.f64Bit = oInformation.wProcessorArchitecture != PROCESSOR_ARCHITECTURE_INTEL;
    OSVERSIONINFOW oVersion{};
    oVersion.dwOSVersionInfoSize = sizeof(oVersion);
    if (RtlGetVersion(&oVersion) >= 0) {
        oSystem.dwMajor = oVersion.dwMajorVersion;
        oSystem.dwMinor = oVersion.dwMinorVersion;
    }
    return oSystem;
}

std::size_t Win32ProcessPort::ModulePath(HINSTANCE hModule, XCHAR* pTarget, std::size_t cCapacity) noexcept {
    if (pTarget == nullptr || cCapacity == 0) return 0;
    const DWORD dwRoom = Room(cCapacity);
    const DWORD dwUnits = GetModuleFileNameW(hModule, pTarget, dwRoom);
    return dwUnits < dwRoom ? dwUnits : 0;  // a path that was cut fills the room
}

std::size_t Win32ProcessPort::LibraryPath(XCHAR* pTarget, std::size_t cCapacity) noexcept {
    HMODULE hModule = nullptr;
    const BOOL fFound =
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<const wchar_t*>(&Room), &hModule);
    return fFound ? ModulePath(hModule, pTarget, cCapacity) : 0;
}

Status Win32ProcessPort::SystemFolder(XCHAR* pTarget, std::size_t cCapacity) noexcept {
    if (pTarget == nullptr) return Status::InsufficientBuffer;
    const DWORD dwRoom = Room(cCapacity);
    const DWORD dwUnits = GetSystemDirectoryW(pTarget, dwRoom);
    if (dwUnits == 0) return LastStatus();
    return dwUnits < dwRoom ? Status::Success : Status::InsufficientBuffer;
}

Status Win32ProcessPort::LoadResources(const XCHAR* pszPath, HINSTANCE& rhModule) noexcept {
    if (pszPath == nullptr || *pszPath == 0) return Status::PathNotFound;
    HINSTANCE const hModule =
        LoadLibraryExW(pszPath, nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    if (hModule == nullptr) return LastStatus();
    rhModule = hModule;
    return Status::Success;
}

Status Win32ProcessPort::FreeResources(HINSTANCE hModule) noexcept {
    return FreeLibrary(hModule) ? Status::Success : LastStatus();
}

DWORD Win32ProcessPort::CurrentProcessId() noexcept {
    return GetCurrentProcessId();
}

std::size_t Win32ProcessPort::EnvironmentVariable(const XCHAR* pszName, XCHAR* pTarget,
                                                  std::size_t cCapacity) noexcept {
    if (pszName == nullptr || pTarget == nullptr || cCapacity == 0) return 0;
    const DWORD dwRoom = Room(cCapacity);
    const DWORD dwUnits = GetEnvironmentVariableW(pszName, pTarget, dwRoom);
    return dwUnits < dwRoom ? dwUnits : 0;  // otherwise it is the room needed
}

std::size_t Win32ProcessPort::CommandLine(XCHAR* pTarget, std::size_t cCapacity) noexcept {
    const XStringView text = GetCommandLineW();
    if (pTarget == nullptr || text.size() >= cCapacity) return 0;
    *std::copy(text.begin(), text.end(), pTarget) = 0;
    return text.size();
}

std::size_t Win32ProcessPort::ComputerName(XCHAR* pTarget, std::size_t cCapacity) noexcept {
    if (pTarget == nullptr || cCapacity == 0) return 0;
    DWORD dwUnits = Room(cCapacity);
    return GetComputerNameW(pTarget, &dwUnits) ? dwUnits : 0;
}

std::size_t Win32ProcessPort::ProcessIds(DWORD* pdwIds, std::size_t cCapacity) noexcept {
    DWORD cbWritten = 0;
    const DWORD cbRoom = Room(cCapacity * sizeof(DWORD));
    if (pdwIds == nullptr || !K32EnumProcesses(pdwIds, cbRoom, &cbWritten)) return 0;
    return cbWritten / sizeof(DWORD);
}

}  // namespace vlm::win32
