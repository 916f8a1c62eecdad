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
    : m_rExecutionContextStack(rStack), m_shpoExecutionContextBase(std::move(apoExecutionContextBase)) {
    m_rExecutionContextStack.PushContext(m_shpoExecutionContextBase);
}

ExecutionContextLifetime::~ExecutionContextLifetime() {
    if (m_shpoExecutionContextBase) m_rExecutionContextStack.PopContext(m_shpoExecutionContextBase);
}
