/// @file
/// The embedded "Standard TCP/IP Port" monitor.
#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "platform/host/spooler/PortMonitors.h"
#include "platform/host/spooler/SpoolerPorts.h"

namespace vlm::host {

namespace {

constexpr std::size_t PORT_DATA_SIZE = 964, CONFIG_INFO_SIZE = 132, DELETE_PORT_SIZE = 236;
constexpr std::size_t NAME_OFFSET = 0, NAME_UNITS = 64, VERSION_OFFSET = 128, SIZE_OFFSET = 136;
constexpr std::size_t CONFIG_VERSION_OFFSET = 128, DELETE_VERSION_OFFSET = 228;
constexpr DWORD RECORD_VERSION = 1, PROTOCOL_RAW = 1, PROTOCOL_LPR = 2;

/// Fields of a port's record and the values that keep them.
struct TextField {
    const XCHAR* pszValue;
    std::size_t ofs;
    std::size_t cUnits;
    const XCHAR* pszCommand;  ///< that asks for this one alone; null: none
};
constexpr TextField HOST_ADDRESS{VTEXT("HostName"), 144, 49, VTEXT("HostAddress")};
constexpr TextField LPR_QUEUE{VTEXT("Queue"), 312, 33, nullptr};
constexpr std::array<TextField, 4> TEXT_FIELDS{{HOST_ADDRESS,
                                                LPR_QUEUE,
                                                {VTEXT("SNMP Community"), 242, 33, VTEXT("SNMPCommunity")},
                                                {VTEXT("IPAddress"), 378, 16, VTEXT("IPAddress")}}};
struct NumberField {
    const XCHAR* pszValue;
    std::size_t ofs;
    const XCHAR* pszCommand;
};
constexpr std::size_t PROTOCOL_OFFSET = 132;
constexpr std::array<NumberField, 6> NUMBER_FIELDS{{{VTEXT("Version"), VERSION_OFFSET, nullptr},
                                                    {VTEXT("Protocol"), PROTOCOL_OFFSET, nullptr},
                                                    {VTEXT("Double Spool"), 308, nullptr},
                                                    {VTEXT("PortNumber"), 952, nullptr},
                                                    {VTEXT("SNMP Enabled"), 956, VTEXT("SNMPEnabled")},
                                                    {VTEXT("SNMP Index"), 960, VTEXT("SNMPDeviceIndex")}}};

DWORD NumberAt(std::span<const BYTE> record, std::size_t ofs) noexcept {
    DWORD dw = 0;
    std::memcpy(&dw, &record[ofs], sizeof(dw));
    return dw;
}

/// The text of a field; nothing when it has no end there.
std::optional<XText> TextAt(std::span<const BYTE> record, std::size_t ofs, std::size_t cUnits) {
    XText text(cUnits, 0);
    std::memcpy(text.data(), &record[ofs], cUnits * sizeof(XCHAR));
    const std::size_t iEnd = text.find(XCHAR{0});
    if (iEnd == XText::npos) return std::nullopt;
    text.resize(iEnd);
    return text;
}

/// A record of the length and version that it must have.
Status CheckRecord(std::span<const BYTE> record, std::size_t cb, std::size_t ofsVersion) noexcept {
    if (record.size() != cb) return Status::InvalidData;
    return NumberAt(record, ofsVersion) == RECORD_VERSION ? Status::Success : SpoolerStatus(SpoolerPort::UNKNOWN_LEVEL);
}

bool IsTcpPort(SpoolerGround& rGround, XStringView svPort) {
    SpoolerKey oKey(rGround);
    return IsComponent(svPort) && oKey.Open(PortKey(TCP_MONITOR, svPort));
}

/// Checks a port's record whole before any of it is taken.
Status CheckPortData(std::span<const BYTE> record, XText& rName) {
    const Status eStatus = CheckRecord(record, PORT_DATA_SIZE, VERSION_OFFSET);
    if (eStatus != Status::Success) return eStatus;
    if (NumberAt(record, SIZE_OFFSET) != PORT_DATA_SIZE) return Status::InvalidData;
    for (const TextField& rField : TEXT_FIELDS) {
        if (!TextAt(record, rField.ofs, rField.cUnits)) return Status::InvalidData;
    }
    const std::optional<XText> oName = TextAt(record, NAME_OFFSET, NAME_UNITS);
    if (!oName) return Status::InvalidData;
    const DWORD dwProtocol = NumberAt(record, PROTOCOL_OFFSET);
    const bool bLpr = dwProtocol == PROTOCOL_LPR;
    if (!IsComponent(*oName) || (!bLpr && dwProtocol != PROTOCOL_RAW) ||
        TextAt(record, HOST_ADDRESS.ofs, HOST_ADDRESS.cUnits)->empty() ||
        (bLpr && TextAt(record, LPR_QUEUE.ofs, LPR_QUEUE.cUnits)->empty())) {
        return Status::InvalidParameter;
    }
    rName = *oName;
    return Status::Success;
}

void SavePort(SpoolerGround& rGround, const XText& rName, std::span<const BYTE> record) {
    SpoolerKey oKey(rGround);
    oKey.Create(PortKey(TCP_MONITOR, rName));
    for (const TextField& rField : TEXT_FIELDS)
        oKey.SetText(rField.pszValue, *TextAt(record, rField.ofs, rField.cUnits));
    for (const NumberField& rField : NUMBER_FIELDS)
        oKey.SetNumber(rField.pszValue, NumberAt(record, rField.ofs));
}

Status MakePort(SpoolerGround& rGround, const MonitorCommand& rCommand) {
    XText name;
    const Status eStatus = CheckPortData(rCommand.input, name);
    if (eStatus != Status::Success) return eStatus;
    if (FindPort(rGround, name)) return Status::AlreadyExists;
    SavePort(rGround, name, rCommand.input);
    return Status::Success;
}

Status ConfigurePort(SpoolerGround& rGround, const MonitorCommand& rCommand) {
    XText name;
    const Status eStatus = CheckPortData(rCommand.input, name);
    if (eStatus != Status::Success) return eStatus;
    const XText& rPort = rCommand.rChannel.port;
    if (!rPort.empty() && !IsSameName(rPort, name)) return Status::InvalidParameter;
    if (!IsTcpPort(rGround, name)) return SpoolerStatus(SpoolerPort::UNKNOWN_PORT);
    SavePort(rGround, name, rCommand.input);
    return Status::Success;
}

Status RemovePort(SpoolerGround& rGround, const MonitorCommand& rCommand) {
    const Status eStatus = CheckRecord(rCommand.input, DELETE_PORT_SIZE, DELETE_VERSION_OFFSET);
    if (eStatus != Status::Success) return eStatus;
    const std::optional<XText> oName = TextAt(rCommand.input, NAME_OFFSET, NAME_UNITS);
    if (!oName) return Status::InvalidData;
    if (!IsTcpPort(rGround, *oName)) return SpoolerStatus(SpoolerPort::UNKNOWN_PORT);
    if (IsPortInUse(rGround, *oName)) return Status::Busy;
    DeleteTree(rGround, PortKey(TCP_MONITOR, *oName));
    return Status::Success;
}

/// What is stored is cut to its field: somebody else may have written it.
void PutText(std::span<BYTE> record, std::size_t ofs, std::size_t cUnits, const XText& rText) noexcept {
    std::memcpy(&record[ofs], rText.data(), std::min(rText.size(), cUnits - 1) * sizeof(XCHAR));
}

void PutNumber(std::span<BYTE> record, std::size_t ofs, DWORD dw) noexcept {
    std::memcpy(&record[ofs], &dw, sizeof(dw));
}

Status GetConfiguration(SpoolerKey& rKey, const MonitorCommand& rCommand) {
    const Status eStatus = CheckRecord(rCommand.input, CONFIG_INFO_SIZE, CONFIG_VERSION_OFFSET);
    if (eStatus != Status::Success) return eStatus;
    std::array<BYTE, PORT_DATA_SIZE> abyRecord{};
    PutText(abyRecord, NAME_OFFSET, NAME_UNITS, rCommand.rChannel.port);
    for (const TextField& rField : TEXT_FIELDS)
        PutText(abyRecord, rField.ofs, rField.cUnits, rKey.Text(rField.pszValue));
    for (const NumberField& rField : NUMBER_FIELDS)
        PutNumber(abyRecord, rField.ofs, rKey.Number(rField.pszValue));
    PutNumber(abyRecord, VERSION_OFFSET, RECORD_VERSION);
    PutNumber(abyRecord, SIZE_OFFSET, PORT_DATA_SIZE);
    return AnswerBytes(rCommand, abyRecord.data(), abyRecord.size());
}

/// What can be asked over a channel to one port.
Status AskPort(SpoolerGround& rGround, const MonitorCommand& rCommand) {
    SpoolerKey oKey(rGround);
    const XText& rPort = rCommand.rChannel.port;
    if (rPort.empty()) return Status::InvalidParameter;
    if (!oKey.Open(PortKey(TCP_MONITOR, rPort))) return SpoolerStatus(SpoolerPort::UNKNOWN_PORT);
    if (rCommand.svCommand == VTEXT("GetConfigInfo")) return GetConfiguration(oKey, rCommand);
    for (const TextField& rField : TEXT_FIELDS) {
        if (rCommand.svCommand == ViewOf(rField.pszCommand)) return AnswerText(rCommand, oKey.Text(rField.pszValue));
    }
    for (const NumberField& rField : NUMBER_FIELDS) {
        const DWORD dw = oKey.Number(rField.pszValue);
        if (rCommand.svCommand == ViewOf(rField.pszCommand)) return AnswerBytes(rCommand, &dw, sizeof(dw));
    }
    return Status::InvalidParameter;
}

}  // namespace

Status RunTcpCommand(SpoolerGround& rGround, const MonitorCommand& rCommand) {
    struct Changer {
        const XCHAR* pszCommand;
        Status (*pfnRun)(SpoolerGround&, const MonitorCommand&);
    };
    static constexpr Changer CHANGERS[] = {
        {VTEXT("AddPort"), &MakePort}, {VTEXT("ConfigPort"), &ConfigurePort}, {VTEXT("DeletePort"), &RemovePort}};
    if (rCommand.svCommand == VTEXT("MonitorUI")) return AnswerText(rCommand, VTEXT("tcpmonui.dll"));
    for (const Changer& rChanger : CHANGERS) {
        if (rCommand.svCommand != rChanger.pszCommand) continue;
        return rCommand.rChannel.MayChange() ? rChanger.pfnRun(rGround, rCommand) : Status::AccessDenied;
    }
    return rCommand.svCommand.empty() ? Status::InvalidParameter : AskPort(rGround, rCommand);
}

}  // namespace vlm::host
