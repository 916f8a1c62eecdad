/// @file
/// From map files to the cache and the printer's data, and back.
#include <algorithm>

#include "environment/MapFile.h"
#include "environment/detail/product/FolderTree.h"
#include "environment/detail/product/ProductDataImpl.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/Hash32.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace {

namespace folders = vlm::folders;

/// The form of "XProductData"; another first field is another form.
constexpr XStringView FORM = VTEXT("1;");

CXString NameOfMapping(std::size_t uIndex) {
    return CXString::FormatString(VTEXT("%s%lu"), vlm::PREFIX_OF_MAPPINGS, static_cast<DWORD>(uIndex));
}

CXString LineOf(const MappingData& rRecord) {
    return rRecord.GetLeftSide() + VTEXT(":") + rRecord.GetMapData();
}

/// Goes on from the hash of the lines before.
DWORD AddLine(DWORD dwHash, const CXString& kcsLine) noexcept {
    return dwHash * 31 + Hash32::GetHash32(kcsLine);
}

CXString SummaryOf(std::size_t cRecords, DWORD dwHash) {
    return CXString::FormatString(VTEXT("1;%lu;%08lX"), static_cast<DWORD>(cRecords), dwHash);
}

/// The count of a summary; 0 for none that could be true.
std::size_t CountOf(const CXString& kcsSummary) noexcept {
    XStringView rest = kcsSummary.View();
    if (!rest.starts_with(FORM)) return 0;
    rest.remove_prefix(FORM.size());
    std::size_t cRecords = 0;
    for (const XCHAR ch : rest.substr(0, rest.find(VTEXT(';')))) {
        if (ch < '0' || ch > '9') return 0;
        cRecords = cRecords * 10 + static_cast<std::size_t>(ch - '0');
        if (cRecords > vlm::bounds::MAX_MAP_RECORDS) return 0;
    }
    return cRecords;
}

/// Reads the records of a printer.  @return false, with none, unless they are exactly what the summary says.
bool ReadMappings(Printer& rPrinter, std::vector<MappingData>& rvoMappings) {
    CXString csSummary;
    if (!rPrinter.GetPrinterDataString(vlm::VALUE_OF_MAPPINGS, csSummary)) return false;
    const std::size_t cRecords = CountOf(csSummary);
    std::vector<MappingData> voMappings;
    DWORD dwHash = 0;
    std::size_t cUnits = 0;
    for (std::size_t u = 0; u < cRecords; ++u) {
        CXString csLine;
        if (!rPrinter.GetPrinterDataString(NameOfMapping(u), csLine)) return false;
        dwHash = AddLine(dwHash, csLine);
        cUnits += static_cast<std::size_t>(csLine.GetLength());
        if (cUnits > vlm::bounds::MAX_MAP_DATA_UNITS) return false;
        const int iColon = csLine.Find(VTEXT(':'));
        if (iColon < 0) return false;
        voMappings.emplace_back(csLine.View().substr(0, static_cast<std::size_t>(iColon)),
                                csLine.View().substr(static_cast<std::size_t>(iColon) + 1));
    }
    if (cRecords == 0 || csSummary != SummaryOf(cRecords, dwHash)) {
        VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("The product data of the printer is not complete: '%s'."),
                         csSummary);
        return false;
    }
    rvoMappings = std::move(voMappings);
    return true;
}

/// Deletes the values of records that are no more.
void DeleteStaleMappings(HANDLE hPrinter, std::size_t cRecords) {
    std::vector<CXString> vcsNames;
    if (Printer::EnumPrinterDataNames(hPrinter, Printer::PRINTER_DRIVER_DATA, vcsNames) != 0) return;
    std::set<CXString> setCurrent;
    for (std::size_t u = 0; u < cRecords; ++u)
        setCurrent.insert(NameOfMapping(u));
    for (const CXString& rcsName : vcsNames) {
        if (rcsName.Find(vlm::PREFIX_OF_MAPPINGS) != 0 || setCurrent.contains(rcsName)) continue;
        Printer::DeletePrinterDataExMandatoryWrapper(hPrinter, Printer::PRINTER_DRIVER_DATA, rcsName);
    }
}

}  // namespace

void ProductData::ClearCachedMapData() noexcept {
    const CriticalResourceLock oLock(m_CriticalStaticResource);
    Caches().m_productMappings.clear();
    Caches().m_oProductMappings.clear();
    Caches().m_sTransientPath.Empty();
}

void ProductData::StoreInCache(std::vector<MappingData> voMappings) {
    const CXString csKey = GetCacheKey();
    std::vector<MappingData> voFormer;  // released without the lock
    const CriticalResourceLock oLock(m_CriticalStaticResource);
    voFormer = std::exchange(Caches().m_productMappings[csKey], std::move(voMappings));
    Caches().m_oProductMappings[csKey].Clear();
}

std::vector<MappingData> ProductData::GetMappings() {
    return vlm::TranslateOutOfMemory([&] {
        if (!m_bTransient) UpdateCachedMapData(AS_NEEDED);
        const CXString csKey = GetCacheKey();
        const CriticalResourceLock oLock(m_CriticalStaticResource);
        const auto it = Caches().m_productMappings.find(csKey);
        return it == Caches().m_productMappings.end() ? std::vector<MappingData>() : it->second;
    });
}

bool ProductData::UpdateCachedMapData(bool fForce) {
    return vlm::TranslateOutOfMemory([&] {
        const CXString csKey = GetCacheKey();
        {
            const CriticalResourceLock oLock(m_CriticalStaticResource);
            const auto it = Caches().m_productMappings.find(csKey);
            const bool fThere = it != Caches().m_productMappings.end() && !it->second.empty();
            if (m_bTransient || (fThere && !fForce)) return fThere;
        }
        // The printer is asked without the lock; whoever comes second brings the same.
        std::vector<MappingData> voMappings;
        if (!ReadMappings(m_oPrinter, voMappings)) return false;
        StoreInCache(std::move(voMappings));
        return true;
    });
}

bool ProductData::ParseMapFile(const CXString& kcsFile, std::vector<MappingData>& rvoMappings) {
    ByteBuffer bbContents;
    const vlm::Status status =
        folders::Read(kcsFile, static_cast<DWORD>(vlm::bounds::MAX_MAP_FILE_BYTES), false, bbContents);
    if (status != vlm::Status::Success) {
        VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("The map file '%s' cannot be read! %s"), kcsFile,
                         vlm::TextOfStatus(status));
        return false;
    }
    try {
        const std::vector<MappingData> productNames = MapFile::Parse(bbContents);
        VLM_ASSERT(productNames.size());  // NOLINT(readability-container-size-empty): the text is fixed
        const std::size_t cRoom =
            vlm::bounds::MAX_MAP_RECORDS - std::min(vlm::bounds::MAX_MAP_RECORDS, rvoMappings.size());
        if (productNames.size() > cRoom) {
            VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("The map file '%s' has too many models!"), kcsFile);
            return true;
        }
        rvoMappings.insert(rvoMappings.end(), productNames.begin(), productNames.end());
        return true;
    } catch (const ExceptionInvalidArgument&) {
        return true;  // reported where it was raised
    }
}

bool ProductData::GatherMappings(const CXString& kcsFolder, std::vector<MappingData>& rvoMappings) {
    const CXString csPublicFamilies = CXString(vlm::PUBLIC_DCPS) + VTEXT("\\");
    bool fWhole = true;
    const vlm::Status status = folders::Walk(kcsFolder, [&](const CXString& kcsBelow, const auto& rvoItems) {
        if (kcsBelow.FindNoCase(csPublicFamilies) == 0) return vlm::Status::Success;
        const CXString csFolder = folders::Join(kcsFolder, kcsBelow);
        VLM_REPORT(DebugCategory::UtilDll, VTEXT("Looking for map files: %s"),
                   CXString::FormatString(VTEXT("%s\\*.*"), csFolder));
        for (const folders::Item& rItem : rvoItems) {
            const bool fMap = rItem.IsFile() && folders::HasExtension(rItem.csName, MapFile::EXTENSION);
            fWhole = (!fMap || ParseMapFile(folders::Join(csFolder, rItem.csName), rvoMappings)) && fWhole;
        }
        return vlm::Status::Success;
    });
    if (status == vlm::Status::Success || status == vlm::Status::PathNotFound) return fWhole;
    VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("The folder '%s' cannot be searched for map files! %s"), kcsFolder,
                     vlm::TextOfStatus(status));
    return false;
}

bool ProductData::UpdateRegistryMappings(CXString csFolder, bool fOutermost) {
    return vlm::TranslateOutOfMemory([&] {
        if (csFolder.IsEmpty()) csFolder = GetProductDataFolderWithoutVersion(FAMILY_OPTIONAL);
        if (csFolder.IsEmpty()) return false;
        std::vector<MappingData> voOwn;
        bool fWhole = GatherMappings(csFolder, voOwn);
        if (!fOutermost) return fWhole && !voOwn.empty();
        // The first record of a name is the one that counts.
        std::vector<MappingData> voMappings, voOlder;
        const auto AddPublic = [&](const CXString& kcsPublic, const CXString& kcsFamily) {
            const CXString csVersion = GetDCPContentVersionFromPath(folders::Join(kcsPublic, vlm::VERSION_LEVEL));
            const CXString csOwn = GetDCPContentVersionFromPath(folders::Join(kcsFamily, vlm::VERSION_LEVEL));
            fWhole = GatherMappings(kcsPublic, vlm::IsNewer(csVersion, csOwn) ? voMappings : voOlder) && fWhole;
        };
        std::vector<folders::Item> voFamilies;
        const CXString csPublic = folders::Join(csFolder, vlm::PUBLIC_DCPS);
        const vlm::Status status = folders::List(csPublic, voFamilies);
        if (status == vlm::Status::Success) {
            for (const folders::Item& rItem : voFamilies) {
                if (!rItem.IsFolder()) continue;
                AddPublic(folders::Join(csPublic, rItem.csName), folders::Join(csFolder, rItem.csName));
            }
        } else if (status != vlm::Status::PathNotFound) {
            fWhole = false;
        } else if (!m_ProductFamily.IsEmpty()) {
            AddPublic(GetPublicDCPFolderPath(WITHOUT_VERSION), csFolder);
        }
        if (!fWhole) return false;
        voMappings.insert(voMappings.end(), voOwn.begin(), voOwn.end());
        voMappings.insert(voMappings.end(), voOlder.begin(), voOlder.end());
        const bool fWritten = WriteMappings(voMappings);
        if (voMappings.empty()) return false;
        StoreInCache(std::move(voMappings));
        return fWritten;
    });
}

bool ProductData::WriteMappings(const std::vector<MappingData>& rproductMappings) {
    // NOLINTNEXTLINE(readability-container-size-empty): the text is fixed
    VLM_ASSERT(rproductMappings.size() != 0,
               VTEXT("Must never write out an empty set of product data mappings!  Most likely, this indicates some "
                     "other severe failure, and we should investigate immediately.  One known cause is a product CAB "
                     "without a map file."));
    if (rproductMappings.empty()) return false;
    if (m_bTransient || !m_bPrinterLocal) return true;  // the data of a connection is the print server's
    const HANDLE hPrinter = GetAssociatedPrinterHandle();
    DWORD dwHash = 0;
    for (const MappingData& rRecord : rproductMappings)
        dwHash = AddLine(dwHash, LineOf(rRecord));
    const CXString csSummary = SummaryOf(rproductMappings.size(), dwHash);
    std::vector<MappingData> voPresent;
    CXString csPresent;
    if (m_oPrinter.GetPrinterDataString(vlm::VALUE_OF_MAPPINGS, csPresent) && csPresent == csSummary &&
        ReadMappings(m_oPrinter, voPresent)) {
        return true;
    }
    // Without the summary nobody takes what is half written for whole.
    Printer::DeletePrinterDataExMandatoryWrapper(hPrinter, Printer::PRINTER_DRIVER_DATA, vlm::VALUE_OF_MAPPINGS);
    bool fWritten = true;
    for (std::size_t u = 0; u < rproductMappings.size() && fWritten; ++u) {
        fWritten = m_oPrinter.SetPrinterDataString(NameOfMapping(u), LineOf(rproductMappings[u]));
    }
    if (!fWritten) return false;
    DeleteStaleMappings(hPrinter, rproductMappings.size());
    return m_oPrinter.SetPrinterDataString(vlm::VALUE_OF_MAPPINGS, csSummary);
}

bool ProductData::UpdateRegistryWithProductDataValues() {
    if (!RequireValidated() || m_bTransient || !m_bPrinterLocal) return false;
    const std::pair<const XCHAR*, CXString> aoValues[] = {
        {VTEXT("xColor"), m_oMappingData.GetData(VTEXT("COLORCAPABLE"))},
        {VTEXT("XPCL6LangLevelLow"), m_oMappingData.GetData(VTEXT("PCL6LANGLEVELLOW"))},
        {VTEXT("XPCL6LangLevelHigh"), m_oMappingData.GetData(VTEXT("PCL6LANGLEVELHIGH"))},
        {VTEXT("xUPDCurrentModel"), m_oMappingData.GetModel()},
        {VTEXT("xCurrentProdUID"), m_csProductUniqueId}};
    bool fWritten = true;
    for (const auto& [pszName, csValue] : aoValues)
        fWritten = m_oPrinter.SetPrinterDataString(pszName, csValue) && fWritten;
    return fWritten;
}
