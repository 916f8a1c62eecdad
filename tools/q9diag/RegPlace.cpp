// A key as the commands name it: a hive, a path, and how to get there.
#include "RegPlace.h"

#include "Failure.h"
#include "Text.h"
#include "utilities/registry/RegistryHives.h"

namespace vlm::tool {

void RegPlace::Describe(Command& rCommand) {
    rCommand.Argument("HIVE", strHive, "Number (0 to 20) or name of a logical hive: reg hives lists them")
        .Argument("PATH", strPath, "The key below the hive, its parts separated by \\; \"\" is the hive's base itself")
        .Flag("--direct", bDirect, "Never through the port monitor")
        .Flag("--users", bUsersTree, "Hives 6 to 9 through HKEY_USERS and the user's SID");
}

_HKEYREGISTRY_ RegPlace::Hive() const {
    _HKEYREGISTRY_ eHive = HKeyRegistry::Hkey_None;
    if (!RegistryHives::TryParse(FromUtf8(strHive, "hive"), eHive))
        throw UsageError("HIVE: " + Printable(std::string_view(strHive)) + " is no hive; reg hives lists them");
    return eHive;
}

CXString RegPlace::Path() const {
    return CXString(XStringView(FromUtf8(strPath, "path")));
}

RegPlace RegPlace::At(const std::string& strOtherHive, const std::string& strOtherPath) const {
    return {strOtherHive, strOtherPath, bDirect, bUsersTree};
}

bool RegPlace::Open(RegistryKey& rKey, DWORD dwAccess) {
    if (rKey.OpenRegistryKey(dwAccess, RegistryKey::NO_THROW)) return true;
    if (rKey.GetLastStatus() == ToDword(Status::FileNotFound)) return false;
    return rKey.OpenRegistryKey(dwAccess);  // throws what was wrong
}

Json RegPlace::Document() const {
    const _HKEYREGISTRY_ eHive = Hive();
    return {{"hive", static_cast<int>(eHive)},
            {"hiveName", JsonString(RegistryHives::GetName(eHive))},
            {"path", JsonString(Path().View())}};
}

}  // namespace vlm::tool
