/// @file
/// A layer over any platform that makes chosen calls fail.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/Platform.h"

namespace vlm::test {

/// What happens at the chosen call.
enum class FaultMode {
    None,
    FailOnce,   ///< the call answers the status and does nothing
    FailFrom,   ///< so do all calls after it
    ShortOnce,  ///< a transfer moves half of what was asked; a value has grown since its size was asked
    KillAt,     ///< the process dies before the call: nothing reaches the platform any more
    KillTorn,   ///< the same, but half of a write has happened
};

/// Counts the calls that can fail and decides about each.  Threads: any; which thread meets the fault is then open.
class FaultScript {
public:
    /// @param ullCall number of the call that it happens at, 1 for the first from now on.
    void Arm(FaultMode eMode, std::uint64_t ullCall, Status eStatus = Status::AccessDenied) noexcept;
    void Disarm() noexcept { Arm(FaultMode::None, 0); }
    std::uint64_t Calls() const noexcept { return m_ullCalls; }
    bool HasFired() const noexcept { return m_fFired; }

    // --- for the layer ---
    enum class Decision { Pass, Fail, Short, Dead, Torn };
    Decision Decide() noexcept;
    Status FaultStatus() const noexcept { return m_eStatus; }
    /// Whether the process counts as dead already; calls that cannot fail ask this.
    bool IsDead() const noexcept { return m_fDead; }

private:
    std::atomic<FaultMode> m_eMode{FaultMode::None};
    std::atomic<std::uint64_t> m_ullAt{0};
    std::atomic<std::uint64_t> m_ullCalls{0};
    std::atomic<Status> m_eStatus{Status::AccessDenied};
    std::atomic<bool> m_fFired{false};
    std::atomic<bool> m_fDead{false};
};

/// The layer.  Calls that cannot fail by contract (clocks, ids, releases, reads of a slot) pass uncounted.  A failing
/// Close still closes, as its contract says.  The cabinet library and thread slots fail like everything else.
/// Ownership: borrows the platform below.
class FaultPlatform {
public:
    explicit FaultPlatform(const Platform& rBelow);
    ~FaultPlatform();
    const Platform& Get() const noexcept;
    FaultScript& Script() noexcept { return m_oScript; }

private:
    struct Ports;
    FaultScript m_oScript;
    std::unique_ptr<Ports> m_apoPorts;
};

}  // namespace vlm::test
