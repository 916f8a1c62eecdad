/// @file
/// Small helpers that the string's sources share.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "platform/XChar.h"
#include "utilities/utilitiesdll/MemoryPool.h"

namespace vlm::text {

/// A count from a caller; a negative one is 0.
constexpr std::size_t ClampCount(int iCount) noexcept {
    return iCount > 0 ? static_cast<std::size_t>(iCount) : 0;
}

/// A length that a string can have, as an int; greater ones are refused like a lack of memory.
inline int CheckedLength(std::size_t cUnits) {
    if (cUnits > MemoryPoolAllocatorServices::MAX_UNITS) MemoryPool::RaiseOutOfMemory();
    return static_cast<int>(cUnits);
}

/// Copies between runs that do not overlap; no units may come from null.
inline void CopyUnits(XCHAR* pchTarget, const XCHAR* pchSource, std::size_t cUnits) noexcept {
    if (cUnits) std::memcpy(pchTarget, pchSource, cUnits * sizeof(XCHAR));
}

/// The part from `iFirst` on of at most `iCount` units, clamped to the text.
constexpr XStringView Part(XStringView text, int iFirst, int iCount) noexcept {
    return text.substr(std::min(ClampCount(iFirst), text.size()), ClampCount(iCount));
}

}  // namespace vlm::text
