/// @file
/// Makes and removes the sample queues.
#include "environment/SampleQueues.h"

#include <iterator>
#include <utility>

#include "environment/LocalPort.h"
#include "environment/SampleDriversImpl.h"
#include "environment/TCPMonPort.h"
#include "platform/Platform.h"
#include "platform/PrintQueuePort.h"
#include "platform/PrinterDataPort.h"
#include "platform/RegistryPort.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace vlm {

namespace {

constexpr const XCHAR* SERVER = VTEXT("\\\\Q9SERVER");
constexpr const XCHAR* PROCESSOR = VTEXT("winprint");
constexpr const XCHAR* SETTINGS_VALUE = VTEXT("VlmDeviceSettings");
/// What says that a queue's data is all there.
constexpr const XCHAR* LAST_VALUE = VTEXT("xBaseDriverCaps");
constexpr const XCHAR* TCP_ADDRESS = VTEXT("192.0.2.10");

enum class Kind { Local, Tcp, Ipp, Connection };
constexpr const XCHAR* KIND_TEXTS[] = {VTEXT("local"), VTEXT("TCP/IP"), VTEXT("IPP"), VTEXT("connection")};

struct Sample {
    const XCHAR* pszName;
    Kind eKind;
    const SampleDriver* pDriver;
    const XCHAR* pszPort;
};
constexpr Sample SAMPLES[] = {
    {VTEXT("Q9 Sample PCL"), Kind::Local, &SAMPLE_PCL_DRIVER, VTEXT("LPT1:")},
    {VTEXT("Q9 Sample PostScript"), Kind::Local, &SAMPLE_PS_DRIVER, VTEXT("FILE:")},
    {VTEXT("Q9 Sample TCP"), Kind::Tcp, &SAMPLE_PCL_DRIVER, VTEXT("X_192.0.2.10")},
    {VTEXT("Q9 Sample IPP"), Kind::Ipp, &SAMPLE_PS_DRIVER, VTEXT("ipp://printer.example/ipp/print")},
    {VTEXT("Q9 Sample Remote"), Kind::Connection, &SAMPLE_PCL_DRIVER, VTEXT("LPT1:")},
};

class OpenQueue {
public:
    OpenQueue() = default;
    ~OpenQueue() {
        if (m_hPrinter) GetPlatform().pSpooler->ClosePrinterHandle(m_hPrinter);
    }
    OpenQueue(const OpenQueue&) = delete;
    OpenQueue& operator=(const OpenQueue&) = delete;

    HANDLE m_hPrinter = nullptr;
};

XCHAR* Writable(const CXString& kcsText) {
    return const_cast<XCHAR*>(kcsText.GetLpcwstr());  // the spooler reads it only
}

Status Add(const CXString& kcsServer, const SampleQueues::Queue& rQueue, const CXString& kcsName, DWORD dwAttributes,
           OpenQueue& rHandle) {
    const CXString csProcessor(PROCESSOR), csComment(VTEXT("Sample queue"));
    PrinterInfo2 oInfo{};
    oInfo.pPrinterName = Writable(kcsName);
    oInfo.pDriverName = Writable(rQueue.m_csDriver);
    oInfo.pPortName = Writable(rQueue.m_csPort);
    oInfo.pPrintProcessor = Writable(csProcessor);
    oInfo.pComment = Writable(csComment);
    oInfo.Attributes = dwAttributes;
    oInfo.Priority = 1;
    return GetPlatform().pQueues->AddQueue(kcsServer.IsEmpty() ? nullptr : kcsServer.GetLpcwstr(), oInfo,
                                           rHandle.m_hPrinter);
}

Status Open(const CXString& kcsName, DWORD dwAccess, OpenQueue& rHandle) {
    return GetPlatform().pSpooler->OpenPrinterHandle(kcsName.GetLpcwstr(), dwAccess, rHandle.m_hPrinter);
}

bool IsThere(const CXString& kcsName) {
    OpenQueue oQueue;
    return Open(kcsName, 0, oQueue) == Status::Success;
}

/// Has the port stand ready; a system without a TCP/IP monitor gets the printer's own port.
void PreparePort(const Sample& rSample, SampleQueues::Queue& rQueue) {
    if (rSample.eKind == Kind::Ipp) LocalPort().AddLocalPort(rSample.pszPort);
    if (rSample.eKind != Kind::Tcp) return;
    TCPMonPort oPort;
    if (oPort.OpenPort(CXString(rSample.pszPort))) return;
    if (!oPort.AddTCPPort(rSample.pszPort, TCP_ADDRESS, TCPMonPort::PortType::PT_RAW_TCP)) {
        rQueue.m_csPort = VTEXT("LPT1:");
    }
}

/// Was a queue's data written to its end, or can that not be told?
bool HasData(HANDLE hPrinter) {
    DWORD dwType = 0, dwValue = 0, cbNeeded = 0;
    return GetPlatform().pPrinterData->GetData(hPrinter, PrinterDataPort::PRINTER_DRIVER_DATA, LAST_VALUE, dwType,
                                               &dwValue, sizeof dwValue, cbNeeded) != Status::FileNotFound;
}

void WriteData(const SampleDriver& rDriver, const ByteBuffer& kbbDeviceSettings, HANDLE hPrinter) {
    PrinterDataPort& rData = *GetPlatform().pPrinterData;
    const XCHAR* const pszKey = PrinterDataPort::PRINTER_DRIVER_DATA;
    Status status = Status::Success;
    for (const SampleValue& rValue : rDriver.aoValues) {
        const XStringView svText = rValue.pszText;
        if (status == Status::Success) {
            status = rData.SetData(hPrinter, pszKey, rValue.pszName, RegistryPort::TYPE_SZ, rValue.pszText,
                                   static_cast<DWORD>((svText.size() + 1) * sizeof(XCHAR)));
        }
    }
    if (status == Status::Success && !kbbDeviceSettings.empty()) {
        status = rData.SetData(hPrinter, pszKey, SETTINGS_VALUE, RegistryPort::TYPE_BINARY, kbbDeviceSettings.data(),
                               static_cast<DWORD>(kbbDeviceSettings.size()));
    }
    if (status == Status::Success) {
        status = rData.SetData(hPrinter, pszKey, LAST_VALUE, RegistryPort::TYPE_DWORD, &rDriver.dwCapabilities,
                               sizeof(rDriver.dwCapabilities));
    }
    if (status != Status::Success) {
        VLM_THROW(ExceptionPrinterFailure, VTEXT("The sample queue's printer data cannot be written because %s"),
                  TextOfStatus(status));
    }
}

/// Adds a connection's queue at its server, and connects to it.  Where there is no such server, or the system takes the
/// queue for one of its own, the queue gets its local name.
Status AddAtServer(const CXString& kcsLocalName, SampleQueues::Queue& rQueue, OpenQueue& rHandle) {
    if (!IsThere(rQueue.m_csName)) {
        const Status status = Add(SERVER, rQueue, kcsLocalName, PrintQueuePort::ATTRIBUTE_NETWORK, rHandle);
        const bool fLocal = status != Status::Success || (!IsThere(rQueue.m_csName) && IsThere(kcsLocalName));
        if (fLocal) rQueue.m_csName = kcsLocalName;
    }
    return rQueue.m_csName == kcsLocalName ? Status::Success
                                           : GetPlatform().pQueues->AddConnection(rQueue.m_csName.GetLpcwstr());
}

/// Adds a queue, or goes on with one that an installation left without its data.
void AddSample(const Sample& rSample, const ByteBuffer& kbbDeviceSettings, SampleQueues::Queue& rQueue) {
    const bool bConnection = rSample.eKind == Kind::Connection;
    OpenQueue oHandle;
    Status status = bConnection ? AddAtServer(rSample.pszName, rQueue, oHandle) : Status::Success;
    if (status == Status::Success && oHandle.m_hPrinter == nullptr) {
        if (IsThere(rQueue.m_csName)) {
            // Who may not change it keeps it as it is.
            if (Open(rQueue.m_csName, SpoolerPort::ALL_ACCESS, oHandle) != Status::Success) return;
            if (HasData(oHandle.m_hPrinter)) return;
        } else {
            status = Add(CXString(), rQueue, rQueue.m_csName,
                         bConnection ? PrintQueuePort::ATTRIBUTE_NETWORK : PrintQueuePort::ATTRIBUTE_LOCAL, oHandle);
        }
    }
    if (status != Status::Success) {
        VLM_THROW(ExceptionPrinterFailure, VTEXT("The sample queue %s cannot be added because %s"), rQueue.m_csName,
                  TextOfStatus(status));
    }
    WriteData(*rSample.pDriver, kbbDeviceSettings, oHandle.m_hPrinter);
    rQueue.m_bAdded = true;
}

CXString FullName(const Sample& rSample) {
    return rSample.eKind == Kind::Connection ? CXString(SERVER) + VTEXT("\\") + rSample.pszName
                                             : CXString(rSample.pszName);
}

void SendDelete(const XCHAR* pszChannel, const ByteBuffer& kbbRecord) {
    OpenQueue oChannel;
    SpoolerPort& rSpooler = *GetPlatform().pSpooler;
    if (rSpooler.OpenPrinterHandle(pszChannel, SpoolerPort::ACCESS_ADMINISTER, oChannel.m_hPrinter) !=
        Status::Success) {
        return;
    }
    DWORD cbNeeded = 0, dwStatus = 0;  // a port that is not there, or in use, stays
    rSpooler.Transceive(oChannel.m_hPrinter, VTEXT("DeletePort"), kbbRecord.data(),
                        static_cast<DWORD>(kbbRecord.size()), nullptr, 0, cbNeeded, dwStatus);
}

void RemovePorts() {
    constexpr std::size_t TCP_NAME_BYTES = 128, TCP_VERSION_OFFSET = 228, TCP_RECORD_BYTES = 236;
    for (const Sample& rSample : SAMPLES) {
        ByteBuffer bbRecord;
        bbRecord.append(CXString(rSample.pszPort)).appendNullChar();
        if (rSample.eKind == Kind::Ipp) SendDelete(VTEXT(",XcvMonitor Local Port"), bbRecord);
        if (rSample.eKind != Kind::Tcp || bbRecord.size() > TCP_NAME_BYTES) continue;
        bbRecord.resize(TCP_RECORD_BYTES);
        bbRecord[TCP_VERSION_OFFSET] = 1;
        SendDelete(VTEXT(",XcvMonitor Standard TCP/IP Port"), bbRecord);
    }
}

void DeleteQueueNamed(const CXString& kcsName) {
    OpenQueue oQueue;
    Status status = Open(kcsName, SpoolerPort::ALL_ACCESS, oQueue);
    if (status == static_cast<Status>(SpoolerPort::INVALID_PRINTER_NAME)) return;
    if (status == Status::Success) status = GetPlatform().pQueues->DeleteQueue(oQueue.m_hPrinter);
    if (status != Status::Success) {
        VLM_THROW(ExceptionPrinterFailure, VTEXT("The sample queue %s cannot be deleted because %s"), kcsName,
                  TextOfStatus(status));
    }
}

}  // namespace

std::vector<SampleQueues::Queue> SampleQueues::Install(const ByteBuffer& kbbDeviceSettings,
                                                       const ByteBuffer& kbbProductCab) {
    return TranslateOutOfMemory([&] {
        InstallSampleDriver(SAMPLE_PCL_DRIVER, kbbProductCab);
        InstallSampleDriver(SAMPLE_PS_DRIVER, kbbProductCab);
        std::vector<Queue> voQueues;
        for (const Sample& rSample : SAMPLES) {
            Queue oQueue{FullName(rSample), KIND_TEXTS[static_cast<std::size_t>(rSample.eKind)],
                         rSample.pDriver->pszName, rSample.pszPort, false};
            PreparePort(rSample, oQueue);
            AddSample(rSample, kbbDeviceSettings, oQueue);
            voQueues.push_back(std::move(oQueue));
        }
        return voQueues;
    });
}

void SampleQueues::Remove() {
    for (const Sample& rSample : SAMPLES) {
        if (rSample.eKind == Kind::Connection) {
            GetPlatform().pQueues->DeleteConnection(FullName(rSample).GetLpcwstr());  // there may be none
            DeleteQueueNamed(FullName(rSample));
        }
        DeleteQueueNamed(rSample.pszName);
    }
    RemovePorts();
    RemoveSampleDriver(SAMPLE_PCL_DRIVER);
    RemoveSampleDriver(SAMPLE_PS_DRIVER);
}

}  // namespace vlm
