/// @file
/// Stands between the spooler and the monitor, so that the monitor can be exchanged while the spooler runs.
#pragma once

#include <list>
#include <memory>

#include "portmonitor/entry/q7lrsl/LoadedMonitor.h"
#include "portmonitor/entry/q7lrsl/MonitorFiles.h"

namespace loader {

/// A channel as the spooler knows it.  The monitor's own channel behind it is opened when it is first needed, and again
/// after an exchange.
struct Channel {
    ACCESS_MASK m_dwGrantedAccess = 0;
    SRWLOCK m_oLock = SRWLOCK_INIT;  ///< over the handle
    HANDLE m_hInner = nullptr;
};

/// Leads calls to the monitor in force.  An "upgrade" that the monitor allows (it knows who asks, and who may) waits
/// until no call is under way, closes the monitor's channels with all keys open on them, and puts the new file in the
/// place of the old one; if that does not load, the old one comes back.
/// **Threads**: any.  **Failure**: by the system's numbers; nothing throws.
class MonitorLoader {
public:
    MonitorLoader() noexcept = default;
    MonitorLoader(const MonitorLoader&) = delete;
    MonitorLoader& operator=(const MonitorLoader&) = delete;

    /// Puts a new file that waits in place, and loads the monitor.
    DWORD Start(const MONITORINIT& rInit) noexcept;
    /// Lets go of everything.
    void Stop() noexcept;

    DWORD OpenChannel(ACCESS_MASK dwGrantedAccess, HANDLE& rhXcv) noexcept;
    DWORD CloseChannel(HANDLE hXcv) noexcept;
    DWORD Transceive(HANDLE hXcv, LPCWSTR pszDataName, PBYTE pbyInput, DWORD cbInput, PBYTE pbyOutput, DWORD cbOutput,
                     PDWORD pcbNeeded) noexcept;

private:
    using Channels = std::list<std::unique_ptr<Channel>>;

    Channels::iterator Find(HANDLE hXcv) noexcept;
    DWORD InnerOf(Channel& rChannel, HANDLE& rhInner) noexcept;
    void CloseInner() noexcept;
    DWORD Upgrade() noexcept;

    SRWLOCK m_oLock = SRWLOCK_INIT;  ///< shared by calls, exclusive for what changes monitor or channels
    std::unique_ptr<MonitorFiles> m_apoFiles;
    MONITORINIT m_oInit{};
    LoadedMonitor m_oMonitor;
    Channels m_lapoChannels;
};

}  // namespace loader
