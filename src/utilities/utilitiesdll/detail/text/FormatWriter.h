/// @file
/// Where a formatting writes: the caller's memory first, then the heap, never beyond a bound.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "platform/XChar.h"
#include "utilities/utilitiesdll/detail/text/CXStringImpl.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

namespace vlm::format {

/// Appends code units.  Beyond its bound it drops what comes, without parting the halves of a character.
class FormatWriter {
public:
    /// @param cCapacity units that fit into `pchFirst`.
    /// @param cLimit units that may be produced in all; above `cCapacity` the heap is used.
    FormatWriter(XCHAR* pchFirst, std::size_t cCapacity, std::size_t cLimit) noexcept
        : m_pchText(pchFirst), m_cEnd(std::min(cCapacity, cLimit)), m_cLimit(cLimit) {}
    ~FormatWriter();
    FormatWriter(const FormatWriter&) = delete;
    FormatWriter& operator=(const FormatWriter&) = delete;

    const XCHAR* Text() const noexcept { return m_pchText; }
    std::size_t Count() const noexcept { return m_cUnits; }
    /// FMTF_TRUNCATED and FMTF_OUT_OF_MEMORY.
    std::uint32_t Flags() const noexcept { return m_dwFlags; }

    void Append(const XCHAR* pchText, std::size_t cUnits) noexcept;
    void Append(XStringView text) noexcept { Append(text.data(), text.size()); }
    /// Appends a zero-terminated text up to the first `chStop`.  @return where it or the terminator stands.
    const XCHAR* AppendUpTo(const XCHAR* pszText, XCHAR chStop) noexcept {
        const auto ends = [&] { return !*pszText || *pszText == chStop; };
        const XCHAR* pchFirst = pszText;
        for (const std::size_t cEnd = m_cEnd; m_cUnits < cEnd && !ends(); ++m_cUnits)
            m_pchText[m_cUnits] = *pszText++;
        if (ends()) return pszText;
        // There is more than fits: it goes the long way, together with a half of a character that was copied last.
        if (pszText != pchFirst && text::IsHighSurrogate(pszText[-1])) --pszText, --m_cUnits;
        pchFirst = pszText;
        while (!ends())
            ++pszText;
        Append(pchFirst, static_cast<std::size_t>(pszText - pchFirst));
        return pszText;
    }
    void Fill(XCHAR ch, std::size_t cUnits) noexcept {
        if (cUnits == 0) return;
        if (cUnits > m_cEnd - m_cUnits && !Grow(cUnits)) cUnits = m_cEnd - m_cUnits;
        std::fill_n(m_pchText + m_cUnits, cUnits, ch);
        m_cUnits += cUnits;
    }
    /// Room for `cUnits` at the end, to be filled and then counted with Advance; null when that many do not fit, and
    /// then the text ends here.
    XCHAR* Reserve(std::size_t cUnits) noexcept {
        if (cUnits <= m_cEnd - m_cUnits || Grow(cUnits)) return m_pchText + m_cUnits;
        m_cEnd = m_cUnits;
        return nullptr;
    }
    void Advance(std::size_t cUnits) noexcept { m_cUnits += cUnits; }

private:
    /// Makes room for `cMore` units, or as many as there may be; false, with a flag set, when they do not all fit.
    bool Grow(std::size_t cMore) noexcept;
    void AppendCut(const XCHAR* pchText, std::size_t cUnits) noexcept;

    XCHAR* m_pchText;
    std::size_t m_cUnits = 0;
    std::size_t m_cEnd;  ///< units that fit; after a cut nothing more does
    std::size_t m_cLimit;
    std::size_t m_cHeapUnits = 0;  ///< size of the heap's memory, 0 while the text is in the caller's
    std::uint32_t m_dwFlags = 0;
};

}  // namespace vlm::format
