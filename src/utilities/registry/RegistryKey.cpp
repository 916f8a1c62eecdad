/// @file
/// What a registry key is and where: construction, initialisation, opening and closing.
#include "utilities/registry/RegistryKey.h"

#include <utility>

#include "environment/PortMonitor.h"
#include "environment/User.h"
#include "platform/RegistryHandleImpl.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/detail/RegistryStatus.h"

using vlm::Registry;
using vlm::RegistryStatusInWords;
using vlm::Status;
using vlm::ToDword;

namespace {

constexpr DWORD CHANGING_RIGHTS = 0xFFFFFFFF & ~(RegistryKey::READ_ACCESS | 0x02000000 | 0x80000000);

bool IsUserHive(_HKEYREGISTRY_ eHive) noexcept {
    return eHive >= HKeyRegistry::Hkey_User_Velom && eHive <= HKeyRegistry::Hkey_Current_User;
}

}  // namespace

static_assert(RegistryKey::READ_ACCESS == vlm::RegistryPort::RIGHTS_READ &&
              RegistryKey::WRITE_ACCESS == vlm::RegistryPort::RIGHTS_WRITE &&
              RegistryKey::READ_WRITE_ACCESS == vlm::RegistryPort::RIGHTS_READ_WRITE &&
              RegistryKey::FULL_ACCESS == vlm::RegistryPort::RIGHTS_ALL);

_HKEYREGISTRY_ RegistryKey::CheckHive(_HKEYREGISTRY_ hKey) {
    if (hKey > HKeyRegistry::Hkey_Last) {
        VLM_THROW(ExceptionRegistryRequest, VTEXT("Invalid HKeyRegistry (%d)"), static_cast<int>(hKey));
    }
    VLM_ASSERT_IN(DebugCategory::Errors | DebugCategory::Registry, hKey != HKeyRegistry::Hkey_Port_Monitor_Key,
                  VTEXT("HKeyRegistry::Hkey_Port_Monitor_Key is not allowed on this call because we haven't properly "
                        "initialized the RegistryKey object yet!"));
    return hKey != HKeyRegistry::Hkey_Port_Monitor_Key ? hKey : HKeyRegistry::Hkey_None;
}

RegistryKey::RegistryKey(_HKEYREGISTRY_ eHive, bool fDirect, bool fUsersTree)
    : RegistryKey(eHive, CXString(), fDirect, fUsersTree) {}

RegistryKey::RegistryKey(_HKEYREGISTRY_ eHive, HKEY hKey, bool fDirect, bool fUsersTree)
    : RegistryKey(eHive, CXString(), fDirect, fUsersTree) {
    m_hKey = hKey;
}

RegistryKey::RegistryKey(_HKEYREGISTRY_ eHive, const CXString& kcsSubKey, bool fDirect, bool fUsersTree)
    : m_eHive(CheckHive(eHive)),
      m_eGivenHive(m_eHive),
      m_csSubKey(kcsSubKey),
      m_fDirect(fDirect),
      m_fUsersTree(fUsersTree) {}

RegistryKey::RegistryKey(RegistryKey& rOther)
    : m_eHive(rOther.m_eHive),
      m_eGivenHive(rOther.m_eGivenHive),
      m_csSid(rOther.m_csSid),
      m_csSubKey(rOther.m_csSubKey),
      m_dwAccess(rOther.m_dwAccess),
      m_fDirect(rOther.m_fDirect),
      m_fUsersTree(rOther.m_fUsersTree) {
    TakeFrom(rOther);
}

RegistryKey& RegistryKey::operator=(RegistryKey& rOther) {
    if (this == &rOther) return *this;
    CXString csSid = rOther.m_csSid;
    CXString csSubKey = rOther.m_csSubKey;
    CloseEverything();
    m_eHive = rOther.m_eHive;
    m_eGivenHive = rOther.m_eGivenHive;
    m_csSid.swap(csSid);
    m_csSubKey.swap(csSubKey);
    m_dwAccess = rOther.m_dwAccess;
    m_fDirect = rOther.m_fDirect;
    m_fUsersTree = rOther.m_fUsersTree;
    TakeFrom(rOther);
    return *this;
}

void RegistryKey::TakeFrom(RegistryKey& rOther) noexcept {
    m_fForward = rOther.m_fForward;
    m_fCreated = rOther.m_fCreated;
    m_fReadOnly = rOther.m_fReadOnly;
    m_dwLastStatus = rOther.m_dwLastStatus;
    m_fInitialized = std::exchange(rOther.m_fInitialized, false);
    m_hKey = std::exchange(rOther.m_hKey, nullptr);
    m_hRegKeyCurrentUserLoaded = std::exchange(rOther.m_hRegKeyCurrentUserLoaded, nullptr);
    m_apoPortMonitor = std::move(rOther.m_apoPortMonitor);
    // The source decides anew when it is opened again.
    rOther.m_fForward = false;
    rOther.m_eHive = rOther.m_eGivenHive;
}

RegistryKey::~RegistryKey() {
    CloseEverything();
}

void RegistryKey::CloseRegistryKey() noexcept {
    HKEY hKey = std::exchange(m_hKey, nullptr);
    if (!hKey) return;
    // The monitor's number must never reach the registry, which may take it for one of its own.
    if (m_fForward) {
        if (m_apoPortMonitor) m_apoPortMonitor->CloseKey(hKey);
        return;
    }
    const LONG lResult = static_cast<LONG>(ToDword(Registry().Close(hKey)));
    VLM_ASSERT_IN(DebugCategory::Errors | DebugCategory::Registry, (0L == lResult),
                  VTEXT("RegCloseKey() failed with lResult=%ld. %s"), lResult,
                  RegistryStatusInWords(static_cast<DWORD>(lResult)));
}

void RegistryKey::CloseEverything() noexcept {
    CloseRegistryKey();
    if (HKEY hUser = std::exchange(m_hRegKeyCurrentUserLoaded, nullptr)) {
        const LONG lResult = static_cast<LONG>(ToDword(Registry().Close(hUser)));
        VLM_ASSERT_IN(DebugCategory::Errors | DebugCategory::Registry, (0L == lResult),
                      VTEXT("RegCloseKey(m_hRegKeyCurrentUserLoaded) failed with lResult=%ld. %s"), lResult,
                      RegistryStatusInWords(static_cast<DWORD>(lResult)));
    }
    m_apoPortMonitor.reset();
}

void RegistryKey::InitializeRegistryKey() {
    if (m_fInitialized) return;
    // A key that is open already is the registry's own.
    const bool fMayForward = m_eHive < HKeyRegistry::Hkey_Classes_Root && !m_fCreated && !m_fDirect && !m_hKey;
    // The channel stays closed without a monitor, and while the library is being loaded: the key is then a direct one.
    if (fMayForward && VelomPortMonitor::IsXPMRegistryRequired(m_eHive)) {
        auto apoPortMonitor = vlm::TranslateOutOfMemory([] { return std::make_unique<VelomPortMonitor>(true); });
        m_fForward = apoPortMonitor->IsChannelOpen();
        if (m_fForward) m_apoPortMonitor = std::move(apoPortMonitor);
    }
    const bool fUsersTree = m_fUsersTree || (m_fForward && IsUserHive(m_eHive));
    VelomPortMonitor::GetUserSIDIfNeeded(m_eHive, fUsersTree, m_csSid);
    m_fInitialized = true;
    OpenImpersonatedUser();
}

void RegistryKey::OpenImpersonatedUser() noexcept {
    const bool fAsked = m_eHive == HKeyRegistry::Hkey_Impersonated_User;
    if (!fAsked && (!IsUserHive(m_eHive) || m_fUsersTree || m_fForward || !User::IsImpersonating())) return;
    const Status eStatus = Registry().OpenCurrentUser(vlm::RegistryPort::MAXIMUM_RIGHTS, m_hRegKeyCurrentUserLoaded);
    if (eStatus == Status::Success) {
        m_eHive = HKeyRegistry::Hkey_Impersonated_User;
        return;
    }
    m_hRegKeyCurrentUserLoaded = nullptr;
    // Who asked for that hive by its own name must not end up in another one.
    if (fAsked) return;
    VLM_REPORT(DebugCategory::Registry,
               VTEXT("RegOpenCurrentUser(MAXIMUM_ALLOWED...) failed...falling back to HKEY_CURRENT_USER. %s"),
               RegistryStatusInWords(ToDword(eStatus)));
}

HKEY RegistryKey::GetRoot() const noexcept {
    if (m_eHive == HKeyRegistry::Hkey_Impersonated_User) return m_hRegKeyCurrentUserLoaded;
    return VelomPortMonitor::GetRegHkeyFromContext(m_eHive, m_fUsersTree);
}

CXString RegistryKey::GetFullPath() const {
    const CXString csBase = VelomPortMonitor::GetKeyPathFromHkey(m_eGivenHive, OWN_TREE, m_csSid);
    CXString csPath = VelomPortMonitor::MakePath(csBase, m_csSubKey);
    if (m_fUsersTree && IsUserHive(m_eHive)) {
        csPath = csPath.IsEmpty() ? m_csSid : m_csSid + VTEXT("\\") + csPath;
    }
    return csPath;
}

DWORD RegistryKey::CheckPlace() const noexcept {
    if (m_fForward) return 0;
    if (!GetRoot()) return ToDword(Status::InvalidHandle);
    // Without the SID the path would lie directly below the users' root, or in everybody's storage.
    const bool fSidNeeded = VelomPortMonitor::IsSIDRequired(m_eGivenHive, m_fUsersTree);
    return fSidNeeded && m_csSid.IsEmpty() ? ToDword(Status::NoneMapped) : 0;
}

void RegistryKey::PrepareToOpen(const CXString& kcsSubKey, DWORD dwAccess) {
    CloseRegistryKey();
    InitializeRegistryKey();
    m_csSubKey = kcsSubKey;
    m_dwAccess = dwAccess;
    m_fReadOnly = (dwAccess & CHANGING_RIGHTS) == 0 && (dwAccess & 0x02000000) == 0;
    m_fCreated = false;
}

bool RegistryKey::OpenRegistryKey(DWORD dwAccess, bool fNoThrow) {
    return OpenRegistryKey(m_csSubKey, dwAccess, fNoThrow);
}

bool RegistryKey::OpenRegistryKey(const CXString& kcsSubKey, DWORD dwAccess, bool fNoThrow) {
    PrepareToOpen(kcsSubKey, dwAccess);
    const CXString csPath = GetFullPath();
    VLM_REPORT(DebugCategory::Registry, VTEXT("Calling RegOpenKeyEx('%s')"), csPath);
    if (m_fForward) {
        NoteForwarded(m_apoPortMonitor->OpenKey(m_eHive, m_csSubKey, dwAccess, m_hKey, m_csSid));
    } else if (Note(CheckPlace())) {
        Note(ToDword(Registry().Open(GetRoot(), csPath, dwAccess, m_hKey)));
    }
    if (m_dwLastStatus == 0) return true;
    m_hKey = nullptr;
    const CXString csFailure =
        CXString::FormatString(VTEXT("Failed to open registry key. Code is %ld (0x%lx) %s"), m_dwLastStatus,
                               m_dwLastStatus, RegistryStatusInWords(m_dwLastStatus));
    if (!fNoThrow) VLM_THROW(ExceptionRegistryRequest, VTEXT("%s"), csFailure);
    VLM_REPORT(DebugCategory::Registry, VTEXT("%s"), csFailure);
    return false;
}

std::unique_ptr<RegistryKey> RegistryKey::TryOpenRegistryKey(_HKEYREGISTRY_ eHive, const CXString& kcsSubKey,
                                                             DWORD dwAccess, bool fDirect, bool fUsersTree) noexcept {
    std::unique_ptr<RegistryKey> apoResult;
    vlm::NoThrow([&] {
        auto apoKey = std::make_unique<RegistryKey>(eHive, kcsSubKey, fDirect, fUsersTree);
        if (apoKey->OpenRegistryKey(dwAccess, NO_THROW)) apoResult = std::move(apoKey);
    });
    return apoResult;
}

void RegistryKey::CreateRegistryKey(const CXString& kcsSubKey, DWORD dwAccess) {
    PrepareToOpen(kcsSubKey, dwAccess);
    const CXString csPath = GetFullPath();
    VLM_REPORT(DebugCategory::Registry, VTEXT("Calling RegCreateKeyEx(%s) to get a handle to the key."), csPath);
    if (m_fForward) {
        NoteForwarded(m_apoPortMonitor->CreateKey(m_eHive, m_csSubKey, dwAccess, m_hKey, m_csSid));
    } else if (Note(CheckPlace())) {
        Note(ToDword(Registry().Create(GetRoot(), csPath, dwAccess, false, m_hKey, m_fCreated)));
    }
    if (m_dwLastStatus == 0) return;
    m_hKey = nullptr;
    m_fCreated = false;
    VLM_THROW(ExceptionRegistryRequest, VTEXT("RegCreateKeyEx(%s) failed! %s"), csPath,
              RegistryStatusInWords(m_dwLastStatus));
}

std::unique_ptr<RegistryKey> RegistryKey::CreateRegistryKey(_HKEYREGISTRY_ eHive, const CXString& kcsSubKey,
                                                            DWORD dwAccess, bool fDirect, bool fUsersTree) {
    return vlm::TranslateOutOfMemory([&] {
        auto apoKey = std::make_unique<RegistryKey>(eHive, fDirect, fUsersTree);
        apoKey->CreateRegistryKey(kcsSubKey, dwAccess);
        return apoKey;
    });
}

std::unique_ptr<RegistryKey> RegistryKey::CreateRegistryKey(const std::nothrow_t&, _HKEYREGISTRY_ eHive,
                                                            const CXString& kcsSubKey, DWORD dwAccess, bool fDirect,
                                                            bool fUsersTree) noexcept {
    std::unique_ptr<RegistryKey> apoResult;
    vlm::NoThrow([&] {
        try {
            apoResult = CreateRegistryKey(eHive, kcsSubKey, dwAccess, fDirect, fUsersTree);
        } catch (const VelomException& rException) {
            VLM_REPORT(DebugCategory::Registry, VTEXT("Returning a NULL RegistryKey auto_ptr: %s"),
                       rException.GetExceptionMesage());
        }
    });
    return apoResult;
}

bool RegistryKey::NoteForwarded(bool fDone) noexcept {
    if (fDone) return Note(0);
    const DWORD dwStatus = m_apoPortMonitor->GetLastStatus();
    return Note(dwStatus != 0 ? dwStatus : ToDword(Status::GeneralFailure));
}

bool RegistryKey::RequireKey() noexcept {
    const bool fOpen = m_hKey && (!m_fForward || m_apoPortMonitor);
    return Note(fOpen ? 0 : ToDword(Status::InvalidHandle));
}

bool RegistryKey::IsHkcuRegistryHiveHkuDotDefault() noexcept {
    return vlm::NoThrow([] { return User::GetProcessUserSID() == VTEXT("S-1-5-18"); }, false);
}

bool RegistryKey::DoesThreadHavePermissiontoWriteToHkcu() noexcept {
    vlm::RegistryHandle oUser;
    return Registry().OpenCurrentUser(WRITE_ACCESS, oUser.Receive()) == Status::Success;
}
