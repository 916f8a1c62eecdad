/// @file
/// A number as settings and dialogs hold it: a 64-bit floating-point value with the library's rounding and text forms.
#pragma once

#include <compare>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

/// One IEEE 754 double.
///
/// Texts read by SetStringValue, blanks around them ignored:
///
///     [+|-] digits [ . [digits] ]      decimal; also  . digits
///     [+|-] 0x hexdigits               hexadecimal, also 0X; at most 16 significant digits
///
/// Texts written by GetStringValue: decimal with a fixed count of places and "." whatever the locale, or hexadecimal.
/// **Threads**: a plain value.
class VLM_API Number {
public:
    /// The threshold that the library's own comparisons round with.
    static constexpr double DEFAULT_THRESHOLD = 0.499999;
    /// The most decimal places that GetStringValue writes.
    static constexpr int MAX_TEXT_DECIMALS = 15;

    constexpr Number() noexcept = default;
    constexpr Number(double dblValue) noexcept : m_dblValue(dblValue) {}
    /// Parses the text; 0 when it is bad.
    explicit Number(const CXString& kcsText) { SetStringValue(kcsText); }

    constexpr double GetDoubleValue() const noexcept { return m_dblValue; }
    constexpr void SetDoubleValue(double dblValue) noexcept { m_dblValue = dblValue; }

    /// Parses a text (see above).
    /// @return false when it is bad: the value is then 0 and a debug message names the text.
    bool SetStringValue(const CXString& kcsText);

    /// The value, rounded by the rule of Round, as text.
    /// @param iDecimals places, 0 to MAX_TEXT_DECIMALS (others are clamped); ignored for the hexadecimal form.
    /// @param fTrimZeros true: zeros at the end of the places go, and the point with the last of them.
    /// @param fHexadecimal true: "0x" and upper-case digits of the value rounded to a whole number, "-" before negative
    ///        ones; a value beyond 64 bits appears in decimal.
    /// @return a text that SetStringValue reads; "inf", "-inf" or "nan" for what is no number.
    CXString GetStringValue(int iDecimals, double dblThreshold = DEFAULT_THRESHOLD, bool fTrimZeros = false,
                            bool fHexadecimal = false) const;

    /// Rounds to `iDecimals` places, half-way up from `dblThreshold` of the last place on, away from zero alike:
    ///
    ///     s      = -1 for a negative value, else 1;  scaled = s * value * 10^decimals
    ///     ip     = scaled, truncated to 64 bits (0x7FFFFFFE when a positive one came out negative)
    ///     frac   = (scaled * 100000, truncated) - (ip * 100000)         steps of 0.00001, wrapping at 64 bits
    ///     r      = ip + 1 when frac > (100000 * threshold, truncated), else ip
    ///     result = ((decimals > 0 ? r / 10^decimals : r) + 0.0000001) * s
    ///
    /// Deliberate: the added 0.0000001 keeps a later truncation from falling below a whole number.  A truncation of
    /// what 64 bits cannot hold, or of no number, gives 0x8000000000000000, as the processor's own instruction does.
    static double Round(double dblValue, int iDecimals, double dblThreshold) noexcept;

    friend constexpr bool operator==(const Number&, const Number&) noexcept = default;
    friend constexpr auto operator<=>(const Number&, const Number&) noexcept = default;

private:
    double m_dblValue = 0.0;
};
