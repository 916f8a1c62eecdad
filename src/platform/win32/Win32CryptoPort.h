/// @file
/// Cryptography of the system.
#pragma once

#include "platform/CryptoPort.h"

namespace vlm::win32 {

/// CryptoAPI (the enhanced RSA and AES provider) and the system's data protection, which never shows a box here.
class Win32CryptoPort final : public CryptoPort {
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

}  // namespace vlm::win32
