/// @file
/// What the stacks of all families of execution contexts have in common.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "platform/Platform.h"
#include "platform/ThreadPort.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

namespace vlm {

/// How an empty stack is shown, and a context that is none.
inline constexpr const XCHAR* NO_CONTEXT = VTEXT("<No Context>");

/// For a pop out of order: what should be innermost, and what is.
inline constexpr const XCHAR* WRONG_CONTEXT_ON_TOP = VTEXT(
    "Expected to pop this context, '%s', but this one is on top of the stack, '%s'! There's a problem with the "
    "order in which contexts are ending. We'll pop the last item for now, but somebody needs to fix this.");

/// The last part of the executable's path, for example "spoolsv.exe"; empty without memory.
CXString GetNameOfProcess() noexcept;

/// Makes room for more contexts.  @throws ExceptionOutOfMemory.
template <class Pointer>
void MakeRoomForContexts(std::vector<Pointer>& rvshpoStack) {
    // Deeper nesting than this is rare.
    constexpr std::size_t FIRST_ROOM = 16;
    const std::size_t cRoom = rvshpoStack.capacity();
    TranslateOutOfMemory([&] { rvshpoStack.reserve(cRoom < FIRST_ROOM ? FIRST_ROOM : 2 * cRoom); });
}

/// A context in one line, with its location.
template <class Pointer>
CXString DisplayContext(const Pointer& rshpoContext) {
    return rshpoContext ? rshpoContext->GetContextDebugDisplayString(true) : CXString(NO_CONTEXT);
}

/// The stack from the outermost context on, each two blanks deeper.
/// @param pszHeader takes the process's name, the thread's id and the depth.
/// @param appendContext called with the text, the indentation and each context.
template <class Pointer, class AppendContext>
CXString DisplayContexts(const std::vector<Pointer>& rvshpoStack, const XCHAR* pszHeader,
                         AppendContext&& appendContext) {
    if (rvshpoStack.empty()) return NO_CONTEXT;
    SafeText text;
    text.Format(pszHeader, GetNameOfProcess(), GetPlatform().pThreads->CurrentThreadId(), rvshpoStack.size());
    int iIndent = 0;
    for (const Pointer& rshpoContext : rvshpoStack) {
        iIndent += 2;
        appendContext(text, CXString(VTEXT(' '), iIndent), *rshpoContext);
    }
    return std::move(text.Get());
}

/// Pops the context of that address, which the stack should own alone, as `rStack.PopContext` does.
/// @param makeStandIn makes a context to name one by that is not there any more.
template <class Stack, class Pointer, class Context, class MakeStandIn>
void PopContextAt(Stack& rStack, std::vector<Pointer>& rvshpoStack, const Context* pContext,
                  MakeStandIn&& makeStandIn) noexcept {
    if (!rvshpoStack.empty() && rvshpoStack.back().get() == pContext) [[likely]] {
        rvshpoStack.pop_back();
        return;
    }
    for (const Pointer& rshpoContext : rvshpoStack) {
        if (rshpoContext.get() == pContext) return rStack.PopContext(Pointer(rshpoContext));
    }
    NoThrow([&] { rStack.PopContext(Pointer(makeStandIn())); });
}

}  // namespace vlm
