/// @file
/// Finds and deletes what the family keeps for printers.
#include "environment/detail/product/PrinterKeys.h"

#include <algorithm>
#include <memory>

#include "environment/MappingData.h"
#include "environment/PortMonitorRequestRules.h"
#include "environment/User.h"
#include "environment/detail/product/ColorProfiles.h"
#include "environment/detail/product/FolderTree.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/utilitiesdll/DriverVersion.h"
#include "utilities/utilitiesdll/LowRightsStorage.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace vlm::printerkeys {

namespace {

constexpr const XCHAR* VERSION_KEY = VTEXT("Software\\Velom\\PrinterDriver\\V5.0");
constexpr const XCHAR *LOW = VTEXT("Low"), *PRIVATE_CONFIGURATION = VTEXT("PrivateConfiguration");
constexpr const XCHAR *PRINTER_PORTS = VTEXT("PrinterPorts"), *MERGED_DMS = VTEXT("MergedDms");
constexpr XStringView CLIENT_SIDE = VTEXT("//CSR|"), CACHE = VTEXT(".cache");
constexpr const XCHAR* RESERVED[] = {LOW,
                                     PRINTER_PORTS,
                                     MERGED_DMS,
                                     PRIVATE_CONFIGURATION,
                                     VTEXT("LowRightsStorage"),
                                     MappingData::FAMILIES_KEY,
                                     ColorProfiles::KEY};

bool IsReserved(const CXString& kcsName) noexcept {
    return std::any_of(std::begin(RESERVED), std::end(RESERVED),
                       [&](const XCHAR* psz) { return kcsName.CompareNoCase(psz) == 0; });
}

std::unique_ptr<RegistryKey> Open(_HKEYREGISTRY_ eHive, const CXString& kcsPath, DWORD dwAccess) noexcept {
    return RegistryKey::TryOpenRegistryKey(eHive, kcsPath, dwAccess, RegistryKey::DIRECT);
}

void DeleteSubKeys(RegistryKey& rKey, const CXString& kcsPath, const IsOrphan& rIsOrphan) {
    std::vector<CXString> vcsNames;
    if (!rKey.EnumKeyNames(vcsNames)) return;
    for (const CXString& rcsName : vcsNames) {
        if (IsReserved(rcsName) || !rIsOrphan(QueueOf(rcsName))) continue;
        const bool fDeleted = rKey.DeleteKeyAndSubkeys(rcsName);
        VLM_REPORT(DebugCategory::Registry, VTEXT("The orphaned key '%s\\%s' is %sdeleted."), kcsPath, rcsName,
                   fDeleted ? VTEXT("") : VTEXT("not "));
    }
}

void DeleteValues(const Place& rPlace, const XCHAR* pszList, const IsOrphan& rIsOrphan) {
    const auto apoKey = Open(rPlace.eHive, rPlace.csPath + VTEXT("\\") + pszList, RegistryKey::READ_WRITE_ACCESS);
    std::vector<CXString> vcsNames;
    if (!apoKey || !apoKey->EnumValueNames(vcsNames)) return;
    for (const CXString& rcsName : vcsNames) {
        if (!rcsName.IsEmpty() && rIsOrphan(QueueOf(rcsName))) apoKey->DeleteValue(rcsName);
    }
}

}  // namespace

CXString QueueOf(CXString csName) {
    if (csName.View().starts_with(CLIENT_SIDE)) csName.Delete(0, static_cast<int>(CLIENT_SIDE.size()));
    if (folders::HasExtension(csName, CACHE)) csName = csName.Left(csName.GetLength() - static_cast<int>(CACHE.size()));
    csName.Replace(VTEXT('\\'), VTEXT(','));
    return csName.MakeLower();
}

bool UserSids(std::vector<CXString>& rvcsSids) {
    rvcsSids.clear();
    const auto apoUsers = Open(HKeyRegistry::Hkey_Users, CXString(), RegistryKey::READ_ACCESS);
    if (!apoUsers || !apoUsers->EnumKeyNames(rvcsSids)) return false;
    std::erase_if(rvcsSids, [](const CXString& kcsName) {
        return kcsName.CompareNoCase(LowRightsStorage::DEFAULT_USER) == 0 || !IsRegularSid(kcsName);
    });
    return true;
}

std::vector<Place> Places(Whose eWhose) {
    std::vector<Place> vPlaces;
    std::vector<CXString> vcsSids;
    const CXString csOwn = User::GetCurrentUserSID();
    UserSids(vcsSids);  // what cannot be opened is left
    for (const CXString& rcsSid : vcsSids) {
        if (eWhose == Whose::CurrentUser && rcsSid != csOwn) continue;
        vPlaces.push_back({HKeyRegistry::Hkey_Users, rcsSid + VTEXT("\\") + VERSION_KEY, rcsSid, VTEXT("HKU")});
    }
    if (eWhose == Whose::CurrentUser) return vPlaces;
    vPlaces.push_back({HKeyRegistry::Hkey_Local_Machine, VERSION_KEY, {}, VTEXT("HKLM")});
    const CXString csDefault(LowRightsStorage::DEFAULT_USER);
    vPlaces.push_back(
        {HKeyRegistry::Hkey_Users, csDefault + VTEXT("\\") + VERSION_KEY, csDefault, VTEXT("HKCU\\.default")});
    const XCHAR* const pszTerminalServer =
        VTEXT("HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Terminal Server\\Install");
    const CXString csInstall = CXString(pszTerminalServer).Mid(CXString(VTEXT("HKLM\\")).GetLength());
    vPlaces.push_back({HKeyRegistry::Hkey_Local_Machine, csInstall + VTEXT("\\") + VERSION_KEY, {}, pszTerminalServer});
    return vPlaces;
}

void DeleteKeys(const Place& rPlace, const IsOrphan& rIsOrphan) {
    VLM_REPORT(DebugCategory::Registry, VTEXT("Looking for keys of orphans in %s"), rPlace.pszName);
    if (const auto apoKey = Open(rPlace.eHive, rPlace.csPath, RegistryKey::FULL_ACCESS)) {
        DeleteSubKeys(*apoKey, rPlace.csPath, rIsOrphan);
    }
    DeleteValues(rPlace, PRINTER_PORTS, rIsOrphan);
    DeleteValues(rPlace, MERGED_DMS, rIsOrphan);
}

void DeleteLowKeys(const Place& rPlace, const IsOrphan& rIsOrphan) {
    const CXString csPath = rPlace.csPath + VTEXT("\\") + LOW;
    if (const auto apoKey = Open(rPlace.eHive, csPath, RegistryKey::FULL_ACCESS)) {
        DeleteSubKeys(*apoKey, csPath, rIsOrphan);
    }
}

void DeleteOldPrivateConfiguration(const Place& rPlace) {
    const CXString csFamily = folders::ParentOf(rPlace.csPath);
    std::vector<CXString> vcsNames;
    const auto apoFamily = Open(rPlace.eHive, csFamily, RegistryKey::READ_ACCESS);
    if (!apoFamily || !apoFamily->EnumKeyNames(vcsNames)) return;
    for (const CXString& rcsName : vcsNames) {
        DriverVersion oVersion;
        const bool fOld = rcsName.GetAt(0) == 'V' && DriverVersion::TryParse(rcsName.Mid(1), oVersion) &&
                          oVersion < DriverVersion(5, 0, 0, 0);
        if (!fOld) continue;
        const auto apoOld = Open(rPlace.eHive, csFamily + VTEXT("\\") + rcsName, RegistryKey::FULL_ACCESS);
        if (apoOld) apoOld->DeleteKeyAndSubkeys(PRIVATE_CONFIGURATION);
    }
}

void DeleteLowRightsStorage(const IsOrphan& rIsOrphan) {
    std::vector<CXString> vcsSids;
    const CXString csBase = LowRightsStorage::GetBasePath();
    const auto apoBase = Open(HKeyRegistry::Hkey_Local_Machine, csBase, RegistryKey::READ_ACCESS);
    if (!apoBase || !apoBase->EnumKeyNames(vcsSids)) return;
    for (const CXString& rcsSid : vcsSids) {
        const CXString csPath = LowRightsStorage::GetPathOfUser(rcsSid);
        if (csPath.IsEmpty()) continue;  // not a user's part
        const auto apoUser = Open(HKeyRegistry::Hkey_Local_Machine, csPath, RegistryKey::FULL_ACCESS);
        if (!apoUser) continue;
        // Only what is named as a printer's: users keep other things here, too.
        std::vector<CXString> vcsNames;
        if (!apoUser->EnumKeyNames(vcsNames)) continue;
        for (const CXString& rcsName : vcsNames) {
            if (folders::HasExtension(rcsName, CACHE) && rIsOrphan(QueueOf(rcsName))) {
                apoUser->DeleteKeyAndSubkeys(rcsName);
            }
        }
    }
}

void DeleteFiles(const CXString& kcsFolder, XStringView extension, const IsOrphan& rIsOrphan) {
    std::vector<folders::Item> voItems;
    if (folders::KindOf(kcsFolder) != folders::Kind::Folder) return;
    if (folders::List(kcsFolder, voItems) != Status::Success) return;
    for (const folders::Item& rItem : voItems) {
        if (!folders::HasExtension(rItem.csName, extension)) continue;
        const CXString csQueue =
            QueueOf(rItem.csName.Left(rItem.csName.GetLength() - static_cast<int>(extension.size())));
        if (!rIsOrphan(csQueue)) continue;
        const Status status = rItem.IsFolder() ? folders::DeleteTree(folders::Join(kcsFolder, rItem.csName))
                                               : folders::DeleteItem(kcsFolder, rItem);
        if (status == Status::Success) continue;
        VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("The orphaned file '%s\\%s' is not deleted! %s"), kcsFolder,
                         rItem.csName, TextOfStatus(status));
    }
}

}  // namespace vlm::printerkeys
