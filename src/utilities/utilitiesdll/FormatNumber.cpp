/// @file
/// Numbers as text.
#include "utilities/utilitiesdll/detail/text/FormatNumber.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

#include "utilities/utilitiesdll/Format.h"
#include "utilities/utilitiesdll/detail/text/NarrowText.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

namespace vlm::format {

namespace {

constexpr std::size_t MAX_DIGITS = 22;  // 64 bits in octal

/// Writes the digits backwards from `pchEnd`.  @return the first.
XCHAR* DecimalDigits(std::uint64_t ullValue, XCHAR* pchEnd) noexcept {
    static constexpr auto PAIRS = [] {
        std::array<XCHAR, 200> achPairs{};
        for (std::size_t u = 0; u < 100; ++u) {
            achPairs[2 * u] = static_cast<XCHAR>('0' + u / 10);
            achPairs[2 * u + 1] = static_cast<XCHAR>('0' + u % 10);
        }
        return achPairs;
    }();
    while (ullValue > 0xFFFFFFFF) {
        pchEnd -= 2;
        std::memcpy(pchEnd, &PAIRS[ullValue % 100 * 2], 2 * sizeof(XCHAR));
        ullValue /= 100;
    }
    std::uint32_t dwValue = static_cast<std::uint32_t>(ullValue);  // 32-bit division is the faster one
    while (dwValue >= 100) {
        pchEnd -= 2;
        std::memcpy(pchEnd, &PAIRS[dwValue % 100 * 2], 2 * sizeof(XCHAR));
        dwValue /= 100;
    }
    if (dwValue >= 10) {
        pchEnd -= 2;
        std::memcpy(pchEnd, &PAIRS[dwValue * 2], 2 * sizeof(XCHAR));
    } else if (dwValue > 0) {
        *--pchEnd = static_cast<XCHAR>('0' + dwValue);
    }
    return pchEnd;
}

XCHAR* PowerDigits(std::uint64_t ullValue, int iShift, const char* pchDigits, XCHAR* pchEnd) noexcept {
    for (; ullValue; ullValue >>= iShift)
        *--pchEnd = static_cast<XCHAR>(pchDigits[ullValue & ((1u << iShift) - 1)]);
    return pchEnd;
}

/// Sign or prefix of a number, at most two units.
struct Prefix {
    XCHAR m_ach[3];
    std::size_t m_c = 0;
    void Add(char ch) noexcept { m_ach[m_c++] = static_cast<XCHAR>(ch); }
    void AddSign(const FormatSpec& koSpec, bool bNegative) noexcept {
        if (bNegative) {
            Add('-');
        } else if (koSpec.Has(FLAG_PLUS)) {
            Add('+');
        } else if (koSpec.Has(FLAG_SPACE)) {
            Add(' ');
        }
    }
};

/// Lays out padding, prefix, zeros and a body that is already text.
void PutLaidOut(FormatWriter& roWriter, const FormatSpec& koSpec, const Prefix& koPrefix, std::size_t cZeros,
                XStringView body, bool bZeroPads) noexcept {
    const std::size_t cPad = PadCount(koSpec, koPrefix.m_c + cZeros + body.size());
    if (cPad == 0 && cZeros == 0 && koPrefix.m_c == 0) return roWriter.Append(body);
    const bool bLeft = koSpec.Has(FLAG_LEFT);
    if (!bLeft && !bZeroPads) roWriter.Fill(XCHAR(' '), cPad);
    roWriter.Append(koPrefix.m_ach, koPrefix.m_c);
    roWriter.Fill(XCHAR('0'), cZeros + (!bLeft && bZeroPads ? cPad : 0));
    roWriter.Append(body);
    if (bLeft) roWriter.Fill(XCHAR(' '), cPad);
}

}  // namespace

void PutInteger(FormatWriter& roWriter, const FormatSpec& koSpec, std::uint64_t ullMagnitude, bool bNegative) noexcept {
    XCHAR achDigits[MAX_DIGITS];
    XCHAR* const pchEnd = achDigits + MAX_DIGITS;
    XCHAR* pchFirst;
    Prefix oPrefix;
    const bool bAlternate = koSpec.Has(FLAG_ALTERNATE) && ullMagnitude != 0;
    bool bOctalMark = false;
    switch (koSpec.m_chConversion) {
        case 'x':
            pchFirst = PowerDigits(ullMagnitude, 4, "0123456789abcdef", pchEnd);
            if (bAlternate) oPrefix.Add('0'), oPrefix.Add('x');
            break;
        case 'X':
            pchFirst = PowerDigits(ullMagnitude, 4, "0123456789ABCDEF", pchEnd);
            if (bAlternate) oPrefix.Add('0'), oPrefix.Add('X');
            break;
        case 'o':
            pchFirst = PowerDigits(ullMagnitude, 3, "01234567", pchEnd);
            bOctalMark = koSpec.Has(FLAG_ALTERNATE);
            break;
        case 'u':
            pchFirst = DecimalDigits(ullMagnitude, pchEnd);
            break;
        default:
            pchFirst = DecimalDigits(ullMagnitude, pchEnd);
            oPrefix.AddSign(koSpec, bNegative);
            break;
    }
    const std::size_t cDigits = static_cast<std::size_t>(pchEnd - pchFirst);
    if (cDigits > 0 && koSpec.m_byFlags == 0 && koSpec.m_iWidth <= 0 && koSpec.m_iPrecision < 0) {
        if (oPrefix.m_c) *--pchFirst = XCHAR('-');  // room for it: a signed number has fewer digits than the array
        return roWriter.Append(pchFirst, static_cast<std::size_t>(pchEnd - pchFirst));
    }
    // Without a precision at least one digit is shown; a precision switches the zero flag off.
    const std::size_t cLeast = koSpec.m_iPrecision >= 0 ? static_cast<std::size_t>(koSpec.m_iPrecision) : 1;
    std::size_t cZeros = cLeast > cDigits ? cLeast - cDigits : 0;
    if (bOctalMark && cZeros == 0) cZeros = 1;
    PutLaidOut(roWriter, koSpec, oPrefix, cZeros, XStringView(pchFirst, cDigits),
               koSpec.Has(FLAG_ZERO) && koSpec.m_iPrecision < 0);
}

void PutFloat(FormatWriter& roWriter, const FormatSpec& koSpec, double dblValue) noexcept {
    // Longest text: 309 digits before the point, the point, the precision.
    constexpr std::size_t MAX_TEXT = FORMAT_MAX_WIDTH + 330;
    char achText[MAX_TEXT];
    char* const pchLast = achText + MAX_TEXT - 1;
    char* pchEnd = achText;
    const char chKind = static_cast<char>(koSpec.m_chConversion | 0x20);
    const bool bUpper = text::IsUpper(koSpec.m_chConversion);
    const double dblMagnitude = std::fabs(dblValue);
    const bool bFinite = std::isfinite(dblValue);
    Prefix oPrefix;
    oPrefix.AddSign(koSpec, std::signbit(dblValue));
    if (!bFinite) {
        std::memcpy(achText, std::isnan(dblValue) ? "nan" : "inf", 3);
        pchEnd += 3;
    } else if (chKind == 'a') {
        oPrefix.Add('0');
        oPrefix.Add(bUpper ? 'X' : 'x');
        pchEnd = koSpec.m_iPrecision < 0
                     ? std::to_chars(achText, pchLast, dblMagnitude, std::chars_format::hex).ptr
                     : std::to_chars(achText, pchLast, dblMagnitude, std::chars_format::hex, koSpec.m_iPrecision).ptr;
    } else {
        int iPrecision = koSpec.m_iPrecision < 0 ? 6 : koSpec.m_iPrecision;
        std::chars_format eFormat = chKind == 'f' ? std::chars_format::fixed : std::chars_format::scientific;
        if (chKind == 'g') {
            if (iPrecision == 0) iPrecision = 1;
            eFormat = std::chars_format::general;
            if (koSpec.Has(FLAG_ALTERNATE)) {
                // Trailing zeros stay: the exponent of the rounded value decides between the two forms, as the rule has
                // it.
                pchEnd =
                    std::to_chars(achText, pchLast, dblMagnitude, std::chars_format::scientific, iPrecision - 1).ptr;
                // Scientific text always ends with "e", a sign and digits.
                const char* const pchSign = static_cast<const char*>(std::memchr(achText, 'e', MAX_TEXT)) + 1;
                int iExponent = 0;
                std::from_chars(pchSign + 1, pchEnd, iExponent);
                if (*pchSign == '-') iExponent = -iExponent;
                const bool bFixed = iExponent >= -4 && iExponent < iPrecision;
                eFormat = bFixed ? std::chars_format::fixed : std::chars_format::scientific;
                iPrecision = bFixed ? iPrecision - 1 - iExponent : iPrecision - 1;
            }
        }
        pchEnd = std::to_chars(achText, pchLast, dblMagnitude, eFormat, iPrecision).ptr;
    }
    std::size_t cText = static_cast<std::size_t>(pchEnd - achText);
    if (bFinite && koSpec.Has(FLAG_ALTERNATE) && !std::memchr(achText, '.', cText)) {
        std::size_t uPoint = 0;  // the point goes behind the digits, before an exponent
        while (uPoint < cText && achText[uPoint] != 'e' && achText[uPoint] != 'p')
            ++uPoint;
        std::memmove(achText + uPoint + 1, achText + uPoint, cText - uPoint);
        achText[uPoint] = '.';
        ++cText;
    }
    XCHAR achWide[MAX_TEXT];
    text::WidenAscii(achText, cText, achWide);
    if (bUpper) text::CopyUpper(achWide, achWide, cText);
    PutLaidOut(roWriter, koSpec, oPrefix, 0, XStringView(achWide, cText), koSpec.Has(FLAG_ZERO) && bFinite);
}

}  // namespace vlm::format
