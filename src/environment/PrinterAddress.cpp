/// @file
/// The port of a printer, and the address of the device behind it.
#include <algorithm>
#include <array>

#include "environment/PrinterPortsImpl.h"
#include "environment/TCPMonPort.h"
#include "platform/RegistryPort.h"

using vlm::PrinterInfo2;
using vlm::PrinterInfo4;
using vlm::Status;
using vlm::TextOfStatus;

namespace {

constexpr _HKEYREGISTRY_ MACHINE = HKeyRegistry::Hkey_Local_Machine;

/// Where a port is: its machine ("\\SERVER", empty: this one) and its name.
struct PortPlace {
    Printer& rPrinter;
    CXString csServer;
    CXString csPort;
};

/// The address that a monitor's key of a port holds.
bool ReadAddress(RegistryKey& rKey, CXString& rcsAddress) {
    for (const XCHAR* pszValue : {VTEXT("HostName"), VTEXT("IPAddress")}) {
        rcsAddress = rKey.GetStringValue(pszValue, CXString());
        if (!rcsAddress.IsEmpty()) return true;
    }
    return false;
}

bool FromMonitorsKey(const PortPlace& rPlace, const XCHAR* pszSubKey, CXString& rcsAddress) {
    const CXString csPath = rPlace.rPrinter.GetMonitorsSubKeyPath(pszSubKey, rPlace.csPort);
    if (csPath.IsEmpty()) return false;
    Status eStatus = Status::Success;
    const auto apoKey = vlm::OpenMachineKey(rPlace.csServer, csPath, eStatus);
    if (!apoKey) return false;
    return ReadAddress(*apoKey, rcsAddress);
}

bool FromTcpIp(const PortPlace& rPlace, CXString& rcsAddress) {
    return Printer::GetIPOrHostNameFromTcpMon(rPlace.csServer, rPlace.csPort, rcsAddress) ||
           FromMonitorsKey(rPlace, VTEXT("Standard TCP/IP Port\\Ports"), rcsAddress);
}

bool FromInternet(const PortPlace& rPlace, CXString& rcsAddress) {
    const bool fAddress = rPlace.csPort.FindNoCase(VTEXT("http://")) == 0 ||
                          rPlace.csPort.FindNoCase(VTEXT("https://")) == 0 || vlm::IsIppPort(rPlace.csPort);
    if (fAddress) rcsAddress = vlm::HostOfAddress(rPlace.csPort);
    return fAddress && !rcsAddress.IsEmpty();
}

bool FromMobile(const PortPlace& rPlace, CXString& rcsAddress) {
    const CXString csPath =
        VTEXT("Software\\Velom\\") + CXString::FormatString(VTEXT("MobilePort\\Ports\\%s"), rPlace.csPort);
    Status eStatus = Status::Success;
    const auto apoKey = vlm::OpenMachineKey(rPlace.csServer, csPath, eStatus);
    if (apoKey) return ReadAddress(*apoKey, rcsAddress);
    VLM_REPORT(vlm::PRINTER_CATEGORIES,
               VTEXT("Unable to access Velom Mobile Port Monitor registry location because %s"), TextOfStatus(eStatus));
    return false;
}

bool FromIPrint(const PortPlace& rPlace, const XCHAR* pszSubKey, CXString& rcsAddress) {
    const CXString csPath = rPlace.rPrinter.GetMonitorsSubKeyPath(pszSubKey, rPlace.csPort);
    Status eStatus = Status::FileNotFound;
    const auto apoKey = csPath.IsEmpty() ? nullptr : vlm::OpenMachineKey(rPlace.csServer, csPath, eStatus);
    if (!apoKey) {
        VLM_REPORT(vlm::PRINTER_CATEGORIES, VTEXT("Error trying to access Novell IPrint registry location because %s"),
                   TextOfStatus(eStatus));
        return false;
    }
    rcsAddress = vlm::HostOfAddress(apoKey->GetStringValue(VTEXT("NovellSNMPAddressAndPort"), CXString()));
    return !rcsAddress.IsEmpty();
}

bool FromIPrintServer(const PortPlace& rPlace, CXString& rcsAddress) {
    return FromIPrint(rPlace, VTEXT("iPrint Server Port\\Ports"), rcsAddress);
}

bool FromIPrintDirect(const PortPlace& rPlace, CXString& rcsAddress) {
    return FromIPrint(rPlace, VTEXT("iPrint Direct Port\\Ports"), rcsAddress);
}

bool FromOwnMonitor(const PortPlace& rPlace, CXString& rcsAddress) {
    return FromMonitorsKey(rPlace, VTEXT("PMC Portmon\\Ports"), rcsAddress);
}

/// The kinds of ports whose device has an address, by the monitor's name in the list of ports.
struct PortKind {
    XStringView monitor;
    bool (*pfnFind)(const PortPlace& rPlace, CXString& rcsAddress);
};
constexpr std::array PORT_KINDS = {
    PortKind{VTEXT("Standard TCP/IP Port"), FromTcpIp},      PortKind{VTEXT("TCPMON.DLL"), FromTcpIp},
    PortKind{VTEXT("Internet Port"), FromInternet},          PortKind{VTEXT("Velom Mobile Port"), FromMobile},
    PortKind{VTEXT("iPrint Server Port"), FromIPrintServer}, PortKind{VTEXT("iPrint Direct Port"), FromIPrintDirect},
    PortKind{VTEXT("PMC Portmon"), FromOwnMonitor},
};

/// The server of a queue; empty for one of this machine, and for one that does not tell.
CXString ServerOf(HANDLE hPrinter) {
    ByteBuffer bbInfo;
    if (vlm::ReadQueueInfo(hPrinter, 4, bbInfo) != Status::Success) return CXString();
    return vlm::FirstRecord<PrinterInfo4>(bbInfo).pServerName;
}

/// The monitor of a port; empty when the list of ports does not tell.
CXString MonitorOf(const CXString& kcsServer, const CXString& kcsPort) {
    ByteBuffer bbPorts;
    DWORD cPorts = 0;
    if (!vlm::ReadPorts(kcsServer.IsEmpty() ? nullptr : kcsServer.GetLpcwstr(), bbPorts, cPorts)) return CXString();
    for (const vlm::PortInfo2& rPort : vlm::Records<vlm::PortInfo2>(bbPorts, cPorts))
        if (kcsPort.CompareNoCase(CXString(rPort.pPortName)) == 0) return rPort.pMonitorName;
    return CXString();
}

}  // namespace

bool vlm::ReadPorts(const XCHAR* pszServer, ByteBuffer& rbbPorts, DWORD& rcPorts) {
    const Status eStatus = ReadSpoolerList(
        BlockKind::Port, 2, rbbPorts, rcPorts, [&](BYTE* pbyInfo, DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcRecords) {
            return Spooler().EnumeratePortInfo(pszServer, 2, pbyInfo, cbInfo, rcbNeeded, rcRecords);
        });
    if (eStatus == Status::Success) return true;
    VLM_REPORT_ERROR(PRINTER_CATEGORIES, VTEXT("The ports cannot be listed. %s"), TextOfStatus(eStatus));
    return false;
}

std::unique_ptr<RegistryKey> vlm::OpenMachineKey(const CXString& kcsServer, const CXString& kcsPath, Status& reStatus) {
    if (kcsServer.IsEmpty()) {
        auto apoKey = std::make_unique<RegistryKey>(MACHINE, kcsPath, RegistryKey::DIRECT, RegistryKey::OWN_TREE);
        if (apoKey->OpenRegistryKey(RegistryKey::READ_ACCESS, RegistryKey::NO_THROW)) return apoKey;
        reStatus = static_cast<Status>(apoKey->GetLastStatus());
        return nullptr;
    }
    const auto own = [](HKEY hKey) {
        return std::make_unique<RegistryKey>(MACHINE, hKey, RegistryKey::DIRECT, RegistryKey::OWN_TREE);
    };
    RegistryPort& rRegistry = *GetPlatform().pRegistry;
    HKEY hRoot = nullptr;
    reStatus = rRegistry.ConnectRemote(kcsServer, hRoot);
    if (reStatus != Status::Success) {
        VLM_REPORT_ERROR(PRINTER_CATEGORIES, VTEXT("Unable to connect to remote registry on %s"), kcsServer);
        return nullptr;
    }
    HKEY hKey = nullptr;
    reStatus = rRegistry.Open(hRoot, kcsPath, RegistryPort::RIGHTS_READ, hKey);
    rRegistry.Close(hRoot);
    if (reStatus != Status::Success) return nullptr;
    try {
        return own(hKey);
    } catch (const std::bad_alloc&) {
        rRegistry.Close(hKey);
        vlm::ThrowOutOfMemory();
    }
}

CXString vlm::HostOfAddress(XStringView svAddress) {
    if (const std::size_t cScheme = svAddress.find(VTEXT("://")); cScheme != svAddress.npos)
        svAddress.remove_prefix(cScheme + 3);
    svAddress = svAddress.substr(0, svAddress.find_first_of(VTEXT("/?#\\")));
    if (const std::size_t cUser = svAddress.rfind(VTEXT('@')); cUser != svAddress.npos)
        svAddress.remove_prefix(cUser + 1);
    if (svAddress.starts_with(VTEXT('['))) return svAddress.substr(1, svAddress.find(VTEXT(']')) - 1);
    return svAddress.substr(0, svAddress.find(VTEXT(':')));
}

CXString Printer::GetPrinterPort() {
    if (!m_csPort.IsEmpty()) {
        VLM_REPORT(vlm::PRINTER_CATEGORIES,
                   VTEXT("Printer::GetPrinterPort(): Found Cached Value, using it instead of querying for data"));
        return m_csPort;
    }
    m_csPort = GetPrinterPort(m_hPrinter);
    return m_csPort;
}

CXString Printer::GetPrinterPort(HANDLE hPrinter) {
    ByteBuffer bbInfo;
    if (!GetPrinterInfo(hPrinter, 2, bbInfo)) {
        VLM_THROW(ExceptionPrinterFailure,
                  VTEXT("GetPrinterPort() failed: GetPrinterInfo(level 2) failed unexpectedly."));
    }
    const PrinterInfo2* const pPrinterInfo2 = &vlm::FirstRecord<PrinterInfo2>(bbInfo);
    if (!pPrinterInfo2->pPortName) {
        VLM_THROW(ExceptionPrinterFailure,
                  VTEXT("GetPrinterPort() failed, pPrinterInfo2->pPortName unexpectedly NULL."));
    }
    return pPrinterInfo2->pPortName;
}

void Printer::UpdatePortCacheAsPortChanged(const XCHAR* pszPort) noexcept {
    CXString csPort;
    vlm::TryOperation([&] {
        csPort = pszPort;
        return true;
    });
    m_csPort.swap(csPort);  // without memory none: it is asked for again, and never the former one
}

void Printer::UpdatePortCacheAsPortChanged() noexcept {
    m_csPort.Empty();
    vlm::TryOperation([&] { return !GetPrinterPort().IsEmpty(); });
}

bool Printer::GetPortInfo(HANDLE hPrinter, CXString& rcsMonitor) noexcept {
    return vlm::TryOperation([&] {
        const CXString csServer = ServerOf(hPrinter);
        rcsMonitor = MonitorOf(csServer, GetPrinterPort(hPrinter));
        return !rcsMonitor.IsEmpty();
    });
}

CXString Printer::GetMonitorsSubKeyPath(const XCHAR* pszSubKey, const XCHAR* pszPort) {
    CXString csPath = CXString::FormatString(VTEXT("System\\CurrentControlSet\\Control\\Print\\Monitors\\%s\\%s"),
                                             pszSubKey, pszPort);
    Status eStatus = Status::Success;
    if (vlm::OpenMachineKey(IsValidHandle() ? ServerOf(m_hPrinter) : CXString(), csPath, eStatus)) return csPath;
    VLM_REPORT(vlm::PRINTER_CATEGORIES, VTEXT("Printer::GetMonitorsSubKeyPath: Unable to open registry path %s"),
               csPath);
    return CXString();
}

bool Printer::GetIPOrHostNameFromTcpMon(CXString& rcsAddress) noexcept {
    return vlm::TryOperation([&] {
        const CXString csServer = ServerOf(m_hPrinter);
        return GetIPOrHostNameFromTcpMon(csServer, GetPrinterPort(), rcsAddress);
    });
}

bool Printer::GetIPOrHostNameFromTcpMon(const XCHAR* pszPort, CXString& rcsAddress) noexcept {
    return GetIPOrHostNameFromTcpMon(nullptr, pszPort, rcsAddress);
}

bool Printer::GetIPOrHostNameFromTcpMon(const XCHAR* pszServer, const XCHAR* pszPort, CXString& rcsAddress) noexcept {
    return vlm::TryOperation([&] {
        TCPMonPort oPort;
        if (!oPort.OpenPort(pszPort, pszServer)) return false;
        rcsAddress = oPort.GetPortAddress();
        return !rcsAddress.IsEmpty();
    });
}

bool Printer::GetPrinterIPOrHostFromPort(const XCHAR* pszPort, CXString& rcsAddress) noexcept {
    return GetPrinterIPOrHostFromPort(nullptr, pszPort, rcsAddress);
}

bool Printer::GetPrinterIPOrHostFromPort(const XCHAR* pszMonitor, const XCHAR* pszPort, CXString& rcsAddress) noexcept {
    return vlm::TryOperation([&] {
        const PortPlace oPlace{*this, IsValidHandle() ? ServerOf(m_hPrinter) : CXString(), pszPort};
        CXString csMonitor(pszMonitor);
        if (csMonitor.IsEmpty()) csMonitor = MonitorOf(oPlace.csServer, oPlace.csPort);
        CXString csAddress;
        const auto it = std::find_if(PORT_KINDS.begin(), PORT_KINDS.end(), [&](const PortKind& rKind) {
            return !oPlace.csPort.IsEmpty() && csMonitor.CompareNoCase(rKind.monitor) == 0 &&
                   rKind.pfnFind(oPlace, csAddress);
        });
        if (it == PORT_KINDS.end()) {
            VLM_REPORT(vlm::PRINTER_CATEGORIES,
                       VTEXT("Printer::GetPrinterIPOrHost: Unable to retrieve IP or Host name from registry.  (OK if "
                             "not connected to a device via TCP/IP.)"));
            return false;
        }
        rcsAddress.swap(csAddress);
        return true;
    });
}

bool Printer::GetPrinterIPOrHostNameForIPPPrintOnServer(CXString& rcsAddress) noexcept {
    return vlm::TryOperation([&] {
        const CXString csName = GetPrinterName();
        if (!vlm::IsIppName(csName)) return false;
        rcsAddress = vlm::HostOfAddress(csName.View().substr(2));
        return !rcsAddress.IsEmpty();
    });
}

bool Printer::GetCurrentPrinterIPOrHost(CXString& rcsAddress) noexcept {
    return vlm::TryOperation([&] {
        return GetPrinterIPOrHostNameForIPPPrintOnServer(rcsAddress) ||
               GetPrinterIPOrHostFromPort(GetPrinterPort(), rcsAddress);
    });
}

CXString Printer::GetCurrentPrinterIPOrHost() noexcept {
    CXString csAddress;
    GetCurrentPrinterIPOrHost(csAddress);
    return csAddress;
}
