/// @file
/// Hands debug messages to the viewer window of another process.
#include "utilities/debuggingandexceptions/XDebugPadManager.h"

#include <algorithm>
#include <array>

#include "platform/Platform.h"
#include "platform/SessionPort.h"
#include "utilities/debuggingandexceptions/StaticLibCriticalResource.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/OutputFailure.h"

namespace {

constexpr const XCHAR* VIEWER_CLASS = VTEXT("MfxTraceWindow");
constexpr const XCHAR* VIEWER_MESSAGE = VTEXT("*WM_TRACE_MSG_2_RECEIVER_FREES_ATOM");
/// How long a viewer that does not fetch its messages may hold up the sender.
constexpr DWORD SEND_MILLISECONDS = 1000;

}  // namespace

XDebugPadManager::~XDebugPadManager() = default;

/// @return whether there is a viewer to send to.
bool XDebugPadManager::FindViewer() noexcept {
    if (!m_fLookedUp.load(std::memory_order_acquire)) {
        const CriticalResourceLock lock(StaticLibCriticalResource::Get());
        if (!m_fLookedUp.load(std::memory_order_relaxed)) {
            vlm::SessionPort& rSessions = *vlm::GetPlatform().pSessions;
            if (rSessions.IsDesktopVisible()) {
                m_hwndViewer = rSessions.FindWindowOfClass(VIEWER_CLASS);
                m_uMessage = rSessions.RegisterMessage(VIEWER_MESSAGE);
            }
            m_fLookedUp.store(true, std::memory_order_release);
        }
    }
    return m_hwndViewer && m_uMessage != 0;
}

int XDebugPadManager::AppendDebugMsg(const CXString& kcsMessage) noexcept {
    return AppendDebugMsg(kcsMessage.View());
}

int XDebugPadManager::AppendDebugMsg(XStringView svMessage) noexcept {
    if (svMessage.empty() || !FindViewer()) return 0;
    int iSent = 0;
    bool fNoAtom = false;
    bool fNoTaker = false;
    {
        const CriticalResourceLock lock(m_oPiecesResource);
        for (XStringView svRest = svMessage; !svRest.empty();) {
            const XStringView svPiece = svRest.substr(0, MAX_PIECE);
            const Outcome eOutcome = AppendLine(svPiece);
            iSent += eOutcome == Outcome::Sent ? 1 : 0;
            fNoAtom |= eOutcome == Outcome::NoAtom;
            fNoTaker |= eOutcome == Outcome::NoTaker;
            svRest.remove_prefix(svPiece.size());
        }
    }
    // Only now: a box may come of it, and the pieces of other threads do not wait for that.
    if (fNoAtom) vlm::TellOutputFailure(VTEXT("Debug message failed unexpectedly.  GlobalAtom() returned 0."));
    if (fNoTaker) {
        vlm::TellOutputFailure(
            VTEXT("Debug message failed unexpectedly.  Unable to post or send message to XDebugPad.exe."));
    }
    return iSent;
}

XDebugPadManager::Outcome XDebugPadManager::AppendLine(XStringView svPiece) noexcept {
    std::array<XCHAR, MAX_PIECE + 1> achPiece;
    *std::copy(svPiece.begin(), svPiece.end(), achPiece.begin()) = XCHAR();
    vlm::SessionPort& rSessions = *vlm::GetPlatform().pSessions;
    const WORD wAtom = rSessions.AddGlobalAtom(achPiece.data());
    if (wAtom == 0) return Outcome::NoAtom;
    if (rSessions.PostToWindow(m_hwndViewer, m_uMessage, wAtom) == vlm::Status::Success) return Outcome::Sent;
    if (rSessions.SendToWindow(m_hwndViewer, m_uMessage, wAtom, SEND_MILLISECONDS) == vlm::Status::Success) {
        return Outcome::Sent;
    }
    // Nobody will free it.
    rSessions.DeleteGlobalAtom(wAtom);
    return Outcome::NoTaker;
}
