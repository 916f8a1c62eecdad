/// @file
/// Queues, printer data and drivers in memory.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "support/FakeSpoolerPort.h"
#include "support/PrintingCalls.h"

namespace vlm::test {

/// The embedded spooler over the fake registry and disk, with a script before it: sizes that lie, values that grow,
/// blocks with wild pointers.  Queues and drivers are made through the port itself, or with the helpers here; their
/// keys are in the fake registry, where a test may change them behind the spooler's back. A call on a handle that is
/// not open fails the running test, unless the spooler's fake was told otherwise. Threads: any; the script runs without
/// a lock.
class FakePrintingPorts final : public PrintingCalls {
public:
    /// Answers a call instead of the spooler, or lets it through with nothing.
    using CallScript = std::function<std::optional<Status>(SpoolerCall&)>;

    explicit FakePrintingPorts(FakeSpoolerPort& rSpooler);

    // --- the script ---
    /// Null: none.
    void SetCallScript(CallScript fnScript);
    /// A script for the calls of one name alone ("GetData").
    void ScriptCallsOf(const char* pszName, CallScript fnAnswer);
    /// The names of all calls so far ("GetData" ...), in order.
    std::vector<std::string> Calls() const;
    std::size_t CallsOf(std::string_view svName) const;
    void ForgetCalls();
    /// A driver with its four files and the dependent ones, in the driver directory.  Files are names without path.
    /// @param rvDependent of level 3.
    void AddDriverNamed(XStringView svName, const std::vector<XString>& rvDependent = {},
                        XStringView svDriverFile = VTEXT("unidrv.dll"), XStringView svDataFile = VTEXT("model.gpd"),
                        XStringView svConfigFile = VTEXT("unidrvui.dll"));
    /// A queue, closed again; its driver is added when it is missing, its port as a local one.
    /// @param svName with "\\\\SERVER\\" before it: a queue of that server.
    /// @param dwAttributes 0: what such a queue has.
    void AddQueueNamed(XStringView svName, XStringView svDriver = VTEXT("Test Driver"),
                       XStringView svPort = VTEXT("LPT1:"), DWORD dwAttributes = 0);
    /// A text value ("PrinterDriverData" unless a key is named).
    void AddData(XStringView svQueue, XStringView svValue, XStringView svText, XStringView svKey = PRINTER_DRIVER_DATA);
    /// The bytes of a value as the registry has them.
    std::optional<std::vector<BYTE>> DataOf(XStringView svQueue, XStringView svValue,
                                            XStringView svKey = PRINTER_DRIVER_DATA) const;
    /// The key of a queue, as the fake registry names it.
    static XString QueueKey(XStringView svQueue);
    /// What OpenPrinterUi answers (Success at the beginning), and what the entry does with its command line (nothing,
    /// returning 0).
    void SetPrinterUi(Status eOpen, std::function<DWORD(XStringView svCommandLine)> fnRun = {});
    std::vector<XString> PrinterUiCommands() const;
    /// Modules of the printer user interface that are open.
    std::size_t OpenHandles() const;

    // --- what the embedded spooler has not, or the fake keeps account of ---
    Status AddQueue(const XCHAR* pszServer, const PrinterInfo2& rInfo, HANDLE& rhPrinter) noexcept override;
    Status OpenPrinterUi(const XCHAR* pszModule, HANDLE& rhUi) noexcept override;
    Status RunPrinterUi(HANDLE hUi, const XCHAR* pszCommandLine, DWORD& rdwAnswer) noexcept override;
    Status ClosePrinterUi(HANDLE hUi) noexcept override;

private:
    /// Notes the call, checks the handle, asks the script, makes the call.
    Status Pass(SpoolerCall oCall, const Made& rMade) noexcept override;

    FakeSpoolerPort& m_rSpooler;
    mutable std::mutex m_oMutex;
    CallScript m_fnScript;
    std::vector<std::string> m_vCalls;
    Status m_eOpenUi = Status::Success;
    std::function<DWORD(XStringView)> m_fnRunUi;
    std::vector<XString> m_vUiCommands;
    std::size_t m_cOpenUi = 0;
};

}  // namespace vlm::test
