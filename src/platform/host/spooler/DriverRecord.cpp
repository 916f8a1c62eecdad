/// @file
/// Reads and writes drivers' keys.
#include "platform/host/spooler/DriverRecord.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/PrinterDriverPort.h"

namespace vlm::host {

namespace {

/// The value that makes a key a driver; written last.
constexpr const XCHAR* DRIVER_VALUE = VTEXT("Driver");

struct TextValue {
    const XCHAR* pszName;
    XText DriverRecord::*pMember;
};
constexpr TextValue TEXT_VALUES[] = {
    {VTEXT("Data File"), &DriverRecord::dataFile},
    {VTEXT("Configuration File"), &DriverRecord::configFile},
    {VTEXT("Help File"), &DriverRecord::helpFile},
    {VTEXT("Monitor"), &DriverRecord::monitor},
    {VTEXT("Datatype"), &DriverRecord::datatype},
    {VTEXT("Manufacturer"), &DriverRecord::manufacturer},
    {VTEXT("OEM URL"), &DriverRecord::url},
    {VTEXT("HardwareID"), &DriverRecord::hardwareId},
    {VTEXT("Provider"), &DriverRecord::provider},
    {VTEXT("Print Processor"), &DriverRecord::processor},
    {VTEXT("VendorSetup"), &DriverRecord::vendorSetup},
    {VTEXT("InfPath"), &DriverRecord::infPath},
};
constexpr TextValue LIST_VALUES[] = {
    {VTEXT("Dependent Files"), &DriverRecord::dependentFiles},
    {VTEXT("Previous Names"), &DriverRecord::previousNames},
    {VTEXT("ColorProfiles"), &DriverRecord::colorProfiles},
    {VTEXT("CoreDependencies"), &DriverRecord::coreDependencies},
};

struct LongValue {
    const XCHAR* pszName;
    ULONGLONG DriverRecord::*pMember;
};
constexpr LongValue LONG_VALUES[] = {
    {VTEXT("DriverDate"), &DriverRecord::ullDate},
    {VTEXT("DriverVersion"), &DriverRecord::ullVersion},
    {VTEXT("MinInboxDriverVerDate"), &DriverRecord::ullInboxDate},
    {VTEXT("MinInboxDriverVerVersion"), &DriverRecord::ullInboxVersion},
};

XText PathOf(const XText& rName) {
    return XText(DRIVERS_PATH) + VTEXT("\\") + rName;
}

}  // namespace

std::vector<XText> TextsOf(const XText& rList) {
    std::vector<XText> vTexts;
    for (std::size_t i = 0; i < rList.size() && rList[i] != 0;) {
        const std::size_t iEnd = std::min(rList.find(XCHAR{0}, i), rList.size());
        vTexts.emplace_back(rList, i, iEnd - i);
        i = iEnd + 1;
    }
    return vTexts;
}

XText ListOf(const std::vector<XText>& rvTexts) {
    XText list;
    for (const XText& rText : rvTexts)
        list.append(rText).append(1, 0);
    if (!list.empty()) list.append(1, 0);
    return list;
}

std::vector<XText> DriverRecord::Files() const {
    std::vector<XText> vFiles{driverFile, dataFile, configFile, helpFile};
    for (XText& rFile : TextsOf(dependentFiles))
        vFiles.push_back(std::move(rFile));
    std::vector<XText> vOnce;
    for (XText& rFile : vFiles) {
        const bool bKnown =
            std::any_of(vOnce.begin(), vOnce.end(), [&](const XText& r) { return IsSameName(r, rFile); });
        if (!rFile.empty() && !bKnown && rFile.find_first_of(VTEXT("\\/")) == XText::npos) {
            vOnce.push_back(std::move(rFile));
        }
    }
    return vOnce;
}

bool LoadDriver(SpoolerGround& rGround, const XText& rName, DriverRecord& rRecord) {
    SpoolerKey oKey(rGround);
    if (!IsComponent(rName) || !oKey.Open(PathOf(rName))) return false;
    DriverRecord oRecord;
    oRecord.name = rName;
    oRecord.driverFile = oKey.Text(DRIVER_VALUE);
    if (oRecord.driverFile.empty()) return false;
    for (const TextValue& rValue : TEXT_VALUES)
        oRecord.*rValue.pMember = oKey.Text(rValue.pszName);
    for (const TextValue& rValue : LIST_VALUES)
        oRecord.*rValue.pMember = ListOf(TextsOf(oKey.TextList(rValue.pszName)));
    for (const LongValue& rValue : LONG_VALUES) {
        DWORD dwType = 0;
        std::vector<BYTE> vbyData;
        ULONGLONG& rull = oRecord.*rValue.pMember;
        if (oKey.Value(rValue.pszName, dwType, vbyData) && vbyData.size() == sizeof(rull)) {
            std::memcpy(&rull, vbyData.data(), sizeof(rull));
        }
    }
    oRecord.dwAttributes = oKey.Number(VTEXT("PrinterDriverAttributes"));
    rRecord = std::move(oRecord);
    return true;
}

std::vector<DriverRecord> LoadDrivers(SpoolerGround& rGround) {
    std::vector<DriverRecord> vRecords;
    SpoolerKey oKey(rGround);
    if (!oKey.Open(DRIVERS_PATH)) return vRecords;
    for (const XText& rName : oKey.KeyNames()) {
        DriverRecord oRecord;
        if (LoadDriver(rGround, rName, oRecord)) vRecords.push_back(std::move(oRecord));
    }
    return vRecords;
}

void SaveDriver(SpoolerGround& rGround, const DriverRecord& rRecord) {
    SpoolerKey oKey(rGround);
    oKey.Create(PathOf(rRecord.name));
    oKey.SetNumber(VTEXT("Version"), PrinterDriverPort::DRIVER_VERSION);
    oKey.SetNumber(VTEXT("PrinterDriverAttributes"), rRecord.dwAttributes);
    for (const TextValue& rValue : TEXT_VALUES)
        oKey.SetText(rValue.pszName, rRecord.*rValue.pMember);
    for (const TextValue& rValue : LIST_VALUES) {
        XText list = rRecord.*rValue.pMember;
        if (list.empty()) list.append(1, 0);
        oKey.Set(rValue.pszName, RegistryPort::TYPE_MULTI_SZ, list.data(), list.size() * sizeof(XCHAR));
    }
    for (const LongValue& rValue : LONG_VALUES)
        oKey.Set(rValue.pszName, RegistryPort::TYPE_BINARY, &(rRecord.*rValue.pMember), sizeof(ULONGLONG));
    oKey.SetText(DRIVER_VALUE, rRecord.driverFile);
}

}  // namespace vlm::host
