/// @file
/// The value that is a choice.
#include "utilities/attributebytes/AttributeBytesOptionValue.h"

#include "utilities/attributebytes/AttributeBytesCapabilityIds.h"
#include "utilities/attributebytes/AttributeBytesNameIds.h"
#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/detail/RecordReader.h"
#include "utilities/attributebytes/detail/StoreBytes.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

AttributeBytesOptionValue::AttributeBytesOptionValue()
    : m_apoOptionId(std::make_unique<AttributeBytesListOfValuesItemId>()) {}
AttributeBytesOptionValue::AttributeBytesOptionValue(std::unique_ptr<AttributeBytesId> apoOptionId)
    : AttributeBytesOptionValue() {
    SetOptionId(std::move(apoOptionId));
}
AttributeBytesOptionValue::AttributeBytesOptionValue(const AttributeBytesId& rOptionId)
    : m_apoOptionId(rOptionId.Clone()) {}
AttributeBytesOptionValue::AttributeBytesOptionValue(const AttributeBytesOptionValue& rOther)
    : AttributeBytesValue(rOther), m_apoOptionId(rOther.m_apoOptionId->Clone()) {}
AttributeBytesOptionValue& AttributeBytesOptionValue::operator=(const AttributeBytesOptionValue& rOther) {
    if (this != &rOther) {
        SetOptionId(*rOther.m_apoOptionId);
        AttributeBytesValue::operator=(rOther);
    }
    return *this;
}
AttributeBytesOptionValue::~AttributeBytesOptionValue() = default;

AttributeBytesValueEnum AttributeBytesOptionValue::GetAttributeBytesValueType() const noexcept {
    return ABVTE_OPTION;
}
std::unique_ptr<AttributeBytesValue> AttributeBytesOptionValue::Clone() const {
    return std::make_unique<AttributeBytesOptionValue>(*this);
}
void AttributeBytesOptionValue::WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    m_apoOptionId = vlm::RecordReader::ReadIdentifier(rpbyCursor, rdwRemaining);
}
std::size_t AttributeBytesOptionValue::GetValueStateSize() const noexcept {
    return 1 + m_apoOptionId->GetIdentifierStateSize();
}
BYTE* AttributeBytesOptionValue::StoreTypeAndValueState(BYTE* pbyOut) const {
    return m_apoOptionId->StoreTypeAndIdentifierState(StoreHead(pbyOut, ABVTE_OPTION));
}
std::strong_ordering AttributeBytesOptionValue::CompareMembers(const AttributeBytesValue& rSameType) const noexcept {
    const AttributeBytesId& rOtherId = *static_cast<const AttributeBytesOptionValue&>(rSameType).m_apoOptionId;
    const std::strong_ordering order = m_apoOptionId->GetOrderKey() <=> rOtherId.GetOrderKey();
    return std::is_neq(order) ? order : m_apoOptionId->CompareBeyondKey(rOtherId);
}
CXString AttributeBytesOptionValue::GetMembersDisplayString() const {
    return CXString::FormatString(VTEXT("%s: Value=%s"), GetDebugDisplayString(ABVTE_OPTION),
                                  m_apoOptionId->GetDumpDisplayString(true));
}

void AttributeBytesOptionValue::SetOptionId(std::unique_ptr<AttributeBytesId> apoOptionId) {
    VLM_ASSERT_IN(DebugCategory::AttrBytes, apoOptionId != nullptr);
    if (apoOptionId) m_apoOptionId = std::move(apoOptionId);
}
void AttributeBytesOptionValue::SetOptionId(const AttributeBytesId& rOptionId) {
    m_apoOptionId = rOptionId.Clone();
}

const AttributeBytesValueId& AttributeBytesOptionValue::GetValueIdValue(const AttributeBytesId& rFeatureId) const {
    if (m_apoOptionId->GetAttributeBytesIdType() != AttributeBytesId::ABIDE_VALUE) {
        VLM_THROW(ExceptionAttributeValueTypeMismatch,
                  VTEXT("The value assigned is NOT an AttributeBytesValueId. The feature we wanted to convert is %s."),
                  rFeatureId.GetDumpDisplayString(true));
    }
    return static_cast<const AttributeBytesValueId&>(*m_apoOptionId);
}

const AttributeBytesNewValueId& AttributeBytesOptionValue::GetNewValueIdValue(
    const AttributeBytesId& rFeatureId) const {
    if (m_apoOptionId->GetAttributeBytesIdType() != AttributeBytesId::ABIDE_NEWVALUE) {
        VLM_THROW(
            ExceptionAttributeValueTypeMismatch,
            VTEXT("The value assigned is NOT an AttributeBytesNewValueId. The feature we wanted to convert is %s."),
            rFeatureId.GetDumpDisplayString(true));
    }
    return static_cast<const AttributeBytesNewValueId&>(*m_apoOptionId);
}

const AttributeBytesId& AttributeBytesOptionValue::GetValueIdOrNewValueIdValue(
    const AttributeBytesId& rFeatureId) const {
    const AttributeBytesIdEnum eType = m_apoOptionId->GetAttributeBytesIdType();
    if (eType != AttributeBytesId::ABIDE_VALUE && eType != AttributeBytesId::ABIDE_NEWVALUE) {
        VLM_THROW(ExceptionAttributeValueTypeMismatch,
                  VTEXT("The value assigned is NOT an AttributeBytesNewValueId or a AttributeBytesValueId. The feature "
                        "we wanted to convert is %s."),
                  rFeatureId.GetDumpDisplayString(true));
    }
    return *m_apoOptionId;
}

const AttributeBytesFeatureId& AttributeBytesOptionValue::GetFeatureIdValue(const AttributeBytesId& rFeatureId) const {
    if (m_apoOptionId->GetAttributeBytesIdType() != AttributeBytesId::ABIDE_FEATURE) {
        VLM_THROW(
            ExceptionAttributeValueTypeMismatch,
            VTEXT("The value assigned is NOT an AttributeBytesFeatureId. The feature we wanted to convert is %s."),
            rFeatureId.GetDumpDisplayString(true));
    }
    return static_cast<const AttributeBytesFeatureId&>(*m_apoOptionId);
}

template <class Id>
const Id& AttributeBytesOptionValue::GetAs(AttributeBytesIdEnum abideType) const {
    const AttributeBytesIdEnum eType = m_apoOptionId->GetAttributeBytesIdType();
    if (eType != abideType) {
        VLM_THROW(ExceptionAttributeValueTypeMismatch,
                  VTEXT("The AttributeBytesId value is of a different type (%s) than expected by this method."),
                  AttributeBytesId::GetDebugDisplayString(eType));
    }
    return static_cast<const Id&>(*m_apoOptionId);
}

const AttributeBytesNewFeatureId& AttributeBytesOptionValue::GetNewFeatureIdValue() const {
    return GetAs<AttributeBytesNewFeatureId>(AttributeBytesId::ABIDE_NEWFEATURE);
}
const AttributeBytesListOfValuesItemId& AttributeBytesOptionValue::GetListOfValuesItemIdValue() const {
    return GetAs<AttributeBytesListOfValuesItemId>(AttributeBytesId::ABIDE_LISTOFVALUESITEM);
}
const AttributeBytesCapabilityId& AttributeBytesOptionValue::GetCapabilityIdValue() const {
    return GetAs<AttributeBytesCapabilityId>(AttributeBytesId::ABIDE_CAPABILITY);
}
const AttributeBytesNewCapabilityId& AttributeBytesOptionValue::GetNewCapabilityIdValue() const {
    return GetAs<AttributeBytesNewCapabilityId>(AttributeBytesId::ABIDE_NEWCAPABILITY);
}
const AttributeBytesNameSpacesId& AttributeBytesOptionValue::GetNameSpacesIdValue() const {
    return GetAs<AttributeBytesNameSpacesId>(AttributeBytesId::ABIDE_NAMESPACE);
}
