/// @file
/// Hexadecimal text: two digits per byte, the high half first.
#pragma once

#include <cstddef>
#include <span>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

/// Conversions between bytes and hexadecimal text.  **Threads**: any.
class VLM_API HexText {
public:
    HexText() = delete;

    /// Digit of a value below 16; "0" for a greater one.
    static constexpr XCHAR DigitOf(unsigned uValue, bool fLowerCase = false) noexcept {
        return static_cast<XCHAR>(uValue > 15 ? '0' : (fLowerCase ? "0123456789abcdef" : "0123456789ABCDEF")[uValue]);
    }
    /// Value of a digit in either case, −1 for any other character.
    static constexpr int ValueOf(XCHAR ch) noexcept {
        if (ch >= XCHAR('0') && ch <= XCHAR('9')) return ch - XCHAR('0');
        const unsigned uLetter = (static_cast<unsigned>(ch) | 0x20) - 'a';
        return uLetter < 6 ? static_cast<int>(uLetter) + 10 : -1;
    }

    /// Writes two digits per byte, without a terminator.  @param pchTarget room for twice as many units as there are
    /// bytes.
    static void EncodeTo(std::span<const BYTE> data, XCHAR* pchTarget, bool fLowerCase = false) noexcept;
    /// The digits as a text; empty for no bytes.  @throws out-of-memory as CXString.
    static CXString Encode(std::span<const BYTE> data, bool fLowerCase = false);

    /// Decodes pairs of digits.
    /// @param pbyTarget room for half as many bytes as there are units; bytes before a bad pair are written.
    /// @return units decoded: all of them, or the index of the first pair that is not two digits (a lone last digit
    /// included).
    static std::size_t DecodeTo(XStringView text, BYTE* pbyTarget) noexcept;
};
