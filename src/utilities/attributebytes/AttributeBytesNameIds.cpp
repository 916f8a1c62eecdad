/// @file
/// Identifiers that are a name.
#include "utilities/attributebytes/AttributeBytesNameIds.h"

#include "utilities/attributebytes/detail/StoreBytes.h"

AttributeBytesNameId::~AttributeBytesNameId() = default;

CXString AttributeBytesNameId::GetDumpDisplayString(bool fShowType) const {
    return vlm::WithTypeName(
        CXString::FormatString(VTEXT("%s: Value=%s"), GetDebugDisplayString(GetAttributeBytesIdType()), m_csName),
        fShowType);
}

void AttributeBytesNameId::WalkBufferToSetIdentifier(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    m_csName = ByteBuffer::WalkBufferToGetCountedString(rpbyCursor, rdwRemaining);
}

DWORD AttributeBytesNameId::GetIdentifierStateSize() const noexcept {
    return static_cast<DWORD>(vlm::GetRecordTextSize(m_csName));
}

BYTE* AttributeBytesNameId::StoreTypeAndIdentifierState(BYTE* pbyOut) const {
    return vlm::StoreRecordText(vlm::StoreByte(pbyOut, static_cast<BYTE>(GetAttributeBytesIdType())), m_csName);
}

ULONGLONG AttributeBytesNameId::GetOrderKey() const noexcept {
    return vlm::MakeNameKey(GetAttributeBytesIdType(), m_csName);
}

std::strong_ordering AttributeBytesNameId::CompareBeyondKey(const AttributeBytesId& rSameType) const noexcept {
    return vlm::CompareTexts(m_csName, static_cast<const AttributeBytesNameId&>(rSameType).m_csName);
}

AttributeBytesNewFeatureId::~AttributeBytesNewFeatureId() = default;
AttributeBytesIdEnum AttributeBytesNewFeatureId::GetAttributeBytesIdType() const noexcept {
    return ABIDE_NEWFEATURE;
}
std::unique_ptr<AttributeBytesId> AttributeBytesNewFeatureId::Clone() const {
    return std::make_unique<AttributeBytesNewFeatureId>(*this);
}

AttributeBytesNewValueId::~AttributeBytesNewValueId() = default;
AttributeBytesIdEnum AttributeBytesNewValueId::GetAttributeBytesIdType() const noexcept {
    return ABIDE_NEWVALUE;
}
std::unique_ptr<AttributeBytesId> AttributeBytesNewValueId::Clone() const {
    return std::make_unique<AttributeBytesNewValueId>(*this);
}
