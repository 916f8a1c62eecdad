/// @file
/// Installation: its state in a queue's data, the drivers that are there, and a driver through the system's installer.
#include <algorithm>
#include <array>

#include "environment/PrintDriverImpl.h"
#include "environment/Printer.h"
#include "environment/SpoolerBlockRead.h"
#include "environment/User.h"
#include "platform/PrinterDriverPort.h"
#include "platform/ProcessPort.h"
#include "platform/ThreadPort.h"

namespace {

using vlm::PrinterDriverPort;
using vlm::Status;

constexpr const XCHAR* STATE_VALUE = VTEXT("xInstallCompleted");
/// The states' names by number; the first is no state.
constexpr std::array<const XCHAR*, 6> STATE_NAMES{
    VTEXT(""),           VTEXT("Phase1Started"), VTEXT("Phase1Done"), VTEXT("Phase2ADone"), VTEXT("Phase2BDone"),
    VTEXT("Phase2CDone")};

constexpr DebugMessageCategories INSTALLATION = DebugCategory::InstManager | DebugCategory::XDrvrInstlr;
/// Windows 2000, XP and Server 2003 number themselves so; later systems know the installer's newer switches.
constexpr DWORD OLDER_MAJOR = 5;

/// A quotation mark would end an argument, and a control character has no business in a name.
bool IsFitForCommandLine(XStringView svText) noexcept {
    return !svText.empty() &&
           std::none_of(svText.begin(), svText.end(), [](XCHAR ch) { return ch < VTEXT(' ') || ch == VTEXT('"'); });
}

/// The installer's command line on this system; empty, and reported, on a system that it does not know.
CXString InstallerCommandLine(const CXString& kcsModel, const CXString& kcsInfPath, const CXString& kcsInfName) {
    const vlm::ProcessPort::System oSystem = vlm::GetPlatform().pProcess->DescribeSystem();
    if (oSystem.fWindows && oSystem.f64Bit) {
        return CXString::FormatString(VTEXT("/ia /m \"%s\" /h \"x64\" /f \"%s\\%s\""), kcsModel, kcsInfPath,
                                      kcsInfName);
    }
    if (oSystem.fWindows && oSystem.dwMajor == OLDER_MAJOR) {
        return CXString::FormatString(VTEXT("/ia /m \"%s\" /h \"%s\" /v \"%s\" /f \"%s\\%s\""), kcsModel,
                                      VTEXT("Intel"), VTEXT("Windows 2000"), kcsInfPath, kcsInfName);
    }
    if (oSystem.fWindows && oSystem.dwMajor > OLDER_MAJOR) {
        return CXString::FormatString(VTEXT("/ia /K /m \"%s\" /h \"%s\" /v \"%i\" /f \"%s\\%s\""), kcsModel,
                                      VTEXT("Windows NT x86"), PrinterDriverPort::DRIVER_VERSION, kcsInfPath,
                                      kcsInfName);
    }
    VLM_REPORT_ERROR(INSTALLATION, VTEXT("Unhandled Operating System, don't know how to install the driver!"));
    return CXString();
}

/// The module of the system's installer, closed with the object.
class InstallerModule {
public:
    explicit InstallerModule(const CXString& kcsModule) noexcept
        : m_status(Drivers().OpenPrinterUi(kcsModule, m_hUi)) {}
    ~InstallerModule() {
        if (m_status == Status::Success) Drivers().ClosePrinterUi(m_hUi);
    }
    InstallerModule(const InstallerModule&) = delete;
    InstallerModule& operator=(const InstallerModule&) = delete;

    Status GetStatus() const noexcept { return m_status; }
    Status Run(const CXString& kcsCommandLine) noexcept {
        DWORD dwAnswer = 0;  // says nothing that could be relied on
        return Drivers().RunPrinterUi(m_hUi, kcsCommandLine, dwAnswer);
    }

private:
    static PrinterDriverPort& Drivers() noexcept { return *vlm::GetPlatform().pDrivers; }

    HANDLE m_hUi = nullptr;
    Status m_status;
};

/// Runs the installer.  @return false, and reported, when it did not run.
bool RunInstaller(const CXString& kcsCommandLine) {
    std::array<XCHAR, 260> aszFolder{};
    const Status statusFolder = vlm::GetPlatform().pProcess->SystemFolder(aszFolder.data(), aszFolder.size());
    const CXString csModule = CXString(aszFolder.data()) + VTEXT("\\printui.dll");
    const bool fFolder = statusFolder == Status::Success;
    // Without a folder the name alone would be looked for everywhere.
    InstallerModule oModule(fFolder ? csModule : CXString());
    if (!fFolder || (oModule.GetStatus() != Status::Success &&
                     vlm::ToDword(oModule.GetStatus()) != PrinterDriverPort::PROCEDURE_NOT_FOUND)) {
        VLM_REPORT_ERROR(INSTALLATION, VTEXT("Unable to load the PrintUI DLL, installation CANNOT proceed!"));
        return false;
    }
    if (oModule.GetStatus() != Status::Success) {
        VLM_REPORT_ERROR(INSTALLATION, VTEXT("Unable to load the PrintUIEntryW method, installation CANNOT proceed!"));
        return false;
    }
    return oModule.Run(kcsCommandLine) == Status::Success;
}

/// Runs `body` on each installed driver until it answers true.
template <class Body>
bool AnyDriver(Body&& body) {
    ByteBuffer bbDrivers;
    DWORD cDrivers = 0;
    if (!PrintDriver::EnumeratePrinterDrivers(2, bbDrivers, &cDrivers, nullptr)) return false;
    const auto* const pDrivers = reinterpret_cast<const vlm::DriverInfo2*>(bbDrivers.data());
    return std::any_of(pDrivers, pDrivers + cDrivers, std::forward<Body>(body));
}

/// Runs what stores an installation state; what it throws is reported.
template <class Body>
bool TryToStore(Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const std::exception& rException) {
        VLM_REPORT_ERROR(INSTALLATION, VTEXT("An exception occurred in SetInstallationState(): %s."),
                         VelomException::GetExceptionDescription(rException));
    }
    return false;
}

}  // namespace

bool PrintDriver::SetInstallationState(HANDLE hPrinter, WORD wState) noexcept {
    return TryToStore([&] {
        if (wState < InstallationState::Phase1Started || wState > InstallationState::Phase2BDone) {
            VLM_REPORT_ERROR(INSTALLATION, VTEXT("PrintDriver::SetInstallationState(): Illegal state argument: %u"),
                             wState);
            return false;
        }
        const XCHAR* const pszState = STATE_NAMES[wState];
        VLM_REPORT(INSTALLATION, VTEXT("****SetInstallationState(%s) called for PrinterDriverData."), pszState);
        const RevertToPrinterSelfWrapper oSelf;
        ByteBuffer bbState;
        bbState.append(CXString(pszState)).appendNullChar();
        const DWORD dwStatus = Printer::SetPrinterDataExMandatoryWrapper(
            hPrinter, vlm::driver::PRINTER_DRIVER_DATA, STATE_VALUE, vlm::driver::DriverValue::TYPE_STRING,
            bbState.data(), bbState.GetLength());
        if (dwStatus == 0) return true;
        VLM_REPORT_ERROR(INSTALLATION, VTEXT("SetInstallationState() failed writing PrinterData!"));
        return false;
    });
}

bool PrintDriver::SetInstallationState(const XCHAR* pszPrinter, WORD wState) noexcept {
    return TryToStore([&] {
        const RevertToPrinterSelfWrapper oSelf;
        const vlm::driver::OpenedQueue oQueue(pszPrinter, vlm::SpoolerPort::ALL_ACCESS);
        return SetInstallationState(oQueue.Handle(), wState);
    });
}

WORD PrintDriver::GetInstallationStateFromHandle(HANDLE hPrinter) {
    const CXString csState = vlm::driver::ReadText(hPrinter, STATE_VALUE);
    for (std::size_t i = InstallationState::Phase1Started; i < STATE_NAMES.size(); ++i) {
        if (vlm::driver::EqualNoCase(csState, STATE_NAMES[i])) return static_cast<WORD>(i);
    }
    return InstallationState::NotStarted;
}

bool PrintDriver::EnumeratePrinterDrivers(DWORD dwLevel, ByteBuffer& rbbDrivers, DWORD* pdwNumDrivers,
                                          const XCHAR* pszEnvironment) {
    ByteBuffer bbDrivers;
    DWORD cDrivers = 0;
    int iCalls = 0;
    const auto Call = [&](BYTE* pbyInfo, DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcReturned) {
        const Status status = vlm::GetPlatform().pDrivers->EnumerateDriverInfo(nullptr, pszEnvironment, dwLevel,
                                                                               pbyInfo, cbInfo, rcbNeeded, rcReturned);
        if (iCalls++ == 0 && status != Status::Success && status != Status::InsufficientBuffer) [[unlikely]] {
            // The condition's text is fixed, and is not written as the library's code would write it.
            vlm::FailAssertion(VTEXT("(bRC || GetLastError()==122L)"), VLM_HERE, vlm::TextOfStatus(status),
                               DebugCategory::Errors);
        }
        return status;
    };
    const Status status = vlm::ReadSpoolerList(vlm::BlockKind::Driver, dwLevel, bbDrivers, cDrivers, Call);
    rbbDrivers.swap(bbDrivers);
    if (pdwNumDrivers) *pdwNumDrivers = cDrivers;
    if (status != Status::Success) vlm::GetPlatform().pThreads->LeaveLastError(vlm::ToDword(status));
    return status == Status::Success;
}

bool PrintDriver::IsPreResetDriverInstalled() {
    return AnyDriver([](const vlm::DriverInfo2& rDriver) {
        return rDriver.pDataFile &&
               CXString(vlm::driver::FileNameOf(rDriver.pDataFile)).FindNoCase(VTEXT("q4core")) >= 0;
    });
}

bool PrintDriver::AddPrintDriver(const CXString& kcsModel, const CXString& kcsInfPath, const CXString& kcsInfName) {
    bool fInstalled = false;
    if (IsFitForCommandLine(kcsModel) && IsFitForCommandLine(kcsInfPath) && IsFitForCommandLine(kcsInfName)) {
        const CXString csCommandLine = InstallerCommandLine(kcsModel, kcsInfPath, kcsInfName);
        fInstalled =
            !csCommandLine.IsEmpty() && RunInstaller(csCommandLine) && AnyDriver([&](const vlm::DriverInfo2& rDriver) {
                return rDriver.pName && vlm::driver::EqualNoCase(rDriver.pName, kcsModel);
            });
    }
    VLM_REPORT(INSTALLATION, VTEXT("Driver installation for %s was %ssuccessful"), kcsModel,
               fInstalled ? VTEXT("") : VTEXT("not "));
    return fInstalled;
}

void PrintDriver::BackupDriverStore(HANDLE) {
    VLM_REPORT(INSTALLATION, VTEXT("PrintDriver::BackupDriverStore(HANDLE): Not Implemented!"));
}

void PrintDriver::BackupDriverStore(const XCHAR*) {
    VLM_REPORT(INSTALLATION, VTEXT("PrintDriver::BackupDriverStore(LPCTSTR): Not Implemented!"));
}

void PrintDriver::RestoreDriverStore(HANDLE) {
    VLM_REPORT(INSTALLATION, VTEXT("PrintDriver::RestoreDriverStore(HANDLE): Not Implemented!"));
}

void PrintDriver::RestoreDriverStore(const XCHAR*) {
    VLM_REPORT(INSTALLATION, VTEXT("PrintDriver::RestoreDriverStore(LPCTSTR): Not Implemented!"));
}
