/// @file
/// One print setting: an identifier and a value.
#pragma once

#include <cstddef>
#include <memory>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/attributebytes/AttributeBytesId.h"
#include "utilities/attributebytes/AttributeBytesValue.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/VlmSharedPtr.h"

class AttributeBytes;

/// How lists hold records.
using AttributeBytesSharedPtr = VlmSharedPtr<AttributeBytes, SharedPtrCompare<AttributeBytes>>;

/// An attribute record.  Its state, with no padding and no overall length:
///
///     width     field
///     1         identifier tag, 2 to 9
///     variable  identifier payload
///     1         value tag, 2 to 12
///     1         unspecified flag: 0 when the value is specified, 1 when it is not
///     variable  value payload, also of an unspecified value
///
/// **Ownership**: the record owns its identifier and its value; copies clone both.  A record that was moved from may
/// only be assigned to or destroyed.  **Threads**: one object is used by one thread at a time.
class VLM_API AttributeBytes : public PooledObject {
public:
    /// Takes both over.  A null one is a failed assertion; a feature 0 or an unspecified integer 0 takes its place.
    AttributeBytes(std::unique_ptr<AttributeBytesId> apoId, std::unique_ptr<AttributeBytesValue> apoValue);
    /// Clones both.
    AttributeBytes(const AttributeBytesId& rId, const AttributeBytesValue& rValue);
    AttributeBytes(std::unique_ptr<AttributeBytesId> apoId, const AttributeBytesValue& rValue);
    /// Reads a record from a buffer that begins with one; see ImportAttributeBytesState.
    explicit AttributeBytes(const ByteBuffer& rbbState);
    AttributeBytes(const AttributeBytes& rOther);
    AttributeBytes(AttributeBytes&& rOther) noexcept = default;
    AttributeBytes& operator=(const AttributeBytes& rOther);
    AttributeBytes& operator=(AttributeBytes&& rOther) noexcept = default;
    ~AttributeBytes() = default;

    /// Identifiers equal and values equal, by their IsEqual?
    bool operator==(const AttributeBytes& rOther) const noexcept;
    /// By the identifiers' LessThan alone; the values take no part.
    bool operator<(const AttributeBytes& rOther) const noexcept;

    /// Borrowed until the record is changed or destroyed.
    const AttributeBytesId& GetAttributeBytesId() const noexcept { return *m_apoId; }
    const AttributeBytesValue& GetAttributeBytesValue() const noexcept { return *m_apoValue; }
    AttributeBytesValue& GetAttributeBytesValue() noexcept { return *m_apoValue; }

    /// Replaces one half, by taking an object over (null is a failed assertion and changes nothing) or by a clone.
    /// The identifier of a record that an indexed list holds must stay as it is: the list is ordered by it.
    void SetAttributeBytesId(std::unique_ptr<AttributeBytesId> apoId);
    void SetAttributeBytesId(const AttributeBytesId& rId);
    void SetAttributeBytesValue(std::unique_ptr<AttributeBytesValue> apoValue);
    void SetAttributeBytesValue(const AttributeBytesValue& rValue);

    /// The record's state, as a new buffer or appended to one (which is unchanged when that fails).
    ByteBuffer GetAttributeBytesState() const;
    void GetAttributeBytesState(ByteBuffer& rbbOut) const;
    /// Size of the state in bytes.
    std::size_t GetAttributeBytesStateSize() const noexcept;
    /// Writes the state, exactly GetAttributeBytesStateSize() bytes.  @return the position behind it.
    BYTE* StoreAttributeBytesState(BYTE* pbyOut) const;

    /// Replaces identifier and value from a buffer that begins with a record; bytes behind the record are ignored.
    /// @throws as WalkBufferToCreateAttributeBytes; the record is then unchanged.
    void ImportAttributeBytesState(const ByteBuffer& rbbState);
    /// Reads one record at the cursor and moves the cursor and the remaining count behind it.
    /// @throws ExceptionNotEnoughBytesForDesiredDataType when the bytes end inside the record,
    ///         ExceptionUnhandledSyntax for a tag without a class, ExceptionMissingOrBadAttributeBytesFormat for a list
    ///         value without its signature or with too deep a nesting.  The cursor may then have moved.
    static AttributeBytesSharedPtr WalkBufferToCreateAttributeBytes(const BYTE*& rpbyCursor, DWORD& rdwRemaining);
    /// The same for a cursor that points to writable bytes.
    static AttributeBytesSharedPtr WalkBufferToCreateAttributeBytes(BYTE*& rpbyCursor, DWORD& rdwRemaining);

    /// Identifier and value in one line.
    CXString GetDumpDisplayString(bool fShowSpecified) const;
    /// Writes the display text as a debug message; does nothing in a release configuration.
    void Dump() const;

private:
    std::unique_ptr<AttributeBytesId> m_apoId;
    std::unique_ptr<AttributeBytesValue> m_apoValue;
};
