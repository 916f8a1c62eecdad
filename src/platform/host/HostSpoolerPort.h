/// @file
/// The embedded spooler of the host.
#pragma once

#include "platform/SpoolerPort.h"
#include "platform/host/HandleTable.h"

namespace vlm::host {

/// Monitors are keys in the store, "HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\Print\Monitors\NAME" with the
/// value "Driver", as on Windows; every process that uses the store sees them.
class HostSpoolerPort final : public SpoolerPort {
public:
    Status OpenPrinterHandle(const XCHAR* pszName, DWORD dwAccess, HANDLE& rhPrinter) noexcept override;
    Status ClosePrinterHandle(HANDLE hPrinter) noexcept override;
    Status PrinterName(HANDLE hPrinter, XCHAR* pszName, DWORD& rcName) noexcept override;
    Status Transceive(HANDLE hChannel, const XCHAR* pszCommand, const BYTE* pbyInput, DWORD cbInput, BYTE* pbyOutput,
                      DWORD cbOutput, DWORD& rcbNeeded, DWORD& rdwMonitorStatus) noexcept override;
    Status AddMonitorDll(const XCHAR* pszName, const XCHAR* pszEnvironment, const XCHAR* pszDll) noexcept override;
    Status DeleteMonitorByName(const XCHAR* pszName, const XCHAR* pszEnvironment) noexcept override;
    Status EnumerateMonitor(DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept override;

private:
    struct Printer {
        bool fChannel;
        HANDLE hChannel;  ///< the embedded monitor's
    };

    HandleTable<Printer> m_oPrinters;
};

}  // namespace vlm::host
