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
    : m_rExecutionContextStack(rStack),
      m_pExecutionContextBase(apoExecutionContextBase.get()),
      m_eExecutionContextIdType(apoExecutionContextBase ? apoExecutionContextBase->GetExecutionContextIdType()
                                                        : ECIE_NOT_SPECIFIED) {
    m_rExecutionContextStack.PushContext(ExecutionContextPointer(std::move(apoExecutionContextBase)));
}

ExecutionContextLifetime::~ExecutionContextLifetime() {
    if (m_pExecutionContextBase) {
        m_rExecutionContextStack.PopContext(m_pExecutionContextBase, m_eExecutionContextIdType);
    }
}
