/// @file
/// Checks blocks that came from a spooler before anybody follows a pointer of theirs.
#pragma once

#include <cstddef>

#include "platform/Export.h"
#include "platform/SpoolerBlocks.h"

namespace vlm {

enum class BlockKind {
    Printer,    ///< PrinterInfo1 to 9
    Driver,     ///< DriverInfo1 to 6, 8
    Port,       ///< PortInfo1, 2
    Processor,  ///< PrintProcessorInfo1
    Values,     ///< PrinterEnumValues (level 0)
};

/// Size of one record in bytes; 0 for a level that there is not.
VLM_API std::size_t BlockRecordSize(BlockKind eKind, DWORD dwLevel) noexcept;

/// Whether `cRecords` records and everything that their pointers lead to lie inside the block.
///
/// Sound is: the block is aligned to 8 bytes and holds the records; each text pointer is null, or aligned and inside
/// the block, and its text ends inside it (a list of texts with its empty one); each device mode is null, or aligned to
/// 2 bytes, starts inside the block with room for its two size fields, and as many bytes as these name stand there (a
/// length of 0 is sound: whoever needs one refuses it); the bytes of a value lie inside (a null pointer with a size of
/// 0); other pointers are null or lead inside.
/// Linear in the size of the block, however often its records share a text.  Reads nothing outside
/// [pBlock, pBlock + cbBlock).  Never throws.
/// @param cbBlock the size of the buffer that was offered, which the spooler cannot lie about.
VLM_API bool IsSoundBlock(BlockKind eKind, DWORD dwLevel, DWORD cRecords, const void* pBlock,
                          std::size_t cbBlock) noexcept;

/// Bytes of a device mode as its size fields tell (`dmSize + dmDriverExtra`), for one that IsSoundBlock has seen; 0 for
/// null.
VLM_API std::size_t DeviceModeSize(const DEVMODEW* pDevMode) noexcept;

/// The same for one that stands alone in `cbAvailable` bytes.
/// @return 0 when the bytes do not hold the size fields or the length that they tell.
VLM_API std::size_t CheckedDeviceModeSize(const void* pDevMode, std::size_t cbAvailable) noexcept;

/// Whether `cbList` bytes hold a list of texts with its ends (the answer of EnumerateKeys).  An empty list may be one
/// terminator or two.
VLM_API bool IsSoundTextList(const XCHAR* pszzList, std::size_t cbList) noexcept;

}  // namespace vlm
