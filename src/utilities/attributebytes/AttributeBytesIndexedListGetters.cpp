/// @file
/// The typed look-ups of the indexed list: find the record, then read its value.
#include "utilities/attributebytes/AttributeBytesIndexedList.h"
#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/AttributeBytesReader.h"

LONG AttributeBytesIndexedList::GetOptionValue(const AttributeBytesId& rId) const {
    return AttributeBytesReader::GetOptionValueFromAttributeBytes(GetAttributeBytesRef(rId));
}
LONG AttributeBytesIndexedList::GetOptionValueByIndex(const AttributeBytesId& rId, LONG lIndex) const {
    return AttributeBytesReader::GetOptionValueFromAttributeBytes(
        *AttributeBytesReader::GetListItemFromAttributeBytes(GetAttributeBytesRef(rId), lIndex));
}
std::unique_ptr<AttributeBytesId> AttributeBytesIndexedList::GetOptionValueOrNewId(
    const AttributeBytesFeatureId& rFeatureId) const {
    return GetOptionValueOrNewIdByAnyId(rFeatureId);
}
std::unique_ptr<AttributeBytesId> AttributeBytesIndexedList::GetOptionValueOrNewIdByAnyId(
    const AttributeBytesId& rId) const {
    return AttributeBytesReader::GetOptionValueOrNewIdFromAttributeBytes(GetAttributeBytesRef(rId));
}
CXString AttributeBytesIndexedList::GetNewOptionValueId(const AttributeBytesId& rId) const {
    return AttributeBytesReader::GetNewValueIdFromAttributeBytes(GetAttributeBytesRef(rId));
}
CXString AttributeBytesIndexedList::GetStringValue(const AttributeBytesId& rId) const {
    return AttributeBytesReader::GetStringValueFromAttributeBytes(GetAttributeBytesRef(rId));
}
LONG AttributeBytesIndexedList::GetIntegerValue(const AttributeBytesId& rId) const {
    return AttributeBytesReader::GetIntegerValueFromAttributeBytes(GetAttributeBytesRef(rId));
}
void AttributeBytesIndexedList::GetRangeOfIntegerValue(const AttributeBytesId& rId, LONG& rlLow, LONG& rlHigh) const {
    AttributeBytesReader::GetRangeValueFromAttributeBytes(GetAttributeBytesRef(rId), rlLow, rlHigh);
}
void AttributeBytesIndexedList::GetRangeOfIntegerValueByIndex(const AttributeBytesId& rId, LONG lIndex, LONG& rlLow,
                                                              LONG& rlHigh) const {
    AttributeBytesReader::GetRangeValueFromAttributeBytes(
        *AttributeBytesReader::GetListItemFromAttributeBytes(GetAttributeBytesRef(rId), lIndex), rlLow, rlHigh);
}
Dimension AttributeBytesIndexedList::GetDimensionValue(const AttributeBytesId& rId) const {
    return AttributeBytesReader::GetDimensionValueFromAttributeBytes(GetAttributeBytesRef(rId));
}
ByteBuffer AttributeBytesIndexedList::GetDataBlobValue(const AttributeBytesId& rId) const {
    return AttributeBytesReader::GetDataBlobValueFromAttributeBytes(GetAttributeBytesRef(rId));
}
UtcTime AttributeBytesIndexedList::GetDateTimeValue(const AttributeBytesId& rId) const {
    return AttributeBytesReader::GetDateTimeValueFromAttributeBytes(GetAttributeBytesRef(rId));
}
bool AttributeBytesIndexedList::GetBooleanValue(const AttributeBytesId& rId) const {
    return AttributeBytesReader::GetBooleanValueFromAttributeBytes(GetAttributeBytesRef(rId));
}
void AttributeBytesIndexedList::GetPaperSizeValues(const AttributeBytesId& rId, Dimension& rWidth,
                                                   Dimension& rHeight) const {
    AttributeBytesReader::GetPaperSizesFromAttributeBytes(GetAttributeBytesRef(rId), rWidth, rHeight);
}
std::unique_ptr<AttributeBytesIndexedList> AttributeBytesIndexedList::GetCollection(const AttributeBytesId& rId) const {
    return AttributeBytesReader::GetCollectionFromAttributeBytes(GetAttributeBytesRef(rId));
}
std::unique_ptr<AttributeBytesIndexedList> AttributeBytesIndexedList::GetCollectionByIndex(const AttributeBytesId& rId,
                                                                                           LONG lIndex) const {
    return AttributeBytesReader::GetCollectionFromAttributeBytesByIndex(GetAttributeBytesRef(rId), lIndex);
}
std::vector<AttributeBytesSharedPtr> AttributeBytesIndexedList::GetListOfValues(const AttributeBytesId& rId) const {
    return AttributeBytesReader::GetListOfValuesFromAttributeBytes(GetAttributeBytesRef(rId));
}
std::vector<LONG> AttributeBytesIndexedList::GetListOfFeatures(const AttributeBytesId& rId) const {
    return AttributeBytesReader::GetListOfFeaturesFromAttributeBytes(GetAttributeBytesRef(rId));
}
const AttributeBytesValue& AttributeBytesIndexedList::GetAttributeBytesValue(const AttributeBytesId& rId) const {
    return GetAttributeBytesRef(rId).GetAttributeBytesValue();
}
