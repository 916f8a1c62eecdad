/// @file
/// Arrays of values for a multi-value query: with pointers in the process, with offsets on their way.
#include <cstring>

#include "environment/PortMonitorImpl.h"
#include "environment/PortMonitorRequestRules.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/NoThrow.h"

using vlm::PortMonitorReply;
using vlm::Status;
using vlm::ValueEnt;
using Function = _XPMRegistryFunction;

namespace {

/// The caller's array may have been laid down under the system's own name of the entry: it is read and written as
/// bytes.
ValueEnt EntryAt(const value_entW* pEntries, std::size_t iIndex) noexcept {
    ValueEnt oEntry;
    std::memcpy(&oEntry, reinterpret_cast<const BYTE*>(pEntries) + iIndex * sizeof oEntry, sizeof oEntry);
    return oEntry;
}

void SetEntryAt(value_entW* pEntries, std::size_t iIndex, const ValueEnt& rEntry) noexcept {
    std::memcpy(reinterpret_cast<BYTE*>(pEntries) + iIndex * sizeof rEntry, &rEntry, sizeof rEntry);
}

/// MakeVALENTArraySpoolerCompatible, but that it throws ExceptionOutOfMemory.
bool MakeCompatible(const value_entW* pEntries, DWORD cEntries, ByteBuffer& rbbCompatible) {
    if (!IS_VALID_POINTER(pEntries) || cEntries == 0 || cEntries > vlm::bounds::MAX_VALUE_LIST_ENTRIES) return false;
    ByteBuffer bbCompatible;
    ByteBuffer bbNames;
    for (DWORD i = 0; i < cEntries; ++i) {
        const XCHAR* const pszName = EntryAt(pEntries, i).ve_valuename;
        if (!IS_VALID_STRING(pszName)) return false;
        const std::size_t cbBefore = cEntries * sizeof(ValueEnt) + bbNames.size();
        bbCompatible.appendLong64Value(static_cast<LONGLONG>(cbBefore));
        for (std::size_t cb = sizeof(LONGLONG); cb < sizeof(ValueEnt); cb += sizeof(LONGLONG))
            bbCompatible.appendLong64Value(0);
        bbNames.append(CXString(pszName)).appendNullChar();
    }
    bbCompatible.append(bbNames);
    DWORD cChecked = 0;
    if (!vlm::IsRegularValueList(bbCompatible, cChecked) || cChecked != cEntries) return false;
    rbbCompatible.swap(bbCompatible);
    return true;
}

/// UpdateVALENTArrayFromSpooler, but that it throws ExceptionOutOfMemory.
bool UpdateFrom(const ByteBuffer& kbbReply, value_entW* pEntries, DWORD cEntries) {
    if (!IS_VALID_POINTER(pEntries)) return false;
    std::vector<PortMonitorReply::Value> vValues;
    if (!PortMonitorReply::DecodeValues(kbbReply, cEntries, vValues)) return false;
    for (DWORD i = 0; i < cEntries; ++i) {
        ValueEnt oEntry = EntryAt(pEntries, i);
        oEntry.ve_valuelen = vValues[i].m_cbData;
        oEntry.ve_valueptr = kbbReply.data() + vValues[i].m_dwOffset;
        oEntry.ve_type = vValues[i].m_dwType;
        SetEntryAt(pEntries, i, oEntry);
    }
    return true;
}

}  // namespace

bool VelomPortMonitor::MakeVALENTArraySpoolerCompatible(const value_entW* pEntries, DWORD cEntries,
                                                        ByteBuffer& rbbCompatible) noexcept {
    rbbCompatible.clear();
    return vlm::NoThrow([&] { return MakeCompatible(pEntries, cEntries, rbbCompatible); }, false);
}

bool VelomPortMonitor::UpdateVALENTArrayFromSpooler(value_entW* pEntries, DWORD cEntries,
                                                    const ByteBuffer& kbbReply) noexcept {
    return vlm::NoThrow([&] { return UpdateFrom(kbbReply, pEntries, cEntries); }, false);
}

bool VelomPortMonitor::QueryMultipleValues(HKEY hKey, value_entW* pEntries, DWORD cEntries,
                                           ByteBuffer& rbbValues) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Query(pEntries, cEntries, rbbValues);
}

bool VelomPortMonitor::QueryMultipleValues(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, value_entW* pEntries,
                                           DWORD cEntries, ByteBuffer& rbbValues, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).Query(pEntries, cEntries, rbbValues);
}

bool VelomPortMonitor::Proxy::Query(value_entW* pEntries, DWORD cEntries, ByteBuffer& rbbValues) noexcept {
    ByteBuffer bbNames;
    try {
        if (!MakeCompatible(pEntries, cEntries, bbNames)) return Note(Fail(Status::InvalidParameter));
    } catch (const std::exception&) {
        return Note(Fail(Status::NotEnoughMemory));
    }
    return Do({Function::QueryMultipleValues, vlm::NoText(), bbNames}, [&](ByteBuffer& rbbReply) {
        if (!UpdateFrom(rbbReply, pEntries, cEntries)) return false;
        // The bytes change their owner, not their place, so the entries' pointers stay good.
        rbbValues.swap(rbbReply);
        return true;
    });
}
