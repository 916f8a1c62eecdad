/// @file
/// One conversion of a format text, taken apart.
#pragma once

#include <cstdint>

#include "platform/XChar.h"

namespace vlm::format {

enum : std::uint8_t { FLAG_LEFT = 1, FLAG_PLUS = 2, FLAG_SPACE = 4, FLAG_ALTERNATE = 8, FLAG_ZERO = 16 };

enum class Size : std::uint8_t { None, Char, Short, Bits32, Bits64, Wide };

/// `%[flags][width][.precision][size]conversion`.
struct FormatSpec {
    static constexpr int ABSENT = -1;
    static constexpr int STAR = -2;

    const XCHAR* m_pchFirst = nullptr;  ///< the percent sign
    const XCHAR* m_pchEnd = nullptr;    ///< behind the conversion
    int m_iWidth = ABSENT;              ///< or STAR
    int m_iPrecision = ABSENT;          ///< or STAR
    std::uint8_t m_byFlags = 0;
    Size m_eSize = Size::None;
    XCHAR m_chConversion = 0;  ///< 0 when the format text ended first
    bool m_bClamped = false;

    bool Has(std::uint8_t byFlag) const noexcept { return (m_byFlags & byFlag) != 0; }
    /// `%s %c` read wide text and `%S %C` narrow, unless a size says otherwise.
    bool IsNarrowText() const noexcept {
        if (m_chConversion == XCHAR('S') || m_chConversion == XCHAR('C')) {
            return m_eSize != Size::Wide && m_eSize != Size::Bits32;
        }
        return m_eSize == Size::Short;
    }
};

/// Reads the conversion that begins at a percent sign.
FormatSpec ParseSpec(const XCHAR* pchPercent) noexcept;

}  // namespace vlm::format
