/// @file
/// Opens the keys of a request and does its work.
#include "portmonitor/RequestExecution.h"

#include <algorithm>

#include "portmonitor/KeyTrees.h"
#include "portmonitor/ValueOperations.h"

namespace vlm {

namespace {

constexpr DWORD DELETE_RIGHTS =
    RegistryPort::RIGHT_DELETE | RegistryPort::ENUMERATE_SUB_KEYS | RegistryPort::QUERY_VALUE;
constexpr DWORD COPY_RIGHTS = RegistryPort::SET_VALUE | RegistryPort::CREATE_SUB_KEY;
constexpr DWORD SOURCE_RIGHTS = RegistryPort::ENUMERATE_SUB_KEYS | RegistryPort::QUERY_VALUE;

bool MayBeCreated(_XPMRegistryFunction eFunction) noexcept {
    using enum _XPMRegistryFunction;
    return eFunction == SetBooleanValue || eFunction == SetLongValue || eFunction == SetLong64Value ||
           eFunction == SetStringValue || eFunction == SetBytesValue;
}

/// What is opened for a caller: never more than he asked for, and reading where nothing of it is left.
DWORD AskedRights(const RequestDecision& rDecision) noexcept {
    const DWORD dwRights = EffectiveRights(rDecision.m_dwAccessMask);
    return dwRights != 0 ? dwRights : RegistryPort::RIGHTS_READ;
}

ULONGLONG NameBytes(const CXString& kcsName) noexcept {
    return kcsName.View().size() * 2;
}

DWORD CountComponents(const CXString& kcsPath) noexcept {
    return static_cast<DWORD>(std::count(kcsPath.begin(), kcsPath.end(), VTEXT('\\'))) + 1;
}

}  // namespace

Status RequestExecution::Run(TokenReservation& roReservation, ByteBuffer& rbbReply) {
    using Function = _XPMRegistryFunction;
    switch (m_rRequest.m_eFunction) {
        case Function::CopyKeyAndSubkeysFrom:
            return Copy();
        case Function::CreateKey:
        case Function::OpenKey:
            return HandOutKey(roReservation, rbbReply);
        case Function::DeleteKeyAndSubkeys:
        case Function::DeleteKey:
            return DeleteKey();
        case Function::TestAccess:
            return TestAccess();
        default:
            return RunOnValues(rbbReply);
    }
}

KeyPlace RequestExecution::Place() const {
    return m_pTokenKey ? KeyPlace{m_pTokenKey->m_oHandle.Get(), m_rRequest.m_csKeyPath} : PlaceOf(m_rDecision.m_oKey);
}

Status RequestExecution::OpenTarget(DWORD dwRights, RegistryHandle& roOwned, HKEY& rhKey) const {
    if (IsTokenItself()) {
        rhKey = m_pTokenKey->m_oHandle.Get();
        return (m_pTokenKey->m_dwRights & dwRights) == dwRights ? Status::Success : Status::AccessDenied;
    }
    const Status eStatus = OpenConfined(Place(), dwRights, roOwned);
    rhKey = roOwned.Get();
    return eStatus;
}

Status RequestExecution::CreateTarget(DWORD dwRights, RegistryHandle& roOwned, HKEY& rhKey) {
    Status eStatus = OpenTarget(dwRights, roOwned, rhKey);
    if (eStatus != Status::FileNotFound) return eStatus;
    eStatus = CreateMissing(dwRights, roOwned);
    rhKey = roOwned.Get();
    return eStatus;
}

Status RequestExecution::CreateMissing(DWORD dwRights, RegistryHandle& roHandle) {
    const ResolvedKey& rKey = m_rDecision.m_oKey;
    // In the default user's tree people may write a few values, but not make keys beyond those that hold them.
    const bool fDefaultUser = ClassifyTarget(rKey, CXString(), m_rCaller.m_csSid) == RequestTarget::UserDefault;
    if (fDefaultUser && !IsTrustedCaller(m_rCaller) &&
        !IsWithin(BasePathOfRoot(HKeyRegistry::Hkey_User_Version), rKey.m_csPath)) {
        return Status::AccessDenied;
    }
    const CXString& kcsPath = m_pTokenKey ? m_rRequest.m_csKeyPath : rKey.m_csPath;
    const Status eStatus = m_rUsage.Reserve(rKey, CountComponents(kcsPath), NameBytes(kcsPath));
    return eStatus == Status::Success ? CreateConfined(Place(), rKey, dwRights, roHandle) : eStatus;
}

Status RequestExecution::HandOutKey(TokenReservation& roReservation, ByteBuffer& rbbReply) {
    const auto shpoKey = std::make_shared<TokenKey>();
    shpoKey->m_dwRights = AskedRights(m_rDecision);
    shpoKey->m_oKey = m_rDecision.m_oKey;
    rbbReply.reserve(rbbReply.size() + PortMonitorReply::FixedSize(ReplyLayout::KeyToken));
    Status eStatus = OpenConfined(Place(), shpoKey->m_dwRights, shpoKey->m_oHandle);
    if (eStatus == Status::FileNotFound && m_rRequest.m_eFunction == _XPMRegistryFunction::CreateKey)
        eStatus = CreateMissing(shpoKey->m_dwRights, shpoKey->m_oHandle);
    if (eStatus != Status::Success) return eStatus;
    rbbReply.appendLong64Value(static_cast<LONGLONG>(roReservation.Commit(shpoKey)));
    return Status::Success;
}

Status RequestExecution::TestAccess() const {
    RegistryHandle oHandle;
    return OpenConfined(Place(), AskedRights(m_rDecision), oHandle);
}

Status RequestExecution::DeleteKey() {
    RegistryHandle oHandle;
    bool fLink = false;
    Status eStatus = OpenForDeletion(Place(), DELETE_RIGHTS, oHandle, fLink);
    if (eStatus != Status::Success) return eStatus;
    const bool fRecursive = m_rRequest.m_eFunction == _XPMRegistryFunction::DeleteKeyAndSubkeys;
    if (fLink) return Registry().DeleteOpenKey(oHandle.Get());
    const KeyTree oTree{oHandle.Get(), m_rDecision.m_oKey};
    eStatus = CheckDeletion(m_rCaller, oTree, fRecursive, m_rLock);
    if (eStatus != Status::Success) return eStatus;
    return fRecursive ? DeleteTree(oTree, m_rLock) : Registry().DeleteOpenKey(oHandle.Get());
}

Status RequestExecution::Copy() {
    RegistryHandle oSource, oTarget;
    TreeCopy oCopy{m_rCaller, m_rDecision.m_eRights, {nullptr, m_rDecision.m_oSource}, {nullptr, m_rDecision.m_oKey}};
    Status eStatus = OpenConfined(PlaceOf(m_rDecision.m_oSource), SOURCE_RIGHTS, oSource);
    oCopy.m_oSource.m_hTop = oSource.Get();
    if (eStatus == Status::Success) eStatus = CheckCopy(oCopy, m_rUsage, m_rLock);
    if (eStatus == Status::Success) eStatus = CreateTarget(COPY_RIGHTS, oTarget, oCopy.m_oTarget.m_hTop);
    return eStatus == Status::Success ? CopyTree(oCopy, m_rLock) : eStatus;
}

Status RequestExecution::RunOnValues(ByteBuffer& rbbReply) {
    RegistryHandle oHandle;
    HKEY hKey = nullptr;
    const DWORD dwRights = ValueRights(m_rOperation);
    Status eStatus = MayBeCreated(m_rRequest.m_eFunction) ? CreateTarget(dwRights, oHandle, hKey)
                                                          : OpenTarget(dwRights, oHandle, hKey);
    if (eStatus == Status::Success && MayBeCreated(m_rRequest.m_eFunction))
        eStatus = m_rUsage.Reserve(
            m_rDecision.m_oKey, 0,
            StorageUsage::ITEM_BYTES + NameBytes(m_rRequest.m_csValueName) + m_rRequest.m_bbData.size());
    return eStatus == Status::Success ? RunValueOperation(m_rRequest, hKey, rbbReply) : eStatus;
}

Status RemoveStorage(const CXString& kcsSid, WorkLock& rLock) {
    ResolvedKey oKey;
    oKey.m_csPath = BasePathOfRoot(HKeyRegistry::Hkey_Low_Rights_Storage);
    if (!kcsSid.IsEmpty()) oKey.m_csPath += VTEXT("\\") + kcsSid;
    RegistryHandle oHandle;
    bool fLink = false;
    const Status eStatus = OpenForDeletion(PlaceOf(oKey), DELETE_RIGHTS, oHandle, fLink);
    if (eStatus == Status::FileNotFound) return Status::Success;
    if (eStatus != Status::Success) return eStatus;
    return fLink ? Registry().DeleteOpenKey(oHandle.Get()) : DeleteTree({oHandle.Get(), oKey}, rLock);
}

}  // namespace vlm
