/// @file
/// Checks and exchanges the monitor's files.
#include "portmonitor/entry/q7lrsl/MonitorFiles.h"

#include <cstdint>
#include <new>
#include <vector>

namespace loader {

namespace {

/// The file version in a DLL's resource as one number; 0 when it has none or is not whole.
std::uint64_t VersionOf(const std::wstring& rPath) noexcept try {
    DWORD dwIgnored = 0;
    const DWORD cbInfo = GetFileVersionInfoSizeW(rPath.c_str(), &dwIgnored);
    constexpr DWORD MAX_INFO_BYTES = 64 * 1024;
    if (cbInfo == 0 || cbInfo > MAX_INFO_BYTES) return 0;
    std::vector<BYTE> vbyInfo(cbInfo);
    void* pFixed = nullptr;
    UINT cbFixed = 0;
    if (!GetFileVersionInfoW(rPath.c_str(), 0, cbInfo, vbyInfo.data()) ||
        !VerQueryValueW(vbyInfo.data(), L"\\", &pFixed, &cbFixed) || cbFixed < sizeof(VS_FIXEDFILEINFO)) {
        return 0;
    }
    const auto* const pInfo = static_cast<const VS_FIXEDFILEINFO*>(pFixed);
    return std::uint64_t{pInfo->dwFileVersionMS} << 32 | pInfo->dwFileVersionLS;
} catch (const std::bad_alloc&) {
    return 0;
}

/// A DLL that the system can map and that has the monitor's way in.  Nothing in it is called and nothing that it needs
/// is loaded.
bool IsMonitorDll(const std::wstring& rPath) noexcept {
    const HMODULE hModule = LoadLibraryExW(rPath.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
    if (!hModule) return false;
    const bool fMonitor = GetProcAddress(hModule, "InitializePrintMonitor2") != nullptr;
    FreeLibrary(hModule);
    return fMonitor;
}

bool Exists(const std::wstring& rPath) noexcept {
    return GetFileAttributesW(rPath.c_str()) != INVALID_FILE_ATTRIBUTES;
}

DWORD Move(const std::wstring& rFrom, const std::wstring& rTo) noexcept {
    constexpr DWORD FLAGS = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    return MoveFileExW(rFrom.c_str(), rTo.c_str(), FLAGS) ? ERROR_SUCCESS : GetLastError();
}

}  // namespace

MonitorFiles::MonitorFiles() {
    WCHAR szFolder[MAX_PATH];
    const UINT cFolder = GetSystemDirectoryW(szFolder, MAX_PATH);
    if (cFolder == 0 || cFolder >= MAX_PATH) return;
    const std::wstring stem = std::wstring(szFolder, cFolder) + L"\\q7lrs.";
    m_monitor = stem + L"dll";
    m_new = stem + L"new";
    m_old = stem + L"old";
    m_bad = stem + L"bad";
}

DWORD MonitorFiles::CheckNew() const noexcept {
    const DWORD dwAttributes = m_new.empty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(m_new.c_str());
    if (dwAttributes == INVALID_FILE_ATTRIBUTES) return ERROR_FILE_NOT_FOUND;
    if (dwAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) return ERROR_ACCESS_DENIED;
    const std::uint64_t ullNew = VersionOf(m_new);
    if (ullNew == 0 || !IsMonitorDll(m_new)) return ERROR_BAD_EXE_FORMAT;
    return ullNew > VersionOf(m_monitor) ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS;
}

DWORD MonitorFiles::TakeNew() const noexcept {
    if (m_monitor.empty()) return ERROR_PATH_NOT_FOUND;
    const bool fFormer = Exists(m_monitor);
    const DWORD dwAside = fFormer ? Move(m_monitor, m_old) : ERROR_SUCCESS;
    if (dwAside != ERROR_SUCCESS) return dwAside;
    const DWORD dwTaken = Move(m_new, m_monitor);
    if (dwTaken != ERROR_SUCCESS && fFormer) Move(m_old, m_monitor);
    return dwTaken;
}

DWORD MonitorFiles::TakeBack() const noexcept {
    if (!Exists(m_old)) return ERROR_FILE_NOT_FOUND;
    const DWORD dwAway = Move(m_monitor, m_bad);
    return dwAway == ERROR_SUCCESS ? Move(m_old, m_monitor) : dwAway;
}

void MonitorFiles::Forget() const noexcept {
    for (const std::wstring* const pPath : {&m_old, &m_bad}) {
        if (Exists(*pPath) && !DeleteFileW(pPath->c_str()))
            MoveFileExW(pPath->c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
    }
}

}  // namespace loader
