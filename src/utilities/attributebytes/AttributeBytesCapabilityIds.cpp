/// @file
/// Identifiers of capabilities.
#include "utilities/attributebytes/AttributeBytesCapabilityIds.h"

#include "utilities/attributebytes/detail/StoreBytes.h"

AttributeBytesCapabilityId::~AttributeBytesCapabilityId() = default;
AttributeBytesIdEnum AttributeBytesCapabilityId::GetAttributeBytesIdType() const noexcept {
    return ABIDE_CAPABILITY;
}
std::unique_ptr<AttributeBytesId> AttributeBytesCapabilityId::Clone() const {
    return std::make_unique<AttributeBytesCapabilityId>(*this);
}

CXString AttributeBytesCapabilityId::GetDumpDisplayString(bool fShowType) const {
    return vlm::WithTypeName(
        CXString::FormatString(VTEXT("%s: feature %ld (0x%x), type %d (0x%x)"),
                               GetDebugDisplayString(GetAttributeBytesIdType()), m_lFeatureId, m_lFeatureId,
                               static_cast<int>(m_nCapabilityType), static_cast<int>(m_nCapabilityType)),
        fShowType);
}

void AttributeBytesCapabilityId::WalkBufferToSetIdentifier(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    m_nCapabilityType = ByteBuffer::WalkBufferToGetShort(rpbyCursor, rdwRemaining);
    m_lFeatureId = ByteBuffer::WalkBufferToGetLong(rpbyCursor, rdwRemaining);
}

DWORD AttributeBytesCapabilityId::GetIdentifierStateSize() const noexcept {
    return 6;
}

BYTE* AttributeBytesCapabilityId::StoreTypeAndIdentifierState(BYTE* pbyOut) const {
    return vlm::StoreLong(vlm::StoreShort(vlm::StoreByte(pbyOut, ABIDE_CAPABILITY), m_nCapabilityType), m_lFeatureId);
}

ULONGLONG AttributeBytesCapabilityId::GetOrderKey() const noexcept {
    const ULONGLONG ullFeature = static_cast<std::uint32_t>(m_lFeatureId) ^ 0x80000000U;
    const ULONGLONG ullCapability = static_cast<std::uint16_t>(m_nCapabilityType) ^ 0x8000U;
    return static_cast<ULONGLONG>(ABIDE_CAPABILITY) << 56 | ullFeature << 16 | ullCapability;
}

AttributeBytesNewCapabilityId::~AttributeBytesNewCapabilityId() = default;
AttributeBytesIdEnum AttributeBytesNewCapabilityId::GetAttributeBytesIdType() const noexcept {
    return ABIDE_NEWCAPABILITY;
}
std::unique_ptr<AttributeBytesId> AttributeBytesNewCapabilityId::Clone() const {
    return std::make_unique<AttributeBytesNewCapabilityId>(*this);
}

CXString AttributeBytesNewCapabilityId::GetDumpDisplayString(bool fShowType) const {
    return vlm::WithTypeName(
        CXString::FormatString(VTEXT("%s: feature %s, type %d (0x%x)"),
                               GetDebugDisplayString(GetAttributeBytesIdType()), m_csFeatureName,
                               static_cast<int>(m_nCapabilityType), static_cast<int>(m_nCapabilityType)),
        fShowType);
}

void AttributeBytesNewCapabilityId::WalkBufferToSetIdentifier(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    m_nCapabilityType = ByteBuffer::WalkBufferToGetShort(rpbyCursor, rdwRemaining);
    m_csFeatureName = ByteBuffer::WalkBufferToGetCountedString(rpbyCursor, rdwRemaining);
}

DWORD AttributeBytesNewCapabilityId::GetIdentifierStateSize() const noexcept {
    return static_cast<DWORD>(2 + vlm::GetRecordTextSize(m_csFeatureName));
}

BYTE* AttributeBytesNewCapabilityId::StoreTypeAndIdentifierState(BYTE* pbyOut) const {
    return vlm::StoreRecordText(vlm::StoreShort(vlm::StoreByte(pbyOut, ABIDE_NEWCAPABILITY), m_nCapabilityType),
                                m_csFeatureName);
}

ULONGLONG AttributeBytesNewCapabilityId::GetOrderKey() const noexcept {
    return vlm::MakeNameKey(ABIDE_NEWCAPABILITY, m_csFeatureName);
}

std::strong_ordering AttributeBytesNewCapabilityId::CompareBeyondKey(const AttributeBytesId& rSameType) const noexcept {
    const auto& rOther = static_cast<const AttributeBytesNewCapabilityId&>(rSameType);
    const std::strong_ordering order = vlm::CompareTexts(m_csFeatureName, rOther.m_csFeatureName);
    return std::is_neq(order) ? order : m_nCapabilityType <=> rOther.m_nCapabilityType;
}
