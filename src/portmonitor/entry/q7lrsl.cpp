/// @file
/// q7lrsl.dll: the print monitor that the spooler knows.  It loads q7lrs.dll from the system folder, leads every call
/// on to it, and exchanges it for a newer one on "upgrade".
#include "portmonitor/entry/MonitorTable.h"
#include "portmonitor/entry/q7lrsl/MonitorLoader.h"

namespace {

loader::MonitorLoader& Loader() noexcept {
    static loader::MonitorLoader soLoader;
    return soLoader;
}

/// The object may be a port, of which there are none, or, with some spoolers, the monitor's own name.
BOOL WINAPI XcvOpen(HANDLE, LPCWSTR, ACCESS_MASK dwGrantedAccess, PHANDLE phXcv) {
    if (!phXcv) return monitortable::AnswerBy(ERROR_INVALID_PARAMETER);
    *phXcv = nullptr;
    return monitortable::AnswerBy(Loader().OpenChannel(dwGrantedAccess, *phXcv));
}

DWORD WINAPI XcvData(HANDLE hXcv, LPCWSTR pszDataName, PBYTE pbyInput, DWORD cbInput, PBYTE pbyOutput, DWORD cbOutput,
                     PDWORD pcbOutputNeeded) {
    return Loader().Transceive(hXcv, pszDataName, pbyInput, cbInput, pbyOutput, cbOutput, pcbOutputNeeded);
}

BOOL WINAPI XcvClose(HANDLE hXcv) {
    return monitortable::AnswerBy(Loader().CloseChannel(hXcv));
}

void WINAPI Shutdown(HANDLE) {
    Loader().Stop();
}

constinit MONITOR2 goMonitor = monitortable::MakeChannelMonitor(XcvOpen, XcvData, XcvClose, Shutdown);

}  // namespace

/// The spooler's way in.  @return null when the monitor behind it does not load; the last error says why.
extern "C" __declspec(dllexport) LPMONITOR2 WINAPI InitializePrintMonitor2(PMONITORINIT pInit, PHANDLE phMonitor) {
    const DWORD dwStatus = pInit && phMonitor ? Loader().Start(*pInit) : ERROR_INVALID_PARAMETER;
    if (dwStatus != ERROR_SUCCESS) {
        SetLastError(dwStatus);
        return nullptr;
    }
    *phMonitor = &goMonitor;
    return &goMonitor;
}
