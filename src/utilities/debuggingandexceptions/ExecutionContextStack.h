/// @file
/// The execution contexts of one thread, innermost last.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/Export.h"
#include "utilities/debuggingandexceptions/ExecutionContextBase.h"

/// A stack of execution contexts.  A copy shares the contexts, so it stays good after they have ended.
/// **Threads**: a stack belongs to one thread; a copy may be handed to another.
/// **Failure**: pushing throws `ExceptionOutOfMemory` without memory and leaves the stack as it was; misuse is
/// reported.
class VLM_API ExecutionContextStack {
public:
    ExecutionContextStack() noexcept = default;
    ExecutionContextStack(const ExecutionContextStack&) = default;
    ExecutionContextStack(ExecutionContextStack&&) noexcept = default;
    ExecutionContextStack& operator=(const ExecutionContextStack&) = default;
    ExecutionContextStack& operator=(ExecutionContextStack&&) noexcept = default;
    ~ExecutionContextStack();

    /// Appends a context; a null pointer is reported and not appended.
    void PushContext(ExecutionContextPointer shpoExecutionContextBase);

    /// Removes the innermost context, which should be the very one given.  An empty stack is reported and stays empty;
    /// another innermost context is reported and removed all the same, so that a stack never grows without bound.
    void PopContext(const ExecutionContextPointer& shpoExecutionContextBase) noexcept;

    /// The same for a context that the stack owns alone, told by its address.
    /// @param pExecutionContextBase only compared, because an earlier pop out of order may have destroyed it.
    /// @param eContext its id, to name it by in that case.
    void PopContext(const ExecutionContextBase* pExecutionContextBase, ExecutionContextIdType eContext) noexcept;

    bool IsEmpty() const noexcept { return m_vshpoExecutionContextStack.empty(); }
    std::size_t GetDepth() const noexcept { return m_vshpoExecutionContextStack.size(); }

    /// A header with process, thread and depth, then one line per context, outermost first, each indented by two blanks
    /// more; "<No Context>" when empty.
    /// @param fWithLocations shows where each context began.
    CXString GetMultiLineDisplayString(bool fWithLocations) const;

    /// The innermost context in one line; "<No Context>" when empty.
    /// @param fWithLocation shows where it began.
    CXString GetMostRecentContextDisplayString(bool fWithLocation) const;

private:
    void MakeRoom();

    std::vector<ExecutionContextPointer> m_vshpoExecutionContextStack;
};
