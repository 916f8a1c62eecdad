/// @file
/// Opens a constraint execution context for the length of a scope.
#include "utilities/debuggingandexceptions/ConstraintExecutionContextLifetime.h"

#include <utility>

#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

ConstraintExecutionContextLifetime::ConstraintExecutionContextLifetime(
    std::unique_ptr<ConstraintExecutionContextBase> apoConstraintExecutionContextBase)
    : ConstraintExecutionContextLifetime(std::move(apoConstraintExecutionContextBase),
                                         UtilitiesDllPerThreadStorage::GetConstraintExecutionContextStack()) {}

ConstraintExecutionContextLifetime::ConstraintExecutionContextLifetime(
    std::unique_ptr<ConstraintExecutionContextBase> apoConstraintExecutionContextBase,
    ConstraintExecutionContextStack& rStack)
    : ExecutionContextLifetimeBase(std::move(apoConstraintExecutionContextBase),
                                   &ConstraintExecutionContextBase::GetConstraintExecutionContextIdType, rStack) {}

ConstraintExecutionContextLifetime::~ConstraintExecutionContextLifetime() = default;
