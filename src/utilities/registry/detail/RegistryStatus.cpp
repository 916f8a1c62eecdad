/// @file
/// A registry status in words.
#include "utilities/registry/detail/RegistryStatus.h"

#include <array>

#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

namespace vlm {

CXString RegistryStatusInWords(DWORD dwStatus) noexcept {
    CXString csStatus = GetSystemErrorText(dwStatus);
    if (csStatus.IsEmpty()) TryFormat(csStatus, VTEXT("Status %lu"), dwStatus);
    std::array<XCHAR, 1024> achPath{};
    if (GetPlatform().pProcess->ModulePath(nullptr, achPath.data(), achPath.size()) == 0) return csStatus;
    CXString csWords;
    TryFormat(csWords, VTEXT("Application=%s. %s"), achPath.data(), csStatus);
    return csWords;
}

}  // namespace vlm
