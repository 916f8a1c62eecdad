/// @file
/// Port: ordinary INI files (ANSI or UTF-16), as the system's profile functions keep them.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Entries of an INI file by section and key.  Names compare without ASCII case.  Each call looks at the file anew and
/// leaves it closed.  A missing file reads as an empty one and is made by the first write, in the ANSI code page; a
/// UTF-16 file with its byte-order mark stays one.
/// Lists are names or lines with a zero after each and one more at the end; their counts leave the last zero out.
/// Sizes are in code units where a buffer holds text.  A list that does not fit is cut, ends with two zeros and counts
/// the size less 2; a text that does not fit is cut, ends with one and counts the size less 1.
/// All pointers but those of defaults must be good; a path names its folder, a bare name means a place of the system's.
/// Threads: any.  Failure: reads answer the default, nothing or a status; nothing throws.
class ProfilePort {
public:
    virtual ~ProfilePort() = default;

    /// @return the entry as ProfileNumber reads it; the default when it is missing or empty.
    virtual DWORD GetInt(const XCHAR* pszSection, const XCHAR* pszKey, DWORD dwDefault,
                         const XCHAR* pszFile) noexcept = 0;
    /// The entry without the blanks round it, and without one pair of quotation marks, double or single.
    /// @param pszDefault null is an empty text.
    /// @return units copied, without the terminator.
    virtual DWORD GetString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszDefault, XCHAR* pszBuffer,
                            DWORD cUnits, const XCHAR* pszFile) noexcept = 0;
    /// The list of a section's entries, "key=value", without comments (lines that begin with ";").
    virtual DWORD GetSection(const XCHAR* pszSection, XCHAR* pszBuffer, DWORD cUnits,
                             const XCHAR* pszFile) noexcept = 0;
    virtual DWORD GetSectionNames(XCHAR* pszBuffer, DWORD cUnits, const XCHAR* pszFile) noexcept = 0;
    /// Bytes that WriteStruct has stored.
    /// @return any failure when there is no entry of exactly so many bytes with the right sum; the buffer may then hold
    /// anything.
    virtual Status GetStruct(const XCHAR* pszSection, const XCHAR* pszKey, void* pBuffer, DWORD cbBuffer,
                             const XCHAR* pszFile) noexcept = 0;

    /// Adds or replaces an entry.  @param pszKey null deletes the section.  @param pszValue null deletes the entry.
    /// What is not there is deleted with success.
    /// @return SharingViolation, AccessDenied, PathNotFound ... as files answer them.
    virtual Status WriteString(const XCHAR* pszSection, const XCHAR* pszKey, const XCHAR* pszValue,
                               const XCHAR* pszFile) noexcept = 0;
    /// Replaces all entries of a section by a list of "key=value".
    virtual Status WriteSection(const XCHAR* pszSection, const XCHAR* pszList, const XCHAR* pszFile) noexcept = 0;
    /// Stores bytes as hexadecimal digits, with their sum (modulo 256) as one more byte.
    virtual Status WriteStruct(const XCHAR* pszSection, const XCHAR* pszKey, const void* pData, DWORD cbData,
                               const XCHAR* pszFile) noexcept = 0;
};

/// How the profile functions read a number: blanks, a sign, decimal digits or "0x" and hexadecimal ones; whatever
/// follows is ignored, no digits are 0, and what does not fit into 32 bits wraps round.
constexpr DWORD ProfileNumber(XStringView svText) noexcept {
    std::size_t i = 0;
    while (i < svText.size() && (svText[i] == VTEXT(' ') || svText[i] == VTEXT('\t')))
        ++i;
    const bool fNegative = i < svText.size() && svText[i] == VTEXT('-');
    if (i < svText.size() && (fNegative || svText[i] == VTEXT('+'))) ++i;
    const bool fHexadecimal = i + 1 < svText.size() && svText[i] == VTEXT('0') && svText[i + 1] == VTEXT('x');
    if (fHexadecimal) i += 2;
    DWORD dwValue = 0;
    for (; i < svText.size(); ++i) {
        const XCHAR ch = svText[i];
        const XCHAR chLower = static_cast<XCHAR>(ch | 0x20);
        DWORD dwDigit = 0;
        if (ch >= VTEXT('0') && ch <= VTEXT('9')) {
            dwDigit = static_cast<DWORD>(ch - VTEXT('0'));
        } else if (fHexadecimal && chLower >= VTEXT('a') && chLower <= VTEXT('f')) {
            dwDigit = static_cast<DWORD>(chLower - VTEXT('a') + 10);
        } else {
            break;
        }
        dwValue = dwValue * (fHexadecimal ? 16 : 10) + dwDigit;
    }
    return fNegative ? 0 - dwValue : dwValue;
}

}  // namespace vlm
