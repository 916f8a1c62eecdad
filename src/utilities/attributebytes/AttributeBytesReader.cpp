/// @file
/// Typed look-ups on a single attribute record.
#include "utilities/attributebytes/AttributeBytesReader.h"

#include "utilities/attributebytes/AttributeBytesDataValues.h"
#include "utilities/attributebytes/AttributeBytesDateTimeValue.h"
#include "utilities/attributebytes/AttributeBytesDimensionValues.h"
#include "utilities/attributebytes/AttributeBytesListValue.h"
#include "utilities/attributebytes/AttributeBytesNameIds.h"
#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/AttributeBytesNumberValues.h"
#include "utilities/attributebytes/AttributeBytesOptionValue.h"
#include "utilities/attributebytes/AttributeBytesRawList.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

/// The record's value as one of a kind.
template <class Value>
const Value& GetAs(const AttributeBytes& rRecord, AttributeBytesValueEnum abvteExpected) {
    const AttributeBytesValue& rValue = rRecord.GetAttributeBytesValue();
    if (rValue.GetAttributeBytesValueType() != abvteExpected) {
        VLM_THROW(ExceptionAttributeValueTypeMismatch, VTEXT("Feature %s is not the expected %s feature, it is %s."),
                  rRecord.GetAttributeBytesId().GetDumpDisplayString(true),
                  AttributeBytesValue::GetDebugDisplayString(abvteExpected),
                  AttributeBytesValue::GetDebugDisplayString(rValue.GetAttributeBytesValueType()));
    }
    return static_cast<const Value&>(rValue);
}

const AttributeBytesOptionValue& GetOption(const AttributeBytes& rRecord) {
    return GetAs<AttributeBytesOptionValue>(rRecord, AttributeBytesValue::ABVTE_OPTION);
}

const AttributeBytesRawList& GetRawList(const AttributeBytes& rRecord) {
    const AttributeBytesValue& rValue = rRecord.GetAttributeBytesValue();
    if (!rValue.IsList()) {
        VLM_THROW(ExceptionAttributeValueTypeMismatch,
                  VTEXT("Can't convert a '%s' object to an AttributeBytesListValue!"),
                  AttributeBytesValue::GetDebugDisplayString(rValue.GetAttributeBytesValueType()));
    }
    return static_cast<const AttributeBytesListValue&>(rValue).GetAttributeBytesRawList();
}

}  // namespace

AttributeBytesValueEnum AttributeBytesReader::GetValueTypeFromAttributeBytes(const AttributeBytes& rRecord) noexcept {
    return rRecord.GetAttributeBytesValue().GetAttributeBytesValueType();
}
bool AttributeBytesReader::IsSpecifiedInAttributeBytes(const AttributeBytes& rRecord) noexcept {
    return rRecord.GetAttributeBytesValue().IsSpecified();
}
bool AttributeBytesReader::IsAttributeBytesListEmpty(const AttributeBytes& rRecord) {
    return GetRawList(rRecord).IsEmpty();
}

bool AttributeBytesReader::GetBooleanValueFromAttributeBytes(const AttributeBytes& rRecord) {
    return GetAs<AttributeBytesBooleanValue>(rRecord, AttributeBytesValue::ABVTE_BOOLEAN).GetBooleanValue();
}
LONG AttributeBytesReader::GetIntegerValueFromAttributeBytes(const AttributeBytes& rRecord) {
    return GetAs<AttributeBytesIntegerValue>(rRecord, AttributeBytesValue::ABVTE_INTEGER).GetIntegerValue();
}
void AttributeBytesReader::GetRangeValueFromAttributeBytes(const AttributeBytes& rRecord, LONG& rlLow, LONG& rlHigh) {
    const auto& rRange = GetAs<AttributeBytesRangeValue>(rRecord, AttributeBytesValue::ABVTE_RANGE);
    rlLow = rRange.GetLowValue();
    rlHigh = rRange.GetHighValue();
}
CXString AttributeBytesReader::GetStringValueFromAttributeBytes(const AttributeBytes& rRecord) {
    return GetAs<AttributeBytesStringValue>(rRecord, AttributeBytesValue::ABVTE_STRING).GetStringValue();
}
Dimension AttributeBytesReader::GetDimensionValueFromAttributeBytes(const AttributeBytes& rRecord) {
    return GetAs<AttributeBytesDimensionValue>(rRecord, AttributeBytesValue::ABVTE_DIMENSION).GetDimensionValue();
}
ByteBuffer AttributeBytesReader::GetDataBlobValueFromAttributeBytes(const AttributeBytes& rRecord) {
    return GetAs<AttributeBytesDataBlobValue>(rRecord, AttributeBytesValue::ABVTE_DATABLOB).GetDataBlobValue();
}
UtcTime AttributeBytesReader::GetDateTimeValueFromAttributeBytes(const AttributeBytes& rRecord) {
    return GetAs<AttributeBytesDateTimeValue>(rRecord, AttributeBytesValue::ABVTE_DATETIME).GetDateTimeValue();
}

LONG AttributeBytesReader::GetOptionValueFromAttributeBytes(const AttributeBytes& rRecord) {
    return GetOption(rRecord).GetValueIdValue(rRecord.GetAttributeBytesId()).GetValueId();
}
std::unique_ptr<AttributeBytesId> AttributeBytesReader::GetOptionValueOrNewIdFromAttributeBytes(
    const AttributeBytes& rRecord) {
    return GetOption(rRecord).GetValueIdOrNewValueIdValue(rRecord.GetAttributeBytesId()).Clone();
}
CXString AttributeBytesReader::GetNewValueIdFromAttributeBytes(const AttributeBytes& rRecord) {
    return GetOption(rRecord).GetNewValueIdValue(rRecord.GetAttributeBytesId()).GetValueName();
}
LONG AttributeBytesReader::GetFeatureIdFromAttributeBytes(const AttributeBytes& rRecord) {
    return GetOption(rRecord).GetFeatureIdValue(rRecord.GetAttributeBytesId()).GetFeatureId();
}

std::unique_ptr<AttributeBytesIndexedList> AttributeBytesReader::GetCollectionFromAttributeBytes(
    const AttributeBytes& rRecord) {
    auto apoCollection = std::make_unique<AttributeBytesIndexedList>();
    apoCollection->ImportFromRawList(GetRawList(rRecord));
    return apoCollection;
}
std::unique_ptr<AttributeBytesIndexedList> AttributeBytesReader::GetCollectionFromAttributeBytesByIndex(
    const AttributeBytes& rRecord, LONG lIndex) {
    return GetCollectionFromAttributeBytes(*GetListItemFromAttributeBytes(rRecord, lIndex));
}
void AttributeBytesReader::GetPaperSizesFromAttributeBytes(const AttributeBytes& rRecord, Dimension& rWidth,
                                                           Dimension& rHeight) {
    const Dimension oWidth = GetDimensionValueFromAttributeBytes(*GetListItemFromAttributeBytes(rRecord, 0));
    rHeight = GetDimensionValueFromAttributeBytes(*GetListItemFromAttributeBytes(rRecord, 1));
    rWidth = oWidth;
}
std::vector<AttributeBytesSharedPtr> AttributeBytesReader::GetListOfValuesFromAttributeBytes(
    const AttributeBytes& rRecord) {
    return GetRawList(rRecord).GetAllAttributeBytes();
}
std::vector<LONG> AttributeBytesReader::GetListOfFeaturesFromAttributeBytes(const AttributeBytes& rRecord) {
    return vlm::TranslateOutOfMemory([&rRecord] {
        std::vector<LONG> vlFeatures;
        for (const AttributeBytesSharedPtr& rshpoItem : GetRawList(rRecord)) {
            vlFeatures.push_back(GetFeatureIdFromAttributeBytes(*rshpoItem));
        }
        return vlFeatures;
    });
}
AttributeBytesSharedPtr AttributeBytesReader::GetListItemFromAttributeBytes(const AttributeBytes& rRecord,
                                                                            LONG lIndex) {
    return GetRawList(rRecord).GetAttributeBytesByIndex(lIndex);
}
