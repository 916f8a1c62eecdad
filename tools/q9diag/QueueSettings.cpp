// queue settings: the settings that are stored with a print queue.
#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Output.h"
#include "SettingsEdit.h"
#include "SettingsText.h"
#include "environment/Printer.h"

namespace vlm::tool {

namespace {

struct Options {
    std::string strQueue;
    std::string strAction = "show";
    std::string strPath;
    std::string strValue;
};

int AnswerNone(Output& rOutput) {
    rOutput.Remark("the queue has no stored settings");
    rOutput.Document({{"stored", false}});
    return EXIT_ANSWER_NO;
}

int Show(Printer& rPrinter, const Options& rOptions, Output& rOutput) {
    ByteBuffer bbBlock;
    if (!rPrinter.GetDeviceSettings(bbBlock)) return AnswerNone(rOutput);
    PrintSettings(DecodeSettings(bbBlock, rOptions.strQueue), bbBlock.size(), rOutput);
    return EXIT_DONE;
}

int Set(Printer& rPrinter, const Options& rOptions, Output& rOutput) {
    ByteBuffer bbBlock;
    Settings oSettings;  // a block without attributes, where none is stored yet
    if (rPrinter.GetDeviceSettings(bbBlock)) oSettings = DecodeSettings(bbBlock, rOptions.strQueue);
    const SettingsPath oPath = ParsePath(rOptions.strPath, oSettings);
    SetAttribute(oSettings, oPath, *ParseValue(rOptions.strValue));
    rPrinter.SetDeviceSettings(EncodeSettings(oSettings));
    rOutput.Document(
        {{"path", JsonString(std::string_view(PathText(oPath.olNameSpace, *oPath.apoId)))}, {"changed", true}});
    return EXIT_DONE;
}

int Reset(Printer& rPrinter, Output& rOutput) {
    if (!rPrinter.ResetDeviceSettings()) return AnswerNone(rOutput);
    rOutput.Line("deleted");
    rOutput.Document({{"stored", false}, {"deleted", true}});
    return EXIT_DONE;
}

int Run(const Options& rOptions, Output& rOutput) {
    const bool fSet = rOptions.strAction == "set";
    const bool fReset = rOptions.strAction == "reset";
    if (!fSet && !fReset && rOptions.strAction != "show")
        throw UsageError("ACTION: '" + Printable(std::string_view(rOptions.strAction)) + "' is not show, set or reset");
    if (fSet && rOptions.strValue.empty()) throw UsageError("set: needs PATH and VALUE");
    if (!fSet && !rOptions.strPath.empty()) throw UsageError(rOptions.strAction + ": takes neither PATH nor VALUE");
    const CXString csQueue = CXString(XStringView(FromUtf8(rOptions.strQueue, "QUEUE")));
    Printer oPrinter;
    if (fSet || fReset)
        oPrinter.CreateAllAccessHandle(csQueue);
    else
        oPrinter.CreateHandle(csQueue);
    return fSet     ? Set(oPrinter, rOptions, rOutput)
           : fReset ? Reset(oPrinter, rOutput)
                    : Show(oPrinter, rOptions, rOutput);
}

}  // namespace

void AddQueueSettings(CommandLine& rLine) {
    const auto shpoOptions = std::make_shared<Options>();
    rLine.Add("queue", "settings", "Print, change or delete the settings stored with a queue")
        .Argument("QUEUE", shpoOptions->strQueue, "The queue's name")
        .OptionalArgument("ACTION", shpoOptions->strAction, "show, set or reset; else show")
        .OptionalArgument("PATH", shpoOptions->strPath, "Of set: NAMESPACE/ID, as 1/feature:258")
        .OptionalArgument("VALUE", shpoOptions->strValue, "Of set: as integer:5, string:text, dimension:210mm, or JSON")
        .Run([shpoOptions](Output& rOutput) { return Run(*shpoOptions, rOutput); });
}

}  // namespace vlm::tool
