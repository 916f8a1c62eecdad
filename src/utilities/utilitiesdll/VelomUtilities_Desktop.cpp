/// @file
/// General routines: what reaches a person.
#include "utilities/utilitiesdll/VelomUtilities_Desktop.h"

#include <array>
#include <atomic>

#include "platform/DesktopPort.h"
#include "platform/Platform.h"
#include "platform/SessionPort.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/failure/ContextStackText.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"
#include "utilities/utilitiesdll/LoaderLock.h"

namespace {

using vlm::SessionPort;
using vlm::Status;

/// More sessions than a terminal server has.
constexpr DWORD MOST_SESSIONS = 256;
/// What the system answers to an application that was made for another one: no terminal services here.
constexpr Status OLD_WIN_VERSION = static_cast<Status>(1151);

/// Whether a box without a desktop of its own is up.
constinit std::atomic<bool> gfServiceBoxUp{false};

SessionPort& Sessions() noexcept {
    return *vlm::GetPlatform().pSessions;
}

/// Shows the box in the first active session that takes it.
/// @return the button pressed, 0 when no session did.
int ShowInActiveSession(const XCHAR* pszText, const XCHAR* pszCaption, UINT uStyle) noexcept {
    std::array<SessionPort::Session, MOST_SESSIONS> aoSessions{};
    DWORD cSessions = MOST_SESSIONS;
    const Status eStatus = Sessions().EnumerateSessions(aoSessions.data(), cSessions);
    if (eStatus != Status::Success) {
        if (eStatus != OLD_WIN_VERSION) {
            VLM_REPORT_ERROR(
                DebugCategory::Utils,
                VTEXT("VelomUtilities::NoHangDebugMessageBox(): WTSEnumerateSessions() failed. Returned Windows error "
                      "%s.)"),
                vlm::GetSystemErrorText(vlm::ToDword(eStatus)));
        }
        return 0;
    }
    bool fActive = false;
    for (DWORD i = 0; i < cSessions && i < MOST_SESSIONS; ++i) {
        if (!aoSessions[i].fActive) continue;
        fActive = true;
        int iAnswer = 0;
        const Status eShown = Sessions().ShowBoxInSession(aoSessions[i].dwId, pszText, pszCaption, uStyle, iAnswer);
        if (eShown == Status::Success) return iAnswer;
        VLM_REPORT_ERROR(
            DebugCategory::Utils,
            VTEXT("VelomUtilities::NoHangDebugMessageBox(): WTSSendMessage() failed for session, %u, returned Windows "
                  "error %s. Will try again if there are multiple active sessions.)"),
            aoSessions[i].dwId, vlm::GetSystemErrorText(vlm::ToDword(eShown)));
    }
    if (!fActive) {
        VLM_REPORT_ERROR(
            DebugCategory::Utils,
            VTEXT("VelomUtilities::NoHangDebugMessageBox(): WTSEnumerateSessions() returned %u sessions, but no active "
                  "session found to display MessageBox. Falling back to MB_SERVICE_NOTIFICATION)"),
            cSessions);
    }
    return 0;
}

int ShowForService(const XCHAR* pszText, const XCHAR* pszCaption, UINT uStyle) noexcept {
    uStyle |= SessionPort::BOX_SERVICE_NOTIFICATION | SessionPort::BOX_SET_FOREGROUND;
    vlm::SafeText caption;
    caption.Format(VTEXT("%s: %s"), vlm::GetNameOfProcess(), pszCaption);
    const int iAnswer = ShowInActiveSession(pszText, caption.Get(), uStyle);
    return iAnswer != 0 ? iAnswer : Sessions().ShowBox(nullptr, pszText, caption.Get(), uStyle);
}

}  // namespace

int VelomUtilities::NoHangDebugMessageBox(HWND hwndOwner, const XCHAR* pszText, const XCHAR* pszCaption,
                                          UINT uStyle) noexcept {
    pszText = pszText ? pszText : VTEXT("");
    pszCaption = pszCaption ? pszCaption : VTEXT("");
    if (vlm::IsUnderLoaderLock() || vlm::IsProcessEnding()) {
        vlm::GetPlatform().pDesktop->DebuggerOutput(pszText);
        return 0;
    }
    VLM_REPORT(DebugCategory::Utils, VTEXT("**Notification MessageBox**%s:\n%s\n"), pszCaption, pszText);
    if (Sessions().IsDesktopVisible()) return Sessions().ShowBox(hwndOwner, pszText, pszCaption, uStyle);
    if (gfServiceBoxUp.exchange(true, std::memory_order_acq_rel)) return 0;
    const int iAnswer = ShowForService(pszText, pszCaption, uStyle);
    gfServiceBoxUp.store(false, std::memory_order_release);
    return iAnswer;
}
