/// @file
/// Knows when a thread runs under the system's loader lock, where next to nothing is allowed.
#pragma once

#include "platform/Export.h"

namespace vlm {

/// Is the calling thread inside the loader because of this library: while the library is being loaded or unloaded, or
/// while a thread ends?  Then nobody forwards to the spooler, starts or awaits a thread, loads a library or shows a
/// box. One atomic read when no thread is.  **Threads**: any.  **Failure**: none. Code that is linked into a program
/// without the library's entry point is never under the lock.
VLM_API bool IsUnderLoaderLock() noexcept;

/// Is the process ending?  The other threads are gone then, with whatever locks they held: nobody waits for a lock.
VLM_API bool IsProcessEnding() noexcept;

/// May the library keep threads that nobody asked for?  Only where it stays in the process to the end anyway; such a
/// thread would keep it loaded for ever elsewhere.
VLM_API bool MayKeepThreads() noexcept;

// ---- for the entry point ----

/// Marks the calling thread as being under the lock while it lives.  Scopes of one thread may nest.
class LoaderLockScope {
public:
    LoaderLockScope() noexcept;
    ~LoaderLockScope();
    LoaderLockScope(const LoaderLockScope&) = delete;
    LoaderLockScope& operator=(const LoaderLockScope&) = delete;

private:
    bool m_fEntered;
};

/// The first constructor of the library calls the one, the end of process attach the other: between them the calling
/// thread is under the lock.
void NoteLoadingBegan() noexcept;
void NoteLoadingEnded(bool fMayKeepThreads) noexcept;
void NoteProcessEnding() noexcept;

}  // namespace vlm
