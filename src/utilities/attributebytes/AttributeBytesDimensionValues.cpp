/// @file
/// Values that are lengths.
#include "utilities/attributebytes/AttributeBytesDimensionValues.h"

#include <tuple>

#include "utilities/attributebytes/detail/StoreBytes.h"

namespace {

/// The number that a record holds for a length.  A length that is a whole number of thousandths already, as every one
/// read from a record is, needs no rounding.
LONG ToThousandths(const Dimension& rValue) {
    if (rValue.GetUnits() == Dimension::DUE_THOUSANDTHS_OF_MM) {
        const double dblValue = rValue.GetValue().GetDoubleValue();
        if (dblValue >= -2147483648.0 && dblValue <= 2147483647.0) {
            const LONG lValue = static_cast<LONG>(dblValue);
            if (static_cast<double>(lValue) == dblValue) return lValue;
        }
    }
    return rValue.GetRoundedThousandthsOfMM();
}

Dimension ReadThousandths(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    return Dimension(static_cast<double>(ByteBuffer::WalkBufferToGetLong(rpbyCursor, rdwRemaining)),
                     Dimension::DUE_THOUSANDTHS_OF_MM);
}

}  // namespace

// ---- dimension ----

AttributeBytesDimensionValue::AttributeBytesDimensionValue() : m_oValue(0.0, Dimension::DUE_THOUSANDTHS_OF_MM) {}
AttributeBytesDimensionValue::~AttributeBytesDimensionValue() = default;
AttributeBytesValueEnum AttributeBytesDimensionValue::GetAttributeBytesValueType() const noexcept {
    return ABVTE_DIMENSION;
}
std::unique_ptr<AttributeBytesValue> AttributeBytesDimensionValue::Clone() const {
    return std::make_unique<AttributeBytesDimensionValue>(*this);
}
void AttributeBytesDimensionValue::WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    m_oValue = ReadThousandths(rpbyCursor, rdwRemaining);
}
std::size_t AttributeBytesDimensionValue::GetValueStateSize() const noexcept {
    return 4;
}
BYTE* AttributeBytesDimensionValue::StoreTypeAndValueState(BYTE* pbyOut) const {
    return vlm::StoreLong(StoreHead(pbyOut, ABVTE_DIMENSION), ToThousandths(m_oValue));
}
LONG AttributeBytesDimensionValue::GetThousandthsOfMillimetre() const noexcept {
    return ToThousandths(m_oValue);
}
std::strong_ordering AttributeBytesDimensionValue::CompareMembers(const AttributeBytesValue& rSameType) const noexcept {
    return ToThousandths(m_oValue) <=>
           ToThousandths(static_cast<const AttributeBytesDimensionValue&>(rSameType).m_oValue);
}
CXString AttributeBytesDimensionValue::GetMembersDisplayString() const {
    return CXString::FormatString(VTEXT("%s: Value=%s"), GetDebugDisplayString(ABVTE_DIMENSION),
                                  m_oValue.GetDumpDisplayString(true));
}

// ---- range of dimensions ----

AttributeBytesRangeOfDimensionValue::AttributeBytesRangeOfDimensionValue()
    : m_oLow(0.0, Dimension::DUE_THOUSANDTHS_OF_MM), m_oHigh(0.0, Dimension::DUE_THOUSANDTHS_OF_MM) {}
AttributeBytesRangeOfDimensionValue::~AttributeBytesRangeOfDimensionValue() = default;
AttributeBytesValueEnum AttributeBytesRangeOfDimensionValue::GetAttributeBytesValueType() const noexcept {
    return ABVTE_RANGEOFDIMENSION;
}
std::unique_ptr<AttributeBytesValue> AttributeBytesRangeOfDimensionValue::Clone() const {
    return std::make_unique<AttributeBytesRangeOfDimensionValue>(*this);
}
void AttributeBytesRangeOfDimensionValue::WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    m_oLow = ReadThousandths(rpbyCursor, rdwRemaining);
    m_oHigh = ReadThousandths(rpbyCursor, rdwRemaining);
}
std::size_t AttributeBytesRangeOfDimensionValue::GetValueStateSize() const noexcept {
    return 8;
}
BYTE* AttributeBytesRangeOfDimensionValue::StoreTypeAndValueState(BYTE* pbyOut) const {
    return vlm::StoreLong(vlm::StoreLong(StoreHead(pbyOut, ABVTE_RANGEOFDIMENSION), ToThousandths(m_oLow)),
                          ToThousandths(m_oHigh));
}
LONG AttributeBytesRangeOfDimensionValue::GetLowInThousandthsOfMillimetre() const noexcept {
    return ToThousandths(m_oLow);
}
LONG AttributeBytesRangeOfDimensionValue::GetHighInThousandthsOfMillimetre() const noexcept {
    return ToThousandths(m_oHigh);
}
std::strong_ordering AttributeBytesRangeOfDimensionValue::CompareMembers(
    const AttributeBytesValue& rSameType) const noexcept {
    const auto& rOther = static_cast<const AttributeBytesRangeOfDimensionValue&>(rSameType);
    return std::tuple(ToThousandths(m_oLow), ToThousandths(m_oHigh)) <=>
           std::tuple(ToThousandths(rOther.m_oLow), ToThousandths(rOther.m_oHigh));
}
CXString AttributeBytesRangeOfDimensionValue::GetMembersDisplayString() const {
    return CXString::FormatString(VTEXT("%s: Low Value=%s High Value=%s"),
                                  GetDebugDisplayString(ABVTE_RANGEOFDIMENSION), m_oLow.GetDumpDisplayString(true),
                                  m_oHigh.GetDumpDisplayString(true));
}
