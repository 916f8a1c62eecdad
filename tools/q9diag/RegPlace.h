/// @file
/// A key as the commands name it: a hive, a path, and how to get there.
#pragma once

#include <memory>
#include <string>

#include "CommandLine.h"
#include "JsonText.h"
#include "utilities/registry/RegistryKey.h"

namespace vlm::tool {

struct RegPlace {
    std::string strHive;
    std::string strPath;
    bool bDirect = false;
    bool bUsersTree = false;

    /// The arguments HIVE and PATH, and the options.
    void Describe(Command& rCommand);
    /// @throws UsageError for a hive that is none.
    _HKEYREGISTRY_ Hive() const;
    CXString Path() const;
    /// For a command that names another one.
    RegPlace At(const std::string& strOtherHive, const std::string& strOtherPath) const;

    RegistryKey Key() const { return RegistryKey(Hive(), Path(), bDirect, bUsersTree); }
    /// Opens the key.  @return false when there is no such key.  @throws ExceptionRegistryRequest otherwise.
    static bool Open(RegistryKey& rKey, DWORD dwAccess);
    /// As Open, for commands that need the key.
    static void Require(RegistryKey& rKey, DWORD dwAccess) { rKey.OpenRegistryKey(dwAccess); }
    /// The beginning of a document about this key.
    Json Document() const;
};

}  // namespace vlm::tool
