/// @file
/// The installed printer driver behind a queue: its names and files, what its installer stored, and its installation.
#pragma once

#include <vector>

#include "environment/PrintDriverTypes.h"
#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

/// The library's view of an installed printer driver.
///
/// **Two forms.**  Every question about a queue's driver is asked with an open printer handle, which is borrowed, or
/// with the queue's name, which is opened for the duration of the call.  Where a name of the first form ends in
/// FromHandle, the second ends in FromName.
///
/// **Values** that the installer keeps in the queue's driver data are read through the mandatory wrapper of `Printer`,
/// so retries and mirrored data work here, too.  The plain getters read from the key "PrinterDriverData".
///
/// **Trust.**  Information blocks and values may come from a print server.  Blocks are checked before they are read,
/// texts end where their data ends, and an id that becomes part of a path is 1 to 32 letters, digits, '_' and '-' and
/// nothing else.
///
/// **Failure**: where the spooler does not answer, `ExceptionPrintDriverFailure` with the system's words is thrown.  A
/// value that is there and makes no sense, or is not there, is a failed assertion; the answer is then 0 or empty.
/// `ExceptionOutOfMemory` from any operation.  An object is unchanged after a failure.
/// **Ownership**: owns the information block that was fetched last.
/// **Threads**: one object by one thread at a time; static operations by any.
class VLM_API PrintDriver {
public:
    /// The types of the answers, under the class's own name.
    using FileType = vlm::DriverFileType;
    using PDLType = vlm::DriverPDLType;
    using ColorMode = vlm::DriverColorMode;
    using InboxMode = vlm::DriverInboxMode;
    using PrintProcessor = vlm::DriverPrintProcessor;
    using BaseDriverType = vlm::DriverBaseType;
    using InstallationState = vlm::DriverInstallationState;

    PrintDriver() noexcept = default;
    virtual ~PrintDriver();
    PrintDriver(const PrintDriver&) = delete;
    PrintDriver& operator=(const PrintDriver&) = delete;

    // ---- capabilities; PrintDriverTypes.h has the layout of the word ----

    /// Everything below in one word: the parts that cannot be told are 0.
    ULONGLONG GetCapabilities(HANDLE hPrinter);
    ULONGLONG GetCapabilities(const XCHAR* pszPrinter);
    /// The bits of the word that `ullWhich` asks for.
    ULONGLONG GetDriverCapability(HANDLE hPrinter, ULONGLONG ullWhich);
    ULONGLONG GetDriverCapability(const XCHAR* pszPrinter, ULONGLONG ullWhich);

    /// From "xPDL"; without it from the value "printLanguage" of the key "DsDriver".
    PDLType GetPDLTypeFromHandle(HANDLE hPrinter);
    PDLType GetPDLTypeFromName(const XCHAR* pszPrinter);
    /// From "xColor": "color" or "monochrome", in any case.
    ColorMode GetColorModeFromHandle(HANDLE hPrinter);
    ColorMode GetColorModeFromName(const XCHAR* pszPrinter);
    /// From "xInbox": "1", "yes" and "true" say inbox, in any case, anything else that it is not.
    InboxMode GetInboxModeFromHandle(HANDLE hPrinter);
    InboxMode GetInboxModeFromName(const XCHAR* pszPrinter);
    /// From "xPrintProc", a number (of the type or in digits: 0 none, 1 the family's, 2 the system's own, 3 the
    /// system's for XPS) or the processor's name ("winprint", one with "xps" in it; any other is the family's).  Absent
    /// or empty: none, which is no failure: drivers without a processor of their own never write it.
    PrintProcessor GetPrintProcessorInstalledFromHandle(HANDLE hPrinter);
    PrintProcessor GetPrintProcessorInstalledFromName(const XCHAR* pszPrinter);
    /// The system's driver that the family's stands on, one renderer bit and one user interface bit: the renderer by
    /// the file of the driver path (none for one that is not known), unless the driver's name ends in " PDF"; the user
    /// interface by the configuration file.
    /// @throws ExceptionPrintDriverFailure, too, for a user interface that is not known.
    BaseDriverType GetBaseDriverTypeFromDriverInfo2(HANDLE hPrinter);
    BaseDriverType GetBaseDriverTypeFromDriverInfo2(const XCHAR* pszPrinter);
    /// Does the driver bring the colour-management module of the system's colour system?
    bool IsWcsSupported(HANDLE hPrinter);
    bool IsWcsSupported(const XCHAR* pszPrinter);

    // ---- names and versions ----

    /// The driver's name, as it was installed.
    CXString GetDriverName(HANDLE hPrinter);
    CXString GetDriverName(const XCHAR* pszPrinter);
    /// The page description language that the driver writes: as GetPDLTypeFromHandle, but quiet, and where the driver
    /// data says nothing a driver on the system's PostScript renderer writes PostScript.  PDL_NONE when not known.
    PDLType GetDriverLanguage(HANDLE hPrinter);
    PDLType GetDriverLanguage(const XCHAR* pszPrinter);
    /// The same for people: "PostScript", "PCL 5", "PCL XL", "HP-GL/2", "XRaster"; "Unknown" when not known.
    CXString GetDriverLanguageString(HANDLE hPrinter);
    CXString GetDriverLanguageString(const XCHAR* pszPrinter);
    static CXString GetDriverLanguageString(PDLType ePDLType);
    /// The version of this build of the driver, with its date.
    static CXString GetDisplayableDriverVersion();
    /// The version of the queue's driver as "5.1009.1.0", followed by a blank and its date as "2024.06.06" when the
    /// spooler knows one.
    CXString GetDisplayableDriverVersion(HANDLE hPrinter);
    CXString GetDisplayableDriverVersion(const XCHAR* pszPrinter);

    // ---- the information block ----

    /// Fetches `DRIVER_INFO_<level>` (1 to 6, 8), which the object keeps until it fetches the next one; every operation
    /// above and below that asks the spooler about the driver fetches one.  The block was checked: its texts lie and
    /// end inside it.  On Windows it is the system's structure of that name; SpoolerBlocks.h reads it on any system.
    /// @return the block; borrowed.
    const BYTE* GetDriverInfo(HANDLE hPrinter, DWORD dwLevel);
    const BYTE* GetDriverInfo(const XCHAR* pszPrinter, DWORD dwLevel);
    /// Level and size in bytes of the block that the object keeps; 0 without one.
    DWORD GetDriverInfoLevel() const noexcept { return m_dwDriverInfoLevel; }
    std::size_t GetDriverInfoSize() const noexcept { return m_bbDriverInfo.size(); }

    // ---- files and folders ----

    /// The folder that holds the driver's files, without a separator at its end.
    CXString GetDriverPathFromHandle(HANDLE hPrinter);
    CXString GetDriverPathFromName(const XCHAR* pszPrinter);
    /// The folder that the spooler keeps the drivers of this architecture in; the folders by driver version stand
    /// below.
    /// @param kcsServer a print server ("\\SERVER"); empty: this machine.
    CXString GetPrinterDriverDirectoryRoot(const CXString& kcsServer);
    /// The folder of the family's data beside the driver's files.
    CXString GetVelomDriverDataFilePath(const CXString& kcsPrinter);
    CXString GetVelomDriverDataFilePathFromHandle(HANDLE hPrinter);
    /// The full paths of the files that belong to the driver beside its three main ones, in the driver's order.
    std::vector<CXString> GetDriverDependentFiles(HANDLE hPrinter);
    std::vector<CXString> GetDriverDependentFiles(const XCHAR* pszPrinter);
    /// The full path of one of the driver's files (DriverFileType says which): whether it is there is not looked at,
    /// but for FT_WORKFLOW.  Empty for a type without a file, and where the driver has no such file.
    /// @param kcsFolder the driver's folder, when the caller knows it already; empty: the spooler is asked.
    CXString GetDriverFiles(HANDLE hPrinter, FileType eType, const CXString& kcsFolder = CXString());
    CXString GetDriverFiles(const XCHAR* pszPrinter, FileType eType, const CXString& kcsFolder = CXString());
    /// Path and last-write time of the product CAB.
    /// @param lpFtOut receives the time; 0 when the file is missing or in use.  vlm::BlockFileTime is the type's
    /// layout.
    /// @return whether there is a time; a missing argument is a failed assertion and answers false.
    bool GetProductDataCabFileNameAndFileTime(HANDLE hPrinter, CXString& rcsFileName, FILETIME* lpFtOut);
    bool GetProductDataCabFileNameAndFileTime(const XCHAR* pszPrinter, CXString& rcsFileName, FILETIME* lpFtOut);
    /// Has the product CAB been extracted: is the folder "Product Data" there below the family's data, with something
    /// in it?  Never throws; a failure answers false.
    bool HasProductCabBeenExtracted(HANDLE hPrinter) noexcept;
    bool HasProductCabBeenExtracted(const XCHAR* pszPrinter) noexcept;

    // ---- values of the queue's driver data ----
    // Each throws ExceptionPrintDriverFailure when there is no value, and when it is of another type.

    CXString GetDeviceFeatureValueString(HANDLE hPrinter, const XCHAR* pszFeature);
    CXString GetDeviceFeatureValueString(const XCHAR* pszPrinter, const XCHAR* pszFeature);
    CXString GetDeviceFeatureValueStringEx(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszFeature);
    CXString GetDeviceFeatureValueStringEx(const XCHAR* pszPrinter, const XCHAR* pszKey, const XCHAR* pszFeature);
    /// A list of strings; a single one counts as a list of one.
    std::vector<CXString> GetDeviceFeatureValueStrings(HANDLE hPrinter, const XCHAR* pszFeature);
    std::vector<CXString> GetDeviceFeatureValueStrings(const XCHAR* pszPrinter, const XCHAR* pszFeature);
    std::vector<CXString> GetDeviceFeatureValueStringsEx(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszFeature);
    std::vector<CXString> GetDeviceFeatureValueStringsEx(const XCHAR* pszPrinter, const XCHAR* pszKey,
                                                         const XCHAR* pszFeature);
    DWORD GetDeviceFeatureValueDWORD(HANDLE hPrinter, const XCHAR* pszFeature);
    DWORD GetDeviceFeatureValueDWORD(const XCHAR* pszPrinter, const XCHAR* pszFeature);
    DWORD GetDeviceFeatureValueDWORDEx(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszFeature);
    DWORD GetDeviceFeatureValueDWORDEx(const XCHAR* pszPrinter, const XCHAR* pszKey, const XCHAR* pszFeature);
    /// One byte, as the directory's values are stored, or a number; anything but 0 is true.
    bool GetDeviceFeatureValueBOOL(HANDLE hPrinter, const XCHAR* pszFeature);
    bool GetDeviceFeatureValueBOOL(const XCHAR* pszPrinter, const XCHAR* pszFeature);
    bool GetDeviceFeatureValueBOOLEx(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszFeature);
    bool GetDeviceFeatureValueBOOLEx(const XCHAR* pszPrinter, const XCHAR* pszKey, const XCHAR* pszFeature);

    // ---- installation ----

    /// Stores how far the installation has come, with the spooler's own identity.  Never throws: failures are reported.
    /// @param wState Phase1Started to Phase2BDone; with another nothing is written.  @return whether it was written.
    static bool SetInstallationState(HANDLE hPrinter, WORD wState) noexcept;
    static bool SetInstallationState(const XCHAR* pszPrinter, WORD wState) noexcept;
    /// An InstallationState; NotStarted when nothing or something else is stored.
    WORD GetInstallationStateFromHandle(HANDLE hPrinter);
    WORD GetInstallationStateFromName(const XCHAR* pszPrinter);

    /// Lists the installed drivers as an array of `DRIVER_INFO_<level>`, checked as GetDriverInfo checks.
    /// @param rbbDrivers replaced; empty after a failure.  @param pdwNumDrivers receives the count; may be null.
    /// @param pszEnvironment null: this system's own; "all": every one.  @return false: refused; see the last error.
    static bool EnumeratePrinterDrivers(DWORD dwLevel, ByteBuffer& rbbDrivers, DWORD* pdwNumDrivers,
                                        const XCHAR* pszEnvironment);
    /// Is a driver of the previous generation installed?
    static bool IsPreResetDriverInstalled();
    /// Installs a driver package through the system's own installer, which may show windows, and waits for it.  It
    /// does not say how it went, so the outcome is whether a driver of the model's name is installed afterwards.  An
    /// argument with a quotation mark or a control character is refused: it would be read as further switches.
    /// @param kcsModel the driver's name in the INF file.  @param kcsInfPath the folder of the INF file, without a
    ///        separator at its end.  @param kcsInfName the INF file's name.
    static bool AddPrintDriver(const CXString& kcsModel, const CXString& kcsInfPath, const CXString& kcsInfName);

    /// Deliberate: nothing but a report.  The interface is older than what it was meant for.
    void BackupDriverStore(HANDLE hPrinter);
    void BackupDriverStore(const XCHAR* pszPrinter);
    void RestoreDriverStore(HANDLE hPrinter);
    void RestoreDriverStore(const XCHAR* pszPrinter);

protected:
    /// The product id that the installer put into the names of the driver's files: in "q9_abc1.dll" it is "abc1".
    /// Empty, after a failed assertion, when no dependent file carries one that may stand in a path.
    CXString GetProductUniqueIdUsedInTheDriverFilenames(HANDLE hPrinter);
    CXString GetProductUniqueIdUsedInTheDriverFilenames(const XCHAR* pszPrinter);

private:
    ByteBuffer m_bbDriverInfo;
    DWORD m_dwDriverInfoLevel = 0;
};
