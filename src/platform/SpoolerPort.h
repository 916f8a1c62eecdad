/// @file
/// Port: the print spooler.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Channels to monitors, and the list of monitors.  Queues, drivers and printer data join this port with the classes
/// that use them.  Monitor names compare without case.  On the host the spooler is embedded: its monitors stand in the
/// store, below the key that Windows keeps them in, and a channel leads to the EmbeddedMonitor of the same process.
/// Threads: any; one handle by one thread at a time.  Failure: by the spooler's own status; nothing throws.
class SpoolerPort {
public:
    /// Rights, without the prefixes by which the system's header defines them as macros.
    static constexpr DWORD ACCESS_ADMINISTER = 0x1, ACCESS_ENUMERATE = 0x2, ACCESS_USE = 0x8;
    /// Statuses that only the spooler answers.
    static constexpr DWORD NULL_REFERENCE = 1780, UNKNOWN_PORT = 1796, INVALID_PRINTER_NAME = 1801,
                           INVALID_ENVIRONMENT = 1805, UNKNOWN_PRINT_MONITOR = 3000,
                           PRINT_MONITOR_ALREADY_INSTALLED = 3006;
    /// The one environment that monitors are registered for.
    static constexpr const XCHAR* ENVIRONMENT = VTEXT("Windows x64");
    /// Room that a monitor's name needs at most, in code units with its terminator.
    static constexpr DWORD MAX_MONITOR_NAME_UNITS = 261;
    /// The same for a queue's, with its server.
    static constexpr DWORD MAX_PRINTER_NAME_UNITS = 512;

    virtual ~SpoolerPort() = default;

    /// Opens a queue, the server (null) or a channel (",XcvMonitor NAME").
    /// @return UNKNOWN_PORT for a monitor that is not installed, INVALID_PRINTER_NAME, AccessDenied.
    virtual Status OpenPrinterHandle(const XCHAR* pszName, DWORD dwAccess, HANDLE& rhPrinter) noexcept = 0;
    /// @return InvalidHandle for a handle that is not open.
    virtual Status ClosePrinterHandle(HANDLE hPrinter) noexcept = 0;
    /// The name of an open queue, as the spooler knows it.  `rcName`: room before (with terminator), units after.
    /// @return InvalidHandle for a handle that is not open or no queue's, MoreData when the name does not fit.
    virtual Status PrinterName(HANDLE hPrinter, XCHAR* pszName, DWORD& rcName) noexcept = 0;
    /// Sends a command over a channel; `pbyInput` and `pbyOutput` may be null with a size of 0.
    /// @param rcbNeeded and `rdwMonitorStatus` are the monitor's own answer, set when the call succeeded.
    /// @return InvalidHandle for a handle that is no channel, NULL_REFERENCE for a null command.
    virtual Status Transceive(HANDLE hChannel, const XCHAR* pszCommand, const BYTE* pbyInput, DWORD cbInput,
                              BYTE* pbyOutput, DWORD cbOutput, DWORD& rcbNeeded, DWORD& rdwMonitorStatus) noexcept = 0;
    /// Registers a monitor: its display name, environment and DLL.
    /// @return PRINT_MONITOR_ALREADY_INSTALLED, ModuleNotFound, INVALID_ENVIRONMENT, InvalidParameter (an empty name or
    /// DLL), AccessDenied.
    virtual Status AddMonitorDll(const XCHAR* pszName, const XCHAR* pszEnvironment, const XCHAR* pszDll) noexcept = 0;
    /// @return UNKNOWN_PRINT_MONITOR, InvalidParameter (an empty name).
    virtual Status DeleteMonitorByName(const XCHAR* pszName, const XCHAR* pszEnvironment) noexcept = 0;
    /// The `dwIndex`-th installed monitor's display name.  `rcName`: room before (with terminator), units after.
    /// @return NoMoreItems at the end, MoreData when the name does not fit.
    virtual Status EnumerateMonitor(DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept = 0;
};

}  // namespace vlm
