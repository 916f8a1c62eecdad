/// @file
/// One-shot writes to the registry, and the hive for settings of the user or the machine.
#include "utilities/utilitiesdll/VelomUtilities_Registry.h"

#include "environment/PortMonitor.h"
#include "environment/User.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/registry/detail/RegistryStatus.h"
#include "utilities/utilitiesdll/DriverLoadedContext.h"

namespace {

/// One write.  `forward(monitor, SID)` has the port monitor create the key and set the value in one call;
/// `write(key)` does it on a key of our own.
template <class Forward, class Write>
void WriteOnce(_HKEYREGISTRY_ eHive, const CXString& kcsKeyPath, const CXString& kcsValueName, bool fDirect,
               Forward forward, Write write) {
    vlm::TranslateOutOfMemory([&] {
        RegistryKey oKey(eHive, fDirect, RegistryKey::OWN_TREE);
        oKey.InitializeRegistryKey();
        if (!oKey.IsForwarded()) {
            oKey.CreateRegistryKey(kcsKeyPath, RegistryKey::WRITE_ACCESS);
            write(oKey);
        } else if (!forward(*oKey.GetPortMonitor(), oKey.GetSID())) {
            VLM_THROW(ExceptionRegistryRequest, VTEXT("The port monitor did not write the value %s. %s"), kcsValueName,
                      vlm::RegistryStatusInWords(oKey.GetPortMonitor()->GetLastStatus()));
        }
    });
}

}  // namespace

void VelomUtilities::Write32BitValueIntoRegistry(_HKEYREGISTRY_ eHive, const CXString& kcsKeyPath,
                                                 const CXString& kcsValueName, UINT uValue, bool fDirect) {
    const LONG lValue = static_cast<LONG>(uValue);
    WriteOnce(
        eHive, kcsKeyPath, kcsValueName, fDirect,
        [&](VelomPortMonitor& rMonitor, const CXString& kcsSid) {
            return rMonitor.SetLongValue(eHive, kcsKeyPath, kcsValueName, lValue, kcsSid);
        },
        [&](RegistryKey& rKey) { rKey.SetLongValue(kcsValueName, lValue); });
}

void VelomUtilities::Write64BitValueIntoRegistry(_HKEYREGISTRY_ eHive, const CXString& kcsKeyPath,
                                                 const CXString& kcsValueName, LONGLONG llValue, bool fDirect) {
    WriteOnce(
        eHive, kcsKeyPath, kcsValueName, fDirect,
        [&](VelomPortMonitor& rMonitor, const CXString& kcsSid) {
            return rMonitor.SetLong64Value(eHive, kcsKeyPath, kcsValueName, llValue, kcsSid);
        },
        [&](RegistryKey& rKey) { rKey.SetLong64Value(kcsValueName, llValue); });
}

void VelomUtilities::WriteStringValueIntoRegistry(_HKEYREGISTRY_ eHive, const CXString& kcsKeyPath,
                                                  const CXString& kcsValueName, const CXString& kcsValue,
                                                  bool fDirect) {
    WriteOnce(
        eHive, kcsKeyPath, kcsValueName, fDirect,
        [&](VelomPortMonitor& rMonitor, const CXString& kcsSid) {
            return rMonitor.SetStringValue(eHive, kcsKeyPath, kcsValueName, kcsValue, kcsSid);
        },
        [&](RegistryKey& rKey) { rKey.SetStringValue(kcsValueName, kcsValue); });
}

bool VelomUtilities::DeleteRegistryValue(_HKEYREGISTRY_ eHive, const CXString& kcsKeyPath, const CXString& kcsValueName,
                                         bool fDirect) noexcept {
    return vlm::NoThrow(
        [&] {
            RegistryKey oKey(eHive, kcsKeyPath, fDirect, RegistryKey::OWN_TREE);
            return oKey.OpenRegistryKey(RegistryKey::WRITE_ACCESS, RegistryKey::NO_THROW) &&
                   oKey.DeleteValue(kcsValueName);
        },
        false);
}

bool VelomUtilities::DeleteRegistryKey(_HKEYREGISTRY_ eHive, const CXString& kcsKeyPath, bool fDirect) noexcept {
    return vlm::NoThrow(
        [&] {
            RegistryKey oKey(eHive, fDirect, RegistryKey::OWN_TREE);
            oKey.InitializeRegistryKey();
            if (kcsKeyPath.IsEmpty()) return false;
            if (oKey.IsForwarded()) return oKey.GetPortMonitor()->DeleteKey(eHive, kcsKeyPath, oKey.GetSID());
            // A key is deleted from the one above it, by its last component.
            const int iCut = kcsKeyPath.ReverseFind(VTEXT('\\'));
            const CXString csParent = iCut < 0 ? CXString() : kcsKeyPath.Left(iCut);
            return oKey.OpenRegistryKey(csParent, RegistryKey::READ_ACCESS, RegistryKey::NO_THROW) &&
                   oKey.DeleteKey(kcsKeyPath.Mid(iCut + 1));
        },
        false);
}

_HKEYREGISTRY_ VelomUtilities::GetRegistryHiveByContext() noexcept {
    if (!DriverLoadedContext::IsSpoolerSide()) {
        VLM_REPORT(DebugCategory::Registry, VTEXT("Application Context - using HKEY_CURRENT_USER"));
        return HKeyRegistry::Hkey_Current_User;
    }
    if (User::IsImpersonating()) {
        VLM_REPORT(DebugCategory::Registry, VTEXT("Spooler Context (impersonating) - using HKEY_CURRENT_USER"));
        return HKeyRegistry::Hkey_Current_User;
    }
    VLM_REPORT(DebugCategory::Registry, VTEXT("Spooler Context - using HKEY_LOCAL_MACHINE"));
    return HKeyRegistry::Hkey_Local_Machine;
}
