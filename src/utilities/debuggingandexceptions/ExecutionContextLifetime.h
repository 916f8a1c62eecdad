/// @file
/// Opens an execution context for the length of a scope.
#pragma once

#include <memory>

#include "platform/Export.h"
#include "utilities/debuggingandexceptions/BasicExecutionContext.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetimeBase.h"
#include "utilities/debuggingandexceptions/ExecutionContextStack.h"

/// Pushes a context when built and pops the very same one when destroyed.
/// **Ownership**: takes the context over.  **Threads**: built and destroyed on one thread.
/// **Failure**: throws `ExceptionOutOfMemory`; nothing is then pushed.  A null context is reported and nothing is
/// pushed.
class VLM_API ExecutionContextLifetime
    : vlm::ExecutionContextLifetimeBase<ExecutionContextStack, ExecutionContextBase, ExecutionContextIdType> {
public:
    /// On the calling thread's stack.
    explicit ExecutionContextLifetime(std::unique_ptr<ExecutionContextBase> apoExecutionContextBase);
    /// On a stack that outlives this object.
    ExecutionContextLifetime(std::unique_ptr<ExecutionContextBase> apoExecutionContextBase,
                             ExecutionContextStack& rStack);
    ~ExecutionContextLifetime();
};
