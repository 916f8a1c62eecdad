/// @file
/// A layer over a registry that tells a watcher, before each call, which key it is about.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "platform/RegistryPort.h"

namespace vlm::test {

/// Keeps the paths of the keys that were opened through it, in lower case from the root's name: "hklm\\software\\...",
/// "hku\\s-1-...".  A path is the one that was asked for: where a link was followed, it is the link's.
/// Threads: one.
class WatchedRegistry final : public RegistryPort {
public:
    enum class Access { Open, Create, Read, Write, Delete };
    /// @param pszValue the value's name, for access to one value.
    using Watcher = std::function<void(Access eAccess, const std::string& rPath, const XCHAR* pszValue)>;

    explicit WatchedRegistry(RegistryPort& rBelow) : m_rBelow(rBelow) {}
    void SetWatcher(Watcher fnWatcher) { m_fnWatcher = std::move(fnWatcher); }

    HKEY RootKey(Root eRoot) noexcept override { return m_rBelow.RootKey(eRoot); }
    Status Open(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey) noexcept override {
        Tell(Access::Open, Below(hParent, pszSubKey));
        return Keep(m_rBelow.Open(hParent, pszSubKey, dwRights, rhKey), rhKey, Below(hParent, pszSubKey));
    }
    Status Create(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, bool fVolatile, HKEY& rhKey,
                  bool& rfCreated) noexcept override {
        Tell(Access::Create, Below(hParent, pszSubKey));
        return Keep(m_rBelow.Create(hParent, pszSubKey, dwRights, fVolatile, rhKey, rfCreated), rhKey,
                    Below(hParent, pszSubKey));
    }
    Status CreateRestricted(HKEY hParent, const XCHAR* pszName, DWORD dwRights, const XCHAR* pszReaderSid, HKEY& rhKey,
                            bool& rfCreated) noexcept override {
        Tell(Access::Create, Below(hParent, pszName));
        return Keep(m_rBelow.CreateRestricted(hParent, pszName, dwRights, pszReaderSid, rhKey, rfCreated), rhKey,
                    Below(hParent, pszName));
    }
    Status OpenLink(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey, bool& rfLink) noexcept override {
        Tell(Access::Open, Below(hParent, pszSubKey));
        return Keep(m_rBelow.OpenLink(hParent, pszSubKey, dwRights, rhKey, rfLink), rhKey, Below(hParent, pszSubKey));
    }
    Status CreateLink(HKEY hParent, const XCHAR* pszName, HKEY hTarget) noexcept override {
        Tell(Access::Create, Below(hParent, pszName));
        return m_rBelow.CreateLink(hParent, pszName, hTarget);
    }
    Status Close(HKEY hKey) noexcept override {
        m_mapPaths.erase(hKey);
        return m_rBelow.Close(hKey);
    }
    Status QueryValue(HKEY hKey, const XCHAR* pszName, DWORD& rdwType, void* pTarget,
                      DWORD& rcbData) noexcept override {
        Tell(Access::Read, PathOf(hKey), pszName);
        return m_rBelow.QueryValue(hKey, pszName, rdwType, pTarget, rcbData);
    }
    Status QueryMultipleValues(HKEY hKey, ValueQuery* pQueries, DWORD cQueries, void* pTarget,
                               DWORD& rcbData) noexcept override {
        for (DWORD i = 0; i < cQueries; ++i)
            Tell(Access::Read, PathOf(hKey), pQueries[i].pszName);
        return m_rBelow.QueryMultipleValues(hKey, pQueries, cQueries, pTarget, rcbData);
    }
    Status SetValue(HKEY hKey, const XCHAR* pszName, DWORD dwType, const void* pData, DWORD cbData) noexcept override {
        Tell(Access::Write, PathOf(hKey), pszName);
        return m_rBelow.SetValue(hKey, pszName, dwType, pData, cbData);
    }
    Status DeleteValue(HKEY hKey, const XCHAR* pszName) noexcept override {
        Tell(Access::Write, PathOf(hKey), pszName);
        return m_rBelow.DeleteValue(hKey, pszName);
    }
    Status DeleteKey(HKEY hParent, const XCHAR* pszSubKey) noexcept override {
        Tell(Access::Delete, Below(hParent, pszSubKey));
        return m_rBelow.DeleteKey(hParent, pszSubKey);
    }
    Status DeleteOpenKey(HKEY hKey) noexcept override {
        Tell(Access::Delete, PathOf(hKey));
        return m_rBelow.DeleteOpenKey(hKey);
    }
    Status EnumerateKey(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept override {
        Tell(Access::Read, PathOf(hKey));
        return m_rBelow.EnumerateKey(hKey, dwIndex, pszName, rcName);
    }
    Status EnumerateValue(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName, DWORD& rdwType, void* pTarget,
                          DWORD& rcbData) noexcept override {
        Tell(Access::Read, PathOf(hKey));
        return m_rBelow.EnumerateValue(hKey, dwIndex, pszName, rcName, rdwType, pTarget, rcbData);
    }
    Status QueryInfo(HKEY hKey, KeyInfo& rInfo) noexcept override {
        Tell(Access::Read, PathOf(hKey));
        return m_rBelow.QueryInfo(hKey, rInfo);
    }
    Status OpenCurrentUser(DWORD dwRights, HKEY& rhKey) noexcept override {
        Tell(Access::Open, "hkcu");
        return Keep(m_rBelow.OpenCurrentUser(dwRights, rhKey), rhKey, "hkcu");
    }
    Status ConnectRemote(const XCHAR* pszMachine, HKEY& rhKey) noexcept override {
        return Keep(m_rBelow.ConnectRemote(pszMachine, rhKey), rhKey, "remote");
    }

private:
    std::string PathOf(HKEY hKey) {
        if (hKey == m_rBelow.RootKey(Root::LocalMachine)) return "hklm";
        if (hKey == m_rBelow.RootKey(Root::Users)) return "hku";
        const auto it = m_mapPaths.find(hKey);
        return it != m_mapPaths.end() ? it->second : "unknown";
    }
    std::string Below(HKEY hParent, const XCHAR* pszSubKey) {
        std::string path = PathOf(hParent);
        if (pszSubKey == nullptr || *pszSubKey == 0) return path;
        path += '\\';
        for (; *pszSubKey != 0; ++pszSubKey) {
            const bool fUpper = *pszSubKey >= VTEXT('A') && *pszSubKey <= VTEXT('Z');
            path += *pszSubKey < 0x80 ? static_cast<char>(fUpper ? *pszSubKey + 32 : *pszSubKey) : '?';
        }
        return path;
    }
    /// The key by reference: the call that opens it is an argument, too, and may be evaluated last.
    Status Keep(Status eStatus, const HKEY& rhKey, const std::string& rPath) {
        if (eStatus == Status::Success) m_mapPaths[rhKey] = rPath;
        return eStatus;
    }
    void Tell(Access eAccess, const std::string& rPath, const XCHAR* pszValue = nullptr) {
        if (m_fnWatcher) m_fnWatcher(eAccess, rPath, pszValue);
    }

    RegistryPort& m_rBelow;
    std::map<HKEY, std::string> m_mapPaths;
    Watcher m_fnWatcher;
};

}  // namespace vlm::test
