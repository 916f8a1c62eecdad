/// @file
/// A spooler in memory.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "platform/SpoolerPort.h"
#include "support/FakeSpoolerGround.h"

namespace vlm::test {

using XString = std::basic_string<XCHAR>;

/// Keeps the spooler port's contract in memory.  A channel leads to the script that is set when a command is sent, or,
/// without one, to the EmbeddedMonitor of the process (the monitor's own server where it is linked in).
/// Queues, ports and the channels to "Local Port" and "Standard TCP/IP Port" are the embedded spooler's, over the fake
/// registry and disk (FakePrintingPorts.h makes queues); a script answers the commands of these channels, too, and a
/// monitor that was added under one of the two names takes its place.
/// A call on a handle that is not open fails the running test, unless told otherwise.
/// Threads: any; the script runs without the port's lock.
class FakeSpoolerPort final : public SpoolerPort {
public:
    struct Monitor {
        XString name;
        XString environment;
        XString dll;
    };
    /// What a monitor does with a command.  @param rvbyOutput what it writes; the caller's room is `cbRoom`.
    /// @return the monitor's status; with InsufficientBuffer the size of `rvbyOutput` is the size needed.
    using Script = std::function<Status(XStringView svCommand, std::span<const BYTE> input, std::size_t cbRoom,
                                        std::vector<BYTE>& rvbyOutput)>;

    FakeSpoolerPort(FakeRegistryPort& rRegistry, FakeFilePort& rFiles, FakeProcessPort& rProcess);
    ~FakeSpoolerPort() override;

    // --- the script ---
    void AddMonitor(XStringView svName, XStringView svDll);
    std::vector<Monitor> Monitors() const;
    void SetScript(Script fnScript);
    /// Commands that were sent so far, over all channels.
    std::vector<XString> Commands() const;
    /// Rights that the last channel was opened with.
    DWORD LastAccess() const;
    /// Opening any printer or channel answers this from now on; Success lifts it.
    void RefuseOpen(Status eStatus);
    /// Sending any command answers this from now on (the spooler was stopped: 1722); Success lifts it.
    void RefuseTransceive(Status eStatus);
    /// The DLL that AddMonitorDll does not find; by default it finds every one.
    void SetMissingDll(XStringView svDll);
    std::size_t OpenHandles() const;
    void SetMisuseFailsTest(bool fFails);
    /// The process is gone: handles vanish, the monitors stay.
    void DropHandles();
    /// Has ",XcvPort NAME" open a channel whose commands the script answers, whatever ports there are; on every server.
    void AddScriptedPort(XStringView svPort);

    // --- for the other fakes of the spooler ---
    FakeSpoolerGround& Ground() noexcept { return m_oGround; }
    EmbeddedPorts& Embedded() noexcept { return m_oEmbedded; }
    bool IsOpen(HANDLE hPrinter) const;
    /// A handle that the embedded spooler has opened by itself.
    void NoteOpened(HANDLE hPrinter);
    Status Misuse(HANDLE hPrinter) const;

    // --- the port ---
    Status OpenPrinterHandle(const XCHAR* pszName, DWORD dwAccess, HANDLE& rhPrinter) noexcept override;
    Status ClosePrinterHandle(HANDLE hPrinter) noexcept override;
    Status PrinterName(HANDLE hPrinter, XCHAR* pszName, DWORD& rcName) noexcept override;
    Status Transceive(HANDLE hChannel, const XCHAR* pszCommand, const BYTE* pbyInput, DWORD cbInput, BYTE* pbyOutput,
                      DWORD cbOutput, DWORD& rcbNeeded, DWORD& rdwMonitorStatus) noexcept override;
    Status AddMonitorDll(const XCHAR* pszName, const XCHAR* pszEnvironment, const XCHAR* pszDll) noexcept override;
    Status DeleteMonitorByName(const XCHAR* pszName, const XCHAR* pszEnvironment) noexcept override;
    Status EnumerateMonitor(DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept override;
    Status EnumeratePortInfo(const XCHAR* pszServer, DWORD dwLevel, void* pInfo, DWORD cbInfo, DWORD& rcbNeeded,
                             DWORD& rcReturned) noexcept override;
    Status EnumerateProcessorInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo,
                                  DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept override;

private:
    struct Printer {
        bool fChannel = false;
        HANDLE hEmbedded = nullptr;  ///< the embedded monitor's channel, opened at the first command that needs it
        DWORD dwAccess = 0;
        bool fEmbeddedSpooler = false;  ///< the embedded spooler's own handle
    };

    std::vector<Monitor>::iterator Find(XStringView svName);
    /// Whether a name leads to a monitor of this fake, and not to what the embedded spooler has.
    bool IsOwnChannel(XStringView svName);
    Status EmbeddedChannel(HANDLE hChannel, HANDLE& rhEmbedded);

    FakeSpoolerGround m_oGround;
    EmbeddedPorts m_oEmbedded{m_oGround};
    mutable std::recursive_mutex m_oMutex;
    std::vector<Monitor> m_vMonitors;
    std::map<HANDLE, Printer> m_mapPrinters;
    std::vector<XString> m_vCommands;
    std::vector<XString> m_vScriptedPorts;
    Script m_fnScript;
    XString m_missingDll;
    Status m_eRefuseOpen = Status::Success;
    Status m_eRefuseTransceive = Status::Success;
    DWORD m_dwLastAccess = 0;
    std::uintptr_t m_uiLastHandle = 0x5000;
    bool m_fMisuseFailsTest = true;
};

}  // namespace vlm::test
