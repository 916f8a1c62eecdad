/// @file
/// The debug message manager: from a message to its line, and from the line to the outputs.
#include <array>

#include "platform/ClockPort.h"
#include "platform/DesktopPort.h"
#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "platform/TextPort.h"
#include "platform/ThreadPort.h"
#include "utilities/debuggingandexceptions/DebugClock.h"
#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/DebugLine.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/DebugLogFile.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/OutputFailure.h"
#include "utilities/utilitiesdll/Format.h"
#include "utilities/utilitiesdll/LoaderLock.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

namespace {

using vlm::GetPlatform;
using vlm::LogOutcome;

/// Style of the box that shows a line: task-modal, with the error icon.
constexpr UINT MESSAGE_BOX_STYLE = 0x2010;

CXString InnermostContext() noexcept {
    if (vlm::IsProcessEnding()) return {};  // it would take memory, and memory may take a lock
    const ExecutionContextStack* const pStack = UtilitiesDllPerThreadStorage::PeekExecutionContextStack();
    try {
        return pStack ? pStack->GetMostRecentContextDisplayString(false)
                      : ExecutionContextStack().GetMostRecentContextDisplayString(false);
    } catch (...) {
        return {};
    }
}

/// Holds the lock of the diagnostics; while the process ends only if nobody has taken it along.
class OutputLock {
public:
    OutputLock() noexcept : m_fHeld(true) {
        if (vlm::IsProcessEnding()) {
            m_fHeld = StaticLibCriticalResource::Get().TryLock();
        } else {
            StaticLibCriticalResource::Get().Lock();
        }
    }
    ~OutputLock() {
        if (m_fHeld) StaticLibCriticalResource::Get().Unlock();
    }
    OutputLock(const OutputLock&) = delete;
    OutputLock& operator=(const OutputLock&) = delete;
    bool IsHeld() const noexcept { return m_fHeld; }

private:
    bool m_fHeld;
};

/// Takes no memory: there may be none, or, while the process ends, a lock on it that nobody gives back.
void TellLogFailure(const LogOutcome& rOutcome, const CXString& kcsPath, DWORD dwWanted) noexcept {
    std::array<XCHAR, 512> achError;
    const DWORD dwError = vlm::ToDword(rOutcome.eStatus);
    const XStringView error(achError.data(),
                            GetPlatform().pText->SystemErrorText(dwError, achError.data(), achError.size()));
    std::array<XCHAR, vlm::DebugLine::CAPACITY> achText;
    if (rOutcome.eStep == LogOutcome::Step::OpenFailed) {
        vlm::FormatToBuffer(achText.data(), achText.size(),
                            VTEXT("CreateFile(%s) failed in DebugMessageManager::OutputDebugMessageString(). %s"),
                            kcsPath, error);
    } else {
        vlm::FormatToBuffer(achText.data(), achText.size(),
                            VTEXT("WriteFile() failed in DebugMessageManager::OutputDebugMessageString(). It returned "
                                  "%s and wrote %ld bytes (wanted %ld). %s"),
                            rOutcome.eStatus == vlm::Status::Success ? VTEXT("TRUE") : VTEXT("FALSE"),
                            rOutcome.dwWritten, dwWanted, error);
    }
    vlm::TellOutputFailure(achText.data());
}

}  // namespace

void DebugMessageManager::BuildDebugMessageOutputString(bool fError, DebugMessageCategories categories,
                                                        bool fTimingLine, const vlm::DebugLineMessage& rMessage,
                                                        vlm::DebugLine& rLine) const noexcept {
    const vlm::DebugLineSettings settings(m_oConfiguration);
    const vlm::Platform& rPlatform = GetPlatform();
    vlm::DebugLineFacts facts;
    if (settings.fDate || settings.fTime) facts.oLocalTime = rPlatform.pClock->LocalTime();
    facts.fHighResolutionClock = DebugClock::IsHighResolution();
    facts.computerName = m_csComputerName;
    const CXString csContext = settings.fContext ? InnermostContext() : CXString();
    facts.context = csContext;
    facts.dwProcessId = rPlatform.pProcess->CurrentProcessId();
    facts.dwThreadId = rPlatform.pThreads->CurrentThreadId();
    facts.processName = m_csProcessName;
    facts.moduleName = m_csModuleName;
    facts.fOtherThread = facts.dwThreadId != m_oConfiguration.GetConstructionThreadId();
    if (!fTimingLine) {
        facts.lIndent = m_lIndentLevel.load(std::memory_order_relaxed);
    } else if (m_oConfiguration.IsIndentPerfMsgsByLevel()) {
        facts.lIndent = m_lTimingLevel.load(std::memory_order_relaxed);
    }
    rLine.Build(settings, facts, fError, categories, rMessage);
}

void DebugMessageManager::OutputDebugMessageString(const vlm::DebugLine& rLine) noexcept {
    const bool fLogFile = m_oConfiguration.IsUseLogFile();
    const bool fLogFileFirst = m_oConfiguration.GetWhichOutputOrder() != 0;
    if (m_oConfiguration.IsUseOutputDebugString()) GetPlatform().pDesktop->DebuggerOutput(rLine.Get());
    if (fLogFile && fLogFileFirst) WriteToLogFile(rLine);
    if (!vlm::IsUnderLoaderLock() && !vlm::IsProcessEnding()) {
        if (m_oConfiguration.IsUseXDebugPad()) m_oXDebugPadManager.AppendDebugMsg(rLine.View());
        if (m_oConfiguration.IsUseMessageBox()) {
            vlm::ShowDiagnosticsBox(rLine.Get(), VTEXT("Velom Debug Message"), MESSAGE_BOX_STYLE);
        }
    }
    if (fLogFile && !fLogFileFirst) WriteToLogFile(rLine);
}

void DebugMessageManager::WriteToLogFile(const vlm::DebugLine& rLine) noexcept {
    const vlm::NarrowLine narrow(rLine.View());
    vlm::DebugLogFile file(m_hLogFile);
    LogOutcome outcome;
    {
        const OutputLock lock;
        if (!lock.IsHeld()) return;
        outcome = file.Append(narrow);
    }
    CXString csPath;
    bool fMoved = false;
    if (outcome.eStep == LogOutcome::Step::NotOpen) {
        // The settings have a lock of their own, which is not taken inside ours; opening one file under another's name
        // is what may come of that.
        if (vlm::IsProcessEnding()) return;
        csPath = m_oConfiguration.GetLogFileName();
        {
            const OutputLock lock;
            if (m_dwState.load(std::memory_order_relaxed) == 0) return;
            if (!file.IsOpen()) outcome = file.Open(csPath);
            if (file.IsOpen()) outcome = file.Append(narrow);
        }
        fMoved = m_oConfiguration.GetLogFileName() != csPath;
    }
    if (fMoved) CloseDebugMessageOutput();
    if (outcome.eStep != LogOutcome::Step::Done) TellLogFailure(outcome, csPath, narrow.Bytes());
}
