/// @file
/// The value that is a date and time.
#include "utilities/attributebytes/AttributeBytesDateTimeValue.h"

#include "utilities/attributebytes/detail/StoreBytes.h"

AttributeBytesDateTimeValue::~AttributeBytesDateTimeValue() = default;
AttributeBytesValueEnum AttributeBytesDateTimeValue::GetAttributeBytesValueType() const noexcept {
    return ABVTE_DATETIME;
}
std::unique_ptr<AttributeBytesValue> AttributeBytesDateTimeValue::Clone() const {
    return std::make_unique<AttributeBytesDateTimeValue>(*this);
}
void AttributeBytesDateTimeValue::WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    m_oValue.SetSeconds(ByteBuffer::WalkBufferToGetTime64(rpbyCursor, rdwRemaining));
}
std::size_t AttributeBytesDateTimeValue::GetValueStateSize() const noexcept {
    return 8;
}
BYTE* AttributeBytesDateTimeValue::StoreTypeAndValueState(BYTE* pbyOut) const {
    return vlm::StoreLong64(StoreHead(pbyOut, ABVTE_DATETIME), m_oValue.GetSeconds());
}
std::strong_ordering AttributeBytesDateTimeValue::CompareMembers(const AttributeBytesValue& rSameType) const noexcept {
    return m_oValue <=> static_cast<const AttributeBytesDateTimeValue&>(rSameType).m_oValue;
}
CXString AttributeBytesDateTimeValue::GetMembersDisplayString() const {
    return CXString::FormatString(VTEXT("%s: Value=%s"), GetDebugDisplayString(ABVTE_DATETIME),
                                  m_oValue.GetStringValue());
}
