/// @file
/// The way of a command through the monitor.
#include "portmonitor/RequestServer.h"

#include <algorithm>
#include <array>
#include <new>

#include "environment/PortMonitorRequestRules.h"
#include "portmonitor/RequestExecution.h"
#include "portmonitor/SystemIdentity.h"
#include "portmonitor/ValueOperations.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

namespace vlm {

namespace {

constexpr XStringView REQUEST_COMMAND = VTEXT("xregistry");

struct NamedCommand {
    XStringView m_name;
    ChannelCommand m_eCommand;
};

constexpr std::array<NamedCommand, 4> COMMANDS = {{
    {VTEXT("isready"), ChannelCommand::IsReady},
    {VTEXT("upgrade"), ChannelCommand::Upgrade},
    {VTEXT("XRemoveSID"), ChannelCommand::RemoveSid},
    {VTEXT("XRemoveLRS"), ChannelCommand::RemoveLrs},
}};

/// The SID that "XRemoveSID" carries; empty when the input is anything else.
CXString SidFrom(std::span<const BYTE> input) {
    constexpr std::size_t MAX_SID_BYTES = 512;
    if (input.size() > MAX_SID_BYTES || !IsRegularText(input)) return {};
    const CXString csSid = ByteBuffer(input).getAsStringValue();
    // ".DEFAULT" is a regular name in a request, but nobody's.
    return IsRegularSid(csSid) && csSid.GetAt(0) == VTEXT('S') ? csSid : CXString();
}

bool HandsOutKey(const PortMonitorRequest& rRequest) noexcept {
    return rRequest.m_eFunction == _XPMRegistryFunction::CreateKey ||
           rRequest.m_eFunction == _XPMRegistryFunction::OpenKey;
}

}  // namespace

Status RequestServer::Transceive(XStringView command, std::span<const BYTE> input, std::span<BYTE> output,
                                 DWORD& rcbNeeded) noexcept {
    rcbNeeded = 0;
    Status eStatus = Status::GeneralFailure;
    try {
        ByteBuffer bbReply;
        eStatus = Dispatch(command, input, output.size(), bbReply);
        if (eStatus == Status::Success && bbReply.size() > output.size()) eStatus = Status::InsufficientBuffer;
        if (eStatus == Status::Success) std::copy(bbReply.begin(), bbReply.end(), output.begin());
        if (eStatus == Status::Success || eStatus == Status::InsufficientBuffer) rcbNeeded = bbReply.GetLength();
    } catch (const std::bad_alloc&) {
        eStatus = Status::NotEnoughMemory;
    } catch (const ExceptionOutOfMemory&) {
        eStatus = Status::NotEnoughMemory;
    } catch (...) {
        eStatus = Status::GeneralFailure;
    }
    return eStatus;
}

Status RequestServer::Dispatch(XStringView command, std::span<const BYTE> input, std::size_t cbOutput,
                               ByteBuffer& rbbReply) {
    RequestCaller oCaller;
    if (IdentifyCaller(m_dwGrantedAccess, oCaller) != Status::Success) return Status::AccessDenied;
    if (command == REQUEST_COMMAND) return AnswerRequest(oCaller, input, cbOutput, rbbReply);
    const auto it = std::find_if(COMMANDS.begin(), COMMANDS.end(),
                                 [command](const NamedCommand& rCommand) { return rCommand.m_name == command; });
    if (it == COMMANDS.end()) return Status::InvalidParameter;
    const bool fSid = it->m_eCommand == ChannelCommand::RemoveSid;
    const CXString csSid = fSid ? SidFrom(input) : CXString();
    if (fSid ? csSid.IsEmpty() : !input.empty()) return Status::InvalidParameter;
    if (!AuthoriseCommand(oCaller, it->m_eCommand, csSid)) return Status::AccessDenied;
    return RunCommand(it->m_eCommand, csSid);
}

Status RequestServer::RunCommand(ChannelCommand eCommand, const CXString& kcsSid) {
    if (eCommand != ChannelCommand::RemoveSid && eCommand != ChannelCommand::RemoveLrs) return Status::Success;
    WorkLock oLock(m_rState.m_oLock);
    SystemIdentity oIdentity;
    Status eStatus = oIdentity.Begin();
    if (eStatus != Status::Success) return eStatus;
    eStatus = RemoveStorage(kcsSid, oLock);
    return oIdentity.End() == Status::Success ? eStatus : Status::GeneralFailure;
}

Status RequestServer::AnswerRequest(const RequestCaller& rCaller, std::span<const BYTE> input, std::size_t cbOutput,
                                    ByteBuffer& rbbReply) {
    PortMonitorRequest oRequest;
    Status eStatus = PortMonitorRequest::Decode(input, oRequest);
    if (eStatus != Status::Success) return eStatus;
    if (!IsModulusRegular(oRequest)) return Status::InvalidParameter;

    std::shared_ptr<const TokenKey> shpoTokenKey;
    if (oRequest.m_ullKeyHandle != 0) {
        shpoTokenKey = m_oTokens.Find(oRequest.m_ullKeyHandle, rCaller.m_csSid);
        if (!shpoTokenKey) return Status::InvalidHandle;
    }
    if (oRequest.m_eFunction == _XPMRegistryFunction::CloseKey) {
        m_oTokens.Release(oRequest.m_ullKeyHandle);
        return Status::Success;
    }
    RequestDecision oDecision;
    eStatus = DecideRequest(oRequest, rCaller, shpoTokenKey ? &shpoTokenKey->m_oKey : nullptr, oDecision);
    if (eStatus != Status::Success) return eStatus;

    const ReplyLayout eLayout = FindRequestOperation(static_cast<WORD>(oRequest.m_eFunction))->m_eReply;
    const DWORD cbReply = PortMonitorReply::FixedSize(eLayout);
    if (cbReply > cbOutput) {
        rbbReply.resize(cbReply);
        return Status::InsufficientBuffer;
    }
    return Execute(rCaller, oRequest, oDecision, shpoTokenKey.get(), rbbReply);
}

Status RequestServer::Execute(const RequestCaller& rCaller, const PortMonitorRequest& rRequest,
                              const RequestDecision& rDecision, const TokenKey* pTokenKey, ByteBuffer& rbbReply) {
    TokenReservation oReservation(m_oTokens);
    Status eStatus = HandsOutKey(rRequest) ? oReservation.Reserve(rCaller.m_csSid) : Status::Success;
    if (eStatus != Status::Success) return eStatus;
    WorkLock oLock(m_rState.m_oLock);
    SystemIdentity oIdentity;
    if (rDecision.m_eRights == RequestRights::AsSystem) eStatus = oIdentity.Begin();
    if (eStatus != Status::Success) return eStatus;
    {
        RequestExecution oExecution(rRequest, rCaller, rDecision, pTokenKey, m_rState.m_oUsage, oLock);
        eStatus = oExecution.Run(oReservation, rbbReply);
    }
    return oIdentity.End() == Status::Success ? eStatus : Status::GeneralFailure;
}

}  // namespace vlm
