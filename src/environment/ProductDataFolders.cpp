/// @file
/// Where product data lies.
#include <algorithm>
#include <array>

#include "environment/PrintDriver.h"
#include "environment/detail/product/FolderTree.h"
#include "environment/detail/product/ProductDataImpl.h"
#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "utilities/compression/CabinetArchive.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/DriverVersion.h"

namespace {

namespace folders = vlm::folders;

constexpr const XCHAR *PRODUCT_DATA = VTEXT("Product Data"), *VERSION_FILE = VTEXT("DCPVersion.txt");
/// A version file holds one short line.
constexpr DWORD MAX_VERSION_FILE_BYTES = 256;

CXString EnvironmentOf(const XCHAR* pszName) {
    std::array<XCHAR, 1024> achValue{};
    const std::size_t cUnits =
        vlm::GetPlatform().pProcess->EnvironmentVariable(pszName, achValue.data(), achValue.size());
    return CXString(achValue.data(), static_cast<int>(cUnits));
}

}  // namespace

bool vlm::IsNewer(const CXString& kcsVersion, const CXString& kcsThan) {
    DriverVersion oVersion, oThan;
    DriverVersion::TryParse(kcsVersion, oVersion);
    DriverVersion::TryParse(kcsThan, oThan);
    return oVersion > oThan;
}

void ProductData::SetTransientPath(const CXString& kcsPath) {
    const CriticalResourceLock oLock(m_CriticalStaticResource);
    Caches().m_sTransientPath = kcsPath;
}

CXString ProductData::GetDataFolder() {
    if (!m_bTransient) return PrintDriver().GetVelomDriverDataFilePathFromHandle(GetAssociatedPrinterHandle());
    CXString m_sTransientPath;
    {
        const CriticalResourceLock oLock(m_CriticalStaticResource);
        m_sTransientPath = Caches().m_sTransientPath;
    }
    VLM_ASSERT(!m_sTransientPath.IsEmpty(),
               VTEXT("m_sTransientPath is Empty in call to GetProductDataFolderWithoutVersion, MUST be specified!"));
    return m_sTransientPath;
}

CXString ProductData::GetProductDataRoot() {
    CXString csData = GetDataFolder();
    return csData.IsEmpty() ? csData : CXString::FormatString(VTEXT("%s\\%s"), csData, PRODUCT_DATA);
}

CXString ProductData::GetProductDataFolderWithoutVersion(bool fFamilyOptional) {
    CXString csData = GetDataFolder();
    if (csData.IsEmpty()) return csData;
    if (m_ProductFamily.IsEmpty()) {
        if (fFamilyOptional) return CXString::FormatString(VTEXT("%s\\%s"), csData, PRODUCT_DATA);
        VLM_ASSERT(!m_ProductFamily.IsEmpty(),
                   VTEXT("m_ProductFamily is Empty in call to GetProductDataFolderWithoutVersion, MUST be specified!"));
        return CXString();
    }
    return CXString::FormatString(VTEXT("%s\\%s\\%s"), csData, PRODUCT_DATA, m_ProductFamily);
}

CXString ProductData::GetPrinterModelProductDataFolder() {
    VLM_ASSERT(!m_ProductFamily.IsEmpty(),
               VTEXT("m_ProductFamily is Empty in call to GetPrinterModelProductDataFolder, MUST be specified!"));
    if (m_ProductFamily.IsEmpty()) return CXString();
    const CXString csFolder = GetProductDataFolderWithoutVersion(FAMILY_REQUIRED);
    return csFolder.IsEmpty() ? csFolder : CXString::FormatString(VTEXT("%s\\%s"), csFolder, vlm::VERSION_LEVEL);
}

CXString ProductData::GetPublicDCPFolderPath(bool fWithVersion) {
    CXString csRoot = GetProductDataRoot();
    if (csRoot.IsEmpty()) return csRoot;
    CXString csPublic = csRoot + VTEXT("\\") + vlm::PUBLIC_DCPS;
    if (m_ProductFamily.IsEmpty()) return csPublic;
    if (!fWithVersion) return CXString::FormatString(VTEXT("%s\\%s"), csPublic, m_ProductFamily);
    return CXString::FormatString(VTEXT("%s\\%s\\%s"), csPublic, m_ProductFamily, vlm::VERSION_LEVEL);
}

/// The name comes from a map file, or from a printer's data: it must lead downwards.
CXString ProductData::ResolveDataFile(const CXString& kcsName) {
    if (!CabinetArchive::IsSafeName(kcsName)) {
        VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("The data file '%s' is no path below a folder!"), kcsName);
        return CXString();
    }
    CXString csFolder = GetPrinterModelProductDataFolder();
    if (csFolder.IsEmpty()) return csFolder;
    const CXString csPublic = GetPublicDCPFolderPath(WITH_VERSION);
    CXString csPublicFile = folders::Join(csPublic, kcsName);
    DWORD dwAttributes = 0;
    if (vlm::GetPlatform().pFiles->GetAttributes(csPublicFile, dwAttributes) == vlm::Status::Success) {
        const CXString csVersion = GetDCPContentVersionFromPath(csPublic);
        if (vlm::IsNewer(csVersion, GetDCPContentVersionFromPath(csFolder))) return csPublicFile;
    }
    return folders::Join(csFolder, kcsName);
}

CXString ProductData::GetDCPContentVersionFromPath(const CXString& kcsFolder) {
    ByteBuffer bbText;
    DriverVersion oVersion;
    const vlm::Status status =
        folders::Read(folders::Join(kcsFolder, VERSION_FILE), MAX_VERSION_FILE_BYTES, false, bbText);
    if (status == vlm::Status::Success) {
        CXString csVersion = bbText.getAsStringValueFromAnsiBuffer();
        if (DriverVersion::TryParse(csVersion.TrimLeft().TrimRight(), oVersion)) return csVersion;
    }
    return DEFAULT_DCP_VERSION;
}

CXString ProductData::GetDCPContentVersion() {
    CXString csFolder = GetPrinterModelProductDataFolder();
    if (csFolder.IsEmpty()) return csFolder;
    const CXString csOwn = GetDCPContentVersionFromPath(csFolder);
    const CXString csPublic = GetDCPContentVersionFromPath(GetPublicDCPFolderPath(WITH_VERSION));
    return vlm::IsNewer(csPublic, csOwn) ? csPublic : csOwn;
}

std::map<CXString, CXString> ProductData::GetDCPMap() {
    return vlm::TranslateOutOfMemory([&] {
        std::map<CXString, CXString> mapVersions;
        const CXString csRoot = GetProductDataRoot();
        if (csRoot.IsEmpty()) return mapVersions;
        const CXString csPublic = folders::Join(csRoot, vlm::PUBLIC_DCPS);
        std::vector<folders::Item> voItems;
        if (folders::List(csPublic, voItems) != vlm::Status::Success) return mapVersions;
        for (const folders::Item& rItem : voItems) {
            if (!rItem.IsFolder()) continue;
            const CXString csFamily = folders::Join(csPublic, rItem.csName);
            mapVersions[rItem.csName] = GetDCPContentVersionFromPath(folders::Join(csFamily, vlm::VERSION_LEVEL));
        }
        return mapVersions;
    });
}

bool ProductData::IsValidProductDataSourcePath(const CXString& kcsPath, const CXString& kcsProductName) {
    if (kcsProductName != VTEXT("Velom Global") && kcsProductName != VTEXT("Velom QPD")) return false;
    if (folders::IsPlainLocalPath(kcsPath)) return true;
    // A server's: two separators, then what would be a plain path below a drive.
    const bool fServer = kcsPath.Find(VTEXT("\\\\")) == 0;
    return fServer && kcsPath.Find(VTEXT('\\'), 2) > 2 && folders::IsPlainLocalPath(VTEXT("C:\\") + kcsPath.Mid(2));
}

CXString ProductData::GetVelomAppDataFolderPath() {
    CXString csFolder;
    // The system's own name first, then what hosts have.
    for (const XCHAR* pszName : {VTEXT("APPDATA"), VTEXT("XDG_DATA_HOME")}) {
        if (csFolder.IsEmpty()) csFolder = EnvironmentOf(pszName);
    }
    if (csFolder.IsEmpty()) csFolder = EnvironmentOf(VTEXT("HOME"));
    if (!folders::IsPlainLocalPath(csFolder)) return CXString();
    return csFolder + VTEXT("\\Velom\\") + VTEXT("PrinterDriver");
}
