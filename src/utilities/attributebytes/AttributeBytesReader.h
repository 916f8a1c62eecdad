/// @file
/// Typed look-ups on a single attribute record.
#pragma once

#include <memory>
#include <vector>

#include "utilities/attributebytes/AttributeBytesIndexedList.h"

/// Getters that say what they expect of a record's value.  An unspecified value is answered like any other; ask
/// IsSpecifiedInAttributeBytes first.
/// **Threads**: no state of its own.
/// **Failure**: a value of another kind throws ExceptionAttributeValueTypeMismatch.  The getters with an index expect a
/// list value, count its records from 0, and throw ExceptionIndexOutOfBounds for an index outside.  Getters that walk a
/// list throw as reading its records does.
class VLM_API AttributeBytesReader {
public:
    AttributeBytesReader() = delete;

    static AttributeBytesValueEnum GetValueTypeFromAttributeBytes(const AttributeBytes& rRecord) noexcept;
    static bool IsSpecifiedInAttributeBytes(const AttributeBytes& rRecord) noexcept;
    /// Expects a list value.
    static bool IsAttributeBytesListEmpty(const AttributeBytes& rRecord);

    static bool GetBooleanValueFromAttributeBytes(const AttributeBytes& rRecord);
    static LONG GetIntegerValueFromAttributeBytes(const AttributeBytes& rRecord);
    static void GetRangeValueFromAttributeBytes(const AttributeBytes& rRecord, LONG& rlLow, LONG& rlHigh);
    static CXString GetStringValueFromAttributeBytes(const AttributeBytes& rRecord);
    static Dimension GetDimensionValueFromAttributeBytes(const AttributeBytes& rRecord);
    static ByteBuffer GetDataBlobValueFromAttributeBytes(const AttributeBytes& rRecord);
    static UtcTime GetDateTimeValueFromAttributeBytes(const AttributeBytes& rRecord);
    /// Expects an option that names a numbered value.  @return its number.
    static LONG GetOptionValueFromAttributeBytes(const AttributeBytes& rRecord);
    /// Expects an option that names a numbered or a named value.  @return a copy of the identifier.
    static std::unique_ptr<AttributeBytesId> GetOptionValueOrNewIdFromAttributeBytes(const AttributeBytes& rRecord);
    /// Expects an option that names a named value.  @return its name.
    static CXString GetNewValueIdFromAttributeBytes(const AttributeBytes& rRecord);
    /// Expects an option that names a numbered feature.  @return its number.
    static LONG GetFeatureIdFromAttributeBytes(const AttributeBytes& rRecord);

    /// Expects a list value with every identifier at most once.  @return its records as an indexed list.
    static std::unique_ptr<AttributeBytesIndexedList> GetCollectionFromAttributeBytes(const AttributeBytes& rRecord);
    /// Expects a list of collections.  @return the one at an index.
    static std::unique_ptr<AttributeBytesIndexedList> GetCollectionFromAttributeBytesByIndex(
        const AttributeBytes& rRecord, LONG lIndex);
    /// Expects a list value whose first two records have dimension values: width, then height.  Further records are
    /// left alone.
    static void GetPaperSizesFromAttributeBytes(const AttributeBytes& rRecord, Dimension& rWidth, Dimension& rHeight);
    /// Expects a list value.  @return its records in list order.
    static std::vector<AttributeBytesSharedPtr> GetListOfValuesFromAttributeBytes(const AttributeBytes& rRecord);
    /// Expects a list value whose records are options that name numbered features.  @return the numbers in list order.
    static std::vector<LONG> GetListOfFeaturesFromAttributeBytes(const AttributeBytes& rRecord);
    /// Expects a list value.  @return the record at an index.
    static AttributeBytesSharedPtr GetListItemFromAttributeBytes(const AttributeBytes& rRecord, LONG lIndex);
};
