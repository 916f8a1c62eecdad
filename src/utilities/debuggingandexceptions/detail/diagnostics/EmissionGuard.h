/// @file
/// Keeps a thread's messages back while it emits one, or reads the settings of messages.
#pragma once

#include <optional>

#include "utilities/debuggingandexceptions/detail/failure/ThreadGuard.h"

namespace vlm {

/// Suppresses the messages of the calling thread while it lives, so that a failure while a message is being emitted
/// cannot recurse.  **Threads**: any; each thread has its own count, and other threads are not affected.
class EmissionScope {
public:
    EmissionScope() noexcept;
    EmissionScope(const EmissionScope&) = delete;
    EmissionScope& operator=(const EmissionScope&) = delete;
    /// False when the thread's messages were suppressed already: whoever wants to emit one drops it.
    bool HasEntered() const noexcept { return m_oScope && m_oScope->HasEntered(); }

private:
    std::optional<ThreadGuard::Scope> m_oScope;
};

/// Are the calling thread's messages suppressed?
bool IsEmitting() noexcept;

}  // namespace vlm
