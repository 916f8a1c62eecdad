/// @file
/// The spooler of the system.
#pragma once

#include "platform/SpoolerPort.h"

namespace vlm::win32 {

class Win32SpoolerPort final : public SpoolerPort {
public:
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
};

}  // namespace vlm::win32
