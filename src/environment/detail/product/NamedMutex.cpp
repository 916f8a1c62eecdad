/// @file
/// Waits for a named mutex, but not for ever.
#include "environment/detail/product/NamedMutex.h"

#include <algorithm>

#include "platform/EventPort.h"
#include "platform/Platform.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace vlm {

NamedMutex::NamedMutex(const CXString& kcsName, DWORD cTries) noexcept {
    EventPort& rEvents = *GetPlatform().pEvents;
    Status status = rEvents.CreateMutexAt(kcsName, m_hMutex);
    const DWORD dwWait = std::max<DWORD>(MOST_MILLISECONDS / std::max<DWORD>(cTries, 1), 1);
    for (DWORD dw = 0; dw < cTries && m_hMutex; ++dw) {
        DWORD dwIndex = 0;
        bool fAbandoned = false;
        status = rEvents.WaitAny(&m_hMutex, 1, dwWait, dwIndex, fAbandoned);
        m_fOwned = status == Status::Success;
        if (fAbandoned) VLM_REPORT(DebugCategory::UtilDll, VTEXT("The owner of the mutex '%s' is gone."), kcsName);
        if (status != Status::TimeOut) break;
    }
    if (m_fOwned) return;
    VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("The mutex '%s' cannot be had! %s"), kcsName, TextOfStatus(status));
}

NamedMutex::~NamedMutex() {
    EventPort& rEvents = *GetPlatform().pEvents;
    if (m_fOwned) rEvents.ReleaseMutexOf(m_hMutex);
    if (m_hMutex) rEvents.CloseObject(m_hMutex);
}

}  // namespace vlm
