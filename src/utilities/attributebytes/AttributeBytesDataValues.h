/// @file
/// Values of any length: text and bytes.
#pragma once

#include "utilities/attributebytes/AttributeBytesValue.h"

/// A text (tag 4).  Payload: a counted string (16-bit count of UTF-16 code units, then the units).  A text longer than
/// 65,535 units is a failed assertion when it is written, and its first 65,535 units are written.
class VLM_API AttributeBytesStringValue : public AttributeBytesValue {
public:
    explicit AttributeBytesStringValue(const CXString& kcsValue = CXString()) : m_csValue(kcsValue) {}
    ~AttributeBytesStringValue() override;
    AttributeBytesValueEnum GetAttributeBytesValueType() const noexcept override;
    std::unique_ptr<AttributeBytesValue> Clone() const override;
    void WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    std::size_t GetValueStateSize() const noexcept override;
    BYTE* StoreTypeAndValueState(BYTE* pbyOut) const override;
    std::strong_ordering CompareMembers(const AttributeBytesValue& rSameType) const noexcept override;

    const CXString& GetStringValue() const noexcept { return m_csValue; }
    void SetStringValue(const CXString& kcsValue) { m_csValue = kcsValue; }

protected:
    CXString GetMembersDisplayString() const override;

private:
    CXString m_csValue;
};

/// Any bytes (tag 10).  Payload: 32-bit count of bytes, then the bytes.
class VLM_API AttributeBytesDataBlobValue : public AttributeBytesValue {
public:
    AttributeBytesDataBlobValue() = default;
    explicit AttributeBytesDataBlobValue(const ByteBuffer& rbbValue) : m_bbValue(rbbValue) {}
    ~AttributeBytesDataBlobValue() override;
    AttributeBytesValueEnum GetAttributeBytesValueType() const noexcept override;
    std::unique_ptr<AttributeBytesValue> Clone() const override;
    void WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    std::size_t GetValueStateSize() const noexcept override;
    BYTE* StoreTypeAndValueState(BYTE* pbyOut) const override;
    std::strong_ordering CompareMembers(const AttributeBytesValue& rSameType) const noexcept override;

    const ByteBuffer& GetDataBlobValue() const noexcept { return m_bbValue; }
    void SetDataBlobValue(const ByteBuffer& rbbValue) { m_bbValue = rbbValue; }

protected:
    CXString GetMembersDisplayString() const override;

private:
    ByteBuffer m_bbValue;
};
