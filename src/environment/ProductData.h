/// @file
/// Everything that a driver component asks about the printer model behind a queue.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <span>
#include <vector>

#include "environment/MappingData.h"
#include "environment/PdlCommands.h"
#include "environment/Printer.h"
#include "environment/ProductDataTypes.h"
#include "platform/Export.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/CriticalResource.h"

namespace vlm {
class CabinetUnpacker;
}

/// The model behind a queue: its line in the map files, its data files and commands, and the care of their folders.
///
/// **Where knowledge comes from**.  The driver's product CAB is unpacked into the product data folder.  The map files
/// in it are read once; their records go into a cache of the process, by printer name, and into the printer's data,
/// from which other processes take them:
///
///     PrinterDriverData\PDMap-0, PDMap-1, ...     REG_SZ: one line of the map each, "left side:right side"
///     PrinterDriverData\XProductData              REG_SZ: "1;count;hash", written last; without a match nothing counts
///
/// **Folders** (docs/product-data.md).  DATA is PrintDriver::GetVelomDriverDataFilePath:
///
///     DATA\Product Data\                          what the product CAB holds, map files anywhere in it
///     DATA\Product Data\FAMILY\V5.0\              the data files of a family's models
///     DATA\Product Data\Public\DCPs\FAMILY\V5.0\  data files of the same names that came from a print server
///
/// "DCPVersion.txt" in a folder tells the version of its content, "5.1009.1.1" without one; of two folders with a file
/// the one with the greater version counts, and among equals the first.
///
/// **Transient mode**.  Without a printer handle nothing is read from or written to a printer: DATA is the transient
/// path (SetTransientPath), and the records are cached under "Transient" once UpdateRegistryMappings has read them.
///
/// **Connections** to a print server's queue: the printer's data is the server's, so that nothing is written to it;
/// what is read here is cached for the process.
///
/// **Trust**.  What comes from printer data, the registry or a map file becomes part of a path only as a name that
/// leads downwards (CabinetArchive::IsSafeName).  Clean-up deletes what it listed in the family's own folders and keys,
/// and follows no link.
///
/// **Ownership**: borrows the printer handle.  **Threads**: one object by one thread at a time; the caches are shared
/// by all threads behind m_CriticalStaticResource.
/// **Failure**: questions that need a model before there is one, and other calls that make no sense, are failed
/// assertions with a neutral answer; ExceptionPrinterFailure and its like from the printer; ExceptionOutOfMemory.
/// Clean-up catches the library's exceptions, reports them and goes on.
class VLM_API ProductData {
public:
    /// Names for switches.
    static constexpr bool OUTERMOST = true, INNER = false;
    static constexpr bool FAMILY_REQUIRED = false, FAMILY_OPTIONAL = true;
    static constexpr bool WITHOUT_VERSION = false, WITH_VERSION = true;
    static constexpr bool AS_NEEDED = false, ALTERNATIVE = true, REFRESH = true;
    /// The version of data without a version of its own.
    static constexpr const XCHAR* DEFAULT_DCP_VERSION = VTEXT("5.1009.1.1");

    // ---- life cycle ----

    ProductData() = default;
    /// As Initialize.
    ProductData(HANDLE hPrinter, const CXString& kcsModelName, _ModelType eType, const CXString& kcsOther);
    virtual ~ProductData();
    ProductData(const ProductData& rOther) = delete;
    ProductData& operator=(ProductData& rOther);
    /// @param fPrinter takes the printer over: handle, unique id, where it is.  @param fModel takes the model over.
    void CopyFromAnother(ProductData& rOther, bool fPrinter, bool fModel);

    /// Finds the model and its record.
    /// @param hPrinter borrowed; null: transient mode.  @param kcsModel with MT_MODEL_NAME the model's name.
    /// @param kcsOther in transient mode the transient path, unless empty.
    /// @return whether the model was found.  @throws what Printer throws for "xProdUID" and "xModelId".
    bool Initialize(HANDLE hPrinter, const CXString& kcsModel, _ModelType eType, const CXString& kcsOther);
    bool IsInitialized() const noexcept { return m_bInitialized; }
    bool IsValidated() const noexcept { return m_bModelNameValidated; }
    bool IsTransient() const noexcept { return m_bTransient; }
    bool IsPrinterLocal() const noexcept { return m_bPrinterLocal; }
    HANDLE GetAssociatedPrinterHandle() const noexcept { return m_oPrinter.GetPrinterHandle(); }
    /// Takes the first record that matches the name.
    /// @param rcsModel becomes the record's own name.  @param fRefresh when none matches, reads the records once more
    ///        from the printer: another process may have brought newer ones.
    /// @return whether there is one; the former record stays otherwise.
    bool ValidateModelInfo(CXString& rcsModel, bool fRefresh);
    /// Is this the USB product id of the model, in any letter case?  A record without one, and a query for none, is no.
    /// @param rcsUsbProductId becomes the record's form.
    bool ValidateUsbProductId(CXString& rcsUsbProductId);

    // ---- information ----

    /// @return whether there is a value that is not empty.
    bool GetInfo(InfoType eType, CXString& rcsInfo);
    /// The value of a key of the record; empty when absent.
    CXString GetInfo(const CXString& kcsKey);
    /// The path of a data file: PD_AUTO, PD_PSCOUT, PD_JCAP, PD_MARG, PD_HALFTONES, PD_XMLCONSTRAINT; of PD_FAMPATH the
    /// folder.  @return whether the record names one; it need not be there.
    bool GetPath(InfoType eType, CXString& rcsPath);
    bool GetPath(const CXString& kcsKey, CXString& rcsPath);
    CXString GetModelName();
    CXString GetPrinterProductUniqueId() const { return m_csProductUniqueId; }
    CXString GetUserFriendlyProductName() { return GetInfo(VTEXT("PRODUCTNAME")); }
    /// @param fAlternative CONTROLLERFAMILY_ALT, where it is given.
    DataModelIds::tagValueEnum GetControllerFamily(bool fAlternative);
    /// VAL_UNSPECIFIED for a name that is no controller family.
    static DataModelIds::tagValueEnum GetControllerFamilyValue(const CXString& kcsName);
    DataModelIds::tagValueEnum GetCompanyName();
    /// 0 when absent or no number.
    double GetPlatformVersion();
    int GetRatedSpeed();
    /// Bits of SupportedPdl: the four that map files name.
    DWORD GetSupportedPDLS();
    /// The bit of "RECOMMENDED", by the same words; 0 without one.
    DWORD GetRecommendedPDL();
    PrintXcptAttributesEnum GetPrintXcptAttributesType();
    /// By XCPT_SUPPORT: one of the texts of PrintXcptAttributesEnum, or yes.
    bool IsXCPTSupported();
    /// Is XCPT_SUPPORT, or failing that XCPTPARTIALSUPPORT, at least this level?
    bool IsAcceptableMinimumXCPTLevel(PrintXcptAttributesEnum eLevel);
    _SMART_USB_TYPE SupportsSmartUsbPrinting();
    FinisherType GetFinisherType();
    /// Bits of FinishingCapability.
    DWORD DetermineFinishingCapabilities();
    /// COLORCAPABLE: "color", in any letter case.
    bool IsColorCapable();
    /// A monochrome model has nothing but monochrome device modes; a colour model has both.
    bool AllowMonochromeDevmode();
    /// A colour model with CUSTOMHALFTONING.
    bool DoesDriverSupportPCL5CustomHalftoning();
    /// Is a kind of accounting prompt allowed?  ACCOUNTINGPROMPTS lists them between commas: "CODE9" (codes of nine
    /// digits), "color" (prompts for colour), "USERID", "ACCOUNTID", "JOBNAME"; letter case matters.
    bool IsAccountingPromptAllowed(const CXString& kcsPrompt);
#define VLM_PRODUCT_SWITCH(name, what, key, rule) bool name();
#include "environment/ProductDataSwitches.inl"
#undef VLM_PRODUCT_SWITCH

    // ---- models of the whole set ----

    /// The first record that the id matches; empty without one.
    CXString GetModelFromSysObjectId(const CXString& kcsOid);
    bool GetSysObjectIdsFromModel(const CXString& kcsModel, std::vector<CXString>& rvcsOids);
    /// VAL_UNSPECIFIED, or 0, without a record.
    DataModelIds::tagValueEnum GetPrinterControllerFromModel(const CXString& kcsModel);
    DataModelIds::tagValueEnum GetPrinterControllerFromSysObjectId(const CXString& kcsOid);
    DataModelIds::tagValueEnum GetPrinterColorModeSupportedFromModel(const CXString& kcsModel);
    DataModelIds::tagValueEnum GetPrinterColorModeSupportedFromSysObjectId(const CXString& kcsOid);
    DWORD GetPrinterPDLsSupportedFromModel(const CXString& kcsModel);
    DWORD GetPrinterPDLsSupportedFromSysObjectId(const CXString& kcsOid);
    bool GetSupportedModelsFromController(DataModelIds::tagValueEnum eController, std::set<CXString>& rsetModels);
    static DataModelIds::tagValueEnum GetColorModeFromMappingData(const MappingData& rRecord);
    static DataModelIds::tagValueEnum GetControllerFromMappingData(const MappingData& rRecord);
    static DWORD GetPDLsFromMappingData(const MappingData& rRecord);
    /// The names of the models that are one printer each: with a language, and no universal or mobile driver.
    /// @return whether there are records.
    bool EnumerateInstalledDriverModels(std::set<CXString>& rsetModels);
    /// The models by their languages; a universal or mobile driver stands in its own list alone.
    struct InstalledModels {
        std::set<CXString> setPscript, setPcl5, setPcl6, setXraster, setXps, setPdf, setUniversal;
    };
    bool EnumerateInstalledDriverModels(InstalledModels& rModels);
    /// A copy of all records.
    std::vector<MappingData> GetMappings();
    /// The record that a look-up finds.  @return whether there is one.
    bool FindMappingByModel(const CXString& kcsModel, MappingData& rRecord);
    bool FindMappingBySysObjectId(const CXString& kcsOid, MappingData& rRecord);

    // ---- files and folders ----

    /// Reads a data file of the model; unpacks the product CAB first where the file is missing.
    bool LoadFile(InfoType eType, ByteBuffer& rbbContents);
    /// The folder of the family's data with its version; empty without a family.
    CXString GetPrinterModelProductDataFolder();
    CXString GetPublicDCPFolderPath(bool fWithVersion);
    /// May product data be taken from a path: a full path without steps upwards, a drive's or a server's, for the
    /// product "Velom Global" or "Velom QPD"?
    static bool IsValidProductDataSourcePath(const CXString& kcsPath, const CXString& kcsProductName);
    /// The user's application data folder, "\Velom\" and "PrinterDriver"; empty without one.
    static CXString GetVelomAppDataFolderPath();
    /// Where DATA is in transient mode, for all objects of the process.
    static void SetTransientPath(const CXString& kcsPath);
    /// Unpacks the product CAB, nested ones in it, and the colour profiles, and reads the map files.
    /// @return whether all of it was done; reported otherwise, and the folder is then as it was or holds whole files.
    bool UnpackProductCabFile();
    /// Unpacks "q9dtd073.cab" from the driver's folder into the family's folder "DTDs", "q9jar073.cab" into "JARs".
    /// @param iNumber above 0: the CAB of that number, "q9dtd073_2.cab".
    bool UnpackDtdCabFile(int iNumber);
    bool UnpackJarCabFile(int iNumber);
    /// Was the product CAB that there is now unpacked to its end?
    bool HasProductCabBeenExtracted() noexcept;
    /// Copies data files between the public DCP folder and the server that the printer is on: as the calling user, and
    /// of the kinds that product data has.  @return whether all of it was copied; reported otherwise.
    bool CopyDCPContentFromPrintServer();
    bool PushDCPContentToPrintServer();
    /// The version of the data in force for the model's family.
    CXString GetDCPContentVersion();
    /// The versions of all families in the public DCP folder, by family.
    std::map<CXString, CXString> GetDCPMap();
    /// Reads the map files of a folder and all below it, and of the public DCP folder, and makes them the records:
    /// those of public data that is newer than its family's before all others, and those of other public data behind
    /// them.
    /// @param csFolder empty: the product data folder.  @param fOutermost INNER: only gathers, for folders below.
    /// @return whether records were stored.  The former ones stay when a folder or a file cannot be read.
    bool UpdateRegistryMappings(CXString csFolder, bool fOutermost);
    /// Brings the printer's records into the cache, unless it has some.  @param fForce REFRESH: also when it has.
    bool UpdateCachedMapData(bool fForce);
    /// Forgets all records of the process.
    static void ClearCachedMapData() noexcept;
    /// Writes "xColor", "XPCL6LangLevelLow", "XPCL6LangLevelHigh", "xUPDCurrentModel" and "xCurrentProdUID".
    /// @return whether all of them were written; false in transient mode and for a connection.
    bool UpdateRegistryWithProductDataValues();

    // ---- PDL commands: of the file that PSCOUT names ----

    /// Appends the bytes of a feature's option; see PdlCommands::ConvertAmpCommands.
    /// @param hPrinter the printer that is asked for, when it is not the object's own: its records are used.  May be
    /// null.
    /// @param values for "&value1;" and so on.
    /// @return false, with the buffer as it was, when there is no command.
    template <class... Values>
    bool GetPDLCommand(const CXString& kcsFeature, const CXString& kcsOption, PdlType ePdlType, ByteBuffer& rbbOut,
                       HANDLE hPrinter, Values... values) {
        const LONG alValues[] = {static_cast<LONG>(values)..., 0};
        return GetPDLCommandWithValues(kcsFeature, kcsOption, ePdlType, rbbOut, hPrinter,
                                       std::span<const LONG>(alValues, sizeof...(values)));
    }
    bool GetPDLCommandWithValues(const CXString& kcsFeature, const CXString& kcsOption, PdlType ePdlType,
                                 ByteBuffer& rbbOut, HANDLE hPrinter, std::span<const LONG> values);
    /// The instruction itself, with its entities.
    bool FindPDLInstruction(const CXString& kcsFeature, const CXString& kcsOption, PdlType ePdlType,
                            CXString& rcsInstruction);

    // ---- clean-up; ProductDataCleanUp.cpp says what belongs to a printer ----
    // What no queue or driver uses is deleted.  Nothing is when queues or drivers cannot be listed.

    static void DeleteOrphanedProductDataFolders();
    /// Lower-case names of families.  @return false when the drivers cannot be listed.
    static bool EnumerateProductDataFoldersUsedByInstalledDrivers(std::set<CXString>& rsetFolders);
    static bool EnumerateInstalledQueueNames(std::vector<CXString>& rvcsQueues);
    /// Lower-case names, in standard form, that keys and files of installed queues may have.
    static bool EnumeratePerPrinterRegKeysForInstalledPrinters(std::set<CXString>& rsetKeys);
    static void DeleteOrphanedAdaptiveLearningDataFiles();
    static void DeleteOrphanedPerPrinterRegKeysExceptSharedLowIntegrityKey();
    static void DeleteOrphanedPerPrinterPtPcCacheFilesFromTempFolder();
    static void DeleteOldPrivateConfigurationData();
    static void DeleteOrphanedPerPrinterRegKeysInSharedLowIntegrityKey();
    static void DeleteOrphanedPerPrinterCacheFilesInSharedLowIntegrityKey();
    /// All cache files: the new driver makes its own.
    static void DeleteOrphanedPerPrinterCacheFilesInSharedLowIntegrityKeyInUpgrade();
    static void DeletePrinterPrivateConfigurationRegKeys(const CXString& kcsQueue);
    static void GarbageCollectOrphanedPerPrinterRegKeysAndTempFiles();
    /// For a session's end: the current user's keys and files alone.
    static void GarbageCollectOrphanedPerPrinterRegKeysAndFilesForCitrix();
    static void GarbageCollectSharedLowIntegrityKeyRegKeysAndFilesForOnePrinter(const CXString& kcsQueue);
    /// Keeps the keys, and drops the cache files.
    static void GarbageCollectSharedLowIntegrityKeyRegKeysAndFilesForOnePrinterUpgrade(const CXString& kcsQueue);
    static void GarbageCollectSharedLowRightsStorageRegForOnePrinter(const CXString& kcsQueue);
    /// Only when no driver of the family is left.
    static void GarbageCollectSharedLowRightsStorageRegAndDeletePortMonitor();
    static void CleanUPLowRightsData();

private:
    struct StaticCaches;
    struct FolderContents;
    static StaticCaches& Caches();
    /// Guards the caches around every look-up and update.
    static CriticalResource m_CriticalStaticResource;

    CXString GetCacheKey();
    /// Ends in the cache, under the lock; reads the printer's records where there are none.
    template <class Find>
    bool FindMapping(Find&& find, MappingData& rRecord);
    void StoreInCache(std::vector<MappingData> voMappings);
    /// Adds the records of a map file, or of all map files of a tree but for the public data in it.  A file that is no
    /// map adds nothing.  @return false when something cannot be read.
    bool ParseMapFile(const CXString& kcsFile, std::vector<MappingData>& rvoMappings);
    bool GatherMappings(const CXString& kcsFolder, std::vector<MappingData>& rvoMappings);
    bool WriteMappings(const std::vector<MappingData>& rproductMappings);
    bool RequireValidated();
    static CXString GetDCPContentVersionFromPath(const CXString& kcsFolder);
    /// Adds the families, in lower case, that the records of an installed queue name.  @return false when it cannot be
    /// told which they are.
    static bool AddFamiliesOfQueue(const CXString& kcsQueue, std::set<CXString>& rsetFamilies);

    /// DATA; empty when it cannot be had.
    CXString GetDataFolder();
    CXString GetProductDataRoot();
    /// @param fFamilyOptional FAMILY_OPTIONAL: without a family the root.
    CXString GetProductDataFolderWithoutVersion(bool fFamilyOptional);
    CXString ResolveDataFile(const CXString& kcsName);
    bool CopyDCPTree(const CXString& kcsFrom, const CXString& kcsTo, const CXString& kcsBelow);
    CXString GetDCPPathInDriversFolder();

    bool UnpackOneCabFile(const CXString& kcsCabFile, const CXString& kcsTarget, bool fNested);
    bool ExtractCabFile(vlm::CabinetUnpacker& rUnpacker, const CXString& kcsCabFile);
    bool UnpackCabFilesInAllDirectoriesRecursively(vlm::CabinetUnpacker& rUnpacker);
    void MoveIccAndIcmProfilesToColorFolderRecursively(const CXString& kcsFolder);
    CXString GetCabFile(const XCHAR* pszName, int iNumber);
    CXString GetExtractionMark();

    Printer m_oPrinter;
    _ModelType m_eModelType = MT_MODEL_NAME;
    CXString m_ProductFamily;  ///< the model's FAMPATH, when it may stand in a path
    CXString m_csProductUniqueId;
    MappingData m_oMappingData;
    bool m_bInitialized = false;
    bool m_bModelNameValidated = false;
    bool m_bTransient = true;
    bool m_bPrinterLocal = true;
    DWORD m_dwSupportedPDLs = 0;
    std::unique_ptr<PdlCommands> m_apoPdlCommands;  ///< of the model, once read
};
