/// @file
/// The files of the port monitor: where they come from, and where they go.
#pragma once

#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/DriverVersion.h"
#include "utilities/utilitiesdll/WriteBeside.h"

namespace vlm {

// Names below a folder, with their backslash.
inline constexpr const XCHAR* LOADER_FILE = VTEXT("\\q7lrsl.dll");
inline constexpr const XCHAR* MONITOR_FILE = VTEXT("\\q7lrs.dll");
/// What an upgrade takes the place of the monitor's DLL from: always complete, never loaded.
inline constexpr const XCHAR* PENDING_MONITOR_FILE = VTEXT("\\q7lrs.new");

/// The folder of the library itself, which the driver's other files lie in, without a backslash at its end; empty when
/// it cannot be had.
CXString GetDriverFolder();
/// The system's folder for DLLs, without a backslash at its end; empty, with Success, where the system has none.
Status GetSystemFolder(CXString& rcsFolder);

/// Copies the monitor's DLL of the driver's folder to a path, whole or not at all.
Status PlaceShippedMonitor(const CXString& kcsPath);

/// Is the monitor's DLL in the driver's folder newer than the one in the system folder?  True when in doubt: the
/// upgrade itself then tells what is wrong.
bool IsShippedMonitorNewer();

/// The version in a DLL's bytes: in the fixed part of the version resource that begins with its name.
/// @return 0.0.0.0 without one.  Pure; for any bytes.
DriverVersion FindFileVersion(const ByteBuffer& kbbFile) noexcept;

}  // namespace vlm
