/// @file
/// Numbers with dots between, as versions and addresses are written.
#pragma once

#include "platform/XChar.h"

namespace vlm {

/// How many decimal numbers of 1 to `cMostDigits` digits a text is, with one dot between each two; 0 for any other
/// text.
constexpr int CountDottedNumbers(XStringView text, int cMostDigits) noexcept {
    int cNumbers = 1, cDigits = 0;
    for (const XCHAR ch : text) {
        if (ch >= VTEXT('0') && ch <= VTEXT('9')) {
            if (++cDigits > cMostDigits) return 0;
        } else {
            if (ch != VTEXT('.') || cDigits == 0) return 0;
            ++cNumbers;
            cDigits = 0;
        }
    }
    return cDigits == 0 ? 0 : cNumbers;
}

}  // namespace vlm
