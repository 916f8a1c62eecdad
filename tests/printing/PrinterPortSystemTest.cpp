/// @file
/// Ports in the real spooler, through its own local monitor and a TCP/IP monitor of the tests' own.
#ifdef _WIN32
#include <windows.h>
// After the system's header.
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "environment/LocalPort.h"
#include "environment/TCPMonPort.h"
#include "platform/Platform.h"
#include "platform/SpoolerPort.h"

namespace {

using vlm::SpoolerPort;
using vlm::Status;

SpoolerPort& Spooler() {
    return *vlm::GetSystemPlatform().pSpooler;
}

/// One test at a time in the whole machine: there is one spooler.
class PrinterPortSystem : public testing::Test {
protected:
    void SetUp() override {
        m_hMutex = CreateMutexW(nullptr, FALSE, L"q9-tests-of-the-system-spooler");
        ASSERT_EQ(WaitForSingleObject(m_hMutex, 50'000) & ~WAIT_ABANDONED, WAIT_OBJECT_0);
        const Status status =
            Spooler().AddMonitorDll(TCPMonPort::MONITOR_NAME, SpoolerPort::ENVIRONMENT, Q9_TCPMON_DLL);
        m_fOurs = status == Status::Success;
        if (vlm::ToDword(status) == SpoolerPort::PRINT_MONITOR_ALREADY_INSTALLED)
            GTEST_SKIP() << "the system has a TCP/IP monitor, which is left alone";
        ASSERT_TRUE(m_fOurs) << vlm::ToDword(status);
    }
    void TearDown() override {
        if (m_fOurs) {
            EXPECT_EQ(Spooler().DeleteMonitorByName(TCPMonPort::MONITOR_NAME, SpoolerPort::ENVIRONMENT),
                      Status::Success);
            RegDeleteTreeW(HKEY_LOCAL_MACHINE,
                           L"System\\CurrentControlSet\\Control\\Print\\Monitors\\Standard TCP/IP Port");
        }
        ReleaseMutex(m_hMutex);
        CloseHandle(m_hMutex);
    }

    HANDLE m_hMutex = nullptr;
    bool m_fOurs = false;
};

TEST_F(PrinterPortSystem, ATcpPortIsAddedAndReadBack) {
    using PortType = TCPMonPort::PortType;
    TCPMonPort oPort;
    ASSERT_TRUE(oPort.AddTCPPort(VTEXT("q9-host.example"), PortType::PT_RAW_TCP)) << oPort.GetLastStatus();
    ASSERT_TRUE(oPort.AddTCPPort(VTEXT("X_q9-host.example"), VTEXT("10.9.8.7"), PortType::PT_RAW_TCP));
    EXPECT_EQ(oPort.GetPortName(), VTEXT("X_q9-host.example_1"));
    for (const auto& [pszName, pszAddress, pszIP] :
         {std::array{VTEXT("X_q9-host.example"), VTEXT("q9-host.example"), VTEXT("")},
          std::array{VTEXT("X_q9-host.example_1"), VTEXT("10.9.8.7"), VTEXT("10.9.8.7")}}) {
        TCPMonPort oRead;
        ASSERT_TRUE(oRead.OpenPort(pszName)) << oRead.GetLastStatus();
        EXPECT_EQ(oRead.GetPortName(), pszName);
        EXPECT_EQ(oRead.GetPortAddress(), pszAddress);
        EXPECT_EQ(oRead.GetPortData().m_csIPAddress, pszIP);
        EXPECT_EQ(oRead.GetPortType(), PortType::PT_RAW_TCP);
        EXPECT_EQ(oRead.GetPortData().m_dwPortNumber, TCPMonPort::RAW_PORT_NUMBER);
    }
    EXPECT_FALSE(oPort.OpenPort(VTEXT("q9-no-such-port")));
    EXPECT_EQ(GetLastError(), SpoolerPort::UNKNOWN_PORT);
}

TEST_F(PrinterPortSystem, ALocalPortIsAddedAndOpened) {
    const std::wstring name = L"C:\\q9-port-" + std::to_wstring(GetCurrentProcessId());
    EXPECT_FALSE(LocalPort().OpenPort(name.c_str()));
    ASSERT_TRUE(LocalPort().AddLocalPort(name.c_str())) << GetLastError();
    EXPECT_FALSE(LocalPort().AddLocalPort(name.c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    LocalPort oPort;
    EXPECT_TRUE(oPort.OpenPort(name.c_str()));
    EXPECT_TRUE(oPort.IsChannelOpen());

    HANDLE hMonitor = nullptr;
    DWORD cbNeeded = 0, dwStatus = 0;
    ASSERT_EQ(Spooler().OpenPrinterHandle(VTEXT(",XcvMonitor Local Port"), SpoolerPort::ACCESS_ADMINISTER, hMonitor),
              Status::Success);
    EXPECT_EQ(
        Spooler().Transceive(hMonitor, VTEXT("DeletePort"), reinterpret_cast<const BYTE*>(name.c_str()),
                             static_cast<DWORD>((name.size() + 1) * sizeof(wchar_t)), nullptr, 0, cbNeeded, dwStatus),
        Status::Success);
    EXPECT_EQ(dwStatus, 0u);
    Spooler().ClosePrinterHandle(hMonitor);
}

}  // namespace
#endif
