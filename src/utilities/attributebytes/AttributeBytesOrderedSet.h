/// @file
/// The ordered set behind the indexed list: shared records sorted by identifier.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "utilities/attributebytes/AttributeBytes.h"

namespace vlm {

/// A record with the order key of its identifier beside it, so that a search touches no record.
struct AttributeBytesEntry {
    ULONGLONG m_ullKey;
    AttributeBytesSharedPtr m_shpoRecord;
};

/// A sorted run of at most CAPACITY entries in one block that grows by doubling.
class VLM_API AttributeBytesLeaf {
public:
    static constexpr std::uint32_t CAPACITY = 128;

    AttributeBytesLeaf() noexcept = default;
    AttributeBytesLeaf(AttributeBytesLeaf&& rOther) noexcept
        : m_poEntries(std::exchange(rOther.m_poEntries, nullptr)),
          m_cEntries(std::exchange(rOther.m_cEntries, 0)),
          m_cRoom(std::exchange(rOther.m_cRoom, 0)) {}
    AttributeBytesLeaf& operator=(AttributeBytesLeaf&& rOther) noexcept {
        AttributeBytesLeaf oTaken(std::move(rOther));
        std::swap(m_poEntries, oTaken.m_poEntries);
        std::swap(m_cEntries, oTaken.m_cEntries);
        std::swap(m_cRoom, oTaken.m_cRoom);
        return *this;
    }
    AttributeBytesLeaf(const AttributeBytesLeaf& rOther);
    AttributeBytesLeaf& operator=(const AttributeBytesLeaf&) = delete;
    ~AttributeBytesLeaf();

    std::uint32_t size() const noexcept { return m_cEntries; }
    const AttributeBytesEntry& operator[](std::uint32_t uIndex) const noexcept { return m_poEntries[uIndex]; }
    const AttributeBytesEntry& back() const noexcept { return m_poEntries[m_cEntries - 1]; }
    const AttributeBytesEntry* begin() const noexcept { return m_poEntries; }
    const AttributeBytesEntry* end() const noexcept { return m_poEntries + m_cEntries; }

    /// Makes room for `cEntries` (at most CAPACITY) in all.
    void Reserve(std::uint32_t cEntries);
    /// Inserts before an index; the caller has made room, so it cannot fail.
    void Insert(std::uint32_t uIndex, AttributeBytesEntry&& rEntry) noexcept;
    void Replace(std::uint32_t uIndex, AttributeBytesSharedPtr shpoRecord) noexcept {
        m_poEntries[uIndex].m_shpoRecord.swap(shpoRecord);
    }
    void Erase(std::uint32_t uIndex) noexcept;
    /// Moves the entries from an index on into an empty leaf that has room for them.
    void MoveTailTo(std::uint32_t uIndex, AttributeBytesLeaf& rTarget) noexcept;

private:
    AttributeBytesEntry* m_poEntries = nullptr;
    std::uint32_t m_cEntries = 0;
    std::uint32_t m_cRoom = 0;
};

/// Records sorted by identifier, at most one for each: a list of leaves, searched by key without branches that depend
/// on the data, first among the leaves' first keys, then in one leaf.  Adding in order appends.
/// **Threads**: one at a time.  **Failure**: an operation that throws leaves the set as it was.
class VLM_API AttributeBytesOrderedSet {
public:
    /// A place in the set; the end is one past the last leaf.
    struct Position {
        std::size_t m_cLeaf;
        std::uint32_t m_uEntry;
        bool operator==(const Position&) const = default;
    };

    AttributeBytesOrderedSet() = default;
    /// The copy shares the records.
    AttributeBytesOrderedSet(const AttributeBytesOrderedSet&) = default;
    AttributeBytesOrderedSet(AttributeBytesOrderedSet&&) noexcept = default;
    AttributeBytesOrderedSet& operator=(AttributeBytesOrderedSet&&) noexcept = default;
    AttributeBytesOrderedSet& operator=(const AttributeBytesOrderedSet&) = delete;
    ~AttributeBytesOrderedSet() = default;

    std::size_t size() const noexcept { return m_cRecords; }
    Position Begin() const noexcept { return {0, 0}; }
    Position End() const noexcept { return {m_voLeaves.size(), 0}; }
    Position Next(Position oPosition) const noexcept {
        if (++oPosition.m_uEntry == m_voLeaves[oPosition.m_cLeaf].size()) return {oPosition.m_cLeaf + 1, 0};
        return oPosition;
    }
    const AttributeBytesSharedPtr& At(Position oPosition) const noexcept {
        return m_voLeaves[oPosition.m_cLeaf][oPosition.m_uEntry].m_shpoRecord;
    }
    /// The place of the record with an equal identifier, or the end.
    Position Find(const AttributeBytesId& rId) const noexcept;
    /// Adds a record (not null), moving the pointer into the set, unless there is one with an equal identifier.
    /// @return false when there was; the pointer is then as it was.
    bool Insert(AttributeBytesSharedPtr&& rshpoRecord);
    /// Puts another record with an equal identifier in a record's place.
    void Replace(Position oPosition, AttributeBytesSharedPtr shpoRecord) noexcept {
        m_voLeaves[oPosition.m_cLeaf].Replace(oPosition.m_uEntry, std::move(shpoRecord));
    }
    void Erase(Position oPosition) noexcept;

private:
    Position LowerBound(const AttributeBytesId& rId, ULONGLONG ullKey) const noexcept;
    void InsertAt(Position oPosition, AttributeBytesEntry&& rEntry);

    std::vector<AttributeBytesLeaf> m_voLeaves;  // none is empty
    std::vector<ULONGLONG> m_vullFirstKeys;      // of each leaf
    std::size_t m_cRecords = 0;
};

}  // namespace vlm
