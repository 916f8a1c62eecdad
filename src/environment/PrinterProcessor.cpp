/// @file
/// A printer's print processor.
#include "environment/PrinterChangeImpl.h"

using vlm::PrinterInfo2;
using vlm::Status;

namespace {

/// The print processors that the driver tells apart; the family's own bears the name of its module.
constexpr const XCHAR* KESTRIX_PROCESSOR = VTEXT("q7pp");
constexpr const XCHAR* SYSTEM_PROCESSOR = VTEXT("winprint");
constexpr const XCHAR* XPS_PROCESSOR = VTEXT("MS_XPS_PROC");

}  // namespace

bool Printer::IsPrintProcessorInstalled(const XCHAR* pszPrintProcessor) noexcept {
    return vlm::TryOperation([&] {
        const CXString csServer = IsValidHandle() ? GetServerName() : CXString();
        return IsPrintProcessorInstalled(csServer.IsEmpty() ? nullptr : csServer.GetLpcwstr(), pszPrintProcessor);
    });
}

bool Printer::IsPrintProcessorInstalled(const XCHAR* pszServer, const XCHAR* pszPrintProcessor) noexcept {
    return vlm::TryOperation([&] {
        ByteBuffer bbList;
        DWORD cProcessors = 0;
        const Status eStatus =
            vlm::ReadSpoolerList(vlm::BlockKind::Processor, 1, bbList, cProcessors,
                                 [&](BYTE* pbyInfo, DWORD cbInfo, DWORD& rcbNeeded, DWORD& rcRecords) {
                                     return vlm::Spooler().EnumerateProcessorInfo(pszServer, nullptr, 1, pbyInfo,
                                                                                  cbInfo, rcbNeeded, rcRecords);
                                 });
        if (eStatus != Status::Success) {
            VLM_REPORT_ERROR(vlm::PRINTER_CATEGORIES, VTEXT("The print processors cannot be listed. %s"),
                             vlm::TextOfStatus(eStatus));
            return false;
        }
        for (const auto& rProcessor : vlm::Records<vlm::PrintProcessorInfo1>(bbList, cProcessors))
            if (CXString(rProcessor.pName).CompareNoCase(pszPrintProcessor) == 0) return true;
        return false;
    });
}

CXString Printer::GetPrintProcessorName() {
    return GetPrintProcessorName(m_hPrinter);
}

CXString Printer::GetPrintProcessorName(HANDLE hPrinter) {
    GetPrinterInfo(hPrinter, 2);
    return vlm::FirstRecord<PrinterInfo2>(m_bbPrinterInfo).pPrintProcessor;
}

bool Printer::GetPrintProcessorName(CXString& rcsPrintProcessor) noexcept {
    return vlm::TryOperation([&] {
        rcsPrintProcessor = GetPrintProcessorName();
        return true;
    });
}

void Printer::SetPrintProcessorName(const XCHAR* pszPrintProcessor) {
    SetPrintProcessorName(m_hPrinter, pszPrintProcessor);
}

void Printer::SetPrintProcessorName(HANDLE hPrinter, const XCHAR* pszPrintProcessor) {
    CXString csName(pszPrintProcessor);
    vlm::ChangePrinterInfo2(hPrinter,
                            [&](PrinterInfo2& rInfo) { rInfo.pPrintProcessor = csName.GetLpwstrForReadingOnly(); });
}

bool Printer::SetPrintProcessorName(const XCHAR* pszPrintProcessor, bool fNoThrow) {
    if (!fNoThrow) {
        SetPrintProcessorName(pszPrintProcessor);
        return true;
    }
    return vlm::TryOperation([&] { return SetPrintProcessorName(pszPrintProcessor, THROW); });
}

bool Printer::IsUsingVelomKestrixPrintProcessor() noexcept {
    CXString csName;
    return GetPrintProcessorName(csName) && csName.CompareNoCase(KESTRIX_PROCESSOR) == 0;
}

bool Printer::IsUsingWinPrintPrintProcessor() noexcept {
    CXString csName;
    return GetPrintProcessorName(csName) && csName.CompareNoCase(SYSTEM_PROCESSOR) == 0;
}

bool Printer::IsUsingMs_XpsPrintProcessor() noexcept {
    CXString csName;
    return GetPrintProcessorName(csName) && csName.CompareNoCase(XPS_PROCESSOR) == 0;
}
