/// @file
/// Printer drivers over winspool, and the printer user interface's module.
#include "platform/win32/Win32PrinterDriverPort.h"

#include <algorithm>
#include <new>
#include <string>

#include "platform/win32/Win32Blocks.h"

namespace vlm::win32 {

namespace {

static_assert(PrinterDriverPort::COPY_STRICT_UPGRADE == APD_STRICT_UPGRADE &&
              PrinterDriverPort::COPY_STRICT_DOWNGRADE == APD_STRICT_DOWNGRADE &&
              PrinterDriverPort::COPY_ALL == APD_COPY_ALL_FILES && PrinterDriverPort::COPY_NEW == APD_COPY_NEW_FILES &&
              PrinterDriverPort::COPY_FROM_DIRECTORY == APD_COPY_FROM_DIRECTORY);
static_assert(PrinterDriverPort::DELETE_UNUSED_FILES == DPD_DELETE_UNUSED_FILES &&
              PrinterDriverPort::DELETE_SPECIFIC_VERSION == DPD_DELETE_SPECIFIC_VERSION &&
              PrinterDriverPort::DELETE_ALL_FILES == DPD_DELETE_ALL_FILES);

using PrinterUiEntry = DWORD(WINAPI*)(HWND, HINSTANCE, XCHAR*, int);

PrinterUiEntry EntryOf(HMODULE hModule) noexcept {
    return reinterpret_cast<PrinterUiEntry>(reinterpret_cast<void*>(GetProcAddress(hModule, "PrintUIEntryW")));
}

}  // namespace

Status Win32PrinterDriverPort::GetDriverBlock(HANDLE hPrinter, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo,
                                              DWORD cbInfo, DWORD& rcbNeeded) noexcept {
    DWORD cbNeeded = 0;
    const Status eStatus = StatusOf(
        GetPrinterDriverW(hPrinter, Writable(pszEnvironment), dwLevel, static_cast<BYTE*>(pInfo), cbInfo, &cbNeeded));
    rcbNeeded = cbNeeded;
    return eStatus;
}

Status Win32PrinterDriverPort::EnumerateDriverInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel,
                                                   void* pInfo, DWORD cbInfo, DWORD& rcbNeeded,
                                                   DWORD& rcReturned) noexcept {
    DWORD cbNeeded = 0, cReturned = 0;
    const Status eStatus = StatusOf(EnumPrinterDriversW(Writable(pszServer), Writable(pszEnvironment), dwLevel,
                                                        static_cast<BYTE*>(pInfo), cbInfo, &cbNeeded, &cReturned));
    rcbNeeded = cbNeeded;
    rcReturned = cReturned;
    return eStatus;
}

Status Win32PrinterDriverPort::GetDriverDirectory(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel,
                                                  XCHAR* pszDirectory, DWORD cbDirectory, DWORD& rcbNeeded) noexcept {
    DWORD cbNeeded = 0;
    const Status eStatus =
        StatusOf(GetPrinterDriverDirectoryW(Writable(pszServer), Writable(pszEnvironment), dwLevel,
                                            reinterpret_cast<BYTE*>(pszDirectory), cbDirectory, &cbNeeded));
    rcbNeeded = cbNeeded;
    return eStatus;
}

Status Win32PrinterDriverPort::AddDriver(const XCHAR* pszServer, DWORD dwLevel, const void* pInfo,
                                         DWORD dwFlags) noexcept {
    if (pInfo == nullptr) return Status::InvalidParameter;
    return StatusOf(AddPrinterDriverExW(Writable(pszServer), dwLevel, Writable(pInfo), dwFlags));
}

Status Win32PrinterDriverPort::DeleteDriver(const XCHAR* pszServer, const XCHAR* pszEnvironment, const XCHAR* pszDriver,
                                            DWORD dwFlags, DWORD dwVersion) noexcept {
    if (IsEmpty(pszDriver)) return Status::InvalidParameter;
    SetLastError(0);
    if (DeletePrinterDriverExW(Writable(pszServer), Writable(pszEnvironment), Writable(pszDriver), dwFlags,
                               dwVersion)) {
        return Status::Success;
    }
    const Status eStatus = LastStatus();  // Wine does not say what is wrong with a driver that is not there
    return eStatus == Status::Success ? static_cast<Status>(SpoolerPort::UNKNOWN_PRINTER_DRIVER) : eStatus;
}

Status Win32PrinterDriverPort::OpenPrinterUi(const XCHAR* pszModule, HANDLE& rhUi) noexcept {
    if (IsEmpty(pszModule)) return Status::ModuleNotFound;
    const HMODULE hModule = LoadLibraryExW(pszModule, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (hModule == nullptr) return LastStatus();
    if (EntryOf(hModule) == nullptr) {
        FreeLibrary(hModule);
        return static_cast<Status>(PROCEDURE_NOT_FOUND);
    }
    rhUi = hModule;
    return Status::Success;
}

Status Win32PrinterDriverPort::RunPrinterUi(HANDLE hUi, const XCHAR* pszCommandLine, DWORD& rdwAnswer) noexcept try {
    if (pszCommandLine == nullptr) return Status::InvalidParameter;
    if (hUi == nullptr) return Status::InvalidHandle;
    const HMODULE hModule = static_cast<HMODULE>(hUi);
    const PrinterUiEntry pfnEntry = EntryOf(hModule);
    if (pfnEntry == nullptr) return Status::InvalidHandle;
    std::basic_string<XCHAR> commandLine(pszCommandLine);  // the entry may write to it
    rdwAnswer = pfnEntry(nullptr, hModule, commandLine.data(), SW_SHOW);
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status Win32PrinterDriverPort::ClosePrinterUi(HANDLE hUi) noexcept {
    return hUi ? StatusOf(FreeLibrary(static_cast<HMODULE>(hUi))) : Status::InvalidHandle;
}

}  // namespace vlm::win32
