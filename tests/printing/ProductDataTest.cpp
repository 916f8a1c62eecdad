/// @file
/// What product data answers, and how it comes from map files, printer data and folders.
#include "environment/ProductData.h"

#include <algorithm>
#include <functional>
#include <thread>

#include "printing/ProductBench.h"
#include "support/FaultLoop.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/Hash32.h"

namespace vlm::test {

namespace {

class ProductDataTest : public ProductBench {
protected:
    /// A transient object with one record.
    static void UseMap(FakePlatform& rFake, ProductData& rProduct, const std::string& rMap, const XCHAR* pszModel) {
        rFake.files.AddFile(VTEXT("C:\\t\\Product Data\\m.map"), BytesOf(rMap));
        rProduct.Initialize(nullptr, CXString(), MT_MODEL_NAME, VTEXT("C:\\t"));
        EXPECT_TRUE(rProduct.UpdateRegistryMappings(CXString(), ProductData::OUTERMOST));
        rProduct.Initialize(nullptr, pszModel, MT_MODEL_NAME, CXString());
    }
};

/// The product is unpacked, and its records are the printer's.
class UnpackedProductTest : public ProductBench {
protected:
    UnpackedProductTest() {
        AddProduct(oFake);
        apoQueue = std::make_unique<OpenQueue>();
        oProduct.Initialize(*apoQueue, CXString(), MT_MODEL_NAME, CXString());
        EXPECT_TRUE(oProduct.UnpackProductCabFile());
    }
    bool Choose(const CXString& kcsModel) {
        return oProduct.Initialize(*apoQueue, kcsModel, MT_MODEL_NAME, CXString());
    }

    std::unique_ptr<OpenQueue> apoQueue;
    ProductData oProduct;
};

TEST_F(ProductDataTest, SwitchesKeepTheirRules) {
    using Question = std::function<bool(ProductData&)>;
    const struct {
        const char* pszKey;
        Question fnAsk;
        const char* pszTrue;  // the values, of those below, that are true
    } aRows[] = {
        {"SEFPRODUCT", &ProductData::IsSEFOnlyProduct, "YES"},
        {"MODELREQDRVCOLLATE", &ProductData::IsModelRequireDriverCollation, "YES"},
        {"SUPPORTSJOBTRACKERTROUBLESHOOTING", &ProductData::IsJobTrackerTroubleshootingSupported, "YES"},
        {"SUPPORTSPRODUCTIONFINISHER", [](ProductData& r) { return r.GetFinisherType() == FINISHER_PRODUCTION; },
         "YES"},
        {"DRIVERCOLLATION", &ProductData::IsDriverCollationSupported, "YES yes Yes"},
        {"ALLOWCOLORCHANGEONDOC", &ProductData::AllowColorChangeOnDoc, "YES yes"},
        {"ALLOWMEDIATYPEINTRAYS", &ProductData::IsMediaTypeInTraysAllowed, "YES yes"},
        {"USESSAMSUNGAPI", &ProductData::UsesSamsungAPI, "YES yes"},
        {"DEVICEFONTS", &ProductData::SupportsDeviceFonts, "YES yes"},
        {"LANFAX", &ProductData::IsFaxCapable, "YES yes"},
        {"PCL4MMMARGINS", &ProductData::DoesPCLSupport4MMMargins, "YES yes"},
        {"CLOUDPRINTING", &ProductData::SupportsCloudPrinting, "YES yes"},
        {"DEVICEADDRESSBOOK", &ProductData::SupportsDeviceAddressBook, "YES yes"},
        {"PCL5XCPTCMDREORDER", &ProductData::IsPcl5XcptCmdReorderRequired, "YES yes"},
        {"HIDEACCOUNTTYPE", &ProductData::IsHideAccountType, "YES yes"},
        {"HIDEGROUPACCOUNT", &ProductData::IsHideGroupAccount, "YES yes"},
        {"SHOWWARNINGDIALOG", &ProductData::IsShowEnvelopeWarning, "YES yes"},
        {"SETHIGHSPEED300", &ProductData::IsHighSpeed300Set, "YES yes"},
        {"SETHIGHQUALITY300", &ProductData::IsHighQuality300Set, "YES yes"},
        {"SETHIGHRESOLUTION1200", &ProductData::IsHighResolution1200Set, "YES yes"},
        {"XCPT_SUPPORT", &ProductData::IsXCPTSupported, "YES yes full-support inserts-exceptions"},
        {"XCPTPARTIALSUPPORT",
         [](ProductData& r) { return r.IsAcceptableMinimumXCPTLevel(PRINT_XCPT_COVERS_INSERTS_CAC); }, "full-support"},
        {"COLORCAPABLE", &ProductData::IsColorCapable, "color COLOR"},
        {"COLORCAPABLE", &ProductData::AllowMonochromeDevmode, "color COLOR monochrome"},
        {"SMARTUSB", [](ProductData& r) { return r.SupportsSmartUsbPrinting() == SMART_USB_PRINT; },
         "YES yes Yes print"},
        {"ACCOUNTINGPROMPTS", [](ProductData& r) { return r.IsAccountingPromptAllowed(VTEXT("CODE9")); }, "x, CODE9"},
        {"USB_PRODUCT_ID",
         [](ProductData& r) {
             CXString cs(VTEXT("YeS"));
             return r.ValidateUsbProductId(cs);
         },
         "YES yes Yes"},
    };
    for (const auto& r : aRows) {
        for (const std::string strValue : {"YES", "yes", "Yes", "NO", "", "color", "COLOR", "monochrome", "print",
                                           "full-support", "inserts-exceptions", "x, CODE9", "1"}) {
            ProductData oProduct;
            UseMap(oFake, oProduct, std::string("X:") + r.pszKey + "=" + strValue, VTEXT("X"));
            const std::string strTrue = " " + std::string(r.pszTrue) + " ";
            const bool fExpected = !strValue.empty() && strTrue.find(" " + strValue + " ") != std::string::npos;
            EXPECT_EQ(r.fnAsk(oProduct), fExpected) << r.pszKey << "=" << strValue;
        }
    }
}

TEST_F(ProductDataTest, ValuesAreReadFromTheirTexts) {
    ProductData oProduct;
    UseMap(oFake, oProduct,
           "X:PLATFORMVERSION=2.5;RATEDSPEED=45;PRINTERLANG=PCL5 Pcl6PSCRIPT;RECOMMENDED=pcl6;CONTROLLERFAMILY=SERVER;"
           "CONTROLLERFAMILY_ALT=EXTERNAL;COMPANYNAME=VG;XCPT_SUPPORT=inserts-exceptions-jobordercount;"
           "LEFONLYTWOSTAPLE=yes;DRIVERCOLLATION=yES\n",
           VTEXT("X"));
    EXPECT_EQ(oProduct.GetPlatformVersion(), 2.5);
    EXPECT_EQ(oProduct.GetRatedSpeed(), 45);
    EXPECT_EQ(oProduct.GetSupportedPDLS(), PDL_BIT_PCL5 | PDL_BIT_PCL6 | PDL_BIT_PSCRIPT);
    EXPECT_EQ(oProduct.GetRecommendedPDL(), PDL_BIT_PCL6);
    EXPECT_EQ(oProduct.GetControllerFamily(ProductData::AS_NEEDED), DataModelIds::VAL_CONTROLLER_SERVER);
    EXPECT_EQ(oProduct.GetControllerFamily(ProductData::ALTERNATIVE), DataModelIds::VAL_CONTROLLER_EXTERNAL);
    EXPECT_EQ(oProduct.GetCompanyName(), DataModelIds::VAL_COMPANY_VG);
    EXPECT_EQ(oProduct.GetPrintXcptAttributesType(), PRINT_XCPT_INSERTS_JOBORDERCOUNT);
    EXPECT_EQ(oProduct.DetermineFinishingCapabilities(), FINISHING_LEF_ONLY_TWO_STAPLE | FINISHING_DRIVER_COLLATION);
    UseMap(oFake, oProduct, "X:PLATFORMVERSION=x;RATEDSPEED=99999999999999;COMPANYNAME=ve;CONTROLLERFAMILY=x\n",
           VTEXT("X"));
    RecordingSink oSink;
    EXPECT_EQ(oProduct.GetPlatformVersion(), 0.0);
    EXPECT_EQ(oProduct.GetRatedSpeed(), 0);
    EXPECT_EQ(oProduct.GetCompanyName(), DataModelIds::VAL_UNSPECIFIED);
    EXPECT_EQ(oProduct.GetControllerFamily(ProductData::AS_NEEDED), DataModelIds::VAL_UNSPECIFIED);
    EXPECT_EQ(oSink.Count("Invalid Company Name in call to GetCompanyName"), 1u);
    EXPECT_EQ(oSink.Count("(eController != VAL_UNSPECIFIED)"), 1u);
}

TEST_F(ProductDataTest, QuestionsBeforeTheirTimeAreFailedAssertions) {
    RecordingSink oSink;
    ProductData oProduct;
    CXString cs(VTEXT("kept"));
    EXPECT_TRUE(oProduct.GetModelName().IsEmpty());
    EXPECT_FALSE(oProduct.GetInfo(PD_FAMPATH, cs));
    EXPECT_FALSE(oProduct.GetInfo(PD_PRODUCT_UNIQUE_ID, cs));
    EXPECT_FALSE(oProduct.GetInfo(static_cast<InfoType>(99), cs));
    EXPECT_FALSE(oProduct.GetPath(PD_COMPANYNAME, cs));
    EXPECT_TRUE(oProduct.GetPrinterModelProductDataFolder().IsEmpty());
    EXPECT_FALSE(oProduct.UnpackDtdCabFile(0));
    EXPECT_FALSE(oProduct.UnpackJarCabFile(0));
    EXPECT_FALSE(oProduct.UpdateRegistryWithProductDataValues());
    EXPECT_FALSE(oProduct.UpdateRegistryMappings(CXString(), ProductData::OUTERMOST));
    for (const char* pszText :
         {"ProductData::GetModelName(): Failed - Must have model name validated",
          "Must initialize the Product Data object prior to calling GetInfo()",
          "Invalid pameter eType (99) in call to ProductData::GetInfo()",
          "Invalid pameter eType (5) in call to ProductData::GetPath()",
          "in call to GetPrinterModelProductDataFolder, MUST", "in call to UnpackDTDCabFile, MUST",
          "in call to UnpackJarCabFile, MUST", "m_sTransientPath is Empty"}) {
        EXPECT_EQ(oSink.Count(pszText), 1u) << pszText;
    }
    EXPECT_EQ(cs, VTEXT("kept"));
    oFake.files.AddFile(VTEXT("Public\\DCPs\\kx100\\a"), {});  // of whatever folder is the current one
    EXPECT_TRUE(oProduct.GetDCPMap().empty());
}

TEST_F(ProductDataTest, TheProductIsUnpackedAndItsRecordsReachThePrinter) {
    AddProduct(oFake);
    oFake.files.AddFile(VTEXT("C:\\windows\\system32\\spool\\drivers\\color\\p.icm"), BytesOf("another's"));
    const OpenQueue oQueue;
    ProductData oInstaller(oQueue, VTEXT("KX 1"), MT_MODEL_NAME, CXString());
    EXPECT_FALSE(oInstaller.IsValidated());
    EXPECT_FALSE(oInstaller.HasProductCabBeenExtracted());
    RecordingSink oSink;
    ASSERT_TRUE(oInstaller.UnpackProductCabFile()) << ::testing::PrintToString(oSink.Texts());
    EXPECT_TRUE(oInstaller.HasProductCabBeenExtracted());
    for (const char* pszText : {"q9kx10073.cab", "Extract this CAB file: ", "Succeeded deleting the CAB file (n.CAB)",
                                "No CAB files among the files we extracted.", "Moving Profile ", "Move of ",
                                "Updated the registry mappings."}) {
        EXPECT_GE(oSink.Count(pszText), 1u) << pszText;
    }
    EXPECT_EQ(Contents(Path(ROOT, "kx100\\V5.0\\sub\\j.jcp")), "capabilities");
    EXPECT_EQ(Contents(Path(ROOT, "kx100\\V5.0\\n.CAB")), "missing");
    EXPECT_EQ(Contents(VTEXT("C:\\windows\\system32\\spool\\drivers\\color\\p.icm")), "another's");
    EXPECT_EQ(Data(VTEXT("PDMap-1")).substr(0, 34), "KX 2,1.3.6.1.4.1.99999.8.63:FAMPAT");
    EXPECT_EQ(Data(VTEXT("XProductData")).substr(0, 4), "1;3;");

    // Another process takes the records from the printer.
    ProductData::ClearCachedMapData();
    ProductData oProduct(oQueue, CXString(), MT_PRINTER_INI_DATA, CXString());
    ASSERT_TRUE(oProduct.IsValidated() && oProduct.IsInitialized() && oProduct.IsPrinterLocal());
    EXPECT_EQ(oProduct.GetModelName(), VTEXT("Velom KX 1"));
    CXString cs;
    EXPECT_TRUE(oProduct.GetInfo(PD_PRODUCT_UNIQUE_ID, cs) && cs == VTEXT("kx10"));
    EXPECT_TRUE(oProduct.GetPath(PD_FAMPATH, cs) && cs == Path(ROOT, "kx100\\V5.0"));
    ASSERT_TRUE(oProduct.UpdateRegistryWithProductDataValues());
    EXPECT_EQ(Data(VTEXT("xColor")) + Data(VTEXT("xUPDCurrentModel")) + Data(VTEXT("xCurrentProdUID")),
              "colorVelom KX 1kx10");
    ByteBuffer bb;
    ASSERT_TRUE(oProduct.GetPDLCommand(VTEXT("Sides"), VTEXT("Long"), PdlType::PCL6, bb, nullptr, 600));
    EXPECT_EQ(ToHex(bb.GetVector()), "C001F835C15802");
    ProductData oCopy;
    oCopy = oProduct;
    EXPECT_EQ(oCopy.GetModelName(), VTEXT("Velom KX 1"));
    EXPECT_EQ(oCopy.GetAssociatedPrinterHandle(), static_cast<HANDLE>(oQueue));
}

TEST_F(UnpackedProductTest, RecordsThatAreNotWholeCountForNothing) {
    const std::string strSummary = Data(VTEXT("XProductData"));
    const std::pair<const XCHAR*, std::string> aRows[] = {{VTEXT("PDMap-0"), "Velom KX 9:FAMPATH=evil"},
                                                          {VTEXT("PDMap-2"), "no colon"},
                                                          {VTEXT("XProductData"), "1;2" + strSummary.substr(3)},
                                                          {VTEXT("XProductData"), "2" + strSummary.substr(1)},
                                                          {VTEXT("XProductData"), "1;99999999999999999999;0"}};
    for (const auto& [pszValue, text] : aRows) {
        const std::string strFormer = Data(pszValue);
        oFake.printing.AddData(VTEXT("Q"), pszValue, Wide(text));
        EXPECT_FALSE(oProduct.UpdateCachedMapData(ProductData::REFRESH)) << text;
        oFake.printing.AddData(VTEXT("Q"), pszValue, Wide(strFormer));
    }
    EXPECT_TRUE(oProduct.UpdateCachedMapData(ProductData::REFRESH));
    EXPECT_EQ(oProduct.GetMappings().size(), 3u);
    // Fewer records than before leave none of the former ones.
    oFake.files.AddFile(Path(ROOT, "velom.map").View(), BytesOf("One:A=1\n"));
    EXPECT_TRUE(oProduct.UpdateRegistryMappings(CXString(), ProductData::OUTERMOST));
    EXPECT_EQ(Data(VTEXT("PDMap-0")) + Data(VTEXT("PDMap-1")), "One:A=1missing");
    RecordingSink oSink;
    oFake.files.AddFile(Path(ROOT, "velom.map").View(), BytesOf("comment;\n"));
    EXPECT_FALSE(oProduct.UpdateRegistryMappings(CXString(), ProductData::OUTERMOST));
    EXPECT_EQ(oSink.Count("Must never write out an empty set"), 1u);
    EXPECT_EQ(oSink.Count("(productNames.size())"), 1u);
    EXPECT_EQ(Data(VTEXT("PDMap-0")), "One:A=1");
}

TEST_F(ProductDataTest, ModelsAreFoundAcrossTheSet) {
    ProductData oProduct;
    UseMap(oFake, oProduct, MODELS_MAP, VTEXT("1 KX"));
    EXPECT_FALSE(oProduct.IsValidated());
    EXPECT_EQ(oProduct.GetModelFromSysObjectId(VTEXT("1.3.6.1.4.1.99999.8.63.7")), VTEXT("KX 2"));
    EXPECT_EQ(oProduct.GetModelFromSysObjectId(VTEXT("1.3.6.1.4.1.99999.8")), CXString());
    std::vector<CXString> vcs;
    EXPECT_TRUE(oProduct.GetSysObjectIdsFromModel(VTEXT("Velom KX 2"), vcs) && vcs.size() == 1);
    EXPECT_EQ(oProduct.GetPrinterControllerFromModel(VTEXT("KX 2")), DataModelIds::VAL_CONTROLLER_SERVER);
    EXPECT_EQ(oProduct.GetPrinterColorModeSupportedFromSysObjectId(VTEXT("9")), DataModelIds::VAL_UNSPECIFIED);
    EXPECT_EQ(oProduct.GetPrinterPDLsSupportedFromModel(VTEXT("KX 1")), PDL_BIT_PCL6 | PDL_BIT_PSCRIPT);
    std::set<CXString> setModels;
    EXPECT_TRUE(oProduct.GetSupportedModelsFromController(DataModelIds::VAL_CONTROLLER_SERVER, setModels));
    EXPECT_EQ(setModels, std::set<CXString>{VTEXT("KX 2")});
    ProductData::InstalledModels oModels;
    EXPECT_TRUE(oProduct.EnumerateInstalledDriverModels(oModels));
    EXPECT_EQ(oModels.setUniversal, std::set<CXString>{VTEXT("KX Walk")});
    EXPECT_EQ(oModels.setPdf, std::set<CXString>{VTEXT("KX 2")});
    EXPECT_TRUE(oProduct.EnumerateInstalledDriverModels(setModels));
    EXPECT_EQ(setModels, (std::set<CXString>{VTEXT("Velom KX 1"), VTEXT("KX 2")}));
}

TEST_F(UnpackedProductTest, FilesAreUnpackedOnDemandAndNeverOutsideTheirFolder) {
    ASSERT_TRUE(Choose("KX 1"));
    oFake.files.Delete(Path(ROOT, "kx100\\V5.0\\a.aut"));
    RecordingSink oSink;
    ByteBuffer bb;
    EXPECT_TRUE(oProduct.LoadFile(PD_AUTO, bb));
    EXPECT_EQ(ToHex(bb.GetVector()), ToHex(BytesOf("auto")));
    EXPECT_EQ(oSink.Count("Did not find CAB file contents, attempting to unpack when loading a.aut file"), 1u);
    EXPECT_EQ(oSink.Count("Successfully read a.aut file: "), 1u);
    EXPECT_FALSE(oProduct.LoadFile(PD_HALFTONES, bb));
    EXPECT_FALSE(oProduct.LoadFile(PD_XMLCONSTRAINT, bb));  // named by the rule, and in no CAB
    EXPECT_EQ(oSink.Count("Unable to extract KX One.xcf file, even though it is present in the MAP file"), 1u);
    ASSERT_TRUE(Choose("KX 2"));
    EXPECT_FALSE(oProduct.LoadFile(PD_AUTO, bb));  // "..\evil"
    ASSERT_TRUE(Choose("KX Walk"));
    EXPECT_TRUE(oProduct.GetPrinterModelProductDataFolder().IsEmpty());  // "..\kx"
    // A newer file from a print server comes first.
    ASSERT_TRUE(Choose("KX 1"));
    const CXString csPublic = oProduct.GetPublicDCPFolderPath(ProductData::WITH_VERSION);
    EXPECT_EQ(csPublic, Path(ROOT, "Public\\DCPs\\kx100\\V5.0"));
    oFake.files.AddFile(Path(csPublic, "a.aut").View(), BytesOf("newer"));
    EXPECT_TRUE(oProduct.LoadFile(PD_AUTO, bb) && bb.size() == 4);
    oFake.files.AddFile(Path(csPublic, "DCPVersion.txt").View(), BytesOf("5.1009.1.2\r\n"));
    EXPECT_TRUE(oProduct.LoadFile(PD_AUTO, bb) && bb.size() == 5);
    EXPECT_EQ(oProduct.GetDCPContentVersion(), VTEXT("5.1009.1.2"));
    EXPECT_EQ(oProduct.GetDCPMap()[VTEXT("kx100")], VTEXT("5.1009.1.2"));
    // So do its records, wherever the search begins; those of older data come last.
    oFake.files.AddFile(Path(csPublic, "new.map").View(), BytesOf("KX 1:PRODUCTNAME=Newer\n"));
    oFake.files.AddFile(Path(ROOT, "Public\\DCPs\\aaaaa\\old.map").View(), BytesOf("KX 2:OLD=1\n"));
    for (const auto& [pszFolder, cRecords] : {std::pair{ROOT, 5u}, {VTEXT(""), 1u}}) {
        EXPECT_TRUE(oProduct.UpdateRegistryMappings(pszFolder, ProductData::OUTERMOST));
        const std::vector<MappingData> voMappings = oProduct.GetMappings();
        ASSERT_EQ(voMappings.size(), cRecords);
        EXPECT_EQ(voMappings.front().GetData(VTEXT("PRODUCTNAME")), VTEXT("Newer"));
        EXPECT_EQ(voMappings.back().GetData(VTEXT("OLD")), cRecords > 1 ? VTEXT("1") : VTEXT(""));
    }
}

TEST_F(UnpackedProductTest, ABrokenProductLeavesWhatWasThere) {
    const auto vFormer = oFake.files.FileNames();
    std::string strNested = StoredCabText({{"x", "1"}});
    for (int i = 0; i < 6; ++i)
        strNested = StoredCabText({{"deeper" + std::to_string(i) + ".cab", strNested}});
    const CabMembers aBroken[] = {{{"velom.map", "X:A=1"}, {"..\\evil", "x"}},
                                  {{"velom.map", "X:A=1"}, {"kx100\\bad.cab", "no cabinet"}},
                                  {{"velom.map", "X:A=1"}, {"deep.cab", strNested}}};
    for (const CabMembers& rMembers : aBroken) {
        oFake.files.AddFile(Path(DRIVER_FOLDER, "q9kx10073.cab").View(), StoredCab(rMembers));
        EXPECT_FALSE(oProduct.UnpackProductCabFile());
        EXPECT_TRUE(oFake.files.FileNames() == vFormer);
        EXPECT_EQ(Contents(Path(ROOT, "velom.map")), MODELS_MAP);
    }
    RecordingSink oSink;
    oFake.files.Delete(Path(DRIVER_FOLDER, "q9kx10073.cab"));
    EXPECT_FALSE(oProduct.UnpackProductCabFile());
    EXPECT_EQ(oSink.Count("'Always Overwrite') failed with return code of 0/0x0."), 1u);
    EXPECT_EQ(oSink.Count("(1 == iReturn)"), 1u);
    ProductData oTransient;
    EXPECT_FALSE(oTransient.UnpackProductCabFile());
    EXPECT_EQ(oSink.Count("XUnpackProductCabFile() #1: "), 1u);
}

TEST_F(UnpackedProductTest, DtdAndJarFilesGoBesideTheVersions) {
    oFake.files.AddFile(Path(DRIVER_FOLDER, "q9dtd073.cab").View(), StoredCab({{"j.dtd", "dtd"}}));
    oFake.files.AddFile(Path(DRIVER_FOLDER, "q9jar073_2.cab").View(), StoredCab({{"a.jar", "jar"}}));
    ASSERT_TRUE(Choose("KX 1"));
    EXPECT_TRUE(oProduct.UnpackDtdCabFile(0));
    EXPECT_TRUE(oProduct.UnpackJarCabFile(2));
    EXPECT_FALSE(oProduct.UnpackJarCabFile(0));
    EXPECT_EQ(Contents(Path(ROOT, "kx100\\DTDs\\j.dtd")), "dtd");
    EXPECT_EQ(Contents(Path(ROOT, "kx100\\JARs\\a.jar")), "jar");
    // Another process has taken the mutexes' names.
    for (const auto& [pszWhat, pszFolder] :
         {std::pair{"UnpackDtdCabFile", "\\kx100\\DTDs"}, {"UnpackJarCabFile", "\\kx100\\JARs"}}) {
        const CXString csTarget = (CXString(ROOT) + CXString(pszFolder)).MakeLower();
        const CXString csName =
            CXString::FormatString(VTEXT("Global\\Velom_%S_%08lX"), pszWhat, Hash32::GetHash32(csTarget));
        oFake.events.TakeName(csName, FakeEventPort::Kind::Event);
    }
    RecordingSink oSink;
    EXPECT_FALSE(oProduct.UnpackDtdCabFile(0) || oProduct.UnpackJarCabFile(2));
    EXPECT_EQ(oSink.Count("Unable to get Mutex after 300 tries!"), 2u);
}

TEST_F(UnpackedProductTest, DataFilesTravelToAndFromAServer) {
    oFake.printing.AddQueueNamed(VTEXT("\\\\SRV\\Q"), VTEXT("Velom KX"));
    oFake.printing.AddData(VTEXT("\\\\SRV\\Q"), VTEXT("xProdUID"), VTEXT("kx10"));
    ASSERT_TRUE(Choose("KX 1"));
    const OpenQueue oConnection(VTEXT("\\\\SRV\\Q"));
    ProductData oModel;
    oModel = oProduct;
    oProduct.Initialize(oConnection, CXString(), MT_MODEL_NAME, CXString());
    oProduct.CopyFromAnother(oModel, false, true);
    const CXString csServer("\\\\SRV\\print$\\W32X86\\3\\Velom\\Product Data\\Public\\DCPs\\kx100\\V5.0");
    RecordingSink oSink;
    EXPECT_FALSE(oProduct.CopyDCPContentFromPrintServer());
    EXPECT_FALSE(oProduct.PushDCPContentToPrintServer());
    EXPECT_EQ(oSink.Count("failed to copy DCP content from the print server."), 1u);
    EXPECT_EQ(oSink.Count("failed to push DCP content to the print server."), 1u);
    for (const char* pszName : {"a.aut", "run.exe"})
        oFake.files.AddFile(Path(csServer, pszName).View(), BytesOf("from server"));
    oFake.files.AddLink(Path(csServer, "link.xml").View(), false);
    EXPECT_TRUE(oProduct.CopyDCPContentFromPrintServer());
    const CXString csPublic = Path(ROOT, "Public\\DCPs\\kx100\\V5.0");
    EXPECT_EQ(Contents(Path(csPublic, "a.aut")), "from server");
    EXPECT_EQ(Contents(Path(csPublic, "run.exe")) + Contents(Path(csPublic, "link.xml")), "missingmissing");
    oFake.files.AddFile(Path(csPublic, "b.xml").View(), BytesOf("to server"));
    EXPECT_TRUE(oProduct.PushDCPContentToPrintServer());
    EXPECT_EQ(Contents(Path(csServer, "b.xml")), "to server");
    // The printer's data is the server's.
    EXPECT_TRUE(oProduct.UpdateRegistryMappings(ROOT, ProductData::OUTERMOST));
    EXPECT_FALSE(oProduct.UpdateRegistryWithProductDataValues());
    EXPECT_EQ(oSink.Count("CODING ERROR"), 0u);
}

TEST_F(ProductDataTest, SourcePathsAreFullAndForTheUniversalDrivers) {
    const std::pair<const XCHAR*, bool> aRows[] = {{VTEXT("C:\\data"), true},
                                                   {VTEXT("\\\\srv\\share\\data"), true},
                                                   {VTEXT("\\\\srv"), false},
                                                   {VTEXT("\\\\srv\\..\\x"), false},
                                                   {VTEXT("data"), false}};
    for (const auto& [path, valid] : aRows) {
        EXPECT_EQ(ProductData::IsValidProductDataSourcePath(path, VTEXT("Velom QPD")), valid) << Narrow(path);
        EXPECT_FALSE(ProductData::IsValidProductDataSourcePath(path, VTEXT("KX 1")));
    }
}

// A refresh swaps the records while others look models up: each sees the old ones or the new ones.
TEST_F(ProductDataTest, LookUpsAndRefreshesRunConcurrently) {
    ProductData oProduct;
    UseMap(oFake, oProduct, MODELS_MAP, VTEXT("KX 1"));
    std::vector<std::thread> voThreads;
    for (int i = 0; i < 4; ++i) {
        voThreads.emplace_back([i] {
            ProductData oOwn(nullptr, VTEXT("KX 1"), MT_MODEL_NAME, CXString());
            for (int n = 0; n < 200; ++n) {
                if (i == 0) oOwn.UpdateRegistryMappings(CXString(), ProductData::OUTERMOST);
                CXString csModel(VTEXT("KX 2"));
                EXPECT_TRUE(oOwn.ValidateModelInfo(csModel, false));
                EXPECT_EQ(oOwn.GetModelFromSysObjectId(VTEXT("1.3.6.1.4.1.99999.8.62.1")), VTEXT("Velom KX 1"));
            }
        });
    }
    for (std::thread& r : voThreads)
        r.join();
}

}  // namespace

}  // namespace vlm::test
