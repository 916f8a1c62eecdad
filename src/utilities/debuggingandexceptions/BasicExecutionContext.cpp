/// @file
/// The concrete execution context.
#include "utilities/debuggingandexceptions/BasicExecutionContext.h"

BasicExecutionContext::BasicExecutionContext(ExecutionContextIdType eContext, const CXString& kcsFile,
                                             const CXString& kcsFunction, DWORD dwLineNumber,
                                             bool fLocationEmbeddedInMsg, const CXString& kcsMessage)
    : ExecutionContextBase(eContext, kcsFile, kcsFunction, dwLineNumber, fLocationEmbeddedInMsg, kcsMessage) {}

BasicExecutionContext::~BasicExecutionContext() = default;

std::unique_ptr<ExecutionContextBase> BasicExecutionContext::Clone() const {
    return std::make_unique<BasicExecutionContext>(*this);
}

bool BasicExecutionContext::IsEqual(const ExecutionContextBase& rOther) const {
    return CompareFields(rOther) == 0;
}

bool BasicExecutionContext::LessThan(const ExecutionContextBase& rOther) const {
    return CompareFields(rOther) < 0;
}
