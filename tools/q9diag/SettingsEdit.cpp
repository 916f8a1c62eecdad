// settings get, set and delete: one attribute of a settings file.
#include <algorithm>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "Output.h"
#include "RecordJson.h"
#include "SettingsEdit.h"
#include "SettingsText.h"
#include "utilities/debuggingandexceptions/VelomException.h"

namespace vlm::tool {

namespace {

struct Options {
    std::string strFile;
    std::string strPath;
    std::string strValue;
};

SettingsGroup* FindGroup(Settings& rSettings, const SettingsPath& rPath) {
    for (SettingsGroup& rGroup : rSettings.vGroups)
        if (rGroup.olNameSpace == rPath.olNameSpace) return &rGroup;
    return nullptr;
}

SettingsGroup& NeedGroup(Settings& rSettings, const SettingsPath& rPath) {
    if (SettingsGroup* const pGroup = FindGroup(rSettings, rPath)) return *pGroup;
    SettingsGroup oGroup;
    oGroup.olNameSpace = rPath.olNameSpace;
    const auto itAfter =
        std::find_if(rSettings.vGroups.begin(), rSettings.vGroups.end(),
                     [&](const SettingsGroup& rOther) { return rOther.olNameSpace > rPath.olNameSpace; });
    return *rSettings.vGroups.insert(itAfter, std::move(oGroup));
}

auto FindRecord(SettingsGroup& rGroup, const SettingsPath& rPath) {
    const auto same = [&](const AttributeBytesSharedPtr& rshpoRecord) {
        return rshpoRecord->GetAttributeBytesId().IsEqual(*rPath.apoId);
    };
    auto& rvRecords = rGroup.vshpoRecords;
    const auto it = std::find_if(rvRecords.begin(), rvRecords.end(), same);
    if (it != rvRecords.end() && std::find_if(it + 1, rvRecords.end(), same) != rvRecords.end())
        RefuseInput(PathText(rPath.olNameSpace, *rPath.apoId) + ": stands more than once in the file");
    return it;
}

/// Says for people and scripts that there is no such attribute.
int AnswerAbsent(const SettingsPath& rPath, Output& rOutput) {
    const std::string strPath = PathText(rPath.olNameSpace, *rPath.apoId);
    rOutput.Remark(strPath + ": absent");
    rOutput.Document({{"path", JsonString(std::string_view(strPath))}, {"found", false}});
    return EXIT_ANSWER_NO;
}

/// VALUE as `set` takes it: short where that says everything, else JSON on one line.
std::string TextForSet(const AttributeBytesValue& rValue) {
    const auto isSaidBy = [&](const std::string& strText) {
        try {
            return ParseValue(strText)->IsEqual(rValue);
        } catch (const VelomException&) {
            return false;
        }
    };
    std::string strText = TextOf(rValue);
    if (isSaidBy(strText)) return strText;
    strText = WriteJson(ToJson(rValue), JsonLayout::OneLine);
    strText.pop_back();  // its line end
    return strText;
}

int Get(const Options& rOptions, Output& rOutput) {
    Settings oSettings = DecodeSettings(ReadInput(rOptions.strFile), rOptions.strFile);
    const SettingsPath oPath = ParsePath(rOptions.strPath, oSettings);
    SettingsGroup* const pGroup = FindGroup(oSettings, oPath);
    if (!pGroup) return AnswerAbsent(oPath, rOutput);
    const auto it = FindRecord(*pGroup, oPath);
    if (it == pGroup->vshpoRecords.end()) return AnswerAbsent(oPath, rOutput);
    const AttributeBytesValue& rValue = (*it)->GetAttributeBytesValue();
    rOutput.Line(TextForSet(rValue));
    Json oDocument = {{"path", JsonString(std::string_view(PathText(oPath.olNameSpace, *oPath.apoId)))},
                      {"found", true}};
    oDocument["id"] = ToJson((*it)->GetAttributeBytesId());
    oDocument["value"] = ToJson(rValue);
    rOutput.Document(std::move(oDocument));
    return EXIT_DONE;
}

void Store(const Options& rOptions, const Settings& rSettings, const SettingsPath& rPath, Output& rOutput) {
    WriteResult(rOptions.strFile, EncodeSettings(rSettings), rOutput);
    rOutput.Document(
        {{"path", JsonString(std::string_view(PathText(rPath.olNameSpace, *rPath.apoId)))}, {"changed", true}});
}

int Set(const Options& rOptions, Output& rOutput) {
    RefuseBytesAmongJson(rOptions.strFile, rOutput);
    Settings oSettings = DecodeSettings(ReadInput(rOptions.strFile), rOptions.strFile);
    const SettingsPath oPath = ParsePath(rOptions.strPath, oSettings);
    SetAttribute(oSettings, oPath, *ParseValue(rOptions.strValue));
    Store(rOptions, oSettings, oPath, rOutput);
    return EXIT_DONE;
}

int Delete(const Options& rOptions, Output& rOutput) {
    RefuseBytesAmongJson(rOptions.strFile, rOutput);
    const ByteBuffer bbFile = ReadInput(rOptions.strFile);
    Settings oSettings = DecodeSettings(bbFile, rOptions.strFile);
    const SettingsPath oPath = ParsePath(rOptions.strPath, oSettings);
    if (oSettings.eForm == Form::Record) RefuseInput("a record cannot be without its attribute; delete the file");
    SettingsGroup* const pGroup = FindGroup(oSettings, oPath);
    if (pGroup) {
        const auto it = FindRecord(*pGroup, oPath);
        if (it != pGroup->vshpoRecords.end()) {
            pGroup->vshpoRecords.erase(it);
            Store(rOptions, oSettings, oPath, rOutput);
            return EXIT_DONE;
        }
    }
    if (rOptions.strFile == "-") WriteResult(rOptions.strFile, bbFile, rOutput);  // a filter passes on what it got
    return AnswerAbsent(oPath, rOutput);
}

}  // namespace

void SetAttribute(Settings& rSettings, const SettingsPath& rPath, const AttributeBytesValue& rValue) {
    SettingsGroup& rGroup = NeedGroup(rSettings, rPath);
    auto it = FindRecord(rGroup, rPath);
    AttributeBytesSharedPtr shpoRecord(std::make_unique<AttributeBytes>(*rPath.apoId, rValue));
    if (it != rGroup.vshpoRecords.end()) {
        *it = shpoRecord;
        return;
    }
    if (rSettings.eForm == Form::Record)
        RefuseInput("the file is a record of " + TextOf(rGroup.vshpoRecords.at(0)->GetAttributeBytesId()));
    const auto itAfter =
        std::find_if(rGroup.vshpoRecords.begin(), rGroup.vshpoRecords.end(),
                     [&](const AttributeBytesSharedPtr& rshpoOther) { return *shpoRecord < *rshpoOther; });
    rGroup.vshpoRecords.insert(itAfter, shpoRecord);
}

void AddSettingsEdit(CommandLine& rLine) {
    constexpr const char* PATH_HELP = "NAMESPACE/ID, as 1/feature:258; ID alone where the file has no name spaces";
    const auto shpoGet = std::make_shared<Options>();
    rLine.Add("settings", "get", "Print one attribute")
        .Argument("FILE", shpoGet->strFile, "The settings file")
        .Argument("PATH", shpoGet->strPath, PATH_HELP)
        .Run([shpoGet](Output& rOutput) { return Get(*shpoGet, rOutput); });
    const auto shpoSet = std::make_shared<Options>();
    rLine.Add("settings", "set", "Set or add one attribute; everything else stays as it is")
        .Argument("FILE", shpoSet->strFile, "The settings file, replaced in one step")
        .Argument("PATH", shpoSet->strPath, PATH_HELP)
        .Argument("VALUE", shpoSet->strValue, "As integer:5, string:text, dimension:210mm, or JSON")
        .Run([shpoSet](Output& rOutput) { return Set(*shpoSet, rOutput); });
    const auto shpoDelete = std::make_shared<Options>();
    rLine.Add("settings", "delete", "Remove one attribute; everything else stays as it is")
        .Argument("FILE", shpoDelete->strFile, "The settings file, replaced in one step")
        .Argument("PATH", shpoDelete->strPath, PATH_HELP)
        .Run([shpoDelete](Output& rOutput) { return Delete(*shpoDelete, rOutput); });
}

}  // namespace vlm::tool
