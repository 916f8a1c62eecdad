/// @file
/// Encryption of data under a password: the calls.
#include "utilities/utilitiesdll/KestrixEncryption.h"

#include <algorithm>

#include "platform/CryptoPort.h"
#include "platform/Platform.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SystemText.h"
#include "utilities/utilitiesdll/detail/protection/KestrixPasswordImpl.h"
#include "utilities/utilitiesdll/detail/protection/Secret.h"

namespace {

using vlm::CryptoPort;
using vlm::Status;

CryptoPort& Crypto() noexcept {
    return *vlm::GetPlatform().pCrypto;
}

/// The provider's error in words, as narrow text.
std::vector<char> WordsOf(Status status) {
    return vlm::TextOfStatus(status).GetAsMultiByte(0);
}

/// Releases what an object holds when a call ends, on every way out.
class CleanupAtEnd {
public:
    explicit CleanupAtEnd(KestrixEncryption& rObject) noexcept : m_rObject(rObject) {}
    ~CleanupAtEnd() { m_rObject.Cleanup(); }
    CleanupAtEnd(const CleanupAtEnd&) = delete;
    CleanupAtEnd& operator=(const CleanupAtEnd&) = delete;

private:
    KestrixEncryption& m_rObject;
};

bool HasFraming(const ByteBuffer& kbbData) noexcept {
    constexpr std::size_t cPrefix = sizeof(KestrixEncryption::SALT_PREFIX) - 1;
    return kbbData.size() >= cPrefix &&
           std::equal(kbbData.begin(), kbbData.begin() + cPrefix, KestrixEncryption::SALT_PREFIX,
                      [](BYTE by, char ch) { return by == static_cast<BYTE>(ch); });
}

}  // namespace

/// Puts the object's salt back when a call ends that had one of its own.
class KestrixEncryption::SaltOfOneCall {
public:
    explicit SaltOfOneCall(KestrixEncryption& rObject) noexcept
        : m_rObject(rObject),
          m_abySalt(rObject.m_abySalt),
          m_bSaltSet(rObject.m_bSaltSet),
          m_bHasSalt(rObject.m_bHasSalt) {}
    ~SaltOfOneCall() {
        m_rObject.m_abySalt = m_abySalt;
        m_rObject.m_bSaltSet = m_bSaltSet;
        m_rObject.m_bHasSalt = m_bHasSalt;
    }
    SaltOfOneCall(const SaltOfOneCall&) = delete;
    SaltOfOneCall& operator=(const SaltOfOneCall&) = delete;

private:
    KestrixEncryption& m_rObject;
    const std::array<BYTE, SALT_BYTES> m_abySalt;
    const bool m_bSaltSet;
    const bool m_bHasSalt;
};

KestrixEncryption::~KestrixEncryption() {
    Cleanup();
}

bool KestrixEncryption::Fail(Status status) noexcept {
    m_dwLastError = vlm::ToDword(status);
    return false;
}

DWORD KestrixEncryption::GetError(bool fClear) noexcept {
    const DWORD dwError = m_dwLastError;
    if (fClear) m_dwLastError = 0;
    return dwError;
}

bool KestrixEncryption::GetCryptContext() {
    if (m_hProvider) return true;
    const Status status = Crypto().AcquireProvider(m_hProvider);
    if (status == Status::Success) return true;
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Could not acquire crypt context due to Error Code: %S"),
                     WordsOf(status).data());
    return Fail(status);
}

bool KestrixEncryption::GetRandomSalt() {
    const Status status = Crypto().Random(m_abySalt.data(), SALT_BYTES);
    if (status == Status::Success) return m_bHasSalt = true;
    // Deliberate: two "failed" and two blanks; scripts look for the text.
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("WinCrypt - RAND_bytes(...) failed  failed due to %s"),
                     vlm::TextOfStatus(status));
    m_bHasSalt = false;
    return Fail(status);
}

bool KestrixEncryption::GetSalt(ByteBuffer& rbbSalt) const {
    rbbSalt.setWithLpbyte(m_abySalt.data(), m_bHasSalt ? m_abySalt.size() : 0);
    return m_bHasSalt;
}

bool KestrixEncryption::SetSalt(const ByteBuffer& kbbSalt) {
    return SetSalt(kbbSalt.data(), static_cast<int>(std::min<std::size_t>(kbbSalt.size(), SALT_BYTES + 1)));
}

bool KestrixEncryption::SetSalt(const void* pvSalt, int iLength) {
    if (pvSalt == nullptr || iLength != SALT_BYTES) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("A salt has %d bytes, not %d."), SALT_BYTES, iLength);
        return Fail(Status::InvalidParameter);
    }
    std::copy_n(static_cast<const BYTE*>(pvSalt), SALT_BYTES, m_abySalt.begin());
    m_bSaltSet = m_bHasSalt = true;
    return true;
}

bool KestrixEncryption::GetSaltValueUsedForEncryption(ByteBuffer& rbbSalt) const {
    rbbSalt.setWithLpbyte(m_abySaltOfEncryption.data(), m_bEncrypted ? m_abySaltOfEncryption.size() : 0);
    return m_bEncrypted;
}

bool KestrixEncryption::SetKeyDerivationRounds(int iRounds) {
    if (iRounds < 1 || iRounds > vlm::bounds::MAX_KEY_ROUNDS) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("A key is derived in 1 to %d rounds, not in %d."),
                         vlm::bounds::MAX_KEY_ROUNDS, iRounds);
        return Fail(Status::InvalidParameter);
    }
    m_iRounds = iRounds;
    return true;
}

bool KestrixEncryption::AES_Initialize(const void* pvPassword, int iLength, bool fEmitSalt, bool fUseSaltFromData) {
    m_bEmitSalt = fEmitSalt;
    m_bUseSaltFromData = fUseSaltFromData;
    return vlm::TranslateOutOfMemory(
        [&] { return Initialize(Password(static_cast<const BYTE*>(pvPassword), iLength)); });
}

bool KestrixEncryption::Initialize(const Password& csPassword) {
    VLM_ASSERT(csPassword.IsBlank() == false, VTEXT("A blank password protects nothing."));
    if (csPassword.IsBlank()) return Fail(Status::InvalidParameter);
    Cleanup();
    m_bbPassword = ByteBuffer(csPassword.Get());
    if (!GetCryptContext()) return false;
    if (!m_bSaltSet && !GetRandomSalt()) return false;
    vlm::SecretArray<KEY_BYTES + IV_BYTES> abyKeyAndIv;
    return DeriveKey(abyKeyAndIv.data(), m_iRounds) && ImportKey(abyKeyAndIv.data(), abyKeyAndIv.data() + KEY_BYTES);
}

bool KestrixEncryption::ImportKey(const BYTE* pbyKey, const BYTE* pbyIv) {
    DestroyKey();
    vlm::SecretArray<CryptoPort::KEY_BLOB_BYTES> abyBlob;
    std::copy_n(pbyKey, KEY_BYTES,
                std::copy_n(CryptoPort::KEY_BLOB_HEAD, sizeof CryptoPort::KEY_BLOB_HEAD, abyBlob.begin()));
    Status status = Crypto().ImportKey(m_hProvider, abyBlob.data(), CryptoPort::KEY_BLOB_BYTES, m_hKey);
    if (status != Status::Success) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Error importing Key: %S"), WordsOf(status).data());
        return Fail(status);
    }
    status = Crypto().SetKeyParameter(m_hKey, CryptoPort::KeyParameter::Mode, &CryptoPort::MODE_CBC);
    if (status != Status::Success) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Error setting Key param: %S"), WordsOf(status).data());
        return Fail(status);
    }
    status = Crypto().SetKeyParameter(m_hKey, CryptoPort::KeyParameter::Padding, &CryptoPort::PADDING_PKCS5);
    if (status != Status::Success) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Error setting Padding: %S"), WordsOf(status).data());
        return Fail(status);
    }
    status = Crypto().SetKeyParameter(m_hKey, CryptoPort::KeyParameter::Iv, pbyIv);
    if (status != Status::Success) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Error setting IV: %S"), WordsOf(status).data());
        return Fail(status);
    }
    return true;
}

bool KestrixEncryption::HasKey() noexcept {
    if (m_hKey) return true;
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("There is no key before AES_Initialize, and none after Cleanup."));
    return Fail(Status::InvalidHandle);
}

bool KestrixEncryption::Encrypt(const BYTE* pbyData, DWORD dwLength, DWORD dwRoomInFront, ByteBuffer& rbbEncrypted) {
    if (!HasKey()) return false;
    DWORD dwNeeded = 0;
    Status status = Crypto().Encrypt(m_hKey, pbyData, dwLength, nullptr, dwNeeded);
    if (status != Status::Success) {
        // Deliberate: the spelling; scripts look for the text.
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Intial Encrypt failed: %S"), WordsOf(status).data());
        return Fail(status);
    }
    ByteBuffer bbResult;
    bbResult.resize(std::size_t{dwRoomInFront} + dwNeeded);
    status = Crypto().Encrypt(m_hKey, pbyData, dwLength, bbResult.data() + dwRoomInFront, dwNeeded);
    if (status != Status::Success) {
        vlm::WipeMemory(bbResult.data(), bbResult.size());  // some providers work in place, on the text
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Error encrypting text: %S"), WordsOf(status).data());
        return Fail(status);
    }
    bbResult.resize(std::size_t{dwRoomInFront} + dwNeeded);
    m_abySaltOfEncryption = m_abySalt;
    m_bEncrypted = true;
    rbbEncrypted.swap(bbResult);
    return true;
}

bool KestrixEncryption::AES_Encrypt(const BYTE* pbyData, DWORD dwLength, ByteBuffer& rbbEncrypted) {
    return Encrypt(pbyData, dwLength, 0, rbbEncrypted);
}

bool KestrixEncryption::AES_Encrypt(const ByteBuffer& kbbData, ByteBuffer& rbbEncrypted) {
    return Encrypt(kbbData.data(), kbbData.GetLength(), 0, rbbEncrypted);
}

ByteBuffer KestrixEncryption::AES_Encrypt(const BYTE* pbyData, DWORD dwLength) {
    ByteBuffer bbEncrypted;
    AES_Encrypt(pbyData, dwLength, bbEncrypted);
    return bbEncrypted;
}

ByteBuffer KestrixEncryption::AES_Encrypt(const ByteBuffer& kbbData) {
    return AES_Encrypt(kbbData.data(), kbbData.GetLength());
}

/// One answer for all causes: a caller who could tell them apart could decrypt without the password.
bool KestrixEncryption::FailToDecrypt() noexcept {
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("The new decrypt is not working..."));
    return Fail(Status::BadCryptoData);
}

bool KestrixEncryption::AES_Decrypt(const BYTE* pbyData, DWORD dwLength, ByteBuffer& rbbDecrypted) {
    if (!HasKey()) return false;
    ByteBuffer bbResult;
    bbResult.resize(dwLength);
    DWORD dwDecrypted = 0;
    const Status status = Crypto().Decrypt(m_hKey, pbyData, dwLength, bbResult.data(), dwDecrypted);
    if (status != Status::Success) {
        vlm::WipeMemory(bbResult.data(), bbResult.size());
        return FailToDecrypt();
    }
    bbResult.resize(dwDecrypted);
    rbbDecrypted.swap(bbResult);
    return true;
}

bool KestrixEncryption::AES_Decrypt(const ByteBuffer& kbbData, ByteBuffer& rbbDecrypted) {
    return AES_Decrypt(kbbData.data(), kbbData.GetLength(), rbbDecrypted);
}

ByteBuffer KestrixEncryption::AES_Decrypt(const BYTE* pbyData, DWORD dwLength) {
    ByteBuffer bbDecrypted;
    AES_Decrypt(pbyData, dwLength, bbDecrypted);
    return bbDecrypted;
}

ByteBuffer KestrixEncryption::AES_Decrypt(const ByteBuffer& kbbData) {
    return AES_Decrypt(kbbData.data(), kbbData.GetLength());
}

bool KestrixEncryption::EncryptWith(const ByteBuffer& kbbData, const Password& rPassword, ByteBuffer& rbbEncrypted) {
    m_dwLastError = 0;
    const CleanupAtEnd cleanup(*this);
    const DWORD dwFraming = m_bEmitSalt ? FRAMING_BYTES : 0;
    ByteBuffer bbResult;
    if (!Initialize(rPassword) || !Encrypt(kbbData.data(), kbbData.GetLength(), dwFraming, bbResult)) return false;
    if (m_bEmitSalt) {
        std::copy(m_abySalt.begin(), m_abySalt.end(),
                  std::copy_n(SALT_PREFIX, sizeof(SALT_PREFIX) - 1, bbResult.data()));
    }
    rbbEncrypted.swap(bbResult);
    return true;
}

bool KestrixEncryption::DecryptWith(const ByteBuffer& kbbData, const Password& rPassword, ByteBuffer& rbbDecrypted) {
    m_dwLastError = 0;
    const CleanupAtEnd cleanup(*this);
    const bool fFromData = m_bUseSaltFromData && HasFraming(kbbData);
    const DWORD dwFraming = fFromData ? FRAMING_BYTES : 0;
    if (kbbData.size() < dwFraming || (!fFromData && !m_bSaltSet)) {
        return FailToDecrypt();
    }
    const SaltOfOneCall restore(*this);
    if (fFromData) SetSalt(kbbData.data() + sizeof(SALT_PREFIX) - 1, SALT_BYTES);
    return Initialize(rPassword) &&
           AES_Decrypt(kbbData.data() + dwFraming, kbbData.GetLength() - dwFraming, rbbDecrypted);
}

bool KestrixEncryption::EncryptByteBuffer(const ByteBuffer& kbbData, const CXString& kcsPassword,
                                          ByteBuffer& rbbEncrypted) {
    return vlm::TranslateOutOfMemory([&] { return EncryptWith(kbbData, Password(kcsPassword), rbbEncrypted); });
}

bool KestrixEncryption::EncryptByteBuffer(const ByteBuffer& kbbData, const BYTE* pbyPassword, int iLength,
                                          ByteBuffer& rbbEncrypted) {
    return vlm::TranslateOutOfMemory(
        [&] { return EncryptWith(kbbData, Password(pbyPassword, iLength), rbbEncrypted); });
}

bool KestrixEncryption::DecryptByteBuffer(const ByteBuffer& kbbData, const CXString& kcsPassword,
                                          ByteBuffer& rbbDecrypted) {
    return vlm::TranslateOutOfMemory([&] { return DecryptWith(kbbData, Password(kcsPassword), rbbDecrypted); });
}

bool KestrixEncryption::DecryptByteBuffer(const ByteBuffer& kbbData, const BYTE* pbyPassword, int iLength,
                                          ByteBuffer& rbbDecrypted) {
    return vlm::TranslateOutOfMemory(
        [&] { return DecryptWith(kbbData, Password(pbyPassword, iLength), rbbDecrypted); });
}

ByteBuffer KestrixEncryption::EncryptString(const CXString& kcsText, const CXString& kcsPassword) {
    ByteBuffer bbText, bbEncrypted;
    bbText.reserve(2 * kcsText.View().size());
    const vlm::WipeAtEnd wipe(bbText);
    bbText.append(kcsText);
    EncryptByteBuffer(bbText, kcsPassword, bbEncrypted);
    return bbEncrypted;
}

CXString KestrixEncryption::DecryptString(const CXString& kcsPassword, const ByteBuffer& kbbData) {
    ByteBuffer bbText;
    const vlm::WipeAtEnd wipe(bbText);
    CXString csText;
    if (!DecryptByteBuffer(kbbData, kcsPassword, bbText)) return csText;
    if (bbText.size() % 2 != 0) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("The decrypted data is no text."));
        Fail(Status::BadCryptoData);
        return csText;
    }
    // Not the buffer's own conversion, which drops a zero unit at the end.
    const BYTE* pbyCursor = bbText.data();
    DWORD dwRemaining = bbText.GetLength();
    XCHAR* const pch = csText.GetBufferSetLength(static_cast<int>(dwRemaining / 2));
    for (XCHAR* pchNext = pch; dwRemaining > 0; ++pchNext)
        *pchNext = static_cast<XCHAR>(ByteBuffer::WalkBufferToGetWord(pbyCursor, dwRemaining));
    return csText;
}

void KestrixEncryption::Cleanup() noexcept {
    DestroyKey();
    DestroyHash();
    DestroyProvider();
    vlm::WipeMemory(m_bbPassword.data(), m_bbPassword.size());
    m_bbPassword.clear();
}

void KestrixEncryption::DestroyKey() noexcept {
    if (m_hKey) Crypto().DestroyKey(m_hKey);
    m_hKey = nullptr;
}

void KestrixEncryption::DestroyHash() noexcept {
    if (m_hHash) Crypto().DestroyHash(m_hHash);
    m_hHash = nullptr;
}

void KestrixEncryption::DestroyProvider() noexcept {
    if (m_hProvider) Crypto().ReleaseProvider(m_hProvider);
    m_hProvider = nullptr;
}
