/// @file
/// What the two lists of attribute records have in common.
#pragma once

#include <memory>
#include <vector>

#include "platform/Export.h"
#include "utilities/attributebytes/AttributeBytes.h"

class AttributeBytesList;

/// A position in a list of records; each list class has its own kind.  An iterator belongs to one list: offered to
/// another, it is invalid, or of the wrong kind.
class VLM_API AttributeBytesListIterator {
public:
    virtual ~AttributeBytesListIterator();
    virtual std::unique_ptr<AttributeBytesListIterator> Clone() const = 0;

protected:
    AttributeBytesListIterator() = default;
    AttributeBytesListIterator(const AttributeBytesListIterator&) = default;
    AttributeBytesListIterator& operator=(const AttributeBytesListIterator&) = default;
};

/// A list of attribute records.
/// **Threads**: no lock of its own; a list is used by one thread at a time.
/// **Failure**: an operation that throws leaves the list as it was.  Operations with an iterator throw
/// ExceptionAttributeValueTypeMismatch when it is of another list class, and ExceptionIndexOutOfBounds when it is not
/// valid where a record is asked for.
class VLM_API AttributeBytesList {
public:
    virtual ~AttributeBytesList();
    virtual bool IsEmpty() const noexcept = 0;
    virtual bool LengthIsExactlyOne() const = 0;
    /// A position at the first record.
    virtual std::unique_ptr<AttributeBytesListIterator> GetIterator() const = 0;
    /// Is there a record at the position?
    virtual bool IsValid(const AttributeBytesListIterator& rIterator) const = 0;
    /// A copy of the record at the position, which moves on to the next.
    virtual AttributeBytes GetNextAttributeBytes(AttributeBytesListIterator& rIterator) const = 0;
    /// Adds a record; whether the list shares the object or copies it is the list's affair.  Null is a failed assertion
    /// and adds nothing.
    virtual void AddAttributeBytes(const AttributeBytesSharedPtr& rshpoAttributeBytes) = 0;
    /// Adds a copy of a record.
    virtual void AddAttributeBytes(const AttributeBytes& rAttributeBytes) = 0;
    virtual void DeleteAllAttributeBytes() noexcept = 0;
    /// Writes every record as a debug message; does nothing in a release configuration.
    virtual void Dump() const;
    /// As GetNextAttributeBytes, shared.
    virtual AttributeBytesSharedPtr GetNextAttributeBytesSharedPtr(AttributeBytesListIterator& rIterator) const = 0;

    /// Replaces the records by those of another list, of either kind, in its order; the list itself changes nothing.
    /// @throws ExceptionDuplicateAttributeId when an indexed list is offered an identifier twice, and as reading the
    ///         other list does.
    void ImportFromOtherList(const AttributeBytesList& rOther);
    /// The record at an index, counted from 0 in list order.
    /// @throws ExceptionIndexOutOfBounds for an index outside the list.
    AttributeBytesSharedPtr GetAttributeBytesByIndex(LONG lIndex) const;
    /// All records in list order.
    std::vector<AttributeBytesSharedPtr> GetAllAttributeBytes() const;

protected:
    AttributeBytesList() = default;
    AttributeBytesList(const AttributeBytesList&) = default;
    AttributeBytesList& operator=(const AttributeBytesList&) = default;
    /// Replaces all records, or throws and changes nothing.
    virtual void ReplaceAllAttributeBytes(const std::vector<AttributeBytesSharedPtr>& rvshpoRecords) = 0;
    /// An iterator as one of the list's own kind; throws when it is of another.
    template <class Own, class Iterator>
    static Own& AsOwn(Iterator& rIterator) {
        Own* const pOwn = dynamic_cast<Own*>(&rIterator);
        if (!pOwn) ThrowWrongIterator();
        return *pOwn;
    }
    [[noreturn]] static void ThrowWrongIterator();
    [[noreturn]] static void ThrowInvalidIterator();
};
