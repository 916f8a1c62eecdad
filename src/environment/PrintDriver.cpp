/// @file
/// The information block of a queue's driver, and what is told from it: names, language, versions, folders.
#include "environment/PrintDriver.h"

#include "environment/PrintDriverImpl.h"
#include "environment/Printer.h"
#include "environment/SpoolerBlockRead.h"
#include "platform/PrinterDriverPort.h"
#include "utilities/Bounds.h"
#include "utilities/utilitiesdll/DriverVersion.h"
#include "utilities/utilitiesdll/GrowUntilItFits.h"
#include "utilities/utilitiesdll/UtcTime.h"

namespace {

using vlm::Status;
using vlm::driver::As;

/// A block as the spooler filled it.
struct FetchedBlock {
    Status status = Status::Success;
    int iCalls = 0;  ///< the first asks for the size
    ByteBuffer bbBlock;
};

FetchedBlock FetchBlock(HANDLE hPrinter, DWORD dwLevel) {
    FetchedBlock oFetched;
    const auto Call = [&](BYTE* pbyInfo, DWORD cbInfo, DWORD& rcbNeeded) {
        ++oFetched.iCalls;
        return vlm::GetPlatform().pDrivers->GetDriverBlock(hPrinter, nullptr, dwLevel, pbyInfo, cbInfo, rcbNeeded);
    };
    oFetched.status = vlm::ReadSpoolerBlock(vlm::BlockKind::Driver, dwLevel, oFetched.bbBlock, Call);
    return oFetched;
}

/// A moment of the block as "2024.06.06"; empty for none.
CXString DateText(const vlm::BlockFileTime& rTime) {
    constexpr LONGLONG STEPS_PER_SECOND = 10'000'000, SECONDS_TO_1970 = 11'644'473'600;
    const ULONGLONG ullSteps = (ULONGLONG{rTime.dwHighDateTime} << 32) | rTime.dwLowDateTime;
    if (ullSteps == 0) return CXString();
    const UtcTime oTime(static_cast<LONGLONG>(ullSteps / STEPS_PER_SECOND) - SECONDS_TO_1970);
    return CXString::FormatString(VTEXT("%04I64d.%02u.%02u"), oTime.GetYear(), oTime.GetMonth(), oTime.GetDay());
}

CXString VersionText(ULONGLONG ullVersion) {
    const auto Part = [ullVersion](int iShift) { return static_cast<WORD>(ullVersion >> iShift); };
    return DriverVersion(Part(48), Part(32), Part(16), Part(0)).GetStringValue();
}

}  // namespace

void vlm::driver::RequireLanguageHandle(HANDLE hPrinter) {
    if (Printer::IsValidHandle(hPrinter)) return;
    VLM_THROW(ExceptionPrintDriverFailure, VTEXT("PrinterDriver::GetDriverLanguage(): Printer handle is invalid!"));
}

PrintDriver::~PrintDriver() = default;

const BYTE* PrintDriver::GetDriverInfo(HANDLE hPrinter, DWORD dwLevel) {
    if (!Printer::IsValidHandle(hPrinter)) {
        VLM_THROW(ExceptionPrintDriverFailure,
                  VTEXT("PrinterDriver::GetDriverInfo(HANDLE, DWORD): Printer handle is invalid!"));
    }
    FetchedBlock oFetched = FetchBlock(hPrinter, dwLevel);
    if (oFetched.status != Status::Success && oFetched.iCalls == 1) {
        VLM_THROW(
            ExceptionPrintDriverFailure,
            VTEXT("PrintDriver::GetDriverInfo(HANDLE, DWORD): Unable to get size of PRINTER_INFO_%d do to Windows "
                  "error %s"),
            dwLevel, vlm::TextOfStatus(oFetched.status));
    }
    if (oFetched.status != Status::Success) {
        VLM_THROW(ExceptionPrintDriverFailure,
                  VTEXT("PrintDriver::GetDriverInfo(HANDLE, DWORD): Unable to get DRIVER_INFO_%d due to Windows error "
                        "%s"),
                  dwLevel, vlm::TextOfStatus(oFetched.status));
    }
    m_bbDriverInfo.swap(oFetched.bbBlock);
    m_dwDriverInfoLevel = dwLevel;
    return m_bbDriverInfo.data();
}

CXString PrintDriver::GetDriverName(HANDLE hPrinter) {
    FetchedBlock oFetched = FetchBlock(hPrinter, 1);
    if (oFetched.status != Status::Success) {
        VLM_THROW(ExceptionPrintDriverFailure,
                  VTEXT("GetDriverInfo failed in PrinterDriver::GetDriverName with last error of %d"),
                  vlm::ToDword(oFetched.status));
    }
    const XCHAR* const pszName = As<vlm::DriverInfo1>(oFetched.bbBlock.data()).pName;
    if (pszName == nullptr) {
        VLM_THROW(ExceptionPrintDriverFailure,
                  VTEXT("PrintDriver::GetDriverName(): DRIVER_INFO_1's pName is unexpectedly NULL."));
    }
    CXString csName = pszName;
    m_bbDriverInfo.swap(oFetched.bbBlock);
    m_dwDriverInfoLevel = 1;
    return csName;
}

CXString PrintDriver::GetDisplayableDriverVersion() {
    return CXString(VTEXT("5.1009.1.0N 2024.06.06"));
}

CXString PrintDriver::GetDisplayableDriverVersion(HANDLE hPrinter) {
    vlm::driver::RequireLanguageHandle(hPrinter);
    const auto& rInfo = As<vlm::DriverInfo6>(GetDriverInfo(hPrinter, 6));
    const CXString csDate = DateText(rInfo.ftDriverDate);
    CXString csVersion = VersionText(rInfo.dwlDriverVersion);
    if (!csDate.IsEmpty()) (csVersion += VTEXT(' ')) += csDate;
    return csVersion;
}

CXString PrintDriver::GetDriverLanguageString(HANDLE hPrinter) {
    return GetDriverLanguageString(GetDriverLanguage(hPrinter));
}

CXString PrintDriver::GetDriverPathFromHandle(HANDLE hPrinter) {
    const XCHAR* const pszPath = As<vlm::DriverInfo3>(GetDriverInfo(hPrinter, 3)).pDriverPath;
    const XStringView svFolder = vlm::driver::FolderOf(pszPath ? pszPath : VTEXT(""));
    if (svFolder.empty()) {
        VLM_THROW(ExceptionPrintDriverFailure,
                  VTEXT("PrintDriver::GetDriverPathFromHandle: Unable to retrieve the driver path"));
    }
    return CXString(svFolder);
}

CXString PrintDriver::GetPrinterDriverDirectoryRoot(const CXString& kcsServer) {
    ByteBuffer bbFolder;
    const auto Call = [&](BYTE* pbyTarget, DWORD cbTarget, DWORD& rcbNeeded) {
        return vlm::GetPlatform().pDrivers->GetDriverDirectory(kcsServer.IsEmpty() ? nullptr : kcsServer.GetLpcwstr(),
                                                               nullptr, 1, reinterpret_cast<XCHAR*>(pbyTarget),
                                                               cbTarget, rcbNeeded);
    };
    const Status status = vlm::GrowUntilItFits(Call, vlm::bounds::MAX_SPOOLER_BLOCK_BYTES, bbFolder);
    if (status != Status::Success) {
        VLM_THROW(ExceptionPrintDriverFailure,
                  VTEXT("PrintDriver::GetPrinterDriverDirectoryRoot: Unable to retrieve the driver directory because "
                        "%s"),
                  vlm::TextOfStatus(status));
    }
    return vlm::driver::TextIn(bbFolder);
}

CXString PrintDriver::GetVelomDriverDataFilePathFromHandle(HANDLE hPrinter) {
    return GetDriverPathFromHandle(hPrinter) + VTEXT("\\Velom");
}

std::vector<CXString> PrintDriver::GetDriverDependentFiles(HANDLE hPrinter) {
    return vlm::TranslateOutOfMemory(
        [&] { return vlm::driver::ListOf(As<vlm::DriverInfo3>(GetDriverInfo(hPrinter, 3)).pDependentFiles); });
}

bool PrintDriver::IsWcsSupported(HANDLE hPrinter) {
    for (const CXString& kcsFile : GetDriverDependentFiles(hPrinter)) {
        if (vlm::driver::EqualNoCase(vlm::driver::FileNameOf(kcsFile), VTEXT("q8gmmp01.dll"))) return true;
    }
    return false;
}
