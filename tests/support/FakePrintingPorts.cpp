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

XStringView ViewOf(const XCHAR* pszText) {
    return pszText ? XStringView(pszText) : XStringView();
}

XCHAR* TextOf(XString& rText) {
    return rText.data();
}

}  // namespace

void FakePrintingPorts::SetCallScript(CallScript fnScript) {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    m_fnScript = std::move(fnScript);
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

template <typename Call>
Status FakePrintingPorts::Run(SpoolerCall oCall, Call call) noexcept {
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
    return call(m_rSpooler.Embedded());
}

Status FakePrintingPorts::GetQueueInfo(HANDLE hPrinter, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                                       DWORD& rcbNeeded) noexcept {
    return Run({.pszName = "GetQueueInfo",
                .hPrinter = hPrinter,
                .dwLevel = dwLevel,
                .pTarget = pInfo,
                .cbTarget = cbInfo,
                .pcbNeeded = &rcbNeeded},
               [&](EmbeddedPorts& r) { return r.queues.GetQueueInfo(hPrinter, dwLevel, pInfo, cbInfo, rcbNeeded); });
}

Status FakePrintingPorts::SetQueueInfo(HANDLE hPrinter, DWORD dwLevel, const void* pInfo, DWORD dwCommand) noexcept {
    return Run({.pszName = "SetQueueInfo", .hPrinter = hPrinter, .dwLevel = dwLevel, .pSource = pInfo},
               [&](EmbeddedPorts& r) { return r.queues.SetQueueInfo(hPrinter, dwLevel, pInfo, dwCommand); });
}

Status FakePrintingPorts::EnumerateQueueInfo(DWORD dwFlags, const XCHAR* pszServer, DWORD dwLevel, void* pInfo,
                                             DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    return Run({.pszName = "EnumerateQueueInfo",
                .dwLevel = dwLevel,
                .svName = ViewOf(pszServer),
                .pTarget = pInfo,
                .cbTarget = cbInfo,
                .pcbNeeded = &rcbNeeded,
                .pcReturned = &rcReturned},
               [&](EmbeddedPorts& r) {
                   return r.queues.EnumerateQueueInfo(dwFlags, pszServer, dwLevel, pInfo, cbInfo, rcbNeeded,
                                                      rcReturned);
               });
}

Status FakePrintingPorts::AddQueue(const XCHAR* pszServer, const PrinterInfo2& rInfo, HANDLE& rhPrinter) noexcept {
    return Run({.pszName = "AddQueue", .svName = ViewOf(rInfo.pPrinterName), .pSource = &rInfo}, [&](EmbeddedPorts& r) {
        const Status eStatus = r.queues.AddQueue(pszServer, rInfo, rhPrinter);
        if (eStatus == Status::Success) m_rSpooler.NoteOpened(rhPrinter);
        return eStatus;
    });
}

Status FakePrintingPorts::DeleteQueue(HANDLE hPrinter) noexcept {
    return Run({.pszName = "DeleteQueue", .hPrinter = hPrinter},
               [&](EmbeddedPorts& r) { return r.queues.DeleteQueue(hPrinter); });
}

Status FakePrintingPorts::AddConnection(const XCHAR* pszName) noexcept {
    return Run({.pszName = "AddConnection", .svName = ViewOf(pszName)},
               [&](EmbeddedPorts& r) { return r.queues.AddConnection(pszName); });
}

Status FakePrintingPorts::DeleteConnection(const XCHAR* pszName) noexcept {
    return Run({.pszName = "DeleteConnection", .svName = ViewOf(pszName)},
               [&](EmbeddedPorts& r) { return r.queues.DeleteConnection(pszName); });
}

Status FakePrintingPorts::GetDefaultQueue(XCHAR* pszName, DWORD& rcName) noexcept {
    return Run({.pszName = "GetDefaultQueue", .pTarget = pszName, .cbTarget = rcName, .pcbNeeded = &rcName},
               [&](EmbeddedPorts& r) { return r.queues.GetDefaultQueue(pszName, rcName); });
}

Status FakePrintingPorts::SetDefaultQueue(const XCHAR* pszName) noexcept {
    return Run({.pszName = "SetDefaultQueue", .svName = ViewOf(pszName)},
               [&](EmbeddedPorts& r) { return r.queues.SetDefaultQueue(pszName); });
}

Status FakePrintingPorts::GetDeviceMode(HANDLE hPrinter, const XCHAR* pszDevice, DWORD dwMode, DEVMODEW* pOutput,
                                        DWORD cbOutput, const DEVMODEW* pInput, LONG& rlAnswer) noexcept {
    return Run({.pszName = "GetDeviceMode",
                .hPrinter = hPrinter,
                .dwLevel = dwMode,
                .svName = ViewOf(pszDevice),
                .pTarget = pOutput,
                .cbTarget = cbOutput,
                .plAnswer = &rlAnswer,
                .pSource = pInput},
               [&](EmbeddedPorts& r) {
                   return r.queues.GetDeviceMode(hPrinter, pszDevice, dwMode, pOutput, cbOutput, pInput, rlAnswer);
               });
}

Status FakePrintingPorts::GetDeviceCapability(const XCHAR* pszDevice, const XCHAR* pszPort, WORD wCapability,
                                              void* pOutput, DWORD cbOutput, LONG& rlAnswer) noexcept {
    return Run({.pszName = "GetDeviceCapability",
                .dwLevel = wCapability,
                .svName = ViewOf(pszDevice),
                .pTarget = pOutput,
                .cbTarget = cbOutput,
                .plAnswer = &rlAnswer},
               [&](EmbeddedPorts& r) {
                   return r.queues.GetDeviceCapability(pszDevice, pszPort, wCapability, pOutput, cbOutput, rlAnswer);
               });
}

Status FakePrintingPorts::GetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD& rdwType,
                                  void* pData, DWORD cbData, DWORD& rcbNeeded) noexcept {
    return Run({.pszName = "GetData",
                .hPrinter = hPrinter,
                .svKey = ViewOf(pszKey),
                .svName = ViewOf(pszValue),
                .pTarget = pData,
                .cbTarget = cbData,
                .pcbNeeded = &rcbNeeded,
                .pdwType = &rdwType},
               [&](EmbeddedPorts& r) {
                   return r.data.GetData(hPrinter, pszKey, pszValue, rdwType, pData, cbData, rcbNeeded);
               });
}

Status FakePrintingPorts::SetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD dwType,
                                  const void* pData, DWORD cbData) noexcept {
    return Run({.pszName = "SetData",
                .hPrinter = hPrinter,
                .svKey = ViewOf(pszKey),
                .svName = ViewOf(pszValue),
                .pdwType = &dwType,
                .pSource = pData,
                .cbSource = cbData},
               [&](EmbeddedPorts& r) { return r.data.SetData(hPrinter, pszKey, pszValue, dwType, pData, cbData); });
}

Status FakePrintingPorts::EnumerateData(HANDLE hPrinter, const XCHAR* pszKey, void* pValues, DWORD cbValues,
                                        DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    return Run({.pszName = "EnumerateData",
                .hPrinter = hPrinter,
                .svKey = ViewOf(pszKey),
                .pTarget = pValues,
                .cbTarget = cbValues,
                .pcbNeeded = &rcbNeeded,
                .pcReturned = &rcReturned},
               [&](EmbeddedPorts& r) {
                   return r.data.EnumerateData(hPrinter, pszKey, pValues, cbValues, rcbNeeded, rcReturned);
               });
}

Status FakePrintingPorts::DeleteData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue) noexcept {
    return Run({.pszName = "DeleteData", .hPrinter = hPrinter, .svKey = ViewOf(pszKey), .svName = ViewOf(pszValue)},
               [&](EmbeddedPorts& r) { return r.data.DeleteData(hPrinter, pszKey, pszValue); });
}

Status FakePrintingPorts::EnumerateDataKeys(HANDLE hPrinter, const XCHAR* pszKey, XCHAR* pszzKeys, DWORD cbKeys,
                                            DWORD& rcbNeeded) noexcept {
    return Run(
        {.pszName = "EnumerateDataKeys",
         .hPrinter = hPrinter,
         .svKey = ViewOf(pszKey),
         .pTarget = pszzKeys,
         .cbTarget = cbKeys,
         .pcbNeeded = &rcbNeeded},
        [&](EmbeddedPorts& r) { return r.data.EnumerateDataKeys(hPrinter, pszKey, pszzKeys, cbKeys, rcbNeeded); });
}

Status FakePrintingPorts::DeleteDataKey(HANDLE hPrinter, const XCHAR* pszKey) noexcept {
    return Run({.pszName = "DeleteDataKey", .hPrinter = hPrinter, .svKey = ViewOf(pszKey)},
               [&](EmbeddedPorts& r) { return r.data.DeleteDataKey(hPrinter, pszKey); });
}

Status FakePrintingPorts::GetDriverBlock(HANDLE hPrinter, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo,
                                         DWORD cbInfo, DWORD& rcbNeeded) noexcept {
    return Run({.pszName = "GetDriverBlock",
                .hPrinter = hPrinter,
                .dwLevel = dwLevel,
                .pTarget = pInfo,
                .cbTarget = cbInfo,
                .pcbNeeded = &rcbNeeded},
               [&](EmbeddedPorts& r) {
                   return r.drivers.GetDriverBlock(hPrinter, pszEnvironment, dwLevel, pInfo, cbInfo, rcbNeeded);
               });
}

Status FakePrintingPorts::EnumerateDriverInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel,
                                              void* pInfo, DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    return Run({.pszName = "EnumerateDriverInfo",
                .dwLevel = dwLevel,
                .svKey = ViewOf(pszEnvironment),
                .svName = ViewOf(pszServer),
                .pTarget = pInfo,
                .cbTarget = cbInfo,
                .pcbNeeded = &rcbNeeded,
                .pcReturned = &rcReturned},
               [&](EmbeddedPorts& r) {
                   return r.drivers.EnumerateDriverInfo(pszServer, pszEnvironment, dwLevel, pInfo, cbInfo, rcbNeeded,
                                                        rcReturned);
               });
}

Status FakePrintingPorts::GetDriverDirectory(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel,
                                             XCHAR* pszDirectory, DWORD cbDirectory, DWORD& rcbNeeded) noexcept {
    return Run({.pszName = "GetDriverDirectory",
                .dwLevel = dwLevel,
                .svKey = ViewOf(pszEnvironment),
                .svName = ViewOf(pszServer),
                .pTarget = pszDirectory,
                .cbTarget = cbDirectory,
                .pcbNeeded = &rcbNeeded},
               [&](EmbeddedPorts& r) {
                   return r.drivers.GetDriverDirectory(pszServer, pszEnvironment, dwLevel, pszDirectory, cbDirectory,
                                                       rcbNeeded);
               });
}

Status FakePrintingPorts::AddDriver(const XCHAR* pszServer, DWORD dwLevel, const void* pInfo, DWORD dwFlags) noexcept {
    return Run({.pszName = "AddDriver", .dwLevel = dwLevel, .pSource = pInfo},
               [&](EmbeddedPorts& r) { return r.drivers.AddDriver(pszServer, dwLevel, pInfo, dwFlags); });
}

Status FakePrintingPorts::DeleteDriver(const XCHAR* pszServer, const XCHAR* pszEnvironment, const XCHAR* pszDriver,
                                       DWORD dwFlags, DWORD dwVersion) noexcept {
    return Run({.pszName = "DeleteDriver", .svName = ViewOf(pszDriver)}, [&](EmbeddedPorts& r) {
        return r.drivers.DeleteDriver(pszServer, pszEnvironment, pszDriver, dwFlags, dwVersion);
    });
}

Status FakePrintingPorts::OpenPrinterUi(const XCHAR* pszModule, HANDLE& rhUi) noexcept {
    return Run({.pszName = "OpenPrinterUi", .svName = ViewOf(pszModule)}, [&](EmbeddedPorts&) {
        const std::lock_guard oLock(m_oMutex);
        if (m_eOpenUi != Status::Success) return m_eOpenUi;
        ++m_cOpenUi;
        rhUi = this;
        return Status::Success;
    });
}

Status FakePrintingPorts::RunPrinterUi(HANDLE hUi, const XCHAR* pszCommandLine, DWORD& rdwAnswer) noexcept {
    return Run({.pszName = "RunPrinterUi", .svName = ViewOf(pszCommandLine)}, [&](EmbeddedPorts&) {
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
    });
}

Status FakePrintingPorts::ClosePrinterUi(HANDLE hUi) noexcept {
    return Run({.pszName = "ClosePrinterUi"}, [&](EmbeddedPorts&) {
        const std::lock_guard oLock(m_oMutex);
        if (hUi != this || m_cOpenUi == 0) return m_rSpooler.Misuse(hUi);
        --m_cOpenUi;
        return Status::Success;
    });
}

}  // namespace vlm::test
