/// @file
/// The logical roots: what the system calls them, what stands in front of a sub-key, and who may reach them how.
#include <array>

#include "environment/PortMonitorImpl.h"
#include "environment/User.h"
#include "platform/RegistryPort.h"
#include "utilities/utilitiesdll/DriverLoadedContext.h"

namespace {

/// The system's numbers of the predefined keys.
enum class Predefined : DWORD {
    None = 0,
    ClassesRoot = 0x80000000,
    CurrentUser = 0x80000001,
    LocalMachine = 0x80000002,
    Users = 0x80000003,
    PerformanceData = 0x80000004,
    CurrentConfig = 0x80000005,
    DynData = 0x80000006,
    CurrentUserLocalSettings = 0x80000007,
    PerformanceText = 0x80000050,
    PerformanceNlstext = 0x80000060,
};

struct RootRow {
    Predefined eDirect;
    const XCHAR* pszBase;
};

constexpr const XCHAR* NO_BASE = VTEXT("");

/// One row for each root, in the order of their numbers.
constexpr std::array<RootRow, HKeyRegistry::Hkey_Last + 1> ROOTS = {{
    {Predefined::None, NO_BASE},
    {Predefined::LocalMachine, VTEXT("Software\\Velom\\PrinterDriver\\V5.0\\LowRightsStorage")},
    {Predefined::LocalMachine, VTEXT("Software\\Velom\\PrinterDriver\\V5.0\\LowRightsStorage")},
    {Predefined::LocalMachine, VTEXT("Software\\Velom")},
    {Predefined::LocalMachine, VTEXT("Software\\Velom\\PrinterDriver")},
    {Predefined::LocalMachine, VTEXT("Software\\Velom\\PrinterDriver\\V5.0")},
    {Predefined::CurrentUser, VTEXT("Software\\Velom")},
    {Predefined::CurrentUser, VTEXT("Software\\Velom\\PrinterDriver")},
    {Predefined::CurrentUser, VTEXT("Software\\Velom\\PrinterDriver\\V5.0")},
    {Predefined::CurrentUser, NO_BASE},
    {Predefined::ClassesRoot, NO_BASE},
    {Predefined::Users, NO_BASE},
    {Predefined::LocalMachine, NO_BASE},
    {Predefined::PerformanceData, NO_BASE},
    {Predefined::PerformanceText, NO_BASE},
    {Predefined::PerformanceNlstext, NO_BASE},
    {Predefined::CurrentConfig, NO_BASE},
    {Predefined::DynData, NO_BASE},
    {Predefined::CurrentUserLocalSettings, NO_BASE},
    {Predefined::None, NO_BASE},
    {Predefined::None, NO_BASE},
}};

bool IsUserRoot(_HKEYREGISTRY_ eRoot) noexcept {
    return eRoot >= HKeyRegistry::Hkey_User_Velom && eRoot <= HKeyRegistry::Hkey_Current_User;
}

bool IsFamilyMachineRoot(_HKEYREGISTRY_ eRoot) noexcept {
    return eRoot >= HKeyRegistry::Hkey_Low_Rights_Storage && eRoot <= HKeyRegistry::Hkey_Machine_Version;
}

CXString Join(const CXString& kcsLeft, const CXString& kcsRight) {
    if (kcsLeft.IsEmpty() || kcsRight.IsEmpty()) return kcsLeft + kcsRight;
    return kcsLeft + VTEXT("\\") + kcsRight;
}

/// The row of a root; the one without anything for a number that is no root.
const RootRow& RowOf(_HKEYREGISTRY_ eRoot) noexcept {
    return ROOTS[eRoot <= HKeyRegistry::Hkey_Last ? eRoot : HKeyRegistry::Hkey_None];
}

}  // namespace

HKEY VelomPortMonitor::GetRegHkeyFromContext(_HKEYREGISTRY_ hKey, bool fUsersTree) noexcept {
    // The enumeration has 16 bits on the wire, so any number may arrive here.
    VLM_ASSERT(HKeyRegistry::Hkey_First <= hKey && hKey <= HKeyRegistry::Hkey_Last, VTEXT("Invalid HKeyRegistry (%d)"),
               static_cast<int>(hKey));
    const Predefined eDirect = RowOf(hKey).eDirect;
    if (eDirect == Predefined::None) return nullptr;
    const Predefined eKey = fUsersTree && IsUserRoot(hKey) ? Predefined::Users : eDirect;
    return vlm::GetPlatform().pRegistry->RootKey(static_cast<vlm::RegistryPort::Root>(eKey));
}

bool VelomPortMonitor::IsXPMRegistryRequired(_HKEYREGISTRY_ eRoot) noexcept {
    if (DriverLoadedContext::Get() == DriverLoadedContext::DLC_SPOOLER) return false;
    if (IsFamilyMachineRoot(eRoot)) return !User::IsAdministrator();
    return IsUserRoot(eRoot) && eRoot != HKeyRegistry::Hkey_Current_User && User::HasLowIntegrity();
}

bool VelomPortMonitor::IsSIDRequired(_HKEYREGISTRY_ eRoot, bool fUsersTree) noexcept {
    return eRoot == HKeyRegistry::Hkey_Low_Rights_Storage_User || (fUsersTree && IsUserRoot(eRoot));
}

bool VelomPortMonitor::IsHKeyInvalidValid(HKEY hKey) noexcept {
    return !IS_VALID_HANDLE(hKey);
}

bool VelomPortMonitor::AreAdminRightsRequired(_HKEYREGISTRY_ eRoot) noexcept {
    switch (RowOf(eRoot).eDirect) {
        case Predefined::None:
        case Predefined::CurrentUser:
        case Predefined::CurrentUserLocalSettings:
            return false;
        default:
            return true;
    }
}

CXString VelomPortMonitor::GetKeyPathFromHkey(_HKEYREGISTRY_ eRoot, bool fUsersTree, const CXString& kcsComponent) {
    const CXString csBase(RowOf(eRoot).pszBase);
    if (eRoot == HKeyRegistry::Hkey_Low_Rights_Storage_User) return Join(csBase, kcsComponent);
    return fUsersTree && IsUserRoot(eRoot) ? Join(kcsComponent, csBase) : csBase;
}

CXString VelomPortMonitor::MakePath(const CXString& kcsBase, const CXString& kcsSubKey) {
    return kcsSubKey.FindNoCase(kcsBase) >= 0 ? kcsSubKey : Join(kcsBase, kcsSubKey);
}
