/// @file
/// Records of every kind, as objects and as the bytes that they are written as.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/Bytes.h"
#include "support/FieldTable.h"
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

inline std::string HexOf(const ByteBuffer& rbb) {
    return ToHex(rbb.data(), rbb.size());
}
inline ByteBuffer BufferOf(std::string_view svHex) {
    return ByteBuffer(FromHex(svHex));
}

/// A record of an integer: the shortest way to a record when only its identifier matters.
inline AttributeBytes IntegerRecord(LONG lFeature, LONG lValue = 0) {
    return AttributeBytes(AttributeBytesFeatureId(lFeature), AttributeBytesIntegerValue(lValue));
}

/// A list value with `uDepth` levels of lists, itself included; the innermost is empty.  Built as bytes, so that it may
/// be deeper than the classes allow: value payload only.
inline std::vector<BYTE> NestedListPayload(unsigned uDepth) {
    // Each level: kind, length, "ABRL", and around the next level a record FEATURE 1 with a list value.
    constexpr std::size_t HEAD = 1 + 4 + 4;
    constexpr std::size_t RECORD = 1 + 4 + 1 + 1;
    std::vector<BYTE> bytes;
    for (unsigned u = 0; u < uDepth; ++u) {
        const std::size_t cbInner = (uDepth - 1 - u) * (HEAD + RECORD);
        const std::size_t cbState = 4 + cbInner;
        bytes.push_back(0);
        for (int i = 0; i < 4; ++i)
            bytes.push_back(static_cast<BYTE>(cbState >> (8 * i)));
        for (const char ch : {'A', 'B', 'R', 'L'})
            bytes.push_back(static_cast<BYTE>(ch));
        if (u + 1 < uDepth) {
            for (const BYTE by : {2, 1, 0, 0, 0, 11, 0})
                bytes.push_back(by);
        }
    }
    return bytes;
}

/// A record FEATURE 1 with such a list.
inline ByteBuffer NestedListRecord(unsigned uDepth) {
    ByteBuffer bb = BufferOf("02 01000000 0B 00");
    const std::vector<BYTE> payload = NestedListPayload(uDepth);
    bb.appendLpbyte(payload.data(), payload.size());
    return bb;
}

/// One record of each value kind and each identifier kind, as a field table.
inline FieldTable RecordCorpusTable() {
    FieldTable oTable("records of every kind");
    const auto text = [&oTable](const std::string& rText) {
        std::vector<BYTE> units;
        for (const char ch : rText) {
            units.push_back(static_cast<BYTE>(ch));
            units.push_back(0);
        }
        oTable.Size(2, rText.size()).Data(units);
    };
    oTable.EndHeader();
    oTable.Tag(2).Number(4, 258).Tag(2).Data({0}).Tag(4).Number(4, 7).EndUnit();
    oTable.Tag(3);
    text("Duplex");
    oTable.Tag(3).Data({1}).Number(4, 0xFFFFFFFF).EndUnit();
    oTable.Tag(4).Number(4, 0xFFFFFFFE).Tag(4).Data({0});
    text("A4 \\ Letter");
    oTable.EndUnit();
    oTable.Tag(5);
    text("V");
    oTable.Tag(5).Data({0}).Data({1}).EndUnit();
    oTable.Tag(6).Number(4, 3).Tag(6).Data({0}).Number(4, 1).Number(4, 999).EndUnit();
    oTable.Tag(7).Number(2, 2).Number(4, 258).Tag(7).Data({0}).Number(4, 100).Number(4, 297000).EndUnit();
    oTable.Tag(8).Number(2, 0xFFFF);
    text("Staple");
    oTable.Tag(8).Data({0}).Number(4, 25400).EndUnit();
    oTable.Tag(9).Number(4, 1).Tag(9).Data({0}).Number(4, 1200).Number(4, 600).Number(2, 1).EndUnit();
    oTable.Tag(2).Number(4, 259).Tag(10).Data({0}).Size(4, 3).Data({1, 2, 3}).EndUnit();
    oTable.Tag(2).Number(4, 260).Tag(11).Data({0}).Data({5}).Size(4, 15).Data({'A', 'B', 'R', 'L'});
    oTable.Tag(6).Number(4, 0).Tag(3).Data({0}).Number(4, 42).EndUnit();
    oTable.Tag(2).Number(4, 261).Tag(12).Data({0}).Number(8, 1709209800).EndUnit();
    return oTable;
}

}  // namespace vlm::test
