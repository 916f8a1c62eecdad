/// @file
/// Records of every kind, as objects and as the bytes that they are written as.
#pragma once

#include <vector>

#include "formats/Buffers.h"
#include "utilities/attributebytes/AttributeBytes.h"
#include "utilities/attributebytes/AttributeBytesCapabilityIds.h"
#include "utilities/attributebytes/AttributeBytesDataValues.h"
#include "utilities/attributebytes/AttributeBytesDateTimeValue.h"
#include "utilities/attributebytes/AttributeBytesDimensionValues.h"
#include "utilities/attributebytes/AttributeBytesIdFactory.h"
#include "utilities/attributebytes/AttributeBytesIndexedList.h"
#include "utilities/attributebytes/AttributeBytesListValue.h"
#include "utilities/attributebytes/AttributeBytesNameIds.h"
#include "utilities/attributebytes/AttributeBytesNameSpaces.h"
#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/AttributeBytesNumberValues.h"
#include "utilities/attributebytes/AttributeBytesOptionValue.h"
#include "utilities/attributebytes/AttributeBytesRawList.h"
#include "utilities/attributebytes/AttributeBytesReader.h"
#include "utilities/attributebytes/AttributeBytesValueFactory.h"

namespace vlm::test {

/// A record of an integer: the shortest way to a record when only its identifier matters.
inline AttributeBytes IntegerRecord(LONG lFeature, LONG lValue = 0) {
    return AttributeBytes(AttributeBytesFeatureId(lFeature), AttributeBytesIntegerValue(lValue));
}

/// A list value of such values.
template <class... Values>
AttributeBytesListValue ListOf(const Values&... values) {
    AttributeBytesRawList oRawList;
    LONG lIndex = 0;
    (oRawList.AddAttributeBytes(AttributeBytes(AttributeBytesListOfValuesItemId(lIndex++), values)), ...);
    return AttributeBytesListValue(oRawList);
}

/// A record FEATURE 1 with a list value of `uDepth` levels of lists, itself included; the innermost is empty.  Built as
/// bytes, so that it may be deeper than the classes allow.
inline ByteBuffer NestedListRecord(unsigned uDepth) {
    // Each level: the record's identifier, tag and flag, then kind, length and "ABRL".
    constexpr DWORD LEVEL = 1 + 4 + 1 + 1 + 1 + 4 + 4;
    const ByteBuffer bbHead = BufferOf("02 01000000 0B 00 00");
    ByteBuffer bb;
    for (unsigned u = uDepth; u-- > 0;)
        bb.append(bbHead).appendDwordValue(4 + u * LEVEL).appendLpbyte(reinterpret_cast<const BYTE*>("ABRL"), 4);
    return bb;
}

/// One record of each value kind and each identifier kind.
inline ByteBuffer RecordCorpus() {
    return BufferOf(
        "02 02010000 02 00 04 07000000"
        "03 0600 440075007000 6C0065007800 03 01 FFFFFFFF"
        "04 FEFFFFFF 04 00 0200 41003400"
        "05 0100 5600 05 00 01"
        "06 03000000 06 00 01000000 E7030000"
        "07 0200 02010000 07 00 64000000 28880400"
        "08 FFFF 0600 530074006100 70006C006500 08 00 38630000"
        "09 01000000 09 00 B0040000 58020000 0100"
        "02 03010000 0A 00 03000000 010203"
        "02 04010000 0B 00 05 0F000000 4142524C 06 00000000 03 00 2A000000"
        "02 05010000 0C 00 C878E06500000000");
}

}  // namespace vlm::test
