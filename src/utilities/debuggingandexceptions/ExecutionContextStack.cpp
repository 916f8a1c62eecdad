/// @file
/// The execution contexts of one thread, innermost last.
#include "utilities/debuggingandexceptions/ExecutionContextStack.h"

#include <utility>

#include "utilities/debuggingandexceptions/BasicExecutionContext.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/failure/ContextStackText.h"

ExecutionContextStack::~ExecutionContextStack() = default;

void ExecutionContextStack::MakeRoom() {
    vlm::MakeRoomForContexts(m_vshpoExecutionContextStack);
}

void ExecutionContextStack::PushContext(ExecutionContextPointer shpoExecutionContextBase) {
    if (!shpoExecutionContextBase) [[unlikely]] {
        VLM_ASSERT(shpoExecutionContextBase, VTEXT("A null execution context cannot be pushed."));
        return;
    }
    if (m_vshpoExecutionContextStack.size() == m_vshpoExecutionContextStack.capacity()) [[unlikely]] {
        MakeRoom();
    }
    m_vshpoExecutionContextStack.push_back(std::move(shpoExecutionContextBase));
}

void ExecutionContextStack::PopContext(const ExecutionContextPointer& shpoExecutionContextBase) noexcept {
    if (m_vshpoExecutionContextStack.empty()) [[unlikely]] {
        VLM_ASSERT(!m_vshpoExecutionContextStack.empty(),
                   VTEXT("The stack of execution contexts is empty! Cannot pop this context: %s"),
                   vlm::DisplayContext(shpoExecutionContextBase));
        return;
    }
    VLM_ASSERT(m_vshpoExecutionContextStack.back().get() == shpoExecutionContextBase.get(), vlm::WRONG_CONTEXT_ON_TOP,
               vlm::DisplayContext(shpoExecutionContextBase), vlm::DisplayContext(m_vshpoExecutionContextStack.back()));
    m_vshpoExecutionContextStack.pop_back();
}

void ExecutionContextStack::PopContext(const ExecutionContextBase* pExecutionContextBase,
                                       ExecutionContextIdType eContext) noexcept {
    vlm::PopContextAt(*this, m_vshpoExecutionContextStack, pExecutionContextBase,
                      [&] { return MakeExecutionContext(eContext, VLM_HERE); });
}

CXString ExecutionContextStack::GetMultiLineDisplayString(bool fWithLocations) const {
    return vlm::DisplayContexts(
        m_vshpoExecutionContextStack, VTEXT("Execution context (Process=%s, Thread=0x%04lx) (%ld levels deep):\r\n"),
        [&](vlm::SafeText& rText, const CXString& kcsIndent, const ExecutionContextBase& rContext) {
            rText.Format(VTEXT("%s%s\r\n"), kcsIndent, rContext.GetContextDebugDisplayString(fWithLocations));
        });
}

CXString ExecutionContextStack::GetMostRecentContextDisplayString(bool fWithLocation) const {
    if (m_vshpoExecutionContextStack.empty()) return vlm::NO_CONTEXT;
    return m_vshpoExecutionContextStack.back()->GetContextDebugDisplayString(fWithLocation);
}
