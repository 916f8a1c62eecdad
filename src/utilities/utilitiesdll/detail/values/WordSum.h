/// @file
/// The sum of 16-bit words.
#pragma once

#include <cstddef>

#include "platform/WinTypes.h"

namespace vlm {

/// The sum of `cWords` little-endian words, modulo 2^32.
DWORD SumOfWords(const BYTE* pbyData, std::size_t cWords) noexcept;

}  // namespace vlm
