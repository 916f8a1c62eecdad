/// @file
/// What the calls of all fakes share.
#pragma once

#include <gtest/gtest.h>

#include <mutex>

#include "support/AllocationFaults.h"

namespace vlm::test {

/// A call to a fake: keeps other threads out, and takes its memory unseen by the faults.
template <class Mutex>
class FakeCall {
public:
    explicit FakeCall(Mutex& rMutex) : m_oLock(rMutex) {}

private:
    AllocationExempt m_oExempt;
    std::lock_guard<Mutex> m_oLock;
};

/// A fake's answer to a handle that is not open.
class MisuseAlarm {
public:
    /// Whether such a call fails the running test (the beginning) or only answers as the contract says.
    void SetMisuseFailsTest(bool fFails) noexcept { m_fMisuseFailsTest = fFails; }

protected:
    void ReportMisuse(const char* pszWhat, const void* hWrong) const {
        if (m_fMisuseFailsTest) ADD_FAILURE() << pszWhat << ": " << hWrong;
    }

private:
    bool m_fMisuseFailsTest = true;
};

}  // namespace vlm::test
