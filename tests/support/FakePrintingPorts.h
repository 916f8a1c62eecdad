/// @file
/// Queues, printer data and drivers in memory.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/PrintQueuePort.h"
#include "platform/PrinterDataPort.h"
#include "platform/PrinterDriverPort.h"
#include "support/FakeSpoolerPort.h"

namespace vlm::test {

/// One call on its way: what it asks, and where the answer goes.  Pointers are null where a call has no such thing.
struct SpoolerCall {
    const char* pszName;  ///< the port's method: "GetData", "GetQueueInfo", "EnumerateDriverInfo" ...
    HANDLE hPrinter = nullptr;
    DWORD dwLevel = 0;  ///< or the command, the mode, the capability
    XStringView svKey = {};
    XStringView svName = {};  ///< of the value, queue or driver
    void* pTarget = nullptr;
    DWORD cbTarget = 0;
    DWORD* pcbNeeded = nullptr;
    DWORD* pcReturned = nullptr;
    DWORD* pdwType = nullptr;
    LONG* plAnswer = nullptr;
    const void* pSource = nullptr;  ///< of SetData and SetQueueInfo
    DWORD cbSource = 0;
};

/// The embedded spooler over the fake registry and disk, with a script before it: sizes that lie, values that grow,
/// blocks with wild pointers.  Queues and drivers are made through the port itself, or with the helpers here; their
/// keys are in the fake registry, where a test may change them behind the spooler's back. A call on a handle that is
/// not open fails the running test, unless the spooler's fake was told otherwise. Threads: any; the script runs without
/// a lock.
class FakePrintingPorts final : public PrintQueuePort, public PrinterDataPort, public PrinterDriverPort {
public:
    /// Answers a call instead of the spooler, or lets it through with nothing.
    using CallScript = std::function<std::optional<Status>(SpoolerCall&)>;

    explicit FakePrintingPorts(FakeSpoolerPort& rSpooler) : m_rSpooler(rSpooler) {}

    // --- the script ---
    /// Null: none.
    void SetCallScript(CallScript fnScript);
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

    // --- the ports ---
    Status GetQueueInfo(HANDLE hPrinter, DWORD dwLevel, void* pInfo, DWORD cbInfo, DWORD& rcbNeeded) noexcept override;
    Status SetQueueInfo(HANDLE hPrinter, DWORD dwLevel, const void* pInfo, DWORD dwCommand) noexcept override;
    Status EnumerateQueueInfo(DWORD dwFlags, const XCHAR* pszServer, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                              DWORD& rcbNeeded, DWORD& rcReturned) noexcept override;
    Status AddQueue(const XCHAR* pszServer, const PrinterInfo2& rInfo, HANDLE& rhPrinter) noexcept override;
    Status DeleteQueue(HANDLE hPrinter) noexcept override;
    Status AddConnection(const XCHAR* pszName) noexcept override;
    Status DeleteConnection(const XCHAR* pszName) noexcept override;
    Status GetDefaultQueue(XCHAR* pszName, DWORD& rcName) noexcept override;
    Status SetDefaultQueue(const XCHAR* pszName) noexcept override;
    Status GetDeviceMode(HANDLE hPrinter, const XCHAR* pszDevice, DWORD dwMode, DEVMODEW* pOutput, DWORD cbOutput,
                         const DEVMODEW* pInput, LONG& rlAnswer) noexcept override;
    Status GetDeviceCapability(const XCHAR* pszDevice, const XCHAR* pszPort, WORD wCapability, void* pOutput,
                               DWORD cbOutput, LONG& rlAnswer) noexcept override;

    Status GetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD& rdwType, void* pData,
                   DWORD cbData, DWORD& rcbNeeded) noexcept override;
    Status SetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD dwType, const void* pData,
                   DWORD cbData) noexcept override;
    Status EnumerateData(HANDLE hPrinter, const XCHAR* pszKey, void* pValues, DWORD cbValues, DWORD& rcbNeeded,
                         DWORD& rcReturned) noexcept override;
    Status DeleteData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue) noexcept override;
    Status EnumerateDataKeys(HANDLE hPrinter, const XCHAR* pszKey, XCHAR* pszzKeys, DWORD cbKeys,
                             DWORD& rcbNeeded) noexcept override;
    Status DeleteDataKey(HANDLE hPrinter, const XCHAR* pszKey) noexcept override;

    Status GetDriverBlock(HANDLE hPrinter, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo, DWORD cbInfo,
                          DWORD& rcbNeeded) noexcept override;
    Status EnumerateDriverInfo(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel, void* pInfo,
                               DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) noexcept override;
    Status GetDriverDirectory(const XCHAR* pszServer, const XCHAR* pszEnvironment, DWORD dwLevel, XCHAR* pszDirectory,
                              DWORD cbDirectory, DWORD& rcbNeeded) noexcept override;
    Status AddDriver(const XCHAR* pszServer, DWORD dwLevel, const void* pInfo, DWORD dwFlags) noexcept override;
    Status DeleteDriver(const XCHAR* pszServer, const XCHAR* pszEnvironment, const XCHAR* pszDriver, DWORD dwFlags,
                        DWORD dwVersion) noexcept override;
    Status OpenPrinterUi(const XCHAR* pszModule, HANDLE& rhUi) noexcept override;
    Status RunPrinterUi(HANDLE hUi, const XCHAR* pszCommandLine, DWORD& rdwAnswer) noexcept override;
    Status ClosePrinterUi(HANDLE hUi) noexcept override;

private:
    /// Notes the call, asks the script, checks the handle, makes the call.
    template <typename Call>
    Status Run(SpoolerCall oCall, Call call) noexcept;

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
