/// @file
/// Base64 text (RFC 4648, section 4: standard alphabet with padding).
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

/// Conversions between bytes and Base64 text.  **Threads**: any.
class VLM_API Base64 {
public:
    Base64() = delete;

    /// Units that the encoding of `cBytes` bytes takes: 4 for every 3 bytes begun.
    static constexpr std::size_t GetEncodedLength(std::size_t cBytes) noexcept { return (cBytes + 2) / 3 * 4; }

    /// Writes the encoding, without a terminator.  @param pchTarget room for GetEncodedLength units.
    static void EncodeTo(std::span<const BYTE> data, XCHAR* pchTarget) noexcept;
    /// The encoding as one line.  @throws out-of-memory as CXString.
    static CXString Encode(std::span<const BYTE> data);

    /// Decodes a text.  White space between characters is skipped.  Refused are any other character outside the
    /// alphabet, a length that is no multiple of four, padding anywhere but at the end, and set bits behind the last
    /// byte (two texts never decode to the same bytes, white space aside).
    /// @param rvResult gets the bytes; empty when refused.
    /// @param puBad if not null, gets the index of the first unit that was refused (the length: the text ended too
    /// early).
    /// @return false when refused.
    static bool Decode(XStringView text, std::vector<BYTE>& rvResult, std::size_t* puBad = nullptr);
};
