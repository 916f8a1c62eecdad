/// @file
/// The accessors that the spooler's names are mapped onto, and the lists of values and keys.
#include "environment/PrinterImpl.h"

namespace {

constexpr DWORD TYPE_STRING = 1, TYPE_BYTES = 3;

DWORD WriteText(HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, const CXString& kcsData) noexcept {
    return Printer::SetPrinterDataExMandatoryWrapper(hPrinter, pszKeyName, pszValueName, TYPE_STRING,
                                                     reinterpret_cast<const BYTE*>(kcsData.GetLpcwstr()),
                                                     static_cast<DWORD>((kcsData.View().size() + 1) * sizeof(XCHAR)));
}

}  // namespace

DWORD Printer::Kestrix_cannot_use_GetPrinterDataEx_use_GetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, DWORD* pdwType, BYTE* pbyData, DWORD cbData,
    DWORD* pcbNeeded) noexcept {
    return GetPrinterDataExMandatoryWrapper(hPrinter, pszKeyName, pszValueName, pdwType, pbyData, cbData, pcbNeeded);
}

DWORD Printer::Kestrix_cannot_use_GetPrinterDataEx_use_GetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, ByteBuffer& rbbData) noexcept {
    return CallGetPrinterDataExWithRetries(hPrinter, pszKeyName, pszValueName, nullptr, rbbData);
}

DWORD Printer::Kestrix_cannot_use_GetPrinterDataEx_use_GetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, CXString& rcsData) noexcept {
    return vlm::ReadPrinterDataText(hPrinter, pszKeyName, pszValueName, rcsData);
}

DWORD Printer::Kestrix_cannot_use_GetPrinterDataEx_use_GetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
    const XCHAR* pszKeyName, const XCHAR* pszValueName) noexcept {
    m_dwPrinterDataType = 0;
    return CallGetPrinterDataExWithRetries(m_hPrinter, pszKeyName, pszValueName, &m_dwPrinterDataType, m_bbPrinterData);
}

DWORD Printer::Kestrix_cannot_use_GetPrinterData_use_GetPrinterDataMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszValueName, DWORD* pdwType, BYTE* pbyData, DWORD cbData,
    DWORD* pcbNeeded) noexcept {
    return GetPrinterDataExMandatoryWrapper(hPrinter, PRINTER_DRIVER_DATA, pszValueName, pdwType, pbyData, cbData,
                                            pcbNeeded);
}

DWORD Printer::Kestrix_cannot_use_GetPrinterData_use_GetPrinterDataMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszValueName, ByteBuffer& rbbData) noexcept {
    return CallGetPrinterDataExWithRetries(hPrinter, PRINTER_DRIVER_DATA, pszValueName, nullptr, rbbData);
}

DWORD Printer::Kestrix_cannot_use_GetPrinterData_use_GetPrinterDataMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszValueName, CXString& rcsData) noexcept {
    return vlm::ReadPrinterDataText(hPrinter, PRINTER_DRIVER_DATA, pszValueName, rcsData);
}

DWORD Printer::Kestrix_cannot_use_GetPrinterData_use_GetPrinterDataMandatoryWrapper_in_Printer_class_instead(
    const XCHAR* pszValueName) noexcept {
    m_dwPrinterDataType = 0;
    return CallGetPrinterDataExWithRetries(m_hPrinter, PRINTER_DRIVER_DATA, pszValueName, &m_dwPrinterDataType,
                                           m_bbPrinterData);
}

DWORD Printer::Kestrix_cannot_use_SetPrinterDataEx_use_SetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, DWORD dwType, const BYTE* pbyData,
    DWORD cbData) noexcept {
    return SetPrinterDataExMandatoryWrapper(hPrinter, pszKeyName, pszValueName, dwType, pbyData, cbData);
}

DWORD Printer::Kestrix_cannot_use_SetPrinterDataEx_use_SetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, const ByteBuffer& kbbData) noexcept {
    return SetPrinterDataExMandatoryWrapper(hPrinter, pszKeyName, pszValueName, TYPE_BYTES, kbbData.getLpbyte(),
                                            kbbData.GetLength());
}

DWORD Printer::Kestrix_cannot_use_SetPrinterDataEx_use_SetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, const CXString& kcsData) noexcept {
    return WriteText(hPrinter, pszKeyName, pszValueName, kcsData);
}

DWORD Printer::Kestrix_cannot_use_SetPrinterData_use_SetPrinterDataMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszValueName, DWORD dwType, const BYTE* pbyData, DWORD cbData) noexcept {
    return SetPrinterDataExMandatoryWrapper(hPrinter, PRINTER_DRIVER_DATA, pszValueName, dwType, pbyData, cbData);
}

DWORD Printer::Kestrix_cannot_use_SetPrinterData_use_SetPrinterDataMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszValueName, const ByteBuffer& kbbData) noexcept {
    return SetPrinterDataExMandatoryWrapper(hPrinter, PRINTER_DRIVER_DATA, pszValueName, TYPE_BYTES,
                                            kbbData.getLpbyte(), kbbData.GetLength());
}

DWORD Printer::Kestrix_cannot_use_SetPrinterData_use_SetPrinterDataMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszValueName, const CXString& kcsData) noexcept {
    return WriteText(hPrinter, PRINTER_DRIVER_DATA, pszValueName, kcsData);
}

DWORD Printer::Kestrix_cannot_use_EnumPrinterDataEx_use_EnumPrinterDataExMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszKeyName, BYTE* pbyEnumValues, DWORD cbEnumValues, DWORD* pcbNeeded,
    DWORD* pcValues) noexcept {
    return EnumPrinterDataExMandatoryWrapper(hPrinter, pszKeyName, pbyEnumValues, cbEnumValues, pcbNeeded, pcValues);
}

DWORD Printer::Kestrix_cannot_use_EnumPrinterDataEx_use_EnumPrinterDataExMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszKeyName, ByteBuffer& rbbEnumValues, DWORD& rcValues) noexcept {
    return vlm::NoThrow(
        [&] {
            return vlm::ToDword(
                vlm::ReadSpoolerList(vlm::BlockKind::Values, 0, rbbEnumValues, rcValues,
                                     [&](BYTE* pbyValues, DWORD cbValues, DWORD& rcbNeeded, DWORD& rcRecords) {
                                         return static_cast<vlm::Status>(EnumPrinterDataExMandatoryWrapper(
                                             hPrinter, pszKeyName, pbyValues, cbValues, &rcbNeeded, &rcRecords));
                                     }));
        },
        vlm::ToDword(vlm::Status::NotEnoughMemory));
}

DWORD Printer::Kestrix_cannot_use_DeletePrinterDataEx_use_DeletePrinterDataExMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName) noexcept {
    return DeletePrinterDataExMandatoryWrapper(hPrinter, pszKeyName, pszValueName);
}

DWORD Printer::Kestrix_cannot_use_DeletePrinterData_use_DeletePrinterDataMandatoryWrapper_in_Printer_class_instead(
    HANDLE hPrinter, const XCHAR* pszValueName) noexcept {
    return DeletePrinterDataExMandatoryWrapper(hPrinter, PRINTER_DRIVER_DATA, pszValueName);
}

DWORD Printer::EnumPrinterDataNames(HANDLE hPrinter, const XCHAR* pszKeyName,
                                    std::vector<CXString>& rvcsNames) noexcept {
    rvcsNames.clear();
    return vlm::NoThrow(
        [&] {
            ByteBuffer bbValues;
            DWORD cValues = 0;
            const DWORD dwStatus =
                Kestrix_cannot_use_EnumPrinterDataEx_use_EnumPrinterDataExMandatoryWrapper_in_Printer_class_instead(
                    hPrinter, pszKeyName, bbValues, cValues);
            std::vector<CXString> vcsNames;
            for (const vlm::PrinterEnumValues& rValue : vlm::Records<vlm::PrinterEnumValues>(bbValues, cValues))
                vcsNames.emplace_back(rValue.pValueName);
            rvcsNames.swap(vcsNames);
            return dwStatus;
        },
        vlm::ToDword(vlm::Status::NotEnoughMemory));
}

DWORD Printer::EnumPrinterKeyW(HANDLE hPrinter, const XCHAR* pszKeyName, std::vector<CXString>& rvcsKeys) noexcept {
    rvcsKeys.clear();
    return vlm::NoThrow(
        [&] {
            ByteBuffer bbKeys;
            const vlm::Status eStatus = vlm::GrowUntilItFits(
                [&](BYTE* pbyKeys, DWORD cbKeys, DWORD& rcbNeeded) {
                    return vlm::PrinterData().EnumerateDataKeys(hPrinter, pszKeyName, reinterpret_cast<XCHAR*>(pbyKeys),
                                                                cbKeys, rcbNeeded);
                },
                vlm::bounds::MAX_SPOOLER_BLOCK_BYTES, bbKeys);
            if (eStatus != vlm::Status::Success) return vlm::ToDword(eStatus);
            const auto* pchKey = reinterpret_cast<const XCHAR*>(bbKeys.data());
            if (!vlm::IsSoundTextList(pchKey, bbKeys.size())) return vlm::ToDword(vlm::Status::InvalidData);
            std::vector<CXString> vcsKeys;
            for (; *pchKey != 0; pchKey += XStringView(pchKey).size() + 1)
                vcsKeys.emplace_back(pchKey);
            rvcsKeys.swap(vcsKeys);
            return vlm::ToDword(eStatus);
        },
        vlm::ToDword(vlm::Status::NotEnoughMemory));
}
