/// @file
/// Narrow text in a code page to and from UTF-16, with a fast way for ASCII.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/WinTypes.h"

namespace vlm::text {

/// Converts from the ANSI code page.  @param pchTarget room for `cBytes` units.  @return units written, at most
/// `cBytes`; what the system cannot convert comes out as "?" for each byte outside ASCII.
std::size_t WidenAnsi(const char* pchSource, std::size_t cBytes, XCHAR* pchTarget) noexcept;

/// Bytes at the start that are ASCII.
std::size_t CountAscii(const char* pchText, std::size_t cBytes) noexcept;

/// Widens bytes that are all ASCII.
void WidenAscii(const char* pchSource, std::size_t cBytes, XCHAR* pchTarget) noexcept;
/// Narrows units that are all ASCII.
void NarrowAscii(const XCHAR* pchSource, std::size_t cUnits, char* pchTarget) noexcept;

}  // namespace vlm::text
