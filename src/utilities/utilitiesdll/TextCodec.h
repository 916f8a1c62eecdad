/// @file
/// UTF-8 (RFC 3629) to and from UTF-16.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

/// What a conversion does with ill-formed text.
enum TextCodecRule {
    TCR_STRICT,           ///< refuse it
    TCR_REPLACE,          ///< put U+FFFD for each maximal ill-formed part, as the Unicode standard recommends
    TCR_KEEP_SURROGATES,  ///< carry lone surrogates through as three bytes each and refuse all else: every UTF-16 text
                          ///< survives the way to bytes and back (the bytes are then no UTF-8 for other programs)
};

/// How far a conversion into a caller's buffer came.
struct TextCodecResult {
    std::size_t m_cRead = 0;     ///< source units converted; when refused, the index of the first ill-formed one
    std::size_t m_cWritten = 0;  ///< target units written
    bool m_bOk = true;           ///< false when refused
};

/// Conversions between the two encodings.  Overlong forms, encoded surrogates (but see TCR_KEEP_SURROGATES) and values
/// above U+10FFFF are ill-formed UTF-8; a surrogate without its other half is ill-formed UTF-16.
/// **Threads**: any.  **Failure**: forms that return text throw out-of-memory as CXString (or `std::bad_alloc`).
class VLM_API TextCodec {
public:
    TextCodec() = delete;

    static bool IsWellFormed(XStringView text) noexcept;
    static bool IsWellFormedUtf8(std::string_view bytes) noexcept;

    /// @param puBad if not null, gets the index of the first ill-formed byte or unit of a refused text.
    /// @return false when refused; the result is then empty.
    static bool Utf8ToUtf16(std::string_view bytes, CXString& rcsResult, TextCodecRule eRule,
                            std::size_t* puBad = nullptr);
    static bool Utf16ToUtf8(XStringView text, std::string& rstrResult, TextCodecRule eRule,
                            std::size_t* puBad = nullptr);
    /// With TCR_REPLACE, which refuses nothing.
    static CXString Utf8ToUtf16(std::string_view bytes);
    static std::string Utf16ToUtf8(XStringView text);

    /// @param pchTarget room for as many units as there are bytes.
    static TextCodecResult DecodeUtf8(std::string_view bytes, XCHAR* pchTarget, TextCodecRule eRule) noexcept;
    /// @param pchTarget room for three bytes per unit.
    static TextCodecResult EncodeUtf8(XStringView text, char* pchTarget, TextCodecRule eRule) noexcept;

    /// The longest start of a text, of at most `cMost` units, that does not part the halves of a character.
    static XStringView CutAtCharacter(XStringView text, std::size_t cMost) noexcept;
};
