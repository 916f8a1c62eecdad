/// @file
/// Puts the system's words and number of a status together.
#include "utilities/utilitiesdll/SystemText.h"

#include <array>

#include "platform/Platform.h"
#include "platform/TextPort.h"

namespace vlm {

CXString TextOfStatus(DWORD dwStatus) {
    std::array<XCHAR, 512> achWords{};
    const std::size_t cUnits = GetPlatform().pText->SystemErrorText(dwStatus, achWords.data(), achWords.size());
    const CXString csWords(achWords.data(), static_cast<int>(cUnits));
    return CXString::FormatString(csWords.IsEmpty() ? VTEXT("%serror %lu") : VTEXT("%s (error %lu)"), csWords,
                                  dwStatus);
}

}  // namespace vlm
