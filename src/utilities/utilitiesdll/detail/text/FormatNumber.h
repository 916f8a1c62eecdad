/// @file
/// Layout of numbers: sign, prefix, zeros, digits, padding.
#pragma once

#include <cstddef>
#include <cstdint>

#include "utilities/utilitiesdll/detail/text/FormatSpec.h"
#include "utilities/utilitiesdll/detail/text/FormatWriter.h"

namespace vlm::format {

/// Units that a width adds to a text of `cUnits`.
inline std::size_t PadCount(const FormatSpec& koSpec, std::size_t cUnits) noexcept {
    const std::size_t cWidth = koSpec.m_iWidth > 0 ? static_cast<std::size_t>(koSpec.m_iWidth) : 0;
    return cWidth > cUnits ? cWidth - cUnits : 0;
}

/// Writes a magnitude for `d i u x X o`.
void PutInteger(FormatWriter& roWriter, const FormatSpec& koSpec, std::uint64_t ullMagnitude, bool bNegative) noexcept;

/// Writes a double for `e f g a` in both cases, correctly rounded.
void PutFloat(FormatWriter& roWriter, const FormatSpec& koSpec, double dblValue) noexcept;

}  // namespace vlm::format
