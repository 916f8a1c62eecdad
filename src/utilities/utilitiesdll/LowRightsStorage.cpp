/// @file
/// Paths of the low-rights storage.
#include "utilities/utilitiesdll/LowRightsStorage.h"

#include "environment/PortMonitor.h"
#include "environment/PortMonitorRequestRules.h"

LowRightsStorage::LowRightsStorage(const CXString& kcsName, const CXString& kcsSid)
    : m_csName(kcsName), m_csSid(kcsSid.IsEmpty() ? VelomPortMonitor::GetUserSID(CXString(), false) : kcsSid) {
    // A component that is no SID would lead into somebody else's part, or out of the storage.
    if (!vlm::IsRegularSid(m_csSid)) m_csSid.Empty();
}

CXString LowRightsStorage::GetKeyPath() const {
    return IsAvailable() ? VelomPortMonitor::MakePath(GetPathOfUser(m_csSid), m_csName) : CXString();
}

CXString LowRightsStorage::GetBasePath() {
    return VelomPortMonitor::GetKeyPathFromHkey(SHARED_ROOT, false, CXString());
}

CXString LowRightsStorage::GetPathOfUser(const CXString& kcsSid) {
    return vlm::IsRegularSid(kcsSid) ? VelomPortMonitor::GetKeyPathFromHkey(ROOT, false, kcsSid) : CXString();
}
