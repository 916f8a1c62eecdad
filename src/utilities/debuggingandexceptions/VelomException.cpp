/// @file
/// The root of the exception hierarchy, and the texts made of its objects.
#include "utilities/debuggingandexceptions/VelomException.h"

#include <cstddef>
#include <memory>
#include <new>

#include "utilities/debuggingandexceptions/ReportSink.h"
#include "utilities/debuggingandexceptions/VelomDebugMessage.h"
#include "utilities/debuggingandexceptions/detail/failure/ClassName.h"
#include "utilities/debuggingandexceptions/detail/failure/LeakChecker.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"
#include "utilities/debuggingandexceptions/detail/failure/ThreadGuard.h"

using vlm::SafeText;

namespace {

/// Size of the buffers that `what()` hands out, in bytes.
constexpr int NARROW_BYTES = 2048;
constexpr const char* NO_DESCRIPTION = "An exception of the library; there is no memory for its description.";

constinit vlm::ThreadGuard goAsserting;

void AppendLocationAndMessage(SafeText& rText, const CXString& kcsMessage, const CXString& kcsFileName, DWORD dwLine,
                              const CXString& kcsFunctionName, const ExecutionContextStack* pStack) noexcept {
    const XStringView file = kcsFileName.View();
    const std::size_t cPath = file.rfind(VTEXT('\\')) + 1;  // 0 without a backslash
    rText.Format(VTEXT("Path:\t%s\r\n"), file.substr(0, cPath))
        .Format(VTEXT("File:\t%s\r\n"), file.substr(cPath))
        .Format(VTEXT("Method:\t%s()\r\n"), kcsFunctionName)
        .Format(VTEXT("Line:\t%u\r\n"), dwLine);
    if (pStack) {
        try {
            rText.Format(VTEXT("%s"), pStack->GetMultiLineDisplayString(true));
        } catch (...) {
            // Without memory the contexts are left out; the rest of the description is worth more.
        }
    }
    if (!kcsMessage.IsEmpty()) {
        rText.Append(VTEXT("\r\nDetails:\r\n\t")).Append(kcsMessage.View()).Append(VTEXT("\r\n"));
    }
}

void CopyIfThereIsMemory(const ExecutionContextStack& rFrom, ExecutionContextStack& rTo) noexcept {
    try {
        rTo = rFrom;
    } catch (...) {
        // The failure itself is still worth raising.
    }
}

}  // namespace

VelomException::VelomException(const CXString& kcsMessage, const CXString& kcsFileName, int iLine,
                               const CXString& kcsFunctionName, const ExecutionContextStack* pExecutionContextStack)
    : m_csFileName(kcsFileName),
      m_dwLine(static_cast<DWORD>(iLine)),
      m_csFunctionName(kcsFunctionName),
      m_csMessage(kcsMessage) {
    if (pExecutionContextStack && pExecutionContextStack != &m_oExecutionContextStack) {
        CopyIfThereIsMemory(*pExecutionContextStack, m_oExecutionContextStack);
    }
}

VelomException::VelomException(const VelomException& rOther)
    : std::exception(rOther),
      m_csFileName(rOther.m_csFileName),
      m_dwLine(rOther.m_dwLine),
      m_csFunctionName(rOther.m_csFunctionName),
      m_csMessage(rOther.m_csMessage) {
    // Deliberate: an exception caught by value must not end the process for want of memory.
    CopyIfThereIsMemory(rOther.m_oExecutionContextStack, m_oExecutionContextStack);
}

VelomException& VelomException::operator=(const VelomException& rOther) {
    ExecutionContextStack oStack(rOther.m_oExecutionContextStack);  // the one step that can fail comes first
    std::exception::operator=(rOther);
    m_csFileName = rOther.m_csFileName;
    m_dwLine = rOther.m_dwLine;
    m_csFunctionName = rOther.m_csFunctionName;
    m_csMessage = rOther.m_csMessage;
    m_oExecutionContextStack = std::move(oStack);
    return *this;
}

VelomException::~VelomException() noexcept {
    const std::unique_ptr<char[]> apszLast(m_pszNarrowText.load(std::memory_order_relaxed));
}

const char* VelomException::what() const noexcept {
    std::unique_ptr<char[]> apchNew(new (std::nothrow) char[NARROW_BYTES]);
    if (!apchNew) return NO_DESCRIPTION;
    try {
        GetExceptionDescription(*this).GetAsMultiByte(apchNew.get(), NARROW_BYTES);
    } catch (...) {
        return NO_DESCRIPTION;
    }
    char* const pszNew = apchNew.release();
    vlm::IgnoreLeak(m_pszNarrowText.exchange(pszNew, std::memory_order_acq_rel));
    return pszNew;
}

void VelomException::Dump() const {}

CXString VelomException::GetExceptionType() const {
    return CXString(vlm::ClassName(typeid(*this)).Get());
}

CXString VelomException::GetExceptionIdentifierForUserDisplay() const {
    SafeText text;
    text.Append(GetExceptionTypeByNumericCode().View()).Format(VTEXT(":%04u"), m_dwLine);
    return std::move(text.Get());
}

CXString VelomException::GetExceptionIdentifierForUserDisplay(const std::exception& rException) {
    const auto* const pException = dynamic_cast<const VelomException*>(&rException);
    return pException ? pException->GetExceptionIdentifierForUserDisplay() : CXString(VTEXT("000:000:000"));
}

bool VelomException::IsVelomException(const std::exception& rException) noexcept {
    return dynamic_cast<const VelomException*>(&rException) != nullptr;
}

CXString VelomException::GetExceptionDescription(const std::exception& rException) {
    SafeText text;
    const vlm::ClassName className(typeid(rException));
    if (className.GetReadable()) {
        text.Format(VTEXT("Object of %S"), className.GetReadable());
    } else {
        text.Append(VTEXT("Object of std::exception"));
    }
    if (const auto* const pException = dynamic_cast<const VelomException*>(&rException)) {
        text.Append(VTEXT(" thrown from:\r\n\r\n"));
        const ExecutionContextStack& rStack = pException->m_oExecutionContextStack;
        AppendLocationAndMessage(text, pException->m_csMessage, pException->m_csFileName, pException->m_dwLine,
                                 pException->m_csFunctionName, rStack.IsEmpty() ? nullptr : &rStack);
        return std::move(text.Get());
    }
    const char* const pszWhat = rException.what();
    if (pszWhat && *pszWhat) {
        text.Format(VTEXT("\r\n\r\n\t%S\r\n"), pszWhat);
    } else {
        text.Append(VTEXT("\r\n\r\n\tNo additional information available.\r\n"));
    }
    return std::move(text.Get());
}

CXString VelomException::GetLocationAndMessageDescription(const CXString& kcsMessage, const CXString& kcsFileName,
                                                          DWORD dwLine, const CXString& kcsFunctionName,
                                                          const ExecutionContextStack* pExecutionContextStack) {
    SafeText text;
    AppendLocationAndMessage(text, kcsMessage, kcsFileName, dwLine, kcsFunctionName, pExecutionContextStack);
    return std::move(text.Get());
}

bool VelomException::ProcessFailedAssertion(const CXString& kcsCondition, const CXString& kcsFileName,
                                            const CXString& kcsFunctionName, DWORD dwLine, const CXString& kcsMessage,
                                            const ExecutionContextStack* pExecutionContextStack,
                                            DebugMessageCategories categories) noexcept {
    const vlm::ThreadGuard::Scope scope(goAsserting);
    vlm::ReportSink* const pSink = vlm::GetReportSink();
    if (!scope.HasEntered() || !pSink) return false;
    if (vlm::ReportsAllowed(categories)) {
        SafeText text;
        text.Append(VTEXT("\n\n\n>========================= Failed Assertion ============================<"))
            .Format(VTEXT("Failed Condition:\t%s\r\n\r\n"), kcsCondition);
        AppendLocationAndMessage(text, kcsMessage, kcsFileName, dwLine, kcsFunctionName, pExecutionContextStack);
        text.Append(VTEXT("\n>========================= End, Failed Assertion =======================<\n\n\n"));
        const CXString csMethod = vlm::TextOrEmpty(VTEXT("VelomException::ProcessFailedAssertion"));
        pSink->Write(true, categories, VelomDebugMessage(text.Get(), kcsFileName, dwLine, csMethod));
    }
    return pSink->WantsBreak(categories);
}

bool VelomException::AllowForExceptionDebug(const std::exception&) noexcept {
    return false;
}
