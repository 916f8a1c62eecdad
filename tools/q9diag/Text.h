/// @file
/// Text of the tool: UTF-8 outside, UTF-16 code units inside.
#pragma once

#include <string>
#include <string_view>

#include "platform/XChar.h"

namespace vlm::tool {

/// Any sequence of UTF-16 code units, well-formed or not.
using XText = std::basic_string<XCHAR>;

constexpr bool IsHighSurrogate(char32_t unit) noexcept {
    return unit >= 0xD800 && unit < 0xDC00;
}
constexpr bool IsLowSurrogate(char32_t unit) noexcept {
    return unit >= 0xDC00 && unit < 0xE000;
}
constexpr bool IsSurrogate(char32_t unit) noexcept {
    return unit >= 0xD800 && unit < 0xE000;
}

/// One code point taken from UTF-16; a lone surrogate comes out as itself.  Moves `rText` on.
/// @param rText must not be empty.
char32_t TakeCodePoint(XStringView& rText) noexcept;

/// Appends a code point that is not a surrogate as UTF-8.
void AppendUtf8(std::string& rTarget, char32_t codePoint);
/// Appends a code point, or a single surrogate, as UTF-16.
void AppendUtf16(XText& rTarget, char32_t codePoint);

/// UTF-8 to UTF-16.  @param pszWhat names the text in the error.
/// @throws ExceptionInvalidArgument when the bytes are not well-formed UTF-8 (RFC 3629).
XText FromUtf8(std::string_view strText, const char* pszWhat);

/// The same for bytes of any kind: those that are not well-formed come out as \xXX.
XText FromAnyUtf8(std::string_view strText);

/// UTF-16 to UTF-8 for messages and names of files; a lone surrogate becomes U+FFFD.
std::string ToUtf8(XStringView strText);

/// UTF-16 to UTF-8 for people: control characters and lone surrogates appear as \uXXXX, so that no stored text can
/// send escape codes to a terminal or break a line.
std::string Printable(XStringView strText);
/// The same for UTF-8; bytes that are not well-formed appear as \xXX.
std::string Printable(std::string_view strText);

/// `value` in upper-case hexadecimal with leading zeros.
std::string Hex(unsigned long long value, int cDigits);

}  // namespace vlm::tool
