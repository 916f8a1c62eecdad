/// @file
/// The registry operations on keys, done by the port monitor.
#include "environment/PortMonitorImpl.h"

using vlm::NoText;
using vlm::PortMonitorReply;
using Function = _XPMRegistryFunction;

namespace {

/// Takes a key handle out of a reply.
struct TakeKey {
    HKEY& m_rhKey;

    bool operator()(const ByteBuffer& kbbReply) const noexcept {
        ULONGLONG ullToken = 0;
        if (!PortMonitorReply::DecodeKeyToken(kbbReply, ullToken)) return false;
        m_rhKey = reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(ullToken));
        return true;
    }
};

struct TakeNames {
    std::vector<CXString>& m_rvcsNames;

    bool operator()(const ByteBuffer& kbbReply) const { return PortMonitorReply::DecodeNames(kbbReply, m_rvcsNames); }
};

struct TakeCount {
    DWORD& m_rcCount;

    bool operator()(const ByteBuffer& kbbReply) const noexcept {
        return PortMonitorReply::DecodeCount(kbbReply, m_rcCount);
    }
};

}  // namespace

bool VelomPortMonitor::CopyKeyAndSubkeysFrom(HKEY hKey, const CXString& kcsSourcePath) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Do({Function::CopyKeyAndSubkeysFrom, NoText(), {}, 0, &kcsSourcePath});
}

bool VelomPortMonitor::CopyKeyAndSubkeysFrom(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath,
                                             const CXString& kcsSourcePath) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, NoText())
        .Do({Function::CopyKeyAndSubkeysFrom, NoText(), {}, 0, &kcsSourcePath});
}

bool VelomPortMonitor::CreateKey(HKEY hParent, const CXString& kcsSubKey, DWORD dwAccessMask, HKEY& rhKey) noexcept {
    return Proxy(*this, VLM_HERE, hParent, kcsSubKey)
        .Do({Function::CreateKey, NoText(), {}, dwAccessMask}, TakeKey{rhKey});
}

bool VelomPortMonitor::CreateKey(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, DWORD dwAccessMask, HKEY& rhKey,
                                 const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid)
        .Do({Function::CreateKey, NoText(), {}, dwAccessMask}, TakeKey{rhKey});
}

bool VelomPortMonitor::OpenKey(HKEY hParent, const CXString& kcsSubKey, DWORD dwAccessMask, HKEY& rhKey) noexcept {
    return Proxy(*this, VLM_HERE, hParent, kcsSubKey)
        .Do({Function::OpenKey, NoText(), {}, dwAccessMask}, TakeKey{rhKey});
}

bool VelomPortMonitor::OpenKey(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, DWORD dwAccessMask, HKEY& rhKey,
                               const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid)
        .Do({Function::OpenKey, NoText(), {}, dwAccessMask}, TakeKey{rhKey});
}

bool VelomPortMonitor::CloseKey(HKEY hKey) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Do({Function::CloseKey});
}

bool VelomPortMonitor::EnumKeyNames(HKEY hKey, std::vector<CXString>& rvcsNames) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Do({Function::EnumKeyNames}, TakeNames{rvcsNames});
}

bool VelomPortMonitor::EnumKeyNames(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, std::vector<CXString>& rvcsNames,
                                    const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).Do({Function::EnumKeyNames}, TakeNames{rvcsNames});
}

bool VelomPortMonitor::EnumValueNames(HKEY hKey, std::vector<CXString>& rvcsNames) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Do({Function::EnumValueNames}, TakeNames{rvcsNames});
}

bool VelomPortMonitor::EnumValueNames(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath,
                                      std::vector<CXString>& rvcsNames, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).Do({Function::EnumValueNames}, TakeNames{rvcsNames});
}

bool VelomPortMonitor::GetCountOfSubKeys(HKEY hKey, DWORD& rcSubKeys) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Do({Function::GetCountOfSubKeys}, TakeCount{rcSubKeys});
}

bool VelomPortMonitor::GetCountOfSubKeys(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, DWORD& rcSubKeys,
                                         const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).Do({Function::GetCountOfSubKeys}, TakeCount{rcSubKeys});
}

bool VelomPortMonitor::GetCountOfValues(HKEY hKey, DWORD& rcValues) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Do({Function::GetCountOfValues}, TakeCount{rcValues});
}

bool VelomPortMonitor::GetCountOfValues(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, DWORD& rcValues,
                                        const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).Do({Function::GetCountOfValues}, TakeCount{rcValues});
}

bool VelomPortMonitor::DeleteKey(HKEY hParent, const CXString& kcsSubKey) noexcept {
    return Proxy(*this, VLM_HERE, hParent, kcsSubKey).Do({Function::DeleteKey});
}

bool VelomPortMonitor::DeleteKey(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).Do({Function::DeleteKey});
}

bool VelomPortMonitor::DeleteKeyAndSubkeys(HKEY hParent, const CXString& kcsSubKey) noexcept {
    return Proxy(*this, VLM_HERE, hParent, kcsSubKey).Do({Function::DeleteKeyAndSubkeys});
}

bool VelomPortMonitor::DeleteKeyAndSubkeys(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath,
                                           const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).Do({Function::DeleteKeyAndSubkeys});
}

bool VelomPortMonitor::TestAccess(HKEY hKey, DWORD dwAccessMask) noexcept {
    return Proxy(*this, VLM_HERE, hKey).Do({Function::TestAccess, NoText(), {}, dwAccessMask});
}

bool VelomPortMonitor::TestAccess(_HKEYREGISTRY_ eRoot, const CXString& kcsKeyPath, DWORD dwAccessMask,
                                  const CXString& kcsSid) noexcept {
    return Proxy(*this, VLM_HERE, eRoot, kcsKeyPath, kcsSid).Do({Function::TestAccess, NoText(), {}, dwAccessMask});
}
