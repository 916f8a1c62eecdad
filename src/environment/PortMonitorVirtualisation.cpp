/// @file
/// Finds out whether the process sees a virtualised registry.
#include <array>
#include <atomic>

#include "environment/PortMonitorImpl.h"
#include "platform/ClockPort.h"
#include "platform/ProcessPort.h"
#include "platform/RegistryPort.h"
#include "utilities/debuggingandexceptions/NoThrow.h"

using vlm::RegistryPort;
using vlm::Status;

namespace {

constexpr const XCHAR* DEFAULT_USER = VTEXT(".DEFAULT");
/// Relative to the root of the user's "…\PrinterDriver" tree.
constexpr const XCHAR* CHECK_KEY = VTEXT("V5.0");
constexpr const XCHAR* CHECK_VALUE = VTEXT("VRCheck");

/// Other processes check at the same time, with the same value: one that does not come back as it was written is
/// written again a few times.
constexpr int CHECK_ATTEMPTS = 3;

constinit std::atomic<int> giVirtualized{0};

/// Reads a number below a predefined key the way that the process itself sees it.
bool ReadDirectly(HKEY hRoot, const CXString& kcsPath, const XCHAR* pszName, LONG& rlValue) noexcept {
    RegistryPort& rRegistry = *vlm::GetPlatform().pRegistry;
    HKEY hKey = nullptr;
    if (rRegistry.Open(hRoot, kcsPath, RegistryPort::QUERY_VALUE, hKey) != Status::Success) return false;
    std::array<BYTE, sizeof(LONG)> abyValue{};
    DWORD dwType = 0;
    DWORD cbValue = sizeof abyValue;
    const Status status = rRegistry.QueryValue(hKey, pszName, dwType, abyValue.data(), cbValue);
    rRegistry.Close(hKey);
    return status == Status::Success && cbValue == sizeof abyValue &&
           vlm::PortMonitorReply::DecodeLong(abyValue, rlValue);
}

}  // namespace

bool VelomPortMonitor::IsRegistryVirtualized() noexcept {
    int iAnswer = giVirtualized.load(std::memory_order_relaxed);
    if (iAnswer == static_cast<int>(Answer::Unknown)) {
        iAnswer = static_cast<int>(vlm::NoThrow([] { return CheckForVirtualizedRegistry(); }, Answer::Unknown));
        giVirtualized.store(iAnswer, std::memory_order_relaxed);
    }
    return iAnswer == static_cast<int>(Answer::Yes);
}

void VelomPortMonitor::CleanUp() noexcept {
    giVirtualized.store(static_cast<int>(Answer::Unknown), std::memory_order_relaxed);
}

VelomPortMonitor::Answer VelomPortMonitor::CheckForVirtualizedRegistry() {
    constexpr _HKEYREGISTRY_ ROOT = HKeyRegistry::Hkey_User_Printer_Driver;
    const HKEY hUsers = GetRegHkeyFromContext(ROOT, true);
    const CXString csPath = MakePath(GetKeyPathFromHkey(ROOT, true, DEFAULT_USER), CHECK_KEY);
    VelomPortMonitor oMonitor;
    Answer eAnswer = Answer::Unknown;
    for (int i = 0; i < CHECK_ATTEMPTS && eAnswer != Answer::No; ++i) {
        const vlm::Platform& rPlatform = vlm::GetPlatform();
        const LONG lWritten = static_cast<LONG>(rPlatform.pProcess->CurrentProcessId() * 0x9E3779B1u ^
                                                (rPlatform.pClock->TickCount() + static_cast<DWORD>(i)));
        if (!oMonitor.SetLongValue(ROOT, CHECK_KEY, CHECK_VALUE, lWritten, DEFAULT_USER)) return Answer::Unknown;
        LONG lRead = 0;
        const bool fRead = ReadDirectly(hUsers, csPath, CHECK_VALUE, lRead);
        eAnswer = fRead && lRead == lWritten ? Answer::No : Answer::Yes;
    }
    oMonitor.DeleteValue(ROOT, CHECK_KEY, CHECK_VALUE, DEFAULT_USER);
    VLM_REPORT(DebugCategory::Registry, VTEXT("The registry of this process is %s."),
               eAnswer == Answer::Yes ? VTEXT("virtualised") : VTEXT("the system's own"));
    return eAnswer;
}
