/// @file
/// Reads cabinet files with any number of members.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/Bounds.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

/// A cabinet file: its members, and their contents.  Members are MSZIP-compressed or stored; cabinets that span several
/// files, and other compressions, are refused.
///
/// The whole file is checked when the object is made (CabinetImage.h), so members always extract to the sizes that they
/// announce.  Their *names* are only read: whoever makes files of them asks IsSafeName first.
///
/// **Ownership**: the archive keeps the file's bytes.  **Threads**: one object is not shared without a lock;
/// extractions of a process run one at a time.
class VLM_API CabinetArchive {
public:
    /// One member, as its file entry tells.
    struct Member {
        CXString csName;    ///< with the separators of the cabinet, usually backslashes
        DWORD dwBytes = 0;  ///< original size
        WORD wDate = 0;     ///< the format's date: year - 1980 in bits 9-15, month in 5-8, day in 0-4
        WORD wTime = 0;     ///< the format's time: hour in bits 11-15, minute in 5-10, seconds / 2 in 0-4
        WORD wAttributes = 0;
    };

    /// @param bbCabinet the whole file; move it in to avoid a copy.
    /// @throws ExceptionCompression when the file is no cabinet, is damaged, or is of a kind that is not read; names
    ///         the defect and its offset.  ExceptionOutOfMemory.
    explicit CabinetArchive(ByteBuffer bbCabinet);

    const std::vector<Member>& GetMembers() const noexcept { return m_voMembers; }
    /// The original size of all members together, in bytes.
    ULONGLONG GetOriginalDataSize() const noexcept { return m_ullOriginalDataSize; }

    /// The contents of one member.
    /// @param uIndex an index of GetMembers().
    /// @throws ExceptionIndexOutOfBounds; ExceptionCompression when the member has more than `dwMostBytes`, or fails to
    ///         extract; ExceptionOutOfMemory.
    ByteBuffer Extract(std::size_t uIndex, DWORD dwMostBytes = vlm::bounds::MAX_FILE_ORIGINAL_BYTES) const;
    /// The contents of all members, in the order of GetMembers(), in one pass.
    /// @throws ExceptionCompression when they have more than `dwMostBytes` together, or one fails to extract;
    ///         ExceptionOutOfMemory.
    std::vector<ByteBuffer> ExtractAll(DWORD dwMostBytes = vlm::bounds::MAX_FILE_ORIGINAL_BYTES) const;

    /// Can a member's name be made a path below any folder, on Windows?  False for rooted names, drives, streams, ".."
    /// and other steps, empty parts, device names, characters that files cannot have, and more than 200 units.
    static bool IsSafeName(const CXString& kcsName) noexcept;

private:
    static constexpr std::size_t ALL_MEMBERS = ~std::size_t{0};

    std::vector<ByteBuffer> ExtractMembers(std::size_t uWanted, ULONGLONG ullBytes, DWORD dwMostBytes) const;

    ByteBuffer m_bbCabinet;
    std::vector<Member> m_voMembers;
    ULONGLONG m_ullOriginalDataSize = 0;
};
