/// @file
/// Operations on queues, drivers, ports and the texts of products with every call and every allocation failing.
#include "environment/LocalPort.h"
#include "environment/MapFile.h"
#include "environment/PdlCommands.h"
#include "environment/Printer.h"
#include "environment/TCPMonPort.h"
#include "printing/PrintDriverFixture.h"
#include "support/Bytes.h"
#include "support/FaultLoop.h"

namespace vlm::test {
namespace {

constexpr const XCHAR* DATA = Printer::PRINTER_DRIVER_DATA;

/// An operation that tells whether it did what it is for, and may throw its own exception.
template <class Exception, class Operation>
auto Doing(Operation operation) {
    return [operation] {
        bool fDone = false;
        const FaultOutcome eOutcome = Attempt<Exception, ExceptionOutOfMemory>([&] { fDone = operation(); });
        return fDone ? eOutcome : FaultOutcome::Failed;
    };
}

template <class Operation>
auto OnQueue(Operation operation) {
    return Doing<ExceptionPrinterFailure>([operation] {
        Printer oPrinter;
        oPrinter.CreateAllAccessHandle(QUEUE);
        return operation(oPrinter);
    });
}

template <class Operation>
auto OfDriver(Operation operation) {
    return Doing<ExceptionPrintDriverFailure>([operation] {
        OpenPrintDriver oDriver;
        return operation(oDriver);
    });
}

template <class Operation>
auto OfTexts(Operation operation) {
    return Doing<ExceptionOutOfMemory>(operation);
}

ByteBuffer Text(const char* pszText) {
    return ByteBuffer(BytesOf(pszText));
}

TEST(PrintingFaultTest, NothingIsLeftOpenWhateverFails) {
    using Type = PrintDriver::FileType;
    const FaultRow aoRows[] = {
        {"identity", OnQueue([](Printer& r) {
             return r.GetPrinterName() == QUEUE && r.GetPrinterProductUniqueIdFromIniFile() == VTEXT("UID") &&
                    r.GetPrinterModelIdFromIniFile() == VTEXT("17");
         })},
        {"information", OnQueue([](Printer& r) { return r.GetPrinterInfo2AndConvertToPrinterInfo5() != nullptr; })},
        {"settings", OnQueue([](Printer& r) {
             r.SetDeviceSettings(ByteBuffer::createFromLongValue(7));
             ByteBuffer bbRead;
             return r.GetDeviceSettings(bbRead) && bbRead.size() == 4;
         })},
        {"cache", OnQueue([](Printer& r) {
             ByteBuffer bbRead;
             return r.SetCachedDeviceSettingsInRegistry(true, ByteBuffer::createFromLongValue(7)) &&
                    (r.GetCachedDeviceSettingsFromRegistry(bbRead), true) && r.ClearDeviceSettingsCacheIfExists(true);
         })},
        {"mirror", OnQueue([](Printer& r) {
             BYTE abyData[8];
             DWORD cbNeeded = 0;
             return Printer::SetFlagToEnablePrinterDriverDataMirroring(r.GetPrinterHandle(), true) &&
                    Printer::GetPrinterDataExMandatoryWrapper(r.GetPrinterHandle(), DATA, VTEXT("Mirrored"), nullptr,
                                                              abyData, 8, &cbNeeded) == 0;
         })},
        {"a value with a CRC", OnQueue([](Printer& r) {
             BYTE abyData[] = {1, 2, 3};
             return r.SetCrc32PrinterData(r.GetPrinterHandle(), VTEXT("F"), 3, abyData, 3) &&
                    r.GetCrc32PrinterData(r.GetPrinterHandle(), VTEXT("F")) != nullptr;
         })},
        {"address", OnQueue([](Printer& r) {
             CXString csAddress;
             return r.GetPrinterIPOrHostFromPort(VTEXT("PMC Portmon"), VTEXT("X1"), csAddress);
         })},
        {"lists", OnQueue([](Printer& r) {
             std::vector<CXString> vcsNames, vcsData;
             return Printer::EnumeratePrinterNames(vcsNames) &&
                    Printer::EnumPrinterDataNames(r.GetPrinterHandle(), DATA, vcsData) == 0;
         })},
        {"capabilities", OfDriver([](OpenPrintDriver& r) { return r.GetCapabilities(QUEUE) != 0; })},
        {"files",
         OfDriver([](OpenPrintDriver& r) { return !r.GetDriverFiles(QUEUE, Type::FT_PRODUCT_CAB).IsEmpty(); })},
        {"values",
         OfDriver([](OpenPrintDriver& r) { return r.GetDeviceFeatureValueStrings(QUEUE, VTEXT("xPDL")).size() == 1; })},
        {"CAB time", OfDriver([](OpenPrintDriver& r) {
             CXString csFile;
             BlockFileTime oTime;
             return r.GetProductDataCabFileNameAndFileTime(QUEUE, csFile, AsSystemFileTime(&oTime)) &&
                    r.HasProductCabBeenExtracted(QUEUE);
         })},
        {"add driver", OfDriver([](OpenPrintDriver& r) {
             return PrintDriver::AddPrintDriver(DRIVER, r.GetPrinterDriverDirectoryRoot(CXString()), VTEXT("v.inf"));
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
    };
    FaultLoop oLoop;
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        Install(rFake);
        rFake.files.AddFolder(FOLDER + VTEXT("\\Velom\\Product Data\\Family"));
        rFake.files.AddFile(FOLDER + VTEXT("\\q9ab1073.cab"), {1});
        rFake.printing.AddData(QUEUE, VTEXT("xProdUID"), VTEXT("UID"));
        rFake.printing.AddData(QUEUE, VTEXT("xModelId"), VTEXT("17"));
        const XString machine = VTEXT("HKEY_LOCAL_MACHINE\\");
        rFake.registry.AddDword(machine + VTEXT("Software\\Velom\\PrinterDriver\\V5.0\\Q\\Mirrored\\PrinterDriverData"),
                                VTEXT("Mirrored"), 1);
        rFake.registry.AddText(
            machine + VTEXT("System\\CurrentControlSet\\Control\\Print\\Monitors\\PMC Portmon\\Ports\\X1"),
            VTEXT("HostName"), VTEXT("dev"));
    };
    oLoop.vStatuses = {Status::AccessDenied, static_cast<Status>(SpoolerPort::SERVER_UNAVAILABLE)};
    RunFaultRows(aoRows, oLoop);
}

}  // namespace
}  // namespace vlm::test
