/// @file
/// Reads, writes, renames and counts up values.
#include "portmonitor/ValueOperations.h"

#include <type_traits>

#include "environment/PortMonitorRequestRules.h"
#include "portmonitor/KeyContents.h"
#include "utilities/Bounds.h"
#include "utilities/registry/detail/RegistryCounter.h"

namespace vlm {

namespace {

constexpr int QUERY_ATTEMPTS = 5;

Status Write(HKEY hKey, const CXString& kcsName, DWORD dwType, std::span<const BYTE> data) {
    return Registry().SetValue(hKey, kcsName, dwType, data.data(), static_cast<DWORD>(data.size()));
}

/// The first bytes of a value.
Status ReadPart(const PortMonitorRequest& rRequest, HKEY hKey, std::size_t cbPart, StoredValue& roValue) {
    const Status eStatus = ReadValue(hKey, rRequest.m_csValueName, roValue);
    if (eStatus != Status::Success) return eStatus;
    if (roValue.m_vbyData.size() < cbPart) return Status::InvalidData;
    roValue.m_vbyData.resize(cbPart);
    return Status::Success;
}

Status ReadFixed(const PortMonitorRequest& rRequest, HKEY hKey, std::size_t cbPart, ByteBuffer& rbbReply) {
    StoredValue oValue;
    const Status eStatus = ReadPart(rRequest, hKey, cbPart, oValue);
    if (eStatus == Status::Success) rbbReply.appendLpbyte(oValue.m_vbyData.data(), cbPart);
    return eStatus;
}

Status ReadBoolean(const PortMonitorRequest& rRequest, HKEY hKey, ByteBuffer& rbbReply) {
    StoredValue oValue;
    const Status eStatus = ReadPart(rRequest, hKey, 1, oValue);
    if (eStatus == Status::Success) rbbReply.appendBoolValue(oValue.m_vbyData[0] != 0);
    return eStatus;
}

Status ReadText(const PortMonitorRequest& rRequest, HKEY hKey, ByteBuffer& rbbReply) {
    StoredValue oValue;
    const Status eStatus = ReadValue(hKey, rRequest.m_csValueName, oValue);
    if (eStatus != Status::Success) return eStatus;
    const bool fOneText = oValue.m_dwType == RegistryPort::TYPE_SZ || oValue.m_dwType == RegistryPort::TYPE_EXPAND_SZ;
    std::span<const BYTE> text = oValue.m_vbyData;
    for (std::size_t i = 0; fOneText && i + 2 <= text.size(); i += 2) {
        if (text[i] == 0 && text[i + 1] == 0) text = text.first(i);
    }
    PortMonitorReply::AppendText(rbbReply, text);
    return Status::Success;
}

Status ReadBytes(const PortMonitorRequest& rRequest, HKEY hKey, ByteBuffer& rbbReply) {
    StoredValue oValue;
    const Status eStatus = ReadValue(hKey, rRequest.m_csValueName, oValue);
    if (eStatus == Status::Success) rbbReply.appendLpbyte(oValue.m_vbyData.data(), oValue.m_vbyData.size());
    return eStatus;
}

Status AskForExistence(HKEY hKey, const CXString& kcsName) {
    DWORD dwType = 0, cbData = 0;
    return Registry().QueryValue(hKey, kcsName, dwType, nullptr, cbData);
}

/// What is read, or too short to be read, is gone for the next reader; both under the monitor's lock.
Status ReadAndClear(const PortMonitorRequest& rRequest, HKEY hKey, ByteBuffer& rbbReply) {
    const Status eStatus = ReadBoolean(rRequest, hKey, rbbReply);
    if (eStatus != Status::Success && eStatus != Status::InvalidData) return eStatus;
    const Status eDeleted = Registry().DeleteValue(hKey, rRequest.m_csValueName);
    return eDeleted == Status::Success ? eStatus : eDeleted;
}

template <class T>
T NumberFrom(std::span<const BYTE> data) noexcept {
    std::make_unsigned_t<T> value = 0;
    for (std::size_t i = sizeof(T); i-- > 0;)
        value = static_cast<std::make_unsigned_t<T>>(value << 8 | data[i]);
    return static_cast<T>(value);
}

/// (value + 1) modulo the modulus, as the registry class does it directly; the old value is the reply.
template <class T>
Status Increase(const PortMonitorRequest& rRequest, HKEY hKey, DWORD dwType, ByteBuffer& rbbReply) {
    StoredValue oValue;
    const Status eStatus = ReadPart(rRequest, hKey, sizeof(T), oValue);
    // Too few bytes are no counter: it begins anew, as an absent one does.
    if (eStatus != Status::Success) return eStatus == Status::InvalidData ? Status::FileNotFound : eStatus;
    T next = 0;
    if (!NextOfCounter(NumberFrom<T>(oValue.m_vbyData), NumberFrom<T>(rRequest.m_bbData), next))
        return Status::InvalidParameter;
    ByteBuffer bbNext;
    if constexpr (sizeof(T) == 4) {
        bbNext.appendIntValue(next);
    } else {
        bbNext.appendLong64Value(next);
    }
    rbbReply.appendLpbyte(oValue.m_vbyData.data(), sizeof(T));
    return Write(hKey, rRequest.m_csValueName, dwType, bbNext);
}

/// Names that differ in case alone are one name: the old value has to go first, and comes back when the new one cannot
/// be written.
Status Rename(const PortMonitorRequest& rRequest, HKEY hKey) {
    const CXString& kcsOld = rRequest.m_csValueName;
    const CXString csNew = rRequest.m_bbData.getAsStringValue();
    StoredValue oValue;
    Status eStatus = ReadValue(hKey, kcsOld, oValue);
    if (eStatus != Status::Success) return eStatus;
    if (oValue.m_dwType == RegistryPort::TYPE_LINK) return Status::AccessDenied;
    if (kcsOld.CompareNoCase(csNew) != 0) {
        eStatus = Write(hKey, csNew, oValue.m_dwType, oValue.m_vbyData);
        if (eStatus == Status::Success) eStatus = Registry().DeleteValue(hKey, kcsOld);
        // A registry that knows the case of more letters than ours takes both for one name: the value is gone with it.
        if (eStatus != Status::Success || AskForExistence(hKey, csNew) != Status::FileNotFound) return eStatus;
    } else {
        eStatus = Registry().DeleteValue(hKey, kcsOld);
        if (eStatus != Status::Success) return eStatus;
    }
    eStatus = Write(hKey, csNew, oValue.m_dwType, oValue.m_vbyData);
    if (eStatus != Status::Success) Write(hKey, kcsOld, oValue.m_dwType, oValue.m_vbyData);
    return eStatus;
}

/// One question to the registry, so that the values belong together.
Status AskForMany(HKEY hKey, std::vector<RegistryPort::ValueQuery>& rvQueries, std::vector<BYTE>& rvbyData) {
    DWORD cbData = 0;
    Status eStatus = Status::MoreData;
    BYTE byNothing = 0;  // values without any data need no room, but a target
    for (int i = 0; i <= QUERY_ATTEMPTS && eStatus == Status::MoreData; ++i) {
        if (cbData > bounds::MAX_MONITOR_VALUE_BYTES) return Status::NoSystemResources;
        rvbyData.resize(cbData);
        void* const pTarget = cbData == 0 ? &byNothing : rvbyData.data();
        eStatus = Registry().QueryMultipleValues(hKey, rvQueries.data(), static_cast<DWORD>(rvQueries.size()), pTarget,
                                                 cbData);
    }
    return eStatus;
}

Status QueryMany(const PortMonitorRequest& rRequest, HKEY hKey, ByteBuffer& rbbReply) {
    const std::vector<CXString> vcsNames = ValueListNames(rRequest.m_bbData);
    std::vector<RegistryPort::ValueQuery> vQueries(vcsNames.size());
    for (std::size_t i = 0; i < vcsNames.size(); ++i)
        vQueries[i].pszName = vcsNames[i];
    std::vector<BYTE> vbyData;
    const Status eStatus = AskForMany(hKey, vQueries, vbyData);
    if (eStatus != Status::Success) return eStatus;
    std::vector<PortMonitorReply::Value> vValues(vQueries.size());
    for (std::size_t i = 0; i < vQueries.size(); ++i) {
        if (ULONGLONG{vQueries[i].dwOffset} + vQueries[i].cbData > vbyData.size()) return Status::InvalidData;
        vValues[i].m_dwType = vQueries[i].dwType;
        vValues[i].m_cbData = vQueries[i].cbData;
    }
    PortMonitorReply::AppendValueEntries(rbbReply, vValues);
    for (const RegistryPort::ValueQuery& rQuery : vQueries)
        rbbReply.appendLpbyte(vbyData.data() + rQuery.dwOffset, rQuery.cbData);
    return Status::Success;
}

Status Names(HKEY hKey, Status (*pfnRead)(HKEY, std::vector<CXString>&), ByteBuffer& rbbReply) {
    std::vector<CXString> vcsNames;
    const Status eStatus = pfnRead(hKey, vcsNames);
    if (eStatus == Status::Success) PortMonitorReply::AppendNames(rbbReply, vcsNames);
    return eStatus;
}

Status Count(HKEY hKey, DWORD RegistryPort::KeyInfo::*pCount, ByteBuffer& rbbReply) {
    RegistryPort::KeyInfo oInfo;
    const Status eStatus = Registry().QueryInfo(hKey, oInfo);
    if (eStatus == Status::Success) rbbReply.appendDwordValue(oInfo.*pCount);
    return eStatus;
}

}  // namespace

Status RunValueOperation(const PortMonitorRequest& rRequest, HKEY hKey, ByteBuffer& rbbReply) {
    using enum _XPMRegistryFunction;
    const CXString& kcsName = rRequest.m_csValueName;
    switch (rRequest.m_eFunction) {
        case GetBooleanValue:
            return ReadBoolean(rRequest, hKey, rbbReply);
        case GetLongValue:
            return ReadFixed(rRequest, hKey, 4, rbbReply);
        case GetLong64Value:
            return ReadFixed(rRequest, hKey, 8, rbbReply);
        case GetStringValue:
            return ReadText(rRequest, hKey, rbbReply);
        case GetBytesValue:
            return ReadBytes(rRequest, hKey, rbbReply);
        case EnumKeyNames:
            return Names(hKey, ReadKeyNames, rbbReply);
        case EnumValueNames:
            return Names(hKey, ReadValueNames, rbbReply);
        case GetCountOfSubKeys:
            return Count(hKey, &RegistryPort::KeyInfo::cSubKeys, rbbReply);
        case GetCountOfValues:
            return Count(hKey, &RegistryPort::KeyInfo::cValues, rbbReply);
        case SetBooleanValue:
        case SetBytesValue:
            return Write(hKey, kcsName, RegistryPort::TYPE_BINARY, rRequest.m_bbData);
        case SetLongValue:
            return Write(hKey, kcsName, RegistryPort::TYPE_DWORD, rRequest.m_bbData);
        case SetLong64Value:
            return Write(hKey, kcsName, RegistryPort::TYPE_QWORD, rRequest.m_bbData);
        case SetStringValue:
            return Write(hKey, kcsName, RegistryPort::TYPE_SZ, rRequest.m_bbData);
        case DeleteValue:
            return Registry().DeleteValue(hKey, kcsName);
        case RenameValue:
            return Rename(rRequest, hKey);
        case DoesValueExist:
            return AskForExistence(hKey, kcsName);
        case QueryMultipleValues:
            return QueryMany(rRequest, hKey, rbbReply);
        case GetClearBooleanValue:
            return ReadAndClear(rRequest, hKey, rbbReply);
        case GetIncLongValue:
            return Increase<std::int32_t>(rRequest, hKey, RegistryPort::TYPE_DWORD, rbbReply);
        case GetIncLong64Value:
            return Increase<std::int64_t>(rRequest, hKey, RegistryPort::TYPE_QWORD, rbbReply);
        case CopyKeyAndSubkeysFrom:
        case CreateKey:
        case OpenKey:
        case CloseKey:
        case DeleteKey:
        case DeleteKeyAndSubkeys:
        case TestAccess:
            break;
    }
    return Status::InvalidParameter;
}

DWORD ValueRights(const RequestOperation& rOperation) noexcept {
    using enum _XPMRegistryFunction;
    switch (rOperation.m_eFunction) {
        case EnumKeyNames:
            return RegistryPort::ENUMERATE_SUB_KEYS;
        case RenameValue:
        case GetClearBooleanValue:
        case GetIncLongValue:
        case GetIncLong64Value:
            return RegistryPort::QUERY_VALUE | RegistryPort::SET_VALUE;
        default:
            return rOperation.m_eEffect == RequestEffect::Read ? RegistryPort::QUERY_VALUE : RegistryPort::SET_VALUE;
    }
}

bool IsModulusRegular(const PortMonitorRequest& rRequest) {
    const bool fIncrement = rRequest.m_eFunction == _XPMRegistryFunction::GetIncLongValue ||
                            rRequest.m_eFunction == _XPMRegistryFunction::GetIncLong64Value;
    if (!fIncrement) return true;
    for (const BYTE by : rRequest.m_bbData) {
        if (by != 0) return true;
    }
    return false;
}

}  // namespace vlm
