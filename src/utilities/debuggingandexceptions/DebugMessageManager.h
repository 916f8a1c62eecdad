/// @file
/// Where every debug message of the process goes: filtered, made a line, and handed to the outputs.
#pragma once

#include <atomic>
#include <memory>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/debuggingandexceptions/DebugMessageCategories.h"
#include "utilities/debuggingandexceptions/DebugMessageConfiguration.h"
#include "utilities/debuggingandexceptions/DebugMessageHelper.h"
#include "utilities/debuggingandexceptions/ReportSink.h"
#include "utilities/debuggingandexceptions/StaticLibCriticalResource.h"
#include "utilities/debuggingandexceptions/VelomDebugMessage.h"
#include "utilities/debuggingandexceptions/XDebugPadManager.h"

class DebugConfigUpdater;
namespace vlm {
class DebugLine;
struct DebugLineMessage;
}  // namespace vlm

/// The process's debug message manager, and its report sink.  Write messages with the macros of RaiseMacros.h; they
/// reach this object, and cost one atomic read when its settings let nobody listen.
///
/// A message is dealt with when "MessagesEnabled" is on (for category "xmsg" also with "XMsgMessagesEnabled", for
/// timing lines with "PerfMeasureEnabled" and "PerfShowXTimingOutput"), and when its categories pass the filter.
/// "SeverityLevelFilter" then drops what is no error when it is below 4, and everything when it is 0.
/// The outputs, each if it is switched on, come in this order:
///
/// 1. the debugger output ("UseOutputDebugString"), which nothing can hold up,
/// 2. the viewer window ("UseXDebugPad"),
/// 3. a message box ("UseMessageBox"),
/// 4. the log file ("UseLogFile"); before the viewer when "WhichOutputOrder" is not 0, so that the line is on disk
///    while a box waits for its answer.
///
/// Under the loader lock there is neither viewer nor box, and while the process ends nothing that needs a lock, so only
/// a log file that is open already is written to.
/// What fails in one output is told to the debugger output and in a box, never thrown.
///
/// Indent, timing level and disable count belong to the thread that built the object; on other threads the calls that
/// change them do nothing, and lines carry "[2nd Thrd] " instead of an indentation.
/// **Ownership**: the one object is a static of the library, built while that is loaded.
/// **Threads**: any.  Lines reach the log file whole, in the order in which each thread emits them; no lock is held
/// while a box is up.  A message emitted while one of the same thread is being emitted is dropped.
/// **Failure**: nothing throws.
class VLM_API DebugMessageManager : public vlm::ReportSink {
public:
    /// Reads the settings and becomes the report sink, as its last act.
    /// @param kcsKeyName name of the settings' key; only tests name another one.
    explicit DebugMessageManager(const CXString& kcsKeyName) noexcept;
    DebugMessageManager() noexcept;
    /// Hands the reports back to the sink before, first of all; then closes the log file.
    ~DebugMessageManager() override;
    DebugMessageManager(const DebugMessageManager&) = delete;
    DebugMessageManager& operator=(const DebugMessageManager&) = delete;

    // ---- messages ----

    /// Filters, formats and outputs a message.
    /// @param fError it is an error.
    /// @param messageCategories its categories, shown in the line.
    /// @param effectiveCategories what AllowsMessageWithTheseCategories answered for it, if the caller has asked;
    ///        None: it is asked here.
    /// @param fTimingLine the line is one of a timing scope: indented by the timing level, and dealt with when timing
    ///        output is on.
    void AddMessage(bool fError, DebugMessageCategories messageCategories, DebugMessageCategories effectiveCategories,
                    bool fTimingLine, const VelomDebugMessage& rMessage) noexcept;

    /// The same for a text that needs no formatting, without taking memory.
    void AddMessage(DebugMessageCategories messageCategories, const vlm::SourcePosition& rPosition,
                    XStringView svText) noexcept;

    /// The filter.  @param effective the categories of the message that are allowed, also when it is refused for want
    /// of others; with "BeepOnError" an error may gain "msgbeep".  None for a trace message while tracing is off.
    bool AllowsMessageWithTheseCategories(const DebugMessageCategories& messageCategories,
                                          DebugMessageCategories& effective) const noexcept;

    bool Allows(DebugMessageCategories categories) const noexcept override;
    void Write(bool fError, DebugMessageCategories categories, const VelomDebugMessage& rMessage) noexcept override;
    int Ask(HWND hwndOwner, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle) noexcept override;

    /// Closes the log file; the next message opens it again.
    void CloseDebugMessageOutput() noexcept;

    // ---- levels; only on the thread that built the object ----

    void IncrementIndentLevel() noexcept;
    /// Stays at 0.
    void DecrementIndentLevel() noexcept;
    void IncrementTimingLevel() noexcept;
    /// Below zero that is reported, and the level stays.
    void DecrementTimingLevel() noexcept;
    /// While the count is above 0, messages of the thread are dropped.
    void IncrementDisableCount() noexcept;
    /// Stays at 0.
    void DecrementDisableCount() noexcept;

    // ---- timing; use PerformanceTimingScope ----

    /// Are timing scopes measured?
    bool IsMeasuringPerformance() const noexcept;
    /// A scope begins: announces a new session if one is due, warns of unmeasured time before it, and prints the start
    /// line.  @param svDetail may be empty.  @return when it began, in ticks of DebugClock; 0: nothing is measured.
    LONGLONG NotifyTimingScopeStarted(const vlm::SourcePosition& rPosition, XStringView svScope,
                                      XStringView svDetail) noexcept;
    /// The scope ends: prints how long it took, if that is long enough.
    /// @param llStart what its start answered; 0: nothing happens.
    void NotifyTimingScopeEnded(const vlm::SourcePosition& rPosition, XStringView svScope, XStringView svDetail,
                                LONGLONG llStart) noexcept;

    // ---- the object ----

    /// Are boxes shown for caught exceptions ("ShowMsgBoxOnThrow")?
    bool IsShowingCaughtExceptions() const noexcept;
    /// Are they meant for a developer?  When messages are enabled, too.
    bool IsShowingCaughtExceptionsToDeveloper() const noexcept;

    DebugMessageConfiguration& GetConfiguration() noexcept { return m_oConfiguration; }
    const DebugMessageConfiguration& GetConfiguration() const noexcept { return m_oConfiguration; }
    static StaticLibCriticalResource& GetCriticalResourceRef() noexcept;

    /// Lets a thread of its own wait for the events by which tools make the process read its settings anew and clear
    /// the log.  Under the loader lock the thread starts with the first message afterwards.  A second call does
    /// nothing, unless there was no memory for the first.  The thread keeps the library loaded: a component that wants
    /// to be unloaded calls the counterpart first.
    void StartConfigUpdater() noexcept;
    /// Ends that thread and waits for it.
    void StopConfigUpdater() noexcept;
    /// For the entry point: loading has ended.  Where the library stays in the process anyway, the updater starts with
    /// the first message, written or not.
    void NoteLoaded() noexcept;

private:
    enum class UpdaterState { NotWanted, Wanted, Running };

    bool IsBuildingThread() const noexcept;
    bool IsDealtWith(DebugMessageCategories categories, bool fTimingLine) const noexcept;
    void RefreshReportMask() noexcept;
    void StartWantedUpdater() noexcept;

    void Emit(bool fError, DebugMessageCategories messageCategories, DebugMessageCategories effectiveCategories,
              bool fTimingLine, const vlm::DebugLineMessage& rMessage) noexcept;
    void BuildDebugMessageOutputString(bool fError, DebugMessageCategories categories, bool fTimingLine,
                                       const vlm::DebugLineMessage& rMessage, vlm::DebugLine& rLine) const noexcept;
    void OutputDebugMessageString(const vlm::DebugLine& rLine) noexcept;
    void WriteToLogFile(const vlm::DebugLine& rLine) noexcept;
    bool IsDurationShown(LONG lLevel, LONGLONG llMicroseconds) const noexcept;
    template <class... Args>
    void EmitTimingLine(const vlm::SourcePosition& rPosition, const XCHAR* pszFormat, const Args&... args) noexcept;

    std::atomic<DWORD> m_dwState{0};  // 1 while the object can be used
    std::atomic<LONG> m_lDisableCount{0};
    std::atomic<LONG> m_lIndentLevel{0};
    std::atomic<LONG> m_lTimingLevel{0};
    HANDLE m_hLogFile;
    XDebugPadManager m_oXDebugPadManager;
    DebugMessageConfiguration m_oConfiguration;
    HANDLE m_hUpdaterEnded = nullptr;  // manual-reset, not set
    DebugMessageHelper m_oDebugMessageHelper;
    std::unique_ptr<DebugConfigUpdater> m_apoUpdater;
    std::atomic<UpdaterState> m_eUpdater{UpdaterState::NotWanted};
    CriticalResource m_oUpdaterResource;
    CriticalResource m_oMaskResource;
    CXString m_csComputerName;
    CXString m_csProcessName;
    CXString m_csModuleName;
    vlm::ReportSink* m_pFormerSink = nullptr;
};

/// The manager of the process.  Before the library's static objects are built and after they are gone, its operations
/// do nothing.
VLM_API DebugMessageManager& GetDebugMessageManager() noexcept;

namespace vlm {
/// For the entry point: destroys the manager ahead of the library's other static objects.  A second call does nothing.
void DestroyDebugMessageManager() noexcept;
}  // namespace vlm
