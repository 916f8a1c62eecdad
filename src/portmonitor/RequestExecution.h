/// @file
/// Carries an allowed request out.
#pragma once

#include <memory>

#include "portmonitor/ConfinedKeys.h"
#include "portmonitor/KeyTokens.h"
#include "portmonitor/RequestDecision.h"
#include "portmonitor/StorageUsage.h"
#include "portmonitor/WorkLock.h"

namespace vlm {

/// One request under way, with all keys that it opens.  Everything about it is decided already.
/// **Ownership**: borrows its arguments; closes what it opened, but for the key of a token that it hands out.
/// **Threads**: one, which holds the monitor's lock and has the identity that was decided.
/// **Failure**: by status; throws when memory runs out.
class RequestExecution {
public:
    RequestExecution(const PortMonitorRequest& rRequest, const RequestCaller& rCaller, const RequestDecision& rDecision,
                     const TokenKey* pTokenKey, StorageUsage& rUsage, WorkLock& rLock) noexcept
        : m_rRequest(rRequest),
          m_rOperation(*FindRequestOperation(static_cast<WORD>(rRequest.m_eFunction))),
          m_rCaller(rCaller),
          m_rDecision(rDecision),
          m_pTokenKey(pTokenKey),
          m_rUsage(rUsage),
          m_rLock(rLock) {}

    /// @param roReservation where the key of a CreateKey or OpenKey goes; reserved for those two.
    /// @param rbbReply the reply is appended.
    Status Run(TokenReservation& roReservation, ByteBuffer& rbbReply);

private:
    KeyPlace Place() const;
    bool IsTokenItself() const noexcept { return m_pTokenKey && m_rRequest.m_csKeyPath.IsEmpty(); }
    /// Opens the key that the request names, or takes the token's own.
    Status OpenTarget(DWORD dwRights, RegistryHandle& roOwned, HKEY& rhKey) const;
    /// The same; creates it when it is missing.
    Status CreateTarget(DWORD dwRights, RegistryHandle& roOwned, HKEY& rhKey);
    Status CreateMissing(DWORD dwRights, RegistryHandle& roHandle);
    Status HandOutKey(TokenReservation& roReservation, ByteBuffer& rbbReply);
    Status TestAccess() const;
    Status DeleteKey();
    Status Copy();
    Status RunOnValues(ByteBuffer& rbbReply);

    const PortMonitorRequest& m_rRequest;
    const RequestOperation& m_rOperation;
    const RequestCaller& m_rCaller;
    const RequestDecision& m_rDecision;
    const TokenKey* m_pTokenKey;
    StorageUsage& m_rUsage;
    WorkLock& m_rLock;
};

/// Deletes one user's low-rights storage, or with an empty SID all of it.  Nothing there is a success.
Status RemoveStorage(const CXString& kcsSid, WorkLock& rLock);

}  // namespace vlm
