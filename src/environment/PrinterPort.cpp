/// @file
/// The channel to a port monitor of the system.
#include "environment/PrinterPort.h"

#include <utility>

#include "environment/SpoolerBlockRead.h"
#include "platform/Platform.h"
#include "platform/SpoolerPort.h"
#include "platform/ThreadPort.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/LoaderLock.h"
#include "utilities/utilitiesdll/SystemText.h"

using vlm::Status;

PrinterPort::~PrinterPort() {
    CloseChannel();
}

bool PrinterPort::OpenChannel(const CXString& kcsName, DWORD dwAccess) noexcept {
    CloseChannel();
    // The spooler is another process's, and may load monitors into this one.
    if (vlm::IsUnderLoaderLock()) return NoteStatus(vlm::ToDword(Status::Busy));
    return NoteStatus(
        vlm::ToDword(vlm::GetPlatform().pSpooler->OpenPrinterHandle(kcsName.GetLpcwstr(), dwAccess, m_hChannel)));
}

bool PrinterPort::SendCommand(const XCHAR* pszCommand, const ByteBuffer& kbbInput, BYTE* pbyOutput, DWORD cbOutput,
                              DWORD* pcbWritten) noexcept {
    if (!m_hChannel) return NoteStatus(vlm::ToDword(Status::InvalidHandle));
    DWORD cbNeeded = 0, dwMonitorStatus = 0;
    const Status status =
        vlm::GetPlatform().pSpooler->Transceive(m_hChannel, pszCommand, kbbInput.getLpbyte(), kbbInput.GetLength(),
                                                pbyOutput, cbOutput, cbNeeded, dwMonitorStatus);
    if (status != Status::Success) return NoteStatus(vlm::ToDword(status));
    // Whoever answers under the monitor's name may claim anything.
    if (dwMonitorStatus == 0 && cbNeeded > cbOutput) return NoteStatus(vlm::ToDword(Status::InvalidData));
    if (pcbWritten) *pcbWritten = cbNeeded;
    return NoteStatus(dwMonitorStatus);
}

void PrinterPort::CloseChannel() noexcept {
    if (!m_hChannel) return;
    const DWORD dwLastError = vlm::GetPlatform().pThreads->LastError();
    const Status status = vlm::GetPlatform().pSpooler->ClosePrinterHandle(std::exchange(m_hChannel, nullptr));
    if (status != Status::Success) {
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("The channel to a port monitor cannot be closed. %s"),
                         vlm::TextOfStatus(status));
    }
    vlm::GetPlatform().pThreads->LeaveLastError(dwLastError);
}

bool PrinterPort::NoteStatus(DWORD dwStatus) noexcept {
    m_dwLastStatus = dwStatus;
    vlm::GetPlatform().pThreads->LeaveLastError(dwStatus);
    return dwStatus == 0;
}

bool PrinterPort::EnumeratePrinterPorts(DWORD dwLevel, ByteBuffer& rbbPorts, DWORD* pdwNumPorts) noexcept {
    ByteBuffer bbPorts;
    DWORD cPorts = 0;
    const auto Call = [&](BYTE* pbyInfo, DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) {
        return vlm::GetPlatform().pSpooler->EnumeratePortInfo(nullptr, dwLevel, pbyInfo, cbInfo, rcbNeeded, rcReturned);
    };
    const Status status =
        vlm::NoThrow([&] { return vlm::ReadSpoolerList(vlm::BlockKind::Port, dwLevel, bbPorts, cPorts, Call); },
                     Status::NotEnoughMemory);
    if (status != Status::Success) bbPorts.clear();
    rbbPorts.swap(bbPorts);
    if (pdwNumPorts) *pdwNumPorts = status == Status::Success ? cPorts : 0;
    vlm::GetPlatform().pThreads->LeaveLastError(vlm::ToDword(status));
    return status == Status::Success;
}
