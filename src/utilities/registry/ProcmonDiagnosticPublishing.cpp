/// @file
/// Publishes counts and texts as queries of values that never exist.
#include "platform/ClockPort.h"
#include "platform/Platform.h"
#include "platform/RegistryPort.h"
#include "platform/SpoolerPort.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/ProcmonDiagnosticCounters.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/registry/detail/RegistryStatus.h"
#include "utilities/registry/detail/counters/DiagnosticKey.h"
#include "utilities/utilitiesdll/DriverLoadedContext.h"

using Enum = ProcmonDiagnosticCounter::ProcmonDiagnosticCounterEnum;

namespace {

constexpr DebugMessageCategories CATEGORIES = DebugCategory::Perf | DebugCategory::Utils;

const XCHAR* GroupOf(Enum eCounter) noexcept {
    switch (eCounter) {
        case ProcmonDiagnosticCounter::PDC_IDMStart:
            return VTEXT("DataModel");
        case ProcmonDiagnosticCounter::PDC_DEVICECAPS:
            return VTEXT("DeviceCapability");
        case ProcmonDiagnosticCounter::PDC_DEVCAPSDM:
            return VTEXT("DataModelDevCaps");
        case ProcmonDiagnosticCounter::PDC_PAGEDUMP:
            return VTEXT("PageInformation");
        default:
            return VTEXT("Diagnostics");
    }
}

}  // namespace

CXString ProcmonDiagnosticCounter::NameOfPrinter(HANDLE hPrinter) noexcept {
    XCHAR szName[vlm::SpoolerPort::MAX_PRINTER_NAME_UNITS] = {};
    DWORD cUnits = vlm::SpoolerPort::MAX_PRINTER_NAME_UNITS;
    const vlm::Status eStatus = vlm::GetPlatform().pSpooler->PrinterName(hPrinter, szName, cUnits);
    if (eStatus != vlm::Status::Success) {
        VLM_REPORT_ERROR(CATEGORIES, VTEXT("The printer of a diagnostic counter has no name. %s"),
                         vlm::RegistryStatusInWords(vlm::ToDword(eStatus)));
        return CXString();
    }
    return vlm::NoThrow([&] { return CXString(szName, static_cast<int>(cUnits)); }, CXString());
}

DWORD ProcmonDiagnosticCounter::IncrementProcmonDiagnosticCounter(HANDLE hPrinter, Enum eCounter, DWORD dwModulus,
                                                                  bool fReset) noexcept {
    return IncrementProcmonDiagnosticCounter(NameOfPrinter(hPrinter), eCounter, dwModulus, fReset);
}

DWORD ProcmonDiagnosticCounter::IncrementDeviceCapabilitiesProcmonDiagnosticCounter(HANDLE hPrinter, Enum eCounter,
                                                                                    WORD wCapability,
                                                                                    DWORD dwModulus) noexcept {
    return IncrementDeviceCapabilitiesProcmonDiagnosticCounter(NameOfPrinter(hPrinter), eCounter, wCapability,
                                                               dwModulus);
}

DWORD ProcmonDiagnosticCounter::IncrementDeviceCapabilitiesDatamodelProcmonDiagnosticCounter(HANDLE hPrinter,
                                                                                             WORD wCapability,
                                                                                             DWORD dwModulus) noexcept {
    return IncrementDeviceCapabilitiesDatamodelProcmonDiagnosticCounter(NameOfPrinter(hPrinter), wCapability,
                                                                        dwModulus);
}

void ProcmonDiagnosticCounter::ClearProcmonCounters(HANDLE hPrinter) noexcept {
    ClearProcmonCounters(NameOfPrinter(hPrinter));
}

bool ProcmonDiagnosticCounter::ProcmonDiagnosticMessage(HANDLE hPrinter, Enum eCounter, const CXString& kcsMessage,
                                                        bool fReset, DWORD dwModulus) noexcept {
    return ProcmonDiagnosticMessage(NameOfPrinter(hPrinter), eCounter, kcsMessage, fReset, dwModulus);
}

bool ProcmonDiagnosticCounter::Publish(const CXString& kcsText, DWORD dwCount) {
    const auto apoKey =
        RegistryKey::CreateRegistryKey(std::nothrow, HKeyRegistry::Hkey_Local_Machine, vlm::DIAGNOSTICS_KEY,
                                       RegistryKey::READ_ACCESS, RegistryKey::DIRECT);
    if (!apoKey) return false;
    CXString csName = CXString::FormatString(VTEXT("ProcmonDiagnosticCounter\\%s=%ld"), kcsText, dwCount);
    // A name that is too long would be refused, and nobody would see the query.
    csName = csName.Left(static_cast<int>(vlm::RegistryPort::MAX_VALUE_NAME));
    // There is no such value: the query itself is what the trace records.
    apoKey->DoesValueExist(csName);
    return true;
}

void ProcmonDiagnosticCounter::PublishCount(const CXString& kcsName, DWORD dwCount) noexcept {
    if (!ProcmonDiagnosticEnabled()) return;
    vlm::NoThrow([&] { Publish(kcsName, dwCount); });
}

bool ProcmonDiagnosticCounter::LogStringMessage(Enum eCounter, const CXString& kcsMessage, DWORD dwCount) noexcept {
    try {
        const vlm::CalendarTime oNow = vlm::GetPlatform().pClock->LocalTime();
        const XCHAR* const pszContext = DriverLoadedContext::IsSpoolerSide() ? VTEXT("Spooler") : VTEXT("User");
        return Publish(CXString::FormatString(VTEXT("%s-%s|Context: %s|Time: %02d/%02d/%04d:%02d:%02d:%02d:%04d"),
                                              GroupOf(eCounter), kcsMessage, pszContext, oNow.wMonth, oNow.wDay,
                                              oNow.wYear, oNow.wHour, oNow.wMinute, oNow.wSecond, oNow.wMilliseconds),
                       dwCount);
    } catch (const VelomException& rException) {
        VLM_REPORT_ERROR(CATEGORIES, VTEXT("Exception: %s"), rException.GetExceptionMesage());
    } catch (...) {
        VLM_REPORT_ERROR(CATEGORIES, VTEXT("A non-Velom Exception occurred during call to LogStringMessage"));
    }
    return false;
}

bool ProcmonDiagnosticCounter::ProcmonDiagnosticMessage(const CXString& kcsTimerName, Enum eCounter,
                                                        const CXString& kcsMessage, bool fReset,
                                                        DWORD dwModulus) noexcept {
    DWORD dwCount = 0;
    if (!TryCount(kcsTimerName, eCounter, dwModulus, fReset, dwCount)) return false;
    return ProcmonDiagnosticMessagesEnabled() && LogStringMessage(eCounter, kcsMessage, dwCount);
}
