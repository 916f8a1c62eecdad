/// @file
/// What the stacks of all families of execution contexts have in common.
#include "utilities/debuggingandexceptions/detail/failure/ContextStackText.h"

#include <array>

#include "platform/ProcessPort.h"

namespace vlm {

CXString GetNameOfProcess() noexcept {
    std::array<XCHAR, 1024> achPath{};
    const std::size_t cUnits = GetPlatform().pProcess->ModulePath(nullptr, achPath.data(), achPath.size());
    const XStringView path(achPath.data(), cUnits);
    return std::move(SafeText().Append(path.substr(path.find_last_of(VTEXT("\\/")) + 1)).Get());
}

}  // namespace vlm
