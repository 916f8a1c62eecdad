/// @file
/// Unpacks the product, DTD and JAR cabinet files.
#include <utility>
#include <vector>

#include "environment/PrintDriver.h"
#include "environment/User.h"
#include "environment/detail/product/CabinetUnpacker.h"
#include "environment/detail/product/ColorProfiles.h"
#include "environment/detail/product/FolderTree.h"
#include "environment/detail/product/NamedMutex.h"
#include "environment/detail/product/ProductDataImpl.h"
#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/Hash32.h"
#include "utilities/utilitiesdll/WriteBeside.h"

namespace {

namespace folders = vlm::folders;

constexpr DWORD PRODUCT_TRIES = 5000, OTHER_TRIES = 300;
/// What tells that the product CAB was unpacked to its end, in the product data folder: the CAB's name and time.
constexpr const XCHAR* MARK_FILE = VTEXT("q9unpacked.txt");
constexpr DWORD MAX_MARK_BYTES = 4096;

/// A name for all processes that unpack the same thing into the same folder.
CXString MutexName(const XCHAR* pszWhat, const CXString& kcsTarget) {
    CXString csTarget = kcsTarget;
    csTarget.MakeLower();
    return CXString::FormatString(VTEXT("%s_%s_%s"), VTEXT("Global\\Velom"), pszWhat,
                                  CXString::FormatString(VTEXT("%08lX"), Hash32::GetHash32(csTarget)));
}

/// Runs a step of an unpacking.  @return whether it was done; the reason says why not.  Lack of memory leaves.
template <class Body>
bool TryToUnpack(CXString& rcsReason, Body&& body) {
    try {
        body();
        return true;
    } catch (const ExceptionCompression& rException) {
        rcsReason = rException.GetExceptionMesage();
    } catch (const ExceptionFileOperationCompression& rException) {
        rcsReason = rException.GetExceptionMesage();
    } catch (const ExceptionFile& rException) {
        rcsReason = rException.GetExceptionMesage();
    }
    return false;
}

/// Runs an unpacking into a folder with the spooler's own identity, while no other process unpacks there.
template <class Body>
bool UnpackAlone(const XCHAR* pszWhat, const CXString& kcsTarget, Body&& body) {
    const vlm::NamedMutex oMutex(MutexName(pszWhat, kcsTarget), OTHER_TRIES);
    if (!oMutex.IsOwned()) {
        VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("Unable to get Mutex after 300 tries!"));
        return false;
    }
    const RevertToPrinterSelfWrapper oSelf;
    return std::forward<Body>(body)();
}

bool DeleteNested(const CXString& kcsFolder, const CXString& kcsName) {
    const vlm::Status status = folders::DeleteItem(kcsFolder, {kcsName});
    VLM_REPORT(DebugCategory::UtilDll, VTEXT("%s deleting the CAB file (%s) now that we've unpacked it."),
               status == vlm::Status::Success ? VTEXT("Succeeded") : VTEXT("Failed"), kcsName);
    return status == vlm::Status::Success;
}

}  // namespace

bool ProductData::ExtractCabFile(vlm::CabinetUnpacker& rUnpacker, const CXString& kcsCabFile) {
    CXString csReason;
    const LONG iReturn = TryToUnpack(csReason, [&] { rUnpacker.Extract(kcsCabFile); }) ? 1 : 0;
    VLM_ASSERT(1 == iReturn,
               VTEXT("ExtractCabFile(%s, %s, 'Always Overwrite') failed with return code of %ld/0x%lx. %s. Called from "
                     "the %s context."),
               kcsCabFile, rUnpacker.GetStagingFolder(), iReturn, static_cast<DWORD>(iReturn), csReason,
               DriverLoadedContext::GetName());
    return 1 == iReturn;
}

bool ProductData::UnpackCabFilesInAllDirectoriesRecursively(vlm::CabinetUnpacker& rUnpacker) {
    for (unsigned uDepth = 0; uDepth <= vlm::bounds::MAX_CABINET_NESTING; ++uDepth) {
        std::vector<std::pair<CXString, CXString>> vCabs;  // folder below the target, name
        const vlm::Status status = folders::Walk(
            rUnpacker.GetStagingFolder(), [&](const CXString& kcsFolder, const std::vector<folders::Item>& rvoItems) {
                const std::size_t cFormer = vCabs.size();
                for (const folders::Item& rItem : rvoItems) {
                    if (rItem.IsFile() && folders::HasExtension(rItem.csName, VTEXT(".CAB"))) {
                        vCabs.emplace_back(kcsFolder, rItem.csName);
                    }
                }
                if (vCabs.size() == cFormer) {
                    VLM_REPORT(DebugCategory::UtilDll, VTEXT("No CAB files among the files we extracted. We're done."));
                }
                return vlm::Status::Success;
            });
        if (status != vlm::Status::Success) return false;
        if (vCabs.empty()) return true;
        if (uDepth == vlm::bounds::MAX_CABINET_NESTING) break;
        for (const auto& [csFolder, csName] : vCabs) {
            const CXString csWhole = folders::Join(rUnpacker.GetStagingFolder(), csFolder);
            VLM_REPORT(DebugCategory::UtilDll, VTEXT("Extract this CAB file: %s\\%s"), csWhole, csName);
            rUnpacker.ExtractNested(csFolder, csName);
            if (!DeleteNested(csWhole, csName)) return false;
        }
    }
    VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("The CAB files nest deeper than %u!"),
                     vlm::bounds::MAX_CABINET_NESTING);
    return false;
}

bool ProductData::UnpackOneCabFile(const CXString& kcsCabFile, const CXString& kcsTarget, bool fNested) {
    CXString csReason;
    bool fDone = false;
    const bool fTried = TryToUnpack(csReason, [&] {
        vlm::CabinetUnpacker oUnpacker(kcsTarget);
        fDone =
            ExtractCabFile(oUnpacker, kcsCabFile) && (!fNested || UnpackCabFilesInAllDirectoriesRecursively(oUnpacker));
        if (fDone) oUnpacker.MoveIn();
    });
    if (!fTried) {
        VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("The CAB file '%s' is not unpacked: %s"), kcsCabFile, csReason);
    }
    return fTried && fDone;
}

void ProductData::MoveIccAndIcmProfilesToColorFolderRecursively(const CXString& kcsFolder) {
    const CXString csDrivers = PrintDriver().GetPrinterDriverDirectoryRoot(CXString());
    if (csDrivers.IsEmpty()) return;
    vlm::ColorProfiles oProfiles(folders::Join(folders::ParentOf(csDrivers), VTEXT("color")));
    folders::Walk(kcsFolder, [&](const CXString& kcsBelow, const std::vector<folders::Item>& rvoItems) {
        for (const folders::Item& rItem : rvoItems) {
            const bool fProfile = rItem.IsFile() && (folders::HasExtension(rItem.csName, VTEXT(".ICC")) ||
                                                     folders::HasExtension(rItem.csName, VTEXT(".ICM")));
            if (fProfile) oProfiles.Move(folders::Join(kcsFolder, kcsBelow), rItem.csName);
        }
        return vlm::Status::Success;
    });
}

bool ProductData::UnpackProductCabFile() {
    CXString csDetails;
    if (m_bTransient || !Printer::TestPrinterHandle(GetAssociatedPrinterHandle(), csDetails)) {
        VLM_REPORT_ERROR(
            DebugCategory::UtilDll,
            VTEXT(
                "XUnpackProductCabFile() #1: The printer handle now fails the sanity-check spooler API test. The "
                "driver cannot continue without a valid handle, returning.  Restart the print spooler, or install the "
                "queue anew.  %s"),
            csDetails);
        return false;
    }
    return vlm::TranslateOutOfMemory([&] {
        VLM_REPORT(DebugCategory::UtilDll, VTEXT("About to Unpack the Product CAB file"));
        const CXString csCab =
            PrintDriver().GetDriverFiles(GetAssociatedPrinterHandle(), PrintDriver::FileType::FT_PRODUCT_CAB);
        VLM_REPORT(DebugCategory::UtilDll, VTEXT("The CAB file data path is: %s"), csCab);
        const CXString csTarget = GetProductDataRoot();
        if (csCab.IsEmpty() || csTarget.IsEmpty()) return false;
        const vlm::NamedMutex oMutex(MutexName(VTEXT("UnpackProductCabFile"), csTarget), PRODUCT_TRIES);
        if (!oMutex.IsOwned()) {
            VLM_REPORT_ERROR(DebugCategory::UtilDll, VTEXT("Unable to get Mutex after 5000 tries!"));
            return false;
        }
        bool fDone = false;
        {
            const RevertToPrinterSelfWrapper oSelf;
            const CXString csMark = GetExtractionMark();
            fDone = UnpackOneCabFile(csCab, csTarget, true);
            if (fDone) MoveIccAndIcmProfilesToColorFolderRecursively(csTarget);
            if (fDone && !csMark.IsEmpty()) {
                ByteBuffer bbMark;
                bbMark.append(csMark);
                TryWriteBesideAndReplace(folders::Join(csTarget, MARK_FILE), bbMark);
            }
        }
        m_apoPdlCommands.reset();
        if (fDone && UpdateRegistryMappings(csTarget, OUTERMOST)) {
            VLM_REPORT(DebugCategory::UtilDll, VTEXT("Updated the registry mappings."));
        }
        VLM_REPORT(DebugCategory::UtilDll, VTEXT("UnpackProductCabFile() returning."));
        return fDone;
    });
}

CXString ProductData::GetExtractionMark() {
    CXString csCab;
    vlm::BlockFileTime oTime{};
    if (!PrintDriver().GetProductDataCabFileNameAndFileTime(GetAssociatedPrinterHandle(), csCab,
                                                            vlm::AsSystemFileTime(&oTime))) {
        return CXString();
    }
    return CXString::FormatString(VTEXT("%s %08lX%08lX"), folders::LeafOf(csCab), oTime.dwHighDateTime,
                                  oTime.dwLowDateTime);
}

bool ProductData::HasProductCabBeenExtracted() noexcept {
    return vlm::NoThrow(
        [&] {
            if (m_bTransient) return false;
            const CXString csMark = GetExtractionMark();
            ByteBuffer bbMark;
            const vlm::Status status =
                folders::Read(folders::Join(GetProductDataRoot(), MARK_FILE), MAX_MARK_BYTES, true, bbMark);
            return status == vlm::Status::Success && !csMark.IsEmpty() && bbMark.getAsStringValue() == csMark;
        },
        false);
}

CXString ProductData::GetCabFile(const XCHAR* pszName, int iNumber) {
    CXString csFolder = PrintDriver().GetDriverPathFromHandle(GetAssociatedPrinterHandle());
    if (csFolder.IsEmpty()) return csFolder;
    return folders::Join(csFolder, iNumber > 0 ? CXString::FormatString(VTEXT("%s_%d.cab"), pszName, iNumber)
                                               : CXString::FormatString(VTEXT("%s.cab"), pszName));
}

bool ProductData::UnpackDtdCabFile(int iNumber) {
    VLM_ASSERT(!m_ProductFamily.IsEmpty(),
               VTEXT("m_ProductFamily is Empty in call to UnpackDTDCabFile, MUST be specified!"));
    if (m_ProductFamily.IsEmpty() || m_bTransient) return false;
    return vlm::TranslateOutOfMemory([&] {
        VLM_REPORT(DebugCategory::UtilDll, VTEXT("About to Unpack the DTD CAB file"));
        const CXString csTarget =
            CXString::FormatString(VTEXT("%s\\DTDs"), GetProductDataFolderWithoutVersion(FAMILY_REQUIRED));
        const CXString csCab = GetCabFile(VTEXT("q9dtd073"), iNumber);
        const bool fDone =
            UnpackAlone(VTEXT("UnpackDtdCabFile"), csTarget, [&] { return UnpackOneCabFile(csCab, csTarget, false); });
        VLM_REPORT(DebugCategory::UtilDll, VTEXT("UnpackDtdCabFile() returning."));
        return fDone;
    });
}

bool ProductData::UnpackJarCabFile(int iNumber) {
    VLM_ASSERT(!m_ProductFamily.IsEmpty(),
               VTEXT("m_ProductFamily is Empty in call to UnpackJarCabFile, MUST be specified!"));
    if (m_ProductFamily.IsEmpty() || m_bTransient) return false;
    return vlm::TranslateOutOfMemory([&] {
        VLM_REPORT(DebugCategory::UtilDll, VTEXT("About to Unpack the JAR CAB file"));
        const CXString csTarget = folders::Join(GetProductDataFolderWithoutVersion(FAMILY_REQUIRED), VTEXT("JARs"));
        const CXString csCab = GetCabFile(VTEXT("q9jar073"), iNumber);
        const bool fDone =
            UnpackAlone(VTEXT("UnpackJarCabFile"), csTarget, [&] { return UnpackOneCabFile(csCab, csTarget, false); });
        VLM_REPORT(DebugCategory::UtilDll, VTEXT("UnpackJarCabFile() returning."));
        return fDone;
    });
}
