/// @file
/// Identifiers that are a number.
#include "utilities/attributebytes/AttributeBytesNumberIds.h"

#include "utilities/attributebytes/detail/StoreBytes.h"

AttributeBytesNumberId::~AttributeBytesNumberId() = default;

CXString AttributeBytesNumberId::GetDumpDisplayString(bool fShowType) const {
    return vlm::WithTypeName(
        CXString::FormatString(VTEXT("%s: Value=%ld (0x%lx)"), GetDebugDisplayString(GetAttributeBytesIdType()),
                               m_lNumber, m_lNumber),
        fShowType);
}

void AttributeBytesNumberId::WalkBufferToSetIdentifier(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    m_lNumber = ByteBuffer::WalkBufferToGetLong(rpbyCursor, rdwRemaining);
}

DWORD AttributeBytesNumberId::GetIdentifierStateSize() const noexcept {
    return 4;
}

BYTE* AttributeBytesNumberId::StoreTypeAndIdentifierState(BYTE* pbyOut) const {
    return vlm::StoreLong(vlm::StoreByte(pbyOut, m_byType), m_lNumber);
}

ULONGLONG AttributeBytesNumberId::GetOrderKey() const noexcept {
    return vlm::MakeNumberKey(m_byType, m_lNumber);
}

AttributeBytesFeatureId::~AttributeBytesFeatureId() = default;
AttributeBytesIdEnum AttributeBytesFeatureId::GetAttributeBytesIdType() const noexcept {
    return ABIDE_FEATURE;
}
std::unique_ptr<AttributeBytesId> AttributeBytesFeatureId::Clone() const {
    return std::make_unique<AttributeBytesFeatureId>(*this);
}

AttributeBytesValueId::~AttributeBytesValueId() = default;
AttributeBytesIdEnum AttributeBytesValueId::GetAttributeBytesIdType() const noexcept {
    return ABIDE_VALUE;
}
std::unique_ptr<AttributeBytesId> AttributeBytesValueId::Clone() const {
    return std::make_unique<AttributeBytesValueId>(*this);
}

AttributeBytesListOfValuesItemId::~AttributeBytesListOfValuesItemId() = default;
AttributeBytesIdEnum AttributeBytesListOfValuesItemId::GetAttributeBytesIdType() const noexcept {
    return ABIDE_LISTOFVALUESITEM;
}
std::unique_ptr<AttributeBytesId> AttributeBytesListOfValuesItemId::Clone() const {
    return std::make_unique<AttributeBytesListOfValuesItemId>(*this);
}
CXString AttributeBytesListOfValuesItemId::GetDumpDisplayString(bool fShowType) const {
    return vlm::WithTypeName(
        CXString::FormatString(VTEXT("%s: index %ld"), GetDebugDisplayString(GetAttributeBytesIdType()), m_lNumber),
        fShowType);
}

AttributeBytesNameSpacesId::~AttributeBytesNameSpacesId() = default;
AttributeBytesIdEnum AttributeBytesNameSpacesId::GetAttributeBytesIdType() const noexcept {
    return ABIDE_NAMESPACE;
}
std::unique_ptr<AttributeBytesId> AttributeBytesNameSpacesId::Clone() const {
    return std::make_unique<AttributeBytesNameSpacesId>(*this);
}
