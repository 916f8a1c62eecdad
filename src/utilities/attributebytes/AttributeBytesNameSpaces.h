/// @file
/// The settings of several name spaces: one list of attribute records for each.
#pragma once

#include <memory>

#include "utilities/attributebytes/AttributeBytesIndexedList.h"
#include "utilities/attributebytes/AttributeBytesRawList.h"
#include "utilities/utilitiesdll/DriverVersion.h"

/// Name spaces by number, each with the attribute records that belong to it.  Its state:
///
///     offset  size  field
///          0     4  signature "ABNS"
///          4     8  the driver version of the library that wrote it: four 16-bit parts
///         12        an indexed-list state; each record has an AttributeBytesNameSpacesId and a list value
///
/// **Threads**: no lock of its own; one thread at a time.
/// **Failure**: an operation that throws leaves the object as it was.
class VLM_API AttributeBytesNameSpaces {
public:
    /// "ABNS" as a little-endian number.
    static constexpr DWORD SIGNATURE = 0x534E4241;

    AttributeBytesNameSpaces();
    ~AttributeBytesNameSpaces();
    AttributeBytesNameSpaces(const AttributeBytesNameSpaces&);
    AttributeBytesNameSpaces(AttributeBytesNameSpaces&&) noexcept;
    AttributeBytesNameSpaces& operator=(const AttributeBytesNameSpaces&);
    AttributeBytesNameSpaces& operator=(AttributeBytesNameSpaces&&) noexcept;

    DWORD GetNumberOfNameSpaces() const noexcept;
    bool IsEmpty() const noexcept;
    /// The number of the name space at an index, counted from 0 in ascending order.
    /// @throws ExceptionIndexOutOfBounds for an index outside.
    LONG GetNameSpaceByIndex(LONG lIndex) const;
    bool Exists(LONG lNameSpaceId) const noexcept;
    /// The records of a name space as an indexed list of their own.
    /// @throws ExceptionFeatureNotFound when there is no such name space; as reading its records does.
    std::unique_ptr<AttributeBytesIndexedList> GetNameSpaceAttributes(LONG lNameSpaceId) const;
    /// Replaces the records of a name space, or adds it.
    void SetNameSpaceAttributes(LONG lNameSpaceId, const AttributeBytesList& rAttributes, BYTE byKindOfList = 0);
    /// Removes a name space; silent when there is none.
    void DeleteNameSpaceAttributes(LONG lNameSpaceId) noexcept;
    /// The records of a name space as they are stored, borrowed until it is changed.
    /// @throws ExceptionFeatureNotFound when there is no such name space.
    const AttributeBytesRawList& GetAttributeBytesRawList(LONG lNameSpaceId) const;
    /// The kind of the name space's list value.  @throws ExceptionFeatureNotFound.
    BYTE GetKindOfList(LONG lNameSpaceId) const;
    /// One record for each name space, in ascending order.
    const AttributeBytesIndexedList& GetNameSpacesIndexedList() const noexcept { return m_oNameSpacesIndexedList; }

    /// The state, with the library's own version in it, or with another.
    ByteBuffer GetAttributeBytesNameSpacesState() const;
    ByteBuffer GetAttributeBytesNameSpacesState(const DriverVersion& rVersion) const;
    /// Replaces all name spaces from a state.
    /// @return the version in the state.
    /// @throws ExceptionMissingOrBadAttributeBytesFormat when a signature is wrong or a record is no name space; else
    ///         as AttributeBytesIndexedList::ImportAttributeBytesIndexedListState.
    DriverVersion ImportAttributeBytesNameSpacesState(const ByteBuffer& rbbState);

private:
    AttributeBytesIndexedList m_oNameSpacesIndexedList;
};
