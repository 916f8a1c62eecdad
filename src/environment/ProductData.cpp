/// @file
/// Life cycle of product data, and the model it is about.
#include "environment/ProductData.h"

#include "environment/detail/product/FolderTree.h"
#include "environment/detail/product/ProductDataImpl.h"
#include "utilities/compression/CabinetArchive.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

constinit CriticalResource ProductData::m_CriticalStaticResource;

ProductData::StaticCaches& ProductData::Caches() {
    static StaticCaches soCaches;
    return soCaches;
}

ProductData::ProductData(HANDLE hPrinter, const CXString& kcsModelName, _ModelType eType, const CXString& kcsOther) {
    Initialize(hPrinter, kcsModelName, eType, kcsOther);
}

ProductData::~ProductData() = default;

ProductData& ProductData::operator=(ProductData& rOther) {
    CopyFromAnother(rOther, true, true);
    return *this;
}

void ProductData::CopyFromAnother(ProductData& rOther, bool fPrinter, bool fModel) {
    if (&rOther == this) return;
    MappingData oRecord = rOther.m_oMappingData;
    if (fPrinter) {
        m_oPrinter.SetPrinterHandle(rOther.m_oPrinter.GetPrinterHandle());
        m_csProductUniqueId = rOther.m_csProductUniqueId;
        m_bTransient = rOther.m_bTransient;
        m_bPrinterLocal = rOther.m_bPrinterLocal;
        m_eModelType = rOther.m_eModelType;
        m_bInitialized = rOther.m_bInitialized;
    }
    if (fModel) {
        m_oMappingData = std::move(oRecord);
        m_ProductFamily = rOther.m_ProductFamily;
        m_bModelNameValidated = rOther.m_bModelNameValidated;
        m_dwSupportedPDLs = rOther.m_dwSupportedPDLs;
        m_apoPdlCommands.reset();
    }
}

bool ProductData::Initialize(HANDLE hPrinter, const CXString& kcsModel, _ModelType eType, const CXString& kcsOther) {
    m_ProductFamily.Empty();
    m_oMappingData.Clear();
    m_csProductUniqueId.Empty();
    m_apoPdlCommands.reset();
    m_bInitialized = m_bModelNameValidated = false;
    m_dwSupportedPDLs = 0;
    m_oPrinter.SetPrinterHandle(hPrinter);
    m_eModelType = eType;
    m_bTransient = !Printer::IsValidHandle(hPrinter);
    m_bPrinterLocal = true;
    if (m_bTransient) {
        if (!kcsOther.IsEmpty()) SetTransientPath(kcsOther);
    } else {
        m_bPrinterLocal = !m_oPrinter.IsRemotePrinterConnection();
        m_csProductUniqueId = m_oPrinter.GetPrinterProductUniqueIdFromIniFile();
    }
    const bool fByName = eType == MT_MODEL_NAME || m_bTransient;
    CXString csModel = fByName ? kcsModel : m_oPrinter.GetPrinterModelIdFromIniFile();
    const bool fFound = ValidateModelInfo(csModel, !fByName);
    m_bInitialized = true;
    VLM_REPORT(DebugCategory::UtilDll, VTEXT("The model '%s' is %s; its family is '%s'."), csModel,
               fFound ? VTEXT("known") : VTEXT("not known"), m_ProductFamily);
    return fFound;
}

CXString ProductData::GetCacheKey() {
    return m_bTransient ? CXString(VTEXT("Transient")) : m_oPrinter.GetPrinterName();
}

bool ProductData::ValidateModelInfo(CXString& rcsModel, bool fRefresh) {
    MappingData oRecord;
    bool fFound = FindMappingByModel(rcsModel, oRecord);
    if (!fFound && fRefresh && !m_bTransient && UpdateCachedMapData(REFRESH)) {
        fFound = FindMappingByModel(rcsModel, oRecord);
    }
    if (!fFound) return false;
    const CXString csFamily = oRecord.GetData(VTEXT("FAMPATH"));
    const bool fUsable = CabinetArchive::IsSafeName(csFamily);
    if (!fUsable && !csFamily.IsEmpty()) {
        VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("The family '%s' of the model '%s' is no path below a folder!"),
                         csFamily, rcsModel);
    }
    const DWORD dwSupportedPDLs = GetPDLsFromMappingData(oRecord);
    rcsModel = oRecord.GetModel();
    m_oMappingData = std::move(oRecord);
    m_ProductFamily = fUsable ? csFamily : CXString();
    m_apoPdlCommands.reset();
    m_bModelNameValidated = true;
    m_dwSupportedPDLs = dwSupportedPDLs;
    return true;
}

bool ProductData::ValidateUsbProductId(CXString& rcsUsbProductId) {
    const CXString csId = GetInfo(VTEXT("USB_PRODUCT_ID"));
    if (csId.IsBlank() || csId.CompareNoCase(rcsUsbProductId) != 0) return false;
    rcsUsbProductId = csId;
    return true;
}

// ---- models of the whole set ----

bool ProductData::FindMappingByModel(const CXString& kcsModel, MappingData& rRecord) {
    return vlm::TranslateOutOfMemory([&] {
        return FindMapping([&](const std::vector<MappingData>& rvo,
                               vlm::MappingDataIndex& rIndex) { return rIndex.FindModel(rvo, kcsModel.View()); },
                           rRecord);
    });
}

bool ProductData::FindMappingBySysObjectId(const CXString& kcsOid, MappingData& rRecord) {
    return vlm::TranslateOutOfMemory([&] {
        return FindMapping([&](const std::vector<MappingData>& rvo,
                               vlm::MappingDataIndex& rIndex) { return rIndex.FindSysObjectId(rvo, kcsOid.View()); },
                           rRecord);
    });
}

CXString ProductData::GetModelFromSysObjectId(const CXString& kcsOid) {
    MappingData oRecord;
    return FindMappingBySysObjectId(kcsOid, oRecord) ? oRecord.GetModel() : CXString();
}

bool ProductData::GetSysObjectIdsFromModel(const CXString& kcsModel, std::vector<CXString>& rvcsOids) {
    MappingData oRecord;
    if (!FindMappingByModel(kcsModel, oRecord)) return false;
    vlm::TranslateOutOfMemory([&] { rvcsOids = oRecord.GetSysObjectIds(); });
    return true;
}

DataModelIds::tagValueEnum ProductData::GetPrinterControllerFromModel(const CXString& kcsModel) {
    MappingData oRecord;
    return FindMappingByModel(kcsModel, oRecord) ? GetControllerFromMappingData(oRecord)
                                                 : DataModelIds::VAL_UNSPECIFIED;
}

DataModelIds::tagValueEnum ProductData::GetPrinterControllerFromSysObjectId(const CXString& kcsOid) {
    MappingData oRecord;
    return FindMappingBySysObjectId(kcsOid, oRecord) ? GetControllerFromMappingData(oRecord)
                                                     : DataModelIds::VAL_UNSPECIFIED;
}

DataModelIds::tagValueEnum ProductData::GetPrinterColorModeSupportedFromModel(const CXString& kcsModel) {
    MappingData oRecord;
    return FindMappingByModel(kcsModel, oRecord) ? GetColorModeFromMappingData(oRecord) : DataModelIds::VAL_UNSPECIFIED;
}

DataModelIds::tagValueEnum ProductData::GetPrinterColorModeSupportedFromSysObjectId(const CXString& kcsOid) {
    MappingData oRecord;
    return FindMappingBySysObjectId(kcsOid, oRecord) ? GetColorModeFromMappingData(oRecord)
                                                     : DataModelIds::VAL_UNSPECIFIED;
}

DWORD ProductData::GetPrinterPDLsSupportedFromModel(const CXString& kcsModel) {
    MappingData oRecord;
    return FindMappingByModel(kcsModel, oRecord) ? GetPDLsFromMappingData(oRecord) : 0;
}

DWORD ProductData::GetPrinterPDLsSupportedFromSysObjectId(const CXString& kcsOid) {
    MappingData oRecord;
    return FindMappingBySysObjectId(kcsOid, oRecord) ? GetPDLsFromMappingData(oRecord) : 0;
}

bool ProductData::GetSupportedModelsFromController(DataModelIds::tagValueEnum eController,
                                                   std::set<CXString>& rsetModels) {
    return vlm::TranslateOutOfMemory([&] {
        std::set<CXString> setModels;
        for (const MappingData& rRecord : GetMappings()) {
            if (GetControllerFromMappingData(rRecord) == eController) setModels.insert(rRecord.GetModel());
        }
        rsetModels.swap(setModels);
        return !rsetModels.empty();
    });
}

bool ProductData::EnumerateInstalledDriverModels(InstalledModels& rModels) {
    return vlm::TranslateOutOfMemory([&] {
        InstalledModels oModels;
        const std::vector<MappingData> voMappings = GetMappings();
        for (const MappingData& rRecord : voMappings) {
            const CXString csProduct = rRecord.GetData(VTEXT("PRODUCTNAME"));
            const CXString& rcsModel = rRecord.GetModel();
            bool fUniversal = false;
            for (const XCHAR* pszName : {VTEXT("Velom Global"), VTEXT("Velom QPD"), VTEXT("xdrv-walkup"),
                                         VTEXT("xdrv-upd-fallback-xcpt"), VTEXT("Roving Quill")}) {
                fUniversal = fUniversal || csProduct.Find(pszName) >= 0 || rcsModel.Find(pszName) >= 0;
            }
            if (fUniversal) {
                oModels.setUniversal.insert(rcsModel);
                continue;
            }
            const CXString csLanguages = rRecord.GetData(VTEXT("PRINTERLANG"));
            const std::pair<XStringView, std::set<CXString>*> aoLists[] = {
                {VTEXT("pscript"), &oModels.setPscript}, {VTEXT("pcl5"), &oModels.setPcl5},
                {VTEXT("pcl6"), &oModels.setPcl6},       {VTEXT("xraster"), &oModels.setXraster},
                {VTEXT("xps"), &oModels.setXps},         {VTEXT("pdf"), &oModels.setPdf}};
            for (const auto& [word, pset] : aoLists) {
                if (vlm::NamesLanguage(csLanguages, word)) pset->insert(rcsModel);
            }
        }
        rModels = std::move(oModels);
        return !voMappings.empty();
    });
}

bool ProductData::EnumerateInstalledDriverModels(std::set<CXString>& rsetModels) {
    InstalledModels oModels;
    const bool fAny = EnumerateInstalledDriverModels(oModels);
    return vlm::TranslateOutOfMemory([&] {
        std::set<CXString> setModels;
        for (std::set<CXString>* pset : {&oModels.setPscript, &oModels.setPcl5, &oModels.setPcl6, &oModels.setXraster,
                                         &oModels.setXps, &oModels.setPdf}) {
            setModels.merge(*pset);
        }
        rsetModels.swap(setModels);
        return fAny;
    });
}
