/// @file
/// The monitor's one lock over its registry work.
#pragma once

#include "utilities/utilitiesdll/CriticalResource.h"

namespace vlm {

/// Holds the lock for its own lifetime; long work lets others in between two steps.
class WorkLock {
public:
    explicit WorkLock(CriticalResource& rResource) noexcept : m_rResource(rResource) { m_rResource.Lock(); }
    ~WorkLock() { m_rResource.Unlock(); }
    WorkLock(const WorkLock&) = delete;
    WorkLock& operator=(const WorkLock&) = delete;

    /// Lets waiting calls run.  Nothing that was found out before holds for certain afterwards.
    void Breathe() noexcept {
        m_rResource.Unlock();
        m_rResource.Lock();
    }

private:
    CriticalResource& m_rResource;
};

}  // namespace vlm
