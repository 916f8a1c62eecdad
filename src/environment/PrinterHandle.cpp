/// @file
/// A printer's handle: opening, borrowing, testing, closing.
#include <cstdint>

#include "environment/PrinterImpl.h"

using vlm::Status;
using vlm::TextOfStatus;

static_assert(Printer::ACCESS_USE == vlm::SpoolerPort::ACCESS_USE &&
              Printer::ACCESS_ALL == vlm::SpoolerPort::ALL_ACCESS);

Printer::Printer(HANDLE hPrinter) noexcept : m_hPrinter(hPrinter) {}

Printer::Printer(const XCHAR* pszPrinterName, bool fNoThrow) {
    if (fNoThrow)
        TryToCreateHandle(pszPrinterName, ACCESS_DEFAULT);
    else
        CreateHandle(pszPrinterName);
}

Printer::~Printer() {
    ClosePrinterHandleIfOwned();
}

void Printer::ClosePrinterHandleIfOwned() noexcept {
    const HANDLE hPrinter = std::exchange(m_hPrinter, nullptr);
    if (!std::exchange(m_fOwned, false) || !hPrinter) return;
    const Status eStatus = vlm::Spooler().ClosePrinterHandle(hPrinter);
    if (eStatus == Status::Success) return;
    VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES, VTEXT("The printer's handle cannot be closed! %s"),
                     TextOfStatus(eStatus));
}

void Printer::SetPrinterHandle(HANDLE hPrinter) noexcept {
    // The handle that is its own already stays so.
    if (hPrinter && hPrinter == m_hPrinter) return;
    ClosePrinterHandleIfOwned();
    m_hPrinter = hPrinter;
    m_csPrinterName.Empty();
    m_csPort.Empty();
    m_bbPrinterInfo.clear();
    ClearPrinterData();
    m_apoLowRightsStorage.reset();
}

Status Printer::Open(const XCHAR* pszPrinterName, DWORD dwAccess) {
    if (!pszPrinterName || !*pszPrinterName) return static_cast<Status>(vlm::SpoolerPort::INVALID_PRINTER_NAME);
    HANDLE hPrinter = nullptr;
    const Status eStatus = vlm::Spooler().OpenPrinterHandle(pszPrinterName, dwAccess, hPrinter);
    if (eStatus != Status::Success) return eStatus;
    SetPrinterHandle(hPrinter);
    m_fOwned = true;
    return eStatus;
}

HANDLE Printer::OpenOrThrow(const XCHAR* pszPrinterName, DWORD dwAccess, DWORD dwLesserAccess) {
    Status eStatus = Open(pszPrinterName, dwAccess);
    if (eStatus == Status::AccessDenied && dwLesserAccess != dwAccess) {
        VLM_REPORT(vlm::PRINTER_CATEGORIES, VTEXT("The printer '%s' cannot be opened with access 0x%lx: trying 0x%lx."),
                   pszPrinterName, dwAccess, dwLesserAccess);
        eStatus = Open(pszPrinterName, dwLesserAccess);
    }
    if (eStatus != Status::Success) {
        VLM_THROW(ExceptionPrinterFailure, VTEXT("The printer '%s' cannot be opened. %s"), pszPrinterName,
                  TextOfStatus(eStatus));
    }
    return m_hPrinter;
}

HANDLE Printer::CreateHandle() {
    return CreateHandle(GetPrinterName());
}

HANDLE Printer::CreateHandle(const XCHAR* pszPrinterName) {
    return CreateHandle(pszPrinterName, ACCESS_DEFAULT);
}

HANDLE Printer::CreateHandle(const XCHAR* pszPrinterName, DWORD dwAccess) {
    return OpenOrThrow(pszPrinterName, dwAccess, dwAccess);
}

HANDLE Printer::CreateAllAccessHandle() {
    return CreateAllAccessHandle(GetPrinterName());
}

HANDLE Printer::CreateAllAccessHandle(const XCHAR* pszPrinterName) {
    return CreateHandle(pszPrinterName, ACCESS_ALL);
}

HANDLE Printer::CreateGreatestAccessHandleAllowed(const XCHAR* pszPrinterName) {
    return OpenOrThrow(pszPrinterName, ACCESS_ALL, ACCESS_USE);
}

bool Printer::TryToCreateHandle(const XCHAR* pszPrinterName, DWORD dwAccess) noexcept {
    return vlm::TryOperation([&] {
        const Status eStatus = Open(pszPrinterName, dwAccess);
        if (eStatus == Status::Success) return true;
        VLM_REPORT(vlm::PRINTER_CATEGORIES, VTEXT("There is no printer '%s' to open with access 0x%lx. %s"),
                   pszPrinterName, dwAccess, TextOfStatus(eStatus));
        return false;
    });
}

bool Printer::IsValidHandle(HANDLE hPrinter) noexcept {
    return hPrinter != nullptr && reinterpret_cast<std::uintptr_t>(hPrinter) != ~std::uintptr_t{0};
}

namespace {

/// What can still be learnt about a handle that fails.
CXString DetailsOf(HANDLE hPrinter) {
    const XCHAR* const pszNotFound = VTEXT("(not found)");
    CXString csName, csDriver, csUid;
    ByteBuffer bbInfo;
    XCHAR szName[vlm::SpoolerPort::MAX_PRINTER_NAME_UNITS] = {};
    DWORD cName = vlm::SpoolerPort::MAX_PRINTER_NAME_UNITS;
    if (vlm::Spooler().PrinterName(hPrinter, szName, cName) == Status::Success) csName = szName;
    if (vlm::ReadQueueInfo(hPrinter, 2, bbInfo) == Status::Success)
        csDriver = vlm::FirstRecord<vlm::PrinterInfo2>(bbInfo).pDriverName;
    Printer(hPrinter).GetPrinterDataString(VTEXT("xProdUID"), csUid);
    for (CXString* pcs : {&csName, &csDriver, &csUid})
        if (pcs->IsEmpty()) *pcs = pszNotFound;
    return CXString::FormatString(VTEXT("Details: The handle reports the printer name=%s, driver name=%s, product UID "
                                        "from PrinterDriverData=%s"),
                                  csName, csDriver, csUid);
}

}  // namespace

bool Printer::TestPrinterHandle(HANDLE hPrinter, CXString& rcsDetails) noexcept {
    try {
        rcsDetails.Empty();
        ByteBuffer bbInfo;
        const Status eStatus = vlm::ReadQueueInfo(hPrinter, 4, bbInfo);
        if (eStatus == Status::Success) return true;
        VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES, VTEXT("The printer's handle %p fails. %s"), hPrinter,
                         TextOfStatus(eStatus));
        try {
            rcsDetails = DetailsOf(hPrinter);
        } catch (const std::exception& rException) {
            rcsDetails = CXString::FormatString(
                VTEXT("Details: Details not available - an exception occured while gathering them: %s"),
                VelomException::GetExceptionDescription(rException));
        }
    } catch (const std::exception&) {
        VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES,
                         VTEXT("Printer::TestPrinterHandle() caught an exception and will return false. Another "
                               "assertion will probaly follow.  Please save screen shots of both."));
    }
    return false;
}
