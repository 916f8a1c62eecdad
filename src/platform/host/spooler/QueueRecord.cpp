/// @file
/// Reads and writes queues' keys.
#include "platform/host/spooler/QueueRecord.h"

#include <algorithm>
#include <cstring>

namespace vlm::host {

namespace {

constexpr std::size_t MAX_QUEUE_UNITS = 220;
constexpr const XCHAR* MODE_VALUE = VTEXT("Default DevMode");

struct TextValue {
    const XCHAR* pszName;
    XText QueueRecord::*pMember;
};
constexpr TextValue TEXT_VALUES[] = {
    {VTEXT("Share Name"), &QueueRecord::share},          {VTEXT("Port"), &QueueRecord::port},
    {VTEXT("Printer Driver"), &QueueRecord::driver},     {VTEXT("Description"), &QueueRecord::comment},
    {VTEXT("Location"), &QueueRecord::location},         {VTEXT("Separator File"), &QueueRecord::separator},
    {VTEXT("Print Processor"), &QueueRecord::processor}, {VTEXT("Datatype"), &QueueRecord::datatype},
    {VTEXT("Parameters"), &QueueRecord::parameters},
};

struct NumberValue {
    const XCHAR* pszName;
    DWORD QueueRecord::*pMember;
};
constexpr NumberValue NUMBER_VALUES[] = {
    {VTEXT("Attributes"), &QueueRecord::dwAttributes},
    {VTEXT("Priority"), &QueueRecord::dwPriority},
    {VTEXT("Default Priority"), &QueueRecord::dwDefaultPriority},
    {VTEXT("StartTime"), &QueueRecord::dwStart},
    {VTEXT("UntilTime"), &QueueRecord::dwUntil},
    {VTEXT("Status"), &QueueRecord::dwStatus},
};

XText ServerPath(const XText& rServer) {
    // The system does without the leading backslashes there.
    return XText(SERVERS_PATH) + VTEXT("\\") + rServer.substr(std::min<std::size_t>(2, rServer.size())) +
           VTEXT("\\Printers");
}

}  // namespace

bool SplitServer(SpoolerGround& rGround, XStringView svName, XText& rServer, XStringView& rsvRest) {
    rServer.clear();
    rsvRest = svName;
    if (!svName.starts_with(VTEXT("\\\\"))) return true;
    const std::size_t iEnd = std::min(svName.find(VTEXT('\\'), 2), svName.size());
    const XStringView svServer = svName.substr(2, iEnd - 2);
    if (!IsComponent(svServer)) return false;
    rsvRest = svName.substr(std::min(iEnd + 1, svName.size()));
    if (!IsSameName(svServer, rGround.ComputerName())) rServer = svName.substr(0, iEnd);
    return true;
}

QueuePlace PlaceOn(const XText& rServer, XStringView svQueue) {
    QueuePlace oPlace{rServer, XText(svQueue), rServer.empty() ? XText(QUEUES_PATH) : ServerPath(rServer)};
    oPlace.path.append(1, VTEXT('\\')).append(svQueue);
    return oPlace;
}

bool PlaceOfQueue(SpoolerGround& rGround, XStringView svName, QueuePlace& rPlace) {
    XText server;
    XStringView svQueue;
    if (!SplitServer(rGround, svName, server, svQueue)) return false;
    if (!IsComponent(svQueue) || svQueue.size() > MAX_QUEUE_UNITS || svQueue.find(VTEXT(',')) != XStringView::npos) {
        return false;
    }
    rPlace = PlaceOn(server, svQueue);
    return true;
}

bool LoadQueue(SpoolerGround& rGround, const QueuePlace& rPlace, QueueRecord& rRecord) {
    SpoolerKey oKey(rGround);
    if (!oKey.Open(rPlace.path)) return false;
    QueueRecord oRecord;
    oRecord.name = oKey.Text(QUEUE_NAME_VALUE);
    if (oRecord.name.empty()) return false;
    if (!rPlace.server.empty()) oRecord.name.insert(0, rPlace.server + VTEXT("\\"));
    oRecord.server = rPlace.server;
    for (const TextValue& rValue : TEXT_VALUES)
        oRecord.*rValue.pMember = oKey.Text(rValue.pszName);
    for (const NumberValue& rValue : NUMBER_VALUES)
        oRecord.*rValue.pMember = oKey.Number(rValue.pszName);
    DWORD dwType = 0;
    oKey.Value(MODE_VALUE, dwType, oRecord.vbyDevMode);
    rRecord = std::move(oRecord);
    return true;
}

void SaveQueue(SpoolerKey& rKey, const QueueRecord& rRecord) {
    for (const TextValue& rValue : TEXT_VALUES)
        rKey.SetText(rValue.pszName, rRecord.*rValue.pMember);
    for (const NumberValue& rValue : NUMBER_VALUES)
        rKey.SetNumber(rValue.pszName, rRecord.*rValue.pMember);
    rKey.Set(MODE_VALUE, RegistryPort::TYPE_BINARY, rRecord.vbyDevMode.data(), rRecord.vbyDevMode.size());
    rKey.SetText(QUEUE_NAME_VALUE,
                 rRecord.server.empty() ? rRecord.name : rRecord.name.substr(rRecord.server.size() + 1));
}

std::vector<QueueRecord> LoadQueues(SpoolerGround& rGround, const XText& rServer) {
    std::vector<QueueRecord> vRecords;
    SpoolerKey oKey(rGround);
    if (!oKey.Open(rServer.empty() ? XText(QUEUES_PATH) : ServerPath(rServer))) return vRecords;
    for (const XText& rName : oKey.KeyNames()) {
        QueueRecord oRecord;
        if (LoadQueue(rGround, PlaceOn(rServer, rName), oRecord)) vRecords.push_back(std::move(oRecord));
    }
    return vRecords;
}

std::vector<BYTE> PlainDeviceMode(XStringView svQueue) {
    constexpr WORD SIZE = 220;
    constexpr std::size_t NAME_UNITS = 31;
    std::vector<BYTE> vbyMode(SIZE, 0);
    const auto Put = [&](std::size_t ofs, auto value) { std::memcpy(&vbyMode[ofs], &value, sizeof(value)); };
    std::memcpy(vbyMode.data(), svQueue.data(), std::min(svQueue.size(), NAME_UNITS) * sizeof(XCHAR));
    Put(64, WORD{0x401});  // the version of the structure: 4.1
    Put(68, SIZE);
    Put(72, DWORD{0x103});  // what is set: orientation, paper, copies
    Put(76, WORD{1});       // portrait
    Put(78, WORD{9});       // A4
    Put(86, WORD{1});
    return vbyMode;
}

std::vector<BYTE> UserDeviceMode(SpoolerGround& rGround, const XText& rQueue) {
    std::vector<BYTE> vbyMode;
    DWORD dwType = 0;
    SpoolerKey oKey(rGround);
    if (oKey.Open(USER_MODES_PATH, RegistryPort::RIGHTS_READ, SpoolerKey::Hive::User)) {
        oKey.Value(rQueue.c_str(), dwType, vbyMode);
    }
    return vbyMode;
}

}  // namespace vlm::host
