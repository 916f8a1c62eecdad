/// @file
/// Several values of one key, read in a single query.
#include "utilities/registry/RegistryMultiValueOperations.h"

#include <algorithm>

#include "environment/PortMonitor.h"
#include "platform/RegistryHandleImpl.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/detail/RegistryKeyImpl.h"
#include "utilities/registry/detail/RegistryStatus.h"

using vlm::Registry;
using vlm::Status;
using vlm::ToDword;
using ValueQuery = vlm::RegistryPort::ValueQuery;

namespace {

/// Room for the first query: the family's own settings fit.
constexpr std::size_t FIRST_ROOM = 1024;

}  // namespace

static_assert(RegistryMultiValueOperations::MAX_ENTRIES == vlm::bounds::MAX_VALUE_LIST_ENTRIES);

CXString vlm::TextOfValue(const ByteBuffer& kbbData, DWORD dwType) {
    CXString csText = kbbData.getAsStringValue();
    const bool fOneText = dwType == RegistryPort::TYPE_SZ || dwType == RegistryPort::TYPE_EXPAND_SZ;
    const int iEnd = fOneText ? csText.Find(XCHAR()) : -1;
    return iEnd < 0 ? csText : csText.Left(iEnd);
}

std::size_t RegistryMultiValueOperations::Add(const CXString& kcsName) {
    if (m_voEntries.size() >= MAX_ENTRIES) {
        VLM_THROW(ExceptionInvalidArgument, VTEXT("A query takes %u values at most"), static_cast<UINT>(MAX_ENTRIES));
    }
    return vlm::TranslateOutOfMemory([&] {
        m_voEntries.push_back({kcsName, 0, ByteBuffer()});
        m_fData = false;
        return m_voEntries.size() - 1;
    });
}

const ByteBuffer* RegistryMultiValueOperations::Find(std::size_t cIndex, std::size_t cbLeast) const noexcept {
    if (!m_fData || cIndex >= m_voEntries.size()) return nullptr;
    const ByteBuffer& kbbData = m_voEntries[cIndex].m_bbData;
    return kbbData.size() >= cbLeast ? &kbbData : nullptr;
}

bool RegistryMultiValueOperations::GetBoolean(std::size_t cIndex, bool fDefault) const noexcept {
    const ByteBuffer* const pbbData = Find(cIndex, sizeof(BYTE));
    return pbbData ? pbbData->getAsBoolValue() : fDefault;
}

LONG RegistryMultiValueOperations::GetLong(std::size_t cIndex, LONG lDefault) const noexcept {
    const ByteBuffer* const pbbData = Find(cIndex, sizeof(LONG));
    return pbbData ? pbbData->getAsLongValue() : lDefault;
}

LONGLONG RegistryMultiValueOperations::GetLong64(std::size_t cIndex, LONGLONG llDefault) const noexcept {
    const ByteBuffer* const pbbData = Find(cIndex, sizeof(LONGLONG));
    return pbbData ? pbbData->getAsLong64Value() : llDefault;
}

CXString RegistryMultiValueOperations::GetString(std::size_t cIndex, const CXString& kcsDefault) const noexcept {
    const ByteBuffer* const pbbData = Find(cIndex, 0);
    CXString csValue;
    const bool fRead = pbbData && vlm::NoThrow([&] { csValue = vlm::TextOfValue(*pbbData, RegistryKey::TYPE_STRING); });
    return fRead ? csValue : kcsDefault;
}

bool RegistryMultiValueOperations::GetBytes(std::size_t cIndex, ByteBuffer& rbbValue) const noexcept {
    const ByteBuffer* const pbbData = Find(cIndex, 0);
    if (pbbData && vlm::NoThrow([&] { rbbValue = *pbbData; })) return true;
    rbbValue.clear();
    return false;
}

DWORD RegistryMultiValueOperations::GetType(std::size_t cIndex) const noexcept {
    return Find(cIndex, 0) ? m_voEntries[cIndex].m_dwType : 0;
}

void RegistryMultiValueOperations::Take(std::vector<Entry>& rvoEntries) noexcept {
    const bool fSame =
        m_fData && std::equal(m_voEntries.begin(), m_voEntries.end(), rvoEntries.begin(),
                              [](const Entry& rLeft, const Entry& rRight) {
                                  return rLeft.m_dwType == rRight.m_dwType && rLeft.m_bbData == rRight.m_bbData;
                              });
    m_fChanged = !fSame;
    m_fData = true;
    if (!fSame) m_voEntries.swap(rvoEntries);
}

std::size_t RegistryMultiValueOperations::GetDataBytes() const noexcept {
    std::size_t cbData = 0;
    for (const Entry& rEntry : m_voEntries)
        cbData += rEntry.m_bbData.size();
    return cbData;
}

bool RegistryKey::QueryDirectly(RegistryMultiValueOperations& rValues) {
    std::vector<ValueQuery> vQueries(rValues.GetCount());
    for (std::size_t i = 0; i < vQueries.size(); ++i)
        vQueries[i].pszName = rValues.GetName(i);
    const UINT cEntries = static_cast<UINT>(vQueries.size());
    ByteBuffer bbData;
    bbData.resize(std::max(FIRST_ROOM, rValues.GetDataBytes()));
    DWORD cbData = 0;
    Status eStatus = Status::MoreData;
    for (int i = 0; i < MAX_READ_ATTEMPTS && eStatus == Status::MoreData; ++i) {
        cbData = bbData.GetLength();
        VLM_REPORT(DebugCategory::Registry,
                   VTEXT("Calling RegQueryMultipleValues() for the %u entries and a buffer size of %ld."), cEntries,
                   cbData);
        eStatus = Registry().QueryMultipleValues(m_hKey, vQueries.data(), cEntries, bbData.data(), cbData);
        if (eStatus != Status::MoreData || cbData > vlm::bounds::MAX_REGISTRY_VALUE_BYTES) break;
        VLM_REPORT(DebugCategory::Registry,
                   VTEXT("RegQueryMultipleValues() requires a buffer size of %lu. Resizing and trying again"), cbData);
        bbData.resize(std::max<std::size_t>(bbData.size(), cbData));
    }
    if (!Note(ToDword(eStatus))) {
        VLM_REPORT_ERROR(DebugCategory::Registry,
                         VTEXT("Call to RegQueryMultipleValues() failed! Buffer size for the %u entries was %ld bytes. "
                               "%s"),
                         cEntries, bbData.GetLength(), vlm::RegistryStatusInWords(m_dwLastStatus));
        return false;
    }
    std::vector<RegistryMultiValueOperations::Entry> voEntries = rValues.m_voEntries;
    for (std::size_t i = 0; i < vQueries.size(); ++i) {
        const ValueQuery& rQuery = vQueries[i];
        if (ULONGLONG{rQuery.dwOffset} + rQuery.cbData > bbData.size()) return Note(ToDword(Status::InvalidData));
        voEntries[i].m_dwType = rQuery.dwType;
        voEntries[i].m_bbData.setWithLpbyte(bbData.data() + rQuery.dwOffset, rQuery.cbData);
    }
    rValues.Take(voEntries);
    return true;
}

bool RegistryKey::QueryForwarded(RegistryMultiValueOperations& rValues) {
    std::vector<vlm::ValueEnt> vEntries(rValues.GetCount());
    for (std::size_t i = 0; i < vEntries.size(); ++i)
        vEntries[i].ve_valuename = rValues.GetName(i);
    ByteBuffer bbReply;
    if (!NoteForwarded(m_apoPortMonitor->QueryMultipleValues(m_hKey, vlm::AsSystemEntries(vEntries.data()),
                                                             static_cast<DWORD>(vEntries.size()), bbReply))) {
        return false;
    }
    std::vector<RegistryMultiValueOperations::Entry> voEntries = rValues.m_voEntries;
    for (std::size_t i = 0; i < vEntries.size(); ++i) {
        voEntries[i].m_dwType = vEntries[i].ve_type;
        voEntries[i].m_bbData.setWithLpbyte(vEntries[i].ve_valueptr, vEntries[i].ve_valuelen);
    }
    rValues.Take(voEntries);
    return true;
}

bool RegistryKey::QueryMultipleValues(RegistryMultiValueOperations& rValues) noexcept {
    bool fRead = false;
    Quietly([&] {
        if (!RequireKey()) return;
        // Without entries there is nothing to ask, and nothing that could be missing.
        fRead = rValues.GetCount() == 0 || (m_fForward ? QueryForwarded(rValues) : QueryDirectly(rValues));
    });
    return fRead;
}
