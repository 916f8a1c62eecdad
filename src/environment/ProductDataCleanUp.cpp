/// @file
/// Deletes what no installed queue or driver uses.
///
/// A family's folder below "Product Data" is named by five letters or digits in any case; folders of other names are
/// left alone.  It is used by a driver whose data file begins with "x" and that name ("xkx100.gpd": "kx100"), and by a
/// queue whose records name it; while those of a queue of this machine cannot be read, no folder goes.  What belongs to
/// a printer is named in PrinterKeys.h.  Queues are those of this machine, the calling user's connections, and the
/// connections that the hives of other users name.
#include <algorithm>
#include <utility>

#include "environment/PortMonitor.h"
#include "environment/PrintDriver.h"
#include "environment/User.h"
#include "environment/detail/product/FolderTree.h"
#include "environment/detail/product/PrinterKeys.h"
#include "environment/detail/product/ProductDataImpl.h"
#include "platform/SpoolerBlocks.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace {

namespace folders = vlm::folders;
namespace keys = vlm::printerkeys;

constexpr int FAMILY_UNITS = 5;
constexpr const XCHAR *PTPC_FOLDER = VTEXT("Velom_PrintDriver_V5.0_PtPcCache"), *ALD_FOLDER = VTEXT("ALDrvTemp"),
                      *LOW_FOLDER = VTEXT("Low");
constexpr XStringView CACHE_EXTENSION = VTEXT(".cache"), ALD_EXTENSION = VTEXT(".ald");

bool IsFamilyName(const CXString& kcsName) noexcept {
    return kcsName.GetLength() == FAMILY_UNITS && std::all_of(kcsName.begin(), kcsName.end(), [](XCHAR ch) {
               return (ch >= '0' && ch <= '9') || (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z');
           });
}

/// Runs one part of a clean-up; what it throws is reported, and the rest goes on.
template <class Body>
void Guarded(const XCHAR* pszOperation, Body&& body) {
    try {
        vlm::TranslateOutOfMemory(std::forward<Body>(body));
    } catch (const VelomException& rException) {
        VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("+++VelomException thrown during call to ProductData::%s():%s"),
                         pszOperation, rException.GetExceptionMesage());
    }
}

/// The connections of a user.  One who keeps his hive to himself shows none, and nor does one who has none.
/// @return false when they are there and cannot be listed.
bool ConnectionsOf(const CXString& kcsSid, std::vector<CXString>& rvcsNames) {
    RegistryKey oKey(HKeyRegistry::Hkey_Users, kcsSid + VTEXT("\\Printers\\Connections"), RegistryKey::DIRECT,
                     RegistryKey::OWN_TREE);
    rvcsNames.clear();
    if (oKey.OpenRegistryKey(RegistryKey::READ_ACCESS, RegistryKey::NO_THROW)) return oKey.EnumKeyNames(rvcsNames);
    const auto status = static_cast<vlm::Status>(oKey.GetLastStatus());
    return status == vlm::Status::FileNotFound || status == vlm::Status::AccessDenied;
}

/// The printers that are installed, as names of keys; or no answer, since queues or drivers cannot be listed.
bool InstalledNames(std::set<CXString>& rsetNames) {
    std::set<CXString> setFamilies;
    return ProductData::EnumerateProductDataFoldersUsedByInstalledDrivers(setFamilies) &&
           ProductData::EnumeratePerPrinterRegKeysForInstalledPrinters(rsetNames);
}

keys::IsOrphan NotAmong(const std::set<CXString>& rsetNames) {
    return [&rsetNames](const CXString& kcsQueue) { return !rsetNames.contains(kcsQueue); };
}

keys::IsOrphan Named(const CXString& kcsQueue) {
    const CXString csQueue = keys::QueueOf(Printer::GetPrinterNameInStandardFormForUseAsRegKey(kcsQueue));
    return [csQueue](const CXString& kcsOther) { return kcsOther == csQueue; };
}

/// Runs a deletion of registry entries, if it can be known what is installed.
template <class Body>
void ForOrphans(const XCHAR* pszOperation, Body&& body) {
    Guarded(pszOperation, [&] {
        std::set<CXString> setNames;
        if (InstalledNames(setNames)) return body(NotAmong(setNames));
        VLM_REPORT_ERROR(DebugCategory::UtilDll,
                         VTEXT("Cannot delete orphaned reg entries because enumeration of print drivers failed!"));
    });
}

/// The folder of the user's caches in the shared low-integrity place.
CXString LowFolder() {
    const CXString csFolder = ProductData::GetVelomAppDataFolderPath();
    return csFolder.IsEmpty() ? csFolder : folders::Join(csFolder, LOW_FOLDER);
}

void DeleteCacheFiles(const CXString& kcsFolder, XStringView extension, const keys::IsOrphan& rIsOrphan) {
    if (!kcsFolder.IsEmpty()) keys::DeleteFiles(kcsFolder, extension, rIsOrphan);
}

/// The folder that a user's "TPath" names.  He could have written anything there: it counts only for himself, while the
/// thread acts for him, and only as a plain path of this machine to the folder of that very name.
CXString PtPcFolderOf(const keys::Place& rPlace) {
    const auto apoKey =
        RegistryKey::TryOpenRegistryKey(rPlace.eHive, rPlace.csPath, RegistryKey::READ_ACCESS, RegistryKey::DIRECT);
    CXString csPath = apoKey ? apoKey->GetStringValue(VTEXT("TPath"), CXString()) : CXString();
    if (csPath.IsEmpty()) return csPath;
    if (folders::LeafOf(csPath).CompareNoCase(PTPC_FOLDER) != 0) csPath = folders::Join(csPath, PTPC_FOLDER);
    const bool fOwn = rPlace.csSid == User::GetCurrentUserSID();
    if (fOwn && folders::IsPlainLocalPath(csPath)) return csPath;
    VLM_REPORT(DebugCategory::UtilDll, VTEXT("The folder '%s' of the user %s is left alone."), csPath, rPlace.csSid);
    return CXString();
}

void DeletePtPcFiles(const keys::IsOrphan& rIsOrphan) {
    for (const keys::Place& rPlace : keys::Places(keys::Whose::Everybody)) {
        if (!rPlace.csSid.IsEmpty()) DeleteCacheFiles(PtPcFolderOf(rPlace), CACHE_EXTENSION, rIsOrphan);
    }
}

}  // namespace

// ---- what is installed ----

bool ProductData::EnumerateProductDataFoldersUsedByInstalledDrivers(std::set<CXString>& rsetFolders) {
    return vlm::TranslateOutOfMemory([&] {
        ByteBuffer bbDrivers;
        DWORD dwDrivers = 0;
        if (!PrintDriver::EnumeratePrinterDrivers(3, bbDrivers, &dwDrivers, nullptr)) return false;
        std::set<CXString> setFolders;
        const auto* const pDrivers = reinterpret_cast<const vlm::DriverInfo3*>(bbDrivers.data());
        for (DWORD dw = 0; dw < dwDrivers; ++dw) {
            const CXString csDataFile = folders::LeafOf(CXString(pDrivers[dw].pDataFile)).MakeLower();
            if (csDataFile.GetAt(0) != 'x') {
                VLM_REPORT(DebugCategory::UtilDll,
                           VTEXT("DataFile name, %s, should always begin with 'x' for a Kestrix driver."), csDataFile);
                continue;
            }
            const int iDotOffset = csDataFile.Find(VTEXT('.'));
            VLM_ASSERT(iDotOffset > 5,
                       VTEXT("Expected at least 6 chars before the dot in %s.  Is this from a Velom driver?  If not, "
                             "you can ignore this message."),
                       csDataFile);
            if (iDotOffset > 5) setFolders.insert(csDataFile.Mid(1, FAMILY_UNITS));
        }
        rsetFolders.swap(setFolders);
        return true;
    });
}

bool ProductData::EnumerateInstalledQueueNames(std::vector<CXString>& rvcsQueues) {
    return Printer::EnumeratePrinterNames(rvcsQueues);
}

bool ProductData::EnumeratePerPrinterRegKeysForInstalledPrinters(std::set<CXString>& rsetKeys) {
    return vlm::TranslateOutOfMemory([&] {
        std::vector<CXString> vcsQueues;
        if (!EnumerateInstalledQueueNames(vcsQueues)) return false;
        std::set<CXString> setKeys;
        for (const CXString& rcsQueue : vcsQueues)
            setKeys.insert(keys::QueueOf(Printer::GetPrinterNameInStandardFormForUseAsRegKey(rcsQueue)));
        // Other users' connections are no queues of this machine or of the caller; their keys are named in standard
        // form.
        std::vector<CXString> vcsSids, vcsNames;
        if (!keys::UserSids(vcsSids)) return false;
        for (const CXString& rcsSid : vcsSids) {
            if (!ConnectionsOf(rcsSid, vcsNames)) return false;
            for (const CXString& rcsName : vcsNames)
                setKeys.insert(keys::QueueOf(rcsName));
        }
        rsetKeys.swap(setKeys);
        return true;
    });
}

// ---- orphans ----

bool ProductData::AddFamiliesOfQueue(const CXString& kcsQueue, std::set<CXString>& rsetFamilies) {
    // A server that does not answer is no obstacle: its driver is installed here.
    const bool fOfServer = kcsQueue.Find(VTEXT("\\\\")) == 0;
    Printer oPrinter(kcsQueue, Printer::NO_THROW);
    if (!oPrinter.IsValidHandle()) return fOfServer;
    ProductData oProduct;
    oProduct.m_oPrinter.SetPrinterHandle(oPrinter.GetPrinterHandle());
    oProduct.m_bTransient = false;
    const std::vector<MappingData> voMappings = oProduct.GetMappings();
    // A family may lie deeper; the folder that is kept is its uppermost.
    for (const MappingData& rRecord : voMappings)
        rsetFamilies.insert(rRecord.GetData(VTEXT("FAMPATH")).MakeLower().SpanExcluding(VTEXT("\\/")));
    if (!voMappings.empty() || fOfServer) return true;
    // No records is an answer only where none were ever stored.
    ByteBuffer bbSummary;
    return Printer::CallGetPrinterDataExWithRetries(oPrinter.GetPrinterHandle(), Printer::PRINTER_DRIVER_DATA,
                                                    vlm::VALUE_OF_MAPPINGS, nullptr,
                                                    bbSummary) == vlm::ToDword(vlm::Status::FileNotFound);
}

void ProductData::DeleteOrphanedProductDataFolders() {
    Guarded(VTEXT("DeleteOrphanedProductDataFolders"), [] {
        std::set<CXString> setUsed;
        std::vector<CXString> vcsQueues;
        const CXString csDrivers = PrintDriver().GetPrinterDriverDirectoryRoot(CXString());
        const bool fKnown = !csDrivers.IsEmpty() && EnumerateProductDataFoldersUsedByInstalledDrivers(setUsed) &&
                            EnumerateInstalledQueueNames(vcsQueues) &&
                            std::all_of(vcsQueues.begin(), vcsQueues.end(), [&](const CXString& rcsQueue) {
                                return AddFamiliesOfQueue(rcsQueue, setUsed);
                            });
        if (!fKnown) {
            VLM_REPORT_ERROR(
                DebugCategory::UtilDll,
                VTEXT("Cannot delete orphaned product data folders because enumeration of print drivers failed!"));
            return;
        }
        const RevertToPrinterSelfWrapper oSelf;
        const CXString csRoot = csDrivers + VTEXT("\\3\\Velom\\Product Data");
        for (const CXString& rcsParent : {csRoot, csRoot + VTEXT("\\Public\\DCPs")}) {
            std::vector<folders::Item> voItems;
            if (folders::KindOf(rcsParent) != folders::Kind::Folder) continue;
            if (folders::List(rcsParent, voItems) != vlm::Status::Success) continue;
            for (const folders::Item& rItem : voItems) {
                if (rItem.IsFile() || !IsFamilyName(rItem.csName)) continue;
                if (setUsed.contains(CXString(rItem.csName).MakeLower())) continue;
                VLM_REPORT(
                    DebugCategory::UtilDll,
                    VTEXT("ProductData::DeleteOrphanedProductDataFolders(): Deleting obsolete Product Data for: %s"),
                    rItem.csName);
                const vlm::Status status = folders::DeleteTree(folders::Join(rcsParent, rItem.csName));
                if (status == vlm::Status::Success) continue;
                VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("The folder '%s' is not deleted whole! %s"),
                                 rItem.csName, vlm::TextOfStatus(status));
            }
        }
    });
}

void ProductData::DeleteOrphanedAdaptiveLearningDataFiles() {
    ForOrphans(VTEXT("DeleteOrphanedAdaptiveLearningDataFiles"), [](const keys::IsOrphan& rIsOrphan) {
        const CXString csFolder = GetVelomAppDataFolderPath();
        if (!csFolder.IsEmpty()) DeleteCacheFiles(folders::Join(csFolder, ALD_FOLDER), ALD_EXTENSION, rIsOrphan);
    });
}

void ProductData::DeleteOrphanedPerPrinterRegKeysExceptSharedLowIntegrityKey() {
    ForOrphans(VTEXT("DeleteOrphanedPerPrinterRegKeysExceptSharedLowIntegrityKey"),
               [](const keys::IsOrphan& rIsOrphan) {
                   for (const keys::Place& rPlace : keys::Places(keys::Whose::Everybody))
                       keys::DeleteKeys(rPlace, rIsOrphan);
               });
}

void ProductData::DeleteOrphanedPerPrinterPtPcCacheFilesFromTempFolder() {
    Guarded(VTEXT("DeleteOrphanedPerPrinterPtPcCacheFilesFromTempFolder"), [] {
        std::set<CXString> setNames;
        if (InstalledNames(setNames)) return DeletePtPcFiles(NotAmong(setNames));
        VLM_REPORT_ERROR(DebugCategory::UtilDll,
                         VTEXT("Cannot delete orphaned temp folders because enumeration of print drivers failed!"));
    });
}

void ProductData::DeleteOldPrivateConfigurationData() {
    Guarded(VTEXT("DeleteOldPrivateConfigurationData"), [] {
        for (const keys::Place& rPlace : keys::Places(keys::Whose::Everybody))
            keys::DeleteOldPrivateConfiguration(rPlace);
    });
}

void ProductData::DeleteOrphanedPerPrinterRegKeysInSharedLowIntegrityKey() {
    ForOrphans(VTEXT("DeleteOrphanedPerPrinterRegKeysInSharedLowIntegrityKey"), [](const keys::IsOrphan& rIsOrphan) {
        for (const keys::Place& rPlace : keys::Places(keys::Whose::Everybody))
            keys::DeleteLowKeys(rPlace, rIsOrphan);
    });
}

void ProductData::DeleteOrphanedPerPrinterCacheFilesInSharedLowIntegrityKey() {
    ForOrphans(VTEXT("DeleteOrphanedPerPrinterCacheFilesInSharedLowIntegrityKey"),
               [](const keys::IsOrphan& rIsOrphan) { DeleteCacheFiles(LowFolder(), CACHE_EXTENSION, rIsOrphan); });
}

void ProductData::DeleteOrphanedPerPrinterCacheFilesInSharedLowIntegrityKeyInUpgrade() {
    Guarded(VTEXT("DeleteOrphanedPerPrinterCacheFilesInSharedLowIntegrityKeyInUpgrade"),
            [] { DeleteCacheFiles(LowFolder(), CACHE_EXTENSION, [](const CXString&) { return true; }); });
}

// ---- one printer ----

void ProductData::DeletePrinterPrivateConfigurationRegKeys(const CXString& kcsQueue) {
    Guarded(VTEXT("DeletePrinterPrivateConfigurationRegKeys"), [&] {
        for (const keys::Place& rPlace : keys::Places(keys::Whose::Everybody))
            keys::DeleteKeys(rPlace, Named(kcsQueue));
    });
}

void ProductData::GarbageCollectSharedLowIntegrityKeyRegKeysAndFilesForOnePrinter(const CXString& kcsQueue) {
    Guarded(VTEXT("GarbageCollectSharedLowIntegrityKeyRegKeysAndFilesForOnePrinter"), [&] {
        for (const keys::Place& rPlace : keys::Places(keys::Whose::Everybody))
            keys::DeleteLowKeys(rPlace, Named(kcsQueue));
        DeleteCacheFiles(LowFolder(), CACHE_EXTENSION, Named(kcsQueue));
    });
}

void ProductData::GarbageCollectSharedLowIntegrityKeyRegKeysAndFilesForOnePrinterUpgrade(const CXString& kcsQueue) {
    Guarded(VTEXT("GarbageCollectSharedLowIntegrityKeyRegKeysAndFilesForOnePrinterUpgrade"),
            [&] { DeleteCacheFiles(LowFolder(), CACHE_EXTENSION, Named(kcsQueue)); });
}

void ProductData::GarbageCollectSharedLowRightsStorageRegForOnePrinter(const CXString& kcsQueue) {
    Guarded(VTEXT("GarbageCollectSharedLowRightsStorageRegForOnePrinter"),
            [&] { keys::DeleteLowRightsStorage(Named(kcsQueue)); });
}

// ---- everything ----

void ProductData::GarbageCollectOrphanedPerPrinterRegKeysAndTempFiles() {
    DeleteOrphanedPerPrinterRegKeysExceptSharedLowIntegrityKey();
    DeleteOrphanedPerPrinterRegKeysInSharedLowIntegrityKey();
    DeleteOrphanedPerPrinterCacheFilesInSharedLowIntegrityKey();
    DeleteOrphanedPerPrinterPtPcCacheFilesFromTempFolder();
    DeleteOrphanedAdaptiveLearningDataFiles();
    DeleteOldPrivateConfigurationData();
}

void ProductData::GarbageCollectOrphanedPerPrinterRegKeysAndFilesForCitrix() {
    ForOrphans(VTEXT("GarbageCollectOrphanedPerPrinterRegKeysAndFilesForCitrix"), [](const keys::IsOrphan& rIsOrphan) {
        for (const keys::Place& rPlace : keys::Places(keys::Whose::CurrentUser)) {
            keys::DeleteKeys(rPlace, rIsOrphan);
            keys::DeleteLowKeys(rPlace, rIsOrphan);
            DeleteCacheFiles(PtPcFolderOf(rPlace), CACHE_EXTENSION, rIsOrphan);
        }
        DeleteCacheFiles(LowFolder(), CACHE_EXTENSION, rIsOrphan);
    });
}

void ProductData::GarbageCollectSharedLowRightsStorageRegAndDeletePortMonitor() {
    try {
        vlm::TranslateOutOfMemory([] {
            std::set<CXString> setFamilies;
            if (!EnumerateProductDataFoldersUsedByInstalledDrivers(setFamilies)) return;
            if (!setFamilies.empty()) return CleanUPLowRightsData();
            VelomPortMonitor oMonitor;
            oMonitor.RemoveLRSData();
            oMonitor.DeleteOurMonitor(true);
        });
    } catch (const VelomException& rException) {
        VLM_REPORT_ERROR(DebugCategory::UtilDll,
                         VTEXT("+++VelomException thrown during call to "
                               "ProductData::GarbageCollectSharedLowRightsStorageRegAndDeletePortMonitor():%s"),
                         rException.GetExceptionMesage());
    }
}

void ProductData::CleanUPLowRightsData() {
    ForOrphans(VTEXT("CleanUPLowRightsData"),
               [](const keys::IsOrphan& rIsOrphan) { keys::DeleteLowRightsStorage(rIsOrphan); });
}
