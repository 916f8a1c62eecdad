/// @file
/// The Blowfish block cipher.
#include "utilities/utilitiesdll/Blowfish.h"

#include <utility>

#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/detail/protection/Secret.h"

namespace {

constexpr DWORD PI_DIGITS[] = {
#include "utilities/utilitiesdll/detail/protection/BlowfishPi.inl"
};

/// So many blocks are under way at once: each waits for its own table reads while the others go on.
constexpr unsigned BLOCKS_AT_ONCE = 4;

DWORD LoadBigEndian(const BYTE* pby) noexcept {
    return DWORD{pby[0]} << 24 | DWORD{pby[1]} << 16 | DWORD{pby[2]} << 8 | pby[3];
}

void StoreBigEndian(BYTE* pby, DWORD dw) noexcept {
    pby[0] = static_cast<BYTE>(dw >> 24);
    pby[1] = static_cast<BYTE>(dw >> 16);
    pby[2] = static_cast<BYTE>(dw >> 8);
    pby[3] = static_cast<BYTE>(dw);
}

}  // namespace

BlowFish::~BlowFish() {
    vlm::WipeMemory(this, sizeof *this);
}

void BlowFish::Reset() noexcept {
    const DWORD* pdwNext = PI_DIGITS;
    for (DWORD& rdw : m_adwSubkeys)
        rdw = *pdwNext++;
    for (auto& radwBox : m_aadwBoxes) {
        for (DWORD& rdw : radwBox)
            rdw = *pdwNext++;
    }
    m_bHasPassword = false;
    static_assert(std::size(PI_DIGITS) == std::tuple_size_v<decltype(m_adwSubkeys)> + 4 * 256);
}

bool BlowFish::SetPassword(const ByteBuffer& kbbPassword) noexcept {
    return SetPassword(kbbPassword.data(), kbbPassword.GetLength());
}

bool BlowFish::SetPassword(const BYTE* pbyPassword, DWORD dwLength) noexcept {
    Reset();
    if (pbyPassword == nullptr || dwLength == 0) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("An empty password is no key for Blowfish."));
        return false;
    }
    DWORD iNext = 0;
    for (DWORD& rdwSubkey : m_adwSubkeys) {
        DWORD dwPiece = 0;
        for (int i = 0; i < 4; ++i) {
            dwPiece = dwPiece << 8 | pbyPassword[iNext];
            iNext = iNext + 1 == dwLength ? 0 : iNext + 1;
        }
        rdwSubkey ^= dwPiece;
    }
    DWORD dwLeft = 0, dwRight = 0;
    const auto replace = [&](auto& radw) {
        for (std::size_t i = 0; i < radw.size(); i += 2) {
            BlowFish_Encipher(dwLeft, dwRight);
            radw[i] = dwLeft;
            radw[i + 1] = dwRight;
        }
    };
    replace(m_adwSubkeys);
    for (auto& radwBox : m_aadwBoxes)
        replace(radwBox);
    m_bHasPassword = true;
    return true;
}

/// The rounds of several blocks side by side; deciphering takes the subkeys from the other end.
template <bool ENCRYPT, unsigned BLOCKS>
inline void BlowFish::Transform(DWORD (&radwLeft)[BLOCKS], DWORD (&radwRight)[BLOCKS]) const noexcept {
    const auto subkey = [&](unsigned i) { return m_adwSubkeys[ENCRYPT ? i : ROUNDS + 1 - i]; };
    const auto round = [&](DWORD dw) {
        return ((m_aadwBoxes[0][dw >> 24] + m_aadwBoxes[1][dw >> 16 & 0xFF]) ^ m_aadwBoxes[2][dw >> 8 & 0xFF]) +
               m_aadwBoxes[3][dw & 0xFF];
    };
    for (unsigned i = 0; i < ROUNDS; i += 2) {
        for (unsigned iBlock = 0; iBlock < BLOCKS; ++iBlock) {
            radwLeft[iBlock] ^= subkey(i);
            radwRight[iBlock] ^= round(radwLeft[iBlock]);
        }
        for (unsigned iBlock = 0; iBlock < BLOCKS; ++iBlock) {
            radwRight[iBlock] ^= subkey(i + 1);
            radwLeft[iBlock] ^= round(radwRight[iBlock]);
        }
    }
    for (unsigned iBlock = 0; iBlock < BLOCKS; ++iBlock) {
        const DWORD dwLeft = radwLeft[iBlock] ^ subkey(ROUNDS);
        radwLeft[iBlock] = radwRight[iBlock] ^ subkey(ROUNDS + 1);
        radwRight[iBlock] = dwLeft;
    }
}

void BlowFish::BlowFish_Encipher(DWORD& rdwLeft, DWORD& rdwRight) const noexcept {
    DWORD adwLeft[1] = {rdwLeft}, adwRight[1] = {rdwRight};
    Transform<true>(adwLeft, adwRight);
    rdwLeft = adwLeft[0];
    rdwRight = adwRight[0];
}

void BlowFish::BlowFish_Decipher(DWORD& rdwLeft, DWORD& rdwRight) const noexcept {
    DWORD adwLeft[1] = {rdwLeft}, adwRight[1] = {rdwRight};
    Transform<false>(adwLeft, adwRight);
    rdwLeft = adwLeft[0];
    rdwRight = adwRight[0];
}

template <bool ENCRYPT>
void BlowFish::TransformData(BYTE* pbyData, DWORD dwLength) const noexcept {
    constexpr std::ptrdiff_t PIECE = BLOCKS_AT_ONCE * std::ptrdiff_t{BLOCK_BYTES};
    BYTE* const pbyEnd = pbyData + dwLength;
    for (; pbyEnd - pbyData >= PIECE; pbyData += BLOCKS_AT_ONCE * BLOCK_BYTES) {
        DWORD adwLeft[BLOCKS_AT_ONCE], adwRight[BLOCKS_AT_ONCE];
        for (unsigned i = 0; i < BLOCKS_AT_ONCE; ++i) {
            adwLeft[i] = LoadBigEndian(pbyData + i * BLOCK_BYTES);
            adwRight[i] = LoadBigEndian(pbyData + i * BLOCK_BYTES + 4);
        }
        Transform<ENCRYPT>(adwLeft, adwRight);
        for (unsigned i = 0; i < BLOCKS_AT_ONCE; ++i) {
            StoreBigEndian(pbyData + i * BLOCK_BYTES, adwLeft[i]);
            StoreBigEndian(pbyData + i * BLOCK_BYTES + 4, adwRight[i]);
        }
    }
    for (; pbyData != pbyEnd; pbyData += BLOCK_BYTES) {
        DWORD dwLeft = LoadBigEndian(pbyData), dwRight = LoadBigEndian(pbyData + 4);
        if constexpr (ENCRYPT) {
            BlowFish_Encipher(dwLeft, dwRight);
        } else {
            BlowFish_Decipher(dwLeft, dwRight);
        }
        StoreBigEndian(pbyData, dwLeft);
        StoreBigEndian(pbyData + 4, dwRight);
    }
}

bool BlowFish::IsReady() const noexcept {
    if (m_bHasPassword) return true;
    VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("Blowfish has no password, so nothing is encrypted or decrypted."));
    return false;
}

bool BlowFish::EncryptData(ByteBuffer& rbbData) const noexcept {
    return EncryptData(rbbData.data(), rbbData.GetLength());
}

bool BlowFish::EncryptData(BYTE* pbyData, DWORD dwLength) const noexcept {
    if (dwLength % BLOCK_BYTES != 0) {
        VLM_REPORT_ERROR(
            DebugCategory::Utils,
            VTEXT("BlowFish::EncryptData requires the input to be a multiple of 8 bytes (64 bits) to work."));
        return false;
    }
    if (!IsReady()) return false;
    TransformData<true>(pbyData, dwLength);
    return true;
}

bool BlowFish::DecryptData(ByteBuffer& rbbData) const noexcept {
    return DecryptData(rbbData.data(), rbbData.GetLength());
}

bool BlowFish::DecryptData(BYTE* pbyData, DWORD dwLength) const noexcept {
    if (dwLength % BLOCK_BYTES != 0) {
        VLM_REPORT_ERROR(
            DebugCategory::Utils,
            VTEXT("BlowFish::DecryptData requires the input to be a multiple of 8 bytes (64 bits) to work."));
        return false;
    }
    if (!IsReady()) return false;
    TransformData<false>(pbyData, dwLength);
    return true;
}
