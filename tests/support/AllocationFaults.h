/// @file
/// Makes chosen allocations fail, and knows which ones were never given back.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__SANITIZE_THREAD__)
#define Q9_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define Q9_THREAD_SANITIZER 1
#endif
#endif

namespace vlm::test {

/// Counts the calling thread's allocations while it lives, and makes some of them fail: uses of `operator new` throw
/// std::bad_alloc, blocks of the library's pools are not to be had.
/// A program that uses this header has the replaced operators; other threads allocate as ever.
/// Threads: one object at a time in the process; belongs to the thread that made it.
class AllocationFaults {
public:
    static constexpr std::uint64_t NEVER = ~std::uint64_t{0};
    /// The thread sanitizer brings operators of its own; under it nothing is counted and nothing fails.
#ifdef Q9_THREAD_SANITIZER
    static constexpr bool IN_FORCE = false;
#else
    static constexpr bool IN_FORCE = true;
#endif

    /// @param ullFailAt number of the first allocation that fails (1: the very first).  @param fFrom all later ones
    /// fail, too.
    explicit AllocationFaults(std::uint64_t ullFailAt = NEVER, bool fFrom = false) noexcept;
    ~AllocationFaults();
    AllocationFaults(const AllocationFaults&) = delete;
    AllocationFaults& operator=(const AllocationFaults&) = delete;

    /// Allocations so far, failed ones included.
    std::uint64_t Count() const noexcept;
    /// Bytes asked for so far: what an input costs, told without a clock.
    std::uint64_t Bytes() const noexcept;
    bool HasFired() const noexcept;
    /// Allocations made under this object that nobody, on any thread, has given back so far.
    std::size_t Outstanding() const noexcept;
};

/// How the pools take part: registered by the test programs that have them (floor 1 and above).
struct PoolHooks {
    using Gate = bool (*)(std::size_t cBytes) noexcept;
    Gate (*pfnExchangeGate)(Gate) noexcept;
    void (*pfnLeaveLists)() noexcept;  ///< the calling thread asks the gate for every block from now on
    std::int64_t (*pfnOutstanding)() noexcept;
};
void RegisterPools(const PoolHooks& rHooks) noexcept;

/// While one lives, the thread's allocations are neither counted nor failed: for fakes and for a test's own
/// bookkeeping.
class AllocationExempt {
public:
    AllocationExempt() noexcept;
    ~AllocationExempt();
    AllocationExempt(const AllocationExempt&) = delete;
    AllocationExempt& operator=(const AllocationExempt&) = delete;
};

}  // namespace vlm::test
