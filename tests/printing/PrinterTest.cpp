/// @file
/// A queue's handle, information, identity, device and cache.
#include "environment/LocalPort.h"
#include "environment/TCPMonPort.h"
#include "printing/PrinterFixture.h"
#include "utilities/utilitiesdll/Hash32.h"

namespace vlm::test {
namespace {

class PrinterTest : public PrinterFixture {
protected:
    XString StorageKey(const char* pszUser = "S-1-5-21-1-2-3-1001") const {
        return Wide("HKEY_LOCAL_MACHINE\\Software\\Velom\\PrinterDriver\\V5.0\\LowRightsStorage\\" +
                    std::string(pszUser) + "\\Queue.cache\\DeviceSettings");
    }
    void PutTime(XStringView svName, LONGLONG llSeconds) {
        std::vector<BYTE> vbyTime(8);
        std::memcpy(vbyTime.data(), &llSeconds, 8);
        m_oFake.registry.AddValue(StorageKey(), svName, 11, vbyTime);
    }
};

TEST_F(PrinterTest, OnlyAnOwnedHandleIsClosed) {
    EXPECT_NE(Thrown<ExceptionPrinterFailure>([] { Printer(VTEXT("None"), Printer::THROW); }), "");
    EXPECT_FALSE(Printer(VTEXT("None"), Printer::NO_THROW).IsValidHandle());
    EXPECT_EQ(Printer(VTEXT("qUEUE"), Printer::THROW).GetPrinterName(), QUEUE);
    {
        Printer oOwner(QUEUE, Printer::THROW);
        EXPECT_EQ(m_oFake.spooler.OpenHandles(), 1u);
        { Printer oBorrower(oOwner.GetPrinterHandle()); }
        EXPECT_EQ(m_oFake.spooler.OpenHandles(), 1u);
        EXPECT_FALSE(oOwner.TryToCreateHandle(VTEXT("None"), 0));  // and keeps what it had
        EXPECT_EQ(oOwner.GetPrinterName(), QUEUE);
        oOwner.SetPrinterHandle(oOwner.GetPrinterHandle());
        EXPECT_TRUE(oOwner.IsHandleOwned());
        oOwner.CreateAllAccessHandle();
        EXPECT_EQ(m_oFake.spooler.OpenHandles(), 1u);
        oOwner.SetPrinterHandle(nullptr);
        EXPECT_EQ(m_oFake.spooler.OpenHandles(), 0u);
        oOwner.CreateGreatestAccessHandleAllowed(QUEUE);
        CXString csDetails;
        EXPECT_TRUE(Printer::TestPrinterHandle(oOwner.GetPrinterHandle(), csDetails));
        m_oFake.printing.SetCallScript([](SpoolerCall&) -> std::optional<Status> { return Status::InvalidHandle; });
        EXPECT_FALSE(Printer::TestPrinterHandle(oOwner.GetPrinterHandle(), csDetails));
        EXPECT_EQ(Narrow(csDetails.View()),
                  "Details: The handle reports the printer name=Queue, driver name=(not found), "
                  "product UID from PrinterDriverData=(not found)");
    }
    EXPECT_EQ(m_oFake.spooler.OpenHandles(), 0u);
}

TEST_F(PrinterTest, NamesBecomeKeysAndTellWhatAQueueIs) {
    const std::string strLong(201, 'n');
    const struct {
        std::string strName, strKey;
        bool fGuid;
    } aoRows[] = {
        {"\\\\SERVER\\Far", ",,SERVER,Far", false},
        {"{01234567-89ab-CDEF-0123-456789abcdef}", "{01234567-89ab-CDEF-0123-456789abcdef}", true},
        {"{01234567-89ab-CDEF-0123-456789abcdeg}", "{01234567-89ab-CDEF-0123-456789abcdeg}", false},
        {std::string(200, 'n'), std::string(200, 'n'), false},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.strName);
        m_oFake.printing.AddQueueNamed(Wide(rRow.strName));
        Printer oPrinter(CXString(rRow.strName.c_str()), Printer::THROW);
        CXString csKey;
        EXPECT_TRUE(oPrinter.GetPrinterNameInStandardFormForUseAsRegKey(csKey));
        EXPECT_EQ(Narrow(csKey.View()), rRow.strKey);
        EXPECT_EQ(oPrinter.IsHiddenGuidPrinter(), rRow.fGuid);
    }
    const CXString csLong = Printer::GetPrinterNameInStandardFormForUseAsRegKey(CXString(strLong.c_str()));
    EXPECT_EQ(csLong.GetLength(), 209);
    EXPECT_NE(csLong, Printer::GetPrinterNameInStandardFormForUseAsRegKey(CXString((strLong + "m").c_str())));
}

TEST_F(PrinterTest, BlocksAreAskedForAgainAsTheUserAndNeverTrusted) {
    Printer oPrinter(QUEUE, Printer::THROW);
    ASSERT_NE(oPrinter.GetPrinterInfo(2), nullptr);
    const auto& rInfo5 = *reinterpret_cast<const PrinterInfo5*>(oPrinter.GetPrinterInfo2AndConvertToPrinterInfo5());
    EXPECT_EQ(Narrow(rInfo5.pPrinterName) + Narrow(rInfo5.pPortName), "QueueLPT1:");

    // IPP: the spooler answers only those who act for a user.
    m_oFake.printing.ScriptCallsOf("GetQueueInfo", [&](SpoolerCall&) {
        IdentityPort::Identity oIdentity;
        m_oFake.identity.CurrentIdentity(oIdentity);
        return oIdentity.fImpersonating ? std::nullopt : std::optional(Status::AccessDenied);
    });
    const std::string strRetried = Thrown<ExceptionPrinterFailure>([&] { oPrinter.GetPrinterInfo(2); });
    EXPECT_NE(strRetried.find("Printer::GetPrinterInfo(): Retry failed: Unable to get PRINTER_INFO_2 due to Windows"),
              strRetried.npos);
    EXPECT_EQ(Reported("GetPrinterInfo() failed for Level 2. (See next assertion for more info.)"), 1u);
    EXPECT_EQ(oPrinter.GetPrinterInfoPtr(), nullptr);
    m_oFake.identity.SetLoggedOnUser(FakeIdentityPort::MakeIdentity(VTEXT("S-1-5-21-7-7-7-7")));
    EXPECT_NE(oPrinter.GetPrinterInfo(2), nullptr);
    EXPECT_NE(oPrinter.GetPrinterInfo(8), nullptr);
    EXPECT_NE(Thrown<ExceptionPrinterFailure>([&] { oPrinter.GetPrinterInfo(4); }), "");  // not retried
    IdentityPort::Identity oAfter;
    m_oFake.identity.CurrentIdentity(oAfter);
    EXPECT_FALSE(oAfter.fImpersonating);

    // A device mode of length 0, and no port.
    m_oFake.printing.ScriptCallsOf("GetQueueInfo", [&](SpoolerCall& rCall) {
        std::vector<BYTE> vbyBlock(256);
        const auto uiPointer = reinterpret_cast<std::uintptr_t>(rCall.pTarget) + 8;
        if (rCall.dwLevel != 2) std::memcpy(vbyBlock.data(), &uiPointer, sizeof uiPointer);
        return Answer(rCall, vbyBlock, 256);
    });
    ByteBuffer bbDevmode;
    EXPECT_EQ(Thrown<ExceptionPrinterFailure>([&] { oPrinter.GetRawSystemDefaultDevmode(bbDevmode); }),
              "GetPrinterInfo(8) returned an invalid zero-length devmode!");
    EXPECT_EQ(Thrown<ExceptionPrinterFailure>([&] { oPrinter.GetRawUserDefaultDevmode(bbDevmode); }),
              "GetPrinterInfo(9) returned an invalid zero-length devmode!");
    EXPECT_EQ(Thrown<ExceptionPrinterFailure>([&] { oPrinter.GetPrinterPort(); }),
              "GetPrinterPort() failed, pPrinterInfo2->pPortName unexpectedly NULL.");
}

TEST_F(PrinterTest, IdentityIsReadWithinItsRules) {
    Printer oPrinter(QUEUE, Printer::THROW);
    using Reading = CXString (Printer::*)();
    constexpr Reading uid = &Printer::GetPrinterProductUniqueIdFromIniFile;
    constexpr Reading model = &Printer::GetPrinterModelIdFromIniFile, version = &Printer::GetPrinterModelVersion;
    const struct {
        const XCHAR* pszName;
        const char* pszValue;  // null: absent
        Reading pfnRead;
        const char* pszFailure;  // null: the value itself is the answer
    } aoRows[] = {
        {VTEXT("xProdUID"), nullptr, uid, "is <3 or >4 chars.  Value=\nContext = application\nWindows Error = "},
        {VTEXT("xProdUID"), "AB", uid, "failed reading PrinterDriverData, or is <3 or >4 chars.  Value=AB\n"},
        {VTEXT("xProdUID"), "ABC", uid, nullptr},
        {VTEXT("xProdUID"), "ABCD", uid, nullptr},
        {VTEXT("xProdUID"), "ABCDE", uid, "Value=ABCDE\n"},
        {VTEXT("xModelId"), nullptr, model,
         "Printer::GetPrinterModelId() failed reading PrinterDriverData. Printer Ha"},
        {VTEXT("xModelId"), "0", model, "was called before xModelId had been initialized in PrinterDriverData, so the"},
        {VTEXT("xModelId"), "1", model, "is invalid.  It must be at least two chars.  Value=1.\n"},
        {VTEXT("xModelId"), "10", model, nullptr},
        {VTEXT("xModelVersion"), nullptr, version,
         "Printer::GetPrinterModelVersion() failed reading PrinterDriverData."},
        {VTEXT("xModelVersion"), "1.2.3.", version,
         "1.2.3. read from PrinterDriverDatais not a valid model version.\n"},
        {VTEXT("xModelVersion"), "1.2.3.4.5", version, "not a valid model version"},
        {VTEXT("xModelVersion"), "12345.0.1", version, nullptr},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszValue ? rRow.pszValue : "absent");
        if (rRow.pszValue) m_oFake.printing.AddData(QUEUE, rRow.pszName, Wide(rRow.pszValue));
        CXString csRead;
        const std::string strThrown = Thrown<VelomException>([&] { csRead = (oPrinter.*rRow.pfnRead)(); });
        if (rRow.pszFailure) {
            EXPECT_NE(strThrown.find(rRow.pszFailure), strThrown.npos) << strThrown;
        } else {
            EXPECT_EQ(Narrow(csRead.View()) + strThrown, rRow.pszValue);
        }
    }
    m_oFake.printing.AddData(QUEUE, VTEXT("xModelId"), VTEXT("0"));
    EXPECT_THROW(oPrinter.GetPrinterModelIdFromIniFile(), ExceptionPrinterModelIdQueriedBeforeInitialized);
}

TEST_F(PrinterTest, ACacheIsValidOnlyWhileItIsNewerAndOfTheSameSettings) {
    constexpr LONGLONG NOW = 1'700'000'000;
    m_oFake.clock.SetUtcMilliseconds(NOW * 1000);
    Printer oPrinter;
    oPrinter.CreateAllAccessHandle(QUEUE);
    const std::vector<BYTE> vbySettings = FromHex("01 02 03 04");
    PutData(VTEXT("VlmDeviceSettings"), 3, vbySettings);
    const DWORD dwHash = Hash32::GetHash32(vbySettings.data(), 4);

    const ByteBuffer bbCopy(vbySettings);
    ByteBuffer bbRead;
    EXPECT_FALSE(oPrinter.GetCachedDeviceSettingsFromRegistry(bbRead));
    ASSERT_TRUE(oPrinter.SetCachedDeviceSettingsInRegistry(false, ByteBuffer()));
    ASSERT_TRUE(oPrinter.SetCachedDeviceSettingsInRegistry(true, bbCopy));
    EXPECT_FALSE(oPrinter.GetCachedDeviceSettingsFromRegistry(bbRead));  // written in the second of the change
    m_oFake.clock.Advance(1000);
    ASSERT_TRUE(oPrinter.SetCachedDeviceSettingsInRegistry(true, bbCopy));
    EXPECT_TRUE(oPrinter.GetCachedDeviceSettingsFromRegistry(bbRead));
    EXPECT_EQ(bbRead, bbCopy);
    EXPECT_TRUE(oPrinter.EnsureThatDeviceCapabilitiesAndInfoNuggetCachesAreReady());
    const auto hash = m_oFake.registry.ValueAt(StorageKey(), VTEXT("VlmDeviceSettingsHash"));
    ASSERT_TRUE(hash && hash->vbyData.size() == 4);
    EXPECT_EQ(std::memcmp(hash->vbyData.data(), &dwHash, 4), 0);

    const struct {
        const char* pszWhat;
        LONGLONG llCached, llChanged;
        std::size_t cbHash;
        bool fOtherSettings, fEmptyCopy, fValid;
    } aoRows[] = {
        {"before 1970", -1, -2, 4, false, false, true},
        {"a hash of eight bytes", NOW + 1, NOW, 8, false, false, false},
        {"other settings", NOW + 1, NOW, 4, true, false, false},
        {"nothing cached", NOW + 1, NOW, 4, false, true, false},
    };
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszWhat);
        PutTime(VTEXT("CachedDeviceSettingsTimestamp"), rRow.llCached);
        PutTime(VTEXT("VlmDeviceSettingsTimestamp"), rRow.llChanged);
        std::vector<BYTE> vbyHash = hash->vbyData;
        vbyHash.resize(rRow.cbHash);
        m_oFake.registry.AddValue(StorageKey(), VTEXT("VlmDeviceSettingsHash"), 4, vbyHash);
        m_oFake.registry.AddValue(StorageKey(), VTEXT("CachedVlmDeviceSettings"), 3,
                                  rRow.fEmptyCopy ? std::vector<BYTE>() : vbySettings);
        PutData(VTEXT("VlmDeviceSettings"), 3, rRow.fOtherSettings ? FromHex("01 02 03 05") : vbySettings);
        EXPECT_EQ(oPrinter.GetCachedDeviceSettingsFromRegistry(bbRead), rRow.fValid);
        EXPECT_EQ(bbRead.size(), rRow.fValid ? 4u : 0u);
    }

    m_oFake.registry.AddValue(StorageKey(".DEFAULT"), VTEXT("CachedVlmDeviceSettings"), 3, vbySettings);
    EXPECT_TRUE(oPrinter.ClearDeviceSettingsCacheIfExists(false));
    EXPECT_FALSE(oPrinter.ClearDeviceSettingsCacheIfExists(false));
    EXPECT_TRUE(oPrinter.ClearDeviceSettingsCacheIfExists(true));
    EXPECT_FALSE(m_oFake.registry.ValueAt(StorageKey(".DEFAULT"), VTEXT("CachedVlmDeviceSettings")).has_value());

    EXPECT_TRUE(oPrinter.ResetDeviceSettings());
    EXPECT_FALSE(oPrinter.ResetDeviceSettings());
    EXPECT_EQ(oPrinter.GetHashOfPrinterDriverDataVLMDeviceSettings(), 0u);
    EXPECT_TRUE(oPrinter.InvalidateAllPrintTicketProviderCaches());
}

TEST_F(PrinterTest, TheCacheOfAConnectionIsNeitherReadNorWritten) {
    m_oFake.printing.AddQueueNamed(VTEXT("\\\\SERVER\\Far"));
    Printer oPrinter(VTEXT("\\\\SERVER\\Far"), Printer::THROW);
    EXPECT_TRUE(oPrinter.IsRemotePrinterConnection());
    EXPECT_EQ(Narrow(oPrinter.GetServerName().View()), "\\\\SERVER");
    ByteBuffer bbData(FromHex("01"));
    for (const bool fCopy : {false, true})
        EXPECT_FALSE(oPrinter.SetCachedDeviceSettingsInRegistry(fCopy, bbData));
    EXPECT_FALSE(oPrinter.GetCachedDeviceSettingsFromRegistry(bbData));
    EXPECT_FALSE(oPrinter.ClearDeviceSettingsCacheIfExists(true));
    EXPECT_FALSE(m_oFake.registry.HasKey(VTEXT("HKEY_LOCAL_MACHINE\\Software\\Velom\\PrinterDriver")));
    EXPECT_THROW(oPrinter.SetDeviceSettings(bbData), ExceptionPrinterFailure);
    EXPECT_THROW(oPrinter.ResetDeviceSettings(), ExceptionPrinterFailure);
}

TEST_F(PrinterTest, TheDeviceIsFoundByTheMonitorOfThePort) {
    const struct {
        const char *pszMonitor, *pszPort, *pszKey, *pszValue, *pszStored;
        const char* pszAddress;  // null: none
    } aoRows[] = {
        {"Standard TCP/IP Port", "P1", "Standard TCP/IP Port\\Ports\\P1", "HostName", "dev1", "dev1"},
        {"tcpmon.dll", "P2", "Standard TCP/IP Port\\Ports\\P2", "IPAddress", "10.0.0.2", "10.0.0.2"},
        {"Internet Port", "http://me:pw@dev3:631/ipp/print", "-", "", "", "dev3"},
        {"Internet Port", "HTTPS://[fe80::1]:631/ipp", "-", "", "", "fe80::1"},
        {"Internet Port", "http:///nothing", "-", "", "", nullptr},
        {"Internet Port", "LPT1:", "-", "", "", nullptr},
        {"Velom Mobile Port", "M1", "Software\\Velom\\MobilePort\\Ports\\M1", "HostName", "dev4", "dev4"},
        {"iPrint Server Port", "I1", "iPrint Server Port\\Ports\\I1", "NovellSNMPAddressAndPort", "dev5:161", "dev5"},
        {"iPrint Direct Port", "I2", "iPrint Direct Port\\Ports\\I2", "NovellSNMPAddressAndPort", "dev6", "dev6"},
        {"PMC Portmon", "X1", "PMC Portmon\\Ports\\X1", "IPAddress", "10.0.0.7", "10.0.0.7"},
        {"Local Port", "LPT1:", "-", "", "", nullptr},
    };
    m_oFake.printing.AddQueueNamed(VTEXT("\\\\SERVER\\Far"));
    m_oFake.registry.SetRemoteMachine(VTEXT("\\\\SERVER"));
    Printer oNear(QUEUE, Printer::THROW), oFar(VTEXT("\\\\SERVER\\Far"), Printer::THROW);
    for (const auto& rRow : aoRows) {
        SCOPED_TRACE(rRow.pszPort);
        const std::string strKey(rRow.pszKey);
        const std::string strParent =
            strKey.starts_with("Software") ? "" : "System\\CurrentControlSet\\Control\\Print\\Monitors\\";
        m_oFake.registry.AddText(Wide("HKEY_LOCAL_MACHINE\\" + strParent + strKey), Wide(rRow.pszValue),
                                 Wide(rRow.pszStored));
        for (Printer* pPrinter : {&oNear, &oFar}) {
            CXString csAddress;
            EXPECT_EQ(
                pPrinter->GetPrinterIPOrHostFromPort(CXString(rRow.pszMonitor), CXString(rRow.pszPort), csAddress),
                rRow.pszAddress != nullptr);
            EXPECT_EQ(Narrow(csAddress.View()), rRow.pszAddress ? rRow.pszAddress : "");
        }
    }
    EXPECT_EQ(Reported("Unable to retrieve IP or Host name from registry.  (OK if not connected"), 6u);
    m_oFake.registry.SetRemoteMachine(VTEXT("\\\\OTHER"));
    CXString csAddress;
    EXPECT_FALSE(oFar.GetPrinterIPOrHostFromPort(VTEXT("Velom Mobile Port"), VTEXT("M1"), csAddress));
    EXPECT_EQ(Reported("Unable to connect to remote registry on \\\\SERVER"), 1u);
    EXPECT_EQ(Reported("Unable to access Velom Mobile Port Monitor registry location because"), 1u);

    // From the queue itself: the system's monitor is asked, the port is kept.
    TCPMonPort oPort;
    ASSERT_TRUE(oPort.AddTCPPort(VTEXT("10.0.0.9"), TCPMonPort::PortType::PT_RAW_TCP));
    m_oFake.printing.AddQueueNamed(VTEXT("Net"), VTEXT("Test Driver"), oPort.GetPortName());
    Printer oNet(VTEXT("Net"), Printer::THROW);
    CXString csMonitor;
    EXPECT_TRUE(oNet.GetPortInfo(oNet.GetPrinterHandle(), csMonitor));
    EXPECT_EQ(Narrow(csMonitor.View()), "TCPMON.DLL");
    EXPECT_EQ(Narrow(oNet.GetCurrentPrinterIPOrHost().View()), "10.0.0.9");
    EXPECT_TRUE(oNet.GetIPOrHostNameFromTcpMon(csAddress));
    EXPECT_EQ(Reported("GetPrinterPort(): Found Cached Value"), 1u);
    oNet.UpdatePortCacheAsPortChanged(VTEXT("LPT1:"));
    EXPECT_FALSE(oNet.GetIPOrHostNameFromTcpMon(csAddress));
    oNet.UpdatePortCacheAsPortChanged();
    EXPECT_EQ(oNet.GetPrinterPort(), oPort.GetPortName());
    EXPECT_FALSE(oNet.IsIppPrinter());
    m_oFake.printing.AddQueueNamed(VTEXT("Ipp"), VTEXT("Test Driver"), VTEXT("ipp://dev8/print"));
    Printer oIpp(VTEXT("Ipp"), Printer::THROW);
    EXPECT_TRUE(oIpp.IsIppPrinter());
    std::vector<CXString> vcsIpp;
    EXPECT_TRUE(Printer::EnumeratePrintersForIPP(vcsIpp));
    EXPECT_EQ(vcsIpp, std::vector<CXString>{VTEXT("Ipp")});
}

TEST_F(PrinterTest, QueuesAreListedAddedSharedAndChanged) {
    Printer oPrinter;
    EXPECT_FALSE(oPrinter.AddLocalPrinter(VTEXT("New"), VTEXT("No Driver"), VTEXT("LPT1:")));
    EXPECT_FALSE(oPrinter.IsHandleOwned());
    ASSERT_TRUE(oPrinter.AddLocalPrinter(VTEXT("New"), VTEXT("Test Driver"), VTEXT("LPT1:")));
    EXPECT_TRUE(oPrinter.IsPrintDriverInstalledMultipleTimes());
    EXPECT_TRUE(oPrinter.IsPrintProcessorInstalled(VTEXT("WinPrint")));
    EXPECT_FALSE(oPrinter.IsPrintProcessorInstalled(VTEXT("q7pp")));
    EXPECT_FALSE(oPrinter.SetPrintProcessorName(VTEXT("q7pp"), Printer::NO_THROW));  // not installed
    EXPECT_TRUE(oPrinter.IsUsingWinPrintPrintProcessor() && !oPrinter.IsUsingVelomKestrixPrintProcessor());
    EXPECT_FALSE(oPrinter.AddUSBPrinter(VTEXT("Usb"), VTEXT("Test Driver")));
    LocalPort oUsbPort;
    ASSERT_TRUE(oUsbPort.AddLocalPort(VTEXT("USB001")));
    EXPECT_TRUE(oPrinter.AddUSBPrinter(VTEXT("Usb"), VTEXT("Test Driver")));
    EXPECT_EQ(Printer(VTEXT("Usb"), Printer::THROW).GetPrinterPort(), VTEXT("USB001"));
    EXPECT_FALSE(oPrinter.AddUSBPrinter(VTEXT("Usb 2"), VTEXT("Test Driver"))) << "the port has its printer";
    EXPECT_FALSE(Printer::RepublishInformation(QUEUE)) << "it is not published";
    EXPECT_FALSE(Printer::RepublishInformation(VTEXT("None")));
}

TEST(PrinterRestrictions, EachIsItsOwn) {
    Printer::SetflagToRestrictPrinterDriverDataOnRendering(true);
    EXPECT_TRUE(Printer::GetflagToRestrictPrinterDriverDataOnRendering());
    EXPECT_FALSE(Printer::GetflagToRestrictPrinterDriverDataFromDeviceCapabilities());
    Printer::SetflagToRestrictPrinterDriverDatFromDeviceCapabilities(true);
    Printer::SetflagToRestrictPrinterDriverDataOnRendering(false);
    EXPECT_FALSE(Printer::GetflagToRestrictPrinterDriverDataOnRendering());
    EXPECT_TRUE(Printer::GetflagToRestrictPrinterDriverDataFromDeviceCapabilities());
    Printer::SetflagToRestrictPrinterDriverDatFromDeviceCapabilities(false);
}

TEST_F(PrinterTest, TraysAreTheDriversOrThoseOfTheDirectory) {
    Printer oPrinter(QUEUE, Printer::THROW);
    std::vector<CXString> vcsTrays{VTEXT("former")};
    EXPECT_FALSE(oPrinter.GetSupportedTrays(vcsTrays));
    EXPECT_TRUE(vcsTrays.empty());
    m_oFake.printing.AddData(QUEUE, VTEXT("printBinNames"), VTEXT("Published tray"), VTEXT("DsDriver"));
    EXPECT_TRUE(oPrinter.GetSupportedTrays(vcsTrays));
    EXPECT_EQ(vcsTrays, std::vector<CXString>{VTEXT("Published tray")});
    // A name may fill its field to the last unit, without an end; a negative or wild count is no answer.
    const XString full = VTEXT("A tray of twenty-four un");
    LONG lCount = 3;
    m_oFake.printing.ScriptCallsOf("GetDeviceCapability", [&](SpoolerCall& rCall) {
        *rCall.plAnswer = lCount;
        if (rCall.pTarget == nullptr) return Status::Success;
        XString fields = full + VTEXT("Tray 1");
        fields.resize(3 * full.size(), 0);
        EXPECT_EQ(rCall.cbTarget, fields.size() * sizeof(XCHAR));
        std::memcpy(rCall.pTarget, fields.data(), rCall.cbTarget);
        return Status::Success;
    });
    EXPECT_TRUE(oPrinter.GetSupportedTrays(vcsTrays));
    EXPECT_EQ(vcsTrays, (std::vector<CXString>{CXString(full), VTEXT("Tray 1")}));
    for (const LONG lWild : {-1, 0x7FFFFFFF}) {
        lCount = lWild;
        EXPECT_TRUE(oPrinter.GetSupportedTrays(vcsTrays));
        EXPECT_EQ(vcsTrays, std::vector<CXString>{VTEXT("Published tray")}) << lWild;
    }
}

}  // namespace
}  // namespace vlm::test
