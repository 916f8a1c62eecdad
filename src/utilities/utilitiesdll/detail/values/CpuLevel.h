/// @file
/// What the processor can do, in the steps that the vector code of this floor cares about.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Each level includes the ones before it.
enum class CpuLevel : int {
    Unknown,
    Plain,   ///< x86-64 as it began: SSE2
    Clmul,   ///< SSE4.1 and carry-less multiplication (PCLMULQDQ)
    Avx2,    ///< 256-bit integer vectors
    Avx512,  ///< 512-bit vectors and carry-less multiplication on them (VPCLMULQDQ)
};

/// The level in force: the processor's, found at the first call.  One relaxed atomic read.
/// Threads: any.
CpuLevel GetCpuLevel() noexcept;

/// For tests: puts a level in force, at most the processor's own (Unknown: find it again), and returns the former one.
CpuLevel ExchangeCpuLevel(CpuLevel eLevel) noexcept;

}  // namespace vlm
