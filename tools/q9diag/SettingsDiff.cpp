// settings diff: attributes added, removed and changed between two settings files, by name space.
#include <algorithm>
#include <map>
#include <set>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "Output.h"
#include "RecordJson.h"
#include "SettingsDiff.h"
#include "SettingsText.h"

namespace vlm::tool {

namespace {

struct IdOrder {
    bool operator()(const AttributeBytesId* pLeft, const AttributeBytesId* pRight) const {
        return pLeft->LessThan(*pRight);
    }
};

/// The records of a group by identifier; a raw list may hold several for one.
using Records = std::map<const AttributeBytesId*, std::vector<const AttributeBytes*>, IdOrder>;

Records ByIdentifier(const SettingsGroup* pGroup) {
    Records mapRecords;
    if (!pGroup) return mapRecords;
    for (const AttributeBytesSharedPtr& rshpoRecord : pGroup->vshpoRecords)
        mapRecords[&rshpoRecord->GetAttributeBytesId()].push_back(rshpoRecord.get());
    return mapRecords;
}

const SettingsGroup* FindGroup(const Settings& rSettings, const std::optional<LONG>& rolNameSpace) {
    for (const SettingsGroup& rGroup : rSettings.vGroups)
        if (rGroup.olNameSpace == rolNameSpace) return &rGroup;
    return nullptr;
}

/// Pairs the records of one identifier in their order.
void Compare(const std::vector<const AttributeBytes*>& rvOld, const std::vector<const AttributeBytes*>& rvNew,
             GroupDifference& rDifference) {
    for (std::size_t i = 0; i < std::max(rvOld.size(), rvNew.size()); ++i) {
        if (i >= rvOld.size())
            rDifference.vpAdded.push_back(rvNew[i]);
        else if (i >= rvNew.size())
            rDifference.vpRemoved.push_back(rvOld[i]);
        else if (rvOld[i]->GetAttributeBytesState() != rvNew[i]->GetAttributeBytesState())
            rDifference.vChanged.emplace_back(rvOld[i], rvNew[i]);
    }
}

GroupDifference CompareGroups(const SettingsGroup* pOld, const SettingsGroup* pNew) {
    GroupDifference oDifference;
    oDifference.olNameSpace = (pOld ? pOld : pNew)->olNameSpace;
    if (pOld) oDifference.ooOld = GroupTraits{pOld->byKind, pOld->bSpecified};
    if (pNew) oDifference.ooNew = GroupTraits{pNew->byKind, pNew->bSpecified};
    const Records mapOld = ByIdentifier(pOld);
    const Records mapNew = ByIdentifier(pNew);
    for (const auto& [pId, rvOld] : mapOld) {
        const auto it = mapNew.find(pId);
        Compare(rvOld, it == mapNew.end() ? std::vector<const AttributeBytes*>() : it->second, oDifference);
    }
    for (const auto& [pId, rvNew] : mapNew)
        if (!mapOld.contains(pId)) Compare({}, rvNew, oDifference);
    return oDifference;
}

Json ListToJson(const std::vector<const AttributeBytes*>& rvpRecords) {
    Json oJson = Json::array();
    for (const AttributeBytes* pRecord : rvpRecords)
        oJson.push_back(ToJson(*pRecord));
    return oJson;
}

template <class Member>
Json TraitToJson(const std::optional<GroupTraits>& rooTraits, Member GroupTraits::*pmTrait) {
    return rooTraits ? Json((*rooTraits).*pmTrait) : Json();
}

Json DifferenceToJson(const GroupDifference& rDifference) {
    Json oJson = Json::object();
    if (rDifference.olNameSpace) {
        oJson["nameSpace"] = *rDifference.olNameSpace;
        oJson["kindFrom"] = TraitToJson(rDifference.ooOld, &GroupTraits::byKind);
        oJson["kindTo"] = TraitToJson(rDifference.ooNew, &GroupTraits::byKind);
        oJson["specifiedFrom"] = TraitToJson(rDifference.ooOld, &GroupTraits::bSpecified);
        oJson["specifiedTo"] = TraitToJson(rDifference.ooNew, &GroupTraits::bSpecified);
    }
    oJson["added"] = ListToJson(rDifference.vpAdded);
    oJson["removed"] = ListToJson(rDifference.vpRemoved);
    Json& rChanged = oJson["changed"] = Json::array();
    for (const auto& [pOld, pNew] : rDifference.vChanged)
        rChanged.push_back({{"id", ToJson(pOld->GetAttributeBytesId())},
                            {"from", ToJson(pOld->GetAttributeBytesValue())},
                            {"to", ToJson(pNew->GetAttributeBytesValue())}});
    return oJson;
}

std::string ShownValue(const AttributeBytes& rRecord) {
    const AttributeBytesValue& rValue = rRecord.GetAttributeBytesValue();
    return TextOf(rValue, 32) + (rValue.IsSpecified() ? "" : " (unspecified)");
}

std::string ShownTraits(const GroupTraits& rTraits) {
    return "kind " + std::to_string(rTraits.byKind) + (rTraits.bSpecified ? "" : ", unspecified");
}

void PrintTraits(const GroupDifference& rDifference, Output& rOutput) {
    const std::optional<GroupTraits>&rOld = rDifference.ooOld, &rNew = rDifference.ooNew;
    if (!rDifference.olNameSpace || rOld == rNew) return;
    const std::string strSpace = " name space " + std::to_string(*rDifference.olNameSpace) + ", ";
    if (!rOld)
        rOutput.Line(rOutput.Styled(Style::Added, "+" + strSpace + ShownTraits(*rNew)));
    else if (!rNew)
        rOutput.Line(rOutput.Styled(Style::Removed, "-" + strSpace + ShownTraits(*rOld)));
    else
        rOutput.Line(rOutput.Styled(Style::Changed, "~" + strSpace + ShownTraits(*rOld) + " -> " + ShownTraits(*rNew)));
}

int Diff(const std::string& strOld, const std::string& strNew, Output& rOutput) {
    if (strOld == "-" && strNew == "-") throw UsageError("standard input can be one of the two files only");
    const Settings oOld = DecodeSettings(ReadInput(strOld), strOld);
    const Settings oNew = DecodeSettings(ReadInput(strNew), strNew);
    const auto vDifferences = CompareSettings(oOld, oNew);
    if (rOutput.IsJson()) {
        Json oNameSpaces = Json::array();
        for (const GroupDifference& rDifference : vDifferences)
            oNameSpaces.push_back(DifferenceToJson(rDifference));
        rOutput.Document({{"same", vDifferences.empty()}, {"nameSpaces", std::move(oNameSpaces)}});
    } else {
        PrintDifferences(vDifferences, rOutput);
    }
    return vDifferences.empty() ? EXIT_DONE : EXIT_ANSWER_NO;
}

}  // namespace

std::vector<GroupDifference> CompareSettings(const Settings& rOld, const Settings& rNew) {
    std::set<std::optional<LONG>> setNameSpaces;
    for (const Settings* pSettings : {&rOld, &rNew})
        for (const SettingsGroup& rGroup : pSettings->vGroups)
            setNameSpaces.insert(rGroup.olNameSpace);
    std::vector<GroupDifference> vDifferences;
    for (const auto& rolNameSpace : setNameSpaces) {
        GroupDifference oDifference = CompareGroups(FindGroup(rOld, rolNameSpace), FindGroup(rNew, rolNameSpace));
        if (!oDifference.IsEmpty()) vDifferences.push_back(std::move(oDifference));
    }
    return vDifferences;
}

void PrintDifferences(const std::vector<GroupDifference>& rvDifferences, Output& rOutput) {
    for (const GroupDifference& rDifference : rvDifferences) {
        PrintTraits(rDifference, rOutput);
        const auto path = [&](const AttributeBytes& rRecord) {
            return PathText(rDifference.olNameSpace, rRecord.GetAttributeBytesId());
        };
        for (const AttributeBytes* pRecord : rDifference.vpRemoved)
            rOutput.Line(rOutput.Styled(Style::Removed, "- " + path(*pRecord) + "  " + ShownValue(*pRecord)));
        for (const AttributeBytes* pRecord : rDifference.vpAdded)
            rOutput.Line(rOutput.Styled(Style::Added, "+ " + path(*pRecord) + "  " + ShownValue(*pRecord)));
        for (const auto& [pOld, pNew] : rDifference.vChanged)
            rOutput.Line(rOutput.Styled(Style::Changed,
                                        "~ " + path(*pOld) + "  " + ShownValue(*pOld) + " -> " + ShownValue(*pNew)));
    }
}

void AddSettingsDiff(CommandLine& rLine) {
    const auto shpoFiles = std::make_shared<std::pair<std::string, std::string>>();
    rLine.Add("settings", "diff", "Print the attributes added, removed and changed, by name space")
        .Argument("A", shpoFiles->first, "A settings file of any form")
        .Argument("B", shpoFiles->second, "Another")
        .Run([shpoFiles](Output& rOutput) { return Diff(shpoFiles->first, shpoFiles->second, rOutput); });
}

}  // namespace vlm::tool
