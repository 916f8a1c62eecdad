/// @file
/// Walks key paths without following links.
#include "portmonitor/ConfinedKeys.h"

#include <algorithm>

namespace vlm {

namespace {

constexpr DWORD GENERIC_READ_RIGHT = 0x80000000, GENERIC_WRITE_RIGHT = 0x40000000, GENERIC_EXECUTE_RIGHT = 0x20000000,
                GENERIC_ALL_RIGHT = 0x10000000;
/// What the monitor itself needs of the keys that it only passes through.
constexpr DWORD PASS_RIGHTS = RegistryPort::QUERY_VALUE;
/// "Users", as every system knows them.
constexpr const XCHAR* ALL_USERS_SID = VTEXT("S-1-5-32-545");
/// Somebody else may create or delete a key between two calls; nobody does so for ever.
constexpr int CREATE_ATTEMPTS = 3;

/// The component at the front of `rPath`, which loses it and the backslash behind it.
CXString TakeComponent(XStringView& rPath) {
    const std::size_t cUnits = std::min(rPath.find(VTEXT('\\')), rPath.size());
    CXString csComponent(rPath.substr(0, cUnits));
    rPath.remove_prefix(std::min(cUnits + 1, rPath.size()));
    return csComponent;
}

/// One step down.  @param pfLink null: a link is refused.
Status OpenComponent(HKEY hParent, const CXString& kcsName, DWORD dwRights, RegistryHandle& roHandle,
                     bool* pfLink = nullptr) {
    bool fLink = false;
    RegistryHandle oHandle;
    const Status eStatus = Registry().OpenLink(hParent, kcsName, dwRights, oHandle.Receive(), fLink);
    if (eStatus != Status::Success) return eStatus;
    if (pfLink) {
        *pfLink = fLink;
    } else if (fLink) {
        return Status::AccessDenied;
    }
    roHandle = std::move(oHandle);
    return Status::Success;
}

Status Walk(const KeyPlace& rPlace, DWORD dwRights, RegistryHandle& roHandle, bool* pfLink) {
    XStringView rest = rPlace.m_csPath;
    if (rest.empty()) return OpenComponent(rPlace.m_hBase, CXString(), dwRights, roHandle, pfLink);
    RegistryHandle oParent;
    HKEY hParent = rPlace.m_hBase;
    for (;;) {
        const CXString csName = TakeComponent(rest);
        if (rest.empty()) return OpenComponent(hParent, csName, dwRights, roHandle, pfLink);
        const Status eStatus = OpenComponent(hParent, csName, PASS_RIGHTS, oParent);
        if (eStatus != Status::Success) return eStatus;
        hParent = oParent.Get();
    }
}

/// Who may read a new key beside the system and administrators; empty where it inherits its list.
CXString ReaderOf(const ResolvedKey& rKey) {
    if (rKey.m_eTree == ResolvedKey::Tree::User) return {};
    const CXString csOwner = IsInStorage(rKey) ? StorageOwnerOf(rKey.m_csPath) : CXString();
    return csOwner.GetAt(0) == VTEXT('S') ? csOwner : CXString(ALL_USERS_SID);
}

Status CreateComponent(HKEY hParent, const CXString& kcsName, const CXString& kcsReader, DWORD dwRights,
                       RegistryHandle& roHandle) {
    for (int i = 0; i < CREATE_ATTEMPTS; ++i) {
        const Status eOpen = OpenComponent(hParent, kcsName, dwRights, roHandle);
        if (eOpen != Status::FileNotFound) return eOpen;
        RegistryHandle oParent, oCreated;
        bool fCreated = false;
        Status eStatus = Registry().Open(hParent, nullptr, RegistryPort::CREATE_SUB_KEY, oParent.Receive());
        if (eStatus != Status::Success) return eStatus;
        eStatus = kcsReader.IsEmpty()
                      ? Registry().Create(oParent.Get(), kcsName, PASS_RIGHTS, false, oCreated.Receive(), fCreated)
                      : Registry().CreateRestricted(oParent.Get(), kcsName, PASS_RIGHTS, kcsReader, oCreated.Receive(),
                                                    fCreated);
        if (eStatus != Status::Success) return eStatus;
        // What was created is opened by its name once more: had somebody put a link there meanwhile, it shows now.
    }
    return Status::AccessDenied;
}

}  // namespace

KeyPlace PlaceOf(const ResolvedKey& rKey) {
    if (rKey.m_eTree == ResolvedKey::Tree::Machine)
        return {Registry().RootKey(RegistryPort::Root::LocalMachine), rKey.m_csPath};
    KeyPlace oPlace{Registry().RootKey(RegistryPort::Root::Users), rKey.m_csSid};
    if (!rKey.m_csPath.IsEmpty()) oPlace.m_csPath += VTEXT("\\") + rKey.m_csPath;
    return oPlace;
}

DWORD EffectiveRights(DWORD dwRights) noexcept {
    DWORD dwEffective = dwRights & 0x0FFFFFFF;
    if (dwRights & (GENERIC_READ_RIGHT | GENERIC_EXECUTE_RIGHT)) dwEffective |= RegistryPort::RIGHTS_READ;
    if (dwRights & GENERIC_WRITE_RIGHT) dwEffective |= RegistryPort::RIGHTS_WRITE;
    if (dwRights & GENERIC_ALL_RIGHT) dwEffective |= RegistryPort::RIGHTS_READ_WRITE | RegistryPort::RIGHT_DELETE;
    return dwEffective;
}

Status OpenConfined(const KeyPlace& rPlace, DWORD dwRights, RegistryHandle& roHandle) {
    return Walk(rPlace, dwRights, roHandle, nullptr);
}

Status OpenForDeletion(const KeyPlace& rPlace, DWORD dwRights, RegistryHandle& roHandle, bool& rfLink) {
    return Walk(rPlace, dwRights, roHandle, &rfLink);
}

Status CreateConfined(const KeyPlace& rPlace, const ResolvedKey& rKey, DWORD dwRights, RegistryHandle& roHandle) {
    // The last components of the whole path are those of the place; the ones in front of them exist.
    const XStringView whole = rKey.m_csPath;
    XStringView rest = rPlace.m_csPath;
    if (rest.empty()) return OpenConfined(rPlace, dwRights, roHandle);
    RegistryHandle oParent;
    HKEY hParent = rPlace.m_hBase;
    ResolvedKey oKey = rKey;
    if (rest.size() > whole.size()) {
        // The user's hive itself: it is loaded or it is not, and nothing is made in its place.
        const Status eStatus =
            OpenComponent(hParent, TakeComponent(rest), rest.empty() ? dwRights : PASS_RIGHTS, oParent);
        if (eStatus != Status::Success) return eStatus;
        hParent = oParent.Get();
    }
    while (!rest.empty()) {
        const CXString csName = TakeComponent(rest);
        const std::size_t cBehind = rest.empty() ? 0 : rest.size() + 1;
        oKey.m_csPath = whole.substr(0, whole.size() - std::min(cBehind, whole.size()));
        const DWORD dwStepRights = rest.empty() ? dwRights : PASS_RIGHTS;
        RegistryHandle oNext;
        const Status eStatus = CreateComponent(hParent, csName, ReaderOf(oKey), dwStepRights, oNext);
        if (eStatus != Status::Success) return eStatus;
        oParent = std::move(oNext);
        hParent = oParent.Get();
    }
    roHandle = std::move(oParent);
    return Status::Success;
}

}  // namespace vlm
