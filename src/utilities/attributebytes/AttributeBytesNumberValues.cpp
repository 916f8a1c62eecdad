/// @file
/// Values that are whole numbers.
#include "utilities/attributebytes/AttributeBytesNumberValues.h"

#include <tuple>

#include "utilities/attributebytes/detail/StoreBytes.h"

// ---- integer ----

AttributeBytesIntegerValue::~AttributeBytesIntegerValue() = default;
AttributeBytesValueEnum AttributeBytesIntegerValue::GetAttributeBytesValueType() const noexcept {
    return ABVTE_INTEGER;
}
std::unique_ptr<AttributeBytesValue> AttributeBytesIntegerValue::Clone() const {
    return std::make_unique<AttributeBytesIntegerValue>(*this);
}
void AttributeBytesIntegerValue::WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    m_lValue = ByteBuffer::WalkBufferToGetLong(rpbyCursor, rdwRemaining);
}
std::size_t AttributeBytesIntegerValue::GetValueStateSize() const noexcept {
    return 4;
}
BYTE* AttributeBytesIntegerValue::StoreTypeAndValueState(BYTE* pbyOut) const {
    return vlm::StoreLong(StoreHead(pbyOut, ABVTE_INTEGER), m_lValue);
}
std::strong_ordering AttributeBytesIntegerValue::CompareMembers(const AttributeBytesValue& rSameType) const noexcept {
    return m_lValue <=> static_cast<const AttributeBytesIntegerValue&>(rSameType).m_lValue;
}
CXString AttributeBytesIntegerValue::GetMembersDisplayString() const {
    return CXString::FormatString(VTEXT("%s: Value=%ld (0x%lx)"), GetDebugDisplayString(ABVTE_INTEGER), m_lValue,
                                  m_lValue);
}

// ---- boolean ----

AttributeBytesBooleanValue::~AttributeBytesBooleanValue() = default;
AttributeBytesValueEnum AttributeBytesBooleanValue::GetAttributeBytesValueType() const noexcept {
    return ABVTE_BOOLEAN;
}
std::unique_ptr<AttributeBytesValue> AttributeBytesBooleanValue::Clone() const {
    return std::make_unique<AttributeBytesBooleanValue>(*this);
}
void AttributeBytesBooleanValue::WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    m_bValue = ByteBuffer::WalkBufferToGetBool(rpbyCursor, rdwRemaining);
}
std::size_t AttributeBytesBooleanValue::GetValueStateSize() const noexcept {
    return 1;
}
BYTE* AttributeBytesBooleanValue::StoreTypeAndValueState(BYTE* pbyOut) const {
    return vlm::StoreByte(StoreHead(pbyOut, ABVTE_BOOLEAN), m_bValue ? 1 : 0);
}
std::strong_ordering AttributeBytesBooleanValue::CompareMembers(const AttributeBytesValue& rSameType) const noexcept {
    return m_bValue <=> static_cast<const AttributeBytesBooleanValue&>(rSameType).m_bValue;
}
CXString AttributeBytesBooleanValue::GetMembersDisplayString() const {
    return CXString::FormatString(VTEXT("%s: Value=%s"), GetDebugDisplayString(ABVTE_BOOLEAN),
                                  m_bValue ? VTEXT("true") : VTEXT("false"));
}

// ---- range ----

AttributeBytesRangeValue::~AttributeBytesRangeValue() = default;
AttributeBytesValueEnum AttributeBytesRangeValue::GetAttributeBytesValueType() const noexcept {
    return ABVTE_RANGE;
}
std::unique_ptr<AttributeBytesValue> AttributeBytesRangeValue::Clone() const {
    return std::make_unique<AttributeBytesRangeValue>(*this);
}
void AttributeBytesRangeValue::WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    m_lLow = ByteBuffer::WalkBufferToGetLong(rpbyCursor, rdwRemaining);
    m_lHigh = ByteBuffer::WalkBufferToGetLong(rpbyCursor, rdwRemaining);
}
std::size_t AttributeBytesRangeValue::GetValueStateSize() const noexcept {
    return 8;
}
BYTE* AttributeBytesRangeValue::StoreTypeAndValueState(BYTE* pbyOut) const {
    return vlm::StoreLong(vlm::StoreLong(StoreHead(pbyOut, ABVTE_RANGE), m_lLow), m_lHigh);
}
std::strong_ordering AttributeBytesRangeValue::CompareMembers(const AttributeBytesValue& rSameType) const noexcept {
    const auto& rOther = static_cast<const AttributeBytesRangeValue&>(rSameType);
    return std::tie(m_lLow, m_lHigh) <=> std::tie(rOther.m_lLow, rOther.m_lHigh);
}
CXString AttributeBytesRangeValue::GetMembersDisplayString() const {
    return CXString::FormatString(VTEXT("%s: Low Value=%ld High Value=%ld"), GetDebugDisplayString(ABVTE_RANGE), m_lLow,
                                  m_lHigh);
}

// ---- resolution ----

AttributeBytesResolutionValue::~AttributeBytesResolutionValue() = default;
AttributeBytesValueEnum AttributeBytesResolutionValue::GetAttributeBytesValueType() const noexcept {
    return ABVTE_RESOLUTION;
}
std::unique_ptr<AttributeBytesValue> AttributeBytesResolutionValue::Clone() const {
    return std::make_unique<AttributeBytesResolutionValue>(*this);
}
void AttributeBytesResolutionValue::WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    m_lFeed = ByteBuffer::WalkBufferToGetLong(rpbyCursor, rdwRemaining);
    m_lCrossFeed = ByteBuffer::WalkBufferToGetLong(rpbyCursor, rdwRemaining);
    m_nUnits = ByteBuffer::WalkBufferToGetShort(rpbyCursor, rdwRemaining);
}
std::size_t AttributeBytesResolutionValue::GetValueStateSize() const noexcept {
    return 10;
}
BYTE* AttributeBytesResolutionValue::StoreTypeAndValueState(BYTE* pbyOut) const {
    return vlm::StoreShort(vlm::StoreLong(vlm::StoreLong(StoreHead(pbyOut, ABVTE_RESOLUTION), m_lFeed), m_lCrossFeed),
                           m_nUnits);
}
std::strong_ordering AttributeBytesResolutionValue::CompareMembers(
    const AttributeBytesValue& rSameType) const noexcept {
    const auto& rOther = static_cast<const AttributeBytesResolutionValue&>(rSameType);
    return std::tie(m_lCrossFeed, m_lFeed, m_nUnits) <=> std::tie(rOther.m_lCrossFeed, rOther.m_lFeed, rOther.m_nUnits);
}
CXString AttributeBytesResolutionValue::GetMembersDisplayString() const {
    return CXString::FormatString(VTEXT("%s: Cross-Feed Value=%ld, Feed Value=%ld, Units Value=%ld"),
                                  GetDebugDisplayString(ABVTE_RESOLUTION), m_lCrossFeed, m_lFeed,
                                  static_cast<LONG>(m_nUnits));
}
