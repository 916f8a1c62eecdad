/// @file
/// A printer's names, and what they say about it.
#include <algorithm>

#include "environment/PrinterImpl.h"
#include "utilities/utilitiesdll/Hash32.h"

using vlm::PrinterInfo2;
using vlm::PrinterInfo4;
using vlm::Status;

namespace {

/// Units of a name in standard form before it is cut: a component of a registry path has at most 255.
constexpr int MAX_STANDARD_NAME_UNITS = 200;

bool IsHexDigit(XCHAR ch) noexcept {
    return (ch >= VTEXT('0') && ch <= VTEXT('9')) || (ch >= VTEXT('A') && ch <= VTEXT('F')) ||
           (ch >= VTEXT('a') && ch <= VTEXT('f'));
}

/// "{01234567-89ab-cdef-0123-456789abcdef}"
bool IsGuidInBraces(XStringView svName) noexcept {
    constexpr XStringView PATTERN = VTEXT("{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}");
    return std::equal(svName.begin(), svName.end(), PATTERN.begin(), PATTERN.end(), [](XCHAR ch, XCHAR chPattern) {
        return chPattern == VTEXT('x') ? IsHexDigit(ch) : ch == chPattern;
    });
}

bool StartsWithNoCase(const CXString& kcsText, XStringView svStart) noexcept {
    return kcsText.FindNoCase(svStart) == 0;
}

}  // namespace

CXString Printer::GetPrinterName(HANDLE hPrinter) {
    XCHAR szName[vlm::SpoolerPort::MAX_PRINTER_NAME_UNITS] = {};
    DWORD cName = vlm::SpoolerPort::MAX_PRINTER_NAME_UNITS;
    const Status eStatus = vlm::Spooler().PrinterName(hPrinter, szName, cName);
    if (eStatus != Status::Success) {
        VLM_THROW(ExceptionPrinterFailure, VTEXT("The printer's name cannot be had. %s"), vlm::TextOfStatus(eStatus));
    }
    return CXString(XStringView(szName, std::min<std::size_t>(cName, std::size(szName))));
}

CXString Printer::GetPrinterName() {
    if (m_csPrinterName.IsEmpty()) m_csPrinterName = GetPrinterName(m_hPrinter);
    return m_csPrinterName;
}

CXString Printer::GetPrintDriverName() {
    GetPrinterInfo(2);
    return vlm::FirstRecord<PrinterInfo2>(m_bbPrinterInfo).pDriverName;
}

CXString Printer::GetShareName() {
    GetPrinterInfo(2);
    const auto& rInfo = vlm::FirstRecord<PrinterInfo2>(m_bbPrinterInfo);
    const bool fShared = (rInfo.Attributes & vlm::PrintQueuePort::ATTRIBUTE_SHARED) != 0;
    return fShared ? CXString(rInfo.pShareName) : CXString();
}

CXString Printer::GetServerName() {
    GetPrinterInfo(4);
    return vlm::FirstRecord<PrinterInfo4>(m_bbPrinterInfo).pServerName;
}

CXString Printer::GetPrinterNameInStandardFormForUseAsRegKey(const XCHAR* pszPrinterName) {
    CXString csName(pszPrinterName);
    csName.Replace(VTEXT('\\'), VTEXT(','));
    for (int i = 0; i < csName.GetLength(); ++i)
        if (csName.View()[static_cast<std::size_t>(i)] < VTEXT(' ')) csName.SetAt(i, VTEXT('_'));
    if (csName.GetLength() <= MAX_STANDARD_NAME_UNITS) return csName;
    return CXString::FormatString(VTEXT("%s~%08X"), csName.Left(MAX_STANDARD_NAME_UNITS), Hash32::GetHash32(csName));
}

bool Printer::GetPrinterNameInStandardFormForUseAsRegKey(CXString& rcsName) noexcept {
    return vlm::TryOperation([&] {
        CXString csName = GetPrinterNameInStandardFormForUseAsRegKey(GetPrinterName());
        rcsName.swap(csName);
        return !rcsName.IsEmpty();
    });
}

bool Printer::IsHiddenGuidPrinter() {
    const CXString csName = GetPrinterName();
    return IsGuidInBraces(csName.Mid(csName.ReverseFind(VTEXT('\\')) + 1));
}

bool vlm::IsIppName(const CXString& kcsPrinterName) noexcept {
    return StartsWithNoCase(kcsPrinterName, VTEXT("\\\\http://")) ||
           StartsWithNoCase(kcsPrinterName, VTEXT("\\\\https://"));
}

bool vlm::IsIppPort(const CXString& kcsPort) noexcept {
    return StartsWithNoCase(kcsPort, VTEXT("ipp://"));
}

bool Printer::IsIppPrinter() noexcept {
    return vlm::TryOperation([&] {
        ByteBuffer bbInfo;
        const Status eStatus = vlm::ReadQueueInfo(m_hPrinter, 4, bbInfo);
        if (eStatus != Status::Success) {
            VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES,
                             VTEXT("Printer::IsIppPrinter() failed, unable to get PRINTER_INFO_4."));
            return false;
        }
        return vlm::IsIppName(vlm::FirstRecord<PrinterInfo4>(bbInfo).pPrinterName) || vlm::IsIppPort(GetPrinterPort());
    });
}

bool Printer::IsVelomRovingQuillDriver() {
    return GetPrintDriverName().Find(VTEXT("Roving Quill")) >= 0;
}
