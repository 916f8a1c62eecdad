/// @file
/// Removes the port monitor and its DLLs.
#include "environment/PortMonitorFilesImpl.h"
#include "environment/PortMonitorImpl.h"
#include "environment/User.h"
#include "platform/FilePort.h"
#include "platform/FolderPort.h"
#include "platform/SpoolerPort.h"

using vlm::SpoolerPort;
using vlm::Status;

bool VelomPortMonitor::DeleteOurMonitor(bool fDeleteFiles) noexcept {
    CloseVelomPortMonitor();
    try {
        const CXString csName = GetPortMonitorName();
        const RevertToPrinterSelfWrapper oSelf;
        {
            const PrivilegeScope oPrivilege(PrivilegeScope::LOAD_DRIVER);
            m_dwLastStatus =
                vlm::ToDword(vlm::GetPlatform().pSpooler->DeleteMonitorByName(csName, SpoolerPort::ENVIRONMENT));
        }
        if (m_dwLastStatus == SpoolerPort::UNKNOWN_PRINT_MONITOR) m_dwLastStatus = 0;
        if (m_dwLastStatus != 0) {
            VLM_REPORT_ERROR(DebugCategory::InstManager, VTEXT("The port monitor '%s' cannot be removed! %s"), csName,
                             vlm::TextOfStatus(m_dwLastStatus));
            return false;
        }
        if (!fDeleteFiles) return true;
        CXString csFolder;
        m_dwLastStatus = vlm::ToDword(vlm::GetSystemFolder(csFolder));
        if (m_dwLastStatus != 0 || csFolder.IsEmpty()) return m_dwLastStatus == 0;
        vlm::GetPlatform().pFiles->Delete(csFolder + vlm::PENDING_MONITOR_FILE);
        const bool fMonitorGone = deletePortMonitorDll(csFolder + vlm::MONITOR_FILE);
        return deletePortMonitorDll(csFolder + vlm::LOADER_FILE) && fMonitorGone;
    } catch (const std::exception&) {
        m_dwLastStatus = vlm::ToDword(Status::NotEnoughMemory);
    }
    return false;
}

bool VelomPortMonitor::deletePortMonitorDll(const CXString& kcsPath) noexcept {
    const Status status = vlm::GetPlatform().pFiles->Delete(kcsPath);
    m_dwLastStatus = vlm::ToDword(status);
    if (status == Status::Success) return true;
    if (status == Status::FileNotFound || status == Status::PathNotFound) {
        m_dwLastStatus = 0;
        VLM_REPORT(DebugCategory::InstManager,
                   VTEXT("The PortMonitor Dll %s doesn't exists. Either it is "
                         "already deleted or Port Monitor is not "
                         "yet Installed"),
                   kcsPath);
        return true;
    }
    VLM_REPORT(DebugCategory::InstManager,
               VTEXT("The Portmonitor Dll %s is not Deleted - %s - marking the "
                     "dll to be Deleted on Reboot"),
               kcsPath, vlm::TextOfStatus(status));
    return deleteDllAfterSystemRestart(kcsPath);
}

bool VelomPortMonitor::deleteDllAfterSystemRestart(const CXString& kcsPath) noexcept {
    const Status status = vlm::GetPlatform().pFolders->DeleteAtRestart(kcsPath);
    m_dwLastStatus = vlm::ToDword(status);
    if (status == Status::Success) {
        VLM_REPORT(DebugCategory::InstManager,
                   VTEXT("Port Monitor Dll %s is successfully marked to be deleted "
                         "after restart"),
                   kcsPath);
        return true;
    }
    VLM_REPORT_ERROR(DebugCategory::InstManager,
                     VTEXT("Port Monitor Dll %s marking for Deletion after "
                           "restart is failed - Use Scrubber to delete "
                           "it"),
                     kcsPath);
    return false;
}
