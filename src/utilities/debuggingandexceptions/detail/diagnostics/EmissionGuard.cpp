/// @file
/// Keeps a thread's messages back while it emits one.
#include "utilities/debuggingandexceptions/detail/diagnostics/EmissionGuard.h"

#include <thread>

namespace vlm {

namespace {

constinit ThreadGuard goEmitting;

/// How often a thread tries for a place among those that emit; enough for every place to become free, unless boxes
/// that nobody answers take them all.
constexpr int MOST_ATTEMPTS = 100'000;

}  // namespace

EmissionScope::EmissionScope() noexcept {
    if (goEmitting.Holds()) return;
    for (int i = 0; i < MOST_ATTEMPTS; ++i) {
        m_oScope.emplace(goEmitting);
        if (m_oScope->HasEntered()) return;
        m_oScope.reset();
        std::this_thread::yield();
    }
}

bool IsEmitting() noexcept {
    return goEmitting.Holds();
}

}  // namespace vlm
