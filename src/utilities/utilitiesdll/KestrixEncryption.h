/// @file
/// Encryption of data under a password.
#pragma once

#include <array>
#include <span>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

/// AES-256 in CBC mode with PKCS#5 padding, under a key that is derived from a password and a salt.
///
/// | offset | size | content, when the salt is emitted |
/// |--------|------|-----------------------------------|
/// | 0      | 8    | the ASCII bytes "Salted__"        |
/// | 8      | 8    | the salt                          |
/// | 16     | rest | ciphertext                        |
///
/// Without emission the data is the ciphertext alone, and the reader needs the salt by other means.
///
/// The derivation is PBKDF2 with HMAC-SHA-256 (RFC 8018): of 48 bytes the first 32 are the key and the others the IV;
/// DEFAULT_ROUNDS rounds unless told otherwise.  A password given as a string counts by its UTF-8 bytes.  All of this
/// is what `openssl enc -d -aes-256-cbc -pbkdf2` does by default, so that it reads what the class writes, and writes
/// what the class reads.
///
/// What is encrypted is kept from being read, not from being changed: a changed ciphertext mostly decrypts to noise,
/// and so does one data in 256 with a wrong password, instead of failing.  Treat decrypted data as data from a
/// stranger.  No failed decryption tells which of its checks failed.
///
/// **Ownership**: provider, hash and key are the object's until Cleanup or its end; keys, IVs, and copies of passwords
/// and of texts are wiped.  A caller's own strings and buffers are the caller's to wipe.
/// **Threads**: one object is not shared without a lock.
/// **Failure**: false (or an empty buffer), a message, and GetError; targets are then as they were.
/// ExceptionOutOfMemory alone is thrown.
class VLM_API KestrixEncryption {
public:
    static constexpr int SALT_BYTES = 8;
    static constexpr char SALT_PREFIX[] = "Salted__";
    /// Bytes in front of the ciphertext when the salt is emitted.
    static constexpr DWORD FRAMING_BYTES = sizeof(SALT_PREFIX) - 1 + SALT_BYTES;
    static constexpr int KEY_BYTES = 32;
    static constexpr int IV_BYTES = 16;
    /// Rounds of the derivation: each costs an attacker as much as the user.
    static constexpr int DEFAULT_ROUNDS = 10'000;

    /// Emits salts, and takes salts from data.
    KestrixEncryption() noexcept = default;
    KestrixEncryption(const KestrixEncryption&) = delete;
    KestrixEncryption& operator=(const KestrixEncryption&) = delete;
    ~KestrixEncryption();

    // ---- one call does it all ----

    /// Encrypts under a password, with a new random salt unless one was set.  `rbbEncrypted` may be the data itself.
    /// @return false for a blank password (empty or blanks alone), before any cryptographic call.
    bool EncryptByteBuffer(const ByteBuffer& kbbData, const CXString& kcsPassword, ByteBuffer& rbbEncrypted);
    bool EncryptByteBuffer(const ByteBuffer& kbbData, const BYTE* pbyPassword, int iLength, ByteBuffer& rbbEncrypted);
    /// The converse.  Data that begins with "Salted__" is decrypted with the salt behind it, if the object is set to
    /// take it; other data with the salt that was set.
    bool DecryptByteBuffer(const ByteBuffer& kbbData, const CXString& kcsPassword, ByteBuffer& rbbDecrypted);
    bool DecryptByteBuffer(const ByteBuffer& kbbData, const BYTE* pbyPassword, int iLength, ByteBuffer& rbbDecrypted);

    /// The same for a text, by its UTF-16 units, little-endian.  @return an empty buffer after a failure.
    ByteBuffer EncryptString(const CXString& kcsText, const CXString& kcsPassword);
    /// @return the text; an empty one after a failure, which GetError tells from an empty text.
    CXString DecryptString(const CXString& kcsPassword, const ByteBuffer& kbbData);

    // ---- salt and rounds ----

    /// The salt that was set, or made last.  @return false, with an empty buffer, when there is none.
    bool GetSalt(ByteBuffer& rbbSalt) const;
    /// Sets the salt of all that follows.  @return false when it has not SALT_BYTES bytes.
    bool SetSalt(const ByteBuffer& kbbSalt);
    bool SetSalt(const void* pvSalt, int iLength);
    /// The salt of the last encryption, for those who do not emit it.  @return false when there was none.
    bool GetSaltValueUsedForEncryption(ByteBuffer& rbbSalt) const;
    /// Whether EncryptByteBuffer and EncryptString put the salt in front of what they encrypt.
    void SetEmitSaltWithEncryptedData(bool fEmit) noexcept { m_bEmitSalt = fEmit; }
    /// Whether DecryptByteBuffer and DecryptString take the salt from data that begins with "Salted__".  When not, such
    /// data is ciphertext from its first byte.
    void SetUseSaltFromEncryptedData(bool fUse) noexcept { m_bUseSaltFromData = fUse; }
    /// @param iRounds 1 to bounds::MAX_KEY_ROUNDS; both sides need the same.  Others are refused.
    bool SetKeyDerivationRounds(int iRounds);

    // ---- step by step ----

    /// Makes the salt (random, or the one set), derives key and IV, and readies the provider's key.
    /// @param fEmitSalt, fUseSaltFromData set the two switches of the object.
    bool AES_Initialize(const void* pvPassword, int iLength, bool fEmitSalt, bool fUseSaltFromData);
    /// Derives from the password of AES_Initialize and the salt.
    /// @param rbbKey, rbbIv replaced by KEY_BYTES and IV_BYTES bytes; wiping them is the caller's.
    /// @param iCount 1 to bounds::MAX_KEY_ROUNDS.
    bool GenerateKeyAndIV(ByteBuffer& rbbKey, ByteBuffer& rbbIv, int iCount);
    /// Encrypts under the key of AES_Initialize; the bare ciphertext, without framing.
    bool AES_Encrypt(const BYTE* pbyData, DWORD dwLength, ByteBuffer& rbbEncrypted);
    bool AES_Encrypt(const ByteBuffer& kbbData, ByteBuffer& rbbEncrypted);
    ByteBuffer AES_Encrypt(const BYTE* pbyData, DWORD dwLength);
    ByteBuffer AES_Encrypt(const ByteBuffer& kbbData);
    /// Decrypts a bare ciphertext.  The form that returns a buffer cannot tell an empty text from a failure; GetError
    /// can.
    bool AES_Decrypt(const BYTE* pbyData, DWORD dwLength, ByteBuffer& rbbDecrypted);
    bool AES_Decrypt(const ByteBuffer& kbbData, ByteBuffer& rbbDecrypted);
    ByteBuffer AES_Decrypt(const BYTE* pbyData, DWORD dwLength);
    ByteBuffer AES_Decrypt(const ByteBuffer& kbbData);

    /// The system's status of the last failure, 0 without one.  @param fClear forgets it.
    DWORD GetError(bool fClear = false) noexcept;
    /// Releases key, hash and provider, and forgets the password.  Salt and switches stay.
    void Cleanup() noexcept;
    /// Known answers: derivation, cipher, framing, a refused password.  @return whether all came out right.
    static bool SelfTest();

private:
    class Password;
    class SaltOfOneCall;

    bool GetCryptContext();
    bool GetRandomSalt();
    bool Initialize(const Password& rPassword);
    bool DeriveKey(BYTE* pbyKeyAndIv, int iCount);
    bool Hash(std::span<const BYTE> data, BYTE* pbyHash);
    bool HasKey() noexcept;
    bool ImportKey(const BYTE* pbyKey, const BYTE* pbyIv);
    bool Encrypt(const BYTE* pbyData, DWORD dwLength, DWORD dwRoomInFront, ByteBuffer& rbbEncrypted);
    bool EncryptWith(const ByteBuffer& kbbData, const Password& rPassword, ByteBuffer& rbbEncrypted);
    bool DecryptWith(const ByteBuffer& kbbData, const Password& rPassword, ByteBuffer& rbbDecrypted);
    bool Fail(vlm::Status status) noexcept;
    bool FailToDecrypt() noexcept;
    void DestroyKey() noexcept;
    void DestroyHash() noexcept;
    void DestroyProvider() noexcept;

    HANDLE m_hProvider = nullptr;
    HANDLE m_hHash = nullptr;
    HANDLE m_hKey = nullptr;
    std::array<BYTE, SALT_BYTES> m_abySalt{};
    bool m_bSaltSet = false;  // by the caller: it stays
    bool m_bHasSalt = false;  // set or made
    bool m_bEncrypted = false;
    std::array<BYTE, SALT_BYTES> m_abySaltOfEncryption{};
    bool m_bEmitSalt = true;
    bool m_bUseSaltFromData = true;
    int m_iRounds = DEFAULT_ROUNDS;
    DWORD m_dwLastError = 0;
    ByteBuffer m_bbPassword;
};
