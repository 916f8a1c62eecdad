/// @file
/// Cryptography on the host.
#pragma once

#include "platform/CryptoPort.h"

namespace vlm::host {

/// Cryptography over OpenSSL; handles are its own objects.
///
/// Data protection works with two keys of 32 random bytes, made at first use and kept in the store: one for each user
/// (by number) and one for the machine.  A blob, integers little-endian:
///
///     0   4   "Q9P1"
///     4   1   scope: 0 user, 1 machine
///     5   12  nonce, random
///     17  16  tag of AES-256-GCM over the data and the first 17 bytes
///     33      the data, encrypted; the key is HMAC-SHA-256 of the entropy under the key from the store
///
/// It protects the data where it lies (settings, files, copies of them): without the store nobody reads or changes it,
/// and a blob made for one user is no blob for another.  It does not protect against whoever can read the store: its
/// file is made for its owner alone, and where users share one, only the number of the user parts them.
class HostCryptoPort final : public CryptoPort {
public:
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
};

}  // namespace vlm::host
