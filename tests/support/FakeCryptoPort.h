/// @file
/// The system's cryptography, with an account of what is open and chance under the test's control.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>

#include "platform/CryptoPort.h"
#include "support/FakeCalls.h"
#include "support/PortCalls.h"

namespace vlm::test {

/// Hashes and encrypts as the system does.  Random bytes are the same in every run; data protection is a pretence
/// that needs neither user nor store.  A call on a handle that is not open fails the running test.
/// Threads: any.
class FakeCryptoPort final : public CryptoPort, public MisuseAlarm {
public:
    ~FakeCryptoPort() override { DropHandles(); }

    /// Handles and blobs that are not released.
    std::size_t OpenHandles() const;
    void DropHandles();

    Q9_CRYPTO_CALLS(Q9_DECLARE)

private:
    enum class Kind { Provider, Hash, Key, Blob };

    /// Notes a new handle.
    Status Note(Status eStatus, Kind eKind, HANDLE h) noexcept;
    bool IsOpen(HANDLE h, Kind eKind) const noexcept;
    /// Forgets a handle.  @return whether it was open.
    bool Forget(HANDLE h, Kind eKind) noexcept;

    mutable std::mutex m_oMutex;
    std::multimap<HANDLE, Kind> m_mapOpen;
    std::atomic<std::uint64_t> m_ullState{0};
    DWORD m_dwBlobs = 0;
};

}  // namespace vlm::test
