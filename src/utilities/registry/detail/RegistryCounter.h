/// @file
/// The rule that counters in the registry go on by.
#pragma once

#include <limits>
#include <type_traits>

namespace vlm {

/// (value + 1) modulo the modulus: the sum wraps, and the remainder has the sign that the processor's division gives
/// it.
/// @return false for a modulus of 0, and for one of -1 with the largest value; `rNext` is then unchanged.
template <class Integer>
bool NextOfCounter(Integer value, Integer modulus, Integer& rNext) noexcept {
    using Unsigned = std::make_unsigned_t<Integer>;
    if (modulus == 0 || (modulus == -1 && value == std::numeric_limits<Integer>::max())) return false;
    rNext = static_cast<Integer>(static_cast<Integer>(static_cast<Unsigned>(value) + 1) % modulus);
    return true;
}

}  // namespace vlm
