/// @file
/// What the raise macros call.
#include "utilities/debuggingandexceptions/RaiseMacros.h"

#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

namespace vlm {

void BreakIntoDebugger() noexcept {
#if defined(__x86_64__) || defined(__i386__)
    __asm__ volatile("int3");
#else
    __builtin_trap();
#endif
}

PositionText::PositionText(const SourcePosition& rPosition) noexcept
    : m_csFile(TextOrEmpty(rPosition.pszFile)),
      m_csMethod(TextOrEmpty(rPosition.pszMethod)),
      m_iLine(static_cast<int>(rPosition.dwLine)) {}

void ReportThrowing(const SourcePosition& rPosition, const XCHAR* pszFormat, const CXString& kcsMessage) noexcept {
    constexpr DebugMessageCategories CATEGORIES = DebugCategory::Errors | DebugCategory::ErrInfra;
    if (!ReportsAllowed(CATEGORIES)) return;
    WriteReport(true, CATEGORIES, rPosition, SafeText().Format(pszFormat, kcsMessage).Get());
}

const ExecutionContextStack* GetStackForException() noexcept {
    return UtilitiesDllPerThreadStorage::PeekExecutionContextStack();
}

void FailAssertion(const XCHAR* pszCondition, const SourcePosition& rPosition, const CXString& kcsMessage,
                   DebugMessageCategories categories) noexcept {
    const PositionText place(rPosition);
    if (VelomException::ProcessFailedAssertion(TextOrEmpty(pszCondition), place.File(), place.Method(),
                                               rPosition.dwLine, kcsMessage, GetStackForException(), categories)) {
        BreakIntoDebugger();
    }
}

}  // namespace vlm
