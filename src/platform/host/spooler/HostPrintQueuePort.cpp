/// @file
/// Queues of the embedded spooler: reading, changing, adding and deleting them.
#include "platform/host/spooler/HostPrintQueuePort.h"

#include <algorithm>
#include <utility>

#include "platform/InformationBlocks.h"
#include "platform/host/spooler/DriverRecord.h"
#include "platform/host/spooler/QueueRecord.h"
#include "platform/host/spooler/SpoolerPorts.h"

namespace vlm::host {

namespace {

constexpr const XCHAR* DATATYPE = VTEXT("RAW");
/// The spooler's own status for a handle whose queue is gone.
constexpr DWORD PRINTER_DELETED = 1905;

QueueRecord QueueOf(SpoolerGround& rGround, const OpenedPrinter& rPrinter) {
    QueuePlace oPlace;
    QueueRecord oRecord;
    if (!PlaceOfQueue(rGround, rPrinter.name, oPlace) || !LoadQueue(rGround, oPlace, oRecord)) {
        throw SpoolerFailure{SpoolerStatus(PRINTER_DELETED)};
    }
    return oRecord;
}

void RequirePort(SpoolerGround& rGround, const XText& rPort) {
    if (!FindPort(rGround, rPort)) throw SpoolerFailure{SpoolerStatus(SpoolerPort::UNKNOWN_PORT)};
}

void RequireDriver(SpoolerGround& rGround, const XText& rDriver) {
    DriverRecord oDriver;
    if (!LoadDriver(rGround, rDriver, oDriver)) {
        throw SpoolerFailure{SpoolerStatus(SpoolerPort::UNKNOWN_PRINTER_DRIVER)};
    }
}

void RequireProcessor(SpoolerGround& rGround, const XText& rProcessor) {
    const std::vector<XText> vNames = ProcessorNames(rGround);
    if (std::none_of(vNames.begin(), vNames.end(), [&](const XText& r) { return IsSameName(r, rProcessor); })) {
        throw SpoolerFailure{SpoolerStatus(SpoolerPort::UNKNOWN_PRINT_PROCESSOR)};
    }
}

std::vector<BYTE> BytesOfMode(const DEVMODEW* pDevMode) {
    const BYTE* const pby = reinterpret_cast<const BYTE*>(pDevMode);
    return {pby, pby + DeviceModeSize(pDevMode)};
}

/// The fields of level 2 that may be empty.
void TakeTexts(const PrinterInfo2& rInfo, QueueRecord& rRecord) {
    rRecord.share = ViewOf(rInfo.pShareName);
    rRecord.comment = ViewOf(rInfo.pComment);
    rRecord.location = ViewOf(rInfo.pLocation);
    rRecord.separator = ViewOf(rInfo.pSepFile);
    rRecord.parameters = ViewOf(rInfo.pParameters);
    if (!ViewOf(rInfo.pDatatype).empty()) rRecord.datatype = rInfo.pDatatype;
    rRecord.dwAttributes = rInfo.Attributes;
    rRecord.dwPriority = rInfo.Priority;
    rRecord.dwDefaultPriority = rInfo.DefaultPriority;
    rRecord.dwStart = rInfo.StartTime;
    rRecord.dwUntil = rInfo.UntilTime;
    if (rInfo.pDevMode != nullptr) rRecord.vbyDevMode = BytesOfMode(rInfo.pDevMode);
}

}  // namespace

Status HostPrintQueuePort::GetQueueInfo(HANDLE hPrinter, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                                        DWORD& rcbNeeded) noexcept {
    return Guarded([&] {
        const auto shpoPrinter = m_rGround.FindQueue(hPrinter);
        std::vector<QueueRecord> vRecords{QueueOf(m_rGround, *shpoPrinter)};
        if (dwLevel == 9) {
            std::vector<BYTE> vbyMode = UserDeviceMode(m_rGround, vRecords[0].name);
            if (!vbyMode.empty()) vRecords[0].vbyDevMode = std::move(vbyMode);
        }
        DWORD cReturned = 0;
        return FinishQueueBlock(dwLevel, vRecords, pInfo, cbInfo, rcbNeeded, cReturned);
    });
}

void HostPrintQueuePort::Apply(DWORD dwLevel, const void* pInfo, DWORD dwCommand, QueueRecord& rRecord) {
    switch (dwLevel) {
        case 0:
            if (dwCommand < COMMAND_PAUSE || dwCommand > COMMAND_PURGE) throw SpoolerFailure{Status::InvalidParameter};
            if (dwCommand == COMMAND_PAUSE) rRecord.dwStatus |= STATUS_PAUSED;
            if (dwCommand == COMMAND_RESUME) rRecord.dwStatus &= ~STATUS_PAUSED;
            break;
        case 2: {
            const PrinterInfo2& rInfo = *static_cast<const PrinterInfo2*>(pInfo);
            QueueRecord oNew = rRecord;
            TakeTexts(rInfo, oNew);
            if (!ViewOf(rInfo.pPortName).empty()) oNew.port = rInfo.pPortName;
            if (!ViewOf(rInfo.pDriverName).empty()) oNew.driver = rInfo.pDriverName;
            if (!ViewOf(rInfo.pPrintProcessor).empty()) oNew.processor = rInfo.pPrintProcessor;
            if (!IsSameName(oNew.driver, rRecord.driver)) RequireDriver(m_rGround, oNew.driver);
            if (!IsSameName(oNew.port, rRecord.port)) RequirePort(m_rGround, oNew.port);
            if (!IsSameName(oNew.processor, rRecord.processor)) RequireProcessor(m_rGround, oNew.processor);
            rRecord = std::move(oNew);
            break;
        }
        case 5: {
            const PrinterInfo5& rInfo = *static_cast<const PrinterInfo5*>(pInfo);
            const XText port(ViewOf(rInfo.pPortName));
            RequirePort(m_rGround, port);
            rRecord.port = port;
            rRecord.dwAttributes = rInfo.Attributes;
            break;
        }
        case 7: {
            const DWORD dwAction = static_cast<const PrinterInfo7*>(pInfo)->dwAction;
            if ((dwAction & ~(ACTION_PUBLISH | ACTION_UPDATE | ACTION_UNPUBLISH | ACTION_REPUBLISH)) != 0 ||
                dwAction == 0) {
                throw SpoolerFailure{Status::InvalidParameter};
            }
            if (dwAction == ACTION_UNPUBLISH) {
                rRecord.dwAttributes &= ~ATTRIBUTE_PUBLISHED;
            } else {
                rRecord.dwAttributes |= ATTRIBUTE_PUBLISHED;
            }
            break;
        }
        case 8:
            rRecord.vbyDevMode = BytesOfMode(static_cast<const PrinterInfo8*>(pInfo)->pDevMode);
            break;
        default:
            throw SpoolerFailure{SpoolerStatus(SpoolerPort::UNKNOWN_LEVEL)};
    }
}

Status HostPrintQueuePort::SetQueueInfo(HANDLE hPrinter, DWORD dwLevel, const void* pInfo, DWORD dwCommand) noexcept {
    return Guarded([&] {
        const auto shpoPrinter = m_rGround.FindQueue(hPrinter);
        if (pInfo == nullptr && dwLevel != 0) return Status::InvalidParameter;
        QueueRecord oRecord = QueueOf(m_rGround, *shpoPrinter);
        if (dwLevel == 9) {  // the user's own: nobody's rights are asked for
            const std::vector<BYTE> vbyMode = BytesOfMode(static_cast<const PrinterInfo9*>(pInfo)->pDevMode);
            SpoolerKey oKey(m_rGround);
            oKey.Create(USER_MODES_PATH, SpoolerKey::Hive::User);
            if (vbyMode.empty()) {
                oKey.DeleteValue(oRecord.name.c_str());
            } else {
                oKey.Set(oRecord.name.c_str(), RegistryPort::TYPE_BINARY, vbyMode.data(), vbyMode.size());
            }
            return Status::Success;
        }
        if (!shpoPrinter->MayChange()) return Status::AccessDenied;
        Apply(dwLevel, pInfo, dwCommand, oRecord);
        SpoolerKey oKey(m_rGround);
        if (!oKey.Open(shpoPrinter->path, RegistryPort::RIGHTS_ALL)) return SpoolerStatus(PRINTER_DELETED);
        SaveQueue(oKey, oRecord);
        return Status::Success;
    });
}

Status HostPrintQueuePort::AddQueue(const XCHAR* pszServer, const PrinterInfo2& rInfo, HANDLE& rhPrinter) noexcept {
    return Guarded([&] {
        XText server;
        XStringView svRest;
        QueuePlace oPlace;
        if (!SplitServer(m_rGround, ViewOf(pszServer), server, svRest) || !svRest.empty() ||
            !PlaceOfQueue(m_rGround, ViewOf(rInfo.pPrinterName), oPlace)) {
            return SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME);
        }
        if (!server.empty()) oPlace = PlaceOn(server, oPlace.queue);
        if (rInfo.pSecurityDescriptor != nullptr) return Status::NotSupported;
        QueueRecord oRecord;
        if (LoadQueue(m_rGround, oPlace, oRecord)) return SpoolerStatus(SpoolerPort::PRINTER_ALREADY_EXISTS);
        oRecord.server = oPlace.server;
        oRecord.name = oPlace.FullName();
        oRecord.port = ViewOf(rInfo.pPortName);
        oRecord.driver = ViewOf(rInfo.pDriverName);
        oRecord.processor = ViewOf(rInfo.pPrintProcessor);
        oRecord.datatype = DATATYPE;
        oRecord.vbyDevMode = PlainDeviceMode(oPlace.queue);
        TakeTexts(rInfo, oRecord);
        if (oRecord.dwAttributes == 0) oRecord.dwAttributes = server.empty() ? ATTRIBUTE_LOCAL : ATTRIBUTE_NETWORK;
        RequireDriver(m_rGround, oRecord.driver);
        if (oPlace.server.empty()) RequirePort(m_rGround, oRecord.port);  // a server's port is the server's own
        RequireProcessor(m_rGround, oRecord.processor);
        SpoolerKey oKey(m_rGround);
        oKey.Create(oPlace.path);
        const HANDLE hPrinter = m_rGround.Add({.eKind = OpenedPrinter::Kind::Queue,
                                               .dwAccess = SpoolerPort::ALL_ACCESS,
                                               .name = oRecord.name,
                                               .path = oPlace.path,
                                               .port = {},
                                               .hEmbedded = nullptr});
        Undo oUndo([&]() noexcept { m_rGround.Remove(hPrinter); });
        SaveQueue(oKey, oRecord);
        oUndo.Drop();
        rhPrinter = hPrinter;
        return Status::Success;
    });
}

Status HostPrintQueuePort::DeleteQueue(HANDLE hPrinter) noexcept {
    return Guarded([&] {
        const auto shpoPrinter = m_rGround.FindQueue(hPrinter);
        if (!shpoPrinter->MayChange()) return Status::AccessDenied;
        {
            SpoolerKey oKey(m_rGround);
            if (!oKey.Open(shpoPrinter->path, RegistryPort::RIGHTS_ALL)) return SpoolerStatus(PRINTER_DELETED);
            oKey.DeleteValue(QUEUE_NAME_VALUE);  // from here on it is no queue, whatever is left of it
        }
        DeleteTree(m_rGround, shpoPrinter->path);
        return Status::Success;
    });
}

Status HostPrintQueuePort::GetDeviceCapability(const XCHAR*, const XCHAR*, WORD, void*, DWORD, LONG&) noexcept {
    return Status::NotSupported;
}

}  // namespace vlm::host
