/// @file
/// Values of a queue's driver data by name.
#include "environment/PrintDriverImpl.h"

namespace {

using vlm::driver::DriverValue;
using vlm::driver::PRINTER_DRIVER_DATA;

/// Why a value is none of the kind that was asked for.
CXString ReasonOf(const DriverValue& rValue) {
    return vlm::TextOfStatus(rValue.dwStatus != 0 ? rValue.dwStatus : vlm::ToDword(vlm::Status::InvalidData));
}

}  // namespace

CXString PrintDriver::GetDeviceFeatureValueStringEx(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszFeature) {
    const DriverValue oValue = vlm::driver::ReadValue(hPrinter, pszKey, pszFeature);
    if (!oValue.IsText()) {
        VLM_THROW(ExceptionPrintDriverFailure,
                  VTEXT("PrintDriver::GetDeviceFeatureValueStringEx: failed to return a value for %s because %s"),
                  pszFeature, ReasonOf(oValue));
    }
    return oValue.Text();
}

std::vector<CXString> PrintDriver::GetDeviceFeatureValueStringsEx(HANDLE hPrinter, const XCHAR* pszKey,
                                                                  const XCHAR* pszFeature) {
    const DriverValue oValue = vlm::driver::ReadValue(hPrinter, pszKey, pszFeature);
    if (!oValue.IsText()) {
        VLM_THROW(ExceptionPrintDriverFailure,
                  VTEXT("PrintDriver::GetDeviceFeatureValueStringsEx: failed to return a value for %s because %s"),
                  pszFeature, ReasonOf(oValue));
    }
    return vlm::TranslateOutOfMemory([&] {
        if (oValue.dwType != DriverValue::TYPE_STRINGS) return std::vector<CXString>{oValue.Text()};
        // Terminated twice here, whatever the value's own end is.
        const CXString csUnits = oValue.bbData.getAsStringValue() + XStringView(VTEXT("\0"), 1);
        return vlm::driver::ListOf(csUnits);
    });
}

DWORD PrintDriver::GetDeviceFeatureValueDWORDEx(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszFeature) {
    const DriverValue oValue = vlm::driver::ReadValue(hPrinter, pszKey, pszFeature);
    if (!oValue.IsNumber()) {
        VLM_THROW(ExceptionPrintDriverFailure,
                  VTEXT("PrintDriver::GetDeviceFeatureValueDWORDEx: failed to return a value for %s because %s"),
                  pszFeature, ReasonOf(oValue));
    }
    return oValue.bbData.getDword();
}

bool PrintDriver::GetDeviceFeatureValueBOOLEx(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszFeature) {
    const DriverValue oValue = vlm::driver::ReadValue(hPrinter, pszKey, pszFeature);
    const bool fByte = oValue.dwStatus == 0 && !oValue.IsText() && oValue.bbData.size() == 1;
    if (!fByte && !oValue.IsNumber()) {
        VLM_THROW(ExceptionPrintDriverFailure,
                  VTEXT("PrintDriver::GetDeviceFeatureValueBOOLEx: failed to return a value for %s because %s"),
                  pszFeature, ReasonOf(oValue));
    }
    return fByte ? oValue.bbData[0] != 0 : oValue.bbData.getDword() != 0;
}

CXString PrintDriver::GetDeviceFeatureValueString(HANDLE hPrinter, const XCHAR* pszFeature) {
    return GetDeviceFeatureValueStringEx(hPrinter, PRINTER_DRIVER_DATA, pszFeature);
}

std::vector<CXString> PrintDriver::GetDeviceFeatureValueStrings(HANDLE hPrinter, const XCHAR* pszFeature) {
    return GetDeviceFeatureValueStringsEx(hPrinter, PRINTER_DRIVER_DATA, pszFeature);
}

DWORD PrintDriver::GetDeviceFeatureValueDWORD(HANDLE hPrinter, const XCHAR* pszFeature) {
    return GetDeviceFeatureValueDWORDEx(hPrinter, PRINTER_DRIVER_DATA, pszFeature);
}

bool PrintDriver::GetDeviceFeatureValueBOOL(HANDLE hPrinter, const XCHAR* pszFeature) {
    return GetDeviceFeatureValueBOOLEx(hPrinter, PRINTER_DRIVER_DATA, pszFeature);
}
