/// @file
/// Installs, checks and upgrades the port monitor.
#include <array>

#include "environment/PortMonitorFilesImpl.h"
#include "environment/PortMonitorImpl.h"
#include "environment/User.h"
#include "platform/FilePort.h"
#include "platform/SpoolerPort.h"
#include "utilities/debuggingandexceptions/NoThrow.h"

using vlm::SpoolerPort;
using vlm::Status;

namespace {

SpoolerPort& Spooler() noexcept {
    return *vlm::GetPlatform().pSpooler;
}

/// Did a copying step leave a file that can be used?  Where there is no folder, or no file to copy, the spooler itself
/// tells whether it finds the DLL.
bool IsUsable(_VelomPortMonitorStatus eStatus) noexcept {
    return eStatus != _VelomPortMonitorStatus::VPMS_ACCESS_DENIED && eStatus != _VelomPortMonitorStatus::VPMS_FAILED;
}

}  // namespace

bool VelomPortMonitor::InstallAndUpgrade(bool fUpgrade) noexcept {
    const RevertToPrinterSelfWrapper oSelf;
    if (!oSelf.IsReverted()) {
        m_dwLastStatus = vlm::ToDword(Status::AccessDenied);
        return false;
    }
    bool fDone = false;
    const bool fRan = vlm::NoThrow([&] {
        if (!IsVelomPortMonitorInstalled(false)) {
            // A monitor that is perhaps there, but cannot be found, keeps its files.
            fDone = m_dwLastStatus == SpoolerPort::UNKNOWN_PRINT_MONITOR && IsUsable(CopyOrReplaceLoader()) &&
                    IsUsable(CopyOrReplaceMonitor()) && AddOurMonitor() && IsVelomPortMonitorFunctional(true);
        } else if (IsVelomPortMonitorFunctional(true)) {
            fDone = !fUpgrade || !vlm::IsShippedMonitorNewer() ||
                    (UpgradeVelomPortMonitor() && IsVelomPortMonitorFunctional(true));
        }
    });
    if (!fRan) m_dwLastStatus = vlm::ToDword(Status::NotEnoughMemory);
    return fDone;
}

bool VelomPortMonitor::IsVelomPortMonitorInstalled(bool fOpenChannel) noexcept {
    try {
        const CXString csName = GetPortMonitorName();
        for (DWORD dwIndex = 0;; ++dwIndex) {
            std::array<XCHAR, SpoolerPort::MAX_MONITOR_NAME_UNITS> achName{};
            DWORD cName = static_cast<DWORD>(achName.size());
            const Status status = Spooler().EnumerateMonitor(dwIndex, achName.data(), cName);
            m_dwLastStatus = vlm::ToDword(status);
            if (status == Status::MoreData) continue;  // a name that long is not ours
            if (status == Status::NoMoreItems) m_dwLastStatus = SpoolerPort::UNKNOWN_PRINT_MONITOR;
            if (status != Status::Success) return false;
            if (csName.CompareNoCase(XStringView(achName.data(), cName)) == 0) break;
        }
        return !fOpenChannel || GetVelomPortMonitorHandle() != nullptr;
    } catch (const std::exception& rException) {
        m_dwLastStatus = vlm::ToDword(Status::NotEnoughMemory);
        VLM_REPORT_ERROR(DebugCategory::InstManager, VTEXT("Exception thrown during IsVelomPortMonitorInstalled - %s"),
                         VelomException::GetExceptionDescription(rException));
    }
    return false;
}

bool VelomPortMonitor::IsVelomPortMonitorFunctional(bool fOpenChannel) noexcept {
    try {
        if (!fOpenChannel && !IsChannelOpen()) return false;
        DWORD cbNeeded = 0;
        const DWORD dwStatus = SendCommand(VTEXT("isready"), ByteBuffer(), nullptr, 0, cbNeeded);
        VLM_REPORT(DebugCategory::InstManager, VTEXT("The port monitor was asked whether it is ready. %s"),
                   vlm::TextOfStatus(dwStatus));
        return dwStatus == 0;
    } catch (const std::exception& rException) {
        m_dwLastStatus = vlm::ToDword(Status::NotEnoughMemory);
        VLM_REPORT_ERROR(DebugCategory::InstManager, VTEXT("Exception thrown during IsVelomPortMonitorFunctional - %s"),
                         VelomException::GetExceptionDescription(rException));
    }
    return false;
}

bool VelomPortMonitor::AddOurMonitor() noexcept {
    try {
        const CXString csName = GetPortMonitorName();
        const RevertToPrinterSelfWrapper oSelf;
        const PrivilegeScope oPrivilege(PrivilegeScope::LOAD_DRIVER);
        m_dwLastStatus = vlm::ToDword(Spooler().AddMonitorDll(csName, SpoolerPort::ENVIRONMENT, LOADER_DLL));
        if (m_dwLastStatus == SpoolerPort::PRINT_MONITOR_ALREADY_INSTALLED) m_dwLastStatus = 0;
        if (m_dwLastStatus == 0) return true;
        VLM_REPORT_ERROR(DebugCategory::InstManager, VTEXT("The port monitor '%s' cannot be registered! %s"), csName,
                         vlm::TextOfStatus(m_dwLastStatus));
    } catch (const std::exception&) {
        m_dwLastStatus = vlm::ToDword(Status::NotEnoughMemory);
    }
    return false;
}

bool VelomPortMonitor::UpgradeVelomPortMonitor() noexcept {
    try {
        const RevertToPrinterSelfWrapper oSelf;
        const PrivilegeScope oPrivilege(PrivilegeScope::LOAD_DRIVER);
        CXString csFolder;
        m_dwLastStatus = vlm::ToDword(vlm::GetSystemFolder(csFolder));
        if (m_dwLastStatus != 0) return false;
        // Where there is no system folder there are no files, and the monitor takes what its process has.
        if (!csFolder.IsEmpty()) {
            const Status status = vlm::PlaceShippedMonitor(csFolder + vlm::PENDING_MONITOR_FILE);
            m_dwLastStatus = vlm::ToDword(status);
            if (status != Status::Success) {
                VLM_REPORT_ERROR(DebugCategory::InstManager,
                                 VTEXT("The newer DLL of the port monitor cannot be made ready! %s"),
                                 vlm::TextOfStatus(status));
                return false;
            }
        }
        DWORD cbNeeded = 0;
        DWORD dwStatus = SendCommand(VTEXT("upgrade"), ByteBuffer(), nullptr, 0, cbNeeded);
        VLM_REPORT(DebugCategory::InstManager, VTEXT("The port monitor was asked to take a newer DLL. %s"),
                   vlm::TextOfStatus(dwStatus));
        if (dwStatus == vlm::ToDword(Status::AlreadyExists)) {
            // The one in force is not older.
            if (!csFolder.IsEmpty()) vlm::GetPlatform().pFiles->Delete(csFolder + vlm::PENDING_MONITOR_FILE);
            m_dwLastStatus = dwStatus = 0;
        }
        return dwStatus == 0;
    } catch (const std::exception& rException) {
        m_dwLastStatus = vlm::ToDword(Status::NotEnoughMemory);
        VLM_REPORT_ERROR(DebugCategory::InstManager, VTEXT("Exception thrown during UpgradeVelomPortMonitor - %s"),
                         VelomException::GetExceptionDescription(rException));
    }
    return false;
}
