/// @file
/// Cryptography over OpenSSL.
#include "platform/host/HostCryptoPort.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "platform/host/HostSecrets.h"
#include "platform/host/HostStore.h"

namespace vlm::host {

namespace {

/// OpenSSL counts in int; a whole number of blocks.
constexpr DWORD MOST_AT_ONCE = 0x40000000;

/// An algorithm of the library, looked up once for the process and never given back.
template <class Algorithm, Algorithm* (*pfnFetch)(OSSL_LIB_CTX*, const char*, const char*), void (*pfnFree)(Algorithm*)>
class Fetched {
public:
    const Algorithm* Get(const char* pszName) noexcept {
        Algorithm* pFound = m_pAlgorithm.load(std::memory_order_acquire);
        if (pFound) return pFound;
        Algorithm* const pNew = pfnFetch(nullptr, pszName, nullptr);
        if (m_pAlgorithm.compare_exchange_strong(pFound, pNew, std::memory_order_acq_rel)) return pNew;
        pfnFree(pNew);
        return pFound;
    }

private:
    std::atomic<Algorithm*> m_pAlgorithm{nullptr};
};

constinit Fetched<EVP_MD, EVP_MD_fetch, EVP_MD_free> goSha256;
constinit Fetched<EVP_CIPHER, EVP_CIPHER_fetch, EVP_CIPHER_free> goCbc;
constinit Fetched<EVP_CIPHER, EVP_CIPHER_fetch, EVP_CIPHER_free> goGcm;

const EVP_MD* Sha256() noexcept {
    return goSha256.Get("SHA256");
}

/// What every provider handle points to: the library has no contexts of its own.
constinit char gchProvider = 0;

struct CipherFree {
    void operator()(EVP_CIPHER_CTX* pContext) const noexcept { EVP_CIPHER_CTX_free(pContext); }
};
using Cipher = std::unique_ptr<EVP_CIPHER_CTX, CipherFree>;

struct Key {
    Cipher apoCipher;
    std::array<BYTE, CryptoPort::KEY_BYTES> abyKey{};
    std::array<BYTE, CryptoPort::BLOCK_BYTES> abyIv{};
    ~Key() {
        OPENSSL_cleanse(abyKey.data(), abyKey.size());
        OPENSSL_cleanse(abyIv.data(), abyIv.size());
    }
};

BYTE* Bytes(void* p) noexcept {
    return static_cast<BYTE*>(p);
}
const BYTE* Bytes(const void* p) noexcept {
    return static_cast<const BYTE*>(p);
}

/// Passes whole blocks (for a stream mode: any bytes) through a cipher.
bool Update(EVP_CIPHER_CTX* pContext, BYTE* pbyTarget, const BYTE* pbySource, DWORD cBytes) noexcept {
    for (DWORD cDone = 0; cDone < cBytes;) {
        const DWORD cNow = std::min(cBytes - cDone, MOST_AT_ONCE);
        int iWritten = 0;
        if (EVP_CipherUpdate(pContext, pbyTarget + cDone, &iWritten, pbySource + cDone, static_cast<int>(cNow)) != 1) {
            return false;
        }
        cDone += cNow;
    }
    return true;
}

/// Begins a text with the key; padding is done here, so that its check takes the same time whatever is wrong.
bool Begin(const Key& rKey, bool fEncrypt) noexcept {
    const EVP_CIPHER* const pCipher = goCbc.Get("AES-256-CBC");
    return pCipher &&
           EVP_CipherInit_ex2(rKey.apoCipher.get(), pCipher, rKey.abyKey.data(), rKey.abyIv.data(), fEncrypt ? 1 : 0,
                              nullptr) == 1 &&
           EVP_CIPHER_CTX_set_padding(rKey.apoCipher.get(), 0) == 1;
}

/// Bytes of padding at the end of the last block, 0 when it is not padding.  No branch depends on the bytes.
unsigned PaddingOf(const BYTE* pbyBlock) noexcept {
    const unsigned cPadding = pbyBlock[CryptoPort::BLOCK_BYTES - 1];
    unsigned uWrong = (cPadding - 1) & ~15u;
    for (unsigned i = 0; i < CryptoPort::BLOCK_BYTES; ++i) {
        const unsigned uInside = 0u - ((i - cPadding) >> 31);  // all ones while i < cPadding
        uWrong |= uInside & (pbyBlock[CryptoPort::BLOCK_BYTES - 1 - i] ^ cPadding);
    }
    const unsigned uRight = ((uWrong | (0u - uWrong)) >> 31) - 1;  // all ones when nothing is wrong
    return cPadding & uRight;
}

// ---- data protection ----

constexpr std::array<BYTE, 4> MAGIC = {'Q', '9', 'P', '1'};
constexpr DWORD SCOPE_OFFSET = 4, NONCE_OFFSET = 5, NONCE_BYTES = 12, TAG_OFFSET = 17, TAG_BYTES = 16, DATA_OFFSET = 33;

/// A key that wipes itself.
struct BlobKey {
    SecretKey abyKey{};
    ~BlobKey() { OPENSSL_cleanse(abyKey.data(), abyKey.size()); }

    /// @throws StoreFailure, std::bad_alloc
    void Derive(CryptoPort::Scope eScope, bool fMake, const void* pEntropy, DWORD cbEntropy) {
        BlobKey oMaster;
        LoadSecretKey(eScope, fMake, oMaster.abyKey);
        static constexpr BYTE NOTHING = 0;
        const BYTE* const pbyEntropy = cbEntropy ? Bytes(pEntropy) : &NOTHING;
        unsigned cWritten = 0;
        if (HMAC(Sha256(), oMaster.abyKey.data(), static_cast<int>(oMaster.abyKey.size()), pbyEntropy, cbEntropy,
                 abyKey.data(), &cWritten) == nullptr) {
            throw StoreFailure{Status::CryptoFailure};
        }
    }
};

/// Begins a blob: the cipher with its key, nonce and the head that the tag covers.
Cipher BeginBlob(const BlobKey& rKey, const BYTE* pbyHead, bool fEncrypt) {
    Cipher apoCipher(EVP_CIPHER_CTX_new());
    const EVP_CIPHER* const pGcm = goGcm.Get("AES-256-GCM");
    int iWritten = 0;
    if (!apoCipher || !pGcm ||
        EVP_CipherInit_ex2(apoCipher.get(), pGcm, rKey.abyKey.data(), pbyHead + NONCE_OFFSET, fEncrypt ? 1 : 0,
                           nullptr) != 1 ||
        EVP_CipherUpdate(apoCipher.get(), nullptr, &iWritten, pbyHead, TAG_OFFSET) != 1) {
        throw StoreFailure{Status::CryptoFailure};
    }
    return apoCipher;
}

struct BlobFree {
    void operator()(BYTE* pby) const noexcept { std::free(pby); }
};
using Blob = std::unique_ptr<BYTE[], BlobFree>;

Blob NewBlob(std::size_t cBytes) {
    Blob apby(static_cast<BYTE*>(std::calloc(std::max<std::size_t>(cBytes, 1), 1)));
    if (!apby) throw std::bad_alloc();
    return apby;
}

}  // namespace

Status HostCryptoPort::AcquireProvider(HANDLE& rhProvider) noexcept {
    if (!Sha256() || !goCbc.Get("AES-256-CBC")) return Status::CryptoFailure;
    rhProvider = &gchProvider;
    return Status::Success;
}

void HostCryptoPort::ReleaseProvider(HANDLE) noexcept {}

Status HostCryptoPort::Random(void* pTarget, DWORD cbTarget) noexcept {
    return FillRandom(pTarget, cbTarget) ? Status::Success : Status::CryptoFailure;
}

Status HostCryptoPort::CreateHash(HANDLE hProvider, HANDLE& rhHash) noexcept {
    if (!hProvider) return Status::InvalidParameter;
    EVP_MD_CTX* const pContext = EVP_MD_CTX_new();
    if (pContext == nullptr) return Status::NotEnoughMemory;
    if (EVP_DigestInit_ex2(pContext, Sha256(), nullptr) != 1) {
        EVP_MD_CTX_free(pContext);
        return Status::CryptoFailure;
    }
    rhHash = pContext;
    return Status::Success;
}

Status HostCryptoPort::HashData(HANDLE hHash, const void* pData, DWORD cbData) noexcept {
    if (!hHash) return Status::InvalidParameter;
    return EVP_DigestUpdate(static_cast<EVP_MD_CTX*>(hHash), pData, cbData) == 1 ? Status::Success
                                                                                 : Status::CryptoFailure;
}

Status HostCryptoPort::HashValue(HANDLE hHash, BYTE* pbyTarget) noexcept {
    if (!hHash) return Status::InvalidParameter;
    unsigned cWritten = 0;
    return EVP_DigestFinal_ex(static_cast<EVP_MD_CTX*>(hHash), pbyTarget, &cWritten) == 1 ? Status::Success
                                                                                          : Status::CryptoFailure;
}

void HostCryptoPort::DestroyHash(HANDLE hHash) noexcept {
    EVP_MD_CTX_free(static_cast<EVP_MD_CTX*>(hHash));
}

Status HostCryptoPort::ImportKey(HANDLE hProvider, const void* pBlob, DWORD cbBlob, HANDLE& rhKey) noexcept {
    if (!hProvider) return Status::InvalidParameter;
    if (cbBlob != KEY_BLOB_BYTES || std::memcmp(pBlob, KEY_BLOB_HEAD, sizeof KEY_BLOB_HEAD) != 0) {
        return Status::BadCryptoData;
    }
    std::unique_ptr<Key> apoKey(new (std::nothrow) Key);
    if (!apoKey) return Status::NotEnoughMemory;
    apoKey->apoCipher.reset(EVP_CIPHER_CTX_new());
    if (!apoKey->apoCipher) return Status::NotEnoughMemory;
    std::memcpy(apoKey->abyKey.data(), Bytes(pBlob) + sizeof KEY_BLOB_HEAD, KEY_BYTES);
    rhKey = apoKey.release();
    return Status::Success;
}

Status HostCryptoPort::SetKeyParameter(HANDLE hKey, KeyParameter eParameter, const void* pValue) noexcept {
    if (!hKey || !pValue) return Status::InvalidParameter;
    if (eParameter == KeyParameter::Iv) {
        std::memcpy(static_cast<Key*>(hKey)->abyIv.data(), pValue, BLOCK_BYTES);
        return Status::Success;
    }
    DWORD dwValue = 0;
    std::memcpy(&dwValue, pValue, sizeof dwValue);
    const DWORD dwOnly = eParameter == KeyParameter::Mode ? MODE_CBC : PADDING_PKCS5;
    return dwValue == dwOnly ? Status::Success : Status::NotSupported;
}

Status HostCryptoPort::Encrypt(HANDLE hKey, const void* pSource, DWORD cbSource, void* pTarget,
                               DWORD& rcbTarget) noexcept {
    if (!hKey) return Status::InvalidParameter;
    const DWORD cWhole = cbSource - cbSource % BLOCK_BYTES;
    if (cWhole > 0xFFFFFFFF - BLOCK_BYTES) return Status::InvalidParameter;
    const DWORD cNeeded = cWhole + BLOCK_BYTES;
    if (pTarget == nullptr) {
        rcbTarget = cNeeded;
        return Status::Success;
    }
    if (rcbTarget < cNeeded) return Status::MoreData;
    std::array<BYTE, BLOCK_BYTES> abyLast{};
    abyLast.fill(static_cast<BYTE>(cNeeded - cbSource));
    if (cbSource > cWhole) std::memcpy(abyLast.data(), Bytes(pSource) + cWhole, cbSource - cWhole);
    const Key& rKey = *static_cast<const Key*>(hKey);
    const bool fDone = Begin(rKey, true) && Update(rKey.apoCipher.get(), Bytes(pTarget), Bytes(pSource), cWhole) &&
                       Update(rKey.apoCipher.get(), Bytes(pTarget) + cWhole, abyLast.data(), BLOCK_BYTES);
    OPENSSL_cleanse(abyLast.data(), abyLast.size());
    if (!fDone) return Status::CryptoFailure;
    rcbTarget = cNeeded;
    return Status::Success;
}

Status HostCryptoPort::Decrypt(HANDLE hKey, const void* pSource, DWORD cbSource, void* pTarget,
                               DWORD& rcbTarget) noexcept {
    if (!hKey) return Status::InvalidParameter;
    if (cbSource == 0 || cbSource % BLOCK_BYTES != 0) return Status::BadCryptoData;
    const Key& rKey = *static_cast<const Key*>(hKey);
    if (!Begin(rKey, false) || !Update(rKey.apoCipher.get(), Bytes(pTarget), Bytes(pSource), cbSource)) {
        return Status::CryptoFailure;
    }
    const unsigned cPadding = PaddingOf(Bytes(pTarget) + cbSource - BLOCK_BYTES);
    if (cPadding == 0) return Status::BadCryptoData;
    rcbTarget = cbSource - cPadding;
    return Status::Success;
}

void HostCryptoPort::DestroyKey(HANDLE hKey) noexcept {
    const std::unique_ptr<Key> apoKey(static_cast<Key*>(hKey));
}

Status HostCryptoPort::Protect(const void* pData, DWORD cbData, const void* pEntropy, DWORD cbEntropy, Scope eScope,
                               BYTE*& rpbyBlob, DWORD& rcbBlob) noexcept try {
    if (cbData > 0xFFFFFFFF - DATA_OFFSET) return Status::InvalidParameter;
    BlobKey oKey;
    oKey.Derive(eScope, true, pEntropy, cbEntropy);
    Blob apbyBlob = NewBlob(std::size_t{cbData} + DATA_OFFSET);
    BYTE* const pbyBlob = apbyBlob.get();
    std::copy(MAGIC.begin(), MAGIC.end(), pbyBlob);
    pbyBlob[SCOPE_OFFSET] = static_cast<BYTE>(eScope);
    if (!FillRandom(pbyBlob + NONCE_OFFSET, NONCE_BYTES)) return Status::CryptoFailure;
    const Cipher apoCipher = BeginBlob(oKey, pbyBlob, true);
    int iWritten = 0;
    if (!Update(apoCipher.get(), pbyBlob + DATA_OFFSET, Bytes(pData), cbData) ||
        EVP_CipherFinal_ex(apoCipher.get(), pbyBlob, &iWritten) != 1 ||
        EVP_CIPHER_CTX_ctrl(apoCipher.get(), EVP_CTRL_AEAD_GET_TAG, TAG_BYTES, pbyBlob + TAG_OFFSET) != 1) {
        return Status::CryptoFailure;
    }
    rcbBlob = cbData + DATA_OFFSET;
    rpbyBlob = apbyBlob.release();
    return Status::Success;
} catch (const StoreFailure& rFailure) {
    return rFailure.eStatus;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostCryptoPort::Unprotect(const void* pBlob, DWORD cbBlob, const void* pEntropy, DWORD cbEntropy,
                                 BYTE*& rpbyData, DWORD& rcbData) noexcept try {
    const BYTE* const pbyBlob = Bytes(pBlob);
    if (cbBlob < DATA_OFFSET || !std::equal(MAGIC.begin(), MAGIC.end(), pbyBlob) ||
        pbyBlob[SCOPE_OFFSET] > static_cast<BYTE>(Scope::Machine)) {
        return Status::InvalidData;
    }
    BlobKey oKey;
    oKey.Derive(static_cast<Scope>(pbyBlob[SCOPE_OFFSET]), false, pEntropy, cbEntropy);
    const DWORD cbData = cbBlob - DATA_OFFSET;
    Blob apbyData = NewBlob(cbData);
    const Cipher apoCipher = BeginBlob(oKey, pbyBlob, false);
    std::array<BYTE, TAG_BYTES> abyTag{};
    std::copy_n(pbyBlob + TAG_OFFSET, TAG_BYTES, abyTag.data());
    int iWritten = 0;
    if (!Update(apoCipher.get(), apbyData.get(), pbyBlob + DATA_OFFSET, cbData) ||
        EVP_CIPHER_CTX_ctrl(apoCipher.get(), EVP_CTRL_AEAD_SET_TAG, TAG_BYTES, abyTag.data()) != 1 ||
        EVP_CipherFinal_ex(apoCipher.get(), abyTag.data(), &iWritten) != 1) {
        OPENSSL_cleanse(apbyData.get(), cbData);
        return Status::InvalidData;
    }
    rcbData = cbData;
    rpbyData = apbyData.release();
    return Status::Success;
} catch (const StoreFailure& rFailure) {
    return rFailure.eStatus;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

void HostCryptoPort::ReleaseBlob(BYTE* pbyBlob, DWORD cbBlob) noexcept {
    if (pbyBlob) OPENSSL_cleanse(pbyBlob, cbBlob);
    std::free(pbyBlob);
}

}  // namespace vlm::host
