/// @file
/// Takes a conversion of a format text apart.
#include "utilities/utilitiesdll/detail/text/FormatSpec.h"

#include "utilities/utilitiesdll/Format.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

namespace vlm::format {

namespace {

std::uint8_t FlagOf(XCHAR ch) noexcept {
    switch (ch) {
        case '-':
            return FLAG_LEFT;
        case '+':
            return FLAG_PLUS;
        case ' ':
            return FLAG_SPACE;
        case '#':
            return FLAG_ALTERNATE;
        case '0':
            return FLAG_ZERO;
        default:
            return 0;
    }
}

/// Digits or a star; `iNothing` when there are none.
int ParseCount(const XCHAR*& rpch, int iNothing, bool& rbClamped) noexcept {
    if (*rpch == XCHAR('*')) {
        ++rpch;
        return FormatSpec::STAR;
    }
    if (!text::IsDigit(*rpch)) return iNothing;
    int iCount = 0;
    for (; text::IsDigit(*rpch); ++rpch) {
        iCount = iCount * 10 + (*rpch - XCHAR('0'));
        if (iCount > FORMAT_MAX_WIDTH) {
            iCount = FORMAT_MAX_WIDTH;
            rbClamped = true;
        }
    }
    return iCount;
}

Size ParseSize(const XCHAR*& rpch) noexcept {
    const XCHAR ch = *rpch;
    switch (ch) {
        case 'h':
            if (*++rpch != ch) return Size::Short;
            ++rpch;
            return Size::Char;
        case 'l':
            if (*++rpch != ch) return Size::Bits32;
            ++rpch;
            return Size::Bits64;
        case 'I':
            ++rpch;
            if (rpch[0] == XCHAR('6') && rpch[1] == XCHAR('4')) {
                rpch += 2;
            } else if (rpch[0] == XCHAR('3') && rpch[1] == XCHAR('2')) {
                rpch += 2;
                return Size::Bits32;
            }
            return Size::Bits64;
        case 'z':
        case 't':
        case 'j':
            ++rpch;
            return Size::Bits64;
        case 'w':
            ++rpch;
            return Size::Wide;
        case 'L':
            ++rpch;
            return Size::None;  // long double is double, as on Windows
        default:
            return Size::None;
    }
}

}  // namespace

FormatSpec ParseSpec(const XCHAR* pchPercent) noexcept {
    FormatSpec oSpec;
    oSpec.m_pchFirst = pchPercent;
    const XCHAR* pch = pchPercent + 1;
    if (*pch < XCHAR('A')) {  // flags, widths and precisions all come before the letters
        while (const std::uint8_t byFlag = FlagOf(*pch)) {
            oSpec.m_byFlags |= byFlag;
            ++pch;
        }
        oSpec.m_iWidth = ParseCount(pch, FormatSpec::ABSENT, oSpec.m_bClamped);
        if (*pch == XCHAR('.')) {
            ++pch;
            oSpec.m_iPrecision = ParseCount(pch, 0, oSpec.m_bClamped);
        }
    }
    oSpec.m_eSize = ParseSize(pch);
    oSpec.m_chConversion = *pch;
    oSpec.m_pchEnd = *pch ? pch + 1 : pch;
    return oSpec;
}

}  // namespace vlm::format
