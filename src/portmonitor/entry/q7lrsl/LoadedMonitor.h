/// @file
/// The monitor that is loaded at the moment.
#pragma once

#include <string>

#include "portmonitor/entry/q7lrsl/System.h"

namespace loader {

/// Owns the loaded module and the monitor in it.
/// **Threads**: guarded by its user.  **Failure**: by the system's numbers.
class LoadedMonitor {
public:
    LoadedMonitor() noexcept = default;
    ~LoadedMonitor() = default;  // the spooler unloads us only after Shutdown, which has let go of it
    LoadedMonitor(const LoadedMonitor&) = delete;
    LoadedMonitor& operator=(const LoadedMonitor&) = delete;

    /// Loads the file by its full path; what it needs comes from the system folder alone.
    DWORD Load(const std::wstring& rPath, MONITORINIT& rInit) noexcept;
    /// Shuts the monitor down and lets go of the module.
    void Unload() noexcept;
    bool IsLoaded() const noexcept { return m_pMonitor != nullptr; }

    BOOL OpenChannel(ACCESS_MASK dwGrantedAccess, PHANDLE phXcv) const noexcept;
    void CloseChannel(HANDLE hXcv) const noexcept;
    DWORD Transceive(HANDLE hXcv, LPCWSTR pszDataName, PBYTE pbyInput, DWORD cbInput, PBYTE pbyOutput, DWORD cbOutput,
                     PDWORD pcbNeeded) const noexcept;

private:
    HMODULE m_hModule = nullptr;
    LPMONITOR2 m_pMonitor = nullptr;
    HANDLE m_hMonitor = nullptr;
};

}  // namespace loader
