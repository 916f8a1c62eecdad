// demo: a typical request told step by step on a stored settings block, each step checked by the tool itself.
#include <vector>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "SettingsDiff.h"
#include "SettingsEdit.h"
#include "SettingsText.h"
#include "SettingsVerify.h"
#include "Story.h"

namespace vlm::tool {

namespace {

/// The settings of a sample queue, as a driver has stored them.
constexpr BYTE SAMPLE_BLOCK[] = {
#include "DemoBlock.inc"
};
constexpr const char* PATH = "1/feature:258";
constexpr const char* NEW_VALUE = "option:value:7";
constexpr const char* OTHER_VALUE = "option:value:8";  // where the attribute has the new value already

struct Options {
    std::string strFile;
    std::string strOutput;
};

/// The value at a path as text; empty when absent.
std::string ValueAt(const Settings& rSettings, const SettingsPath& rPath) {
    for (const SettingsGroup& rGroup : rSettings.vGroups)
        for (const AttributeBytesSharedPtr& rshpoRecord : rGroup.vshpoRecords)
            if (rGroup.olNameSpace == rPath.olNameSpace && rshpoRecord->GetAttributeBytesId().IsEqual(*rPath.apoId))
                return TextOf(rshpoRecord->GetAttributeBytesValue());
    return {};
}

std::size_t CountRecords(const Settings& rSettings) {
    std::size_t cRecords = 0;
    for (const SettingsGroup& rGroup : rSettings.vGroups)
        cRecords += rGroup.vshpoRecords.size();
    return cRecords;
}

void TellSummary(const Settings& rSettings, Story& rStory) {
    rStory.Tell("form " + std::string(NameOf(rSettings.eForm)) + ", written by driver version " +
                ToUtf8(rSettings.oVersion.GetStringValue().View()));
    for (const SettingsGroup& rGroup : rSettings.vGroups)
        rStory.Tell("name space " + std::to_string(rGroup.olNameSpace.value_or(0)) + ": " +
                    std::to_string(rGroup.vshpoRecords.size()) + " attributes");
}

void CheckReadBack(const Settings& rBefore, const Settings& rAfter, const SettingsPath& rPath,
                   const std::string& strValue, Story& rStory, Output& rOutput) {
    const auto vDifferences = CompareSettings(rBefore, rAfter);
    PrintDifferences(vDifferences, rOutput);
    rStory.Check(ValueAt(rAfter, rPath) == strValue, std::string(PATH) + " is " + strValue);
    const bool fOne = vDifferences.size() == 1 && vDifferences[0].vpAdded.empty() &&
                      vDifferences[0].vpRemoved.empty() && vDifferences[0].vChanged.size() == 1 &&
                      vDifferences[0].vChanged[0].first->GetAttributeBytesId().IsEqual(*rPath.apoId);
    rStory.Check(fOne, "it is the only one of " + std::to_string(CountRecords(rBefore)) + " attributes that differs");
}

int Tell(const Options& rOptions, Output& rOutput) {
    RefuseBytesAmongJson(rOptions.strOutput, rOutput);
    const std::string strName = rOptions.strFile.empty() ? "the sample queue's settings" : rOptions.strFile;
    const ByteBuffer bbStored =
        rOptions.strFile.empty() ? ByteBuffer(SAMPLE_BLOCK, sizeof SAMPLE_BLOCK) : ReadInput(rOptions.strFile);
    Story oStory(rOutput);

    oStory.Step("Read the stored block: " + strName + ", " + std::to_string(bbStored.size()) + " bytes");
    const Settings oBefore = DecodeSettings(bbStored, strName);
    TellSummary(oBefore, oStory);
    oStory.Check(VerifySettings(bbStored, oBefore).bSame, "written again it is the same, byte for byte");

    const SettingsPath oPath = ParsePath(PATH, oBefore);
    const std::string strOld = ValueAt(oBefore, oPath);
    const std::string strNew = strOld == NEW_VALUE ? OTHER_VALUE : NEW_VALUE;
    oStory.Step("Change one attribute: " + std::string(PATH) + " from " + (strOld.empty() ? "absent" : strOld) +
                " to " + strNew);
    oStory.Check(!strOld.empty(), "the attribute is there");
    Settings oChanged = oBefore;
    SetAttribute(oChanged, oPath, *ParseValue(strNew));

    oStory.Step("Store the settings again");
    const ByteBuffer bbNew = EncodeSettings(oChanged);
    oStory.Tell("the new block has " + std::to_string(bbNew.size()) + " bytes");
    if (!rOptions.strOutput.empty()) WriteResult(rOptions.strOutput, bbNew, rOutput);
    oStory.Check(bbNew != bbStored, "it differs from the old one");

    oStory.Step("Read the new block back and compare");
    const Settings oAfter = DecodeSettings(bbNew, "the new block");
    CheckReadBack(oBefore, oAfter, oPath, strNew, oStory, rOutput);
    oStory.Check(oAfter.oVersion == oBefore.oVersion, "the driver version is the same");

    oStory.Step("Take the change back");
    Settings oRestored = oAfter;
    if (!strOld.empty()) SetAttribute(oRestored, oPath, *ParseValue(strOld));
    oStory.Check(PlainState(EncodeSettings(oRestored)) == PlainState(bbStored),
                 "the stored state is the old one again, byte for byte");
    return oStory.End();
}

}  // namespace

void AddDemo(CommandLine& rLine) {
    const auto shpoOptions = std::make_shared<Options>();
    rLine
        .Add("demo", nullptr,
             "Read a sample queue's settings, change one attribute, store them, and prove the rest unchanged")
        .Option("--from", "FILE", shpoOptions->strFile, "Another settings file with name spaces instead of the sample")
        .Option("-o,--output", "FILE", shpoOptions->strOutput, "Keep the new block in a file")
        .Run([shpoOptions](Output& rOutput) { return Tell(*shpoOptions, rOutput); });
}

}  // namespace vlm::tool
