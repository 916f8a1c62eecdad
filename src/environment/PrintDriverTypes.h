/// @file
/// What `PrintDriver` answers with: the driver's files by type, and the bits of its capability word.
#pragma once

#include "platform/SpoolerBlocks.h"
#include "platform/WinTypes.h"

extern "C" {
/// The system's own name of a file's time; the library never needs its definition.
struct _FILETIME;
}
using FILETIME = _FILETIME;

namespace vlm {

/// A file time under the system's name.
inline FILETIME* AsSystemFileTime(BlockFileTime* pTime) noexcept {
    return reinterpret_cast<FILETIME*>(pTime);
}
inline BlockFileTime* AsBlockFileTime(FILETIME* pTime) noexcept {
    return reinterpret_cast<BlockFileTime*>(pTime);
}

/// Which file `PrintDriver::GetDriverFiles` answers with.  The numbers stand in other components and never change;
/// those that are left out have no file, now and then.
enum class DriverFileType : DWORD {
    FT_DATA_FILE = 0,            ///< the driver's data file, as the spooler names it
    FT_PCL_RENDERER = 1,         ///< "q9rpcl073.dll"
    FT_PS_RENDERER = 2,          ///< "q9rps073.dll"
    FT_PCLXL_RENDERER = 3,       ///< "q9rpcl073.dll": one renderer for both
    FT_UNUSED_4 = 4,             ///< no file
    FT_USER_PROPERTIES = 5,      ///< "q9up073.dll"
    FT_CORE = 6,                 ///< "q9core073.dll"
    FT_GUI = 7,                  ///< "q9gui073.dll"
    FT_WORKFLOW = 8,             ///< the first present of "q9wftu073.dll", "q9wfwu073.dll" and "q9wfuv073.dll"
    FT_WORKFLOW_TU = 9,          ///< "q9wftu073.dll"
    FT_WORKFLOW_WU = 10,         ///< "q9wfwu073.dll"
    FT_UNUSED_11 = 11,           ///< no file
    FT_COMMUNICATION = 12,       ///< "q9coms073.dll"
    FT_UNUSED_13 = 13,           ///< no file
    FT_SPOOLER_HELPER = 14,      ///< "q9spl073.exe"
    FT_JOB_TRACKER = 15,         ///< "q9jobt073.exe"
    FT_THREAD_HELPER = 16,       ///< "q9thpr073.exe"
    FT_PRINT_PROCESSOR = 17,     ///< "q7pp.dll"
    FT_PRINT_LIBRARY = 18,       ///< "q7print.dll"
    FT_FILE_PRINT_BROKER = 19,   ///< "q9fpb073.exe"
    FT_FILE_PRINT_LIBRARY = 20,  ///< "q4fpd02.dll"
    FT_UNUSED_21 = 21,           ///< no file
    FT_UNUSED_22 = 22,           ///< no file
    FT_INI_FILE = 23,            ///< the dependent file with ".ini" in its name
    FT_CFG_FILE = 24,            ///< the dependent file with ".cfg" in its name
    FT_COMPILED_DATA_FILE = 25,  ///< the data file as the system's renderers compile it
    FT_PRODUCT_LIBRARY = 26,     ///< "q9_<product unique id>.dll"
    FT_PRODUCT_CAB = 27,         ///< "q9<product unique id>073.cab"
    FT_TEXT_RESOURCE_CAB = 28,   ///< "q9txt073.cab" or the company's own, by "xResDll"
    FT_UNUSED_29 = 29,           ///< no file
    FT_UNUSED_30 = 30,           ///< no file
    /// The class path and, behind a blank, the main class of the IPP client.  It begins with the current directory, so
    /// it is not for a process with more rights than the user whose directory that is.
    FT_JAVA_CLASS_PATH = 31,
    FT_CONFIGURATION_FILE = 32,  ///< the driver's configuration file, as the spooler names it
};

// The capability word of a driver, `PrintDriver::GetCapabilities`:
//
//     bits  0 -  7   page description language, one bit or none
//     bits  8 -  9   colour mode, one bit or none
//     bits 12 - 13   inbox mode, one bit or none
//     bits 16 - 19   print processor, one bit or none
//     bits 24 - 27   renderer of the base driver, one bit or none
//     bits 28 - 29   user interface of the base driver, one bit or none
//     bits 32 - 63   the number that the installer stored as "xBaseDriverCaps", 0 without one
//
// All other bits are 0.  What the installer stored and what the driver's information says stand side by side, so
// neither hides the other.  The bits are stored by other components: they never change.

enum class DriverPDLType : DWORD {
    PDL_NONE = 0,
    PDL_POSTSCRIPT = 0x1,
    PDL_PCL5 = 0x2,
    PDL_PCLXL = 0x4,  ///< PCL 6
    PDL_HPGL2 = 0x8,
    PDL_XRASTER = 0x10,
};

enum class DriverColorMode : DWORD {
    COLOR_MODE_NONE = 0,
    COLOR_MODE_COLOR = 0x100,
    COLOR_MODE_MONOCHROME = 0x200,
};

enum class DriverInboxMode : DWORD {
    INBOX_MODE_NONE = 0,
    INBOX_MODE_INBOX = 0x1000,   ///< the edition that comes with the operating system
    INBOX_MODE_RETAIL = 0x2000,  ///< the family's own edition
};

enum class DriverPrintProcessor : DWORD {
    PRINT_PROCESSOR_NONE = 0,
    PRINT_PROCESSOR_VELOM = 0x10000,
    PRINT_PROCESSOR_WINPRINT = 0x20000,
    PRINT_PROCESSOR_XPS = 0x40000,
};

/// One renderer and one user interface, joined.
enum class DriverBaseType : DWORD {
    BASE_NONE = 0,
    BASE_UNIDRV = 0x1000000,    ///< "unidrv.dll"
    BASE_PSCRIPT5 = 0x2000000,  ///< "pscript5.dll"
    BASE_MXDW = 0x4000000,      ///< "mxdwdrv.dll"
    BASE_PDF = 0x8000000,       ///< a driver whose name ends in " PDF"
    BASE_RENDERER_MASK = 0xF000000,
    BASE_UNIDRVUI = 0x10000000,  ///< "unidrvui.dll"
    BASE_PS5UI = 0x20000000,     ///< "ps5ui.dll"
    BASE_UI_MASK = 0x30000000,
};
constexpr DriverBaseType operator|(DriverBaseType eLeft, DriverBaseType eRight) noexcept {
    return static_cast<DriverBaseType>(static_cast<DWORD>(eLeft) | static_cast<DWORD>(eRight));
}
constexpr DriverBaseType operator&(DriverBaseType eLeft, DriverBaseType eRight) noexcept {
    return static_cast<DriverBaseType>(static_cast<DWORD>(eLeft) & static_cast<DWORD>(eRight));
}

/// How far a driver's installation has come.
enum DriverInstallationState : WORD {
    NotStarted = 0,
    Phase1Started = 1,
    Phase1Done = 2,
    Phase2ADone = 3,
    Phase2BDone = 4,
    Phase2CDone = 5,  ///< read, never written by this class
};

}  // namespace vlm
