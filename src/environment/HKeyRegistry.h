/// @file
/// The logical registry hives that every registry access names.
#pragma once

#include "platform/WinTypes.h"

/// Scope of the logical hives.  Each stands for a root and, below 10, for a base path in front of a relative sub-key:
///
///     hive  root                          base path
///        0  none (a key handle is given)  -
///        1  local machine                 Software\Velom\PrinterDriver\V5.0\LowRightsStorage
///        2  local machine                 the same, joined with the user's SID
///        3  local machine                 Software\Velom
///        4  local machine                 Software\Velom\PrinterDriver
///        5  local machine                 Software\Velom\PrinterDriver\V5.0
///      6-8  current user, or users\SID    as 3 to 5
///        9  current user, or users\SID    -
///    10-18  the system's predefined roots -
///       19  the impersonated user's own hive, opened at run time
///       20  a key that only the port monitor can resolve
///
/// The numbers are a wire format.
struct HKeyRegistry {
    // NOLINTNEXTLINE(bugprone-reserved-identifier): the enumeration's established name
    enum _HKEYREGISTRY_ : std::uint16_t {
        Hkey_First = 0,
        Hkey_None = 0,
        Hkey_Low_Rights_Storage = 1,
        Hkey_Low_Rights_Storage_User = 2,
        Hkey_Machine_Velom = 3,
        Hkey_Machine_Printer_Driver = 4,
        Hkey_Machine_Version = 5,
        Hkey_User_Velom = 6,
        Hkey_User_Printer_Driver = 7,
        Hkey_User_Version = 8,
        Hkey_Current_User = 9,
        Hkey_Classes_Root = 10,
        Hkey_Users = 11,
        Hkey_Local_Machine = 12,
        Hkey_Performance_Data = 13,
        Hkey_Performance_Text = 14,
        Hkey_Performance_Nlstext = 15,
        Hkey_Current_Config = 16,
        Hkey_Dyn_Data = 17,
        Hkey_Current_User_Local_Settings = 18,
        Hkey_Impersonated_User = 19,
        Hkey_Port_Monitor_Key = 20,
        Hkey_Last = 20,
    };
};

using _HKEYREGISTRY_ = HKeyRegistry::_HKEYREGISTRY_;  // NOLINT(bugprone-reserved-identifier)
