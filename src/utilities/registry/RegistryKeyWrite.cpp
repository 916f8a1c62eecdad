/// @file
/// Writes of a registry key's values.
#include "environment/PortMonitor.h"
#include "platform/RegistryHandleImpl.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/registry/detail/RegistryKeyImpl.h"
#include "utilities/registry/detail/RegistryStatus.h"

using vlm::Registry;
using vlm::RegistryStatusInWords;
using vlm::Status;
using vlm::ToDword;

CXString RegistryKey::SetFailure(const CXString& kcsName) const {
    return CXString::FormatString(VTEXT("RegSetValueEx(%s) failed unexpectedly! %s"), kcsName,
                                  RegistryStatusInWords(m_dwLastStatus));
}

DWORD RegistryKey::StoreValue(const CXString& kcsName, DWORD dwType, const ByteBuffer& kbbData) {
    VLM_REPORT(DebugCategory::Registry, VTEXT("Calling RegSetValueEx(%s) to set the value."), kcsName);
    return ToDword(Registry().SetValue(m_hKey, kcsName, dwType, kbbData.data(), kbbData.GetLength()));
}

bool RegistryKey::ForwardSetValue(const CXString& kcsName, DWORD dwType, const ByteBuffer& kbbData) {
    VelomPortMonitor& rMonitor = *m_apoPortMonitor;
    switch (dwType) {
        case TYPE_BYTES:
            return NoteForwarded(rMonitor.SetBytesValue(m_hKey, kcsName, kbbData));
        case TYPE_STRING:
            return NoteForwarded(rMonitor.SetStringValue(m_hKey, kcsName, vlm::TextOfValue(kbbData, TYPE_STRING)));
        case TYPE_LONG:
            if (kbbData.size() != sizeof(LONG)) break;
            return NoteForwarded(rMonitor.SetLongValue(m_hKey, kcsName, kbbData.getAsLongValue()));
        case TYPE_LONG64:
            if (kbbData.size() != sizeof(LONGLONG)) break;
            return NoteForwarded(rMonitor.SetLong64Value(m_hKey, kcsName, kbbData.getAsLong64Value()));
        default:
            break;
    }
    return Note(ToDword(Status::NotSupported));
}

void RegistryKey::SetValue(const CXString& kcsName, DWORD dwType, const ByteBuffer& kbbData) {
    if (RequireKey()) {
        if (m_fForward) {
            ForwardSetValue(kcsName, dwType, kbbData);
        } else {
            Note(StoreValue(kcsName, dwType, kbbData));
        }
    }
    if (m_dwLastStatus != 0) VLM_THROW(ExceptionRegistryRequest, VTEXT("%s"), SetFailure(kcsName));
}

void RegistryKey::SetBooleanValue(const CXString& kcsName, bool fValue) {
    if (!m_fForward || !RequireKey()) return SetValue(kcsName, TYPE_BYTES, ByteBuffer::createFromBoolValue(fValue));
    if (!NoteForwarded(m_apoPortMonitor->SetBooleanValue(m_hKey, kcsName, fValue))) {
        VLM_THROW(ExceptionRegistryRequest, VTEXT("%s"), SetFailure(kcsName));
    }
}

void RegistryKey::SetLongValue(const CXString& kcsName, LONG lValue) {
    SetValue(kcsName, TYPE_LONG, ByteBuffer::createFromLongValue(lValue));
}

void RegistryKey::SetLong64Value(const CXString& kcsName, LONGLONG llValue) {
    SetValue(kcsName, TYPE_LONG64, ByteBuffer::createFromLong64Value(llValue));
}

void RegistryKey::SetStringValue(const CXString& kcsName, const CXString& kcsValue) {
    ByteBuffer bbValue;
    bbValue.append(kcsValue);
    bbValue.appendNullChar();
    SetValue(kcsName, TYPE_STRING, bbValue);
}

void RegistryKey::SetBytesValue(const CXString& kcsName, const ByteBuffer& kbbValue) {
    SetValue(kcsName, TYPE_BYTES, kbbValue);
}

bool RegistryKey::DeleteValue(const CXString& kcsName) noexcept {
    if (!RequireKey()) return false;
    if (m_fForward) return NoteForwarded(m_apoPortMonitor->DeleteValue(m_hKey, kcsName));
    const LONG lStatus = static_cast<LONG>(ToDword(Registry().DeleteValue(m_hKey, kcsName)));
    Note(static_cast<DWORD>(lStatus));
    // An absent value is an answer like any other.
    if (m_dwLastStatus != ToDword(Status::FileNotFound)) {
        VLM_ASSERT_IN(DebugCategory::Errors | DebugCategory::Registry, lStatus == 0L,
                      VTEXT("RegDeleteValue(%s) failed. %s"), kcsName, RegistryStatusInWords(m_dwLastStatus));
    }
    return lStatus == 0L;
}

bool RegistryKey::RenameDirectly(const CXString& kcsOldName, const CXString& kcsNewName) {
    ByteBuffer bbData;
    DWORD dwType = 0;
    if (!GetValue(kcsOldName, bbData, &dwType)) return false;
    if (kcsOldName == kcsNewName) return true;
    if (kcsOldName.CompareNoCase(kcsNewName) != 0) {
        if (!Note(StoreValue(kcsNewName, dwType, bbData)) || !DeleteValue(kcsOldName)) return false;
        // A registry that knows the case of more letters than ours takes both for one name: the value is gone with it.
        if (DoesValueExist(kcsNewName)) return Note(0);
    } else if (!DeleteValue(kcsOldName)) {
        // The registry keeps the case of a name that it has: the value must go before it can come back.
        return false;
    }
    if (Note(StoreValue(kcsNewName, dwType, bbData))) return true;
    const DWORD dwStatus = m_dwLastStatus;
    StoreValue(kcsOldName, dwType, bbData);
    return Note(dwStatus);
}

bool RegistryKey::RenameValue(const CXString& kcsOldName, const CXString& kcsNewName) noexcept {
    bool fRenamed = false;
    Quietly([&] {
        if (!RequireKey()) return;
        fRenamed = m_fForward ? NoteForwarded(m_apoPortMonitor->RenameValue(m_hKey, kcsOldName, kcsNewName))
                              : RenameDirectly(kcsOldName, kcsNewName);
    });
    return fRenamed;
}
