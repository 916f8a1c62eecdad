/// @file
/// Mirrored printer data: the flag, the path, and the data itself.
#include <algorithm>
#include <cstring>

#include "environment/PrinterMirrorImpl.h"
#include "utilities/registry/RegistryKey.h"
#include "utilities/utilitiesdll/VelomUtilities_Registry.h"

using vlm::PrinterEnumValues;
using vlm::Status;

namespace {

constexpr _HKEYREGISTRY_ MACHINE = HKeyRegistry::Hkey_Local_Machine;
constexpr const XCHAR* MIRRORING = VTEXT("Mirroring");

Status LastStatusOf(const RegistryKey& rKey) noexcept {
    return static_cast<Status>(rKey.GetLastStatus());
}

/// Opens a key.  @return the registry's status.
Status Open(RegistryKey& rKey, DWORD dwAccess) {
    return rKey.OpenRegistryKey(dwAccess, RegistryKey::NO_THROW) ? Status::Success : LastStatusOf(rKey);
}

RegistryKey MachineKey(const CXString& kcsPath) {
    return RegistryKey(MACHINE, kcsPath, RegistryKey::DIRECT, RegistryKey::OWN_TREE);
}

/// A flag of a key; false where the key or the flag is absent.
bool IsSet(_HKEYREGISTRY_ eHive, const CXString& kcsPath, const XCHAR* pszFlag, bool& rfExists) {
    const auto apoKey = RegistryKey::TryOpenRegistryKey(eHive, kcsPath);
    rfExists = apoKey && apoKey->DoesValueExist(pszFlag);
    return rfExists && apoKey->GetBooleanValue(pszFlag, false);
}

/// A value of the registry as an entry of the spooler's enumeration.
struct MirroredValue {
    CXString csName;
    DWORD dwType = 0;
    ByteBuffer bbData;
    DWORD NameBytes() const noexcept { return static_cast<DWORD>((csName.View().size() + 1) * sizeof(XCHAR)); }
    /// Names and data begin at even offsets; the length of a whole entry's texts.
    DWORD Bytes() const noexcept { return NameBytes() + ((bbData.GetLength() + 1) & ~DWORD{1}); }
};

Status ReadAll(RegistryKey& rKey, std::vector<MirroredValue>& rvoValues, std::size_t& rcbNeeded) {
    std::vector<CXString> vcsNames;
    if (!rKey.EnumValueNames(vcsNames)) return LastStatusOf(rKey);
    rcbNeeded = 0;
    for (const CXString& rcsName : vcsNames) {
        MirroredValue oValue;
        if (!rKey.GetValue(rcsName, oValue.bbData, &oValue.dwType)) {
            if (LastStatusOf(rKey) == Status::FileNotFound) continue;  // gone meanwhile
            return LastStatusOf(rKey);
        }
        oValue.csName = rcsName;
        rcbNeeded += sizeof(PrinterEnumValues) + oValue.Bytes();
        if (rcbNeeded > vlm::bounds::MAX_SPOOLER_BLOCK_BYTES) return Status::MoreData;
        rvoValues.push_back(std::move(oValue));
    }
    return Status::Success;
}

}  // namespace

vlm::PrinterMirror::PrinterMirror(HANDLE hPrinter, const XCHAR* pszKeyName) {
    const CXString csPath = Printer::GetRegPathForMirroredPrinterData(hPrinter);
    if (!csPath.IsEmpty() && pszKeyName && *pszKeyName && Printer::IsPrinterDataMirrored(csPath))
        m_csPath = csPath + VTEXT("\\Mirrored\\") + pszKeyName;
}

Status vlm::PrinterMirror::Read(const XCHAR* pszValueName, DWORD& rdwType, BYTE* pbyData, DWORD cbData,
                                DWORD& rcbNeeded) {
    if (m_csPath.IsEmpty()) return Status::FileNotFound;
    RegistryKey oKey = MachineKey(m_csPath);
    const Status eOpen = Open(oKey, RegistryKey::READ_ACCESS);
    if (eOpen != Status::Success) return eOpen;
    ByteBuffer bbData;
    if (!oKey.GetValue(pszValueName, bbData, &rdwType)) return LastStatusOf(oKey);
    rcbNeeded = bbData.GetLength();
    if (bbData.size() > cbData || (!pbyData && !bbData.empty())) return Status::MoreData;
    std::copy(bbData.begin(), bbData.end(), pbyData);
    return Status::Success;
}

Status vlm::PrinterMirror::Write(const XCHAR* pszValueName, DWORD dwType, const BYTE* pbyData, DWORD cbData) {
    if (m_csPath.IsEmpty()) return Status::FileNotFound;
    RegistryKey oKey(MACHINE, RegistryKey::DIRECT, RegistryKey::OWN_TREE);
    try {
        oKey.CreateRegistryKey(m_csPath, RegistryKey::WRITE_ACCESS);
        oKey.SetValue(pszValueName, dwType, ByteBuffer(pbyData, cbData));
    } catch (const ExceptionRegistryRequest&) {
        return LastStatusOf(oKey);
    }
    return Status::Success;
}

Status vlm::PrinterMirror::Enumerate(BYTE* pbyValues, DWORD cbValues, DWORD& rcbNeeded, DWORD& rcValues) {
    if (m_csPath.IsEmpty()) return Status::FileNotFound;
    RegistryKey oKey = MachineKey(m_csPath);
    const Status eOpen = Open(oKey, RegistryKey::READ_ACCESS);
    if (eOpen != Status::Success) return eOpen;
    std::vector<MirroredValue> voValues;
    std::size_t cbNeeded = 0;
    const Status eRead = ReadAll(oKey, voValues, cbNeeded);
    if (eRead != Status::Success) return eRead;
    rcbNeeded = static_cast<DWORD>(cbNeeded);
    rcValues = static_cast<DWORD>(voValues.size());
    if (cbNeeded > cbValues || (!pbyValues && cbNeeded != 0)) return Status::MoreData;
    if (!pbyValues) return Status::Success;  // no values
    BYTE* pbyRecord = pbyValues;
    BYTE* pbyText = pbyValues + voValues.size() * sizeof(PrinterEnumValues);
    for (const MirroredValue& rValue : voValues) {
        PrinterEnumValues oRecord{};
        oRecord.pValueName = reinterpret_cast<XCHAR*>(pbyText);
        oRecord.cbValueName = rValue.NameBytes();
        oRecord.dwType = rValue.dwType;
        oRecord.cbData = rValue.bbData.GetLength();
        std::memcpy(pbyText, rValue.csName.GetLpcwstr(), rValue.NameBytes());
        if (oRecord.cbData != 0) {
            oRecord.pData = pbyText + rValue.NameBytes();
            std::memcpy(oRecord.pData, rValue.bbData.data(), oRecord.cbData);
        }
        std::memcpy(pbyRecord, &oRecord, sizeof oRecord);
        pbyRecord += sizeof oRecord;
        pbyText += rValue.Bytes();
    }
    return Status::Success;
}

Status vlm::PrinterMirror::Delete(const XCHAR* pszValueName) {
    if (m_csPath.IsEmpty()) return Status::FileNotFound;
    RegistryKey oKey = MachineKey(m_csPath);
    const Status eOpen = Open(oKey, RegistryKey::WRITE_ACCESS);
    if (eOpen != Status::Success) return eOpen;
    return oKey.DeleteValue(pszValueName) ? Status::Success : LastStatusOf(oKey);
}

CXString Printer::GetRegPathForMirroredPrinterData(HANDLE hPrinter) noexcept {
    CXString csPath;
    vlm::TryOperation([&] {
        const CXString csQueue = GetPrinterNameInStandardFormForUseAsRegKey(GetPrinterName(hPrinter));
        if (!csQueue.IsEmpty()) csPath = VTEXT("Software\\Velom\\PrinterDriver\\V5.0\\") + csQueue;
        return true;
    });
    return csPath;
}

bool Printer::IsPrinterDataMirrored(CXString csRegPath) noexcept {
    return vlm::TryOperation([&] {
        if (csRegPath.IsEmpty()) return false;
        bool fExists = false;
        const _HKEYREGISTRY_ eHive = VelomUtilities::GetRegistryHiveByContext();
        const bool fMirrored = IsSet(eHive, csRegPath, MIRRORING, fExists);
        // What the spooler has set holds for everybody who has not set anything himself.
        return fExists || eHive == MACHINE ? fMirrored : IsSet(MACHINE, csRegPath, MIRRORING, fExists);
    });
}

bool Printer::SetFlagToEnablePrinterDriverDataMirroring(HANDLE hPrinter, bool fEnable) noexcept {
    return vlm::TryOperation([&] {
        const CXString csPath = GetRegPathForMirroredPrinterData(hPrinter);
        if (csPath.IsEmpty()) return false;
        const _HKEYREGISTRY_ eHive = VelomUtilities::GetRegistryHiveByContext();
        bool fExists = false;
        if (!fEnable && IsSet(eHive, csPath, VTEXT("PreventInitOfMirroring"), fExists)) {
            VLM_REPORT(vlm::PRINTER_CATEGORIES,
                       VTEXT("PrinterData registry mirroring in local HKLM would have been disabled, but no existing "
                             "mirrored data has been deleted."));
            return false;
        }
        RegistryKey oKey(eHive, RegistryKey::AS_NEEDED, RegistryKey::OWN_TREE);
        oKey.CreateRegistryKey(csPath, RegistryKey::WRITE_ACCESS);
        oKey.SetBooleanValue(MIRRORING, fEnable);
        if (!fEnable) return true;
        VLM_ASSERT(IsPrinterDataMirrored(GetRegPathForMirroredPrinterData(hPrinter)));
        return true;
    });
}
