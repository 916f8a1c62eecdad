/// @file
/// The ELF hash.
#pragma once

#include <cstddef>

#include "platform/WinTypes.h"

namespace vlm {

/// The definition (System V ABI): one byte at a time.
DWORD ElfHashPlain(const BYTE* pbyData, std::size_t cBytes) noexcept;

/// The same result, six bytes at a time.
DWORD ElfHash(const BYTE* pbyData, std::size_t cBytes) noexcept;

}  // namespace vlm
