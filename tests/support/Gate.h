/// @file
/// Lets threads wait for each other.
#pragma once

#include <condition_variable>
#include <mutex>

namespace vlm::test {

/// Opens when it has been reached often enough, and stays open.  Use it where std::latch would come to mind: with the
/// Windows compiler of this project that one can sleep through its own opening.
class Gate {
public:
    explicit Gate(int iArrivals = 1) : m_iMissing(iArrivals) {}

    void Arrive() {
        const std::lock_guard lock(m_oMutex);
        if (--m_iMissing <= 0) m_oOpened.notify_all();
    }
    void Wait() {
        std::unique_lock lock(m_oMutex);
        m_oOpened.wait(lock, [&] { return m_iMissing <= 0; });
    }
    void ArriveAndWait() {
        Arrive();
        Wait();
    }

private:
    std::mutex m_oMutex;
    std::condition_variable m_oOpened;
    int m_iMissing;
};

}  // namespace vlm::test
