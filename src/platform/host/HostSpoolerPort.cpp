/// @file
/// The embedded spooler over the store.
#include "platform/host/HostSpoolerPort.h"

#include <array>
#include <new>
#include <optional>
#include <string>

#include "platform/EmbeddedMonitor.h"
#include "platform/Platform.h"
#include "platform/RegistryPort.h"

namespace vlm::host {

namespace {

constexpr const XCHAR* MONITORS_PATH = VTEXT("System\\CurrentControlSet\\Control\\Print\\Monitors");
constexpr const XCHAR* DLL_VALUE = VTEXT("Driver");
constexpr XStringView CHANNEL_PREFIX = VTEXT(",XcvMonitor ");
constexpr std::size_t MAX_DLL_UNITS = 260;

constexpr Status SpoolerStatus(DWORD dwStatus) noexcept {
    return static_cast<Status>(dwStatus);
}

/// The store's registry, whatever a test has put in force for the library.
RegistryPort& Registry() noexcept {
    return *GetSystemPlatform().pRegistry;
}

/// A key of the store, closed with the object.
class OpenKey {
public:
    ~OpenKey() {
        if (m_hKey != nullptr) Registry().Close(m_hKey);
    }
    OpenKey() = default;
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;

    HKEY m_hKey = nullptr;
};

HKEY LocalMachine() noexcept {
    return Registry().RootKey(RegistryPort::Root::LocalMachine);
}

/// A monitor's name is one component of a path.
bool IsMonitorName(const XCHAR* pszName) noexcept {
    const XStringView svName = pszName ? XStringView(pszName) : XStringView();
    return !svName.empty() && svName.size() <= RegistryPort::MAX_KEY_NAME &&
           svName.find(VTEXT('\\')) == XStringView::npos;
}

bool IsEnvironment(const XCHAR* pszEnvironment) noexcept {
    return pszEnvironment == nullptr || XStringView(pszEnvironment) == XStringView(SpoolerPort::ENVIRONMENT);
}

/// The channel's way to a monitor: it must be installed, and be the one that lives in this process.
Status FindMonitor(const XCHAR* pszName, EmbeddedMonitor*& rpMonitor) {
    if (!IsMonitorName(pszName)) return SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME);
    RegistryPort& rRegistry = Registry();
    OpenKey oKey;
    const std::basic_string<XCHAR> path = std::basic_string<XCHAR>(MONITORS_PATH) + VTEXT("\\") + pszName;
    Status eStatus = rRegistry.Open(LocalMachine(), path.c_str(), RegistryPort::RIGHTS_READ, oKey.m_hKey);
    if (eStatus == Status::FileNotFound) return SpoolerStatus(SpoolerPort::UNKNOWN_PORT);
    if (eStatus != Status::Success) return eStatus;
    std::array<XCHAR, MAX_DLL_UNITS + 1> aszDll{};
    DWORD dwType = 0, cbDll = MAX_DLL_UNITS * sizeof(XCHAR);
    eStatus = rRegistry.QueryValue(oKey.m_hKey, DLL_VALUE, dwType, aszDll.data(), cbDll);
    if (eStatus != Status::Success) return eStatus;
    rpMonitor = GetEmbeddedMonitor();
    return rpMonitor != nullptr && rpMonitor->IsDll(aszDll.data()) ? Status::Success
                                                                   : SpoolerStatus(SpoolerPort::UNKNOWN_PORT);
}

}  // namespace

Status HostSpoolerPort::OpenPrinterHandle(const XCHAR* pszName, DWORD dwAccess, HANDLE& rhPrinter) noexcept try {
    Printer oPrinter{false, nullptr};
    EmbeddedMonitor* pMonitor = nullptr;
    if (pszName != nullptr) {
        if (!XStringView(pszName).starts_with(CHANNEL_PREFIX)) return SpoolerStatus(INVALID_PRINTER_NAME);
        const Status eFound = FindMonitor(pszName + CHANNEL_PREFIX.size(), pMonitor);
        if (eFound != Status::Success) return eFound;
        oPrinter.fChannel = true;
        const Status eOpen = pMonitor->OpenChannel(dwAccess, oPrinter.hChannel);
        if (eOpen != Status::Success) return eOpen;
    }
    try {
        rhPrinter = reinterpret_cast<HANDLE>(m_oPrinters.Add(oPrinter));
    } catch (const std::bad_alloc&) {
        if (pMonitor != nullptr) pMonitor->CloseChannel(oPrinter.hChannel);
        return Status::NotEnoughMemory;
    }
    return Status::Success;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostSpoolerPort::ClosePrinterHandle(HANDLE hPrinter) noexcept {
    const std::optional<Printer> oPrinter = m_oPrinters.Remove(reinterpret_cast<std::uintptr_t>(hPrinter));
    if (!oPrinter) return Status::InvalidHandle;
    EmbeddedMonitor* const pMonitor = GetEmbeddedMonitor();
    return oPrinter->fChannel && pMonitor != nullptr ? pMonitor->CloseChannel(oPrinter->hChannel) : Status::Success;
}

Status HostSpoolerPort::PrinterName(HANDLE, XCHAR*, DWORD&) noexcept {
    return Status::InvalidHandle;  // no handle of this spooler is a queue's
}

Status HostSpoolerPort::Transceive(HANDLE hChannel, const XCHAR* pszCommand, const BYTE* pbyInput, DWORD cbInput,
                                   BYTE* pbyOutput, DWORD cbOutput, DWORD& rcbNeeded,
                                   DWORD& rdwMonitorStatus) noexcept {
    if (pszCommand == nullptr) return SpoolerStatus(NULL_REFERENCE);
    const std::optional<Printer> oPrinter = m_oPrinters.Find(reinterpret_cast<std::uintptr_t>(hChannel));
    EmbeddedMonitor* const pMonitor = GetEmbeddedMonitor();
    if (!oPrinter || !oPrinter->fChannel || pMonitor == nullptr) return Status::InvalidHandle;
    DWORD cbNeeded = 0;
    rdwMonitorStatus =
        ToDword(pMonitor->Transceive(oPrinter->hChannel, pszCommand, pbyInput, cbInput, pbyOutput, cbOutput, cbNeeded));
    rcbNeeded = cbNeeded;
    return Status::Success;
}

Status HostSpoolerPort::AddMonitorDll(const XCHAR* pszName, const XCHAR* pszEnvironment, const XCHAR* pszDll) noexcept
    try {
    const XStringView svDll = pszDll ? XStringView(pszDll) : XStringView();
    if (!IsMonitorName(pszName) || svDll.empty() || svDll.size() >= MAX_DLL_UNITS) return Status::InvalidParameter;
    if (!IsEnvironment(pszEnvironment)) return SpoolerStatus(INVALID_ENVIRONMENT);
    const EmbeddedMonitor* const pMonitor = GetEmbeddedMonitor();
    if (pMonitor == nullptr || !pMonitor->IsDll(pszDll)) return Status::ModuleNotFound;
    RegistryPort& rRegistry = Registry();
    OpenKey oMonitors, oKey;
    bool fCreated = false;
    Status eStatus =
        rRegistry.Create(LocalMachine(), MONITORS_PATH, RegistryPort::RIGHTS_ALL, false, oMonitors.m_hKey, fCreated);
    if (eStatus != Status::Success) return eStatus;
    eStatus = rRegistry.Create(oMonitors.m_hKey, pszName, RegistryPort::RIGHTS_ALL, false, oKey.m_hKey, fCreated);
    if (eStatus != Status::Success) return eStatus;
    if (!fCreated) return SpoolerStatus(PRINT_MONITOR_ALREADY_INSTALLED);
    eStatus = rRegistry.SetValue(oKey.m_hKey, DLL_VALUE, RegistryPort::TYPE_SZ, pszDll,
                                 static_cast<DWORD>((svDll.size() + 1) * sizeof(XCHAR)));
    if (eStatus != Status::Success) rRegistry.DeleteKey(oMonitors.m_hKey, pszName);
    return eStatus;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

Status HostSpoolerPort::DeleteMonitorByName(const XCHAR* pszName, const XCHAR* pszEnvironment) noexcept {
    if (!IsMonitorName(pszName)) return Status::InvalidParameter;
    if (!IsEnvironment(pszEnvironment)) return SpoolerStatus(INVALID_ENVIRONMENT);
    RegistryPort& rRegistry = Registry();
    OpenKey oMonitors;
    Status eStatus = rRegistry.Open(LocalMachine(), MONITORS_PATH, RegistryPort::RIGHTS_ALL, oMonitors.m_hKey);
    if (eStatus == Status::Success) eStatus = rRegistry.DeleteKey(oMonitors.m_hKey, pszName);
    return eStatus == Status::FileNotFound ? SpoolerStatus(UNKNOWN_PRINT_MONITOR) : eStatus;
}

Status HostSpoolerPort::EnumerateMonitor(DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept {
    RegistryPort& rRegistry = Registry();
    OpenKey oMonitors;
    const Status eStatus = rRegistry.Open(LocalMachine(), MONITORS_PATH, RegistryPort::RIGHTS_READ, oMonitors.m_hKey);
    if (eStatus == Status::FileNotFound) return Status::NoMoreItems;
    if (eStatus != Status::Success) return eStatus;
    return rRegistry.EnumerateKey(oMonitors.m_hKey, dwIndex, pszName, rcName);
}

}  // namespace vlm::host
