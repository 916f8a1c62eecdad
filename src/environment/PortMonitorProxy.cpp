/// @file
/// One registry operation, from its arguments to the request that the port monitor accepts.
#include "environment/PortMonitorImpl.h"
#include "environment/PortMonitorRequestRules.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/registry/detail/RegistryCounter.h"

namespace {

using vlm::ProxyOperation;
using vlm::RequestOperation;
using vlm::Status;

constexpr DWORD KEY_WRITE_MASK = 0x20006;
constexpr DWORD KEY_READ_WRITE_MASK = 0x2001F;

DWORD MaskOf(const ProxyOperation& rOperation, bool fByHandle) noexcept {
    const RequestOperation* const pRow = vlm::FindRequestOperation(static_cast<WORD>(rOperation.m_eFunction));
    switch (pRow->m_dwMask) {
        case RequestOperation::ANY_MASK:
            return rOperation.m_dwMask;
        case RequestOperation::BY_ADDRESS:
            return fByHandle ? KEY_WRITE_MASK : KEY_READ_WRITE_MASK;
        default:
            return pRow->m_dwMask;
    }
}

/// A key path without doubled and trailing backslashes, which the registry would ignore, too.
CXString TidyKeyPath(const CXString& kcsPath) {
    CXString csTidy(kcsPath);
    while (csTidy.Replace(VTEXT("\\\\"), VTEXT("\\")) > 0) {
    }
    return csTidy.TrimRight(VTEXT('\\'));
}

bool DecodeNumber(std::span<const BYTE> reply, LONG& rlValue) noexcept {
    return vlm::PortMonitorReply::DecodeLong(reply, rlValue);
}

bool DecodeNumber(std::span<const BYTE> reply, LONGLONG& rllValue) noexcept {
    return vlm::PortMonitorReply::DecodeLong64(reply, rllValue);
}

}  // namespace

bool VelomPortMonitor::Proxy::Do(const ProxyOperation& rOperation) noexcept {
    return Do(rOperation, [](const ByteBuffer& kbbReply) { return kbbReply.empty(); });
}

bool VelomPortMonitor::Proxy::DoWithText(const ProxyOperation& rOperation, const CXString& kcsText) noexcept {
    try {
        ByteBuffer bbText;
        bbText.append(kcsText).appendNullChar();
        return Do({rOperation.m_eFunction, rOperation.m_kcsName, bbText});
    } catch (const std::exception&) {
        return Note(Fail(Status::NotEnoughMemory));
    }
}

template <class Integer>
bool VelomPortMonitor::Proxy::Increment(const ProxyOperation& rOperation, _XPMRegistryFunction eStore,
                                        Integer defaultValue, Integer modulus, Integer& rValue) noexcept {
    if (modulus == 0) return Note(Fail(Status::InvalidParameter));
    const vlm::NumberBytes oModulus(modulus);
    const bool fDone = Do({rOperation.m_eFunction, rOperation.m_kcsName, oModulus},
                          [&rValue](const ByteBuffer& kbbReply) { return DecodeNumber(kbbReply, rValue); });
    if (fDone || m_rMonitor.m_dwLastStatus != vlm::ToDword(Status::FileNotFound)) return fDone;
    // An absent value is the client's to begin: the request has no room for the default.
    Integer next = 0;
    if (!vlm::NextOfCounter(defaultValue, modulus, next)) return Note(Fail(Status::InvalidParameter));
    const vlm::NumberBytes oNext(next);
    if (!Do({eStore, rOperation.m_kcsName, oNext})) return false;
    rValue = defaultValue;
    return true;
}

template bool VelomPortMonitor::Proxy::Increment(const ProxyOperation&, _XPMRegistryFunction, LONG, LONG,
                                                 LONG&) noexcept;
template bool VelomPortMonitor::Proxy::Increment(const ProxyOperation&, _XPMRegistryFunction, LONGLONG, LONGLONG,
                                                 LONGLONG&) noexcept;

bool VelomPortMonitor::Proxy::Perform(const ProxyOperation& rOperation, ByteBuffer& rbbReply) {
    const bool fByHandle = m_eRoot == HKeyRegistry::Hkey_None;
    vlm::PortMonitorRequest oRequest;
    oRequest.m_eRoot = m_eRoot;
    oRequest.m_ullKeyHandle = fByHandle ? reinterpret_cast<std::uintptr_t>(m_hKey) : 0;
    oRequest.m_eFunction = rOperation.m_eFunction;
    oRequest.m_dwAccessMask = MaskOf(rOperation, fByHandle);
    oRequest.m_csKeyPath = TidyKeyPath(m_kcsPath);
    oRequest.m_csValueName = rOperation.m_kcsName;
    if (rOperation.m_pcsSource) {
        oRequest.m_csThird = TidyKeyPath(*rOperation.m_pcsSource);
    } else if (!fByHandle) {
        oRequest.m_csThird = IsSIDRequired(m_eRoot, true) ? m_kcsSid : vlm::NoText();
        if (!GetUserSIDIfNeeded(m_eRoot, true, oRequest.m_csThird)) return Fail(Status::InvalidParameter);
    }
    oRequest.m_bbData.setWithLpbyte(rOperation.m_data.data(), rOperation.m_data.size());
    // What the monitor would take for a forgery is a mistake of the caller's: it is found here, and nothing is sent.
    if (!vlm::ObeysRequestRules(oRequest)) return Fail(Status::InvalidParameter);
    return m_rMonitor.CallVelomPortMonitor(m_eRoot, m_hKey, oRequest.m_eFunction, oRequest.m_dwAccessMask,
                                           oRequest.m_csKeyPath, oRequest.m_csValueName, oRequest.m_csThird,
                                           oRequest.m_bbData, rbbReply, nullptr, nullptr);
}

/// @return false.
bool VelomPortMonitor::Proxy::Fail(Status status) noexcept {
    m_rMonitor.m_dwLastStatus = vlm::ToDword(status);
    return false;
}

bool VelomPortMonitor::Proxy::Note(bool fDone) noexcept {
    if (fDone) return true;
    // An absent key or value is an answer, not an error.
    const DWORD dwStatus = m_rMonitor.m_dwLastStatus;
    const bool fError = dwStatus != vlm::ToDword(Status::FileNotFound);
    const DebugMessageCategories categories =
        DebugCategory::Registry | (fError ? DebugCategory::Errors : DebugCategory::None);
    if (!vlm::ReportsAllowed(categories)) return false;
    vlm::NoThrow([&] {
        vlm::WriteReport(
            fError, categories, m_rPlace,
            CXString::FormatString(VTEXT("The port monitor did not do this. %s"), vlm::TextOfStatus(dwStatus)));
    });
    return false;
}
