/// @file
/// Identifiers of capabilities: what a device can do about a feature.
#pragma once

#include "utilities/attributebytes/AttributeBytesId.h"

/// A capability of a numbered feature (tag 7).  The meaning of the capability types is the callers'.
/// Payload: capability type (2 bytes, signed), then feature number (4 bytes, signed).
/// Deliberate: the type is written first, although the feature is the first member and the first in the order.
class VLM_API AttributeBytesCapabilityId : public AttributeBytesId {
public:
    explicit AttributeBytesCapabilityId(LONG lFeatureId = 0, std::int16_t nCapabilityType = 0) noexcept
        : m_lFeatureId(lFeatureId), m_nCapabilityType(nCapabilityType) {}
    ~AttributeBytesCapabilityId() override;
    AttributeBytesIdEnum GetAttributeBytesIdType() const noexcept override;
    std::unique_ptr<AttributeBytesId> Clone() const override;
    CXString GetDumpDisplayString(bool fShowType) const override;
    void WalkBufferToSetIdentifier(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    DWORD GetIdentifierStateSize() const noexcept override;
    BYTE* StoreTypeAndIdentifierState(BYTE* pbyOut) const override;
    ULONGLONG GetOrderKey() const noexcept override;

    LONG GetFeatureId() const noexcept { return m_lFeatureId; }
    void SetFeatureId(LONG lFeatureId) noexcept { m_lFeatureId = lFeatureId; }
    std::int16_t GetCapabilityType() const noexcept { return m_nCapabilityType; }
    void SetCapabilityType(std::int16_t nCapabilityType) noexcept { m_nCapabilityType = nCapabilityType; }

private:
    LONG m_lFeatureId;
    std::int16_t m_nCapabilityType;
};

/// A capability of a named feature (tag 8).
/// Payload: capability type (2 bytes, signed), then the feature name as a counted string; see AttributeBytesNameId for
/// long names.  Ordered by name, then by capability type.
class VLM_API AttributeBytesNewCapabilityId : public AttributeBytesId {
public:
    explicit AttributeBytesNewCapabilityId(const CXString& kcsFeatureName = CXString(),
                                           std::int16_t nCapabilityType = 0)
        : m_csFeatureName(kcsFeatureName), m_nCapabilityType(nCapabilityType) {}
    ~AttributeBytesNewCapabilityId() override;
    AttributeBytesIdEnum GetAttributeBytesIdType() const noexcept override;
    std::unique_ptr<AttributeBytesId> Clone() const override;
    CXString GetDumpDisplayString(bool fShowType) const override;
    void WalkBufferToSetIdentifier(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    DWORD GetIdentifierStateSize() const noexcept override;
    BYTE* StoreTypeAndIdentifierState(BYTE* pbyOut) const override;
    ULONGLONG GetOrderKey() const noexcept override;
    std::strong_ordering CompareBeyondKey(const AttributeBytesId& rSameType) const noexcept override;

    const CXString& GetFeatureName() const noexcept { return m_csFeatureName; }
    void SetFeatureName(const CXString& kcsFeatureName) { m_csFeatureName = kcsFeatureName; }
    std::int16_t GetCapabilityType() const noexcept { return m_nCapabilityType; }
    void SetCapabilityType(std::int16_t nCapabilityType) noexcept { m_nCapabilityType = nCapabilityType; }

private:
    CXString m_csFeatureName;
    std::int16_t m_nCapabilityType;
};
