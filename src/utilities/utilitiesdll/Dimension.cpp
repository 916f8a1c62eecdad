/// @file
/// Lengths: conversion, rounding and comparison.
#include "utilities/utilitiesdll/Dimension.h"

#include <array>

#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/detail/values/Rounding.h"

namespace {

struct Unit {
    Dimension::UnitsEnum eUnits;
    double dblFactor;  ///< thousandths of a millimetre in one of the unit
    const XCHAR* pszDisplayName;
};

constexpr Unit UNITS[] = {
#define VLM_DIMENSION_UNIT(code, name, factor, text) {Dimension::DUE_##name, factor, VTEXT(text)},
#include "utilities/utilitiesdll/DimensionUnits.inl"
#undef VLM_DIMENSION_UNIT
};
constexpr DWORD UNIT_COUNT = sizeof UNITS / sizeof *UNITS;
static_assert(
    [] {
        for (DWORD i = 0; i < UNIT_COUNT; ++i) {
            if (UNITS[i].eUnits != i) return false;
        }
        return true;
    }(),
    "a unit's code is its index");

bool IsKnown(Dimension::UnitsEnum eUnits) noexcept {
    return eUnits < UNIT_COUNT;
}

}  // namespace

double Dimension::GetDimensionInThousandthsOfMM() const {
    if (IsKnown(m_eUnits)) [[likely]]
        return m_oValue.GetDoubleValue() * UNITS[m_eUnits].dblFactor;
    VLM_ASSERT(IsKnown(m_eUnits),
               VTEXT("A UnitsEnum value was added to Dimension.h, but an associated case statement was "
                     "not added in Dimension::GetDimensionInThousandthsOfMM()!"));
    return 0.0;
}

double Dimension::GetDoubleValue(UnitsEnum eUnits) const {
    if (IsKnown(eUnits)) [[likely]]
        return GetDimensionInThousandthsOfMM() / UNITS[eUnits].dblFactor;
    VLM_ASSERT(IsKnown(eUnits),
               VTEXT("A UnitsEnum value was added to Dimension.h, but an associated case statement was "
                     "not added in Dimension::GetDoubleValue()!"));
    return 0.0;
}

double Dimension::GetDoubleValue(UnitsEnum eUnits, int iDecimals, double dblThreshold) const {
    return Number::Round(GetDoubleValue(eUnits), iDecimals, dblThreshold);
}

CXString Dimension::GetStringValue(UnitsEnum eUnits, int iDecimals, double dblThreshold, bool fTrimZeros,
                                   bool fHexadecimal) const {
    return GetValue(eUnits).GetStringValue(iDecimals, dblThreshold, fTrimZeros, fHexadecimal);
}

void Dimension::SetUnits(UnitsEnum eUnits) {
    const double dblValue = GetDoubleValue(eUnits);
    if (IsKnown(eUnits)) SetValue(Number(dblValue), eUnits);
}

void Dimension::SetValue(const Number& rValue, UnitsEnum eUnits) noexcept {
    m_oValue = rValue;
    m_eUnits = eUnits;
}

bool Dimension::SetStringValue(const CXString& kcsText, UnitsEnum eUnits) {
    m_eUnits = eUnits;
    return m_oValue.SetStringValue(kcsText);
}

LONG Dimension::Key() const {
    return vlm::TruncateToInt32(vlm::RoundToWhole(GetDimensionInThousandthsOfMM(), Number::DEFAULT_THRESHOLD));
}

bool Dimension::IsEquivalent(const Dimension& rLeft, const Dimension& rRight, UnitsEnum eUnits, int iDecimals,
                             double dblThreshold) {
    const double dblPower = iDecimals == 0 ? 1.0 : vlm::PowerOfTen(iDecimals);
    const auto key = [&](const Dimension& rDimension) {
        return vlm::TruncateToInt64(rDimension.GetDoubleValue(eUnits, iDecimals, dblThreshold) * dblPower);
    };
    return key(rLeft) == key(rRight);
}

CXString Dimension::GetDebugDisplayString(UnitsEnum eUnits) {
    if (IsKnown(eUnits)) return CXString(UNITS[eUnits].pszDisplayName);
    const LONG lUnits = static_cast<LONG>(eUnits);
    return CXString::FormatString(VTEXT("Unrecognized UnitsEnum of %ld (0x%lx). You may need to update "
                                        "GetDebugDisplayString() with a recently added units enum type."),
                                  lUnits, lUnits);
}

CXString Dimension::GetDumpDisplayString(bool fWithUnits) const {
    constexpr int DUMP_DECIMALS = 6;
    CXString csText = m_oValue.GetStringValue(DUMP_DECIMALS, Number::DEFAULT_THRESHOLD, /*fTrimZeros=*/true);
    if (fWithUnits) (csText += VTEXT(" ")) += GetUnitsDebugDisplayString();
    return csText;
}

void Dimension::Dump() const {
    VLM_REPORT(DebugCategory::Utils | DebugCategory::AttrDump, VTEXT("Dimension: %s"), GetDumpDisplayString(true));
}
