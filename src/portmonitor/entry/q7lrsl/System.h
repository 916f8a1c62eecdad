/// @file
/// The system as the loader sees it, and holding its locks.  The loader uses the system alone, none of the library's
/// floors: it stays in the spooler while the monitor is exchanged, so the less it is, the less often it must change
/// itself.
#pragma once

#include "portmonitor/entry/MonitorTable.h"

namespace loader {

/// Holds a slim lock for its own lifetime.
class SharedHold {
public:
    explicit SharedHold(SRWLOCK& rLock) noexcept : m_rLock(rLock) { AcquireSRWLockShared(&m_rLock); }
    ~SharedHold() { ReleaseSRWLockShared(&m_rLock); }
    SharedHold(const SharedHold&) = delete;
    SharedHold& operator=(const SharedHold&) = delete;

private:
    SRWLOCK& m_rLock;
};

class ExclusiveHold {
public:
    explicit ExclusiveHold(SRWLOCK& rLock) noexcept : m_rLock(rLock) { AcquireSRWLockExclusive(&m_rLock); }
    ~ExclusiveHold() { ReleaseSRWLockExclusive(&m_rLock); }
    ExclusiveHold(const ExclusiveHold&) = delete;
    ExclusiveHold& operator=(const ExclusiveHold&) = delete;

private:
    SRWLOCK& m_rLock;
};

}  // namespace loader
