/// @file
/// The 16-bit ones'-complement checksum.
#include "utilities/utilitiesdll/Checksum.h"

#include "utilities/utilitiesdll/detail/values/WordSum.h"

WORD Checksum::GetChecksum(const BYTE* pbyData, DWORD dwLength) noexcept {
    DWORD dwSum = 0;
    if (pbyData && dwLength > 0) {
        // 64-bit counts: half of the greatest odd length, rounded up, would not fit its own index otherwise.
        const std::size_t cWords = (std::size_t{dwLength} + 1) / 2;
        dwSum = vlm::SumOfWords(pbyData, cWords);
        // Deliberate: stored checksums of odd lengths contain the two bytes behind the data, see the header.
        if (dwLength % 2 != 0) dwSum += pbyData[2 * cWords];
        dwSum += dwLength;
    }
    while (dwSum >> 16 != 0)
        dwSum = (dwSum & 0xFFFF) + (dwSum >> 16);
    return static_cast<WORD>(~dwSum);
}
