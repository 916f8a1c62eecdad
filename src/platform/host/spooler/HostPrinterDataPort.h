/// @file
/// Printer data of the embedded spooler.
#pragma once

#include "platform/PrinterDataPort.h"
#include "platform/host/spooler/SpoolerGround.h"

namespace vlm::host {

/// A queue's data are the keys below its own.  The server's values stand in the key above all queues.
class HostPrinterDataPort final : public PrinterDataPort {
public:
    constexpr explicit HostPrinterDataPort(SpoolerGround& rGround) noexcept : m_rGround(rGround) {}

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

private:
    SpoolerGround& m_rGround;
};

}  // namespace vlm::host
