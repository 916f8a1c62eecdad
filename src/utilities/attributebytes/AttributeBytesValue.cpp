/// @file
/// What all values share.
#include "utilities/attributebytes/AttributeBytesValue.h"

#include "utilities/attributebytes/detail/RecordReader.h"
#include "utilities/attributebytes/detail/StoreBytes.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

AttributeBytesValue::~AttributeBytesValue() = default;

bool AttributeBytesValue::IsList() const noexcept {
    return false;
}

bool AttributeBytesValue::IsEqual(const AttributeBytesValue& rValue) const noexcept {
    return GetAttributeBytesValueType() == rValue.GetAttributeBytesValueType() &&
           m_bIsSpecified == rValue.m_bIsSpecified && CompareMembers(rValue) == 0;
}

bool AttributeBytesValue::LessThan(const AttributeBytesValue& rValue) const noexcept {
    const AttributeBytesValueEnum eType = GetAttributeBytesValueType();
    const AttributeBytesValueEnum eOtherType = rValue.GetAttributeBytesValueType();
    if (eType != eOtherType) return eType < eOtherType;
    const std::strong_ordering order = CompareMembers(rValue);
    return std::is_neq(order) ? std::is_lt(order) : m_bIsSpecified < rValue.m_bIsSpecified;
}

CXString AttributeBytesValue::GetDumpDisplayString(bool fShowSpecified) const {
    CXString csMembers = GetMembersDisplayString();
    if (!fShowSpecified) return csMembers;
    return CXString::FormatString(VTEXT("%s value %s"), csMembers,
                                  m_bIsSpecified ? VTEXT("<specified>") : VTEXT("<unspecified>"));
}

void AttributeBytesValue::Dump() const {
#ifndef NDEBUG
    VLM_REPORT(DebugCategory::AttrDump, VTEXT("%s"), GetDumpDisplayString(true));
#endif
}

ByteBuffer AttributeBytesValue::GetValueState() const {
    const ByteBuffer bbWithHead = GetTypeAndValueState();
    return ByteBuffer(bbWithHead.data() + 2, bbWithHead.size() - 2);
}

ByteBuffer AttributeBytesValue::GetTypeAndValueState() const {
    return vlm::MakeState(2 + GetValueStateSize(), [this](BYTE* pbyOut) { StoreTypeAndValueState(pbyOut); });
}

std::unique_ptr<AttributeBytesValue> AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(const BYTE*& rpbyCursor,
                                                                                            DWORD& rdwRemaining) {
    return vlm::RecordReader::ReadValue(rpbyCursor, rdwRemaining, false);
}

std::unique_ptr<AttributeBytesValue> AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(BYTE*& rpbyCursor,
                                                                                            DWORD& rdwRemaining) {
    return vlm::WalkWritable(rpbyCursor, rdwRemaining, [](const BYTE*& rpbyRead, DWORD& rdwLeft) {
        return vlm::RecordReader::ReadValue(rpbyRead, rdwLeft, false);
    });
}

CXString AttributeBytesValue::GetDebugDisplayString(AttributeBytesValueEnum abvteValueType) {
    switch (static_cast<std::int32_t>(abvteValueType)) {
        case ABVTE_UNSPECIFIED:
            return VTEXT("ABVTE_UNSPECIFIED");
#define VLM_ATTRIBUTE_VALUE(tag, enumerator, className, fixedBytes, tail) \
    case tag:                                                             \
        return VTEXT(#enumerator);
#include "utilities/attributebytes/AttributeBytesValueList.inl"
        default:
            return CXString::FormatString(
                VTEXT("Unrecognized AttributeBytesValueEnumType of %ld (0x%lx). You may need to update "
                      "GetDebugDisplayString() with a recently added derived class enum type."),
                static_cast<LONG>(abvteValueType), static_cast<LONG>(abvteValueType));
    }
}
