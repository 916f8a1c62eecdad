/// @file
/// Ports of the system's Local Port monitor.
#pragma once

#include "environment/PrinterPort.h"

/// One port of the local monitor (a device such as "LPT1:", or a file): adds it, or opens a channel to it.
/// **Failure**, **Threads**: as `PrinterPort` says.
class VLM_API LocalPort : public PrinterPort {
public:
    /// The system's name for the monitor.
    static constexpr const XCHAR* MONITOR_NAME = VTEXT("Local Port");

    LocalPort() noexcept = default;
    ~LocalPort() override;

    /// Adds a port; its channel to the monitor is closed again.  The system decides what a port's name may be: never
    /// make one of data that is not trusted, because the name of a local port can be the path of a file.
    /// @return false, too, when there is one of that name already (183).
    bool AddLocalPort(const CXString& kcsPortName) noexcept;
    /// Opens a channel to a port, which stays open until the object ends or opens the next one.
    bool OpenPort(const CXString& kcsPortName) noexcept;
};
