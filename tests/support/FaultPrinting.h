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
    Q9_FAULT_GUARD(Status, OpenPrinterHandle, const XCHAR*, DWORD, HANDLE&)
    Q9_FAULT_CLOSE(Status, ClosePrinterHandle, HANDLE)
    Q9_FAULT_GUARD(Status, Transceive, HANDLE, const XCHAR*, const BYTE*, DWORD, BYTE*, DWORD, DWORD&, DWORD&)
    Q9_FAULT_GUARD(Status, AddMonitorDll, const XCHAR*, const XCHAR*, const XCHAR*)
    Q9_FAULT_GUARD(Status, DeleteMonitorByName, const XCHAR*, const XCHAR*)
    Q9_FAULT_GUARD(Status, EnumerateMonitor, DWORD, XCHAR*, DWORD&)
    Q9_FAULT_GUARD(Status, PrinterName, HANDLE, XCHAR*, DWORD&)
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
