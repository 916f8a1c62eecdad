/// @file
/// The levels of a queue's information.
#include "platform/InformationBlocks.h"
#include "platform/PrintQueuePort.h"
#include "platform/host/spooler/BlockBuilder.h"
#include "platform/host/spooler/QueueRecord.h"

namespace vlm::host {

namespace {

/// What the system adds to the list: an icon is known.
constexpr DWORD FLAG_ICON8 = 0x00800000;

/// A device mode that somebody else wrote into the store is not handed out unless it holds what it says.
const std::vector<BYTE>& SoundMode(const std::vector<BYTE>& rvbyMode) {
    static const std::vector<BYTE> soNone;
    return CheckedDeviceModeSize(rvbyMode.data(), rvbyMode.size()) != 0 ? rvbyMode : soNone;
}

void Add1(BlockBuilder<PrinterInfo1>& rBuilder, const QueueRecord& rRecord) {
    rBuilder.Add({.Flags = FLAG_ICON8, .pDescription = nullptr, .pName = nullptr, .pComment = nullptr});
    rBuilder.Text(&PrinterInfo1::pDescription,
                  rRecord.name + VTEXT(",") + rRecord.driver + VTEXT(",") + rRecord.location);
    rBuilder.Text(&PrinterInfo1::pName, rRecord.name);
    rBuilder.Text(&PrinterInfo1::pComment, rRecord.comment);
}

void Add2(BlockBuilder<PrinterInfo2>& rBuilder, const QueueRecord& rRecord) {
    PrinterInfo2 oInfo{};
    oInfo.Attributes = rRecord.dwAttributes;
    oInfo.Priority = rRecord.dwPriority;
    oInfo.DefaultPriority = rRecord.dwDefaultPriority;
    oInfo.StartTime = rRecord.dwStart;
    oInfo.UntilTime = rRecord.dwUntil;
    oInfo.Status = rRecord.dwStatus;
    rBuilder.Add(oInfo);
    if (!rRecord.server.empty()) rBuilder.Text(&PrinterInfo2::pServerName, rRecord.server);
    rBuilder.Bytes(&PrinterInfo2::pDevMode, SoundMode(rRecord.vbyDevMode));
    rBuilder.Text(&PrinterInfo2::pPrinterName, rRecord.name);
    rBuilder.Text(&PrinterInfo2::pShareName, rRecord.share);
    rBuilder.Text(&PrinterInfo2::pPortName, rRecord.port);
    rBuilder.Text(&PrinterInfo2::pDriverName, rRecord.driver);
    rBuilder.Text(&PrinterInfo2::pComment, rRecord.comment);
    rBuilder.Text(&PrinterInfo2::pLocation, rRecord.location);
    rBuilder.Text(&PrinterInfo2::pSepFile, rRecord.separator);
    rBuilder.Text(&PrinterInfo2::pPrintProcessor, rRecord.processor);
    rBuilder.Text(&PrinterInfo2::pDatatype, rRecord.datatype);
    rBuilder.Text(&PrinterInfo2::pParameters, rRecord.parameters);
}

void Add4(BlockBuilder<PrinterInfo4>& rBuilder, const QueueRecord& rRecord) {
    rBuilder.Add({.pPrinterName = nullptr, .pServerName = nullptr, .Attributes = rRecord.dwAttributes});
    rBuilder.Text(&PrinterInfo4::pPrinterName, rRecord.name);
    if (!rRecord.server.empty()) rBuilder.Text(&PrinterInfo4::pServerName, rRecord.server);
}

void Add5(BlockBuilder<PrinterInfo5>& rBuilder, const QueueRecord& rRecord) {
    constexpr DWORD DEVICE_TIMEOUT = 15000, TRANSMISSION_TIMEOUT = 45000;  // milliseconds, the system's
    rBuilder.Add({.pPrinterName = nullptr,
                  .pPortName = nullptr,
                  .Attributes = rRecord.dwAttributes,
                  .DeviceNotSelectedTimeout = DEVICE_TIMEOUT,
                  .TransmissionRetryTimeout = TRANSMISSION_TIMEOUT});
    rBuilder.Text(&PrinterInfo5::pPrinterName, rRecord.name);
    rBuilder.Text(&PrinterInfo5::pPortName, rRecord.port);
}

void Add6(BlockBuilder<PrinterInfo6>& rBuilder, const QueueRecord& rRecord) {
    rBuilder.Add({.dwStatus = rRecord.dwStatus});
}

/// No directory service knows the queue: it is published here or not at all.
void Add7(BlockBuilder<PrinterInfo7>& rBuilder, const QueueRecord& rRecord) {
    const bool bPublished = (rRecord.dwAttributes & PrintQueuePort::ATTRIBUTE_PUBLISHED) != 0;
    rBuilder.Add({.pszObjectGUID = nullptr,
                  .dwAction = bPublished ? PrintQueuePort::ACTION_PUBLISH : PrintQueuePort::ACTION_UNPUBLISH});
    rBuilder.Text(&PrinterInfo7::pszObjectGUID, {});
}

void Add8(BlockBuilder<PrinterInfo8>& rBuilder, const QueueRecord& rRecord) {
    rBuilder.Add({});
    rBuilder.Bytes(&PrinterInfo8::pDevMode, SoundMode(rRecord.vbyDevMode));
}

template <typename Record>
Status Finish(void (*pfnAdd)(BlockBuilder<Record>&, const QueueRecord&), const std::vector<QueueRecord>& rvRecords,
              void* pInfo, DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) {
    BlockBuilder<Record> oBuilder;
    for (const QueueRecord& rRecord : rvRecords)
        pfnAdd(oBuilder, rRecord);
    return oBuilder.FinishList(pInfo, cbInfo, rcbNeeded, rcReturned);
}

}  // namespace

Status FinishQueueBlock(DWORD dwLevel, const std::vector<QueueRecord>& rvRecords, void* pInfo, DWORD cbInfo,
                        DWORD& rcbNeeded, DWORD& rcReturned) {
    switch (dwLevel) {
        case 1:
            return Finish(&Add1, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        case 2:
            return Finish(&Add2, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        case 4:
            return Finish(&Add4, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        case 5:
            return Finish(&Add5, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        case 6:
            return Finish(&Add6, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        case 7:
            return Finish(&Add7, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        case 8:
        case 9:
            return Finish(&Add8, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        default:
            return SpoolerStatus(SpoolerPort::UNKNOWN_LEVEL);
    }
}

}  // namespace vlm::host
