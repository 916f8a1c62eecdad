/// @file
/// The table forms of the CRC-32 step.
#include "utilities/utilitiesdll/detail/values/CrcKernels.h"

#include <bit>
#include <cstring>

#include "utilities/utilitiesdll/detail/values/CrcTables.h"

namespace vlm {
namespace {

static_assert(std::endian::native == std::endian::little, "words are loaded as the message's bytes stand");

/// The effect of the four bytes of `v`, the first of which is followed by `iBehind` bytes.
inline std::uint32_t Slice(std::uint32_t v, std::size_t iBehind) noexcept {
    return crc::TABLES[iBehind][v & 0xFF] ^ crc::TABLES[iBehind - 1][(v >> 8) & 0xFF] ^
           crc::TABLES[iBehind - 2][(v >> 16) & 0xFF] ^ crc::TABLES[iBehind - 3][v >> 24];
}

inline std::uint32_t LoadWord(const BYTE* pbyData) noexcept {
    std::uint32_t v;
    std::memcpy(&v, pbyData, sizeof v);
    return v;
}

}  // namespace

DWORD UpdateCrcPlain(DWORD dwRegister, const BYTE* pbyData, std::size_t cBytes) noexcept {
    for (; cBytes > 0; --cBytes)
        dwRegister = (dwRegister >> 8) ^ crc::TABLES[0][(dwRegister ^ *pbyData++) & 0xFF];
    return dwRegister;
}

DWORD UpdateCrcSliced(DWORD dwRegister, const BYTE* pbyData, std::size_t cBytes) noexcept {
    for (; cBytes >= 16; cBytes -= 16, pbyData += 16) {
        dwRegister = Slice(LoadWord(pbyData) ^ dwRegister, 15) ^ Slice(LoadWord(pbyData + 4), 11) ^
                     Slice(LoadWord(pbyData + 8), 7) ^ Slice(LoadWord(pbyData + 12), 3);
    }
    if (cBytes >= 8) {
        dwRegister = Slice(LoadWord(pbyData) ^ dwRegister, 7) ^ Slice(LoadWord(pbyData + 4), 3);
        cBytes -= 8;
        pbyData += 8;
    }
    if (cBytes >= 4) {
        dwRegister = Slice(LoadWord(pbyData) ^ dwRegister, 3);
        cBytes -= 4;
        pbyData += 4;
    }
    return UpdateCrcPlain(dwRegister, pbyData, cBytes);
}

}  // namespace vlm
