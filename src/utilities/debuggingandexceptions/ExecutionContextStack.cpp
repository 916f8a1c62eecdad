/// @file
/// The execution contexts of one thread, innermost last.
#include "utilities/debuggingandexceptions/ExecutionContextStack.h"

#include <array>
#include <utility>

#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "platform/ThreadPort.h"
#include "utilities/debuggingandexceptions/BasicExecutionContext.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

namespace {

constexpr const XCHAR* NO_CONTEXT = VTEXT("<No Context>");
/// Room that a stack begins with; deeper nesting than this is rare.
constexpr std::size_t FIRST_ROOM = 16;

/// The last part of the executable's path.
CXString GetProcessName() {
    std::array<XCHAR, 1024> achPath{};
    const std::size_t cUnits = vlm::GetPlatform().pProcess->ModulePath(nullptr, achPath.data(), achPath.size());
    const XStringView path(achPath.data(), cUnits);
    return CXString(path.substr(path.find_last_of(VTEXT("\\/")) + 1));
}

}  // namespace

ExecutionContextStack::~ExecutionContextStack() = default;

void ExecutionContextStack::MakeRoom() {
    const std::size_t cRoom = m_vshpoExecutionContextStack.capacity();
    vlm::TranslateOutOfMemory(
        [&] { m_vshpoExecutionContextStack.reserve(cRoom < FIRST_ROOM ? FIRST_ROOM : 2 * cRoom); });
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
    const auto display = [](const ExecutionContextPointer& rshpo) {
        return rshpo ? rshpo->GetContextDebugDisplayString(true) : CXString(NO_CONTEXT);
    };
    if (m_vshpoExecutionContextStack.empty()) [[unlikely]] {
        VLM_ASSERT(!m_vshpoExecutionContextStack.empty(),
                   VTEXT("The stack of execution contexts is empty! Cannot pop this context: %s"),
                   display(shpoExecutionContextBase));
        return;
    }
    VLM_ASSERT(m_vshpoExecutionContextStack.back().get() == shpoExecutionContextBase.get(),
               VTEXT("Expected to pop this context, '%s', but this one is on top of the stack, '%s'! There's a problem "
                     "with the order in which contexts are ending. We'll pop the last item for now, but somebody needs "
                     "to fix this."),
               display(shpoExecutionContextBase), display(m_vshpoExecutionContextStack.back()));
    m_vshpoExecutionContextStack.pop_back();
}

void ExecutionContextStack::PopContext(const ExecutionContextBase* pExecutionContextBase,
                                       ExecutionContextIdType eContext) noexcept {
    if (!m_vshpoExecutionContextStack.empty() && m_vshpoExecutionContextStack.back().get() == pExecutionContextBase)
        [[likely]] {
        m_vshpoExecutionContextStack.pop_back();
        return;
    }
    for (const ExecutionContextPointer& rshpoContext : m_vshpoExecutionContextStack) {
        if (rshpoContext.get() == pExecutionContextBase) return PopContext(ExecutionContextPointer(rshpoContext));
    }
    vlm::NoThrow([&] { PopContext(ExecutionContextPointer(MakeExecutionContext(eContext, VLM_HERE))); });
}

CXString ExecutionContextStack::GetMultiLineDisplayString(bool fWithLocations) const {
    if (m_vshpoExecutionContextStack.empty()) return NO_CONTEXT;
    vlm::SafeText text;
    text.Format(VTEXT("Execution context (Process=%s, Thread=0x%04lx) (%ld levels deep):\r\n"), GetProcessName(),
                vlm::GetPlatform().pThreads->CurrentThreadId(), m_vshpoExecutionContextStack.size());
    int iIndent = 0;
    for (const ExecutionContextPointer& rshpoContext : m_vshpoExecutionContextStack) {
        iIndent += 2;
        text.Format(VTEXT("%s%s\r\n"), CXString(VTEXT(' '), iIndent),
                    rshpoContext->GetContextDebugDisplayString(fWithLocations));
    }
    return std::move(text.Get());
}

CXString ExecutionContextStack::GetMostRecentContextDisplayString(bool fWithLocation) const {
    if (m_vshpoExecutionContextStack.empty()) return NO_CONTEXT;
    return m_vshpoExecutionContextStack.back()->GetContextDebugDisplayString(fWithLocation);
}
