/// @file
/// Walks the bytes of records without making objects.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// What follows the fixed part of a payload.
enum class ShapeTail : BYTE {
    None,
    Text,        ///< 16-bit count of UTF-16 units, then the units
    Bytes,       ///< 32-bit count of bytes, then the bytes
    Identifier,  ///< an identifier's tag and payload
    List,        ///< 32-bit length, then a raw-list state of that length
};

/// How deep list values nest in `dwBytes` bytes of records laid end to end: 0 when there is none.
/// The walk keeps no more than a fixed array of positions, visits each byte at most once, and knows the same grammar as
/// the readers: what is behind a bad record of a list is not looked at, because no reader comes there.
/// @throws ExceptionMissingOrBadAttributeBytesFormat when there are more than `uLimit` levels.
unsigned MeasureListNesting(const BYTE* pbyRecords, DWORD dwBytes, unsigned uLimit);

/// Reads a signature.
/// @throws ExceptionMissingOrBadAttributeBytesFormat, with a debug message before it, when it is another one;
///         ExceptionNotEnoughBytesForDesiredDataType for fewer than 4 bytes.
void WalkBufferToCheckSignature(const BYTE*& rpbyCursor, DWORD& rdwRemaining, DWORD dwSignature);

}  // namespace vlm
