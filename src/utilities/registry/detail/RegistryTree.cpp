/// @file
/// Walks trees of keys by handle, one component at a time.
#include "utilities/registry/detail/RegistryTree.h"

#include <algorithm>
#include <vector>

#include "platform/RegistryHandleImpl.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

namespace vlm {

namespace {

constexpr DWORD READ_RIGHTS = RegistryPort::RIGHTS_READ;
constexpr DWORD DELETE_RIGHTS = RegistryPort::RIGHTS_READ | RegistryPort::RIGHT_DELETE;
constexpr DWORD TARGET_RIGHTS = RegistryPort::RIGHTS_READ_WRITE;

/// The name of a sub-key; a key's names never come longer.
struct KeyName {
    XCHAR szText[RegistryPort::MAX_KEY_NAME + 1] = {};

    Status Read(HKEY hKey, DWORD dwIndex) noexcept {
        DWORD cUnits = RegistryPort::MAX_KEY_NAME + 1;
        return Registry().EnumerateKey(hKey, dwIndex, szText, cUnits);
    }
};

/// One key of a tree, the tree being in order from the top, each key before what is below it.
struct TreeKey {
    std::size_t cLevel;  ///< 1: directly below the root
    CXString csName;
};

/// Gathers what is below a key.
Status ListTree(HKEY hRoot, const RegistryTreeLimits& rLimits, std::vector<TreeKey>& rvKeys) {
    struct Level {
        RegistryHandle oKey;
        DWORD dwNext = 0;
    };
    std::vector<Level> vLevels(1);
    KeyName oName;
    while (!vLevels.empty()) {
        Level& rLevel = vLevels.back();
        const HKEY hKey = vLevels.size() == 1 ? hRoot : rLevel.oKey.Get();
        Status eStatus = oName.Read(hKey, rLevel.dwNext++);
        if (eStatus == Status::NoMoreItems) {
            vLevels.pop_back();
            continue;
        }
        if (eStatus != Status::Success) return eStatus;
        Level oBelow;
        bool fLink = false;
        eStatus = Registry().OpenLink(hKey, oName.szText, READ_RIGHTS, oBelow.oKey.Receive(), fLink);
        if (eStatus == Status::FileNotFound) continue;  // gone since it was named
        if (eStatus != Status::Success) return eStatus;
        if (fLink) continue;
        if (rvKeys.size() >= rLimits.m_cKeys || vLevels.size() > rLimits.m_cLevels) return Status::NoSystemResources;
        rvKeys.push_back({vLevels.size(), CXString(oName.szText)});
        vLevels.push_back(std::move(oBelow));
    }
    return Status::Success;
}

/// Copies values, and counts their bytes.
class ValueCopier {
public:
    explicit ValueCopier(ULONGLONG cbMost) : m_vchName(RegistryPort::MAX_VALUE_NAME + 1), m_cbLeft(cbMost) {}

    Status Copy(HKEY hSource, HKEY hTarget) {
        for (DWORD dwIndex = 0;; ++dwIndex) {
            const Status eStatus = CopyOne(hSource, hTarget, dwIndex);
            if (eStatus == Status::NoMoreItems) return Status::Success;
            if (eStatus != Status::Success) return eStatus;
        }
    }

private:
    Status CopyOne(HKEY hSource, HKEY hTarget, DWORD dwIndex) {
        DWORD dwType = 0, cbData = 0;
        Status eStatus = Status::MoreData;
        for (int i = 0; i < ATTEMPTS && eStatus == Status::MoreData; ++i) {
            if (cbData > m_cbLeft) return Status::NoSystemResources;
            m_bbData.resize(std::max<std::size_t>(m_bbData.size(), cbData));
            DWORD cUnits = static_cast<DWORD>(m_vchName.size());
            cbData = static_cast<DWORD>(m_bbData.size());
            // A null target would only ask for the size.
            BYTE byNothing = 0;
            BYTE* const pbyTarget = m_bbData.empty() ? &byNothing : m_bbData.data();
            eStatus = Registry().EnumerateValue(hSource, dwIndex, m_vchName.data(), cUnits, dwType, pbyTarget, cbData);
        }
        if (eStatus != Status::Success) return eStatus;
        if (cbData > m_cbLeft) return Status::NoSystemResources;
        m_cbLeft -= cbData;
        if (dwType == RegistryPort::TYPE_LINK) return Status::Success;
        return Registry().SetValue(hTarget, m_vchName.data(), dwType, m_bbData.data(), cbData);
    }

    static constexpr int ATTEMPTS = 5;

    std::vector<XCHAR> m_vchName;
    ByteBuffer m_bbData;
    ULONGLONG m_cbLeft;
};

/// Opens a sub-key for writing, or makes it; never through a link.
Status OpenTarget(HKEY hParent, const XCHAR* pszName, RegistryHandle& rKey) noexcept {
    bool fCreated = false;
    // A second round for a key that somebody else makes between the two calls of the first.
    for (int i = 0; i < 2; ++i) {
        bool fLink = false;
        const Status eStatus = Registry().OpenLink(hParent, pszName, TARGET_RIGHTS, rKey.Receive(), fLink);
        if (eStatus == Status::Success) return fLink ? Status::AccessDenied : Status::Success;
        if (eStatus != Status::FileNotFound) return eStatus;
        const Status eMade = Registry().Create(hParent, pszName, TARGET_RIGHTS, false, rKey.Receive(), fCreated);
        if (eMade != Status::Success || fCreated) return eMade;
    }
    return Status::AccessDenied;
}

Status CopyTree(HKEY hSource, HKEY hTarget, const RegistryTreeLimits& rLimits) {
    std::vector<TreeKey> vKeys;
    if (const Status e = ListTree(hSource, rLimits, vKeys); e != Status::Success) return e;
    ValueCopier oValues(rLimits.m_cbData);
    if (const Status e = oValues.Copy(hSource, hTarget); e != Status::Success) return e;
    struct Pair {
        RegistryHandle oSource;
        RegistryHandle oTarget;
    };
    std::vector<Pair> vOpen;
    for (const TreeKey& rKey : vKeys) {
        // A key whose parent was left out has none to be copied from.
        if (rKey.cLevel > vOpen.size() + 1) continue;
        vOpen.resize(rKey.cLevel - 1);
        const HKEY hSourceParent = vOpen.empty() ? hSource : vOpen.back().oSource.Get();
        const HKEY hTargetParent = vOpen.empty() ? hTarget : vOpen.back().oTarget.Get();
        Pair oPair;
        bool fLink = false;
        const Status eStatus =
            Registry().OpenLink(hSourceParent, rKey.csName, READ_RIGHTS, oPair.oSource.Receive(), fLink);
        if (eStatus == Status::FileNotFound || (eStatus == Status::Success && fLink)) continue;
        if (eStatus != Status::Success) return eStatus;
        if (const Status e = OpenTarget(hTargetParent, rKey.csName, oPair.oTarget); e != Status::Success) return e;
        if (const Status e = oValues.Copy(oPair.oSource.Get(), oPair.oTarget.Get()); e != Status::Success) return e;
        vOpen.push_back(std::move(oPair));
    }
    return Status::Success;
}

Status DeleteTree(HKEY hParent, const XCHAR* pszSubKey, const RegistryTreeLimits& rLimits) {
    struct Level {
        RegistryHandle oKey;
        bool fLink = false;
    };
    std::vector<Level> vLevels;
    KeyName oName;
    ULONGLONG cKeys = 0;
    const auto Descend = [&](HKEY hAbove, const XCHAR* pszName) {
        if (++cKeys > rLimits.m_cKeys || vLevels.size() > rLimits.m_cLevels) return Status::NoSystemResources;
        Level oLevel;
        const Status e = Registry().OpenLink(hAbove, pszName, DELETE_RIGHTS, oLevel.oKey.Receive(), oLevel.fLink);
        if (e == Status::Success) vLevels.push_back(std::move(oLevel));
        return e;
    };
    Status eStatus = Descend(hParent, pszSubKey);
    while (eStatus == Status::Success && !vLevels.empty()) {
        const HKEY hKey = vLevels.back().oKey.Get();
        const Status eNamed = vLevels.back().fLink ? Status::NoMoreItems : oName.Read(hKey, 0);
        if (eNamed == Status::NoMoreItems) {
            eStatus = Registry().DeleteOpenKey(hKey);
            vLevels.pop_back();
        } else {
            eStatus = eNamed == Status::Success ? Descend(hKey, oName.szText) : eNamed;
        }
    }
    return eStatus;
}

}  // namespace

Status DeleteRegistryTree(HKEY hParent, const XCHAR* pszSubKey, const RegistryTreeLimits& rLimits) noexcept {
    if (pszSubKey == nullptr || *pszSubKey == 0) return Status::InvalidParameter;
    return NoThrow([&] { return DeleteTree(hParent, pszSubKey, rLimits); }, Status::NotEnoughMemory);
}

Status CopyRegistryTree(HKEY hSource, HKEY hTarget, const RegistryTreeLimits& rLimits) noexcept {
    return NoThrow([&] { return CopyTree(hSource, hTarget, rLimits); }, Status::NotEnoughMemory);
}

}  // namespace vlm
