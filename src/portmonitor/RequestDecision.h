/// @file
/// From a request that was taken apart to what is carried out: key, rights and mask, or a refusal.
#pragma once

#include "portmonitor/RequestAuthorisation.h"

namespace vlm {

/// An allowed request, ready to be carried out.
struct RequestDecision {
    RequestRights m_eRights = RequestRights::Refused;
    ResolvedKey m_oKey;        ///< the key that the operation works on; for a deletion the key that goes
    ResolvedKey m_oSource;     ///< of a copy
    DWORD m_dwAccessMask = 0;  ///< for CreateKey, OpenKey and TestAccess, without the rights that nobody gets
};

/// Resolves and authorises.  Pure: no platform call, no lock.
/// @param pTokenKey the key behind the request's handle, or null when the request names a root.
/// @return Success, or AccessDenied for whatever policy forbids; `rDecision` is then unchanged.
Status DecideRequest(const PortMonitorRequest& rRequest, const RequestCaller& rCaller, const ResolvedKey* pTokenKey,
                     RequestDecision& rDecision);

}  // namespace vlm
