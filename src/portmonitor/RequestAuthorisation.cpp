/// @file
/// The authorisation table, and how it is read.
#include "portmonitor/RequestAuthorisation.h"

#include <array>

#include "platform/SpoolerPort.h"

namespace vlm {

namespace {

/// What one class of callers may do with one target.
struct Cell {
    /// Components below the base from which on keys may be deleted.
    static constexpr int NEVER = 0x7FFF;

    bool m_fRead = false;
    bool m_fWrite = false;
    int m_iDeleteFrom = NEVER;
    RequestRights m_eRights = RequestRights::Refused;
};

constexpr RequestRights SYSTEM = RequestRights::AsSystem;
constexpr RequestRights CALLER = RequestRights::AsCaller;
constexpr Cell NOTHING{};
constexpr Cell READ{true, false, Cell::NEVER, SYSTEM};
constexpr Cell ALL{true, true, 1, SYSTEM};
constexpr Cell ALL_AS_CALLER{true, true, 1, CALLER};

using Row = std::array<Cell, static_cast<std::size_t>(CallerClass::Count)>;

/// Rows by target, columns by caller: remote, low integrity, standard, administrator, system.
constexpr std::array<Row, static_cast<std::size_t>(RequestTarget::Count)> TABLE = {{
    /* LowRightsOwn    */ {NOTHING, ALL, ALL, ALL, ALL},
    /* LowRightsShared */ {NOTHING, READ, Cell{true, true, 2, SYSTEM}, ALL, ALL},
    /* LowRightsOther  */ {NOTHING, NOTHING, NOTHING, ALL, ALL},
    /* Family          */ {NOTHING, READ, Cell{true, true, 2, SYSTEM}, ALL, ALL},
    /* FamilyTrusted   */ {NOTHING, NOTHING, READ, ALL, ALL},
    /* UserFamily      */ {NOTHING, Cell{true, true, Cell::NEVER, SYSTEM}, ALL_AS_CALLER, ALL_AS_CALLER, ALL_AS_CALLER},
    /* User            */ {NOTHING, ALL_AS_CALLER, ALL_AS_CALLER, ALL_AS_CALLER, ALL_AS_CALLER},
    /* UserDefault     */ {NOTHING, NOTHING, Cell{true, true, Cell::NEVER, SYSTEM}, ALL, ALL},
    /* UserOther       */ {NOTHING, NOTHING, NOTHING, ALL_AS_CALLER, ALL_AS_CALLER},
}};

constexpr DWORD RIGHT_CREATE_LINK = 0x20, RIGHT_WRITE_DAC = 0x40000, RIGHT_WRITE_OWNER = 0x80000,
                RIGHT_SYSTEM_SECURITY = 0x1000000, RIGHT_MAXIMUM_ALLOWED = 0x2000000;
constexpr DWORD CHANGING_RIGHTS = 0x2 | 0x4 | 0x10000 | 0x10000000 | 0x40000000;

const Cell& CellFor(const RequestCaller& rCaller, RequestTarget eTarget) noexcept {
    return TABLE[static_cast<std::size_t>(eTarget)][static_cast<std::size_t>(rCaller.m_eClass)];
}

}  // namespace

bool IsTrustedCaller(const RequestCaller& rCaller) noexcept {
    return rCaller.m_eClass == CallerClass::Administrator || rCaller.m_eClass == CallerClass::System;
}

CallerClass ClassifyCaller(const IdentityPort::Identity& rIdentity, bool fHostProcess) noexcept {
    if (fHostProcess) return CallerClass::System;
    if (rIdentity.fRemote) return CallerClass::Remote;
    if (rIdentity.fAppContainer || rIdentity.dwIntegrity < IdentityPort::INTEGRITY_MEDIUM)
        return CallerClass::LowIntegrity;
    if (rIdentity.dwIntegrity >= IdentityPort::INTEGRITY_SYSTEM) return CallerClass::System;
    return rIdentity.fAdministrator ? CallerClass::Administrator : CallerClass::Standard;
}

RequestRights Authorise(const RequestCaller& rCaller, RequestEffect eEffect, const ResolvedKey& rKey,
                        const CXString& kcsValueName) {
    const RequestTarget eTarget = ClassifyTarget(rKey, kcsValueName, rCaller.m_csSid);
    const Cell& rCell = CellFor(rCaller, eTarget);
    bool fAllowed = false;
    switch (eEffect) {
        case RequestEffect::Read:
            fAllowed = rCell.m_fRead;
            break;
        case RequestEffect::Write:
            fAllowed = rCell.m_fWrite;
            // The default user's tree is everybody's: beside administrators, people change only the values made for it.
            if (eTarget == RequestTarget::UserDefault && !IsTrustedCaller(rCaller)) {
                fAllowed = fAllowed && IsDefaultUserValueName(kcsValueName);
            }
            break;
        case RequestEffect::DeleteKey:
            fAllowed = DepthBelowBase(rKey) >= rCell.m_iDeleteFrom && !IsAtOrAboveABasePath(rKey);
            break;
        case RequestEffect::Close:
            return RequestRights::AsSystem;
        case RequestEffect::Copy:
        case RequestEffect::Open:
            break;
    }
    return fAllowed ? rCell.m_eRights : RequestRights::Refused;
}

RequestRights AuthoriseCopy(const RequestCaller& rCaller, const ResolvedKey& rSource, const ResolvedKey& rTarget) {
    const RequestRights eRead = Authorise(rCaller, RequestEffect::Read, rSource, CXString());
    const RequestRights eWrite = Authorise(rCaller, RequestEffect::Write, rTarget, CXString());
    if (eRead == RequestRights::Refused || eRead != eWrite) return RequestRights::Refused;
    const bool fOneTree = rSource.m_eTree == rTarget.m_eTree && rSource.m_csSid.CompareNoCase(rTarget.m_csSid) == 0;
    if (fOneTree && IsWithin(rTarget.m_csPath, rSource.m_csPath)) return RequestRights::Refused;
    const bool fOneTarget = fOneTree && ClassifyTarget(rSource, CXString(), rCaller.m_csSid) ==
                                            ClassifyTarget(rTarget, CXString(), rCaller.m_csSid);
    return fOneTarget || IsTrustedCaller(rCaller) ? eWrite : RequestRights::Refused;
}

DWORD MaskRights(DWORD dwAccessMask) noexcept {
    return dwAccessMask &
           ~(RIGHT_CREATE_LINK | RIGHT_WRITE_DAC | RIGHT_WRITE_OWNER | RIGHT_SYSTEM_SECURITY | RIGHT_MAXIMUM_ALLOWED);
}

RequestEffect EffectOfMask(DWORD dwAccessMask) noexcept {
    return (MaskRights(dwAccessMask) & CHANGING_RIGHTS) != 0 ? RequestEffect::Write : RequestEffect::Read;
}

bool AuthoriseCommand(const RequestCaller& rCaller, ChannelCommand eCommand, const CXString& kcsSid) noexcept {
    switch (eCommand) {
        case ChannelCommand::IsReady:
            return true;
        case ChannelCommand::RemoveSid:
            return IsTrustedCaller(rCaller) ||
                   (rCaller.m_eClass == CallerClass::Standard && rCaller.m_csSid.CompareNoCase(kcsSid) == 0);
        case ChannelCommand::Upgrade:
        case ChannelCommand::RemoveLrs:
            return IsTrustedCaller(rCaller) && (rCaller.m_dwGrantedAccess & SpoolerPort::ACCESS_ADMINISTER) != 0;
    }
    return false;
}

}  // namespace vlm
