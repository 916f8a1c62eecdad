/// @file
/// Puts resolving and authorising together, operation by operation.
#include "portmonitor/RequestDecision.h"

#include "environment/PortMonitorRequestRules.h"

namespace vlm {

namespace {

Status Resolve(const PortMonitorRequest& rRequest, const ResolvedKey* pTokenKey, ResolvedKey& rKey) {
    if (pTokenKey) return ResolveSubKey(*pTokenKey, rRequest.m_csKeyPath, rKey);
    // The third string of a copy is its source; roots that need a SID never carry a copy.
    const bool fSid = rRequest.m_eFunction != _XPMRegistryFunction::CopyKeyAndSubkeysFrom;
    return ResolveKey(rRequest.m_eRoot, fSid ? rRequest.m_csThird : CXString(), rRequest.m_csKeyPath, rKey);
}

/// The new name of a renamed value: the data without its terminating zero.
CXString NewValueName(const PortMonitorRequest& rRequest) {
    return rRequest.m_bbData.getAsStringValue();
}

RequestRights AuthoriseRename(const PortMonitorRequest& rRequest, const RequestCaller& rCaller,
                              const ResolvedKey& rKey) {
    const RequestRights eOld = Authorise(rCaller, RequestEffect::Write, rKey, rRequest.m_csValueName);
    const RequestRights eNew = Authorise(rCaller, RequestEffect::Write, rKey, NewValueName(rRequest));
    return eOld == eNew ? eOld : RequestRights::Refused;
}

/// A list is as good as the worst of its names.
RequestRights AuthoriseValueList(const PortMonitorRequest& rRequest, const RequestCaller& rCaller,
                                 const ResolvedKey& rKey) {
    const RequestRights eRights = Authorise(rCaller, RequestEffect::Read, rKey, CXString());
    for (const CXString& kcsName : ValueListNames(rRequest.m_bbData)) {
        if (Authorise(rCaller, RequestEffect::Read, rKey, kcsName) != eRights) return RequestRights::Refused;
    }
    return eRights;
}

/// The whole request is allowed when each of the values that it names is.
RequestRights AuthoriseOne(const PortMonitorRequest& rRequest, const RequestOperation& rOperation,
                           const RequestCaller& rCaller, const ResolvedKey& rKey) {
    using enum _XPMRegistryFunction;
    switch (rRequest.m_eFunction) {
        case RenameValue:
            return AuthoriseRename(rRequest, rCaller, rKey);
        case QueryMultipleValues:
            return AuthoriseValueList(rRequest, rCaller, rKey);
        case CreateKey:
            return Authorise(rCaller, RequestEffect::Write, rKey, CXString());
        case OpenKey:
        case TestAccess:
            return Authorise(rCaller, EffectOfMask(rRequest.m_dwAccessMask), rKey, CXString());
        default:
            return Authorise(rCaller, rOperation.m_eEffect, rKey, rRequest.m_csValueName);
    }
}

}  // namespace

Status DecideRequest(const PortMonitorRequest& rRequest, const RequestCaller& rCaller, const ResolvedKey* pTokenKey,
                     RequestDecision& rDecision) {
    const RequestOperation* const pOperation = FindRequestOperation(static_cast<WORD>(rRequest.m_eFunction));
    if (!pOperation) return Status::InvalidParameter;
    RequestDecision oDecision;
    oDecision.m_dwAccessMask = MaskRights(rRequest.m_dwAccessMask);
    if (const Status status = Resolve(rRequest, pTokenKey, oDecision.m_oKey); status != Status::Success) return status;
    if (pOperation->m_eEffect == RequestEffect::Copy) {
        const ResolvedKey* const pBase = pTokenKey;
        const _HKEYREGISTRY_ eRoot = pBase ? pBase->m_eRoot : rRequest.m_eRoot;
        const CXString csSid = pBase ? pBase->m_csSid : CXString();
        const Status status = ResolveKey(eRoot, csSid, rRequest.m_csThird, oDecision.m_oSource);
        if (status != Status::Success) return status;
        oDecision.m_eRights = AuthoriseCopy(rCaller, oDecision.m_oSource, oDecision.m_oKey);
    } else {
        oDecision.m_eRights = AuthoriseOne(rRequest, *pOperation, rCaller, oDecision.m_oKey);
    }
    if (oDecision.m_eRights == RequestRights::Refused) return Status::AccessDenied;
    rDecision = std::move(oDecision);
    return Status::Success;
}

}  // namespace vlm
