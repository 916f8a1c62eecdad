/// @file
/// Cryptography over CryptoAPI.
#include "platform/win32/Win32CryptoPort.h"

#include "platform/win32/System.h"

// These need the system's header before them.
#include <dpapi.h>
#include <wincrypt.h>

#include <cstdint>
#include <cstring>

// The source of random bytes behind every provider: by itself it loads no library into the spooler.  Its header knows
// it as RtlGenRandom; this is the name that it is exported by.
extern "C" BOOLEAN NTAPI SystemFunction036(void* pTarget, ULONG cbTarget);

namespace vlm::win32 {

namespace {

static_assert(sizeof(HCRYPTPROV) == sizeof(HANDLE) && sizeof(HCRYPTHASH) == sizeof(HANDLE));
static_assert(static_cast<DWORD>(CryptoPort::KeyParameter::Iv) == KP_IV &&
              static_cast<DWORD>(CryptoPort::KeyParameter::Padding) == KP_PADDING &&
              static_cast<DWORD>(CryptoPort::KeyParameter::Mode) == KP_MODE &&
              CryptoPort::PADDING_PKCS5 == PKCS5_PADDING && CryptoPort::MODE_CBC == CRYPT_MODE_CBC);
static_assert(CryptoPort::KEY_BLOB_HEAD[0] == PLAINTEXTKEYBLOB && CryptoPort::KEY_BLOB_HEAD[1] == CUR_BLOB_VERSION &&
              CryptoPort::KEY_BLOB_HEAD[4] + 256 * CryptoPort::KEY_BLOB_HEAD[5] == CALG_AES_256);

constexpr wchar_t PROVIDER[] = L"Microsoft Enhanced RSA and AES Cryptographic Provider";

/// The numbers that CryptoAPI knows its objects by.
ULONG_PTR Number(HANDLE h) noexcept {
    return reinterpret_cast<ULONG_PTR>(h);
}
HANDLE Handle(ULONG_PTR uiNumber) noexcept {
    return reinterpret_cast<HANDLE>(uiNumber);
}

BYTE* Bytes(const void* p) noexcept {
    return static_cast<BYTE*>(const_cast<void*>(p));
}

/// A blob of the data-protection functions; they refuse null even for no bytes, and do not write.
DATA_BLOB BlobOf(const void* pData, DWORD cbData) noexcept {
    static constinit BYTE sbyNothing = 0;
    return {cbData, cbData ? Bytes(pData) : &sbyNothing};
}

}  // namespace

Status Win32CryptoPort::AcquireProvider(HANDLE& rhProvider) noexcept {
    HCRYPTPROV hProvider = 0;
    if (!CryptAcquireContextW(&hProvider, nullptr, PROVIDER, PROV_RSA_AES, CRYPT_VERIFYCONTEXT)) {
        return LastStatus();
    }
    rhProvider = Handle(hProvider);
    return Status::Success;
}

void Win32CryptoPort::ReleaseProvider(HANDLE hProvider) noexcept {
    const LastErrorScope oKeep;
    if (hProvider) CryptReleaseContext(Number(hProvider), 0);
}

Status Win32CryptoPort::Random(void* pTarget, DWORD cbTarget) noexcept {
    return cbTarget == 0 || SystemFunction036(pTarget, cbTarget) ? Status::Success : Status::GeneralFailure;
}

Status Win32CryptoPort::CreateHash(HANDLE hProvider, HANDLE& rhHash) noexcept {
    HCRYPTHASH hHash = 0;
    if (!CryptCreateHash(Number(hProvider), CALG_SHA_256, 0, 0, &hHash)) return LastStatus();
    rhHash = Handle(hHash);
    return Status::Success;
}

Status Win32CryptoPort::HashData(HANDLE hHash, const void* pData, DWORD cbData) noexcept {
    return StatusOf(CryptHashData(Number(hHash), Bytes(pData), cbData, 0));
}

Status Win32CryptoPort::HashValue(HANDLE hHash, BYTE* pbyTarget) noexcept {
    DWORD cb = HASH_BYTES;
    return StatusOf(CryptGetHashParam(Number(hHash), HP_HASHVAL, pbyTarget, &cb, 0));
}

void Win32CryptoPort::DestroyHash(HANDLE hHash) noexcept {
    const LastErrorScope oKeep;
    if (hHash) CryptDestroyHash(Number(hHash));
}

Status Win32CryptoPort::ImportKey(HANDLE hProvider, const void* pBlob, DWORD cbBlob, HANDLE& rhKey) noexcept {
    HCRYPTKEY hKey = 0;
    if (!CryptImportKey(Number(hProvider), Bytes(pBlob), cbBlob, 0, 0, &hKey)) return LastStatus();
    rhKey = Handle(hKey);
    return Status::Success;
}

Status Win32CryptoPort::SetKeyParameter(HANDLE hKey, KeyParameter eParameter, const void* pValue) noexcept {
    return StatusOf(CryptSetKeyParam(Number(hKey), static_cast<DWORD>(eParameter), Bytes(pValue), 0));
}

Status Win32CryptoPort::Encrypt(HANDLE hKey, const void* pSource, DWORD cbSource, void* pTarget,
                                DWORD& rcbTarget) noexcept {
    DWORD cb = cbSource;
    if (pTarget == nullptr) {
        if (!CryptEncrypt(Number(hKey), 0, TRUE, 0, nullptr, &cb, 0)) return LastStatus();
        rcbTarget = cb;
        return Status::Success;
    }
    // The system encrypts in place.
    if (rcbTarget < cbSource) return Status::MoreData;
    if (pTarget != pSource && cbSource) std::memcpy(pTarget, pSource, cbSource);
    if (!CryptEncrypt(Number(hKey), 0, TRUE, 0, Bytes(pTarget), &cb, rcbTarget)) return LastStatus();
    rcbTarget = cb;
    return Status::Success;
}

Status Win32CryptoPort::Decrypt(HANDLE hKey, const void* pSource, DWORD cbSource, void* pTarget,
                                DWORD& rcbTarget) noexcept {
    // Some systems read before the buffer when there is no byte.
    if (cbSource == 0 || cbSource % BLOCK_BYTES != 0) return Status::BadCryptoData;
    DWORD cb = cbSource;
    if (pTarget != pSource) std::memcpy(pTarget, pSource, cbSource);
    if (!CryptDecrypt(Number(hKey), 0, TRUE, 0, Bytes(pTarget), &cb)) return LastStatus();
    rcbTarget = cb;
    return Status::Success;
}

void Win32CryptoPort::DestroyKey(HANDLE hKey) noexcept {
    const LastErrorScope oKeep;
    if (hKey) CryptDestroyKey(Number(hKey));
}

Status Win32CryptoPort::Protect(const void* pData, DWORD cbData, const void* pEntropy, DWORD cbEntropy, Scope eScope,
                                BYTE*& rpbyBlob, DWORD& rcbBlob) noexcept {
    DATA_BLOB oData = BlobOf(pData, cbData), oEntropy = BlobOf(pEntropy, cbEntropy), oBlob{};
    const DWORD dwFlags =
        CRYPTPROTECT_UI_FORBIDDEN | (eScope == Scope::Machine ? DWORD{CRYPTPROTECT_LOCAL_MACHINE} : DWORD{0});
    if (!CryptProtectData(&oData, nullptr, cbEntropy ? &oEntropy : nullptr, nullptr, nullptr, dwFlags, &oBlob)) {
        return LastStatus();
    }
    rpbyBlob = oBlob.pbData;
    rcbBlob = oBlob.cbData;
    return Status::Success;
}

Status Win32CryptoPort::Unprotect(const void* pBlob, DWORD cbBlob, const void* pEntropy, DWORD cbEntropy,
                                  BYTE*& rpbyData, DWORD& rcbData) noexcept {
    if (cbBlob == 0) return Status::InvalidData;
    DATA_BLOB oBlob = BlobOf(pBlob, cbBlob), oEntropy = BlobOf(pEntropy, cbEntropy), oData{};
    if (!CryptUnprotectData(&oBlob, nullptr, cbEntropy ? &oEntropy : nullptr, nullptr, nullptr,
                            CRYPTPROTECT_UI_FORBIDDEN, &oData)) {
        return LastStatus();
    }
    rpbyData = oData.pbData;
    rcbData = oData.cbData;
    return Status::Success;
}

void Win32CryptoPort::ReleaseBlob(BYTE* pbyBlob, DWORD cbBlob) noexcept {
    const LastErrorScope oKeep;
    if (pbyBlob == nullptr) return;
    SecureZeroMemory(pbyBlob, cbBlob);
    LocalFree(pbyBlob);
}

}  // namespace vlm::win32
