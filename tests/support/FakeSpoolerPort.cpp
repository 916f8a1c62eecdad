/// @file
/// The spooler in memory.
#include "support/FakeSpoolerPort.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/EmbeddedMonitor.h"
#include "platform/host/spooler/SpoolerPorts.h"
#include "support/AllocationFaults.h"

namespace vlm::test {

namespace {

constexpr XStringView CHANNEL_PREFIX = VTEXT(",XcvMonitor "), PORT_PREFIX = VTEXT(",XcvPort ");

constexpr Status SpoolerStatus(DWORD dwStatus) noexcept {
    return static_cast<Status>(dwStatus);
}

XStringView ViewOf(const XCHAR* pszText) {
    return pszText ? XStringView(pszText) : XStringView();
}

bool EqualNoCase(XStringView svLeft, XStringView svRight) {
    const auto Fold = [](XCHAR ch) { return ch >= VTEXT('a') && ch <= VTEXT('z') ? ch - 0x20 : ch; };
    return std::equal(svLeft.begin(), svLeft.end(), svRight.begin(), svRight.end(),
                      [&](XCHAR chLeft, XCHAR chRight) { return Fold(chLeft) == Fold(chRight); });
}

}  // namespace

FakeSpoolerPort::FakeSpoolerPort(FakeRegistryPort& rRegistry, FakeFilePort& rFiles, FakeProcessPort& rProcess)
    : m_oGround(rRegistry, rFiles, rProcess) {}
FakeSpoolerPort::~FakeSpoolerPort() = default;

void FakeSpoolerPort::AddMonitor(XStringView svName, XStringView svDll) {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    m_vMonitors.push_back({XString(svName), ENVIRONMENT, XString(svDll)});
}

std::vector<FakeSpoolerPort::Monitor> FakeSpoolerPort::Monitors() const {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    return m_vMonitors;
}

void FakeSpoolerPort::SetScript(Script fnScript) {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    m_fnScript = std::move(fnScript);
}

std::vector<XString> FakeSpoolerPort::Commands() const {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    return m_vCommands;
}

DWORD FakeSpoolerPort::LastAccess() const {
    const std::lock_guard oLock(m_oMutex);
    return m_dwLastAccess;
}

void FakeSpoolerPort::RefuseOpen(Status eStatus) {
    const std::lock_guard oLock(m_oMutex);
    m_eRefuseOpen = eStatus;
}

void FakeSpoolerPort::RefuseTransceive(Status eStatus) {
    const std::lock_guard oLock(m_oMutex);
    m_eRefuseTransceive = eStatus;
}

void FakeSpoolerPort::SetMissingDll(XStringView svDll) {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    m_missingDll = svDll;
}

std::size_t FakeSpoolerPort::OpenHandles() const {
    const std::lock_guard oLock(m_oMutex);
    return m_mapPrinters.size();
}

void FakeSpoolerPort::SetMisuseFailsTest(bool fFails) {
    m_fMisuseFailsTest = fFails;
}

void FakeSpoolerPort::DropHandles() {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    for (const auto& [hPrinter, rPrinter] : m_mapPrinters) {
        if (rPrinter.hEmbedded != nullptr) GetEmbeddedMonitor()->CloseChannel(rPrinter.hEmbedded);
        if (rPrinter.fEmbeddedSpooler) m_oEmbedded.spooler.ClosePrinterHandle(hPrinter);
    }
    m_mapPrinters.clear();
}

void FakeSpoolerPort::AddScriptedPort(XStringView svPort) {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    m_vScriptedPorts.emplace_back(svPort);
}

bool FakeSpoolerPort::IsOpen(HANDLE hPrinter) const {
    const std::lock_guard oLock(m_oMutex);
    return m_mapPrinters.contains(hPrinter);
}

void FakeSpoolerPort::NoteOpened(HANDLE hPrinter) {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    m_mapPrinters[hPrinter].fEmbeddedSpooler = true;
}

bool FakeSpoolerPort::IsOwnChannel(XStringView svName) {
    const std::size_t iPort = svName.find(PORT_PREFIX);
    if (iPort != XStringView::npos) {
        const XStringView svPort = svName.substr(iPort + PORT_PREFIX.size());
        return std::any_of(m_vScriptedPorts.begin(), m_vScriptedPorts.end(),
                           [&](const XString& rPort) { return EqualNoCase(rPort, svPort); });
    }
    if (!svName.starts_with(CHANNEL_PREFIX)) return false;
    const XStringView svMonitor = svName.substr(CHANNEL_PREFIX.size());
    return Find(svMonitor) != m_vMonitors.end() ||
           (!EqualNoCase(svMonitor, host::LOCAL_MONITOR) && !EqualNoCase(svMonitor, host::TCP_MONITOR));
}

std::vector<FakeSpoolerPort::Monitor>::iterator FakeSpoolerPort::Find(XStringView svName) {
    return std::find_if(m_vMonitors.begin(), m_vMonitors.end(),
                        [&](const Monitor& rMonitor) { return EqualNoCase(rMonitor.name, svName); });
}

Status FakeSpoolerPort::Misuse(HANDLE hPrinter) const {
    if (m_fMisuseFailsTest) ADD_FAILURE() << "a spooler call on a handle that is not open: " << hPrinter;
    return Status::InvalidHandle;
}

Status FakeSpoolerPort::OpenPrinterHandle(const XCHAR* pszName, DWORD dwAccess, HANDLE& rhPrinter) noexcept {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    if (m_eRefuseOpen != Status::Success) return m_eRefuseOpen;
    const XStringView svName = ViewOf(pszName);
    m_dwLastAccess = dwAccess;
    if (pszName == nullptr || IsOwnChannel(svName)) {
        if (svName.size() == CHANNEL_PREFIX.size()) return SpoolerStatus(INVALID_PRINTER_NAME);
        if (svName.starts_with(CHANNEL_PREFIX) && Find(svName.substr(CHANNEL_PREFIX.size())) == m_vMonitors.end()) {
            return SpoolerStatus(UNKNOWN_PORT);
        }
        rhPrinter = reinterpret_cast<HANDLE>(m_uiLastHandle += 4);
        m_mapPrinters[rhPrinter] = {pszName != nullptr, nullptr, dwAccess, false};
        return Status::Success;
    }
    HANDLE hPrinter = nullptr;
    const Status eStatus = m_oEmbedded.spooler.OpenPrinterHandle(pszName, dwAccess, hPrinter);
    if (eStatus != Status::Success) return eStatus;
    m_mapPrinters[hPrinter] = {svName.find(VTEXT(",Xcv")) != XStringView::npos, nullptr, dwAccess, true};
    rhPrinter = hPrinter;
    return Status::Success;
}

Status FakeSpoolerPort::PrinterName(HANDLE hPrinter, XCHAR* pszName, DWORD& rcName) noexcept {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    const auto it = m_mapPrinters.find(hPrinter);
    if (it == m_mapPrinters.end()) return Misuse(hPrinter);
    if (!it->second.fEmbeddedSpooler) return Status::InvalidHandle;
    return m_oEmbedded.spooler.PrinterName(hPrinter, pszName, rcName);
}

Status FakeSpoolerPort::ClosePrinterHandle(HANDLE hPrinter) noexcept {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    const auto it = m_mapPrinters.find(hPrinter);
    if (it == m_mapPrinters.end()) return Misuse(hPrinter);
    if (it->second.hEmbedded != nullptr) GetEmbeddedMonitor()->CloseChannel(it->second.hEmbedded);
    if (it->second.fEmbeddedSpooler) m_oEmbedded.spooler.ClosePrinterHandle(hPrinter);
    m_mapPrinters.erase(it);
    return Status::Success;
}

Status FakeSpoolerPort::EmbeddedChannel(HANDLE hChannel, HANDLE& rhEmbedded) {
    const std::lock_guard oLock(m_oMutex);
    EmbeddedMonitor* const pMonitor = GetEmbeddedMonitor();
    Printer& rPrinter = m_mapPrinters[hChannel];
    if (pMonitor == nullptr) return Status::InvalidHandle;
    if (rPrinter.hEmbedded == nullptr) {
        const Status eStatus = pMonitor->OpenChannel(rPrinter.dwAccess, rPrinter.hEmbedded);
        if (eStatus != Status::Success) return eStatus;
    }
    rhEmbedded = rPrinter.hEmbedded;
    return Status::Success;
}

Status FakeSpoolerPort::Transceive(HANDLE hChannel, const XCHAR* pszCommand, const BYTE* pbyInput, DWORD cbInput,
                                   BYTE* pbyOutput, DWORD cbOutput, DWORD& rcbNeeded,
                                   DWORD& rdwMonitorStatus) noexcept {
    Script fnScript;
    bool bEmbeddedSpooler = false;
    {
        const AllocationExempt oExempt;
        const std::lock_guard oLock(m_oMutex);
        if (pszCommand == nullptr) return SpoolerStatus(NULL_REFERENCE);
        const auto it = m_mapPrinters.find(hChannel);
        if (it == m_mapPrinters.end()) return Misuse(hChannel);
        if (!it->second.fChannel) return Status::InvalidHandle;
        if (m_eRefuseTransceive != Status::Success) return m_eRefuseTransceive;
        m_vCommands.emplace_back(pszCommand);
        fnScript = m_fnScript;
        bEmbeddedSpooler = it->second.fEmbeddedSpooler;
    }
    DWORD cbNeeded = 0;
    if (fnScript) {
        const AllocationExempt oExempt;
        std::vector<BYTE> vbyOutput;
        const Status eStatus = fnScript(pszCommand, {pbyInput, cbInput}, cbOutput, vbyOutput);
        EXPECT_TRUE(eStatus != Status::Success || vbyOutput.size() <= cbOutput) << "the script writes beyond the room";
        cbNeeded = static_cast<DWORD>(vbyOutput.size());
        if (eStatus == Status::Success) std::copy_n(vbyOutput.begin(), std::min(cbNeeded, cbOutput), pbyOutput);
        rdwMonitorStatus = ToDword(eStatus);
    } else if (bEmbeddedSpooler) {
        const AllocationExempt oExempt;
        return m_oEmbedded.spooler.Transceive(hChannel, pszCommand, pbyInput, cbInput, pbyOutput, cbOutput, rcbNeeded,
                                              rdwMonitorStatus);
    } else {
        HANDLE hEmbedded = nullptr;
        const Status eStatus = EmbeddedChannel(hChannel, hEmbedded);
        if (eStatus != Status::Success) return eStatus;
        rdwMonitorStatus = ToDword(
            GetEmbeddedMonitor()->Transceive(hEmbedded, pszCommand, pbyInput, cbInput, pbyOutput, cbOutput, cbNeeded));
    }
    rcbNeeded = cbNeeded;
    return Status::Success;
}

Status FakeSpoolerPort::AddMonitorDll(const XCHAR* pszName, const XCHAR* pszEnvironment, const XCHAR* pszDll) noexcept {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    if (ViewOf(pszName).empty() || ViewOf(pszDll).empty()) return Status::InvalidParameter;
    if (pszEnvironment != nullptr && ViewOf(pszEnvironment) != ENVIRONMENT) return SpoolerStatus(INVALID_ENVIRONMENT);
    if (ViewOf(pszDll) == m_missingDll) return Status::ModuleNotFound;
    if (Find(pszName) != m_vMonitors.end()) return SpoolerStatus(PRINT_MONITOR_ALREADY_INSTALLED);
    m_vMonitors.push_back({pszName, ENVIRONMENT, pszDll});
    return Status::Success;
}

Status FakeSpoolerPort::DeleteMonitorByName(const XCHAR* pszName, const XCHAR* pszEnvironment) noexcept {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    if (ViewOf(pszName).empty()) return Status::InvalidParameter;
    if (pszEnvironment != nullptr && ViewOf(pszEnvironment) != ENVIRONMENT) return SpoolerStatus(INVALID_ENVIRONMENT);
    const auto it = Find(pszName);
    if (it == m_vMonitors.end()) return SpoolerStatus(UNKNOWN_PRINT_MONITOR);
    m_vMonitors.erase(it);
    return Status::Success;
}

Status FakeSpoolerPort::EnumerateMonitor(DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept {
    const std::lock_guard oLock(m_oMutex);
    if (dwIndex >= m_vMonitors.size()) return Status::NoMoreItems;
    const XString& rName = m_vMonitors[dwIndex].name;
    if (pszName == nullptr || rName.size() >= rcName) return Status::MoreData;
    *std::copy(rName.begin(), rName.end(), pszName) = 0;
    rcName = static_cast<DWORD>(rName.size());
    return Status::Success;
}

Status FakeSpoolerPort::EnumeratePortInfo(const XCHAR* pszServer, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                                          DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    const AllocationExempt oExempt;
    return m_oEmbedded.spooler.EnumeratePortInfo(pszServer, dwLevel, pInfo, cbInfo, rcbNeeded, rcReturned);
}

Status FakeSpoolerPort::EnumerateProcessorInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel,
                                               void* pInfo, DWORD cbInfo, DWORD& rcbNeeded,
                                               DWORD& rcReturned) noexcept {
    const AllocationExempt oExempt;
    return m_oEmbedded.spooler.EnumerateProcessorInfo(pszServer, pszEnvironment, dwLevel, pInfo, cbInfo, rcbNeeded,
                                                      rcReturned);
}

}  // namespace vlm::test
