/// @file
/// What becomes of a failure of one of the outputs.
#include "utilities/debuggingandexceptions/detail/diagnostics/OutputFailure.h"

#include <atomic>
#include <memory>
#include <new>

#include "platform/DesktopPort.h"
#include "platform/EventPort.h"
#include "platform/Platform.h"
#include "platform/SessionPort.h"
#include "utilities/debuggingandexceptions/detail/diagnostics/EmissionGuard.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"
#include "utilities/utilitiesdll/LoaderLock.h"
#include "utilities/utilitiesdll/VelomUtilities_Desktop.h"

namespace vlm {

namespace {

/// Whether a box of a thread of our own is up or about to be.
constinit std::atomic<bool> gfBoxPending{false};

struct WaitingBox {
    CXString csText;
    CXString csCaption;
    UINT uStyle;
};

unsigned ShowWaitingBox(void* pArgument) {
    {
        // What is shown has been told already, and perhaps through the very output that fails.
        const EmissionScope quiet;
        const std::unique_ptr<WaitingBox> apoBox(static_cast<WaitingBox*>(pArgument));
        VelomUtilities::NoHangDebugMessageBox(nullptr, apoBox->csText, apoBox->csCaption, apoBox->uStyle);
    }
    gfBoxPending.store(false, std::memory_order_release);
    return 0;
}

/// @return false when there is no thread to show it.
bool ShowOnAnotherThread(std::unique_ptr<WaitingBox> apoBox) noexcept {
    EventPort& rEvents = *GetPlatform().pEvents;
    HANDLE hThread = nullptr;
    if (!apoBox || rEvents.StartThread(&ShowWaitingBox, apoBox.get(), hThread) != Status::Success) return false;
    apoBox.release();  // NOLINT(bugprone-unused-return-value): the thread owns it now
    rEvents.CloseObject(hThread);
    return true;
}

}  // namespace

void ShowDiagnosticsBox(const XCHAR* pszText, const XCHAR* pszCaption, UINT uStyle) noexcept {
    if (IsUnderLoaderLock() || IsProcessEnding()) return;
    if (GetPlatform().pSessions->IsDesktopVisible()) {
        VelomUtilities::NoHangDebugMessageBox(nullptr, pszText, pszCaption, uStyle);
        return;
    }
    if (gfBoxPending.exchange(true, std::memory_order_acq_rel)) return;
    std::unique_ptr<WaitingBox> apoBox(new (std::nothrow)
                                           WaitingBox{TextOrEmpty(pszText), TextOrEmpty(pszCaption), uStyle});
    if (!ShowOnAnotherThread(std::move(apoBox))) gfBoxPending.store(false, std::memory_order_release);
}

void TellOutputFailure(const XCHAR* pszText) noexcept {
    GetPlatform().pDesktop->DebuggerOutput(pszText);
    ShowDiagnosticsBox(pszText, VTEXT("Debug Message Manager Error"), SessionPort::BOX_ICON_ERROR);
}

}  // namespace vlm
