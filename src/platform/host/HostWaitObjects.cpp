/// @file
/// Events over pipes, mutexes over locks.
#include "platform/host/HostWaitObjects.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "platform/host/HostNames.h"

namespace vlm::host {

namespace {

/// Sets come before the waits that they let through, also for eyes that do not see through the kernel.
constinit std::atomic<std::uint64_t> gullSets{0};

// A pipe of one page: whatever was written is read at once.
constexpr int PIPE_BYTES = 4096;

constinit std::atomic<std::uint64_t> gullLastThread{0};
constinit thread_local std::uint64_t tullThread = 0;

/// A number for the calling thread that no other thread of the process ever has.
std::uint64_t ThreadNumber() noexcept {
    if (tullThread == 0) tullThread = ++gullLastThread;
    return tullThread;
}

bool IsThreadAlive(pid_t iThread) noexcept {
    return syscall(SYS_tgkill, getpid(), iThread, 0) == 0 || errno != ESRCH;
}

}  // namespace

EventObject::EventObject(bool fManualReset, bool fSignalled) noexcept : m_fManualReset(fManualReset) {
    m_oFile.oFile = Descriptor(eventfd(fSignalled ? 1 : 0, EFD_NONBLOCK | EFD_CLOEXEC));
}

EventObject::EventObject(ObjectFile&& rrFile, bool fSignalled) noexcept
    : m_fManualReset(rrFile.eKind == ObjectKind::ManualEvent), m_oFile(std::move(rrFile)) {
    if (!m_oFile.fCreated) return;
    fcntl(m_oFile.oFile.Get(), F_SETPIPE_SZ, PIPE_BYTES);
    if (fSignalled) Set();
}

EventObject::~EventObject() {
    CloseObjectFile(m_oFile);
}

Status EventObject::Set() noexcept {
    constexpr std::uint64_t SIGNAL = 1;
    gullSets.fetch_add(1, std::memory_order_release);
    ssize_t cWritten = 0;
    do {
        cWritten = write(m_oFile.oFile.Get(), &SIGNAL, sizeof(SIGNAL));
    } while (cWritten < 0 && errno == EINTR);
    // A full one is as signalled as can be.
    return cWritten >= 0 || errno == EAGAIN ? Status::Success : StatusFromErrno(errno);
}

Status EventObject::Reset() noexcept {
    char acDrain[PIPE_BYTES];
    ssize_t cRead = 0;
    do {
        cRead = read(m_oFile.oFile.Get(), acDrain, sizeof(acDrain));
    } while (cRead < 0 && errno == EINTR);
    return cRead >= 0 || errno == EAGAIN ? Status::Success : StatusFromErrno(errno);
}

bool EventObject::TryTake(bool&) noexcept {
    bool fTaken = false;
    if (m_fManualReset) {
        struct pollfd oPoll {
            m_oFile.oFile.Get(), POLLIN, 0
        };
        fTaken = poll(&oPoll, 1, 0) == 1 && (oPoll.revents & POLLIN) != 0;
    } else {
        char acDrain[PIPE_BYTES];
        ssize_t cRead = 0;
        do {
            cRead = read(m_oFile.oFile.Get(), acDrain, sizeof(acDrain));
        } while (cRead < 0 && errno == EINTR);
        fTaken = cRead > 0;
    }
    if (fTaken) static_cast<void>(gullSets.load(std::memory_order_acquire));
    return fTaken;
}

MutexObject::~MutexObject() {
    CloseObjectFile(m_oFile);
}

bool MutexObject::TakeFile(bool& rfAbandoned) const noexcept {
    const int iFile = m_oFile.oFile.Get();
    if (iFile < 0) return true;
    if (!LockObjectFile(iFile)) return false;
    char cOwned = 0;
    rfAbandoned = pread(iFile, &cOwned, 1, 0) == 1 && cOwned != 0;
    cOwned = 1;
    if (pwrite(iFile, &cOwned, 1, 0) == 1) return true;
    // Without the byte nobody would learn of this owner's death.
    UnlockObjectFile(iFile);
    return false;
}

bool MutexObject::TryTake(bool& rfAbandoned) noexcept {
    const std::lock_guard oLock(m_oMutex);
    if (m_ullOwner == ThreadNumber()) {
        ++m_cHolds;
        return true;
    }
    if (m_ullOwner != 0) {
        if (IsThreadAlive(m_iOwnerThread)) return false;
        rfAbandoned = true;
    } else if (!TakeFile(rfAbandoned)) {
        return false;
    }
    m_ullOwner = ThreadNumber();
    m_iOwnerThread = gettid();
    m_cHolds = 1;
    return true;
}

Status MutexObject::Release() noexcept {
    const std::lock_guard oLock(m_oMutex);
    if (m_ullOwner != ThreadNumber()) return Status::NotOwner;
    if (--m_cHolds != 0) return Status::Success;
    m_ullOwner = 0;
    if (const int iFile = m_oFile.oFile.Get(); iFile >= 0) {
        constexpr char FREE = 0;
        const bool fWritten = pwrite(iFile, &FREE, 1, 0) == 1;
        UnlockObjectFile(iFile);
        if (!fWritten) return Status::GeneralFailure;
    }
    return Status::Success;
}

}  // namespace vlm::host
