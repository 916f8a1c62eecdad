/// @file
/// Ports of the system's Standard TCP/IP Port monitor.
#pragma once

#include "environment/PrinterPort.h"
#include "environment/TCPPortRecords.h"

/// One port of the TCP/IP monitor: adds it, or reads how it is configured.
///
/// The object holds name, address and type of the port that was added or opened last, and its configuration; after a
/// failure it holds what it held before.  The channel is closed at the end of each operation.
/// **Failure**, **Threads**: as `PrinterPort` says.
class VLM_API TCPMonPort : public PrinterPort {
public:
    /// How a port talks to its device.
    enum class PortType : DWORD {
        PT_UNKNOWN = 0,
        PT_RAW_TCP = 1,  ///< bytes over a TCP connection
        PT_LPR = 2,
        PT_WSD = 3,  ///< Web Services for Devices: ports of another monitor
        PT_IPP = 4,  ///< ports of another monitor, too
    };
    /// The system's name for the monitor.
    static constexpr const XCHAR* MONITOR_NAME = VTEXT("Standard TCP/IP Port");
    /// The number of the port on the device that a new port is given, as the system's own dialogs do.
    static constexpr DWORD RAW_PORT_NUMBER = 9100;
    /// Names that are tried for a new port besides its own: "NAME_1" to "NAME_99".
    static constexpr int MAX_DISTINCT_NUMBER = 99;

    TCPMonPort() noexcept = default;
    ~TCPMonPort() override;

    /// Adds a port.  When the monitor has one of that name already, "NAME_1", "NAME_2" ... are tried; GetPortName tells
    /// the name that was taken.  The port is given port number 9100, SNMP status with the community "public" and device
    /// index 1, and no double spooling.
    /// @param kcsPortName 1 to 63 units.  @param kcsAddress host name or IP address, 1 to 48 units.
    ///        Neither is cut: a longer one is refused with 123, and nothing is sent.
    /// @param ePortType PT_RAW_TCP; any other is refused, and nothing is sent.
    /// @return whether the monitor took it.
    bool AddTCPPort(const CXString& kcsPortName, const CXString& kcsAddress, PortType ePortType) noexcept;
    /// The same with a port name made of the address.
    bool AddTCPPort(const CXString& kcsAddress, PortType ePortType) noexcept;
    /// Reads the configuration of a port.
    /// @return false, too, for a reply that is no configuration (13), and for a protocol that is neither raw TCP nor
    /// LPR.
    bool OpenPort(const CXString& kcsPortName) noexcept;
    /// The same for a port of a print server.  @param kcsServer "\\SERVER"; empty: this machine.
    bool OpenPort(const CXString& kcsPortName, const CXString& kcsServer) noexcept;

    const CXString& GetPortName() const noexcept { return m_csPortName; }
    /// Host name or IP address of the device.
    const CXString& GetPortAddress() const noexcept { return m_csPortAddress; }
    PortType GetPortType() const noexcept { return m_ePortType; }
    /// The configuration that was sent or read last.
    const vlm::TCPPortData& GetPortData() const noexcept { return m_oPortData; }

private:
    bool AddDistinct(const vlm::TCPPortData& rData);
    bool ReadConfiguration(const CXString& kcsChannel, const CXString& kcsPortName);
    void Hold(const vlm::TCPPortData& rData) noexcept;

    CXString m_csPortName;
    CXString m_csPortAddress;
    PortType m_ePortType = PortType::PT_UNKNOWN;
    vlm::TCPPortData m_oPortData;
};
