/// @file
/// The embedded spooler of the host: handles, channels, monitors.
#pragma once

#include "platform/SpoolerPort.h"
#include "platform/host/spooler/SpoolerGround.h"

namespace vlm::host {

/// Monitors are keys in the store, "HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\Print\Monitors\NAME" with the
/// value "Driver", as on Windows; every process that uses the store sees them.  "Local Port" and "Standard TCP/IP Port"
/// need no key: they are part of the spooler, listed first, neither added (PRINT_MONITOR_ALREADY_INSTALLED) nor deleted
/// (PRINT_MONITOR_IN_USE).
class HostSpoolerPort final : public SpoolerPort {
public:
    constexpr explicit HostSpoolerPort(SpoolerGround& rGround) noexcept : m_rGround(rGround) {}

    Status OpenPrinterHandle(const XCHAR* pszName, DWORD dwAccess, HANDLE& rhPrinter) noexcept override;
    Status ClosePrinterHandle(HANDLE hPrinter) noexcept override;
    Status PrinterName(HANDLE hPrinter, XCHAR* pszName, DWORD& rcName) noexcept override;
    Status Transceive(HANDLE hChannel, const XCHAR* pszCommand, const BYTE* pbyInput, DWORD cbInput, BYTE* pbyOutput,
                      DWORD cbOutput, DWORD& rcbNeeded, DWORD& rdwMonitorStatus) noexcept override;
    Status AddMonitorDll(const XCHAR* pszName, const XCHAR* pszEnvironment, const XCHAR* pszDll) noexcept override;
    Status DeleteMonitorByName(const XCHAR* pszName, const XCHAR* pszEnvironment) noexcept override;
    Status EnumerateMonitor(DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept override;
    Status EnumeratePortInfo(const XCHAR* pszServer, DWORD dwLevel, void* pInfo, DWORD cbInfo, DWORD& rcbNeeded,
                             DWORD& rcReturned) noexcept override;
    Status EnumerateProcessorInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo,
                                  DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept override;

private:
    Status OpenMonitorChannel(XStringView svMonitor, OpenedPrinter& rPrinter);

    SpoolerGround& m_rGround;
};

}  // namespace vlm::host
