/// @file
/// The data of the system's queues.
#pragma once

#include "platform/PrinterDataPort.h"

namespace vlm::win32 {

class Win32PrinterDataPort final : public PrinterDataPort {
public:
    Status GetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD& rdwType, void* pData,
                   DWORD cbData, DWORD& rcbNeeded) noexcept override;
    Status SetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD dwType, const void* pData,
                   DWORD cbData) noexcept override;
    Status EnumerateData(HANDLE hPrinter, const XCHAR* pszKey, void* pValues, DWORD cbValues, DWORD& rcbNeeded,
                         DWORD& rcReturned) noexcept override;
    Status DeleteData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue) noexcept override;
    Status EnumerateDataKeys(HANDLE hPrinter, const XCHAR* pszKey, XCHAR* pszzKeys, DWORD cbKeys,
                             DWORD& rcbNeeded) noexcept override;
    Status DeleteDataKey(HANDLE hPrinter, const XCHAR* pszKey) noexcept override;
};

}  // namespace vlm::win32
