/// @file
/// The Blowfish block cipher.
#pragma once

#include <array>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"

/// Blowfish with a password as its key.  Works in place, on blocks of 8 bytes, each on its own (no chaining, no
/// padding), so data may be processed in any pieces that are whole blocks.  Both halves of a block are big-endian, as
/// in the published vectors: `openssl enc -bf-ecb -nopad` with the same key gives the same bytes.
///
/// Deliberate: equal blocks give equal blocks, and nothing tells whether data was changed.  Use it for data that was
/// written with it; for new data there is KestrixEncryption.
///
/// **Ownership**: a value; the subkeys are wiped when it goes.  **Threads**: any number may encrypt with one object
/// that has its password; setting it needs the object alone.  **Failure**: false, with the data as it was; nothing
/// throws.
class VLM_API BlowFish {
public:
    static constexpr DWORD BLOCK_BYTES = 8;

    BlowFish() noexcept { Reset(); }
    BlowFish(const BlowFish& rOther) noexcept = default;
    BlowFish& operator=(const BlowFish& rOther) noexcept = default;
    ~BlowFish();

    /// Computes the subkeys of a password; what was set before is gone.  All 256 byte values count; of a password above
    /// 72 bytes the first 72 do.
    /// @return false for an empty password; the object then has none.
    bool SetPassword(const ByteBuffer& kbbPassword) noexcept;
    bool SetPassword(const BYTE* pbyPassword, DWORD dwLength) noexcept;
    bool HasPassword() const noexcept { return m_bHasPassword; }
    /// Forgets the password.
    void Reset() noexcept;

    /// @return false when the length is no multiple of BLOCK_BYTES or no password was set.  0 bytes are fine.
    bool EncryptData(ByteBuffer& rbbData) const noexcept;
    bool EncryptData(BYTE* pbyData, DWORD dwLength) const noexcept;
    bool DecryptData(ByteBuffer& rbbData) const noexcept;
    bool DecryptData(BYTE* pbyData, DWORD dwLength) const noexcept;

private:
    static constexpr unsigned ROUNDS = 16;

    /// One block, by its halves.
    void BlowFish_Encipher(DWORD& rdwLeft, DWORD& rdwRight) const noexcept;
    void BlowFish_Decipher(DWORD& rdwLeft, DWORD& rdwRight) const noexcept;
    bool IsReady() const noexcept;
    template <bool ENCRYPT, unsigned BLOCKS>
    void Transform(DWORD (&radwLeft)[BLOCKS], DWORD (&radwRight)[BLOCKS]) const noexcept;
    template <bool ENCRYPT>
    void TransformData(BYTE* pbyData, DWORD dwLength) const noexcept;

    std::array<DWORD, ROUNDS + 2> m_adwSubkeys;
    std::array<std::array<DWORD, 256>, 4> m_aadwBoxes;
    bool m_bHasPassword;
};
