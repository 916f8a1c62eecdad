/// @file
/// The concrete constraint execution context.
#include "utilities/debuggingandexceptions/BasicConstraintExecutionContext.h"

BasicConstraintExecutionContext::~BasicConstraintExecutionContext() = default;

std::unique_ptr<ConstraintExecutionContextBase> BasicConstraintExecutionContext::Clone() const {
    return std::make_unique<BasicConstraintExecutionContext>(*this);
}

bool BasicConstraintExecutionContext::IsEqual(const ConstraintExecutionContextBase& rOther) const {
    return CompareFields(rOther) == 0;
}

bool BasicConstraintExecutionContext::LessThan(const ConstraintExecutionContextBase& rOther) const {
    return CompareFields(rOther) < 0;
}
