/// @file
/// Enumerates keys and reads values within the monitor's bounds.
#include "portmonitor/KeyContents.h"

#include "utilities/Bounds.h"

namespace vlm {

namespace {

constexpr int READ_ATTEMPTS = 5;

/// Collects names as long as a reply can hold them.
class NameCollector {
public:
    explicit NameCollector(std::vector<CXString>& rvcsNames) : m_rvcsNames(rvcsNames) {}

    Status Add(const CXString& kcsName) {
        m_cbReply += 2 + kcsName.View().size() * 2;
        if (m_rvcsNames.size() == bounds::MAX_ENUMERATED_NAMES || m_cbReply > bounds::MAX_REPLY_BYTES)
            return Status::NoSystemResources;
        m_rvcsNames.push_back(kcsName);
        return Status::Success;
    }

private:
    std::vector<CXString>& m_rvcsNames;
    std::size_t m_cbReply = sizeof(DWORD);
};

/// The end of an enumeration is what it is made for.
Status EndOf(Status eStatus) noexcept {
    return eStatus == Status::NoMoreItems ? Status::Success : eStatus;
}

}  // namespace

Status ReadValue(HKEY hKey, const CXString& kcsName, StoredValue& roValue) {
    StoredValue oValue;
    oValue.m_csName = kcsName;
    DWORD cbData = 0;
    Status eStatus = Registry().QueryValue(hKey, kcsName, oValue.m_dwType, nullptr, cbData);
    for (int i = 0; i < READ_ATTEMPTS && (eStatus == Status::Success || eStatus == Status::MoreData); ++i) {
        if (cbData > bounds::MAX_MONITOR_VALUE_BYTES) return Status::NoSystemResources;
        oValue.m_vbyData.resize(cbData);
        BYTE byNothing = 0;  // a null target would ask for the size once more
        void* const pTarget = cbData == 0 ? &byNothing : oValue.m_vbyData.data();
        eStatus = Registry().QueryValue(hKey, kcsName, oValue.m_dwType, pTarget, cbData);
        if (eStatus != Status::Success) continue;
        oValue.m_vbyData.resize(cbData);
        roValue = std::move(oValue);
        return Status::Success;
    }
    return eStatus;
}

Status ReadKeyName(HKEY hKey, DWORD dwIndex, CXString& rcsName) {
    constexpr DWORD NAME_UNITS = RegistryPort::MAX_KEY_NAME + 1;
    CXString csName;
    DWORD cName = NAME_UNITS;
    const Status eStatus =
        Registry().EnumerateKey(hKey, dwIndex, csName.GetBufferSetLength(static_cast<int>(NAME_UNITS)), cName);
    if (eStatus != Status::Success) return eStatus;
    csName.ReleaseBuffer(static_cast<int>(cName));
    rcsName = csName;
    return Status::Success;
}

Status ReadKeyNames(HKEY hKey, std::vector<CXString>& rvcsNames) {
    NameCollector oNames(rvcsNames);
    for (DWORD i = 0;; ++i) {
        CXString csName;
        Status eStatus = ReadKeyName(hKey, i, csName);
        if (eStatus == Status::Success) eStatus = oNames.Add(csName);
        if (eStatus != Status::Success) return EndOf(eStatus);
    }
}

Status ReadValueNames(HKEY hKey, std::vector<CXString>& rvcsNames) {
    NameCollector oNames(rvcsNames);
    return ForEachValue(hKey, [&](const CXString& kcsName, DWORD, DWORD) { return oNames.Add(kcsName); });
}

Status ForEachValue(HKEY hKey, const OnValueName& rfnValue) {
    constexpr DWORD NAME_UNITS = RegistryPort::MAX_VALUE_NAME + 1;
    std::vector<XCHAR> vchName(NAME_UNITS);
    for (DWORD i = 0;; ++i) {
        DWORD cName = NAME_UNITS, dwType = 0, cbData = 0;
        Status eStatus = Registry().EnumerateValue(hKey, i, vchName.data(), cName, dwType, nullptr, cbData);
        if (eStatus == Status::Success)
            eStatus = rfnValue(CXString(vchName.data(), static_cast<int>(cName)), dwType, cbData);
        if (eStatus != Status::Success) return EndOf(eStatus);
    }
}

}  // namespace vlm
