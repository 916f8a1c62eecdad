/// @file
/// Printer data that the machine's registry keeps in place of the spooler.
#pragma once

#include "environment/PrinterImpl.h"

namespace vlm {

/// One key of a queue's mirrored data: HKEY_LOCAL_MACHINE\PATH\Mirrored\KEY.
/// **Failure**: by the registry's status; FileNotFound for a queue that is not mirrored.  @throws ExceptionOutOfMemory.
class PrinterMirror {
public:
    PrinterMirror(HANDLE hPrinter, const XCHAR* pszKeyName);

    /// Arguments and answers are those of the spooler's functions.
    Status Read(const XCHAR* pszValueName, DWORD& rdwType, BYTE* pbyData, DWORD cbData, DWORD& rcbNeeded);
    Status Write(const XCHAR* pszValueName, DWORD dwType, const BYTE* pbyData, DWORD cbData);
    Status Enumerate(BYTE* pbyValues, DWORD cbValues, DWORD& rcbNeeded, DWORD& rcValues);
    Status Delete(const XCHAR* pszValueName);

private:
    CXString m_csPath;  ///< empty for a queue that is not mirrored
};

}  // namespace vlm
