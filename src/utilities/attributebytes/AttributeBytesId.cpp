/// @file
/// What all identifiers share.
#include "utilities/attributebytes/AttributeBytesId.h"

#include <compare>

#include "utilities/attributebytes/detail/RecordReader.h"
#include "utilities/attributebytes/detail/StoreBytes.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

AttributeBytesId::~AttributeBytesId() = default;

bool AttributeBytesId::IsEqual(const AttributeBytesId& rId) const noexcept {
    return GetOrderKey() == rId.GetOrderKey() && std::is_eq(CompareBeyondKey(rId));
}

bool AttributeBytesId::LessThan(const AttributeBytesId& rId) const noexcept {
    const ULONGLONG ullKey = GetOrderKey();
    const ULONGLONG ullOtherKey = rId.GetOrderKey();
    return ullKey != ullOtherKey ? ullKey < ullOtherKey : std::is_lt(CompareBeyondKey(rId));
}

std::strong_ordering AttributeBytesId::CompareBeyondKey(const AttributeBytesId&) const noexcept {
    return std::strong_ordering::equal;
}

void AttributeBytesId::Dump() const {
#ifndef NDEBUG
    VLM_REPORT(DebugCategory::AttrDump, VTEXT("%s"), GetDumpDisplayString(true));
#endif
}

ByteBuffer AttributeBytesId::GetIdentifierState() const {
    const ByteBuffer bbWithTag = GetTypeAndIdentifierState();
    return ByteBuffer(bbWithTag.data() + 1, bbWithTag.size() - 1);
}

ByteBuffer AttributeBytesId::GetTypeAndIdentifierState() const {
    return vlm::MakeState(1 + GetIdentifierStateSize(), [this](BYTE* pbyOut) { StoreTypeAndIdentifierState(pbyOut); });
}

std::unique_ptr<AttributeBytesId> AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(const BYTE*& rpbyCursor,
                                                                                           DWORD& rdwRemaining) {
    return vlm::RecordReader::ReadIdentifier(rpbyCursor, rdwRemaining);
}

std::unique_ptr<AttributeBytesId> AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(BYTE*& rpbyCursor,
                                                                                           DWORD& rdwRemaining) {
    return vlm::WalkWritable(rpbyCursor, rdwRemaining, vlm::RecordReader::ReadIdentifier);
}

CXString AttributeBytesId::GetDebugDisplayString(AttributeBytesIdEnum abideType) {
    switch (static_cast<std::int32_t>(abideType)) {
        case ABIDE_UNSPECIFIED:
            return VTEXT("ABIDE_UNSPECIFIED");
#define VLM_ATTRIBUTE_ID(tag, enumerator, className, fixedBytes, tail) \
    case tag:                                                          \
        return VTEXT(#enumerator);
#include "utilities/attributebytes/AttributeBytesIdList.inl"
        default:
            return CXString::FormatString(
                VTEXT("Unrecognized AttributeBytesIdEnumType of %ld (0x%lx). You may need to update "
                      "GetDebugDisplayString() with a recently added derived class enum type."),
                static_cast<LONG>(abideType), static_cast<LONG>(abideType));
    }
}
