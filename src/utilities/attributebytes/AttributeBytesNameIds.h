/// @file
/// Identifiers that are a name: features and values that have no number.
#pragma once

#include "utilities/attributebytes/AttributeBytesId.h"

/// What the two classes share.  Payload: the name as a counted string (16-bit count of UTF-16 code units, then the
/// units).  A name longer than 65,535 units is a failed assertion when it is written, and its first 65,535 units are
/// written.  Names are equal when all their units are; a zero unit is a unit like any other.
class VLM_API AttributeBytesNameId : public AttributeBytesId {
public:
    ~AttributeBytesNameId() override;
    CXString GetDumpDisplayString(bool fShowType) const override;
    void WalkBufferToSetIdentifier(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    DWORD GetIdentifierStateSize() const noexcept override;
    BYTE* StoreTypeAndIdentifierState(BYTE* pbyOut) const override;
    ULONGLONG GetOrderKey() const noexcept override;
    std::strong_ordering CompareBeyondKey(const AttributeBytesId& rSameType) const noexcept override;

protected:
    explicit AttributeBytesNameId(const CXString& kcsName) : m_csName(kcsName) {}
    AttributeBytesNameId(const AttributeBytesNameId&) = default;
    AttributeBytesNameId& operator=(const AttributeBytesNameId&) = default;

    CXString m_csName;
};

/// A named feature (tag 3).
class VLM_API AttributeBytesNewFeatureId : public AttributeBytesNameId {
public:
    explicit AttributeBytesNewFeatureId(const CXString& kcsFeatureName = CXString())
        : AttributeBytesNameId(kcsFeatureName) {}
    ~AttributeBytesNewFeatureId() override;
    AttributeBytesIdEnum GetAttributeBytesIdType() const noexcept override;
    std::unique_ptr<AttributeBytesId> Clone() const override;

    const CXString& GetFeatureName() const noexcept { return m_csName; }
    void SetFeatureName(const CXString& kcsFeatureName) { m_csName = kcsFeatureName; }
};

/// A named value (tag 5).
class VLM_API AttributeBytesNewValueId : public AttributeBytesNameId {
public:
    explicit AttributeBytesNewValueId(const CXString& kcsValueName = CXString()) : AttributeBytesNameId(kcsValueName) {}
    ~AttributeBytesNewValueId() override;
    AttributeBytesIdEnum GetAttributeBytesIdType() const noexcept override;
    std::unique_ptr<AttributeBytesId> Clone() const override;

    const CXString& GetValueName() const noexcept { return m_csName; }
    void SetValueName(const CXString& kcsValueName) { m_csName = kcsValueName; }
};
