/// @file
/// The port monitor's side of one channel.
#pragma once

#include <span>

#include "portmonitor/KeyTokens.h"
#include "portmonitor/RequestAuthorisation.h"
#include "portmonitor/RequestDecision.h"
#include "portmonitor/StorageUsage.h"

namespace vlm {

/// What all channels of a monitor share.  **Threads**: any; the usage under the lock.
struct MonitorState {
    CriticalResource m_oLock;  ///< serialises the work on the registry
    StorageUsage m_oUsage;
};

/// Answers the commands of one channel.  It runs inside the spooler with the spooler's rights for callers who have few,
/// so nothing that arrives is taken on trust.  An "xregistry" request goes through six steps, each of which sees only
/// what the one before let through:
///
///     take apart   the record must be exactly what a client writes           87
///     resolve      its key handle must be this caller's, its key confined     6, 5
///     authorise    the table in docs/formats/xregistry.md                     5
///     reply size   where the operation changes something, before it does    122
///     carry out    under the monitor's lock, with the identity decided
///     reply        built in a buffer of our own, exactly as many bytes as it has
///
/// Other commands: "isready", "upgrade" (asks for permission alone: the loader that owns this code does the rest),
/// "XRemoveSID" with a SID as UTF-16 text with its zero, "XRemoveLRS".
///
/// **Ownership**: the keys that are open on the channel close with it.  **Threads**: any, several at once.
/// **Failure**: by status; nothing throws.
class RequestServer {
public:
    /// @param rState outlives the channel.  @param dwGrantedAccess rights that the spooler granted at the opening.
    RequestServer(MonitorState& rState, DWORD dwGrantedAccess) noexcept
        : m_rState(rState), m_dwGrantedAccess(dwGrantedAccess) {}
    RequestServer(const RequestServer&) = delete;
    RequestServer& operator=(const RequestServer&) = delete;

    /// Carries a command out for the user that the calling thread acts for.
    /// @param output never written to unless the answer is Success.
    /// @param rcbNeeded bytes written (Success) or needed (InsufficientBuffer), else 0.
    /// @return InvalidParameter for a command that is none.
    Status Transceive(XStringView command, std::span<const BYTE> input, std::span<BYTE> output,
                      DWORD& rcbNeeded) noexcept;

private:
    Status Dispatch(XStringView command, std::span<const BYTE> input, std::size_t cbOutput, ByteBuffer& rbbReply);
    Status AnswerRequest(const RequestCaller& rCaller, std::span<const BYTE> input, std::size_t cbOutput,
                         ByteBuffer& rbbReply);
    Status Execute(const RequestCaller& rCaller, const PortMonitorRequest& rRequest, const RequestDecision& rDecision,
                   const TokenKey* pTokenKey, ByteBuffer& rbbReply);
    Status RunCommand(ChannelCommand eCommand, const CXString& kcsSid);

    MonitorState& m_rState;
    const DWORD m_dwGrantedAccess;
    KeyTokens m_oTokens;
};

}  // namespace vlm
