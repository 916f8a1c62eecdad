/// @file
/// The one way to read blocks of the spooler: ask for the size, make room, ask again, and check what came.
#pragma once

#include <algorithm>
#include <cstddef>

#include "platform/InformationBlocks.h"
#include "utilities/Bounds.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/GrowUntilItFits.h"

namespace vlm {

/// Reads a list of records.  `call(pInfo, cbInfo, rcbNeeded, rcRecords)` is one call of a spooler port.
/// @param rbbBlock the block after Success, as large as the room that was offered: texts may stand at its very end.
///        Pointers in it lead into it, so it must stay as it is while they are used.  Empty after any other status.
/// @return the last call's status; InsufficientBuffer for more than bounds::MAX_SPOOLER_BLOCK_BYTES and for a block
///         that grew at every call, InvalidData for one that is not sound.  @throws ExceptionOutOfMemory.
template <class Call>
Status ReadSpoolerList(BlockKind eKind, DWORD dwLevel, ByteBuffer& rbbBlock, DWORD& rcRecords, Call&& call) {
    rbbBlock.clear();
    Status eStatus = Status::InsufficientBuffer;
    for (int i = 0; i < GROW_ATTEMPTS; ++i) {
        DWORD cbNeeded = 0;
        rcRecords = 0;
        eStatus = call(rbbBlock.getLpbyte(), rbbBlock.GetLength(), cbNeeded, rcRecords);
        if (eStatus == Status::Success) {
            if (IsSoundBlock(eKind, dwLevel, rcRecords, rbbBlock.getLpbyte(), rbbBlock.size())) return eStatus;
            eStatus = Status::InvalidData;
            break;
        }
        if (eStatus != Status::InsufficientBuffer && eStatus != Status::MoreData) break;
        eStatus = Status::InsufficientBuffer;
        if (cbNeeded > bounds::MAX_SPOOLER_BLOCK_BYTES) break;
        const std::size_t cbRoom = std::max<std::size_t>({cbNeeded, rbbBlock.size(), 64});
        rbbBlock.clear();
        rbbBlock.resize(cbRoom);
    }
    rbbBlock.clear();
    rcRecords = 0;
    return eStatus;
}

/// The same for a block of one record: `call(pInfo, cbInfo, rcbNeeded)`.
template <class Call>
Status ReadSpoolerBlock(BlockKind eKind, DWORD dwLevel, ByteBuffer& rbbBlock, Call&& call) {
    DWORD cRecords = 0;
    return ReadSpoolerList(eKind, dwLevel, rbbBlock, cRecords,
                           [&](BYTE* pbyInfo, DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcRecords) {
                               rcRecords = 1;
                               return call(pbyInfo, cbInfo, rcbNeeded);
                           });
}

/// The first record of a block that was read so; the block must not be empty.
template <class Record>
const Record& FirstRecord(const ByteBuffer& kbbBlock) noexcept {
    return *reinterpret_cast<const Record*>(kbbBlock.data());
}

}  // namespace vlm
