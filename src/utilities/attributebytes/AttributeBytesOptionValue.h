/// @file
/// The value that is a choice: one of the options of a feature, named by an identifier.
#pragma once

#include "utilities/attributebytes/AttributeBytesId.h"
#include "utilities/attributebytes/AttributeBytesValue.h"

class AttributeBytesCapabilityId;
class AttributeBytesFeatureId;
class AttributeBytesListOfValuesItemId;
class AttributeBytesNameSpacesId;
class AttributeBytesNewCapabilityId;
class AttributeBytesNewFeatureId;
class AttributeBytesNewValueId;
class AttributeBytesValueId;

/// The chosen option (tag 2).  Payload: the inner identifier's tag byte, then its payload.
/// **Ownership**: the value owns the inner identifier and never is without one.
class VLM_API AttributeBytesOptionValue : public AttributeBytesValue {
public:
    /// With an AttributeBytesListOfValuesItemId of 0 inside.
    AttributeBytesOptionValue();
    /// Takes over the identifier; null is a failed assertion and counts as the default.
    explicit AttributeBytesOptionValue(std::unique_ptr<AttributeBytesId> apoOptionId);
    explicit AttributeBytesOptionValue(const AttributeBytesId& rOptionId);
    AttributeBytesOptionValue(const AttributeBytesOptionValue& rOther);
    AttributeBytesOptionValue& operator=(const AttributeBytesOptionValue& rOther);
    ~AttributeBytesOptionValue() override;
    AttributeBytesValueEnum GetAttributeBytesValueType() const noexcept override;
    std::unique_ptr<AttributeBytesValue> Clone() const override;
    void WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) override;
    std::size_t GetValueStateSize() const noexcept override;
    BYTE* StoreTypeAndValueState(BYTE* pbyOut) const override;
    std::strong_ordering CompareMembers(const AttributeBytesValue& rSameType) const noexcept override;

    /// The inner identifier, of any class; borrowed until the value is changed or destroyed.
    const AttributeBytesId& GetOptionId() const noexcept { return *m_apoOptionId; }
    /// Takes over another identifier; null is a failed assertion and changes nothing.
    void SetOptionId(std::unique_ptr<AttributeBytesId> apoOptionId);
    void SetOptionId(const AttributeBytesId& rOptionId);

    // The inner identifier as one of a given class, borrowed like GetOptionId.
    // rFeatureId: the identifier of the record that holds this value, named in the message of the exception.
    // Each throws ExceptionAttributeValueTypeMismatch when the inner identifier is of another class.

    const AttributeBytesValueId& GetValueIdValue(const AttributeBytesId& rFeatureId) const;
    const AttributeBytesNewValueId& GetNewValueIdValue(const AttributeBytesId& rFeatureId) const;
    /// A numbered or a named value.
    const AttributeBytesId& GetValueIdOrNewValueIdValue(const AttributeBytesId& rFeatureId) const;
    const AttributeBytesFeatureId& GetFeatureIdValue(const AttributeBytesId& rFeatureId) const;
    const AttributeBytesNewFeatureId& GetNewFeatureIdValue() const;
    const AttributeBytesListOfValuesItemId& GetListOfValuesItemIdValue() const;
    const AttributeBytesCapabilityId& GetCapabilityIdValue() const;
    const AttributeBytesNewCapabilityId& GetNewCapabilityIdValue() const;
    const AttributeBytesNameSpacesId& GetNameSpacesIdValue() const;

protected:
    CXString GetMembersDisplayString() const override;

private:
    template <class Id>
    const Id& GetAs(AttributeBytesIdEnum abideType) const;

    std::unique_ptr<AttributeBytesId> m_apoOptionId;
};
