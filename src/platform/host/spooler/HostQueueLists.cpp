/// @file
/// Queues of the embedded spooler: lists, connections, the default queue.
#include <algorithm>
#include <utility>

#include "platform/host/spooler/HostPrintQueuePort.h"
#include "platform/host/spooler/QueueRecord.h"

namespace vlm::host {

namespace {

constexpr const XCHAR* DEFAULT_VALUE = VTEXT("Device");
/// Behind the default queue's name stand the names of a spooler's and a port's device, as old programs read them.
constexpr const XCHAR* DEFAULT_TAIL = VTEXT(",winspool,Ne00:");

/// A connection's key: ",,SERVER,QUEUE".
XText ConnectionKey(const QueuePlace& rPlace) {
    return XText(CONNECTIONS_PATH) + VTEXT("\\,,") + rPlace.server.substr(2) + VTEXT(",") + rPlace.queue;
}

void AddConnections(SpoolerGround& rGround, std::vector<QueueRecord>& rvRecords) {
    SpoolerKey oKey(rGround);
    if (!oKey.Open(CONNECTIONS_PATH, RegistryPort::RIGHTS_READ, SpoolerKey::Hive::User)) return;
    for (const XText& rName : oKey.KeyNames()) {
        const std::size_t iComma = rName.rfind(VTEXT(','));
        if (iComma == XText::npos || iComma < 3 || !rName.starts_with(VTEXT(",,"))) continue;
        QueueRecord oRecord;
        const QueuePlace oPlace = PlaceOn(VTEXT("\\\\") + rName.substr(2, iComma - 2), rName.substr(iComma + 1));
        if (LoadQueue(rGround, oPlace, oRecord)) rvRecords.push_back(std::move(oRecord));
    }
}

bool Exists(SpoolerGround& rGround, XStringView svName, XText& rFullName) {
    QueuePlace oPlace;
    QueueRecord oRecord;
    if (!PlaceOfQueue(rGround, svName, oPlace) || !LoadQueue(rGround, oPlace, oRecord)) return false;
    rFullName = oRecord.name;
    return true;
}

}  // namespace

Status HostPrintQueuePort::EnumerateQueueInfo(DWORD dwFlags, const XCHAR* pszServer, DWORD dwLevel, void* pInfo,
                                              DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    return Guarded([&] {
        if (dwLevel != 1 && dwLevel != 2 && dwLevel != 4 && dwLevel != 5) {
            return SpoolerStatus(SpoolerPort::UNKNOWN_LEVEL);
        }
        XText server;
        XStringView svRest;
        std::vector<QueueRecord> vRecords;
        if ((dwFlags & LIST_OF_SERVER) != 0) {
            if (!SplitServer(m_rGround, ViewOf(pszServer), server, svRest) || !svRest.empty()) {
                return SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME);
            }
            SpoolerKey oKey(m_rGround);
            if (!server.empty() && !oKey.Open(XText(SERVERS_PATH) + server.substr(1))) {
                return SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME);
            }
        }
        if ((dwFlags & (LIST_LOCAL | LIST_OF_SERVER)) != 0) vRecords = LoadQueues(m_rGround, server);
        if ((dwFlags & LIST_SHARED) != 0) {
            std::erase_if(vRecords, [](const QueueRecord& r) { return (r.dwAttributes & ATTRIBUTE_SHARED) == 0; });
        }
        if ((dwFlags & LIST_CONNECTIONS) != 0) AddConnections(m_rGround, vRecords);
        return FinishQueueBlock(dwLevel, vRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
    });
}

Status HostPrintQueuePort::AddConnection(const XCHAR* pszName) noexcept {
    return Guarded([&] {
        QueuePlace oPlace;
        QueueRecord oRecord;
        if (!PlaceOfQueue(m_rGround, ViewOf(pszName), oPlace) || !LoadQueue(m_rGround, oPlace, oRecord)) {
            return SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME);
        }
        if (oPlace.server.empty()) return Status::Success;  // one's own queues are there already
        SpoolerKey oKey(m_rGround);
        oKey.Create(ConnectionKey(oPlace), SpoolerKey::Hive::User);
        oKey.SetText(VTEXT("Provider"), VTEXT("win32spl.dll"));
        oKey.SetText(VTEXT("Server"), oPlace.server);
        return Status::Success;
    });
}

Status HostPrintQueuePort::DeleteConnection(const XCHAR* pszName) noexcept {
    return Guarded([&] {
        QueuePlace oPlace;
        if (!PlaceOfQueue(m_rGround, ViewOf(pszName), oPlace) || oPlace.server.empty()) {
            return SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME);
        }
        RegistryPort& rRegistry = m_rGround.Registry();
        const XText key = ConnectionKey(oPlace);
        HKEY hUser = nullptr;
        Check(rRegistry.OpenCurrentUser(RegistryPort::RIGHTS_ALL, hUser));
        const Status eStatus = rRegistry.DeleteKey(hUser, key.c_str());
        rRegistry.Close(hUser);
        return eStatus == Status::FileNotFound ? SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME) : eStatus;
    });
}

Status HostPrintQueuePort::GetDefaultQueue(XCHAR* pszName, DWORD& rcName) noexcept {
    return Guarded([&] {
        SpoolerKey oKey(m_rGround);
        if (!oKey.Open(DEFAULT_QUEUE_PATH, RegistryPort::RIGHTS_READ, SpoolerKey::Hive::User)) {
            return Status::FileNotFound;
        }
        const XText device = oKey.Text(DEFAULT_VALUE);
        XText name;
        if (!Exists(m_rGround, XStringView(device).substr(0, device.find(VTEXT(','))), name)) {
            return Status::FileNotFound;
        }
        const DWORD cNeeded = static_cast<DWORD>(name.size() + 1), cRoom = pszName ? rcName : 0;
        rcName = cNeeded;
        if (cRoom < cNeeded) return Status::InsufficientBuffer;
        std::copy_n(name.c_str(), cNeeded, pszName);
        return Status::Success;
    });
}

Status HostPrintQueuePort::SetDefaultQueue(const XCHAR* pszName) noexcept {
    return Guarded([&] {
        XText name(ViewOf(pszName));
        if (name.empty()) {
            const std::vector<QueueRecord> vRecords = LoadQueues(m_rGround, {});
            if (!vRecords.empty()) name = vRecords.front().name;
        }
        if (!Exists(m_rGround, name, name)) return SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME);
        SpoolerKey oKey(m_rGround);
        oKey.Create(DEFAULT_QUEUE_PATH, SpoolerKey::Hive::User);
        oKey.SetText(DEFAULT_VALUE, name + DEFAULT_TAIL);
        return Status::Success;
    });
}

}  // namespace vlm::host
