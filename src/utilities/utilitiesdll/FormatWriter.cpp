/// @file
/// Growth and cutting of formatted text.
#include "utilities/utilitiesdll/detail/text/FormatWriter.h"

#include "utilities/utilitiesdll/Format.h"
#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

namespace vlm::format {

FormatWriter::~FormatWriter() {
    if (m_cHeapUnits) MemoryPool::Release(m_pchText, m_cHeapUnits * sizeof(XCHAR));
}

void FormatWriter::Append(const XCHAR* pchText, std::size_t cUnits) noexcept {
    if (cUnits > m_cEnd - m_cUnits && !Grow(cUnits)) return AppendCut(pchText, cUnits);
    text::CopyShort(m_pchText + m_cUnits, pchText, cUnits);
    m_cUnits += cUnits;
}

bool FormatWriter::Grow(std::size_t cMore) noexcept {
    if (m_dwFlags & FMTF_TRUNCATED) return false;
    const std::size_t cWanted = std::min(std::max(m_cUnits + cMore, m_cEnd * 2), m_cLimit);
    if (cWanted > m_cEnd) {
        void* const pMemory = MemoryPool::TryAllocate(cWanted * sizeof(XCHAR));
        if (!pMemory) {
            m_dwFlags |= FMTF_TRUNCATED | FMTF_OUT_OF_MEMORY;
            return false;
        }
        XCHAR* const pchText = static_cast<XCHAR*>(pMemory);
        text::CopyUnits(pchText, m_pchText, m_cUnits);
        if (m_cHeapUnits) MemoryPool::Release(m_pchText, m_cHeapUnits * sizeof(XCHAR));
        m_pchText = pchText;
        m_cEnd = m_cHeapUnits = cWanted;
    }
    if (cMore <= m_cEnd - m_cUnits) return true;
    m_dwFlags |= FMTF_TRUNCATED;
    return false;
}

void FormatWriter::AppendCut(const XCHAR* pchText, std::size_t cUnits) noexcept {
    std::size_t cKept = std::min(cUnits, m_cEnd - m_cUnits);
    if (cKept > 0 && cKept < cUnits && text::IsHighSurrogate(pchText[cKept - 1])) --cKept;
    text::CopyUnits(m_pchText + m_cUnits, pchText, cKept);
    m_cUnits += cKept;
    m_cEnd = m_cUnits;
}

}  // namespace vlm::format
