/// @file
/// The name that the port monitor is registered under.
#include <algorithm>

#include "environment/PortMonitorFilesImpl.h"
#include "environment/PortMonitorImpl.h"
#include "platform/ProcessPort.h"
#include "platform/SpoolerPort.h"
#include "platform/TextPort.h"

using vlm::Status;

namespace {

/// The string of the language resources that holds the name.
constexpr UINT NAME_STRING_ID = 2001;

/// A module that is loaded for its resources alone.
class ResourceModule {
public:
    explicit ResourceModule(const CXString& kcsPath) noexcept {
        if (vlm::GetPlatform().pProcess->LoadResources(kcsPath, m_hModule) != Status::Success) m_hModule = nullptr;
    }
    ~ResourceModule() {
        if (m_hModule) vlm::GetPlatform().pProcess->FreeResources(m_hModule);
    }
    ResourceModule(const ResourceModule&) = delete;
    ResourceModule& operator=(const ResourceModule&) = delete;

    CXString Text(UINT uId) const {
        return m_hModule ? CXString(vlm::GetPlatform().pText->StringResource(m_hModule, uId)) : CXString();
    }

private:
    HINSTANCE m_hModule = nullptr;
};

/// A name that the spooler takes for a monitor's, and that means nothing else in the name of a channel.
bool IsMonitorName(const CXString& kcsName) noexcept {
    return !kcsName.IsEmpty() && kcsName.View().size() < vlm::SpoolerPort::MAX_MONITOR_NAME_UNITS &&
           std::all_of(kcsName.begin(), kcsName.end(),
                       [](XCHAR ch) { return ch >= VTEXT(' ') && ch != VTEXT('\\') && ch != VTEXT(','); });
}

}  // namespace

CXString VelomPortMonitor::GetPortMonitorName() {
    return GetPortMonitorNameForScrubber(nullptr);
}

CXString VelomPortMonitor::GetPortMonitorNameForScrubber(const XCHAR* pszFolder) {
    const CXString csFolder = IS_VALID_STRING(pszFolder) ? CXString(pszFolder) : vlm::GetDriverFolder();
    if (!csFolder.IsEmpty()) {
        // One name for all users of the machine: not the language of one of them.
        const CXString csModule =
            CXString::FormatString(VTEXT("%s\\%s\\Language Data\\%s\\%s\\%s"), VTEXT("Velom"), VTEXT("V5.0"),
                                   VTEXT("x64"), VTEXT("Neutral"), VTEXT("q9txt073.dll"));
        CXString csName = ResourceModule(csFolder + VTEXT("\\") + csModule).Text(NAME_STRING_ID);
        if (IsMonitorName(csName)) return csName;
    }
    return CXString(VTEXT("Velom Virtualization Port"));
}
