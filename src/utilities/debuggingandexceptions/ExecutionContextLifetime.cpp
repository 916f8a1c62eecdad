/// @file
/// Opens an execution context for the length of a scope.
#include "utilities/debuggingandexceptions/ExecutionContextLifetime.h"

#include <utility>

#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

ExecutionContextLifetime::ExecutionContextLifetime(std::unique_ptr<ExecutionContextBase> apoExecutionContextBase)
    : ExecutionContextLifetime(std::move(apoExecutionContextBase),
                               UtilitiesDllPerThreadStorage::GetExecutionContextStack()) {}

ExecutionContextLifetime::ExecutionContextLifetime(std::unique_ptr<ExecutionContextBase> apoExecutionContextBase,
                                                   ExecutionContextStack& rStack)
    : ExecutionContextLifetimeBase(std::move(apoExecutionContextBase), &ExecutionContextBase::GetExecutionContextIdType,
                                   rStack) {}

ExecutionContextLifetime::~ExecutionContextLifetime() = default;
