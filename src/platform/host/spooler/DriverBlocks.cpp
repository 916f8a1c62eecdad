/// @file
/// The levels of a driver's information.
#include "platform/PrinterDriverPort.h"
#include "platform/host/spooler/BlockBuilder.h"
#include "platform/host/spooler/DriverRecord.h"

namespace vlm::host {

namespace {

BlockFileTime FileTimeOf(ULONGLONG ull) noexcept {
    return {static_cast<DWORD>(ull & 0xFFFFFFFF), static_cast<DWORD>(ull >> 32)};
}

/// The levels are beginnings of each other: what a level has is known from its record alone.
template <typename Record>
class DriverBlock {
public:
    explicit DriverBlock(const XText& rFolder) : m_rFolder(rFolder) {}

    void Add(const DriverRecord& r) {
        Record oInfo{};
        if constexpr (requires { oInfo.cVersion; }) oInfo.cVersion = PrinterDriverPort::DRIVER_VERSION;
        if constexpr (requires { oInfo.ftDriverDate; }) {
            oInfo.ftDriverDate = FileTimeOf(r.ullDate);
            oInfo.dwlDriverVersion = r.ullVersion;
        }
        if constexpr (requires { oInfo.dwPrinterDriverAttributes; }) {
            oInfo.dwPrinterDriverAttributes = r.dwAttributes;
            oInfo.ftMinInboxDriverVerDate = FileTimeOf(r.ullInboxDate);
            oInfo.dwlMinInboxDriverVerVersion = r.ullInboxVersion;
        }
        if constexpr (requires { oInfo.dwDriverAttributes; }) oInfo.dwDriverAttributes = r.dwAttributes;
        m_oBuilder.Add(oInfo);
        m_oBuilder.Text(&Record::pName, r.name);
        if constexpr (requires { oInfo.pDriverPath; }) {
            m_oBuilder.Text(&Record::pEnvironment, SpoolerPort::ENVIRONMENT);
            File(&Record::pDriverPath, r.driverFile);
            File(&Record::pDataFile, r.dataFile);
            File(&Record::pConfigFile, r.configFile);
        }
        if constexpr (requires { oInfo.pHelpFile; }) {
            File(&Record::pHelpFile, r.helpFile);
            std::vector<XText> vFiles = TextsOf(r.dependentFiles);
            for (XText& rFile : vFiles)
                rFile.insert(0, m_rFolder);
            m_oBuilder.List(&Record::pDependentFiles, ListOf(vFiles));
            Text(&Record::pMonitorName, r.monitor);
            Text(&Record::pDefaultDataType, r.datatype);
        }
        if constexpr (requires { oInfo.pszzPreviousNames; }) {
            m_oBuilder.List(&Record::pszzPreviousNames, r.previousNames);
        }
        if constexpr (requires { oInfo.pszProvider; }) {
            Text(&Record::pszMfgName, r.manufacturer);
            Text(&Record::pszOEMUrl, r.url);
            Text(&Record::pszHardwareID, r.hardwareId);
            Text(&Record::pszProvider, r.provider);
        }
        if constexpr (requires { oInfo.pszInfPath; }) {
            Text(&Record::pszPrintProcessor, r.processor);
            Text(&Record::pszVendorSetup, r.vendorSetup);
            m_oBuilder.List(&Record::pszzColorProfiles, r.colorProfiles);
            Text(&Record::pszInfPath, r.infPath);
            m_oBuilder.List(&Record::pszzCoreDriverDependencies, r.coreDependencies);
        }
    }

    static Status Finish(const XText& rFolder, const std::vector<DriverRecord>& rvRecords, void* pInfo, DWORD cbInfo,
                         DWORD& rcbNeeded, DWORD& rcReturned) {
        DriverBlock oBlock(rFolder);
        for (const DriverRecord& rRecord : rvRecords)
            oBlock.Add(rRecord);
        return oBlock.m_oBuilder.FinishList(pInfo, cbInfo, rcbNeeded, rcReturned);
    }

private:
    /// What there is not stays null.
    void Text(XCHAR* Record::*pMember, const XText& rText) {
        if (!rText.empty()) m_oBuilder.Text(pMember, rText);
    }
    void File(XCHAR* Record::*pMember, const XText& rFile) {
        if (!rFile.empty()) m_oBuilder.Text(pMember, m_rFolder + rFile);
    }

    const XText& m_rFolder;
    BlockBuilder<Record> m_oBuilder;
};

}  // namespace

Status FinishDriverBlock(DWORD dwLevel, const XText& rFolder, const std::vector<DriverRecord>& rvRecords, void* pInfo,
                         DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) {
    switch (dwLevel) {
        case 1:
            return DriverBlock<DriverInfo1>::Finish(rFolder, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        case 2:
            return DriverBlock<DriverInfo2>::Finish(rFolder, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        case 3:
            return DriverBlock<DriverInfo3>::Finish(rFolder, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        case 4:
            return DriverBlock<DriverInfo4>::Finish(rFolder, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        case 5:
            return DriverBlock<DriverInfo5>::Finish(rFolder, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        case 6:
            return DriverBlock<DriverInfo6>::Finish(rFolder, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        case 8:
            return DriverBlock<DriverInfo8>::Finish(rFolder, rvRecords, pInfo, cbInfo, rcbNeeded, rcReturned);
        default:
            return SpoolerStatus(SpoolerPort::UNKNOWN_LEVEL);
    }
}

}  // namespace vlm::host
