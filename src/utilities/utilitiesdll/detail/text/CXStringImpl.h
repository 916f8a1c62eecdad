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

/// CopyUnits for runs that are short as a rule: up to 16 units without a call, by two copies that may overlap.
inline void CopyShort(XCHAR* pchTarget, const XCHAR* pchSource, std::size_t cUnits) noexcept {
    if (cUnits > 16) {
        std::memcpy(pchTarget, pchSource, cUnits * sizeof(XCHAR));
    } else if (cUnits >= 8) {
        std::memcpy(pchTarget, pchSource, 16);
        std::memcpy(pchTarget + cUnits - 8, pchSource + cUnits - 8, 16);
    } else if (cUnits >= 4) {
        std::memcpy(pchTarget, pchSource, 8);
        std::memcpy(pchTarget + cUnits - 4, pchSource + cUnits - 4, 8);
    } else if (cUnits > 0) {
        pchTarget[0] = pchSource[0];
        pchTarget[cUnits / 2] = pchSource[cUnits / 2];
        pchTarget[cUnits - 1] = pchSource[cUnits - 1];
    }
}

/// The part from `iFirst` on of at most `iCount` units, clamped to the text.
constexpr XStringView Part(XStringView text, int iFirst, int iCount) noexcept {
    return text.substr(std::min(ClampCount(iFirst), text.size()), ClampCount(iCount));
}

}  // namespace vlm::text
