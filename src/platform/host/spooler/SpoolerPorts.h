/// @file
/// Printer ports and print processors of the embedded spooler.
#pragma once

#include <optional>
#include <vector>

#include "platform/host/spooler/SpoolerKey.h"

namespace vlm::host {

/// The monitors that are part of the spooler: always installed.
inline constexpr const XCHAR* LOCAL_MONITOR = VTEXT("Local Port");
inline constexpr const XCHAR* TCP_MONITOR = VTEXT("Standard TCP/IP Port");

/// A port, and the monitor that it belongs to.
struct SpoolerPortRecord {
    XText name;
    XText monitor;
};

/// The key of a TCP/IP port, and of every port of a monitor that keeps them as the system asks it to.
XText PortKey(XStringView svMonitor, XStringView svPort);

/// The ports of all monitors.  Local ports are the values of LOCAL_PORTS_PATH; without that key, the ones that every
/// computer has.  The other monitors' are keys below "Monitors\\<monitor>\\Ports".
std::vector<SpoolerPortRecord> LoadPorts(SpoolerGround& rGround);
std::optional<SpoolerPortRecord> FindPort(SpoolerGround& rGround, XStringView svPort);

/// "winprint", and what is registered below PROCESSORS_PATH.
std::vector<XText> ProcessorNames(SpoolerGround& rGround);

}  // namespace vlm::host
