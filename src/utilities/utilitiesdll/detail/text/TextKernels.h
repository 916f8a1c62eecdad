/// @file
/// Inner loops over runs of code units: eight units per step where the processor has the instructions.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/XChar.h"

namespace vlm::text {

inline constexpr std::size_t NOT_FOUND = static_cast<std::size_t>(-1);

constexpr bool IsUpper(XCHAR ch) noexcept {
    return ch >= XCHAR('A') && ch <= XCHAR('Z');
}
constexpr bool IsLower(XCHAR ch) noexcept {
    return ch >= XCHAR('a') && ch <= XCHAR('z');
}
constexpr bool IsDigit(XCHAR ch) noexcept {
    return ch >= XCHAR('0') && ch <= XCHAR('9');
}
constexpr bool IsSpace(XCHAR ch) noexcept {
    return ch == XCHAR(' ') || (ch >= XCHAR(9) && ch <= XCHAR(13));
}
constexpr XCHAR ToLower(XCHAR ch) noexcept {
    return IsUpper(ch) ? static_cast<XCHAR>(ch + 32) : ch;
}
constexpr XCHAR ToUpper(XCHAR ch) noexcept {
    return IsLower(ch) ? static_cast<XCHAR>(ch - 32) : ch;
}
constexpr bool IsHighSurrogate(XCHAR ch) noexcept {
    return (ch & 0xFC00) == 0xD800;
}
constexpr bool IsLowSurrogate(XCHAR ch) noexcept {
    return (ch & 0xFC00) == 0xDC00;
}

/// Index of the first unit that differs, or `cUnits`; NoCase: with A to Z taken as a to z.
std::size_t Mismatch(const XCHAR* pchLeft, const XCHAR* pchRight, std::size_t cUnits) noexcept;
std::size_t MismatchNoCase(const XCHAR* pchLeft, const XCHAR* pchRight, std::size_t cUnits) noexcept;

/// Index of the first occurrence, or NOT_FOUND.  An empty pattern is found at 0.
std::size_t FindUnit(const XCHAR* pchText, std::size_t cUnits, XCHAR ch) noexcept;
std::size_t FindUnitNoCase(const XCHAR* pchText, std::size_t cUnits, XCHAR ch) noexcept;
std::size_t FindText(const XCHAR* pchText, std::size_t cUnits, const XCHAR* pchPattern, std::size_t cPattern) noexcept;
std::size_t FindTextNoCase(const XCHAR* pchText, std::size_t cUnits, const XCHAR* pchPattern,
                           std::size_t cPattern) noexcept;

/// Whether any unit is a to z, or A to Z.
bool HasLower(const XCHAR* pchText, std::size_t cUnits) noexcept;
bool HasUpper(const XCHAR* pchText, std::size_t cUnits) noexcept;

/// Folds A to Z (or a to z) from one run to another, which may be the same.
void CopyLower(XCHAR* pchTarget, const XCHAR* pchSource, std::size_t cUnits) noexcept;
void CopyUpper(XCHAR* pchTarget, const XCHAR* pchSource, std::size_t cUnits) noexcept;

/// h * 31 + c over all units, in 64 bits.
std::uint64_t Hash31(const XCHAR* pchText, std::size_t cUnits) noexcept;

/// Units at the start that are ASCII (below 128).
std::size_t CountAscii(const XCHAR* pchText, std::size_t cUnits) noexcept;

}  // namespace vlm::text
