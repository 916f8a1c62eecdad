/// @file
/// The keys below a registry key: counting, listing, deleting, copying.
#include <algorithm>

#include "environment/PortMonitor.h"
#include "platform/RegistryHandleImpl.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/registry/detail/RegistryKeyImpl.h"
#include "utilities/registry/detail/RegistryStatus.h"
#include "utilities/registry/detail/RegistryTree.h"

using vlm::Registry;
using vlm::RegistryStatusInWords;
using vlm::Status;
using vlm::ToDword;

namespace {

constexpr DebugMessageCategories ASSERTIONS = DebugCategory::Errors | DebugCategory::Registry;

/// The assertions of counts and lists; their conditions are written with a cast, which our own rules forbid.
void FailStatusAssertion(const XCHAR* pszCondition, const vlm::SourcePosition& rPosition, const XCHAR* pszFormat,
                         DWORD dwStatus) noexcept {
    CXString csText;
    vlm::TryFormat(csText, pszFormat, RegistryStatusInWords(dwStatus));
    vlm::FailAssertion(pszCondition, rPosition, csText, ASSERTIONS);
}

/// One kind of names, read into a buffer that grows when a name has come that is longer than all were.
template <class Read>
Status ListNames(DWORD cLongest, std::size_t cMost, std::vector<CXString>& rvcsNames, Read read) {
    std::vector<XCHAR> vchName(std::size_t{cLongest} + 1);
    for (DWORD dwIndex = 0;;) {
        DWORD cUnits = static_cast<DWORD>(vchName.size());
        const Status eStatus = read(dwIndex, vchName.data(), cUnits);
        if (eStatus == Status::MoreData && vchName.size() <= cMost) {
            vchName.resize(std::min(2 * vchName.size(), cMost + 1));
            continue;
        }
        if (eStatus != Status::Success) return eStatus;
        if (rvcsNames.size() >= vlm::bounds::MAX_LISTED_NAMES) return Status::NoSystemResources;
        rvcsNames.emplace_back(vchName.data(), static_cast<int>(cUnits));
        ++dwIndex;
    }
}

}  // namespace

DWORD RegistryKey::GetCountOfSubKeys() noexcept {
    if (!RequireKey()) return 0;
    DWORD cSubKeys = 0;
    if (m_fForward) return NoteForwarded(m_apoPortMonitor->GetCountOfSubKeys(m_hKey, cSubKeys)) ? cSubKeys : 0;
    vlm::RegistryPort::KeyInfo oInfo;
    if (Note(ToDword(Registry().QueryInfo(m_hKey, oInfo)))) return oInfo.cSubKeys;
    FailStatusAssertion(VTEXT("(dwStatus == (DWORD)0L)"), VLM_HERE,
                        VTEXT("Error calling GetCountOfSubKeys(). Does the hKey have the required permissions (e.g. "
                              "KEY_WRITE does not include queries.): %s"),
                        m_dwLastStatus);
    return 0;
}

DWORD RegistryKey::GetCountOfValues() noexcept {
    if (!RequireKey()) return 0;
    DWORD cValues = 0;
    if (m_fForward) return NoteForwarded(m_apoPortMonitor->GetCountOfValues(m_hKey, cValues)) ? cValues : 0;
    vlm::RegistryPort::KeyInfo oInfo;
    if (Note(ToDword(Registry().QueryInfo(m_hKey, oInfo)))) return oInfo.cValues;
    FailStatusAssertion(VTEXT("(dwStatus == (DWORD)0L)"), VLM_HERE,
                        VTEXT("Error calling GetCountOfValues(). Does the hKey have the required permissions (e.g. "
                              "KEY_WRITE does not include queries.): %s"),
                        m_dwLastStatus);
    return 0;
}

bool RegistryKey::AnySubKeysExist() noexcept {
    if (m_fForward) return GetCountOfSubKeys() != 0;
    if (!RequireKey()) return false;
    XCHAR szName[vlm::RegistryPort::MAX_KEY_NAME + 1];
    DWORD cUnits = vlm::RegistryPort::MAX_KEY_NAME + 1;
    const DWORD dwStatus = ToDword(Registry().EnumerateKey(m_hKey, 0, szName, cUnits));
    Note(dwStatus == ToDword(Status::NoMoreItems) ? 0 : dwStatus);
    VLM_ASSERT_IN(ASSERTIONS, dwStatus == 0L || dwStatus == 259L,
                  VTEXT("Error enumerating reg subkeys to count them: %s"), RegistryStatusInWords(dwStatus));
    return dwStatus == 0L;
}

bool RegistryKey::EnumKeyNames(std::vector<CXString>& rvcsNames) noexcept {
    return EnumKeyNamesAndValueNames(&rvcsNames, nullptr);
}

bool RegistryKey::EnumValueNames(std::vector<CXString>& rvcsNames) noexcept {
    return EnumKeyNamesAndValueNames(nullptr, &rvcsNames);
}

bool RegistryKey::EnumDirectly(std::vector<CXString>* pvcsKeyNames, std::vector<CXString>* pvcsValueNames) {
    vlm::RegistryPort::KeyInfo oInfo;
    if (!Note(ToDword(Registry().QueryInfo(m_hKey, oInfo)))) {
        FailStatusAssertion(VTEXT("(dwStatus == (DWORD)0L)"), VLM_HERE,
                            VTEXT("Error calling RegQueryInfoKey(). Does the hKey have the required permissions (e.g. "
                                  "KEY_WRITE does not include queries.): %s"),
                            m_dwLastStatus);
        return false;
    }
    Status eStatus = Status::NoMoreItems;
    if (pvcsKeyNames) {
        eStatus = ListNames(oInfo.cMaxKeyName, vlm::RegistryPort::MAX_KEY_NAME, *pvcsKeyNames,
                            [&](DWORD dwIndex, XCHAR* pchName, DWORD& rcUnits) {
                                return Registry().EnumerateKey(m_hKey, dwIndex, pchName, rcUnits);
                            });
    }
    if (pvcsValueNames && eStatus == Status::NoMoreItems) {
        eStatus =
            ListNames(oInfo.cMaxValueName, vlm::RegistryPort::MAX_VALUE_NAME, *pvcsValueNames,
                      [&](DWORD dwIndex, XCHAR* pchName, DWORD& rcUnits) {
                          DWORD dwType = 0, cbData = 0;
                          return Registry().EnumerateValue(m_hKey, dwIndex, pchName, rcUnits, dwType, nullptr, cbData);
                      });
    }
    if (eStatus == Status::NoMoreItems) return Note(0);
    Note(ToDword(eStatus));
    FailStatusAssertion(VTEXT("(dwStatus == (DWORD)259L)"), VLM_HERE, VTEXT("Error enumerating reg keys or values: %s"),
                        m_dwLastStatus);
    return false;
}

bool RegistryKey::EnumKeyNamesAndValueNames(std::vector<CXString>* pvcsKeyNames,
                                            std::vector<CXString>* pvcsValueNames) noexcept {
    std::vector<CXString> vcsKeyNames, vcsValueNames;
    bool fListed = false;
    Quietly([&] {
        if (!RequireKey()) return;
        if (!m_fForward) {
            fListed = EnumDirectly(pvcsKeyNames ? &vcsKeyNames : nullptr, pvcsValueNames ? &vcsValueNames : nullptr);
            return;
        }
        fListed = !pvcsKeyNames || NoteForwarded(m_apoPortMonitor->EnumKeyNames(m_hKey, vcsKeyNames));
        if (fListed && pvcsValueNames) {
            fListed = NoteForwarded(m_apoPortMonitor->EnumValueNames(m_hKey, vcsValueNames));
        }
    });
    if (!fListed) {
        vcsKeyNames.clear();
        vcsValueNames.clear();
    }
    if (pvcsKeyNames) pvcsKeyNames->swap(vcsKeyNames);
    if (pvcsValueNames) pvcsValueNames->swap(vcsValueNames);
    return fListed;
}

bool RegistryKey::DeleteKey(const CXString& kcsName) noexcept {
    if (!RequireKey()) return false;
    if (kcsName.IsEmpty()) return Note(ToDword(Status::InvalidParameter));
    if (m_fForward) return NoteForwarded(m_apoPortMonitor->DeleteKey(m_hKey, kcsName));
    vlm::RegistryHandle oKey;
    bool fLink = false;
    Status eStatus = Registry().OpenLink(m_hKey, kcsName, vlm::RegistryPort::RIGHT_DELETE, oKey.Receive(), fLink);
    if (eStatus == Status::Success) eStatus = Registry().DeleteOpenKey(oKey.Get());
    return Note(ToDword(eStatus));
}

bool RegistryKey::DeleteKeyAndSubkeys(const CXString& kcsName) noexcept {
    if (!RequireKey()) return false;
    if (kcsName.IsEmpty()) return Note(ToDword(Status::InvalidParameter));
    if (m_fForward) return NoteForwarded(m_apoPortMonitor->DeleteKeyAndSubkeys(m_hKey, kcsName));
    return Note(ToDword(vlm::DeleteRegistryTree(m_hKey, kcsName)));
}

bool RegistryKey::CopyKeyAndSubkeysFrom(RegistryKey& rSource) noexcept {
    if (!RequireKey()) return false;
    if (m_fForward) return CopyKeyAndSubkeysFrom(rSource.m_eGivenHive, rSource.m_csSubKey);
    if (rSource.m_fForward) {
        // Its key is the monitor's number; the registry knows it by its path.
        return CopyKeyAndSubkeysFrom(rSource.m_eGivenHive, rSource.m_csSubKey);
    }
    if (!rSource.m_hKey) return Note(ToDword(Status::InvalidHandle));
    return Note(ToDword(vlm::CopyRegistryTree(rSource.m_hKey, m_hKey)));
}

bool RegistryKey::CopyKeyAndSubkeysFrom(_HKEYREGISTRY_ eSourceHive, const CXString& kcsSourcePath) noexcept {
    if (!RequireKey()) return false;
    if (m_fForward) {
        if (eSourceHive != m_eHive) return Note(ToDword(Status::NotSupported));
        return NoteForwarded(m_apoPortMonitor->CopyKeyAndSubkeysFrom(m_hKey, kcsSourcePath));
    }
    DWORD dwStatus = ToDword(Status::NotEnoughMemory);
    Quietly([&] {
        RegistryKey oSource(eSourceHive, kcsSourcePath, DIRECT, m_fUsersTree);
        oSource.OpenRegistryKey(READ_ACCESS, NO_THROW);
        dwStatus = oSource.m_dwLastStatus;
        if (dwStatus == 0) dwStatus = ToDword(vlm::CopyRegistryTree(oSource.m_hKey, m_hKey));
    });
    return Note(dwStatus);
}
