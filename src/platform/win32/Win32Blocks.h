/// @file
/// What the spooler's adapters share: the system's header, and our blocks beside the system's.
#pragma once

#include <cstddef>

#include "platform/SpoolerBlocks.h"
#include "platform/win32/System.h"

#include <winspool.h>

namespace vlm::win32 {

/// The system takes what it is given for a text it may write to, but does not write.
inline XCHAR* Writable(const XCHAR* pszText) noexcept {
    return const_cast<XCHAR*>(pszText);
}

inline BYTE* Writable(const void* pData) noexcept {
    return static_cast<BYTE*>(const_cast<void*>(pData));
}

constexpr bool IsEmpty(const XCHAR* pszText) noexcept {
    return pszText == nullptr || *pszText == 0;
}

static_assert(sizeof(PrinterInfo1) == sizeof(PRINTER_INFO_1W) && sizeof(PrinterInfo2) == sizeof(PRINTER_INFO_2W) &&
              sizeof(PrinterInfo3) == sizeof(PRINTER_INFO_3) && sizeof(PrinterInfo4) == sizeof(PRINTER_INFO_4W) &&
              sizeof(PrinterInfo5) == sizeof(PRINTER_INFO_5W) && sizeof(PrinterInfo6) == sizeof(PRINTER_INFO_6) &&
              sizeof(PrinterInfo7) == sizeof(PRINTER_INFO_7W) && sizeof(PrinterInfo8) == sizeof(PRINTER_INFO_8W) &&
              sizeof(PrinterInfo9) == sizeof(PRINTER_INFO_9W));
static_assert(sizeof(DriverInfo1) == sizeof(DRIVER_INFO_1W) && sizeof(DriverInfo2) == sizeof(DRIVER_INFO_2W) &&
              sizeof(DriverInfo3) == sizeof(DRIVER_INFO_3W) && sizeof(DriverInfo4) == sizeof(DRIVER_INFO_4W) &&
              sizeof(DriverInfo5) == sizeof(DRIVER_INFO_5W) && sizeof(DriverInfo6) == sizeof(DRIVER_INFO_6W) &&
              sizeof(DriverInfo8) == sizeof(DRIVER_INFO_8W));
static_assert(sizeof(PortInfo1) == sizeof(PORT_INFO_1W) && sizeof(PortInfo2) == sizeof(PORT_INFO_2W) &&
              sizeof(PrintProcessorInfo1) == sizeof(PRINTPROCESSOR_INFO_1W) &&
              sizeof(PrinterEnumValues) == sizeof(PRINTER_ENUM_VALUESW));
static_assert(offsetof(PrinterInfo2, pSecurityDescriptor) == offsetof(PRINTER_INFO_2W, pSecurityDescriptor) &&
              offsetof(PrinterInfo2, Status) == offsetof(PRINTER_INFO_2W, Status) &&
              offsetof(DriverInfo8, pszProvider) == offsetof(DRIVER_INFO_8W, pszProvider) &&
              offsetof(DriverInfo8, dwlMinInboxDriverVerVersion) ==
                  offsetof(DRIVER_INFO_8W, dwlMinInboxDriverVerVersion) &&
              offsetof(DriverInfo6, dwlDriverVersion) == offsetof(DRIVER_INFO_6W, dwlDriverVersion) &&
              offsetof(PrinterEnumValues, cbData) == offsetof(PRINTER_ENUM_VALUESW, cbData));

}  // namespace vlm::win32
