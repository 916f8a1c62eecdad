/// @file
/// A printer's operations with every call and every allocation failing once.
#include "environment/Printer.h"
#include "support/FaultLoop.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm::test {
namespace {

constexpr const XCHAR* DATA = Printer::PRINTER_DRIVER_DATA;

/// Opens the queue; the operation may throw what a printer throws.
template <class Operation>
auto OnQueue(Operation operation) {
    return [operation] {
        bool fDone = false;
        const FaultOutcome eOutcome = Attempt<ExceptionPrinterFailure, ExceptionOutOfMemory>([&] {
            Printer oPrinter;
            oPrinter.CreateAllAccessHandle(VTEXT("Queue"));
            fDone = operation(oPrinter);
        });
        return fDone ? eOutcome : FaultOutcome::Failed;
    };
}

TEST(PrinterFaultTest, NothingIsLeftOpenWhateverFails) {
    const FaultRow aoRows[] = {
        {"identity", OnQueue([](Printer& r) {
             return r.GetPrinterName() == VTEXT("Queue") && r.GetPrinterProductUniqueIdFromIniFile() == VTEXT("UID") &&
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
