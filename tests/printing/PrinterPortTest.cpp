/// @file
/// Ports through the system's own monitors: the records to the byte, what is sent, and that no answer is believed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/LocalPort.h"
#include "environment/TCPMonPort.h"
#include "platform/ThreadPort.h"
#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/FaultLoop.h"
#include "support/RecordingSink.h"

namespace vlm::test {

namespace {

using enum TCPMonPort::PortType;

constexpr std::size_t TEXT_PLACES[][2] = {{0, 128}, {144, 98}, {242, 66}, {312, 66}, {378, 32}};

void Put(std::vector<BYTE>& rvby, std::size_t cAt, XStringView svText) {
    for (const XCHAR ch : svText) {
        rvby[cAt++] = static_cast<BYTE>(ch);
        rvby[cAt++] = static_cast<BYTE>(ch >> 8);
    }
}
void Put(std::vector<BYTE>& rvby, std::size_t cAt, DWORD dw) {
    for (int i = 0; i < 4; ++i)
        rvby[cAt++] = static_cast<BYTE>(dw >> (8 * i));
}

/// The record from its byte table, written a second time.
std::vector<BYTE> Record(XStringView svName, XStringView svAddress, XStringView svIP, DWORD dwProtocol = 1) {
    std::vector<BYTE> vby(964);
    Put(vby, 0, svName);
    Put(vby, 128, DWORD{1});
    Put(vby, 132, dwProtocol);
    Put(vby, 136, DWORD{964});
    Put(vby, 144, svAddress);
    Put(vby, 242, VTEXT("public"));
    Put(vby, 378, svIP);
    Put(vby, 952, DWORD{9100});
    Put(vby, 956, DWORD{1});
    Put(vby, 960, DWORD{1});
    return vby;
}

TEST(TCPPortRecords, OnlyWholeRecordsWithTerminatedTextsAreRead) {
    const std::vector<BYTE> vbyGood = Record(VTEXT("IP_10.1.2.3"), VTEXT("printer.example"), VTEXT("10.1.2.3"), 2);
    const auto Decodes = [](const std::vector<BYTE>& rvby, TCPPortData& rData) {
        // Exactly as long as it is, so that a read beyond it is seen.
        const auto apby = std::make_unique<BYTE[]>(rvby.size());
        std::copy(rvby.begin(), rvby.end(), apby.get());
        return TCPPortData::Decode(apby.get(), rvby.size(), rData);
    };
    TCPPortData oData;
    ASSERT_TRUE(Decodes(vbyGood, oData));
    EXPECT_EQ(oData.m_csHostAddress, VTEXT("printer.example"));
    EXPECT_EQ(oData.m_dwProtocol, TCPPortData::PROTOCOL_LPR);
    ByteBuffer bbBack;
    ASSERT_TRUE(oData.AppendTo(bbBack));
    EXPECT_EQ(bbBack.GetVector(), vbyGood);

    std::vector<std::vector<BYTE>> vBad(6, vbyGood);
    vBad[0].clear();
    vBad[1].resize(963);
    vBad[2].resize(965);
    Put(vBad[3], 128, DWORD{2});
    Put(vBad[4], 136, DWORD{963});
    Put(vBad[5], 136, DWORD{0xFFFFFFFF});
    for (const auto& rPlace : TEXT_PLACES) {
        std::vector<BYTE> vby = vbyGood;
        for (std::size_t i = 0; i < rPlace[1]; i += 2)
            Put(vby, rPlace[0] + i, VTEXT("x"));
        vBad.push_back(vby);
        Put(vby, rPlace[0] + rPlace[1] - 2, XStringView(VTEXT("\0"), 1));
        EXPECT_TRUE(Decodes(vby, oData)) << "a text that fills its room at " << rPlace[0];
    }
    oData.m_csPortName = VTEXT("kept");
    for (std::size_t i = 0; i < vBad.size(); ++i) {
        EXPECT_FALSE(Decodes(vBad[i], oData)) << i;
        EXPECT_EQ(oData.m_csPortName, VTEXT("kept")) << i;
    }
}

/// A spooler with both monitors, which answer what the test tells and keep what they were sent.
class PrinterPortTest : public testing::Test {
public:
    PrinterPortTest() {
        for (const XCHAR* pszMonitor : {TCPMonPort::MONITOR_NAME, LocalPort::MONITOR_NAME})
            m_oFake.spooler.AddMonitor(pszMonitor, VTEXT("monitor.dll"));
        m_oFake.spooler.SetScript(
            [this](XStringView svCommand, std::span<const BYTE> input, std::size_t, std::vector<BYTE>& rvbyOutput) {
                m_vCommands.emplace_back(svCommand);
                m_vInputs.emplace_back(input.begin(), input.end());
                rvbyOutput = m_vbyReply;
                const Status status = m_vStatuses.empty() ? Status::Success : m_vStatuses.front();
                if (m_vStatuses.size() > 1) m_vStatuses.erase(m_vStatuses.begin());
                return status;
            });
    }
    ~PrinterPortTest() override { EXPECT_EQ(m_oFake.spooler.OpenHandles(), 0u); }

protected:
    DWORD LastError() { return m_oFake.threads.LastError(); }

    FakePlatform m_oFake;
    PlatformScope m_oScope{m_oFake.Get()};
    RecordingSink m_oSink;
    std::vector<Status> m_vStatuses;  ///< the answers in their order; the last one stays
    std::vector<BYTE> m_vbyReply;
    std::vector<XString> m_vCommands;
    std::vector<std::vector<BYTE>> m_vInputs;
};

TEST_F(PrinterPortTest, ATcpPortIsSentAsItsRecord) {
    TCPMonPort oPort;
    EXPECT_TRUE(oPort.AddTCPPort("Office", "printer.example", PT_RAW_TCP));
    EXPECT_TRUE(oPort.AddTCPPort("Dots", "10..1.2.3", PT_RAW_TCP));  // no IP address
    EXPECT_TRUE(oPort.AddTCPPort("10.1.2.3", PT_RAW_TCP));
    EXPECT_THAT(m_vInputs, testing::ElementsAre(Record(VTEXT("Office"), VTEXT("printer.example"), VTEXT("")),
                                                Record(VTEXT("Dots"), VTEXT("10..1.2.3"), VTEXT("")),
                                                Record(VTEXT("X_10.1.2.3"), VTEXT("10.1.2.3"), VTEXT("10.1.2.3"))));
    EXPECT_THAT(m_vCommands, testing::Each(XString(VTEXT("AddPort"))));
    EXPECT_EQ(m_oFake.spooler.LastAccess(), SpoolerPort::ACCESS_ADMINISTER);
    EXPECT_EQ(oPort.GetPortName(), VTEXT("X_10.1.2.3"));
    EXPECT_EQ(oPort.GetPortAddress(), VTEXT("10.1.2.3"));
    EXPECT_EQ(LastError(), 0u);
}

TEST_F(PrinterPortTest, ANameThatIsTakenGetsANumber) {
    TCPMonPort oPort;
    m_vStatuses = {Status::AlreadyExists, Status::AlreadyExists, Status::Success};
    EXPECT_TRUE(oPort.AddTCPPort("P", "h", PT_RAW_TCP));
    EXPECT_EQ(oPort.GetPortName(), VTEXT("P_2"));
    ASSERT_EQ(m_vInputs.size(), 3u);
    EXPECT_EQ(m_vInputs[1], Record(VTEXT("P_1"), VTEXT("h"), VTEXT("")));
    m_vStatuses = {Status::AlreadyExists};
    EXPECT_FALSE(oPort.AddTCPPort("Q", "h", PT_RAW_TCP));
    EXPECT_EQ(m_vInputs.size(), 3u + 1 + TCPMonPort::MAX_DISTINCT_NUMBER);
    EXPECT_EQ(oPort.GetPortName(), VTEXT("P_2")) << "a failure changes nothing";
    EXPECT_EQ(LastError(), ToDword(Status::AlreadyExists));
}

TEST_F(PrinterPortTest, WhatIsNotForTheMonitorIsNotSent) {
    const CXString csLong(VTEXT('n'), 64);
    const struct {
        CXString csName, csAddress;
        TCPMonPort::PortType eType;
        Status status;
        const char* pszReport;
    } aoRows[] = {
        {"P", "h", PT_WSD, Status::NotSupported, "AddTCPPort is not appropriate for use on WSD ports!"},
        {"P", "h", PT_LPR, Status::NotSupported,
         "AddTCPPort does not currently support LPR, please update the code before using!"},
        {"P", "h", PT_IPP, Status::InvalidParameter, "TCPMonPort::AddTCPPort"},
        {"P", "", PT_RAW_TCP, Status::InvalidParameter, "TCPMonPort::AddTCPPort"},
        {csLong, "h", PT_RAW_TCP, Status::InvalidName, "TCPMonPort::AddTCPPort"},
        {"P", csLong.Left(49), PT_RAW_TCP, Status::InvalidName, "TCPMonPort::AddTCPPort"},
        {CXString(XStringView(VTEXT("P\0Q"), 3)), VTEXT("h"), PT_RAW_TCP, Status::InvalidName,
         "TCPMonPort::AddTCPPort"},
    };
    for (const auto& rRow : aoRows) {
        m_oSink.Clear();
        TCPMonPort oPort;
        EXPECT_FALSE(oPort.AddTCPPort(rRow.csName, rRow.csAddress, rRow.eType));
        EXPECT_EQ(LastError(), ToDword(rRow.status));
        EXPECT_EQ(m_oSink.Count(rRow.pszReport), 1u) << rRow.pszReport;
    }
    EXPECT_TRUE(m_vCommands.empty());
    TCPMonPort oPort;
    EXPECT_TRUE(oPort.AddTCPPort(csLong.Left(63), csLong.Left(48), PT_RAW_TCP));
    m_vStatuses = {Status::AlreadyExists};  // "_1" does not fit any more
    EXPECT_FALSE(oPort.AddTCPPort(csLong.Left(63), "h", PT_RAW_TCP));
    EXPECT_EQ(LastError(), ToDword(Status::InvalidName));
}

TEST_F(PrinterPortTest, TheSpoolersErrorStaysBehind) {
    TCPMonPort oPort;
    const auto Add = [&] { return oPort.AddTCPPort("P", "h", PT_RAW_TCP); };
    m_vStatuses = {Status::AccessDenied};
    EXPECT_FALSE(Add());
    EXPECT_EQ(LastError(), ToDword(Status::AccessDenied));
    m_oFake.spooler.RefuseTransceive(static_cast<Status>(1722));
    EXPECT_FALSE(Add());
    EXPECT_EQ(LastError(), 1722u);
    m_oFake.spooler.RefuseOpen(static_cast<Status>(SpoolerPort::UNKNOWN_PORT));
    EXPECT_FALSE(Add());
    EXPECT_FALSE(LocalPort().AddLocalPort("L"));
    EXPECT_EQ(LastError(), SpoolerPort::UNKNOWN_PORT);
    EXPECT_EQ(oPort.GetLastStatus(), SpoolerPort::UNKNOWN_PORT);
    EXPECT_TRUE(oPort.GetPortName().IsEmpty());
}

TEST_F(PrinterPortTest, AConfigurationIsCheckedBeforeItIsHeld) {
    m_oFake.spooler.AddScriptedPort(VTEXT("P"));
    const struct {
        const char* pszWhat;
        std::vector<BYTE> vbyReply;
        Status statusMonitor;
        DWORD dwLastError;
    } aoRows[] = {
        {"raw", Record(VTEXT("P"), VTEXT("host"), VTEXT(""), 1), Status::Success, 0},
        {"LPR", Record(VTEXT("P"), VTEXT("host"), VTEXT(""), 2), Status::Success, 0},
        {"other protocol", Record(VTEXT("P"), VTEXT("host"), VTEXT(""), 3), Status::Success, 50},
        {"short", std::vector<BYTE>(963), Status::Success, 13},
        {"refused", {}, Status::AccessDenied, 5},
        {"larger than the room", std::vector<BYTE>(965), Status::InsufficientBuffer, 122},
    };
    std::vector<BYTE> vbyQuestion(132);
    vbyQuestion[128] = 1;
    for (const auto& rRow : aoRows) {
        for (const char* pszServer : {"", "\\\\SERVER"}) {
            TCPMonPort oPort;
            m_vInputs.clear();
            m_oSink.Clear();
            m_vbyReply = rRow.vbyReply;
            m_vStatuses = {rRow.statusMonitor};
            EXPECT_EQ(oPort.OpenPort(VTEXT("P"), pszServer), rRow.dwLastError == 0) << rRow.pszWhat;
            EXPECT_EQ(LastError(), rRow.dwLastError) << rRow.pszWhat;
            EXPECT_EQ(oPort.GetPortAddress(), rRow.dwLastError == 0 ? VTEXT("host") : VTEXT("")) << rRow.pszWhat;
            EXPECT_EQ(m_oSink.Count("TCPMonPort::OpenPort"), rRow.dwLastError == 0 ? 0u : 1u);
            EXPECT_EQ(m_oSink.Count("Unhandled Port Type in OpenPort for Port: P"), rRow.dwLastError == 50 ? 1u : 0u);
            EXPECT_THAT(m_vInputs, testing::ElementsAre(vbyQuestion));
        }
    }
    EXPECT_THAT(m_vCommands, testing::Each(XString(VTEXT("GetConfigInfo"))));
    EXPECT_FALSE(TCPMonPort().OpenPort("Q"));
    EXPECT_EQ(LastError(), SpoolerPort::UNKNOWN_PORT);
    {
        LocalPort oPort;
        EXPECT_TRUE(oPort.OpenPort("P"));
        EXPECT_TRUE(oPort.IsChannelOpen());
        EXPECT_FALSE(oPort.OpenPort("Q"));
        EXPECT_FALSE(oPort.IsChannelOpen());
    }
}

TEST_F(PrinterPortTest, ALocalPortIsItsName) {
    EXPECT_TRUE(LocalPort().AddLocalPort(VTEXT("L€1")));
    EXPECT_THAT(m_vInputs, testing::ElementsAre(FromHex("4C00 AC20 3100 0000")));
    EXPECT_THAT(m_vCommands, testing::ElementsAre(VTEXT("AddPort")));
    m_vStatuses = {Status::AlreadyExists};
    EXPECT_FALSE(LocalPort().AddLocalPort(VTEXT("L€1")));
    EXPECT_EQ(LastError(), ToDword(Status::AlreadyExists));
}

}  // namespace

}  // namespace vlm::test
