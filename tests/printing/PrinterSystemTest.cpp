/// @file
/// Queues of the system's own spooler: Wine's, or the one embedded in the store.
#include <gtest/gtest.h>

#include "environment/PrintDriver.h"
#include "environment/Printer.h"
#include "platform/ClockPort.h"
#include "platform/Platform.h"
#include "platform/ProcessPort.h"
#include "support/RecordingSink.h"
#include "utilities/registry/RegistryKey.h"

namespace vlm::test {
namespace {

/// A driver and two queues of their own for each test, where the spooler keeps them: one is a connection.
class PrinterSystemTest : public testing::Test {
protected:
    PrinterSystemTest() {
        const Platform& rSystem = GetSystemPlatform();
        m_csName = CXString::FormatString(VTEXT("q9 queue %u-%lld"), rSystem.pProcess->CurrentProcessId(),
                                          rSystem.pClock->PerformanceCounter());
        Put(Driver(), "Driver", "unidrv.dll");
        Put(Driver(), "Data File", "pmodel.gpd");
        Put(Driver(), "Configuration File", "unidrvui.dll");
        Key(Driver())->SetLongValue(VTEXT("Version"), 3);
        for (const bool fFar : {false, true}) {
            Put(Queue(fFar), "Name", Name(fFar));
            Put(Queue(fFar), "Port", "LPT1:");
            Put(Queue(fFar), "Printer Driver", m_csName);
            Put(Queue(fFar), "Print Processor", "winprint");
            Put(Queue(fFar), "Datatype", "RAW");
            Key(Queue(fFar))->SetLongValue(VTEXT("Attributes"), fFar ? 0x10 : 0x40);
        }
        Put(Queue(false) + VTEXT("\\PrinterDriverData"), "xProdUID", "UID");
        Put(Queue(false) + VTEXT("\\PrinterDriverData"), "xModelId", "17");
    }
    ~PrinterSystemTest() override {
        RegistryKey oPrint(HIVE, RegistryKey::DIRECT, RegistryKey::OWN_TREE);
        oPrint.OpenRegistryKey(PRINT, RegistryKey::FULL_ACCESS);
        for (const CXString& kcsKey : {Driver(), Queue(false), Queue(true)})
            EXPECT_TRUE(oPrint.DeleteKeyAndSubkeys(kcsKey));
    }

    CXString Name(bool fFar) const { return fFar ? m_csName + VTEXT(" far") : m_csName; }
    CXString Driver() const { return VTEXT("Environments\\Windows x64\\Drivers\\Version-3\\") + m_csName; }
    CXString Queue(bool fFar) const { return VTEXT("Printers\\") + Name(fFar); }
    static std::unique_ptr<RegistryKey> Key(const CXString& kcsPath) {
        return RegistryKey::CreateRegistryKey(HIVE, CXString(PRINT) + VTEXT("\\") + kcsPath, RegistryKey::FULL_ACCESS,
                                              RegistryKey::DIRECT);
    }
    static void Put(const CXString& kcsPath, const CXString& kcsName, const CXString& kcsValue) {
        Key(kcsPath)->SetStringValue(kcsName, kcsValue);
    }

    static constexpr _HKEYREGISTRY_ HIVE = HKeyRegistry::Hkey_Local_Machine;
    static constexpr const XCHAR* PRINT = VTEXT("System\\CurrentControlSet\\Control\\Print");
    CXString m_csName;
};

TEST_F(PrinterSystemTest, AQueueIsOpenedAskedAndGivenData) {
    Printer oPrinter;
    oPrinter.CreateGreatestAccessHandleAllowed(m_csName);
    const HANDLE hPrinter = oPrinter.GetPrinterHandle();
    EXPECT_EQ(Printer::GetPrinterName(hPrinter), m_csName);
    EXPECT_EQ(oPrinter.GetPrintDriverName(), m_csName);
    EXPECT_EQ(oPrinter.GetPrinterPort(), VTEXT("LPT1:"));
    EXPECT_TRUE(oPrinter.IsPrintProcessorInstalled(VTEXT("winprint")));
    EXPECT_FALSE(oPrinter.IsRemotePrinterConnection());
    for (const DWORD dwLevel : {1u, 2u, 4u, 5u, 8u, 9u})
        EXPECT_NE(oPrinter.GetPrinterInfo(dwLevel), nullptr) << dwLevel;
    EXPECT_EQ(oPrinter.GetPrinterProductUniqueIdFromIniFile(), VTEXT("UID"));
    EXPECT_EQ(oPrinter.GetPrinterModelIdFromIniFile(), VTEXT("17"));

    BYTE abyData[300] = {1, 2, 3};
    ASSERT_TRUE(oPrinter.SetCrc32PrinterData(hPrinter, VTEXT("Feature"), 3, abyData, sizeof abyData));
    EXPECT_NE(oPrinter.GetCrc32PrinterData(hPrinter, VTEXT("feature")), nullptr);
    EXPECT_EQ(oPrinter.GetCrc32PrinterDataSize(), sizeof abyData);
    std::vector<CXString> vcsNames;
    EXPECT_EQ(Printer::EnumPrinterDataNames(hPrinter, Printer::PRINTER_DRIVER_DATA, vcsNames), 0u);
    EXPECT_EQ(vcsNames.size(), 3u);
    EXPECT_EQ(Printer::EnumPrinterDataNames(hPrinter, VTEXT("None"), vcsNames), 2u);

    const ByteBuffer bbSettings = ByteBuffer::createFromLongValue(7);
    ByteBuffer bbRead;
    oPrinter.SetDeviceSettings(bbSettings);
    EXPECT_TRUE(oPrinter.GetDeviceSettings(bbRead));
    EXPECT_EQ(bbRead, bbSettings);
    EXPECT_TRUE(oPrinter.ResetDeviceSettings());
    EXPECT_FALSE(oPrinter.GetDeviceSettings(bbRead));

    CXString csDetails;
    EXPECT_TRUE(Printer::TestPrinterHandle(hPrinter, csDetails));
    oPrinter.SetPrinterHandle(nullptr);
    EXPECT_FALSE(Printer::TestPrinterHandle(nullptr, csDetails));
    EXPECT_TRUE(Printer::EnumLocalPrinters(vcsNames));
    EXPECT_NE(std::find(vcsNames.begin(), vcsNames.end(), m_csName), vcsNames.end());
}

TEST_F(PrinterSystemTest, AConnectionsDataIsNotWritten) {
    const RecordingSink oSink;
    Printer oPrinter;
    oPrinter.CreateGreatestAccessHandleAllowed(Name(true));
    EXPECT_TRUE(oPrinter.IsRemotePrinterConnection());
    EXPECT_FALSE(oPrinter.SetPrinterDataString(VTEXT("V"), VTEXT("text")));
    EXPECT_EQ(oSink.Count("CODING ERROR: A Point and Print client is writing"), 1u);
    ByteBuffer bbValue;
    EXPECT_FALSE(Key(Queue(true) + VTEXT("\\PrinterDriverData"))->GetValue(VTEXT("V"), bbValue));
    EXPECT_FALSE(oPrinter.SetCachedDeviceSettingsInRegistry(true, bbValue));
}

TEST_F(PrinterSystemTest, ItsDriverIsToldAndItsStateStored) {
    using Base = PrintDriver::BaseDriverType;
    PrintDriver oDriver;
    EXPECT_EQ(oDriver.GetDriverName(m_csName), m_csName);
    for (const DWORD dwLevel : {1u, 2u, 3u, 4u, 5u, 6u, 8u})
        EXPECT_NE(oDriver.GetDriverInfo(m_csName, dwLevel), nullptr) << dwLevel;
    const CXString csFolder = oDriver.GetDriverPathFromName(m_csName);
    EXPECT_EQ(csFolder, oDriver.GetPrinterDriverDirectoryRoot(CXString()) + VTEXT("\\3"));
    EXPECT_EQ(oDriver.GetDriverFiles(m_csName, PrintDriver::FileType::FT_COMPILED_DATA_FILE),
              csFolder + VTEXT("\\pmodel.bud"));
    EXPECT_EQ(oDriver.GetBaseDriverTypeFromDriverInfo2(m_csName), Base::BASE_UNIDRV | Base::BASE_UNIDRVUI);
    EXPECT_TRUE(PrintDriver::SetInstallationState(m_csName, PrintDriver::InstallationState::Phase2BDone));
    EXPECT_EQ(oDriver.GetInstallationStateFromName(m_csName), PrintDriver::InstallationState::Phase2BDone);
    ByteBuffer bbDrivers;
    DWORD cDrivers = 0;
    EXPECT_TRUE(PrintDriver::EnumeratePrinterDrivers(6, bbDrivers, &cDrivers, nullptr));
    EXPECT_GE(cDrivers, 1u);
    // No installer there does anything: none on the host, an idle one under Wine.
    EXPECT_FALSE(PrintDriver::AddPrintDriver(m_csName + VTEXT(" none"), VTEXT("C:\\none"), VTEXT("none.inf")));
}

}  // namespace
}  // namespace vlm::test
