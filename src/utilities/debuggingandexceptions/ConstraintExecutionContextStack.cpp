/// @file
/// The constraint execution contexts of one thread, innermost last.
#include "utilities/debuggingandexceptions/ConstraintExecutionContextStack.h"

#include <utility>

#include "utilities/debuggingandexceptions/BasicConstraintExecutionContext.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/debuggingandexceptions/detail/failure/ContextStackText.h"

namespace {

/// Appends a context's line, and the further lines of its message.
void AppendLines(vlm::SafeText& rText, const CXString& kcsIndent, XStringView display) {
    bool fFirst = true;
    for (;;) {
        const std::size_t uEnd = display.find(VTEXT('\n'));
        XStringView line = display.substr(0, uEnd);
        if (line.ends_with(VTEXT('\r'))) line.remove_suffix(1);
        rText.Format(fFirst ? VTEXT("%s%s\r\n") : VTEXT("\t\t\t\t%s%s\r\n"), kcsIndent, line);
        if (uEnd == XStringView::npos) return;
        display.remove_prefix(uEnd + 1);
        fFirst = false;
    }
}

}  // namespace

ConstraintExecutionContextStack::~ConstraintExecutionContextStack() = default;

void ConstraintExecutionContextStack::PushContext(
    ConstraintExecutionContextPointer shpoConstraintExecutionContextBase) {
    VLM_ASSERT(shpoConstraintExecutionContextBase, VTEXT("A null constraint execution context cannot be pushed."));
    if (!shpoConstraintExecutionContextBase) return;
    if (GetDepth() == m_vshpoConstraintExecutionContextStack.capacity())
        vlm::MakeRoomForContexts(m_vshpoConstraintExecutionContextStack);
    m_vshpoConstraintExecutionContextStack.push_back(std::move(shpoConstraintExecutionContextBase));
    VLM_REPORT(DebugCategory::ConstraintExecutionContext, VTEXT("New Context: %s"),
               vlm::DisplayContext(m_vshpoConstraintExecutionContextStack.back()));
}

void ConstraintExecutionContextStack::PopContext(
    const ConstraintExecutionContextPointer& shpoConstraintExecutionContextBase) noexcept {
    if (m_vshpoConstraintExecutionContextStack.empty()) {
        VLM_ASSERT(!m_vshpoConstraintExecutionContextStack.empty(),
                   VTEXT("The stack of constraint execution contexts is empty! Cannot pop this context: %s"),
                   vlm::DisplayContext(shpoConstraintExecutionContextBase));
        return;
    }
    VLM_ASSERT(m_vshpoConstraintExecutionContextStack.back().get() == shpoConstraintExecutionContextBase.get(),
               vlm::WRONG_CONTEXT_ON_TOP, vlm::DisplayContext(shpoConstraintExecutionContextBase),
               vlm::DisplayContext(m_vshpoConstraintExecutionContextStack.back()));
    m_vshpoConstraintExecutionContextStack.pop_back();
}

void ConstraintExecutionContextStack::PopContext(const ConstraintExecutionContextBase* pConstraintExecutionContextBase,
                                                 ConstraintExecutionContextIdType eContext) noexcept {
    vlm::PopContextAt(*this, m_vshpoConstraintExecutionContextStack, pConstraintExecutionContextBase,
                      [&] { return std::make_unique<BasicConstraintExecutionContext>(eContext, CXString()); });
}

ConstraintExecutionContextIdType ConstraintExecutionContextStack::GetMostRecentContext() const noexcept {
    if (IsEmpty()) return CECIE_NOT_SPECIFIED;
    return m_vshpoConstraintExecutionContextStack.back()->GetConstraintExecutionContextIdType();
}

CXString ConstraintExecutionContextStack::GetMostRecentContextDisplayString(bool fWithLocation) const {
    if (IsEmpty()) return vlm::NO_CONTEXT;
    return m_vshpoConstraintExecutionContextStack.back()->GetContextDebugDisplayString(fWithLocation);
}

CXString ConstraintExecutionContextStack::GetMultiLineDisplayString(bool fWithLocations) const {
    return vlm::DisplayContexts(
        m_vshpoConstraintExecutionContextStack,
        VTEXT("Constraint Execution context (Process=%s, Thread=0x%04lx) (%ld levels deep):\r\n"),
        [&](vlm::SafeText& rText, const CXString& kcsIndent, const ConstraintExecutionContextBase& rContext) {
            AppendLines(rText, kcsIndent, rContext.GetContextDebugDisplayString(fWithLocations).View());
        });
}

CXString ConstraintExecutionContextStack::GetStackString() const {
    if (IsEmpty()) return vlm::NO_CONTEXT;
    vlm::SafeText text;
    for (const ConstraintExecutionContextPointer& rshpoContext : m_vshpoConstraintExecutionContextStack) {
        if (!text.Get().IsEmpty()) text.Append(VTEXT(" > "));
        text.Append(rshpoContext->GetContextAndMessage().View());
    }
    return std::move(text.Get());
}
