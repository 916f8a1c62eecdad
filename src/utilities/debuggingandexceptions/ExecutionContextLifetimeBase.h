/// @file
/// Opens a context of either family for the length of a scope.
#pragma once

#include <memory>
#include <utility>

#include "utilities/utilitiesdll/VlmSharedPtr.h"

namespace vlm {

/// Pushes a context when built and pops the very same one when destroyed; base of the lifetimes of both families.
template <class Stack, class Context, class IdType>
class ExecutionContextLifetimeBase {
public:
    ExecutionContextLifetimeBase(const ExecutionContextLifetimeBase&) = delete;
    ExecutionContextLifetimeBase& operator=(const ExecutionContextLifetimeBase&) = delete;

protected:
    /// @param pfnGetId the context's accessor of its id.
    ExecutionContextLifetimeBase(std::unique_ptr<Context> apoContext, IdType (Context::*pfnGetId)() const noexcept,
                                 Stack& rStack)
        : m_rStack(rStack),
          m_pContext(apoContext.get()),
          m_eContext(apoContext ? ((*apoContext).*pfnGetId)() : IdType()) {
        m_rStack.PushContext(VlmSharedPtr<Context>(std::move(apoContext)));
    }
    ~ExecutionContextLifetimeBase() {
        if (m_pContext) m_rStack.PopContext(m_pContext, m_eContext);
    }

private:
    Stack& m_rStack;
    // The stack owns the context.  The address only says which one it was; null when nothing was pushed.
    const Context* m_pContext;
    IdType m_eContext;
};

}  // namespace vlm
