/// @file
/// Finds the processor's level once.
#include "utilities/utilitiesdll/detail/values/CpuLevel.h"

#include <algorithm>

namespace vlm {

constinit std::atomic<CpuLevel> detail::geCpuLevel{CpuLevel::Unknown};

namespace {

/// The compiler's own detection also asks whether the operating system saves the wide registers.
CpuLevel Detect() noexcept {
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("sse4.1") || !__builtin_cpu_supports("pclmul")) return CpuLevel::Plain;
    if (!__builtin_cpu_supports("avx2")) return CpuLevel::Clmul;
    if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("vpclmulqdq")) return CpuLevel::Avx2;
    return CpuLevel::Avx512;
}

}  // namespace

CpuLevel detail::FindCpuLevel() noexcept {
    const CpuLevel eLevel = Detect();
    geCpuLevel.store(eLevel, std::memory_order_relaxed);
    return eLevel;
}

CpuLevel ExchangeCpuLevel(CpuLevel eLevel) noexcept {
    return detail::geCpuLevel.exchange(std::min(eLevel, Detect()), std::memory_order_relaxed);
}

}  // namespace vlm
