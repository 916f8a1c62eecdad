/// @file
/// What the processor can do, in the steps that the vector code of this floor cares about.
#pragma once

#include <atomic>

namespace vlm {

/// Each level includes the ones before it.
enum class CpuLevel : int {
    Unknown,
    Plain,   ///< x86-64 as it began: SSE2
    Clmul,   ///< SSE4.1 and carry-less multiplication (PCLMULQDQ)
    Avx2,    ///< 256-bit integer vectors
    Avx512,  ///< 512-bit vectors and carry-less multiplication on them (VPCLMULQDQ)
};

namespace detail {
/// The level in force; Unknown until somebody asks.
extern std::atomic<CpuLevel> geCpuLevel;
CpuLevel FindCpuLevel() noexcept;
}  // namespace detail

/// The level in force: the processor's, found at the first call.  One relaxed atomic read.
/// Threads: any.
inline CpuLevel GetCpuLevel() noexcept {
    const CpuLevel eLevel = detail::geCpuLevel.load(std::memory_order_relaxed);
    return eLevel != CpuLevel::Unknown ? eLevel : detail::FindCpuLevel();
}

/// For tests: puts a level in force, at most the processor's own (Unknown: find it again), and returns the former one.
CpuLevel ExchangeCpuLevel(CpuLevel eLevel) noexcept;

}  // namespace vlm
