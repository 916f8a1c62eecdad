/// @file
/// Counts the storage.
#include "portmonitor/StorageUsage.h"

#include "portmonitor/ConfinedKeys.h"
#include "portmonitor/KeyContents.h"
#include "portmonitor/KeyTreeWalk.h"
#include "utilities/Bounds.h"

namespace vlm {

namespace {

using Usage = StorageUsage::Usage;

/// Nobody has more users than this; an estimate that is dropped costs a count.
constexpr std::size_t MAX_ESTIMATES = 1024;

bool IsTooMuch(const Usage& rUsage) noexcept {
    return rUsage.m_cKeys > bounds::MAX_STORAGE_KEYS || rUsage.m_cbBytes > bounds::MAX_STORAGE_BYTES;
}

/// Adds up one user's tree, or the shared part: all that is in nobody's tree.
class UsageCounter final : public KeyTreeVisitor {
public:
    explicit UsageCounter(const CXString& kcsOwner) : m_kcsOwner(kcsOwner) {}

    Status EnterKey(HKEY hKey, const ResolvedKey&, std::size_t) override {
        ++m_oUsage.m_cKeys;
        m_oUsage.m_cbBytes += StorageUsage::ITEM_BYTES;
        const Status eStatus = ForEachValue(hKey, [this](const CXString& kcsName, DWORD, DWORD cbData) {
            m_oUsage.m_cbBytes += StorageUsage::ITEM_BYTES + kcsName.View().size() * 2 + cbData;
            return IsTooMuch(m_oUsage) ? Status::NoSystemResources : Status::Success;
        });
        return eStatus == Status::Success && IsTooMuch(m_oUsage) ? Status::NoSystemResources : eStatus;
    }
    /// What is in a user's tree counts for him, not for the shared part around it.
    bool IsOfInterest(const ResolvedKey& rKey) override { return StorageOwnerOf(rKey.m_csPath) == m_kcsOwner; }
    Status OnLink(HKEY, bool& rfGone) override {
        rfGone = false;
        return Status::Success;
    }

    Usage m_oUsage;

private:
    const CXString& m_kcsOwner;
};

Status Count(const CXString& kcsOwner, Usage& rUsage) {
    ResolvedKey oTop;
    oTop.m_csPath = BasePathOfRoot(HKeyRegistry::Hkey_Low_Rights_Storage);
    if (!kcsOwner.IsEmpty()) oTop.m_csPath += VTEXT("\\") + kcsOwner;
    RegistryHandle oHandle;
    const Status eOpen = OpenConfined(PlaceOf(oTop), RegistryPort::RIGHTS_READ, oHandle);
    if (eOpen == Status::FileNotFound) {
        rUsage = {};
        return Status::Success;
    }
    if (eOpen != Status::Success) return eOpen;
    UsageCounter oCounter(kcsOwner);
    const KeyTreeLimits oLimits{bounds::MAX_DELETED_KEYS, bounds::MAX_KEY_LEVELS};
    const Status eStatus = WalkKeyTree(oHandle.Get(), oTop, 0, oLimits, oCounter, nullptr);
    if (eStatus == Status::Success) rUsage = oCounter.m_oUsage;
    return eStatus;
}

}  // namespace

Status StorageUsage::Reserve(const ResolvedKey& rKey, DWORD cKeys, ULONGLONG cbBytes) {
    if (!IsInStorage(rKey)) return Status::Success;
    const CXString csOwner = StorageOwnerOf(rKey.m_csPath);
    const auto More = [&](const Usage& rUsage) {
        return Usage{rUsage.m_cKeys + cKeys, rUsage.m_cbBytes + cKeys * ITEM_BYTES + cbBytes};
    };
    const auto it = m_mapUsers.find(csOwner);
    if (it != m_mapUsers.end() && !IsTooMuch(More(it->second))) {
        it->second = More(it->second);
        return Status::Success;
    }
    Usage oCounted;
    const Status eStatus = Count(csOwner, oCounted);
    if (eStatus != Status::Success) return eStatus;
    if (IsTooMuch(More(oCounted))) return Status::NoSystemResources;
    if (m_mapUsers.size() >= MAX_ESTIMATES) m_mapUsers.clear();
    m_mapUsers[csOwner] = More(oCounted);
    return Status::Success;
}

}  // namespace vlm
