/// @file
/// Which resource DLL holds the texts of a queue's driver.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

/// Finds the company's variant of the driver's text resources.
/// **Threads**: any.
class VLM_API TextResourceLoader {
public:
    /// The resource DLL's file name: by "xResDll" of the queue's driver data, in any case: "GV", "D" and "S" have their
    /// own; "X" and, with a report, anything else the common one.
    /// @throws ExceptionPrintDriverFailure when the spooler does not answer, ExceptionOutOfMemory.
    static CXString GetCompanySpecificLanguageDllFileName(HANDLE hPrinter);
};
