/// @file
/// Operations on drivers, ports, the texts of products and the sample queues with every call and every allocation
/// failing.
#include "environment/LocalPort.h"
#include "environment/MapFile.h"
#include "environment/PdlCommands.h"
#include "environment/SampleDriversImpl.h"
#include "environment/SampleQueues.h"
#include "environment/TCPMonPort.h"
#include "environment/TextResourceLoader.h"
#include "printing/PrintingFaults.h"
#include "support/Bytes.h"
#include "utilities/debuggingandexceptions/CustomerMessages.h"

namespace vlm::test {
namespace {

constexpr const XCHAR *TEXT = VTEXT("xPDL"), *NUMBER = VTEXT("number");

template <class Operation>
auto OfDriver(Operation operation) {
    return Doing<ExceptionPrintDriverFailure>([operation] {
        OpenPrintDriver oDriver;
        return operation(oDriver);
    });
}

/// The same with the handle of an open queue.
template <class Operation>
auto OfHandle(Operation operation) {
    return OfDriver([operation](OpenPrintDriver& r) {
        const Printer oQueue(QUEUE, Printer::NO_THROW);
        return oQueue.IsValidHandle() && operation(r, oQueue.GetPrinterHandle());
    });
}

template <class Operation>
auto OfTexts(Operation operation) {
    return Doing<ExceptionOutOfMemory>(operation);
}

ByteBuffer Text(const char* pszText) {
    return ByteBuffer(BytesOf(pszText));
}

FaultLoop Loop() {
    FaultLoop oLoop;
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        Install(rFake);
        rFake.files.AddFolder(FOLDER + VTEXT("\\Velom\\Product Data\\Family"));
        rFake.files.AddFile(FOLDER + VTEXT("\\q9ab1073.cab"), {1});
        rFake.files.AddFile(FOLDER + VTEXT("\\q9wftu073.dll"), {1});
        rFake.registry.AddDword(FakePrintingPorts::QueueKey(QUEUE) + VTEXT("\\PrinterDriverData"), NUMBER, 5);
        rFake.printing.AddData(QUEUE, VTEXT("xInstallCompleted"), VTEXT("Phase1Done"));
    };
    return oLoop;
}

// A wrong answer is none of the ways to fail: what is told is right, or the exception says that it cannot be told.
TEST(PrintingFaultTest, QuestionsAboutDriversAreAnsweredRightOrNotAtAll) {
    const FaultRow aoRows[] = {
        {"bits", OfDriver([](OpenPrintDriver& r) {
             Must(r.GetPDLTypeFromName(QUEUE) == DriverPDLType::PDL_PCLXL &&
                      DWORD(r.GetColorModeFromName(QUEUE)) == 0x100 && DWORD(r.GetInboxModeFromName(QUEUE)) == 0x2000 &&
                      DWORD(r.GetPrintProcessorInstalledFromName(QUEUE)) == 0x20000 &&
                      DWORD(r.GetBaseDriverTypeFromDriverInfo2(QUEUE)) == 0x11000000,
                  "wrong bits");
             Must(r.GetDriverCapability(QUEUE, 0xFF00) == 0x2100 && r.IsWcsSupported(QUEUE), "wrong capabilities");
             return true;
         })},
        {"values", OfDriver([](OpenPrintDriver& r) {
             Must(r.GetInstallationStateFromName(QUEUE) == 2 && r.GetDeviceFeatureValueDWORD(QUEUE, NUMBER) == 5 &&
                      r.GetDeviceFeatureValueBOOL(QUEUE, NUMBER) &&
                      r.GetDeviceFeatureValueString(QUEUE, TEXT) == VTEXT("PclXL") &&
                      r.GetDeviceFeatureValueStrings(QUEUE, TEXT).size() == 1,
                  "a wrong value");
             return true;
         })},
        {"names", OfDriver([](OpenPrintDriver& r) {
             Must(r.GetDriverName(QUEUE) == DRIVER && r.GetDriverPathFromName(QUEUE) == FOLDER &&
                      r.GetVelomDriverDataFilePath(QUEUE) == FOLDER + VTEXT("\\Velom") &&
                      r.GetProductUniqueIdUsedInTheDriverFilenames(QUEUE) == VTEXT("ab1") &&
                      r.GetDriverDependentFiles(QUEUE).size() == 4,
                  "a wrong name");
             Must(r.GetDriverInfo(QUEUE, 3) && r.GetDriverInfoLevel() == 3, "another level");
             return !r.GetDisplayableDriverVersion(QUEUE).IsEmpty();
         })},
    };
    FaultLoop oLoop = Loop();
    oLoop.vModes = {FaultMode::FailOnce, FaultMode::ShortOnce};  // the first failure ends the asking
    RunFaultRows(aoRows, oLoop);
}

TEST(PrintingFaultTest, NothingIsLeftOpenWhateverFails) {
    using Type = PrintDriver::FileType;
    const FaultRow aoRows[] = {
        {"capabilities", OfDriver([](OpenPrintDriver& r) { return r.GetCapabilities(QUEUE) != 0; })},
        {"files", OfDriver([](OpenPrintDriver& r) {
             for (const Type eType : {Type::FT_PRODUCT_CAB, Type::FT_TEXT_RESOURCE_CAB, Type::FT_COMPILED_DATA_FILE,
                                      Type::FT_CONFIGURATION_FILE})
                 Must(!r.GetDriverFiles(QUEUE, eType).IsEmpty(), "no file");
             return !r.GetDriverFiles(QUEUE, Type::FT_WORKFLOW).IsEmpty();
         })},
        {"language", OfDriver([](OpenPrintDriver& r) {
             return r.GetDriverLanguage(QUEUE) == DriverPDLType::PDL_PCLXL &&
                    r.GetDriverLanguageString(QUEUE) == VTEXT("PCL XL");
         })},
        {"values by handle", OfHandle([](OpenPrintDriver& r, HANDLE h) {
             return r.GetDeviceFeatureValueString(h, TEXT) == VTEXT("PclXL") &&
                    r.GetDeviceFeatureValueStrings(h, TEXT).size() == 1 &&
                    r.GetDeviceFeatureValueDWORD(h, NUMBER) == 5 && r.GetDeviceFeatureValueBOOL(h, NUMBER);
         })},
        {"text DLL", OfHandle([](OpenPrintDriver&, HANDLE h) {
             Must(TextResourceLoader::GetCompanySpecificLanguageDllFileName(h) == VTEXT("q9gtxt073.dll"),
                  "another DLL");
             return true;
         })},
        {"CAB time", OfDriver([](OpenPrintDriver& r) {
             CXString csFile;
             BlockFileTime oTime;
             return r.GetProductDataCabFileNameAndFileTime(QUEUE, csFile, AsSystemFileTime(&oTime)) &&
                    r.HasProductCabBeenExtracted(QUEUE);
         })},
        {"add driver", OfDriver([](OpenPrintDriver& r) {
             return PrintDriver::AddPrintDriver(DRIVER, r.GetPrinterDriverDirectoryRoot(CXString()), VTEXT("v.inf"));
         })},
        {"former driver", OfDriver([](OpenPrintDriver&) {
             Must(!PrintDriver::IsPreResetDriverInstalled(), "there is none");
             return PrintDriver::GetDisplayableDriverVersion() == VTEXT("5.1009.1.0N 2024.06.06");
         })},
        {"state", OfDriver([](OpenPrintDriver&) {
             return PrintDriver::SetInstallationState(QUEUE, PrintDriver::InstallationState::Phase1Done);
         })},
        {"ports", OfDriver([](OpenPrintDriver&) {
             ByteBuffer bbPorts;
             return PrinterPort::EnumeratePrinterPorts(2, bbPorts, nullptr) && LocalPort().OpenPort(VTEXT("LPT1:"));
         })},
        {"TCP port", OfDriver([](OpenPrintDriver&) {
             TCPMonPort oPort;
             return oPort.AddTCPPort("h", TCPMonPort::PortType::PT_RAW_TCP) && oPort.OpenPort("X_h");
         })},
    };
    RunFaultRows(aoRows, Loop());
    const FaultRow aoTexts[] = {
        {"map file", OfTexts([] {
             const auto voRecords = MapFile::Parse(Text("X,1.2,1.3:FAMPATH=Fam;PRODUCTNAME=X\nALL_MODELS:B=2"));
             MappingData oCopy;
             oCopy = voRecords.at(0);
             return oCopy.GetData(VTEXT("XMLCONSTRAINT")) == VTEXT("X.xcf");
         })},
        {"PDL commands", OfTexts([] {
             PdlCommands::Parse(
                 Text("<FeatureSet><FeatureItem><Instruction>1</Instruction></FeatureItem></FeatureSet>"));
             ByteBuffer bb;
             return PdlCommands::ConvertAmpCommands(VTEXT("&eA4Paper;&MediaSize;"), PdlType::PCL6, {}, bb);
         })},
        {"customers' text", OfTexts([] { return !LoadTextResource(IDS_PRODUCT_TITLE).IsEmpty(); })},
    };
    RunFaultRows(aoTexts, Loop());
}

/// A server that is not reached is none.
bool AreSampleQueuesWhole(const FakePlatform& rFake) {
    const auto IsWhole = [&](const XCHAR* pszQueue) {
        return rFake.printing.DataOf(pszQueue, VTEXT("xBaseDriverCaps")).has_value();
    };
    return IsWhole(VTEXT("Q9 Sample PCL")) && IsWhole(VTEXT("Q9 Sample PostScript")) &&
           IsWhole(VTEXT("Q9 Sample TCP")) && IsWhole(VTEXT("Q9 Sample IPP")) &&
           (IsWhole(VTEXT("\\\\Q9SERVER\\Q9 Sample Remote")) || IsWhole(VTEXT("Q9 Sample Remote")));
}

template <class Operation>
auto OfSamples(Operation operation) {
    return [operation] {
        return Attempt<ExceptionPrinterFailure, ExceptionPrintDriverFailure, ExceptionOutOfMemory>(operation);
    };
}

// Whatever failed: nothing is left lying, and the next time finishes the work.
TEST(PrintingFaultTest, SampleQueuesAreFinishedByTheNextTime) {
    FaultLoop oLoop;
    oLoop.vModes = {FaultMode::FailOnce};
    const FaultRow aoDriver[] = {{"driver", OfSamples([] { InstallSampleDriver(SAMPLE_PCL_DRIVER, ByteBuffer()); })}};
    RunFaultRows(aoDriver, oLoop);
    oLoop.fRunAgain = false;
    oLoop.fnPrepare = [](FakePlatform&) {
        InstallSampleDriver(SAMPLE_PCL_DRIVER, ByteBuffer());
        InstallSampleDriver(SAMPLE_PS_DRIVER, ByteBuffer());
    };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome eOutcome) {
        EXPECT_TRUE(AreSampleQueuesWhole(rFake) || eOutcome == FaultOutcome::Failed);
        SampleQueues::Install(ByteBuffer(), ByteBuffer());
        EXPECT_TRUE(AreSampleQueuesWhole(rFake));
    };
    oLoop.fAllocations = false;  // each would bring an installation of its own
    const FaultRow aoInstall[] = {{"install", OfSamples([] {
                                       const auto voQueues =
                                           SampleQueues::Install(ByteBuffer::createFromLongValue(7), ByteBuffer());
                                       Must(voQueues.size() == 5, "not every queue");
                                   })}};
    RunFaultRows(aoInstall, oLoop);
    oLoop.fnPrepare = [](FakePlatform&) { SampleQueues::Install(ByteBuffer(), ByteBuffer()); };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome) {
        SampleQueues::Remove();
        for (const XCHAR* pszQueue : {VTEXT("Q9 Sample PCL"), VTEXT("\\\\Q9SERVER\\Q9 Sample Remote")})
            EXPECT_FALSE(rFake.registry.HasKey(FakePrintingPorts::QueueKey(pszQueue)));
    };
    const FaultRow aoRemove[] = {{"remove", OfSamples(SampleQueues::Remove)}};
    RunFaultRows(aoRemove, oLoop);
}

}  // namespace
}  // namespace vlm::test
