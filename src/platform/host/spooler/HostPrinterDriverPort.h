/// @file
/// Printer drivers of the embedded spooler.
#pragma once

#include "platform/PrinterDriverPort.h"
#include "platform/host/spooler/SpoolerGround.h"

namespace vlm::host {

/// Drivers are keys in the store (DriverRecord.h), their files stand beside it in "<spool folder>\drivers\x64\3".
/// There is no printer user interface on the host.
class HostPrinterDriverPort final : public PrinterDriverPort {
public:
    constexpr explicit HostPrinterDriverPort(SpoolerGround& rGround) noexcept : m_rGround(rGround) {}

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

private:
    XText Directory();
    /// The folder of the files, with its separator.
    XText VersionFolder();
    void MakeVersionFolder();
    /// Copies a file into the folder.  @return its name.
    XText TakeFile(const XCHAR* pszPath, bool fFromDirectory);

    SpoolerGround& m_rGround;
};

}  // namespace vlm::host
