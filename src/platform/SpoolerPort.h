/// @file
/// Port: the print spooler.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Channels to monitors, and the list of monitors.  Queues, drivers and printer data join this port with the classes
/// that use them.  Threads: any; one handle by one thread at a time.  Failure: by the spooler's own status; nothing
/// throws.
class SpoolerPort {
public:
    static constexpr DWORD SERVER_ACCESS_ADMINISTER = 0x1, PRINTER_ACCESS_USE = 0x8;
    /// Statuses that only the spooler answers.
    static constexpr DWORD UNKNOWN_PRINT_MONITOR = 3000, PRINT_MONITOR_ALREADY_INSTALLED = 3006, UNKNOWN_PORT = 1796,
                           INVALID_PRINTER_NAME = 1801;

    virtual ~SpoolerPort() = default;

    /// Opens a queue, a server or a channel (",XcvMonitor NAME").
    virtual Status OpenPrinterHandle(const XCHAR* pszName, DWORD dwAccess, HANDLE& rhPrinter) noexcept = 0;
    virtual Status ClosePrinterHandle(HANDLE hPrinter) noexcept = 0;
    /// Sends a command over a channel.  `rdwMonitorStatus` is the monitor's own answer, valid when the call succeeded.
    virtual Status Transceive(HANDLE hChannel, const XCHAR* pszCommand, const BYTE* pbyInput, DWORD cbInput,
                              BYTE* pbyOutput, DWORD cbOutput, DWORD& rcbNeeded, DWORD& rdwMonitorStatus) noexcept = 0;
    /// Registers a monitor: its display name, environment ("Windows x64") and DLL.
    virtual Status AddMonitorDll(const XCHAR* pszName, const XCHAR* pszEnvironment, const XCHAR* pszDll) noexcept = 0;
    virtual Status DeleteMonitorByName(const XCHAR* pszName, const XCHAR* pszEnvironment) noexcept = 0;
    /// The `dwIndex`-th installed monitor's display name.  `rcName`: room before (with terminator), units after.
    virtual Status EnumerateMonitor(DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept = 0;
};

}  // namespace vlm
