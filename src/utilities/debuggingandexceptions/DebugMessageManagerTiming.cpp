/// @file
/// The debug message manager: what timing scopes print.
#include <algorithm>
#include <array>
#include <cmath>

#include "platform/ClockPort.h"
#include "platform/Platform.h"
#include "platform/ThreadPort.h"
#include "utilities/debuggingandexceptions/DebugClock.h"
#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/DebugLine.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/Ticks.h"
#include "utilities/utilitiesdll/Format.h"
#include "utilities/utilitiesdll/LoaderLock.h"

namespace {

/// Longest text of a timing line, with its terminator.
constexpr std::size_t TIMING_UNITS = 1024;

const XCHAR* SeparatorFor(XStringView svDetail) noexcept {
    return svDetail.empty() ? VTEXT("") : VTEXT(": ");
}

}  // namespace

template <class... Args>
void DebugMessageManager::EmitTimingLine(const vlm::SourcePosition& rPosition, const XCHAR* pszFormat,
                                         const Args&... args) noexcept {
    std::array<XCHAR, TIMING_UNITS> achText;
    const std::size_t cUnits = vlm::FormatToBuffer(achText.data(), achText.size(), pszFormat, args...).m_cUnits;
    Emit(false, DebugCategory::Perf, DebugCategory::None, true,
         {{achText.data(), cUnits}, rPosition.pszFile, rPosition.pszMethod, rPosition.dwLine});
}

bool DebugMessageManager::IsMeasuringPerformance() const noexcept {
    return m_dwState.load(std::memory_order_acquire) != 0 && m_oConfiguration.IsPerformanceMeasurementEnabled();
}

LONGLONG DebugMessageManager::NotifyTimingScopeStarted(const vlm::SourcePosition& rPosition, XStringView svScope,
                                                       XStringView svDetail) noexcept {
    if (!IsMeasuringPerformance()) return 0;
    const LONGLONG llNow = std::max<LONGLONG>(DebugClock::Now(), 1);
    LONG lLevel = 0;
    double dblSinceLast = 0;
    // The levels are those of the thread that built the object; scopes on other threads stand for themselves.
    if (IsBuildingThread()) {
        lLevel = m_lTimingLevel.load(std::memory_order_relaxed);
        if (m_oConfiguration.ResetPerformanceSessionDataIfTimedOut(llNow, vlm::GetPlatform().pClock->LocalTime(),
                                                                   lLevel)) {
            m_oConfiguration.DebugDisplayMsgIfNewPerformanceSession();
        }
        bool fAlreadyWarned = false;
        const LONGLONG llLast = m_oConfiguration.GetTimeOfLastOperationAtLevel(fAlreadyWarned, lLevel);
        if (llLast != 0) dblSinceLast = DebugClock::ToMilliseconds(vlm::TicksBetween(llLast, llNow));
        const DWORD dwGap = m_oConfiguration.GetPerfGapSinceLastOperationWithoutWarning();
        if (dblSinceLast > dwGap && !fAlreadyWarned) {
            m_oConfiguration.SetAlreadyWarnedForTickCountOfLastOperationAtLevel(lLevel);
            EmitTimingLine(rPosition,
                           VTEXT("**** There are %.2fms of unmeasured time between the end of the last snapshot and "
                                 "the start of this snapshot. This is larger than the threshhold, %ldms"),
                           dblSinceLast, dwGap);
        }
    }
    if (m_oConfiguration.IsShowStartPerformanceScopeMsg()) {
        EmitTimingLine(rPosition, VTEXT("*PERF L%d* Starting (%.0fms since last snapshot) %s%s%s"), lLevel,
                       dblSinceLast, svScope, SeparatorFor(svDetail), svDetail);
    }
    IncrementTimingLevel();
    return llNow;
}

void DebugMessageManager::NotifyTimingScopeEnded(const vlm::SourcePosition& rPosition, XStringView svScope,
                                                 XStringView svDetail, LONGLONG llStart) noexcept {
    if (llStart == 0 || m_dwState.load(std::memory_order_acquire) == 0) return;
    const LONGLONG llNow = DebugClock::Now();
    const LONGLONG llTicks = vlm::TicksBetween(llStart, llNow);
    LONG lLevel = 0;
    double dblSinceLast = 0;
    double dblUnmeasured = 0;
    if (IsBuildingThread()) {
        DecrementTimingLevel();
        lLevel = m_lTimingLevel.load(std::memory_order_relaxed);
        if (!vlm::IsProcessEnding()) {  // the book-keeping has a lock
            bool fAlreadyWarned = false;
            const LONGLONG llLast = m_oConfiguration.GetTimeOfLastOperationAtLevel(fAlreadyWarned, lLevel);
            if (llLast != 0) dblSinceLast = DebugClock::ToMilliseconds(vlm::TicksBetween(llLast, llStart));
            LONGLONG llMeasured = 0;
            if (m_oConfiguration.GetMeasuredTimeAtLowerLevels(lLevel, llMeasured)) {
                dblUnmeasured = DebugClock::ToMilliseconds(vlm::TicksBetween(llMeasured, llTicks));
            }
            m_oConfiguration.SetLastOperationTimeAndAccountedForTime(
                llNow, vlm::AddTicks(m_oConfiguration.GetAccountedForTimeAtLevel(lLevel), llTicks), lLevel);
        }
    }
    const double dblDuration = DebugClock::ToMilliseconds(llTicks);
    const double dblSession =
        DebugClock::ToMilliseconds(vlm::TicksBetween(m_oConfiguration.GetDriverSessionStartTime(), llNow));
    if (IsDurationShown(lLevel, std::llround(dblDuration * 1000))) {
        if (dblDuration < 1) {
            EmitTimingLine(rPosition,
                           VTEXT("*PERF L%d*        0ms (%3.0fus) (%.2fms since last) (session %.2fms, %.3fs) in "
                                 "%s%s%s"),
                           lLevel, dblDuration * 1000, dblSinceLast, dblSession, dblSession / 1000, svScope,
                           SeparatorFor(svDetail), svDetail);
        } else {
            EmitTimingLine(rPosition,
                           VTEXT("*PERF L%d* %5.1fms (%.3fsec) (%.2fms since last) (session %.2fms, %.3fs) in "
                                 "%s%s%s"),
                           lLevel, dblDuration, dblDuration / 1000, dblSinceLast, dblSession, dblSession / 1000,
                           svScope, SeparatorFor(svDetail), svDetail);
        }
    }
    const DWORD dwUnmeasured = m_oConfiguration.GetPerfUnaccountedForTimeInSubLevelWithoutWarning();
    if (dblUnmeasured > dwUnmeasured) {
        EmitTimingLine(rPosition,
                       VTEXT("**** There are %.2fms of unmeasured time as measured by scopes embedded within this one. "
                             "This is larger than the threshhold, %ldms"),
                       dblUnmeasured, dwUnmeasured);
    }
}

/// Scopes shorter than "PerfMinMicroSecondsToDisplayInOutput" are left out, and those deeper than
/// "PerfMaxLevelInOutput", unless they take longer than "PerfMaxMicroSecondsToOmitFromOutput".
bool DebugMessageManager::IsDurationShown(LONG lLevel, LONGLONG llMicroseconds) const noexcept {
    if (llMicroseconds < 1000 && !m_oConfiguration.IsShowPerformanceDurationsOfZero()) return false;
    if (llMicroseconds < m_oConfiguration.GetMinimumTimeToDisplayInPerformanceOutput()) return false;
    return lLevel <= 0 || static_cast<DWORD>(lLevel) <= m_oConfiguration.GetMaxLevelInPerformanceOutput() ||
           llMicroseconds > m_oConfiguration.GetMaximumTimeToOmitFromPerformanceOutput();
}
