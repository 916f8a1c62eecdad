/// @file
/// Drivers of the embedded spooler: listing, installing and deleting them.
#include "platform/host/spooler/HostPrinterDriverPort.h"

#include <algorithm>
#include <cstring>

#include "platform/InformationBlocks.h"
#include "platform/host/spooler/DriverRecord.h"
#include "platform/host/spooler/QueueRecord.h"

namespace vlm::host {

namespace {

constexpr DWORD COPY_KINDS = PrinterDriverPort::COPY_STRICT_UPGRADE | PrinterDriverPort::COPY_STRICT_DOWNGRADE |
                             PrinterDriverPort::COPY_ALL | PrinterDriverPort::COPY_NEW;

bool IsEnvironment(const XCHAR* pszEnvironment) noexcept {
    return pszEnvironment == nullptr || IsSameName(pszEnvironment, SpoolerPort::ENVIRONMENT);
}

/// Other servers' drivers are not this spooler's.
void RequireOwnServer(SpoolerGround& rGround, const XCHAR* pszServer) {
    XText server;
    XStringView svRest;
    if (!SplitServer(rGround, ViewOf(pszServer), server, svRest) || !svRest.empty() || !server.empty()) {
        throw SpoolerFailure{SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME)};
    }
}

XText ListFrom(const XCHAR* pszzList) {
    XText list;
    for (; pszzList != nullptr && *pszzList != 0; pszzList += ViewOf(pszzList).size() + 1)
        list.append(pszzList).append(1, 0);
    if (!list.empty()) list.append(1, 0);
    return list;
}

ULONGLONG Joined(const BlockFileTime& rTime) noexcept {
    return rTime.dwLowDateTime | (ULONGLONG{rTime.dwHighDateTime} << 32);
}

/// The texts of a block that every level leaves as they are.
DriverRecord RecordFrom(const DriverInfo8& rInfo) {
    DriverRecord oRecord;
    oRecord.name = ViewOf(rInfo.pName);
    oRecord.monitor = ViewOf(rInfo.pMonitorName);
    oRecord.datatype = ViewOf(rInfo.pDefaultDataType);
    oRecord.previousNames = ListFrom(rInfo.pszzPreviousNames);
    oRecord.ullDate = Joined(rInfo.ftDriverDate);
    oRecord.ullVersion = rInfo.dwlDriverVersion;
    oRecord.manufacturer = ViewOf(rInfo.pszMfgName);
    oRecord.url = ViewOf(rInfo.pszOEMUrl);
    oRecord.hardwareId = ViewOf(rInfo.pszHardwareID);
    oRecord.provider = ViewOf(rInfo.pszProvider);
    oRecord.processor = ViewOf(rInfo.pszPrintProcessor);
    oRecord.vendorSetup = ViewOf(rInfo.pszVendorSetup);
    oRecord.colorProfiles = ListFrom(rInfo.pszzColorProfiles);
    oRecord.infPath = ViewOf(rInfo.pszInfPath);
    oRecord.dwAttributes = rInfo.dwPrinterDriverAttributes;
    oRecord.coreDependencies = ListFrom(rInfo.pszzCoreDriverDependencies);
    oRecord.ullInboxDate = Joined(rInfo.ftMinInboxDriverVerDate);
    oRecord.ullInboxVersion = rInfo.dwlMinInboxDriverVerVersion;
    return oRecord;
}

bool UsesFile(const DriverRecord& rRecord, const XText& rFile) {
    const std::vector<XText> vFiles = rRecord.Files();
    return std::any_of(vFiles.begin(), vFiles.end(), [&](const XText& r) { return IsSameName(r, rFile); });
}

}  // namespace

XText HostPrinterDriverPort::Directory() {
    return m_rGround.SpoolFolder() + VTEXT("\\drivers\\x64");
}

XText HostPrinterDriverPort::VersionFolder() {
    return Directory() + VTEXT("\\3\\");
}

void HostPrinterDriverPort::MakeVersionFolder() {
    XText folder = m_rGround.SpoolFolder();
    for (const XCHAR* pszPart : {VTEXT(""), VTEXT("\\drivers"), VTEXT("\\x64"), VTEXT("\\3")}) {
        const Status eStatus = m_rGround.Files().CreateDirectoryAt((folder += pszPart).c_str());
        if (eStatus != Status::AlreadyExists) Check(eStatus);
    }
}

Status HostPrinterDriverPort::GetDriverBlock(HANDLE hPrinter, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo,
                                             DWORD cbInfo, DWORD& rcbNeeded) noexcept {
    return Guarded([&] {
        const auto shpoPrinter = m_rGround.FindQueue(hPrinter);
        if (!IsEnvironment(pszEnvironment)) return SpoolerStatus(SpoolerPort::INVALID_ENVIRONMENT);
        QueuePlace oPlace;
        QueueRecord oQueue;
        DriverRecord oDriver;
        if (!PlaceOfQueue(m_rGround, shpoPrinter->name, oPlace) || !LoadQueue(m_rGround, oPlace, oQueue) ||
            !LoadDriver(m_rGround, oQueue.driver, oDriver)) {
            return SpoolerStatus(SpoolerPort::UNKNOWN_PRINTER_DRIVER);
        }
        DWORD cReturned = 0;
        return FinishDriverBlock(dwLevel, VersionFolder(), {oDriver}, pInfo, cbInfo, rcbNeeded, cReturned);
    });
}

Status HostPrinterDriverPort::EnumerateDriverInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel,
                                                  void* pInfo, DWORD cbInfo, DWORD& rcbNeeded,
                                                  DWORD& rcReturned) noexcept {
    return Guarded([&] {
        RequireOwnServer(m_rGround, pszServer);
        if (!IsEnvironment(pszEnvironment) && !IsSameName(pszEnvironment, VTEXT("all"))) {
            return SpoolerStatus(SpoolerPort::INVALID_ENVIRONMENT);
        }
        return FinishDriverBlock(dwLevel, VersionFolder(), LoadDrivers(m_rGround), pInfo, cbInfo, rcbNeeded,
                                 rcReturned);
    });
}

Status HostPrinterDriverPort::GetDriverDirectory(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel,
                                                 XCHAR* pszDirectory, DWORD cbDirectory, DWORD& rcbNeeded) noexcept {
    return Guarded([&] {
        RequireOwnServer(m_rGround, pszServer);
        if (!IsEnvironment(pszEnvironment)) return SpoolerStatus(SpoolerPort::INVALID_ENVIRONMENT);
        if (dwLevel != 1) return SpoolerStatus(SpoolerPort::UNKNOWN_LEVEL);
        const XText directory = Directory();
        rcbNeeded = static_cast<DWORD>((directory.size() + 1) * sizeof(XCHAR));
        if (pszDirectory == nullptr || cbDirectory < rcbNeeded) return Status::InsufficientBuffer;
        std::memcpy(pszDirectory, directory.c_str(), rcbNeeded);
        return Status::Success;
    });
}

XText HostPrinterDriverPort::TakeFile(const XCHAR* pszPath, bool fFromDirectory) {
    const XStringView svPath = ViewOf(pszPath);
    const std::size_t iSeparator = svPath.find_last_of(VTEXT("\\/"));
    XText name(iSeparator == XStringView::npos ? svPath : svPath.substr(iSeparator + 1));
    if (name.empty() || name == VTEXT(".") || name == VTEXT("..")) throw SpoolerFailure{Status::InvalidParameter};
    const bool bPlain = iSeparator == XStringView::npos;
    if (bPlain && fFromDirectory) throw SpoolerFailure{Status::InvalidParameter};
    const XText source = bPlain ? Directory() + VTEXT("\\") + name : XText(svPath);
    const XText target = VersionFolder() + name;
    DWORD dwAttributes = 0;
    // Installing anew from where the files stand already copies nothing.
    if (IsSameName(source, target) ||
        (bPlain && m_rGround.Files().GetAttributes(source.c_str(), dwAttributes) != Status::Success)) {
        Check(m_rGround.Files().GetAttributes(target.c_str(), dwAttributes));
        return name;
    }
    const Status eStatus = m_rGround.Folders().CopyTo(source.c_str(), target.c_str(), true);
    if (eStatus == Status::PathNotFound) throw SpoolerFailure{Status::FileNotFound};
    Check(eStatus);
    return name;
}

Status HostPrinterDriverPort::AddDriver(const XCHAR* pszServer, DWORD dwLevel, const void* pInfo,
                                        DWORD dwFlags) noexcept {
    return Guarded([&] {
        RequireOwnServer(m_rGround, pszServer);
        if (dwLevel == 1 || dwLevel == 5 || BlockRecordSize(BlockKind::Driver, dwLevel) == 0) {
            return SpoolerStatus(SpoolerPort::UNKNOWN_LEVEL);
        }
        const DWORD dwKind = dwFlags & COPY_KINDS;
        if (pInfo == nullptr || dwKind == 0 || (dwKind & (dwKind - 1)) != 0) return Status::InvalidParameter;
        DriverInfo8 oInfo{};
        std::memcpy(&oInfo, pInfo, BlockRecordSize(BlockKind::Driver, dwLevel));
        if (!IsEnvironment(oInfo.pEnvironment)) return SpoolerStatus(SpoolerPort::INVALID_ENVIRONMENT);
        if (oInfo.cVersion != DRIVER_VERSION || !IsComponent(ViewOf(oInfo.pName))) return Status::InvalidParameter;
        DriverRecord oFormer;
        if (dwKind == COPY_STRICT_UPGRADE && LoadDriver(m_rGround, oInfo.pName, oFormer)) {
            return SpoolerStatus(SpoolerPort::PRINTER_DRIVER_ALREADY_INSTALLED);
        }
        MakeVersionFolder();
        const bool bFromDirectory = (dwFlags & COPY_FROM_DIRECTORY) != 0;
        DriverRecord oRecord = RecordFrom(oInfo);
        oRecord.driverFile = TakeFile(oInfo.pDriverPath, bFromDirectory);
        oRecord.dataFile = TakeFile(oInfo.pDataFile, bFromDirectory);
        oRecord.configFile = TakeFile(oInfo.pConfigFile, bFromDirectory);
        if (!ViewOf(oInfo.pHelpFile).empty()) oRecord.helpFile = TakeFile(oInfo.pHelpFile, bFromDirectory);
        std::vector<XText> vDependent = TextsOf(ListFrom(oInfo.pDependentFiles));
        for (XText& rFile : vDependent)
            rFile = TakeFile(rFile.c_str(), bFromDirectory);
        oRecord.dependentFiles = ListOf(vDependent);
        SaveDriver(m_rGround, oRecord);
        return Status::Success;
    });
}

Status HostPrinterDriverPort::DeleteDriver(const XCHAR* pszServer, const XCHAR* pszEnvironment, const XCHAR* pszDriver,
                                           DWORD dwFlags, DWORD dwVersion) noexcept {
    return Guarded([&] {
        RequireOwnServer(m_rGround, pszServer);
        if (ViewOf(pszDriver).empty()) return Status::InvalidParameter;
        if (!IsEnvironment(pszEnvironment)) return SpoolerStatus(SpoolerPort::INVALID_ENVIRONMENT);
        DriverRecord oRecord;
        if (!LoadDriver(m_rGround, pszDriver, oRecord) ||
            ((dwFlags & DELETE_SPECIFIC_VERSION) != 0 && dwVersion != DRIVER_VERSION)) {
            return SpoolerStatus(SpoolerPort::UNKNOWN_PRINTER_DRIVER);
        }
        for (const QueueRecord& rQueue : LoadQueues(m_rGround, {})) {
            if (IsSameName(rQueue.driver, oRecord.name)) return SpoolerStatus(SpoolerPort::PRINTER_DRIVER_IN_USE);
        }
        const std::vector<DriverRecord> vDrivers = LoadDrivers(m_rGround);
        std::vector<XText> vFiles = oRecord.Files();
        const std::size_t cFiles = vFiles.size();
        std::erase_if(vFiles, [&](const XText& rFile) {
            return std::any_of(vDrivers.begin(), vDrivers.end(), [&](const DriverRecord& rOther) {
                return !IsSameName(rOther.name, oRecord.name) && UsesFile(rOther, rFile);
            });
        });
        if ((dwFlags & DELETE_ALL_FILES) != 0 && vFiles.size() != cFiles) {
            return SpoolerStatus(SpoolerPort::PRINTER_DRIVER_IN_USE);
        }
        DeleteTree(m_rGround, XText(DRIVERS_PATH) + VTEXT("\\") + oRecord.name);
        if ((dwFlags & (DELETE_ALL_FILES | DELETE_UNUSED_FILES)) != 0) {
            for (const XText& rFile : vFiles)  // one that cannot go stays behind: the driver is gone all the same
                m_rGround.Files().Delete((VersionFolder() + rFile).c_str());
        }
        return Status::Success;
    });
}

Status HostPrinterDriverPort::OpenPrinterUi(const XCHAR*, HANDLE&) noexcept {
    return Status::ModuleNotFound;
}

Status HostPrinterDriverPort::RunPrinterUi(HANDLE, const XCHAR*, DWORD&) noexcept {
    return Status::InvalidHandle;
}

Status HostPrinterDriverPort::ClosePrinterUi(HANDLE) noexcept {
    return Status::InvalidHandle;
}

}  // namespace vlm::host
