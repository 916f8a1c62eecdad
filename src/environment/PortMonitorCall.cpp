/// @file
/// A proxied call: builds the request's record, sends it, and takes the reply.
#include "environment/PortMonitorImpl.h"
#include "utilities/Bounds.h"
#include "utilities/utilitiesdll/GrowUntilItFits.h"

namespace {

using vlm::PortMonitorReply;
using vlm::Status;
using Function = _XPMRegistryFunction;

/// Room that the first call for a reply of unknown size gets: most values and lists of names fit.
constexpr DWORD FIRST_ROOM = 512;

DWORD FirstRoom(Function eFunction) noexcept {
    const vlm::RequestOperation* const pOperation = vlm::FindRequestOperation(static_cast<WORD>(eFunction));
    if (!pOperation || pOperation->m_eReply == vlm::ReplyLayout::Empty) return 0;
    const DWORD cbFixed = PortMonitorReply::FixedSize(pOperation->m_eReply);
    return cbFixed != 0 ? cbFixed : FIRST_ROOM;
}

ULONGLONG NumberOf(HKEY hKey) noexcept {
    return reinterpret_cast<std::uintptr_t>(hKey);
}

}  // namespace

bool VelomPortMonitor::FillInXPMRegistryObject(_HKEYREGISTRY_ eRoot, HKEY hKey, _XPMRegistryFunction eFunction,
                                               DWORD dwAccessMask, const XCHAR* pszKeyPath, const XCHAR* pszValueName,
                                               const XCHAR* pszThird, const BYTE* pbyData, DWORD cbData,
                                               ByteBuffer& rbbRecord) noexcept {
    rbbRecord.clear();
    try {
        vlm::PortMonitorRequest oRequest;
        const bool fKey = !IsHKeyInvalidValid(hKey);
        oRequest.m_eRoot = fKey ? HKeyRegistry::Hkey_None : eRoot;
        oRequest.m_ullKeyHandle = fKey ? NumberOf(hKey) : 0;
        oRequest.m_eFunction = eFunction;
        oRequest.m_dwAccessMask = dwAccessMask;
        oRequest.m_csKeyPath = CXString(pszKeyPath);
        oRequest.m_csValueName = CXString(pszValueName);
        oRequest.m_csThird = CXString(pszThird);
        oRequest.m_bbData.setWithLpbyte(pbyData, IS_VALID_POINTER(pbyData) ? cbData : 0);
        oRequest.AppendTo(rbbRecord);
        return true;
    } catch (const std::exception& rException) {
        VLM_REPORT_ERROR(DebugCategory::Registry, VTEXT("Exception thrown during FillInXPMRegistryObject - %s"),
                         VelomException::GetExceptionDescription(rException));
    }
    rbbRecord.clear();
    return false;
}

bool VelomPortMonitor::CallVelomPortMonitor(_HKEYREGISTRY_ eRoot, HKEY hKey, _XPMRegistryFunction eFunction,
                                            DWORD dwAccessMask, const XCHAR* pszKeyPath, const XCHAR* pszValueName,
                                            const XCHAR* pszThird, const BYTE* pbyInput, DWORD cbInput, BYTE* pbyOutput,
                                            DWORD cbOutput, DWORD* pdwNeeded, DWORD* pdwStatus) noexcept {
    try {
        ByteBuffer bbRecord;
        if (FillInXPMRegistryObject(eRoot, hKey, eFunction, dwAccessMask, pszKeyPath, pszValueName, pszThird, pbyInput,
                                    cbInput, bbRecord)) {
            return XcvDataPort(bbRecord, pbyOutput, cbOutput, pdwNeeded, pdwStatus);
        }
        m_dwLastStatus = vlm::ToDword(Status::NotEnoughMemory);
    } catch (const std::exception& rException) {
        m_dwLastStatus = vlm::ToDword(Status::NotEnoughMemory);
        VLM_REPORT_ERROR(DebugCategory::Registry, VTEXT("Exception thrown during CallVelomPortMonitor - %s"),
                         VelomException::GetExceptionDescription(rException));
    }
    if (pdwNeeded) *pdwNeeded = 0;
    if (pdwStatus) *pdwStatus = m_dwLastStatus;
    return false;
}

bool VelomPortMonitor::CallVelomPortMonitor(_HKEYREGISTRY_ eRoot, HKEY hKey, _XPMRegistryFunction eFunction,
                                            DWORD dwAccessMask, const XCHAR* pszKeyPath, const XCHAR* pszValueName,
                                            const XCHAR* pszThird, const BYTE* pbyInput, DWORD cbInput,
                                            ByteBuffer& rbbOutput, DWORD* pdwNeeded, DWORD* pdwStatus) noexcept {
    DWORD cbNeeded = 0;
    try {
        ByteBuffer bbRecord;
        ByteBuffer bbReply;
        if (FillInXPMRegistryObject(eRoot, hKey, eFunction, dwAccessMask, pszKeyPath, pszValueName, pszThird, pbyInput,
                                    cbInput, bbRecord)) {
            bbReply.resize(FirstRoom(eFunction));
            const auto Call = [&](BYTE* pbyTarget, DWORD cbTarget, DWORD& rcbNeeded) {
                DWORD dwStatus = 0;
                XcvDataPort(bbRecord, pbyTarget, cbTarget, &rcbNeeded, &dwStatus);
                cbNeeded = rcbNeeded;
                return static_cast<Status>(dwStatus);
            };
            m_dwLastStatus = vlm::ToDword(vlm::GrowUntilItFits(Call, vlm::bounds::MAX_REPLY_BYTES, bbReply));
            rbbOutput.swap(bbReply);
        } else {
            m_dwLastStatus = vlm::ToDword(Status::NotEnoughMemory);
            rbbOutput.clear();
        }
    } catch (const std::exception& rException) {
        m_dwLastStatus = vlm::ToDword(Status::NotEnoughMemory);
        rbbOutput.clear();
        VLM_REPORT_ERROR(DebugCategory::Registry, VTEXT("Exception thrown during CallVelomPortMonitor - %s"),
                         VelomException::GetExceptionDescription(rException));
    }
    if (pdwNeeded) *pdwNeeded = cbNeeded;
    if (pdwStatus) *pdwStatus = m_dwLastStatus;
    return m_dwLastStatus == 0;
}

bool VelomPortMonitor::CallVelomPortMonitor(_HKEYREGISTRY_ eRoot, HKEY hKey, _XPMRegistryFunction eFunction,
                                            DWORD dwAccessMask, const XCHAR* pszKeyPath, const XCHAR* pszValueName,
                                            const XCHAR* pszThird, const ByteBuffer& kbbInput, ByteBuffer& rbbOutput,
                                            DWORD* pdwNeeded, DWORD* pdwStatus) noexcept {
    return CallVelomPortMonitor(eRoot, hKey, eFunction, dwAccessMask, pszKeyPath, pszValueName, pszThird,
                                kbbInput.getLpbyte(), kbbInput.GetLength(), rbbOutput, pdwNeeded, pdwStatus);
}

bool VelomPortMonitor::CallVelomPortMonitor(_HKEYREGISTRY_ eRoot, HKEY hKey, _XPMRegistryFunction eFunction,
                                            DWORD dwAccessMask, const XCHAR* pszKeyPath, const XCHAR* pszValueName,
                                            const XCHAR* pszThird, const ByteBuffer& kbbInput, BYTE* pbyOutput,
                                            DWORD cbOutput, DWORD* pdwNeeded, DWORD* pdwStatus) noexcept {
    return CallVelomPortMonitor(eRoot, hKey, eFunction, dwAccessMask, pszKeyPath, pszValueName, pszThird,
                                kbbInput.getLpbyte(), kbbInput.GetLength(), pbyOutput, cbOutput, pdwNeeded, pdwStatus);
}

bool VelomPortMonitor::CallVelomPortMonitor(HKEY hKey, _XPMRegistryFunction eFunction, DWORD dwAccessMask,
                                            const XCHAR* pszKeyPath, const XCHAR* pszValueName, const XCHAR* pszThird,
                                            const ByteBuffer& kbbInput, ByteBuffer& rbbOutput, DWORD* pdwNeeded,
                                            DWORD* pdwStatus) noexcept {
    return CallVelomPortMonitor(HKeyRegistry::Hkey_None, hKey, eFunction, dwAccessMask, pszKeyPath, pszValueName,
                                pszThird, kbbInput, rbbOutput, pdwNeeded, pdwStatus);
}

bool VelomPortMonitor::CallVelomPortMonitor(HKEY hKey, _XPMRegistryFunction eFunction, DWORD dwAccessMask,
                                            const XCHAR* pszKeyPath, const XCHAR* pszValueName, const XCHAR* pszThird,
                                            const ByteBuffer& kbbInput, BYTE* pbyOutput, DWORD cbOutput,
                                            DWORD* pdwNeeded, DWORD* pdwStatus) noexcept {
    return CallVelomPortMonitor(HKeyRegistry::Hkey_None, hKey, eFunction, dwAccessMask, pszKeyPath, pszValueName,
                                pszThird, kbbInput, pbyOutput, cbOutput, pdwNeeded, pdwStatus);
}

bool VelomPortMonitor::CallVelomPortMonitor(HKEY hKey, _XPMRegistryFunction eFunction, DWORD dwAccessMask,
                                            const XCHAR* pszKeyPath, const XCHAR* pszValueName, const XCHAR* pszThird,
                                            const BYTE* pbyInput, DWORD cbInput, ByteBuffer& rbbOutput,
                                            DWORD* pdwNeeded, DWORD* pdwStatus) noexcept {
    return CallVelomPortMonitor(HKeyRegistry::Hkey_None, hKey, eFunction, dwAccessMask, pszKeyPath, pszValueName,
                                pszThird, pbyInput, cbInput, rbbOutput, pdwNeeded, pdwStatus);
}

bool VelomPortMonitor::CallVelomPortMonitor(HKEY hKey, _XPMRegistryFunction eFunction, DWORD dwAccessMask,
                                            const XCHAR* pszKeyPath, const XCHAR* pszValueName, const XCHAR* pszThird,
                                            const BYTE* pbyInput, DWORD cbInput, BYTE* pbyOutput, DWORD cbOutput,
                                            DWORD* pdwNeeded, DWORD* pdwStatus) noexcept {
    return CallVelomPortMonitor(HKeyRegistry::Hkey_None, hKey, eFunction, dwAccessMask, pszKeyPath, pszValueName,
                                pszThird, pbyInput, cbInput, pbyOutput, cbOutput, pdwNeeded, pdwStatus);
}
