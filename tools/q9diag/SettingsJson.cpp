// Settings files as JSON and back.
#include <set>

#include "Failure.h"
#include "RecordJson.h"
#include "Settings.h"

namespace vlm::tool {

namespace {

constexpr std::int64_t SCHEMA_VERSION = 1;

Json RecordsToJson(const SettingsGroup& rGroup) {
    Json oJson = Json::array();
    for (const AttributeBytesSharedPtr& rshpoRecord : rGroup.vshpoRecords)
        oJson.push_back(ToJson(*rshpoRecord));
    return oJson;
}

void ReadRecords(JsonObject& rObject, SettingsGroup& rGroup) {
    const Json& rAttributes = rObject.Array("attributes");
    for (std::size_t i = 0; i < rAttributes.size(); ++i) {
        rGroup.vshpoRecords.emplace_back(
            std::make_unique<AttributeBytes>(RecordFromJson(rAttributes[i], rObject.PathOf("attributes").Element(i))));
    }
}

void ReadNameSpaces(JsonObject& rDocument, Settings& rSettings) {
    if (rDocument.Find("driverVersion")) {
        const CXString csVersion(XStringView(rDocument.Units("driverVersion")));
        if (!DriverVersion::TryParse(csVersion, rSettings.oVersion))
            RefuseInput("driverVersion: not up to four numbers from 0 to 65535 with dots between");
    }
    const Json& rNameSpaces = rDocument.Array("nameSpaces");
    std::set<LONG> setSeen;
    for (std::size_t i = 0; i < rNameSpaces.size(); ++i) {
        JsonObject oNameSpace(rNameSpaces[i], rDocument.PathOf("nameSpaces").Element(i));
        SettingsGroup oGroup;
        oGroup.olNameSpace = static_cast<LONG>(oNameSpace.Integer("nameSpace", INT32_MIN, INT32_MAX));
        if (!setSeen.insert(*oGroup.olNameSpace).second)
            RefuseInput(oNameSpace.PathOf("nameSpace").Text() + ": the name space stands twice");
        oGroup.byKind = static_cast<BYTE>(oNameSpace.Integer("kind", 0, 255));
        oGroup.bSpecified = oNameSpace.Boolean("specified", true);
        ReadRecords(oNameSpace, oGroup);
        oNameSpace.RefuseUnknown();
        rSettings.vGroups.push_back(std::move(oGroup));
    }
}

}  // namespace

Json ToJson(const Settings& rSettings) {
    Json oJson = {{"form", NameOf(rSettings.eForm)}};
    if (rSettings.eForm == Form::Record) {
        const AttributeBytes& rRecord = *rSettings.vGroups.at(0).vshpoRecords.at(0);
        oJson["id"] = ToJson(rRecord.GetAttributeBytesId());
        oJson["value"] = ToJson(rRecord.GetAttributeBytesValue());
    } else if (!rSettings.HasNameSpaces()) {
        oJson["attributes"] = RecordsToJson(rSettings.vGroups.at(0));
    } else {
        oJson["driverVersion"] = ToUtf8(rSettings.oVersion.GetStringValue().View());
        Json& rNameSpaces = oJson["nameSpaces"] = Json::array();
        for (const SettingsGroup& rGroup : rSettings.vGroups) {
            Json oGroup = {{"nameSpace", rGroup.olNameSpace.value_or(0)}, {"kind", rGroup.byKind}};
            if (!rGroup.bSpecified) oGroup["specified"] = false;
            oGroup["attributes"] = RecordsToJson(rGroup);
            rNameSpaces.push_back(std::move(oGroup));
        }
    }
    return oJson;
}

Settings SettingsFromJson(const Json& rDocument) {
    JsonObject oDocument(rDocument, JsonPath());
    if (oDocument.Find("schemaVersion")) oDocument.Integer("schemaVersion", SCHEMA_VERSION, SCHEMA_VERSION);
    Settings oSettings;
    oSettings.eForm = FormByName(oDocument.Text("form"), oDocument.PathOf("form"));
    if (oSettings.HasNameSpaces()) {
        ReadNameSpaces(oDocument, oSettings);
    } else if (oSettings.eForm == Form::Record) {
        oSettings.vGroups.emplace_back();
        oSettings.vGroups[0].vshpoRecords.emplace_back(
            std::make_unique<AttributeBytes>(IdFromJson(oDocument.Need("id"), oDocument.PathOf("id")),
                                             ValueFromJson(oDocument.Need("value"), oDocument.PathOf("value"))));
    } else {
        oSettings.vGroups.emplace_back();
        ReadRecords(oDocument, oSettings.vGroups[0]);
    }
    oDocument.RefuseUnknown();
    return oSettings;
}

}  // namespace vlm::tool
