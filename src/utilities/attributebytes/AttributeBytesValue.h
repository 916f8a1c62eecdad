/// @file
/// What a print setting is set to: the base of the values of attribute records.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/MemoryPool.h"

/// The second half of an attribute record.  On the wire: one tag byte (the AttributeBytesValueEnum value), the
/// unspecified flag (1 byte: 0 specified, 1 not; any byte but 0 is read as not specified), then the payload of the
/// class that belongs to the tag, which is there for an unspecified value, too.
/// **Threads**: one object is used by one thread at a time.
class VLM_API AttributeBytesValue : public PooledObject {
public:
    enum AttributeBytesValueEnum : std::int32_t {
        ABVTE_UNSPECIFIED = 1,  ///< stands for no class; not allowed on the wire
#define VLM_ATTRIBUTE_VALUE(tag, enumerator, className, fixedBytes, tail) enumerator = tag,
#include "utilities/attributebytes/AttributeBytesValueList.inl"
    };

    virtual ~AttributeBytesValue();
    virtual AttributeBytesValueEnum GetAttributeBytesValueType() const noexcept = 0;
    /// True for the list value alone.
    virtual bool IsList() const noexcept;
    virtual std::unique_ptr<AttributeBytesValue> Clone() const = 0;
    /// Same type, equal members, and both specified or both not?
    virtual bool IsEqual(const AttributeBytesValue& rValue) const noexcept;
    /// By type, then by the members in their order, then unspecified before specified.
    virtual bool LessThan(const AttributeBytesValue& rValue) const noexcept;
    /// One line for people, as "ABVTE_INTEGER: Value=5 (0x5)".
    /// @param fShowSpecified true: followed by "value <specified>" or "value <unspecified>".
    virtual CXString GetDumpDisplayString(bool fShowSpecified) const;
    /// Writes the display text as a debug message; does nothing in a release configuration.
    virtual void Dump() const;
    /// The payload, without tag and flag.
    virtual ByteBuffer GetValueState() const;
    /// Reads the payload at the cursor and moves the cursor and the remaining count behind it.
    /// @throws ExceptionNotEnoughBytesForDesiredDataType when the bytes end inside the payload; the value kinds that
    ///         hold other objects throw as those do.
    virtual void WalkBufferToSetValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining) = 0;

    /// Size of the payload in bytes.
    virtual std::size_t GetValueStateSize() const noexcept = 0;
    /// Writes tag, flag and payload, exactly 2 + GetValueStateSize() bytes.  @return the position behind them.
    virtual BYTE* StoreTypeAndValueState(BYTE* pbyOut) const = 0;
    /// Orders two values of one type by their members.
    virtual std::strong_ordering CompareMembers(const AttributeBytesValue& rSameType) const noexcept = 0;

    bool IsSpecified() const noexcept {
        return m_bIsSpecified;
    }
    void SetIsSpecified(bool fIsSpecified) noexcept {
        m_bIsSpecified = fIsSpecified;
    }

    /// Tag byte, unspecified flag and payload.
    ByteBuffer GetTypeAndValueState() const;
    /// Reads a tag, the flag, and the payload that belongs to the tag, moving the cursor behind them.
    /// @throws ExceptionUnhandledSyntax for a tag without a class, ExceptionNotEnoughBytesForDesiredDataType when the
    ///         bytes end too early, ExceptionMissingOrBadAttributeBytesFormat for a list that is none; the cursor may
    ///         then have moved.
    static std::unique_ptr<AttributeBytesValue> WalkBufferToGetTypeAndCreateValue(const BYTE*& rpbyCursor,
                                                                                  DWORD& rdwRemaining);
    /// The same for a cursor that points to writable bytes.
    static std::unique_ptr<AttributeBytesValue> WalkBufferToGetTypeAndCreateValue(BYTE*& rpbyCursor,
                                                                                  DWORD& rdwRemaining);
    /// The enumerator's name, as "ABVTE_INTEGER"; for any other number a text that says so.
    static CXString GetDebugDisplayString(AttributeBytesValueEnum abvteValueType);

protected:
    AttributeBytesValue() = default;
    AttributeBytesValue(const AttributeBytesValue&) = default;
    AttributeBytesValue& operator=(const AttributeBytesValue&) = default;
    /// Writes tag and flag.  @return the position behind them.
    BYTE* StoreHead(BYTE* pbyOut, AttributeBytesValueEnum abvteValueType) const noexcept {
        pbyOut[0] = static_cast<BYTE>(abvteValueType);
        pbyOut[1] = m_bIsSpecified ? 0 : 1;
        return pbyOut + 2;
    }
    /// The display text without the specified state; its "%s" is the enumerator's name.
    virtual CXString GetMembersDisplayString() const = 0;

private:
    bool m_bIsSpecified = true;
};

using AttributeBytesValueEnum = AttributeBytesValue::AttributeBytesValueEnum;
