/// @file
/// Identifiers that are a number: features, values, items of a list of values, name spaces.
#pragma once

#include "utilities/attributebytes/AttributeBytesId.h"

/// What the four classes share.  Payload: the number, 4 bytes, signed, little-endian.
class VLM_API AttributeBytesNumberId : public AttributeBytesId {
public:
    ~AttributeBytesNumberId() override;
    CXString GetDumpDisplayString(bool fShowType) const override;
    void WalkBufferToSetIdentifier(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    DWORD GetIdentifierStateSize() const noexcept override;
    BYTE* StoreTypeAndIdentifierState(BYTE* pbyOut) const override;
    ULONGLONG GetOrderKey() const noexcept override;

protected:
    AttributeBytesNumberId(AttributeBytesIdEnum abideType, LONG lNumber) noexcept
        : m_lNumber(lNumber), m_byType(static_cast<BYTE>(abideType)) {}
    AttributeBytesNumberId(const AttributeBytesNumberId&) = default;
    AttributeBytesNumberId& operator=(const AttributeBytesNumberId&) = default;

    LONG m_lNumber;

private:
    BYTE m_byType;  // the class's own, so that the order key needs no further call
};

/// A numbered feature (tag 2).
class VLM_API AttributeBytesFeatureId : public AttributeBytesNumberId {
public:
    explicit AttributeBytesFeatureId(LONG lFeatureId = 0) noexcept
        : AttributeBytesNumberId(ABIDE_FEATURE, lFeatureId) {}
    ~AttributeBytesFeatureId() override;
    AttributeBytesIdEnum GetAttributeBytesIdType() const noexcept override;
    std::unique_ptr<AttributeBytesId> Clone() const override;

    LONG GetFeatureId() const noexcept { return m_lNumber; }
    void SetFeatureId(LONG lFeatureId) noexcept { m_lNumber = lFeatureId; }
};

/// A numbered value (tag 4).
class VLM_API AttributeBytesValueId : public AttributeBytesNumberId {
public:
    explicit AttributeBytesValueId(LONG lValueId = 0) noexcept : AttributeBytesNumberId(ABIDE_VALUE, lValueId) {}
    ~AttributeBytesValueId() override;
    AttributeBytesIdEnum GetAttributeBytesIdType() const noexcept override;
    std::unique_ptr<AttributeBytesId> Clone() const override;

    LONG GetValueId() const noexcept { return m_lNumber; }
    void SetValueId(LONG lValueId) noexcept { m_lNumber = lValueId; }
};

/// An item of a list of values (tag 6).
class VLM_API AttributeBytesListOfValuesItemId : public AttributeBytesNumberId {
public:
    explicit AttributeBytesListOfValuesItemId(LONG lIndex = 0) noexcept
        : AttributeBytesNumberId(ABIDE_LISTOFVALUESITEM, lIndex) {}
    ~AttributeBytesListOfValuesItemId() override;
    AttributeBytesIdEnum GetAttributeBytesIdType() const noexcept override;
    std::unique_ptr<AttributeBytesId> Clone() const override;
    CXString GetDumpDisplayString(bool fShowType) const override;

    LONG GetIndexValue() const noexcept { return m_lNumber; }
    void SetIndexValue(LONG lIndex) noexcept { m_lNumber = lIndex; }
};

/// A name space (tag 9).
class VLM_API AttributeBytesNameSpacesId : public AttributeBytesNumberId {
public:
    explicit AttributeBytesNameSpacesId(LONG lNameSpaceId = 0) noexcept
        : AttributeBytesNumberId(ABIDE_NAMESPACE, lNameSpaceId) {}
    ~AttributeBytesNameSpacesId() override;
    AttributeBytesIdEnum GetAttributeBytesIdType() const noexcept override;
    std::unique_ptr<AttributeBytesId> Clone() const override;

    LONG GetNameSpaceId() const noexcept { return m_lNumber; }
    void SetNameSpaceId(LONG lNameSpaceId) noexcept { m_lNumber = lNameSpaceId; }
};
