// Attribute records as JSON and back.
#include "RecordJson.h"

#include <algorithm>

#include "Failure.h"
#include "utilities/attributebytes/AttributeBytesCapabilityIds.h"
#include "utilities/attributebytes/AttributeBytesDataValues.h"
#include "utilities/attributebytes/AttributeBytesDateTimeValue.h"
#include "utilities/attributebytes/AttributeBytesDimensionValues.h"
#include "utilities/attributebytes/AttributeBytesIdFactory.h"
#include "utilities/attributebytes/AttributeBytesListValue.h"
#include "utilities/attributebytes/AttributeBytesNameIds.h"
#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/AttributeBytesNumberValues.h"
#include "utilities/attributebytes/AttributeBytesOptionValue.h"
#include "utilities/attributebytes/AttributeBytesRawList.h"

namespace vlm::tool {

namespace {

constexpr std::size_t MAX_UNITS = 65535;  // what the count of a counted string holds
constexpr std::size_t PREFIX_LENGTH = 6;  // "ABIDE_", "ABVTE_"

constexpr AttributeBytesIdEnum ID_TYPES[] = {
#define VLM_ATTRIBUTE_ID(tag, enumerator, ...) AttributeBytesId::enumerator,
#include "utilities/attributebytes/AttributeBytesIdList.inl"
};
constexpr AttributeBytesValueEnum VALUE_TYPES[] = {
#define VLM_ATTRIBUTE_VALUE(tag, enumerator, ...) AttributeBytesValue::enumerator,
#include "utilities/attributebytes/AttributeBytesValueList.inl"
};

template <typename Types>
auto TypeByName(const Types& rTypes, const std::string& strName, const JsonPath& rPath) {
    for (const auto eType : rTypes)
        if (NameOfType(eType) == strName) return eType;
    std::string strKnown;
    for (const auto eType : rTypes)
        strKnown += (strKnown.empty() ? "" : ", ") + NameOfType(eType);
    RefuseInput(rPath.Text() + ": not one of " + strKnown);
}

template <typename Derived, typename Base>
const Derived& As(const Base& rObject) noexcept {
    return static_cast<const Derived&>(rObject);
}

Json JsonOf(const CXString& kcsText) {
    return JsonString(kcsText.View());
}

CXString CountedString(JsonObject& rObject, const char* pszName) {
    const XText strUnits = rObject.Units(pszName);
    if (strUnits.size() > MAX_UNITS)
        RefuseInput(rObject.PathOf(pszName).Text() + ": longer than 65535 UTF-16 code units");
    return CXString(XStringView(strUnits));
}

LONG Integer32(JsonObject& rObject, const char* pszName) {
    return static_cast<LONG>(rObject.Integer(pszName, INT32_MIN, INT32_MAX));
}

std::int16_t Integer16(JsonObject& rObject, const char* pszName) {
    return static_cast<std::int16_t>(rObject.Integer(pszName, INT16_MIN, INT16_MAX));
}

Dimension Length(JsonObject& rObject, const char* pszName) {
    return Dimension(static_cast<double>(Integer32(rObject, pszName)), Dimension::DUE_THOUSANDTHS_OF_MM);
}

ByteBuffer Bytes(JsonObject& rObject, const char* pszName) {
    const XText strHex = rObject.Units(pszName);
    ByteBuffer bbResult;
    const bool fUpperCase = std::all_of(strHex.begin(), strHex.end(), [](XCHAR unit) {
        return (unit >= VTEXT('0') && unit <= VTEXT('9')) || (unit >= VTEXT('A') && unit <= VTEXT('F'));
    });
    if (!fUpperCase || strHex.size() % 2 != 0 ||
        !ByteBuffer::ConvertHexBinaryStringToByteBuffer(CXString(XStringView(strHex)), bbResult, false))
        RefuseInput(rObject.PathOf(pszName).Text() + ": not pairs of upper-case hexadecimal digits");
    return bbResult;
}

std::unique_ptr<AttributeBytesValue> ListFromJson(JsonObject& rObject) {
    auto apoList = std::make_unique<AttributeBytesRawList>();
    const auto byKind = static_cast<BYTE>(rObject.Integer("kind", 0, 255));
    const Json& rRecords = rObject.Array("records");
    for (std::size_t i = 0; i < rRecords.size(); ++i)
        apoList->AddAttributeBytes(RecordFromJson(rRecords[i], rObject.PathOf("records").Element(i)));
    return std::make_unique<AttributeBytesListValue>(std::move(apoList), byKind);
}

std::unique_ptr<AttributeBytesValue> DateTimeFromJson(JsonObject& rObject) {
    rObject.Find("utc");  // for people; the seconds count
    return std::make_unique<AttributeBytesDateTimeValue>(UtcTime(rObject.Integer("seconds", INT64_MIN, INT64_MAX)));
}

std::unique_ptr<AttributeBytesValue> PayloadFromJson(AttributeBytesValueEnum eType, JsonObject& rObject) {
    switch (eType) {
        case AttributeBytesValue::ABVTE_OPTION:
            return std::make_unique<AttributeBytesOptionValue>(
                IdFromJson(rObject.Need("option"), rObject.PathOf("option")));
        case AttributeBytesValue::ABVTE_INTEGER:
            return std::make_unique<AttributeBytesIntegerValue>(Integer32(rObject, "value"));
        case AttributeBytesValue::ABVTE_STRING:
            return std::make_unique<AttributeBytesStringValue>(CountedString(rObject, "value"));
        case AttributeBytesValue::ABVTE_BOOLEAN:
            return std::make_unique<AttributeBytesBooleanValue>(rObject.Boolean("value"));
        case AttributeBytesValue::ABVTE_RANGE:
            return std::make_unique<AttributeBytesRangeValue>(Integer32(rObject, "low"), Integer32(rObject, "high"));
        case AttributeBytesValue::ABVTE_RANGEOFDIMENSION:
            return std::make_unique<AttributeBytesRangeOfDimensionValue>(Length(rObject, "low"),
                                                                         Length(rObject, "high"));
        case AttributeBytesValue::ABVTE_DIMENSION:
            return std::make_unique<AttributeBytesDimensionValue>(Length(rObject, "value"));
        case AttributeBytesValue::ABVTE_RESOLUTION:
            return std::make_unique<AttributeBytesResolutionValue>(
                Integer32(rObject, "crossFeed"), Integer32(rObject, "feed"), Integer16(rObject, "units"));
        case AttributeBytesValue::ABVTE_DATABLOB:
            return std::make_unique<AttributeBytesDataBlobValue>(Bytes(rObject, "bytes"));
        case AttributeBytesValue::ABVTE_LIST:
            return ListFromJson(rObject);
        case AttributeBytesValue::ABVTE_DATETIME:
            return DateTimeFromJson(rObject);
        case AttributeBytesValue::ABVTE_UNSPECIFIED:
            break;
    }
    RefuseInput(rObject.Path().Text() + ": a value of no kind");
}

void AddPayload(Json& rJson, const AttributeBytesValue& rValue) {
    switch (rValue.GetAttributeBytesValueType()) {
        case AttributeBytesValue::ABVTE_OPTION:
            rJson["option"] = ToJson(As<AttributeBytesOptionValue>(rValue).GetOptionId());
            break;
        case AttributeBytesValue::ABVTE_INTEGER:
            rJson["value"] = As<AttributeBytesIntegerValue>(rValue).GetIntegerValue();
            break;
        case AttributeBytesValue::ABVTE_STRING:
            rJson["value"] = JsonOf(As<AttributeBytesStringValue>(rValue).GetStringValue());
            break;
        case AttributeBytesValue::ABVTE_BOOLEAN:
            rJson["value"] = As<AttributeBytesBooleanValue>(rValue).GetBooleanValue();
            break;
        case AttributeBytesValue::ABVTE_RANGE:
            rJson["low"] = As<AttributeBytesRangeValue>(rValue).GetLowValue();
            rJson["high"] = As<AttributeBytesRangeValue>(rValue).GetHighValue();
            break;
        case AttributeBytesValue::ABVTE_RANGEOFDIMENSION: {
            const auto& rRange = As<AttributeBytesRangeOfDimensionValue>(rValue);
            rJson["low"] = rRange.GetLowInThousandthsOfMillimetre();
            rJson["high"] = rRange.GetHighInThousandthsOfMillimetre();
            break;
        }
        case AttributeBytesValue::ABVTE_DIMENSION:
            rJson["value"] = As<AttributeBytesDimensionValue>(rValue).GetThousandthsOfMillimetre();
            break;
        case AttributeBytesValue::ABVTE_RESOLUTION: {
            const auto& rResolution = As<AttributeBytesResolutionValue>(rValue);
            rJson["crossFeed"] = rResolution.GetCrossFeed();
            rJson["feed"] = rResolution.GetFeed();
            rJson["units"] = rResolution.GetUnits();
            break;
        }
        case AttributeBytesValue::ABVTE_DATABLOB:
            rJson["bytes"] = JsonOf(As<AttributeBytesDataBlobValue>(rValue).GetDataBlobValue().getAsHexBinaryString());
            break;
        case AttributeBytesValue::ABVTE_LIST: {
            const auto& rList = As<AttributeBytesListValue>(rValue);
            rJson["kind"] = rList.GetKindOfList();
            rJson["records"] = ToJson(rList.GetAttributeBytesRawList());
            break;
        }
        case AttributeBytesValue::ABVTE_DATETIME: {
            const LONGLONG llSeconds = As<AttributeBytesDateTimeValue>(rValue).GetDateTimeValue().GetSeconds();
            rJson["seconds"] = llSeconds;
            if (const std::string strUtc = ToIso8601(llSeconds); !strUtc.empty()) rJson["utc"] = strUtc;
            break;
        }
        case AttributeBytesValue::ABVTE_UNSPECIFIED:
            break;
    }
}

}  // namespace

std::string NameOfType(AttributeBytesIdEnum eType) {
    return ToUtf8(AttributeBytesId::GetDebugDisplayString(eType).View()).substr(PREFIX_LENGTH);
}

std::string NameOfType(AttributeBytesValueEnum eType) {
    return ToUtf8(AttributeBytesValue::GetDebugDisplayString(eType).View()).substr(PREFIX_LENGTH);
}

AttributeBytesIdEnum IdTypeByName(const std::string& strName, const JsonPath& rPath) {
    return TypeByName(ID_TYPES, strName, rPath);
}

AttributeBytesValueEnum ValueTypeByName(const std::string& strName, const JsonPath& rPath) {
    return TypeByName(VALUE_TYPES, strName, rPath);
}

Json ToJson(const AttributeBytesId& rId) {
    Json oJson = {{"type", NameOfType(rId.GetAttributeBytesIdType())}};
    switch (rId.GetAttributeBytesIdType()) {
        case AttributeBytesId::ABIDE_FEATURE:
            oJson["number"] = As<AttributeBytesFeatureId>(rId).GetFeatureId();
            break;
        case AttributeBytesId::ABIDE_NEWFEATURE:
            oJson["name"] = JsonOf(As<AttributeBytesNewFeatureId>(rId).GetFeatureName());
            break;
        case AttributeBytesId::ABIDE_VALUE:
            oJson["number"] = As<AttributeBytesValueId>(rId).GetValueId();
            break;
        case AttributeBytesId::ABIDE_NEWVALUE:
            oJson["name"] = JsonOf(As<AttributeBytesNewValueId>(rId).GetValueName());
            break;
        case AttributeBytesId::ABIDE_LISTOFVALUESITEM:
            oJson["number"] = As<AttributeBytesListOfValuesItemId>(rId).GetIndexValue();
            break;
        case AttributeBytesId::ABIDE_CAPABILITY:
            oJson["number"] = As<AttributeBytesCapabilityId>(rId).GetFeatureId();
            oJson["capability"] = As<AttributeBytesCapabilityId>(rId).GetCapabilityType();
            break;
        case AttributeBytesId::ABIDE_NEWCAPABILITY:
            oJson["name"] = JsonOf(As<AttributeBytesNewCapabilityId>(rId).GetFeatureName());
            oJson["capability"] = As<AttributeBytesNewCapabilityId>(rId).GetCapabilityType();
            break;
        case AttributeBytesId::ABIDE_NAMESPACE:
            oJson["number"] = As<AttributeBytesNameSpacesId>(rId).GetNameSpaceId();
            break;
        case AttributeBytesId::ABIDE_UNSPECIFIED:
            break;
    }
    return oJson;
}

Json ToJson(const AttributeBytesValue& rValue) {
    Json oJson = {{"type", NameOfType(rValue.GetAttributeBytesValueType())}, {"specified", rValue.IsSpecified()}};
    AddPayload(oJson, rValue);
    return oJson;
}

Json ToJson(const AttributeBytes& rRecord) {
    return {{"id", ToJson(rRecord.GetAttributeBytesId())}, {"value", ToJson(rRecord.GetAttributeBytesValue())}};
}

Json ToJson(const AttributeBytesRawList& rList) {
    Json oJson = Json::array();
    for (const AttributeBytesSharedPtr& rshpoRecord : rList)
        oJson.push_back(ToJson(*rshpoRecord));
    return oJson;
}

std::unique_ptr<AttributeBytesId> IdFromJson(const Json& rId, const JsonPath& rPath) {
    JsonObject oObject(rId, rPath);
    const AttributeBytesIdEnum eType = IdTypeByName(oObject.Text("type"), oObject.PathOf("type"));
    std::unique_ptr<AttributeBytesId> apoId;
    switch (eType) {
        case AttributeBytesId::ABIDE_FEATURE:
            apoId = std::make_unique<AttributeBytesFeatureId>(Integer32(oObject, "number"));
            break;
        case AttributeBytesId::ABIDE_NEWFEATURE:
            apoId = std::make_unique<AttributeBytesNewFeatureId>(CountedString(oObject, "name"));
            break;
        case AttributeBytesId::ABIDE_VALUE:
            apoId = std::make_unique<AttributeBytesValueId>(Integer32(oObject, "number"));
            break;
        case AttributeBytesId::ABIDE_NEWVALUE:
            apoId = std::make_unique<AttributeBytesNewValueId>(CountedString(oObject, "name"));
            break;
        case AttributeBytesId::ABIDE_LISTOFVALUESITEM:
            apoId = std::make_unique<AttributeBytesListOfValuesItemId>(Integer32(oObject, "number"));
            break;
        case AttributeBytesId::ABIDE_CAPABILITY:
            apoId = std::make_unique<AttributeBytesCapabilityId>(Integer32(oObject, "number"),
                                                                 Integer16(oObject, "capability"));
            break;
        case AttributeBytesId::ABIDE_NEWCAPABILITY:
            apoId = std::make_unique<AttributeBytesNewCapabilityId>(CountedString(oObject, "name"),
                                                                    Integer16(oObject, "capability"));
            break;
        case AttributeBytesId::ABIDE_NAMESPACE:
            apoId = std::make_unique<AttributeBytesNameSpacesId>(Integer32(oObject, "number"));
            break;
        case AttributeBytesId::ABIDE_UNSPECIFIED:
            RefuseInput(rPath.Text() + ": an identifier of no kind");
    }
    oObject.RefuseUnknown();
    return apoId;
}

std::unique_ptr<AttributeBytesValue> ValueFromJson(const Json& rValue, const JsonPath& rPath) {
    JsonObject oObject(rValue, rPath);
    const AttributeBytesValueEnum eType = ValueTypeByName(oObject.Text("type"), oObject.PathOf("type"));
    const bool fSpecified = oObject.Boolean("specified", true);
    std::unique_ptr<AttributeBytesValue> apoValue = PayloadFromJson(eType, oObject);
    oObject.RefuseUnknown();
    apoValue->SetIsSpecified(fSpecified);
    return apoValue;
}

AttributeBytes RecordFromJson(const Json& rRecord, const JsonPath& rPath) {
    JsonObject oObject(rRecord, rPath);
    std::unique_ptr<AttributeBytesId> apoId = IdFromJson(oObject.Need("id"), oObject.PathOf("id"));
    std::unique_ptr<AttributeBytesValue> apoValue = ValueFromJson(oObject.Need("value"), oObject.PathOf("value"));
    oObject.RefuseUnknown();
    return AttributeBytes(std::move(apoId), std::move(apoValue));
}

std::string ToIso8601(LONGLONG llSeconds) {
    const UtcTime oTime(llSeconds);
    const bool fFourDigits = oTime.GetYear() >= 0 && oTime.GetYear() <= 9999;
    return fFourDigits ? ToUtf8(oTime.GetStringValue().View()) : std::string();
}

}  // namespace vlm::tool
