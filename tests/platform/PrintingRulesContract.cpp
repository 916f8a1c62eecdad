/// @file
/// Rules of the spooler that Wine's does not have: other servers' queues and connections, drivers' files, rights.
#include <algorithm>
#include <vector>

#include "PrintingContract.h"
#include "platform/ProcessPort.h"
#include "platform/host/spooler/SpoolerKey.h"

namespace vlm::test {

namespace {

class PrintingRulesContract : public PrintingContract {
protected:
    void SetUp() override {
        if (IsWine()) GTEST_SKIP() << "Wine's spooler knows no other servers and takes what it is given";
        PrintingContract::SetUp();
    }
    void TearDown() override {
        if (!IsWine()) PrintingContract::TearDown();
    }

    bool IsListed(DWORD dwFlags, const XCHAR* pszServer, const XString& rName, DWORD* pdwAttributes = nullptr) const {
        const Answer oList(BlockKind::Printer, 4, [&](void* p, DWORD cb, DWORD& rcb, DWORD& rc) {
            return Queues().EnumerateQueueInfo(dwFlags, pszServer, 4, p, cb, rcb, rc);
        });
        for (DWORD i = 0; i < oList.cRecords; ++i) {
            const PrinterInfo4& rInfo = oList.At<PrinterInfo4>(i);
            if (XString(rInfo.pPrinterName) != rName) continue;
            if (pdwAttributes != nullptr) *pdwAttributes = rInfo.Attributes;
            return true;
        }
        return false;
    }
    bool HasFile(const XCHAR* pszEnding) const {
        DWORD dwAttributes = 0;
        return Ports().pFiles->GetAttributes((m_directory + VTEXT("3\\") + m_name + pszEnding).c_str(), dwAttributes) ==
               Status::Success;
    }
};

TEST_P(PrintingRulesContract, QueuesOfServersAreConnectedTo) {
    const XString server = VTEXT("\\\\Q9-") + m_name, name = server + VTEXT("\\") + m_name;
    const auto List = [&](DWORD dwFlags, const XCHAR* pszServer) {
        DWORD cbNeeded = 0, cReturned = 0;
        return Queues().EnumerateQueueInfo(dwFlags, pszServer, 4, nullptr, 0, cbNeeded, cReturned);
    };
    EXPECT_EQ(Queues().AddConnection(name.c_str()), SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME));
    EXPECT_EQ(List(PrintQueuePort::LIST_OF_SERVER, server.c_str()), SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME));
    PrinterInfo2 oInfo = QueueInfo();
    XString port = VTEXT("the server's own port");
    oInfo.pPortName = port.data();
    oInfo.Attributes = 0;
    ASSERT_EQ(Queues().AddQueue(server.c_str(), oInfo, m_hQueue), Status::Success);
    EXPECT_EQ(Set(PrinterDataPort::PRINTER_DRIVER_DATA, VTEXT("v"), {1}), Status::Success);
    const Answer oAnswer = QueueBlock(2);
    EXPECT_EQ(XString(oAnswer.At<PrinterInfo2>().pServerName), server);
    EXPECT_EQ(XString(oAnswer.At<PrinterInfo2>().pPrinterName), name);
    EXPECT_TRUE(IsListed(PrintQueuePort::LIST_OF_SERVER, server.c_str(), name));
    EXPECT_FALSE(IsListed(PrintQueuePort::LIST_LOCAL | PrintQueuePort::LIST_CONNECTIONS, nullptr, name));

    DWORD dwAttributes = 0;
    EXPECT_EQ(Queues().AddConnection(name.c_str()), Status::Success);
    EXPECT_TRUE(IsListed(PrintQueuePort::LIST_CONNECTIONS, nullptr, name, &dwAttributes));
    EXPECT_EQ(dwAttributes, PrintQueuePort::ATTRIBUTE_NETWORK);
    EXPECT_FALSE(IsListed(PrintQueuePort::LIST_LOCAL, nullptr, name));
    EXPECT_EQ(Queues().SetDefaultQueue(name.c_str()), Status::Success);
    EXPECT_EQ(Queues().DeleteConnection(name.c_str()), Status::Success);
    EXPECT_EQ(Queues().DeleteConnection(name.c_str()), SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME));
    EXPECT_FALSE(IsListed(PrintQueuePort::LIST_CONNECTIONS, nullptr, name));
    HANDLE hChannel = nullptr;
    EXPECT_EQ(Spooler().OpenPrinterHandle((server + VTEXT("\\,XcvMonitor Local Port")).c_str(), 0, hChannel),
              SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME));
}

TEST_P(PrintingRulesContract, OnesOwnServerIsThisComputer) {
    AddQueue();
    XCHAR szComputer[256];
    ASSERT_NE(Ports().pProcess->ComputerName(szComputer, 256), 0u);
    const XString server = XString(VTEXT("\\\\")) + szComputer;
    HANDLE hQueue = nullptr;
    ASSERT_EQ(Spooler().OpenPrinterHandle((server + VTEXT("\\") + m_name).c_str(), 0, hQueue), Status::Success);
    XCHAR szName[SpoolerPort::MAX_PRINTER_NAME_UNITS];
    DWORD cName = SpoolerPort::MAX_PRINTER_NAME_UNITS;
    EXPECT_EQ(Spooler().PrinterName(hQueue, szName, cName), Status::Success);
    EXPECT_EQ(XString(szName), m_name);
    EXPECT_EQ(Spooler().ClosePrinterHandle(hQueue), Status::Success);
    for (const XCHAR* pszRest : {VTEXT("\\,XcvMonitor Local Port"), VTEXT("")}) {
        ASSERT_EQ(Spooler().OpenPrinterHandle((server + pszRest).c_str(), 0, hQueue), Status::Success);
        EXPECT_EQ(Spooler().ClosePrinterHandle(hQueue), Status::Success);
    }
    for (const XCHAR* pszName : {VTEXT(""), VTEXT("\\\\"), VTEXT("\\\\\\x"), VTEXT("a,b"), VTEXT("a\\b")}) {
        EXPECT_EQ(Spooler().OpenPrinterHandle(pszName, 0, hQueue), SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME));
    }
}

TEST_P(PrintingRulesContract, DriversBringTheirFilesAndTakeThemAlong) {
    for (const XCHAR* pszEnding : {VTEXT(".drv"), VTEXT(".gpd"), VTEXT(".ui"), VTEXT(".ini"), VTEXT(".cfg")})
        EXPECT_TRUE(HasFile(pszEnding));
    // A second driver shares two files, and brings one from elsewhere.
    const XString second = m_driver + VTEXT(" 2"), folder = m_directory + VTEXT("from\\");
    XString driver = m_directory + VTEXT("3\\") + m_name + VTEXT(".drv"), config = folder + m_name + VTEXT(".own"),
            missing = folder + VTEXT("none");
    ASSERT_EQ(Ports().pFiles->CreateDirectoryAt(folder.c_str()), Status::Success);
    WriteFile(config);
    DriverInfo2 oInfo{PrinterDriverPort::DRIVER_VERSION,
                      const_cast<XCHAR*>(second.c_str()),
                      nullptr,
                      driver.data(),
                      missing.data(),
                      config.data()};
    const DWORD dwFrom = PrinterDriverPort::COPY_ALL | PrinterDriverPort::COPY_FROM_DIRECTORY;
    const auto Add = [&](DWORD dwFlags) { return Drivers().AddDriver(nullptr, 2, &oInfo, dwFlags); };
    const auto Delete = [&](const XString& rName, DWORD dwFlags) {
        return Drivers().DeleteDriver(nullptr, nullptr, rName.c_str(), dwFlags, PrinterDriverPort::DRIVER_VERSION);
    };
    EXPECT_EQ(Add(dwFrom), Status::FileNotFound);
    EXPECT_EQ(Add(PrinterDriverPort::COPY_FROM_DIRECTORY), Status::InvalidParameter) << "how to copy?";
    EXPECT_EQ(Add(dwFrom | PrinterDriverPort::COPY_NEW), Status::InvalidParameter) << "which way?";
    EXPECT_EQ(Delete(second, 0), SpoolerStatus(SpoolerPort::UNKNOWN_PRINTER_DRIVER)) << "nothing was registered";
    oInfo.pDataFile = driver.data();
    EXPECT_EQ(Add(dwFrom), Status::Success);
    EXPECT_EQ(Add(PrinterDriverPort::COPY_STRICT_UPGRADE),
              SpoolerStatus(SpoolerPort::PRINTER_DRIVER_ALREADY_INSTALLED));
    EXPECT_TRUE(HasFile(VTEXT(".own")));
    EXPECT_EQ(Delete(second, PrinterDriverPort::DELETE_ALL_FILES), SpoolerStatus(SpoolerPort::PRINTER_DRIVER_IN_USE));
    EXPECT_EQ(Delete(second, PrinterDriverPort::DELETE_UNUSED_FILES | PrinterDriverPort::DELETE_SPECIFIC_VERSION),
              Status::Success);
    EXPECT_FALSE(HasFile(VTEXT(".own")));
    EXPECT_TRUE(HasFile(VTEXT(".drv"))) << "the first driver's";
    EXPECT_EQ(Ports().pFiles->Delete(config.c_str()), Status::Success);
    EXPECT_EQ(Ports().pFolders->RemoveFolder(folder.c_str()), Status::Success);
}

TEST_P(PrintingRulesContract, AStoreThatSomebodyElseWroteDoesNotLeadOutOfTheFolder) {
    const XString path = XString(host::DRIVERS_PATH) + VTEXT("\\") + m_driver;
    const XString outside = VTEXT("..\\") + m_name + VTEXT(".drv");
    RegistryPort& rRegistry = *Ports().pRegistry;
    const HKEY hRoot = rRegistry.RootKey(RegistryPort::Root::LocalMachine);
    HKEY hKey = nullptr;
    ASSERT_EQ(rRegistry.Open(hRoot, path.c_str(), RegistryPort::RIGHTS_ALL, hKey), Status::Success);
    EXPECT_EQ(rRegistry.SetValue(hKey, VTEXT("Help File"), RegistryPort::TYPE_SZ, outside.c_str(),
                                 static_cast<DWORD>((outside.size() + 1) * sizeof(XCHAR))),
              Status::Success);
    EXPECT_EQ(rRegistry.Close(hKey), Status::Success);
    EXPECT_EQ(Drivers().DeleteDriver(nullptr, nullptr, m_driver.c_str(), PrinterDriverPort::DELETE_UNUSED_FILES, 0),
              Status::Success);
    DWORD dwAttributes = 0;
    EXPECT_EQ(Ports().pFiles->GetAttributes((m_directory + m_name + VTEXT(".drv")).c_str(), dwAttributes),
              Status::Success);
    EXPECT_FALSE(HasFile(VTEXT(".drv"))) << "its own files went";
    ASSERT_EQ(AddDriver(), Status::Success) << "for the end of the test to delete";
}

Q9_CONTRACT_SUITE(PrintingRulesContract);

}  // namespace

}  // namespace vlm::test
