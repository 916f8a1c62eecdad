/// @file
/// Maps the spooler's own names onto Printer, so that a direct call lands in the class and goes through its wrappers.
///
/// For driver code: include it last, after the system's headers.  `GetPrinterDataExW(hPrinter, ...)` then calls
/// Printer with the same arguments; one for which Printer has no overload fails to compile, with a name that says what
/// to use instead.
#pragma once

#include "environment/Printer.h"

// The system maps the names without W onto those with it.
#undef GetPrinterDataEx
#undef GetPrinterData
#undef SetPrinterDataEx
#undef SetPrinterData
#undef EnumPrinterDataEx
#undef DeletePrinterDataEx
#undef DeletePrinterData

#define GetPrinterDataEx \
    Printer::Kestrix_cannot_use_GetPrinterDataEx_use_GetPrinterDataExMandatoryWrapper_in_Printer_class_instead
#define GetPrinterDataExW \
    Printer::Kestrix_cannot_use_GetPrinterDataEx_use_GetPrinterDataExMandatoryWrapper_in_Printer_class_instead
#define GetPrinterData \
    Printer::Kestrix_cannot_use_GetPrinterData_use_GetPrinterDataMandatoryWrapper_in_Printer_class_instead
#define GetPrinterDataW \
    Printer::Kestrix_cannot_use_GetPrinterData_use_GetPrinterDataMandatoryWrapper_in_Printer_class_instead
#define SetPrinterDataEx \
    Printer::Kestrix_cannot_use_SetPrinterDataEx_use_SetPrinterDataExMandatoryWrapper_in_Printer_class_instead
#define SetPrinterDataExW \
    Printer::Kestrix_cannot_use_SetPrinterDataEx_use_SetPrinterDataExMandatoryWrapper_in_Printer_class_instead
#define SetPrinterData \
    Printer::Kestrix_cannot_use_SetPrinterData_use_SetPrinterDataMandatoryWrapper_in_Printer_class_instead
#define SetPrinterDataW \
    Printer::Kestrix_cannot_use_SetPrinterData_use_SetPrinterDataMandatoryWrapper_in_Printer_class_instead
#define EnumPrinterDataEx \
    Printer::Kestrix_cannot_use_EnumPrinterDataEx_use_EnumPrinterDataExMandatoryWrapper_in_Printer_class_instead
#define EnumPrinterDataExW \
    Printer::Kestrix_cannot_use_EnumPrinterDataEx_use_EnumPrinterDataExMandatoryWrapper_in_Printer_class_instead
#define DeletePrinterDataEx \
    Printer::Kestrix_cannot_use_DeletePrinterDataEx_use_DeletePrinterDataExMandatoryWrapper_in_Printer_class_instead
#define DeletePrinterDataExW \
    Printer::Kestrix_cannot_use_DeletePrinterDataEx_use_DeletePrinterDataExMandatoryWrapper_in_Printer_class_instead
#define DeletePrinterData \
    Printer::Kestrix_cannot_use_DeletePrinterData_use_DeletePrinterDataMandatoryWrapper_in_Printer_class_instead
#define DeletePrinterDataW \
    Printer::Kestrix_cannot_use_DeletePrinterData_use_DeletePrinterDataMandatoryWrapper_in_Printer_class_instead
