/// @file
/// The embedded spooler's own port monitors.
#pragma once

#include <span>

#include "platform/host/spooler/SpoolerGround.h"

namespace vlm::host {

/// A command on its way to a monitor.
struct MonitorCommand {
    XStringView svCommand;
    std::span<const BYTE> input;
    std::span<BYTE> output;
    const OpenedPrinter& rChannel;
    DWORD& rcbNeeded;
};

/// The local port monitor: "AddPort", "DeletePort", "PortIsValid", "PortExists" (AlreadyExists, or Success when there
/// is none), "MonitorUI", "GetTransmissionRetryTimeout" (4 bytes, seconds).
/// @return the monitor's status.  Failure: throws SpoolerFailure, std::bad_alloc.
Status RunLocalCommand(SpoolerGround& rGround, const MonitorCommand& rCommand);

/// The TCP/IP port monitor; the commands stand at SpoolerPort.  Its ports are keys with the values "HostName",
/// "IPAddress", "PortNumber", "Protocol", "Queue", "Double Spool", "SNMP Enabled", "SNMP Community", "SNMP Index",
/// "Version".
///
/// PORT_DATA_1, 964 bytes, integers little-endian, texts zero-terminated within their fields:
/// | Offset | Bytes | Field |
/// |---|---|---|
/// | 0 | 128 | port name |
/// | 128 | 4 | version, 1 |
/// | 132 | 4 | protocol: 1 raw, 2 LPR |
/// | 136 | 4 | size, 964 |
/// | 140 | 4 | reserved |
/// | 144 | 98 | host address |
/// | 242 | 66 | SNMP community |
/// | 308 | 4 | double spool (LPR) |
/// | 312 | 66 | queue (LPR) |
/// | 378 | 32 | IP address |
/// | 410 | 542 | reserved |
/// | 952 | 4 | port number |
/// | 956 | 4 | SNMP enabled |
/// | 960 | 4 | SNMP device index |
///
/// CONFIG_INFO_DATA_1: 128 bytes reserved, version 1.  DELETE_PORT_DATA_1: port name (128 bytes), 98 and 2 bytes
/// reserved, version 1, 4 bytes reserved.
Status RunTcpCommand(SpoolerGround& rGround, const MonitorCommand& rCommand);

/// Writes an answer, when it fits; the size needed is told in any case.
Status AnswerBytes(const MonitorCommand& rCommand, const void* pData, std::size_t cbData) noexcept;
Status AnswerText(const MonitorCommand& rCommand, XStringView svText);

/// Whether a queue of this computer prints to the port.
bool IsPortInUse(SpoolerGround& rGround, XStringView svPort);

}  // namespace vlm::host
