/// @file
/// The registry in memory.
#include "support/FakeRegistryPort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "support/AllocationFaults.h"

namespace vlm::test {

namespace {

constexpr XStringView CURRENT_USER_SID = VTEXT("S-1-5-21-0-0-0-1000");

XString Fold(XStringView svName) {
    XString folded(svName);
    for (XCHAR& runit : folded) {
        if (runit >= VTEXT('a') && runit <= VTEXT('z')) runit = static_cast<XCHAR>(runit - 0x20);
    }
    return folded;
}

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

struct FakeRegistryPort::Key {
    XString name;
    bool fVolatile = false;
    bool fDeleted = false;
    DWORD dwDenied = 0;
    std::map<XString, KeyPointer> mapKeys;
    std::map<XString, std::pair<XString, Value>> mapValues;
};

FakeRegistryPort::FakeRegistryPort() {
    const AllocationExempt oExempt;
    for (const Root eRoot : {Root::ClassesRoot, Root::LocalMachine, Root::Users}) {
        m_mapRoots[eRoot] = std::make_shared<Key>();
    }
    const auto shpoUser = std::make_shared<Key>();
    shpoUser->name = CURRENT_USER_SID;
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

/// The script's way to a key; null when it is not there.
FakeRegistryPort::KeyPointer FakeRegistryPort::AtPath(XStringView svPath, bool fCreate) const {
    static constexpr std::pair<Root, XStringView> ROOTS[] = {{Root::ClassesRoot, VTEXT("HKEY_CLASSES_ROOT")},
                                                             {Root::CurrentUser, VTEXT("HKEY_CURRENT_USER")},
                                                             {Root::LocalMachine, VTEXT("HKEY_LOCAL_MACHINE")},
                                                             {Root::Users, VTEXT("HKEY_USERS")}};
    Status eStatus{};
    const std::vector<XString> vComponents = Components(svPath, eStatus).value_or(std::vector<XString>());
    const auto pRoot = std::find_if(std::begin(ROOTS), std::end(ROOTS), [&](const auto& rRoot) {
        return !vComponents.empty() && vComponents.front() == rRoot.second;
    });
    if (pRoot == std::end(ROOTS)) {
        ADD_FAILURE() << "a scripted key must begin with the name of a root";
        return std::make_shared<Key>();
    }
    KeyPointer shpoKey = m_mapRoots.at(pRoot->first);
    for (std::size_t i = 1; i < vComponents.size(); ++i) {
        KeyPointer& rshpoChild = shpoKey->mapKeys[Fold(vComponents[i])];
        if (!rshpoChild && !fCreate) {
            shpoKey->mapKeys.erase(Fold(vComponents[i]));
            return nullptr;
        }
        if (!rshpoChild) {
            rshpoChild = std::make_shared<Key>();
            rshpoChild->name = vComponents[i];
        }
        shpoKey = rshpoChild;
    }
    return shpoKey;
}

void FakeRegistryPort::AddKey(XStringView svPath) {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    AtPath(svPath, true);
}

void FakeRegistryPort::AddValue(XStringView svPath, XStringView svName, DWORD dwType, std::vector<BYTE> vbyData) {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    AtPath(svPath, true)->mapValues[Fold(svName)] = {XString(svName), Value{dwType, std::move(vbyData)}};
}

void FakeRegistryPort::AddText(XStringView svPath, XStringView svName, XStringView svText) {
    const AllocationExempt oExempt;
    std::vector<BYTE> vbyData((svText.size() + 1) * sizeof(XCHAR));
    std::memcpy(vbyData.data(), svText.data(), svText.size() * sizeof(XCHAR));
    AddValue(svPath, svName, TYPE_SZ, std::move(vbyData));
}

void FakeRegistryPort::AddDword(XStringView svPath, XStringView svName, DWORD dwValue) {
    const AllocationExempt oExempt;
    std::vector<BYTE> vbyData(sizeof(dwValue));
    std::memcpy(vbyData.data(), &dwValue, sizeof(dwValue));
    AddValue(svPath, svName, TYPE_DWORD, std::move(vbyData));
}

std::optional<FakeRegistryPort::Value> FakeRegistryPort::ValueAt(XStringView svPath, XStringView svName) const {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    const KeyPointer shpoKey = AtPath(svPath, false);
    if (!shpoKey) return std::nullopt;
    const auto it = shpoKey->mapValues.find(Fold(svName));
    if (it == shpoKey->mapValues.end()) return std::nullopt;
    return it->second.second;
}

bool FakeRegistryPort::HasKey(XStringView svPath) const {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    return AtPath(svPath, false) != nullptr;
}

void FakeRegistryPort::RemoveKey(XStringView svPath) {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    const KeyPointer shpoKey = AtPath(svPath, false);
    if (!shpoKey) return;
    MarkDeleted(*shpoKey);
    const KeyPointer shpoParent = AtPath(svPath.substr(0, svPath.rfind(VTEXT('\\'))), false);
    shpoParent->mapKeys.erase(Fold(shpoKey->name));
}

void FakeRegistryPort::Deny(XStringView svPath, DWORD dwRights) {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    AtPath(svPath, true)->dwDenied = dwRights;
}

std::size_t FakeRegistryPort::OpenHandles() const {
    const std::lock_guard oLock(m_oMutex);
    return m_mapOpen.size();
}

void FakeRegistryPort::SetMisuseFailsTest(bool fFails) {
    m_fMisuseFailsTest = fFails;
}

void FakeRegistryPort::DropHandles() {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    m_mapOpen.clear();
}

void FakeRegistryPort::Restart() {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    DropHandles();
    for (auto& [eRoot, shpoKey] : m_mapRoots)
        DropVolatile(*shpoKey);
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
        if (m_fMisuseFailsTest) ADD_FAILURE() << "a registry call on a handle that is not open: " << hKey;
        return Status::InvalidHandle;
    }
    rshpoKey = it->second.shpoKey;
    if (rshpoKey->fDeleted) return Status::KeyDeleted;
    return (it->second.dwRights & dwRights) == dwRights ? Status::Success : Status::AccessDenied;
}

Status FakeRegistryPort::Walk(HKEY hParent, const XCHAR* pszSubKey, KeyPointer& rshpoKey) {
    Status eStatus = Resolve(hParent, 0, rshpoKey);
    if (eStatus != Status::Success) return eStatus;
    const auto vComponents = Components(NameOf(pszSubKey), eStatus);
    if (!vComponents) return eStatus;
    for (const XString& rComponent : *vComponents) {
        const auto it = rshpoKey->mapKeys.find(Fold(rComponent));
        if (it == rshpoKey->mapKeys.end()) return Status::FileNotFound;
        rshpoKey = KeyPointer(it->second);
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
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    KeyPointer shpoKey;
    const Status eStatus = Walk(hParent, pszSubKey, shpoKey);
    return eStatus == Status::Success ? MakeHandle(shpoKey, dwRights, rhKey) : eStatus;
}

Status FakeRegistryPort::Create(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, bool fVolatile, HKEY& rhKey,
                                bool& rfCreated) noexcept {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
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
        shpoKey = KeyPointer(it->second);
    }
    if (shpoKey->dwDenied & CREATE_SUB_KEY) return Status::AccessDenied;
    if (shpoKey->fVolatile && !fVolatile) return Status::ChildMustBeVolatile;
    for (; i < vComponents.size(); ++i) {
        const auto shpoChild = std::make_shared<Key>();
        shpoChild->name = vComponents[i];
        shpoChild->fVolatile = fVolatile;
        shpoKey->mapKeys[Fold(vComponents[i])] = shpoChild;
        shpoKey = shpoChild;
    }
    rfCreated = true;
    return MakeHandle(shpoKey, dwRights, rhKey);
}

Status FakeRegistryPort::Close(HKEY hKey) noexcept {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    KeyPointer shpoKey;
    const Status eStatus = Resolve(hKey, 0, shpoKey);
    m_mapOpen.erase(hKey);
    return eStatus == Status::KeyDeleted ? Status::Success : eStatus;
}

Status FakeRegistryPort::QueryValue(HKEY hKey, const XCHAR* pszName, DWORD& rdwType, void* pTarget,
                                    DWORD& rcbData) noexcept {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
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
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
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
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
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
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    KeyPointer shpoKey;
    const Status eStatus = Resolve(hKey, SET_VALUE, shpoKey);
    if (eStatus != Status::Success) return eStatus;
    return shpoKey->mapValues.erase(Fold(NameOf(pszName))) ? Status::Success : Status::FileNotFound;
}

Status FakeRegistryPort::DeleteKey(HKEY hParent, const XCHAR* pszSubKey) noexcept {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    if (pszSubKey == nullptr || *pszSubKey == 0) return Status::InvalidParameter;
    KeyPointer shpoKey, shpoParent;
    Status eStatus = Walk(hParent, pszSubKey, shpoKey);
    if (eStatus != Status::Success) return eStatus;
    if (!shpoKey->mapKeys.empty() || shpoKey == m_mapRoots[Root::CurrentUser]) return Status::AccessDenied;
    std::vector<XString> vComponents = Components(pszSubKey, eStatus).value();
    if (vComponents.empty()) return Status::AccessDenied;
    vComponents.pop_back();
    Resolve(hParent, 0, shpoParent);
    for (const XString& rComponent : vComponents)
        shpoParent = KeyPointer(shpoParent->mapKeys[Fold(rComponent)]);
    shpoKey->fDeleted = true;
    shpoParent->mapKeys.erase(Fold(shpoKey->name));
    return Status::Success;
}

Status FakeRegistryPort::EnumerateKey(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    KeyPointer shpoKey;
    const Status eStatus = Resolve(hKey, ENUMERATE_SUB_KEYS, shpoKey);
    if (eStatus != Status::Success) return eStatus;
    if (dwIndex >= shpoKey->mapKeys.size()) return Status::NoMoreItems;
    return HandOutName(std::next(shpoKey->mapKeys.begin(), dwIndex)->second->name, pszName, rcName);
}

Status FakeRegistryPort::EnumerateValue(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName, DWORD& rdwType,
                                        void* pTarget, DWORD& rcbData) noexcept {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
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

Status FakeRegistryPort::OpenCurrentUser(DWORD dwRights, HKEY& rhKey) noexcept {
    const AllocationExempt oExempt;
    const std::lock_guard oLock(m_oMutex);
    return MakeHandle(m_mapRoots[Root::CurrentUser], dwRights, rhKey);
}

}  // namespace vlm::test
