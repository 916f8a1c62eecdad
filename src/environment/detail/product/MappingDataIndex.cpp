/// @file
/// The hash tables over a list of records.
#include "environment/detail/product/MappingDataIndex.h"

#include <algorithm>
#include <bit>

#include "environment/detail/product/Tokens.h"

namespace vlm {

namespace {

/// Goes on from the hash of the tokens before.
ULONGLONG AddToken(ULONGLONG ullHash, XStringView token) noexcept {
    for (const XCHAR ch : token)
        ullHash = ullHash * 31 + ch;
    return ullHash * 31 + VTEXT(' ');
}

template <class Walk>
ULONGLONG HashOf(Walk walk) noexcept {
    ULONGLONG ullHash = 0;
    for (XStringView token; walk.Next(token);)
        ullHash = AddToken(ullHash, token);
    return ullHash;
}

}  // namespace

void MappingDataIndex::Table::Prepare(std::size_t cEntries) {
    const std::size_t cSlots = std::bit_ceil(std::max<std::size_t>(2 * cEntries, 16));
    m_voSlots.assign(cSlots, Entry{});
    m_uShift = static_cast<unsigned>(64 - std::countr_zero(cSlots));
}

std::size_t MappingDataIndex::Table::FirstSlot(ULONGLONG ullHash) const noexcept {
    ullHash ^= ullHash >> 29;
    return static_cast<std::size_t>((ullHash * 0x9E3779B97F4A7C15ull) >> m_uShift);
}

void MappingDataIndex::Table::Add(const Entry& rEntry) noexcept {
    std::size_t uSlot = FirstSlot(rEntry.ullHash);
    while (m_voSlots[uSlot].dwRecord != EMPTY)
        uSlot = (uSlot + 1) & (m_voSlots.size() - 1);
    m_voSlots[uSlot] = rEntry;
}

template <class Matches>
const MappingDataIndex::Table::Entry* MappingDataIndex::Table::Find(ULONGLONG ullHash, Matches&& matches) const {
    for (std::size_t uSlot = FirstSlot(ullHash);; uSlot = (uSlot + 1) & (m_voSlots.size() - 1)) {
        const Entry& rEntry = m_voSlots[uSlot];
        if (rEntry.dwRecord == EMPTY) return nullptr;
        if (rEntry.ullHash == ullHash && matches(rEntry)) return &rEntry;
    }
}

void MappingDataIndex::Clear() noexcept {
    m_oNames.Clear();
    m_oIds.Clear();
}

void MappingDataIndex::BuildNames(const std::vector<MappingData>& rvoRecords) {
    m_oNames.Prepare(rvoRecords.size());
    for (DWORD dw = 0; dw < rvoRecords.size(); ++dw) {
        const XStringView name = rvoRecords[dw].GetModel().View();
        const ULONGLONG ullHash = HashOf(ModelTokens(name));
        // A later record of the same name would never be found, and only make runs longer.
        const auto IsSame = [&](const Table::Entry& rEntry) { return rvoRecords[rEntry.dwRecord].MatchesModel(name); };
        if (!m_oNames.Find(ullHash, IsSame)) m_oNames.Add({ullHash, dw, 0});
    }
}

void MappingDataIndex::BuildIds(const std::vector<MappingData>& rvoRecords) {
    std::size_t cIds = 0;
    for (const MappingData& rRecord : rvoRecords)
        cIds += rRecord.GetSysObjectIds().size();
    m_oIds.Prepare(cIds);
    for (DWORD dw = 0; dw < rvoRecords.size(); ++dw) {
        const std::vector<CXString>& rvcsIds = rvoRecords[dw].GetSysObjectIds();
        for (DWORD dwId = 0; dwId < rvcsIds.size(); ++dwId) {
            const ULONGLONG ullHash = HashOf(TokenWalk(rvcsIds[dwId].View(), VTEXT('.')));
            const auto IsSame = [&](const Table::Entry& rEntry) {
                return rvoRecords[rEntry.dwRecord].GetSysObjectIds()[rEntry.dwId] == rvcsIds[dwId];
            };
            if (!m_oIds.Find(ullHash, IsSame)) m_oIds.Add({ullHash, dw, dwId});
        }
    }
}

std::size_t MappingDataIndex::FindModel(const std::vector<MappingData>& rvoRecords, XStringView name) {
    if (!m_oNames.IsBuilt()) BuildNames(rvoRecords);
    const auto IsIt = [&](const Table::Entry& rEntry) { return rvoRecords[rEntry.dwRecord].MatchesModel(name); };
    const Table::Entry* const pEntry = m_oNames.Find(HashOf(ModelTokens(name)), IsIt);
    return pEntry ? pEntry->dwRecord : NOT_FOUND;
}

std::size_t MappingDataIndex::FindSysObjectId(const std::vector<MappingData>& rvoRecords, XStringView oid) {
    if (!m_oIds.IsBuilt()) BuildIds(rvoRecords);
    std::size_t uFirst = NOT_FOUND;
    const auto IsIt = [&](const Table::Entry& rEntry) {
        return rvoRecords[rEntry.dwRecord].MatchesOneSysObjectId(rEntry.dwId, oid);
    };
    ULONGLONG ullHash = 0;
    TokenWalk walk(oid, VTEXT('.'));
    for (XStringView token; walk.Next(token);) {
        ullHash = AddToken(ullHash, token);
        const Table::Entry* const pEntry = m_oIds.Find(ullHash, IsIt);
        if (pEntry) uFirst = std::min<std::size_t>(uFirst, pEntry->dwRecord);
    }
    return uFirst;
}

}  // namespace vlm
