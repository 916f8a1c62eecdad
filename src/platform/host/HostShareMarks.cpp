/// @file
/// Share marks as open file description locks.
#include "platform/host/HostShareMarks.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace vlm::host {

namespace {

constexpr off_t FIRST_MARK = 0x7000'0000'0000'0000;
constexpr unsigned cWays = 3;
constexpr off_t USE_OFFSET = 0, DENY_OFFSET = cWays;

struct flock LockOf(short sType, off_t oOffset) noexcept {
    struct flock oLock {};
    oLock.l_type = sType;
    oLock.l_whence = SEEK_SET;
    oLock.l_start = FIRST_MARK + oOffset;
    oLock.l_len = 1;
    return oLock;
}

/// Whether another open file description has its mark there.
bool IsMarked(int iFile, off_t oOffset) noexcept {
    struct flock oLock = LockOf(F_WRLCK, oOffset);
    return fcntl(iFile, F_OFD_GETLK, &oLock) == 0 && oLock.l_type != F_UNLCK;
}

bool IsForbidden(int iFile, DWORD dwUses, DWORD dwDenies) noexcept {
    for (unsigned i = 0; i < cWays; ++i) {
        if ((dwUses & (1u << i)) && IsMarked(iFile, DENY_OFFSET + i)) return true;
        if ((dwDenies & (1u << i)) && IsMarked(iFile, USE_OFFSET + i)) return true;
    }
    return false;
}

/// @return false where the file system knows no locks.
bool SetMarks(int iFile, short sType, DWORD dwUses, DWORD dwDenies) noexcept {
    for (unsigned i = 0; i < cWays; ++i) {
        struct flock oUse = LockOf(sType, USE_OFFSET + i);
        struct flock oDeny = LockOf(sType, DENY_OFFSET + i);
        if ((dwUses & (1u << i)) && fcntl(iFile, F_OFD_SETLK, &oUse) != 0) return false;
        if ((dwDenies & (1u << i)) && fcntl(iFile, F_OFD_SETLK, &oDeny) != 0) return false;
    }
    return true;
}

}  // namespace

Status PlaceShareMarks(int iFile, DWORD dwUses, DWORD dwDenies) noexcept {
    // Two that come at once may see each other's marks and both step back; a few rounds of different length part them.
    // A mark that stays is believed after the last round.
    constexpr unsigned cRounds = 4;
    for (unsigned i = 0; i < cRounds; ++i) {
        if (!IsForbidden(iFile, dwUses, dwDenies)) {
            if (!SetMarks(iFile, F_RDLCK, dwUses, dwDenies)) return Status::Success;
            if (!IsForbidden(iFile, dwUses, dwDenies)) return Status::Success;
            SetMarks(iFile, F_UNLCK, dwUses, dwDenies);
        }
        if (i + 1 < cRounds) {
            const timespec oPause{0, static_cast<std::int32_t>(20'000 * (i + 1) + 1'000 * (gettid() % 64))};
            nanosleep(&oPause, nullptr);
        }
    }
    return Status::SharingViolation;
}

}  // namespace vlm::host
