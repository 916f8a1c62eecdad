// counters show and clear: diagnostic counters of a printer.
#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Output.h"
#include "Text.h"
#include "utilities/registry/ProcmonDiagnosticCounters.h"

namespace vlm::tool {

namespace {

using Counter = ProcmonDiagnosticCounter;

struct Options {
    std::string strPrinter;
    bool bAll = false;
};

CXString PrinterOf(const Options& rOptions) {
    if (rOptions.strPrinter.empty()) throw UsageError("PRINTER: must not be empty");
    return CXString(XStringView(FromUtf8(rOptions.strPrinter, "printer")));
}

int Show(const Options& rOptions, Output& rOutput) {
    const CXString csPrinter = PrinterOf(rOptions);
    Counter oCounter;
    const bool fEnabled = oCounter.ProcmonDiagnosticEnabled(), fMessages = oCounter.ProcmonDiagnosticMessagesEnabled();
    rOutput.Line(std::string("counts are published:   ") + (fEnabled ? "yes" : "no"));
    rOutput.Line(std::string("messages are published: ") + (fMessages ? "yes" : "no"));
    std::vector<std::vector<std::string>> vRows = {{"id", "counter", "count"}};
    Json oCounters = Json::array();
    for (DWORD i = 1; i < Counter::LASTITEM; ++i) {
        const auto eCounter = static_cast<Counter::ProcmonDiagnosticCounterEnum>(i);
        const DWORD dwCount = Counter::GetCount(csPrinter, eCounter);
        if (dwCount == 0 && !rOptions.bAll) continue;
        const std::string strName = ToUtf8(Counter::ProcmonDiagnosticCounterEnumToString(eCounter));
        vRows.push_back({std::to_string(i), strName, std::to_string(dwCount)});
        oCounters.push_back({{"id", i}, {"name", strName}, {"count", dwCount}});
    }
    if (vRows.size() > 1) rOutput.Table(vRows, 0, {Style::Plain, Style::Name});
    rOutput.Remark("the counts are those of this process; a trace of the registry shows what others publish");
    rOutput.Document({{"printer", JsonString(csPrinter.View())},
                      {"published", fEnabled},
                      {"messagesPublished", fMessages},
                      {"counters", std::move(oCounters)}});
    return EXIT_DONE;
}

int Clear(const Options& rOptions, Output& rOutput) {
    const CXString csPrinter = PrinterOf(rOptions);
    Counter().ClearProcmonCounters(csPrinter);
    rOutput.Line("cleared");
    rOutput.Document({{"printer", JsonString(csPrinter.View())}, {"cleared", true}});
    return EXIT_DONE;
}

}  // namespace

void AddCounters(CommandLine& rLine) {
    rLine.Noun("counters", "Diagnostic counters");
    const auto shpoShow = std::make_shared<Options>();
    rLine.Add("counters", "show", "Print a printer's counts, and whether counts are published")
        .Argument("PRINTER", shpoShow->strPrinter, "Name of the printer")
        .Flag("--all", shpoShow->bAll, "Counters that stand at 0, too")
        .Run([shpoShow](Output& rOutput) { return Show(*shpoShow, rOutput); });
    const auto shpoClear = std::make_shared<Options>();
    rLine.Add("counters", "clear", "Set a printer's counts to 0")
        .Argument("PRINTER", shpoClear->strPrinter, "Name of the printer")
        .Run([shpoClear](Output& rOutput) { return Clear(*shpoClear, rOutput); });
}

}  // namespace vlm::tool
