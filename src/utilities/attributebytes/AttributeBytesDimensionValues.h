/// @file
/// Values that are lengths: dimension and range of dimensions.
#pragma once

#include "utilities/attributebytes/AttributeBytesValue.h"
#include "utilities/utilitiesdll/Dimension.h"

/// A length (tag 8).  Payload: the length in thousandths of a millimetre, rounded half up in magnitude, 4 bytes signed.
/// A length read from the wire is in thousandths of a millimetre; two lengths are equal when they are equal as written.
class VLM_API AttributeBytesDimensionValue : public AttributeBytesValue {
public:
    AttributeBytesDimensionValue();
    explicit AttributeBytesDimensionValue(const Dimension& rValue) : m_oValue(rValue) {}
    ~AttributeBytesDimensionValue() override;
    AttributeBytesValueEnum GetAttributeBytesValueType() const noexcept override;
    std::unique_ptr<AttributeBytesValue> Clone() const override;
    void WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    std::size_t GetValueStateSize() const noexcept override;
    BYTE* StoreTypeAndValueState(BYTE* pbyOut) const override;
    std::strong_ordering CompareMembers(const AttributeBytesValue& rSameType) const noexcept override;

    const Dimension& GetDimensionValue() const noexcept { return m_oValue; }
    void SetDimensionValue(const Dimension& rValue) { m_oValue = rValue; }
    /// The number that is written: thousandths of a millimetre.
    LONG GetThousandthsOfMillimetre() const noexcept;

protected:
    CXString GetMembersDisplayString() const override;

private:
    Dimension m_oValue;
};

/// A range of lengths (tag 7).  Payload: low (4 bytes), high (4 bytes), each as in AttributeBytesDimensionValue.
class VLM_API AttributeBytesRangeOfDimensionValue : public AttributeBytesValue {
public:
    AttributeBytesRangeOfDimensionValue();
    AttributeBytesRangeOfDimensionValue(const Dimension& rLow, const Dimension& rHigh) : m_oLow(rLow), m_oHigh(rHigh) {}
    ~AttributeBytesRangeOfDimensionValue() override;
    AttributeBytesValueEnum GetAttributeBytesValueType() const noexcept override;
    std::unique_ptr<AttributeBytesValue> Clone() const override;
    void WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    std::size_t GetValueStateSize() const noexcept override;
    BYTE* StoreTypeAndValueState(BYTE* pbyOut) const override;
    std::strong_ordering CompareMembers(const AttributeBytesValue& rSameType) const noexcept override;

    const Dimension& GetLowValue() const noexcept { return m_oLow; }
    const Dimension& GetHighValue() const noexcept { return m_oHigh; }
    void SetRange(const Dimension& rLow, const Dimension& rHigh) { m_oLow = rLow, m_oHigh = rHigh; }
    /// The numbers that are written: thousandths of a millimetre.
    LONG GetLowInThousandthsOfMillimetre() const noexcept;
    LONG GetHighInThousandthsOfMillimetre() const noexcept;

protected:
    CXString GetMembersDisplayString() const override;

private:
    Dimension m_oLow;
    Dimension m_oHigh;
};
