/// @file
/// The ordered set behind the indexed list.
#include "utilities/attributebytes/AttributeBytesOrderedSet.h"

#include <algorithm>
#include <new>

#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/utilitiesdll/MemoryPool.h"

namespace vlm {
namespace {

/// The first room that a leaf gets.
constexpr std::uint32_t FIRST_ROOM = 8;

/// Moves an entry to raw memory and ends it where it was.
void Relocate(AttributeBytesEntry* poTo, AttributeBytesEntry* poFrom) noexcept {
    new (static_cast<void*>(poTo)) AttributeBytesEntry(std::move(*poFrom));
    poFrom->~AttributeBytesEntry();
}

AttributeBytesEntry* AllocateEntries(std::uint32_t cRoom) {
    return static_cast<AttributeBytesEntry*>(MemoryPool::Allocate(cRoom * sizeof(AttributeBytesEntry)));
}

/// Are identifiers of this key's type told apart by their keys alone?  Those that hold a name are not.
constexpr bool IsWholeKey(ULONGLONG ullKey) noexcept {
    constexpr ULONGLONG NAMED_TYPES = 1ULL << AttributeBytesId::ABIDE_NEWFEATURE |
                                      1ULL << AttributeBytesId::ABIDE_NEWVALUE |
                                      1ULL << AttributeBytesId::ABIDE_NEWCAPABILITY;
    return (NAMED_TYPES >> (ullKey >> 56) & 1) == 0;
}

/// Does an entry come before an identifier with a key?
bool ComesBefore(const AttributeBytesEntry& rEntry, const AttributeBytesId& rId, ULONGLONG ullKey) noexcept {
    if (rEntry.m_ullKey != ullKey) return rEntry.m_ullKey < ullKey;
    return rEntry.m_shpoRecord->GetAttributeBytesId().CompareBeyondKey(rId) < 0;
}

bool IsSame(const AttributeBytesEntry& rEntry, const AttributeBytesId& rId, ULONGLONG ullKey) noexcept {
    return rEntry.m_ullKey == ullKey && rEntry.m_shpoRecord->GetAttributeBytesId().CompareBeyondKey(rId) == 0;
}

/// The first of `cElements` (at least 1) whose key is not below `ullKey`, or one past them.  No branch depends on the
/// data: each step halves the run and moves its beginning by a conditional move.
template <class Element, class KeyOf>
const Element* LowerBoundOfKeys(const Element* pElements, std::size_t cElements, ULONGLONG ullKey,
                                KeyOf keyOf) noexcept {
    while (cElements > 1) {
        const std::size_t cHalf = cElements / 2;
        pElements += (keyOf(pElements[cHalf - 1]) < ullKey) ? cHalf : 0;
        cElements -= cHalf;
    }
    return pElements + (keyOf(*pElements) < ullKey ? 1 : 0);
}

}  // namespace

// ---- leaf ----

AttributeBytesLeaf::AttributeBytesLeaf(const AttributeBytesLeaf& rOther) {
    if (rOther.m_cEntries == 0) return;
    Reserve(rOther.m_cEntries);
    for (const AttributeBytesEntry& rEntry : rOther) {
        new (static_cast<void*>(m_poEntries + m_cEntries)) AttributeBytesEntry(rEntry);
        ++m_cEntries;
    }
}

AttributeBytesLeaf::~AttributeBytesLeaf() {
    for (std::uint32_t i = 0; i < m_cEntries; ++i)
        m_poEntries[i].~AttributeBytesEntry();
    if (m_poEntries) MemoryPool::Release(m_poEntries, m_cRoom * sizeof(AttributeBytesEntry));
}

void AttributeBytesLeaf::Reserve(std::uint32_t cEntries) {
    if (cEntries <= m_cRoom) return;
    const std::uint32_t cRoom = std::min(CAPACITY, std::max({FIRST_ROOM, cEntries, 2 * m_cRoom}));
    AttributeBytesEntry* const poEntries = AllocateEntries(cRoom);
    for (std::uint32_t i = 0; i < m_cEntries; ++i)
        Relocate(poEntries + i, m_poEntries + i);
    if (m_poEntries) MemoryPool::Release(m_poEntries, m_cRoom * sizeof(AttributeBytesEntry));
    m_poEntries = poEntries;
    m_cRoom = cRoom;
}

void AttributeBytesLeaf::Insert(std::uint32_t uIndex, AttributeBytesEntry&& rEntry) noexcept {
    for (std::uint32_t i = m_cEntries; i > uIndex; --i)
        Relocate(m_poEntries + i, m_poEntries + i - 1);
    new (static_cast<void*>(m_poEntries + uIndex)) AttributeBytesEntry(std::move(rEntry));
    ++m_cEntries;
}

void AttributeBytesLeaf::Erase(std::uint32_t uIndex) noexcept {
    m_poEntries[uIndex].~AttributeBytesEntry();
    --m_cEntries;
    for (std::uint32_t i = uIndex; i < m_cEntries; ++i)
        Relocate(m_poEntries + i, m_poEntries + i + 1);
}

void AttributeBytesLeaf::MoveTailTo(std::uint32_t uIndex, AttributeBytesLeaf& rTarget) noexcept {
    for (std::uint32_t i = uIndex; i < m_cEntries; ++i)
        Relocate(rTarget.m_poEntries + rTarget.m_cEntries++, m_poEntries + i);
    m_cEntries = uIndex;
}

// ---- set ----

/// The place of the first record that is not before the identifier; behind the last entry of a leaf rather than at the
/// first of the next.
AttributeBytesOrderedSet::Position AttributeBytesOrderedSet::LowerBound(const AttributeBytesId& rId,
                                                                        ULONGLONG ullKey) const noexcept {
    if (IsWholeKey(ullKey)) {
        // The last leaf whose first key is not above the key; the first leaf when there is none.
        const ULONGLONG* const pullFirst = m_vullFirstKeys.data();
        std::size_t cLeaf = 0;
        if (m_vullFirstKeys.size() > 1) {
            const ULONGLONG* const pullFound = LowerBoundOfKeys(pullFirst + 1, m_vullFirstKeys.size() - 1, ullKey + 1,
                                                                [](ULONGLONG ullFirst) { return ullFirst; });
            cLeaf = static_cast<std::size_t>(pullFound - pullFirst) - 1;
        }
        const AttributeBytesLeaf& rLeaf = m_voLeaves[cLeaf];
        const AttributeBytesEntry* const poFound = LowerBoundOfKeys(
            rLeaf.begin(), rLeaf.size(), ullKey, [](const AttributeBytesEntry& r) { return r.m_ullKey; });
        return {cLeaf, static_cast<std::uint32_t>(poFound - rLeaf.begin())};
    }
    const auto itLeaf =
        std::partition_point(m_voLeaves.begin(), m_voLeaves.end() - 1,
                             [&](const AttributeBytesLeaf& rLeaf) { return ComesBefore(rLeaf.back(), rId, ullKey); });
    const AttributeBytesEntry* const poFound =
        std::partition_point(itLeaf->begin(), itLeaf->end(),
                             [&](const AttributeBytesEntry& rEntry) { return ComesBefore(rEntry, rId, ullKey); });
    return {static_cast<std::size_t>(itLeaf - m_voLeaves.begin()),
            static_cast<std::uint32_t>(poFound - itLeaf->begin())};
}

AttributeBytesOrderedSet::Position AttributeBytesOrderedSet::Find(const AttributeBytesId& rId) const noexcept {
    if (m_cRecords == 0) return End();
    const ULONGLONG ullKey = rId.GetOrderKey();
    const Position oPosition = LowerBound(rId, ullKey);
    const AttributeBytesLeaf& rLeaf = m_voLeaves[oPosition.m_cLeaf];
    if (oPosition.m_uEntry == rLeaf.size()) return End();
    const AttributeBytesEntry& rEntry = rLeaf[oPosition.m_uEntry];
    const bool bFound = IsWholeKey(ullKey) ? rEntry.m_ullKey == ullKey : IsSame(rEntry, rId, ullKey);
    return bFound ? oPosition : End();
}

bool AttributeBytesOrderedSet::Insert(AttributeBytesSharedPtr&& rshpoRecord) {
    const AttributeBytesId& rId = rshpoRecord->GetAttributeBytesId();
    const ULONGLONG ullKey = rId.GetOrderKey();
    Position oPosition{0, 0};
    if (m_cRecords != 0) {
        const AttributeBytesLeaf& rLast = m_voLeaves.back();
        if (ComesBefore(rLast.back(), rId, ullKey)) {
            oPosition = {m_voLeaves.size() - 1, rLast.size()};
        } else {
            oPosition = LowerBound(rId, ullKey);
            const AttributeBytesLeaf& rLeaf = m_voLeaves[oPosition.m_cLeaf];
            if (oPosition.m_uEntry < rLeaf.size() && IsSame(rLeaf[oPosition.m_uEntry], rId, ullKey)) return false;
        }
    }
    InsertAt(oPosition, AttributeBytesEntry{ullKey, std::move(rshpoRecord)});
    ++m_cRecords;
    return true;
}

void AttributeBytesOrderedSet::InsertAt(Position oPosition, AttributeBytesEntry&& rEntry) {
    const bool bFull = m_voLeaves.empty() || m_voLeaves[oPosition.m_cLeaf].size() == AttributeBytesLeaf::CAPACITY;
    if (bFull) {
        TranslateOutOfMemory([this] {
            if (m_voLeaves.size() == m_voLeaves.capacity()) m_voLeaves.reserve(2 * m_voLeaves.size() + 1);
            if (m_vullFirstKeys.size() == m_vullFirstKeys.capacity()) {
                m_vullFirstKeys.reserve(2 * m_vullFirstKeys.size() + 1);
            }
        });
        const bool bAtEnd = m_voLeaves.empty() || (oPosition.m_cLeaf + 1 == m_voLeaves.size() &&
                                                   oPosition.m_uEntry == AttributeBytesLeaf::CAPACITY);
        AttributeBytesLeaf oNew;
        oNew.Reserve(bAtEnd ? (m_voLeaves.empty() ? 1 : AttributeBytesLeaf::CAPACITY) : AttributeBytesLeaf::CAPACITY);
        // Nothing below can fail.
        if (bAtEnd) {  // in order: leave the full leaf full
            oPosition = {m_voLeaves.size(), 0};
            m_vullFirstKeys.push_back(rEntry.m_ullKey);
            m_voLeaves.push_back(std::move(oNew));
        } else {
            constexpr std::uint32_t HALF = AttributeBytesLeaf::CAPACITY / 2;
            m_voLeaves[oPosition.m_cLeaf].MoveTailTo(HALF, oNew);
            m_vullFirstKeys.insert(m_vullFirstKeys.begin() + static_cast<std::ptrdiff_t>(oPosition.m_cLeaf) + 1,
                                   oNew[0].m_ullKey);
            m_voLeaves.insert(m_voLeaves.begin() + static_cast<std::ptrdiff_t>(oPosition.m_cLeaf) + 1, std::move(oNew));
            if (oPosition.m_uEntry > HALF) oPosition = {oPosition.m_cLeaf + 1, oPosition.m_uEntry - HALF};
        }
    }
    AttributeBytesLeaf& rLeaf = m_voLeaves[oPosition.m_cLeaf];
    rLeaf.Reserve(rLeaf.size() + 1);
    if (oPosition.m_uEntry == 0) m_vullFirstKeys[oPosition.m_cLeaf] = rEntry.m_ullKey;
    rLeaf.Insert(oPosition.m_uEntry, std::move(rEntry));
}

void AttributeBytesOrderedSet::Erase(Position oPosition) noexcept {
    AttributeBytesLeaf& rLeaf = m_voLeaves[oPosition.m_cLeaf];
    rLeaf.Erase(oPosition.m_uEntry);
    --m_cRecords;
    if (rLeaf.size() == 0) {
        m_voLeaves.erase(m_voLeaves.begin() + static_cast<std::ptrdiff_t>(oPosition.m_cLeaf));
        m_vullFirstKeys.erase(m_vullFirstKeys.begin() + static_cast<std::ptrdiff_t>(oPosition.m_cLeaf));
    } else if (oPosition.m_uEntry == 0) {
        m_vullFirstKeys[oPosition.m_cLeaf] = rLeaf[0].m_ullKey;
    }
}

}  // namespace vlm
