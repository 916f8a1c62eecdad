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

namespace vlm::test {

using XString = std::basic_string<XCHAR>;

/// Keeps the spooler port's contract in memory.  A channel leads to the script that is set when a command is sent, or,
/// without one, to the EmbeddedMonitor of the process (the monitor's own server where it is linked in).
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

    FakeSpoolerPort();
    ~FakeSpoolerPort() override;

    // --- the script ---
    /// A queue that is open already; the caller closes it.
    HANDLE AddOpenPrinter(XStringView svName);
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

    // --- the port ---
    Status OpenPrinterHandle(const XCHAR* pszName, DWORD dwAccess, HANDLE& rhPrinter) noexcept override;
    Status ClosePrinterHandle(HANDLE hPrinter) noexcept override;
    Status PrinterName(HANDLE hPrinter, XCHAR* pszName, DWORD& rcName) noexcept override;
    Status Transceive(HANDLE hChannel, const XCHAR* pszCommand, const BYTE* pbyInput, DWORD cbInput, BYTE* pbyOutput,
                      DWORD cbOutput, DWORD& rcbNeeded, DWORD& rdwMonitorStatus) noexcept override;
    Status AddMonitorDll(const XCHAR* pszName, const XCHAR* pszEnvironment, const XCHAR* pszDll) noexcept override;
    Status DeleteMonitorByName(const XCHAR* pszName, const XCHAR* pszEnvironment) noexcept override;
    Status EnumerateMonitor(DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept override;

private:
    struct Printer {
        bool fChannel = false;
        HANDLE hEmbedded = nullptr;  ///< the embedded monitor's channel, opened at the first command that needs it
        DWORD dwAccess = 0;
        XString name;  ///< of a queue
    };

    std::vector<Monitor>::iterator Find(XStringView svName);
    Status Misuse(HANDLE hPrinter) const;
    Status EmbeddedChannel(HANDLE hChannel, HANDLE& rhEmbedded);

    mutable std::recursive_mutex m_oMutex;
    std::vector<Monitor> m_vMonitors;
    std::map<HANDLE, Printer> m_mapPrinters;
    std::vector<XString> m_vCommands;
    Script m_fnScript;
    XString m_missingDll;
    Status m_eRefuseOpen = Status::Success;
    Status m_eRefuseTransceive = Status::Success;
    DWORD m_dwLastAccess = 0;
    std::uintptr_t m_uiLastHandle = 0x5000;
    bool m_fMisuseFailsTest = true;
};

}  // namespace vlm::test
