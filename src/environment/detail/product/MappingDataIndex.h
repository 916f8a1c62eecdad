/// @file
/// Finds the first record of a list by name or by sysObjectId, however long the list is.
#pragma once

#include <cstddef>
#include <vector>

#include "environment/MappingData.h"
#include "platform/WinTypes.h"

namespace vlm {

/// Two hash tables over a list of records, each made by the first question that needs it.  The answers are those of
/// walking the list from its start and asking each record whether it matches.
///
/// By name: the hash of the words that count.  By id: the hash of the stored id's components; a question tries each of
/// its own beginnings, and among all records that match takes the first.
///
/// **Ownership**: the list is handed to each call; it must be the same and unchanged (Clear after a change).
/// **Threads**: not shared without a lock, since questions build.  **Failure**: std::bad_alloc, and no table then.
class MappingDataIndex {
public:
    static constexpr std::size_t NOT_FOUND = ~std::size_t{0};

    void Clear() noexcept;
    /// The index of the first record for which MatchesModel holds.
    std::size_t FindModel(const std::vector<MappingData>& rvoRecords, XStringView name);
    /// The index of the first record for which MatchesSysObjectId holds.
    std::size_t FindSysObjectId(const std::vector<MappingData>& rvoRecords, XStringView oid);

private:
    /// Entries of one hash come in the order in which they were put in: nothing is ever taken out.
    class Table {
    public:
        struct Entry {
            ULONGLONG ullHash = 0;
            DWORD dwRecord = EMPTY;
            DWORD dwId = 0;
        };

        bool IsBuilt() const noexcept { return !m_voSlots.empty(); }
        void Clear() noexcept { m_voSlots.clear(); }
        /// Makes room for so many entries.
        void Prepare(std::size_t cEntries);
        void Add(const Entry& rEntry) noexcept;
        /// The first entry of the hash that `matches` accepts; null when there is none.
        template <class Matches>
        const Entry* Find(ULONGLONG ullHash, Matches&& matches) const;

    private:
        static constexpr DWORD EMPTY = 0xFFFFFFFF;
        std::size_t FirstSlot(ULONGLONG ullHash) const noexcept;

        std::vector<Entry> m_voSlots;
        unsigned m_uShift = 0;
    };

    void BuildNames(const std::vector<MappingData>& rvoRecords);
    void BuildIds(const std::vector<MappingData>& rvoRecords);

    Table m_oNames;
    Table m_oIds;
};

}  // namespace vlm
