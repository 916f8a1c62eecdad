/// @file
/// Queues, printer data and drivers in memory: the script before the embedded spooler.
#include "support/FakePrintingPorts.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/RegistryPort.h"
#include "support/AllocationFaults.h"
#include "support/FakeSpoolerGround.h"

namespace vlm::test {

namespace {

XCHAR* TextOf(XString& rText) {
    return rText.data();
}

}  // namespace

FakePrintingPorts::FakePrintingPorts(FakeSpoolerPort& rSpooler)
    : PrintingCalls(rSpooler.Embedded().queues, rSpooler.Embedded().data, rSpooler.Embedded().drivers),
      m_rSpooler(rSpooler) {}

void FakePrintingPorts::SetCallScript(CallScript fnScript) {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    m_fnScript = std::move(fnScript);
}

void FakePrintingPorts::ScriptCallsOf(const char* pszName, CallScript fnAnswer) {
    SetCallScript([=](SpoolerCall& rCall) -> std::optional<Status> {
        return std::string_view(rCall.pszName) == pszName ? fnAnswer(rCall) : std::nullopt;
    });
}

std::vector<std::string> FakePrintingPorts::Calls() const {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    return m_vCalls;
}

std::size_t FakePrintingPorts::CallsOf(std::string_view svName) const {
    const std::lock_guard oLock(m_oMutex);
    return static_cast<std::size_t>(std::count(m_vCalls.begin(), m_vCalls.end(), svName));
}

void FakePrintingPorts::ForgetCalls() {
    const std::lock_guard oLock(m_oMutex);
    m_vCalls.clear();
}

XString FakePrintingPorts::QueueKey(XStringView svQueue) {
    XString key = VTEXT("HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Print\\");
    const std::size_t iQueue = svQueue.starts_with(VTEXT("\\\\")) ? svQueue.find(VTEXT('\\'), 2) : XStringView::npos;
    if (iQueue == XStringView::npos) return key.append(VTEXT("Printers\\")).append(svQueue);
    key.append(VTEXT("Providers\\LanMan Print Services\\Servers\\")).append(svQueue.substr(2, iQueue - 2));
    return key.append(VTEXT("\\Printers\\")).append(svQueue.substr(iQueue + 1));
}

void FakePrintingPorts::AddDriverNamed(XStringView svName, const std::vector<XString>& rvDependent,
                                       XStringView svDriverFile, XStringView svDataFile, XStringView svConfigFile) {
    const AllocationExempt oExempt;
    FakeSpoolerGround& rGround = m_rSpooler.Ground();
    XString name(svName), driverFile(svDriverFile), dataFile(svDataFile), configFile(svConfigFile), dependent;
    std::vector<XString> vFiles = rvDependent;
    vFiles.insert(vFiles.end(), {driverFile, dataFile, configFile});
    for (const XString& rFile : vFiles)
        rGround.FakeFiles().AddFile(rGround.SpoolFolder() + VTEXT("\\drivers\\x64\\3\\") + rFile, {1, 2, 3});
    for (const XString& rFile : rvDependent)
        dependent.append(rFile).append(1, 0);
    XString environment = SpoolerPort::ENVIRONMENT;
    DriverInfo3 oInfo{.cVersion = DRIVER_VERSION,
                      .pName = TextOf(name),
                      .pEnvironment = TextOf(environment),
                      .pDriverPath = TextOf(driverFile),
                      .pDataFile = TextOf(dataFile),
                      .pConfigFile = TextOf(configFile),
                      .pHelpFile = nullptr,
                      .pDependentFiles = rvDependent.empty() ? nullptr : TextOf(dependent),
                      .pMonitorName = nullptr,
                      .pDefaultDataType = nullptr};
    EXPECT_EQ(m_rSpooler.Embedded().drivers.AddDriver(nullptr, 3, &oInfo, COPY_ALL), Status::Success);
}

void FakePrintingPorts::AddQueueNamed(XStringView svName, XStringView svDriver, XStringView svPort,
                                      DWORD dwAttributes) {
    const AllocationExempt oExempt;
    EmbeddedPorts& rPorts = m_rSpooler.Embedded();
    FakeRegistryPort& rRegistry = m_rSpooler.Ground().FakeRegistry();
    const XString driverKey =
        VTEXT(
            "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Print\\Environments\\Windows x64\\Drivers\\"
            "Version-3\\") +
        XString(svDriver);
    if (!rRegistry.HasKey(driverKey)) AddDriverNamed(svDriver);
    HANDLE hMonitor = nullptr, hQueue = nullptr;
    DWORD cbNeeded = 0, dwStatus = 0;
    XString name(svName), driver(svDriver), port(svPort), processor = VTEXT("winprint"), server;
    if (rPorts.spooler.OpenPrinterHandle(VTEXT(",XcvMonitor Local Port"), SpoolerPort::ACCESS_ADMINISTER, hMonitor) ==
        Status::Success) {
        rPorts.spooler.Transceive(hMonitor, VTEXT("AddPort"), reinterpret_cast<const BYTE*>(port.c_str()),
                                  static_cast<DWORD>((port.size() + 1) * sizeof(XCHAR)), nullptr, 0, cbNeeded,
                                  dwStatus);
        rPorts.spooler.ClosePrinterHandle(hMonitor);
    }
    PrinterInfo2 oInfo{};
    oInfo.pPrinterName = TextOf(name);
    oInfo.pDriverName = TextOf(driver);
    oInfo.pPortName = TextOf(port);
    oInfo.pPrintProcessor = TextOf(processor);
    oInfo.Attributes = dwAttributes;
    if (name.starts_with(VTEXT("\\\\")) && dwAttributes == 0) oInfo.Attributes = ATTRIBUTE_NETWORK;
    EXPECT_EQ(rPorts.queues.AddQueue(nullptr, oInfo, hQueue), Status::Success);
    rPorts.spooler.ClosePrinterHandle(hQueue);
}

void FakePrintingPorts::AddData(XStringView svQueue, XStringView svValue, XStringView svText, XStringView svKey) {
    m_rSpooler.Ground().FakeRegistry().AddText(QueueKey(svQueue).append(1, VTEXT('\\')).append(svKey), svValue, svText);
}

std::optional<std::vector<BYTE>> FakePrintingPorts::DataOf(XStringView svQueue, XStringView svValue,
                                                           XStringView svKey) const {
    const std::optional<FakeRegistryPort::Value> oValue =
        m_rSpooler.Ground().FakeRegistry().ValueAt(QueueKey(svQueue).append(1, VTEXT('\\')).append(svKey), svValue);
    if (!oValue) return std::nullopt;
    return oValue->vbyData;
}

void FakePrintingPorts::SetPrinterUi(Status eOpen, std::function<DWORD(XStringView)> fnRun) {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    m_eOpenUi = eOpen;
    m_fnRunUi = std::move(fnRun);
}

std::vector<XString> FakePrintingPorts::PrinterUiCommands() const {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    return m_vUiCommands;
}

std::size_t FakePrintingPorts::OpenHandles() const {
    const std::lock_guard oLock(m_oMutex);
    return m_cOpenUi;
}

Status FakePrintingPorts::Pass(SpoolerCall oCall, const Made& rMade) noexcept {
    const AllocationExempt oExempt;
    CallScript fnScript;
    {
        const std::lock_guard oLock(m_oMutex);
        m_vCalls.emplace_back(oCall.pszName);
        fnScript = m_fnScript;
    }
    if (oCall.hPrinter != nullptr && !m_rSpooler.IsOpen(oCall.hPrinter)) return m_rSpooler.Misuse(oCall.hPrinter);
    if (fnScript) {
        if (const std::optional<Status> oAnswer = fnScript(oCall)) return *oAnswer;
    }
    return rMade();
}

Status FakePrintingPorts::AddQueue(const XCHAR* pszServer, const PrinterInfo2& rInfo, HANDLE& rhPrinter) noexcept {
    const Status eStatus = PrintingCalls::AddQueue(pszServer, rInfo, rhPrinter);
    if (eStatus == Status::Success) m_rSpooler.NoteOpened(rhPrinter);
    return eStatus;
}

Status FakePrintingPorts::OpenPrinterUi(const XCHAR*, HANDLE& rhUi) noexcept {
    const std::lock_guard oLock(m_oMutex);
    if (m_eOpenUi != Status::Success) return m_eOpenUi;
    ++m_cOpenUi;
    rhUi = this;
    return Status::Success;
}

Status FakePrintingPorts::RunPrinterUi(HANDLE hUi, const XCHAR* pszCommandLine, DWORD& rdwAnswer) noexcept {
    const AllocationExempt oExempt;
    std::function<DWORD(XStringView)> fnRun;
    {
        const std::lock_guard oLock(m_oMutex);
        if (pszCommandLine == nullptr) return Status::InvalidParameter;
        if (hUi != this || m_cOpenUi == 0) return m_rSpooler.Misuse(hUi);
        m_vUiCommands.emplace_back(pszCommandLine);
        fnRun = m_fnRunUi;
    }
    rdwAnswer = fnRun ? fnRun(pszCommandLine) : 0;
    return Status::Success;
}

Status FakePrintingPorts::ClosePrinterUi(HANDLE hUi) noexcept {
    const std::lock_guard oLock(m_oMutex);
    if (hUi != this || m_cOpenUi == 0) return m_rSpooler.Misuse(hUi);
    --m_cOpenUi;
    return Status::Success;
}

}  // namespace vlm::test
