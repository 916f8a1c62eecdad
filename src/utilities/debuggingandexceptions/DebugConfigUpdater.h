/// @file
/// Lets a running process pick up changed settings and empty its log file.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

class DebugMessageConfiguration;
class DebugMessageHelperInterface;

/// A thread that waits for two named events: one says that the settings have changed, the other that the log file is to
/// be made empty.  Whoever may set the events can have both at any time, but no more than once in 100 ms.
///
/// An event that cannot be made (its name is taken by something else or somebody else) is a failed assertion; the
/// thread then waits for the others.  Without the event that ends the thread, none is started.  A wait that fails is
/// reported once and ends the thread; the process then goes on with the settings that it has.
///
/// The events are auto-reset, so setting one lets a single thread through: each process has names of its own, see
/// GetConfigChangeEventName.
///
/// **Ownership**: owns its events and its thread; what it is made with is borrowed and outlives it.
/// **Threads**: made and destroyed by one thread; not made under the loader lock.  The destructor may run under it: it
/// waits until the thread has set the completion event, or is gone, as it is when the process is ending.
/// **Failure**: nothing throws.
class VLM_API DebugConfigUpdater {
public:
    /// Least time between two refreshes or clearings.
    static constexpr DWORD PAUSE_MILLISECONDS = 100;

    /// @param hOwner the completion event, set by the thread when it leaves; manual-reset, not set.
    /// @param pszConfigChangeEvent, pszClearLogEvent names of the events.
    DebugConfigUpdater(DebugMessageConfiguration& rConfiguration, DebugMessageHelperInterface& rHelper, HANDLE hOwner,
                       const XCHAR* pszConfigChangeEvent, const XCHAR* pszClearLogEvent) noexcept;
    /// Has the thread leave, and waits until it has said so.
    ~DebugConfigUpdater();
    DebugConfigUpdater(const DebugConfigUpdater&) = delete;
    DebugConfigUpdater& operator=(const DebugConfigUpdater&) = delete;

    /// The event that clears the log, borrowed; null when it could not be made.
    HANDLE const& GetDebugConfigClearLogHandle() const noexcept { return m_hClearLogEvent; }

    /// The thread's body.  @param pvUpdater the object.  @return 0.
    static unsigned UpdaterThread(void* pvUpdater) noexcept;

    // ---- for those who set the events ----

    /// "Global\KestrixDebugConfigChanged.4711": the name that the library gives the event in the process of that id.
    static CXString GetConfigChangeEventName(DWORD dwProcessId);
    /// "Global\KestrixDebugClearLog.4711".
    static CXString GetClearLogEventName(DWORD dwProcessId);
    /// Has a process read its settings anew.  @param dwProcessId 0: all that may be reached.
    /// @return processes reached: those that wait for the event and let the caller set it.
    static std::size_t RequestRefresh(DWORD dwProcessId = 0) noexcept;
    /// Has a process make its log file empty.
    static std::size_t RequestClearLog(DWORD dwProcessId = 0) noexcept;

private:
    enum class Signal { Change, Clear, Exit, PauseEnded, Failed };

    void CreateEvents(const XCHAR* pszConfigChangeEvent, const XCHAR* pszClearLogEvent) noexcept;
    void StartUpdaterThread() noexcept;
    void Run() noexcept;
    Signal WaitForSignal(bool fPause) noexcept;
    void Refresh() noexcept;

    DebugMessageConfiguration& m_rConfiguration;
    DebugMessageHelperInterface& m_rHelper;
    HANDLE m_hCompletionEvent;
    HANDLE m_hDebugConfigChange = nullptr;
    HANDLE m_hClearLogEvent = nullptr;
    HANDLE m_hThreadExitEvent = nullptr;
    HANDLE m_hUpdateThread = nullptr;
};
