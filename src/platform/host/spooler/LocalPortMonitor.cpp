/// @file
/// The embedded "Local Port" monitor.
#include <algorithm>
#include <cstring>
#include <optional>

#include "platform/host/spooler/PortMonitors.h"
#include "platform/host/spooler/QueueRecord.h"
#include "platform/host/spooler/SpoolerPorts.h"

namespace vlm::host {

namespace {

constexpr std::size_t MAX_PORT_UNITS = 260;
constexpr DWORD RETRY_TIMEOUT_SECONDS = 45;

/// The text that a command came with; nothing when it is none, has no end or no place for a port's name.
std::optional<XText> PortNameIn(std::span<const BYTE> input) {
    if (input.size() % sizeof(XCHAR) != 0 || input.empty()) return std::nullopt;
    XText text(input.size() / sizeof(XCHAR), 0);
    std::memcpy(text.data(), input.data(), input.size());
    const std::size_t iEnd = text.find(XCHAR{0});
    if (iEnd == XText::npos || iEnd == 0 || iEnd >= MAX_PORT_UNITS) return std::nullopt;
    text.resize(iEnd);
    return text;
}

Status AddLocalPort(SpoolerGround& rGround, const XText& rName) {
    if (FindPort(rGround, rName)) return Status::AlreadyExists;
    const std::vector<SpoolerPortRecord> vPorts = LoadPorts(rGround);
    SpoolerKey oKey(rGround);
    if (oKey.Create(LOCAL_PORTS_PATH)) {
        for (const SpoolerPortRecord& rPort : vPorts) {
            if (rPort.monitor == LOCAL_MONITOR) oKey.SetText(rPort.name.c_str(), {});
        }
    }
    oKey.SetText(rName.c_str(), {});
    return Status::Success;
}

Status DeleteLocalPort(SpoolerGround& rGround, const XText& rName) {
    const std::optional<SpoolerPortRecord> oPort = FindPort(rGround, rName);
    if (!oPort || oPort->monitor != LOCAL_MONITOR) return Status::FileNotFound;
    if (IsPortInUse(rGround, rName)) return Status::Busy;
    SpoolerKey oKey(rGround);
    if (!oKey.Open(LOCAL_PORTS_PATH, RegistryPort::RIGHTS_ALL)) return Status::AccessDenied;  // every computer has it
    return oKey.DeleteValue(rName.c_str()) ? Status::Success : Status::FileNotFound;
}

}  // namespace

Status AnswerBytes(const MonitorCommand& rCommand, const void* pData, std::size_t cbData) noexcept {
    rCommand.rcbNeeded = static_cast<DWORD>(cbData);
    if (rCommand.output.size() < cbData) return Status::InsufficientBuffer;
    if (cbData != 0) std::memcpy(rCommand.output.data(), pData, cbData);
    return Status::Success;
}

Status AnswerText(const MonitorCommand& rCommand, XStringView svText) {
    const XText text(svText);
    return AnswerBytes(rCommand, text.c_str(), (text.size() + 1) * sizeof(XCHAR));
}

bool IsPortInUse(SpoolerGround& rGround, XStringView svPort) {
    const std::vector<QueueRecord> vQueues = LoadQueues(rGround, {});
    return std::any_of(vQueues.begin(), vQueues.end(),
                       [&](const QueueRecord& r) { return IsSameName(r.port, svPort); });
}

Status RunLocalCommand(SpoolerGround& rGround, const MonitorCommand& rCommand) {
    const XStringView svCommand = rCommand.svCommand;
    if (svCommand == VTEXT("MonitorUI")) return AnswerText(rCommand, VTEXT("localui.dll"));
    if (svCommand == VTEXT("GetTransmissionRetryTimeout")) {
        return AnswerBytes(rCommand, &RETRY_TIMEOUT_SECONDS, sizeof(RETRY_TIMEOUT_SECONDS));
    }
    const bool bAdd = svCommand == VTEXT("AddPort"), bDelete = svCommand == VTEXT("DeletePort");
    const bool bExists = svCommand == VTEXT("PortExists");
    if (!bAdd && !bDelete && !bExists && svCommand != VTEXT("PortIsValid")) return Status::InvalidParameter;
    const std::optional<XText> oName = PortNameIn(rCommand.input);
    if (!oName) return Status::InvalidParameter;
    if (bExists) return FindPort(rGround, *oName) ? Status::AlreadyExists : Status::Success;
    if (!bAdd && !bDelete) return Status::Success;
    if (!rCommand.rChannel.MayChange()) return Status::AccessDenied;
    return bAdd ? AddLocalPort(rGround, *oName) : DeleteLocalPort(rGround, *oName);
}

}  // namespace vlm::host
