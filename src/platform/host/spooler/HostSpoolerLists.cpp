/// @file
/// Monitors, ports and print processors of the embedded spooler.
#include <algorithm>

#include "platform/EmbeddedMonitor.h"
#include "platform/host/spooler/BlockBuilder.h"
#include "platform/host/spooler/HostSpoolerPort.h"
#include "platform/host/spooler/QueueRecord.h"
#include "platform/host/spooler/SpoolerPorts.h"

namespace vlm::host {

namespace {

constexpr const XCHAR* DLL_VALUE = VTEXT("Driver");
constexpr std::size_t MAX_DLL_UNITS = 260;
/// What a port is for: writing and reading.
constexpr DWORD PORT_TYPE = 3;
/// The names by which the system's own monitors sign their ports.
constexpr const XCHAR* LOCAL_MONITOR_SIGN = VTEXT("Local Monitor");
constexpr const XCHAR* TCP_MONITOR_SIGN = VTEXT("TCPMON.DLL");

bool IsEnvironment(const XCHAR* pszEnvironment) noexcept {
    return pszEnvironment == nullptr || IsSameName(pszEnvironment, SpoolerPort::ENVIRONMENT);
}

bool IsOwnMonitor(XStringView svName) noexcept {
    return IsSameName(svName, LOCAL_MONITOR) || IsSameName(svName, TCP_MONITOR);
}

XText MonitorPath(const XCHAR* pszName) {
    return XText(MONITORS_PATH) + VTEXT("\\") + pszName;
}

/// Lists are this computer's.
bool IsOwnServer(SpoolerGround& rGround, const XCHAR* pszServer) {
    XText server;
    XStringView svRest;
    return SplitServer(rGround, ViewOf(pszServer), server, svRest) && server.empty() && svRest.empty();
}

void AppendPort(BlockBuilder<PortInfo1>& rBuilder, const SpoolerPortRecord& rPort) {
    rBuilder.Add({});
    rBuilder.Text(&PortInfo1::pName, rPort.name);
}

void AppendPort(BlockBuilder<PortInfo2>& rBuilder, const SpoolerPortRecord& rPort) {
    rBuilder.Add({.pPortName = nullptr,
                  .pMonitorName = nullptr,
                  .pDescription = nullptr,
                  .fPortType = PORT_TYPE,
                  .Reserved = 0});
    rBuilder.Text(&PortInfo2::pPortName, rPort.name);
    rBuilder.Text(&PortInfo2::pMonitorName, IsSameName(rPort.monitor, LOCAL_MONITOR) ? XStringView(LOCAL_MONITOR_SIGN)
                                            : IsSameName(rPort.monitor, TCP_MONITOR) ? XStringView(TCP_MONITOR_SIGN)
                                                                                     : XStringView(rPort.monitor));
    rBuilder.Text(&PortInfo2::pDescription, rPort.monitor);
}

template <typename Record>
Status FinishPorts(SpoolerGround& rGround, void* pInfo, DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) {
    BlockBuilder<Record> oBuilder;
    for (const SpoolerPortRecord& rPort : LoadPorts(rGround))
        AppendPort(oBuilder, rPort);
    return oBuilder.FinishList(pInfo, cbInfo, rcbNeeded, rcReturned);
}

}  // namespace

Status HostSpoolerPort::AddMonitorDll(const XCHAR* pszName, const XCHAR* pszEnvironment, const XCHAR* pszDll) noexcept {
    return Guarded([&] {
        const XText dll(ViewOf(pszDll));
        if (!IsComponent(ViewOf(pszName)) || dll.empty() || dll.size() >= MAX_DLL_UNITS) {
            return Status::InvalidParameter;
        }
        if (!IsEnvironment(pszEnvironment)) return SpoolerStatus(INVALID_ENVIRONMENT);
        if (IsOwnMonitor(pszName)) return SpoolerStatus(PRINT_MONITOR_ALREADY_INSTALLED);
        const EmbeddedMonitor* const pMonitor = GetEmbeddedMonitor();
        if (pMonitor == nullptr || !pMonitor->IsDll(pszDll)) return Status::ModuleNotFound;
        const XText path = MonitorPath(pszName);
        SpoolerKey oKey(m_rGround);
        if (!oKey.Create(path)) return SpoolerStatus(PRINT_MONITOR_ALREADY_INSTALLED);
        Undo oUndo([&]() noexcept {
            Guarded([&] { return DeleteTree(m_rGround, path) ? Status::Success : Status::FileNotFound; });
        });
        oKey.SetText(DLL_VALUE, dll);
        oUndo.Drop();
        return Status::Success;
    });
}

Status HostSpoolerPort::DeleteMonitorByName(const XCHAR* pszName, const XCHAR* pszEnvironment) noexcept {
    return Guarded([&] {
        if (!IsComponent(ViewOf(pszName))) return Status::InvalidParameter;
        if (!IsEnvironment(pszEnvironment)) return SpoolerStatus(INVALID_ENVIRONMENT);
        if (IsOwnMonitor(pszName)) return SpoolerStatus(PRINT_MONITOR_IN_USE);
        return DeleteTree(m_rGround, MonitorPath(pszName)) ? Status::Success : SpoolerStatus(UNKNOWN_PRINT_MONITOR);
    });
}

Status HostSpoolerPort::EnumerateMonitor(DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept {
    return Guarded([&] {
        std::vector<XText> vNames{LOCAL_MONITOR, TCP_MONITOR};
        SpoolerKey oKey(m_rGround);
        if (oKey.Open(MONITORS_PATH)) {
            // The spooler's own have keys for their ports.
            for (const XText& rName : oKey.KeyNames()) {
                if (!IsOwnMonitor(rName)) vNames.push_back(rName);
            }
        }
        if (dwIndex >= vNames.size()) return Status::NoMoreItems;
        const XText& rName = vNames[dwIndex];
        if (pszName == nullptr || rName.size() >= rcName) return Status::MoreData;
        *std::copy(rName.begin(), rName.end(), pszName) = 0;
        rcName = static_cast<DWORD>(rName.size());
        return Status::Success;
    });
}

Status HostSpoolerPort::EnumeratePortInfo(const XCHAR* pszServer, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                                          DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    return Guarded([&] {
        if (!IsOwnServer(m_rGround, pszServer)) return SpoolerStatus(INVALID_PRINTER_NAME);
        if (dwLevel == 1) return FinishPorts<PortInfo1>(m_rGround, pInfo, cbInfo, rcbNeeded, rcReturned);
        if (dwLevel == 2) return FinishPorts<PortInfo2>(m_rGround, pInfo, cbInfo, rcbNeeded, rcReturned);
        return SpoolerStatus(UNKNOWN_LEVEL);
    });
}

Status HostSpoolerPort::EnumerateProcessorInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel,
                                               void* pInfo, DWORD cbInfo, DWORD& rcbNeeded,
                                               DWORD& rcReturned) noexcept {
    return Guarded([&] {
        if (!IsOwnServer(m_rGround, pszServer)) return SpoolerStatus(INVALID_PRINTER_NAME);
        if (!IsEnvironment(pszEnvironment)) return SpoolerStatus(INVALID_ENVIRONMENT);
        if (dwLevel != 1) return SpoolerStatus(UNKNOWN_LEVEL);
        BlockBuilder<PrintProcessorInfo1> oBuilder;
        for (const XText& rName : ProcessorNames(m_rGround)) {
            oBuilder.Add({});
            oBuilder.Text(&PrintProcessorInfo1::pName, rName);
        }
        return oBuilder.FinishList(pInfo, cbInfo, rcbNeeded, rcReturned);
    });
}

}  // namespace vlm::host
