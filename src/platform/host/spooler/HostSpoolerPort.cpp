/// @file
/// Handles and channels of the embedded spooler.
#include "platform/host/spooler/HostSpoolerPort.h"

#include <algorithm>
#include <optional>

#include "platform/EmbeddedMonitor.h"
#include "platform/host/spooler/PortMonitors.h"
#include "platform/host/spooler/QueueRecord.h"
#include "platform/host/spooler/SpoolerPorts.h"

namespace vlm::host {

namespace {

constexpr const XCHAR* DLL_VALUE = VTEXT("Driver");
constexpr XStringView MONITOR_PREFIX = VTEXT(",XcvMonitor "), PORT_PREFIX = VTEXT(",XcvPort ");

}  // namespace

/// The channel's way to a monitor: one of the spooler's own, or one that is installed and lives in this process.
Status HostSpoolerPort::OpenMonitorChannel(XStringView svMonitor, OpenedPrinter& rPrinter) {
    if (!IsComponent(svMonitor)) return SpoolerStatus(INVALID_PRINTER_NAME);
    if (IsSameName(svMonitor, LOCAL_MONITOR) || IsSameName(svMonitor, TCP_MONITOR)) {
        rPrinter.eKind =
            IsSameName(svMonitor, LOCAL_MONITOR) ? OpenedPrinter::Kind::LocalMonitor : OpenedPrinter::Kind::TcpMonitor;
        return Status::Success;
    }
    SpoolerKey oKey(m_rGround);
    if (!oKey.Open(XText(MONITORS_PATH).append(1, VTEXT('\\')).append(svMonitor))) return SpoolerStatus(UNKNOWN_PORT);
    const XText dll = oKey.Text(DLL_VALUE);
    EmbeddedMonitor* const pMonitor = GetEmbeddedMonitor();
    if (dll.empty() || pMonitor == nullptr || !pMonitor->IsDll(dll.c_str())) return SpoolerStatus(UNKNOWN_PORT);
    rPrinter.eKind = OpenedPrinter::Kind::EmbeddedMonitor;
    return pMonitor->OpenChannel(rPrinter.dwAccess, rPrinter.hEmbedded);
}

Status HostSpoolerPort::OpenPrinterHandle(const XCHAR* pszName, DWORD dwAccess, HANDLE& rhPrinter) noexcept {
    return Guarded([&] {
        OpenedPrinter oPrinter;
        oPrinter.dwAccess = dwAccess;
        XText server;
        XStringView svRest;
        if (pszName != nullptr && (*pszName == 0 || !SplitServer(m_rGround, pszName, server, svRest))) {
            return SpoolerStatus(INVALID_PRINTER_NAME);
        }
        if (svRest.starts_with(MONITOR_PREFIX) || svRest.starts_with(PORT_PREFIX)) {
            if (!server.empty()) return SpoolerStatus(INVALID_PRINTER_NAME);  // nobody there to talk to
            XText monitor(svRest.substr(std::min(svRest.size(), MONITOR_PREFIX.size())));
            if (svRest.starts_with(PORT_PREFIX)) {
                const std::optional<SpoolerPortRecord> oPort = FindPort(m_rGround, svRest.substr(PORT_PREFIX.size()));
                if (!oPort) return SpoolerStatus(UNKNOWN_PORT);
                oPrinter.port = oPort->name;
                monitor = oPort->monitor;
            }
            const Status eStatus = OpenMonitorChannel(monitor, oPrinter);
            if (eStatus != Status::Success) return eStatus;
        } else if (!svRest.empty()) {
            QueuePlace oPlace;
            QueueRecord oRecord;
            if (!PlaceOfQueue(m_rGround, ViewOf(pszName), oPlace) || !LoadQueue(m_rGround, oPlace, oRecord)) {
                return SpoolerStatus(INVALID_PRINTER_NAME);
            }
            oPrinter.eKind = OpenedPrinter::Kind::Queue;
            oPrinter.name = oRecord.name;
            oPrinter.path = oPlace.path;
            if (dwAccess == 0) oPrinter.dwAccess = ACCESS_USE;
        } else if (!server.empty()) {
            return SpoolerStatus(INVALID_PRINTER_NAME);
        }
        const HANDLE hEmbedded = oPrinter.hEmbedded;
        Undo oUndo([&]() noexcept {
            if (hEmbedded != nullptr) GetEmbeddedMonitor()->CloseChannel(hEmbedded);
        });
        rhPrinter = m_rGround.Add(std::move(oPrinter));
        oUndo.Drop();
        return Status::Success;
    });
}

Status HostSpoolerPort::ClosePrinterHandle(HANDLE hPrinter) noexcept {
    const std::shared_ptr<const OpenedPrinter> shpoPrinter = m_rGround.Remove(hPrinter);
    if (!shpoPrinter) return Status::InvalidHandle;
    EmbeddedMonitor* const pMonitor = GetEmbeddedMonitor();
    return shpoPrinter->eKind == OpenedPrinter::Kind::EmbeddedMonitor && pMonitor != nullptr
               ? pMonitor->CloseChannel(shpoPrinter->hEmbedded)
               : Status::Success;
}

Status HostSpoolerPort::PrinterName(HANDLE hPrinter, XCHAR* pszName, DWORD& rcName) noexcept {
    return Guarded([&] {
        const auto shpoPrinter = m_rGround.FindQueue(hPrinter);
        const XText& rName = shpoPrinter->name;
        if (pszName == nullptr || rName.size() >= rcName) return Status::MoreData;
        *std::copy(rName.begin(), rName.end(), pszName) = 0;
        rcName = static_cast<DWORD>(rName.size());
        return Status::Success;
    });
}

Status HostSpoolerPort::Transceive(HANDLE hChannel, const XCHAR* pszCommand, const BYTE* pbyInput, DWORD cbInput,
                                   BYTE* pbyOutput, DWORD cbOutput, DWORD& rcbNeeded,
                                   DWORD& rdwMonitorStatus) noexcept {
    if (pszCommand == nullptr) return SpoolerStatus(NULL_REFERENCE);
    return Guarded([&] {
        const auto shpoPrinter = m_rGround.Find(hChannel);
        DWORD cbNeeded = 0;
        Status eMonitor = Status::Success;
        if (shpoPrinter->eKind == OpenedPrinter::Kind::EmbeddedMonitor) {
            EmbeddedMonitor* const pMonitor = GetEmbeddedMonitor();
            if (pMonitor == nullptr) return Status::InvalidHandle;
            eMonitor = pMonitor->Transceive(shpoPrinter->hEmbedded, pszCommand, pbyInput, cbInput, pbyOutput, cbOutput,
                                            cbNeeded);
        } else {
            const bool bLocal = shpoPrinter->eKind == OpenedPrinter::Kind::LocalMonitor;
            if (!bLocal && shpoPrinter->eKind != OpenedPrinter::Kind::TcpMonitor) return Status::InvalidHandle;
            const MonitorCommand oCommand{.svCommand = pszCommand,
                                          .input = {pbyInput, pbyInput ? cbInput : 0},
                                          .output = {pbyOutput, pbyOutput ? cbOutput : 0},
                                          .rChannel = *shpoPrinter,
                                          .rcbNeeded = cbNeeded};
            eMonitor = Guarded(
                [&] { return bLocal ? RunLocalCommand(m_rGround, oCommand) : RunTcpCommand(m_rGround, oCommand); });
        }
        rdwMonitorStatus = ToDword(eMonitor);
        rcbNeeded = cbNeeded;
        return Status::Success;
    });
}

}  // namespace vlm::host
