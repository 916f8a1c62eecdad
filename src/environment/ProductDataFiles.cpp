/// @file
/// Data files of a model, its PDL commands, and their exchange with a print server.
#include <algorithm>

#include "environment/User.h"
#include "environment/detail/product/FolderTree.h"
#include "environment/detail/product/ProductDataImpl.h"
#include "platform/Platform.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SystemText.h"
#include "utilities/utilitiesdll/WriteBeside.h"

namespace {

namespace folders = vlm::folders;

/// The share of a print server that its drivers lie in, and the folders by architecture there.
constexpr const XCHAR *DRIVER_SHARE = VTEXT("print$"), *DRIVERS = VTEXT("DRIVERS\\");
constexpr const XCHAR* ARCHITECTURES[] = {VTEXT("W32X86"), VTEXT("IA64")};

/// The kinds of files that product data has; nothing that runs.
constexpr XStringView DCP_EXTENSIONS[] = {VTEXT(".map"), VTEXT(".xml"), VTEXT(".xcf"), VTEXT(".dtd"),
                                          VTEXT(".txt"), VTEXT(".dat"), VTEXT(".bin"), VTEXT(".csv"),
                                          VTEXT(".ini"), VTEXT(".pdl"), VTEXT(".jcp"), VTEXT(".mrg"),
                                          VTEXT(".htn"), VTEXT(".aut"), VTEXT(".icc"), VTEXT(".icm")};

bool IsDcpFile(const folders::Item& rItem) noexcept {
    return rItem.IsFile() && folders::IsLeafName(rItem.csName) &&
           std::any_of(std::begin(DCP_EXTENSIONS), std::end(DCP_EXTENSIONS),
                       [&](XStringView extension) { return folders::HasExtension(rItem.csName, extension); });
}

bool DoesExist(const CXString& kcsPath) noexcept {
    DWORD dwAttributes = 0;
    return vlm::GetPlatform().pFiles->GetAttributes(kcsPath, dwAttributes) == vlm::Status::Success;
}

}  // namespace

bool ProductData::LoadFile(InfoType eType, ByteBuffer& rbbContents) {
    CXString csPath;
    if (!GetPath(eType, csPath)) return false;
    const CXString csName = folders::LeafOf(csPath);
    VLM_REPORT(DebugCategory::UtilDll, VTEXT("Attempting to open file: %s"), csPath);
    if (!DoesExist(csPath)) {
        VLM_REPORT(DebugCategory::UtilDll,
                   VTEXT("Did not find CAB file contents, attempting to unpack when loading %s file"), csName);
        UnpackProductCabFile();
        if (!DoesExist(csPath)) {
            VLM_REPORT_ERROR(DebugCategory::UtilDll,
                             VTEXT("Unable to extract %s file, even though it is present in the MAP file"), csName);
            return false;
        }
    }
    const RevertToPrinterSelfWrapper oSelf;
    const vlm::Status status = folders::Read(csPath, vlm::bounds::MAX_PRODUCT_FILE_BYTES, false, rbbContents);
    if (status != vlm::Status::Success) {
        VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("The %s file exists but the attempt to read it in failed."),
                         csName);
        return false;
    }
    VLM_REPORT(DebugCategory::UtilDll, VTEXT("Successfully read %s file: %s"), csName, csPath);
    return true;
}

// ---- PDL commands ----

bool ProductData::FindPDLInstruction(const CXString& kcsFeature, const CXString& kcsOption, PdlType ePdlType,
                                     CXString& rcsInstruction) {
    return vlm::TranslateOutOfMemory([&] {
        if (!m_apoPdlCommands) {
            ByteBuffer bbFile;
            if (!LoadFile(PD_PSCOUT, bbFile)) return false;
            try {
                m_apoPdlCommands = std::make_unique<PdlCommands>(PdlCommands::Parse(bbFile));
            } catch (const ExceptionXMLConfigurationFileParseFailed&) {
                return false;  // reported where it was raised
            }
        }
        return m_apoPdlCommands->GetPDLLine(kcsFeature, kcsOption, ePdlType, rcsInstruction);
    });
}

bool ProductData::GetPDLCommandWithValues(const CXString& kcsFeature, const CXString& kcsOption, PdlType ePdlType,
                                          ByteBuffer& rbbOut, HANDLE hPrinter, std::span<const LONG> values) {
    if (Printer::IsValidHandle(hPrinter) && hPrinter != GetAssociatedPrinterHandle()) {
        ProductData oOther(hPrinter, CXString(), MT_PRINTER_INI_DATA, CXString());
        return oOther.IsValidated() &&
               oOther.GetPDLCommandWithValues(kcsFeature, kcsOption, ePdlType, rbbOut, nullptr, values);
    }
    CXString csInstruction;
    return FindPDLInstruction(kcsFeature, kcsOption, ePdlType, csInstruction) &&
           PdlCommands::ConvertAmpCommands(csInstruction.View(), ePdlType, values, rbbOut);
}

// ---- a print server ----

/// The public DCP folder behind the architecture's folder, "3\Velom\Product Data\..."; empty where the drivers' folder
/// is not as the system lays it out.
CXString ProductData::GetDCPPathInDriversFolder() {
    const CXString csPublic = GetPublicDCPFolderPath(WITHOUT_VERSION);
    const int iDrivers = csPublic.FindNoCase(DRIVERS);
    if (iDrivers < 0) return CXString();
    const int iArchitecture = csPublic.Find(VTEXT('\\'), iDrivers + CXString(DRIVERS).GetLength());
    return iArchitecture < 0 ? CXString() : csPublic.Mid(iArchitecture + 1);
}

/// Copies the data files of a tree; links, and names that no file of ours has, are left out.
bool ProductData::CopyDCPTree(const CXString& kcsFrom, const CXString& kcsTo, const CXString& kcsBelow) {
    std::uint64_t cBytes = 0;
    std::size_t cFiles = 0;
    VLM_REPORT(DebugCategory::UtilDll, VTEXT("Copying %s to %s"),
               CXString::FormatString(VTEXT("%s\\*.*%c"), kcsFrom, VTEXT(' ')), folders::Join(kcsTo, kcsBelow));
    vlm::Status status = folders::Make(kcsTo);
    if (status == vlm::Status::Success) status = folders::MakeBelow(kcsTo, kcsBelow);
    if (status != vlm::Status::Success) return false;
    const CXString csTo = folders::Join(kcsTo, kcsBelow);
    status = folders::Walk(kcsFrom, [&](const CXString& kcsFolder, const std::vector<folders::Item>& rvoItems) {
        for (const folders::Item& rItem : rvoItems) {
            if (!IsDcpFile(rItem)) continue;
            cBytes += rItem.ullSize;
            if (++cFiles > vlm::bounds::MAX_UNPACKED_FILES || cBytes > vlm::bounds::MAX_UNPACKED_BYTES) {
                return vlm::Status::FileTooLarge;
            }
            ByteBuffer bbContents;
            vlm::Status statusOfFile = folders::Read(folders::Join(folders::Join(kcsFrom, kcsFolder), rItem.csName),
                                                     vlm::bounds::MAX_PRODUCT_FILE_BYTES, false, bbContents);
            if (statusOfFile == vlm::Status::Success) statusOfFile = folders::MakeBelow(csTo, kcsFolder);
            if (statusOfFile == vlm::Status::Success) {
                statusOfFile =
                    TryWriteBesideAndReplace(folders::Join(folders::Join(csTo, kcsFolder), rItem.csName), bbContents);
            }
            if (statusOfFile != vlm::Status::Success) return statusOfFile;
        }
        return vlm::Status::Success;
    });
    if (status == vlm::Status::Success) return true;
    VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("'%s' is not copied to '%s'! %s"), kcsFrom, csTo,
                     vlm::TextOfStatus(status));
    return false;
}

bool ProductData::CopyDCPContentFromPrintServer() {
    return vlm::TranslateOutOfMemory([&] {
        const CXString csServer = m_bTransient ? CXString() : m_oPrinter.GetServerName();
        const CXString csBelow = m_bTransient ? CXString() : GetDCPPathInDriversFolder();
        bool fCopied = false;
        if (!csServer.IsEmpty() && !csBelow.IsEmpty()) {
            for (const XCHAR* pszArchitecture : ARCHITECTURES) {
                const CXString csFrom =
                    CXString::FormatString(VTEXT("%s\\%s\\%s\\%s"), csServer, DRIVER_SHARE, pszArchitecture, csBelow);
                if (fCopied || !DoesExist(csFrom)) continue;
                const CXString csRoot = GetProductDataRoot();
                fCopied =
                    CopyDCPTree(csFrom, csRoot, GetPublicDCPFolderPath(WITHOUT_VERSION).Mid(csRoot.GetLength() + 1));
            }
        }
        if (!fCopied) {
            VLM_REPORT_ERROR(
                DebugCategory::UtilDll,
                VTEXT("CopyDCPContentFromPrintServer() failed to copy DCP content from the print server."));
        }
        return fCopied;
    });
}

bool ProductData::PushDCPContentToPrintServer() {
    return vlm::TranslateOutOfMemory([&] {
        const CXString csServer = m_bTransient ? CXString() : m_oPrinter.GetServerName();
        const CXString csBelow = m_bTransient ? CXString() : GetDCPPathInDriversFolder();
        const CXString csFrom = csBelow.IsEmpty() ? CXString() : GetPublicDCPFolderPath(WITHOUT_VERSION);
        const bool fPushed =
            !csServer.IsEmpty() && !csFrom.IsEmpty() && DoesExist(csFrom) &&
            CopyDCPTree(csFrom, CXString::FormatString(VTEXT("%s\\print$\\w32x86"), csServer), csBelow);
        if (!fPushed) {
            VLM_REPORT_ERROR(DebugCategory::UtilDll,
                             VTEXT("PushDCPContentToPrintServer() failed to push DCP content to the print server."));
        }
        return fPushed;
    });
}
