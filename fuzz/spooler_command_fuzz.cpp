/// @file
/// Fuzz target: what the embedded spooler is told by whoever opens its channels and queues.  A monitor writes nothing
/// beyond the size that it tells; a TCP/IP port that was accepted tells a record that configures it again unchanged;
/// data that was accepted comes back as it was.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <span>
#include <vector>

#include "Fuzz.h"
#include "support/FakeSpoolerGround.h"

namespace vlm::test {

namespace {

constexpr BYTE GUARD = 0xA5;
constexpr const XCHAR* COMMANDS[] = {
    VTEXT("AddPort"),    VTEXT("DeletePort"),  VTEXT("ConfigPort"),  VTEXT("GetConfigInfo"), VTEXT("PortIsValid"),
    VTEXT("PortExists"), VTEXT("HostAddress"), VTEXT("SNMPEnabled"), VTEXT("MonitorUI"),     VTEXT("")};

/// One spooler, empty at the beginning of each input.
struct Spooler {
    FakeRegistryPort registry;
    FakeFilePort files;
    FakeProcessPort process;
    FakeSpoolerGround ground{registry, files, process};
    EmbeddedPorts ports{ground};
};

class Channel {
public:
    Channel(Spooler& rSpooler, const XString& rName) : m_rSpooler(rSpooler.ports.spooler) {
        m_fOpen = m_rSpooler.OpenPrinterHandle(rName.c_str(), SpoolerPort::ACCESS_ADMINISTER, m_h) == Status::Success;
    }
    ~Channel() {
        if (m_fOpen) m_rSpooler.ClosePrinterHandle(m_h);
    }
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;
    bool IsOpen() const { return m_fOpen; }

    DWORD Send(const XCHAR* pszCommand, std::span<const BYTE> input, std::vector<BYTE>& rvbyOutput) {
        const std::size_t cbRoom = rvbyOutput.size();
        rvbyOutput.assign(cbRoom + 8, GUARD);
        DWORD cbNeeded = 0, dwStatus = 0;
        Require(m_rSpooler.Transceive(m_h, pszCommand, input.data(), static_cast<DWORD>(input.size()),
                                      rvbyOutput.data(), static_cast<DWORD>(cbRoom), cbNeeded,
                                      dwStatus) == Status::Success);
        for (std::size_t i = dwStatus == 0 ? cbNeeded : 0; i < rvbyOutput.size(); ++i)
            Require(rvbyOutput[i] == GUARD);
        Require(dwStatus != 0 || cbNeeded <= cbRoom);
        rvbyOutput.resize(dwStatus == 0 ? cbNeeded : 0);
        return dwStatus;
    }

private:
    SpoolerPort& m_rSpooler;
    HANDLE m_h = nullptr;
    bool m_fOpen = false;
};

XString TextOf(std::span<const BYTE> bytes) {
    XString text(bytes.size() / sizeof(XCHAR), 0);
    if (!text.empty()) std::memcpy(text.data(), bytes.data(), text.size() * sizeof(XCHAR));
    return text.c_str();
}

void SendCommand(Spooler& rSpooler, bool fTcp, std::size_t iCommand, std::size_t cbRoom, std::span<const BYTE> input) {
    Channel oMonitor(rSpooler, fTcp ? VTEXT(",XcvMonitor Standard TCP/IP Port") : VTEXT(",XcvMonitor Local Port"));
    Require(oMonitor.IsOpen());
    std::vector<BYTE> vbyOutput(cbRoom);
    const XString name = TextOf(input.first(std::min<std::size_t>(input.size(), 128)));
    const DWORD dwStatus = oMonitor.Send(COMMANDS[iCommand], input, vbyOutput);
    if (iCommand != 0 || dwStatus != 0) return;
    Channel oPort(rSpooler, VTEXT(",XcvPort ") + name);
    if (!fTcp || !oPort.IsOpen()) return;  // a local port's name may be longer than what was taken for one here
    std::vector<BYTE> vbyConfig(132, 0), vbyFirst(964), vbySecond(964), vbyNone;
    vbyConfig[128] = 1;
    Require(oPort.Send(VTEXT("GetConfigInfo"), vbyConfig, vbyFirst) == 0 && vbyFirst.size() == 964);
    Require(oPort.Send(VTEXT("ConfigPort"), vbyFirst, vbyNone) == 0);
    Require(oPort.Send(VTEXT("GetConfigInfo"), vbyConfig, vbySecond) == 0 && vbyFirst == vbySecond);
}

void StoreData(Spooler& rSpooler, std::span<const BYTE> input) {
    const std::size_t cbName = input.size() / 3 & ~std::size_t{1};
    const XString key = TextOf(input.first(cbName)), value = TextOf(input.subspan(cbName, cbName));
    const std::span<const BYTE> data = input.subspan(2 * cbName);
    // A queue as the system's own tools may leave one: a key with a name.
    rSpooler.registry.AddText(VTEXT("HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Print\\Printers\\Q"),
                              VTEXT("Name"), VTEXT("Q"));
    HANDLE hQueue = nullptr;
    Require(rSpooler.ports.spooler.OpenPrinterHandle(VTEXT("Q"), SpoolerPort::ALL_ACCESS, hQueue) == Status::Success);
    const Status eStatus = rSpooler.ports.data.SetData(hQueue, key.c_str(), value.c_str(), RegistryPort::TYPE_BINARY,
                                                       data.data(), static_cast<DWORD>(data.size()));
    if (eStatus == Status::Success) {
        std::vector<BYTE> vbyBack(data.size());
        DWORD dwType = 0, cbNeeded = 0;
        Require(rSpooler.ports.data.GetData(hQueue, key.c_str(), value.c_str(), dwType, vbyBack.data(),
                                            static_cast<DWORD>(vbyBack.size()), cbNeeded) == Status::Success);
        Require(cbNeeded == data.size() && std::equal(data.begin(), data.end(), vbyBack.begin()));
        Require(rSpooler.ports.data.DeleteDataKey(hQueue, key.c_str()) == Status::Success);
    }
    Require(rSpooler.ports.queues.DeleteQueue(hQueue) == Status::Success);
    Require(rSpooler.ports.spooler.ClosePrinterHandle(hQueue) == Status::Success);
}

}  // namespace

/// Steps of three bytes of head (what, room or command, length in units of 4 bytes) and their input.
static int RunSteps(const std::uint8_t* pby, std::size_t cBytes) {
    constexpr std::size_t HEAD = 3, LONGEST = 8192;
    if (cBytes > LONGEST) return 0;
    Spooler oSpooler;
    std::span<const BYTE> rest(pby, cBytes);
    while (rest.size() >= HEAD) {
        const BYTE byWhat = rest[0], byRoom = rest[1];
        const std::size_t cb = std::min<std::size_t>(std::size_t{rest[2]} * 4, rest.size() - HEAD);
        const std::span<const BYTE> input = rest.subspan(HEAD, cb);
        if (byWhat == 0xFF) {
            StoreData(oSpooler, input);
        } else {
            SendCommand(oSpooler, (byWhat & 1) != 0, (byWhat >> 1) % std::size(COMMANDS), byRoom * std::size_t{8},
                        input);
        }
        rest = rest.subspan(HEAD + cb);
    }
    return 0;
}

}  // namespace vlm::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    return vlm::test::RunSteps(pby, cBytes);
}
