/// @file
/// Listing, adding, sharing and publishing queues.
#include <algorithm>

#include "environment/PrinterChangeImpl.h"
#include "environment/PrinterPortsImpl.h"
#include "platform/ThreadPort.h"

using vlm::PrinterInfo2;
using vlm::PrinterInfo5;
using vlm::PrinterInfo7;
using vlm::PrintQueuePort;
using vlm::Status;
using vlm::TextOfStatus;

namespace {

constexpr DWORD LOCAL_AND_CONNECTIONS = PrintQueuePort::LIST_LOCAL | PrintQueuePort::LIST_CONNECTIONS;

/// The names of the queues that `wanted(name, port)` takes.
template <class Wanted>
bool ListNames(DWORD dwFlags, std::vector<CXString>& rvcsNames, Wanted&& wanted) noexcept {
    rvcsNames.clear();
    return vlm::TryOperation([&] {
        ByteBuffer bbQueues;
        DWORD cQueues = 0;
        if (!Printer::EnumeratePrinters(dwFlags, 5, bbQueues, cQueues)) return false;
        std::vector<CXString> vcsNames;
        for (const PrinterInfo5& rInfo : vlm::Records<PrinterInfo5>(bbQueues, cQueues)) {
            CXString csName(rInfo.pPrinterName);
            if (!csName.IsEmpty() && wanted(csName, CXString(rInfo.pPortName))) vcsNames.push_back(std::move(csName));
        }
        rvcsNames.swap(vcsNames);
        return true;
    });
}

bool AnyQueue(const CXString&, const CXString&) noexcept {
    return true;
}

}  // namespace

bool Printer::EnumeratePrinters(DWORD dwFlags, DWORD dwLevel, ByteBuffer& rbbPrinters, DWORD& rcPrinters) noexcept {
    return vlm::TryOperation([&] {
        const Status eStatus = vlm::ReadQueueList(dwFlags, dwLevel, rbbPrinters, rcPrinters);
        if (eStatus == Status::Success) return true;
        VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES, VTEXT("EnumPrinters(0x%lx, %lu) failed. %s"), dwFlags, dwLevel,
                         TextOfStatus(eStatus));
        vlm::GetPlatform().pThreads->LeaveLastError(vlm::ToDword(eStatus));
        return false;
    });
}

bool Printer::EnumeratePrintersForIPP(std::vector<CXString>& rvcsNames) noexcept {
    return ListNames(LOCAL_AND_CONNECTIONS, rvcsNames, [](const CXString& kcsName, const CXString& kcsPort) {
        return vlm::IsIppName(kcsName) || vlm::IsIppPort(kcsPort);
    });
}

bool Printer::EnumLocalPrinters(std::vector<CXString>& rvcsNames) noexcept {
    return ListNames(PrintQueuePort::LIST_LOCAL, rvcsNames, AnyQueue);
}

bool Printer::EnumeratePrinterNames(std::vector<CXString>& rvcsNames) noexcept {
    return ListNames(LOCAL_AND_CONNECTIONS, rvcsNames, AnyQueue);
}

int Printer::EnumLocalAndNetworkPrinters(ByteBuffer& rbbPrinters) noexcept {
    DWORD cPrinters = 0;
    return EnumeratePrinters(LOCAL_AND_CONNECTIONS, 4, rbbPrinters, cPrinters) ? static_cast<int>(cPrinters) : 0;
}

bool Printer::AddLocalPrinter(const XCHAR* pszName, const XCHAR* pszDriver, const XCHAR* pszPort) noexcept {
    return vlm::TryOperation([&] {
        CXString csName(pszName), csDriver(pszDriver), csPort(pszPort), csProcessor(VTEXT("winprint"));
        CXString csDatatype(VTEXT("RAW"));
        PrinterInfo2 oInfo{};
        oInfo.pPrinterName = csName.GetLpwstrForReadingOnly();
        oInfo.pDriverName = csDriver.GetLpwstrForReadingOnly();
        oInfo.pPortName = csPort.GetLpwstrForReadingOnly();
        oInfo.pPrintProcessor = csProcessor.GetLpwstrForReadingOnly();
        oInfo.pDatatype = csDatatype.GetLpwstrForReadingOnly();
        oInfo.Attributes = PrintQueuePort::ATTRIBUTE_LOCAL;
        HANDLE hPrinter = nullptr;
        const Status eStatus = csName.IsEmpty() ? static_cast<Status>(vlm::SpoolerPort::INVALID_PRINTER_NAME)
                                                : vlm::Queues().AddQueue(nullptr, oInfo, hPrinter);
        if (eStatus != Status::Success) {
            VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES, VTEXT("The printer '%s' cannot be added. %s"), csName,
                             TextOfStatus(eStatus));
            return false;
        }
        SetPrinterHandle(hPrinter);
        m_fOwned = true;
        return true;
    });
}

bool Printer::AddUSBPrinter(const XCHAR* pszName, const XCHAR* pszDriver) noexcept {
    return vlm::TryOperation([&] {
        ByteBuffer bbPorts, bbQueues;
        DWORD cPorts = 0, cQueues = 0;
        if (!vlm::ReadPorts(nullptr, bbPorts, cPorts)) return false;
        if (!EnumeratePrinters(PrintQueuePort::LIST_LOCAL, 5, bbQueues, cQueues)) return false;
        const auto queues = vlm::Records<PrinterInfo5>(bbQueues, cQueues);
        for (const vlm::PortInfo2& rPort : vlm::Records<vlm::PortInfo2>(bbPorts, cPorts)) {
            const CXString csPort(rPort.pPortName);
            if (csPort.FindNoCase(VTEXT("USB")) != 0) continue;
            const bool fTaken = std::any_of(queues.begin(), queues.end(), [&](const PrinterInfo5& rQueue) {
                return csPort.CompareNoCase(CXString(rQueue.pPortName)) == 0;
            });
            if (!fTaken) return AddLocalPrinter(pszName, pszDriver, csPort);
        }
        VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES, VTEXT("There is no USB port without a printer for '%s'."), pszName);
        return false;
    });
}

bool Printer::SharePrinter(HANDLE hPrinter, const XCHAR* pszShareName) noexcept {
    return vlm::TryOperation([&] {
        CXString csShare(pszShareName);
        if (csShare.IsEmpty()) return false;
        vlm::ChangePrinterInfo2(hPrinter, [&](PrinterInfo2& rInfo) {
            rInfo.Attributes |= PrintQueuePort::ATTRIBUTE_SHARED;
            rInfo.pShareName = csShare.GetLpwstrForReadingOnly();
        });
        return true;
    });
}

bool Printer::UnSharePrinter(HANDLE hPrinter) noexcept {
    return vlm::TryOperation([&] {
        vlm::ChangePrinterInfo2(hPrinter,
                                [](PrinterInfo2& rInfo) { rInfo.Attributes &= ~PrintQueuePort::ATTRIBUTE_SHARED; });
        return true;
    });
}

bool Printer::IsPrinterShared(HANDLE hPrinter) noexcept {
    ByteBuffer bbInfo;
    return GetPrinterInfo(hPrinter, 2, bbInfo) &&
           (vlm::FirstRecord<PrinterInfo2>(bbInfo).Attributes & PrintQueuePort::ATTRIBUTE_SHARED) != 0;
}

bool Printer::IsPrintDriverInstalledMultipleTimes() {
    const CXString csDriver = GetPrintDriverName();
    ByteBuffer bbQueues;
    DWORD cQueues = 0;
    if (!EnumeratePrinters(LOCAL_AND_CONNECTIONS, 2, bbQueues, cQueues)) return false;
    const auto queues = vlm::Records<PrinterInfo2>(bbQueues, cQueues);
    return std::count_if(queues.begin(), queues.end(), [&](const PrinterInfo2& rQueue) {
               return csDriver.CompareNoCase(CXString(rQueue.pDriverName)) == 0;
           }) > 1;
}

bool Printer::RepublishInformation(HANDLE hPrinter) noexcept {
    ByteBuffer bbInfo;
    if (!GetPrinterInfo(hPrinter, 2, bbInfo)) return false;
    if ((vlm::FirstRecord<PrinterInfo2>(bbInfo).Attributes & PrintQueuePort::ATTRIBUTE_PUBLISHED) == 0) return false;
    PrinterInfo7 oInfo{};
    oInfo.dwAction = PrintQueuePort::ACTION_REPUBLISH;
    return SetPrinterInfo(hPrinter, 7, reinterpret_cast<const BYTE*>(&oInfo), 0);
}

bool Printer::RepublishInformation(const XCHAR* pszPrinterName) noexcept {
    Printer oPrinter;
    return oPrinter.TryToCreateHandle(pszPrinterName, ACCESS_ALL) && oPrinter.RepublishInformation();
}
