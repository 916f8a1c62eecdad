/// @file
/// What the classes for printer ports share: a channel to one of the system's own port monitors.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

/// A transceive channel to a port monitor, or to one of its ports.
/// **Ownership**: owns the channel, and closes it.
/// **Failure**: no operation throws.  The reason of the last failure stays in GetLastStatus and in the thread's last
/// error, which no closing and no report in between changes.
/// **Threads**: one object by one thread at a time.
class VLM_API PrinterPort {
public:
    virtual ~PrinterPort();
    PrinterPort(const PrinterPort&) = delete;
    PrinterPort& operator=(const PrinterPort&) = delete;

    bool IsChannelOpen() const noexcept { return m_hChannel != nullptr; }
    /// Status of the last operation: the spooler's, or when it carried the call, the monitor's.
    DWORD GetLastStatus() const noexcept { return m_dwLastStatus; }

    /// Lists the ports of all monitors of this machine as an array of `PORT_INFO_<level>` (1, 2), checked: its texts
    /// lie and end inside it.  SpoolerBlocks.h reads it on any system.
    /// @param rbbPorts replaced; empty after a failure.  @param pdwNumPorts receives the count; may be null.
    /// @return false when the spooler refuses; the thread's last error tells why.
    static bool EnumeratePrinterPorts(DWORD dwLevel, ByteBuffer& rbbPorts, DWORD* pdwNumPorts) noexcept;

protected:
    PrinterPort() noexcept = default;

    /// Opens a channel (",XcvMonitor NAME", ",XcvPort NAME"); one that was open is closed first.
    bool OpenChannel(const CXString& kcsName, DWORD dwAccess) noexcept;
    /// Sends a command.
    /// @param cbOutput room at `pbyOutput`; both 0 for a command without an answer.
    /// @param pcbWritten bytes that the monitor says it wrote, never more than the room; may be null.
    bool SendCommand(const XCHAR* pszCommand, const ByteBuffer& kbbInput, BYTE* pbyOutput = nullptr, DWORD cbOutput = 0,
                     DWORD* pcbWritten = nullptr) noexcept;
    void CloseChannel() noexcept;
    /// Notes how an operation ended: as the object's status and as the thread's last error.  @return whether it is 0.
    bool NoteStatus(DWORD dwStatus) noexcept;

private:
    HANDLE m_hChannel = nullptr;
    DWORD m_dwLastStatus = 0;
};
