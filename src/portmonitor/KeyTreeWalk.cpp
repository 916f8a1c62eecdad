/// @file
/// The walk, with a stack of its own.
#include "portmonitor/KeyTreeWalk.h"

#include <vector>

#include "portmonitor/KeyContents.h"

namespace vlm {

namespace {

struct Level {
    RegistryHandle m_oOwned;  ///< empty at the top, which is the caller's
    HKEY m_hKey = nullptr;
    ResolvedKey m_oKey;
    DWORD m_dwNext = 0;
};

constexpr DWORD WALK_RIGHTS = RegistryPort::ENUMERATE_SUB_KEYS | RegistryPort::QUERY_VALUE;

/// The next sub-key of the last level, as a new level, or a link.
Status Descend(std::vector<Level>& rvLevels, DWORD dwRights, Level& rNext, bool& rfLink) {
    Level& rLevel = rvLevels.back();
    CXString csName;
    Status eStatus = ReadKeyName(rLevel.m_hKey, rLevel.m_dwNext, csName);
    if (eStatus != Status::Success) return eStatus;
    eStatus = Registry().OpenLink(rLevel.m_hKey, csName, WALK_RIGHTS | dwRights, rNext.m_oOwned.Receive(), rfLink);
    if (eStatus != Status::Success) return eStatus;
    rNext.m_hKey = rNext.m_oOwned.Get();
    rNext.m_oKey = rLevel.m_oKey;
    if (!rNext.m_oKey.m_csPath.IsEmpty()) rNext.m_oKey.m_csPath += VTEXT("\\");
    rNext.m_oKey.m_csPath += csName;
    ++rLevel.m_dwNext;
    return Status::Success;
}

}  // namespace

Status WalkKeyTree(HKEY hTop, const ResolvedKey& rTop, DWORD dwRights, const KeyTreeLimits& rLimits,
                   KeyTreeVisitor& rVisitor, WorkLock* pLock) {
    Status eStatus = rVisitor.EnterKey(hTop, rTop, 0);
    if (eStatus != Status::Success) return eStatus;
    std::vector<Level> vLevels;
    vLevels.emplace_back();
    vLevels.back().m_hKey = hTop;
    vLevels.back().m_oKey = rTop;
    DWORD cKeys = 1;
    while (!vLevels.empty()) {
        Level oNext;
        bool fLink = false, fGone = false;
        eStatus = Descend(vLevels, dwRights, oNext, fLink);
        // A key that vanishes between its name and its opening was never there.
        if (eStatus == Status::FileNotFound && ++cKeys <= rLimits.m_cKeys) continue;
        if (eStatus == Status::NoMoreItems) {
            eStatus = rVisitor.LeaveKey(vLevels.back().m_hKey, fGone);
            vLevels.pop_back();
            if (fGone && !vLevels.empty()) --vLevels.back().m_dwNext;
        } else if (eStatus == Status::Success && ++cKeys > rLimits.m_cKeys) {
            return Status::NoSystemResources;
        } else if (eStatus == Status::Success && fLink) {
            eStatus = rVisitor.OnLink(oNext.m_hKey, fGone);
            if (fGone) --vLevels.back().m_dwNext;
        } else if (eStatus == Status::Success && rVisitor.IsOfInterest(oNext.m_oKey)) {
            if (vLevels.size() >= rLimits.m_cLevels) return Status::NoSystemResources;
            eStatus = rVisitor.EnterKey(oNext.m_hKey, oNext.m_oKey, vLevels.size());
            vLevels.push_back(std::move(oNext));
        }
        if (eStatus != Status::Success) return eStatus;
        if (pLock) pLock->Breathe();
    }
    return Status::Success;
}

}  // namespace vlm
