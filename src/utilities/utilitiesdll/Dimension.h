/// @file
/// A length: a number and the unit that it is expressed in.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/Number.h"

/// A length of print settings.  Conversions pass through thousandths of a millimetre, and comparisons are made there
/// after Number::Round, so lengths in different units are equal when they agree to the nearest thousandth.
///
/// **Threads**: a plain value.  **Failure**: a unit outside UnitsEnum is a failed assertion; the conversion gives 0
/// then.
class VLM_API Dimension {
public:
    /// The units; DimensionUnits.inl holds their factors and display names.
    enum UnitsEnum : DWORD {
#define VLM_DIMENSION_UNIT(code, name, factor, text) DUE_##name = code,
#include "utilities/utilitiesdll/DimensionUnits.inl"
#undef VLM_DIMENSION_UNIT
    };

    /// 0 hundredths of a millimetre.
    constexpr Dimension() noexcept = default;
    constexpr Dimension(const Number& rValue, UnitsEnum eUnits) noexcept : m_oValue(rValue), m_eUnits(eUnits) {}
    constexpr Dimension(double dblValue, UnitsEnum eUnits) noexcept : m_oValue(dblValue), m_eUnits(eUnits) {}
    /// Parses the text by Number::SetStringValue.
    Dimension(const CXString& kcsText, UnitsEnum eUnits) : m_oValue(kcsText), m_eUnits(eUnits) {}

    /// The stored value in the stored units.
    constexpr Number GetValue() const noexcept {
        return m_oValue;
    }
    /// The length in other units.
    Number GetValue(UnitsEnum eUnits) const {
        return Number(GetDoubleValue(eUnits));
    }
    double GetDoubleValue(UnitsEnum eUnits) const;
    /// The length in other units, rounded by Number::Round.
    Number GetValue(UnitsEnum eUnits, int iDecimals, double dblThreshold) const {
        return Number(GetDoubleValue(eUnits, iDecimals, dblThreshold));
    }
    double GetDoubleValue(UnitsEnum eUnits, int iDecimals, double dblThreshold) const;
    /// The length in other units as text; the flags are those of Number::GetStringValue.
    CXString GetStringValue(UnitsEnum eUnits, int iDecimals, double dblThreshold, bool fTrimZeros,
                            bool fHexadecimal) const;
    /// The length in thousandths of a millimetre.
    double GetDimensionInThousandthsOfMM() const;

    constexpr UnitsEnum GetUnits() const noexcept {
        return m_eUnits;
    }
    /// Converts the stored value into the new units; the length stays.  An unknown unit is a failed assertion and
    /// changes nothing.
    void SetUnits(UnitsEnum eUnits);
    /// Replaces value and units without conversion.
    void SetValue(const Number& rValue, UnitsEnum eUnits) noexcept;
    /// Replaces the value; the units stay.
    void SetDoubleValue(double dblValue) noexcept {
        m_oValue.SetDoubleValue(dblValue);
    }
    /// Replaces the value by the parsed text; false (and the value 0) when the text is bad.
    bool SetStringValue(const CXString& kcsText) {
        return m_oValue.SetStringValue(kcsText);
    }
    bool SetStringValue(const CXString& kcsText, UnitsEnum eUnits);
    /// Multiplies the value by -1.
    void ReverseSign() noexcept {
        m_oValue.SetDoubleValue(m_oValue.GetDoubleValue() * -1.0);
    }

    // Both sides in thousandths of a millimetre, rounded and cut to 32 bits.
    friend bool operator==(const Dimension& rLeft, const Dimension& rRight) {
        return rLeft.Key() == rRight.Key();
    }
    friend bool operator!=(const Dimension& rLeft, const Dimension& rRight) {
        return rLeft.Key() != rRight.Key();
    }
    friend bool operator<(const Dimension& rLeft, const Dimension& rRight) {
        return rLeft.Key() < rRight.Key();
    }
    friend bool operator>(const Dimension& rLeft, const Dimension& rRight) {
        return rLeft.Key() > rRight.Key();
    }
    friend bool operator<=(const Dimension& rLeft, const Dimension& rRight) {
        return rLeft.Key() <= rRight.Key();
    }
    friend bool operator>=(const Dimension& rLeft, const Dimension& rRight) {
        return rLeft.Key() >= rRight.Key();
    }

    /// Are two lengths the same in the given units after rounding to the given places?
    static bool IsEquivalent(const Dimension& rLeft, const Dimension& rRight, UnitsEnum eUnits, int iDecimals,
                             double dblThreshold);

    /// The length as the 4 bytes of a setting hold it: thousandths of a millimetre, rounded, cut to 32 bits.
    LONG GetRoundedThousandthsOfMM() const {
        return Key();
    }

    // ---- diagnostics ----

    /// The display name of a unit, for example "[100ths of MMs]".
    static CXString GetDebugDisplayString(UnitsEnum eUnits);
    CXString GetUnitsDebugDisplayString() const {
        return GetDebugDisplayString(m_eUnits);
    }
    /// The value, and with `fWithUnits` a blank and the display name of the unit.
    CXString GetDumpDisplayString(bool fWithUnits) const;
    /// Writes the dump text as a debug message.
    void Dump() const;

private:
    LONG Key() const;

    Number m_oValue;
    UnitsEnum m_eUnits = DUE_HUNDREDTHS_OF_MM;
};
