// port list, add, show: printer ports.
#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Output.h"
#include "Text.h"
#include "environment/LocalPort.h"
#include "environment/TCPMonPort.h"
#include "platform/Platform.h"
#include "platform/SpoolerBlocks.h"
#include "platform/ThreadPort.h"

namespace vlm::tool {

namespace {

struct Options {
    std::string strTarget;
    std::string strName;
    std::string strServer;
    std::string strType = "raw";
    bool bLocal = false;
};

CXString TextOf(const std::string& strUtf8, const char* pszWhat) {
    return CXString(XStringView(FromUtf8(strUtf8, pszWhat)));
}

struct KnownPort {
    CXString csName, csMonitor, csDescription;
};

std::vector<KnownPort> ListPorts() {
    ByteBuffer bbPorts;
    DWORD cPorts = 0;
    if (!PrinterPort::EnumeratePrinterPorts(2, bbPorts, &cPorts))
        RefusePrinter("the ports cannot be listed", static_cast<Status>(GetPlatform().pThreads->LastError()));
    std::vector<KnownPort> voPorts;
    for (DWORD i = 0; i < cPorts; ++i) {
        const auto& rPort = reinterpret_cast<const PortInfo2*>(bbPorts.data())[i];
        voPorts.push_back({rPort.pPortName, rPort.pMonitorName, rPort.pDescription});
    }
    return voPorts;
}

/// The system lists its TCP/IP ports under the monitor's file name, and describes them by its display name.
bool IsTcp(const KnownPort& rPort) {
    return rPort.csDescription.CompareNoCase(TCPMonPort::MONITOR_NAME) == 0 ||
           rPort.csMonitor.CompareNoCase(TCPMonPort::MONITOR_NAME) == 0;
}

int RunList(Output& rOutput) {
    std::vector<std::vector<std::string>> vRows = {{"port", "monitor", "description"}};
    Json oPorts = Json::array();
    for (const KnownPort& rPort : ListPorts()) {
        vRows.push_back(
            {Printable(rPort.csName.View()), Printable(rPort.csMonitor.View()), Printable(rPort.csDescription.View())});
        oPorts.push_back({{"name", JsonString(rPort.csName.View())},
                          {"monitor", JsonString(rPort.csMonitor.View())},
                          {"description", JsonString(rPort.csDescription.View())}});
    }
    if (vRows.size() == 1) {
        rOutput.Line("There is no port.");
    } else {
        rOutput.Table(vRows, 0, {Style::Name});
    }
    rOutput.Document({{"ports", std::move(oPorts)}});
    return EXIT_DONE;
}

int Added(const CXString& kcsName, Output& rOutput) {
    rOutput.Line("added " + Printable(kcsName.View()));
    rOutput.Document({{"added", JsonString(kcsName.View())}});
    return EXIT_DONE;
}

int RunAdd(const Options& rOptions, Output& rOutput) {
    const CXString csTarget = TextOf(rOptions.strTarget, "port");
    if (csTarget.IsEmpty()) throw UsageError("TARGET: must not be empty");
    if (rOptions.bLocal) {
        if (!rOptions.strName.empty()) throw UsageError("--name: a local port is its name");
        LocalPort oPort;
        if (!oPort.AddLocalPort(csTarget))
            RefusePrinter("the port is not added", static_cast<Status>(oPort.GetLastStatus()));
        return Added(csTarget, rOutput);
    }
    using PortType = TCPMonPort::PortType;
    const PortType eType = rOptions.strType == "raw"   ? PortType::PT_RAW_TCP
                           : rOptions.strType == "lpr" ? PortType::PT_LPR
                                                       : PortType::PT_WSD;
    TCPMonPort oPort;
    const bool fAdded = rOptions.strName.empty() ? oPort.AddTCPPort(csTarget, eType)
                                                 : oPort.AddTCPPort(TextOf(rOptions.strName, "name"), csTarget, eType);
    if (!fAdded) RefusePrinter("the port is not added", static_cast<Status>(oPort.GetLastStatus()));
    return Added(oPort.GetPortName(), rOutput);
}

/// The facts of a TCP/IP port as people and programs see them.
void DescribeTcp(const Options& rOptions, const CXString& kcsName, std::vector<std::vector<std::string>>& rvRows,
                 Json& roDocument) {
    TCPMonPort oPort;
    if (!oPort.OpenPort(kcsName, TextOf(rOptions.strServer, "server")))
        RefusePrinter("the port's configuration cannot be read", static_cast<Status>(oPort.GetLastStatus()));
    const TCPPortData& rData = oPort.GetPortData();
    const std::string strProtocol = oPort.GetPortType() == TCPMonPort::PortType::PT_LPR ? "lpr" : "raw";
    rvRows.push_back({"address", Printable(oPort.GetPortAddress().View())});
    rvRows.push_back({"protocol", strProtocol});
    rvRows.push_back({"port number", std::to_string(rData.m_dwPortNumber)});
    if (!rData.m_csQueue.IsEmpty()) rvRows.push_back({"queue", Printable(rData.m_csQueue.View())});
    rvRows.push_back({"SNMP", rData.m_dwSNMPEnabled == 0 ? "off"
                                                         : "community " + Printable(rData.m_csCommunity.View()) +
                                                               ", device " + std::to_string(rData.m_dwSNMPDevIndex)});
    roDocument["address"] = JsonString(oPort.GetPortAddress().View());
    roDocument["protocol"] = strProtocol;
    roDocument["portNumber"] = rData.m_dwPortNumber;
    roDocument["queue"] = JsonString(rData.m_csQueue.View());
    roDocument["snmp"] = {{"enabled", rData.m_dwSNMPEnabled != 0},
                          {"community", JsonString(rData.m_csCommunity.View())},
                          {"deviceIndex", rData.m_dwSNMPDevIndex}};
}

int RunShow(const Options& rOptions, Output& rOutput) {
    const CXString csName = TextOf(rOptions.strTarget, "port");
    std::vector<std::vector<std::string>> vRows = {{"port", Printable(csName.View())}};
    Json oDocument = {{"name", JsonString(csName.View())}};
    bool fTcp = !rOptions.strServer.empty();
    if (!fTcp) {
        const KnownPort* pFound = nullptr;
        const std::vector<KnownPort> voPorts = ListPorts();
        for (const KnownPort& rPort : voPorts) {
            if (rPort.csName.CompareNoCase(csName) == 0) pFound = &rPort;
        }
        if (!pFound) RefusePrinter("there is no port '" + rOptions.strTarget + "'", Status::FileNotFound);
        vRows.push_back({"monitor", Printable(pFound->csMonitor.View())});
        vRows.push_back({"description", Printable(pFound->csDescription.View())});
        oDocument["monitor"] = JsonString(pFound->csMonitor.View());
        oDocument["description"] = JsonString(pFound->csDescription.View());
        fTcp = IsTcp(*pFound);
    }
    if (fTcp) DescribeTcp(rOptions, csName, vRows, oDocument);
    rOutput.Table(vRows, 0, {Style::Name});
    rOutput.Document(std::move(oDocument));
    return EXIT_DONE;
}

}  // namespace

void AddPort(CommandLine& rLine) {
    const auto shpoOptions = std::make_shared<Options>();
    rLine.Noun("port", "Printer ports");
    rLine.Add("port", "list", "List the ports of all port monitors").Run(RunList);
    rLine.Add("port", "add", "Add a TCP/IP port, or a local one")
        .Argument("TARGET", shpoOptions->strTarget,
                  "The device's host name or IP address; with --local the port's name")
        .Option("--name", "NAME", shpoOptions->strName, "Name of the TCP/IP port; X_ADDRESS when left out")
        .Choice("--type", shpoOptions->strType, {"raw", "lpr", "wsd"}, "How the port talks to the device")
        .Flag("--local", shpoOptions->bLocal, "Add a local port: a device such as LPT1:, or a file")
        .Run([shpoOptions](Output& rOutput) { return RunAdd(*shpoOptions, rOutput); });
    rLine.Add("port", "show", "Show a port, and how a TCP/IP port is configured")
        .Argument("PORT", shpoOptions->strTarget, "Name of the port")
        .Option("--server", "\\\\SERVER", shpoOptions->strServer, "Ask a print server's TCP/IP monitor")
        .Run([shpoOptions](Output& rOutput) { return RunShow(*shpoOptions, rOutput); });
}

}  // namespace vlm::tool
