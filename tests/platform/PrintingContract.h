/// @file
/// What the suites of the printing ports share: answers that are asked for twice, and a printer to ask.
#pragma once

#include <algorithm>
#include <functional>
#include <vector>

#include "PortContract.h"
#include "platform/InformationBlocks.h"
#include "platform/PrintQueuePort.h"
#include "platform/PrinterDataPort.h"
#include "platform/PrinterDriverPort.h"

namespace vlm::test {

constexpr Status SpoolerStatus(DWORD dwStatus) {
    return static_cast<Status>(dwStatus);
}

/// A block, asked for its size and then for its contents, that has passed the check of its pointers.
class Answer {
public:
    using Call = std::function<Status(void* pInfo, DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned)>;

    Answer(BlockKind eKind, DWORD dwLevel, const Call& rfnCall, Status eTooSmall = Status::InsufficientBuffer) {
        DWORD cbNeeded = 0, cReturned = 1;
        eStatus = rfnCall(nullptr, 0, cbNeeded, cReturned);
        if (eStatus == Status::Success) cRecords = cReturned;  // a list without anything in it
        if (eStatus != eTooSmall) return;
        vullBytes.resize((cbNeeded + 7) / 8);
        if (cbNeeded > 1) {
            DWORD cbAgain = 0;
            EXPECT_EQ(rfnCall(vullBytes.data(), cbNeeded - 1, cbAgain, cReturned), eTooSmall) << "one byte short";
            EXPECT_EQ(cbAgain, cbNeeded);
        }
        cReturned = 1;
        eStatus = rfnCall(vullBytes.data(), cbNeeded, cbNeeded, cReturned);
        cRecords = cReturned;
        EXPECT_TRUE(IsSoundBlock(eKind, dwLevel, cRecords, vullBytes.data(), vullBytes.size() * 8)) << dwLevel;
    }
    template <typename Record>
    const Record& At(std::size_t i = 0) const {
        return reinterpret_cast<const Record*>(vullBytes.data())[i];
    }

    Status eStatus = Status::Success;
    DWORD cRecords = 0;
    std::vector<ULONGLONG> vullBytes;
};

/// Installs a driver of files that are no programs, and a queue when a test asks for one; takes both away again.
class PrintingContract : public PortContract {
protected:
    void SetUp() override {
        PortContract::SetUp();
        m_oFake.spooler.SetMisuseFailsTest(false);
        m_name = UniqueName();
        m_driver = m_name + VTEXT(" driver");
        XCHAR szDirectory[512];
        DWORD cbNeeded = 0;
        ASSERT_EQ(Drivers().GetDriverDirectory(nullptr, nullptr, 1, szDirectory, sizeof(szDirectory), cbNeeded),
                  Status::Success);
        EXPECT_EQ(cbNeeded, (XString(szDirectory).size() + 1) * sizeof(XCHAR));
        m_directory = XString(szDirectory) + VTEXT("\\");
        MakeDirectory();
        for (const XCHAR* pszFile : {VTEXT(".drv"), VTEXT(".gpd"), VTEXT(".ui"), VTEXT(".ini"), VTEXT(".cfg")})
            WriteFile(m_directory + m_name + pszFile);
        ASSERT_EQ(AddDriver(), Status::Success);
    }
    void TearDown() override {
        if (m_hQueue != nullptr) {
            EXPECT_EQ(Queues().DeleteQueue(m_hQueue), Status::Success);
            EXPECT_EQ(Spooler().ClosePrinterHandle(m_hQueue), Status::Success);
        }
        const DWORD dwFlags = IsWine() ? 0 : PrinterDriverPort::DELETE_UNUSED_FILES;  // Wine takes none
        EXPECT_EQ(Drivers().DeleteDriver(nullptr, nullptr, m_driver.c_str(), dwFlags, 0), Status::Success);
        for (const XCHAR* pszFile : {VTEXT(".drv"), VTEXT(".gpd"), VTEXT(".ui"), VTEXT(".ini"), VTEXT(".cfg")}) {
            Ports().pFiles->Delete((m_directory + m_name + pszFile).c_str());
            Ports().pFiles->Delete((m_directory + VTEXT("3\\") + m_name + pszFile).c_str());
        }
    }

    SpoolerPort& Spooler() const { return *Ports().pSpooler; }
    PrintQueuePort& Queues() const { return *Ports().pQueues; }
    PrinterDataPort& Data() const { return *Ports().pPrinterData; }
    PrinterDriverPort& Drivers() const { return *Ports().pDrivers; }
    /// The folder that files are put into to be installed; an embedded spooler makes its own at the first driver.
    void MakeDirectory() {
        for (std::size_t i = 0; (i = m_directory.find_first_of(VTEXT("\\/"), i + 1)) != XString::npos;)
            Ports().pFiles->CreateDirectoryAt(m_directory.substr(0, i).c_str());
    }
    void WriteFile(const XString& rPath) const {
        HANDLE hFile = nullptr;
        DWORD dwWritten = 0;
        ASSERT_EQ(
            Ports().pFiles->Open(
                rPath.c_str(),
                {.eAccess = FilePort::Access::ReadWrite, .eDisposition = FilePort::Disposition::CreateAlways}, hFile),
            Status::Success);
        EXPECT_EQ(Ports().pFiles->Write(hFile, "q9", 2, dwWritten), Status::Success);
        EXPECT_EQ(Ports().pFiles->Close(hFile), Status::Success);
    }
    /// Files that are no programs: nothing of them is ever loaded.
    Status AddDriver(DWORD dwLevel = 3, const XCHAR* pszEnvironment = SpoolerPort::ENVIRONMENT) {
        XString environment(pszEnvironment), driver = m_name + VTEXT(".drv"), data = m_name + VTEXT(".gpd"),
                                             config = m_name + VTEXT(".ui");
        XString dependent = m_name + VTEXT(".ini");
        dependent.append(1, 0).append(m_name).append(VTEXT(".cfg")).append(2, 0);
        DriverInfo8 oInfo{};
        oInfo.cVersion = PrinterDriverPort::DRIVER_VERSION;
        oInfo.pName = m_driver.data();
        oInfo.pEnvironment = environment.data();
        oInfo.pDriverPath = driver.data();
        oInfo.pDataFile = data.data();
        oInfo.pConfigFile = config.data();
        oInfo.pDependentFiles = dependent.data();
        return Drivers().AddDriver(nullptr, dwLevel, &oInfo, PrinterDriverPort::COPY_ALL);
    }
    PrinterInfo2 QueueInfo() {
        PrinterInfo2 oInfo{};
        oInfo.pPrinterName = m_name.data();
        oInfo.pDriverName = m_driver.data();
        oInfo.pPortName = m_port.data();
        oInfo.pPrintProcessor = m_processor.data();
        oInfo.pComment = m_comment.data();
        oInfo.Attributes = PrintQueuePort::ATTRIBUTE_LOCAL;
        oInfo.Priority = 1;
        return oInfo;
    }
    void AddQueue() { ASSERT_EQ(Queues().AddQueue(nullptr, QueueInfo(), m_hQueue), Status::Success); }
    Answer QueueBlock(DWORD dwLevel) const {
        return Answer(BlockKind::Printer, dwLevel, [&](void* p, DWORD cb, DWORD& rcb, DWORD&) {
            return Queues().GetQueueInfo(m_hQueue, dwLevel, p, cb, rcb);
        });
    }
    Status Set(const XCHAR* pszKey, const XCHAR* pszValue, std::vector<BYTE> vby) const {
        return Data().SetData(m_hQueue, pszKey, pszValue, RegistryPort::TYPE_BINARY, vby.data(),
                              static_cast<DWORD>(vby.size()));
    }

    XString m_name, m_driver, m_directory;
    XString m_port = VTEXT("LPT1:"), m_processor = VTEXT("winprint"), m_comment = VTEXT("by the contract");
    HANDLE m_hQueue = nullptr;
};

}  // namespace vlm::test
