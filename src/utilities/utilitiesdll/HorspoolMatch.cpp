/// @file
/// Search for a pattern of bytes.
#include "utilities/utilitiesdll/HorspoolMatch.h"

#include <limits>

#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/detail/values/PatternSearch.h"

namespace {

/// Longer patterns let the window move so far that the classic loop is the faster one.
constexpr int LONG_PATTERN = 256;
constexpr int MAX_SIZE = std::numeric_limits<int>::max();

}  // namespace

HorspoolMatch::HorspoolMatch(const char* pchPattern, int iLength)
    : m_bbPattern(reinterpret_cast<const BYTE*>(pchPattern),
                  pchPattern && iLength > 0 ? static_cast<std::size_t>(iLength) : 0),
      m_iPatternLength(static_cast<int>(m_bbPattern.size())) {
    m_aiShift.fill(m_iPatternLength);
    for (int i = 0; i < m_iPatternLength - 1; ++i) {
        m_aiShift[m_bbPattern[static_cast<std::size_t>(i)]] = m_iPatternLength - 1 - i;
    }
}

int HorspoolMatch::Search(const ByteBuffer& kbbData, int iStart) const noexcept {
    return Search(kbbData.getLpbyte(), kbbData.GetLength(), iStart);
}

int HorspoolMatch::Search(const BYTE* pbyData, DWORD dwSize, int iStart) const noexcept {
    if (m_iPatternLength <= 0) {
        VLM_REPORT(DebugCategory::Utils, VTEXT("A pattern of length %d is never found."), m_iPatternLength);
        return -1;
    }
    const int iSize = dwSize <= DWORD{MAX_SIZE} ? static_cast<int>(dwSize) : MAX_SIZE;
    if (!pbyData || iSize == 0 || iStart < 0 || iStart > iSize || iSize - iStart < m_iPatternLength) return -1;
    if (m_iPatternLength <= LONG_PATTERN) {
        using Kind = vlm::PatternSearchResult::Kind;
        const vlm::PatternSearchResult result =
            vlm::SearchByEnds(pbyData, static_cast<std::size_t>(iSize), m_bbPattern.data(), m_bbPattern.size(),
                              static_cast<std::size_t>(iStart));
        if (result.eKind == Kind::Absent) return -1;
        if (result.eKind == Kind::Found) return static_cast<int>(result.cOffset);
        iStart = static_cast<int>(result.cOffset);
    }
    return SearchByShifts(pbyData, iSize, iStart);
}

int HorspoolMatch::SearchByShifts(const BYTE* pbyData, int iSize, int iStart) const noexcept {
    const BYTE* const pbyPattern = m_bbPattern.data();
    const int iFinal = m_iPatternLength - 1;
    const BYTE byLast = pbyPattern[iFinal];
    int iPosition = iStart;
    int iRemaining = iSize - iStart;
    while (iRemaining >= m_iPatternLength) {
        const BYTE by = pbyData[iPosition + iFinal];
        if (by == byLast) {
            int i = iFinal - 1;
            while (i >= 0 && pbyPattern[i] == pbyData[iPosition + i])
                --i;
            if (i < 0) return iPosition;
        }
        const int iShift = m_aiShift[by];
        iRemaining -= iShift;
        iPosition += iShift;
    }
    return -1;
}
