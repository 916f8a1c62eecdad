/// @file
/// Search in linear time and without memory, whatever the texts: the two-way algorithm (M. Crochemore, D. Perrin,
/// "Two-way string-matching", 1991).  Slower than the vector loops on ordinary texts; they turn to it on bad ones.
#pragma once

#include <algorithm>
#include <cstddef>

#include "platform/XChar.h"

namespace vlm::text {

/// The pattern is parted so that a match of the right part, read forwards, tells how far the pattern may be moved.
/// @tparam Fold makes units that count as equal the same unit.
template <class Fold>
class TwoWaySearch {
public:
    /// @param cPattern at least 1.
    TwoWaySearch(const XCHAR* pchPattern, std::size_t cPattern, Fold fold) noexcept
        : m_pchPattern(pchPattern), m_cPattern(cPattern), m_fold(fold) {
        const Parting forward = MaximalSuffix([](XCHAR chLeft, XCHAR chRight) { return chLeft < chRight; });
        const Parting backward = MaximalSuffix([](XCHAR chLeft, XCHAR chRight) { return chLeft > chRight; });
        m_oParting = forward.m_uRight >= backward.m_uRight ? forward : backward;
        m_fPeriodic = Same(pchPattern, pchPattern + m_oParting.m_cPeriod, m_oParting.m_uRight);
        if (!m_fPeriodic) m_oParting.m_cPeriod = std::max(m_oParting.m_uRight, cPattern - m_oParting.m_uRight) + 1;
    }

    /// Index of the first occurrence from `uStart` on, or all ones.
    std::size_t Find(const XCHAR* pchText, std::size_t cUnits, std::size_t uStart) const noexcept {
        std::size_t cKnown = 0;  // units at the pattern's beginning that are known to match, by its period
        for (std::size_t uAt = uStart; uAt + m_cPattern <= cUnits;) {
            const XCHAR* const pchAt = pchText + uAt;
            std::size_t u = std::max(m_oParting.m_uRight, cKnown);
            while (u < m_cPattern && Equal(u, pchAt))
                ++u;
            if (u < m_cPattern) {
                uAt += u - m_oParting.m_uRight + 1;
                cKnown = 0;
                continue;
            }
            u = m_oParting.m_uRight;
            while (u > cKnown && Equal(u - 1, pchAt))
                --u;
            if (u <= cKnown) return uAt;
            uAt += m_oParting.m_cPeriod;
            if (m_fPeriodic) cKnown = m_cPattern - m_oParting.m_cPeriod;
        }
        return static_cast<std::size_t>(-1);
    }

private:
    struct Parting {
        std::size_t m_uRight;   ///< where the right part begins
        std::size_t m_cPeriod;  ///< of the right part
    };

    bool Equal(std::size_t u, const XCHAR* pchText) const noexcept {
        return m_fold(m_pchPattern[u]) == m_fold(pchText[u]);
    }
    bool Same(const XCHAR* pchLeft, const XCHAR* pchRight, std::size_t cUnits) const noexcept {
        return std::equal(pchLeft, pchLeft + cUnits, pchRight,
                          [this](XCHAR chLeft, XCHAR chRight) { return m_fold(chLeft) == m_fold(chRight); });
    }

    /// The greatest suffix of the pattern in the order `less`, and its period.
    template <class Less>
    Parting MaximalSuffix(Less less) const noexcept {
        std::size_t uBest = 0, uOther = 1, cSame = 0, cPeriod = 1;
        while (uOther + cSame < m_cPattern) {
            const XCHAR chOther = m_fold(m_pchPattern[uOther + cSame]);
            const XCHAR chBest = m_fold(m_pchPattern[uBest + cSame]);
            if (chOther == chBest) {
                if (++cSame == cPeriod) {
                    uOther += cPeriod;
                    cSame = 0;
                }
            } else if (less(chOther, chBest)) {
                uOther += cSame + 1;
                cSame = 0;
                cPeriod = uOther - uBest;
            } else {
                uBest = uOther++;
                cSame = 0;
                cPeriod = 1;
            }
        }
        return {uBest, cPeriod};
    }

    const XCHAR* m_pchPattern;
    std::size_t m_cPattern;
    [[no_unique_address]] Fold m_fold;
    Parting m_oParting{};
    bool m_fPeriodic = false;
};

}  // namespace vlm::text
