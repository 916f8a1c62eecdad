/// @file
/// The exception classes that add no data to their base, and the factory of each.
#pragma once

#include "utilities/debuggingandexceptions/VelomException.h"

// Each line of VelomExceptionList.inl becomes a class and its factory, `GetExceptionFile(...)` for `ExceptionFile`. The
// factory builds the object and returns it by value; it does not log and does not throw by itself.
#define VLM_EXCEPTION(name, base, code)                                                                           \
    class VLM_API name : public base {                                                                            \
    public:                                                                                                       \
        name(const CXString& kcsMessage, const CXString& kcsFileName, int iLine, const CXString& kcsFunctionName, \
             const ExecutionContextStack* pExecutionContextStack);                                                \
        name(const name& rOther);                                                                                 \
        name& operator=(const name&) = default;                                                                   \
        ~name() noexcept override;                                                                                \
        CXString GetExceptionTypeByNumericCode() const override;                                                  \
    };                                                                                                            \
    VLM_API name Get##name(const CXString& kcsMessage, const CXString& kcsFileName, int iLine,                    \
                           const CXString& kcsFunctionName, const ExecutionContextStack* pExecutionContextStack);
#include "utilities/debuggingandexceptions/VelomExceptionList.inl"
#undef VLM_EXCEPTION
