/// @file
/// The contract of the monitors that every spooler has: local ports and TCP/IP ports, by their commands.
#include <algorithm>
#include <cstring>
#include <vector>

#include "PortContract.h"
#include "platform/SpoolerPort.h"

namespace vlm::test {

namespace {

constexpr DWORD UNKNOWN_LEVEL = SpoolerPort::UNKNOWN_LEVEL, UNKNOWN_PORT = SpoolerPort::UNKNOWN_PORT;

class PortMonitorsContract : public PortContract {
protected:
    SpoolerPort& Spooler() const { return *Ports().pSpooler; }
    Status OpenAt(const XString& rName, HANDLE& rhChannel, DWORD dwAccess = SpoolerPort::ACCESS_ADMINISTER) const {
        return Spooler().OpenPrinterHandle(rName.c_str(), dwAccess, rhChannel);
    }
    /// The monitor's status.
    DWORD Send(HANDLE hChannel, const XCHAR* pszCommand, const std::vector<BYTE>& rvbyInput,
               std::vector<BYTE>* pvbyOutput = nullptr) const {
        DWORD cbNeeded = 0, dwStatus = 4711;
        EXPECT_EQ(Spooler().Transceive(hChannel, pszCommand, rvbyInput.data(), static_cast<DWORD>(rvbyInput.size()),
                                       pvbyOutput ? pvbyOutput->data() : nullptr,
                                       pvbyOutput ? static_cast<DWORD>(pvbyOutput->size()) : 0, cbNeeded, dwStatus),
                  Status::Success);
        if (pvbyOutput != nullptr) pvbyOutput->resize(cbNeeded);
        return dwStatus;
    }
    static std::vector<BYTE> Bytes(const XString& rText) {
        const BYTE* const pby = reinterpret_cast<const BYTE*>(rText.c_str());
        return {pby, pby + (rText.size() + 1) * sizeof(XCHAR)};
    }
    static void Put(std::vector<BYTE>& rvby, std::size_t ofs, const XString& rText) {
        std::memcpy(&rvby[ofs], rText.data(), rText.size() * sizeof(XCHAR));
    }
    static void Put(std::vector<BYTE>& rvby, std::size_t ofs, DWORD dw) { std::memcpy(&rvby[ofs], &dw, sizeof(dw)); }
    /// PORT_DATA_1 of a raw port.
    static std::vector<BYTE> PortData(const XString& rName) {
        std::vector<BYTE> vby(964, 0);
        Put(vby, 0, rName);
        Put(vby, 128, 1);
        Put(vby, 132, 1);
        Put(vby, 136, 964);
        Put(vby, 144, VTEXT("printer.example"));
        Put(vby, 242, VTEXT("public"));
        Put(vby, 952, 9100);
        Put(vby, 956, 1);
        return vby;
    }
};

TEST_P(PortMonitorsContract, LocalPortsAreAddedOnceAndDeletedOnce) {
    const XString name = UniqueName() + VTEXT(".prn"), channel = VTEXT(",XcvPort ") + name;
    HANDLE hMonitor = nullptr, hPort = nullptr;
    ASSERT_EQ(OpenAt(VTEXT(",XcvMonitor Local Port"), hMonitor), Status::Success);
    EXPECT_EQ(OpenAt(channel, hPort), static_cast<Status>(UNKNOWN_PORT));
    EXPECT_EQ(Send(hMonitor, VTEXT("PortIsValid"), Bytes(name)), 0u);
    EXPECT_EQ(Send(hMonitor, VTEXT("AddPort"), Bytes(name)), 0u);
    EXPECT_EQ(Send(hMonitor, VTEXT("AddPort"), Bytes(name)), ToDword(Status::AlreadyExists));
    EXPECT_EQ(Send(hMonitor, VTEXT("q9-none"), {}), ToDword(Status::InvalidParameter));
    ASSERT_EQ(OpenAt(channel, hPort), Status::Success);
    EXPECT_EQ(Spooler().ClosePrinterHandle(hPort), Status::Success);
    EXPECT_EQ(Send(hMonitor, VTEXT("DeletePort"), Bytes(name)), 0u);
    EXPECT_EQ(Send(hMonitor, VTEXT("DeletePort"), Bytes(name)), ToDword(Status::FileNotFound));
    EXPECT_EQ(Spooler().ClosePrinterHandle(hMonitor), Status::Success);
}

TEST_P(PortMonitorsContract, TcpPortsKeepTheirRecord) {
    HANDLE hMonitor = nullptr, hPort = nullptr;
    if (OpenAt(VTEXT(",XcvMonitor Standard TCP/IP Port"), hMonitor) != Status::Success) {
        ASSERT_TRUE(IsWine());
        GTEST_SKIP() << "this system has no TCP/IP monitor";
    }
    const XString name = UniqueName();
    const std::vector<BYTE> vbyPort = PortData(name);
    std::vector<BYTE> vbyConfig(132, 0), vbyAnswer(964, 0xCC), vbyDelete(236, 0);
    Put(vbyConfig, 128, 1);
    Put(vbyDelete, 0, name);
    Put(vbyDelete, 228, 1);

    const struct {
        const char* pszWhat;
        std::size_t cBytes, ofs, cSpoilt;
        BYTE by;
        Status eStatus;
    } aoRows[] = {
        {"too short", 963, 0, 0, 0, Status::InvalidData},
        {"too long", 965, 0, 0, 0, Status::InvalidData},
        {"version", 964, 128, 1, 2, static_cast<Status>(UNKNOWN_LEVEL)},
        {"size inside", 964, 136, 1, 0, Status::InvalidData},
        {"endless name", 964, 0, 128, 'a', Status::InvalidData},
        {"endless host", 964, 144, 98, 'a', Status::InvalidData},
        {"no name", 964, 0, 2, 0, Status::InvalidParameter},
        {"no host", 964, 144, 2, 0, Status::InvalidParameter},
        {"protocol", 964, 132, 1, 3, Status::InvalidParameter},
        {"queue of LPR", 964, 132, 1, 2, Status::InvalidParameter},
    };
    for (const auto& rRow : aoRows) {
        std::vector<BYTE> vby = vbyPort;
        std::fill_n(vby.begin() + static_cast<std::ptrdiff_t>(rRow.ofs), rRow.cSpoilt, rRow.by);
        vby.resize(rRow.cBytes);
        EXPECT_EQ(Send(hMonitor, VTEXT("AddPort"), vby), ToDword(rRow.eStatus)) << rRow.pszWhat;
    }
    EXPECT_EQ(Send(hMonitor, VTEXT("AddPort"), vbyPort), 0u);
    EXPECT_EQ(Send(hMonitor, VTEXT("AddPort"), vbyPort), ToDword(Status::AlreadyExists));
    EXPECT_EQ(Send(hMonitor, VTEXT("GetConfigInfo"), vbyConfig, &vbyAnswer), ToDword(Status::InvalidParameter));

    ASSERT_EQ(OpenAt(VTEXT(",XcvPort ") + name, hPort, SpoolerPort::ACCESS_USE), Status::Success);
    vbyAnswer.assign(963, 0xCC);
    EXPECT_EQ(Send(hPort, VTEXT("GetConfigInfo"), vbyConfig, &vbyAnswer), ToDword(Status::InsufficientBuffer));
    EXPECT_EQ(vbyAnswer.size(), 964u);
    vbyAnswer.assign(964, 0xCC);
    EXPECT_EQ(Send(hPort, VTEXT("GetConfigInfo"), vbyConfig, &vbyAnswer), 0u);
    EXPECT_EQ(vbyAnswer, vbyPort);
    EXPECT_EQ(Send(hPort, VTEXT("GetConfigInfo"), std::vector<BYTE>(132, 0), &vbyAnswer), UNKNOWN_LEVEL);
    vbyAnswer.assign(64, 0xCC);
    EXPECT_EQ(Send(hPort, VTEXT("HostAddress"), {}, &vbyAnswer), 0u);
    EXPECT_EQ(vbyAnswer, Bytes(VTEXT("printer.example")));
    EXPECT_EQ(Send(hPort, VTEXT("ConfigPort"), vbyPort), ToDword(Status::AccessDenied));
    EXPECT_EQ(Spooler().ClosePrinterHandle(hPort), Status::Success);

    EXPECT_EQ(Send(hMonitor, VTEXT("DeletePort"), vbyDelete), 0u);
    EXPECT_EQ(Send(hMonitor, VTEXT("DeletePort"), vbyDelete), UNKNOWN_PORT);
    EXPECT_EQ(Spooler().ClosePrinterHandle(hMonitor), Status::Success);
}

Q9_CONTRACT_SUITE(PortMonitorsContract);

}  // namespace

}  // namespace vlm::test
