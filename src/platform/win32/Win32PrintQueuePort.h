/// @file
/// Print queues of the system.
#pragma once

#include "platform/PrintQueuePort.h"

namespace vlm::win32 {

class Win32PrintQueuePort final : public PrintQueuePort {
public:
    Status GetQueueInfo(HANDLE hPrinter, DWORD dwLevel, void* pInfo, DWORD cbInfo, DWORD& rcbNeeded) noexcept override;
    Status SetQueueInfo(HANDLE hPrinter, DWORD dwLevel, const void* pInfo, DWORD dwCommand) noexcept override;
    Status EnumerateQueueInfo(DWORD dwFlags, const XCHAR* pszServer, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                              DWORD& rcbNeeded, DWORD& rcReturned) noexcept override;
    Status AddQueue(const XCHAR* pszServer, const PrinterInfo2& rInfo, HANDLE& rhPrinter) noexcept override;
    Status DeleteQueue(HANDLE hPrinter) noexcept override;
    Status AddConnection(const XCHAR* pszName) noexcept override;
    Status DeleteConnection(const XCHAR* pszName) noexcept override;
    Status GetDefaultQueue(XCHAR* pszName, DWORD& rcName) noexcept override;
    Status SetDefaultQueue(const XCHAR* pszName) noexcept override;
    Status GetDeviceCapability(const XCHAR* pszDevice, const XCHAR* pszPort, WORD wCapability, void* pOutput,
                               DWORD cbOutput, LONG& rlAnswer) noexcept override;
};

}  // namespace vlm::win32
