/// @file
/// Operations on queues with every call and every allocation failing.
#include "environment/LocalPort.h"
#include "environment/TCPMonPort.h"
#include "platform/PrintQueuePort.h"
#include "printing/PrintingFaults.h"
// Last: it maps the spooler's names.
#include "environment/PrinterDataNames.h"

namespace vlm::test {
namespace {

constexpr const XCHAR* DATA = Printer::PRINTER_DRIVER_DATA;
constexpr const XCHAR *IPP = VTEXT("Ipp"), *FAR_QUEUE = VTEXT("\\\\SERVER\\Far"), *NEW = VTEXT("New"),
                      *NUMBER = VTEXT("number"), *MODEL = VTEXT("xModelId");

/// A published queue with data of all kinds.
void AddQueue(FakePlatform& rFake) {
    Install(rFake);
    const XString key = FakePrintingPorts::QueueKey(QUEUE);
    rFake.registry.AddDword(key, VTEXT("Attributes"),
                            PrintQueuePort::ATTRIBUTE_LOCAL | PrintQueuePort::ATTRIBUTE_PUBLISHED);
    rFake.registry.AddDword(key + VTEXT("\\PrinterDriverData"), NUMBER, 0x01020304);
    for (const auto& [pszValue, pszText] : {std::pair{VTEXT("xProdUID"), VTEXT("UID")},
                                            {MODEL, VTEXT("017")},
                                            {VTEXT("xModelVersion"), VTEXT("1.0")},
                                            {VTEXT("VlmDeviceSettings"), VTEXT("settings")}})
        rFake.printing.AddData(QUEUE, pszValue, pszText);
    rFake.registry.AddDword(
        VTEXT("HKEY_LOCAL_MACHINE\\Software\\Velom\\PrinterDriver\\V5.0\\Q\\Mirrored\\PrinterDriverData"),
        VTEXT("Mirrored"), 1);
    rFake.printing.AddData(QUEUE, VTEXT("printBinNames"), VTEXT("Tray"), VTEXT("DsDriver"));
}

/// The same on a TCP/IP port.
void AddPort(FakePlatform& rFake) {
    AddQueue(rFake);
    TCPMonPort().AddTCPPort("dev", TCPMonPort::PortType::PT_RAW_TCP);
    rFake.registry.AddText(FakePrintingPorts::QueueKey(QUEUE), VTEXT("Port"), VTEXT("X_dev"));
    rFake.registry.AddText(
        VTEXT("HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Print\\Monitors\\PMC Portmon\\Ports\\X1"),
        VTEXT("HostName"), VTEXT("dev"));
}

/// A queue on an IPP port with a mobile driver, and a connection, too.
void AddQueues(FakePlatform& rFake) {
    AddQueue(rFake);
    rFake.printing.AddDriverNamed(VTEXT("Velom Roving Quill"));
    rFake.printing.AddQueueNamed(IPP, VTEXT("Velom Roving Quill"), VTEXT("ipp://dev8/print"));
    rFake.registry.AddText(FakePrintingPorts::QueueKey(IPP), VTEXT("Print Processor"), VTEXT("q7pp"));
    rFake.registry.AddText(FakePrintingPorts::QueueKey(IPP), VTEXT("Separator File"), VTEXT("sep"));
    rFake.printing.AddQueueNamed(FAR_QUEUE, DRIVER);
    rFake.printing.AddConnection(FAR_QUEUE);
    rFake.registry.AddText(FakePrintingPorts::QueueKey(FAR_QUEUE), VTEXT("Print Processor"), VTEXT("MS_XPS_PROC"));
}

FaultLoop Loop(void (*pfnPrepare)(FakePlatform&)) {
    FaultLoop oLoop;
    oLoop.fnPrepare = pfnPrepare;
    return oLoop;
}

/// The first failure ends the asking: what fails behind it makes no difference.
FaultLoop LoopOfQuestions(void (*pfnPrepare)(FakePlatform&)) {
    FaultLoop oLoop = Loop(pfnPrepare);
    oLoop.vModes = {FaultMode::FailOnce, FaultMode::ShortOnce};
    return oLoop;
}

// A wrong answer is none of the ways to fail: what is told is right, or it cannot be told.
TEST(PrinterFaultTest, QuestionsAreAnsweredRightOrNotAtAll) {
    const FaultRow aoOwn[] = {
        {"texts", OnQueue([](Printer& r) {
             Must(r.GetPrinterName() == QUEUE && r.GetPrintDriverName() == DRIVER && r.GetShareName().IsEmpty() &&
                      r.GetServerName().IsEmpty() && r.GetPrinterPort() == VTEXT("LPT1:") &&
                      r.GetPrintProcessorName() == VTEXT("winprint"),
                  "a wrong text");
             Must(r.GetPrinterProductUniqueIdFromIniFile() == VTEXT("UID") &&
                      r.GetPrinterModelIdFromIniFile() == VTEXT("017") && r.GetPrinterModelVersion() == VTEXT("1.0"),
                  "a wrong identity");
             return true;
         })},
        {"truths", OnQueue([](Printer& r) {
             return r.IsUsingWinPrintPrintProcessor() && r.IsPrintProcessorInstalled(VTEXT("winprint")) &&
                    r.TestWritePermissionToPrinterDataFolder() && r.InvalidateAllPrintTicketProviderCaches() &&
                    Printer::RepublishInformation(QUEUE);
         })},
    };
    RunFaultRows(aoOwn, LoopOfQuestions(AddQueue));
    const FaultRow aoOther[] = {
        {"IPP", OnQueue(
                    [](Printer& r) {
                        return r.IsIppPrinter() && r.IsUsingVelomKestrixPrintProcessor() &&
                               r.IsVelomRovingQuillDriver() && r.IsMSSeparatorPageSelected();
                    },
                    IPP)},
        {"connection", OnQueue(
                           [](Printer& r) {
                               return Printer::IsRemotePrinterConnection(FAR_QUEUE) &&
                                      r.IsUsingMs_XpsPrintProcessor() && r.IsPrintDriverInstalledMultipleTimes();
                           },
                           FAR_QUEUE)},
        {"lists", OnQueue([](Printer& r) {
             using List = bool (*)(std::vector<CXString>&);
             const std::pair<List, std::size_t> aLists[] = {{Printer::EnumeratePrinterNames, 3},
                                                            {Printer::EnumLocalPrinters, 2},
                                                            {Printer::EnumeratePrintersForIPP, 1}};
             for (const auto& [pfnList, cNames] : aLists) {
                 std::vector<CXString> vcsNames(4);
                 const bool fListed = pfnList(vcsNames);
                 Must(vcsNames.size() == (fListed ? cNames : 0), "a half list");
                 if (!fListed) return false;
             }
             ByteBuffer bbPrinters;
             std::vector<CXString> vcsTrays;
             return Printer::EnumLocalAndNetworkPrinters(bbPrinters) == 3 && r.GetSupportedTrays(vcsTrays);
         })},
    };
    RunFaultRows(aoOther, LoopOfQuestions(AddQueues));
}

TEST(PrinterFaultTest, TextsThatAreHandedOutAreWhole) {
    using Ask = bool (Printer::*)(CXString&) noexcept;
    const struct {
        const char* pszName;
        Ask pfnAsk;
        const XCHAR* pszAnswer;
    } aTexts[] = {
        {"address", &Printer::GetCurrentPrinterIPOrHost, VTEXT("dev")},
        {"address of the monitor", &Printer::GetIPOrHostNameFromTcpMon, VTEXT("dev")},
        {"standard form", &Printer::GetPrinterNameInStandardFormForUseAsRegKey, QUEUE},
        {"processor", &Printer::GetPrintProcessorName, VTEXT("winprint")},
    };
    for (const auto& rText : aTexts) {
        const FaultRow aoRows[] = {{rText.pszName, OnQueue([&rText](Printer& r) {
                                        CXString csAnswer(VTEXT("former"));
                                        const bool fTold = (r.*rText.pfnAsk)(csAnswer);
                                        Must(fTold ? csAnswer == rText.pszAnswer
                                                   : csAnswer.IsEmpty() || csAnswer == VTEXT("former"),
                                             "half a text");
                                        return fTold;
                                    })}};
        RunFaultRows(aoRows, LoopOfQuestions(AddPort));
    }
    const FaultRow aoRows[] = {
        {"ports", OnQueue([](Printer& r) {
             CXString cs;
             return r.GetPrinterIPOrHostFromPort(VTEXT("PMC Portmon"), VTEXT("X1"), cs) && cs == VTEXT("dev") &&
                    Printer::GetIPOrHostNameFromTcpMon(VTEXT("X_dev"), cs) && cs == VTEXT("dev") &&
                    r.GetPortInfo(r.GetPrinterHandle(), cs) && r.GetCurrentPrinterIPOrHost() == VTEXT("dev");
         })},
        {"port cache", OnQueue([](Printer& r) {
             r.UpdatePortCacheAsPortChanged(VTEXT("former"));
             r.UpdatePortCacheAsPortChanged(VTEXT("later"));
             Must(r.GetPrinterPort() != VTEXT("former"), "the former port");
             r.UpdatePortCacheAsPortChanged();
             return r.GetPrinterPort() == VTEXT("X_dev");
         })},
    };
    RunFaultRows(aoRows, LoopOfQuestions(AddPort));
}

TEST(PrinterFaultTest, HandlesInformationAndSettings) {
    const FaultRow aoRows[] = {
        {"handles", OnQueue([](Printer& r) {
             try {
                 r.CreateHandle();
                 r.CreateGreatestAccessHandleAllowed(QUEUE);
                 r.CreateAllAccessHandle();
             } catch (...) {
                 Must(r.IsHandleOwned() && r.IsValidHandle(), "the former handle is lost");
                 throw;
             }
             r.SetPrinterHandle(nullptr);
             return !r.IsHandleOwned();
         })},
        {"information", OnQueue([](Printer& r) {
             const HANDLE hPrinter = r.GetPrinterHandle();
             ByteBuffer bbInfo;
             const bool fRead = Printer::GetPrinterInfo(hPrinter, 2, bbInfo);
             Must(fRead != bbInfo.empty(), "a half block");
             if (!fRead) return false;
             auto* const pInfo = reinterpret_cast<PrinterInfo2*>(bbInfo.data());
             pInfo->Priority = 7;
             r.SetPrinterInfo(2, bbInfo.data());
             r.SetPrinterInfo(hPrinter, 2, bbInfo.data());
             if (!Printer::SetPrinterInfo(hPrinter, 2, bbInfo.data(), 0)) return false;
             Must(reinterpret_cast<const PrinterInfo2*>(r.GetPrinterInfo(2))->Priority == 7, "another priority");
             return r.GetPrinterInfo2AndConvertToPrinterInfo5() && r.GetPrinterInfo2AndConvertToPrinterInfo9();
         })},
        {"device modes", OnQueue([](Printer& r) {
             std::vector<BYTE> vbyMode(220);
             vbyMode[68] = 220;  // dmSize
             const PrinterInfo8 oInfo{reinterpret_cast<DEVMODEW*>(vbyMode.data())};
             ByteBuffer bbSystem, bbUser;
             r.SetPrinterInfo(8, reinterpret_cast<const BYTE*>(&oInfo));
             return r.GetRawSystemDefaultDevmode(bbSystem) && bbSystem.size() == 220 &&
                    r.GetRawUserDefaultDevmode(bbUser) && bbUser == bbSystem;
         })},
        {"changes", OnQueue([](Printer& r) {
             r.SetPrintProcessorName(VTEXT("winprint"));
             return r.SetPrintProcessorName(VTEXT("winprint"), Printer::NO_THROW) && r.SharePrinter(VTEXT("s")) &&
                    r.GetShareName() == VTEXT("s") && r.IsPrinterShared() && r.UnSharePrinter() &&
                    r.GetShareName().IsEmpty();
         })},
        {"settings", OnQueue([](Printer& r) {
             r.SetDeviceSettings(ByteBuffer::createFromLongValue(7));
             ByteBuffer bbRead;
             return r.GetDeviceSettings(bbRead) && bbRead.size() == 4 && r.ResetDeviceSettings();
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
             const HANDLE h = r.GetPrinterHandle();
             if (!r.SetCrc32PrinterData(h, VTEXT("F"), 3, abyData, 3) || !r.GetCrc32PrinterData(h, VTEXT("F")))
                 return false;
             r.ZeroOutPrinterData();
             Must(r.GetCrc32PrinterDataSize() == 3 && r.GetCrc32PrinterDataPtr()[2] == 0, "bytes are left");
             return true;
         })},
    };
    RunFaultRows(aoRows, Loop(AddQueue));
    FaultLoop oLoop = Loop(AddQueue);
    oLoop.vModes = {FaultMode::FailOnce};
    oLoop.fAllocations = false;
    const FaultRow aoLong[] = {{"cache made ready", OnQueue([](Printer& r) {
                                    Must(!r.EnsureThatDeviceCapabilitiesAndInfoNuggetCachesAreReady(),
                                         "valid in the second of the change");
                                    return true;
                                })}};
    RunFaultRows(aoLong, oLoop);
}

// Under the spooler's names: what is not read leaves nothing behind.
TEST(PrinterFaultTest, ValuesAreWholeOrRefused) {
    const FaultRow aoRows[] = {
        {"writing", OnQueue([](Printer& r) {
             const HANDLE h = r.GetPrinterHandle();
             const ByteBuffer bbData = ByteBuffer::createFromLongValue(7);
             const CXString csText(VTEXT("text"));
             const BYTE abyData[] = {9, 8};
             return SetPrinterData(h, VTEXT("a"), 3, abyData, 2) == 0 && SetPrinterData(h, VTEXT("b"), bbData) == 0 &&
                    SetPrinterData(h, VTEXT("c"), csText) == 0 &&
                    SetPrinterDataEx(h, VTEXT("K"), VTEXT("a"), 3, abyData, 2) == 0 &&
                    SetPrinterDataEx(h, VTEXT("K"), VTEXT("b"), bbData) == 0 &&
                    SetPrinterDataEx(h, VTEXT("K"), VTEXT("c"), csText) == 0 &&
                    r.SetPrinterDataString(VTEXT("d"), csText);
         })},
        {"reading", OnQueue([](Printer& r) {
             const HANDLE h = r.GetPrinterHandle();
             BYTE abyData[4];
             DWORD dwType = 0, cbNeeded = 0;
             ByteBuffer bbData, bbOfKey;
             CXString csText, csOfKey;
             const bool fRead =
                 GetPrinterData(h, NUMBER, bbData) == 0 && GetPrinterDataEx(h, DATA, NUMBER, bbOfKey) == 0 &&
                 GetPrinterData(h, MODEL, csText) == 0 && GetPrinterDataEx(h, DATA, MODEL, csOfKey) == 0 &&
                 GetPrinterData(h, NUMBER, &dwType, abyData, 4, &cbNeeded) == 0 &&
                 GetPrinterDataEx(h, DATA, NUMBER, &dwType, abyData, 4, &cbNeeded) == 0 &&
                 r.GetPrinterData(MODEL) == 0 && r.GetPrinterDataEx(DATA, NUMBER) == 0;
             Must(bbData.size() % 4 == 0 && bbOfKey.size() % 4 == 0 && r.GetPrinterDataSize() % 4 == 0, "half a value");
             r.ZeroOutPrinterData();
             Must(!fRead || (csText == csOfKey && csText == VTEXT("017") && r.GetPrinterDataPtr()[3] == 0),
                  "a wrong value");
             return fRead;
         })},
        {"listing and deleting", OnQueue([](Printer& r) {
             const HANDLE h = r.GetPrinterHandle();
             DWORD cbNeeded = 0, cValues = 0;
             ByteBuffer bbValues;
             std::vector<CXString> vcsNames(1), vcsKeys(1);
             const DWORD dwNames = Printer::EnumPrinterDataNames(h, DATA, vcsNames);
             const DWORD dwKeys = Printer::EnumPrinterKeyW(h, VTEXT(""), vcsKeys);
             Must(vcsNames.empty() == (dwNames != 0) && vcsKeys.size() == (dwKeys == 0 ? 2u : 0u), "half a list");
             if ((dwNames | dwKeys) != 0 || EnumPrinterDataEx(h, DATA, nullptr, 0, &cbNeeded, &cValues) != 234 ||
                 EnumPrinterDataEx(h, DATA, bbValues, cValues) != 0) {
                 return false;
             }
             const DWORD dwFirst = DeletePrinterData(h, NUMBER), dwSecond = DeletePrinterDataEx(h, DATA, MODEL);
             return (dwFirst == 0 || dwFirst == 2) && (dwSecond == 0 || dwSecond == 2);  // 2: deleted before
         })},
    };
    RunFaultRows(aoRows, Loop(AddQueue));
}

// What can be done but once: it is done, and said to be, or it is not.
TEST(PrinterFaultTest, AQueueIsAddedOrItIsNot) {
    FaultLoop oLoop = Loop(AddQueue);
    oLoop.fRunAgain = false;
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        AddQueue(rFake);
        LocalPort().AddLocalPort(VTEXT("USB001"));
    };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome eOutcome) {
        EXPECT_EQ(rFake.registry.HasKey(FakePrintingPorts::QueueKey(NEW)), eOutcome == FaultOutcome::Succeeded);
    };
    const FaultRow aoRows[] = {
        {"local", OnQueue([](Printer& r) { return r.AddLocalPrinter(NEW, DRIVER, VTEXT("LPT1:")); })},
        {"USB", OnQueue([](Printer& r) { return r.AddUSBPrinter(NEW, DRIVER); })},
    };
    RunFaultRows(aoRows, oLoop);
    oLoop.fnCheck = nullptr;
    const FaultRow aoPorts[] = {{"port", OnQueue([](Printer&) {
                                     LocalPort oPort;
                                     const bool fAdded = oPort.AddLocalPort(VTEXT("USB002"));
                                     Must(fAdded == (oPort.GetLastStatus() == 0) && !oPort.IsChannelOpen(),
                                          "half a port");
                                     return fAdded;
                                 })}};
    RunFaultRows(aoPorts, oLoop);
}

}  // namespace
}  // namespace vlm::test
