/// @file
/// The driver's files by type.
#include <array>

#include "environment/PrintDriverImpl.h"
#include "platform/FilePort.h"
#include "platform/FolderPort.h"
#include "platform/OpenFilePort.h"
#include "utilities/utilitiesdll/SimpleFile.h"

namespace {

using vlm::Status;
using vlm::driver::As;
using enum vlm::DriverFileType;

/// Files that have the same name with every driver of this version.
struct FixedFile {
    vlm::DriverFileType eType;
    const XCHAR* pszName;
};
constexpr std::array<FixedFile, 16> FIXED_FILES{{
    {FT_PCL_RENDERER, VTEXT("q9rpcl073.dll")},
    {FT_PS_RENDERER, VTEXT("q9rps073.dll")},
    {FT_PCLXL_RENDERER, VTEXT("q9rpcl073.dll")},
    {FT_USER_PROPERTIES, VTEXT("q9up073.dll")},
    {FT_CORE, VTEXT("q9core073.dll")},
    {FT_GUI, VTEXT("q9gui073.dll")},
    {FT_WORKFLOW_TU, VTEXT("q9wftu073.dll")},
    {FT_WORKFLOW_WU, VTEXT("q9wfwu073.dll")},
    {FT_COMMUNICATION, VTEXT("q9coms073.dll")},
    {FT_SPOOLER_HELPER, VTEXT("q9spl073.exe")},
    {FT_JOB_TRACKER, VTEXT("q9jobt073.exe")},
    {FT_THREAD_HELPER, VTEXT("q9thpr073.exe")},
    {FT_PRINT_PROCESSOR, VTEXT("q7pp.dll")},
    {FT_PRINT_LIBRARY, VTEXT("q7print.dll")},
    {FT_FILE_PRINT_BROKER, VTEXT("q9fpb073.exe")},
    {FT_FILE_PRINT_LIBRARY, VTEXT("q4fpd02.dll")},
}};
/// What stands for the workflow, the most special first.
constexpr std::array<const XCHAR*, 3> WORKFLOW_FILES{VTEXT("q9wftu073.dll"), VTEXT("q9wfwu073.dll"),
                                                     VTEXT("q9wfuv073.dll")};
constexpr const XCHAR* PREFIX = VTEXT("q9");
constexpr const XCHAR* SUFFIX = VTEXT("073");
/// The current directory and the archives of the IPP utility, then its main class.
constexpr const XCHAR* JAVA_CLASS_PATH =
    VTEXT(".;q9ippstk.jar;q9ippask.jar;q9ippops.jar;q9ippdat.jar;q9ipputl.jar com.velom.kestrix.ipp.IppClient");

const XCHAR* FindFixed(vlm::DriverFileType eType) noexcept {
    for (const FixedFile& rFile : FIXED_FILES) {
        if (rFile.eType == eType) return rFile.pszName;
    }
    return nullptr;
}

CXString InFolder(const CXString& kcsFolder, XStringView svName) {
    return CXString::FormatString(VTEXT("%s\\%s"), kcsFolder, svName);
}

/// The file name of the data file's compiled form.
/// Deliberate: each step asks whether the place of a text is other than 0, and "nowhere" is; so the first step ends the
/// work for all names but one that begins with ".gpd", and ".ppd" and ".p3p" come back as they are.
CXString CompiledName(CXString csName) {
    if (csName.Find(VTEXT(".gpd")) != 0) {
        csName.Replace(VTEXT(".gpd"), VTEXT(".bud"));
    } else if (csName.Find(VTEXT(".ppd")) != 0) {
        csName.Replace(VTEXT(".ppd"), VTEXT(".bpd"));
    } else if (csName.Find(VTEXT(".p3p")) != 0) {
        csName.Replace(VTEXT(".p3p"), VTEXT(".bpd"));
    }
    return csName;
}

CXString CompiledPath(const CXString& kcsDataFile) {
    const CXString csName = CompiledName(CXString(vlm::driver::FileNameOf(kcsDataFile)));
    return kcsDataFile.Left(static_cast<int>(kcsDataFile.View().size() - vlm::driver::FileNameOf(kcsDataFile).size())) +
           csName;
}

/// The first dependent file with the text in its lower-cased name.
CXString FindDependent(const std::vector<CXString>& rvcsFiles, const XCHAR* pszPart) {
    for (const CXString& kcsFile : rvcsFiles) {
        CXString csName(vlm::driver::FileNameOf(kcsFile));
        if (csName.MakeLower().Find(pszPart) >= 0) return kcsFile;
    }
    return CXString();
}

CXString TextResourceCab(HANDLE hPrinter) {
    const CXString csCode = vlm::driver::ReadText(hPrinter, VTEXT("xResDll"));
    const vlm::driver::CompanyResources* const pCompany = vlm::driver::FindCompany(csCode);
    if (pCompany) return CXString(pCompany->pszCab);
    // Deliberate: "S" is accepted, too; the words are known to the people who search logs for them.
    VLM_REPORT(DebugCategory::Utils,
               VTEXT("PrintDriver::GetDriverFiles(): xResDll in PrinterDriver Data was '%s'.  Must be either 'X', 'GV' "
                     "or 'D'.  Note:  This is expected *once* at the beginning of PRINTER_EVENT_INITIALIZE and the "
                     "driver will recover automatically."),
               csCode);
    return CXString(vlm::driver::CommonCompany().pszCab);
}

/// The last write to a file, in steps of 100 ns since 1601.
Status LastWrite(const CXString& kcsFile, ULONGLONG& rullWritten) noexcept {
    vlm::FilePort& rFiles = *vlm::GetPlatform().pFiles;
    constexpr vlm::FilePort::OpenOptions READING{.dwShare = vlm::FilePort::ShareRead | vlm::FilePort::ShareWrite |
                                                            vlm::FilePort::ShareDelete};
    HANDLE hFile = nullptr;
    Status status = rFiles.Open(kcsFile, READING, hFile);
    if (status != Status::Success) return status;
    vlm::OpenFilePort::Facts oFacts;
    status = vlm::GetPlatform().pOpenFiles->GetFacts(hFile, oFacts);
    rFiles.Close(hFile);
    if (status == Status::Success) rullWritten = oFacts.ullWritten;
    return status;
}

/// Is there anything in the folder?
bool HasEntries(const CXString& kcsFolder) noexcept {
    vlm::FolderPort& rFolders = *vlm::GetPlatform().pFolders;
    HANDLE hFolder = nullptr;
    if (rFolders.OpenFolder(kcsFolder, hFolder) != Status::Success) return false;
    vlm::FolderPort::Entry oEntry;
    const bool fEntry = rFolders.NextEntry(hFolder, oEntry) == Status::Success;
    rFolders.CloseFolder(hFolder);
    return fEntry;
}

/// Asks whether the product CAB was extracted; false, and reported, when the question ends in an exception.
template <class Ask>
bool AskWhetherExtracted(Ask&& ask) noexcept {
    bool bExtracted = false;
    try {
        bExtracted = std::forward<Ask>(ask)();
    } catch (const std::exception&) {
        VLM_REPORT_ERROR(DebugCategory::Utils,
                         VTEXT("PrintDriver::HasProductCabBeenExtracted() caught an exception and will return %u."),
                         bExtracted);
    }
    return bExtracted;
}

}  // namespace

CXString PrintDriver::GetDriverFiles(HANDLE hPrinter, FileType eType, const CXString& kcsFolder) {
    const auto Folder = [&] { return kcsFolder.IsEmpty() ? GetDriverPathFromHandle(hPrinter) : kcsFolder; };
    const auto DataFile = [&] { return CXString(As<vlm::DriverInfo3>(GetDriverInfo(hPrinter, 3)).pDataFile); };
    if (const XCHAR* const pszFixed = FindFixed(eType)) return InFolder(Folder(), pszFixed);
    switch (eType) {
        case FT_DATA_FILE:
            return DataFile();
        case FT_WORKFLOW: {
            const CXString csFolder = Folder();
            for (const XCHAR* const pszName : WORKFLOW_FILES) {
                CXString csFile = InFolder(csFolder, pszName);
                if (SimpleFile::DoesFileExist(csFile)) return csFile;
            }
            return CXString();
        }
        case FT_INI_FILE:
            return FindDependent(GetDriverDependentFiles(hPrinter), VTEXT(".ini"));
        case FT_CFG_FILE:
            return FindDependent(GetDriverDependentFiles(hPrinter), VTEXT(".cfg"));
        case FT_COMPILED_DATA_FILE:
            return CompiledPath(DataFile());
        case FT_PRODUCT_LIBRARY: {
            const CXString csId = GetProductUniqueIdUsedInTheDriverFilenames(hPrinter);
            return csId.IsEmpty() ? csId : CXString::FormatString(VTEXT("%s\\%s_%s.dll"), Folder(), PREFIX, csId);
        }
        case FT_PRODUCT_CAB: {
            const CXString csId = GetProductUniqueIdUsedInTheDriverFilenames(hPrinter);
            return csId.IsEmpty() ? csId
                                  : CXString::FormatString(VTEXT("%s\\%s%s%s.cab"), Folder(), PREFIX, csId, SUFFIX);
        }
        case FT_TEXT_RESOURCE_CAB: {
            const CXString csFolder = Folder();
            return InFolder(csFolder, TextResourceCab(hPrinter));
        }
        case FT_JAVA_CLASS_PATH:
            return CXString(JAVA_CLASS_PATH);
        case FT_CONFIGURATION_FILE: {
            const auto* const pDriverInfo2 = &As<vlm::DriverInfo2>(GetDriverInfo(hPrinter, 2));
            VLM_ASSERT(pDriverInfo2 && pDriverInfo2->pConfigFile);
            return CXString(pDriverInfo2->pConfigFile);
        }
        default:
            return CXString();
    }
}

CXString PrintDriver::GetProductUniqueIdUsedInTheDriverFilenames(HANDLE hPrinter) {
    constexpr XStringView MARK = VTEXT("q9_");
    CXString csProductUniqueId;
    for (const CXString& kcsFile : GetDriverDependentFiles(hPrinter)) {
        const CXString csName(vlm::driver::FileNameOf(kcsFile));
        if (!vlm::driver::EqualNoCase(csName.View().substr(0, MARK.size()), MARK)) continue;
        const int iFirstDot = csName.Find(VTEXT('.'));
        VLM_ASSERT(iFirstDot != -1);
        const CXString csId = csName.Mid(static_cast<int>(MARK.size()), iFirstDot - static_cast<int>(MARK.size()));
        if (iFirstDot == -1 || !vlm::driver::IsPathId(csId)) continue;
        csProductUniqueId = csId;
        break;
    }
    VLM_ASSERT(!csProductUniqueId.IsEmpty(),
               VTEXT("Failed getting product unique ID from names of dependent files in DRIVER_INFO_3"));
    return csProductUniqueId;
}

bool PrintDriver::GetProductDataCabFileNameAndFileTime(HANDLE hPrinter, CXString& rcsFileName, FILETIME* lpFtOut) {
    VLM_ASSERT(hPrinter && lpFtOut);
    if (!hPrinter || !lpFtOut) return false;
    const CXString csFileName = GetDriverFiles(hPrinter, FT_PRODUCT_CAB);
    ULONGLONG ullWritten = 0;
    const Status status = LastWrite(csFileName, ullWritten);
    if (status != Status::Success) {
        VLM_REPORT_ERROR(
            DebugCategory::Utils,
            VTEXT("Failed getting file time for Product Data CAB file, %s.  File is probably missing or in "
                  "use. Returning 0. Error: %s"),
            csFileName, vlm::TextOfStatus(status));
    }
    rcsFileName = csFileName;
    *vlm::AsBlockFileTime(lpFtOut) = {static_cast<DWORD>(ullWritten), static_cast<DWORD>(ullWritten >> 32)};
    return status == Status::Success;
}

bool PrintDriver::HasProductCabBeenExtracted(HANDLE hPrinter) noexcept {
    return AskWhetherExtracted(
        [&] { return HasEntries(GetVelomDriverDataFilePathFromHandle(hPrinter) + VTEXT("\\Product Data")); });
}

bool PrintDriver::HasProductCabBeenExtracted(const XCHAR* pszPrinter) noexcept {
    return AskWhetherExtracted([&] {
        return vlm::driver::WithQueue(pszPrinter,
                                      [&](HANDLE hPrinter) { return HasProductCabBeenExtracted(hPrinter); });
    });
}
