/// @file
/// Loads the monitor and calls it.
#include "portmonitor/entry/q7lrsl/LoadedMonitor.h"

#include <cstddef>

namespace loader {

namespace {

using InitializeFunction = LPMONITOR2(WINAPI*)(PMONITORINIT, PHANDLE);

/// A monitor of ours has the channel's functions, and a table that reaches that far.
bool IsComplete(const MONITOR2* pMonitor) noexcept {
    return pMonitor && pMonitor->cbSize >= offsetof(MONITOR2, pfnShutdown) + sizeof(pMonitor->pfnShutdown) &&
           pMonitor->pfnXcvOpenPort && pMonitor->pfnXcvDataPort && pMonitor->pfnXcvClosePort && pMonitor->pfnShutdown;
}

}  // namespace

DWORD LoadedMonitor::Load(const std::wstring& rPath, MONITORINIT& rInit) noexcept {
    if (rPath.empty()) return ERROR_PATH_NOT_FOUND;
    m_hModule = LoadLibraryExW(rPath.c_str(), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (!m_hModule) return GetLastError();
    const FARPROC pfnEntry = GetProcAddress(m_hModule, "InitializePrintMonitor2");
    const auto pfnInitialize = reinterpret_cast<InitializeFunction>(reinterpret_cast<void*>(pfnEntry));
    LPMONITOR2 const pMonitor = pfnInitialize ? pfnInitialize(&rInit, &m_hMonitor) : nullptr;
    if (IsComplete(pMonitor)) {
        m_pMonitor = pMonitor;
        return ERROR_SUCCESS;
    }
    FreeLibrary(m_hModule);
    m_hModule = nullptr;
    return ERROR_PROC_NOT_FOUND;
}

void LoadedMonitor::Unload() noexcept {
    if (m_pMonitor) m_pMonitor->pfnShutdown(m_hMonitor);
    m_pMonitor = nullptr;
    if (m_hModule) FreeLibrary(m_hModule);
    m_hModule = nullptr;
}

BOOL LoadedMonitor::OpenChannel(ACCESS_MASK dwGrantedAccess, PHANDLE phXcv) const noexcept {
    if (m_pMonitor) return m_pMonitor->pfnXcvOpenPort(m_hMonitor, L"", dwGrantedAccess, phXcv);
    SetLastError(ERROR_MOD_NOT_FOUND);
    return FALSE;
}

void LoadedMonitor::CloseChannel(HANDLE hXcv) const noexcept {
    if (m_pMonitor) m_pMonitor->pfnXcvClosePort(hXcv);
}

DWORD LoadedMonitor::Transceive(HANDLE hXcv, LPCWSTR pszDataName, PBYTE pbyInput, DWORD cbInput, PBYTE pbyOutput,
                                DWORD cbOutput, PDWORD pcbNeeded) const noexcept {
    if (!m_pMonitor) return ERROR_MOD_NOT_FOUND;
    return m_pMonitor->pfnXcvDataPort(hXcv, pszDataName, pbyInput, cbInput, pbyOutput, cbOutput, pcbNeeded);
}

}  // namespace loader
