/// @file
/// Bytes and texts as tests write and print them.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/WinTypes.h"

namespace vlm::test {

/// Bytes from hexadecimal digits; blanks are for the reader: `FromHex("4142 00FF")`.
inline std::vector<BYTE> FromHex(std::string_view svDigits) {
    std::vector<BYTE> vbyResult;
    int iHigh = -1;
    for (const char c : svDigits) {
        if (c == ' ' || c == '\n') continue;
        const std::size_t iDigit = std::string_view("0123456789ABCDEFabcdef").find(c);
        if (iDigit == std::string_view::npos) throw std::invalid_argument("not a hexadecimal digit");
        const int iValue = static_cast<int>(iDigit < 16 ? iDigit : iDigit - 6);
        if (iHigh < 0) {
            iHigh = iValue;
        } else {
            vbyResult.push_back(static_cast<BYTE>(iHigh * 16 + iValue));
            iHigh = -1;
        }
    }
    if (iHigh >= 0) throw std::invalid_argument("an odd number of hexadecimal digits");
    return vbyResult;
}

/// Upper-case digits without blanks, so that a failed comparison reads well.
inline std::string ToHex(const void* pData, std::size_t cBytes) {
    std::string digits;
    for (std::size_t i = 0; i < cBytes; ++i) {
        const BYTE by = static_cast<const BYTE*>(pData)[i];
        digits += "0123456789ABCDEF"[by >> 4];
        digits += "0123456789ABCDEF"[by & 15];
    }
    return digits;
}
inline std::string ToHex(const std::vector<BYTE>& rvbyData) {
    return ToHex(rvbyData.data(), rvbyData.size());
}

/// The bytes of a narrow text, without terminator.
inline std::vector<BYTE> BytesOf(std::string_view svText) {
    return {svText.begin(), svText.end()};
}

/// A text for messages of the test framework: ASCII as it is, other units as \uXXXX.
inline std::string Printable(XStringView svText) {
    std::string text;
    for (const XCHAR unit : svText) {
        const unsigned ui = unit;
        if (ui >= 0x20 && ui < 0x7F) {
            text += static_cast<char>(ui);
        } else {
            const BYTE abyUnit[] = {static_cast<BYTE>(ui >> 8), static_cast<BYTE>(ui)};
            text += "\\u" + ToHex(abyUnit, sizeof(abyUnit));
        }
    }
    return text;
}

/// Code units of an ASCII text.
inline std::basic_string<XCHAR> Wide(std::string_view svText) {
    return {svText.begin(), svText.end()};
}

}  // namespace vlm::test
