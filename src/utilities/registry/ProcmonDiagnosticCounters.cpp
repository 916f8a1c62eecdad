/// @file
/// Counts events per printer.
#include "utilities/registry/ProcmonDiagnosticCounters.h"

#include <atomic>

#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/registry/detail/counters/DiagnosticKey.h"
#include "utilities/utilitiesdll/Hash32.h"

using Enum = ProcmonDiagnosticCounter::ProcmonDiagnosticCounterEnum;

static_assert(ProcmonDiagnosticCounter::LASTITEM == 78 && ProcmonDiagnosticCounter::PDC_IDMStart == 1 &&
              ProcmonDiagnosticCounter::PDC_DEVICECAPS == 22 && ProcmonDiagnosticCounter::PDC_DEVCAPSDM == 23 &&
              ProcmonDiagnosticCounter::PDC_PAGEDUMP == 24 && ProcmonDiagnosticCounter::PDC_DC_PAPERS == 27 &&
              ProcmonDiagnosticCounter::PDC_DC_PAPERNAMES == 28 && ProcmonDiagnosticCounter::PDC_DC_PAPERSIZE == 29 &&
              ProcmonDiagnosticCounter::PDC_DC_BINS == 32 && ProcmonDiagnosticCounter::PDC_DC_FIELDS == 45);

namespace {

constexpr DebugMessageCategories CATEGORIES = DebugCategory::Perf | DebugCategory::Utils;

struct CounterRow {
    const XCHAR* m_pszName;
    WORD m_wCapability;
};

constexpr CounterRow COUNTER_ROWS[] = {
#define VLM_COUNTER(constant, name, capability) {VTEXT(name), capability},
#include "utilities/registry/ProcmonDiagnosticCounters.inl"
#undef VLM_COUNTER
};

/// One lock for the one table of the process.
constinit CriticalResource goCounterTable;
constinit std::atomic<bool> gfCountersGone{false};

struct CounterMapOwner {
    ProcmonDiagnosticCounter::CounterMap m_oMap;
    ~CounterMapOwner() { gfCountersGone = true; }
};

bool IsCounter(Enum eCounter) noexcept {
    return ProcmonDiagnosticCounter::FIRSTITEM < eCounter && eCounter < ProcmonDiagnosticCounter::LASTITEM;
}

}  // namespace

ProcmonDiagnosticCounter::~ProcmonDiagnosticCounter() = default;

const XCHAR* ProcmonDiagnosticCounter::ProcmonDiagnosticCounterEnumToString(Enum eCounter) noexcept {
    if (IsCounter(eCounter)) return COUNTER_ROWS[eCounter - 1].m_pszName;
    VLM_REPORT_ERROR(CATEGORIES,
                     VTEXT("Enum value, %u, is not known. New value must be added to the switch statement in "
                           "ProcmonDiagnosticCounterEnumToString()."),
                     static_cast<UINT>(eCounter));
    return VTEXT("INVALID");
}

Enum ProcmonDiagnosticCounter::ConvertCapability(WORD wCapability) noexcept {
    DWORD dwCounter = FIRSTITEM;
    for (const CounterRow& rRow : COUNTER_ROWS) {
        ++dwCounter;
        if (wCapability != 0 && rRow.m_wCapability == wCapability) return static_cast<Enum>(dwCounter);
    }
    return PDC_UNSUPPORTED;
}

ProcmonDiagnosticCounter::CounterMap* ProcmonDiagnosticCounter::GetGlobalCounterMapPtr() {
    if (gfCountersGone) return nullptr;
    static CounterMapOwner soOwner;
    return &soOwner.m_oMap;
}

bool ProcmonDiagnosticCounter::TryCount(const CXString& kcsTimerName, Enum eCounter, DWORD dwModulus, bool fReset,
                                        DWORD& rdwCount) noexcept {
    rdwCount = 0;
    if (!IsCounter(eCounter)) {
        VLM_ASSERT_IN(DebugCategory::Errors | CATEGORIES,
                      ProcmonDiagnosticCounter::FIRSTITEM < eCounter && eCounter < ProcmonDiagnosticCounter::LASTITEM,
                      VTEXT("Invalid ProcmonDiagnosticCounterEnum (%d)"), static_cast<int>(eCounter));
        return false;
    }
    VLM_ASSERT_IN(DebugCategory::Errors | CATEGORIES, kcsTimerName.IsEmpty() == false,
                  VTEXT("Blank timer names are not allowed"));
    if (kcsTimerName.IsEmpty()) return false;
    bool fFull = false, fModulus = true;
    const bool fDone = vlm::NoThrow([&] {
        const DWORD dwKey = Hash32::GetHash32(kcsTimerName);
        const CriticalResourceLock oLock(goCounterTable);
        CounterMap* const pMap = GetGlobalCounterMapPtr();
        if (!pMap) return;
        const auto it = pMap->find(dwKey);
        if (it == pMap->end()) {
            fFull = pMap->size() >= MAX_PRINTERS;
            if (fFull) return;
            Counters& raoCounters = pMap->emplace(dwKey, Counters{}).first->second;
            rdwCount = fReset ? 0 : 1;
            raoCounters[eCounter] = rdwCount;
            return;
        }
        DWORD& rdwStored = it->second[eCounter];
        fModulus = fReset || dwModulus != 0;
        if (fReset) {
            rdwStored = 0;
        } else if (fModulus) {
            rdwStored = (rdwStored + 1) % dwModulus;
        }
        rdwCount = rdwStored;
    });
    // Reports come after the lock: the sink has locks of its own.
    VLM_ASSERT_IN(DebugCategory::Errors | CATEGORIES, fModulus, VTEXT("A modulus of 0 counts nothing"));
    if (fFull) VLM_REPORT_ERROR(CATEGORIES, VTEXT("No more printers can be counted for: %s"), kcsTimerName);
    return fDone && !fFull;
}

DWORD ProcmonDiagnosticCounter::IncrementProcmonDiagnosticCounter(const CXString& kcsTimerName, Enum eCounter,
                                                                  DWORD dwModulus, bool fReset) noexcept {
    DWORD dwCount = 0;
    if (TryCount(kcsTimerName, eCounter, dwModulus, fReset, dwCount)) {
        vlm::NoThrow([&] { PublishCount(ProcmonDiagnosticCounterEnumToString(eCounter), dwCount); });
    }
    return dwCount;
}

DWORD ProcmonDiagnosticCounter::IncrementDeviceCapabilitiesProcmonDiagnosticCounter(const CXString& kcsTimerName,
                                                                                    Enum eCounter, WORD wCapability,
                                                                                    DWORD dwModulus) noexcept {
    const Enum eCapability = ConvertCapability(wCapability);
    DWORD dwCount = 0;
    if (TryCount(kcsTimerName, eCapability, dwModulus, COUNT, dwCount)) {
        vlm::NoThrow([&] {
            PublishCount(CXString::FormatString(VTEXT("%s_%s"), ProcmonDiagnosticCounterEnumToString(eCounter),
                                                ProcmonDiagnosticCounterEnumToString(eCapability)),
                         dwCount);
        });
    }
    return dwCount;
}

DWORD ProcmonDiagnosticCounter::IncrementDeviceCapabilitiesDatamodelProcmonDiagnosticCounter(
    const CXString& kcsTimerName, WORD wCapability, DWORD dwModulus) noexcept {
    return IncrementDeviceCapabilitiesProcmonDiagnosticCounter(kcsTimerName, PDC_DEVCAPSDM, wCapability, dwModulus);
}

void ProcmonDiagnosticCounter::ClearProcmonCounters(const CXString& kcsTimerName) noexcept {
    VLM_ASSERT_IN(DebugCategory::Errors | CATEGORIES, kcsTimerName.IsEmpty() == false,
                  VTEXT("The counters of a printer without a name cannot be cleared"));
    vlm::NoThrow([&] {
        const DWORD dwKey = Hash32::GetHash32(kcsTimerName);
        const CriticalResourceLock oLock(goCounterTable);
        CounterMap* const pMap = GetGlobalCounterMapPtr();
        if (!pMap) return;
        // The entry stays: the next event is not the first of its printer.
        const auto it = pMap->find(dwKey);
        if (it != pMap->end()) it->second.fill(0);
    });
}

DWORD ProcmonDiagnosticCounter::GetCount(const CXString& kcsTimerName, Enum eCounter) noexcept {
    if (!IsCounter(eCounter)) return 0;
    return vlm::NoThrow(
        [&]() -> DWORD {
            const DWORD dwKey = Hash32::GetHash32(kcsTimerName);
            const CriticalResourceLock oLock(goCounterTable);
            const CounterMap* const pMap = GetGlobalCounterMapPtr();
            if (!pMap) return 0;
            const auto it = pMap->find(dwKey);
            return it == pMap->end() ? 0 : it->second[eCounter];
        },
        DWORD{0});
}

void ProcmonDiagnosticCounter::GetFlags() noexcept {
    const CriticalResourceLock oLock(m_oCriticalSection);
    if (m_fFlagsRead) return;
    const auto Read = [](const XCHAR* pszKey, const XCHAR* pszValue) {
        const auto apoKey = RegistryKey::TryOpenRegistryKey(HKeyRegistry::Hkey_Local_Machine, pszKey,
                                                            RegistryKey::READ_ACCESS, RegistryKey::DIRECT);
        return apoKey && apoKey->GetBooleanValue(pszValue, false);
    };
    vlm::NoThrow([&] {
        m_fEnabled = Read(vlm::DIAGNOSTICS_KEY, vlm::ENABLED_VALUE);
        m_fMessagesEnabled = Read(vlm::RENDERING_KEY, vlm::MESSAGES_ENABLED_VALUE);
    });
    m_fFlagsRead = true;
}

bool ProcmonDiagnosticCounter::ProcmonDiagnosticEnabled() noexcept {
    GetFlags();
    return m_fEnabled;
}

bool ProcmonDiagnosticCounter::ProcmonDiagnosticMessagesEnabled() noexcept {
    GetFlags();
    return m_fMessagesEnabled;
}
