/// @file
/// The spooler's information blocks, as the system lays them out for 64-bit programs.
#pragma once

#include "platform/WinTypes.h"

namespace vlm {

/// The names, order and widths of the system's own PRINTER_INFO_n, DRIVER_INFO_n and so on; the Windows adapter checks
/// that they are equal.  A block that the spooler filled is one buffer: records first, then what their pointers lead
/// to, in the same buffer.  A pointer may be null; "szz" texts are several texts, ended by an empty one.  Whoever reads
/// a block checks it first with IsSoundBlock: a pointer of a print server is not to be trusted.

struct PrinterInfo1 {
    DWORD Flags;
    XCHAR* pDescription;
    XCHAR* pName;
    XCHAR* pComment;
};

struct PrinterInfo2 {
    XCHAR* pServerName;
    XCHAR* pPrinterName;
    XCHAR* pShareName;
    XCHAR* pPortName;
    XCHAR* pDriverName;
    XCHAR* pComment;
    XCHAR* pLocation;
    DEVMODEW* pDevMode;
    XCHAR* pSepFile;
    XCHAR* pPrintProcessor;
    XCHAR* pDatatype;
    XCHAR* pParameters;
    void* pSecurityDescriptor;
    DWORD Attributes;
    DWORD Priority;
    DWORD DefaultPriority;
    DWORD StartTime;
    DWORD UntilTime;
    DWORD Status;
    DWORD cJobs;
    DWORD AveragePPM;
};

struct PrinterInfo3 {
    void* pSecurityDescriptor;
};

struct PrinterInfo4 {
    XCHAR* pPrinterName;
    XCHAR* pServerName;
    DWORD Attributes;
};

struct PrinterInfo5 {
    XCHAR* pPrinterName;
    XCHAR* pPortName;
    DWORD Attributes;
    DWORD DeviceNotSelectedTimeout;
    DWORD TransmissionRetryTimeout;
};

struct PrinterInfo6 {
    DWORD dwStatus;
};

struct PrinterInfo7 {
    XCHAR* pszObjectGUID;
    DWORD dwAction;
};

/// The queue's default device mode, for all users.
struct PrinterInfo8 {
    DEVMODEW* pDevMode;
};

/// The default device mode of the calling user.
struct PrinterInfo9 {
    DEVMODEW* pDevMode;
};

struct DriverInfo1 {
    XCHAR* pName;
};

struct DriverInfo2 {
    DWORD cVersion;
    XCHAR* pName;
    XCHAR* pEnvironment;
    XCHAR* pDriverPath;
    XCHAR* pDataFile;
    XCHAR* pConfigFile;
};

struct DriverInfo3 {
    DWORD cVersion;
    XCHAR* pName;
    XCHAR* pEnvironment;
    XCHAR* pDriverPath;
    XCHAR* pDataFile;
    XCHAR* pConfigFile;
    XCHAR* pHelpFile;
    XCHAR* pDependentFiles;  ///< szz
    XCHAR* pMonitorName;
    XCHAR* pDefaultDataType;
};

struct DriverInfo4 {
    DWORD cVersion;
    XCHAR* pName;
    XCHAR* pEnvironment;
    XCHAR* pDriverPath;
    XCHAR* pDataFile;
    XCHAR* pConfigFile;
    XCHAR* pHelpFile;
    XCHAR* pDependentFiles;  ///< szz
    XCHAR* pMonitorName;
    XCHAR* pDefaultDataType;
    XCHAR* pszzPreviousNames;
};

struct DriverInfo5 {
    DWORD cVersion;
    XCHAR* pName;
    XCHAR* pEnvironment;
    XCHAR* pDriverPath;
    XCHAR* pDataFile;
    XCHAR* pConfigFile;
    DWORD dwDriverAttributes;
    DWORD dwConfigVersion;
    DWORD dwDriverVersion;
};

/// 100-nanosecond steps since 1601-01-01 00:00 UTC, in two halves.
struct BlockFileTime {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

struct DriverInfo6 {
    DWORD cVersion;
    XCHAR* pName;
    XCHAR* pEnvironment;
    XCHAR* pDriverPath;
    XCHAR* pDataFile;
    XCHAR* pConfigFile;
    XCHAR* pHelpFile;
    XCHAR* pDependentFiles;  ///< szz
    XCHAR* pMonitorName;
    XCHAR* pDefaultDataType;
    XCHAR* pszzPreviousNames;
    BlockFileTime ftDriverDate;
    ULONGLONG dwlDriverVersion;
    XCHAR* pszMfgName;
    XCHAR* pszOEMUrl;
    XCHAR* pszHardwareID;
    XCHAR* pszProvider;
};

struct DriverInfo8 {
    DWORD cVersion;
    XCHAR* pName;
    XCHAR* pEnvironment;
    XCHAR* pDriverPath;
    XCHAR* pDataFile;
    XCHAR* pConfigFile;
    XCHAR* pHelpFile;
    XCHAR* pDependentFiles;  ///< szz
    XCHAR* pMonitorName;
    XCHAR* pDefaultDataType;
    XCHAR* pszzPreviousNames;
    BlockFileTime ftDriverDate;
    ULONGLONG dwlDriverVersion;
    XCHAR* pszMfgName;
    XCHAR* pszOEMUrl;
    XCHAR* pszHardwareID;
    XCHAR* pszProvider;
    XCHAR* pszPrintProcessor;
    XCHAR* pszVendorSetup;
    XCHAR* pszzColorProfiles;
    XCHAR* pszInfPath;
    DWORD dwPrinterDriverAttributes;
    XCHAR* pszzCoreDriverDependencies;
    BlockFileTime ftMinInboxDriverVerDate;
    ULONGLONG dwlMinInboxDriverVerVersion;
};

struct PortInfo1 {
    XCHAR* pName;
};

struct PortInfo2 {
    XCHAR* pPortName;
    XCHAR* pMonitorName;
    XCHAR* pDescription;
    DWORD fPortType;
    DWORD Reserved;
};

struct PrintProcessorInfo1 {
    XCHAR* pName;
};

/// One value of EnumerateData.
struct PrinterEnumValues {
    XCHAR* pValueName;
    DWORD cbValueName;  ///< with its terminator
    DWORD dwType;
    BYTE* pData;
    DWORD cbData;
};

static_assert(sizeof(void*) == 8 && sizeof(PrinterInfo1) == 32 && sizeof(PrinterInfo2) == 136 &&
              sizeof(PrinterInfo4) == 24 && sizeof(PrinterInfo5) == 32 && sizeof(PrinterInfo7) == 16);
static_assert(sizeof(DriverInfo2) == 48 && sizeof(DriverInfo3) == 80 && sizeof(DriverInfo4) == 88 &&
              sizeof(DriverInfo5) == 64 && sizeof(DriverInfo6) == 136 && sizeof(DriverInfo8) == 200);
static_assert(sizeof(PortInfo2) == 32 && sizeof(PrinterEnumValues) == 32);

}  // namespace vlm
