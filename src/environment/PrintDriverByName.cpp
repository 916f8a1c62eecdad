/// @file
/// The second form of every question: the queue is opened by its name for the duration of the call.
#include "environment/PrintDriverImpl.h"

using vlm::driver::WithQueue;

ULONGLONG PrintDriver::GetCapabilities(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetCapabilities(hPrinter); });
}

ULONGLONG PrintDriver::GetDriverCapability(const XCHAR* pszPrinter, ULONGLONG ullWhich) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetDriverCapability(hPrinter, ullWhich); });
}

PrintDriver::PDLType PrintDriver::GetPDLTypeFromName(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetPDLTypeFromHandle(hPrinter); });
}

PrintDriver::ColorMode PrintDriver::GetColorModeFromName(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetColorModeFromHandle(hPrinter); });
}

PrintDriver::InboxMode PrintDriver::GetInboxModeFromName(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetInboxModeFromHandle(hPrinter); });
}

PrintDriver::PrintProcessor PrintDriver::GetPrintProcessorInstalledFromName(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetPrintProcessorInstalledFromHandle(hPrinter); });
}

PrintDriver::BaseDriverType PrintDriver::GetBaseDriverTypeFromDriverInfo2(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetBaseDriverTypeFromDriverInfo2(hPrinter); });
}

bool PrintDriver::IsWcsSupported(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return IsWcsSupported(hPrinter); });
}

CXString PrintDriver::GetDriverName(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetDriverName(hPrinter); });
}

PrintDriver::PDLType PrintDriver::GetDriverLanguage(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetDriverLanguage(hPrinter); });
}

CXString PrintDriver::GetDriverLanguageString(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetDriverLanguageString(hPrinter); });
}

CXString PrintDriver::GetDisplayableDriverVersion(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetDisplayableDriverVersion(hPrinter); });
}

const BYTE* PrintDriver::GetDriverInfo(const XCHAR* pszPrinter, DWORD dwLevel) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetDriverInfo(hPrinter, dwLevel); });
}

CXString PrintDriver::GetDriverPathFromName(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetDriverPathFromHandle(hPrinter); });
}

CXString PrintDriver::GetVelomDriverDataFilePath(const CXString& kcsPrinter) {
    return WithQueue(kcsPrinter, [&](HANDLE hPrinter) { return GetVelomDriverDataFilePathFromHandle(hPrinter); });
}

std::vector<CXString> PrintDriver::GetDriverDependentFiles(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetDriverDependentFiles(hPrinter); });
}

CXString PrintDriver::GetDriverFiles(const XCHAR* pszPrinter, FileType eType, const CXString& kcsFolder) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetDriverFiles(hPrinter, eType, kcsFolder); });
}

bool PrintDriver::GetProductDataCabFileNameAndFileTime(const XCHAR* pszPrinter, CXString& rcsFileName,
                                                       FILETIME* lpFtOut) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) {
        return GetProductDataCabFileNameAndFileTime(hPrinter, rcsFileName, lpFtOut);
    });
}

CXString PrintDriver::GetDeviceFeatureValueString(const XCHAR* pszPrinter, const XCHAR* pszFeature) {
    return GetDeviceFeatureValueStringEx(pszPrinter, vlm::driver::PRINTER_DRIVER_DATA, pszFeature);
}

CXString PrintDriver::GetDeviceFeatureValueStringEx(const XCHAR* pszPrinter, const XCHAR* pszKey,
                                                    const XCHAR* pszFeature) {
    return WithQueue(pszPrinter,
                     [&](HANDLE hPrinter) { return GetDeviceFeatureValueStringEx(hPrinter, pszKey, pszFeature); });
}

std::vector<CXString> PrintDriver::GetDeviceFeatureValueStrings(const XCHAR* pszPrinter, const XCHAR* pszFeature) {
    return GetDeviceFeatureValueStringsEx(pszPrinter, vlm::driver::PRINTER_DRIVER_DATA, pszFeature);
}

std::vector<CXString> PrintDriver::GetDeviceFeatureValueStringsEx(const XCHAR* pszPrinter, const XCHAR* pszKey,
                                                                  const XCHAR* pszFeature) {
    return WithQueue(pszPrinter,
                     [&](HANDLE hPrinter) { return GetDeviceFeatureValueStringsEx(hPrinter, pszKey, pszFeature); });
}

DWORD PrintDriver::GetDeviceFeatureValueDWORD(const XCHAR* pszPrinter, const XCHAR* pszFeature) {
    return GetDeviceFeatureValueDWORDEx(pszPrinter, vlm::driver::PRINTER_DRIVER_DATA, pszFeature);
}

DWORD PrintDriver::GetDeviceFeatureValueDWORDEx(const XCHAR* pszPrinter, const XCHAR* pszKey, const XCHAR* pszFeature) {
    return WithQueue(pszPrinter,
                     [&](HANDLE hPrinter) { return GetDeviceFeatureValueDWORDEx(hPrinter, pszKey, pszFeature); });
}

bool PrintDriver::GetDeviceFeatureValueBOOL(const XCHAR* pszPrinter, const XCHAR* pszFeature) {
    return GetDeviceFeatureValueBOOLEx(pszPrinter, vlm::driver::PRINTER_DRIVER_DATA, pszFeature);
}

bool PrintDriver::GetDeviceFeatureValueBOOLEx(const XCHAR* pszPrinter, const XCHAR* pszKey, const XCHAR* pszFeature) {
    return WithQueue(pszPrinter,
                     [&](HANDLE hPrinter) { return GetDeviceFeatureValueBOOLEx(hPrinter, pszKey, pszFeature); });
}

WORD PrintDriver::GetInstallationStateFromName(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetInstallationStateFromHandle(hPrinter); });
}

CXString PrintDriver::GetProductUniqueIdUsedInTheDriverFilenames(const XCHAR* pszPrinter) {
    return WithQueue(pszPrinter, [&](HANDLE hPrinter) { return GetProductUniqueIdUsedInTheDriverFilenames(hPrinter); });
}
