/// @file
/// The system's cryptography, with an account of what is open and chance under the test's control.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>

#include "platform/CryptoPort.h"

namespace vlm::test {

/// Hashes and encrypts as the system does.  Random bytes are the same in every run; data protection is a pretence
/// that needs neither user nor store.  A call on a handle that is not open fails the running test.
/// Threads: any.
class FakeCryptoPort final : public CryptoPort {
public:
    ~FakeCryptoPort() override { DropHandles(); }

    void SetMisuseFailsTest(bool fFails) { m_fMisuseFailsTest = fFails; }
    /// Handles and blobs that are not released.
    std::size_t OpenHandles() const;
    void DropHandles();

    Status AcquireProvider(HANDLE& rhProvider) noexcept override;
    void ReleaseProvider(HANDLE hProvider) noexcept override;
    Status Random(void* pTarget, DWORD cbTarget) noexcept override;
    Status CreateHash(HANDLE hProvider, HANDLE& rhHash) noexcept override;
    Status HashData(HANDLE hHash, const void* pData, DWORD cbData) noexcept override;
    Status HashValue(HANDLE hHash, BYTE* pbyTarget) noexcept override;
    void DestroyHash(HANDLE hHash) noexcept override;
    Status ImportKey(HANDLE hProvider, const void* pBlob, DWORD cbBlob, HANDLE& rhKey) noexcept override;
    Status SetKeyParameter(HANDLE hKey, KeyParameter eParameter, const void* pValue) noexcept override;
    Status Encrypt(HANDLE hKey, const void* pSource, DWORD cbSource, void* pTarget, DWORD& rcbTarget) noexcept override;
    Status Decrypt(HANDLE hKey, const void* pSource, DWORD cbSource, void* pTarget, DWORD& rcbTarget) noexcept override;
    void DestroyKey(HANDLE hKey) noexcept override;
    Status Protect(const void* pData, DWORD cbData, const void* pEntropy, DWORD cbEntropy, Scope eScope,
                   BYTE*& rpbyBlob, DWORD& rcbBlob) noexcept override;
    Status Unprotect(const void* pBlob, DWORD cbBlob, const void* pEntropy, DWORD cbEntropy, BYTE*& rpbyData,
                     DWORD& rcbData) noexcept override;
    void ReleaseBlob(BYTE* pbyBlob, DWORD cbBlob) noexcept override;

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
    bool m_fMisuseFailsTest = true;
};

}  // namespace vlm::test
