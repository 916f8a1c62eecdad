/// @file
/// Print queues of the embedded spooler.
#pragma once

#include "platform/PrintQueuePort.h"
#include "platform/host/spooler/SpoolerGround.h"

namespace vlm::host {

struct QueueRecord;

/// Queues are keys in the store (QueueRecord.h).  Connections stand in the user's hive; the user's device modes and
/// default queue, too.  No driver module runs on the host.
class HostPrintQueuePort final : public PrintQueuePort {
public:
    constexpr explicit HostPrintQueuePort(SpoolerGround& rGround) noexcept : m_rGround(rGround) {}

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

private:
    void Apply(DWORD dwLevel, const void* pInfo, DWORD dwCommand, QueueRecord& rRecord);

    SpoolerGround& m_rGround;
};

}  // namespace vlm::host
