/// @file
/// The one way to read what the system measures itself: ask, grow the buffer to the size that it answers, ask again.
#pragma once

#include <algorithm>
#include <cstddef>

#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"

namespace vlm {

/// Attempts before a value that keeps growing is given up.
inline constexpr int GROW_ATTEMPTS = 5;

/// Calls `call(pbyTarget, cbTarget, rcbNeeded)` with the buffer at its present size until it fits.  The call answers a
/// status and, in `rcbNeeded` (0 before each call), the bytes that there are; MoreData and InsufficientBuffer mean "too
/// small".  A call may answer Success to a null pointer, as a registry query does to tell the size: it is then called
/// again with room.
/// @param cbLimit the most bytes that are made room for, whatever the call claims; beyond it the answer is
///        InsufficientBuffer.
/// @param rbbTarget its size is the room of the first call; holds exactly what was read after Success, nothing after
///        any other status.
/// @return the last call's status; still MoreData or InsufficientBuffer after GROW_ATTEMPTS calls that did not fit.
/// @throws ExceptionOutOfMemory.
template <class Call>
Status GrowUntilItFits(Call&& call, std::size_t cbLimit, ByteBuffer& rbbTarget) {
    Status status = Status::InsufficientBuffer;
    for (int i = 0; i < GROW_ATTEMPTS; ++i) {
        const std::size_t cbRoom = rbbTarget.size();
        DWORD cbNeeded = 0;
        status = call(rbbTarget.getLpbyte(), static_cast<DWORD>(cbRoom), cbNeeded);
        if (status == Status::Success && cbNeeded <= cbRoom) {
            rbbTarget.resize(cbNeeded);
            return Status::Success;
        }
        const bool fTooSmall =
            status == Status::Success || status == Status::MoreData || status == Status::InsufficientBuffer;
        if (!fTooSmall) break;
        status = status == Status::MoreData ? Status::MoreData : Status::InsufficientBuffer;
        if (cbNeeded > cbLimit) {
            status = Status::InsufficientBuffer;
            break;
        }
        // A call that does not say how much there is gets twice the room.
        const std::size_t cbWanted = cbNeeded > cbRoom ? cbNeeded : std::max<std::size_t>(2 * cbRoom, 64);
        rbbTarget.resize(std::min(cbWanted, cbLimit));
        if (rbbTarget.size() <= cbRoom) break;
    }
    rbbTarget.clear();
    return status;
}

}  // namespace vlm
