/// @file
/// Forms of the CRC-32 step, from the definition to 2,048 bits at a time; all give the same register.
#pragma once

#include <cstddef>

#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/detail/values/CpuLevel.h"

namespace vlm {

/// Each takes the register (as it stands, not complemented) through `cBytes` bytes.
/// The definition: one byte at a time.
DWORD UpdateCrcPlain(DWORD dwRegister, const BYTE* pbyData, std::size_t cBytes) noexcept;
/// Sixteen bytes at a time, by tables.
DWORD UpdateCrcSliced(DWORD dwRegister, const BYTE* pbyData, std::size_t cBytes) noexcept;
/// Folds 128-bit pieces by carry-less multiplication; at least 16 bytes.  Needs CpuLevel::Clmul.
DWORD UpdateCrcFolded(DWORD dwRegister, const BYTE* pbyData, std::size_t cBytes) noexcept;
/// The same for processors that have AVX.  Needs CpuLevel::Avx2.
DWORD UpdateCrcFoldedAvx(DWORD dwRegister, const BYTE* pbyData, std::size_t cBytes) noexcept;
/// The same with four 512-bit registers; at least 256 bytes.  Needs CpuLevel::Avx512.
DWORD UpdateCrcFolded512(DWORD dwRegister, const BYTE* pbyData, std::size_t cBytes) noexcept;

/// The best form for the processor and the length.
inline DWORD UpdateCrc(DWORD dwRegister, const BYTE* pbyData, std::size_t cBytes) noexcept {
    // Below these, setting up the folding costs more than it saves.
    constexpr std::size_t FOLD_FROM = 16;
    constexpr std::size_t FOLD_512_FROM = 256;
    if (cBytes >= FOLD_FROM) {
        const CpuLevel eLevel = GetCpuLevel();
        if (eLevel >= CpuLevel::Avx512 && cBytes >= FOLD_512_FROM) {
            return UpdateCrcFolded512(dwRegister, pbyData, cBytes);
        }
        if (eLevel >= CpuLevel::Avx2) return UpdateCrcFoldedAvx(dwRegister, pbyData, cBytes);
        if (eLevel >= CpuLevel::Clmul) return UpdateCrcFolded(dwRegister, pbyData, cBytes);
    }
    return UpdateCrcSliced(dwRegister, pbyData, cBytes);
}

}  // namespace vlm
