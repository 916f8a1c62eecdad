/// @file
/// Failure: raising, catching, contexts, reports, and where exceptions end.
#include <cstdio>

#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/VelomDebugMessage.h"
#include "utilities/utilitiesdll/TextCodec.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

namespace {

void Print(const char* pszWhat, const CXString& kcsText) {
    std::printf("%s: %s\n", pszWhat, TextCodec::Utf16ToUtf8(kcsText).c_str());
}

/// Where reports go; without one they cost an atomic read and their arguments are not evaluated.
class Printer final : public vlm::ReportSink {
public:
    bool Allows(DebugMessageCategories categories) const noexcept override {
        return (categories & (DebugCategory::Errors | DebugCategory::Utils)) != 0;
    }
    void Write(bool fError, DebugMessageCategories, const VelomDebugMessage& rMessage) noexcept override {
        Print(fError ? "error" : "debug", rMessage.GetMessageText());
    }
    int Ask(HWND, const XCHAR*, const XCHAR*, DWORD) noexcept override { return 0; }
};

void OpenTray(int iTray) {
    const ExecutionContextLifetime context(MakeExecutionContext(ECIE_IMPORT_JCAP, VLM_HERE, VTEXT("opening a tray")));
    VLM_REPORT(DebugCategory::Utils, VTEXT("tray %d"), iTray);
    if (iTray > 4) VLM_THROW(ExceptionFeatureNotFound, VTEXT("There is no tray %d."), iTray);
}

}  // namespace

int main() {
    Printer oPrinter;
    vlm::SetReportMask(DebugCategory::Errors | DebugCategory::Utils);
    vlm::ExchangeReportSink(&oPrinter);
    try {
        OpenTray(1);
        OpenTray(7);
    } catch (const VelomException& rException) {  // the base of the family, itself a std::exception
        Print("class", rException.GetExceptionType());
        Print("code", rException.GetExceptionTypeByNumericCode());
        Print("method", rException.GetExceptionLocationFunctionName());
        Print("context", rException.GetExecutionContextStack().GetMostRecentContextDisplayString(false));
    }
    // The contexts that were open travel with the exception; here none is any more.
    std::printf("open contexts: %zu\n", UtilitiesDllPerThreadStorage::GetExecutionContextStack().GetDepth());
    // At an edge that no exception may cross: the neutral answer, and the report above it.
    std::printf("answer: %d\n", vlm::NoThrow([]() -> int { throw std::out_of_range("too far"); }, -1));
    vlm::ExchangeReportSink(nullptr);
}
