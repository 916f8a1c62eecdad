/// @file
/// One-shot writes to the registry, and the hive for settings of the user or the machine.
#pragma once

#include "environment/HKeyRegistry.h"
#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/CXString.h"

/// The general routines of the library.  Those of this header name a key by logical hive and path, as RegistryKey does,
/// and take its rules about base paths and forwarding.  Each opens or creates the key, acts and closes it.
/// @param fDirect RegistryKey::DIRECT keeps off the port monitor.
/// **Threads**: any.
namespace VelomUtilities {

/// Creates the key where it is missing and sets a REG_DWORD.  @throws ExceptionRegistryRequest.
VLM_API void Write32BitValueIntoRegistry(_HKEYREGISTRY_ eHive, const CXString& kcsKeyPath, const CXString& kcsValueName,
                                         UINT uValue, bool fDirect = false);
/// REG_QWORD.
VLM_API void Write64BitValueIntoRegistry(_HKEYREGISTRY_ eHive, const CXString& kcsKeyPath, const CXString& kcsValueName,
                                         LONGLONG llValue, bool fDirect = false);
/// REG_SZ.
VLM_API void WriteStringValueIntoRegistry(_HKEYREGISTRY_ eHive, const CXString& kcsKeyPath,
                                          const CXString& kcsValueName, const CXString& kcsValue, bool fDirect = false);
/// @return whether the value was deleted; an absent one was not.
VLM_API bool DeleteRegistryValue(_HKEYREGISTRY_ eHive, const CXString& kcsKeyPath, const CXString& kcsValueName,
                                 bool fDirect = false) noexcept;
/// Deletes a key that has no sub-keys.  @return whether it was deleted.  The hive's base path itself is refused.
VLM_API bool DeleteRegistryKey(_HKEYREGISTRY_ eHive, const CXString& kcsKeyPath, bool fDirect = false) noexcept;

/// The hive for settings that are the user's in an application and the machine's in the spooler: Hkey_Current_User in
/// an application, and on the spooler's side while impersonating; Hkey_Local_Machine on the spooler's side otherwise.
VLM_API _HKEYREGISTRY_ GetRegistryHiveByContext() noexcept;

}  // namespace VelomUtilities
