/// @file
/// The things that the host's threads wait for.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/host/HostObjectFolder.h"

namespace vlm::host {

/// An event, a mutex or a running thread.  Held by its handles, by waits, and by the thread itself.
/// Threads: any.
class WaitObject {
public:
    WaitObject() noexcept = default;
    virtual ~WaitObject() = default;
    WaitObject(const WaitObject&) = delete;
    WaitObject& operator=(const WaitObject&) = delete;

    /// Takes the object if it is signalled.
    virtual bool TryTake(bool& rfAbandoned) noexcept = 0;
    /// A descriptor that polls as readable while the object is signalled; -1: it must be asked again and again.
    virtual int PollDescriptor() const noexcept = 0;
};

/// An event is a pipe with something in it, or without.  Whoever reads it empty has taken the signal, which the kernel
/// does for one reader at a time, in this process and in others.  A private event is a counter of the kernel, which
/// behaves the same.
class EventObject final : public WaitObject {
public:
    /// A private event.  `IsValid` tells whether the system had one to give.
    EventObject(bool fManualReset, bool fSignalled) noexcept;
    explicit EventObject(ObjectFile&& rrFile, bool fSignalled) noexcept;
    ~EventObject() override;
    bool IsValid() const noexcept { return m_oFile.oFile.Get() >= 0; }

    Status Set() noexcept;
    Status Reset() noexcept;
    bool TryTake(bool& rfAbandoned) noexcept override;
    int PollDescriptor() const noexcept override { return m_oFile.oFile.Get(); }

private:
    bool m_fManualReset;
    ObjectFile m_oFile;
};

/// A running thread: signalled from its end on.
class ThreadObject final : public WaitObject {
public:
    explicit ThreadObject(std::shared_ptr<EventObject> shpoEnd) noexcept : m_shpoEnd(std::move(shpoEnd)) {}
    bool TryTake(bool& rfAbandoned) noexcept override { return m_shpoEnd->TryTake(rfAbandoned); }
    int PollDescriptor() const noexcept override { return m_shpoEnd->PollDescriptor(); }

private:
    std::shared_ptr<EventObject> m_shpoEnd;
};

/// A mutex belongs to a thread of this process; between processes, to the one that has its file's lock.  A byte in the
/// file tells a lock that was released from one that ended with its process.
class MutexObject final : public WaitObject {
public:
    /// A private mutex.
    MutexObject() noexcept = default;
    explicit MutexObject(ObjectFile&& rrFile) noexcept : m_oFile(std::move(rrFile)) {}
    ~MutexObject() override;

    /// @return NotOwner.
    Status Release() noexcept;
    bool TryTake(bool& rfAbandoned) noexcept override;
    int PollDescriptor() const noexcept override { return -1; }

private:
    bool TakeFile(bool& rfAbandoned) const noexcept;

    std::mutex m_oMutex;
    std::uint64_t m_ullOwner = 0;  ///< the owning thread's number, 0: free
    pid_t m_iOwnerThread = 0;
    unsigned m_cHolds = 0;
    ObjectFile m_oFile;
};

}  // namespace vlm::host
