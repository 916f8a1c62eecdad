/// @file
/// The contract of the ports for queues, printer data and drivers, over one printer that the suite installs.
#include <algorithm>
#include <vector>

#include "PrintingContract.h"

namespace vlm::test {

namespace {

class PrintingPortsContract : public PrintingContract {};

TEST_P(PrintingPortsContract, AQueueTellsWhatItWasAddedWithOnEveryLevel) {
    AddQueue();
    const Answer o1 = QueueBlock(1), o2 = QueueBlock(2), o4 = QueueBlock(4), o5 = QueueBlock(5), o8 = QueueBlock(8);
    ASSERT_TRUE(o1.eStatus == Status::Success && o2.eStatus == Status::Success && o4.eStatus == Status::Success &&
                o5.eStatus == Status::Success && o8.eStatus == Status::Success);
    EXPECT_EQ(XString(o1.At<PrinterInfo1>().pName), m_name);
    const PrinterInfo2& rInfo = o2.At<PrinterInfo2>();
    EXPECT_EQ(rInfo.pServerName, nullptr);
    EXPECT_EQ(XString(rInfo.pPrinterName), m_name);
    EXPECT_EQ(XString(rInfo.pPortName), m_port);
    EXPECT_EQ(XString(rInfo.pDriverName), m_driver);
    EXPECT_EQ(XString(rInfo.pPrintProcessor), m_processor);
    EXPECT_EQ(XString(rInfo.pComment), m_comment);
    EXPECT_EQ(rInfo.Attributes & PrintQueuePort::ATTRIBUTE_LOCAL, PrintQueuePort::ATTRIBUTE_LOCAL);
    EXPECT_GE(DeviceModeSize(rInfo.pDevMode), 220u);
    EXPECT_EQ(XString(o4.At<PrinterInfo4>().pPrinterName), m_name);
    EXPECT_EQ(XString(o5.At<PrinterInfo5>().pPortName), m_port);
    EXPECT_EQ(DeviceModeSize(o8.At<PrinterInfo8>().pDevMode), DeviceModeSize(rInfo.pDevMode));
    EXPECT_EQ(QueueBlock(77).eStatus, SpoolerStatus(SpoolerPort::UNKNOWN_LEVEL));
    XCHAR szName[SpoolerPort::MAX_PRINTER_NAME_UNITS];
    DWORD cName = SpoolerPort::MAX_PRINTER_NAME_UNITS;
    EXPECT_EQ(Spooler().PrinterName(m_hQueue, szName, cName), Status::Success);
    EXPECT_EQ(XString(szName, cName), m_name);
}

TEST_P(PrintingPortsContract, AddingRefusesWhatIsNotThere) {
    struct Row {
        const char* pszWhat;
        XCHAR* PrinterInfo2::*pMember;
        const XCHAR* pszValue;
        DWORD dwStatus;
        bool fWineAccepts;
    };
    const Row aoRows[] = {
        {"driver", &PrinterInfo2::pDriverName, VTEXT("q9 none"), SpoolerPort::UNKNOWN_PRINTER_DRIVER, false},
        {"processor", &PrinterInfo2::pPrintProcessor, VTEXT("q9 none"), SpoolerPort::UNKNOWN_PRINT_PROCESSOR, false},
        {"no processor", &PrinterInfo2::pPrintProcessor, nullptr, SpoolerPort::UNKNOWN_PRINT_PROCESSOR, false},
        {"port", &PrinterInfo2::pPortName, VTEXT("q9none:"), SpoolerPort::UNKNOWN_PORT, true},
    };
    for (const Row& rRow : aoRows) {
        if (rRow.fWineAccepts && IsWine()) continue;
        PrinterInfo2 oInfo = QueueInfo();
        oInfo.*rRow.pMember = const_cast<XCHAR*>(rRow.pszValue);
        HANDLE hQueue = nullptr;
        EXPECT_EQ(Queues().AddQueue(nullptr, oInfo, hQueue), SpoolerStatus(rRow.dwStatus)) << rRow.pszWhat;
        EXPECT_EQ(hQueue, nullptr);
    }
    HANDLE hQueue = nullptr;
    EXPECT_EQ(Spooler().OpenPrinterHandle(m_name.c_str(), 0, hQueue), SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME));
    AddQueue();
    if (IsWine()) return;  // takes a queue a second time
    EXPECT_EQ(Queues().AddQueue(nullptr, QueueInfo(), hQueue), SpoolerStatus(SpoolerPort::PRINTER_ALREADY_EXISTS));
}

TEST_P(PrintingPortsContract, QueuesAreListedUntilTheyAreDeleted) {
    const auto IsListed = [&](DWORD dwLevel) {
        const Answer oList(BlockKind::Printer, dwLevel, [&](void* p, DWORD cb, DWORD& rcb, DWORD& rc) {
            return Queues().EnumerateQueueInfo(PrintQueuePort::LIST_LOCAL, nullptr, dwLevel, p, cb, rcb, rc);
        });
        EXPECT_EQ(oList.eStatus, Status::Success);
        bool bFound = false;
        for (DWORD i = 0; i < oList.cRecords; ++i)
            bFound = bFound || XString(dwLevel == 4 ? oList.At<PrinterInfo4>(i).pPrinterName
                                                    : oList.At<PrinterInfo2>(i).pPrinterName) == m_name;
        return bFound;
    };
    EXPECT_FALSE(IsListed(4));
    AddQueue();
    EXPECT_TRUE(IsListed(2));
    EXPECT_TRUE(IsListed(4));
    EXPECT_EQ(Queues().DeleteQueue(m_hQueue), Status::Success);
    EXPECT_EQ(Spooler().ClosePrinterHandle(m_hQueue), Status::Success);
    EXPECT_FALSE(IsListed(4));
    DWORD cbNeeded = 0;
    EXPECT_EQ(Queues().GetQueueInfo(m_hQueue, 4, nullptr, 0, cbNeeded), Status::InvalidHandle);
    EXPECT_EQ(Queues().DeleteQueue(m_hQueue), Status::InvalidHandle);
    m_hQueue = nullptr;
}

TEST_P(PrintingPortsContract, SettingChangesWhatIsReadBack) {
    AddQueue();
    XString location = VTEXT("room 7");
    PrinterInfo2 oInfo = QueueInfo();
    oInfo.pLocation = location.data();
    EXPECT_EQ(Queues().SetQueueInfo(m_hQueue, 2, &oInfo, 0), Status::Success);
    EXPECT_EQ(XString(QueueBlock(2).At<PrinterInfo2>().pLocation), location);
    EXPECT_EQ(Queues().SetQueueInfo(m_hQueue, 2, nullptr, 0), Status::InvalidParameter);
    EXPECT_EQ(Queues().SetQueueInfo(m_hQueue, 3, &oInfo, 0), SpoolerStatus(SpoolerPort::UNKNOWN_LEVEL));
    const Answer oMode = QueueBlock(8);
    PrinterInfo8 oMode8 = oMode.At<PrinterInfo8>();
    EXPECT_EQ(Queues().SetQueueInfo(m_hQueue, 8, &oMode8, 0), Status::Success);
    if (IsWine()) return;  // has no commands, no rights, no publishing
    EXPECT_EQ(Queues().SetQueueInfo(m_hQueue, 0, nullptr, PrintQueuePort::COMMAND_PAUSE), Status::Success);
    EXPECT_EQ(QueueBlock(2).At<PrinterInfo2>().Status, PrintQueuePort::STATUS_PAUSED);
    EXPECT_EQ(Queues().SetQueueInfo(m_hQueue, 0, nullptr, PrintQueuePort::COMMAND_RESUME), Status::Success);
    EXPECT_EQ(QueueBlock(2).At<PrinterInfo2>().Status, 0u);
    PrinterInfo7 oInfo7{nullptr, PrintQueuePort::ACTION_REPUBLISH};
    EXPECT_EQ(Queues().SetQueueInfo(m_hQueue, 7, &oInfo7, 0), Status::Success);
    EXPECT_NE(QueueBlock(4).At<PrinterInfo4>().Attributes & PrintQueuePort::ATTRIBUTE_PUBLISHED, 0u);
    HANDLE hUser = nullptr;
    ASSERT_EQ(Spooler().OpenPrinterHandle(m_name.c_str(), 0, hUser), Status::Success);
    EXPECT_EQ(Queues().SetQueueInfo(hUser, 2, &oInfo, 0), Status::AccessDenied);
    EXPECT_EQ(Queues().DeleteQueue(hUser), Status::AccessDenied);
    EXPECT_EQ(Data().SetData(hUser, VTEXT("K"), VTEXT("v"), 3, "x", 1), Status::AccessDenied);
    EXPECT_EQ(Spooler().ClosePrinterHandle(hUser), Status::Success);
}

TEST_P(PrintingPortsContract, DataComesBackAsItWasWritten) {
    AddQueue();
    const std::vector<BYTE> vbyLong(300000, 0x5A);
    struct Row {
        const XCHAR* pszKey;
        const XCHAR* pszValue;
        std::vector<BYTE> vbyData;
    };
    const Row aoRows[] = {{PrinterDataPort::PRINTER_DRIVER_DATA, VTEXT("xPDL"), {1, 2, 3}},
                          {PrinterDataPort::PRINTER_DRIVER_DATA, VTEXT("xPDL"), {9}},
                          {VTEXT("Q9\\Nested"), VTEXT("deep"), {4, 5}},
                          {PrinterDataPort::PRINTER_DRIVER_DATA, VTEXT("long"), vbyLong}};
    for (const Row& rRow : aoRows) {
        EXPECT_EQ(Set(rRow.pszKey, rRow.pszValue, rRow.vbyData), Status::Success);
        DWORD dwType = 0, cbNeeded = 0;
        EXPECT_EQ(Data().GetData(m_hQueue, rRow.pszKey, rRow.pszValue, dwType, nullptr, 0, cbNeeded), Status::MoreData);
        EXPECT_EQ(cbNeeded, rRow.vbyData.size());
        std::vector<BYTE> vbyRead(cbNeeded);
        EXPECT_EQ(Data().GetData(m_hQueue, rRow.pszKey, rRow.pszValue, dwType, vbyRead.data(), cbNeeded, cbNeeded),
                  Status::Success);
        EXPECT_EQ(vbyRead, rRow.vbyData);
        EXPECT_EQ(dwType, RegistryPort::TYPE_BINARY);
    }
    DWORD dwType = 0, cbNeeded = 0;
    const auto Get = [&](HANDLE h, const XCHAR* pszKey, const XCHAR* pszValue) {
        return Data().GetData(h, pszKey, pszValue, dwType, nullptr, 0, cbNeeded);
    };
    EXPECT_EQ(Get(m_hQueue, PrinterDataPort::PRINTER_DRIVER_DATA, VTEXT("none")), Status::FileNotFound);
    EXPECT_EQ(Get(m_hQueue, VTEXT("None"), VTEXT("xPDL")), Status::FileNotFound);
    EXPECT_EQ(Get(m_hQueue, nullptr, VTEXT("xPDL")), IsWine() ? Status::FileNotFound : Status::InvalidParameter);
    EXPECT_EQ(Set(VTEXT(""), VTEXT("v"), {1}), Status::InvalidParameter);
    HANDLE hServer = nullptr;
    ASSERT_EQ(Spooler().OpenPrinterHandle(nullptr, SpoolerPort::ACCESS_ENUMERATE, hServer), Status::Success);
    if (!IsFake()) {
        EXPECT_EQ(Get(hServer, VTEXT("x"), VTEXT("DefaultSpoolDirectory")), Status::MoreData);
        EXPECT_GT(cbNeeded, sizeof(XCHAR));
    }
    EXPECT_EQ(Spooler().ClosePrinterHandle(hServer), Status::Success);
    EXPECT_EQ(Get(hServer, VTEXT("x"), VTEXT("y")), Status::InvalidHandle);
}

TEST_P(PrintingPortsContract, DataIsEnumeratedAndDeleted) {
    AddQueue();
    const auto Values = [&](const XCHAR* pszKey) {
        return Answer(
            BlockKind::Values, 0,
            [&](void* p, DWORD cb, DWORD& rcb, DWORD& rc) {
                return Data().EnumerateData(m_hQueue, pszKey, p, cb, rcb, rc);
            },
            Status::MoreData);
    };
    ASSERT_EQ(Set(VTEXT("Q9"), VTEXT("one"), {1}), Status::Success);
    ASSERT_EQ(Set(VTEXT("Q9"), VTEXT("two"), {2, 2}), Status::Success);
    ASSERT_EQ(Set(VTEXT("Q9\\Below"), VTEXT("three"), {3}), Status::Success);
    const Answer oValues = Values(VTEXT("Q9"));
    ASSERT_EQ(oValues.eStatus, Status::Success);
    ASSERT_EQ(oValues.cRecords, 2u);
    DWORD cbAll = 0;
    for (DWORD i = 0; i < 2; ++i) {
        const PrinterEnumValues& rValue = oValues.At<PrinterEnumValues>(i);
        EXPECT_EQ(rValue.cbValueName, 8u);
        EXPECT_EQ(rValue.dwType, RegistryPort::TYPE_BINARY);
        cbAll += rValue.cbData;
    }
    EXPECT_EQ(cbAll, 3u);
    EXPECT_EQ(Values(VTEXT("None")).eStatus, Status::FileNotFound);
    if (IsWine()) return;  // lists no keys and deletes nothing
    XCHAR szzKeys[64];
    DWORD cbNeeded = 0;
    EXPECT_EQ(Data().EnumerateDataKeys(m_hQueue, VTEXT("Q9"), nullptr, 0, cbNeeded), Status::MoreData);
    EXPECT_EQ(cbNeeded, 7 * sizeof(XCHAR));
    ASSERT_EQ(Data().EnumerateDataKeys(m_hQueue, VTEXT("Q9"), szzKeys, sizeof(szzKeys), cbNeeded), Status::Success);
    EXPECT_EQ(XString(szzKeys, cbNeeded / sizeof(XCHAR)), XString(VTEXT("Below\0\0"), 7));
    EXPECT_EQ(Data().DeleteData(m_hQueue, VTEXT("Q9"), VTEXT("one")), Status::Success);
    EXPECT_EQ(Data().DeleteData(m_hQueue, VTEXT("Q9"), VTEXT("one")), Status::FileNotFound);
    EXPECT_EQ(Values(VTEXT("Q9")).cRecords, 1u);
    EXPECT_EQ(Data().DeleteDataKey(m_hQueue, VTEXT("Q9")), Status::Success);
    EXPECT_EQ(Values(VTEXT("Q9\\Below")).eStatus, Status::FileNotFound);
    EXPECT_EQ(Data().DeleteDataKey(m_hQueue, VTEXT("Q9")), Status::FileNotFound);
}

TEST_P(PrintingPortsContract, ADriverTellsItsFilesOnEveryLevel) {
    AddQueue();
    const XString folder = m_directory + VTEXT("3\\");
    for (const DWORD dwLevel : {1u, 2u, 3u, 4u, 5u, 6u, 8u}) {
        const Answer oDriver(BlockKind::Driver, dwLevel, [&](void* p, DWORD cb, DWORD& rcb, DWORD&) {
            return Drivers().GetDriverBlock(m_hQueue, nullptr, dwLevel, p, cb, rcb);
        });
        ASSERT_EQ(oDriver.eStatus, Status::Success) << dwLevel;
        if (dwLevel == 1) {
            EXPECT_EQ(XString(oDriver.At<DriverInfo1>().pName), m_driver);
            continue;
        }
        const DriverInfo2& rInfo = oDriver.At<DriverInfo2>();
        EXPECT_EQ(XString(rInfo.pName), m_driver);
        EXPECT_EQ(XString(rInfo.pEnvironment), SpoolerPort::ENVIRONMENT);
        EXPECT_TRUE(std::equal(folder.begin(), folder.end(), rInfo.pDriverPath, [](XCHAR chLeft, XCHAR chRight) {
            return chLeft == chRight || (chLeft ^ chRight) == 0x20;
        })) << "no full path";
        EXPECT_TRUE(XString(rInfo.pDataFile).ends_with(m_name + VTEXT(".gpd")));
        EXPECT_TRUE(XString(rInfo.pConfigFile).ends_with(m_name + VTEXT(".ui")));
        DWORD dwAttributes = 0;
        EXPECT_EQ(Ports().pFiles->GetAttributes(rInfo.pDataFile, dwAttributes), Status::Success);
        if (dwLevel != 3 && dwLevel != 8) continue;
        const XCHAR* pszzFiles = oDriver.At<DriverInfo3>().pDependentFiles;
        EXPECT_TRUE(XString(pszzFiles).ends_with(m_name + VTEXT(".ini")));
        pszzFiles += XString(pszzFiles).size() + 1;
        EXPECT_TRUE(XString(pszzFiles).ends_with(m_name + VTEXT(".cfg")));
        EXPECT_EQ(pszzFiles[XString(pszzFiles).size() + 1], 0);
    }
    DWORD cbNeeded = 0, cReturned = 0;
    EXPECT_EQ(Drivers().GetDriverBlock(m_hQueue, VTEXT("No System"), 2, nullptr, 0, cbNeeded),
              SpoolerStatus(SpoolerPort::INVALID_ENVIRONMENT));
    EXPECT_EQ(Drivers().EnumerateDriverInfo(nullptr, VTEXT("No System"), 2, nullptr, 0, cbNeeded, cReturned),
              SpoolerStatus(SpoolerPort::INVALID_ENVIRONMENT));
    EXPECT_EQ(AddDriver(3, VTEXT("No System")), SpoolerStatus(SpoolerPort::INVALID_ENVIRONMENT));
    EXPECT_EQ(AddDriver(77), SpoolerStatus(SpoolerPort::UNKNOWN_LEVEL));
    EXPECT_EQ(Drivers().DeleteDriver(nullptr, nullptr, VTEXT("q9 none"), 0, 0),
              SpoolerStatus(SpoolerPort::UNKNOWN_PRINTER_DRIVER));
    const Answer oAll(BlockKind::Driver, 3, [&](void* p, DWORD cb, DWORD& rcb, DWORD& rc) {
        return Drivers().EnumerateDriverInfo(nullptr, VTEXT("all"), 3, p, cb, rcb, rc);
    });
    bool bFound = false;
    for (DWORD i = 0; i < oAll.cRecords; ++i)
        bFound = bFound || XString(oAll.At<DriverInfo3>(i).pName) == m_driver;
    EXPECT_TRUE(bFound);
    if (IsWine()) return;  // deletes a driver that is in use
    EXPECT_EQ(Drivers().DeleteDriver(nullptr, nullptr, m_driver.c_str(), 0, 0),
              SpoolerStatus(SpoolerPort::PRINTER_DRIVER_IN_USE));
}

TEST_P(PrintingPortsContract, ThereIsADefaultQueueOnceItIsSet) {
    AddQueue();
    EXPECT_EQ(Queues().SetDefaultQueue(VTEXT("q9 no such queue")), SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME));
    ASSERT_EQ(Queues().SetDefaultQueue(m_name.c_str()), Status::Success);
    XCHAR szName[SpoolerPort::MAX_PRINTER_NAME_UNITS];
    DWORD cName = 1;
    EXPECT_EQ(Queues().GetDefaultQueue(szName, cName), Status::InsufficientBuffer);
    EXPECT_EQ(cName, m_name.size() + 1);
    EXPECT_EQ(Queues().GetDefaultQueue(szName, cName), Status::Success);
    EXPECT_EQ(XString(szName), m_name);
}

TEST_P(PrintingPortsContract, PortsAndProcessorsAreListed) {
    const auto List = [&](BlockKind eKind, DWORD dwLevel, const XString& rName) {
        const Answer oList(eKind, dwLevel, [&](void* p, DWORD cb, DWORD& rcb, DWORD& rc) {
            return eKind == BlockKind::Port
                       ? Spooler().EnumeratePortInfo(nullptr, dwLevel, p, cb, rcb, rc)
                       : Spooler().EnumerateProcessorInfo(nullptr, nullptr, dwLevel, p, cb, rcb, rc);
        });
        EXPECT_EQ(oList.eStatus, Status::Success);
        const auto Name = [&](DWORD i) {
            return dwLevel == 2 ? oList.At<PortInfo2>(i).pPortName : oList.At<PortInfo1>(i).pName;
        };
        DWORD i = 0;
        while (i < oList.cRecords && XString(Name(i)) != rName)
            ++i;
        return i < oList.cRecords;
    };
    EXPECT_TRUE(List(BlockKind::Port, 1, m_port));
    EXPECT_TRUE(List(BlockKind::Port, 2, m_port));
    EXPECT_TRUE(List(BlockKind::Processor, 1, m_processor));
    DWORD cbNeeded = 0, cReturned = 0;
    EXPECT_EQ(Spooler().EnumeratePortInfo(nullptr, 77, nullptr, 0, cbNeeded, cReturned),
              SpoolerStatus(SpoolerPort::UNKNOWN_LEVEL));
    EXPECT_EQ(Spooler().EnumerateProcessorInfo(nullptr, VTEXT("No System"), 1, nullptr, 0, cbNeeded, cReturned),
              SpoolerStatus(SpoolerPort::INVALID_ENVIRONMENT));
}

Q9_CONTRACT_SUITE(PrintingPortsContract);

}  // namespace

}  // namespace vlm::test
