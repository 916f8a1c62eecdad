/// @file
/// Notices when a thread enters a stretch of code that it is already in.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include "platform/WinTypes.h"

namespace vlm {

/// The threads inside one stretch of code.  Declare it `constinit`, one per stretch.
/// It works without the per-thread storage, whose own failures are among what it guards.
class ThreadGuard {
public:
    constexpr ThreadGuard() noexcept = default;

    /// Is the calling thread inside?
    bool Holds() const noexcept;

    /// Enters for its own lifetime.
    class Scope {
    public:
        explicit Scope(ThreadGuard& rGuard) noexcept;
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        /// False when the thread was inside already, or when more threads are inside than there is room for.
        bool HasEntered() const noexcept { return m_pdwEntry != nullptr; }

    private:
        ThreadGuard* m_pGuard = nullptr;
        std::atomic<DWORD>* m_pdwEntry = nullptr;
    };

private:
    static constexpr std::size_t ROOM = 64;

    // Ids of the threads inside, 0 where free.  A thread only ever looks for and clears its own.
    std::array<std::atomic<DWORD>, ROOM> m_adwThreads{};
    std::atomic<std::size_t> m_cInside{0};
};

}  // namespace vlm
