/// @file
/// 16-bit texts as narrow ones, so that expectations and failures of tests read as plain text.
#pragma once

#include <string>

#include "platform/XChar.h"

namespace vlm::test {

/// ASCII stays; every other unit becomes "\xHHHH".
inline std::string Narrow(XStringView text) {
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    std::string result;
    for (const XCHAR ch : text) {
        const auto u = static_cast<unsigned>(ch);
        if (u < 0x80) {
            result += static_cast<char>(u);
            continue;
        }
        result += "\\x";
        for (int iShift = 12; iShift >= 0; iShift -= 4)
            result += DIGITS[(u >> iShift) & 0xF];
    }
    return result;
}

}  // namespace vlm::test
