/// @file
/// A registry in memory.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/RegistryPort.h"
#include "support/FakeCalls.h"
#include "support/PortCalls.h"

namespace vlm::test {

using XString = std::basic_string<XCHAR>;

/// Keeps the registry port's contract in memory.  The script names keys by path from the root's own name:
/// "HKEY_LOCAL_MACHINE\\Software\\...", "HKEY_CURRENT_USER\\...", "HKEY_USERS\\...", "HKEY_CLASSES_ROOT\\...".
/// The current user's key is "HKEY_USERS\\S-1-5-21-0-0-0-1000"; HKEY_CLASSES_ROOT is a tree of its own.
/// A call on a handle that is not open fails the running test, unless told otherwise.
/// Threads: any.
class FakeRegistryPort final : public RegistryPort, public MisuseAlarm {
public:
    struct Value {
        DWORD dwType;
        std::vector<BYTE> vbyData;
    };

    FakeRegistryPort();
    ~FakeRegistryPort() override;

    // --- the script ---
    void AddKey(XStringView svPath);
    void AddValue(XStringView svPath, XStringView svName, DWORD dwType, std::vector<BYTE> vbyData);
    /// REG_SZ with its terminator; REG_DWORD.
    void AddText(XStringView svPath, XStringView svName, XStringView svText);
    void AddDword(XStringView svPath, XStringView svName, DWORD dwValue);
    std::optional<Value> ValueAt(XStringView svPath, XStringView svName) const;
    bool HasKey(XStringView svPath) const;
    /// Takes a key away with all below it; handles to it answer KeyDeleted.
    void RemoveKey(XStringView svPath);
    /// Opening (or creating below) this key for any of these rights answers AccessDenied from now on; 0 lifts it.
    void Deny(XStringView svPath, DWORD dwRights);
    /// Makes a link to a key; the script's own paths do not follow links.
    void AddLink(XStringView svPath, XStringView svTarget);
    /// The SID text that CreateRestricted gave the key; empty for a key made otherwise.
    XString ReaderOf(XStringView svPath) const;
    /// The one other machine that there is ("\\SERVER"); its registry is this one.
    void SetRemoteMachine(XStringView svMachine) { m_remote = svMachine; }
    std::size_t OpenHandles() const;
    /// The process is gone: handles vanish, the keys stay.
    void DropHandles();
    /// The system starts anew: handles and volatile keys vanish.
    void Restart();

    // --- the port ---
    Q9_REGISTRY_CALLS(Q9_DECLARE)

private:
    struct Key;
    using KeyPointer = std::shared_ptr<Key>;
    struct OpenKey {
        KeyPointer shpoKey;
        DWORD dwRights;
    };

    static std::optional<std::vector<XString>> Components(XStringView svPath, Status& reStatus);
    KeyPointer AtPath(XStringView svPath, bool fCreate) const;
    Status Resolve(HKEY hKey, DWORD dwRights, KeyPointer& rshpoKey);
    Status Walk(HKEY hParent, const XCHAR* pszSubKey, KeyPointer& rshpoKey, bool fOpenLink = false);
    static KeyPointer Target(KeyPointer shpoKey);
    static KeyPointer AddChild(const KeyPointer& rshpoParent, const XString& rName);
    Status DeleteBareKey(const KeyPointer& rshpoKey);
    Status MakeHandle(const KeyPointer& rshpoKey, DWORD dwRights, HKEY& rhKey);
    static void MarkDeleted(Key& rKey);
    static void DropVolatile(Key& rKey);

    mutable std::recursive_mutex m_oMutex;
    std::map<Root, KeyPointer> m_mapRoots;
    std::map<HKEY, OpenKey> m_mapOpen;
    std::uintptr_t m_uiLastHandle = 0x2000;
    XString m_remote;
};

}  // namespace vlm::test
