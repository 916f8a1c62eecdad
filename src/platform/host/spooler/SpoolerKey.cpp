/// @file
/// Reads and writes the spooler's keys.
#include "platform/host/spooler/SpoolerKey.h"

#include <algorithm>
#include <cstring>

namespace vlm::host {

namespace {

/// A value that others replace by a longer one meanwhile is asked for so often.
constexpr int ATTEMPTS = 5;
/// Deeper trees than the registry's own limit are nobody's.
constexpr int MAX_DEPTH = 512;

bool DeleteTreeBelow(RegistryPort& rRegistry, HKEY hParent, const XCHAR* pszPath, int iDepth) {
    if (iDepth == MAX_DEPTH) throw SpoolerFailure{Status::InvalidParameter};
    HKEY hKey = nullptr;
    const Status eOpen = rRegistry.Open(hParent, pszPath, RegistryPort::RIGHTS_READ, hKey);
    if (eOpen == Status::FileNotFound) return false;
    Check(eOpen);
    {
        Undo oClose([&]() noexcept { rRegistry.Close(hKey); });
        for (;;) {
            XCHAR szName[RegistryPort::MAX_KEY_NAME + 1];
            DWORD cName = RegistryPort::MAX_KEY_NAME + 1;
            const Status eStatus = rRegistry.EnumerateKey(hKey, 0, szName, cName);
            if (eStatus == Status::NoMoreItems) break;
            Check(eStatus);
            DeleteTreeBelow(rRegistry, hKey, szName, iDepth + 1);
        }
    }
    const Status eStatus = rRegistry.DeleteKey(hParent, pszPath);
    if (eStatus != Status::FileNotFound) Check(eStatus);
    return true;
}

}  // namespace

SpoolerKey::~SpoolerKey() {
    if (m_hKey != nullptr) m_rRegistry.Close(m_hKey);
    if (m_hUser != nullptr) m_rRegistry.Close(m_hUser);
}

HKEY SpoolerKey::Root(Hive eHive) {
    if (eHive == Hive::Machine) return m_rRegistry.RootKey(RegistryPort::Root::LocalMachine);
    if (m_hUser == nullptr) Check(m_rRegistry.OpenCurrentUser(RegistryPort::RIGHTS_ALL, m_hUser));
    return m_hUser;
}

bool SpoolerKey::Open(const XText& rPath, DWORD dwRights, Hive eHive) {
    HKEY hKey = nullptr;
    const Status eStatus = m_rRegistry.Open(Root(eHive), rPath.c_str(), dwRights, hKey);
    if (eStatus == Status::FileNotFound) return false;
    Check(eStatus);
    if (m_hKey != nullptr) m_rRegistry.Close(m_hKey);
    m_hKey = hKey;
    return true;
}

bool SpoolerKey::Create(const XText& rPath, Hive eHive) {
    HKEY hKey = nullptr;
    bool fCreated = false;
    Check(m_rRegistry.Create(Root(eHive), rPath.c_str(), RegistryPort::RIGHTS_ALL, false, hKey, fCreated));
    if (m_hKey != nullptr) m_rRegistry.Close(m_hKey);
    m_hKey = hKey;
    return fCreated;
}

bool SpoolerKey::Value(const XCHAR* pszName, DWORD& rdwType, std::vector<BYTE>& rvbyData) {
    for (int i = 0; i < ATTEMPTS; ++i) {
        DWORD cbData = 0, dwType = 0;
        Status eStatus = m_rRegistry.QueryValue(m_hKey, pszName, dwType, nullptr, cbData);
        if (eStatus == Status::FileNotFound) return false;
        Check(eStatus);
        // One byte more: an empty value is no question for its size.
        rvbyData.resize(std::size_t{cbData} + 1);
        eStatus = m_rRegistry.QueryValue(m_hKey, pszName, dwType, rvbyData.data(), ++cbData);
        if (eStatus == Status::FileNotFound) return false;
        if (eStatus == Status::MoreData) continue;
        Check(eStatus);
        rvbyData.resize(cbData);
        rdwType = dwType;
        return true;
    }
    throw SpoolerFailure{Status::Busy};
}

bool SpoolerKey::Has(const XCHAR* pszName) {
    DWORD cbData = 0, dwType = 0;
    const Status eStatus = m_rRegistry.QueryValue(m_hKey, pszName, dwType, nullptr, cbData);
    if (eStatus != Status::FileNotFound) Check(eStatus);
    return eStatus == Status::Success;
}

XText SpoolerKey::TextList(const XCHAR* pszName) {
    DWORD dwType = 0;
    std::vector<BYTE> vbyData;
    if (!Value(pszName, dwType, vbyData)) return {};
    XText text(vbyData.size() / sizeof(XCHAR), 0);
    if (!text.empty()) std::memcpy(text.data(), vbyData.data(), text.size() * sizeof(XCHAR));
    return text;
}

XText SpoolerKey::Text(const XCHAR* pszName) {
    XText text = TextList(pszName);
    text.resize(std::min(text.size(), text.find(XCHAR{0})));
    return text;
}

DWORD SpoolerKey::Number(const XCHAR* pszName, DWORD dwDefault) {
    DWORD dwType = 0, dwNumber = 0;
    std::vector<BYTE> vbyData;
    if (!Value(pszName, dwType, vbyData) || vbyData.size() != sizeof(dwNumber)) return dwDefault;
    std::memcpy(&dwNumber, vbyData.data(), sizeof(dwNumber));
    return dwNumber;
}

void SpoolerKey::Set(const XCHAR* pszName, DWORD dwType, const void* pData, std::size_t cbData) {
    Check(m_rRegistry.SetValue(m_hKey, pszName, dwType, pData, static_cast<DWORD>(cbData)));
}

void SpoolerKey::SetText(const XCHAR* pszName, const XText& rText) {
    Set(pszName, RegistryPort::TYPE_SZ, rText.c_str(), (rText.size() + 1) * sizeof(XCHAR));
}

void SpoolerKey::SetNumber(const XCHAR* pszName, DWORD dwNumber) {
    Set(pszName, RegistryPort::TYPE_DWORD, &dwNumber, sizeof(dwNumber));
}

bool SpoolerKey::DeleteValue(const XCHAR* pszName) {
    const Status eStatus = m_rRegistry.DeleteValue(m_hKey, pszName);
    if (eStatus == Status::FileNotFound) return false;
    Check(eStatus);
    return true;
}

std::vector<XText> SpoolerKey::KeyNames() {
    std::vector<XText> vNames;
    for (;;) {
        XCHAR szName[RegistryPort::MAX_KEY_NAME + 1];
        DWORD cName = RegistryPort::MAX_KEY_NAME + 1;
        const Status eStatus = m_rRegistry.EnumerateKey(m_hKey, static_cast<DWORD>(vNames.size()), szName, cName);
        if (eStatus == Status::NoMoreItems) return vNames;
        Check(eStatus);
        vNames.emplace_back(szName, cName);
    }
}

std::vector<XText> SpoolerKey::ValueNames() {
    std::vector<XText> vNames;
    XText name(RegistryPort::MAX_VALUE_NAME + 1, 0);
    for (;;) {
        DWORD cName = static_cast<DWORD>(name.size()), dwType = 0, cbData = 0;
        const Status eStatus = m_rRegistry.EnumerateValue(m_hKey, static_cast<DWORD>(vNames.size()), name.data(), cName,
                                                          dwType, nullptr, cbData);
        if (eStatus == Status::NoMoreItems) return vNames;
        Check(eStatus);
        vNames.emplace_back(name, 0, cName);
    }
}

bool IsComponent(XStringView svName) noexcept {
    return !svName.empty() && svName.size() <= RegistryPort::MAX_KEY_NAME &&
           svName.find(VTEXT('\\')) == XStringView::npos;
}

bool DeleteTree(SpoolerGround& rGround, const XText& rPath) {
    RegistryPort& rRegistry = rGround.Registry();
    return DeleteTreeBelow(rRegistry, rRegistry.RootKey(RegistryPort::Root::LocalMachine), rPath.c_str(), 0);
}

}  // namespace vlm::host
