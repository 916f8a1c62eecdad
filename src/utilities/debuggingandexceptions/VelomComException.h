/// @file
/// The exception of a failed COM call.
#pragma once

#include "utilities/debuggingandexceptions/VelomException.h"

/// Carries the result code of a COM call; type code "071:000".
class VLM_API VelomComException : public VelomException {
public:
    VelomComException(const CXString& kcsMessage, const CXString& kcsFileName, int iLine,
                      const CXString& kcsFunctionName, const ExecutionContextStack* pExecutionContextStack,
                      HRESULT hResult);
    VelomComException(const VelomComException& rOther);
    VelomComException& operator=(const VelomComException&) = default;
    ~VelomComException() noexcept override;
    CXString GetExceptionTypeByNumericCode() const override;

    HRESULT GetHresult() const noexcept { return m_hResult; }
    /// "COM Error HRESULT = 0x%x (%s)." with the system's text of the code; empty for a null pointer.
    static CXString GetAdditionalExceptionDescription(const VelomComException* pException);

private:
    HRESULT m_hResult;
};

/// Builds the object; does not log and does not throw by itself.
VLM_API VelomComException GetVelomComException(const CXString& kcsMessage, const CXString& kcsFileName, int iLine,
                                               const CXString& kcsFunctionName,
                                               const ExecutionContextStack* pExecutionContextStack, HRESULT hResult);
