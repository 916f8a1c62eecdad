/// @file
/// A file in memory for the cabinet library: borrowed bytes to read, or a growing one to write.
#include "utilities/compression/CabinetMemoryFile.h"

#include <algorithm>
#include <cstring>

namespace vlm {

std::size_t CabinetMemoryFile::Read(std::size_t uPosition, void* pTarget, std::size_t cBytes) const noexcept {
    const std::size_t cFile = Size();
    if (uPosition >= cFile) return 0;
    const std::size_t cRead = std::min(cBytes, cFile - uPosition);
    const BYTE* const pbyFile = m_fBorrowed ? m_pbyBorrowed : m_vbyOwned.data();
    if (cRead > 0) std::memcpy(pTarget, pbyFile + uPosition, cRead);
    return cRead;
}

bool CabinetMemoryFile::Write(std::size_t uPosition, const void* pSource, std::size_t cBytes) {
    if (m_fBorrowed || uPosition > m_cLimit) return false;
    const std::size_t cFits = std::min(cBytes, m_cLimit - uPosition);
    const auto* pbySource = static_cast<const BYTE*>(pSource);
    if (uPosition > m_vbyOwned.size()) m_vbyOwned.resize(uPosition);
    const std::size_t cOver = std::min(cFits, m_vbyOwned.size() - uPosition);
    if (cOver > 0) std::memcpy(m_vbyOwned.data() + uPosition, pbySource, cOver);
    m_vbyOwned.insert(m_vbyOwned.end(), pbySource + cOver, pbySource + cFits);
    return cFits == cBytes;
}

}  // namespace vlm
