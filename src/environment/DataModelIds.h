/// @file
/// Values that product data and the settings' data model share.
#pragma once

#include "platform/WinTypes.h"

/// Scope of the values.  The numbers are stored by other components and never change.
struct DataModelIds {
    // NOLINTNEXTLINE(readability-identifier-naming): the enumeration's established name
    enum tagValueEnum : DWORD {
        VAL_UNSPECIFIED = 0,

        VAL_COLOR = 1,
        VAL_MONOCHROME = 2,

        /// Controller families: "KESTRIX", "EMBEDDED", "EXTERNAL" and "SERVER" in map files.
        VAL_CONTROLLER_KESTRIX = 100,
        VAL_CONTROLLER_EMBEDDED = 101,
        VAL_CONTROLLER_EXTERNAL = 102,
        VAL_CONTROLLER_SERVER = 103,

        /// Companies: "VX", "VG", "VD" and "VS" in map files; one for each variant of the text resources.
        VAL_COMPANY_VX = 200,
        VAL_COMPANY_VG = 201,
        VAL_COMPANY_VD = 202,
        VAL_COMPANY_VS = 203,
    };
};
