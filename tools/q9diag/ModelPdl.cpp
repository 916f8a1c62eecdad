// model pdl: the commands that switch a feature in a page description language.
#include <optional>

#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "ModelSource.h"
#include "Output.h"

namespace vlm::tool {

namespace {

struct Options {
    ModelSource oSource;
    std::string strFeature, strOption, strModel, strFile, strOutput;
    std::string strPdl = "PCL6";
    std::optional<std::int64_t> llFirst, llSecond;
};

CXString Text(const std::string& rText, const char* pszWhat) {
    return CXString(XStringView(FromUtf8(rText, pszWhat)));
}

std::vector<LONG> Values(const Options& rOptions) {
    std::vector<LONG> vl;
    if (rOptions.llFirst) vl.push_back(static_cast<LONG>(*rOptions.llFirst));
    if (rOptions.llSecond) vl.push_back(static_cast<LONG>(*rOptions.llSecond));
    return vl;
}

int List(const PdlCommands& rCommands, Output& rOutput) {
    std::vector<std::vector<std::string>> vRows = {{"feature", "option", "languages", "instruction"}};
    Json oInstructions = Json::array();
    for (const PdlCommands::Instruction& r : rCommands.GetInstructions()) {
        std::string strLanguages = r.dwPdls & 1 ? "PCL5" : "";
        if (r.dwPdls & 2) strLanguages += strLanguages.empty() ? "PCL6" : " PCL6";
        vRows.push_back(
            {Printable(r.csFeature.View()), Printable(r.csOption.View()), strLanguages, Printable(r.csText.View())});
        oInstructions.push_back({{"feature", JsonString(r.csFeature.View())},
                                 {"option", JsonString(r.csOption.View())},
                                 {"languages", strLanguages},
                                 {"instruction", JsonString(r.csText.View())}});
    }
    rOutput.Table(vRows, 0, {Style::Name});
    rOutput.Document({{"instructions", std::move(oInstructions)}});
    return EXIT_DONE;
}

/// The command's bytes.  @return false when there is none.
bool Make(const Options& rOptions, PdlType ePdlType, ByteBuffer& rbbCommand) {
    const CXString csFeature = Text(rOptions.strFeature, "feature"), csOption = Text(rOptions.strOption, "option");
    const std::vector<LONG> vlValues = Values(rOptions);
    if (!rOptions.strFile.empty()) {
        const PdlCommands oCommands = PdlCommands::Parse(ReadInput(rOptions.strFile));
        CXString csLine;
        return oCommands.GetPDLLine(csFeature, csOption, ePdlType, csLine) &&
               PdlCommands::ConvertAmpCommands(csLine.View(), ePdlType, vlValues, rbbCommand);
    }
    Printer oPrinter;
    ProductData oProductData;
    rOptions.oSource.Load(rOptions.strModel, oPrinter, oProductData);
    return oProductData.GetPDLCommandWithValues(csFeature, csOption, ePdlType, rbbCommand, nullptr, vlValues);
}

int Pdl(const Options& rOptions, Output& rOutput) {
    if (rOptions.strFeature.empty()) {
        if (rOptions.strFile.empty()) throw UsageError("FEATURE: is needed without --file");
        return List(PdlCommands::Parse(ReadInput(rOptions.strFile)), rOutput);
    }
    if (!rOptions.strOutput.empty()) RefuseBytesAmongJson(rOptions.strOutput, rOutput);
    ByteBuffer bbCommand;
    const PdlType ePdlType = rOptions.strPdl == "PCL5" ? PdlType::PCL5 : PdlType::PCL6;
    const bool fMade = Make(rOptions, ePdlType, bbCommand);
    if (!fMade) {
        rOutput.Remark("there is no such command");
    } else if (!rOptions.strOutput.empty()) {
        WriteResult(rOptions.strOutput, bbCommand, rOutput);
    } else {
        rOutput.Line(Printable(bbCommand.getAsHexBinaryString().View()));
    }
    rOutput.Document({{"exists", fMade},
                      {"language", rOptions.strPdl},
                      {"bytes", JsonString(bbCommand.getAsHexBinaryString().View())}});
    return fMade ? EXIT_DONE : EXIT_ANSWER_NO;
}

}  // namespace

void AddModelPdl(CommandLine& rLine) {
    const auto shpoOptions = std::make_shared<Options>();
    Command oPdl = rLine.Add("model", "pdl", "Print the command that switches a feature, or all of a file");
    oPdl.OptionalArgument("FEATURE", shpoOptions->strFeature, "The feature; without one, all commands of --file")
        .OptionalArgument("OPTION", shpoOptions->strOption, "Its option")
        .Choice("--pdl", shpoOptions->strPdl, {"PCL5", "PCL6"}, "The language; else PCL6")
        .Option("--file", "FILE", shpoOptions->strFile, "A PDL command file instead of a model's")
        .Option("--model", "NAME", shpoOptions->strModel, "The model; else the queue's own")
        .Number("--x", shpoOptions->llFirst, -32768, 65535, "The first number that the command takes")
        .Number("--y", shpoOptions->llSecond, -32768, 65535, "The second number")
        .Option("-o,--output", "FILE", shpoOptions->strOutput, "Write the bytes there; else they are printed");
    shpoOptions->oSource.Describe(oPdl);
    oPdl.Run([shpoOptions](Output& rOutput) { return Pdl(*shpoOptions, rOutput); });
}

}  // namespace vlm::tool
