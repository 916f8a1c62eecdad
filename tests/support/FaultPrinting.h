/// @file
/// The fault layer's wrappers of the spooler's ports.
#pragma once

#include "platform/PrintQueuePort.h"
#include "platform/PrinterDataPort.h"
#include "platform/PrinterDriverPort.h"
#include "platform/SpoolerPort.h"
#include "support/FaultWrappers.h"

namespace vlm::test {

/// A wrapper of calls that fill a buffer.
template <typename Port>
class BlockWrapper : public Wrapper<Port> {
public:
    using Wrapper<Port>::Wrapper;

protected:
    /// The short fault: what is read has grown since its size was asked for.
    template <typename Call>
    Status GuardBlock(DWORD& rcbNeeded, const void* pTarget, Status eTooSmall, Call call) noexcept {
        switch (this->m_rScript.Decide()) {
            case Decision::Fail:
                return this->m_rScript.FaultStatus();
            case Decision::Short: {
                const Status eStatus = call();
                if (eStatus != Status::Success || pTarget == nullptr) return eStatus;
                rcbNeeded = rcbNeeded * 2 + 8;
                return eTooSmall;
            }
            case Decision::Pass:
                return call();
            default:
                return DEAD;
        }
    }
};

class FaultSpooler final : public BlockWrapper<SpoolerPort> {
public:
    using BlockWrapper::BlockWrapper;
    Status OpenPrinterHandle(const XCHAR* pszName, DWORD dwAccess, HANDLE& rhPrinter) noexcept override {
        return Guard([&] { return m_rBelow.OpenPrinterHandle(pszName, dwAccess, rhPrinter); });
    }
    Status ClosePrinterHandle(HANDLE hPrinter) noexcept override {
        return GuardClose([&] { return m_rBelow.ClosePrinterHandle(hPrinter); });
    }
    Status Transceive(HANDLE hChannel, const XCHAR* pszCommand, const BYTE* pbyInput, DWORD cbInput, BYTE* pbyOutput,
                      DWORD cbOutput, DWORD& rcbNeeded, DWORD& rdwMonitorStatus) noexcept override {
        return Guard([&] {
            return m_rBelow.Transceive(hChannel, pszCommand, pbyInput, cbInput, pbyOutput, cbOutput, rcbNeeded,
                                       rdwMonitorStatus);
        });
    }
    Status AddMonitorDll(const XCHAR* pszName, const XCHAR* pszEnvironment, const XCHAR* pszDll) noexcept override {
        return Guard([&] { return m_rBelow.AddMonitorDll(pszName, pszEnvironment, pszDll); });
    }
    Status DeleteMonitorByName(const XCHAR* pszName, const XCHAR* pszEnvironment) noexcept override {
        return Guard([&] { return m_rBelow.DeleteMonitorByName(pszName, pszEnvironment); });
    }
    Status EnumerateMonitor(DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept override {
        return Guard([&] { return m_rBelow.EnumerateMonitor(dwIndex, pszName, rcName); });
    }
    Status PrinterName(HANDLE hPrinter, XCHAR* pszName, DWORD& rcName) noexcept override {
        return Guard([&] { return m_rBelow.PrinterName(hPrinter, pszName, rcName); });
    }
    Status EnumeratePortInfo(const XCHAR* pszServer, DWORD dwLevel, void* pInfo, DWORD cbInfo, DWORD& rcbNeeded,
                             DWORD& rcReturned) noexcept override {
        return GuardBlock(rcbNeeded, pInfo, Status::InsufficientBuffer, [&] {
            return m_rBelow.EnumeratePortInfo(pszServer, dwLevel, pInfo, cbInfo, rcbNeeded, rcReturned);
        });
    }
    Status EnumerateProcessorInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo,
                                  DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept override {
        return GuardBlock(rcbNeeded, pInfo, Status::InsufficientBuffer, [&] {
            return m_rBelow.EnumerateProcessorInfo(pszServer, pszEnvironment, dwLevel, pInfo, cbInfo, rcbNeeded,
                                                   rcReturned);
        });
    }
};

class FaultQueues final : public BlockWrapper<PrintQueuePort> {
public:
    using BlockWrapper::BlockWrapper;
    Status GetQueueInfo(HANDLE hPrinter, DWORD dwLevel, void* pInfo, DWORD cbInfo, DWORD& rcbNeeded) noexcept override {
        return GuardBlock(rcbNeeded, pInfo, Status::InsufficientBuffer,
                          [&] { return m_rBelow.GetQueueInfo(hPrinter, dwLevel, pInfo, cbInfo, rcbNeeded); });
    }
    Status SetQueueInfo(HANDLE hPrinter, DWORD dwLevel, const void* pInfo, DWORD dwCommand) noexcept override {
        return Guard([&] { return m_rBelow.SetQueueInfo(hPrinter, dwLevel, pInfo, dwCommand); });
    }
    Status EnumerateQueueInfo(DWORD dwFlags, const XCHAR* pszServer, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                              DWORD& rcbNeeded, DWORD& rcReturned) noexcept override {
        return GuardBlock(rcbNeeded, pInfo, Status::InsufficientBuffer, [&] {
            return m_rBelow.EnumerateQueueInfo(dwFlags, pszServer, dwLevel, pInfo, cbInfo, rcbNeeded, rcReturned);
        });
    }
    Status AddQueue(const XCHAR* pszServer, const PrinterInfo2& rInfo, HANDLE& rhPrinter) noexcept override {
        return Guard([&] { return m_rBelow.AddQueue(pszServer, rInfo, rhPrinter); });
    }
    Status DeleteQueue(HANDLE hPrinter) noexcept override {
        return Guard([&] { return m_rBelow.DeleteQueue(hPrinter); });
    }
    Status AddConnection(const XCHAR* pszName) noexcept override {
        return Guard([&] { return m_rBelow.AddConnection(pszName); });
    }
    Status DeleteConnection(const XCHAR* pszName) noexcept override {
        return Guard([&] { return m_rBelow.DeleteConnection(pszName); });
    }
    Status GetDefaultQueue(XCHAR* pszName, DWORD& rcName) noexcept override {
        return Guard([&] { return m_rBelow.GetDefaultQueue(pszName, rcName); });
    }
    Status SetDefaultQueue(const XCHAR* pszName) noexcept override {
        return Guard([&] { return m_rBelow.SetDefaultQueue(pszName); });
    }
    Status GetDeviceMode(HANDLE hPrinter, const XCHAR* pszDevice, DWORD dwMode, DEVMODEW* pOutput, DWORD cbOutput,
                         const DEVMODEW* pInput, LONG& rlAnswer) noexcept override {
        return Guard(
            [&] { return m_rBelow.GetDeviceMode(hPrinter, pszDevice, dwMode, pOutput, cbOutput, pInput, rlAnswer); });
    }
    Status GetDeviceCapability(const XCHAR* pszDevice, const XCHAR* pszPort, WORD wCapability, void* pOutput,
                               DWORD cbOutput, LONG& rlAnswer) noexcept override {
        return Guard(
            [&] { return m_rBelow.GetDeviceCapability(pszDevice, pszPort, wCapability, pOutput, cbOutput, rlAnswer); });
    }
};

class FaultPrinterData final : public BlockWrapper<PrinterDataPort> {
public:
    using BlockWrapper::BlockWrapper;
    Status GetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD& rdwType, void* pData,
                   DWORD cbData, DWORD& rcbNeeded) noexcept override {
        return GuardBlock(rcbNeeded, pData, Status::MoreData, [&] {
            return m_rBelow.GetData(hPrinter, pszKey, pszValue, rdwType, pData, cbData, rcbNeeded);
        });
    }
    Status SetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD dwType, const void* pData,
                   DWORD cbData) noexcept override {
        return Guard([&] { return m_rBelow.SetData(hPrinter, pszKey, pszValue, dwType, pData, cbData); });
    }
    Status EnumerateData(HANDLE hPrinter, const XCHAR* pszKey, void* pValues, DWORD cbValues, DWORD& rcbNeeded,
                         DWORD& rcReturned) noexcept override {
        return GuardBlock(rcbNeeded, pValues, Status::MoreData, [&] {
            return m_rBelow.EnumerateData(hPrinter, pszKey, pValues, cbValues, rcbNeeded, rcReturned);
        });
    }
    Status DeleteData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue) noexcept override {
        return Guard([&] { return m_rBelow.DeleteData(hPrinter, pszKey, pszValue); });
    }
    Status EnumerateDataKeys(HANDLE hPrinter, const XCHAR* pszKey, XCHAR* pszzKeys, DWORD cbKeys,
                             DWORD& rcbNeeded) noexcept override {
        return GuardBlock(rcbNeeded, pszzKeys, Status::MoreData,
                          [&] { return m_rBelow.EnumerateDataKeys(hPrinter, pszKey, pszzKeys, cbKeys, rcbNeeded); });
    }
    Status DeleteDataKey(HANDLE hPrinter, const XCHAR* pszKey) noexcept override {
        return Guard([&] { return m_rBelow.DeleteDataKey(hPrinter, pszKey); });
    }
};

class FaultDrivers final : public BlockWrapper<PrinterDriverPort> {
public:
    using BlockWrapper::BlockWrapper;
    Status GetDriverBlock(HANDLE hPrinter, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                          DWORD& rcbNeeded) noexcept override {
        return GuardBlock(rcbNeeded, pInfo, Status::InsufficientBuffer, [&] {
            return m_rBelow.GetDriverBlock(hPrinter, pszEnvironment, dwLevel, pInfo, cbInfo, rcbNeeded);
        });
    }
    Status EnumerateDriverInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo,
                               DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept override {
        return GuardBlock(rcbNeeded, pInfo, Status::InsufficientBuffer, [&] {
            return m_rBelow.EnumerateDriverInfo(pszServer, pszEnvironment, dwLevel, pInfo, cbInfo, rcbNeeded,
                                                rcReturned);
        });
    }
    Status GetDriverDirectory(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel, XCHAR* pszDirectory,
                              DWORD cbDirectory, DWORD& rcbNeeded) noexcept override {
        return GuardBlock(rcbNeeded, pszDirectory, Status::InsufficientBuffer, [&] {
            return m_rBelow.GetDriverDirectory(pszServer, pszEnvironment, dwLevel, pszDirectory, cbDirectory,
                                               rcbNeeded);
        });
    }
    Status AddDriver(const XCHAR* pszServer, DWORD dwLevel, const void* pInfo, DWORD dwFlags) noexcept override {
        return Guard([&] { return m_rBelow.AddDriver(pszServer, dwLevel, pInfo, dwFlags); });
    }
    Status DeleteDriver(const XCHAR* pszServer, const XCHAR* pszEnvironment, const XCHAR* pszDriver, DWORD dwFlags,
                        DWORD dwVersion) noexcept override {
        return Guard([&] { return m_rBelow.DeleteDriver(pszServer, pszEnvironment, pszDriver, dwFlags, dwVersion); });
    }
    Status OpenPrinterUi(const XCHAR* pszModule, HANDLE& rhUi) noexcept override {
        return Guard([&] { return m_rBelow.OpenPrinterUi(pszModule, rhUi); });
    }
    Status RunPrinterUi(HANDLE hUi, const XCHAR* pszCommandLine, DWORD& rdwAnswer) noexcept override {
        return Guard([&] { return m_rBelow.RunPrinterUi(hUi, pszCommandLine, rdwAnswer); });
    }
    Status ClosePrinterUi(HANDLE hUi) noexcept override {
        return GuardClose([&] { return m_rBelow.ClosePrinterUi(hUi); });
    }
};

}  // namespace vlm::test
