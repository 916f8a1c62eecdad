/// @file
/// Product data with every call and every allocation failing.
#include <functional>
#include <optional>

#include "printing/PrintingFaults.h"
#include "printing/ProductBench.h"

namespace vlm::test {

namespace {

constexpr const char* PUBLIC_FILE =
    "C:\\windows\\system32\\spool\\drivers\\x64\\3\\Velom\\Product Data\\Public\\DCPs\\kx100\\V5.0\\a.aut";
constexpr const char* SERVER_FILE = "\\\\SRV\\print$\\W32X86\\3\\Velom\\Product Data\\Public\\DCPs\\kx100\\V5.0\\a.aut";

// The records are the printer's already, the product is not unpacked whole.
void AddRecords(FakePlatform& rFake) {
    static const auto svRecords = RecordsOf(MODELS_MAP);
    AddProduct(rFake);
    AddRecordsOf(rFake, svRecords);
    rFake.files.AddFile(Path(ROOT, "velom.map").View(), BytesOf(MODELS_MAP));
    rFake.files.AddFile(Path(ROOT, "kx100\\V5.0\\c.pdl").View(), BytesOf(COMMANDS_FILE));
}

std::string ContentsOf(const FakePlatform& rFake, const CXString& kcsPath) {
    const auto contents = rFake.files.Contents(kcsPath.View());
    return contents ? std::string(contents->begin(), contents->end()) : "missing";
}

/// Rows of questions to one object, which is made before the faults begin: each loop meets its question alone.
class ProductFaultTest : public testing::Test {
protected:
    struct Question {
        const char* pszName;
        std::function<bool(ProductData&)> fnAsk;
    };

    /// A transient object with a record of everything.
    void UseRecord() {
        m_oLoop.fnPrepare = [this](FakePlatform& rFake) {
            ProductData::ClearCachedMapData();
            rFake.files.AddFile(VTEXT("C:\\t\\Product Data\\m.map"), BytesOf(RECORD));
            m_oProduct.emplace(nullptr, CXString(), MT_MODEL_NAME, VTEXT("C:\\t"));
            m_oProduct->UpdateRegistryMappings(CXString(), ProductData::OUTERMOST);
            m_oProduct->Initialize(nullptr, VTEXT("KX 1"), MT_MODEL_NAME, CXString());
            m_oProduct->GetModelFromSysObjectId(VTEXT("1.3.6"));  // makes the tables of the look-ups
        };
    }
    /// An object of a printer; the handle stays open.
    void UsePrinter(const XCHAR* pszQueue) {
        m_oLoop.fnPrepare = [this, pszQueue](FakePlatform& rFake) {
            AddRecords(rFake);
            ProductData::ClearCachedMapData();
            rFake.printing.AddQueueNamed(VTEXT("\\\\SRV\\Q"), VTEXT("Velom KX"));
            rFake.printing.AddData(VTEXT("\\\\SRV\\Q"), VTEXT("xProdUID"), VTEXT("kx10"));
            rFake.files.AddFile(Path(DRIVER_FOLDER, "q9dtd073.cab").View(), StoredCab({{"j.dtd", "dtd"}}));
            rFake.files.AddFile(Path(DRIVER_FOLDER, "q9jar073_2.cab").View(), StoredCab({{"a.jar", "jar"}}));
            HANDLE hModel = nullptr, hPrinter = nullptr;
            rFake.spooler.OpenPrinterHandle(VTEXT("Q"), SpoolerPort::ALL_ACCESS, hModel);
            rFake.spooler.OpenPrinterHandle(pszQueue, SpoolerPort::ALL_ACCESS, hPrinter);
            ProductData oModel(hModel, VTEXT("KX 1"), MT_MODEL_NAME, CXString());
            m_oProduct.emplace(hPrinter, CXString(), MT_MODEL_NAME, CXString());
            m_oProduct->CopyFromAnother(oModel, false, true);
            ASSERT_TRUE(m_oProduct->IsValidated());
        };
    }
    void Run(std::initializer_list<Question> questions) {
        for (const Question& rQuestion : questions) {
            const FaultRow aoRows[] = {
                {rQuestion.pszName, [this, &rQuestion] {
                     bool fDone = false;
                     const FaultOutcome eOutcome =
                         Attempt<ExceptionPrinterFailure, ExceptionPrintDriverFailure, ExceptionOutOfMemory>(
                             [&] { fDone = rQuestion.fnAsk(*m_oProduct); });
                     return fDone ? eOutcome : FaultOutcome::Failed;
                 }}};
            RunFaultRows(aoRows, m_oLoop);
        }
    }

    static constexpr const char* RECORD =
        "Velom KX 1,1.3.6.1:FAMPATH=kx100;PRODUCTNAME=KX One;PRINTERLANG=PCL6 pdf;COLORCAPABLE=color;COMPANYNAME=VX;"
        "CONTROLLERFAMILY=KESTRIX;PLATFORMVERSION=2.5;RATEDSPEED=45;ACCOUNTINGPROMPTS=x, CODE9;CUSTOMHALFTONING=yes\n";
    static constexpr const XCHAR *MODEL = VTEXT("Velom KX 1"), *OID = VTEXT("1.3.6.1.7");
    FaultLoop m_oLoop;
    std::optional<ProductData> m_oProduct;
    const EmptyCaches m_oCaches;
};

// A wrong answer is none of the ways to fail.
TEST_F(ProductFaultTest, RecordsAreToldRightOrNotAtAll) {
    constexpr auto KESTRIX = DataModelIds::VAL_CONTROLLER_KESTRIX;
    constexpr auto COLOR = DataModelIds::VAL_COLOR;
    UseRecord();
    Run({{"record",
          [](ProductData& r) {
              CXString cs;
              Must(r.GetCompanyName() == DataModelIds::VAL_COMPANY_VX && r.GetPlatformVersion() == 2.5 &&
                       r.GetControllerFamily(ProductData::AS_NEEDED) == KESTRIX && r.GetRatedSpeed() == 45 &&
                       r.IsAccountingPromptAllowed(VTEXT("CODE9")) && r.DoesDriverSupportPCL5CustomHalftoning() &&
                       r.GetInfo(PD_COMPANYNAME, cs) && cs == VTEXT("VX"),
                   "a wrong answer");
              ProductData oCopy, oEmpty;
              oCopy = r;
              // Questions before their time are assertions.
              Must(oEmpty.GetModelName().IsEmpty() && oEmpty.GetInfo(VTEXT("FAMPATH")).IsEmpty(),
                   "an answer from nothing");
              return oCopy.GetModelName() == MODEL;
          }},
         {"look-ups", [](ProductData& r) {
              std::vector<CXString> vcsIds;
              std::set<CXString> setModels, setOfController;
              Must(r.GetModelFromSysObjectId(OID) == MODEL && r.GetSysObjectIdsFromModel(MODEL, vcsIds) &&
                       r.GetPrinterControllerFromModel(MODEL) == KESTRIX &&
                       r.GetPrinterControllerFromSysObjectId(OID) == KESTRIX &&
                       r.GetPrinterColorModeSupportedFromModel(MODEL) == COLOR &&
                       r.GetPrinterColorModeSupportedFromSysObjectId(OID) == COLOR &&
                       r.GetPrinterPDLsSupportedFromModel(MODEL) == PDL_BIT_PCL6 &&
                       r.GetPrinterPDLsSupportedFromSysObjectId(OID) == PDL_BIT_PCL6,
                   "a wrong answer");
              return r.EnumerateInstalledDriverModels(setModels) &&
                     r.GetSupportedModelsFromController(KESTRIX, setOfController) && setOfController == setModels;
          }}});
}

TEST_F(ProductFaultTest, FilesAreWholeAndAnswersHonest) {
    UsePrinter(VTEXT("Q"));
    m_oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome) {
        for (const auto& [pszFile, pszWhole] :
             {std::pair{"velom.map", MODELS_MAP}, {"kx100\\DTDs\\j.dtd", "dtd"}, {"kx100\\JARs\\a.jar", "jar"}}) {
            const std::string strContents = ContentsOf(rFake, Path(ROOT, pszFile));
            EXPECT_TRUE(strContents == pszWhole || strContents == "missing") << pszFile;
        }
    };
    m_oLoop.vModes = {FaultMode::FailOnce};
    Run({{"answers", [](ProductData& r) {
              CXString cs;
              Must(!r.HasProductCabBeenExtracted(), "it has not");
              Must(r.GetDCPContentVersion() == ProductData::DEFAULT_DCP_VERSION && r.GetDCPMap().empty(),
                   "there is none");
              return r.GetPath(PD_AUTO, cs) && r.UpdateRegistryWithProductDataValues();
          }}});
    m_oLoop.fAllocations = m_oLoop.fRunAgain = false;  // the unpacking's are another test's
    Run({{"DTD", [](ProductData& r) { return r.UnpackDtdCabFile(0); }},
         {"JAR", [](ProductData& r) { return r.UnpackJarCabFile(2); }}});
}

TEST_F(ProductFaultTest, FilesTravelWholeToAndFromAServer) {
    UsePrinter(VTEXT("\\\\SRV\\Q"));
    m_oLoop.vModes = {FaultMode::FailOnce};
    m_oLoop.fRunAgain = false;
    for (const bool fPush : {false, true}) {
        const CXString csFrom = fPush ? PUBLIC_FILE : SERVER_FILE, csTo = fPush ? SERVER_FILE : PUBLIC_FILE;
        m_oLoop.fAllocations = !fPush;  // it is the same copy
        m_oLoop.fnPrepare = [fnPrepare = m_oLoop.fnPrepare, csFrom](FakePlatform& rFake) {
            fnPrepare(rFake);
            rFake.files.AddFile(csFrom.View(), BytesOf("contents"));
        };
        m_oLoop.fnCheck = [csTo](FakePlatform& rFake, FaultOutcome eOutcome) {
            const std::string strContents = ContentsOf(rFake, csTo);
            EXPECT_TRUE(strContents == "contents" || (eOutcome == FaultOutcome::Failed && strContents == "missing"));
        };
        Run({{"copy", [fPush](ProductData& r) {
                  ProductData oOwn;
                  oOwn = r;
                  return fPush ? oOwn.PushDCPContentToPrintServer() : oOwn.CopyDCPContentFromPrintServer();
              }}});
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
    oLoop.fnPrepare = AddRecords;
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome) {
        const auto contents = rFake.files.Contents(Path(ROOT, "velom.map").View());
        EXPECT_TRUE(contents && *contents == BytesOf(MODELS_MAP));
    };
    const FaultRow aQuick[] = {{"initialise", With([](ProductData& r) { return r.IsValidated(); })}};
    RunFaultRows(aQuick, oLoop);
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        AddRecords(rFake);
        rFake.files.AddFile(
            Path(DRIVER_FOLDER, "q9kx10073.cab").View(),
            StoredCab({{"kx100\\V5.0\\n.CAB", StoredCabText({{"a.aut", "auto"}, {"p.icm", "profile"}})}}));
    };
    oLoop.fRunAgain = false;
    oLoop.fAllocations = false;  // thousands; the unpacking's are another test's
    const FaultRow aLong[] = {
        {"load, and unpack on the way", With([](ProductData& r) {
             ByteBuffer bb;
             return r.LoadFile(PD_AUTO, bb) && bb.size() == 4;
         })},
        {"PDL command", With([](ProductData& r) {
             ByteBuffer bb;
             return r.GetPDLCommand(VTEXT("Sides"), VTEXT("Long"), PdlType::PCL6, bb, nullptr) && bb.size() > 3;
         })},
    };
    RunFaultRows(aLong, oLoop);
}

// The records are the former or the new ones, and nobody takes a part of them for all.
TEST(ProductDataFaultTest, RecordsAreReplacedWholeOrNotAtAll) {
    FaultLoop oLoop;
    oLoop.vModes = {FaultMode::FailOnce};
    oLoop.fAllocations = false;
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        AddRecords(rFake);
        rFake.files.AddFile(Path(ROOT, "b.map").View(), BytesOf("Further:A=1\n"));
    };
    oLoop.fnRun = [] {
        bool fDone = false;
        const FaultOutcome eOutcome = Attempt<ExceptionPrinterFailure, ExceptionPrintDriverFailure>([&] {
            const EmptyCaches oCaches;
            const OpenQueue oQueue;
            fDone = ProductData(oQueue, CXString(), MT_MODEL_NAME, CXString())
                        .UpdateRegistryMappings(CXString(), ProductData::OUTERMOST);
        });
        return fDone ? eOutcome : FaultOutcome::Failed;
    };
    oLoop.fnCheck = [](FakePlatform&, FaultOutcome eOutcome) {
        const EmptyCaches oCaches;
        const OpenQueue oQueue;
        const std::size_t cRecords = ProductData(oQueue, CXString(), MT_MODEL_NAME, CXString()).GetMappings().size();
        EXPECT_TRUE(cRecords == 4 || (eOutcome == FaultOutcome::Failed && (cRecords == 3 || cRecords == 0)))
            << cRecords;
    };
    RunFaultLoop(oLoop);
}

}  // namespace

}  // namespace vlm::test
