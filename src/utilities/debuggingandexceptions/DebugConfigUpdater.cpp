/// @file
/// Lets a running process pick up changed settings and empty its log file.
#include "utilities/debuggingandexceptions/DebugConfigUpdater.h"

#include <array>
#include <thread>
#include <vector>

#include "platform/EventPort.h"
#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "utilities/debuggingandexceptions/DebugMessageConfiguration.h"
#include "utilities/debuggingandexceptions/DebugMessageHelperInterface.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

namespace {

using vlm::EventPort;
using vlm::Status;

/// How long the destructor waits before it tells the thread once more.
constexpr DWORD TELL_AGAIN_MILLISECONDS = 1000;
/// More processes than this are not asked.
constexpr std::size_t MAX_PROCESSES = 65536;

EventPort& Events() noexcept {
    return *vlm::GetPlatform().pEvents;
}

/// Waits for the handles that there are.  @return the place of the one that was signalled among all, `N` for
/// none in time, -1 when the wait failed.
template <std::size_t N>
int WaitForAny(const std::array<HANDLE, N>& rahHandles, DWORD dwMilliseconds) noexcept {
    std::array<HANDLE, N> ahValid{};
    std::array<int, N> aiPlaces{};
    DWORD cValid = 0;
    for (std::size_t i = 0; i < N; ++i) {
        if (!rahHandles[i]) continue;
        aiPlaces[cValid] = static_cast<int>(i);
        ahValid[cValid++] = rahHandles[i];
    }
    DWORD dwIndex = 0;
    bool fAbandoned = false;
    const Status status = Events().WaitAny(ahValid.data(), cValid, dwMilliseconds, dwIndex, fAbandoned);
    if (status == Status::TimeOut) return static_cast<int>(N);
    return status == Status::Success && dwIndex < cValid ? aiPlaces[dwIndex] : -1;
}

/// Sets the event of that name, if it is there and may be set.
bool SetNamedEvent(const CXString& kcsName) noexcept {
    HANDLE hEvent = nullptr;
    if (Events().OpenEventAt(kcsName, hEvent) != Status::Success) return false;
    const bool fSet = Events().SetEventState(hEvent, true) == Status::Success;
    Events().CloseObject(hEvent);
    return fSet;
}

/// Sets the event that `nameOf` gives for a process, or for each.  @return how many were set.
std::size_t SetEventOf(DWORD dwProcessId, CXString (*nameOf)(DWORD)) noexcept {
    const auto setAll = [&] {
        std::vector<DWORD> vdwIds{dwProcessId};
        if (dwProcessId == 0) {
            vdwIds.resize(MAX_PROCESSES);
            vdwIds.resize(vlm::GetPlatform().pProcess->ProcessIds(vdwIds.data(), vdwIds.size()));
        }
        std::size_t cSet = 0;
        for (const DWORD dwId : vdwIds)
            cSet += SetNamedEvent(nameOf(dwId)) ? 1 : 0;
        return cSet;
    };
    return vlm::NoThrow(setAll, std::size_t{0});
}

}  // namespace

DebugConfigUpdater::DebugConfigUpdater(DebugMessageConfiguration& rConfiguration, DebugMessageHelperInterface& rHelper,
                                       HANDLE hOwner, const XCHAR* pszConfigChangeEvent,
                                       const XCHAR* pszClearLogEvent) noexcept
    : m_rConfiguration(rConfiguration), m_rHelper(rHelper), m_hCompletionEvent(hOwner) {
    CreateEvents(pszConfigChangeEvent, pszClearLogEvent);
    // A thread that could not be told to leave, or could not say that it has left, is not started.
    if (m_hThreadExitEvent && m_hCompletionEvent) StartUpdaterThread();
}

void DebugConfigUpdater::CreateEvents(const XCHAR* pszConfigChangeEvent, const XCHAR* pszClearLogEvent) noexcept {
    Status status = Status::Success;
    const auto create = [&](const XCHAR* pszName) {
        HANDLE hEvent = nullptr;
        status = Events().CreateEventAt(pszName, false, false, hEvent);
        return status == Status::Success ? hEvent : nullptr;
    };
    const auto why = [&] { return vlm::GetSystemErrorText(vlm::ToDword(status)); };
    m_hDebugConfigChange = create(pszConfigChangeEvent);
    VLM_ASSERT(m_hDebugConfigChange != 0, VTEXT("The event %s cannot be created. %s"), pszConfigChangeEvent, why());
    m_hClearLogEvent = create(pszClearLogEvent);
    VLM_ASSERT(m_hClearLogEvent != 0, VTEXT("The event %s cannot be created. %s"), pszClearLogEvent, why());
    m_hThreadExitEvent = create(nullptr);
    VLM_ASSERT(m_hThreadExitEvent != 0, VTEXT("The event that ends the thread cannot be created. %s"), why());
}

void DebugConfigUpdater::StartUpdaterThread() noexcept {
    HANDLE hThread = nullptr;
    const Status status = Events().StartThread(&UpdaterThread, this, hThread);
    m_hUpdateThread = status == Status::Success ? hThread : nullptr;
    VLM_ASSERT(m_hUpdateThread != 0, VTEXT("The thread that reads changed settings cannot be started. %s"),
               vlm::GetSystemErrorText(vlm::ToDword(status)));
}

DebugConfigUpdater::~DebugConfigUpdater() {
    if (m_hUpdateThread) {
        const std::array<HANDLE, 2> ahEnds{m_hCompletionEvent, m_hUpdateThread};
        for (;;) {
            Events().SetEventState(m_hThreadExitEvent, true);
            const int iEnd = WaitForAny(ahEnds, TELL_AGAIN_MILLISECONDS);
            if (iEnd == 0 || iEnd == 1) break;
            std::this_thread::yield();
        }
    }
    for (HANDLE hObject : {m_hUpdateThread, m_hThreadExitEvent, m_hClearLogEvent, m_hDebugConfigChange}) {
        if (hObject) Events().CloseObject(hObject);
    }
}

unsigned DebugConfigUpdater::UpdaterThread(void* pvUpdater) noexcept {
    auto& rUpdater = *static_cast<DebugConfigUpdater*>(pvUpdater);
    HANDLE hCompletionEvent = rUpdater.m_hCompletionEvent;
    rUpdater.Run();
    // As soon as the event is set, the object may be gone.
    const Status status = Events().SetEventState(hCompletionEvent, true);
    const int bSetEventRet = status == Status::Success ? 1 : 0;
    VLM_ASSERT(bSetEventRet != 0, VTEXT("The end of the thread cannot be told. %s"),
               vlm::GetSystemErrorText(vlm::ToDword(status)));
    return 0;
}

void DebugConfigUpdater::Run() noexcept {
    bool fPause = false;
    for (;;) {
        const Signal eSignal = WaitForSignal(fPause);
        switch (eSignal) {
            case Signal::Change:
                Refresh();
                break;
            case Signal::Clear:
                m_rHelper.ClearTheLog();
                break;
            case Signal::PauseEnded:
                break;
            case Signal::Exit:
                return;
            case Signal::Failed:
                VLM_ASSERT(eSignal != Signal::Failed, VTEXT("unreachable code"));
                return;
        }
        fPause = eSignal != Signal::PauseEnded;
    }
}

/// The next thing to do.  @param fPause nothing but the end is waited for, and not for long.
DebugConfigUpdater::Signal DebugConfigUpdater::WaitForSignal(bool fPause) noexcept {
    if (fPause) {
        const int iSignal = WaitForAny(std::array<HANDLE, 1>{m_hThreadExitEvent}, PAUSE_MILLISECONDS);
        return iSignal == 0 ? Signal::Exit : iSignal == 1 ? Signal::PauseEnded : Signal::Failed;
    }
    const std::array<HANDLE, 3> ahSignals{m_hDebugConfigChange, m_hClearLogEvent, m_hThreadExitEvent};
    const int iSignal = WaitForAny(ahSignals, EventPort::WAIT_FOREVER);
    constexpr std::array<Signal, 3> SIGNALS{Signal::Change, Signal::Clear, Signal::Exit};
    return iSignal >= 0 && iSignal < 3 ? SIGNALS[static_cast<std::size_t>(iSignal)] : Signal::Failed;
}

void DebugConfigUpdater::Refresh() noexcept {
    const CXString csFormerLogFileName = m_rConfiguration.GetLogFileName();
    m_rConfiguration.GetLatestConfigurationInformation(true);
    if (m_rConfiguration.GetLogFileName() != csFormerLogFileName) m_rHelper.CloseLogFile();
}

// ---- for those who set the events ----

CXString DebugConfigUpdater::GetConfigChangeEventName(DWORD dwProcessId) {
    return CXString::FormatString(VTEXT("Global\\KestrixDebugConfigChanged.%lu"), dwProcessId);
}

CXString DebugConfigUpdater::GetClearLogEventName(DWORD dwProcessId) {
    return CXString::FormatString(VTEXT("Global\\KestrixDebugClearLog.%lu"), dwProcessId);
}

std::size_t DebugConfigUpdater::RequestRefresh(DWORD dwProcessId) noexcept {
    return SetEventOf(dwProcessId, &GetConfigChangeEventName);
}

std::size_t DebugConfigUpdater::RequestClearLog(DWORD dwProcessId) noexcept {
    return SetEventOf(dwProcessId, &GetClearLogEventName);
}
