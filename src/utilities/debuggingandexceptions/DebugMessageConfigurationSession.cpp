/// @file
/// The settings of the debug messages: the performance session and what is noted about timing levels.
#include <algorithm>
#include <chrono>
#include <utility>

#include "utilities/debuggingandexceptions/DebugClock.h"
#include "utilities/debuggingandexceptions/DebugMessageConfiguration.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/EmissionGuard.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/Ticks.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"
#include "utilities/registry/RegistryKey.h"

namespace {

/// Deeper timing levels than this are a mistake of the caller's.
constexpr LONG MAX_LEVELS = 65536;

/// What the session stores: the first five settings.
constexpr DebugSettingId SESSION_SETTINGS[] = {DMS_PerfSessionStartTime64, DMS_PerfSessionStartTimeBeforeUtilitiesDll64,
                                               DMS_PerfSessionStartTimeBeforeUtilitiesDllAsSystemTime64,
                                               DMS_PerfLastOperationTime64, DMS_PerfAccountedForTime64};

/// A time of day as 100 ns since 1601, the system's own 64-bit form; 0 for a date that there is not.
LONGLONG AsSystemTime64(const vlm::CalendarTime& rTime) noexcept {
    namespace chrono = std::chrono;
    const chrono::year_month_day oDate{chrono::year(rTime.wYear), chrono::month(rTime.wMonth), chrono::day(rTime.wDay)};
    if (!oDate.ok()) return 0;
    constexpr chrono::sys_days EPOCH{chrono::year(1601) / 1 / 1};
    const chrono::milliseconds oSpan = chrono::sys_days(oDate) - EPOCH + chrono::hours(rTime.wHour) +
                                       chrono::minutes(rTime.wMinute) + chrono::seconds(rTime.wSecond) +
                                       chrono::milliseconds(rTime.wMilliseconds);
    return oSpan.count() * 10'000;
}

}  // namespace

void DebugMessageConfiguration::BeginOrContinueSession() noexcept {
    const LONGLONG llNow = DebugClock::Now();
    const LONGLONG llBefore = GetDriverSessionStartTimeBeforeUtilitiesDll();
    const LONGLONG llStart = llBefore != 0 ? std::min(llNow, llBefore) : llNow;
    StoreNumber(DMS_PerfSessionStartTimeBeforeUtilitiesDll64, 0);
    if (!ResetPerformanceSessionDataIfTimedOut(llStart, m_oConstructionTime, 0)) WriteSession();
}

bool DebugMessageConfiguration::ResetPerformanceSessionDataIfTimedOut(LONGLONG llNow,
                                                                      const vlm::CalendarTime& rLocalTime,
                                                                      LONG lLevel) noexcept {
    if (lLevel > 0) return false;
    const LONGLONG llStart = GetDriverSessionStartTime();
    const LONGLONG llLast = GetPerfLastOperationTime();
    // An operation may begin before another process's has ended; but none has ended later than now.
    const bool fClockWasSetBack = llNow < llLast && DebugClock::Now() < llLast;
    const bool fIdle =
        DebugClock::ToMilliseconds(vlm::TicksBetween(llLast, llNow)) > GetPerfDriverSessionTimeoutMilliseconds();
    if (llStart != 0 && !fClockWasSetBack && !fIdle) return false;
    {
        const CriticalResourceLock lock(m_oValuesResource);
        m_fNewSession = true;
        m_llPreviousSession = llStart != 0 ? vlm::TicksBetween(llStart, llLast) : 0;
    }
    StoreNumber(DMS_PerfSessionStartTimeBeforeUtilitiesDllAsSystemTime64,
                static_cast<ULONGLONG>(AsSystemTime64(rLocalTime)));
    ResetPerformanceSessionData(llNow, lLevel, true);
    return true;
}

void DebugMessageConfiguration::ResetPerformanceSessionData(LONGLONG llNow, LONG lLevel, bool fSave) noexcept {
    StoreNumber(DMS_PerfSessionStartTime64, static_cast<ULONGLONG>(llNow));
    StoreNumber(DMS_PerfLastOperationTime64, static_cast<ULONGLONG>(llNow));
    StoreNumber(DMS_PerfAccountedForTime64, 0);
    vlm::NoThrow([&] {
        const CriticalResourceLock lock(m_oValuesResource);
        m_fAlreadyWarnedOutermost = false;
        m_voInnerLevels.clear();
        m_voInnerLevels.resize(static_cast<std::size_t>(std::clamp<LONG>(lLevel, 0, MAX_LEVELS - 1)),
                               InnerLevel{llNow, 0, false});
    });
    if (fSave) WriteSession();
}

void DebugMessageConfiguration::DebugDisplayMsgIfNewPerformanceSession() noexcept {
    LONGLONG llPrevious = 0;
    {
        const CriticalResourceLock lock(m_oValuesResource);
        if (!std::exchange(m_fNewSession, false)) return;
        llPrevious = m_llPreviousSession;
    }
    constexpr const XCHAR* BAR = VTEXT("==========================================");
    VLM_REPORT(DebugCategory::Perf, BAR);
    VLM_REPORT(DebugCategory::Perf, VTEXT("== New Driver Session:                  =="));
    VLM_REPORT(DebugCategory::Perf, BAR);
    if (llPrevious == 0) return;
    const double dblMilliseconds = DebugClock::ToMilliseconds(llPrevious);
    VLM_REPORT(DebugCategory::Perf, VTEXT("== Previous Session: %.2fms (%.3fsec)"), dblMilliseconds,
               dblMilliseconds / 1000.0);
}

// ---- levels ----

/// Runs `change` on what is noted for an inner level, made if need be, under the lock.
template <class Change>
void DebugMessageConfiguration::ChangeLevel(LONG lLevel, Change&& change) noexcept {
    if (lLevel >= MAX_LEVELS) {
        VLM_REPORT_ERROR(DebugCategory::Perf, VTEXT("vector<bool> too long"));
        return;
    }
    vlm::NoThrow([&] {
        const CriticalResourceLock lock(m_oValuesResource);
        const auto cLevel = static_cast<std::size_t>(lLevel);
        if (m_voInnerLevels.size() < cLevel) m_voInnerLevels.resize(cLevel);
        change(m_voInnerLevels[cLevel - 1]);
    });
}

LONGLONG DebugMessageConfiguration::GetAccountedForTimeAtLevel(LONG lLevel) const noexcept {
    if (lLevel == 0) return GetPerfAccountedForTime();
    const CriticalResourceLock lock(m_oValuesResource);
    const auto cLevel = static_cast<std::size_t>(lLevel);  // a negative one is beyond the end
    return cLevel <= m_voInnerLevels.size() ? m_voInnerLevels[cLevel - 1].m_llAccountedFor : 0;
}

bool DebugMessageConfiguration::GetMeasuredTimeAtLowerLevels(LONG lLevel, LONGLONG& rllTime) const noexcept {
    VLM_ASSERT(lLevel >= 0, VTEXT("lLevel, %ld, is negative"), lLevel);
    if (lLevel < 0) return false;
    const CriticalResourceLock lock(m_oValuesResource);
    const auto cLevel = static_cast<std::size_t>(lLevel);
    if (cLevel >= m_voInnerLevels.size()) return false;
    rllTime = m_voInnerLevels[cLevel].m_llAccountedFor;
    return true;
}

void DebugMessageConfiguration::SetLastOperationTimeAndAccountedForTime(LONGLONG llLastOperation,
                                                                        LONGLONG llAccountedFor, LONG lLevel) noexcept {
    if (lLevel < 0) return;
    if (lLevel == 0) {
        StoreNumber(DMS_PerfLastOperationTime64, static_cast<ULONGLONG>(llLastOperation));
        StoreNumber(DMS_PerfAccountedForTime64, static_cast<ULONGLONG>(llAccountedFor));
        const CriticalResourceLock lock(m_oValuesResource);
        m_fAlreadyWarnedOutermost = false;
        m_voInnerLevels.clear();
        return;
    }
    ChangeLevel(lLevel, [&](InnerLevel& rLevel) {
        rLevel = {llLastOperation, llAccountedFor, false};
        m_voInnerLevels.resize(static_cast<std::size_t>(lLevel));
    });
}

LONGLONG DebugMessageConfiguration::GetTimeOfLastOperationAtLevel(bool& rfAlreadyWarned, int iLevel) const noexcept {
    const CriticalResourceLock lock(m_oValuesResource);
    rfAlreadyWarned = iLevel == 0 && m_fAlreadyWarnedOutermost;
    if (iLevel == 0) return GetPerfLastOperationTime();
    const auto cLevel = static_cast<std::size_t>(iLevel);
    if (cLevel > m_voInnerLevels.size()) return 0;
    rfAlreadyWarned = m_voInnerLevels[cLevel - 1].m_fAlreadyWarned;
    return m_voInnerLevels[cLevel - 1].m_llLastOperation;
}

void DebugMessageConfiguration::SetAlreadyWarnedForTickCountOfLastOperationAtLevel(int iLevel) noexcept {
    if (iLevel < 0) return;
    if (iLevel == 0) {
        const CriticalResourceLock lock(m_oValuesResource);
        m_fAlreadyWarnedOutermost = true;
        return;
    }
    ChangeLevel(iLevel, [](InnerLevel& rLevel) { rLevel.m_fAlreadyWarned = true; });
}

// ---- storing ----

/// Writes the session if there is a key to write to.  @return whether there is.
bool DebugMessageConfiguration::WriteSession() noexcept {
    const vlm::EmissionScope quiet;
    const CriticalResourceLock lock(m_oRegistryResource);
    if (!m_apoConfigurationKeyForWriting) return false;
    for (const DebugSettingId eSetting : SESSION_SETTINGS)
        vlm::NoThrow([&] { WriteSetting(eSetting); });
    return true;
}

void DebugMessageConfiguration::SaveConfigurationInformation() noexcept {
    if (WriteSession()) return;
    DWORD dwStatus = 0;
    {
        const CriticalResourceLock lock(m_oRegistryResource);
        dwStatus = m_dwWritingStatus;
    }
    vlm::MessageText text(VTEXT("the status of the key"));
    text.Format(VTEXT("Can't write to the registry. The key doesn't exist. Error: %s"),
                vlm::GetSystemErrorText(dwStatus));
    vlm::FailAssertion(VTEXT("(0 != m_apoConfigurationKeyForWriting.get())"), VLM_HERE, text.Get(),
                       DebugCategory::Errors | DebugCategory::Registry);
}
