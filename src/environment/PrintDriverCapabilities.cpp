/// @file
/// What a driver can do, from what its installer stored and from the system's driver below it.
#include <algorithm>
#include <array>

#include "environment/PrintDriverImpl.h"

namespace {

using vlm::DriverBaseType;
using vlm::DriverPDLType;
using vlm::DriverPrintProcessor;
using vlm::Status;
using vlm::driver::DriverValue;
using vlm::driver::EqualNoCase;

/// A word of the personality's text, and what it means; the first that the text holds counts.
struct Personality {
    const XCHAR* pszWord;
    DriverPDLType eType;
};
constexpr std::array<Personality, 7> PERSONALITIES{{
    {VTEXT("postscript"), DriverPDLType::PDL_POSTSCRIPT},
    {VTEXT("hpgl2"), DriverPDLType::PDL_HPGL2},
    {VTEXT("pclxl"), DriverPDLType::PDL_PCLXL},
    {VTEXT("xraster"), DriverPDLType::PDL_XRASTER},
    {VTEXT("pcl6"), DriverPDLType::PDL_PCLXL},
    {VTEXT("pcl5"), DriverPDLType::PDL_PCL5},
    {VTEXT("pcl"), DriverPDLType::PDL_PCL5},
}};

/// A file of the system's drivers.
struct BaseFile {
    const XCHAR* pszFile;
    DriverBaseType eType;
};
constexpr std::array<BaseFile, 3> RENDERERS{{
    {VTEXT("unidrv.dll"), DriverBaseType::BASE_UNIDRV},
    {VTEXT("pscript5.dll"), DriverBaseType::BASE_PSCRIPT5},
    {VTEXT("mxdwdrv.dll"), DriverBaseType::BASE_MXDW},
}};
constexpr std::array<BaseFile, 2> USER_INTERFACES{{
    {VTEXT("ps5ui.dll"), DriverBaseType::BASE_PS5UI},
    {VTEXT("unidrvui.dll"), DriverBaseType::BASE_UNIDRVUI},
}};

template <std::size_t N>
DriverBaseType FindFile(const std::array<BaseFile, N>& raoFiles, XStringView svPath) noexcept {
    const XStringView svFile = vlm::driver::FileNameOf(svPath);
    const auto itFound = std::find_if(raoFiles.begin(), raoFiles.end(),
                                      [&](const BaseFile& rFile) { return EqualNoCase(rFile.pszFile, svFile); });
    return itFound == raoFiles.end() ? DriverBaseType::BASE_NONE : itFound->eType;
}

constexpr std::array<DriverPrintProcessor, 4> PROCESSORS_BY_NUMBER{
    DriverPrintProcessor::PRINT_PROCESSOR_NONE, DriverPrintProcessor::PRINT_PROCESSOR_VELOM,
    DriverPrintProcessor::PRINT_PROCESSOR_WINPRINT, DriverPrintProcessor::PRINT_PROCESSOR_XPS};

DriverPrintProcessor ProcessorOf(const DriverValue& rValue) {
    const CXString csText = rValue.Text();
    DWORD dwNumber = 0;
    if (rValue.IsNumber()) {
        dwNumber = rValue.bbData.getDword();
    } else if (csText.GetLength() == 1 && csText.IsContainNumericCharsOnly()) {
        dwNumber = static_cast<DWORD>(csText[0] - VTEXT('0'));
    } else if (csText.IsEmpty()) {
        return DriverPrintProcessor::PRINT_PROCESSOR_NONE;
    } else if (EqualNoCase(csText, VTEXT("winprint"))) {
        return DriverPrintProcessor::PRINT_PROCESSOR_WINPRINT;
    } else {
        return csText.FindNoCase(VTEXT("xps")) >= 0 ? DriverPrintProcessor::PRINT_PROCESSOR_XPS
                                                    : DriverPrintProcessor::PRINT_PROCESSOR_VELOM;
    }
    return dwNumber < PROCESSORS_BY_NUMBER.size() ? PROCESSORS_BY_NUMBER[dwNumber]
                                                  : DriverPrintProcessor::PRINT_PROCESSOR_NONE;
}

/// The text of the queue's personality, read as PrintDriver::GetPDLTypeFromHandle says; `rdwStatus`: of the first read.
CXString ReadPersonality(HANDLE hPrinter, DWORD& rdwStatus) {
    const DriverValue oValue = vlm::driver::ReadValue(hPrinter, vlm::driver::PRINTER_DRIVER_DATA, VTEXT("xPDL"));
    rdwStatus = oValue.dwStatus;
    CXString csPersonality = oValue.Text();
    if (!csPersonality.IsEmpty()) return csPersonality;
    return vlm::driver::ReadValue(hPrinter, VTEXT("DsDriver"), VTEXT("printLanguage")).Text();
}

DriverPDLType FindPDLType(const CXString& kcsPersonality) noexcept {
    const auto itFound = std::find_if(PERSONALITIES.begin(), PERSONALITIES.end(), [&](const Personality& rPersonality) {
        return kcsPersonality.FindNoCase(rPersonality.pszWord) >= 0;
    });
    return itFound == PERSONALITIES.end() ? DriverPDLType::PDL_NONE : itFound->eType;
}

}  // namespace

PrintDriver::PDLType PrintDriver::GetPDLTypeFromHandle(HANDLE hPrinter) {
    DWORD dwStatus = 0;
    const CXString csPersonality = ReadPersonality(hPrinter, dwStatus);
    if (csPersonality.IsEmpty() && dwStatus != 0 && dwStatus != vlm::ToDword(Status::FileNotFound)) {
        VLM_THROW(ExceptionPrintDriverFailure, VTEXT("PrintDriver::GetPDLTypeFromHandle(0x%lx) failed with error %s"),
                  static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(hPrinter)), vlm::TextOfStatus(dwStatus));
    }
    VLM_ASSERT(
        !csPersonality.IsEmpty(),
        VTEXT("PrintDriver::GetPDLTypeFromHandle(): Unable to find personality in the registry.  Fallback failed "
              "too."));
    const auto iPDLType = static_cast<DWORD>(FindPDLType(csPersonality));
    VLM_ASSERT(iPDLType, VTEXT("Failed to identify PDL! Returning zero. Many assertions will liklely follow."));
    return static_cast<PDLType>(iPDLType);
}

PrintDriver::PDLType PrintDriver::GetDriverLanguage(HANDLE hPrinter) {
    vlm::driver::RequireLanguageHandle(hPrinter);
    DWORD dwStatus = 0;
    const PDLType ePDLType = FindPDLType(ReadPersonality(hPrinter, dwStatus));
    if (ePDLType != PDLType::PDL_NONE) return ePDLType;
    const XCHAR* const pszPath = vlm::driver::As<vlm::DriverInfo2>(GetDriverInfo(hPrinter, 2)).pDriverPath;
    const bool fPostScript = pszPath && FindFile(RENDERERS, pszPath) == BaseDriverType::BASE_PSCRIPT5;
    return fPostScript ? PDLType::PDL_POSTSCRIPT : PDLType::PDL_NONE;
}

CXString PrintDriver::GetDriverLanguageString(PDLType ePDLType) {
    switch (ePDLType) {
        case PDLType::PDL_POSTSCRIPT:
            return CXString(VTEXT("PostScript"));
        case PDLType::PDL_PCL5:
            return CXString(VTEXT("PCL 5"));
        case PDLType::PDL_PCLXL:
            return CXString(VTEXT("PCL XL"));
        case PDLType::PDL_HPGL2:
            return CXString(VTEXT("HP-GL/2"));
        case PDLType::PDL_XRASTER:
            return CXString(VTEXT("XRaster"));
        case PDLType::PDL_NONE:
            break;
    }
    return CXString(VTEXT("Unknown"));
}

PrintDriver::ColorMode PrintDriver::GetColorModeFromHandle(HANDLE hPrinter) {
    const CXString csColor = vlm::driver::ReadText(hPrinter, VTEXT("xColor"));
    VLM_ASSERT(!csColor.IsEmpty(),
               VTEXT("PrintDriver::GetColorModeFromHandle(): Unable to read driver color/mono value from "
                     "PrinterDriverData."));
    if (EqualNoCase(csColor, VTEXT("color"))) return ColorMode::COLOR_MODE_COLOR;
    return EqualNoCase(csColor, VTEXT("monochrome")) ? ColorMode::COLOR_MODE_MONOCHROME : ColorMode::COLOR_MODE_NONE;
}

PrintDriver::InboxMode PrintDriver::GetInboxModeFromHandle(HANDLE hPrinter) {
    const CXString csValue = vlm::driver::ReadText(hPrinter, VTEXT("xInbox"));
    VLM_ASSERT(!csValue.IsEmpty(),
               VTEXT("PrintDriver::GetInboxModeFromHandle() failed reading inbox flag from PrinterDriverData."));
    if (csValue.IsEmpty()) return InboxMode::INBOX_MODE_NONE;
    constexpr std::array<const XCHAR*, 3> YES{VTEXT("1"), VTEXT("yes"), VTEXT("true")};
    return std::any_of(YES.begin(), YES.end(), [&](const XCHAR* pszYes) { return EqualNoCase(csValue, pszYes); })
               ? InboxMode::INBOX_MODE_INBOX
               : InboxMode::INBOX_MODE_RETAIL;
}

PrintDriver::PrintProcessor PrintDriver::GetPrintProcessorInstalledFromHandle(HANDLE hPrinter) {
    return ProcessorOf(vlm::driver::ReadStored(hPrinter, VTEXT("xPrintProc")));
}

PrintDriver::BaseDriverType PrintDriver::GetBaseDriverTypeFromDriverInfo2(HANDLE hPrinter) {
    const auto& rInfo = vlm::driver::As<vlm::DriverInfo2>(GetDriverInfo(hPrinter, 2));
    const XStringView svName = rInfo.pName ? rInfo.pName : VTEXT(""),
                      svPath = rInfo.pDriverPath ? rInfo.pDriverPath : VTEXT(""),
                      svConfigFile = rInfo.pConfigFile ? rInfo.pConfigFile : VTEXT("");
    const BaseDriverType eInterface = FindFile(USER_INTERFACES, svConfigFile);
    if (eInterface == BaseDriverType::BASE_NONE) {
        VLM_THROW(ExceptionPrintDriverFailure,
                  VTEXT("GetBaseDriverTypeFromDriverInfo2() failed because the base driver UI dll,%s, didn't match "
                        "'ps5ui' or 'unidrvui'."),
                  vlm::driver::FileNameOf(svConfigFile));
    }
    return eInterface | (svName.ends_with(VTEXT(" PDF")) ? BaseDriverType::BASE_PDF : FindFile(RENDERERS, svPath));
}

ULONGLONG PrintDriver::GetCapabilities(HANDLE hPrinter) {
    const DriverValue oStored = vlm::driver::ReadStored(hPrinter, VTEXT("xBaseDriverCaps"));
    const DWORD dwKnown = static_cast<DWORD>(GetPDLTypeFromHandle(hPrinter)) |
                          static_cast<DWORD>(GetColorModeFromHandle(hPrinter)) |
                          static_cast<DWORD>(GetInboxModeFromHandle(hPrinter)) |
                          static_cast<DWORD>(GetPrintProcessorInstalledFromHandle(hPrinter)) |
                          static_cast<DWORD>(GetBaseDriverTypeFromDriverInfo2(hPrinter));
    return (ULONGLONG{oStored.IsNumber() ? oStored.bbData.getDword() : 0} << 32) | dwKnown;
}

ULONGLONG PrintDriver::GetDriverCapability(HANDLE hPrinter, ULONGLONG ullWhich) {
    return GetCapabilities(hPrinter) & ullWhich;
}
