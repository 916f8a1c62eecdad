/// @file
/// The exception of a failed COM call.
#include "utilities/debuggingandexceptions/VelomComException.h"

#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

VelomComException::VelomComException(const CXString& kcsMessage, const CXString& kcsFileName, int iLine,
                                     const CXString& kcsFunctionName,
                                     const ExecutionContextStack* pExecutionContextStack, HRESULT hResult)
    : VelomException(kcsMessage, kcsFileName, iLine, kcsFunctionName, pExecutionContextStack), m_hResult(hResult) {}

VelomComException::VelomComException(const VelomComException& rOther) = default;

VelomComException::~VelomComException() noexcept = default;

CXString VelomComException::GetExceptionTypeByNumericCode() const {
    return VTEXT("071:000");
}

CXString VelomComException::GetAdditionalExceptionDescription(const VelomComException* pException) {
    if (!pException) return CXString();
    const auto dwResult = static_cast<DWORD>(pException->m_hResult);
    vlm::SafeText text;
    text.Format(VTEXT("COM Error HRESULT = 0x%x (%s)."), dwResult, vlm::GetSystemErrorText(dwResult));
    return std::move(text.Get());
}

VelomComException GetVelomComException(const CXString& kcsMessage, const CXString& kcsFileName, int iLine,
                                       const CXString& kcsFunctionName,
                                       const ExecutionContextStack* pExecutionContextStack, HRESULT hResult) {
    return VelomComException(kcsMessage, kcsFileName, iLine, kcsFunctionName, pExecutionContextStack, hResult);
}
