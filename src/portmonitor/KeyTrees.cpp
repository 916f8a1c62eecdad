/// @file
/// The visitors behind copies and deletions.
#include "portmonitor/KeyTrees.h"

#include <vector>

#include "portmonitor/ConfinedKeys.h"
#include "portmonitor/KeyContents.h"
#include "utilities/Bounds.h"

namespace vlm {

namespace {

constexpr KeyTreeLimits COPY_LIMITS{bounds::MAX_COPIED_KEYS, bounds::MAX_COPIED_LEVELS};
constexpr KeyTreeLimits DELETE_LIMITS{bounds::MAX_DELETED_KEYS, bounds::MAX_KEY_LEVELS};
constexpr DWORD TARGET_RIGHTS = RegistryPort::SET_VALUE | RegistryPort::CREATE_SUB_KEY;

/// Is this key the caller's to delete, with all its values?
class DeletionChecker final : public KeyTreeVisitor {
public:
    explicit DeletionChecker(const RequestCaller& rCaller) : m_rCaller(rCaller) {}

    Status EnterKey(HKEY hKey, const ResolvedKey& rKey, std::size_t) override {
        if (Authorise(m_rCaller, RequestEffect::DeleteKey, rKey, CXString()) == RequestRights::Refused)
            return Status::AccessDenied;
        return ForEachValue(hKey, [&](const CXString& kcsName, DWORD, DWORD) {
            return Authorise(m_rCaller, RequestEffect::Write, rKey, kcsName) == RequestRights::Refused
                       ? Status::AccessDenied
                       : Status::Success;
        });
    }
    /// What a link leads to is not deleted with it.
    Status OnLink(HKEY, bool& rfGone) override {
        rfGone = false;
        return Status::Success;
    }

private:
    const RequestCaller& m_rCaller;
};

class Deleter final : public KeyTreeVisitor {
public:
    Status EnterKey(HKEY, const ResolvedKey&, std::size_t) override { return Status::Success; }
    Status LeaveKey(HKEY hKey, bool& rfGone) override { return Delete(hKey, rfGone); }
    Status OnLink(HKEY hLink, bool& rfGone) override { return Delete(hLink, rfGone); }

private:
    static Status Delete(HKEY hKey, bool& rfGone) {
        const Status eStatus = Registry().DeleteOpenKey(hKey);
        rfGone = eStatus == Status::Success || eStatus == Status::KeyDeleted;
        return rfGone ? Status::Success : eStatus;
    }
};

/// The key of the target tree that stands for a key of the source tree.
ResolvedKey Counterpart(const TreeCopy& rCopy, const ResolvedKey& rKey) {
    ResolvedKey oKey = rCopy.m_oTarget.m_oKey;
    oKey.m_csPath += rKey.m_csPath.Mid(rCopy.m_oSource.m_oKey.m_csPath.GetLength());
    return oKey;
}

/// Looks at everything that is to be copied.
class CopyChecker final : public KeyTreeVisitor {
public:
    explicit CopyChecker(const TreeCopy& rCopy) : m_rCopy(rCopy) {}

    Status EnterKey(HKEY hKey, const ResolvedKey& rKey, std::size_t) override {
        const ResolvedKey oTarget = Counterpart(m_rCopy, rKey);
        ++m_cKeys;
        if (!IsAllowed(rKey, oTarget, CXString())) return Status::AccessDenied;
        return ForEachValue(hKey, [&](const CXString& kcsName, DWORD dwType, DWORD cbData) {
            if (dwType == RegistryPort::TYPE_LINK || !IsAllowed(rKey, oTarget, kcsName)) return Status::AccessDenied;
            m_cbBytes += StorageUsage::ITEM_BYTES + kcsName.View().size() * 2 + cbData;
            const bool fTooMuch = cbData > bounds::MAX_MONITOR_VALUE_BYTES || m_cbBytes > bounds::MAX_COPIED_BYTES;
            return fTooMuch ? Status::NoSystemResources : Status::Success;
        });
    }

    DWORD m_cKeys = 0;
    ULONGLONG m_cbBytes = 0;

private:
    bool IsAllowed(const ResolvedKey& rFrom, const ResolvedKey& rTo, const CXString& kcsName) const {
        return Authorise(m_rCopy.m_rCaller, RequestEffect::Read, rFrom, kcsName) == m_rCopy.m_eRights &&
               Authorise(m_rCopy.m_rCaller, RequestEffect::Write, rTo, kcsName) == m_rCopy.m_eRights;
    }

    const TreeCopy& m_rCopy;
};

class Copier final : public KeyTreeVisitor {
public:
    explicit Copier(const TreeCopy& rCopy) : m_rCopy(rCopy), m_oSecondLook(rCopy) {}

    Status EnterKey(HKEY hKey, const ResolvedKey& rKey, std::size_t cLevel) override {
        // The source may have changed since it was looked at.
        Status eStatus = m_oSecondLook.EnterKey(hKey, rKey, cLevel);
        if (eStatus != Status::Success) return eStatus;
        HKEY hTarget = m_rCopy.m_oTarget.m_hTop;
        m_voTargets.resize(cLevel);  // those of the keys above; the top is the caller's own
        if (cLevel > 0) {
            const HKEY hParent = cLevel == 1 ? hTarget : m_voTargets[cLevel - 2].Get();
            const CXString csName = rKey.m_csPath.Mid(rKey.m_csPath.ReverseFind(VTEXT('\\')) + 1);
            RegistryHandle& roHandle = m_voTargets[cLevel - 1];
            eStatus = CreateConfined({hParent, csName}, Counterpart(m_rCopy, rKey), TARGET_RIGHTS, roHandle);
            if (eStatus != Status::Success) return eStatus;
            hTarget = roHandle.Get();
        }
        return CopyValues(hKey, hTarget);
    }

private:
    static Status CopyValues(HKEY hSource, HKEY hTarget) {
        return ForEachValue(hSource, [&](const CXString& kcsName, DWORD, DWORD) {
            StoredValue oValue;
            const Status eRead = ReadValue(hSource, kcsName, oValue);
            if (eRead != Status::Success) return eRead;
            if (oValue.m_dwType == RegistryPort::TYPE_LINK) return Status::AccessDenied;
            return Registry().SetValue(hTarget, kcsName, oValue.m_dwType, oValue.m_vbyData.data(),
                                       static_cast<DWORD>(oValue.m_vbyData.size()));
        });
    }

    const TreeCopy& m_rCopy;
    CopyChecker m_oSecondLook;
    std::vector<RegistryHandle> m_voTargets;
};

}  // namespace

Status CheckDeletion(const RequestCaller& rCaller, const KeyTree& rTree, bool fRecursive, WorkLock& rLock) {
    if (IsTrustedCaller(rCaller)) return Status::Success;
    DeletionChecker oChecker(rCaller);
    if (!fRecursive) return oChecker.EnterKey(rTree.m_hTop, rTree.m_oKey, 0);
    return WalkKeyTree(rTree.m_hTop, rTree.m_oKey, 0, DELETE_LIMITS, oChecker, &rLock);
}

Status DeleteTree(const KeyTree& rTree, WorkLock& rLock) {
    Deleter oDeleter;
    return WalkKeyTree(rTree.m_hTop, rTree.m_oKey, RegistryPort::RIGHT_DELETE, DELETE_LIMITS, oDeleter, &rLock);
}

Status CheckCopy(const TreeCopy& rCopy, StorageUsage& rUsage, WorkLock& rLock) {
    CopyChecker oChecker(rCopy);
    const Status eStatus =
        WalkKeyTree(rCopy.m_oSource.m_hTop, rCopy.m_oSource.m_oKey, 0, COPY_LIMITS, oChecker, &rLock);
    if (eStatus != Status::Success) return eStatus;
    return rUsage.Reserve(rCopy.m_oTarget.m_oKey, oChecker.m_cKeys, oChecker.m_cbBytes);
}

Status CopyTree(const TreeCopy& rCopy, WorkLock& rLock) {
    Copier oCopier(rCopy);
    return WalkKeyTree(rCopy.m_oSource.m_hTop, rCopy.m_oSource.m_oKey, 0, COPY_LIMITS, oCopier, &rLock);
}

}  // namespace vlm
