/// @file
/// Reads of a registry key's values.
#include <type_traits>

#include "environment/PortMonitor.h"
#include "platform/RegistryHandleImpl.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/registry/detail/RegistryCounter.h"
#include "utilities/registry/detail/RegistryKeyImpl.h"
#include "utilities/registry/detail/RegistryStatus.h"

using vlm::Registry;
using vlm::RegistryStatusInWords;
using vlm::Status;
using vlm::ToDword;

bool RegistryKey::DoesValueExist(const CXString& kcsName) noexcept {
    if (!RequireKey()) return true;
    if (m_fForward) {
        const bool fExists = m_apoPortMonitor->DoesValueExist(m_hKey, kcsName);
        Note(m_apoPortMonitor->GetLastStatus());
        return fExists;
    }
    VLM_REPORT(DebugCategory::Registry,
               VTEXT("Calling RegQueryValueEx(%s) to try to get size of data (as a test for existence)"), kcsName);
    DWORD dwType = 0, cbData = 0;
    Note(ToDword(Registry().QueryValue(m_hKey, kcsName, dwType, nullptr, cbData)));
    return m_dwLastStatus != ToDword(Status::FileNotFound);
}

DWORD RegistryKey::ReadValue(const CXString& kcsName, ByteBuffer& rbbData, DWORD& rdwType) {
    rbbData.clear();
    VLM_REPORT(DebugCategory::Registry, VTEXT("Calling RegQueryValueEx(%s) to get size of data."), kcsName);
    DWORD cbData = 0;
    Status eStatus = Registry().QueryValue(m_hKey, kcsName, rdwType, nullptr, cbData);
    // The value may have another size by the time that it is read.
    for (int i = 0; i < MAX_READ_ATTEMPTS && (eStatus == Status::Success || eStatus == Status::MoreData); ++i) {
        if (cbData > vlm::bounds::MAX_REGISTRY_VALUE_BYTES) return ToDword(Status::MoreData);
        VLM_REPORT(DebugCategory::Registry, VTEXT("RegQueryValueEx() reserving %ld bytes for the data"), cbData);
        rbbData.resize(cbData);
        VLM_REPORT(DebugCategory::Registry, VTEXT("Allocated %ld bytes for data. Calling RegQueryValueEx(%s) again"),
                   cbData, kcsName);
        // Never a null target, which would ask for the size again.
        BYTE byNothing = 0;
        BYTE* const pbyTarget = rbbData.empty() ? &byNothing : rbbData.data();
        eStatus = Registry().QueryValue(m_hKey, kcsName, rdwType, pbyTarget, cbData);
        if (eStatus == Status::Success && cbData <= rbbData.size()) {
            rbbData.resize(cbData);
            return 0;
        }
    }
    rbbData.clear();
    return ToDword(eStatus == Status::Success ? Status::MoreData : eStatus);
}

bool RegistryKey::ForwardGetValue(const CXString& kcsName, ByteBuffer& rbbData, DWORD* pdwType) {
    rbbData.clear();
    if (!NoteForwarded(m_apoPortMonitor->GetBytesValue(m_hKey, kcsName, rbbData))) return false;
    // The reply is the data alone.  A type is asked for by a query, which knows no default value.
    if (!pdwType) return true;
    *pdwType = 0;
    if (kcsName.IsEmpty()) return true;
    vlm::ValueEnt oEntry;
    oEntry.ve_valuename = kcsName;
    ByteBuffer bbReply;
    if (!NoteForwarded(m_apoPortMonitor->QueryMultipleValues(m_hKey, vlm::AsSystemEntries(&oEntry), 1, bbReply))) {
        return false;
    }
    rbbData.setWithLpbyte(oEntry.ve_valueptr, oEntry.ve_valuelen);
    *pdwType = oEntry.ve_type;
    return true;
}

bool RegistryKey::GetValue(const CXString& kcsName, ByteBuffer& rbbData, DWORD* pdwType) noexcept {
    DWORD dwType = 0;
    const bool fDone = Quietly([&] {
        if (!RequireKey()) {
            rbbData.clear();
        } else if (m_fForward) {
            ForwardGetValue(kcsName, rbbData, pdwType ? &dwType : nullptr);
        } else {
            Note(ReadValue(kcsName, rbbData, dwType));
        }
    });
    if (!fDone || m_dwLastStatus != 0) rbbData.clear();
    if (!fDone) return false;
    switch (static_cast<Status>(m_dwLastStatus)) {
        case Status::Success:
            if (pdwType) *pdwType = dwType;
            return true;
        case Status::FileNotFound:
            VLM_REPORT(DebugCategory::Registry, VTEXT("No value name exists. Returned data buffer will be empty."));
            return false;
        case Status::AccessDenied:
            VLM_REPORT(DebugCategory::Registry, VTEXT("Access is denied. Returned data buffer will be empty."));
            return false;
        case Status::InvalidHandle:
            VLM_REPORT(DebugCategory::Registry, VTEXT("Invalid Handle. Returned data buffer will be empty."));
            return false;
        default:
            VLM_REPORT_ERROR(DebugCategory::Registry, VTEXT("RegQueryValueEx(%s) failed unexpectedly! %s"), kcsName,
                             RegistryStatusInWords(m_dwLastStatus));
            return false;
    }
}

/// Reads a number with the byte buffer's walking reads.  @return false, and status 13, when the data is too short.
template <class T>
bool RegistryKey::ReadNumber(const CXString& kcsName, T& rValue) {
    ByteBuffer bbData;
    if (!GetValue(kcsName, bbData)) return false;
    if (bbData.size() < sizeof(T)) return Note(ToDword(Status::InvalidData));
    const BYTE* pbyCursor = bbData.data();
    DWORD dwRemaining = bbData.GetLength();
    if constexpr (std::is_same_v<T, BYTE>) {
        rValue = ByteBuffer::WalkBufferToGetByte(pbyCursor, dwRemaining);
    } else if constexpr (std::is_same_v<T, LONG>) {
        rValue = ByteBuffer::WalkBufferToGetLong(pbyCursor, dwRemaining);
    } else {
        rValue = ByteBuffer::WalkBufferToGetLong64(pbyCursor, dwRemaining);
    }
    return true;
}

bool RegistryKey::GetBooleanValue(const CXString& kcsName, bool fDefault) noexcept {
    bool fValue = fDefault;
    Quietly([&] {
        BYTE byValue = 0;
        if (m_fForward && RequireKey()) {
            if (!NoteForwarded(m_apoPortMonitor->GetBooleanValue(m_hKey, kcsName, fValue))) fValue = fDefault;
        } else if (ReadNumber(kcsName, byValue)) {
            fValue = byValue != 0;
        }
    });
    VLM_REPORT(DebugCategory::Registry, VTEXT("returning '%s'"), fValue ? VTEXT("true") : VTEXT("false"));
    return fValue;
}

LONG RegistryKey::GetLongValue(const CXString& kcsName, LONG lDefault) noexcept {
    LONG lValue = lDefault;
    Quietly([&] {
        if (m_fForward && RequireKey()) {
            if (!NoteForwarded(m_apoPortMonitor->GetLongValue(m_hKey, kcsName, lValue))) lValue = lDefault;
        } else {
            ReadNumber(kcsName, lValue);
        }
    });
    // Deliberate: the text has an opening quote alone.
    VLM_REPORT(DebugCategory::Registry, VTEXT("returning '%ld"), lValue);
    return lValue;
}

LONGLONG RegistryKey::GetLong64Value(const CXString& kcsName, LONGLONG llDefault) noexcept {
    LONGLONG llValue = llDefault;
    Quietly([&] {
        if (m_fForward && RequireKey()) {
            if (!NoteForwarded(m_apoPortMonitor->GetLong64Value(m_hKey, kcsName, llValue))) llValue = llDefault;
        } else {
            ReadNumber(kcsName, llValue);
        }
    });
    // Deliberate: as above.
    VLM_REPORT(DebugCategory::Registry, VTEXT("returning '%lld"), llValue);
    return llValue;
}

bool RegistryKey::GetClearBooleanValue(const CXString& kcsName, bool fDefault) noexcept {
    if (!m_fForward) {
        const bool fValue = GetBooleanValue(kcsName, fDefault);
        const DWORD dwStatus = m_dwLastStatus;
        // A value too short for a flag is consumed, too: the next reader would find no more in it.
        const bool fThere = dwStatus == 0 || dwStatus == ToDword(Status::InvalidData);
        if (fThere && DeleteValue(kcsName)) Note(dwStatus);
        return fValue;
    }
    bool fValue = fDefault;
    if (RequireKey() && !NoteForwarded(m_apoPortMonitor->GetClearBooleanValue(m_hKey, kcsName, fValue))) {
        fValue = fDefault;
    }
    return fValue;
}

template <class T>
T RegistryKey::GetAndIncrement(const CXString& kcsName, T defaultValue, T modulus) {
    T value = defaultValue;
    const bool fRead = ReadNumber(kcsName, value);
    const DWORD dwStatus = m_dwLastStatus;
    const bool fAbsent = dwStatus == ToDword(Status::FileNotFound) || dwStatus == ToDword(Status::InvalidData);
    if (!fRead && !fAbsent) return value;
    T next = 0;
    const bool fCanCount = vlm::NextOfCounter(value, modulus, next);
    if (!fCanCount) {
        VLM_ASSERT_IN(DebugCategory::Errors | DebugCategory::Registry, fCanCount,
                      VTEXT("The counter %s cannot go on from %lld modulo %lld"), kcsName, static_cast<LONGLONG>(value),
                      static_cast<LONGLONG>(modulus));
        Note(ToDword(Status::InvalidParameter));
        return value;
    }
    ByteBuffer bbNext;
    if constexpr (sizeof(T) == sizeof(LONG)) {
        bbNext.appendLongValue(next);
    } else {
        bbNext.appendLong64Value(next);
    }
    if (!Note(StoreValue(kcsName, sizeof(T) == sizeof(LONG) ? TYPE_LONG : TYPE_LONG64, bbNext))) {
        VLM_REPORT_ERROR(DebugCategory::Registry, VTEXT("%s"), SetFailure(kcsName));
    }
    return value;
}

LONG RegistryKey::GetIncLongValue(const CXString& kcsName, LONG lDefault, LONG lModulus) noexcept {
    LONG lValue = lDefault;
    Quietly([&] {
        if (!m_fForward) {
            lValue = GetAndIncrement(kcsName, lDefault, lModulus);
        } else if (RequireKey() &&
                   !NoteForwarded(m_apoPortMonitor->GetIncLongValue(m_hKey, kcsName, lDefault, lModulus, lValue))) {
            lValue = lDefault;
        }
    });
    return lValue;
}

LONGLONG RegistryKey::GetIncLong64Value(const CXString& kcsName, LONGLONG llDefault, LONGLONG llModulus) noexcept {
    LONGLONG llValue = llDefault;
    Quietly([&] {
        if (!m_fForward) {
            llValue = GetAndIncrement(kcsName, llDefault, llModulus);
        } else if (RequireKey() && !NoteForwarded(m_apoPortMonitor->GetIncLong64Value(m_hKey, kcsName, llDefault,
                                                                                      llModulus, llValue))) {
            llValue = llDefault;
        }
    });
    return llValue;
}

CXString RegistryKey::GetStringValue(const CXString& kcsName, const CXString& kcsDefault) noexcept {
    CXString csValue;
    bool fRead = false;
    Quietly([&] {
        if (m_fForward && RequireKey()) {
            fRead = NoteForwarded(m_apoPortMonitor->GetStringValue(m_hKey, kcsName, csValue));
            return;
        }
        ByteBuffer bbData;
        DWORD dwType = 0;
        fRead = GetValue(kcsName, bbData, &dwType);
        if (fRead) csValue = vlm::TextOfValue(bbData, dwType);
    });
    if (!fRead || m_dwLastStatus != 0) csValue = kcsDefault;
    VLM_REPORT(DebugCategory::Registry, VTEXT("returning '%s'"), csValue);
    return csValue;
}

bool RegistryKey::GetBytesValue(const CXString& kcsName, ByteBuffer& rbbValue) noexcept {
    const bool fRead = GetValue(kcsName, rbbValue);
    VLM_REPORT(DebugCategory::Registry, VTEXT("returning %ld bytes"), rbbValue.GetLength());
    return fRead;
}
