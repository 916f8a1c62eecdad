/// @file
/// Names as the host knows them (bytes) and as the library does (UTF-16 code units).
#pragma once

#include <string>
#include <string_view>

#include "platform/WinTypes.h"

namespace vlm::host {

/// Code units for the bytes of a name.  UTF-8 is decoded; a byte that is no part of UTF-8 becomes U+DC00 plus the byte,
/// so that every name of the host can be told apart and opened again.
/// @throws std::bad_alloc
std::basic_string<XCHAR> UnitsFromBytes(std::string_view svBytes);

/// The way back.  @return false for units that no name of the host has (other lone surrogates).
/// @throws std::bad_alloc
bool BytesFromUnits(XStringView svUnits, std::string& rBytes);

/// The bytes of a path: "\" becomes "/".
/// @return PathNotFound for a null or empty path, InvalidName for units without counterpart.
/// @throws std::bad_alloc
Status PathFromUnits(const XCHAR* pszPath, std::string& rPath);

/// Reversible for every sequence of units: lone surrogates take the three bytes that UTF-8 leaves to nobody.
/// @throws std::bad_alloc
std::string StoreTextFromUnits(XStringView svUnits);
std::basic_string<XCHAR> UnitsFromStoreText(std::string_view svBytes);

/// One UTF-8 sequence at the start of `svBytes` (not empty): its code point and length, or length 0 when malformed.
/// @param fSurrogates accepts encoded surrogates.
struct Utf8Step {
    std::uint32_t uiCodePoint;
    unsigned cLength;     ///< 0: malformed
    unsigned cMalformed;  ///< then: bytes that one replacement stands for (the longest start of a sequence, at least 1)
};
Utf8Step DecodeUtf8(std::string_view svBytes, bool fSurrogates) noexcept;

/// Appends the UTF-8 form of a code point (surrogates in their three-byte form).
unsigned EncodeUtf8(std::uint32_t uiCodePoint, char (&rBytes)[4]) noexcept;

constexpr bool IsHighSurrogate(std::uint32_t ui) noexcept {
    return ui >= 0xD800 && ui <= 0xDBFF;
}
constexpr bool IsLowSurrogate(std::uint32_t ui) noexcept {
    return ui >= 0xDC00 && ui <= 0xDFFF;
}
constexpr std::uint32_t JoinSurrogates(std::uint32_t uiHigh, std::uint32_t uiLow) noexcept {
    return 0x10000 + ((uiHigh - 0xD800) << 10) + (uiLow - 0xDC00);
}

/// The status that the library's callers know for an error number of the C library.
Status StatusFromErrno(int iError) noexcept;

}  // namespace vlm::host
