/// @file
/// The ordered set behind the indexed list.
#include "utilities/attributebytes/AttributeBytesOrderedSet.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/utilitiesdll/MemoryPool.h"

namespace vlm {
namespace {

/// The first room that a leaf gets.
constexpr std::uint32_t FIRST_ROOM = 8;

constexpr std::size_t BytesFor(std::uint32_t cRoom) noexcept {
    return cRoom * (sizeof(ULONGLONG) + sizeof(AttributeBytesSharedPtr));
}

/// Moves a pointer to raw memory and ends it where it was.
void Relocate(AttributeBytesSharedPtr* pshpoTo, AttributeBytesSharedPtr* pshpoFrom) noexcept {
    new (static_cast<void*>(pshpoTo)) AttributeBytesSharedPtr(std::move(*pshpoFrom));
    pshpoFrom->~AttributeBytesSharedPtr();
}

/// Are identifiers of this key's type told apart by their keys alone?  Those that hold a name are not.
constexpr bool IsWholeKey(ULONGLONG ullKey) noexcept {
    constexpr ULONGLONG NAMED_TYPES = 1ULL << AttributeBytesId::ABIDE_NEWFEATURE |
                                      1ULL << AttributeBytesId::ABIDE_NEWVALUE |
                                      1ULL << AttributeBytesId::ABIDE_NEWCAPABILITY;
    return (NAMED_TYPES >> (ullKey >> 56) & 1) == 0;
}

/// How an entry of a leaf stands to an identifier with a key.
std::strong_ordering CompareEntry(const AttributeBytesLeaf& rLeaf, std::uint32_t uIndex, const AttributeBytesId& rId,
                                  ULONGLONG ullKey) noexcept {
    const ULONGLONG ullEntryKey = rLeaf.Keys()[uIndex];
    if (ullEntryKey != ullKey || IsWholeKey(ullKey)) return ullEntryKey <=> ullKey;
    return rLeaf.Record(uIndex)->GetAttributeBytesId().CompareBeyondKey(rId);
}

/// How many of `cKeys` sorted keys (at least 1) are below `ullKey`.  No branch depends on the keys: each step halves
/// the run and moves its beginning by a conditional move.
inline std::size_t CountBelow(const ULONGLONG* pullKeys, std::size_t cKeys, ULONGLONG ullKey) noexcept {
    const ULONGLONG* pullRun = pullKeys;
    while (cKeys > 1) {
        const std::size_t cHalf = cKeys / 2;
        const ULONGLONG* const pullUpper = pullRun + cHalf;
        pullRun = pullUpper[-1] < ullKey ? pullUpper : pullRun;
        cKeys -= cHalf;
    }
    return static_cast<std::size_t>(pullRun - pullKeys) + static_cast<std::size_t>(*pullRun < ullKey);
}

}  // namespace

// ---- leaf ----

AttributeBytesLeaf::AttributeBytesLeaf(const AttributeBytesLeaf& rOther) {
    if (rOther.m_cEntries == 0) return;
    Reserve(rOther.m_cEntries);
    std::memcpy(m_pullKeys, rOther.m_pullKeys, rOther.m_cEntries * sizeof(ULONGLONG));
    for (; m_cEntries < rOther.m_cEntries; ++m_cEntries) {
        new (static_cast<void*>(Records() + m_cEntries)) AttributeBytesSharedPtr(rOther.Record(m_cEntries));
    }
}

AttributeBytesLeaf::~AttributeBytesLeaf() {
    if (!m_pullKeys) return;
    std::destroy_n(Records(), m_cEntries);
    MemoryPool::Release(m_pullKeys, BytesFor(m_cRoom));
}

void AttributeBytesLeaf::Reserve(std::uint32_t cEntries) {
    if (cEntries <= m_cRoom) return;
    AttributeBytesLeaf oLarger;
    const std::uint32_t cRoom = std::min(CAPACITY, std::max({FIRST_ROOM, cEntries, 2 * m_cRoom}));
    oLarger.m_pullKeys = static_cast<ULONGLONG*>(MemoryPool::Allocate(BytesFor(cRoom)));
    oLarger.m_cRoom = cRoom;
    MoveTailTo(0, oLarger);
    *this = std::move(oLarger);
}

void AttributeBytesLeaf::Insert(std::uint32_t uIndex, ULONGLONG ullKey,
                                AttributeBytesSharedPtr&& rshpoRecord) noexcept {
    AttributeBytesSharedPtr* const pshpoRecords = Records();
    std::memmove(m_pullKeys + uIndex + 1, m_pullKeys + uIndex, (m_cEntries - uIndex) * sizeof(ULONGLONG));
    for (std::uint32_t i = m_cEntries; i > uIndex; --i)
        Relocate(pshpoRecords + i, pshpoRecords + i - 1);
    m_pullKeys[uIndex] = ullKey;
    new (static_cast<void*>(pshpoRecords + uIndex)) AttributeBytesSharedPtr(std::move(rshpoRecord));
    ++m_cEntries;
}

void AttributeBytesLeaf::Erase(std::uint32_t uIndex) noexcept {
    AttributeBytesSharedPtr* const pshpoRecords = Records();
    pshpoRecords[uIndex].~AttributeBytesSharedPtr();
    --m_cEntries;
    std::memmove(m_pullKeys + uIndex, m_pullKeys + uIndex + 1, (m_cEntries - uIndex) * sizeof(ULONGLONG));
    for (std::uint32_t i = uIndex; i < m_cEntries; ++i)
        Relocate(pshpoRecords + i, pshpoRecords + i + 1);
}

void AttributeBytesLeaf::MoveTailTo(std::uint32_t uIndex, AttributeBytesLeaf& rTarget) noexcept {
    const std::uint32_t cMoved = m_cEntries - uIndex;
    if (cMoved == 0) return;
    std::memcpy(rTarget.m_pullKeys, m_pullKeys + uIndex, cMoved * sizeof(ULONGLONG));
    for (std::uint32_t i = 0; i < cMoved; ++i)
        Relocate(rTarget.Records() + i, Records() + uIndex + i);
    rTarget.m_cEntries = cMoved;
    m_cEntries = uIndex;
}

// ---- set ----

/// The place of the first record that is not before the identifier; behind the last entry of a leaf rather than at the
/// first of the next.  The set is not empty.
inline AttributeBytesOrderedSet::Position AttributeBytesOrderedSet::LowerBound(const AttributeBytesId& rId,
                                                                               ULONGLONG ullKey) const noexcept {
    // The last leaf whose first key is not above the key (for names: whose last entry may not be before it).
    const std::size_t cLeaves = m_voLeaves.size();
    if (IsWholeKey(ullKey)) {
        const std::size_t cLeaf = cLeaves == 1 ? 0 : CountBelow(m_vullFirstKeys.data() + 1, cLeaves - 1, ullKey + 1);
        const AttributeBytesLeaf& rLeaf = m_voLeaves[cLeaf];
        return {cLeaf, static_cast<std::uint32_t>(CountBelow(rLeaf.Keys(), rLeaf.size(), ullKey))};
    }
    const auto itLeaf = std::partition_point(m_voLeaves.begin(), m_voLeaves.end() - 1, [&](const auto& rLeaf) {
        return CompareEntry(rLeaf, rLeaf.size() - 1, rId, ullKey) < 0;
    });
    std::uint32_t uFirst = 0;
    for (std::uint32_t cLeft = itLeaf->size(); cLeft > 0;) {
        const std::uint32_t cHalf = cLeft / 2;
        if (CompareEntry(*itLeaf, uFirst + cHalf, rId, ullKey) < 0) {
            uFirst += cHalf + 1;
            cLeft -= cHalf + 1;
        } else {
            cLeft = cHalf;
        }
    }
    return {static_cast<std::size_t>(itLeaf - m_voLeaves.begin()), uFirst};
}

AttributeBytesOrderedSet::Position AttributeBytesOrderedSet::Find(const AttributeBytesId& rId) const noexcept {
    if (m_cRecords == 0) return End();
    const ULONGLONG ullKey = rId.GetOrderKey();
    const Position oPosition = LowerBound(rId, ullKey);
    const AttributeBytesLeaf& rLeaf = m_voLeaves[oPosition.m_cLeaf];
    if (oPosition.m_uEntry == rLeaf.size()) return End();
    return CompareEntry(rLeaf, oPosition.m_uEntry, rId, ullKey) == 0 ? oPosition : End();
}

bool AttributeBytesOrderedSet::Insert(AttributeBytesSharedPtr&& rshpoRecord) {
    const AttributeBytesId& rId = rshpoRecord->GetAttributeBytesId();
    const ULONGLONG ullKey = rId.GetOrderKey();
    Position oPosition{0, 0};
    if (m_cRecords != 0) {
        const AttributeBytesLeaf& rLast = m_voLeaves.back();
        if (CompareEntry(rLast, rLast.size() - 1, rId, ullKey) < 0) {
            oPosition = {m_voLeaves.size() - 1, rLast.size()};
        } else {
            oPosition = LowerBound(rId, ullKey);
            const AttributeBytesLeaf& rLeaf = m_voLeaves[oPosition.m_cLeaf];
            if (oPosition.m_uEntry < rLeaf.size() && CompareEntry(rLeaf, oPosition.m_uEntry, rId, ullKey) == 0) {
                return false;
            }
        }
    }
    InsertAt(oPosition, ullKey, std::move(rshpoRecord));
    ++m_cRecords;
    return true;
}

void AttributeBytesOrderedSet::InsertAt(Position oPosition, ULONGLONG ullKey, AttributeBytesSharedPtr&& rshpoRecord) {
    if (m_voLeaves.empty() || m_voLeaves[oPosition.m_cLeaf].size() == AttributeBytesLeaf::CAPACITY) {
        oPosition = SplitOrAppendLeaf(oPosition, ullKey);
    }
    AttributeBytesLeaf& rLeaf = m_voLeaves[oPosition.m_cLeaf];
    rLeaf.Reserve(rLeaf.size() + 1);
    if (oPosition.m_uEntry == 0) m_vullFirstKeys[oPosition.m_cLeaf] = ullKey;
    rLeaf.Insert(oPosition.m_uEntry, ullKey, std::move(rshpoRecord));
}

/// Makes room at a position in a full leaf, or the first leaf; answers where the position has gone.
AttributeBytesOrderedSet::Position AttributeBytesOrderedSet::SplitOrAppendLeaf(Position oPosition, ULONGLONG ullKey) {
    TranslateOutOfMemory([this] {
        if (m_voLeaves.size() == m_voLeaves.capacity()) m_voLeaves.reserve(2 * m_voLeaves.size() + 1);
        if (m_vullFirstKeys.size() == m_vullFirstKeys.capacity()) m_vullFirstKeys.reserve(2 * m_voLeaves.size() + 1);
    });
    AttributeBytesLeaf oNew;
    oNew.Reserve(m_voLeaves.empty() ? 1 : AttributeBytesLeaf::CAPACITY);
    // Nothing below can fail.
    const bool bAtEnd = m_voLeaves.empty() || (oPosition.m_cLeaf + 1 == m_voLeaves.size() &&
                                               oPosition.m_uEntry == AttributeBytesLeaf::CAPACITY);
    if (bAtEnd) {  // in order: the full leaf stays full
        m_vullFirstKeys.push_back(ullKey);
        m_voLeaves.push_back(std::move(oNew));
        return {m_voLeaves.size() - 1, 0};
    }
    constexpr std::uint32_t HALF = AttributeBytesLeaf::CAPACITY / 2;
    const auto cNext = static_cast<std::ptrdiff_t>(oPosition.m_cLeaf) + 1;
    m_voLeaves[oPosition.m_cLeaf].MoveTailTo(HALF, oNew);
    m_vullFirstKeys.insert(m_vullFirstKeys.begin() + cNext, oNew.Keys()[0]);
    m_voLeaves.insert(m_voLeaves.begin() + cNext, std::move(oNew));
    if (oPosition.m_uEntry <= HALF) return oPosition;
    return {oPosition.m_cLeaf + 1, oPosition.m_uEntry - HALF};
}

void AttributeBytesOrderedSet::Erase(Position oPosition) noexcept {
    const auto cLeaf = static_cast<std::ptrdiff_t>(oPosition.m_cLeaf);
    AttributeBytesLeaf& rLeaf = m_voLeaves[oPosition.m_cLeaf];
    rLeaf.Erase(oPosition.m_uEntry);
    --m_cRecords;
    if (rLeaf.size() == 0) {
        m_voLeaves.erase(m_voLeaves.begin() + cLeaf);
        m_vullFirstKeys.erase(m_vullFirstKeys.begin() + cLeaf);
    } else if (oPosition.m_uEntry == 0) {
        m_vullFirstKeys[oPosition.m_cLeaf] = rLeaf.Keys()[0];
    }
}

}  // namespace vlm
