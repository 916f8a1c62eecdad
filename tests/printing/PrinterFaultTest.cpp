/// @file
/// A printer's operations with every call and every allocation failing once.
#include "environment/Printer.h"
#include "support/FaultLoop.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

const FaultOutcome DONE = FaultOutcome::Succeeded, NOT_DONE = FaultOutcome::Failed;

FaultOutcome Outcome(bool fDone) {
    return fDone ? DONE : NOT_DONE;
}

/// Opens the queue; the operation may throw what a printer throws.
template <class Operation>
FaultOutcome OnQueue(Operation operation) {
    FaultOutcome eOutcome = NOT_DONE;
    const FaultOutcome eAttempt = Attempt<ExceptionPrinterFailure, ExceptionOutOfMemory>([&] {
        Printer oPrinter;
        oPrinter.CreateAllAccessHandle(VTEXT("Queue"));
        eOutcome = Outcome(operation(oPrinter));
    });
    return eAttempt == DONE ? eOutcome : NOT_DONE;
}

TEST(PrinterFaultTest, NothingIsLeftOpenWhateverFails) {
    const FaultRow aoRows[] = {
        {"open", [] { return OnQueue([](Printer& rPrinter) { return !rPrinter.GetPrinterName().IsEmpty(); }); }},
        {"identity",
         [] {
             return OnQueue([](Printer& rPrinter) {
                 return rPrinter.GetPrinterProductUniqueIdFromIniFile() == VTEXT("UID") &&
                        rPrinter.GetPrinterModelIdFromIniFile() == VTEXT("17");
             });
         }},
        {"information",
         [] {
             return OnQueue([](Printer& rPrinter) {
                 return rPrinter.GetPrinterInfo(2) && rPrinter.GetPrinterInfo2AndConvertToPrinterInfo5();
             });
         }},
        {"settings",
         [] {
             return OnQueue([](Printer& rPrinter) {
                 rPrinter.SetDeviceSettings(ByteBuffer::createFromLongValue(7));
                 ByteBuffer bbRead;
                 return rPrinter.GetDeviceSettings(bbRead) && bbRead.size() == 4;
             });
         }},
        {"cache",
         [] {
             return OnQueue([](Printer& rPrinter) {
                 ByteBuffer bbRead;
                 return rPrinter.SetCachedDeviceSettingsInRegistry(true, ByteBuffer::createFromLongValue(7)) &&
                        (rPrinter.GetCachedDeviceSettingsFromRegistry(bbRead), true);
             });
         }},
        {"clear the cache",
         [] {
             return OnQueue([](Printer& rPrinter) {
                 return rPrinter.SetCachedDeviceSettingsInRegistry(true, ByteBuffer::createFromLongValue(7)) &&
                        rPrinter.ClearDeviceSettingsCacheIfExists(true);
             });
         }},
        {"mirror",
         [] {
             return OnQueue([](Printer& rPrinter) {
                 BYTE abyData[8];
                 DWORD cbNeeded = 0;
                 return Printer::SetFlagToEnablePrinterDriverDataMirroring(rPrinter.GetPrinterHandle(), true) &&
                        Printer::GetPrinterDataExMandatoryWrapper(rPrinter.GetPrinterHandle(),
                                                                  VTEXT("PrinterDriverData"), VTEXT("Mirrored"),
                                                                  nullptr, abyData, 8, &cbNeeded) == 0;
             });
         }},
        {"a value with a CRC",
         [] {
             return OnQueue([](Printer& rPrinter) {
                 BYTE abyData[] = {1, 2, 3};
                 const HANDLE hPrinter = rPrinter.GetPrinterHandle();
                 return rPrinter.SetCrc32PrinterData(hPrinter, VTEXT("F"), 3, abyData, 3) &&
                        rPrinter.GetCrc32PrinterData(hPrinter, VTEXT("F")) != nullptr;
             });
         }},
        {"address",
         [] {
             return OnQueue([](Printer& rPrinter) {
                 CXString csAddress;
                 return rPrinter.GetPrinterIPOrHostFromPort(VTEXT("PMC Portmon"), VTEXT("X1"), csAddress);
             });
         }},
        {"lists",
         [] {
             std::vector<CXString> vcsNames, vcsData;
             return OnQueue([&](Printer& rPrinter) {
                 return Printer::EnumeratePrinterNames(vcsNames) &&
                        Printer::EnumPrinterDataNames(rPrinter.GetPrinterHandle(), VTEXT("PrinterDriverData"),
                                                      vcsData) == 0;
             });
         }},
    };
    FaultLoop oLoop;
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        rFake.printing.AddQueueNamed(VTEXT("Queue"));
        rFake.printing.AddData(VTEXT("Queue"), VTEXT("xProdUID"), VTEXT("UID"));
        rFake.printing.AddData(VTEXT("Queue"), VTEXT("xModelId"), VTEXT("17"));
        const XString machine = VTEXT("HKEY_LOCAL_MACHINE\\");
        rFake.registry.AddDword(
            machine + VTEXT("Software\\Velom\\PrinterDriver\\V5.0\\Queue\\Mirrored\\PrinterDriverData"),
            VTEXT("Mirrored"), 1);
        rFake.registry.AddText(
            machine + VTEXT("System\\CurrentControlSet\\Control\\Print\\Monitors\\PMC Portmon\\Ports\\X1"),
            VTEXT("HostName"), VTEXT("dev"));
    };
    RunFaultRows(aoRows, oLoop);
}

}  // namespace
}  // namespace vlm::test
