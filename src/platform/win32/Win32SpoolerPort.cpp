/// @file
/// The spooler over winspool.
#include "platform/win32/Win32SpoolerPort.h"

#include <algorithm>
#include <new>
#include <vector>

#include "platform/win32/Win32Blocks.h"

namespace vlm::win32 {

namespace {

/// The list of monitors grows to its size by a few attempts at most; nobody has more than this many bytes of them.
constexpr int LIST_ATTEMPTS = 5;
constexpr DWORD MAX_LIST_BYTES = 1024 * 1024;

}  // namespace

Status Win32SpoolerPort::OpenPrinterHandle(const XCHAR* pszName, DWORD dwAccess, HANDLE& rhPrinter) noexcept {
    PRINTER_DEFAULTSW oDefaults{nullptr, nullptr, dwAccess};
    HANDLE hPrinter = nullptr;
    if (!OpenPrinterW(Writable(pszName), &hPrinter, dwAccess ? &oDefaults : nullptr)) return LastStatus();
    rhPrinter = hPrinter;
    return Status::Success;
}

Status Win32SpoolerPort::ClosePrinterHandle(HANDLE hPrinter) noexcept {
    return StatusOf(ClosePrinter(hPrinter));
}

Status Win32SpoolerPort::PrinterName(HANDLE hPrinter, XCHAR* pszName, DWORD& rcName) noexcept try {
    std::vector<BYTE> vbyInfo;
    DWORD cbNeeded = 0;
    for (int i = 0; !GetPrinterW(hPrinter, 4, vbyInfo.data(), static_cast<DWORD>(vbyInfo.size()), &cbNeeded); ++i) {
        const Status eStatus = LastStatus();
        if (eStatus != Status::InsufficientBuffer) return eStatus;
        if (i == LIST_ATTEMPTS || cbNeeded > MAX_LIST_BYTES) return Status::NotEnoughMemory;
        vbyInfo.resize(cbNeeded);
    }
    if (vbyInfo.size() < sizeof(PRINTER_INFO_4W)) return Status::InvalidHandle;
    const wchar_t* const pszFound = reinterpret_cast<const PRINTER_INFO_4W*>(vbyInfo.data())->pPrinterName;
    if (pszFound == nullptr) return Status::InvalidHandle;
    const XStringView svName = pszFound;
    if (pszName == nullptr || svName.size() >= rcName) return Status::MoreData;
    *std::copy(svName.begin(), svName.end(), pszName) = 0;
    rcName = static_cast<DWORD>(svName.size());
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status Win32SpoolerPort::Transceive(HANDLE hChannel, const XCHAR* pszCommand, const BYTE* pbyInput, DWORD cbInput,
                                    BYTE* pbyOutput, DWORD cbOutput, DWORD& rcbNeeded,
                                    DWORD& rdwMonitorStatus) noexcept {
    DWORD cbNeeded = 0, dwStatus = 0;
    if (!XcvDataW(hChannel, pszCommand, const_cast<BYTE*>(pbyInput), cbInput, pbyOutput, cbOutput, &cbNeeded,
                  &dwStatus)) {
        return LastStatus();
    }
    rcbNeeded = cbNeeded;
    rdwMonitorStatus = dwStatus;
    return Status::Success;
}

Status Win32SpoolerPort::AddMonitorDll(const XCHAR* pszName, const XCHAR* pszEnvironment,
                                       const XCHAR* pszDll) noexcept {
    if (IsEmpty(pszName) || IsEmpty(pszDll)) return Status::InvalidParameter;
    MONITOR_INFO_2W oInfo{Writable(pszName), Writable(pszEnvironment), Writable(pszDll)};
    return StatusOf(AddMonitorW(nullptr, 2, reinterpret_cast<BYTE*>(&oInfo)));
}

Status Win32SpoolerPort::DeleteMonitorByName(const XCHAR* pszName, const XCHAR* pszEnvironment) noexcept {
    if (IsEmpty(pszName)) return Status::InvalidParameter;
    return StatusOf(DeleteMonitorW(nullptr, Writable(pszEnvironment), Writable(pszName)));
}

Status Win32SpoolerPort::EnumerateMonitor(DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept try {
    std::vector<BYTE> vbyList;
    DWORD cbNeeded = 0, cMonitors = 0;
    for (int i = 0;; ++i) {
        if (EnumMonitorsW(nullptr, 1, vbyList.data(), static_cast<DWORD>(vbyList.size()), &cbNeeded, &cMonitors)) break;
        const Status eStatus = LastStatus();
        if (eStatus != Status::InsufficientBuffer) return eStatus;
        if (i == LIST_ATTEMPTS || cbNeeded > MAX_LIST_BYTES) return Status::NotEnoughMemory;
        vbyList.resize(cbNeeded);
    }
    if (dwIndex >= cMonitors || vbyList.empty()) return Status::NoMoreItems;
    const XStringView svName = reinterpret_cast<const MONITOR_INFO_1W*>(vbyList.data())[dwIndex].pName;
    if (pszName == nullptr || svName.size() >= rcName) return Status::MoreData;
    *std::copy(svName.begin(), svName.end(), pszName) = 0;
    rcName = static_cast<DWORD>(svName.size());
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status Win32SpoolerPort::EnumeratePortInfo(const XCHAR* pszServer, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                                           DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    DWORD cbNeeded = 0, cReturned = 0;
    const Status eStatus =
        StatusOf(EnumPortsW(Writable(pszServer), dwLevel, static_cast<BYTE*>(pInfo), cbInfo, &cbNeeded, &cReturned));
    rcbNeeded = cbNeeded;
    rcReturned = cReturned;
    return eStatus;
}

Status Win32SpoolerPort::EnumerateProcessorInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel,
                                                void* pInfo, DWORD cbInfo, DWORD& rcbNeeded,
                                                DWORD& rcReturned) noexcept {
    DWORD cbNeeded = 0, cReturned = 0;
    const Status eStatus = StatusOf(EnumPrintProcessorsW(Writable(pszServer), Writable(pszEnvironment), dwLevel,
                                                         static_cast<BYTE*>(pInfo), cbInfo, &cbNeeded, &cReturned));
    rcbNeeded = cbNeeded;
    rcReturned = cReturned;
    return eStatus;
}

}  // namespace vlm::win32
