/// @file
/// Numbers: rounding, parsing and formatting.
#include "utilities/utilitiesdll/Number.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>

#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/HexText.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"
#include "utilities/utilitiesdll/detail/values/Rounding.h"

namespace {

bool IsBlank(XCHAR ch) noexcept {
    return ch == VTEXT(' ') || ch == VTEXT('\t');
}

XStringView WithoutBlanks(XStringView text) noexcept {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

/// The digits behind "0x".
bool ParseHexadecimal(XStringView digits, double& rdblValue) noexcept {
    if (digits.empty()) return false;
    ULONGLONG ullValue = 0;
    for (const XCHAR ch : digits) {
        const int iDigit = HexText::ValueOf(ch);
        if (iDigit < 0 || ullValue >> 60 != 0) return false;
        ullValue = ullValue << 4 | static_cast<ULONGLONG>(iDigit);
    }
    rdblValue = static_cast<double>(ullValue);
    return true;
}

/// Digits with at most one point among them.
bool ParseDecimal(XStringView text, double& rdblValue) {
    std::string sNarrow;
    bool fPoint = false;
    bool fDigit = false;
    bool fWhole = false;  // a digit other than 0 before the point
    for (const XCHAR ch : text) {
        if (ch == VTEXT('.') && !fPoint) {
            fPoint = true;
        } else if (vlm::text::IsDigit(ch)) {
            fDigit = true;
            fWhole = fWhole || (!fPoint && ch != VTEXT('0'));
        } else {
            return false;
        }
        sNarrow.push_back(static_cast<char>(ch));
    }
    if (!fDigit) return false;
    if (sNarrow.front() == '.') sNarrow.insert(sNarrow.begin(), '0');
    double dblValue = 0.0;
    const auto result =
        std::from_chars(sNarrow.data(), sNarrow.data() + sNarrow.size(), dblValue, std::chars_format::fixed);
    // Out of range below is 0; above, it is no number that could be held.
    if (result.ec == std::errc::result_out_of_range && !fWhole)
        dblValue = 0.0;
    else if (result.ec != std::errc())
        return false;
    rdblValue = dblValue;
    return true;
}

/// Decimal text, if asked for without the zeros at the end of its places.
CXString DecimalText(std::string_view text, bool fTrimZeros) {
    if (fTrimZeros && text.find('.') != std::string_view::npos) {
        text = text.substr(0, text.find_last_not_of('0') + 1);
        if (text.back() == '.') text.remove_suffix(1);
    }
    return CXString(text.data(), static_cast<int>(text.size()));
}

/// A rounded count of last places.
CXString PlacesText(bool fNegative, ULONGLONG ullPlaces, int iDecimals, bool fTrimZeros) {
    std::array<char, 40> achText;
    char* const pchEnd = achText.data() + achText.size();
    char* pch = pchEnd;
    for (int iDigits = 0; ullPlaces != 0 || iDigits <= iDecimals; ++iDigits) {
        if (iDigits == iDecimals && iDecimals > 0) *--pch = '.';
        *--pch = static_cast<char>('0' + ullPlaces % 10);
        ullPlaces /= 10;
    }
    if (fNegative) *--pch = '-';
    return DecimalText(std::string_view(pch, static_cast<std::size_t>(pchEnd - pch)), fTrimZeros);
}

/// The text of a value that the rounding rule cannot hold.
CXString WideText(double dblValue, int iDecimals, bool fTrimZeros) {
    if (std::isnan(dblValue)) return CXString(VTEXT("nan"));
    std::array<char, 400> achText;  // the greatest double has 309 digits
    const auto result =
        std::to_chars(achText.data(), achText.data() + achText.size(), dblValue, std::chars_format::fixed, iDecimals);
    return DecimalText(std::string_view(achText.data(), static_cast<std::size_t>(result.ptr - achText.data())),
                       fTrimZeros);
}

}  // namespace

bool Number::SetStringValue(const CXString& kcsText) {
    m_dblValue = 0.0;
    XStringView text = WithoutBlanks(kcsText.View());
    const bool fNegative = !text.empty() && text.front() == VTEXT('-');
    if (!text.empty() && (fNegative || text.front() == VTEXT('+'))) text.remove_prefix(1);

    double dblValue = 0.0;
    bool fGood = false;
    if (text.starts_with(VTEXT("0x")) || text.starts_with(VTEXT("0X"))) {
        if (text.find(VTEXT('.')) != XStringView::npos) {
            VLM_REPORT_ERROR(DebugCategory::Utils,
                             VTEXT("The incoming string, %s, is in an invalid format. It contains both the hex format "
                                   "prefix, %s (or %s), and a decimal point. Evaluating the overall number as zero."),
                             kcsText, VTEXT("0x"), VTEXT("0X"));
            return false;
        }
        fGood = ParseHexadecimal(text.substr(2), dblValue);
    } else {
        fGood = vlm::TranslateOutOfMemory([&] { return ParseDecimal(text, dblValue); });
    }
    if (!fGood) {
        VLM_REPORT_ERROR(DebugCategory::Utils,
                         VTEXT("The incoming string, %s, is not a number. Evaluating the overall number as zero."),
                         kcsText);
        return false;
    }
    m_dblValue = fNegative ? -dblValue : dblValue;
    return true;
}

CXString Number::GetStringValue(int iDecimals, double dblThreshold, bool fTrimZeros, bool fHexadecimal) const {
    iDecimals = fHexadecimal ? 0 : std::clamp(iDecimals, 0, MAX_TEXT_DECIMALS);
    const bool fNegative = m_dblValue < 0;
    const double dblScaled = (fNegative ? -m_dblValue : m_dblValue) * vlm::PowerOfTen(iDecimals);
    // Beyond this the rule's steps of 0.00001 overflow, and a double has hardly a fraction left.
    constexpr double RULE_BELOW = 9e13;
    constexpr double LIMIT = 18446744073709551616.0;  // 2^64
    if (!(dblScaled < (fHexadecimal ? LIMIT : RULE_BELOW))) return WideText(m_dblValue, iDecimals, fTrimZeros);
    const ULONGLONG ullPlaces = dblScaled < RULE_BELOW
                                    ? static_cast<ULONGLONG>(vlm::RoundScaled(dblScaled, dblThreshold))
                                    : static_cast<ULONGLONG>(std::round(dblScaled));
    const bool fSign = fNegative && ullPlaces != 0;
    if (fHexadecimal) return CXString::FormatString(fSign ? VTEXT("-0x%llX") : VTEXT("0x%llX"), ullPlaces);
    return PlacesText(fSign, ullPlaces, iDecimals, fTrimZeros);
}

double Number::Round(double dblValue, int iDecimals, double dblThreshold) noexcept {
    if (iDecimals == 0) return vlm::RoundToWhole(dblValue, dblThreshold);
    const double dblSign = dblValue < 0 ? -1.0 : 1.0;
    const double dblPower = vlm::PowerOfTen(iDecimals);
    const double dblPlaces = static_cast<double>(vlm::RoundScaled(dblSign * dblValue * dblPower, dblThreshold));
    return ((iDecimals > 0 ? dblPlaces / dblPower : dblPlaces) + vlm::TRUNCATION_GUARD) * dblSign;
}
