/// @file
/// The 32-bit fingerprint.
#include "utilities/utilitiesdll/Hash32.h"

#include <cstring>

#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/Crc32.h"
#include "utilities/utilitiesdll/detail/values/ElfHash.h"

namespace {

// Where the system's device mode holds its two sizes: behind a name of 32 units and two version words.
constexpr DWORD DM_SIZE_OFFSET = 68;
constexpr DWORD DM_DRIVER_EXTRA_OFFSET = 70;
constexpr DWORD DM_SIZES_END = 72;

DWORD WordAt(const BYTE* pbyBlock, DWORD dwOffset) noexcept {
    WORD wValue;
    std::memcpy(&wValue, pbyBlock + dwOffset, sizeof wValue);
    return wValue;
}

}  // namespace

DWORD Hash32::GetHash32(const BYTE* pbyData, DWORD dwLength) noexcept {
    if (!pbyData || dwLength == 0) return 0;
    const DWORD dwHash = vlm::ElfHash(pbyData, dwLength) ^ Crc32::GetCrc(pbyData, dwLength);
    return dwHash != 0 ? dwHash : 1;
}

DWORD Hash32::GetHash32(const ByteBuffer& kbbData) noexcept {
    return GetHash32(kbbData.getLpbyte(), kbbData.GetLength());
}

DWORD Hash32::GetHash32(const CXString& kcsText) noexcept {
    return GetHash32(reinterpret_cast<const BYTE*>(kcsText.GetLpcwstr()),
                     static_cast<DWORD>(kcsText.GetLength()) * static_cast<DWORD>(sizeof(XCHAR)));
}

DWORD Hash32::GetHash32(const DEVMODEW* pDevMode) noexcept {
    if (!pDevMode) return 0;
    const BYTE* const pbyBlock = reinterpret_cast<const BYTE*>(pDevMode);
    return GetHash32(pbyBlock, WordAt(pbyBlock, DM_SIZE_OFFSET) + WordAt(pbyBlock, DM_DRIVER_EXTRA_OFFSET));
}

DWORD Hash32::GetBoundedHash32(const DEVMODEW* pDevMode, DWORD dwBlockLength) noexcept {
    if (!pDevMode || dwBlockLength == 0) return 0;
    const BYTE* const pbyBlock = reinterpret_cast<const BYTE*>(pDevMode);
    const DWORD dwSize = dwBlockLength >= DM_SIZES_END ? WordAt(pbyBlock, DM_SIZE_OFFSET) : 0;
    const DWORD dwExtra = dwBlockLength >= DM_SIZES_END ? WordAt(pbyBlock, DM_DRIVER_EXTRA_OFFSET) : 0;
    if (dwSize < DM_SIZES_END || dwSize + dwExtra > dwBlockLength) {
        VLM_REPORT_ERROR(
            DebugCategory::DevMode | DebugCategory::Utils,
            VTEXT("The device mode of %lu bytes claims %lu public and %lu private bytes. It is not hashed."),
            dwBlockLength, dwSize, dwExtra);
        return 0;
    }
    return GetHash32(pbyBlock, dwSize + dwExtra);
}

DWORD Hash32::AddToHash32(DWORD dwPrevious, const BYTE* pbyData, DWORD dwLength) noexcept {
    if (!pbyData || dwLength == 0) return dwPrevious;
    const DWORD dwSum = dwPrevious + GetHash32(pbyData, dwLength);
    return dwSum != 0 ? dwSum : 0xFFFFFFFF;
}

WORD Hash32::GetHash16(const BYTE* pbyData, DWORD dwLength) noexcept {
    return Hash16FromHash32(GetHash32(pbyData, dwLength));
}

WORD Hash32::Hash16FromHash32(DWORD dwHash) noexcept {
    return static_cast<WORD>((dwHash >> 16) + dwHash);
}
