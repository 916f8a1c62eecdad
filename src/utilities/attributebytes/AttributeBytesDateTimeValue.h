/// @file
/// The value that is a date and time.
#pragma once

#include "utilities/attributebytes/AttributeBytesValue.h"
#include "utilities/utilitiesdll/UtcTime.h"

/// A date and time in UTC (tag 12).  Payload: seconds since 1970-01-01 00:00 UTC, 8 bytes, signed.
/// The broken-down form is UTC on every machine: the machine's time zone takes no part.  The seconds that were read are
/// written back unchanged, even where they lie outside the range of the broken-down form, until a value is set.
class VLM_API AttributeBytesDateTimeValue : public AttributeBytesValue {
public:
    /// 1970-01-01 00:00 UTC.
    AttributeBytesDateTimeValue();
    explicit AttributeBytesDateTimeValue(const UtcTime& rValue);
    explicit AttributeBytesDateTimeValue(LONGLONG llSeconds);
    ~AttributeBytesDateTimeValue() override;
    AttributeBytesValueEnum GetAttributeBytesValueType() const noexcept override;
    std::unique_ptr<AttributeBytesValue> Clone() const override;
    void WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    std::size_t GetValueStateSize() const noexcept override;
    BYTE* StoreValueState(BYTE* pbyOut) const override;
    std::strong_ordering CompareMembers(const AttributeBytesValue& rSameType) const noexcept override;

    /// The broken-down form; seconds outside its range give its first or last moment.
    const UtcTime& GetDateTimeValue() const noexcept { return m_oValue; }
    void SetDateTimeValue(const UtcTime& rValue);
    /// The seconds as they are written.
    LONGLONG GetSeconds() const noexcept { return m_llSeconds; }
    void SetSeconds(LONGLONG llSeconds);

protected:
    CXString GetMembersDisplayString() const override;

private:
    UtcTime m_oValue;
    LONGLONG m_llSeconds;
};
