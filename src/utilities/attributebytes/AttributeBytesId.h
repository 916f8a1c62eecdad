/// @file
/// What a print setting is: the base of the identifiers of attribute records.
#pragma once

#include <compare>
#include <cstdint>
#include <memory>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/MemoryPool.h"

/// The first half of an attribute record.  On the wire: one tag byte (the AttributeBytesIdEnum value), then the
/// payload of the class that belongs to the tag.
///
/// Identifiers have one total order: by type, then by number or by name, code unit by code unit.  Indexed lists are
/// sorted by it.
/// **Threads**: one object is used by one thread at a time.
class VLM_API AttributeBytesId : public PooledObject {
public:
    enum AttributeBytesIdEnum : std::int32_t {
        ABIDE_UNSPECIFIED = 1,  ///< stands for no class; not allowed on the wire
#define VLM_ATTRIBUTE_ID(tag, enumerator, className, fixedBytes, tail) enumerator = tag,
#include "utilities/attributebytes/AttributeBytesIdList.inl"
    };

    virtual ~AttributeBytesId();
    virtual AttributeBytesIdEnum GetAttributeBytesIdType() const noexcept = 0;
    virtual std::unique_ptr<AttributeBytesId> Clone() const = 0;
    /// Same type and equal members?
    virtual bool IsEqual(const AttributeBytesId& rId) const noexcept;
    /// By type (as a signed integer), then by the members.
    virtual bool LessThan(const AttributeBytesId& rId) const noexcept;
    /// One line for people.
    /// @param fShowType true: begins with the enumerator's name, as in "ABIDE_FEATURE: Value=258 (0x102)".
    virtual CXString GetDumpDisplayString(bool fShowType) const = 0;
    /// Writes the display text as a debug message; does nothing in a release configuration.
    virtual void Dump() const;
    /// The payload, without the tag.
    virtual ByteBuffer GetIdentifierState() const;
    /// Reads the payload at the cursor and moves the cursor and the remaining count behind it.
    /// @throws ExceptionNotEnoughBytesForDesiredDataType when the bytes end inside the payload.
    virtual void WalkBufferToSetIdentifier(const BYTE*& rpbyCursor, DWORD& rdwRemaining) = 0;

    /// Size of the payload in bytes.
    virtual DWORD GetIdentifierStateSize() const noexcept = 0;
    /// Writes tag and payload, exactly 1 + GetIdentifierStateSize() bytes.  @return the position behind them.
    virtual BYTE* StoreTypeAndIdentifierState(BYTE* pbyOut) const = 0;
    /// The order as a number: type in the top 8 bits, below it the members, or as much of them as fits.  Identifiers
    /// with different keys are ordered by them; with equal keys by CompareBeyondKey.
    virtual ULONGLONG GetOrderKey() const noexcept = 0;
    /// Orders two identifiers of one type whose keys are equal.
    virtual std::strong_ordering CompareBeyondKey(const AttributeBytesId& rSameType) const noexcept;

    /// Compares the types only; IsEqual and LessThan compare everything.
    bool operator==(const AttributeBytesId& rId) const noexcept {
        return GetAttributeBytesIdType() == rId.GetAttributeBytesIdType();
    }
    bool operator<(const AttributeBytesId& rId) const noexcept {
        return GetAttributeBytesIdType() < rId.GetAttributeBytesIdType();
    }

    /// Tag byte and payload.
    ByteBuffer GetTypeAndIdentifierState() const;
    /// Reads a tag and the payload that belongs to it, moving the cursor behind both.
    /// @throws ExceptionUnhandledSyntax for a tag without a class, ExceptionNotEnoughBytesForDesiredDataType when the
    ///         bytes end too early; the cursor may then have moved.
    static std::unique_ptr<AttributeBytesId> WalkBufferToGetTypeAndCreateIdentifier(const BYTE*& rpbyCursor,
                                                                                    DWORD& rdwRemaining);
    /// The same for a cursor that points to writable bytes.
    static std::unique_ptr<AttributeBytesId> WalkBufferToGetTypeAndCreateIdentifier(BYTE*& rpbyCursor,
                                                                                    DWORD& rdwRemaining);
    /// The enumerator's name, as "ABIDE_FEATURE"; for any other number a text that says so.
    static CXString GetDebugDisplayString(AttributeBytesIdEnum abideType);

protected:
    AttributeBytesId() = default;
    AttributeBytesId(const AttributeBytesId&) = default;
    AttributeBytesId& operator=(const AttributeBytesId&) = default;
};

using AttributeBytesIdEnum = AttributeBytesId::AttributeBytesIdEnum;
