/// @file
/// The registry port over the store.
#include "platform/host/HostRegistryPort.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "platform/host/HostIdentityPort.h"
#include "platform/host/HostNames.h"
#include "platform/host/HostStore.h"

namespace vlm::host {

namespace {

using Kind = StoreTransaction::Kind;

/// Runs `operation` as one transaction; a writing one is kept only when it succeeded.
template <typename Operation>
Status InTransaction(Kind eKind, Operation operation) noexcept try {
    StoreTransaction oStore(eKind);
    const Status eStatus = operation(oStore);
    if (eStatus == Status::Success && eKind == Kind::Write) oStore.Commit();
    return eStatus;
} catch (const StoreFailure& rFailure) {
    return rFailure.eStatus;
} catch (const std::bad_alloc&) {
    return Status::NotEnoughMemory;
}

/// The components of a path; doubled and trailing separators are ignored.
Status Components(const XCHAR* pszPath, std::vector<std::string>& rvComponents) {
    XStringView svRest = pszPath ? XStringView(pszPath) : XStringView();
    if (svRest.starts_with(VTEXT('\\'))) return Status::BadPathName;
    while (!svRest.empty()) {
        const std::size_t cUnits = std::min(svRest.find(VTEXT('\\')), svRest.size());
        if (cUnits > RegistryPort::MAX_KEY_NAME) return Status::InvalidParameter;
        if (cUnits > 0) rvComponents.push_back(StoreTextFromUnits(svRest.substr(0, cUnits)));
        svRest.remove_prefix(std::min(cUnits + 1, svRest.size()));
    }
    return Status::Success;
}

struct Key {
    std::int64_t llKey = 0;  ///< 0: there is none
    bool fVolatile = false;
};

Key FindChild(StoreTransaction& rStore, std::int64_t llParent, std::string_view svName) {
    StoreStatement oSelect = rStore.Prepare("SELECT id, volatile FROM key WHERE parent = ? AND name = ?");
    if (!oSelect.Bind(1, llParent).Bind(2, svName).Step()) return {};
    return {oSelect.Integer(0), oSelect.Integer(1) != 0};
}

std::int64_t AddChild(StoreTransaction& rStore, std::int64_t llParent, std::string_view svName, bool fVolatile) {
    StoreStatement oInsert = rStore.Prepare("INSERT INTO key(parent, name, volatile) VALUES(?, ?, ?)");
    oInsert.Bind(1, llParent).Bind(2, svName).Bind(3, fVolatile).Step();
    return rStore.LastInsertedId();
}

/// Walks down existing keys.
Status Walk(StoreTransaction& rStore, std::int64_t& rllKey, const std::vector<std::string>& rvComponents) {
    for (const std::string& rComponent : rvComponents) {
        rllKey = FindChild(rStore, rllKey, rComponent).llKey;
        if (rllKey == 0) return Status::FileNotFound;
    }
    return Status::Success;
}

DWORD EffectiveRights(DWORD dwRights) noexcept {
    constexpr DWORD GENERIC_ALL_BIT = 0x10000000, GENERIC_WRITE_BIT = 0x40000000, GENERIC_READ_BIT = 0x80000000;
    if (dwRights & (RegistryPort::MAXIMUM_RIGHTS | GENERIC_ALL_BIT)) dwRights |= RegistryPort::RIGHTS_ALL;
    if (dwRights & GENERIC_READ_BIT) dwRights |= RegistryPort::RIGHTS_READ;
    if (dwRights & GENERIC_WRITE_BIT) dwRights |= RegistryPort::RIGHTS_WRITE;
    return dwRights;
}

std::string ValueName(const XCHAR* pszName) {
    return StoreTextFromUnits(pszName ? XStringView(pszName) : XStringView());
}

constexpr char SELECT_VALUE[] = "SELECT type, data FROM value WHERE key = ? AND name = ?";

/// The rules for handing out data, the same for all reads.
Status HandOut(std::string_view svData, void* pTarget, DWORD& rcbData) noexcept {
    const DWORD cbRoom = rcbData;
    rcbData = static_cast<DWORD>(svData.size());
    if (pTarget == nullptr) return Status::Success;
    if (cbRoom < svData.size()) return Status::MoreData;
    std::copy(svData.begin(), svData.end(), static_cast<char*>(pTarget));
    return Status::Success;
}

Status HandOutName(std::string_view svName, XCHAR* pszName, DWORD& rcName) {
    const std::basic_string<XCHAR> units = UnitsFromStoreText(svName);
    if (pszName == nullptr || units.size() >= rcName) return Status::MoreData;
    *std::copy(units.begin(), units.end(), pszName) = 0;
    rcName = static_cast<DWORD>(units.size());
    return Status::Success;
}

std::uintptr_t NumberOf(HKEY hKey) noexcept {
    return reinterpret_cast<std::uintptr_t>(hKey);
}

/// The numbers of the roots, with their sign carried over the handle's width.
constexpr std::uintptr_t RootNumber(RegistryPort::Root eRoot) noexcept {
    return static_cast<std::uintptr_t>(std::intptr_t{static_cast<std::int32_t>(eRoot)});
}

/// The key of a predefined root, 0 for any other handle.
std::int64_t RootOf(const StoreTransaction& rStore, HKEY hKey) noexcept {
    switch (NumberOf(hKey)) {
        case RootNumber(RegistryPort::Root::ClassesRoot):
            return rStore.ClassesKey();
        case RootNumber(RegistryPort::Root::CurrentUser):
            return rStore.CurrentUserKey();
        case RootNumber(RegistryPort::Root::LocalMachine):
            return StoreTransaction::KEY_LOCAL_MACHINE;
        case RootNumber(RegistryPort::Root::Users):
            return StoreTransaction::KEY_USERS;
        default:
            return 0;
    }
}

Status DeleteBareKey(StoreTransaction& rStore, std::int64_t llKey) {
    for (const std::int64_t llRoot : {StoreTransaction::KEY_LOCAL_MACHINE, StoreTransaction::KEY_USERS,
                                      rStore.ClassesKey(), rStore.CurrentUserKey()}) {
        if (llKey == llRoot) return Status::AccessDenied;
    }
    if (rStore.Prepare("SELECT 1 FROM key WHERE parent = ?").Bind(1, llKey).Step()) return Status::AccessDenied;
    rStore.Prepare("DELETE FROM value WHERE key = ?").Bind(1, llKey).Step();
    rStore.Prepare("DELETE FROM key WHERE id = ?").Bind(1, llKey).Step();
    return Status::Success;
}

}  // namespace

HKEY HostRegistryPort::RootKey(Root eRoot) noexcept {
    return reinterpret_cast<HKEY>(RootNumber(eRoot));
}

Status HostRegistryPort::Resolve(StoreTransaction& rStore, HKEY hKey, DWORD dwRights, OpenKey& rKey) {
    if (const std::int64_t llRoot = RootOf(rStore, hKey)) {
        rKey = {llRoot, rStore.StoreNumber(), RIGHTS_ALL, false};
        return Status::Success;
    }
    const std::optional<OpenKey> oKey = m_oKeys.Find(NumberOf(hKey));
    if (!oKey || oKey->ullStore != rStore.StoreNumber()) return Status::InvalidHandle;
    rKey = *oKey;
    StoreStatement oSelect = rStore.Prepare("SELECT volatile FROM key WHERE id = ?");
    if (!oSelect.Bind(1, rKey.llKey).Step()) return Status::KeyDeleted;
    rKey.fVolatile = oSelect.Integer(0) != 0;
    return (rKey.dwRights & dwRights) == dwRights ? Status::Success : Status::AccessDenied;
}

HKEY HostRegistryPort::MakeHandle(StoreTransaction& rStore, std::int64_t llKey, DWORD dwRights) {
    return reinterpret_cast<HKEY>(m_oKeys.Add({llKey, rStore.StoreNumber(), EffectiveRights(dwRights), false}));
}

Status HostRegistryPort::Open(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey) noexcept {
    return InTransaction(Kind::Read, [&](StoreTransaction& rStore) {
        OpenKey oKey{};
        std::vector<std::string> vComponents;
        if (const Status e = Resolve(rStore, hParent, 0, oKey); e != Status::Success) return e;
        if (const Status e = Components(pszSubKey, vComponents); e != Status::Success) return e;
        if (const Status e = Walk(rStore, oKey.llKey, vComponents); e != Status::Success) return e;
        rhKey = MakeHandle(rStore, oKey.llKey, dwRights);
        return Status::Success;
    });
}

Status HostRegistryPort::Create(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, bool fVolatile, HKEY& rhKey,
                                bool& rfCreated) noexcept {
    if (pszSubKey == nullptr) return Status::InvalidParameter;
    // Most keys exist; a reader waits for nobody and writes nothing.
    const Status eOpen = Open(hParent, pszSubKey, dwRights, rhKey);
    if (eOpen == Status::Success) rfCreated = false;
    if (eOpen != Status::FileNotFound) return eOpen;
    HKEY hKey = nullptr;
    bool fCreated = false;
    const Status eStatus = InTransaction(Kind::Write, [&](StoreTransaction& rStore) {
        OpenKey oParent{};
        std::vector<std::string> vComponents;
        if (const Status e = Resolve(rStore, hParent, CREATE_SUB_KEY, oParent); e != Status::Success) return e;
        if (const Status e = Components(pszSubKey, vComponents); e != Status::Success) return e;
        Key oKey{oParent.llKey, oParent.fVolatile};
        for (const std::string& rComponent : vComponents) {
            const Key oChild = FindChild(rStore, oKey.llKey, rComponent);
            fCreated = oChild.llKey == 0;
            if (fCreated && oKey.fVolatile && !fVolatile) return Status::ChildMustBeVolatile;
            oKey = fCreated ? Key{AddChild(rStore, oKey.llKey, rComponent, fVolatile), fVolatile} : oChild;
        }
        hKey = MakeHandle(rStore, oKey.llKey, dwRights);
        return Status::Success;
    });
    if (eStatus != Status::Success) {
        if (hKey != nullptr) m_oKeys.Remove(NumberOf(hKey));
        return eStatus;
    }
    rhKey = hKey;
    rfCreated = fCreated;
    return Status::Success;
}

Status HostRegistryPort::CreateRestricted(HKEY hParent, const XCHAR* pszName, DWORD dwRights, const XCHAR* pszReaderSid,
                                          HKEY& rhKey, bool& rfCreated) noexcept {
    const XStringView svName = pszName ? XStringView(pszName) : XStringView();
    const bool fSid = pszReaderSid != nullptr && IsSidText(pszReaderSid);
    if (svName.empty() || svName.find(VTEXT('\\')) != XStringView::npos || !fSid) return Status::InvalidParameter;
    return Create(hParent, pszName, dwRights, false, rhKey, rfCreated);
}

Status HostRegistryPort::OpenLink(HKEY hParent, const XCHAR* pszSubKey, DWORD dwRights, HKEY& rhKey,
                                  bool& rfLink) noexcept {
    const Status eStatus = Open(hParent, pszSubKey, dwRights | QUERY_VALUE, rhKey);
    if (eStatus == Status::Success) rfLink = false;
    return eStatus;
}

Status HostRegistryPort::CreateLink(HKEY hParent, const XCHAR*, HKEY) noexcept {
    return InTransaction(Kind::Read, [&](StoreTransaction& rStore) {
        OpenKey oKey{};
        const Status eStatus = Resolve(rStore, hParent, 0, oKey);
        return eStatus == Status::Success ? Status::NotSupported : eStatus;
    });
}

Status HostRegistryPort::Close(HKEY hKey) noexcept {
    for (const Root eRoot : {Root::ClassesRoot, Root::CurrentUser, Root::LocalMachine, Root::Users,
                             Root::PerformanceData, Root::CurrentConfig, Root::DynData, Root::CurrentUserLocalSettings,
                             Root::PerformanceText, Root::PerformanceNlstext}) {
        if (NumberOf(hKey) == RootNumber(eRoot)) return Status::Success;
    }
    return m_oKeys.Remove(NumberOf(hKey)) ? Status::Success : Status::InvalidHandle;
}

Status HostRegistryPort::QueryValue(HKEY hKey, const XCHAR* pszName, DWORD& rdwType, void* pTarget,
                                    DWORD& rcbData) noexcept {
    return InTransaction(Kind::Read, [&](StoreTransaction& rStore) {
        OpenKey oKey{};
        if (const Status e = Resolve(rStore, hKey, QUERY_VALUE, oKey); e != Status::Success) return e;
        StoreStatement oSelect = rStore.Prepare(SELECT_VALUE);
        if (!oSelect.Bind(1, oKey.llKey).Bind(2, ValueName(pszName)).Step()) return Status::FileNotFound;
        rdwType = static_cast<DWORD>(oSelect.Integer(0));
        return HandOut(oSelect.Bytes(1), pTarget, rcbData);
    });
}

Status HostRegistryPort::QueryMultipleValues(HKEY hKey, ValueQuery* pQueries, DWORD cQueries, void* pTarget,
                                             DWORD& rcbData) noexcept {
    return InTransaction(Kind::Read, [&](StoreTransaction& rStore) {
        OpenKey oKey{};
        if (const Status e = Resolve(rStore, hKey, QUERY_VALUE, oKey); e != Status::Success) return e;
        const DWORD cbRoom = pTarget ? rcbData : 0;
        std::uint64_t cbNeeded = 0;
        for (DWORD i = 0; i < cQueries; ++i) {
            StoreStatement oSelect = rStore.Prepare(SELECT_VALUE);
            if (!oSelect.Bind(1, oKey.llKey).Bind(2, ValueName(pQueries[i].pszName)).Step())
                return Status::FileNotFound;
            const std::string_view svData = oSelect.Bytes(1);
            if (cbNeeded + svData.size() > UINT32_MAX) return Status::NotEnoughMemory;
            pQueries[i].dwType = static_cast<DWORD>(oSelect.Integer(0));
            pQueries[i].cbData = static_cast<DWORD>(svData.size());
            pQueries[i].dwOffset = static_cast<DWORD>(cbNeeded);
            if (cbNeeded + svData.size() <= cbRoom) {
                std::copy(svData.begin(), svData.end(), static_cast<char*>(pTarget) + cbNeeded);
            }
            cbNeeded += svData.size();
        }
        rcbData = static_cast<DWORD>(cbNeeded);
        return pTarget != nullptr && cbNeeded <= cbRoom ? Status::Success : Status::MoreData;
    });
}

Status HostRegistryPort::SetValue(HKEY hKey, const XCHAR* pszName, DWORD dwType, const void* pData,
                                  DWORD cbData) noexcept {
    if (pData == nullptr && cbData != 0) return Status::NoAccess;
    if (pszName != nullptr && XStringView(pszName).size() > MAX_VALUE_NAME) return Status::InvalidParameter;
    return InTransaction(Kind::Write, [&](StoreTransaction& rStore) {
        OpenKey oKey{};
        if (const Status e = Resolve(rStore, hKey, SET_VALUE, oKey); e != Status::Success) return e;
        StoreStatement oInsert = rStore.Prepare(
            "INSERT INTO value(key, name, type, data) VALUES(?, ?, ?, ?)"
            " ON CONFLICT(key, name) DO UPDATE SET type = excluded.type, data = excluded.data");
        oInsert.Bind(1, oKey.llKey).Bind(2, ValueName(pszName)).Bind(3, dwType).BindBytes(4, pData, cbData).Step();
        return Status::Success;
    });
}

Status HostRegistryPort::DeleteValue(HKEY hKey, const XCHAR* pszName) noexcept {
    return InTransaction(Kind::Write, [&](StoreTransaction& rStore) {
        OpenKey oKey{};
        if (const Status e = Resolve(rStore, hKey, SET_VALUE, oKey); e != Status::Success) return e;
        StoreStatement oDelete = rStore.Prepare("DELETE FROM value WHERE key = ? AND name = ? RETURNING 1");
        return oDelete.Bind(1, oKey.llKey).Bind(2, ValueName(pszName)).Step() ? Status::Success : Status::FileNotFound;
    });
}

Status HostRegistryPort::DeleteKey(HKEY hParent, const XCHAR* pszSubKey) noexcept {
    if (pszSubKey == nullptr || *pszSubKey == 0) return Status::InvalidParameter;
    return InTransaction(Kind::Write, [&](StoreTransaction& rStore) {
        OpenKey oKey{};
        std::vector<std::string> vComponents;
        if (const Status e = Resolve(rStore, hParent, 0, oKey); e != Status::Success) return e;
        if (const Status e = Components(pszSubKey, vComponents); e != Status::Success) return e;
        if (const Status e = Walk(rStore, oKey.llKey, vComponents); e != Status::Success) return e;
        return DeleteBareKey(rStore, oKey.llKey);
    });
}

Status HostRegistryPort::DeleteOpenKey(HKEY hKey) noexcept {
    return InTransaction(Kind::Write, [&](StoreTransaction& rStore) {
        OpenKey oKey{};
        if (const Status e = Resolve(rStore, hKey, RIGHT_DELETE, oKey); e != Status::Success) return e;
        return DeleteBareKey(rStore, oKey.llKey);
    });
}

Status HostRegistryPort::EnumerateKey(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName) noexcept {
    return InTransaction(Kind::Read, [&](StoreTransaction& rStore) {
        OpenKey oKey{};
        if (const Status e = Resolve(rStore, hKey, ENUMERATE_SUB_KEYS, oKey); e != Status::Success) return e;
        StoreStatement oSelect = rStore.Prepare("SELECT name FROM key WHERE parent = ? ORDER BY name LIMIT 1 OFFSET ?");
        if (!oSelect.Bind(1, oKey.llKey).Bind(2, dwIndex).Step()) return Status::NoMoreItems;
        return HandOutName(oSelect.Text(0), pszName, rcName);
    });
}

Status HostRegistryPort::EnumerateValue(HKEY hKey, DWORD dwIndex, XCHAR* pszName, DWORD& rcName, DWORD& rdwType,
                                        void* pTarget, DWORD& rcbData) noexcept {
    return InTransaction(Kind::Read, [&](StoreTransaction& rStore) {
        OpenKey oKey{};
        if (const Status e = Resolve(rStore, hKey, QUERY_VALUE, oKey); e != Status::Success) return e;
        StoreStatement oSelect =
            rStore.Prepare("SELECT name, type, data FROM value WHERE key = ? ORDER BY name LIMIT 1 OFFSET ?");
        if (!oSelect.Bind(1, oKey.llKey).Bind(2, dwIndex).Step()) return Status::NoMoreItems;
        rdwType = static_cast<DWORD>(oSelect.Integer(1));
        const Status eData = HandOut(oSelect.Bytes(2), pTarget, rcbData);
        const Status eName = HandOutName(oSelect.Text(0), pszName, rcName);
        return eName != Status::Success ? eName : eData;
    });
}

Status HostRegistryPort::QueryInfo(HKEY hKey, KeyInfo& rInfo) noexcept {
    return InTransaction(Kind::Read, [&](StoreTransaction& rStore) {
        OpenKey oKey{};
        if (const Status e = Resolve(rStore, hKey, QUERY_VALUE, oKey); e != Status::Success) return e;
        KeyInfo oInfo;
        const auto Longest = [](DWORD& rcLongest, std::string_view svName) {
            rcLongest = std::max(rcLongest, static_cast<DWORD>(UnitsFromStoreText(svName).size()));
        };
        StoreStatement oKeys = rStore.Prepare("SELECT name FROM key WHERE parent = ?");
        for (oKeys.Bind(1, oKey.llKey); oKeys.Step(); ++oInfo.cSubKeys)
            Longest(oInfo.cMaxKeyName, oKeys.Text(0));
        StoreStatement oValues = rStore.Prepare("SELECT name, length(data) FROM value WHERE key = ?");
        for (oValues.Bind(1, oKey.llKey); oValues.Step(); ++oInfo.cValues) {
            Longest(oInfo.cMaxValueName, oValues.Text(0));
            oInfo.cbMaxData = std::max(oInfo.cbMaxData, static_cast<DWORD>(oValues.Integer(1)));
        }
        rInfo = oInfo;
        return Status::Success;
    });
}

Status HostRegistryPort::OpenCurrentUser(DWORD dwRights, HKEY& rhKey) noexcept {
    IdentityPort::Identity oIdentity;
    if (HostIdentityPort().CurrentIdentity(oIdentity) == Status::Success && oIdentity.fImpersonating) {
        return Open(RootKey(Root::Users), oIdentity.szSid, dwRights, rhKey);
    }
    return InTransaction(Kind::Read, [&](StoreTransaction& rStore) {
        rhKey = MakeHandle(rStore, rStore.CurrentUserKey(), dwRights);
        return Status::Success;
    });
}

Status HostRegistryPort::ConnectRemote(const XCHAR* pszMachine, HKEY&) noexcept {
    return pszMachine ? Status::BadNetworkPath : Status::InvalidParameter;
}

}  // namespace vlm::host
