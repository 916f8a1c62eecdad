/// @file
/// Takes the debug reports of the C runtime.
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/VelomException.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

namespace {

/// The runtime's kinds of report, by their numbers.
enum ReportType { CRT_WARN = 0, CRT_ERROR = 1, CRT_ASSERT = 2 };

const XCHAR* NameOf(int iReportType) noexcept {
    switch (iReportType) {
        case CRT_WARN:
            return VTEXT("_CRT_WARN");
        case CRT_ERROR:
            return VTEXT("_CRT_ERROR");
        case CRT_ASSERT:
            return VTEXT("_CRT_ASSERT");
        default:
            VLM_ASSERT_IN(DebugCategory::Errors | DebugCategory::ErrInfra, false,
                          VTEXT("Missing case in reportType switch statement for %d"), iReportType);
            return VTEXT("<Unknown!>");
    }
}

}  // namespace

int VelomException::VelomCrtDbgReportHook(int iReportType, char* pszMessage, int* piReturnValue) noexcept {
    if (piReturnValue) *piReturnValue = 0;  // the runtime itself shall not break
    vlm::SafeText text;
    text.Format(VTEXT("_CrtDbgReport(%s)\r\n%S"), NameOf(iReportType), pszMessage ? pszMessage : "");
    if (ProcessFailedAssertion(CXString(), CXString(), vlm::TextOrEmpty(VTEXT("VelomException::VelomCrtDbgReportHook")),
                               0, text.Get(), vlm::GetStackForException(),
                               DebugCategory::Errors | DebugCategory::ErrInfra)) {
        vlm::BreakIntoDebugger();
    }
    return 1;
}
