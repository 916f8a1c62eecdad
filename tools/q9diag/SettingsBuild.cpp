// settings build: makes a settings file from its JSON.
#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "Output.h"
#include "Settings.h"

namespace vlm::tool {

namespace {

struct Options {
    std::string strJson;
    std::string strOutput;
    std::string strForm;
};

/// Name spaces go into either of their forms, a list into either of its; nothing else converts.
void ChangeForm(Settings& rSettings, const std::string& strForm) {
    const Form eFrom = rSettings.eForm;
    rSettings.eForm = FormByName(strForm, JsonPath().Member("--as"));
    const auto isList = [](Form eForm) { return eForm == Form::Indexed || eForm == Form::Raw; };
    const auto isSpaces = [](Form eForm) { return eForm == Form::Persistent || eForm == Form::NameSpaces; };
    const bool fFits = rSettings.eForm == eFrom || (isList(eFrom) && isList(rSettings.eForm)) ||
                       (isSpaces(eFrom) && isSpaces(rSettings.eForm));
    if (!fFits) RefuseInput("form: " + std::string(NameOf(eFrom)) + " cannot be built as " + strForm);
}

int Build(const Options& rOptions, Output& rOutput) {
    RefuseBytesAmongJson(rOptions.strOutput, rOutput);
    const ByteBuffer bbJson = ReadInput(rOptions.strJson);
    Settings oSettings =
        SettingsFromJson(ParseJson(std::string_view(reinterpret_cast<const char*>(bbJson.data()), bbJson.size())));
    if (!rOptions.strForm.empty()) ChangeForm(oSettings, rOptions.strForm);
    const ByteBuffer bbFile = EncodeSettings(oSettings);
    WriteResult(rOptions.strOutput, bbFile, rOutput);
    rOutput.Document({{"form", NameOf(oSettings.eForm)}, {"bytes", bbFile.size()}});
    return EXIT_DONE;
}

}  // namespace

void AddSettingsBuild(CommandLine& rLine) {
    const auto shpoOptions = std::make_shared<Options>();
    rLine.Add("settings", "build", "Make a settings file from JSON, the converse of settings show --json")
        .Argument("JSON", shpoOptions->strJson, "The document")
        .RequiredOption("-o,--output", "FILE", shpoOptions->strOutput, "The file to write")
        .Choice("--as", shpoOptions->strForm, FormNames(), "Another form than the document's")
        .Run([shpoOptions](Output& rOutput) { return Build(*shpoOptions, rOutput); });
}

}  // namespace vlm::tool
