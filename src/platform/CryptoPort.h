/// @file
/// Port: the system's cryptography.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// Random bytes, SHA-256, AES-256-CBC and data protection, in the steps of the system's own provider, so that a caller
/// can name the step that failed.
/// Handles: a null handle is refused by every call (the status is the system's); a released one must not be used again.
/// Key material in the library's own memory is wiped by its owner, inside a handle by whoever releases it.
/// Ownership: a handle belongs to the caller until its release, which never fails.
/// Threads: any; one handle by one thread at a time.  Failure: by status; nothing throws; output arguments keep their
/// values then, but target buffers may hold anything.
class CryptoPort {
public:
    static constexpr DWORD HASH_BYTES = 32;   ///< of SHA-256
    static constexpr DWORD BLOCK_BYTES = 16;  ///< of AES
    static constexpr DWORD KEY_BYTES = 32;    ///< of AES-256

    /// The head of a plain-text key blob, as the system lays it out: blob type 8, version 2, two zero bytes, the
    /// algorithm's number (0x6610 for AES-256, little-endian), the key's length in bytes (little-endian).  The key
    /// follows.
    static constexpr BYTE KEY_BLOB_HEAD[12] = {8, 2, 0, 0, 0x10, 0x66, 0, 0, KEY_BYTES, 0, 0, 0};
    static constexpr DWORD KEY_BLOB_BYTES = sizeof(KEY_BLOB_HEAD) + KEY_BYTES;

    /// Parameters of a key, and the values that the library sets, as the system numbers them.
    enum class KeyParameter : DWORD { Iv = 1, Padding = 3, Mode = 4 };
    static constexpr DWORD PADDING_PKCS5 = 1, MODE_CBC = 1;

    /// Who can undo a protection: the user on this machine, or everybody on it.
    enum class Scope : DWORD { User, Machine };

    virtual ~CryptoPort() = default;

    /// Opens the provider, without any stored key.
    virtual Status AcquireProvider(HANDLE& rhProvider) noexcept = 0;
    virtual void ReleaseProvider(HANDLE hProvider) noexcept = 0;
    /// Fills the target with bytes that nobody can foretell; needs no provider.  A null target is allowed with 0 bytes.
    virtual Status Random(void* pTarget, DWORD cbTarget) noexcept = 0;

    /// Begins a SHA-256.
    virtual Status CreateHash(HANDLE hProvider, HANDLE& rhHash) noexcept = 0;
    virtual Status HashData(HANDLE hHash, const void* pData, DWORD cbData) noexcept = 0;
    /// Ends the hash and writes its HASH_BYTES; no more data may follow.
    virtual Status HashValue(HANDLE hHash, BYTE* pbyTarget) noexcept = 0;
    virtual void DestroyHash(HANDLE hHash) noexcept = 0;

    /// Makes a key of a plain-text blob of KEY_BLOB_BYTES.
    /// @return BadCryptoKey, BadCryptoData or another failure for a blob that is not one of AES-256.
    virtual Status ImportKey(HANDLE hProvider, const void* pBlob, DWORD cbBlob, HANDLE& rhKey) noexcept = 0;
    /// @param pValue a DWORD; for Iv BLOCK_BYTES bytes.  The mode is CBC and the padding PKCS#5 from the start; other
    /// values need not be supported.
    virtual Status SetKeyParameter(HANDLE hKey, KeyParameter eParameter, const void* pValue) noexcept = 0;
    /// Encrypts a whole text in one step, from the key's IV, with padding.  The IV is in force again afterwards.
    /// @param pTarget null asks for the size; may be `pSource`, but must not overlap it otherwise.
    /// @param rcbTarget room before, size after; MoreData when the room is short.
    virtual Status Encrypt(HANDLE hKey, const void* pSource, DWORD cbSource, void* pTarget,
                           DWORD& rcbTarget) noexcept = 0;
    /// The converse.
    /// @param pTarget room for `cbSource` bytes; may be `pSource`, but must not overlap it otherwise.
    /// @param rcbTarget size after.
    /// @return BadCryptoData for whatever is wrong with the bytes: no multiple of BLOCK_BYTES, none at all, bad
    /// padding.
    virtual Status Decrypt(HANDLE hKey, const void* pSource, DWORD cbSource, void* pTarget,
                           DWORD& rcbTarget) noexcept = 0;
    virtual void DestroyKey(HANDLE hKey) noexcept = 0;

    /// Protects data with the system's data protection; every call gives other bytes.
    /// @param pEntropy bytes that must be given again to undo it; null with 0.
    /// @param rpbyBlob receives memory for ReleaseBlob.
    virtual Status Protect(const void* pData, DWORD cbData, const void* pEntropy, DWORD cbEntropy, Scope eScope,
                           BYTE*& rpbyBlob, DWORD& rcbBlob) noexcept = 0;
    /// The converse.
    /// @return InvalidData for a blob that was changed, was made by another user or with other entropy, or is none.
    virtual Status Unprotect(const void* pBlob, DWORD cbBlob, const void* pEntropy, DWORD cbEntropy, BYTE*& rpbyData,
                             DWORD& rcbData) noexcept = 0;
    /// Wipes and releases what the two calls above have answered; null is no work.
    virtual void ReleaseBlob(BYTE* pbyBlob, DWORD cbBlob) noexcept = 0;
};

}  // namespace vlm
