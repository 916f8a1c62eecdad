/// @file
/// Values of any length.
#include "utilities/attributebytes/AttributeBytesDataValues.h"

#include <algorithm>

#include "utilities/attributebytes/detail/StoreBytes.h"

// ---- text ----

AttributeBytesStringValue::~AttributeBytesStringValue() = default;
AttributeBytesValueEnum AttributeBytesStringValue::GetAttributeBytesValueType() const noexcept {
    return ABVTE_STRING;
}
std::unique_ptr<AttributeBytesValue> AttributeBytesStringValue::Clone() const {
    return std::make_unique<AttributeBytesStringValue>(*this);
}
void AttributeBytesStringValue::WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    m_csValue = ByteBuffer::WalkBufferToGetCountedString(rpbyCursor, rdwRemaining);
}
std::size_t AttributeBytesStringValue::GetValueStateSize() const noexcept {
    return vlm::GetRecordTextSize(m_csValue);
}
BYTE* AttributeBytesStringValue::StoreTypeAndValueState(BYTE* pbyOut) const {
    return vlm::StoreRecordText(StoreHead(pbyOut, ABVTE_STRING), m_csValue);
}
std::strong_ordering AttributeBytesStringValue::CompareMembers(const AttributeBytesValue& rSameType) const noexcept {
    return vlm::CompareTexts(m_csValue, static_cast<const AttributeBytesStringValue&>(rSameType).m_csValue);
}
CXString AttributeBytesStringValue::GetMembersDisplayString() const {
    return CXString::FormatString(VTEXT("%s: Value=%s"), GetDebugDisplayString(ABVTE_STRING), m_csValue);
}

// ---- bytes ----

AttributeBytesDataBlobValue::~AttributeBytesDataBlobValue() = default;
AttributeBytesValueEnum AttributeBytesDataBlobValue::GetAttributeBytesValueType() const noexcept {
    return ABVTE_DATABLOB;
}
std::unique_ptr<AttributeBytesValue> AttributeBytesDataBlobValue::Clone() const {
    return std::make_unique<AttributeBytesDataBlobValue>(*this);
}
void AttributeBytesDataBlobValue::WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    ByteBuffer::WalkBufferToGetCountedBytes(rpbyCursor, rdwRemaining, m_bbValue);
}
std::size_t AttributeBytesDataBlobValue::GetValueStateSize() const noexcept {
    return 4 + m_bbValue.size();
}
BYTE* AttributeBytesDataBlobValue::StoreTypeAndValueState(BYTE* pbyOut) const {
    return vlm::StoreBytes(vlm::StoreDword(StoreHead(pbyOut, ABVTE_DATABLOB), m_bbValue.GetLength()), m_bbValue.data(),
                           m_bbValue.size());
}
std::strong_ordering AttributeBytesDataBlobValue::CompareMembers(const AttributeBytesValue& rSameType) const noexcept {
    const ByteBuffer& rbbOther = static_cast<const AttributeBytesDataBlobValue&>(rSameType).m_bbValue;
    return std::lexicographical_compare_three_way(m_bbValue.begin(), m_bbValue.end(), rbbOther.begin(), rbbOther.end());
}
CXString AttributeBytesDataBlobValue::GetMembersDisplayString() const {
    return CXString::FormatString(VTEXT("%s: Value is %ld bytes"), GetDebugDisplayString(ABVTE_DATABLOB),
                                  m_bbValue.GetLength());
}
