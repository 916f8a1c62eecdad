/// @file
/// The exception classes that add no data: their tables, type information and factories live here.
#include "utilities/debuggingandexceptions/VelomExceptions.h"

#define VLM_EXCEPTION(name, base, code)                                                                             \
    name::name(const CXString& kcsMessage, const CXString& kcsFileName, int iLine, const CXString& kcsFunctionName, \
               const ExecutionContextStack* pExecutionContextStack)                                                 \
        : base(kcsMessage, kcsFileName, iLine, kcsFunctionName, pExecutionContextStack) {}                          \
    name::name(const name& rOther) = default;                                                                       \
    name::~name() noexcept = default;                                                                               \
    CXString name::GetExceptionTypeByNumericCode() const {                                                          \
        return VTEXT(code);                                                                                         \
    }                                                                                                               \
    name Get##name(const CXString& kcsMessage, const CXString& kcsFileName, int iLine,                              \
                   const CXString& kcsFunctionName, const ExecutionContextStack* pExecutionContextStack) {          \
        return name(kcsMessage, kcsFileName, iLine, kcsFunctionName, pExecutionContextStack);                       \
    }
#include "utilities/debuggingandexceptions/VelomExceptionList.inl"
#undef VLM_EXCEPTION
