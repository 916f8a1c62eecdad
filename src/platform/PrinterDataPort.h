/// @file
/// Port: the data that queues keep.
#pragma once

#include "platform/SpoolerPort.h"

namespace vlm {

/// Values below keys of a queue; keys nest with "\\".  Types are the registry's, bytes come back as they were stored.
/// The calls without a key that the system also has are these with PRINTER_DRIVER_DATA.  Handles are SpoolerPort's.
/// InvalidHandle: a handle that is not open or a channel's.  Writing needs QUEUE_ADMINISTER (AccessDenied; Wine does
/// not ask). Threads: any; one handle by one thread at a time.  Failure: by status; nothing throws.
class PrinterDataPort {
public:
    static constexpr const XCHAR* PRINTER_DRIVER_DATA = VTEXT("PrinterDriverData");

    virtual ~PrinterDataPort() = default;

    /// Reads a value.  The server's handle has values, too ("DefaultSpoolDirectory"); its key does not matter.
    /// @param rcbNeeded the size in bytes, with Success and MoreData; not part of the contract otherwise.
    /// @return FileNotFound (no such value or key), MoreData (the buffer is too small or null), InvalidParameter (a
    /// null key or name; Wine: FileNotFound).
    virtual Status GetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD& rdwType, void* pData,
                           DWORD cbData, DWORD& rcbNeeded) noexcept = 0;
    /// Creates or replaces a value, and the key where it is missing.
    /// @return InvalidParameter (a null or empty key, a null name, null data with a size).
    virtual Status SetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD dwType, const void* pData,
                           DWORD cbData) noexcept = 0;
    /// All values of a key, as PrinterEnumValues.
    /// @return FileNotFound (no such key), MoreData with the size, InvalidParameter (a null or empty key).
    virtual Status EnumerateData(HANDLE hPrinter, const XCHAR* pszKey, void* pValues, DWORD cbValues, DWORD& rcbNeeded,
                                 DWORD& rcReturned) noexcept = 0;
    /// @return FileNotFound, InvalidParameter.  Wine lacks it: InvalidParameter always.
    virtual Status DeleteData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue) noexcept = 0;
    /// The names of the keys directly below a key (empty: the queue's own), each terminated, with one terminator more.
    /// @return FileNotFound, MoreData with the size, InvalidParameter (a null key).  Wine lacks it: 120.
    virtual Status EnumerateDataKeys(HANDLE hPrinter, const XCHAR* pszKey, XCHAR* pszzKeys, DWORD cbKeys,
                                     DWORD& rcbNeeded) noexcept = 0;
    /// Deletes a key with all that is below it.
    /// @return FileNotFound, InvalidParameter (null or empty), NotSupported where the system lacks the call (Wine).
    virtual Status DeleteDataKey(HANDLE hPrinter, const XCHAR* pszKey) noexcept = 0;
};

}  // namespace vlm
