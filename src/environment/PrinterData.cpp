/// @file
/// The mandatory wrappers round the spooler's printer data.
#include "environment/PrinterMirrorImpl.h"
#include "utilities/debuggingandexceptions/NoThrow.h"

using vlm::PrinterMirror;
using vlm::Status;
using vlm::ToDword;

namespace {

/// Is this the key of the family's values, or one below it?
bool IsPrinterDriverData(const XCHAR* pszKeyName) {
    const CXString csKey = CXString(pszKeyName) + VTEXT("\\");
    return csKey.FindNoCase(VTEXT("PrinterDriverData\\")) == 0;
}

/// May this process change a key?  A client of a print server may not change what is the server's; a queue that does
/// not tell whose it is, is not changed either.
template <class Report>
Status CheckOwner(HANDLE hPrinter, const XCHAR* pszKeyName, Report&& report) {
    if (!IsPrinterDriverData(pszKeyName)) return Status::Success;
    bool fRemote = false;
    const Status eStatus = vlm::FindRemote(hPrinter, fRemote);
    if (eStatus != Status::Success || !fRemote) return eStatus;
    report();
    return Status::AccessDenied;
}

/// Runs a wrapper, which answers a status whatever happens.
template <class Body>
DWORD AsStatus(Body&& body) noexcept {
    return ToDword(vlm::NoThrow(std::forward<Body>(body), Status::NotEnoughMemory));
}

}  // namespace

DWORD Printer::GetPrinterDataExMandatoryWrapper(HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName,
                                                DWORD* pdwType, BYTE* pbyData, DWORD cbData,
                                                DWORD* pcbNeeded) noexcept {
    DWORD dwType = 0, cbNeeded = 0;
    Status eStatus = vlm::PrinterData().GetData(hPrinter, pszKeyName, pszValueName, dwType, pbyData, cbData, cbNeeded);
    if (eStatus == Status::FileNotFound) {
        eStatus = static_cast<Status>(AsStatus(
            [&] { return PrinterMirror(hPrinter, pszKeyName).Read(pszValueName, dwType, pbyData, cbData, cbNeeded); }));
    }
    const bool fAnswered =
        eStatus == Status::Success || eStatus == Status::MoreData || eStatus == Status::InsufficientBuffer;
    if (!fAnswered) return ToDword(eStatus);
    // A spooler that claims to have written more than there is room for is not believed.
    if (eStatus == Status::Success && cbNeeded > cbData) return ToDword(Status::InvalidData);
    if (pdwType) *pdwType = dwType;
    if (pcbNeeded) *pcbNeeded = cbNeeded;
    return ToDword(eStatus);
}

DWORD Printer::SetPrinterDataExMandatoryWrapper(HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName,
                                                DWORD dwType, const BYTE* pbyData, DWORD cbData) noexcept {
    return AsStatus([&] {
        const Status eOwner = CheckOwner(hPrinter, pszKeyName, [] {
            VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES,
                             VTEXT("CODING ERROR: A Point and Print client is writing to PrinterDriverData which is "
                                   "owned by the server! This interferes with Point and Print."));
        });
        if (eOwner != Status::Success) return eOwner;
        const Status eStatus = vlm::PrinterData().SetData(hPrinter, pszKeyName, pszValueName, dwType, pbyData, cbData);
        if (eStatus != Status::FileNotFound) return eStatus;
        return PrinterMirror(hPrinter, pszKeyName).Write(pszValueName, dwType, pbyData, cbData);
    });
}

DWORD Printer::EnumPrinterDataExMandatoryWrapper(HANDLE hPrinter, const XCHAR* pszKeyName, BYTE* pbyEnumValues,
                                                 DWORD cbEnumValues, DWORD* pcbNeeded, DWORD* pcValues) noexcept {
    DWORD cbNeeded = 0, cValues = 0;
    const DWORD dwStatus = AsStatus([&] {
        Status eStatus =
            vlm::PrinterData().EnumerateData(hPrinter, pszKeyName, pbyEnumValues, cbEnumValues, cbNeeded, cValues);
        if (eStatus == Status::FileNotFound)
            return PrinterMirror(hPrinter, pszKeyName).Enumerate(pbyEnumValues, cbEnumValues, cbNeeded, cValues);
        const bool fSound = eStatus != Status::Success ||
                            vlm::IsSoundBlock(vlm::BlockKind::Values, 0, cValues, pbyEnumValues, cbEnumValues);
        return fSound ? eStatus : Status::InvalidData;
    });
    if (pcbNeeded) *pcbNeeded = cbNeeded;
    if (pcValues) *pcValues = dwStatus == 0 ? cValues : 0;
    return dwStatus;
}

DWORD Printer::DeletePrinterDataExMandatoryWrapper(HANDLE hPrinter, const XCHAR* pszKeyName,
                                                   const XCHAR* pszValueName) noexcept {
    return AsStatus([&] {
        const Status eOwner = CheckOwner(hPrinter, pszKeyName, [] {
            VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES,
                             VTEXT("CODING ERROR: A Point and Print client is deleting PrinterDriverData which is "
                                   "owned by the server! This interferes with Point and Print."));
        });
        if (eOwner != Status::Success) return eOwner;
        const Status eStatus = vlm::PrinterData().DeleteData(hPrinter, pszKeyName, pszValueName);
        if (eStatus != Status::FileNotFound) return eStatus;
        return PrinterMirror(hPrinter, pszKeyName).Delete(pszValueName);
    });
}
