/// @file
/// Changing a field of a queue.
#pragma once

#include "environment/PrinterImpl.h"

namespace vlm {

/// Reads a queue's level 2 information, lets `change(PrinterInfo2&)` change it, and sets it.  What the change points to
/// must live until the call returns.  @throws ExceptionPrinterFailure.
template <class Change>
void ChangePrinterInfo2(HANDLE hPrinter, Change&& change) {
    Printer oPrinter;
    oPrinter.GetPrinterInfo(hPrinter, 2);
    PrinterInfo2 oInfo = *reinterpret_cast<const PrinterInfo2*>(oPrinter.GetPrinterInfoPtr());
    oInfo.pSecurityDescriptor = nullptr;  // stays as it is
    change(oInfo);
    oPrinter.SetPrinterInfo(hPrinter, 2, reinterpret_cast<const BYTE*>(&oInfo));
}

}  // namespace vlm
