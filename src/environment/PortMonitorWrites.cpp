/// @file
/// The registry operations that write, remove or count a value, done by the port monitor.
#include "environment/PortMonitorImpl.h"

using vlm::NumberBytes;
using Function = _XPMRegistryFunction;

bool VelomPortMonitor::SetBooleanValue(HKEY hKey, const CXString& kcsName, bool fValue) noexcept {
    const BYTE byValue = fValue ? 1 : 0;
    return Proxy(*this, VLM_HERE, hKey).Do({Function::SetBooleanValue, kcsName, {&byValue, 1}});
}

bool VelomPortMonitor::SetBooleanValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                       bool fValue, const CXString& kcsSid) noexcept {
    const BYTE byValue = fValue ? 1 : 0;
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).Do({Function::SetBooleanValue, kcsName, {&byValue, 1}});
}

bool VelomPortMonitor::SetLongValue(HKEY hKey, const CXString& kcsName, LONG lValue) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Do({Function::SetLongValue, kcsName, NumberBytes(lValue)});
}

bool VelomPortMonitor::SetLongValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                    LONG lValue, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).Do({Function::SetLongValue, kcsName, NumberBytes(lValue)});
}

bool VelomPortMonitor::SetLong64Value(HKEY hKey, const CXString& kcsName, LONGLONG llValue) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Do({Function::SetLong64Value, kcsName, NumberBytes(llValue)});
}

bool VelomPortMonitor::SetLong64Value(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                      LONGLONG llValue, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid)
        .Do({Function::SetLong64Value, kcsName, NumberBytes(llValue)});
}

bool VelomPortMonitor::SetStringValue(HKEY hKey, const CXString& kcsName, const CXString& kcsValue) noexcept {
    return Proxy(*this, VLM_HERE, hKey).DoWithText({Function::SetStringValue, kcsName}, kcsValue);
}

bool VelomPortMonitor::SetStringValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                      const CXString& kcsValue, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).DoWithText({Function::SetStringValue, kcsName}, kcsValue);
}

bool VelomPortMonitor::SetBytesValue(HKEY hKey, const CXString& kcsName, const ByteBuffer& kbbValue) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Do({Function::SetBytesValue, kcsName, kbbValue});
}

bool VelomPortMonitor::SetBytesValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                     const ByteBuffer& kbbValue, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).Do({Function::SetBytesValue, kcsName, kbbValue});
}

bool VelomPortMonitor::DeleteValue(HKEY hKey, const CXString& kcsName) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Do({Function::DeleteValue, kcsName});
}

bool VelomPortMonitor::DeleteValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                   const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).Do({Function::DeleteValue, kcsName});
}

bool VelomPortMonitor::RenameValue(HKEY hKey, const CXString& kcsOldName, const CXString& kcsNewName) noexcept {
    return Proxy(*this, VLM_HERE, hKey).DoWithText({Function::RenameValue, kcsOldName}, kcsNewName);
}

bool VelomPortMonitor::RenameValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsOldName,
                                   const CXString& kcsNewName, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid)
        .DoWithText({Function::RenameValue, kcsOldName}, kcsNewName);
}

bool VelomPortMonitor::GetIncLongValue(HKEY hKey, const CXString& kcsName, LONG lDefault, LONG lModulus,
                                       LONG& rlValue) noexcept {
    return Proxy(*this, VLM_HERE, hKey)
        .Increment({Function::GetIncLongValue, kcsName}, Function::SetLongValue, lDefault, lModulus, rlValue);
}

bool VelomPortMonitor::GetIncLongValue(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                       LONG lDefault, LONG lModulus, LONG& rlValue, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid)
        .Increment({Function::GetIncLongValue, kcsName}, Function::SetLongValue, lDefault, lModulus, rlValue);
}

bool VelomPortMonitor::GetIncLong64Value(HKEY hKey, const CXString& kcsName, LONGLONG llDefault, LONGLONG llModulus,
                                         LONGLONG& rllValue) noexcept {
    return Proxy(*this, VLM_HERE, hKey)
        .Increment({Function::GetIncLong64Value, kcsName}, Function::SetLong64Value, llDefault, llModulus, rllValue);
}

bool VelomPortMonitor::GetIncLong64Value(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsName,
                                         LONGLONG llDefault, LONGLONG llModulus, LONGLONG& rllValue,
                                         const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid)
        .Increment({Function::GetIncLong64Value, kcsName}, Function::SetLong64Value, llDefault, llModulus, rllValue);
}
