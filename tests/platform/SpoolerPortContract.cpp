/// @file
/// The contract of the spooler port.
#include <algorithm>
#include <vector>

#include "PortContract.h"
#include "platform/EmbeddedMonitor.h"
#include "platform/SpoolerPort.h"

namespace vlm::test {

namespace {

/// The monitor that the system brings along on Windows; the other spoolers get this one in its place.
constexpr const XCHAR* MONITOR_DLL = VTEXT("localspl.dll");
constexpr const XCHAR* COMMAND = VTEXT("MonitorUI");
constexpr XStringView ANSWER = VTEXT("localui.dll");

Status AnswerCommand(XStringView svCommand, std::size_t cbRoom, std::vector<BYTE>& rvbyOutput) {
    if (svCommand != COMMAND) return Status::InvalidParameter;
    const XString answer(ANSWER);
    const BYTE* const pbyAnswer = reinterpret_cast<const BYTE*>(answer.c_str());
    rvbyOutput.assign(pbyAnswer, pbyAnswer + (answer.size() + 1) * sizeof(XCHAR));
    return rvbyOutput.size() > cbRoom ? Status::InsufficientBuffer : Status::Success;
}

class LocalMonitor final : public EmbeddedMonitor {
public:
    bool IsDll(const XCHAR* pszDll) const noexcept override { return XStringView(pszDll) == MONITOR_DLL; }
    Status OpenChannel(DWORD, HANDLE& rhChannel) noexcept override {
        ++m_iChannels;
        rhChannel = this;
        return Status::Success;
    }
    Status CloseChannel(HANDLE hChannel) noexcept override {
        --m_iChannels;
        return hChannel == this ? Status::Success : Status::InvalidHandle;
    }
    Status Transceive(HANDLE, const XCHAR* pszCommand, const BYTE*, DWORD, BYTE* pbyOutput, DWORD cbOutput,
                      DWORD& rcbNeeded) noexcept override {
        std::vector<BYTE> vbyOutput;
        const Status eStatus = AnswerCommand(pszCommand, cbOutput, vbyOutput);
        if (eStatus == Status::Success) std::copy(vbyOutput.begin(), vbyOutput.end(), pbyOutput);
        rcbNeeded = static_cast<DWORD>(vbyOutput.size());
        return eStatus;
    }
    int m_iChannels = 0;
};

Status SpoolerStatus(DWORD dwStatus) {
    return static_cast<Status>(dwStatus);
}

class SpoolerPortContract : public PortContract {
protected:
    void SetUp() override {
        PortContract::SetUp();
        m_oFake.spooler.SetMisuseFailsTest(false);
        m_oFake.spooler.SetMissingDll(VTEXT("q9-none.dll"));
        m_oFake.spooler.SetScript(
            [](XStringView svCommand, std::span<const BYTE>, std::size_t cbRoom, std::vector<BYTE>& rvbyOutput) {
                return AnswerCommand(svCommand, cbRoom, rvbyOutput);
            });
        m_pFormer = ExchangeEmbeddedMonitor(&m_oMonitor);
        m_name = UniqueName();
    }
    void TearDown() override {
        Spooler().DeleteMonitorByName(m_name.c_str(), SpoolerPort::ENVIRONMENT);
        EXPECT_EQ(m_oMonitor.m_iChannels, 0);
        ExchangeEmbeddedMonitor(m_pFormer);
    }

    SpoolerPort& Spooler() const { return *Ports().pSpooler; }
    Status Add(const XCHAR* pszDll = MONITOR_DLL, const XCHAR* pszEnvironment = SpoolerPort::ENVIRONMENT) const {
        return Spooler().AddMonitorDll(m_name.c_str(), pszEnvironment, pszDll);
    }
    std::vector<XString> Names() const {
        std::vector<XString> vNames;
        for (;;) {
            XCHAR szName[SpoolerPort::MAX_MONITOR_NAME_UNITS];
            DWORD cName = SpoolerPort::MAX_MONITOR_NAME_UNITS;
            const Status eStatus = Spooler().EnumerateMonitor(static_cast<DWORD>(vNames.size()), szName, cName);
            if (eStatus != Status::Success) {
                EXPECT_EQ(eStatus, Status::NoMoreItems);
                return vNames;
            }
            EXPECT_EQ(szName[cName], 0);
            vNames.emplace_back(szName, cName);
        }
    }
    bool IsInstalled() const {
        const std::vector<XString> vNames = Names();
        return std::count(vNames.begin(), vNames.end(), m_name) == 1;
    }

    LocalMonitor m_oMonitor;
    EmbeddedMonitor* m_pFormer = nullptr;
    XString m_name;
};

TEST_P(SpoolerPortContract, MonitorsAreInstalledOnceAndListed) {
    EXPECT_FALSE(IsInstalled());
    EXPECT_EQ(Add(VTEXT("")), Status::InvalidParameter);
    EXPECT_EQ(Add(MONITOR_DLL, VTEXT("No Environment")), SpoolerStatus(SpoolerPort::INVALID_ENVIRONMENT));
    EXPECT_EQ(Add(VTEXT("q9-none.dll")), Status::ModuleNotFound);
    EXPECT_FALSE(IsInstalled());
    EXPECT_EQ(Add(), Status::Success);
    EXPECT_TRUE(IsInstalled());
    EXPECT_EQ(Add(), SpoolerStatus(SpoolerPort::PRINT_MONITOR_ALREADY_INSTALLED));
    XCHAR szName[2];
    DWORD cName = 2;
    EXPECT_EQ(Spooler().EnumerateMonitor(0, szName, cName), Status::MoreData);
    EXPECT_EQ(Spooler().DeleteMonitorByName(VTEXT(""), SpoolerPort::ENVIRONMENT), Status::InvalidParameter);
    EXPECT_EQ(Spooler().DeleteMonitorByName(m_name.c_str(), SpoolerPort::ENVIRONMENT), Status::Success);
    EXPECT_FALSE(IsInstalled());
    EXPECT_EQ(Spooler().DeleteMonitorByName(m_name.c_str(), SpoolerPort::ENVIRONMENT),
              SpoolerStatus(SpoolerPort::UNKNOWN_PRINT_MONITOR));
}

TEST_P(SpoolerPortContract, ChannelsCarryCommandsAndAnswers) {
    const XString channel = VTEXT(",XcvMonitor ") + m_name;
    HANDLE hChannel = nullptr;
    EXPECT_EQ(Spooler().OpenPrinterHandle(channel.c_str(), SpoolerPort::ACCESS_ADMINISTER, hChannel),
              SpoolerStatus(SpoolerPort::UNKNOWN_PORT));
    ASSERT_EQ(Add(), Status::Success);
    ASSERT_EQ(Spooler().OpenPrinterHandle(channel.c_str(), SpoolerPort::ACCESS_ADMINISTER, hChannel), Status::Success);
    XCHAR szAnswer[16] = {};
    DWORD cbNeeded = 4711, dwStatus = 4711;
    const DWORD cbAnswer = static_cast<DWORD>((ANSWER.size() + 1) * sizeof(XCHAR));
    BYTE* const pbyAnswer = reinterpret_cast<BYTE*>(szAnswer);
    EXPECT_EQ(Spooler().Transceive(hChannel, COMMAND, nullptr, 0, nullptr, 0, cbNeeded, dwStatus), Status::Success);
    EXPECT_EQ(dwStatus, ToDword(Status::InsufficientBuffer));
    EXPECT_EQ(cbNeeded, cbAnswer);
    EXPECT_EQ(Spooler().Transceive(hChannel, COMMAND, nullptr, 0, pbyAnswer, sizeof(szAnswer), cbNeeded, dwStatus),
              Status::Success);
    EXPECT_EQ(dwStatus, 0u);
    EXPECT_EQ(cbNeeded, cbAnswer);
    EXPECT_EQ(XString(szAnswer), ANSWER);
    EXPECT_EQ(Spooler().Transceive(hChannel, VTEXT("q9-none"), nullptr, 0, nullptr, 0, cbNeeded, dwStatus),
              Status::Success);
    EXPECT_EQ(dwStatus, ToDword(Status::InvalidParameter));
    EXPECT_EQ(Spooler().Transceive(hChannel, nullptr, nullptr, 0, nullptr, 0, cbNeeded, dwStatus),
              SpoolerStatus(SpoolerPort::NULL_REFERENCE));
    EXPECT_EQ(Spooler().ClosePrinterHandle(hChannel), Status::Success);
    EXPECT_EQ(Spooler().Transceive(hChannel, COMMAND, nullptr, 0, nullptr, 0, cbNeeded, dwStatus),
              Status::InvalidHandle);
    EXPECT_EQ(Spooler().ClosePrinterHandle(hChannel), Status::InvalidHandle);
}

TEST_P(SpoolerPortContract, TheServerIsNoChannel) {
    HANDLE hServer = nullptr;
    ASSERT_EQ(Spooler().OpenPrinterHandle(nullptr, SpoolerPort::ACCESS_ADMINISTER, hServer), Status::Success);
    DWORD cbNeeded = 0, dwStatus = 0;
    EXPECT_EQ(Spooler().Transceive(hServer, COMMAND, nullptr, 0, nullptr, 0, cbNeeded, dwStatus),
              Status::InvalidHandle);
    EXPECT_EQ(Spooler().ClosePrinterHandle(hServer), Status::Success);
    EXPECT_EQ(Spooler().OpenPrinterHandle(VTEXT("q9 no such queue"), SpoolerPort::ACCESS_USE, hServer),
              SpoolerStatus(SpoolerPort::INVALID_PRINTER_NAME));
}

Q9_CONTRACT_SUITE(SpoolerPortContract);

}  // namespace

}  // namespace vlm::test
