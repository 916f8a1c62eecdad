/// @file
/// SIDs of users, and the low-rights data that the port monitor keeps for them.
#include "environment/PortMonitorImpl.h"
#include "environment/PortMonitorRequestRules.h"
#include "environment/User.h"
#include "utilities/debuggingandexceptions/NoThrow.h"

using vlm::Status;

namespace {

constexpr const XCHAR* DEFAULT_USER = VTEXT(".DEFAULT");
constexpr const XCHAR* LOCAL_SYSTEM_SID = VTEXT("S-1-5-18");

}  // namespace

CXString VelomPortMonitor::GetUserSID(const CXString& kcsUserName, bool fDefaultForSystem) noexcept {
    CXString csSid;
    vlm::NoThrow([&] {
        csSid = kcsUserName.IsEmpty() ? User::GetCurrentUserSID() : User::GetSIDOfAccount(kcsUserName);
        // The local system's own hive is the default user's.
        if (fDefaultForSystem && csSid == LOCAL_SYSTEM_SID) csSid = DEFAULT_USER;
    });
    return csSid;
}

CXString VelomPortMonitor::GetUserSIDIfNeeded(_HKEYREGISTRY_ eRoot, bool fUsersTree) noexcept {
    return IsSIDRequired(eRoot, fUsersTree) ? GetUserSID(CXString(), false) : CXString();
}

bool VelomPortMonitor::GetUserSIDIfNeeded(_HKEYREGISTRY_ eRoot, bool fUsersTree, CXString& rcsSid) noexcept {
    if (!IsSIDRequired(eRoot, fUsersTree)) return true;
    if (rcsSid.IsEmpty()) rcsSid = GetUserSID(CXString(), false);
    return !rcsSid.IsEmpty();
}

bool VelomPortMonitor::RemoveLRSDataForUser(const XCHAR* pszSid) noexcept {
    DWORD cbNeeded = 0;
    m_dwLastStatus = vlm::ToDword(Status::NotEnoughMemory);
    const bool fDone = vlm::NoThrow(
        [&] {
            const CXString csSid(pszSid);
            if (!vlm::IsRegularSid(csSid)) {
                m_dwLastStatus = vlm::ToDword(Status::InvalidParameter);
                return false;
            }
            ByteBuffer bbSid;
            bbSid.append(csSid).appendNullChar();
            return SendCommand(VTEXT("XRemoveSID"), bbSid, nullptr, 0, cbNeeded) == 0;
        },
        false);
    if (!fDone) {
        VLM_REPORT_ERROR(DebugCategory::Registry, VTEXT("The low-rights data of the user '%s' is not removed! %s"),
                         pszSid, vlm::TextOfStatus(m_dwLastStatus));
    }
    return fDone;
}

bool VelomPortMonitor::RemoveLRSData() noexcept {
    DWORD cbNeeded = 0;
    if (SendCommand(VTEXT("XRemoveLRS"), ByteBuffer(), nullptr, 0, cbNeeded) == 0) return true;
    VLM_REPORT_ERROR(DebugCategory::Registry, VTEXT("The low-rights data is not removed! %s"),
                     vlm::TextOfStatus(m_dwLastStatus));
    return false;
}
