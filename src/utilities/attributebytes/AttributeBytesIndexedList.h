/// @file
/// Attribute records in the order of their identifiers, with typed look-ups.
#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <vector>

#include "utilities/attributebytes/AttributeBytesList.h"
#include "utilities/attributebytes/AttributeBytesOrderedSet.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/Dimension.h"
#include "utilities/utilitiesdll/UtcTime.h"

class AttributeBytesFeatureId;
class AttributeBytesIndexedList;
class AttributeBytesRawList;

/// A position in an indexed list.  It stays at its record while others come and go, and becomes invalid when its own
/// record leaves the list.
class VLM_API AttributeBytesIndexedListIterator : public AttributeBytesListIterator {
public:
    ~AttributeBytesIndexedListIterator() override;
    std::unique_ptr<AttributeBytesListIterator> Clone() const override;

private:
    friend class AttributeBytesIndexedList;
    AttributeBytesIndexedListIterator(const AttributeBytesIndexedList* pList, ULONGLONG ullGeneration,
                                      vlm::AttributeBytesOrderedSet::Position oPosition,
                                      AttributeBytesSharedPtr shpoRecord) noexcept
        : m_pList(pList), m_ullGeneration(ullGeneration), m_oPosition(oPosition), m_shpoRecord(std::move(shpoRecord)) {}

    const AttributeBytesIndexedList* m_pList;  // identity only
    ULONGLONG m_ullGeneration;                 // of the list when the position was found
    vlm::AttributeBytesOrderedSet::Position m_oPosition;
    AttributeBytesSharedPtr m_shpoRecord;  // null at the end
};

/// An ordered set of shared records: at most one for each identifier, in the order of AttributeBytesId.  Its state:
///
///     offset  size  field
///          0     4  signature "ABIL"
///          4        a raw-list state (with its own signature) of the records in the set's order
///
/// A look-up takes O(log n); adding in order, as importing a state does, O(1).
/// **Ownership**: records are shared; a copy of the list shares them, too.
class VLM_API AttributeBytesIndexedList : public AttributeBytesList, public PooledObject {
public:
    /// "ABIL" as a little-endian number.
    static constexpr DWORD SIGNATURE = 0x4C494241;

    AttributeBytesIndexedList();
    AttributeBytesIndexedList(const AttributeBytesIndexedList& rOther);
    AttributeBytesIndexedList(AttributeBytesIndexedList&& rOther) noexcept;
    AttributeBytesIndexedList& operator=(const AttributeBytesIndexedList& rOther);
    AttributeBytesIndexedList& operator=(AttributeBytesIndexedList&& rOther) noexcept;
    ~AttributeBytesIndexedList() override;

    bool IsEmpty() const noexcept override;
    bool LengthIsExactlyOne() const noexcept override;
    std::unique_ptr<AttributeBytesListIterator> GetIterator() const override;
    bool IsValid(const AttributeBytesListIterator& rIterator) const override;
    AttributeBytes GetNextAttributeBytes(AttributeBytesListIterator& rIterator) const override;
    /// Adds the record itself, shared with the caller.
    /// @throws ExceptionDuplicateAttributeId when there is a record with an equal identifier.
    void AddAttributeBytes(const AttributeBytesSharedPtr& rshpoAttributeBytes) override;
    void AddAttributeBytes(AttributeBytesSharedPtr&& rshpoAttributeBytes);
    void AddAttributeBytes(const AttributeBytes& rAttributeBytes) override;
    void DeleteAllAttributeBytes() noexcept override;
    AttributeBytesSharedPtr GetNextAttributeBytesSharedPtr(AttributeBytesListIterator& rIterator) const override;

    AttributeBytesIndexedListIterator GetIndexedListIterator() const;
    bool IsValidIndexedListIterator(const AttributeBytesIndexedListIterator& rIterator) const;
    /// Sets a record made of clones of both, in place of one with an equal identifier if there is one.
    void SetAttributeBytes(const AttributeBytesId& rId, const AttributeBytesValue& rValue);
    /// Removes the record with the identifier; silent when there is none.
    void DeleteAttributesBytes(const AttributeBytesId& rId) noexcept;
    /// The position of the record with the identifier; an invalid one when there is none.
    AttributeBytesIndexedListIterator FindAttributeBytes(const AttributeBytesId& rId) const;
    /// The record with the identifier, borrowed until it leaves the list; null when there is none.
    const AttributeBytes* GetAttributeBytesPtr(const AttributeBytesId& rId) const noexcept;
    /// @throws ExceptionFeatureNotFound when there is none.
    const AttributeBytes& GetAttributeBytesRef(const AttributeBytesId& rId) const;
    DWORD GetNumberOfAttributeBytes() const noexcept;

    /// Replaces the records by those of a raw list.
    /// @throws ExceptionDuplicateAttributeId when an identifier occurs twice, and as reading a record does.
    void ImportFromRawList(const AttributeBytesRawList& rList);
    ByteBuffer GetAttributeBytesIndexedListState() const;
    /// Size of the state in bytes.
    std::size_t GetAttributeBytesIndexedListStateSize() const noexcept;
    /// Writes the state.  @return the position behind it.
    BYTE* StoreAttributeBytesIndexedListState(BYTE* pbyOut) const;
    /// Replaces the records from a state.
    /// @throws ExceptionMissingOrBadAttributeBytesFormat when either signature is wrong; else as ImportFromRawList.
    void ImportAttributeBytesIndexedListState(const ByteBuffer& rbbState);
    /// The same from `dwBytes` bytes.
    void ImportAttributeBytesIndexedListState(const BYTE* pbyState, DWORD dwBytes);

    // Typed look-ups.  Each throws ExceptionFeatureNotFound when there is no record with the identifier, and
    // ExceptionAttributeValueTypeMismatch when its value is of another kind.  An unspecified value is answered like any
    // other.  What each expects of the value is said at AttributeBytesReader.

    LONG GetOptionValue(const AttributeBytesId& rId) const;
    LONG GetOptionValueByIndex(const AttributeBytesId& rId, LONG lIndex) const;
    std::unique_ptr<AttributeBytesId> GetOptionValueOrNewId(const AttributeBytesFeatureId& rFeatureId) const;
    std::unique_ptr<AttributeBytesId> GetOptionValueOrNewIdByAnyId(const AttributeBytesId& rId) const;
    CXString GetNewOptionValueId(const AttributeBytesId& rId) const;
    CXString GetStringValue(const AttributeBytesId& rId) const;
    LONG GetIntegerValue(const AttributeBytesId& rId) const;
    void GetRangeOfIntegerValue(const AttributeBytesId& rId, LONG& rlLow, LONG& rlHigh) const;
    void GetRangeOfIntegerValueByIndex(const AttributeBytesId& rId, LONG lIndex, LONG& rlLow, LONG& rlHigh) const;
    Dimension GetDimensionValue(const AttributeBytesId& rId) const;
    ByteBuffer GetDataBlobValue(const AttributeBytesId& rId) const;
    UtcTime GetDateTimeValue(const AttributeBytesId& rId) const;
    bool GetBooleanValue(const AttributeBytesId& rId) const;
    void GetPaperSizeValues(const AttributeBytesId& rId, Dimension& rWidth, Dimension& rHeight) const;
    std::unique_ptr<AttributeBytesIndexedList> GetCollection(const AttributeBytesId& rId) const;
    std::unique_ptr<AttributeBytesIndexedList> GetCollectionByIndex(const AttributeBytesId& rId, LONG lIndex) const;
    /// The records of a list value in list order.
    std::vector<AttributeBytesSharedPtr> GetListOfValues(const AttributeBytesId& rId) const;
    /// The feature numbers of a list value whose records are options that name features, in list order.
    std::vector<LONG> GetListOfFeatures(const AttributeBytesId& rId) const;
    /// The value, of any kind, borrowed until its record leaves the list.
    const AttributeBytesValue& GetAttributeBytesValue(const AttributeBytesId& rId) const;

    /// Walks the records in order in a range-based for loop; any change of the list ends the walk's validity.
    class const_iterator;
    const_iterator begin() const noexcept;
    const_iterator end() const noexcept;

protected:
    void ReplaceAllAttributeBytes(const std::vector<AttributeBytesSharedPtr>& rvshpoRecords) override;

private:
    void ImportRecords(const BYTE* pbyCursor, DWORD dwRemaining, bool fNestingChecked);
    bool FindCurrent(const AttributeBytesIndexedListIterator& rIterator,
                     vlm::AttributeBytesOrderedSet::Position& rPosition) const noexcept;

    vlm::AttributeBytesOrderedSet m_oSet;
    ULONGLONG m_ullGeneration = 0;
};

class AttributeBytesIndexedList::const_iterator {
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = AttributeBytesSharedPtr;
    using difference_type = std::ptrdiff_t;
    using pointer = const value_type*;
    using reference = const value_type&;

    const_iterator() noexcept = default;
    reference operator*() const noexcept { return m_pSet->At(m_oPosition); }
    pointer operator->() const noexcept { return &m_pSet->At(m_oPosition); }
    const_iterator& operator++() noexcept {
        m_oPosition = m_pSet->Next(m_oPosition);
        return *this;
    }
    const_iterator operator++(int) noexcept {
        const const_iterator oFormer(*this);
        ++*this;
        return oFormer;
    }
    bool operator==(const const_iterator&) const noexcept = default;

private:
    friend class AttributeBytesIndexedList;
    const_iterator(const vlm::AttributeBytesOrderedSet* pSet,
                   vlm::AttributeBytesOrderedSet::Position oPosition) noexcept
        : m_pSet(pSet), m_oPosition(oPosition) {}

    const vlm::AttributeBytesOrderedSet* m_pSet = nullptr;
    vlm::AttributeBytesOrderedSet::Position m_oPosition{};
};

inline AttributeBytesIndexedList::const_iterator AttributeBytesIndexedList::begin() const noexcept {
    return {&m_oSet, m_oSet.Begin()};
}
inline AttributeBytesIndexedList::const_iterator AttributeBytesIndexedList::end() const noexcept {
    return {&m_oSet, m_oSet.End()};
}
