// settings show: prints a settings file.
#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "Output.h"
#include "SettingsText.h"
#include "utilities/attributebytes/AttributeBytesListValue.h"
#include "utilities/attributebytes/AttributeBytesRawList.h"

namespace vlm::tool {

namespace {

constexpr std::size_t BLOB_BYTES_SHOWN = 32;

using Rows = std::vector<std::vector<std::string>>;

void AddRow(const AttributeBytes& rRecord, std::size_t uDepth, Rows& rvRows) {
    const AttributeBytesValue& rValue = rRecord.GetAttributeBytesValue();
    std::string strValue = TextOf(rValue, BLOB_BYTES_SHOWN);
    if (!rValue.IsSpecified()) strValue += "  (unspecified)";
    rvRows.push_back({std::string(2 * uDepth, ' ') + TextOf(rRecord.GetAttributeBytesId()), std::move(strValue)});
    if (!rValue.IsList()) return;
    const auto& rList = static_cast<const AttributeBytesListValue&>(rValue);
    for (const AttributeBytesSharedPtr& rshpoRecord : rList.GetAttributeBytesRawList())
        AddRow(*rshpoRecord, uDepth + 1, rvRows);
}

void PrintGroup(const SettingsGroup& rGroup, Output& rOutput) {
    std::string strHeading = rGroup.olNameSpace ? "name space " + std::to_string(*rGroup.olNameSpace) + ", kind " +
                                                      std::to_string(rGroup.byKind) + ", "
                                                : "";
    strHeading += std::to_string(rGroup.vshpoRecords.size()) + " attributes";
    if (!rGroup.bSpecified) strHeading += ", unspecified";
    rOutput.Line();
    rOutput.Line(rOutput.Styled(Style::Heading, strHeading));
    Rows vRows;
    for (const AttributeBytesSharedPtr& rshpoRecord : rGroup.vshpoRecords)
        AddRow(*rshpoRecord, 0, vRows);
    rOutput.Table(vRows, 2, {Style::Name});
}

int Show(const std::string& strFile, Output& rOutput) {
    const ByteBuffer bbFile = ReadInput(strFile);
    PrintSettings(DecodeSettings(bbFile, strFile), bbFile.size(), rOutput);
    return EXIT_DONE;
}

}  // namespace

void PrintSettings(const Settings& rSettings, std::size_t cbStored, Output& rOutput) {
    if (rOutput.IsJson()) {
        rOutput.Document(ToJson(rSettings));
        return;
    }
    Rows vRows = {{"form", NameOf(rSettings.eForm)}};
    if (rSettings.HasNameSpaces())
        vRows.push_back({"driver version", ToUtf8(rSettings.oVersion.GetStringValue().View())});
    vRows.push_back({"stored", std::to_string(cbStored) + " bytes" +
                                   (rSettings.bCompressedState
                                        ? ", a compressed state of " + std::to_string(rSettings.cStateBytes) + " bytes"
                                        : "")});
    rOutput.Table(vRows, 0, {Style::Heading});
    for (const SettingsGroup& rGroup : rSettings.vGroups)
        PrintGroup(rGroup, rOutput);
}

void AddSettingsShow(CommandLine& rLine) {
    const auto shpoFile = std::make_shared<std::string>();
    rLine.Add("settings", "show", "Print a settings file of any form")
        .Argument("FILE", *shpoFile, "Persistent block, compressed state, ABNS, ABIL or ABRL state, or a record")
        .Run([shpoFile](Output& rOutput) { return Show(*shpoFile, rOutput); });
}

}  // namespace vlm::tool
