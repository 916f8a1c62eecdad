/// @file
/// The debug message manager: the filter, the sink and the life of the object.
#include "utilities/debuggingandexceptions/DebugMessageManager.h"

#include <array>

#include "platform/EventPort.h"
#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "platform/SessionPort.h"
#include "platform/ThreadPort.h"
#include "utilities/debuggingandexceptions/DebugConfigUpdater.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/DebugLine.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/EmissionGuard.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"
#include "utilities/utilitiesdll/LoaderLock.h"
#include "utilities/utilitiesdll/VelomUtilities_Desktop.h"

namespace {

using vlm::GetPlatform;

enum : DWORD { STATE_NONE = 0, STATE_CONSTRUCTED = 1 };

/// What "SeverityLevelFilter" must reach for messages that are no errors.
constexpr DWORD SEVERITY_EVERYTHING = 4;

bool HasOutput(const DebugMessageConfiguration& rConfiguration) noexcept {
    return rConfiguration.IsUseOutputDebugString() || rConfiguration.IsUseXDebugPad() ||
           rConfiguration.IsUseMessageBox() || rConfiguration.IsUseLogFile();
}

/// The categories that a message must share one of to have a chance: whoever shares none is not looked at any closer.
DebugMessageCategories ReportMaskOf(const DebugMessageConfiguration& rConfiguration) noexcept {
    if (rConfiguration.IsAlwaysReadConfig()) return DebugCategory::All;
    const DebugMessageCategories allowed = rConfiguration.GetAllowedMessageCategories();
    DebugMessageCategories mask = HasOutput(rConfiguration) ? allowed : allowed & DebugCategory::MsgBeep;
    // An error that beeps passes by the beep alone.
    if ((allowed & DebugCategory::MsgBeep) && rConfiguration.IsBeepOnError()) mask |= DebugCategory::Errors;
    if (rConfiguration.IsMessagesEnabled()) return mask;
    // Together with "xmsg" any category may come.
    return rConfiguration.IsXMsgMessagesEnabled() && mask ? mask | DebugCategory::XMsg : DebugCategory::None;
}

XStringView Before(XStringView text, const XCHAR* pszAny) noexcept {
    return text.substr(0, text.find_first_of(pszAny));
}

CXString TextOf(XStringView text) noexcept {
    return std::move(vlm::SafeText().Append(text).Get());
}

CXString NameOfComputer() noexcept {
    std::array<XCHAR, 256> achName{};
    return TextOf({achName.data(), GetPlatform().pProcess->ComputerName(achName.data(), achName.size())});
}

/// The file name of the library itself.
CXString NameOfModule() noexcept {
    std::array<XCHAR, 1024> achPath{};
    const XStringView path(achPath.data(), GetPlatform().pProcess->LibraryPath(achPath.data(), achPath.size()));
    return TextOf(path.substr(path.find_last_of(VTEXT("\\/")) + 1));
}

DWORD CurrentThread() noexcept {
    return GetPlatform().pThreads->CurrentThreadId();
}

/// Raises a count on the thread that it belongs to, and on no other.
void Step(std::atomic<LONG>& rlCount, LONG lStep, bool fOwnThread) noexcept {
    if (fOwnThread) rlCount.store(rlCount.load(std::memory_order_relaxed) + lStep, std::memory_order_relaxed);
}

}  // namespace

DebugMessageManager::DebugMessageManager() noexcept : DebugMessageManager(vlm::TextOrEmpty(DEBUG_SETTINGS_KEY)) {}

DebugMessageManager::DebugMessageManager(const CXString& kcsKeyName) noexcept
    : m_hLogFile(DebugMessageHelper::ClosedFile()),
      m_oConfiguration(kcsKeyName),
      m_oDebugMessageHelper(m_hLogFile),
      m_csComputerName(NameOfComputer()),
      m_csProcessName(TextOf(Before(m_oConfiguration.GetProcessName().View(), VTEXT(". \"")))),
      m_csModuleName(NameOfModule()) {
    GetPlatform().pEvents->CreateEventAt(nullptr, true, false, m_hUpdaterEnded);
    m_dwState.store(STATE_CONSTRUCTED, std::memory_order_release);
    m_pFormerSink = vlm::ExchangeReportSink(this);
    m_oConfiguration.SetChangeListener(
        [](void* pManager) noexcept { static_cast<DebugMessageManager*>(pManager)->RefreshReportMask(); }, this);
}

DebugMessageManager::~DebugMessageManager() {
    vlm::ReportSink* pSelf = this;
    if (vlm::GetReportSink() == pSelf) {
        vlm::ExchangeReportSink(m_pFormerSink);
        vlm::SetReportMask(DebugCategory::None);
    }
    m_oConfiguration.SetChangeListener(nullptr, nullptr);
    StopConfigUpdater();
    {
        // Waits for a line that another thread is writing, and keeps the next ones out.
        const CriticalResourceLock lock(GetCriticalResourceRef());
        m_dwState.store(STATE_NONE, std::memory_order_release);
    }
    CloseDebugMessageOutput();
    if (m_hUpdaterEnded) GetPlatform().pEvents->CloseObject(m_hUpdaterEnded);
}

StaticLibCriticalResource& DebugMessageManager::GetCriticalResourceRef() noexcept {
    return StaticLibCriticalResource::Get();
}

void DebugMessageManager::RefreshReportMask() noexcept {
    // One at a time, so that the one that comes last has seen what all have set.
    const CriticalResourceLock lock(m_oMaskResource);
    if (vlm::GetReportSink() != this) return;
    // While a thread is to be started with the first message, every message is the first.
    const bool fWanted = m_eUpdater.load(std::memory_order_relaxed) == UpdaterState::Wanted;
    vlm::SetReportMask(fWanted ? DebugCategory::All : ReportMaskOf(m_oConfiguration));
}

// ---- filter ----

bool DebugMessageManager::IsBuildingThread() const noexcept {
    return m_oConfiguration.GetConstructionThreadId() == CurrentThread();
}

bool DebugMessageManager::IsDealtWith(DebugMessageCategories categories, bool fTimingLine) const noexcept {
    const DebugMessageConfiguration& rConfiguration = m_oConfiguration;
    const bool fEnabled = rConfiguration.IsMessagesEnabled() ||
                          ((categories & DebugCategory::XMsg) && rConfiguration.IsXMsgMessagesEnabled()) ||
                          (fTimingLine && rConfiguration.IsPerformanceMeasurementEnabled() &&
                           rConfiguration.IsShowPerformanceXTimingOutput());
    return fEnabled && !(m_lDisableCount.load(std::memory_order_relaxed) > 0 && IsBuildingThread());
}

bool DebugMessageManager::AllowsMessageWithTheseCategories(const DebugMessageCategories& messageCategories,
                                                           DebugMessageCategories& effective) const noexcept {
    DebugMessageCategories message = messageCategories;
    effective = DebugCategory::None;
    if (!m_oConfiguration.IsTracingEnabled() && (message & DebugCategory::TraceMsg)) return false;
    if ((message & DebugCategory::Errors) && m_oConfiguration.IsBeepOnError()) message |= DebugCategory::MsgBeep;
    effective = message & m_oConfiguration.GetAllowedMessageCategories();
    if ((effective & DebugCategory::Errors) || effective == message) return true;
    return !m_oConfiguration.AllCategoriesRequired() && effective != DebugCategory::None;
}

bool DebugMessageManager::Allows(DebugMessageCategories categories) const noexcept {
    if (m_dwState.load(std::memory_order_acquire) != STATE_CONSTRUCTED || vlm::IsEmitting()) return false;
    // Deliberate: a sink answers without being changed, as far as its callers can see; no manager is a constant object.
    auto& rSelf = const_cast<DebugMessageManager&>(*this);
    rSelf.StartWantedUpdater();
    rSelf.m_oConfiguration.RefreshBeforeUse();
    DebugMessageCategories effective = DebugCategory::None;
    return IsDealtWith(categories, false) && AllowsMessageWithTheseCategories(categories, effective);
}

// ---- messages ----

void DebugMessageManager::Write(bool fError, DebugMessageCategories categories,
                                const VelomDebugMessage& rMessage) noexcept {
    AddMessage(fError, categories, DebugCategory::None, false, rMessage);
}

void DebugMessageManager::AddMessage(bool fError, DebugMessageCategories messageCategories,
                                     DebugMessageCategories effectiveCategories, bool fTimingLine,
                                     const VelomDebugMessage& rMessage) noexcept {
    Emit(fError, messageCategories, effectiveCategories, fTimingLine,
         {rMessage.GetMessageText().View(), rMessage.GetFileName().View(), rMessage.GetMethodName().View(),
          rMessage.GetLineNumber()});
}

void DebugMessageManager::AddMessage(DebugMessageCategories messageCategories, const vlm::SourcePosition& rPosition,
                                     XStringView svText) noexcept {
    Emit(false, messageCategories, DebugCategory::None, false,
         {svText, rPosition.pszFile, rPosition.pszMethod, rPosition.dwLine});
}

void DebugMessageManager::Emit(bool fError, DebugMessageCategories messageCategories,
                               DebugMessageCategories effectiveCategories, bool fTimingLine,
                               const vlm::DebugLineMessage& rMessage) noexcept {
    if (m_dwState.load(std::memory_order_acquire) != STATE_CONSTRUCTED) return;
    const vlm::EmissionScope scope;
    if (!scope.HasEntered() || !IsDealtWith(messageCategories, fTimingLine)) return;
    if (effectiveCategories == DebugCategory::None &&
        !AllowsMessageWithTheseCategories(messageCategories, effectiveCategories)) {
        return;
    }
    const DWORD dwSeverity = m_oConfiguration.GetSeverityLevelFilter();
    if (dwSeverity == 0 || (!fError && dwSeverity < SEVERITY_EVERYTHING)) return;
    if ((effectiveCategories & DebugCategory::MsgBeep) && !vlm::IsUnderLoaderLock()) {
        GetPlatform().pSessions->Beep(0xFFFFFFFF);
    }
    if (!HasOutput(m_oConfiguration)) return;
    vlm::DebugLine line;
    BuildDebugMessageOutputString(fError, messageCategories, fTimingLine, rMessage, line);
    OutputDebugMessageString(line);
}

bool DebugMessageManager::IsShowingCaughtExceptions() const noexcept {
    return m_dwState.load(std::memory_order_acquire) == STATE_CONSTRUCTED &&
           m_oConfiguration.IsShowMessageBoxOnExceptionThrow();
}

bool DebugMessageManager::IsShowingCaughtExceptionsToDeveloper() const noexcept {
    return IsShowingCaughtExceptions() && m_oConfiguration.IsMessagesEnabled();
}

int DebugMessageManager::Ask(HWND hwndOwner, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle) noexcept {
    return VelomUtilities::NoHangDebugMessageBox(hwndOwner, pszText, pszCaption, static_cast<UINT>(dwStyle));
}

void DebugMessageManager::CloseDebugMessageOutput() noexcept {
    m_oDebugMessageHelper.CloseLogFile();
}

// ---- levels ----

void DebugMessageManager::IncrementIndentLevel() noexcept {
    Step(m_lIndentLevel, 1, IsBuildingThread());
}

void DebugMessageManager::DecrementIndentLevel() noexcept {
    if (m_lIndentLevel.load(std::memory_order_relaxed) > 0) Step(m_lIndentLevel, -1, IsBuildingThread());
}

void DebugMessageManager::IncrementTimingLevel() noexcept {
    Step(m_lTimingLevel, 1, IsBuildingThread());
}

void DebugMessageManager::DecrementTimingLevel() noexcept {
    if (!IsBuildingThread()) return;
    if (m_lTimingLevel.load(std::memory_order_relaxed) > 0) {
        Step(m_lTimingLevel, -1, true);
        return;
    }
    VLM_REPORT_ERROR(DebugCategory::Perf,
                     VTEXT("Attempting to set the timing message indent level below zero! There must be a mismatch of "
                           "indent macro calls."));
}

void DebugMessageManager::IncrementDisableCount() noexcept {
    Step(m_lDisableCount, 1, IsBuildingThread());
}

void DebugMessageManager::DecrementDisableCount() noexcept {
    if (m_lDisableCount.load(std::memory_order_relaxed) > 0) Step(m_lDisableCount, -1, IsBuildingThread());
}

// ---- the settings updater ----

void DebugMessageManager::StartConfigUpdater() noexcept {
    UpdaterState eExpected = UpdaterState::NotWanted;
    if (!m_eUpdater.compare_exchange_strong(eExpected, UpdaterState::Wanted, std::memory_order_relaxed)) return;
    StartWantedUpdater();
    RefreshReportMask();
}

void DebugMessageManager::StartWantedUpdater() noexcept {
    if (m_eUpdater.load(std::memory_order_relaxed) != UpdaterState::Wanted || vlm::IsUnderLoaderLock()) return;
    {
        const CriticalResourceLock lock(m_oUpdaterResource);
        UpdaterState eExpected = UpdaterState::Wanted;
        if (!m_eUpdater.compare_exchange_strong(eExpected, UpdaterState::Running, std::memory_order_relaxed)) return;
        if (m_hUpdaterEnded) GetPlatform().pEvents->SetEventState(m_hUpdaterEnded, false);
        const DWORD dwProcess = GetPlatform().pProcess->CurrentProcessId();
        const bool fMade = vlm::NoThrow([&] {
            m_apoUpdater =
                std::make_unique<DebugConfigUpdater>(m_oConfiguration, m_oDebugMessageHelper, m_hUpdaterEnded,
                                                     DebugConfigUpdater::GetConfigChangeEventName(dwProcess),
                                                     DebugConfigUpdater::GetClearLogEventName(dwProcess));
        });
        if (!fMade) m_eUpdater.store(UpdaterState::NotWanted, std::memory_order_relaxed);
    }
    RefreshReportMask();
}

void DebugMessageManager::StopConfigUpdater() noexcept {
    std::unique_ptr<DebugConfigUpdater> apoUpdater;
    {
        const CriticalResourceLock lock(m_oUpdaterResource);
        m_eUpdater.store(UpdaterState::NotWanted, std::memory_order_relaxed);
        apoUpdater.swap(m_apoUpdater);
    }
    RefreshReportMask();
}

void DebugMessageManager::NoteLoaded() noexcept {
    if (vlm::MayKeepThreads()) {
        UpdaterState eExpected = UpdaterState::NotWanted;
        m_eUpdater.compare_exchange_strong(eExpected, UpdaterState::Wanted, std::memory_order_relaxed);
    }
    RefreshReportMask();
}
