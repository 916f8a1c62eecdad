/// @file
/// Texts put together where no failure may come of it.
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

#include <array>

#include "platform/Platform.h"
#include "platform/TextPort.h"

namespace vlm {

CXString GetSystemErrorText(DWORD dwError) noexcept {
    std::array<XCHAR, 512> achText{};
    const std::size_t cUnits = GetPlatform().pText->SystemErrorText(dwError, achText.data(), achText.size() - 1);
    achText[cUnits < achText.size() ? cUnits : achText.size() - 1] = XCHAR();
    return TextOrEmpty(achText.data());
}

}  // namespace vlm
