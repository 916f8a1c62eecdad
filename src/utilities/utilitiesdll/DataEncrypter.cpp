/// @file
/// Protection of data for the current user or machine, and two ways to obscure it.
#include "utilities/utilitiesdll/DataEncrypter.h"

#include <algorithm>
#include <array>

#include "platform/CryptoPort.h"
#include "platform/Platform.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/Crc32.h"
#include "utilities/utilitiesdll/HexText.h"
#include "utilities/utilitiesdll/SystemText.h"
#include "utilities/utilitiesdll/detail/protection/Secret.h"

namespace {

using vlm::CryptoPort;
using vlm::Status;

constexpr std::array<BYTE, 32> ENTROPY = {0x5B, 0xE1, 0x09, 0xC7, 0x34, 0xFA, 0x82, 0x1D, 0xA6, 0x70, 0x4E,
                                          0x93, 0xD8, 0x2B, 0x6F, 0x15, 0xBC, 0x47, 0xEE, 0x01, 0x98, 0x63,
                                          0xF5, 0x2A, 0x8C, 0xD4, 0x37, 0x59, 0x0E, 0xB1, 0x7D, 0xC2};

/// The two obscuring schemes differ in where they start.
constexpr DWORD SEED_OF_DATA = 0x6D2B79F5, SEED_OF_SIMPLE = 0x1B873593;

constexpr std::size_t CHECK_BYTES = 2;

/// What the system's data protection answered; released with the object.
class Blob {
public:
    Blob() noexcept = default;
    ~Blob() { vlm::GetPlatform().pCrypto->ReleaseBlob(m_pbyData, m_cbData); }
    Blob(const Blob&) = delete;
    Blob& operator=(const Blob&) = delete;

    BYTE* m_pbyData = nullptr;
    DWORD m_cbData = 0;
};

[[noreturn]] void ThrowDecryptionFailed(const CXString& kcsReason) {
    VLM_THROW(ExceptionDataEncrypterFailure, VTEXT("Decryption failed: %s"), kcsReason);
}

/// Units of a text from their bytes, all of them.
CXString TextOf(const ByteBuffer& kbbUnits, std::size_t cFirst) {
    CXString csText;
    const BYTE* pbyCursor = kbbUnits.data() + cFirst;
    auto dwRemaining = static_cast<DWORD>(kbbUnits.size() - cFirst);
    XCHAR* const pch = csText.GetBufferSetLength(static_cast<int>(dwRemaining / 2));
    for (XCHAR* pchNext = pch; dwRemaining >= 2; ++pchNext)
        *pchNext = static_cast<XCHAR>(ByteBuffer::WalkBufferToGetWord(pbyCursor, dwRemaining));
    return csText;
}

/// A mask for each byte, from its place and from all obscured bytes before it, so that repetitions do not show.
class Mask {
public:
    explicit Mask(DWORD dwSeed) noexcept : m_dwState(dwSeed) {}
    BYTE Next() noexcept {
        m_dwState = m_dwState * 0x0019660D + 0x3C6EF35F;
        return static_cast<BYTE>(m_dwState >> 24 ^ m_dwState >> 11);
    }
    void Mix(BYTE byObscured) noexcept { m_dwState ^= DWORD{byObscured} << 13; }

private:
    DWORD m_dwState;
};

void Obscure(BYTE* pbyData, std::size_t cBytes, DWORD dwSeed) noexcept {
    Mask mask(dwSeed);
    for (BYTE* pby = pbyData; pby != pbyData + cBytes; ++pby) {
        *pby ^= mask.Next();
        mask.Mix(*pby);
    }
}

void Reveal(BYTE* pbyData, std::size_t cBytes, DWORD dwSeed) noexcept {
    Mask mask(dwSeed);
    for (BYTE* pby = pbyData; pby != pbyData + cBytes; ++pby) {
        const BYTE byObscured = *pby;
        *pby ^= mask.Next();
        mask.Mix(byObscured);
    }
}

WORD CheckOf(const BYTE* pbyText, std::size_t cBytes) noexcept {
    return static_cast<WORD>(Crc32::GetCrc(pbyText, static_cast<DWORD>(cBytes)));
}

}  // namespace

const DataEncrypter::DataBlob DataEncrypter::m_dbEntropy = {ENTROPY.size(), ENTROPY.data()};

void DataEncrypter::EncryptBytes(const ByteBuffer& kbbData, ByteBuffer& rbbEncrypted, ScopeEnum eScope) {
    Blob blob;
    const Status status = vlm::GetPlatform().pCrypto->Protect(
        kbbData.data(), kbbData.GetLength(), m_dbEntropy.m_pbyData, m_dbEntropy.m_cbData,
        eScope == DES_LOCAL_MACHINE ? CryptoPort::Scope::Machine : CryptoPort::Scope::User, blob.m_pbyData,
        blob.m_cbData);
    if (status != Status::Success) {
        VLM_THROW(ExceptionDataEncrypterFailure, VTEXT("Encryption failed: %s"), vlm::TextOfStatus(status));
    }
    rbbEncrypted = ByteBuffer(blob.m_pbyData, blob.m_cbData);
}

void DataEncrypter::DecryptBytes(const ByteBuffer& kbbEncrypted, ByteBuffer& rbbData) {
    Blob blob;
    const Status status =
        vlm::GetPlatform().pCrypto->Unprotect(kbbEncrypted.data(), kbbEncrypted.GetLength(), m_dbEntropy.m_pbyData,
                                              m_dbEntropy.m_cbData, blob.m_pbyData, blob.m_cbData);
    if (status != Status::Success) ThrowDecryptionFailed(vlm::TextOfStatus(status));
    rbbData = ByteBuffer(blob.m_pbyData, blob.m_cbData);
}

ByteBuffer DataEncrypter::EncryptString(const CXString& kcsText, ScopeEnum eScope) {
    ByteBuffer bbText, bbEncrypted;
    bbText.reserve(2 * kcsText.View().size());
    const vlm::WipeAtEnd wipe(bbText);
    bbText.append(kcsText);
    EncryptBytes(bbText, bbEncrypted, eScope);
    return bbEncrypted;
}

CXString DataEncrypter::DecryptString(const ByteBuffer& kbbEncrypted) {
    ByteBuffer bbText;
    const vlm::WipeAtEnd wipe(bbText);
    DecryptBytes(kbbEncrypted, bbText);
    if (bbText.size() % 2 != 0) ThrowDecryptionFailed(VTEXT("what was protected is no text."));
    return TextOf(bbText, 0);
}

void DataEncrypter::ObfuscateData(ByteBuffer& rbbData) noexcept {
    Obscure(rbbData.data(), rbbData.size(), SEED_OF_DATA);
}

void DataEncrypter::DeObfuscateData(ByteBuffer& rbbData) noexcept {
    Reveal(rbbData.data(), rbbData.size(), SEED_OF_DATA);
}

CXString DataEncrypter::EncryptStringWithVelomSimple1(const CXString& kcsText) {
    const int iLength = kcsText.GetLength();
    static constexpr const XCHAR* TOO_LONG = VTEXT("Unable to encrypt strings larger than 30 characters.");
    static_assert(MAX_SIMPLE_UNITS == 30);
    VLM_ASSERT(iLength <= 30, TOO_LONG);
    if (iLength > MAX_SIMPLE_UNITS) VLM_THROW(ExceptionDataEncrypterFailure, TOO_LONG);
    ByteBuffer bb;
    bb.reserve(CHECK_BYTES + 2 * MAX_SIMPLE_UNITS);
    const vlm::WipeAtEnd wipe(bb);
    bb.appendWordValue(0).append(kcsText);
    const WORD wCheck = CheckOf(bb.data() + CHECK_BYTES, bb.size() - CHECK_BYTES);
    bb[0] = static_cast<BYTE>(wCheck);
    bb[1] = static_cast<BYTE>(wCheck >> 8);
    Obscure(bb.data(), bb.size(), SEED_OF_SIMPLE);
    return HexText::Encode(bb);
}

CXString DataEncrypter::DecryptStringWithVelomSimple1(const CXString& kcsDigits) {
    const std::size_t cUnits = kcsDigits.View().size();
    const std::size_t cBytes = cUnits / 2;
    std::array<BYTE, CHECK_BYTES + 2 * MAX_SIMPLE_UNITS> abyRoom{};
    const bool fLength = cUnits % 4 == 0 && cBytes >= CHECK_BYTES && cBytes <= abyRoom.size();
    if (!fLength || HexText::DecodeTo(kcsDigits.View(), abyRoom.data()) != cUnits) {
        ThrowDecryptionFailed(VTEXT("the text is not one that EncryptStringWithVelomSimple1 makes."));
    }
    ByteBuffer bb(abyRoom.data(), cBytes);
    const vlm::WipeAtEnd wipe(bb);
    Reveal(bb.data(), bb.size(), SEED_OF_SIMPLE);
    if (bb.getAsWordValue() != CheckOf(bb.data() + CHECK_BYTES, bb.size() - CHECK_BYTES)) {
        ThrowDecryptionFailed(VTEXT("the text was changed, or another program made it."));
    }
    return TextOf(bb, CHECK_BYTES);
}
