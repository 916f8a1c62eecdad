/// @file
/// The ports of queues, printer data and drivers behind one door.
#pragma once

#include "platform/PrintQueuePort.h"
#include "platform/PrinterDataPort.h"
#include "platform/PrinterDriverPort.h"

namespace vlm::test {

/// One call on its way: what it asks, and where the answer goes.  Pointers are null where a call has no such thing.
struct SpoolerCall {
    const char* pszName;  ///< the port's method: "GetData", "GetQueueInfo", "EnumerateDriverInfo" ...
    HANDLE hPrinter = nullptr;
    DWORD dwLevel = 0;        ///< or the mode, the capability
    XStringView svName = {};  ///< of the value, queue or driver
    void* pTarget = nullptr;
    DWORD cbTarget = 0;
    DWORD* pcbNeeded = nullptr;
    DWORD* pcReturned = nullptr;
    DWORD* pdwType = nullptr;
    LONG* plAnswer = nullptr;
    const void* pSource = nullptr;  ///< of SetQueueInfo
    Status eTooSmall = Status::InsufficientBuffer;
};

/// Makes every call of the three ports on others of their kind, through Pass.
class PrintingCalls : public PrintQueuePort, public PrinterDataPort, public PrinterDriverPort {
public:
    PrintingCalls(PrintQueuePort& rQueues, PrinterDataPort& rData, PrinterDriverPort& rDrivers) noexcept
        : m_rQueues(rQueues), m_rData(rData), m_rDrivers(rDrivers) {}

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

protected:
    /// The call on the other port; lives no longer than Pass runs.
    class Made {
    public:
        template <class Body>
        explicit Made(const Body& rBody) noexcept
            : m_pBody(&rBody), m_pfnRun([](const void* p) { return (*static_cast<const Body*>(p))(); }) {}
        Status operator()() const { return m_pfnRun(m_pBody); }

    private:
        const void* m_pBody;
        Status (*m_pfnRun)(const void*);
    };
    /// Decides about a call: makes it, or answers in its place.
    virtual Status Pass(SpoolerCall oCall, const Made& rMade) noexcept = 0;

    PrintQueuePort& m_rQueues;
    PrinterDataPort& m_rData;
    PrinterDriverPort& m_rDrivers;
};

}  // namespace vlm::test
