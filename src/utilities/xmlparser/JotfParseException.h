/// @file
/// The exception of the XML job ticket parser.
#pragma once

#include "utilities/debuggingandexceptions/VelomException.h"

/// Carries the parser's own code; its type code is "001:%03d" with that code.
class VLM_API JotfParseException : public VelomException {
public:
    /// What the parser met.
    enum ExceptionCode : std::int16_t {
#define VLM_JOTF_CODE(name) name,
#include "utilities/xmlparser/JotfParseExceptionCodes.inl"
#undef VLM_JOTF_CODE
    };

    JotfParseException(const CXString& kcsMessage, const CXString& kcsFileName, int iLine,
                       const CXString& kcsFunctionName, const ExecutionContextStack* pExecutionContextStack,
                       ExceptionCode eCode);
    JotfParseException(const JotfParseException& rOther);
    JotfParseException& operator=(const JotfParseException&) = default;
    ~JotfParseException() noexcept override;
    CXString GetExceptionTypeByNumericCode() const override;

    ExceptionCode GetCode() const noexcept {
        return m_eCode;
    }
    /// The name of the code; "<Unknown code!!!>" for one that has none.
    CXString GetCodeString() const;

private:
    ExceptionCode m_eCode;
};

/// Builds the object; does not log and does not throw by itself.
VLM_API JotfParseException GetJotfParseException(const CXString& kcsMessage, const CXString& kcsFileName, int iLine,
                                                 const CXString& kcsFunctionName,
                                                 const ExecutionContextStack* pExecutionContextStack,
                                                 JotfParseException::ExceptionCode eCode);
