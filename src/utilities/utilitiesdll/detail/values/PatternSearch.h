/// @file
/// Pattern search by the first and last byte, at many offsets at once.
#pragma once

#include <cstddef>

#include "platform/WinTypes.h"

namespace vlm {

/// The end of a search, or of the part of it that was worth doing this way.
struct PatternSearchResult {
    enum class Kind { Found, Absent, GaveUp } eKind;
    /// Found: the offset of the match.  GaveUp: no match begins before this offset.
    std::size_t cOffset;
};

/// Looks for the first match at or after `cStart`.  Gives up when so many offsets have the right first and last byte
/// without being a match that the classic loop would be faster.
/// @param cPattern at least 1 and at most cData - cStart.
PatternSearchResult SearchByEnds(const BYTE* pbyData, std::size_t cData, const BYTE* pbyPattern, std::size_t cPattern,
                                 std::size_t cStart) noexcept;

}  // namespace vlm
