/// @file
/// Making objects from the bytes of records, and the two factories: everything that turns a tag into a class.
#include "utilities/attributebytes/detail/RecordReader.h"

#include <type_traits>

#include "utilities/attributebytes/AttributeBytesCapabilityIds.h"
#include "utilities/attributebytes/AttributeBytesDataValues.h"
#include "utilities/attributebytes/AttributeBytesDateTimeValue.h"
#include "utilities/attributebytes/AttributeBytesDimensionValues.h"
#include "utilities/attributebytes/AttributeBytesIdFactory.h"
#include "utilities/attributebytes/AttributeBytesListValue.h"
#include "utilities/attributebytes/AttributeBytesNameIds.h"
#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/AttributeBytesNumberValues.h"
#include "utilities/attributebytes/AttributeBytesOptionValue.h"
#include "utilities/attributebytes/AttributeBytesValueFactory.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

[[noreturn]] void ThrowUnhandledId(AttributeBytesIdEnum abideType) {
    VLM_THROW(ExceptionUnhandledSyntax, VTEXT("Unhandled AttributeBytesId type, %s (%ld/0x%lx)."),
              AttributeBytesId::GetDebugDisplayString(abideType), static_cast<LONG>(abideType),
              static_cast<LONG>(abideType));
}

[[noreturn]] void ThrowUnhandledValue(AttributeBytesValueEnum abvteValueType) {
    VLM_THROW(ExceptionUnhandledSyntax, VTEXT("Unhandled AttributeBytesValue syntax, %s (%ld/0x%lx)."),
              AttributeBytesValue::GetDebugDisplayString(abvteValueType), static_cast<LONG>(abvteValueType),
              static_cast<LONG>(abvteValueType));
}

}  // namespace

std::unique_ptr<AttributeBytesId> AttributeBytesIdFactory::CreateAttributeBytesId(AttributeBytesIdEnum abideType) {
    VLM_ASSERT_IN(
        DebugCategory::AttrBytes, AttributeBytesId::ABIDE_UNSPECIFIED != abideType,
        VTEXT("The specified type, ABIDE_UNSPECIFIED, doesn't correspond to an AttributeBytesId-derived class!"));
    switch (static_cast<std::int32_t>(abideType)) {
        case AttributeBytesId::ABIDE_UNSPECIFIED:
            return nullptr;
#define VLM_ATTRIBUTE_ID(tag, enumerator, className, fixedBytes, tail) \
    case tag:                                                          \
        return std::make_unique<className>();
#include "utilities/attributebytes/AttributeBytesIdList.inl"
        default:
            ThrowUnhandledId(abideType);
    }
}

std::unique_ptr<AttributeBytesValue> AttributeBytesValueFactory::CreateAttributeBytesValue(
    AttributeBytesValueEnum abvteValueType) {
    VLM_ASSERT_IN(
        DebugCategory::AttrBytes, AttributeBytesValue::ABVTE_UNSPECIFIED != abvteValueType,
        VTEXT("The specified syntax, ABVTE_UNSPECIFIED, doesn't correspond to an AttributeBytesValue-derived class!"));
    switch (static_cast<std::int32_t>(abvteValueType)) {
        case AttributeBytesValue::ABVTE_UNSPECIFIED:
            return nullptr;
#define VLM_ATTRIBUTE_VALUE(tag, enumerator, className, fixedBytes, tail) \
    case tag:                                                             \
        return std::make_unique<className>();
#include "utilities/attributebytes/AttributeBytesValueList.inl"
        default:
            ThrowUnhandledValue(abvteValueType);
    }
}

namespace vlm {

// The readers know each class, as the factories do, so that making an object and reading its payload costs no virtual
// call; tags without a class take the factory's way to their failure.

std::unique_ptr<AttributeBytesId> RecordReader::ReadIdentifier(const BYTE*& rpbyCursor, DWORD& rdwRemaining) {
    const BYTE byTag = ByteBuffer::WalkBufferToGetByte(rpbyCursor, rdwRemaining);
    switch (byTag) {
#define VLM_ATTRIBUTE_ID(tag, enumerator, className, fixedBytes, tail)         \
    case tag: {                                                                \
        auto apoId = std::make_unique<className>();                            \
        apoId->className::WalkBufferToSetIdentifier(rpbyCursor, rdwRemaining); \
        return apoId;                                                          \
    }
#include "utilities/attributebytes/AttributeBytesIdList.inl"
        default:
            break;
    }
    const auto abideType = static_cast<AttributeBytesIdEnum>(byTag);
    AttributeBytesIdFactory::CreateAttributeBytesId(abideType);
    ThrowUnhandledId(abideType);
}

template <class Value>
std::unique_ptr<AttributeBytesValue> RecordReader::ReadValueOf(const BYTE*& rpbyCursor, DWORD& rdwRemaining,
                                                               bool fNestingChecked) {
    auto apoValue = std::make_unique<Value>();
    apoValue->SetIsSpecified(ByteBuffer::WalkBufferToGetByte(rpbyCursor, rdwRemaining) == 0);
    if constexpr (std::is_same_v<Value, AttributeBytesListValue>) {
        apoValue->ReadPayload(rpbyCursor, rdwRemaining, fNestingChecked);
    } else {
        apoValue->Value::WalkBufferToSetValue(rpbyCursor, rdwRemaining);
    }
    return apoValue;
}

std::unique_ptr<AttributeBytesValue> RecordReader::ReadValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining,
                                                             bool fNestingChecked) {
    const BYTE byTag = ByteBuffer::WalkBufferToGetByte(rpbyCursor, rdwRemaining);
    switch (byTag) {
#define VLM_ATTRIBUTE_VALUE(tag, enumerator, className, fixedBytes, tail) \
    case tag:                                                             \
        return ReadValueOf<className>(rpbyCursor, rdwRemaining, fNestingChecked);
#include "utilities/attributebytes/AttributeBytesValueList.inl"
        default:
            break;
    }
    const auto abvteValueType = static_cast<AttributeBytesValueEnum>(byTag);
    AttributeBytesValueFactory::CreateAttributeBytesValue(abvteValueType);
    ThrowUnhandledValue(abvteValueType);
}

AttributeBytes RecordReader::ReadRecord(const BYTE*& rpbyCursor, DWORD& rdwRemaining, bool fNestingChecked) {
    std::unique_ptr<AttributeBytesId> apoId = ReadIdentifier(rpbyCursor, rdwRemaining);
    return AttributeBytes(std::move(apoId), ReadValue(rpbyCursor, rdwRemaining, fNestingChecked));
}

AttributeBytesSharedPtr RecordReader::ReadSharedRecord(const BYTE*& rpbyCursor, DWORD& rdwRemaining,
                                                       bool fNestingChecked) {
    std::unique_ptr<AttributeBytesId> apoId = ReadIdentifier(rpbyCursor, rdwRemaining);
    return AttributeBytesSharedPtr(
        std::make_unique<AttributeBytes>(std::move(apoId), ReadValue(rpbyCursor, rdwRemaining, fNestingChecked)));
}

}  // namespace vlm
