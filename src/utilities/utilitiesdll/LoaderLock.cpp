/// @file
/// Knows when a thread runs under the system's loader lock.
#include "utilities/utilitiesdll/LoaderLock.h"

#include <atomic>

#include "platform/Platform.h"
#include "platform/ThreadPort.h"

namespace vlm {

namespace {

/// The loader admits one thread at a time, so one entry is all there is to remember.
constinit std::atomic<DWORD> gdwThreadInLoader{0};
constinit std::atomic<bool> gfProcessEnding{false};
constinit std::atomic<bool> gfMayKeepThreads{false};

DWORD Self() noexcept {
    return GetPlatform().pThreads->CurrentThreadId();
}

/// @return false when the calling thread is marked already.
bool Enter() noexcept {
    const DWORD dwSelf = Self();
    if (gdwThreadInLoader.load(std::memory_order_relaxed) == dwSelf) return false;
    gdwThreadInLoader.store(dwSelf, std::memory_order_relaxed);
    return true;
}

}  // namespace

bool IsUnderLoaderLock() noexcept {
    const DWORD dwThread = gdwThreadInLoader.load(std::memory_order_relaxed);
    return dwThread != 0 && dwThread == Self();
}

bool IsProcessEnding() noexcept {
    return gfProcessEnding.load(std::memory_order_relaxed);
}

bool MayKeepThreads() noexcept {
    return gfMayKeepThreads.load(std::memory_order_relaxed);
}

LoaderLockScope::LoaderLockScope() noexcept : m_fEntered(Enter()) {}

LoaderLockScope::~LoaderLockScope() {
    if (m_fEntered) gdwThreadInLoader.store(0, std::memory_order_relaxed);
}

void NoteLoadingBegan() noexcept {
    Enter();
}

void NoteLoadingEnded(bool fMayKeepThreads) noexcept {
    gfMayKeepThreads.store(fMayKeepThreads, std::memory_order_relaxed);
    gdwThreadInLoader.store(0, std::memory_order_relaxed);
}

void NoteProcessEnding() noexcept {
    gfProcessEnding.store(true, std::memory_order_relaxed);
}

}  // namespace vlm
