/// @file
/// Port: installed printer drivers.
#pragma once

#include "platform/SpoolerBlocks.h"
#include "platform/SpoolerPort.h"

namespace vlm {

/// Drivers and their files.  Blocks follow SpoolerPort's protocol; environments (null: ENVIRONMENT) are "Windows x64".
/// Threads: any.  Failure: by status; nothing throws.
class PrinterDriverPort {
public:
    /// How AddDriver treats files that are there already (exactly one of the first four), and where they come from.
    static constexpr DWORD COPY_STRICT_UPGRADE = 0x1, COPY_STRICT_DOWNGRADE = 0x2, COPY_ALL = 0x4, COPY_NEW = 0x8,
                           COPY_FROM_DIRECTORY = 0x10;
    /// How DeleteDriver treats the files: those that no other driver uses, all or none.
    static constexpr DWORD DELETE_UNUSED_FILES = 0x1, DELETE_SPECIFIC_VERSION = 0x2, DELETE_ALL_FILES = 0x4;
    /// Version of the drivers that run in user mode: the one that the embedded spooler keeps.
    static constexpr DWORD DRIVER_VERSION = 3;
    /// The system's printer user interface lacks its entry.
    static constexpr DWORD PROCEDURE_NOT_FOUND = 127;

    virtual ~PrinterDriverPort() = default;

    /// The driver of a queue.  @param dwLevel of DriverInfo: 1 to 6, 8.  Files come with their full paths.
    /// @return InvalidHandle, UNKNOWN_LEVEL, INVALID_ENVIRONMENT, UNKNOWN_PRINTER_DRIVER, InsufficientBuffer.
    virtual Status GetDriverBlock(HANDLE hPrinter, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo,
                                  DWORD cbInfo, DWORD& rcbNeeded) noexcept = 0;
    /// All drivers installed.  @param pszEnvironment "all" is one, too.  @param dwLevel of DriverInfo: 1 to 6, 8.
    /// @return UNKNOWN_LEVEL, INVALID_ENVIRONMENT, InsufficientBuffer.
    virtual Status EnumerateDriverInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo,
                                       DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept = 0;
    /// The folder of the drivers' files, without the version's part ("...\\drivers\\x64").
    /// @param cbDirectory room in bytes.  @return UNKNOWN_LEVEL for another level than 1, INVALID_ENVIRONMENT,
    /// InsufficientBuffer with the bytes needed.
    virtual Status GetDriverDirectory(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel,
                                      XCHAR* pszDirectory, DWORD cbDirectory, DWORD& rcbNeeded) noexcept = 0;
    /// Installs a driver: copies its files to the directory's folder of the version and registers it.
    /// Without COPY_FROM_DIRECTORY the files stand in the driver directory (a name without path, or the full one), with
    /// it they are full paths.
    /// @param dwLevel 2, 3, 4, 6, 8.  @param pInfo the block of that level; DRIVER_VERSION, no null among name, driver,
    /// data and configuration file.
    /// @return UNKNOWN_LEVEL, INVALID_ENVIRONMENT, InvalidParameter, FileNotFound (a file is missing; Wine does not
    /// mind). An installed name is installed anew (with COPY_STRICT_UPGRADE: PRINTER_DRIVER_ALREADY_INSTALLED; Wine:
    /// anew).
    virtual Status AddDriver(const XCHAR* pszServer, DWORD dwLevel, const void* pInfo, DWORD dwFlags) noexcept = 0;
    /// @param dwFlags DELETE_...; Wine takes none (InvalidParameter).  @return UNKNOWN_PRINTER_DRIVER,
    /// PRINTER_DRIVER_IN_USE (a queue has it; Wine does not ask), INVALID_ENVIRONMENT.
    virtual Status DeleteDriver(const XCHAR* pszServer, const XCHAR* pszEnvironment, const XCHAR* pszDriver,
                                DWORD dwFlags, DWORD dwVersion) noexcept = 0;

    /// Loads the module of the system's printer user interface and finds its entry "PrintUIEntryW".
    /// @param pszModule full path.  @return ModuleNotFound (always on the host), PROCEDURE_NOT_FOUND.
    virtual Status OpenPrinterUi(const XCHAR* pszModule, HANDLE& rhUi) noexcept = 0;
    /// Calls the entry, without window, shown.  @param rdwAnswer what it returned: 0 where all went well; under Wine
    /// nothing happens and the number means nothing, so that only the list of drivers tells.
    /// @return InvalidHandle, InvalidParameter for null.
    virtual Status RunPrinterUi(HANDLE hUi, const XCHAR* pszCommandLine, DWORD& rdwAnswer) noexcept = 0;
    virtual Status ClosePrinterUi(HANDLE hUi) noexcept = 0;
};

}  // namespace vlm
