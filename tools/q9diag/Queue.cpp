// queue list and sample: the print queues there are, and a set to try things out on.
#include <array>
#include <vector>

#include "CommandLine.h"
#include "Commands.h"
#include "DemoBytes.h"
#include "Failure.h"
#include "Output.h"
#include "Text.h"
#include "environment/Printer.h"
#include "environment/SampleQueues.h"
#include "platform/Platform.h"
#include "platform/PrintQueuePort.h"
#include "platform/ThreadPort.h"

namespace vlm::tool {

namespace {

XStringView ViewOf(const XCHAR* pszText) {
    return pszText ? XStringView(pszText) : XStringView();
}

std::string Utf8(const XCHAR* pszText) {
    return Printable(ViewOf(pszText));
}

std::string DefaultQueue() {
    std::array<XCHAR, SpoolerPort::MAX_PRINTER_NAME_UNITS> achName{};
    DWORD cName = static_cast<DWORD>(achName.size());
    const Status status = GetPlatform().pQueues->GetDefaultQueue(achName.data(), cName);
    return status == Status::Success ? Utf8(achName.data()) : std::string();
}

/// What a user would call it.
std::string KindOf(const PrinterInfo2& rInfo) {
    const XStringView svPort = ViewOf(rInfo.pPortName);
    if ((rInfo.Attributes & PrintQueuePort::ATTRIBUTE_NETWORK) != 0) return "connection";
    if (svPort.starts_with(VTEXT("ipp://")) || svPort.starts_with(VTEXT("http"))) return "IPP";
    return (rInfo.Attributes & PrintQueuePort::ATTRIBUTE_SHARED) != 0 ? "shared" : "local";
}

int List(Output& rOutput) {
    DWORD cQueues = 0;
    ByteBuffer bbQueues;
    if (!Printer::EnumeratePrinters(PrintQueuePort::LIST_LOCAL | PrintQueuePort::LIST_CONNECTIONS, 2, bbQueues,
                                    cQueues)) {
        RefusePrinter("the queues cannot be listed", static_cast<Status>(GetPlatform().pThreads->LastError()));
    }
    const PrinterInfo2* const pInfos = reinterpret_cast<const PrinterInfo2*>(bbQueues.data());
    const std::string strDefault = DefaultQueue();
    std::vector<std::vector<std::string>> vRows = {{"queue", "kind", "driver", "port", "status"}};
    Json oQueues = Json::array();
    for (DWORD i = 0; i < cQueues; ++i) {
        const PrinterInfo2& rInfo = pInfos[i];
        const std::string strName = Utf8(rInfo.pPrinterName);
        const bool bDefault = strName == strDefault, bPaused = (rInfo.Status & PrintQueuePort::STATUS_PAUSED) != 0;
        vRows.push_back({strName, KindOf(rInfo), Utf8(rInfo.pDriverName), Utf8(rInfo.pPortName),
                         std::string(bPaused ? "paused" : "ready") + (bDefault ? ", default" : "")});
        oQueues.push_back({{"name", JsonString(ViewOf(rInfo.pPrinterName))},
                           {"kind", KindOf(rInfo)},
                           {"driver", JsonString(ViewOf(rInfo.pDriverName))},
                           {"port", JsonString(ViewOf(rInfo.pPortName))},
                           {"processor", JsonString(ViewOf(rInfo.pPrintProcessor))},
                           {"comment", JsonString(ViewOf(rInfo.pComment))},
                           {"location", JsonString(ViewOf(rInfo.pLocation))},
                           {"attributes", rInfo.Attributes},
                           {"status", rInfo.Status},
                           {"default", bDefault}});
    }
    if (cQueues != 0) {
        rOutput.Table(vRows, 0, {Style::Name});
    } else {
        rOutput.Line("There are no queues; \"q9diag queue sample\" makes some to try things out on.");
    }
    rOutput.Document({{"queues", std::move(oQueues)}});
    return EXIT_DONE;
}

int Sample(bool fRemove, Output& rOutput) {
    if (fRemove) {
        SampleQueues::Remove();
        rOutput.Line("The sample queues are removed.");
        rOutput.Document({{"removed", true}});
        return EXIT_DONE;
    }
    std::vector<std::vector<std::string>> vRows = {{"queue", "kind", "driver", "port", ""}};
    Json oQueues = Json::array();
    for (const SampleQueues::Queue& rQueue : SampleQueues::Install(SampleSettings(), SampleProductCab())) {
        const auto Text = [](const CXString& kcsText) { return Printable(kcsText.View()); };
        vRows.push_back({Text(rQueue.m_csName), Text(rQueue.m_csKind), Text(rQueue.m_csDriver), Text(rQueue.m_csPort),
                         rQueue.m_bAdded ? "added" : "was there"});
        oQueues.push_back({{"name", JsonString(rQueue.m_csName.View())},
                           {"kind", JsonString(rQueue.m_csKind.View())},
                           {"driver", JsonString(rQueue.m_csDriver.View())},
                           {"port", JsonString(rQueue.m_csPort.View())},
                           {"added", rQueue.m_bAdded}});
    }
    rOutput.Table(vRows, 0, {Style::Name});
    rOutput.Document({{"queues", std::move(oQueues)}});
    return EXIT_DONE;
}

}  // namespace

void AddQueue(CommandLine& rLine) {
    rLine.Add("queue", "list", "List the queues of this computer and the user's connections").Run(List);
    const auto shpfRemove = std::make_shared<bool>(false);
    rLine.Add("queue", "sample", "Make queues of every kind, with drivers and data, to try things out on")
        .Flag("--remove", *shpfRemove, "Take them away again")
        .Run([shpfRemove](Output& rOutput) { return Sample(*shpfRemove, rOutput); });
}

}  // namespace vlm::tool
