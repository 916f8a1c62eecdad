/// @file
/// Search for a pattern of bytes.
#pragma once

#include <array>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"

/// A pattern, prepared for searching (Boyer-Moore-Horspool: R. N. Horspool, 1980).  A search finds what the classic
/// loop finds; where that is faster, it compares the pattern's first and last byte at many offsets at once.
/// **Ownership**: holds a copy of the pattern.  **Threads**: any number may search with one object at a time.
/// **Failure**: constructing and copying may run out of memory (`ExceptionOutOfMemory`); searching cannot fail.
class VLM_API HorspoolMatch {
public:
    /// Copies `iLength` bytes of the pattern.  A length of 0 or less, or a null pointer, gives a pattern of length 0
    /// that is never found.
    HorspoolMatch(const char* pchPattern, int iLength);
    HorspoolMatch(const HorspoolMatch&) = default;
    HorspoolMatch& operator=(const HorspoolMatch&) = default;
    ~HorspoolMatch() = default;

    /// Bytes in the pattern.
    int PatternLength() const noexcept { return m_iPatternLength; }

    /// The first match at or after `iStart`.
    /// @param dwSize bytes in `pbyData`; beyond 2^31 - 1 only those that an offset can name are searched.
    /// @return its offset from the beginning of the data; -1 when there is none, for an `iStart` outside the data, and
    ///         (with a debug message) for a pattern of length 0.
    int Search(const BYTE* pbyData, DWORD dwSize, int iStart) const noexcept;
    int Search(const ByteBuffer& kbbData, int iStart) const noexcept;

private:
    int SearchByShifts(const BYTE* pbyData, int iSize, int iStart) const noexcept;

    ByteBuffer m_bbPattern;
    int m_iPatternLength;
    /// How far the window may move when its last byte is the index: the distance of that byte's last occurrence before
    /// the final position from the pattern's end; the whole length where there is none.
    std::array<int, 256> m_aiShift;
};
