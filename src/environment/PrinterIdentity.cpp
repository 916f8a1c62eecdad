/// @file
/// Which product a queue is: what the installer stored in its printer data.
#include "environment/DottedNumbersImpl.h"
#include "environment/PrinterImpl.h"
#include "utilities/utilitiesdll/DriverLoadedContext.h"

using vlm::TextOfStatus;

CXString Printer::GetPrinterProductUniqueIdFromIniFile() {
    CXString csValue;
    const DWORD dwStatus = vlm::ReadPrinterDataText(m_hPrinter, PRINTER_DRIVER_DATA, VTEXT("xProdUID"), csValue);
    if (dwStatus != 0 || csValue.GetLength() < 3 || csValue.GetLength() > 4) {
        VLM_THROW(ExceptionPrinterFailure,
                  VTEXT("Printer::GetPrinterProductUniqueIdFromIniFile() failed reading PrinterDriverData, or is <3 or "
                        ">4 chars.  Value=%s\nContext = %s\nWindows Error = %s\nWithout it the driver's files cannot "
                        "be found."),
                  csValue, DriverLoadedContext::GetName(), TextOfStatus(dwStatus));
    }
    return csValue;
}

CXString Printer::GetPrinterModelIdFromIniFile() {
    CXString csValue;
    const DWORD dwStatus = vlm::ReadPrinterDataText(m_hPrinter, PRINTER_DRIVER_DATA, VTEXT("xModelId"), csValue);
    if (dwStatus != 0) {
        VLM_THROW(ExceptionPrinterFailure,
                  VTEXT("Printer::GetPrinterModelId() failed reading PrinterDriverData. Printer Handle=%p\nContext = "
                        "%s\nWindows Error = %s\n"),
                  m_hPrinter, DriverLoadedContext::GetName(), TextOfStatus(dwStatus));
    }
    if (csValue == VTEXT("0")) {
        VLM_THROW(ExceptionPrinterModelIdQueriedBeforeInitialized,
                  VTEXT("Printer::GetPrinterModelId() was called before xModelId had been initialized in "
                        "PrinterDriverData, so the Model Id read was '0', which is not valid.\nContext = %s\nWindows "
                        "Error = %s\n"),
                  DriverLoadedContext::GetName(), TextOfStatus(dwStatus));
    }
    if (csValue.GetLength() < 2) {
        VLM_THROW(ExceptionPrinterFailure,
                  VTEXT("Printer::GetPrinterModelId() xModelId in PrinterDriverData is invalid.  It must be at least "
                        "two chars.  Value=%s.\nContext = %s\nWindows Error = %s\n"),
                  csValue, DriverLoadedContext::GetName(), TextOfStatus(dwStatus));
    }
    return csValue;
}

CXString Printer::GetPrinterModelVersion() {
    CXString csValue;
    const DWORD dwStatus = vlm::ReadPrinterDataText(m_hPrinter, PRINTER_DRIVER_DATA, VTEXT("xModelVersion"), csValue);
    if (dwStatus != 0) {
        VLM_THROW(ExceptionPrinterFailure,
                  VTEXT("Printer::GetPrinterModelVersion() failed reading PrinterDriverData. Printer "
                        "Handle=%p\nContext = %s\nWindows Error = %s\n"),
                  m_hPrinter, DriverLoadedContext::GetName(), TextOfStatus(dwStatus));
    }
    // Deliberate: a blank is missing in the text.
    const int cNumbers = vlm::CountDottedNumbers(csValue.View(), 5);
    if (cNumbers < 1 || cNumbers > 4) {
        VLM_THROW(ExceptionPrinterFailure,
                  VTEXT("Printer::GetPrinterModelVersion(): %s read from PrinterDriverDatais not a valid model "
                        "version.\nContext = %s\nWindows Error = %s\n"),
                  csValue, DriverLoadedContext::GetName(), TextOfStatus(dwStatus));
    }
    return csValue;
}
