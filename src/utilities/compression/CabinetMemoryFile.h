/// @file
/// A file in memory for the cabinet library: borrowed bytes to read, or a growing one to write.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "platform/WinTypes.h"
#include "utilities/compression/CabinetImage.h"

namespace vlm {

/// The contents of one file.  Positions belong to the handles that are open on it.
/// **Ownership**: borrowed bytes stay the caller's; written ones belong to the file.
/// **Failure**: Reserve and Write throw std::bad_alloc without memory; nothing is reported, for the cabinet library is
/// below them on the stack.
class CabinetMemoryFile {
public:
    /// An empty file that can be written.
    CabinetMemoryFile() noexcept = default;
    /// A file of borrowed bytes that cannot be written; null is allowed with 0 bytes.
    CabinetMemoryFile(const BYTE* pbyData, std::size_t cBytes) noexcept
        : m_fBorrowed(true), m_pbyBorrowed(pbyData), m_cBorrowed(cBytes) {}

    bool IsWritable() const noexcept { return !m_fBorrowed; }
    std::size_t Size() const noexcept { return m_fBorrowed ? m_cBorrowed : m_vbyOwned.size(); }
    /// Makes room beforehand.
    void Reserve(std::size_t cBytes) { m_vbyOwned.reserve(cBytes); }
    /// The file takes no more than this; at first LARGEST_CABINET_DATA.
    void SetLimit(std::size_t cBytes) noexcept { m_cLimit = cBytes; }
    void Truncate() noexcept { m_vbyOwned.clear(); }

    /// Copies what there is at a position, at most `cBytes`.  @return the number of bytes; 0 at and beyond the end.
    std::size_t Read(std::size_t uPosition, void* pTarget, std::size_t cBytes) const noexcept;
    /// Overwrites or extends; a gap before the position reads as zeros.
    /// @return false when the file is borrowed, or would exceed its limit; it then holds what fitted.
    bool Write(std::size_t uPosition, const void* pSource, std::size_t cBytes);

    /// Hands over what was written.
    std::vector<BYTE> Take() noexcept { return std::exchange(m_vbyOwned, {}); }

private:
    bool m_fBorrowed = false;
    const BYTE* m_pbyBorrowed = nullptr;
    std::size_t m_cBorrowed = 0;
    std::size_t m_cLimit = LARGEST_CABINET_DATA;
    std::vector<BYTE> m_vbyOwned;
};

}  // namespace vlm
