/// @file
/// General routines: the log file of the debug messages.
#include "utilities/utilitiesdll/VelomUtilities_DebugLog.h"

#include <memory>

#include "utilities/debuggingandexceptions/DebugSettings.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/registry/RegistryKey.h"

namespace VelomUtilities {

CXString GetDebugLogFileName() noexcept {
    const auto read = [] {
        const std::unique_ptr<RegistryKey> apoKey = RegistryKey::TryOpenRegistryKey(
            HKeyRegistry::Hkey_Local_Machine, DEBUG_SETTINGS_PATH, RegistryKey::READ_ACCESS, RegistryKey::DIRECT);
        if (!apoKey) return CXString();
        CXString csName = apoKey->GetStringValue(DEBUG_SETTINGS[DMS_LogFileName].pszName, CXString());
        return csName.GetLength() <= MAX_DEBUG_LOG_FILE_NAME ? csName : CXString();
    };
    return vlm::NoThrow(read, CXString());
}

}  // namespace VelomUtilities
