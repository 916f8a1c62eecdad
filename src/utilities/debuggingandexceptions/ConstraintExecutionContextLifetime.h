/// @file
/// Opens a constraint execution context for the length of a scope.
#pragma once

#include <memory>

#include "platform/Export.h"
#include "utilities/debuggingandexceptions/BasicConstraintExecutionContext.h"
#include "utilities/debuggingandexceptions/ConstraintExecutionContextStack.h"
#include "utilities/debuggingandexceptions/ExecutionContextLifetimeBase.h"

/// Pushes a context when built and pops the very same one when destroyed.
/// **Ownership**: takes the context over.  **Threads**: built and destroyed on one thread.
/// **Failure**: throws `ExceptionOutOfMemory`; nothing is then pushed.  A null context is reported and nothing is
/// pushed.
class VLM_API ConstraintExecutionContextLifetime
    : vlm::ExecutionContextLifetimeBase<ConstraintExecutionContextStack, ConstraintExecutionContextBase,
                                        ConstraintExecutionContextIdType> {
public:
    /// On the calling thread's stack.
    explicit ConstraintExecutionContextLifetime(
        std::unique_ptr<ConstraintExecutionContextBase> apoConstraintExecutionContextBase);
    /// On a stack that outlives this object.
    ConstraintExecutionContextLifetime(
        std::unique_ptr<ConstraintExecutionContextBase> apoConstraintExecutionContextBase,
        ConstraintExecutionContextStack& rStack);
    ~ConstraintExecutionContextLifetime();
};
