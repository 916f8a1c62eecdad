/// @file
/// The logical hives by name.
#pragma once

#include "environment/HKeyRegistry.h"
#include "platform/Export.h"
#include "utilities/utilitiesdll/CXString.h"

/// The table of the logical hives, for people: tools and messages name a hive by its number or by a short name.
/// **Threads**: static functions only.  **Failure**: none but where a function says so.
class VLM_API RegistryHives {
public:
    /// "machine-version" for Hkey_Machine_Version; empty for a number that is no hive.
    static XStringView GetName(_HKEYREGISTRY_ eHive) noexcept;
    /// The root in the system's spelling, "HKEY_LOCAL_MACHINE"; empty for hives without one.
    static XStringView GetRootName(_HKEYREGISTRY_ eHive, bool fUsersTree) noexcept;
    /// What stands in front of a relative sub-key ("Software\\Velom"); empty for hives without a base path.  Hive 2 has
    /// the user's SID behind it.  @throws ExceptionOutOfMemory.
    static CXString GetBasePath(_HKEYREGISTRY_ eHive);
    /// What a hive is, by its name, by the name of its constant ("Hkey_Machine_Version"), or by its number in decimal;
    /// without case.  @return false for any other text; `reHive` is then unchanged.
    static bool TryParse(XStringView text, _HKEYREGISTRY_& reHive) noexcept;
};
