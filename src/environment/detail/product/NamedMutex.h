/// @file
/// A mutex that all processes of the machine know by its name.
#pragma once

#include "utilities/utilitiesdll/CXString.h"

namespace vlm {

/// Owns the mutex for its own lifetime, if it came free in time.  One that its owner left behind counts as free: what
/// it protects may be half done, and is done anew.
/// **Threads**: belongs to the thread that made it.
class NamedMutex {
public:
    /// All tries together take at most this long.
    static constexpr DWORD MOST_MILLISECONDS = 30'000;

    /// @param kcsName without a further "\" behind "Global\".  @param cTries how often it is tried.
    NamedMutex(const CXString& kcsName, DWORD cTries) noexcept;
    ~NamedMutex();
    NamedMutex(const NamedMutex&) = delete;
    NamedMutex& operator=(const NamedMutex&) = delete;

    bool IsOwned() const noexcept { return m_fOwned; }

private:
    HANDLE m_hMutex = nullptr;
    bool m_fOwned = false;
};

}  // namespace vlm
