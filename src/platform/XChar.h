/// @file
/// The text unit of the library: one UTF-16 code unit, `wchar_t` on Windows and `char16_t` elsewhere.
#pragma once

#include <cstddef>
#include <string_view>

#ifdef _WIN32
using XCHAR = wchar_t;
#define VTEXT_JOIN(text) L##text
#else
using XCHAR = char16_t;
#define VTEXT_JOIN(text) u##text
#endif

/// A literal of 16-bit text: `VTEXT("PrinterDriverData")`, `VTEXT('\\')`.
#define VTEXT(text) VTEXT_JOIN(text)

/// A borrowed run of UTF-16 code units; the parameter type of everything that only reads text.
using XStringView = std::basic_string_view<XCHAR>;

static_assert(sizeof(XCHAR) == 2, "the text unit has 16 bits on every platform");
