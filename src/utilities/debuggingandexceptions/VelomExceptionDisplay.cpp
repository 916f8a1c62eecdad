/// @file
/// Shows a caught exception: to the debug messages always, to a person where there is one.
#include "platform/Platform.h"
#include "platform/SessionPort.h"
#include "platform/TextPort.h"
#include "utilities/debuggingandexceptions/CustomerMessages.h"
#include "utilities/debuggingandexceptions/DebugMessageManager.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/VelomComException.h"
#include "utilities/debuggingandexceptions/VelomException.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

using vlm::SafeText;

namespace {

constexpr DebugMessageCategories CATEGORIES = DebugCategory::Errors | DebugCategory::ErrInfra;
constexpr UINT BOX_STYLE = vlm::SessionPort::BOX_ICON_ERROR | vlm::SessionPort::BOX_TASK_MODAL;

/// Longest caption that is looked at, with its terminator.
constexpr std::size_t MAX_CAPTION = 512;

CXString DescriptionOf(const std::exception* pException) noexcept {
    if (!pException) return vlm::TextOrEmpty(VTEXT("Object of an unknown class"));
    SafeText text;
    try {
        text.Append(VelomException::GetExceptionDescription(*pException).View());
        if (const auto* const pCom = dynamic_cast<const VelomComException*>(pException)) {
            text.Append(VelomComException::GetAdditionalExceptionDescription(pCom).View());
        }
    } catch (...) {
        // What there is memory for is shown.
    }
    return std::move(text.Get());
}

CXString StackOf(const ExecutionContextStack* pStack) noexcept {
    try {
        if (pStack) return pStack->GetMultiLineDisplayString(true);
    } catch (...) {
        // As good as none.
    }
    return vlm::TextOrEmpty(VTEXT("<ExecutionContextStack Unavailable>"));
}

CXString IdentifierOf(const std::exception* pException) noexcept {
    try {
        if (pException) return VelomException::GetExceptionIdentifierForUserDisplay(*pException);
    } catch (...) {
        // The message goes without it.
    }
    return {};
}

/// What a customer reads: what the caller says, what happened, what to do, and what to quote.
CXString CustomerMessageFor(const std::exception* pException, const CXString& kcsMessage) noexcept {
    const CustomerMessageIDs ids = GetCustomerMessageIDsForException(pException);
    const CXString csHappened = LoadTextResource(ids.eMessage);
    SafeText text;
    if (!kcsMessage.IsEmpty()) text.Append(kcsMessage.View()).Append(VTEXT("\r\n\r\n"));
    text.Append(csHappened.IsEmpty()
                    ? XStringView(VTEXT("An unexpected error occurred in the Velom Printer Driver Product DLL."))
                    : csHappened.View());
    const CXString csAdvice = LoadTextResource(ids.eAdvice);
    if (!csAdvice.IsEmpty()) text.Append(VTEXT(" ")).Append(csAdvice.View());
    const CXString csIdentifier = IdentifierOf(pException);
    if (!csIdentifier.IsEmpty()) text.Append(VTEXT("\r\n\r\n")).Append(csIdentifier.View());
    return std::move(text.Get());
}

/// A window's caption.  @return false when it has none that can be read.
bool ReadCaption(HWND hwnd, CXString& rcsCaption, vlm::Status& reStatus) noexcept {
    XCHAR achCaption[MAX_CAPTION];
    std::size_t cUnits = 0;
    const vlm::Status eStatus = vlm::GetPlatform().pText->WindowText(hwnd, achCaption, MAX_CAPTION, cUnits);
    if (eStatus != vlm::Status::Success) reStatus = eStatus;
    if (eStatus == vlm::Status::Success) rcsCaption = std::move(SafeText().Append({achCaption, cUnits}).Get());
    return !rcsCaption.IsEmpty();
}

DWORD NumberOf(HWND hwnd) noexcept {
    return static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(hwnd));
}

int Ask(HWND hwndOwner, const CXString& kcsText, const CXString& kcsTitle, UINT uStyle) noexcept {
    vlm::ReportSink* const pSink = vlm::GetReportSink();
    return pSink ? pSink->Ask(hwndOwner, kcsText, kcsTitle, uStyle) : 0;
}

}  // namespace

CXString VelomException::GetCustomerTitleString(HWND hwndCurrentWindow, const CXString& kcsTitle,
                                                UINT uTitleId) noexcept {
    if (!kcsTitle.IsEmpty()) return vlm::CopyOrEmpty(kcsTitle);
    CXString csTitle;
    if (hwndCurrentWindow) {
        const HWND hwndParent = vlm::GetPlatform().pText->ParentWindow(hwndCurrentWindow);
        vlm::Status eStatus = vlm::Status::Success;
        if (ReadCaption(hwndCurrentWindow, csTitle, eStatus)) return csTitle;
        if (hwndParent && ReadCaption(hwndParent, csTitle, eStatus)) return csTitle;
        if (eStatus != vlm::Status::Success) {
            VLM_REPORT_ERROR(DebugCategory::ErrInfra,
                             VTEXT("Failed GetWindowText() for hwndCurrentWindow (0x%lx) or its parent (0x%lx) %s"),
                             NumberOf(hwndCurrentWindow), NumberOf(hwndParent),
                             vlm::GetSystemErrorText(vlm::ToDword(eStatus)));
        }
    }
    csTitle = LoadTextResource(uTitleId);
    return csTitle.IsEmpty() ? LoadTextResource(IDS_PRODUCT_TITLE) : csTitle;
}

bool VelomException::ShowCaughtException(bool fForceInReleaseBuild, bool fSuppressInReleaseBuild,
                                         const std::exception* pException, const CXString& kcsFileName, DWORD dwLine,
                                         const CXString& kcsFunctionName,
                                         const ExecutionContextStack* pExecutionContextStack, HWND hwndOwner,
                                         const CXString& kcsTitle, UINT uTitleId, const CXString& kcsMessage) noexcept {
    VLM_ASSERT(!fForceInReleaseBuild || !fSuppressInReleaseBuild,
               VTEXT("It's not legal for both of these parameters to be 'true'!"));
    const CXString csDescription = DescriptionOf(pException);
    vlm::ReportSink* const pSink = vlm::GetReportSink();
    if (pSink && vlm::ReportsAllowed(CATEGORIES)) {
        SafeText details;
        details.Format(VTEXT("Location of catch: %s (line %ld); %s\r\n\r\n"), kcsFileName, dwLine,
                       StackOf(pExecutionContextStack));
        if (!kcsMessage.IsEmpty()) details.Append(kcsMessage.View()).Append(VTEXT("\r\n\r\n"));
        details.Append(csDescription.View());
        SafeText text;
        text.Append(VTEXT("\n\n\n>========================= Exception caught ========================<"))
            .Format(VTEXT("Caught in %s! Details: %s"), kcsFunctionName, details.Get())
            .Append(VTEXT("\n>========================== End, Exception =========================<\n\n\n"));
        pSink->Write(true, CATEGORIES, VelomDebugMessage(text.Get(), kcsFileName, dwLine, kcsFunctionName));
    }
    if (!vlm::GetPlatform().pSessions->IsDesktopVisible()) return false;

    const DebugMessageManager& rManager = GetDebugMessageManager();
    const bool fCustomerSees =
        !fSuppressInReleaseBuild && (fForceInReleaseBuild || rManager.IsShowingCaughtExceptions());
    const bool fDeveloper = rManager.IsShowingCaughtExceptionsToDeveloper();
    if (!fCustomerSees && !fDeveloper) return false;
    const CXString csTitle = GetCustomerTitleString(hwndOwner, kcsTitle, uTitleId);
    const CXString csCustomerMessage = CustomerMessageFor(pException, kcsMessage);
    if (!fDeveloper) {
        Ask(hwndOwner, csCustomerMessage, csTitle, BOX_STYLE);
        return false;
    }
    SafeText text;
    text.Append(csDescription.View()).Append(VTEXT("\r\n"));
    if (fCustomerSees) {
        text.Format(VTEXT("The customer's message (if visible) would look like this (Title: Message) ->\r\n\r\n"
                          "\"%s: %s\"\r\n"),
                    csTitle, csCustomerMessage);
    } else {
        text.Append(VTEXT("NOTE: A customer would NOT see any message in this case. "));
    }
    text.Append(
        VTEXT("\r\nSelect OK to ignore the exception and continue execution following the catch block. The application "
              "will probably be unstable, but it might enable you to save your work. Select Cancel to re-throw the "
              "exception. If that is not caught, the application will crash, but it may allow a debugger to be used."));
    SafeText title;
    title.Format(VTEXT("Exception Caught in '%s'"), kcsFunctionName);
    return Ask(hwndOwner, text.Get(), title.Get(), BOX_STYLE | vlm::SessionPort::BOX_OK_CANCEL) ==
           vlm::SessionPort::ANSWER_CANCEL;
}
