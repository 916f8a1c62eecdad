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

constexpr const XCHAR *USER = VTEXT("S-1-5-21-1-2-3-1000"), *OTHER = VTEXT("S-1-5-21-1-2-3-4242");
constexpr const XCHAR* VERSION = VTEXT("Software\\Velom\\PrinterDriver\\V5.0");

/// Puts keys and values in place: "PATH" or "PATH=VALUE NAME", below HKLM, or HKU with "HKU\" before it.
void AddKey(const CXString& kcsPath, const CXString& kcsValue = CXString(), const CXString& kcsText = CXString()) {
    const bool fUsers = kcsPath.Find(VTEXT("HKU\\")) == 0;
    const auto apoKey = RegistryKey::CreateRegistryKey(
        fUsers ? HKeyRegistry::Hkey_Users : HKeyRegistry::Hkey_Local_Machine, fUsers ? kcsPath.Mid(4) : kcsPath,
        RegistryKey::READ_WRITE_ACCESS, RegistryKey::DIRECT);
    if (!kcsValue.IsEmpty()) apoKey->SetStringValue(kcsValue, kcsText);
}

bool HasKey(const CXString& kcsPath, const CXString& kcsValue = CXString()) {
    const bool fUsers = kcsPath.Find(VTEXT("HKU\\")) == 0;
    const auto apoKey = RegistryKey::TryOpenRegistryKey(
        fUsers ? HKeyRegistry::Hkey_Users : HKeyRegistry::Hkey_Local_Machine, fUsers ? kcsPath.Mid(4) : kcsPath,
        RegistryKey::READ_ACCESS, RegistryKey::DIRECT);
    return apoKey && (kcsValue.IsEmpty() || apoKey->DoesValueExist(kcsValue));
}

/// The places that hold keys of printers.
std::vector<CXString> Places() {
    const CXString csVersion(VERSION);
    return {csVersion, VTEXT("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Terminal Server\\Install\\") + csVersion,
            VTEXT("HKU\\.DEFAULT\\") + csVersion, CXString(VTEXT("HKU\\")) + USER + VTEXT("\\") + csVersion,
            CXString(VTEXT("HKU\\")) + OTHER + VTEXT("\\") + csVersion};
}

void AddEverything(FakePlatform& rFake) {
    AddProduct(rFake);
    rFake.process.SetEnvironmentVariableTo(VTEXT("APPDATA"), VTEXT("C:\\Users\\u\\Roaming"));
    for (const CXString& rcsPlace : Places()) {
        for (const XCHAR* pszName :
             {VTEXT("Q"), VTEXT("Gone"), VTEXT("//CSR|Gone"), VTEXT("Gone.cache"), VTEXT(",,srv,theirs"),
              VTEXT("Families\\Gone"), VTEXT("ColorProfiles"), VTEXT("Low\\Q"), VTEXT("Low\\Gone\\Deep")}) {
            AddKey(rcsPlace + VTEXT("\\") + pszName);
        }
        for (const XCHAR* pszList : {VTEXT("\\PrinterPorts"), VTEXT("\\MergedDms")}) {
            AddKey(rcsPlace + pszList, VTEXT("Q"), VTEXT("1"));
            AddKey(rcsPlace + pszList, VTEXT("Gone"), VTEXT("1"));
        }
    }
    AddKey(VTEXT("Software\\Velom\\PrinterDriver\\V4.1\\PrivateConfiguration"));
    AddKey(VTEXT("Software\\Velom\\PrinterDriver\\V4.1\\Other"));
    AddKey(VTEXT("Software\\Velom\\PrinterDriver\\V5.1\\PrivateConfiguration"));
    AddKey(CXString(VTEXT("HKU\\")) + OTHER + VTEXT("\\Printers\\Connections\\,,srv,theirs"));
    const CXString csStorage = CXString(VERSION) + VTEXT("\\LowRightsStorage\\");
    for (const XCHAR* pszName :
         {VTEXT("\\Q.cache\\DeviceSettings"), VTEXT("\\Gone.cache\\DeviceSettings"), VTEXT("\\Gone")})
        AddKey(csStorage + USER + pszName);
    AddKey(csStorage + VTEXT("Shared\\Gone.cache"));
    for (const XCHAR* pszFile : {VTEXT("Low\\Q.cache"), VTEXT("Low\\Gone.cache"), VTEXT("Low\\Gone.txt"),
                                 VTEXT("ALDrvTemp\\Q.ald"), VTEXT("ALDrvTemp\\Gone.ald"), VTEXT("Gone.ald")}) {
        rFake.files.AddFile((CXString(VTEXT("C:\\Users\\u\\Roaming\\Velom\\PrinterDriver\\")) + pszFile).View(), {});
    }
    for (const XCHAR* pszFile : {VTEXT("kx100\\a"), VTEXT("KX100X\\a"), VTEXT("old01\\V5.0\\a"),
                                 VTEXT("Public\\DCPs\\old02\\a"), VTEXT("Public\\DCPs\\kx100\\a"), VTEXT("file1")}) {
        rFake.files.AddFile((CXString(ROOT) + VTEXT("\\") + pszFile).View(), {});
    }
    rFake.files.AddLink((CXString(ROOT) + VTEXT("\\link1")).View(), true);
}

class ProductCleanUpTest : public ProductBench {
protected:
    ProductCleanUpTest() { AddEverything(oFake); }
    bool HasFile(const CXString& kcsPath) const { return oFake.files.Contents(kcsPath.View()).has_value(); }
};

TEST_F(ProductCleanUpTest, KeysOfPrintersThatAreGoneGoInEveryHive) {
    ProductData::DeleteOrphanedPerPrinterRegKeysExceptSharedLowIntegrityKey();
    for (const CXString& rcsPlace : Places()) {
        for (const XCHAR* pszKept : {VTEXT("\\Q"), VTEXT("\\,,srv,theirs"), VTEXT("\\Families\\Gone"),
                                     VTEXT("\\ColorProfiles"), VTEXT("\\Low\\Gone")})
            EXPECT_TRUE(HasKey(rcsPlace + pszKept)) << Narrow((rcsPlace + pszKept).View());
        for (const XCHAR* pszGone : {VTEXT("\\Gone"), VTEXT("\\//CSR|Gone"), VTEXT("\\Gone.cache")})
            EXPECT_FALSE(HasKey(rcsPlace + pszGone)) << Narrow((rcsPlace + pszGone).View());
        for (const XCHAR* pszList : {VTEXT("\\PrinterPorts"), VTEXT("\\MergedDms")}) {
            EXPECT_TRUE(HasKey(rcsPlace + pszList, VTEXT("Q")));
            EXPECT_FALSE(HasKey(rcsPlace + pszList, VTEXT("Gone")));
        }
    }
    ProductData::DeleteOrphanedPerPrinterRegKeysInSharedLowIntegrityKey();
    for (const CXString& rcsPlace : Places()) {
        EXPECT_TRUE(HasKey(rcsPlace + VTEXT("\\Low\\Q")));
        EXPECT_FALSE(HasKey(rcsPlace + VTEXT("\\Low\\Gone")));
    }
    ProductData::DeleteOldPrivateConfigurationData();
    EXPECT_FALSE(HasKey(VTEXT("Software\\Velom\\PrinterDriver\\V4.1\\PrivateConfiguration")));
    EXPECT_TRUE(HasKey(VTEXT("Software\\Velom\\PrinterDriver\\V4.1\\Other")));
    EXPECT_TRUE(HasKey(VTEXT("Software\\Velom\\PrinterDriver\\V5.1\\PrivateConfiguration")));
}

TEST_F(ProductCleanUpTest, FoldersAndFilesGoByTheirNamesAlone) {
    RecordingSink oSink;
    ProductData::DeleteOrphanedProductDataFolders();
    EXPECT_EQ(oSink.Count("Deleting obsolete Product Data for: old01"), 1u);
    const CXString csRoot = CXString(ROOT) + VTEXT("\\");
    for (const XCHAR* pszKept :
         {VTEXT("kx100\\a"), VTEXT("KX100X\\a"), VTEXT("Public\\DCPs\\kx100\\a"), VTEXT("file1")})
        EXPECT_TRUE(HasFile(csRoot + pszKept)) << Narrow(pszKept);
    for (const XCHAR* pszGone : {VTEXT("old01\\V5.0\\a"), VTEXT("Public\\DCPs\\old02\\a"), VTEXT("link1")})
        EXPECT_FALSE(HasFile(csRoot + pszGone)) << Narrow(pszGone);
    ProductData::DeleteOrphanedPerPrinterCacheFilesInSharedLowIntegrityKey();
    ProductData::DeleteOrphanedAdaptiveLearningDataFiles();
    const CXString csUser(VTEXT("C:\\Users\\u\\Roaming\\Velom\\PrinterDriver\\"));
    for (const XCHAR* pszKept :
         {VTEXT("Low\\Q.cache"), VTEXT("Low\\Gone.txt"), VTEXT("ALDrvTemp\\Q.ald"), VTEXT("Gone.ald")})
        EXPECT_TRUE(HasFile(csUser + pszKept)) << Narrow(pszKept);
    for (const XCHAR* pszGone : {VTEXT("Low\\Gone.cache"), VTEXT("ALDrvTemp\\Gone.ald")})
        EXPECT_FALSE(HasFile(csUser + pszGone)) << Narrow(pszGone);
    ProductData::DeleteOrphanedPerPrinterCacheFilesInSharedLowIntegrityKeyInUpgrade();
    EXPECT_FALSE(HasFile(csUser + VTEXT("Low\\Q.cache")));
}

TEST_F(ProductCleanUpTest, FamiliesThatAQueuesRecordsNameStay) {
    {
        const OpenQueue oQueue;
        ProductData oProduct(oQueue, CXString(), MT_MODEL_NAME, CXString());
        oFake.files.AddFile((CXString(ROOT) + VTEXT("\\m.map")).View(), BytesOf("X:FAMPATH=OLD01\n"));
        ASSERT_TRUE(oProduct.UpdateRegistryMappings(CXString(), ProductData::OUTERMOST));
    }
    ProductData::ClearCachedMapData();
    ProductData::DeleteOrphanedProductDataFolders();
    EXPECT_TRUE(HasFile(CXString(ROOT) + VTEXT("\\old01\\V5.0\\a")));
    EXPECT_FALSE(HasFile(CXString(ROOT) + VTEXT("\\Public\\DCPs\\old02\\a")));
}

TEST_F(ProductCleanUpTest, FoldersThatUsersNameAreTheirOwnAndOfTheRightName) {
    const CXString csOwn = User::GetCurrentUserSID();
    const struct {
        const XCHAR *pszSid, *pszPath, *pszFile;  // the file beside or below the path
        bool fGone;
    } aRows[] = {
        {csOwn, VTEXT("C:\\Temp"), VTEXT("C:\\Temp\\Velom_PrintDriver_V5.0_PtPcCache\\Gone.cache"), true},
        {csOwn, VTEXT("C:\\Temp\\velom_PrintDriver_V5.0_PtPcCache"),
         VTEXT("C:\\Temp\\Velom_PrintDriver_V5.0_PtPcCache\\Gone.cache"), true},
        {csOwn, VTEXT("C:\\Temp"), VTEXT("C:\\Temp\\Velom_PrintDriver_V5.0_PtPcCache\\Q.cache"), false},
        {csOwn, VTEXT("C:\\Temp"), VTEXT("C:\\Temp\\Gone.cache"), false},
        {csOwn, VTEXT("Temp"), VTEXT("Temp\\Velom_PrintDriver_V5.0_PtPcCache\\Gone.cache"), false},
        {csOwn, VTEXT("C:\\Temp\\..\\W"), VTEXT("C:\\W\\Velom_PrintDriver_V5.0_PtPcCache\\Gone.cache"), false},
        {csOwn, VTEXT("\\\\srv\\t"), VTEXT("\\\\srv\\t\\Velom_PrintDriver_V5.0_PtPcCache\\Gone.cache"), false},
        {OTHER, VTEXT("C:\\Temp"), VTEXT("C:\\Temp\\Velom_PrintDriver_V5.0_PtPcCache\\Gone.cache"), false},
    };
    for (const auto& r : aRows) {
        AddKey(CXString(VTEXT("HKU\\")) + r.pszSid + VTEXT("\\") + VERSION, VTEXT("TPath"), r.pszPath);
        oFake.files.AddFile(r.pszFile, {});
        ProductData::DeleteOrphanedPerPrinterPtPcCacheFilesFromTempFolder();
        EXPECT_EQ(HasFile(r.pszFile), !r.fGone) << Narrow(r.pszPath);
        AddKey(CXString(VTEXT("HKU\\")) + r.pszSid + VTEXT("\\") + VERSION, VTEXT("TPath"), VTEXT(""));
        oFake.files.Delete(r.pszFile);
    }
}

TEST_F(ProductCleanUpTest, OnePrintersThingsGoAlone) {
    ProductData::GarbageCollectSharedLowIntegrityKeyRegKeysAndFilesForOnePrinterUpgrade(VTEXT("q"));
    EXPECT_TRUE(HasKey(CXString(VERSION) + VTEXT("\\Low\\Q")));
    EXPECT_FALSE(HasFile(VTEXT("C:\\Users\\u\\Roaming\\Velom\\PrinterDriver\\Low\\Q.cache")));
    ProductData::GarbageCollectSharedLowIntegrityKeyRegKeysAndFilesForOnePrinter(VTEXT("Q"));
    ProductData::DeletePrinterPrivateConfigurationRegKeys(VTEXT("Q"));
    ProductData::GarbageCollectSharedLowRightsStorageRegForOnePrinter(VTEXT("Q"));
    for (const CXString& rcsPlace : Places()) {
        EXPECT_FALSE(HasKey(rcsPlace + VTEXT("\\Low\\Q")) || HasKey(rcsPlace + VTEXT("\\Q")));
        EXPECT_TRUE(HasKey(rcsPlace + VTEXT("\\Low\\Gone")) && HasKey(rcsPlace + VTEXT("\\Gone")));
    }
    const CXString csUser = CXString(VERSION) + VTEXT("\\LowRightsStorage\\") + USER;
    EXPECT_FALSE(HasKey(csUser + VTEXT("\\Q.cache")));
    EXPECT_TRUE(HasKey(csUser + VTEXT("\\Gone.cache")));
    ProductData::GarbageCollectSharedLowRightsStorageRegAndDeletePortMonitor();  // a driver is left: orphans alone
    EXPECT_FALSE(HasKey(csUser + VTEXT("\\Gone.cache")));
    EXPECT_TRUE(HasKey(csUser + VTEXT("\\Gone")));
    EXPECT_TRUE(HasKey(CXString(VERSION) + VTEXT("\\LowRightsStorage\\Shared\\Gone.cache")));
}

TEST_F(ProductCleanUpTest, NothingGoesWhenNobodyTellsWhatIsInstalled) {
    for (const std::string strCall : {"EnumerateDriverInfo", "EnumerateQueueInfo"}) {
        oFake.printing.SetCallScript([&](SpoolerCall& r) -> std::optional<Status> {
            return r.pszName == strCall ? std::optional(static_cast<Status>(1722)) : std::nullopt;
        });
        RecordingSink oSink;
        ProductData::GarbageCollectOrphanedPerPrinterRegKeysAndTempFiles();
        ProductData::GarbageCollectOrphanedPerPrinterRegKeysAndFilesForCitrix();
        ProductData::CleanUPLowRightsData();
        EXPECT_GE(oSink.Count("Cannot delete orphaned reg entries because enumeration of print drivers failed!"), 5u);
        EXPECT_EQ(oSink.Count("Cannot delete orphaned temp folders because enumeration of print drivers failed!"), 1u);
        for (const CXString& rcsPlace : Places())
            EXPECT_TRUE(HasKey(rcsPlace + VTEXT("\\Gone")) && HasKey(rcsPlace + VTEXT("\\Low\\Gone")));
        EXPECT_TRUE(HasFile(VTEXT("C:\\Users\\u\\Roaming\\Velom\\PrinterDriver\\Low\\Gone.cache")));
    }
    RecordingSink oSink;
    oFake.printing.SetCallScript([](SpoolerCall& r) -> std::optional<Status> {
        return std::string(r.pszName) == "EnumerateDriverInfo" ? std::optional(static_cast<Status>(1722))
                                                               : std::nullopt;
    });
    ProductData::DeleteOrphanedProductDataFolders();
    EXPECT_EQ(oSink.Count("Cannot delete orphaned product data folders because"), 1u);
    EXPECT_TRUE(HasFile(CXString(ROOT) + VTEXT("\\old01\\V5.0\\a")));
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

// Whatever fails: no exception, nothing left open, and what is installed keeps all of its own.
TEST(ProductCleanUpFaultTest, EveryFaultLeavesWhatIsInstalled) {
    const FaultRow aRows[] = {
        {"keys",
         [] { return ProductData::GarbageCollectOrphanedPerPrinterRegKeysAndTempFiles(), FaultOutcome::Succeeded; }},
        {"folders", [] { return ProductData::DeleteOrphanedProductDataFolders(), FaultOutcome::Succeeded; }},
        {"storage", [] { return ProductData::CleanUPLowRightsData(), FaultOutcome::Succeeded; }}};
    FaultLoop oLoop;
    oLoop.fRunAgain = false;
    oLoop.vModes = {FaultMode::FailOnce};
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        ProductData::ClearCachedMapData();
        AddEverything(rFake);
    };
    oLoop.fAllocations = false;  // thousands, each with all these keys made before it
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome) {
        EXPECT_TRUE(HasKey(CXString(VERSION) + VTEXT("\\Q")) && HasKey(CXString(VERSION) + VTEXT("\\Families\\Gone")));
        EXPECT_TRUE(rFake.files.Contents((CXString(ROOT) + VTEXT("\\kx100\\a")).View()));
        EXPECT_TRUE(rFake.files.Contents(VTEXT("C:\\Users\\u\\Roaming\\Velom\\PrinterDriver\\Low\\Q.cache")));
    };
    RunFaultRows(aRows, oLoop);
}

// The product is unpacked, and its records are the printer's; one file has gone since.
void AddUnpacked(FakePlatform& rFake) {
    static const std::vector<std::pair<XString, std::vector<BYTE>>> sovFiles = [] {
        FakePlatform oFake;
        const PlatformScope oScope(oFake.Get());
        const EmptyCaches oCaches;
        AddProduct(oFake);
        const OpenQueue oQueue;
        ProductData oProduct(oQueue, CXString(), MT_MODEL_NAME, CXString());
        if (!oProduct.UnpackProductCabFile()) throw std::logic_error("the product is not unpacked");
        std::vector<std::pair<XString, std::vector<BYTE>>> vFiles;
        for (const XString& rName : oFake.files.FileNames()) {
            if (rName.find(VTEXT("Velom")) != XString::npos) vFiles.emplace_back(rName, *oFake.files.Contents(rName));
        }
        for (const XCHAR* pszValue : {VTEXT("PDMap-0"), VTEXT("PDMap-1"), VTEXT("PDMap-2"), VTEXT("XProductData")})
            vFiles.emplace_back(pszValue, *oFake.printing.DataOf(VTEXT("Q"), pszValue));
        return vFiles;
    }();
    AddProduct(rFake);
    for (const auto& [name, bytes] : sovFiles) {
        if (name.find(VTEXT('\\')) == XString::npos) {
            rFake.printing.AddData(VTEXT("Q"), name, ByteBuffer(bytes.data(), bytes.size()).getAsStringValue().View());
        } else if (name.find(VTEXT("a.aut")) == XString::npos) {
            rFake.files.AddFile(name, bytes);
        }
    }
}

TEST(ProductDataFaultTest, EveryFaultEndsInAnAnswerOrItsException) {
    const auto With = [](const std::function<bool(ProductData&)>& rfnAsk) {
        return [rfnAsk] {
            const EmptyCaches oCaches;
            bool fDone = false;
            const FaultOutcome eOutcome =
                Attempt<ExceptionPrinterFailure, ExceptionPrintDriverFailure, ExceptionOutOfMemory,
                        ExceptionPrinterModelIdQueriedBeforeInitialized>([&] {
                    const OpenQueue oQueue;
                    ProductData oProduct(oQueue, CXString(), MT_PRINTER_INI_DATA, CXString());
                    fDone = rfnAsk(oProduct);
                });
            return eOutcome == FaultOutcome::Succeeded && fDone ? FaultOutcome::Succeeded : FaultOutcome::Failed;
        };
    };
    FaultLoop oLoop;
    oLoop.vModes = {FaultMode::FailOnce};
    oLoop.fnPrepare = AddUnpacked;
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome) {
        const auto contents = rFake.files.Contents((CXString(ROOT) + VTEXT("\\velom.map")).View());
        EXPECT_TRUE(contents && *contents == BytesOf(MODELS_MAP));
    };
    const FaultRow aQuick[] = {{"initialise", With([](ProductData& r) { return r.IsValidated(); })}};
    RunFaultRows(aQuick, oLoop);
    oLoop.fAllocations = false;                                   // thousands; the unpacking's are another test's
    const FaultRow aLong[] = {{"load", With([](ProductData& r) {  // and unpack on the way
                                   ByteBuffer bb;
                                   return r.LoadFile(PD_AUTO, bb) && bb.size() == 4 &&
                                          r.GetPDLCommand(VTEXT("Sides"), VTEXT("Long"), PdlType::PCL6, bb, nullptr) &&
                                          bb.size() > 7;
                               })}};
    RunFaultRows(aLong, oLoop);
}

}  // namespace

}  // namespace vlm::test
