/// @file
/// The table of functions that the spooler gets from a print monitor without ports.
#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
// The system's headers in the order that they need:
// clang-format off
#include <windows.h>
#include <winspool.h>
#include <winsplp.h>
// clang-format on

namespace monitortable {

/// The answer of a function that reports by TRUE and the thread's last error.
inline BOOL AnswerBy(DWORD dwStatus) noexcept {
    if (dwStatus == ERROR_SUCCESS) return TRUE;
    SetLastError(dwStatus);
    return FALSE;
}

// What every monitor must have, for ports that there are none of.
inline BOOL WINAPI EnumMonitorPorts(HANDLE, LPWSTR, DWORD dwLevel, LPBYTE, DWORD, LPDWORD pcbNeeded,
                                    LPDWORD pcReturned) {
    if (!pcbNeeded || !pcReturned) return AnswerBy(ERROR_INVALID_PARAMETER);
    *pcbNeeded = 0;
    *pcReturned = 0;
    return AnswerBy(dwLevel == 1 || dwLevel == 2 ? ERROR_SUCCESS : ERROR_INVALID_LEVEL);
}
inline BOOL WINAPI OpenMonitorPort(HANDLE, LPWSTR, PHANDLE) {
    return AnswerBy(ERROR_UNKNOWN_PORT);
}
inline BOOL WINAPI StartDocOnPort(HANDLE, LPWSTR, DWORD, DWORD, LPBYTE) {
    return AnswerBy(ERROR_INVALID_HANDLE);
}
inline BOOL WINAPI TransferOnPort(HANDLE, LPBYTE, DWORD, LPDWORD) {
    return AnswerBy(ERROR_INVALID_HANDLE);
}
inline BOOL WINAPI EndOnPort(HANDLE) {
    return AnswerBy(ERROR_INVALID_HANDLE);
}

/// A monitor that is there for its channel alone.
constexpr MONITOR2 MakeChannelMonitor(decltype(MONITOR2::pfnXcvOpenPort) pfnOpen,
                                      decltype(MONITOR2::pfnXcvDataPort) pfnData,
                                      decltype(MONITOR2::pfnXcvClosePort) pfnClose,
                                      decltype(MONITOR2::pfnShutdown) pfnShutdown) noexcept {
    MONITOR2 oMonitor{};
    oMonitor.cbSize = sizeof(MONITOR2);
    oMonitor.pfnEnumPorts = EnumMonitorPorts;
    oMonitor.pfnOpenPort = OpenMonitorPort;
    oMonitor.pfnStartDocPort = StartDocOnPort;
    oMonitor.pfnWritePort = TransferOnPort;
    oMonitor.pfnReadPort = TransferOnPort;
    oMonitor.pfnEndDocPort = EndOnPort;
    oMonitor.pfnClosePort = EndOnPort;
    oMonitor.pfnXcvOpenPort = pfnOpen;
    oMonitor.pfnXcvDataPort = pfnData;
    oMonitor.pfnXcvClosePort = pfnClose;
    oMonitor.pfnShutdown = pfnShutdown;
    return oMonitor;
}

}  // namespace monitortable
