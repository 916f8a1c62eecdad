/// @file
/// The value that is a date and time.
#pragma once

#include "utilities/attributebytes/AttributeBytesValue.h"
#include "utilities/utilitiesdll/UtcTime.h"

/// A date and time in UTC (tag 12).  Payload: seconds since 1970-01-01 00:00 UTC, 8 bytes, signed.
/// The broken-down form is UTC on every machine: the machine's time zone takes no part, and the seconds that were read
/// are written back unchanged, whatever their size.
class VLM_API AttributeBytesDateTimeValue : public AttributeBytesValue {
public:
    /// 1970-01-01 00:00 UTC.
    AttributeBytesDateTimeValue() = default;
    explicit AttributeBytesDateTimeValue(const UtcTime& rValue) noexcept : m_oValue(rValue) {}
    ~AttributeBytesDateTimeValue() override;
    AttributeBytesValueEnum GetAttributeBytesValueType() const noexcept override;
    std::unique_ptr<AttributeBytesValue> Clone() const override;
    void WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    std::size_t GetValueStateSize() const noexcept override;
    BYTE* StoreTypeAndValueState(BYTE* pbyOut) const override;
    std::strong_ordering CompareMembers(const AttributeBytesValue& rSameType) const noexcept override;

    const UtcTime& GetDateTimeValue() const noexcept { return m_oValue; }
    void SetDateTimeValue(const UtcTime& rValue) noexcept { m_oValue = rValue; }

protected:
    CXString GetMembersDisplayString() const override;

private:
    UtcTime m_oValue;
};
