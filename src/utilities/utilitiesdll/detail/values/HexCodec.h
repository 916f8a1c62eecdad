/// @file
/// Hexadecimal digits (RFC 4648 section 8) as UTF-16 text.
#pragma once

#include <cstddef>

#include "platform/WinTypes.h"

namespace vlm {

/// Writes two upper-case digits per byte, the high one first: 2 * `cBytes` units, no terminator.
void EncodeHex(const BYTE* pbyData, std::size_t cBytes, XCHAR* pchTarget) noexcept;

/// Reads pairs of digits, either case, into `cUnits` / 2 bytes.
/// @return `cUnits` when all is well; otherwise the index at which the first bad pair begins (the lone last unit of an
///         odd count is one).  The target holds anything from there on.
std::size_t DecodeHex(const XCHAR* pchText, std::size_t cUnits, BYTE* pbyTarget) noexcept;

/// The value of one digit, -1 for any other character.
constexpr int HexDigitValue(XCHAR ch) noexcept {
    if (ch >= VTEXT('0') && ch <= VTEXT('9')) return ch - VTEXT('0');
    if (ch >= VTEXT('A') && ch <= VTEXT('F')) return ch - VTEXT('A') + 10;
    if (ch >= VTEXT('a') && ch <= VTEXT('f')) return ch - VTEXT('a') + 10;
    return -1;
}

}  // namespace vlm
