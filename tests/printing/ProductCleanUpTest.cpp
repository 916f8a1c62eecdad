/// @file
/// Clean-up deletes what no queue or driver uses, in the family's own places, and nothing else.
#include <functional>

#include "environment/User.h"
#include "printing/ProductBench.h"
#include "support/FaultLoop.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/registry/RegistryKey.h"

namespace vlm::test {

namespace {

constexpr const char *USER = "S-1-5-21-1-2-3-1001", *OTHER = "S-1-5-21-1-2-3-4242";
constexpr const char* VERSION = "Software\\Velom\\PrinterDriver\\V5.0";
constexpr const char* STORAGE = "Software\\Velom\\PrinterDriver\\V5.0\\LowRightsStorage";
constexpr const char* USERS_FOLDER = "C:\\Users\\u\\Roaming\\Velom\\PrinterDriver";
using Names = std::initializer_list<const char*>;

CXString UsersPlace(const char* pszSid) {
    return Path(Path("HKU", pszSid), VERSION);
}

/// A key below HKLM, or below HKU with "HKU\" before it.
std::unique_ptr<RegistryKey> Key(const CXString& kcsPath, bool fMake) {
    const bool fUsers = kcsPath.Find(VTEXT("HKU\\")) == 0;
    const _HKEYREGISTRY_ eHive = fUsers ? HKeyRegistry::Hkey_Users : HKeyRegistry::Hkey_Local_Machine;
    const CXString csPath = fUsers ? kcsPath.Mid(4) : kcsPath;
    return fMake ? RegistryKey::CreateRegistryKey(eHive, csPath, RegistryKey::READ_WRITE_ACCESS, RegistryKey::DIRECT)
                 : RegistryKey::TryOpenRegistryKey(eHive, csPath, RegistryKey::READ_ACCESS, RegistryKey::DIRECT);
}

bool HasKey(const CXString& kcsPath) {
    return Key(kcsPath, false) != nullptr;
}

/// Has a place all of these keys, or none?
void ExpectKeys(const CXString& kcsPlace, Names names, bool fThere) {
    for (const char* pszName : names)
        EXPECT_EQ(HasKey(Path(kcsPlace, pszName)), fThere) << Narrow(kcsPlace.View()) << "\\" << pszName;
}

/// The places that hold keys of printers.
std::vector<CXString> Places() {
    return {VERSION, Path("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Terminal Server\\Install", VERSION),
            UsersPlace(".DEFAULT"), UsersPlace(USER), UsersPlace(OTHER)};
}

void AddEverything(FakePlatform& rFake, const std::vector<CXString>& rvcsPlaces) {
    AddProduct(rFake);
    rFake.process.SetEnvironmentVariableTo(VTEXT("APPDATA"), VTEXT("C:\\Users\\u\\Roaming"));
    for (const CXString& rcsPlace : rvcsPlaces) {
        for (const char* pszName : {"Q", "Gone", "//CSR|Gone", "Gone.cache", ",,srv,theirs", "Families\\Gone",
                                    "ColorProfiles", "Low\\Q", "Low\\Gone\\Deep"})
            Key(Path(rcsPlace, pszName), true);
        for (const char* pszList : {"PrinterPorts", "MergedDms"}) {
            for (const XCHAR* pszQueue : {VTEXT("Q"), VTEXT("Gone")})
                Key(Path(rcsPlace, pszList), true)->SetStringValue(pszQueue, VTEXT("1"));
        }
    }
    for (const char* pszKey : {"V4.1\\PrivateConfiguration", "V4.1\\Other", "V5.1\\PrivateConfiguration"})
        Key(Path("Software\\Velom\\PrinterDriver", pszKey), true);
    Key(Path(Path("HKU", OTHER), "Printers\\Connections\\,,srv,theirs"), true);
    for (const char* pszName : {"Q.cache\\DeviceSettings", "Gone.cache\\DeviceSettings", "Gone"})
        Key(Path(Path(STORAGE, USER), pszName), true);
    Key(Path(STORAGE, "Shared\\Gone.cache"), true);
    for (const char* pszFile :
         {"Low\\Q.cache", "Low\\Gone.cache", "Low\\Gone.txt", "ALDrvTemp\\Q.ald", "ALDrvTemp\\Gone.ald", "Gone.ald"})
        rFake.files.AddFile(Path(USERS_FOLDER, pszFile).View(), {});
    for (const char* pszFile :
         {"kx100\\a", "KX100X\\a", "old01\\V5.0\\a", "Public\\DCPs\\old02\\a", "Public\\DCPs\\kx100\\a", "file1"})
        rFake.files.AddFile(Path(ROOT, pszFile).View(), {});
    rFake.files.AddLink(Path(ROOT, "link1").View(), true);
}

class ProductCleanUpTest : public ProductBench {
protected:
    ProductCleanUpTest() { AddEverything(oFake, Places()); }
    bool HasFile(const CXString& kcsPath) const { return oFake.files.Contents(kcsPath.View()).has_value(); }
    void ExpectFiles(const CXString& kcsFolder, Names names, bool fThere) const {
        for (const char* pszName : names)
            EXPECT_EQ(HasFile(Path(kcsFolder, pszName)), fThere) << pszName;
    }
};

TEST_F(ProductCleanUpTest, KeysOfPrintersThatAreGoneGoInEveryHive) {
    ProductData::DeleteOrphanedPerPrinterRegKeysExceptSharedLowIntegrityKey();
    for (const CXString& rcsPlace : Places()) {
        ExpectKeys(rcsPlace, {"Q", ",,srv,theirs", "Families\\Gone", "ColorProfiles", "Low\\Gone"}, true);
        ExpectKeys(rcsPlace, {"Gone", "//CSR|Gone", "Gone.cache"}, false);
        for (const char* pszList : {"PrinterPorts", "MergedDms"}) {
            EXPECT_TRUE(Key(Path(rcsPlace, pszList), false)->DoesValueExist(VTEXT("Q")));
            EXPECT_FALSE(Key(Path(rcsPlace, pszList), false)->DoesValueExist(VTEXT("Gone")));
        }
    }
    ProductData::DeleteOrphanedPerPrinterRegKeysInSharedLowIntegrityKey();
    for (const CXString& rcsPlace : Places()) {
        ExpectKeys(rcsPlace, {"Low\\Q"}, true);
        ExpectKeys(rcsPlace, {"Low\\Gone"}, false);
    }
    ProductData::DeleteOldPrivateConfigurationData();
    ExpectKeys("Software\\Velom\\PrinterDriver", {"V4.1\\PrivateConfiguration"}, false);
    ExpectKeys("Software\\Velom\\PrinterDriver", {"V4.1\\Other", "V5.1\\PrivateConfiguration"}, true);
}

TEST_F(ProductCleanUpTest, FoldersAndFilesGoByTheirNamesAlone) {
    RecordingSink oSink;
    ProductData::DeleteOrphanedProductDataFolders();
    EXPECT_EQ(oSink.Count("Deleting obsolete Product Data for: old01"), 1u);
    ExpectFiles(ROOT, {"kx100\\a", "KX100X\\a", "Public\\DCPs\\kx100\\a", "file1"}, true);
    ExpectFiles(ROOT, {"old01\\V5.0\\a", "Public\\DCPs\\old02\\a", "link1"}, false);
    ProductData::DeleteOrphanedPerPrinterCacheFilesInSharedLowIntegrityKey();
    ProductData::DeleteOrphanedAdaptiveLearningDataFiles();
    ExpectFiles(USERS_FOLDER, {"Low\\Q.cache", "Low\\Gone.txt", "ALDrvTemp\\Q.ald", "Gone.ald"}, true);
    ExpectFiles(USERS_FOLDER, {"Low\\Gone.cache", "ALDrvTemp\\Gone.ald"}, false);
    ProductData::DeleteOrphanedPerPrinterCacheFilesInSharedLowIntegrityKeyInUpgrade();
    ExpectFiles(USERS_FOLDER, {"Low\\Q.cache"}, false);
}

TEST_F(ProductCleanUpTest, FamiliesThatAQueuesRecordsNameStay) {
    {
        const OpenQueue oQueue;
        ProductData oProduct(oQueue, CXString(), MT_MODEL_NAME, CXString());
        oFake.files.AddFile(Path(ROOT, "m.map").View(), BytesOf("X:FAMPATH=OLD01\\deep\n"));
        ASSERT_TRUE(oProduct.UpdateRegistryMappings(CXString(), ProductData::OUTERMOST));
    }
    ProductData::ClearCachedMapData();
    ProductData::DeleteOrphanedProductDataFolders();
    ExpectFiles(ROOT, {"old01\\V5.0\\a"}, true);
    ExpectFiles(ROOT, {"Public\\DCPs\\old02\\a"}, false);
}

TEST_F(ProductCleanUpTest, FoldersThatUsersNameAreTheirOwnAndOfTheRightName) {
    const char* const pszIn = "Velom_PrintDriver_V5.0_PtPcCache\\Gone.cache";
    const struct {
        const char *pszSid, *pszPath;
        CXString csFile;
        bool fGone;
    } aRows[] = {
        {USER, "C:\\Temp", Path("C:\\Temp", pszIn), true},
        {USER, "C:\\Temp\\velom_PrintDriver_V5.0_PtPcCache", Path("C:\\Temp", pszIn), true},
        {USER, "C:\\Temp", "C:\\Temp\\Velom_PrintDriver_V5.0_PtPcCache\\Q.cache", false},
        {USER, "Temp", Path("Temp", pszIn), false},
        {USER, "C:\\Temp\\..\\W", Path("C:\\W", pszIn), false},
        {USER, "\\\\srv\\t", Path("\\\\srv\\t", pszIn), false},
        {OTHER, "C:\\Temp", Path("C:\\Temp", pszIn), false},
    };
    ASSERT_EQ(User::GetCurrentUserSID(), CXString(USER));
    for (const auto& r : aRows) {
        Key(UsersPlace(r.pszSid), true)->SetStringValue(VTEXT("TPath"), r.pszPath);
        oFake.files.AddFile(r.csFile.View(), {});
        ProductData::DeleteOrphanedPerPrinterPtPcCacheFilesFromTempFolder();
        EXPECT_EQ(HasFile(r.csFile), !r.fGone) << r.pszPath;
        Key(UsersPlace(r.pszSid), true)->SetStringValue(VTEXT("TPath"), CXString());
        oFake.files.Delete(r.csFile);
    }
}

TEST_F(ProductCleanUpTest, OnePrintersThingsGoAlone) {
    ProductData::GarbageCollectSharedLowIntegrityKeyRegKeysAndFilesForOnePrinterUpgrade(VTEXT("q"));
    ExpectKeys(VERSION, {"Low\\Q"}, true);
    ExpectFiles(USERS_FOLDER, {"Low\\Q.cache"}, false);
    ProductData::GarbageCollectSharedLowIntegrityKeyRegKeysAndFilesForOnePrinter(VTEXT("Q"));
    ProductData::DeletePrinterPrivateConfigurationRegKeys(VTEXT("Q"));
    ProductData::GarbageCollectSharedLowRightsStorageRegForOnePrinter(VTEXT("Q"));
    for (const CXString& rcsPlace : Places()) {
        ExpectKeys(rcsPlace, {"Low\\Q", "Q"}, false);
        ExpectKeys(rcsPlace, {"Low\\Gone", "Gone"}, true);
    }
    const CXString csUser = Path(STORAGE, USER);
    ExpectKeys(csUser, {"Q.cache"}, false);
    ExpectKeys(csUser, {"Gone.cache"}, true);
    ProductData::GarbageCollectSharedLowRightsStorageRegAndDeletePortMonitor();  // a driver is left: orphans alone
    ExpectKeys(csUser, {"Gone.cache"}, false);
    ExpectKeys(STORAGE, {"Shared\\Gone.cache"}, true);
    ExpectKeys(csUser, {"Gone"}, true);
}

TEST_F(ProductCleanUpTest, NothingGoesWhenNobodyTellsWhatIsInstalled) {
    for (const char* pszCall : {"EnumerateDriverInfo", "EnumerateQueueInfo"}) {
        oFake.printing.ScriptCallsOf(pszCall, [](SpoolerCall&) { return static_cast<Status>(1722); });
        RecordingSink oSink;
        ProductData::GarbageCollectOrphanedPerPrinterRegKeysAndTempFiles();
        ProductData::GarbageCollectOrphanedPerPrinterRegKeysAndFilesForCitrix();
        ProductData::CleanUPLowRightsData();
        ProductData::DeleteOrphanedProductDataFolders();
        EXPECT_GE(oSink.Count("Cannot delete orphaned reg entries because enumeration of print drivers failed!"), 5u);
        EXPECT_EQ(oSink.Count("Cannot delete orphaned temp folders because enumeration of print drivers failed!"), 1u);
        EXPECT_EQ(oSink.Count("Cannot delete orphaned product data folders because"), 1u);
        ExpectKeys(VERSION, {"Gone", "Low\\Gone"}, true);
        ExpectFiles(USERS_FOLDER, {"Low\\Gone.cache"}, true);
        ExpectFiles(ROOT, {"old01\\V5.0\\a"}, true);
    }
}

TEST_F(ProductCleanUpTest, DataFilesOfOtherDriversNameNoFamily) {
    for (const auto& [name, file] : {std::pair{VTEXT("A"), VTEXT("other.gpd")},
                                     {VTEXT("B"), VTEXT("x12.gpd")},
                                     {VTEXT("C"), VTEXT("XAB3de9.gpd")}})
        oFake.printing.AddDriverNamed(name, {}, VTEXT("unidrv.dll"), file);
    RecordingSink oSink;
    std::set<CXString> setFolders;
    EXPECT_TRUE(ProductData::EnumerateProductDataFoldersUsedByInstalledDrivers(setFolders));
    EXPECT_EQ(setFolders, (std::set<CXString>{VTEXT("kx100"), VTEXT("ab3de")}));
    EXPECT_EQ(oSink.Count("DataFile name, other.gpd, should always begin with 'x' for a Kestrix driver."), 1u);
    EXPECT_EQ(oSink.Count("(iDotOffset > 5)"), 1u);
}

/// Runs a clean-up, which has no way to fail.
template <class Operation>
auto Quietly(Operation operation) {
    return [operation] {
        const EmptyCaches oCaches;
        operation();
        return FaultOutcome::Succeeded;
    };
}

// Whatever fails: no exception, nothing left open, and what is installed keeps all of its own.
TEST(ProductCleanUpFaultTest, EveryFaultLeavesWhatIsInstalled) {
    const FaultRow aRows[] = {
        {"keys and files", Quietly(ProductData::GarbageCollectOrphanedPerPrinterRegKeysAndTempFiles)},
        {"folders", Quietly(ProductData::DeleteOrphanedProductDataFolders)},
        {"storage", Quietly(ProductData::GarbageCollectSharedLowRightsStorageRegAndDeletePortMonitor)},
        {"session", Quietly(ProductData::GarbageCollectOrphanedPerPrinterRegKeysAndFilesForCitrix)},
        {"one printer", Quietly([] {
             ProductData::GarbageCollectSharedLowIntegrityKeyRegKeysAndFilesForOnePrinterUpgrade(VTEXT("Gone"));
             ProductData::GarbageCollectSharedLowIntegrityKeyRegKeysAndFilesForOnePrinter(VTEXT("Gone"));
             ProductData::DeletePrinterPrivateConfigurationRegKeys(VTEXT("Gone"));
             ProductData::GarbageCollectSharedLowRightsStorageRegForOnePrinter(VTEXT("Gone"));
         })},
    };
    FaultLoop oLoop;
    oLoop.fRunAgain = false;
    oLoop.vModes = {FaultMode::FailOnce};
    oLoop.vStatuses = {Status::NoSystemResources};  // a hive that is denied is its user's own
    oLoop.fAllocations = false;                     // thousands, each with all these keys made before it
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        static const auto svRecords = RecordsOf("X:FAMPATH=OLD01\\deep\n");
        AddEverything(rFake, {VERSION});
        AddRecordsOf(rFake, svRecords);  // these alone name that family
    };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome) {
        ExpectKeys(VERSION, {"Q", "Families\\Gone", "Low\\Q", ",,srv,theirs"}, true);
        ExpectKeys(Path(STORAGE, USER), {"Q.cache"}, true);
        for (const CXString& rcsFile :
             {Path(ROOT, "kx100\\a"), Path(ROOT, "old01\\V5.0\\a"), Path(USERS_FOLDER, "Low\\Q.cache")})
            EXPECT_TRUE(rFake.files.Contents(rcsFile.View())) << Narrow(rcsFile.View());
    };
    RunFaultRows(aRows, oLoop);
    oLoop.fnCheck = nullptr;
    const FaultRow aUpgrade[] = {
        {"upgrade", Quietly(ProductData::DeleteOrphanedPerPrinterCacheFilesInSharedLowIntegrityKeyInUpgrade)}};
    RunFaultRows(aUpgrade, oLoop);
}

}  // namespace

}  // namespace vlm::test
