/// @file
/// Values that are whole numbers: integer, boolean, range, resolution.
#pragma once

#include "utilities/attributebytes/AttributeBytesValue.h"

/// A 32-bit signed integer (tag 3).  Payload: 4 bytes.
class VLM_API AttributeBytesIntegerValue : public AttributeBytesValue {
public:
    explicit AttributeBytesIntegerValue(LONG lValue = 0) noexcept : m_lValue(lValue) {}
    ~AttributeBytesIntegerValue() override;
    AttributeBytesValueEnum GetAttributeBytesValueType() const noexcept override;
    std::unique_ptr<AttributeBytesValue> Clone() const override;
    void WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    std::size_t GetValueStateSize() const noexcept override;
    BYTE* StoreTypeAndValueState(BYTE* pbyOut) const override;
    std::strong_ordering CompareMembers(const AttributeBytesValue& rSameType) const noexcept override;

    LONG GetIntegerValue() const noexcept { return m_lValue; }
    void SetIntegerValue(LONG lValue) noexcept { m_lValue = lValue; }

protected:
    CXString GetMembersDisplayString() const override;

private:
    LONG m_lValue;
};

/// A truth value (tag 5).  Payload: 1 byte, 0 or 1; any other byte is read as true and written as 1.
class VLM_API AttributeBytesBooleanValue : public AttributeBytesValue {
public:
    explicit AttributeBytesBooleanValue(bool fValue = false) noexcept : m_bValue(fValue) {}
    ~AttributeBytesBooleanValue() override;
    AttributeBytesValueEnum GetAttributeBytesValueType() const noexcept override;
    std::unique_ptr<AttributeBytesValue> Clone() const override;
    void WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    std::size_t GetValueStateSize() const noexcept override;
    BYTE* StoreTypeAndValueState(BYTE* pbyOut) const override;
    std::strong_ordering CompareMembers(const AttributeBytesValue& rSameType) const noexcept override;

    bool GetBooleanValue() const noexcept { return m_bValue; }
    void SetBooleanValue(bool fValue) noexcept { m_bValue = fValue; }

protected:
    CXString GetMembersDisplayString() const override;

private:
    bool m_bValue;
};

/// A range of integers (tag 6).  Payload: low (4 bytes), high (4 bytes), both signed.  Low may be above high.
class VLM_API AttributeBytesRangeValue : public AttributeBytesValue {
public:
    explicit AttributeBytesRangeValue(LONG lLow = 0, LONG lHigh = 0) noexcept : m_lLow(lLow), m_lHigh(lHigh) {}
    ~AttributeBytesRangeValue() override;
    AttributeBytesValueEnum GetAttributeBytesValueType() const noexcept override;
    std::unique_ptr<AttributeBytesValue> Clone() const override;
    void WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    std::size_t GetValueStateSize() const noexcept override;
    BYTE* StoreTypeAndValueState(BYTE* pbyOut) const override;
    std::strong_ordering CompareMembers(const AttributeBytesValue& rSameType) const noexcept override;

    LONG GetLowValue() const noexcept { return m_lLow; }
    LONG GetHighValue() const noexcept { return m_lHigh; }
    void SetRange(LONG lLow, LONG lHigh) noexcept { m_lLow = lLow, m_lHigh = lHigh; }

protected:
    CXString GetMembersDisplayString() const override;

private:
    LONG m_lLow;
    LONG m_lHigh;
};

/// A resolution (tag 9).  The meaning of the units codes is the callers'.
/// Payload: feed (4 bytes), cross-feed (4 bytes), units (2 bytes), all signed.
/// Deliberate: feed is written first, although cross-feed is the first member, argument and criterion of the order.
class VLM_API AttributeBytesResolutionValue : public AttributeBytesValue {
public:
    explicit AttributeBytesResolutionValue(LONG lCrossFeed = 0, LONG lFeed = 0, std::int16_t nUnits = 0) noexcept
        : m_lCrossFeed(lCrossFeed), m_lFeed(lFeed), m_nUnits(nUnits) {}
    ~AttributeBytesResolutionValue() override;
    AttributeBytesValueEnum GetAttributeBytesValueType() const noexcept override;
    std::unique_ptr<AttributeBytesValue> Clone() const override;
    void WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    std::size_t GetValueStateSize() const noexcept override;
    BYTE* StoreTypeAndValueState(BYTE* pbyOut) const override;
    std::strong_ordering CompareMembers(const AttributeBytesValue& rSameType) const noexcept override;

    LONG GetCrossFeed() const noexcept { return m_lCrossFeed; }
    LONG GetFeed() const noexcept { return m_lFeed; }
    std::int16_t GetUnits() const noexcept { return m_nUnits; }
    void SetResolution(LONG lCrossFeed, LONG lFeed, std::int16_t nUnits) noexcept {
        m_lCrossFeed = lCrossFeed, m_lFeed = lFeed, m_nUnits = nUnits;
    }

protected:
    CXString GetMembersDisplayString() const override;

private:
    LONG m_lCrossFeed;
    LONG m_lFeed;
    std::int16_t m_nUnits;
};
