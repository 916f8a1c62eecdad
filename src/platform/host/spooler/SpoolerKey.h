/// @file
/// Keys of the registry as the embedded spooler reads and writes them.
#pragma once

#include <vector>

#include "platform/host/spooler/SpoolerGround.h"

namespace vlm::host {

/// Places of the system's spooler, below HKEY_LOCAL_MACHINE unless said otherwise.
inline constexpr const XCHAR* MONITORS_PATH = VTEXT("System\\CurrentControlSet\\Control\\Print\\Monitors");
inline constexpr const XCHAR* QUEUES_PATH = VTEXT("System\\CurrentControlSet\\Control\\Print\\Printers");
inline constexpr const XCHAR* SERVERS_PATH =
    VTEXT("System\\CurrentControlSet\\Control\\Print\\Providers\\LanMan Print Services\\Servers");
inline constexpr const XCHAR* DRIVERS_PATH =
    VTEXT("System\\CurrentControlSet\\Control\\Print\\Environments\\Windows x64\\Drivers\\Version-3");
inline constexpr const XCHAR* PROCESSORS_PATH =
    VTEXT("System\\CurrentControlSet\\Control\\Print\\Environments\\Windows x64\\Print Processors");
inline constexpr const XCHAR* LOCAL_PORTS_PATH = VTEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Ports");
/// Below the user's own key.
inline constexpr const XCHAR* CONNECTIONS_PATH = VTEXT("Printers\\Connections");
inline constexpr const XCHAR* USER_MODES_PATH = VTEXT("Printers\\DevModePerUser");
inline constexpr const XCHAR* DEFAULT_QUEUE_PATH = VTEXT("Software\\Microsoft\\Windows NT\\CurrentVersion\\Windows");

/// An open key, closed with the object.
/// Failure: throws SpoolerFailure with the registry's status, and std::bad_alloc.
class SpoolerKey {
public:
    enum class Hive { Machine, User };

    explicit SpoolerKey(SpoolerGround& rGround) noexcept : m_rRegistry(rGround.Registry()) {}
    ~SpoolerKey();
    SpoolerKey(const SpoolerKey&) = delete;
    SpoolerKey& operator=(const SpoolerKey&) = delete;

    /// @return false when there is no such key.
    bool Open(const XText& rPath, DWORD dwRights = RegistryPort::RIGHTS_READ, Hive eHive = Hive::Machine);
    /// @return whether it was made.
    bool Create(const XText& rPath, Hive eHive = Hive::Machine);

    /// @return false when there is no such value.
    bool Value(const XCHAR* pszName, DWORD& rdwType, std::vector<BYTE>& rvbyData);
    bool Has(const XCHAR* pszName);
    /// Empty when there is none; cut at its terminator.
    XText Text(const XCHAR* pszName);
    /// The bytes of a list of texts, with its ends; empty when there is none.
    XText TextList(const XCHAR* pszName);
    DWORD Number(const XCHAR* pszName, DWORD dwDefault = 0);
    void Set(const XCHAR* pszName, DWORD dwType, const void* pData, std::size_t cbData);
    void SetText(const XCHAR* pszName, const XText& rText);
    void SetNumber(const XCHAR* pszName, DWORD dwNumber);
    /// @return false when there was none.
    bool DeleteValue(const XCHAR* pszName);

    std::vector<XText> KeyNames();
    std::vector<XText> ValueNames();

private:
    HKEY Root(Hive eHive);

    RegistryPort& m_rRegistry;
    HKEY m_hUser = nullptr;
    HKEY m_hKey = nullptr;
};

/// One component of a path, as names of queues, drivers, monitors and ports are.
bool IsComponent(XStringView svName) noexcept;

/// Deletes a key with all below it.  @return false when there is none.
bool DeleteTree(SpoolerGround& rGround, const XText& rPath);

}  // namespace vlm::host
