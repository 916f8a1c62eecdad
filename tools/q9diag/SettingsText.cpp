// PATH and VALUE of the command line, and how attributes are printed.
#include "SettingsText.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "Failure.h"
#include "RecordJson.h"
#include "Units.h"
#include "utilities/attributebytes/AttributeBytesCapabilityIds.h"
#include "utilities/attributebytes/AttributeBytesDataValues.h"
#include "utilities/attributebytes/AttributeBytesDateTimeValue.h"
#include "utilities/attributebytes/AttributeBytesDimensionValues.h"
#include "utilities/attributebytes/AttributeBytesListValue.h"
#include "utilities/attributebytes/AttributeBytesNameIds.h"
#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/AttributeBytesNumberValues.h"
#include "utilities/attributebytes/AttributeBytesOptionValue.h"
#include "utilities/attributebytes/AttributeBytesRawList.h"

namespace vlm::tool {

namespace {

constexpr std::size_t MAX_UNITS = 65535;

template <typename Derived, typename Base>
const Derived& As(const Base& rObject) noexcept {
    return static_cast<const Derived&>(rObject);
}

/// Cuts the text at the first separator: what stands before it is returned, `rText` keeps what follows.
std::string_view TakeUpTo(std::string_view& rText, char chSeparator) {
    const std::size_t uEnd = rText.find(chSeparator);
    const std::string_view strBefore = rText.substr(0, uEnd);
    rText = uEnd == std::string_view::npos ? std::string_view() : rText.substr(uEnd + 1);
    return strBefore;
}

template <typename Number>
Number ParseInteger(std::string_view strText, const char* pszWhat) {
    Number number = 0;
    const char* const pszEnd = strText.data() + strText.size();
    const auto [pszStop, eError] = std::from_chars(strText.data(), pszEnd, number);
    if (eError != std::errc() || pszStop != pszEnd)
        RefuseInput(std::string(pszWhat) + ": not a " + std::to_string(8 * sizeof(Number)) +
                    "-bit integer: " + Printable(strText));
    return number;
}

LONG ParseLong(std::string_view strText, const char* pszWhat) {
    return ParseInteger<std::int32_t>(strText, pszWhat);
}

CXString ParseCounted(std::string_view strText, const char* pszWhat) {
    const XText strUnits = FromUtf8(strText, pszWhat);
    if (strUnits.size() > MAX_UNITS) RefuseInput(std::string(pszWhat) + ": longer than 65535 UTF-16 code units");
    return CXString(XStringView(strUnits));
}

/// NAME:CAPABILITY, where the name may hold colons.
std::unique_ptr<AttributeBytesId> ParseNewCapability(std::string_view strRest) {
    const std::size_t uColon = strRest.rfind(':');
    if (uColon == std::string_view::npos) RefuseInput("newcapability: expected NAME:CAPABILITY");
    return std::make_unique<AttributeBytesNewCapabilityId>(
        ParseCounted(strRest.substr(0, uColon), "newcapability"),
        ParseInteger<std::int16_t>(strRest.substr(uColon + 1), "newcapability"));
}

Dimension ParseStoredLength(std::string_view strText) {
    const Dimension oLength = ParseLength(strText);
    const double dThousandths = oLength.GetDimensionInThousandthsOfMM();
    if (dThousandths < INT32_MIN || dThousandths > INT32_MAX)
        RefuseInput("a length beyond 2147483.647 mm: " + Printable(strText));
    return oLength;
}

std::unique_ptr<AttributeBytesValue> ParseResolution(std::string_view strRest) {
    const LONG lCrossFeed = ParseLong(TakeUpTo(strRest, 'x'), "resolution");
    const LONG lFeed = ParseLong(TakeUpTo(strRest, ':'), "resolution");
    return std::make_unique<AttributeBytesResolutionValue>(lCrossFeed, lFeed,
                                                           ParseInteger<std::int16_t>(strRest, "resolution"));
}

std::unique_ptr<AttributeBytesValue> ParseBlob(std::string_view strRest) {
    ByteBuffer bbBytes;
    if (strRest.size() % 2 != 0 || !ByteBuffer::ConvertHexBinaryStringToByteBuffer(
                                       CXString(XStringView(FromUtf8(strRest, "blob"))), bbBytes, false))
        RefuseInput("blob: not pairs of hexadecimal digits");
    return std::make_unique<AttributeBytesDataBlobValue>(bbBytes);
}

std::unique_ptr<AttributeBytesValue> ParseDateTime(std::string_view strRest) {
    UtcTime oTime;
    if (!oTime.TrySetStringValue(CXString(XStringView(FromUtf8(strRest, "datetime")))))
        oTime.SetSeconds(ParseInteger<LONGLONG>(strRest, "datetime"));
    return std::make_unique<AttributeBytesDateTimeValue>(oTime);
}

bool ParseBoolean(std::string_view strText) {
    if (strText != "true" && strText != "false") RefuseInput("boolean: not true or false: " + Printable(strText));
    return strText == "true";
}

/// Thousandths of a millimetre as millimetres, exactly: 210000 is "210mm", -1 is "-0.001mm".
std::string MillimetreText(LONG lThousandths) {
    const LONGLONG llMagnitude = std::llabs(static_cast<LONGLONG>(lThousandths));
    std::string strText(lThousandths < 0 ? "-" : "");
    strText += std::to_string(llMagnitude / 1000);
    if (llMagnitude % 1000 != 0) {
        char achFraction[8];
        std::snprintf(achFraction, sizeof achFraction, ".%03d", static_cast<int>(llMagnitude % 1000));
        strText += achFraction;
        while (strText.back() == '0')
            strText.pop_back();
    }
    return strText + "mm";
}

std::string BlobText(const ByteBuffer& rbbBytes, std::size_t cMostBytes) {
    if (rbbBytes.size() <= cMostBytes) return "blob:" + ToUtf8(rbbBytes.getAsHexBinaryString().View());
    const ByteBuffer bbStart(rbbBytes.data(), cMostBytes);
    return "blob:" + ToUtf8(bbStart.getAsHexBinaryString().View()) + "... (" + std::to_string(rbbBytes.size()) +
           " bytes)";
}

std::string Number(LONGLONG llNumber) {
    return std::to_string(llNumber);
}

}  // namespace

SettingsPath ParsePath(std::string_view strPath, const Settings& rSettings) {
    SettingsPath oPath;
    if (rSettings.HasNameSpaces()) {
        if (strPath.find('/') == std::string_view::npos)
            RefuseInput("a path in this file is NAMESPACE/ID, as in 1/feature:258: " + Printable(strPath));
        oPath.olNameSpace = ParseLong(TakeUpTo(strPath, '/'), "name space");
    }
    oPath.apoId = ParseId(strPath);
    return oPath;
}

std::unique_ptr<AttributeBytesId> ParseId(std::string_view strId) {
    std::string_view strRest = strId;
    const std::string_view strType = TakeUpTo(strRest, ':');
    if (strType == "feature") return std::make_unique<AttributeBytesFeatureId>(ParseLong(strRest, "feature"));
    if (strType == "newfeature")
        return std::make_unique<AttributeBytesNewFeatureId>(ParseCounted(strRest, "newfeature"));
    if (strType == "value") return std::make_unique<AttributeBytesValueId>(ParseLong(strRest, "value"));
    if (strType == "newvalue") return std::make_unique<AttributeBytesNewValueId>(ParseCounted(strRest, "newvalue"));
    if (strType == "item") return std::make_unique<AttributeBytesListOfValuesItemId>(ParseLong(strRest, "item"));
    if (strType == "namespace") return std::make_unique<AttributeBytesNameSpacesId>(ParseLong(strRest, "namespace"));
    if (strType == "newcapability") return ParseNewCapability(strRest);
    if (strType == "capability") {
        const LONG lFeature = ParseLong(TakeUpTo(strRest, ':'), "capability");
        return std::make_unique<AttributeBytesCapabilityId>(lFeature,
                                                            ParseInteger<std::int16_t>(strRest, "capability"));
    }
    RefuseInput(
        "no identifier: " + Printable(strId) +
        " (feature:N, newfeature:NAME, value:N, newvalue:NAME, item:N, capability:N:TYPE, newcapability:NAME:TYPE"
        " or namespace:N)");
}

std::unique_ptr<AttributeBytesValue> ParseValue(std::string_view strValue) {
    if (strValue.starts_with('{')) return ValueFromJson(ParseJson(strValue), JsonPath());
    std::string_view strRest = strValue;
    const std::string_view strType = TakeUpTo(strRest, ':');
    if (strType == "option") return std::make_unique<AttributeBytesOptionValue>(ParseId(strRest));
    if (strType == "integer") return std::make_unique<AttributeBytesIntegerValue>(ParseLong(strRest, "integer"));
    if (strType == "string") return std::make_unique<AttributeBytesStringValue>(ParseCounted(strRest, "string"));
    if (strType == "boolean") return std::make_unique<AttributeBytesBooleanValue>(ParseBoolean(strRest));
    if (strType == "range") {
        const LONG lLow = ParseLong(TakeUpTo(strRest, ':'), "range");
        return std::make_unique<AttributeBytesRangeValue>(lLow, ParseLong(strRest, "range"));
    }
    if (strType == "rangeofdimension") {
        const Dimension oLow = ParseStoredLength(TakeUpTo(strRest, ':'));
        return std::make_unique<AttributeBytesRangeOfDimensionValue>(oLow, ParseStoredLength(strRest));
    }
    if (strType == "dimension") return std::make_unique<AttributeBytesDimensionValue>(ParseStoredLength(strRest));
    if (strType == "resolution") return ParseResolution(strRest);
    if (strType == "blob") return ParseBlob(strRest);
    if (strType == "datetime") return ParseDateTime(strRest);
    RefuseInput("no value: " + Printable(strValue) +
                " (option:ID, integer:N, string:TEXT, boolean:true, range:LOW:HIGH, rangeofdimension:LOW:HIGH,"
                " dimension:LENGTH, resolution:CROSSFEEDxFEED:UNITS, blob:HEX, datetime:UTC, or JSON)");
}

std::string TextOf(const AttributeBytesId& rId) {
    switch (rId.GetAttributeBytesIdType()) {
        case AttributeBytesId::ABIDE_FEATURE:
            return "feature:" + Number(As<AttributeBytesFeatureId>(rId).GetFeatureId());
        case AttributeBytesId::ABIDE_NEWFEATURE:
            return "newfeature:" + Printable(As<AttributeBytesNewFeatureId>(rId).GetFeatureName().View());
        case AttributeBytesId::ABIDE_VALUE:
            return "value:" + Number(As<AttributeBytesValueId>(rId).GetValueId());
        case AttributeBytesId::ABIDE_NEWVALUE:
            return "newvalue:" + Printable(As<AttributeBytesNewValueId>(rId).GetValueName().View());
        case AttributeBytesId::ABIDE_LISTOFVALUESITEM:
            return "item:" + Number(As<AttributeBytesListOfValuesItemId>(rId).GetIndexValue());
        case AttributeBytesId::ABIDE_CAPABILITY: {
            const auto& rCapability = As<AttributeBytesCapabilityId>(rId);
            return "capability:" + Number(rCapability.GetFeatureId()) + ":" + Number(rCapability.GetCapabilityType());
        }
        case AttributeBytesId::ABIDE_NEWCAPABILITY: {
            const auto& rCapability = As<AttributeBytesNewCapabilityId>(rId);
            return "newcapability:" + Printable(rCapability.GetFeatureName().View()) + ":" +
                   Number(rCapability.GetCapabilityType());
        }
        case AttributeBytesId::ABIDE_NAMESPACE:
            return "namespace:" + Number(As<AttributeBytesNameSpacesId>(rId).GetNameSpaceId());
        case AttributeBytesId::ABIDE_UNSPECIFIED:
            break;
    }
    return "?";
}

std::string TextOf(const AttributeBytesValue& rValue, std::size_t cMostBytes) {
    switch (rValue.GetAttributeBytesValueType()) {
        case AttributeBytesValue::ABVTE_OPTION:
            return "option:" + TextOf(As<AttributeBytesOptionValue>(rValue).GetOptionId());
        case AttributeBytesValue::ABVTE_INTEGER:
            return "integer:" + Number(As<AttributeBytesIntegerValue>(rValue).GetIntegerValue());
        case AttributeBytesValue::ABVTE_STRING:
            return "string:" + Printable(As<AttributeBytesStringValue>(rValue).GetStringValue().View());
        case AttributeBytesValue::ABVTE_BOOLEAN:
            return As<AttributeBytesBooleanValue>(rValue).GetBooleanValue() ? "boolean:true" : "boolean:false";
        case AttributeBytesValue::ABVTE_RANGE: {
            const auto& rRange = As<AttributeBytesRangeValue>(rValue);
            return "range:" + Number(rRange.GetLowValue()) + ":" + Number(rRange.GetHighValue());
        }
        case AttributeBytesValue::ABVTE_RANGEOFDIMENSION: {
            const auto& rRange = As<AttributeBytesRangeOfDimensionValue>(rValue);
            return "rangeofdimension:" + MillimetreText(rRange.GetLowInThousandthsOfMillimetre()) + ":" +
                   MillimetreText(rRange.GetHighInThousandthsOfMillimetre());
        }
        case AttributeBytesValue::ABVTE_DIMENSION:
            return "dimension:" + MillimetreText(As<AttributeBytesDimensionValue>(rValue).GetThousandthsOfMillimetre());
        case AttributeBytesValue::ABVTE_RESOLUTION: {
            const auto& rResolution = As<AttributeBytesResolutionValue>(rValue);
            return "resolution:" + Number(rResolution.GetCrossFeed()) + "x" + Number(rResolution.GetFeed()) + ":" +
                   Number(rResolution.GetUnits());
        }
        case AttributeBytesValue::ABVTE_DATABLOB:
            return BlobText(As<AttributeBytesDataBlobValue>(rValue).GetDataBlobValue(), cMostBytes);
        case AttributeBytesValue::ABVTE_LIST: {
            const auto& rList = As<AttributeBytesListValue>(rValue);
            return "list of kind " + Number(rList.GetKindOfList()) + ", " +
                   Number(static_cast<LONGLONG>(rList.GetAttributeBytesRawList().GetAllAttributeBytes().size())) +
                   " records";
        }
        case AttributeBytesValue::ABVTE_DATETIME: {
            const LONGLONG llSeconds = As<AttributeBytesDateTimeValue>(rValue).GetDateTimeValue().GetSeconds();
            const std::string strUtc = ToIso8601(llSeconds);
            return "datetime:" + (strUtc.empty() ? Number(llSeconds) : strUtc);
        }
        case AttributeBytesValue::ABVTE_UNSPECIFIED:
            break;
    }
    return "?";
}

std::string PathText(const std::optional<LONG>& rolNameSpace, const AttributeBytesId& rId) {
    std::string strPath;
    if (rolNameSpace) strPath = Number(*rolNameSpace) + "/";
    return strPath += TextOf(rId);
}

}  // namespace vlm::tool
