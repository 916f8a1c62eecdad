/// @file
/// The library's lock.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/Export.h"
#include "utilities/utilitiesdll/DriverLoadedContext.h"

/// A recursive lock over something that threads share.  It may be a `constinit` static: the system's lock behind it is
/// made when it is first taken, so it is usable before any constructor has run.
/// **Threads**: any.  **Failure**: none; nothing throws.
/// A lock still held when it is destroyed is an error of the caller.
class VLM_API CriticalResource {
public:
    constexpr CriticalResource() noexcept = default;
    ~CriticalResource();
    CriticalResource(const CriticalResource&) = delete;
    CriticalResource& operator=(const CriticalResource&) = delete;

    /// Waits until the lock is free, or already the calling thread's own, and takes it once (more).
    void Lock() noexcept;
    /// Takes the lock if that needs no waiting.
    bool TryLock() noexcept;
    /// Gives the lock back once; only by the thread that holds it.
    void Unlock() noexcept;

    /// Which kind of process has loaded the library.
    static DriverLoadedContext::Context GetDriverLoadedContext() noexcept { return DriverLoadedContext::Get(); }

private:
    static constexpr std::size_t STORAGE_BYTES = 64;

    void* Ready() noexcept;

    alignas(16) unsigned char m_abyLock[STORAGE_BYTES] = {};
    std::atomic<std::uint32_t> m_dwState{0};
};

/// Holds a `CriticalResource` for its own lifetime.
class CriticalResourceLock {
public:
    explicit CriticalResourceLock(CriticalResource& rResource) noexcept : m_rResource(rResource) { m_rResource.Lock(); }
    ~CriticalResourceLock() { m_rResource.Unlock(); }
    CriticalResourceLock(const CriticalResourceLock&) = delete;
    CriticalResourceLock& operator=(const CriticalResourceLock&) = delete;

private:
    CriticalResource& m_rResource;
};
