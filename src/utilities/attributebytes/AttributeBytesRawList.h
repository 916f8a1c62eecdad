/// @file
/// Attribute records laid end to end in one buffer.
#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <vector>

#include "utilities/attributebytes/AttributeBytesList.h"
#include "utilities/utilitiesdll/ByteBuffer.h"

class AttributeBytesIndexedList;
class AttributeBytesRawList;

/// A byte offset into a raw list.  Records added behind it do not disturb it; it becomes invalid when the list is
/// emptied or imported.
class VLM_API AttributeBytesRawListIterator : public AttributeBytesListIterator {
public:
    ~AttributeBytesRawListIterator() override;
    std::unique_ptr<AttributeBytesListIterator> Clone() const override;
    /// Bytes from the first record.
    std::size_t GetOffset() const noexcept { return m_cbOffset; }

private:
    friend class AttributeBytesRawList;
    AttributeBytesRawListIterator(const AttributeBytesRawList* pList, ULONGLONG ullGeneration) noexcept
        : m_pList(pList), m_ullGeneration(ullGeneration) {}

    const AttributeBytesRawList* m_pList;  // identity only
    ULONGLONG m_ullGeneration;
    std::size_t m_cbOffset = 0;
};

/// Records in insertion order, as bytes; the same identifier may occur any number of times.  Its state:
///
///     offset  size  field
///          0     4  signature "ABRL"
///          4        the records' states, end to end
///
/// Importing checks the signature and how deep lists nest, not the records: a bad record is found, and refused, when
/// it is read.
class VLM_API AttributeBytesRawList : public AttributeBytesList, public PooledObject {
public:
    /// "ABRL" as a little-endian number.
    static constexpr DWORD SIGNATURE = 0x4C524241;
    static constexpr std::size_t SIGNATURE_BYTES = 4;

    AttributeBytesRawList();
    AttributeBytesRawList(const AttributeBytesRawList& rOther);
    AttributeBytesRawList& operator=(const AttributeBytesRawList& rOther);
    ~AttributeBytesRawList() override;

    bool IsEmpty() const noexcept override;
    bool LengthIsExactlyOne() const override;
    std::unique_ptr<AttributeBytesListIterator> GetIterator() const override;
    bool IsValid(const AttributeBytesListIterator& rIterator) const override;
    /// @throws also as AttributeBytes::WalkBufferToCreateAttributeBytes; the iterator has then not moved.
    AttributeBytes GetNextAttributeBytes(AttributeBytesListIterator& rIterator) const override;
    /// Appends the record's state.
    void AddAttributeBytes(const AttributeBytesSharedPtr& rshpoAttributeBytes) override;
    void AddAttributeBytes(const AttributeBytes& rAttributeBytes) override;
    void DeleteAllAttributeBytes() noexcept override;
    AttributeBytesSharedPtr GetNextAttributeBytesSharedPtr(AttributeBytesListIterator& rIterator) const override;

    AttributeBytesRawListIterator GetRawListIterator() const noexcept;
    bool IsValidRawListIterator(const AttributeBytesRawListIterator& rIterator) const noexcept;
    /// As GetNextAttributeBytesSharedPtr.
    AttributeBytesSharedPtr GetNextAttributeBytesFromRawListIterator(AttributeBytesRawListIterator& rIterator) const;

    /// Replaces the records by those of an indexed list, in its order.
    void ImportFromIndexedList(const AttributeBytesIndexedList& rList);
    /// The state, as a new buffer.
    ByteBuffer GetAttributeBytesRawListState() const;
    /// Size of the state in bytes.
    std::size_t GetAttributeBytesRawListStateSize() const noexcept { return SIGNATURE_BYTES + m_bbRecords.size(); }
    /// Writes the state.  @return the position behind it.
    BYTE* StoreAttributeBytesRawListState(BYTE* pbyOut) const noexcept;
    /// Replaces the records from a state.
    /// @throws ExceptionMissingOrBadAttributeBytesFormat when the signature is wrong or lists nest deeper than
    ///         vlm::bounds::MAX_LIST_NESTING; ExceptionNotEnoughBytesForDesiredDataType for fewer than 4 bytes.
    void ImportAttributeBytesRawListState(const ByteBuffer& rbbState);

    /// The records' bytes, without the signature.
    const ByteBuffer& GetRecordBytes() const noexcept { return m_bbRecords; }
    /// How deep list values nest in the records: 0 when there is none.
    unsigned GetNestingDepth() const;
    /// Same bytes?
    bool operator==(const AttributeBytesRawList& rOther) const noexcept;

    /// Walks the records in a range-based for loop, parsing each; a bad record throws when it is reached.
    class const_iterator;
    const_iterator begin() const;
    const_iterator end() const noexcept;

protected:
    void ReplaceAllAttributeBytes(const std::vector<AttributeBytesSharedPtr>& rvshpoRecords) override;

private:
    friend class AttributeBytesListValue;
    friend class AttributeBytesIndexedList;

    static constexpr unsigned UNKNOWN_DEPTH = ~0U;

    void AssignChecked(const BYTE* pbyRecords, std::size_t cbRecords, unsigned uDepth);
    template <class Read>
    auto ReadAt(AttributeBytesRawListIterator& rIterator, Read read) const;

    ByteBuffer m_bbRecords;
    ULONGLONG m_ullGeneration = 0;
    unsigned m_uDepth = 0;
};

class VLM_API AttributeBytesRawList::const_iterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = AttributeBytesSharedPtr;
    using difference_type = std::ptrdiff_t;
    using pointer = const value_type*;
    using reference = const value_type&;

    const_iterator() noexcept = default;
    reference operator*() const noexcept { return m_shpoRecord; }
    pointer operator->() const noexcept { return &m_shpoRecord; }
    const_iterator& operator++();
    bool operator==(const const_iterator& rOther) const noexcept {
        return static_cast<bool>(m_shpoRecord) == static_cast<bool>(rOther.m_shpoRecord);
    }

private:
    friend class AttributeBytesRawList;
    const AttributeBytesRawList* m_pList = nullptr;
    std::size_t m_cbOffset = 0;
    AttributeBytesSharedPtr m_shpoRecord;
};
