/// @file
/// Tells the kind of process by the name of its executable.
#include "utilities/utilitiesdll/DriverLoadedContext.h"

#include <algorithm>
#include <array>

#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

namespace {

struct NamedContext {
    XStringView name;  ///< in lower case
    DriverLoadedContext::Context eContext;
};

constexpr std::array NAMED_CONTEXTS = {
    NamedContext{VTEXT("spoolsv.exe"), DriverLoadedContext::DLC_SPOOLER},
    NamedContext{VTEXT("wmiprvse.exe"), DriverLoadedContext::DLC_WMI_PROVIDER},
    NamedContext{VTEXT("drvinst.exe"), DriverLoadedContext::DLC_INSTALLER},
    NamedContext{VTEXT("msiexec.exe"), DriverLoadedContext::DLC_INSTALLER},
    NamedContext{VTEXT("printisolationhost.exe"), DriverLoadedContext::DLC_SPOOLER_COMPONENT},
    NamedContext{VTEXT("printfilterpipelinesvc.exe"), DriverLoadedContext::DLC_SPOOLER_COMPONENT},
};

bool IsNamed(XStringView name, XStringView wanted) noexcept {
    return std::equal(name.begin(), name.end(), wanted.begin(), wanted.end(),
                      [](XCHAR chName, XCHAR chWanted) { return vlm::text::ToLower(chName) == chWanted; });
}

}  // namespace

DriverLoadedContext::Context DriverLoadedContext::Get() noexcept {
    std::array<XCHAR, 1024> achPath{};
    const std::size_t cUnits = vlm::GetPlatform().pProcess->ModulePath(nullptr, achPath.data(), achPath.size());
    if (cUnits == 0) return DLC_UNKNOWN;
    XStringView name(achPath.data(), cUnits);
    const std::size_t cFolder = name.find_last_of(VTEXT("\\/"));
    if (cFolder != XStringView::npos) name.remove_prefix(cFolder + 1);
    for (const NamedContext& rNamed : NAMED_CONTEXTS) {
        if (IsNamed(name, rNamed.name)) return rNamed.eContext;
    }
    return DLC_APPLICATION;
}

const XCHAR* DriverLoadedContext::GetName(Context eContext) noexcept {
    static constexpr std::array<const XCHAR*, 6> NAMES = {VTEXT("unknown"),   VTEXT("application"),
                                                          VTEXT("spooler"),   VTEXT("management provider"),
                                                          VTEXT("installer"), VTEXT("spooler component")};
    return eContext < NAMES.size() ? NAMES[eContext] : NAMES[DLC_UNKNOWN];
}
