/// @file
/// What `ProductData` is asked with and answers with.
#pragma once

#include "environment/DataModelIds.h"
#include "platform/WinTypes.h"

/// How the model is given to `ProductData::Initialize`.
enum _ModelType : DWORD {    // NOLINT(bugprone-reserved-identifier): the enumeration's established name
    MT_MODEL_NAME = 0,       ///< by its name
    MT_PRINTER_INI_DATA = 1  ///< by "xModelId" in the printer's data
};

/// A piece of product information, or a data file of the model.
enum InfoType : DWORD {
#define VLM_INFO_TYPE(constant, key, number) constant = number,
#include "environment/ProductDataInfoTypes.inl"
#undef VLM_INFO_TYPE
};

/// How far a model prints over the system's USB port; by the value of "SMARTUSB" in any letter case.
enum _SMART_USB_TYPE : DWORD {  // NOLINT(bugprone-reserved-identifier): the enumeration's established name
    SMART_USB_NONE = 0,         ///< any other value, and none
    SMART_USB_PRINT = 1,        ///< "print", "yes": jobs alone
    SMART_USB_FULL = 2          ///< "full": jobs and status
};

/// How far a model takes exceptions in a job ticket; a later one includes what the first ones take.
enum PrintXcptAttributesEnum : DWORD {
    PRINT_XCPT_NONE = 0,  ///< any text that is not named below
    PRINT_XCPT_INSERTS = 1,
    PRINT_XCPT_COVERS_INSERTS = 2,
    PRINT_XCPT_INSERTS_JOBORDERCOUNT = 3,
    PRINT_XCPT_COVERS_INSERTS_JOBORDERCOUNT = 4,
    PRINT_XCPT_COVERS_INSERTS_CAC = 5,
    PRINT_XCPT_FULL_SUPPORT = 6,
};

/// Bits of the page description languages.  Map files name the first four; the other two only sort models into lists.
enum SupportedPdl : DWORD {
    PDL_BIT_PSCRIPT = 0x1,
    PDL_BIT_PCL5 = 0x2,
    PDL_BIT_PCL6 = 0x4,
    PDL_BIT_XRASTER = 0x8,
    PDL_BIT_XPS = 0x10,
    PDL_BIT_PDF = 0x20,
};

/// A finisher by its class.
enum FinisherType : DWORD { FINISHER_OFFICE = 0, FINISHER_PRODUCTION = 1 };

/// Bits of `DetermineFinishingCapabilities`.
enum FinishingCapability : DWORD {
    FINISHING_PRODUCTION = 0x1,           ///< a production finisher
    FINISHING_LEF_ONLY_TWO_STAPLE = 0x2,  ///< two staples only on long-edge-feed media
    FINISHING_DRIVER_COLLATION = 0x4,     ///< the driver may collate
    FINISHING_REQUIRES_COLLATION = 0x8    ///< the driver must
};
