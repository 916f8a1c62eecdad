/// @file
/// The registry in memory.
#include "support/FakeRegistryPort.h"

#include <algorithm>
#include <cstring>

#include "support/AllocationFaults.h"
#include "support/FakeCalls.h"
#include "support/FakeRegistryKey.h"

namespace vlm::test {

namespace {

constexpr XStringView CURRENT_USER_SID = VTEXT("S-1-5-21-0-0-0-1000");

/// Roots that this registry does not have.
constexpr RegistryPort::Root MISSING_ROOTS[] = {
    RegistryPort::Root::PerformanceData, RegistryPort::Root::CurrentConfig,
    RegistryPort::Root::DynData,         RegistryPort::Root::CurrentUserLocalSettings,
    RegistryPort::Root::PerformanceText, RegistryPort::Root::PerformanceNlstext};

XString NameOf(const XCHAR* pszName) {
    return pszName ? XString(pszName) : XString();
}

std::uintptr_t NumberOf(RegistryPort::Root eRoot) {
    return static_cast<std::uintptr_t>(std::intptr_t{static_cast<std::int32_t>(eRoot)});
}

Status HandOut(const std::vector<BYTE>& rvbyData, void* pTarget, DWORD& rcbData) {
    const DWORD cbRoom = rcbData;
    rcbData = static_cast<DWORD>(rvbyData.size());
    if (pTarget == nullptr) return Status::Success;
    if (cbRoom < rvbyData.size()) return Status::MoreData;
    std::copy(rvbyData.begin(), rvbyData.end(), static_cast<BYTE*>(pTarget));
    return Status::Success;
}

Status HandOutName(const XString& rName, XCHAR* pszName, DWORD& rcName) {
    if (pszName == nullptr || rName.size() >= rcName) return Status::MoreData;
    *std::copy(rName.begin(), rName.end(), pszName) = 0;
    rcName = static_cast<DWORD>(rName.size());
    return Status::Success;
}

}  // namespace

FakeRegistryPort::FakeRegistryPort() {
    const AllocationExempt oExempt;
    for (const Root eRoot : {Root::ClassesRoot, Root::LocalMachine, Root::Users}) {
        m_mapRoots[eRoot] = std::make_shared<Key>();
    }
    const auto shpoUser = std::make_shared<Key>();
    shpoUser->name = CURRENT_USER_SID;
    shpoUser->wpoParent = m_mapRoots[Root::Users];
    m_mapRoots[Root::Users]->mapKeys[Fold(CURRENT_USER_SID)] = shpoUser;
    m_mapRoots[Root::CurrentUser] = shpoUser;
}

FakeRegistryPort::~FakeRegistryPort() = default;

std::optional<std::vector<XString>> FakeRegistryPort::Components(XStringView svPath, Status& reStatus) {
    std::vector<XString> vComponents;
    reStatus = Status::BadPathName;
    if (svPath.starts_with(VTEXT('\\'))) return std::nullopt;
    reStatus = Status::InvalidParameter;
    while (!svPath.empty()) {
        const std::size_t cUnits = std::min(svPath.find(VTEXT('\\')), svPath.size());
        if (cUnits > MAX_KEY_NAME) return std::nullopt;
        if (cUnits > 0) vComponents.emplace_back(svPath.substr(0, cUnits));
        svPath.remove_prefix(std::min(cUnits + 1, svPath.size()));
    }
    reStatus = Status::Success;
    return vComponents;
}

FakeRegistryPort::KeyPointer FakeRegistryPort::AddChild(const KeyPointer& rshpoParent, const XString& rName) {
    const auto shpoChild = std::make_shared<Key>();
    shpoChild->name = rName;
    shpoChild->wpoParent = rshpoParent;
    rshpoParent->mapKeys[Fold(rName)] = shpoChild;
    return shpoChild;
}

/// Where a path goes on from a key; null when it is a link that leads nowhere.
FakeRegistryPort::KeyPointer FakeRegistryPort::Target(KeyPointer shpoKey) {
    constexpr int cMostLinks = 16;
    for (int i = 0; i < cMostLinks && shpoKey && shpoKey->fLink; ++i) {
        shpoKey = shpoKey->wpoTarget.lock();
        if (shpoKey && shpoKey->fDeleted) shpoKey = nullptr;
    }
    return shpoKey && !shpoKey->fLink ? shpoKey : nullptr;
}

void FakeRegistryPort::MarkDeleted(Key& rKey) {
    rKey.fDeleted = true;
    for (auto& [name, shpoChild] : rKey.mapKeys)
        MarkDeleted(*shpoChild);
}

void FakeRegistryPort::DropVolatile(Key& rKey) {
    std::erase_if(rKey.mapKeys, [](const auto& rPair) { return rPair.second->fVolatile; });
    for (auto& [name, shpoChild] : rKey.mapKeys)
        DropVolatile(*shpoChild);
}

Status FakeRegistryPort::Resolve(HKEY hKey, DWORD dwRights, KeyPointer& rshpoKey) {
    for (const auto& [eRoot, shpoRoot] : m_mapRoots) {
        if (reinterpret_cast<std::uintptr_t>(hKey) == NumberOf(eRoot)) {
            rshpoKey = shpoRoot;
            return Status::Success;
        }
    }
    const auto it = m_mapOpen.find(hKey);
    if (it == m_mapOpen.end()) {
        for (const Root eRoot : MISSING_ROOTS) {
            if (reinterpret_cast<std::uintptr_t>(hKey) == NumberOf(eRoot)) return Status::InvalidHandle;
        }
        ReportMisuse("a registry call on a handle that is not open", hKey);
        return Status::InvalidHandle;
    }
    rshpoKey = it->second.shpoKey;
    if (rshpoKey->fDeleted) return Status::KeyDeleted;
    return (it->second.dwRights & dwRights) == dwRights ? Status::Success : Status::AccessDenied;
}

Status FakeRegistryPort::Walk(HKEY hParent, const XCHAR* pszSubKey, KeyPointer& rshpoKey, bool fOpenLink) {
    Status eStatus = Resolve(hParent, 0, rshpoKey);
    if (eStatus != Status::Success) return eStatus;
    const auto vComponents = Components(NameOf(pszSubKey), eStatus);
    if (!vComponents) return eStatus;
    for (std::size_t i = 0; i < vComponents->size(); ++i) {
        const auto it = rshpoKey->mapKeys.find(Fold((*vComponents)[i]));
        if (it == rshpoKey->mapKeys.end()) return Status::FileNotFound;
        const bool fLast = i + 1 == vComponents->size();
        const KeyPointer shpoNext = fOpenLink && fLast ? it->second : Target(it->second);
        if (!shpoNext) return Status::FileNotFound;
        rshpoKey = shpoNext;
    }
    return Status::Success;
}

Status FakeRegistryPort::MakeHandle(const KeyPointer& rshpoKey, DWORD dwRights, HKEY& rhKey) {
    if (dwRights & MAXIMUM_RIGHTS) dwRights = RIGHTS_ALL & ~rshpoKey->dwDenied;
    if (dwRights & rshpoKey->dwDenied) return Status::AccessDenied;
    rhKey = reinterpret_cast<HKEY>(m_uiLastHandle += 4);
    m_mapOpen[rhKey] = {rshpoKey, dwRights};
    return Status::Success;
}

HKEY FakeRegistryPort::RootKey(Root eRoot) noexcept {
    return reinterpret_cast<HKEY>(NumberOf(eRoot));
}

Status FakeRegistryPort::Open(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey) noexcept {
    const FakeCall oCall(m_oMutex);
    KeyPointer shpoKey;
    const Status eStatus = Walk(hParent, pszSubKey, shpoKey);
    return eStatus == Status::Success ? MakeHandle(shpoKey, dwRights, rhKey) : eStatus;
}

Status FakeRegistryPort::Create(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, bool fVolatile, HKEY& rhKey,
                                bool& rfCreated) noexcept {
    const FakeCall oCall(m_oMutex);
    if (pszSubKey == nullptr) return Status::InvalidParameter;
    KeyPointer shpoKey;
    Status eStatus = Walk(hParent, pszSubKey, shpoKey);
    if (eStatus != Status::FileNotFound) {
        if (eStatus == Status::Success) eStatus = MakeHandle(shpoKey, dwRights, rhKey);
        if (eStatus == Status::Success) rfCreated = false;
        return eStatus;
    }
    eStatus = Resolve(hParent, CREATE_SUB_KEY, shpoKey);
    if (eStatus != Status::Success) return eStatus;
    // All refusals come before the first change.
    const std::vector<XString> vComponents = Components(pszSubKey, eStatus).value();
    std::size_t i = 0;
    for (; i < vComponents.size(); ++i) {
        const auto it = shpoKey->mapKeys.find(Fold(vComponents[i]));
        if (it == shpoKey->mapKeys.end()) break;
        shpoKey = Target(it->second);
        if (!shpoKey) return Status::FileNotFound;
    }
    if (shpoKey->dwDenied & CREATE_SUB_KEY) return Status::AccessDenied;
    if (shpoKey->fVolatile && !fVolatile) return Status::ChildMustBeVolatile;
    for (; i < vComponents.size(); ++i) {
        shpoKey = AddChild(shpoKey, vComponents[i]);
        shpoKey->fVolatile = fVolatile;
    }
    rfCreated = true;
    return MakeHandle(shpoKey, dwRights, rhKey);
}

Status FakeRegistryPort::CreateRestricted(HKEY hParent, const XCHAR* pszName, DWORD dwRights, const XCHAR* pszReaderSid,
                                          HKEY& rhKey, bool& rfCreated) noexcept {
    const FakeCall oCall(m_oMutex);
    const XString name = NameOf(pszName), reader = NameOf(pszReaderSid);
    if (name.empty() || name.find(VTEXT('\\')) != XString::npos || !IsSidText(reader)) return Status::InvalidParameter;
    bool fLink = false;
    if (OpenLink(hParent, pszName, dwRights, rhKey, fLink) == Status::Success) {
        rfCreated = false;
        return Status::Success;
    }
    const Status eStatus = Create(hParent, pszName, dwRights, false, rhKey, rfCreated);
    if (eStatus == Status::Success && rfCreated) m_mapOpen[rhKey].shpoKey->reader = reader;
    return eStatus;
}

Status FakeRegistryPort::OpenLink(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey,
                                  bool& rfLink) noexcept {
    const FakeCall oCall(m_oMutex);
    KeyPointer shpoKey;
    Status eStatus = Walk(hParent, pszSubKey, shpoKey, true);
    if (eStatus == Status::Success) eStatus = MakeHandle(shpoKey, dwRights | QUERY_VALUE, rhKey);
    if (eStatus == Status::Success) rfLink = shpoKey->fLink;
    return eStatus;
}

Status FakeRegistryPort::CreateLink(HKEY hParent, const XCHAR* pszName, HKEY hTarget) noexcept {
    const FakeCall oCall(m_oMutex);
    KeyPointer shpoParent, shpoTarget, shpoKey;
    if (const Status e = Resolve(hParent, 0, shpoParent); e != Status::Success) return e;
    if (const Status e = Resolve(hTarget, 0, shpoTarget); e != Status::Success) return e;
    if (NameOf(pszName).empty()) return Status::InvalidParameter;
    if (Walk(hParent, pszName, shpoKey, true) == Status::Success) return Status::AlreadyExists;
    HKEY hKey = nullptr;
    bool fCreated = false;
    const Status eStatus = Create(hParent, pszName, RIGHTS_ALL, false, hKey, fCreated);
    if (eStatus != Status::Success) return eStatus;
    m_mapOpen[hKey].shpoKey->fLink = true;
    m_mapOpen[hKey].shpoKey->wpoTarget = shpoTarget;
    return Close(hKey);
}

Status FakeRegistryPort::Close(HKEY hKey) noexcept {
    const FakeCall oCall(m_oMutex);
    KeyPointer shpoKey;
    const Status eStatus = Resolve(hKey, 0, shpoKey);
    m_mapOpen.erase(hKey);
    return eStatus == Status::KeyDeleted ? Status::Success : eStatus;
}

Status FakeRegistryPort::QueryValue(HKEY hKey, const XCHAR* pszName, DWORD& rdwType, void* pTarget,
                                    DWORD& rcbData) noexcept {
    const FakeCall oCall(m_oMutex);
    KeyPointer shpoKey;
    const Status eStatus = Resolve(hKey, QUERY_VALUE, shpoKey);
    if (eStatus != Status::Success) return eStatus;
    const auto it = shpoKey->mapValues.find(Fold(NameOf(pszName)));
    if (it == shpoKey->mapValues.end()) return Status::FileNotFound;
    rdwType = it->second.second.dwType;
    return HandOut(it->second.second.vbyData, pTarget, rcbData);
}

Status FakeRegistryPort::QueryMultipleValues(HKEY hKey, ValueQuery* pQueries, DWORD cQueries, void* pTarget,
                                             DWORD& rcbData) noexcept {
    const FakeCall oCall(m_oMutex);
    KeyPointer shpoKey;
    const Status eStatus = Resolve(hKey, QUERY_VALUE, shpoKey);
    if (eStatus != Status::Success) return eStatus;
    const DWORD cbRoom = pTarget ? rcbData : 0;
    DWORD cbNeeded = 0;
    for (DWORD i = 0; i < cQueries; ++i) {
        const auto it = shpoKey->mapValues.find(Fold(NameOf(pQueries[i].pszName)));
        if (it == shpoKey->mapValues.end()) return Status::FileNotFound;
        const Value& rValue = it->second.second;
        pQueries[i].dwType = rValue.dwType;
        pQueries[i].cbData = static_cast<DWORD>(rValue.vbyData.size());
        pQueries[i].dwOffset = cbNeeded;
        if (cbNeeded + rValue.vbyData.size() <= cbRoom) {
            std::copy(rValue.vbyData.begin(), rValue.vbyData.end(), static_cast<BYTE*>(pTarget) + cbNeeded);
        }
        cbNeeded += static_cast<DWORD>(rValue.vbyData.size());
    }
    rcbData = cbNeeded;
    return pTarget != nullptr && cbNeeded <= cbRoom ? Status::Success : Status::MoreData;
}

Status FakeRegistryPort::SetValue(HKEY hKey, const XCHAR* pszName, DWORD dwType, const void* pData,
                                  DWORD cbData) noexcept {
    const FakeCall oCall(m_oMutex);
    if (pData == nullptr && cbData != 0) return Status::NoAccess;
    if (NameOf(pszName).size() > MAX_VALUE_NAME) return Status::InvalidParameter;
    KeyPointer shpoKey;
    const Status eStatus = Resolve(hKey, SET_VALUE, shpoKey);
    if (eStatus != Status::Success) return eStatus;
    const BYTE* pbyData = static_cast<const BYTE*>(pData);
    auto& rPair = shpoKey->mapValues.try_emplace(Fold(NameOf(pszName)), NameOf(pszName), Value{}).first->second;
    rPair.second = Value{dwType, std::vector<BYTE>(pbyData, pbyData + cbData)};
    return Status::Success;
}

Status FakeRegistryPort::DeleteValue(HKEY hKey, const XCHAR* pszName) noexcept {
    const FakeCall oCall(m_oMutex);
    KeyPointer shpoKey;
    const Status eStatus = Resolve(hKey, SET_VALUE, shpoKey);
    if (eStatus != Status::Success) return eStatus;
    return shpoKey->mapValues.erase(Fold(NameOf(pszName))) ? Status::Success : Status::FileNotFound;
}

Status FakeRegistryPort::DeleteKey(HKEY hParent, const XCHAR* pszSubKey) noexcept {
    const FakeCall oCall(m_oMutex);
    if (pszSubKey == nullptr || *pszSubKey == 0) return Status::InvalidParameter;
    KeyPointer shpoKey;
    const Status eStatus = Walk(hParent, pszSubKey, shpoKey);
    return eStatus == Status::Success ? DeleteBareKey(shpoKey) : eStatus;
}

Status FakeRegistryPort::DeleteOpenKey(HKEY hKey) noexcept {
    const FakeCall oCall(m_oMutex);
    KeyPointer shpoKey;
    const Status eStatus = Resolve(hKey, RIGHT_DELETE, shpoKey);
    return eStatus == Status::Success ? DeleteBareKey(shpoKey) : eStatus;
}

Status FakeRegistryPort::DeleteBareKey(const KeyPointer& rshpoKey) {
    const KeyPointer shpoParent = rshpoKey->wpoParent.lock();
    if (!shpoParent || !rshpoKey->mapKeys.empty() || rshpoKey == m_mapRoots[Root::CurrentUser])
        return Status::AccessDenied;
    rshpoKey->fDeleted = true;
    shpoParent->mapKeys.erase(Fold(rshpoKey->name));
    return Status::Success;
}

Status FakeRegistryPort::EnumerateKey(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept {
    const FakeCall oCall(m_oMutex);
    KeyPointer shpoKey;
    const Status eStatus = Resolve(hKey, ENUMERATE_SUB_KEYS, shpoKey);
    if (eStatus != Status::Success) return eStatus;
    if (dwIndex >= shpoKey->mapKeys.size()) return Status::NoMoreItems;
    return HandOutName(std::next(shpoKey->mapKeys.begin(), dwIndex)->second->name, pszName, rcName);
}

Status FakeRegistryPort::EnumerateValue(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName, DWORD& rdwType,
                                        void* pTarget, DWORD& rcbData) noexcept {
    const FakeCall oCall(m_oMutex);
    KeyPointer shpoKey;
    const Status eStatus = Resolve(hKey, QUERY_VALUE, shpoKey);
    if (eStatus != Status::Success) return eStatus;
    if (dwIndex >= shpoKey->mapValues.size()) return Status::NoMoreItems;
    const auto& [name, rValue] = std::next(shpoKey->mapValues.begin(), dwIndex)->second;
    rdwType = rValue.dwType;
    const Status eData = HandOut(rValue.vbyData, pTarget, rcbData);
    const Status eName = HandOutName(name, pszName, rcName);
    return eName != Status::Success ? eName : eData;
}

Status FakeRegistryPort::QueryInfo(HKEY hKey, KeyInfo& rInfo) noexcept {
    const FakeCall oCall(m_oMutex);
    KeyPointer shpoKey;
    const Status eStatus = Resolve(hKey, QUERY_VALUE, shpoKey);
    if (eStatus != Status::Success) return eStatus;
    const auto Longest = [](DWORD& rcLongest, std::size_t cLength) {
        rcLongest = std::max(rcLongest, static_cast<DWORD>(cLength));
    };
    rInfo = KeyInfo{};
    rInfo.cSubKeys = static_cast<DWORD>(shpoKey->mapKeys.size());
    rInfo.cValues = static_cast<DWORD>(shpoKey->mapValues.size());
    for (const auto& [folded, shpoChild] : shpoKey->mapKeys)
        Longest(rInfo.cMaxKeyName, shpoChild->name.size());
    for (const auto& [folded, rPair] : shpoKey->mapValues) {
        Longest(rInfo.cMaxValueName, rPair.first.size());
        Longest(rInfo.cbMaxData, rPair.second.vbyData.size());
    }
    return Status::Success;
}

Status FakeRegistryPort::OpenCurrentUser(DWORD dwRights, HKEY& rhKey) noexcept {
    const FakeCall oCall(m_oMutex);
    return MakeHandle(m_mapRoots[Root::CurrentUser], dwRights, rhKey);
}

Status FakeRegistryPort::ConnectRemote(const XCHAR* pszMachine, HKEY& rhKey) noexcept {
    const FakeCall oCall(m_oMutex);
    if (!pszMachine || m_remote != pszMachine) return pszMachine ? Status::BadNetworkPath : Status::InvalidParameter;
    return MakeHandle(m_mapRoots[Root::LocalMachine], RIGHTS_READ, rhKey);
}

}  // namespace vlm::test
