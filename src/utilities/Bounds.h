/// @file
/// The bounds that data from outside is held to: what is at a bound is accepted, what is one beyond it is refused.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vlm::bounds {

/// How deep list values may nest; settings need about six.
inline constexpr unsigned MAX_LIST_NESTING = 64;

/// Longest text in a record, in UTF-16 code units: what its 16-bit count can say.
inline constexpr std::size_t MAX_RECORD_TEXT_UNITS = 0xFFFF;

/// Most bytes in a blob, a list or a state: what the 32-bit counts can say.
inline constexpr std::uint64_t MAX_COUNTED_BYTES = 0xFFFFFFFF;

}  // namespace vlm::bounds
