/// @file
/// A monitor for the tests under Wine, which has no TCP/IP monitor of its own: keeps port configurations in the
/// registry, below "Ports" of the key that the spooler gives monitors of its name.
#include "portmonitor/entry/MonitorTable.h"
// After the system's headers.
#include <memory>
#include <new>
#include <string>

namespace {

constexpr const wchar_t* PORTS_PATH =
    L"System\\CurrentControlSet\\Control\\Print\\Monitors\\Standard TCP/IP Port\\Ports\\";
constexpr const wchar_t* DATA_VALUE = L"PortData";
constexpr DWORD PORT_DATA_BYTES = 964, QUESTION_BYTES = 132, VERSION_AT = 128;

/// A channel to a port, or to the monitor.
struct Channel {
    std::wstring port;  ///< or the monitor's name
    ACCESS_MASK uAccess;
};

DWORD NumberAt(const BYTE* pby, DWORD dwOffset) noexcept {
    DWORD dwNumber = 0;
    memcpy(&dwNumber, pby + dwOffset, sizeof(dwNumber));
    return dwNumber;
}

DWORD AddPortOf(const Channel& rChannel, const BYTE* pbyInput, DWORD cbInput) {
    if (!(rChannel.uAccess & SERVER_ACCESS_ADMINISTER)) return ERROR_ACCESS_DENIED;
    if (cbInput != PORT_DATA_BYTES || NumberAt(pbyInput, 136) != PORT_DATA_BYTES) return ERROR_INVALID_DATA;
    if (NumberAt(pbyInput, VERSION_AT) != 1) return ERROR_INVALID_LEVEL;
    const std::wstring path = PORTS_PATH + std::wstring(reinterpret_cast<const wchar_t*>(pbyInput));
    HKEY hKey = nullptr;
    DWORD dwMade = 0;
    DWORD dwStatus =
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &hKey, &dwMade);
    if (dwStatus != ERROR_SUCCESS) return dwStatus;
    dwStatus = dwMade == REG_OPENED_EXISTING_KEY
                   ? DWORD{ERROR_ALREADY_EXISTS}
                   : DWORD(RegSetValueExW(hKey, DATA_VALUE, 0, REG_BINARY, pbyInput, cbInput));
    RegCloseKey(hKey);
    return dwStatus;
}

DWORD GetConfigInfo(const Channel& rChannel, const BYTE* pbyInput, DWORD cbInput, BYTE* pbyOutput, DWORD cbOutput,
                    DWORD& rcbNeeded) {
    if (cbInput != QUESTION_BYTES) return ERROR_INVALID_DATA;
    if (NumberAt(pbyInput, VERSION_AT) != 1) return ERROR_INVALID_LEVEL;
    rcbNeeded = PORT_DATA_BYTES;
    if (cbOutput < PORT_DATA_BYTES) return ERROR_INSUFFICIENT_BUFFER;
    return static_cast<DWORD>(RegGetValueW(HKEY_LOCAL_MACHINE, (PORTS_PATH + rChannel.port).c_str(), DATA_VALUE,
                                           RRF_RT_REG_BINARY, nullptr, pbyOutput, &rcbNeeded));
}

BOOL WINAPI XcvOpen(HANDLE, LPCWSTR pszObject, ACCESS_MASK uAccess, PHANDLE phXcv) {
    auto apoChannel = std::make_unique<Channel>(Channel{pszObject ? pszObject : L"", uAccess});
    *phXcv = apoChannel.release();
    return TRUE;
}

DWORD WINAPI XcvData(HANDLE hXcv, LPCWSTR pszCommand, PBYTE pbyInput, DWORD cbInput, PBYTE pbyOutput, DWORD cbOutput,
                     PDWORD pcbNeeded) {
    const Channel& rChannel = *static_cast<Channel*>(hXcv);
    const std::wstring command = pszCommand;
    *pcbNeeded = 0;
    if (command == L"AddPort") return AddPortOf(rChannel, pbyInput, cbInput);
    if (command == L"GetConfigInfo") return GetConfigInfo(rChannel, pbyInput, cbInput, pbyOutput, cbOutput, *pcbNeeded);
    return ERROR_INVALID_PARAMETER;
}

BOOL WINAPI XcvClose(HANDLE hXcv) {
    const std::unique_ptr<Channel> apoChannel(static_cast<Channel*>(hXcv));
    return TRUE;
}

void WINAPI Shutdown(HANDLE) {}

constinit MONITOR2 goMonitor = monitortable::MakeChannelMonitor(XcvOpen, XcvData, XcvClose, Shutdown);

}  // namespace

extern "C" __declspec(dllexport) LPMONITOR2 WINAPI InitializePrintMonitor2(PMONITORINIT, PHANDLE phMonitor) {
    *phMonitor = &goMonitor;
    return &goMonitor;
}
