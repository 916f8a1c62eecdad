/// @file
/// Printer data over winspool.
#include "platform/win32/Win32PrinterDataPort.h"

#include "platform/win32/Win32Blocks.h"

namespace vlm::win32 {

namespace {

/// Calls that some systems lack are looked up when they are needed: a hard import would kill the process that makes
/// the call.
template <typename Function>
Function FindCall(const char* pszName) noexcept {
    const HMODULE hModule = GetModuleHandleW(L"winspool.drv");
    return hModule ? reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(hModule, pszName))) : nullptr;
}

}  // namespace

Status Win32PrinterDataPort::GetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD& rdwType,
                                     void* pData, DWORD cbData, DWORD& rcbNeeded) noexcept {
    DWORD dwType = 0, cbNeeded = 0;
    const DWORD dwStatus = GetPrinterDataExW(hPrinter, pszKey, pszValue, &dwType, static_cast<BYTE*>(pData),
                                             pData ? cbData : 0, &cbNeeded);
    const Status eStatus = static_cast<Status>(dwStatus);
    if (eStatus == Status::Success || eStatus == Status::MoreData || eStatus == Status::InsufficientBuffer) {
        rdwType = dwType;
        rcbNeeded = cbNeeded;
    }
    return eStatus;
}

Status Win32PrinterDataPort::SetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD dwType,
                                     const void* pData, DWORD cbData) noexcept {
    if (IsEmpty(pszKey) || pszValue == nullptr || (pData == nullptr && cbData != 0)) return Status::InvalidParameter;
    return static_cast<Status>(SetPrinterDataExW(hPrinter, pszKey, pszValue, dwType, Writable(pData), cbData));
}

Status Win32PrinterDataPort::EnumerateData(HANDLE hPrinter, const XCHAR* pszKey, void* pValues, DWORD cbValues,
                                           DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    if (IsEmpty(pszKey)) return Status::InvalidParameter;
    DWORD cbNeeded = 0, cReturned = 0;
    const DWORD dwStatus = EnumPrinterDataExW(hPrinter, pszKey, static_cast<BYTE*>(pValues), pValues ? cbValues : 0,
                                              &cbNeeded, &cReturned);
    rcbNeeded = cbNeeded;
    rcReturned = cReturned;
    return static_cast<Status>(dwStatus);
}

Status Win32PrinterDataPort::DeleteData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue) noexcept {
    if (IsEmpty(pszKey) || pszValue == nullptr) return Status::InvalidParameter;
    return static_cast<Status>(DeletePrinterDataExW(hPrinter, pszKey, pszValue));
}

Status Win32PrinterDataPort::EnumerateDataKeys(HANDLE hPrinter, const XCHAR* pszKey, XCHAR* pszzKeys, DWORD cbKeys,
                                               DWORD& rcbNeeded) noexcept {
    if (pszKey == nullptr) return Status::InvalidParameter;
    DWORD cbNeeded = 0;
    const DWORD dwStatus = EnumPrinterKeyW(hPrinter, pszKey, pszzKeys, pszzKeys ? cbKeys : 0, &cbNeeded);
    rcbNeeded = cbNeeded;
    return static_cast<Status>(dwStatus);
}

Status Win32PrinterDataPort::DeleteDataKey(HANDLE hPrinter, const XCHAR* pszKey) noexcept {
    if (IsEmpty(pszKey)) return Status::InvalidParameter;
    const auto pfnDeleteKey = FindCall<DWORD(WINAPI*)(HANDLE, const XCHAR*)>("DeletePrinterKeyW");
    return pfnDeleteKey ? static_cast<Status>(pfnDeleteKey(hPrinter, pszKey)) : Status::NotSupported;
}

}  // namespace vlm::win32
