/// @file
/// Printer data over winspool.
#include "platform/win32/Win32PrinterDataPort.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

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

/// Whether a run of bytes lies in the block.
bool IsInside(const void* pRun, std::size_t cbRun, const BYTE* pbyBlock, std::size_t cbBlock) noexcept {
    const std::uintptr_t uiRun = reinterpret_cast<std::uintptr_t>(pRun);
    const std::uintptr_t uiBlock = reinterpret_cast<std::uintptr_t>(pbyBlock);
    return uiRun >= uiBlock && uiRun - uiBlock <= cbBlock && cbRun <= cbBlock - (uiRun - uiBlock);
}

/// Wine puts names at odd addresses, behind data of odd sizes: brings them all before the data.  A block whose
/// pointers or sizes lie stays as it is, to be refused by whoever checks it.
void AlignNames(PrinterEnumValues* pValues, DWORD cValues, DWORD cbBlock) {
    BYTE* const pbyBlock = reinterpret_cast<BYTE*>(pValues);
    if (cValues > cbBlock / sizeof(PrinterEnumValues)) return;
    bool bOdd = false;
    std::size_t cbAll = cValues * sizeof(PrinterEnumValues);
    for (DWORD i = 0; i < cValues; ++i) {
        const PrinterEnumValues& r = pValues[i];
        if (r.cbValueName % sizeof(XCHAR) != 0 || !IsInside(r.pValueName, r.cbValueName, pbyBlock, cbBlock) ||
            (r.cbData != 0 && !IsInside(r.pData, r.cbData, pbyBlock, cbBlock))) {
            return;
        }
        bOdd = bOdd || reinterpret_cast<std::uintptr_t>(r.pValueName) % sizeof(XCHAR) != 0;
        cbAll += std::size_t{r.cbValueName} + r.cbData;
        if (cbAll > cbBlock) return;
    }
    if (!bOdd) return;
    const std::vector<BYTE> vbyFormer(pbyBlock, pbyBlock + cbBlock);
    BYTE* pbyNext = pbyBlock + cValues * sizeof(PrinterEnumValues);
    const auto Move = [&](const void* pFrom, std::size_t cb) {
        std::memcpy(pbyNext, vbyFormer.data() + (static_cast<const BYTE*>(pFrom) - pbyBlock), cb);
        BYTE* const pbyMoved = pbyNext;
        pbyNext += cb;
        return pbyMoved;
    };
    for (DWORD i = 0; i < cValues; ++i)
        pValues[i].pValueName = reinterpret_cast<XCHAR*>(Move(pValues[i].pValueName, pValues[i].cbValueName));
    for (DWORD i = 0; i < cValues; ++i)
        pValues[i].pData = pValues[i].cbData != 0 ? Move(pValues[i].pData, pValues[i].cbData) : nullptr;
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
                                           DWORD& rcbNeeded, DWORD& rcReturned) noexcept try {
    if (IsEmpty(pszKey)) return Status::InvalidParameter;
    DWORD cbNeeded = 0, cReturned = 0;
    const DWORD dwStatus = EnumPrinterDataExW(hPrinter, pszKey, static_cast<BYTE*>(pValues), pValues ? cbValues : 0,
                                              &cbNeeded, &cReturned);
    rcbNeeded = cbNeeded;
    rcReturned = cReturned;
    if (dwStatus == 0 && pValues != nullptr) AlignNames(static_cast<PrinterEnumValues*>(pValues), cReturned, cbValues);
    return static_cast<Status>(dwStatus);
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
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
