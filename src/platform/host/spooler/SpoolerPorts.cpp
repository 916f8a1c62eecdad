/// @file
/// Finds ports and print processors in the store.
#include "platform/host/spooler/SpoolerPorts.h"

#include <algorithm>
#include <utility>

namespace vlm::host {

namespace {
constexpr const XCHAR* LOCAL_PORTS[] = {VTEXT("COM1:"), VTEXT("COM2:"), VTEXT("COM3:"), VTEXT("COM4:"),
                                        VTEXT("FILE:"), VTEXT("LPT1:"), VTEXT("LPT2:"), VTEXT("LPT3:")};
constexpr const XCHAR* WINPRINT = VTEXT("winprint");
}  // namespace

XText PortKey(XStringView svMonitor, XStringView svPort) {
    XText path = MONITORS_PATH;
    path.append(1, VTEXT('\\')).append(svMonitor).append(VTEXT("\\Ports"));
    if (!svPort.empty()) path.append(1, VTEXT('\\')).append(svPort);
    return path;
}

std::vector<SpoolerPortRecord> LoadPorts(SpoolerGround& rGround) {
    std::vector<SpoolerPortRecord> vPorts;
    SpoolerKey oKey(rGround);
    if (oKey.Open(LOCAL_PORTS_PATH)) {
        for (XText& rName : oKey.ValueNames())
            vPorts.push_back({std::move(rName), LOCAL_MONITOR});
    } else {
        for (const XCHAR* pszName : LOCAL_PORTS)
            vPorts.push_back({pszName, LOCAL_MONITOR});
    }
    if (!oKey.Open(MONITORS_PATH)) return vPorts;
    for (const XText& rMonitor : oKey.KeyNames()) {
        SpoolerKey oPorts(rGround);
        if (!oPorts.Open(PortKey(rMonitor, {}))) continue;
        for (XText& rName : oPorts.KeyNames())
            vPorts.push_back({std::move(rName), rMonitor});
    }
    return vPorts;
}

std::optional<SpoolerPortRecord> FindPort(SpoolerGround& rGround, XStringView svPort) {
    std::vector<SpoolerPortRecord> vPorts = LoadPorts(rGround);
    const auto it =
        std::find_if(vPorts.begin(), vPorts.end(), [&](const auto& rPort) { return IsSameName(rPort.name, svPort); });
    if (it == vPorts.end()) return std::nullopt;
    return std::move(*it);
}

std::vector<XText> ProcessorNames(SpoolerGround& rGround) {
    std::vector<XText> vNames{WINPRINT};
    SpoolerKey oKey(rGround);
    if (oKey.Open(PROCESSORS_PATH)) {
        for (XText& rName : oKey.KeyNames()) {
            if (!IsSameName(rName, WINPRINT)) vNames.push_back(std::move(rName));
        }
    }
    return vNames;
}

}  // namespace vlm::host
