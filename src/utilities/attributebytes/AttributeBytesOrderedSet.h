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

/// A sorted run of at most CAPACITY records, in one block from the pool that grows by doubling: first the order keys of
/// their identifiers, so that a search touches no record, then the pointers.
class VLM_API AttributeBytesLeaf {
public:
    static constexpr std::uint32_t CAPACITY = 64;

    AttributeBytesLeaf() noexcept = default;
    AttributeBytesLeaf(AttributeBytesLeaf&& rOther) noexcept
        : m_pullKeys(std::exchange(rOther.m_pullKeys, nullptr)),
          m_cEntries(std::exchange(rOther.m_cEntries, 0)),
          m_cRoom(std::exchange(rOther.m_cRoom, 0)) {}
    AttributeBytesLeaf& operator=(AttributeBytesLeaf&& rOther) noexcept {
        AttributeBytesLeaf oTaken(std::move(rOther));
        std::swap(m_pullKeys, oTaken.m_pullKeys);
        std::swap(m_cEntries, oTaken.m_cEntries);
        std::swap(m_cRoom, oTaken.m_cRoom);
        return *this;
    }
    /// The copy shares the records.
    AttributeBytesLeaf(const AttributeBytesLeaf& rOther);
    AttributeBytesLeaf& operator=(const AttributeBytesLeaf&) = delete;
    ~AttributeBytesLeaf();

    std::uint32_t size() const noexcept { return m_cEntries; }
    const ULONGLONG* Keys() const noexcept { return m_pullKeys; }
    const AttributeBytesSharedPtr& Record(std::uint32_t uIndex) const noexcept { return Records()[uIndex]; }

    /// Makes room for `cEntries` (at most CAPACITY) in all.
    void Reserve(std::uint32_t cEntries);
    /// Inserts before an index; the caller has made room, so it cannot fail.
    void Insert(std::uint32_t uIndex, ULONGLONG ullKey, AttributeBytesSharedPtr&& rshpoRecord) noexcept;
    void Replace(std::uint32_t uIndex, AttributeBytesSharedPtr shpoRecord) noexcept {
        Records()[uIndex].swap(shpoRecord);
    }
    void Erase(std::uint32_t uIndex) noexcept;
    /// Moves the entries from an index on into an empty leaf that has room for them.
    void MoveTailTo(std::uint32_t uIndex, AttributeBytesLeaf& rTarget) noexcept;

private:
    AttributeBytesSharedPtr* Records() const noexcept {
        return reinterpret_cast<AttributeBytesSharedPtr*>(m_pullKeys + m_cRoom);
    }

    ULONGLONG* m_pullKeys = nullptr;
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
        return m_voLeaves[oPosition.m_cLeaf].Record(oPosition.m_uEntry);
    }
    /// Calls `use` with every record in order.
    template <class Use>
    void ForEach(Use use) const {
        for (const AttributeBytesLeaf& rLeaf : m_voLeaves) {
            for (std::uint32_t u = 0; u < rLeaf.size(); ++u)
                use(static_cast<const AttributeBytes&>(*rLeaf.Record(u)));
        }
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
    void InsertAt(Position oPosition, ULONGLONG ullKey, AttributeBytesSharedPtr&& rshpoRecord);
    Position SplitOrAppendLeaf(Position oPosition, ULONGLONG ullKey);

    std::vector<AttributeBytesLeaf> m_voLeaves;  // none is empty
    std::vector<ULONGLONG> m_vullFirstKeys;      // of each leaf
    std::size_t m_cRecords = 0;
};

}  // namespace vlm
