/// @file
/// The fault layer's wrappers of the spooler's ports.
#pragma once

#include "platform/SpoolerPort.h"
#include "support/FaultWrappers.h"
#include "support/PrintingCalls.h"

namespace vlm::test {

/// Decides about a call that may fill a buffer.  The short fault: what is read has grown since its size was asked for.
template <typename Call>
Status PassFilling(FaultScript& rScript, DWORD* pcbNeeded, const void* pTarget, Status eTooSmall,
                   const Call& rCall) noexcept {
    switch (rScript.Decide()) {
        case Decision::Fail:
            return rScript.FaultStatus();
        case Decision::Short: {
            const Status eStatus = rCall();
            if (eStatus != Status::Success || pTarget == nullptr || pcbNeeded == nullptr) return eStatus;
            *pcbNeeded = *pcbNeeded * 2 + 8;
            return eTooSmall;
        }
        case Decision::Pass:
            return rCall();
        default:
            return DEAD;
    }
}

class FaultSpooler final : public Wrapper<SpoolerPort> {
public:
    using Wrapper::Wrapper;
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
        return PassFilling(m_rScript, &rcbNeeded, pInfo, Status::InsufficientBuffer, [&] {
            return m_rBelow.EnumeratePortInfo(pszServer, dwLevel, pInfo, cbInfo, rcbNeeded, rcReturned);
        });
    }
    Status EnumerateProcessorInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo,
                                  DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept override {
        return PassFilling(m_rScript, &rcbNeeded, pInfo, Status::InsufficientBuffer, [&] {
            return m_rBelow.EnumerateProcessorInfo(pszServer, pszEnvironment, dwLevel, pInfo, cbInfo, rcbNeeded,
                                                   rcReturned);
        });
    }
};

/// Queues, printer data and drivers.
class FaultPrinting final : public PrintingCalls {
public:
    FaultPrinting(const Platform& rBelow, FaultScript& rScript) noexcept
        : PrintingCalls(*rBelow.pQueues, *rBelow.pPrinterData, *rBelow.pDrivers), m_rScript(rScript) {}
    // A close is made in any case.
    Status ClosePrinterUi(HANDLE hUi) noexcept override {
        const Decision eDecision = m_rScript.Decide();
        if (eDecision == Decision::Dead || eDecision == Decision::Torn) return DEAD;
        const Status eStatus = m_rDrivers.ClosePrinterUi(hUi);
        return eDecision == Decision::Fail ? m_rScript.FaultStatus() : eStatus;
    }

private:
    Status Pass(SpoolerCall oCall, const Made& rMade) noexcept override {
        return PassFilling(m_rScript, oCall.pcbNeeded, oCall.pTarget, oCall.eTooSmall, rMade);
    }

    FaultScript& m_rScript;
};

}  // namespace vlm::test
