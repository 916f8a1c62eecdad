/// @file
/// Encryption of data under a password: the derivation of its key, and the known answers.
#include <algorithm>
#include <array>

#include "platform/CryptoPort.h"
#include "platform/Platform.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/KestrixEncryption.h"
#include "utilities/utilitiesdll/SystemText.h"
#include "utilities/utilitiesdll/detail/protection/Secret.h"

namespace {

using vlm::CryptoPort;
using vlm::Status;

constexpr std::size_t HASH_BLOCK = 64;  // of SHA-256
constexpr std::size_t HASH_BYTES = CryptoPort::HASH_BYTES;
constexpr BYTE INNER_PAD = 0x36, OUTER_PAD = 0x5C;

/// A block of the password under its pad, and room for the message behind it.
using PaddedMessage = vlm::SecretArray<HASH_BLOCK + HASH_BYTES>;

std::vector<char> WordsOf(Status status) {
    return vlm::TextOfStatus(status).GetAsMultiByte(0);
}

}  // namespace

bool KestrixEncryption::Hash(std::span<const BYTE> data, BYTE* pbyHash) {
    CryptoPort& rCrypto = *vlm::GetPlatform().pCrypto;
    DestroyHash();
    Status status = rCrypto.CreateHash(m_hProvider, m_hHash);
    if (status != Status::Success) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Could not create hash due to Error Code: %S"),
                         WordsOf(status).data());
        return Fail(status);
    }
    status = rCrypto.HashData(m_hHash, data.data(), static_cast<DWORD>(data.size()));
    if (status != Status::Success) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Could not hash value due to Error Code: %S"),
                         WordsOf(status).data());
        return Fail(status);
    }
    status = rCrypto.HashValue(m_hHash, pbyHash);
    if (status != Status::Success) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Could not get hash value due to Error Code: %S"),
                         WordsOf(status).data());
        return Fail(status);
    }
    DestroyHash();
    return true;
}

/// PBKDF2 with HMAC-SHA-256: each block of the result is the sum of `iCount` chained authentication codes, the first of
/// which is that of the salt and the block's number.
bool KestrixEncryption::DeriveKey(BYTE* pbyKeyAndIv, int iCount) {
    vlm::SecretArray<HASH_BLOCK> abyPassword;
    PaddedMessage abyInner, abyOuter;
    const auto derive = [&] {
        if (m_bbPassword.size() > HASH_BLOCK) {
            if (!Hash(m_bbPassword, abyPassword.data())) return false;
        } else {
            std::copy(m_bbPassword.begin(), m_bbPassword.end(), abyPassword.begin());
        }
        for (std::size_t i = 0; i < HASH_BLOCK; ++i) {
            abyInner[i] = abyPassword[i] ^ INNER_PAD;
            abyOuter[i] = abyPassword[i] ^ OUTER_PAD;
        }
        BYTE* const pbyMessage = abyInner.data() + HASH_BLOCK;
        vlm::SecretArray<HASH_BYTES> abySum;
        constexpr int RESULT_BYTES = KEY_BYTES + IV_BYTES;
        for (int iDone = 0, iBlock = 1; iDone < RESULT_BYTES; iDone += static_cast<int>(HASH_BYTES), ++iBlock) {
            std::copy(m_abySalt.begin(), m_abySalt.end(), pbyMessage);
            const BYTE abyNumber[] = {0, 0, 0, static_cast<BYTE>(iBlock)};
            std::copy(std::begin(abyNumber), std::end(abyNumber), pbyMessage + SALT_BYTES);
            std::size_t cMessage = SALT_BYTES + sizeof abyNumber;
            abySum.fill(0);
            for (int i = 0; i < iCount; ++i) {
                if (!Hash({abyInner.data(), HASH_BLOCK + cMessage}, abyOuter.data() + HASH_BLOCK) ||
                    !Hash(abyOuter, pbyMessage)) {
                    return false;
                }
                cMessage = HASH_BYTES;
                for (std::size_t k = 0; k < HASH_BYTES; ++k)
                    abySum[k] ^= pbyMessage[k];
            }
            std::copy_n(abySum.begin(), std::min(static_cast<int>(HASH_BYTES), RESULT_BYTES - iDone),
                        pbyKeyAndIv + iDone);
        }
        return true;
    };
    if (derive()) return true;
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Error generating Key and IV: %S"),
                     WordsOf(static_cast<Status>(m_dwLastError)).data());
    return false;
}

bool KestrixEncryption::GenerateKeyAndIV(ByteBuffer& rbbKey, ByteBuffer& rbbIv, int iCount) {
    if (iCount < 1 || iCount > vlm::bounds::MAX_KEY_ROUNDS || m_bbPassword.empty() || !m_bHasSalt || !m_hProvider) {
        VLM_REPORT_ERROR(DebugCategory::Utils,
                         VTEXT("A key is derived after AES_Initialize, in 1 to %d rounds; %d were asked for."),
                         vlm::bounds::MAX_KEY_ROUNDS, iCount);
        return Fail(Status::InvalidParameter);
    }
    vlm::SecretArray<KEY_BYTES + IV_BYTES> abyKeyAndIv;
    if (!DeriveKey(abyKeyAndIv.data(), iCount)) return false;
    ByteBuffer bbKey(abyKeyAndIv.data(), KEY_BYTES), bbIv(abyKeyAndIv.data() + KEY_BYTES, IV_BYTES);
    rbbKey.swap(bbKey);
    rbbIv.swap(bbIv);
    return true;
}

bool KestrixEncryption::SelfTest() {
    static constexpr BYTE PASSWORD[] = {'p', 'a', 's', 's', 'w', 'o', 'r', 'd'};
    static constexpr BYTE SALT[SALT_BYTES] = {1, 2, 3, 4, 5, 6, 7, 8};
    static constexpr BYTE TEXT[] = {'T', 'h', 'e', ' ', 'q', 'u', 'i', 'c', 'k', ' ',
                                    'b', 'r', 'o', 'w', 'n', ' ', 'f', 'o', 'x'};
    // Of 1,000 rounds; made with another program.
    static constexpr BYTE ENCRYPTED[] = {
        0x53, 0x61, 0x6C, 0x74, 0x65, 0x64, 0x5F, 0x5F, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08,
        0xE8, 0x41, 0x46, 0x96, 0x48, 0x9D, 0x0F, 0x5E, 0xB9, 0x05, 0x18, 0x78, 0xF8, 0x14, 0xBC, 0xD3,
        0xC3, 0xAD, 0xA1, 0xE3, 0xB3, 0x95, 0xCF, 0xB9, 0x3A, 0x0F, 0xBB, 0xF7, 0x38, 0xEB, 0x47, 0xFC,
    };
    constexpr int ROUNDS = 1000;
    const ByteBuffer bbText(TEXT, sizeof TEXT), bbExpected(ENCRYPTED, sizeof ENCRYPTED);
    KestrixEncryption writer, reader;
    ByteBuffer bbEncrypted, bbDecrypted;
    bool fGood = writer.SetSalt(SALT, SALT_BYTES) && writer.SetKeyDerivationRounds(ROUNDS) &&
                 reader.SetKeyDerivationRounds(ROUNDS) &&
                 writer.EncryptByteBuffer(bbText, PASSWORD, sizeof PASSWORD, bbEncrypted) &&
                 bbEncrypted == bbExpected &&
                 reader.DecryptByteBuffer(bbExpected, PASSWORD, sizeof PASSWORD, bbDecrypted) && bbDecrypted == bbText;
    // A password one letter shorter must not give the text.
    fGood = fGood && (!reader.DecryptByteBuffer(bbExpected, PASSWORD, sizeof PASSWORD - 1, bbDecrypted) ||
                      !(bbDecrypted == bbText));
    VLM_REPORT(DebugCategory::Utils, VTEXT("The self-test of the encryption has %s."),
               fGood ? VTEXT("passed") : VTEXT("failed"));
    return fGood;
}
