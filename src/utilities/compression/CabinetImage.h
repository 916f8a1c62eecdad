/// @file
/// The check that every cabinet image passes before a cabinet library sees it.
#pragma once

#include <cstddef>

#include "platform/WinTypes.h"

namespace vlm {

/// Why an image was refused.
enum class CabinetDefect : DWORD {
    None,
    TooShort,         ///< no room for a header
    Signature,        ///< not "MSCF"
    Version,          ///< not 1.3
    ImageSize,        ///< the size in the header is not the image's
    Flags,            ///< continued from or in another cabinet, reserve areas where none are allowed, or unknown flags
    FolderCount,      ///< no folder, or more than allowed
    FileCount,        ///< no file, or more than allowed
    FileTable,        ///< the file entries are not where they must be, or leave the image
    FileName,         ///< empty, longer than 255 bytes, or without its terminator
    FileFolder,       ///< a file of a folder that does not exist, that is continued, or that is out of order
    FileRange,        ///< a file outside its folder's data, or overlapping the file before it
    CompressionType,  ///< neither MSZIP nor, where allowed, stored
    DataOffset,       ///< a folder's blocks overlap what precedes them, or leave the image
    BlockSize,        ///< a block leaves the image, is too large, or is short though not the last
    BlockSignature,   ///< a block that does not begin with "CK"
    BlockChecksum,    ///< a checksum that is not zero and not right
    BlockStream,      ///< a block whose deflate stream is damaged, or expands to another size than announced
    BlockTail,        ///< bytes after a block's deflate stream
    TooMuchData,      ///< expands to more than allowed
    TrailingData,     ///< bytes that belong to nothing
};

/// What an image may hold.
struct CabinetProfile {
    WORD wMostFolders;
    WORD wMostFiles;
    bool fStrict;               ///< nothing but what the library itself writes: MSZIP, no reserve areas, no gaps
    DWORD dwMostOriginalBytes;  ///< of all folders together
};

/// The largest size that a cabinet library can address, in bytes.
inline constexpr DWORD LARGEST_CABINET_DATA = 0x7FFFFFFF;

/// A compressed buffer's image: one folder, one member.
inline constexpr CabinetProfile SINGLE_MEMBER_CABINET{1, 1, true, LARGEST_CABINET_DATA};

/// A cabinet file from elsewhere: any number of members, MSZIP or stored, not spanning cabinets.
inline constexpr CabinetProfile CABINET_ARCHIVE{0xFFFF, 0xFFFF, false, LARGEST_CABINET_DATA};

/// The outcome of a check.
struct CabinetVerdict {
    CabinetDefect eDefect = CabinetDefect::TooShort;
    std::size_t uOffset = 0;    ///< where in the image the defect shows
    DWORD dwOriginalBytes = 0;  ///< accepted: the size of all folders' data
    WORD wFolders = 0;          ///< accepted
    WORD wFiles = 0;            ///< accepted

    bool IsAccepted() const noexcept { return eDefect == CabinetDefect::None; }
};

/// One file entry of an accepted image.
struct CabinetEntry {
    const char* pszName;  ///< in the image, zero-terminated
    DWORD dwBytes;
    WORD wFolder;
    WORD wDate;
    WORD wTime;
    WORD wAttributes;
    std::size_t uNext;  ///< where the next entry begins
};

/// Checks a cabinet image (the published cabinet format, version 1.3) against a profile.  An accepted image extracts to
/// exactly the announced sizes, or fails cleanly, with every cabinet library: sizes, offsets and counts agree, nothing
/// overlaps, checksums that are present are right, and each block's deflate stream is well formed, stays inside its
/// history and yields its announced size.  That last part matters most: a checksum of zero is never checked by the
/// system, and a damaged stream makes some libraries write outside their buffers.
///
/// Pure; linear in the image's size; allocates nothing.  Threads: any.
CabinetVerdict ValidateCabinetImage(const BYTE* pImage, std::size_t cImage, const CabinetProfile& rProfile) noexcept;

/// The offset of the first file entry of an image that ValidateCabinetImage has accepted.
std::size_t FirstCabinetEntry(const BYTE* pImage) noexcept;

/// The file entry at an offset of an image that ValidateCabinetImage has accepted.
CabinetEntry ReadCabinetEntry(const BYTE* pImage, std::size_t uOffset) noexcept;

/// A defect in words, as a clause of a message.
const XCHAR* DescribeCabinetDefect(CabinetDefect eDefect) noexcept;

}  // namespace vlm
