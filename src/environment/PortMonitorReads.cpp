/// @file
/// The registry operations that read a value, done by the port monitor.
#include "environment/PortMonitorImpl.h"

using vlm::PortMonitorReply;
using Function = _XPMRegistryFunction;

namespace {

/// Takes a value out of a reply by its decoder.
template <class Value, class Decoder>
auto Take(Decoder pfnDecode, Value& rValue) noexcept {
    return [pfnDecode, &rValue](const ByteBuffer& kbbReply) { return pfnDecode(kbbReply, rValue); };
}

bool TakeAll(std::span<const BYTE> reply, ByteBuffer& rbbValue) {
    rbbValue.setWithLpbyte(reply.data(), reply.size());
    return true;
}

}  // namespace

bool VelomPortMonitor::GetBooleanValue(HKEY hKey, const CXString& kcsName, bool& rfValue) noexcept {
    return Proxy(*this, VLM_HERE, hKey)
        .Do({Function::GetBooleanValue, kcsName}, Take(&PortMonitorReply::DecodeBoolean, rfValue));
}

bool VelomPortMonitor::GetBooleanValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                       bool& rfValue, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid)
        .Do({Function::GetBooleanValue, kcsName}, Take(&PortMonitorReply::DecodeBoolean, rfValue));
}

bool VelomPortMonitor::GetLongValue(HKEY hKey, const CXString& kcsName, LONG& rlValue) noexcept {
    return Proxy(*this, VLM_HERE, hKey)
        .Do({Function::GetLongValue, kcsName}, Take(&PortMonitorReply::DecodeLong, rlValue));
}

bool VelomPortMonitor::GetLongValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                    LONG& rlValue, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid)
        .Do({Function::GetLongValue, kcsName}, Take(&PortMonitorReply::DecodeLong, rlValue));
}

bool VelomPortMonitor::GetLong64Value(HKEY hKey, const CXString& kcsName, LONGLONG& rllValue) noexcept {
    return Proxy(*this, VLM_HERE, hKey)
        .Do({Function::GetLong64Value, kcsName}, Take(&PortMonitorReply::DecodeLong64, rllValue));
}

bool VelomPortMonitor::GetLong64Value(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                      LONGLONG& rllValue, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid)
        .Do({Function::GetLong64Value, kcsName}, Take(&PortMonitorReply::DecodeLong64, rllValue));
}

bool VelomPortMonitor::GetStringValue(HKEY hKey, const CXString& kcsName, CXString& rcsValue) noexcept {
    return Proxy(*this, VLM_HERE, hKey)
        .Do({Function::GetStringValue, kcsName}, Take(&PortMonitorReply::DecodeText, rcsValue));
}

bool VelomPortMonitor::GetStringValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                      CXString& rcsValue, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid)
        .Do({Function::GetStringValue, kcsName}, Take(&PortMonitorReply::DecodeText, rcsValue));
}

bool VelomPortMonitor::GetBytesValue(HKEY hKey, const CXString& kcsName, ByteBuffer& rbbValue) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Do({Function::GetBytesValue, kcsName}, Take(&TakeAll, rbbValue));
}

bool VelomPortMonitor::GetBytesValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                     ByteBuffer& rbbValue, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid)
        .Do({Function::GetBytesValue, kcsName}, Take(&TakeAll, rbbValue));
}

bool VelomPortMonitor::GetClearBooleanValue(HKEY hKey, const CXString& kcsName, bool& rfValue) noexcept {
    return Proxy(*this, VLM_HERE, hKey)
        .Do({Function::GetClearBooleanValue, kcsName}, Take(&PortMonitorReply::DecodeBoolean, rfValue));
}

bool VelomPortMonitor::GetClearBooleanValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                            bool& rfValue, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid)
        .Do({Function::GetClearBooleanValue, kcsName}, Take(&PortMonitorReply::DecodeBoolean, rfValue));
}

bool VelomPortMonitor::DoesValueExist(HKEY hKey, const CXString& kcsName) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Do({Function::DoesValueExist, kcsName}) ||
           m_dwLastStatus != vlm::ToDword(vlm::Status::FileNotFound);
}

bool VelomPortMonitor::DoesValueExist(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                      const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).Do({Function::DoesValueExist, kcsName}) ||
           m_dwLastStatus != vlm::ToDword(vlm::Status::FileNotFound);
}
