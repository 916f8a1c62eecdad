/// @file
/// The records of the system's TCP/IP port monitor, to the byte.
#pragma once

#include <cstddef>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

namespace vlm {

/// A port's configuration, `PORT_DATA_1` of the monitor: 964 bytes, little-endian; a text ends with a zero unit inside
/// its room, and everything behind it is written as zeros and not looked at when read.
///
///     offset   0  128  port name, 64 units            offset 312   66  LPR queue, 33 units
///     offset 128    4  version: 1                     offset 378   32  IP address, 16 units
///     offset 132    4  protocol: 1 raw TCP, 2 LPR     offset 410  540  reserved
///     offset 136    4  size of the record: 964        offset 950    2  -
///     offset 140    4  reserved                       offset 952    4  port number on the device
///     offset 144   98  host address, 49 units         offset 956    4  SNMP status: 0 off, 1 on
///     offset 242   66  SNMP community, 33 units       offset 960    4  SNMP device index
///     offset 308    4  LPR byte counting: 0, 1
struct TCPPortData {
    static constexpr std::size_t SIZE = 964;
    static constexpr DWORD VERSION = 1;
    static constexpr DWORD PROTOCOL_RAW_TCP = 1, PROTOCOL_LPR = 2;
    /// Most units of a text, without its terminator.
    static constexpr int MAX_PORT_NAME = 63, MAX_HOST_ADDRESS = 48, MAX_COMMUNITY = 32, MAX_QUEUE = 32,
                         MAX_IP_ADDRESS = 15;

    CXString m_csPortName;
    DWORD m_dwProtocol = PROTOCOL_RAW_TCP;
    CXString m_csHostAddress;
    CXString m_csCommunity;
    DWORD m_dwDoubleSpool = 0;
    CXString m_csQueue;
    CXString m_csIPAddress;
    DWORD m_dwPortNumber = 0;
    DWORD m_dwSNMPEnabled = 0;
    DWORD m_dwSNMPDevIndex = 0;

    /// Appends the record.  @return false when a text is longer than its room or holds a zero unit; nothing is
    /// appended.
    VLM_API bool AppendTo(ByteBuffer& rbbTarget) const;
    /// Reads a record: its size and version must be right and every text must end inside its room.  The protocol may be
    /// any.  @return false for anything else; `rData` is then unchanged.
    VLM_API static bool Decode(const BYTE* pbyRecord, std::size_t cbRecord, TCPPortData& rData);
};

/// What a configuration is asked for with, `CONFIG_INFO_DATA_1` of the monitor: 132 bytes.
///
///     offset   0  128  reserved
///     offset 128    4  version of the record that is wanted: 1
struct TCPPortQuestion {
    static constexpr std::size_t SIZE = 132;
    VLM_API static void AppendTo(ByteBuffer& rbbTarget);
};

}  // namespace vlm
