/// @file
/// The embedded spooler on a registry and a disk that fail: nothing half done is ever taken for a queue or a driver.
#include <gtest/gtest.h>

#include <vector>

#include "platform/Platform.h"
#include "support/FakeSpoolerGround.h"
#include "support/FaultLoop.h"

namespace vlm::test {

namespace {

constexpr const XCHAR* QUEUE = VTEXT("Queue");
constexpr const XCHAR* DRIVER = VTEXT("Driver");
constexpr const XCHAR* PRINT_KEY = VTEXT("HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Print\\");
constexpr const XCHAR* FILES[] = {VTEXT("a.drv"), VTEXT("b.gpd"), VTEXT("c.ui")};

/// What is in force, so that the fault layer lies below the spooler and not before it.
class PlatformGround final : public host::SpoolerGround {
public:
    RegistryPort& Registry() noexcept override { return *GetPlatform().pRegistry; }
    FilePort& Files() noexcept override { return *GetPlatform().pFiles; }
    FolderPort& Folders() noexcept override { return *GetPlatform().pFolders; }
    XString ComputerName() override { return VTEXT("HOST"); }
    XString SpoolFolder() override { return VTEXT("C:\\spool"); }
};

XCHAR* Writable(const XCHAR* pszText) {
    return const_cast<XCHAR*>(pszText);
}

/// Installs a driver and a queue, writes, reads and lists data, adds a port, deletes everything again.
Status UseSpooler(EmbeddedPorts& rPorts) {
    DriverInfo2 oDriver{PrinterDriverPort::DRIVER_VERSION,
                        Writable(DRIVER),
                        nullptr,
                        Writable(FILES[0]),
                        Writable(FILES[1]),
                        Writable(FILES[2])};
    Status eStatus = rPorts.drivers.AddDriver(nullptr, 2, &oDriver, PrinterDriverPort::COPY_ALL);
    if (eStatus != Status::Success) return eStatus;
    PrinterInfo2 oInfo{};
    oInfo.pPrinterName = Writable(QUEUE);
    oInfo.pDriverName = Writable(DRIVER);
    oInfo.pPortName = Writable(VTEXT("LPT1:"));
    oInfo.pPrintProcessor = Writable(VTEXT("winprint"));
    HANDLE hQueue = nullptr;
    eStatus = rPorts.queues.AddQueue(nullptr, oInfo, hQueue);
    if (eStatus == static_cast<Status>(SpoolerPort::PRINTER_ALREADY_EXISTS)) {  // a former run was cut short
        eStatus = rPorts.spooler.OpenPrinterHandle(QUEUE, SpoolerPort::ALL_ACCESS, hQueue);
    }
    if (eStatus != Status::Success) return eStatus;
    DWORD dwType = 0, cbNeeded = 0, cReturned = 0;
    alignas(8) BYTE abyBlock[2048];
    const Status aeSteps[] = {
        rPorts.data.SetData(hQueue, VTEXT("Key"), VTEXT("value"), RegistryPort::TYPE_BINARY, "12", 2),
        rPorts.data.GetData(hQueue, VTEXT("Key"), VTEXT("value"), dwType, abyBlock, sizeof(abyBlock), cbNeeded),
        rPorts.data.EnumerateData(hQueue, VTEXT("Key"), abyBlock, sizeof(abyBlock), cbNeeded, cReturned),
        rPorts.queues.GetQueueInfo(hQueue, 2, abyBlock, sizeof(abyBlock), cbNeeded),
        rPorts.queues.SetQueueInfo(hQueue, 0, nullptr, PrintQueuePort::COMMAND_PAUSE),
        rPorts.drivers.GetDriverBlock(hQueue, nullptr, 3, abyBlock, sizeof(abyBlock), cbNeeded),
        rPorts.spooler.EnumeratePortInfo(nullptr, 2, abyBlock, sizeof(abyBlock), cbNeeded, cReturned),
        rPorts.queues.DeleteQueue(hQueue),
    };
    for (const Status eStep : aeSteps)
        eStatus = eStatus == Status::Success ? eStep : eStatus;
    rPorts.spooler.ClosePrinterHandle(hQueue);
    return eStatus == Status::Success ? rPorts.drivers.DeleteDriver(nullptr, nullptr, DRIVER, 0, 0) : eStatus;
}

/// What has the value that makes it a queue or a driver has all its values, too.
void ExpectNothingHalf(FakePlatform& rFake) {
    const XString queue = XString(PRINT_KEY) + VTEXT("Printers\\") + QUEUE;
    if (rFake.registry.ValueAt(queue, VTEXT("Name"))) {
        for (const XCHAR* pszValue : {VTEXT("Port"), VTEXT("Printer Driver"), VTEXT("Attributes"), VTEXT("Status")})
            EXPECT_TRUE(rFake.registry.ValueAt(queue, pszValue).has_value());
    }
    const XString driver = XString(PRINT_KEY) + VTEXT("Environments\\Windows x64\\Drivers\\Version-3\\") + DRIVER;
    if (rFake.registry.ValueAt(driver, VTEXT("Driver"))) {
        EXPECT_TRUE(rFake.registry.ValueAt(driver, VTEXT("Configuration File")).has_value());
        for (const XCHAR* pszFile : FILES)
            EXPECT_TRUE(rFake.files.Contents(XString(VTEXT("C:\\spool\\drivers\\x64\\3\\")) + pszFile).has_value());
    }
}

TEST(EmbeddedSpoolerFaultTest, FailuresAndKillsLeaveNothingHalf) {
    FaultLoop oLoop;
    oLoop.fnPrepare = [](FakePlatform& rFake) {
        for (const XCHAR* pszFile : FILES)
            rFake.files.AddFile(XString(VTEXT("C:\\spool\\drivers\\x64\\")) + pszFile, {1});
    };
    oLoop.fnRun = [] {
        PlatformGround oGround;
        EmbeddedPorts oPorts(oGround);
        return UseSpooler(oPorts) == Status::Success ? FaultOutcome::Succeeded : FaultOutcome::Failed;
    };
    oLoop.fnCheck = [](FakePlatform& rFake, FaultOutcome) { ExpectNothingHalf(rFake); };
    oLoop.fnCheckAfterKill = ExpectNothingHalf;
    oLoop.vModes = {FaultMode::FailOnce, FaultMode::ShortOnce, FaultMode::KillAt};
    EXPECT_GT(RunFaultLoop(oLoop).ullFaults, 100u);
}

}  // namespace

}  // namespace vlm::test
