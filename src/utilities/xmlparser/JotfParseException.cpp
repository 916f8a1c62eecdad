/// @file
/// The exception of the XML job ticket parser.
#include "utilities/xmlparser/JotfParseException.h"

#include <array>
#include <cstddef>

#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

namespace {

constexpr auto CODE_NAMES = std::to_array<const XCHAR*>({
#define VLM_JOTF_CODE(name) VTEXT(#name),
#include "utilities/xmlparser/JotfParseExceptionCodes.inl"
#undef VLM_JOTF_CODE
});

}  // namespace

JotfParseException::JotfParseException(const CXString& kcsMessage, const CXString& kcsFileName, int iLine,
                                       const CXString& kcsFunctionName,
                                       const ExecutionContextStack* pExecutionContextStack, ExceptionCode eCode)
    : VelomException(kcsMessage, kcsFileName, iLine, kcsFunctionName, pExecutionContextStack), m_eCode(eCode) {}

JotfParseException::JotfParseException(const JotfParseException& rOther) = default;

JotfParseException::~JotfParseException() noexcept = default;

CXString JotfParseException::GetExceptionTypeByNumericCode() const {
    vlm::SafeText text;
    text.Format(VTEXT("001:%03d"), static_cast<int>(m_eCode));
    return std::move(text.Get());
}

CXString JotfParseException::GetCodeString() const {
    // A negative code becomes a great index.
    const auto uIndex = static_cast<std::size_t>(m_eCode);
    return uIndex < CODE_NAMES.size() ? CODE_NAMES[uIndex] : VTEXT("<Unknown code!!!>");
}

JotfParseException GetJotfParseException(const CXString& kcsMessage, const CXString& kcsFileName, int iLine,
                                         const CXString& kcsFunctionName,
                                         const ExecutionContextStack* pExecutionContextStack,
                                         JotfParseException::ExceptionCode eCode) {
    return JotfParseException(kcsMessage, kcsFileName, iLine, kcsFunctionName, pExecutionContextStack, eCode);
}
