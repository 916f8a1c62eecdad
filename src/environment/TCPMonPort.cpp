/// @file
/// Ports of the system's Standard TCP/IP Port monitor.
#include "environment/TCPMonPort.h"

#include <array>
#include <utility>

#include "environment/DottedNumbersImpl.h"
#include "platform/SpoolerPort.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace {

using vlm::Status;
using vlm::TCPPortData;

constexpr const XCHAR* MONITOR_CHANNEL = VTEXT(",XcvMonitor Standard TCP/IP Port");
constexpr DWORD FIRST_DEVICE = 1;
constexpr const XCHAR* COMMUNITY = VTEXT("public");

TCPPortData MakePortData(const CXString& kcsPortName, const CXString& kcsAddress) {
    TCPPortData oData;
    oData.m_csPortName = kcsPortName;
    oData.m_dwProtocol = TCPPortData::PROTOCOL_RAW_TCP;
    oData.m_csHostAddress = kcsAddress;
    if (vlm::CountDottedNumbers(kcsAddress.View(), 3) == 4) oData.m_csIPAddress = kcsAddress;
    oData.m_csCommunity = COMMUNITY;
    oData.m_dwPortNumber = TCPMonPort::RAW_PORT_NUMBER;
    oData.m_dwSNMPEnabled = 1;
    oData.m_dwSNMPDevIndex = FIRST_DEVICE;
    return oData;
}

TCPMonPort::PortType PortTypeOf(DWORD dwProtocol) noexcept {
    if (dwProtocol == TCPPortData::PROTOCOL_RAW_TCP) return TCPMonPort::PortType::PT_RAW_TCP;
    return dwProtocol == TCPPortData::PROTOCOL_LPR ? TCPMonPort::PortType::PT_LPR : TCPMonPort::PortType::PT_UNKNOWN;
}

}  // namespace

TCPMonPort::~TCPMonPort() = default;

void TCPMonPort::Hold(const TCPPortData& rData) noexcept {
    m_oPortData = rData;
    m_csPortName = rData.m_csPortName;
    m_csPortAddress = rData.m_csHostAddress;
    m_ePortType = PortTypeOf(rData.m_dwProtocol);
}

bool TCPMonPort::AddDistinct(const TCPPortData& rData) {
    TCPPortData oData = rData;
    for (int i = 0; i <= MAX_DISTINCT_NUMBER; ++i) {
        if (i > 0) oData.m_csPortName.Format(VTEXT("%s_%d"), rData.m_csPortName, i);
        ByteBuffer bbRecord;
        if (!oData.AppendTo(bbRecord)) return NoteStatus(vlm::ToDword(Status::InvalidName));
        if (i == 0 && !OpenChannel(MONITOR_CHANNEL, vlm::SpoolerPort::ACCESS_ADMINISTER)) return false;
        if (SendCommand(VTEXT("AddPort"), bbRecord)) {
            Hold(oData);
            return true;
        }
        if (GetLastStatus() != vlm::ToDword(Status::AlreadyExists)) return false;
    }
    return false;
}

bool TCPMonPort::AddTCPPort(const CXString& kcsPortName, const CXString& kcsAddress, PortType ePortType) noexcept {
    if (ePortType == PortType::PT_WSD) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("AddTCPPort is not appropriate for use on WSD ports!"));
        return NoteStatus(vlm::ToDword(Status::NotSupported));
    }
    if (ePortType == PortType::PT_LPR) {
        VLM_REPORT_ERROR(DebugCategory::Utils,
                         VTEXT("AddTCPPort does not currently support LPR, please update the code before using!"));
        return NoteStatus(vlm::ToDword(Status::NotSupported));
    }
    DWORD dwStatus = vlm::ToDword(Status::InvalidParameter);
    bool fAdded = false;
    if (ePortType == PortType::PT_RAW_TCP && !kcsPortName.IsEmpty() && !kcsAddress.IsEmpty()) {
        NoteStatus(vlm::ToDword(Status::NotEnoughMemory));  // where it goes no further
        fAdded = vlm::NoThrow([&] { return AddDistinct(MakePortData(kcsPortName, kcsAddress)); }, false);
        dwStatus = GetLastStatus();
        CloseChannel();
    }
    if (!fAdded) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("TCPMonPort::AddTCPPort: '%s' was not added because %s"),
                         kcsPortName, vlm::TextOfStatus(dwStatus));
    }
    NoteStatus(dwStatus);
    return fAdded;
}

bool TCPMonPort::AddTCPPort(const CXString& kcsAddress, PortType ePortType) noexcept {
    NoteStatus(vlm::ToDword(Status::NotEnoughMemory));
    return vlm::NoThrow(
        [&] { return AddTCPPort(CXString::FormatString(VTEXT("X_%s"), kcsAddress), kcsAddress, ePortType); }, false);
}

bool TCPMonPort::ReadConfiguration(const CXString& kcsChannel, const CXString& kcsPortName) {
    if (!OpenChannel(kcsChannel, vlm::SpoolerPort::ACCESS_ENUMERATE)) return false;
    ByteBuffer bbQuestion;
    vlm::TCPPortQuestion::AppendTo(bbQuestion);
    std::array<BYTE, TCPPortData::SIZE> abyReply{};
    DWORD cbReply = 0;
    if (!SendCommand(VTEXT("GetConfigInfo"), bbQuestion, abyReply.data(), TCPPortData::SIZE, &cbReply)) return false;
    TCPPortData oData;
    if (!TCPPortData::Decode(abyReply.data(), cbReply, oData)) return NoteStatus(vlm::ToDword(Status::InvalidData));
    if (PortTypeOf(oData.m_dwProtocol) == PortType::PT_UNKNOWN) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Unhandled Port Type in OpenPort for Port: %s"), kcsPortName);
        return NoteStatus(vlm::ToDword(Status::NotSupported));
    }
    Hold(oData);
    return true;
}

bool TCPMonPort::OpenPort(const CXString& kcsPortName) noexcept {
    return OpenPort(kcsPortName, CXString());
}

bool TCPMonPort::OpenPort(const CXString& kcsPortName, const CXString& kcsServer) noexcept {
    NoteStatus(vlm::ToDword(Status::NotEnoughMemory));
    const auto Read = [&] {
        return ReadConfiguration(kcsServer.IsEmpty()
                                     ? CXString::FormatString(VTEXT(",XcvPort %s"), kcsPortName)
                                     : CXString::FormatString(VTEXT("%s\\,XcvPort %s"), kcsServer, kcsPortName),
                                 kcsPortName);
    };
    const bool fRead = vlm::NoThrow(Read, false);
    const DWORD dwStatus = GetLastStatus();
    CloseChannel();
    if (!fRead) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("TCPMonPort::OpenPort: '%s' was not read because %s"), kcsPortName,
                         vlm::TextOfStatus(dwStatus));
    }
    NoteStatus(dwStatus);
    return fRead;
}
