/// @file
/// The system's printer drivers.
#pragma once

#include "platform/PrinterDriverPort.h"

namespace vlm::win32 {

class Win32PrinterDriverPort final : public PrinterDriverPort {
public:
    Status GetDriverBlock(HANDLE hPrinter, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                          DWORD& rcbNeeded) noexcept override;
    Status EnumerateDriverInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo,
                               DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept override;
    Status GetDriverDirectory(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel, XCHAR* pszDirectory,
                              DWORD cbDirectory, DWORD& rcbNeeded) noexcept override;
    Status AddDriver(const XCHAR* pszServer, DWORD dwLevel, const void* pInfo, DWORD dwFlags) noexcept override;
    Status DeleteDriver(const XCHAR* pszServer, const XCHAR* pszEnvironment, const XCHAR* pszDriver, DWORD dwFlags,
                        DWORD dwVersion) noexcept override;
    Status OpenPrinterUi(const XCHAR* pszModule, HANDLE& rhUi) noexcept override;
    Status RunPrinterUi(HANDLE hUi, const XCHAR* pszCommandLine, DWORD& rdwAnswer) noexcept override;
    Status ClosePrinterUi(HANDLE hUi) noexcept override;
};

}  // namespace vlm::win32
