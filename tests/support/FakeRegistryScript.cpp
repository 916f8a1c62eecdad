/// @file
/// How a test sets the registry in memory up, and looks into it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "support/AllocationFaults.h"
#include "support/FakeCalls.h"
#include "support/FakeRegistryKey.h"

namespace vlm::test {

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
        const auto it = shpoKey->mapKeys.find(Fold(vComponents[i]));
        if (it == shpoKey->mapKeys.end() && !fCreate) return nullptr;
        shpoKey = it != shpoKey->mapKeys.end() ? KeyPointer(it->second) : AddChild(shpoKey, vComponents[i]);
    }
    return shpoKey;
}

void FakeRegistryPort::AddKey(XStringView svPath) {
    const FakeCall oCall(m_oMutex);
    AtPath(svPath, true);
}

void FakeRegistryPort::AddValue(XStringView svPath, XStringView svName, DWORD dwType, std::vector<BYTE> vbyData) {
    const FakeCall oCall(m_oMutex);
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

void FakeRegistryPort::AddLink(XStringView svPath, XStringView svTarget) {
    const FakeCall oCall(m_oMutex);
    const KeyPointer shpoTarget = AtPath(svTarget, true), shpoLink = AtPath(svPath, true);
    shpoLink->fLink = true;
    shpoLink->wpoTarget = shpoTarget;
}

XString FakeRegistryPort::ReaderOf(XStringView svPath) const {
    const FakeCall oCall(m_oMutex);
    const KeyPointer shpoKey = AtPath(svPath, false);
    return shpoKey ? shpoKey->reader : XString();
}

std::optional<FakeRegistryPort::Value> FakeRegistryPort::ValueAt(XStringView svPath, XStringView svName) const {
    const FakeCall oCall(m_oMutex);
    const KeyPointer shpoKey = AtPath(svPath, false);
    if (!shpoKey) return std::nullopt;
    const auto it = shpoKey->mapValues.find(Fold(svName));
    if (it == shpoKey->mapValues.end()) return std::nullopt;
    return it->second.second;
}

bool FakeRegistryPort::HasKey(XStringView svPath) const {
    const FakeCall oCall(m_oMutex);
    return AtPath(svPath, false) != nullptr;
}

void FakeRegistryPort::RemoveKey(XStringView svPath) {
    const FakeCall oCall(m_oMutex);
    const KeyPointer shpoKey = AtPath(svPath, false);
    if (!shpoKey) return;
    MarkDeleted(*shpoKey);
    const KeyPointer shpoParent = AtPath(svPath.substr(0, svPath.rfind(VTEXT('\\'))), false);
    shpoParent->mapKeys.erase(Fold(shpoKey->name));
}

void FakeRegistryPort::Deny(XStringView svPath, DWORD dwRights) {
    const FakeCall oCall(m_oMutex);
    AtPath(svPath, true)->dwDenied = dwRights;
}

std::size_t FakeRegistryPort::OpenHandles() const {
    const std::lock_guard oLock(m_oMutex);
    return m_mapOpen.size();
}

void FakeRegistryPort::DropHandles() {
    const FakeCall oCall(m_oMutex);
    m_mapOpen.clear();
}

void FakeRegistryPort::Restart() {
    const FakeCall oCall(m_oMutex);
    DropHandles();
    for (auto& [eRoot, shpoKey] : m_mapRoots)
        DropVolatile(*shpoKey);
}

}  // namespace vlm::test
