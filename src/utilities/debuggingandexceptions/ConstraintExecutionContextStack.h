/// @file
/// The constraint execution contexts of one thread, innermost last.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/Export.h"
#include "utilities/debuggingandexceptions/ConstraintExecutionContextBase.h"

/// A stack of constraint execution contexts.  A copy shares the contexts, so it stays good after they have ended.
/// **Threads**: a stack belongs to one thread; a copy may be handed to another.
/// **Failure**: pushing throws `ExceptionOutOfMemory` without memory and leaves the stack as it was; misuse is
/// reported.
class VLM_API ConstraintExecutionContextStack {
public:
    ConstraintExecutionContextStack() noexcept = default;
    ConstraintExecutionContextStack(const ConstraintExecutionContextStack&) = default;
    ConstraintExecutionContextStack(ConstraintExecutionContextStack&&) noexcept = default;
    ConstraintExecutionContextStack& operator=(const ConstraintExecutionContextStack&) = default;
    ConstraintExecutionContextStack& operator=(ConstraintExecutionContextStack&&) noexcept = default;
    ~ConstraintExecutionContextStack();

    /// Appends a context, and says so under "constraintexecutioncontext"; a null pointer is reported and not appended.
    void PushContext(ConstraintExecutionContextPointer shpoConstraintExecutionContextBase);

    /// Removes the innermost context, which should be the very one given; see ExecutionContextStack::PopContext.
    void PopContext(const ConstraintExecutionContextPointer& shpoConstraintExecutionContextBase) noexcept;
    /// The same for a context that the stack owns alone, told by its address, and by its id should it be gone already.
    void PopContext(const ConstraintExecutionContextBase* pConstraintExecutionContextBase,
                    ConstraintExecutionContextIdType eContext) noexcept;

    bool IsEmpty() const noexcept { return m_vshpoConstraintExecutionContextStack.empty(); }
    std::size_t GetDepth() const noexcept { return m_vshpoConstraintExecutionContextStack.size(); }

    /// The innermost id; `CECIE_NOT_SPECIFIED` when empty.
    ConstraintExecutionContextIdType GetMostRecentContext() const noexcept;
    /// The innermost context in one line; "<No Context>" when empty.
    /// @param fWithLocation shows where it began.
    CXString GetMostRecentContextDisplayString(bool fWithLocation) const;

    /// A header with process, thread and depth, then the contexts, outermost first, each indented by two blanks more;
    /// the further lines of a message of several lines have four tabs in front.  "<No Context>" when empty.
    /// @param fWithLocations shows where each context began.
    CXString GetMultiLineDisplayString(bool fWithLocations) const;

    /// All contexts with their messages in one line, outermost first: "NAME (message) > NAME"; "<No Context>" when
    /// empty.
    CXString GetStackString() const;

private:
    std::vector<ConstraintExecutionContextPointer> m_vshpoConstraintExecutionContextStack;
};
