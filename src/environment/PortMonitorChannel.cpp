/// @file
/// The channel to the port monitor: opening, sending, closing.
#include <algorithm>

#include "environment/PortMonitorImpl.h"
#include "environment/User.h"
#include "platform/SpoolerPort.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/utilitiesdll/LoaderLock.h"

namespace {

using vlm::SpoolerPort;
using vlm::Status;

/// The server end is gone: the spooler was stopped, or ended while it carried the call.
constexpr DWORD SERVER_UNAVAILABLE = 1722, SERVER_CALL_FAILED = 1726;

SpoolerPort& Spooler() noexcept {
    return *vlm::GetPlatform().pSpooler;
}

/// Is a handle worth nothing after a call on it ended like this?
bool IsChannelLost(Status status) noexcept {
    const DWORD dwStatus = vlm::ToDword(status);
    return status == Status::InvalidHandle || dwStatus == SERVER_UNAVAILABLE || dwStatus == SERVER_CALL_FAILED;
}

}  // namespace

VelomPortMonitor::VelomPortMonitor(bool fOpenChannel) noexcept {
    if (fOpenChannel) OpenVelomPortMonitor();
}

VelomPortMonitor::~VelomPortMonitor() {
    CloseVelomPortMonitor();
}

VelomPortMonitor::VelomPortMonitor(VelomPortMonitor&& rOther) noexcept
    : m_hVelomPortMonitor(std::exchange(rOther.m_hVelomPortMonitor, nullptr)), m_dwLastStatus(rOther.m_dwLastStatus) {}

VelomPortMonitor& VelomPortMonitor::operator=(VelomPortMonitor&& rOther) noexcept {
    if (this == &rOther) return *this;
    CloseVelomPortMonitor();
    m_hVelomPortMonitor = std::exchange(rOther.m_hVelomPortMonitor, nullptr);
    m_dwLastStatus = rOther.m_dwLastStatus;
    return *this;
}

HANDLE VelomPortMonitor::GetVelomPortMonitorHandle() noexcept {
    return m_hVelomPortMonitor ? m_hVelomPortMonitor : OpenVelomPortMonitor();
}

HANDLE VelomPortMonitor::OpenVelomPortMonitor() noexcept {
    if (vlm::IsUnderLoaderLock()) {
        m_dwLastStatus = vlm::ToDword(Status::Busy);
        return nullptr;
    }
    CloseVelomPortMonitor();
    try {
        const CXString csName = VTEXT(",XcvMonitor ") + GetPortMonitorName();
        HANDLE hChannel = nullptr;
        Status status = Status::AccessDenied;
        if (User::IsAdministrator())
            status = Spooler().OpenPrinterHandle(csName, SpoolerPort::ACCESS_ADMINISTER, hChannel);
        if (status == Status::AccessDenied)
            status = Spooler().OpenPrinterHandle(csName, SpoolerPort::ACCESS_ENUMERATE, hChannel);
        m_dwLastStatus = vlm::ToDword(status);
        if (status == Status::Success) {
            m_hVelomPortMonitor = hChannel;
        } else {
            VLM_REPORT(DebugCategory::Registry, VTEXT("The channel '%s' cannot be opened. %s"), csName,
                       vlm::TextOfStatus(status));
        }
    } catch (const std::exception& rException) {
        m_dwLastStatus = vlm::ToDword(Status::NotEnoughMemory);
        VLM_REPORT_ERROR(DebugCategory::Registry, VTEXT("Exception thrown during OpenVelomPortMonitor - %s"),
                         VelomException::GetExceptionDescription(rException));
    }
    return m_hVelomPortMonitor;
}

void VelomPortMonitor::CloseVelomPortMonitor() noexcept {
    if (!m_hVelomPortMonitor) return;
    const Status status = Spooler().ClosePrinterHandle(std::exchange(m_hVelomPortMonitor, nullptr));
    if (status == Status::Success) return;
    VLM_REPORT_ERROR(DebugCategory::Registry, VTEXT("The channel cannot be closed! %s"), vlm::TextOfStatus(status));
}

DWORD VelomPortMonitor::SendCommand(const XCHAR* pszCommand, const ByteBuffer& kbbInput, BYTE* pbyOutput,
                                    DWORD cbOutput, DWORD& rcbNeeded) noexcept {
    rcbNeeded = 0;
    const HANDLE hChannel = GetVelomPortMonitorHandle();
    if (!hChannel) return m_dwLastStatus;
    DWORD dwMonitorStatus = 0;
    DWORD cbNeeded = 0;
    const Status status = Spooler().Transceive(hChannel, pszCommand, kbbInput.getLpbyte(), kbbInput.GetLength(),
                                               pbyOutput, cbOutput, cbNeeded, dwMonitorStatus);
    m_dwLastStatus = status == Status::Success ? dwMonitorStatus : vlm::ToDword(status);
    if (IsChannelLost(status)) CloseVelomPortMonitor();
    if (status == Status::Success) rcbNeeded = cbNeeded;
    // A module that answers under the monitor's name may claim anything.
    if (m_dwLastStatus == 0 && cbNeeded > cbOutput) {
        rcbNeeded = 0;
        m_dwLastStatus = vlm::ToDword(Status::InvalidData);
    }
    return m_dwLastStatus;
}

bool VelomPortMonitor::XcvDataPort(const ByteBuffer& kbbRequest, BYTE* pbyOutput, DWORD cbOutput, DWORD* pdwNeeded,
                                   DWORD* pdwStatus) noexcept {
    DWORD cbNeeded = 0;
    const DWORD dwStatus = SendCommand(VTEXT("xregistry"), kbbRequest, pbyOutput, cbOutput, cbNeeded);
    VLM_REPORT(DebugCategory::Registry, VTEXT("XcvDataPort - %s"), vlm::TextOfStatus(dwStatus));
    if (m_dwLastStatus == vlm::ToDword(Status::InvalidHandle) ||
        m_dwLastStatus == vlm::ToDword(Status::InvalidParameter)) [[unlikely]] {
        // The condition's text is fixed, and is not written as the library's code would write it.
        vlm::FailAssertion(VTEXT("((m_dwLastStatus != (DWORD)6L) && (m_dwLastStatus != (DWORD)87L))"), VLM_HERE,
                           CXString(), DebugCategory::Errors);
    }
    if (pdwNeeded) *pdwNeeded = cbNeeded;
    if (pdwStatus) *pdwStatus = dwStatus;
    return dwStatus == 0;
}
