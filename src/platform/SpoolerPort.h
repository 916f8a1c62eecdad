/// @file
/// Port: the print spooler.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Handles of queues and channels, monitors and their ports, print processors.  What is done with a queue's handle is
/// PrintQueuePort's, PrinterDataPort's and PrinterDriverPort's.  Names compare without case.
/// On the host the spooler is embedded: all of it stands in the store, below the keys that Windows keeps it in; a
/// channel leads to a monitor of the spooler's own ("Local Port", "Standard TCP/IP Port") or to the EmbeddedMonitor of
/// the same process.
/// Threads: any; one handle by one thread at a time.  Failure: by the spooler's own status; nothing throws.
///
/// Information blocks (SpoolerBlocks.h) follow one protocol in all these ports: the caller offers `cbInfo` bytes at
/// `pInfo` (null with 0) aligned to 8; what does not fit answers InsufficientBuffer with the size in `rcbNeeded`, and
/// may be larger at the next call.  Lists that are empty answer Success with a size of 0.
///
/// The monitors' own commands, as far as both systems answer them (all texts zero-terminated, status in
/// `rdwMonitorStatus`):
/// | Channel | Command | Data |
/// |---|---|---|
/// | ",XcvMonitor Local Port" | "AddPort", "DeletePort" | in: port name; AlreadyExists, FileNotFound |
/// | | "PortIsValid" | in: port name |
/// | | "MonitorUI" | out: "localui.dll" |
/// | ",XcvMonitor Standard TCP/IP Port" | "AddPort", "ConfigPort" | in: PORT_DATA_1, 964 bytes; AlreadyExists |
/// | | "DeletePort" | in: DELETE_PORT_DATA_1, 236 bytes (the port's name first); UNKNOWN_PORT |
/// | | "MonitorUI" | out: "tcpmonui.dll" |
/// | ",XcvPort NAME" of a TCP/IP port | "GetConfigInfo" | in: CONFIG_INFO_DATA_1, 132 bytes; out: PORT_DATA_1 |
/// | | "ConfigPort" | in: PORT_DATA_1 |
/// | | "HostAddress", "IPAddress", "SNMPCommunity" | out: text |
/// | | "SNMPEnabled", "SNMPDeviceIndex" | out: 4 bytes |
/// Unknown commands: InvalidParameter; a record of another length: InvalidData; of another version: UNKNOWN_LEVEL;
/// without ACCESS_ADMINISTER: AccessDenied for what changes something.  Under Wine there is no TCP/IP monitor; a test
/// registers its own.
class SpoolerPort {
public:
    /// Rights, without the prefixes by which the system's header defines them as macros.
    /// The first two are the server's and its monitors', the next two a queue's; ALL_ACCESS is all of a queue's.
    static constexpr DWORD ACCESS_ADMINISTER = 0x1, ACCESS_ENUMERATE = 0x2, QUEUE_ADMINISTER = 0x4, ACCESS_USE = 0x8,
                           ALL_ACCESS = 0xF000C;
    /// Statuses that only the spooler answers.
    static constexpr DWORD UNKNOWN_LEVEL = 124, SERVER_UNAVAILABLE = 1722, NULL_REFERENCE = 1780,
                           UNKNOWN_PRINTER_DRIVER = 1797, UNKNOWN_PORT = 1796, UNKNOWN_PRINT_PROCESSOR = 1798,
                           INVALID_SEPARATOR_FILE = 1799, INVALID_PRIORITY = 1800, INVALID_PRINTER_NAME = 1801,
                           PRINTER_ALREADY_EXISTS = 1802, INVALID_DATATYPE = 1804, INVALID_ENVIRONMENT = 1805,
                           PRINTER_DRIVER_ALREADY_INSTALLED = 1795, UNKNOWN_PRINT_MONITOR = 3000,
                           PRINTER_DRIVER_IN_USE = 3001, PRINT_MONITOR_ALREADY_INSTALLED = 3006,
                           PRINT_MONITOR_IN_USE = 3008;
    /// The one environment that monitors are registered for.
    static constexpr const XCHAR* ENVIRONMENT = VTEXT("Windows x64");
    /// Room that a monitor's name needs at most, in code units with its terminator.
    static constexpr DWORD MAX_MONITOR_NAME_UNITS = 261;
    /// The same for a queue's, with its server.
    static constexpr DWORD MAX_PRINTER_NAME_UNITS = 512;

    virtual ~SpoolerPort() = default;

    /// Opens a queue ("NAME", "\\\\SERVER\\NAME"), the server (null) or a channel (",XcvMonitor NAME", ",XcvPort PORT",
    /// on another server with "\\\\SERVER\\" before it).
    /// @param dwAccess 0: what everybody has, ACCESS_USE; MAXIMUM_RIGHTS of the registry: all that the caller may have.
    /// @return UNKNOWN_PORT for a monitor that is not installed or a port that no monitor has, INVALID_PRINTER_NAME,
    /// AccessDenied.
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
    /// The ports of all monitors.  @param pszServer null: this computer.  @param dwLevel of PortInfo: 1, 2.
    /// @return UNKNOWN_LEVEL, InsufficientBuffer.
    virtual Status EnumeratePortInfo(const XCHAR* pszServer, DWORD dwLevel, void* pInfo, DWORD cbInfo, DWORD& rcbNeeded,
                                     DWORD& rcReturned) noexcept = 0;
    /// The print processors of an environment (null: ENVIRONMENT).  @param dwLevel of PrintProcessorInfo: 1.
    /// @return UNKNOWN_LEVEL, INVALID_ENVIRONMENT, InsufficientBuffer.
    virtual Status EnumerateProcessorInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel,
                                          void* pInfo, DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept = 0;
};

}  // namespace vlm
