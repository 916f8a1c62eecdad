/// @file
/// The standard CRC-32.
#include "utilities/utilitiesdll/Crc32.h"

#include "utilities/utilitiesdll/detail/values/CrcKernels.h"

DWORD Crc32::GetCrc(const BYTE* pbyData, DWORD dwLength) noexcept {
    return GetCrc(pbyData, dwLength, 0xFFFFFFFF);
}

DWORD Crc32::GetCrc(const BYTE* pbyData, DWORD dwLength, DWORD dwSeed) noexcept {
    return ~vlm::UpdateCrc(dwSeed, pbyData, pbyData ? dwLength : 0);
}
