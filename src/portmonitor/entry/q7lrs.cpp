/// @file
/// q7lrs.dll: the family's print monitor.  The spooler (through the loader q7lrsl.dll) asks it for its table of
/// functions; it has no ports of its own, only the channel that registry requests come through.
#include "platform/PoolPointerImpl.h"
#include "portmonitor/MonitorChannels.h"
#include "portmonitor/entry/MonitorTable.h"
#include "utilities/utilitiesdll/MemoryPool.h"
#include "utilities/utilitiesdll/UtilitiesDllPerThreadStorage.h"

namespace {

vlm::MonitorChannels& Channels() noexcept {
    static vlm::MonitorChannels soChannels;
    return soChannels;
}

/// The object may be a port, of which there are none, or, with some spoolers, the monitor's own name.
BOOL WINAPI XcvOpen(HANDLE, LPCWSTR, ACCESS_MASK dwGrantedAccess, PHANDLE phXcv) {
    if (!phXcv) return monitortable::AnswerBy(ERROR_INVALID_PARAMETER);
    *phXcv = nullptr;
    return monitortable::AnswerBy(vlm::ToDword(Channels().Open(dwGrantedAccess, *phXcv)));
}

DWORD WINAPI XcvData(HANDLE hXcv, LPCWSTR pszDataName, PBYTE pbyInput, DWORD cbInput, PBYTE pbyOutput, DWORD cbOutput,
                     PDWORD pcbOutputNeeded) {
    if (!pszDataName || !pcbOutputNeeded || (!pbyInput && cbInput != 0) || (!pbyOutput && cbOutput != 0))
        return ERROR_INVALID_PARAMETER;
    return vlm::ToDword(
        Channels().Transceive(hXcv, pszDataName, {pbyInput, cbInput}, {pbyOutput, cbOutput}, *pcbOutputNeeded));
}

BOOL WINAPI XcvClose(HANDLE hXcv) {
    return monitortable::AnswerBy(vlm::ToDword(Channels().Close(hXcv)));
}

void WINAPI Shutdown(HANDLE) {
    Channels().CloseAll();
}

constinit MONITOR2 goMonitor = monitortable::MakeChannelMonitor(XcvOpen, XcvData, XcvClose, Shutdown);

}  // namespace

/// The spooler's way in.  @param phMonitor a number that stands for the monitor; its functions ignore it.
extern "C" __declspec(dllexport) LPMONITOR2 WINAPI InitializePrintMonitor2(PMONITORINIT pInit, PHANDLE phMonitor) {
    if (!pInit || !phMonitor) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    *phMonitor = &goMonitor;
    return &goMonitor;
}

/// @param pvReserved at process detach: not null when the process is ending, and the other threads with their locks are
/// gone.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD dwReason, LPVOID pvReserved) {
    switch (dwReason) {
        case DLL_PROCESS_ATTACH:
            UtilitiesDllPerThreadStorage::InitializeDueToProcessAttach();
            break;
        case DLL_THREAD_DETACH:
            UtilitiesDllPerThreadStorage::CleanUpDueToThreadDetach(false);
            MemoryPool::CleanUpDueToThreadDetach();
            break;
        case DLL_PROCESS_DETACH:
            if (pvReserved) break;
            UtilitiesDllPerThreadStorage::CleanUpDueToProcessDetach();
            MemoryPool::CleanUpDueToProcessDetach();
            vlm::ReleasePoolPointerSlot();
            break;
        default:
            break;
    }
    return TRUE;
}
