/// @file
/// One print queue of the spooler.
#pragma once

#include <memory>
#include <vector>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/LowRightsStorage.h"

/// One print queue: its handle, its names and information blocks, its printer data, the device behind its port, and a
/// cache of the device's settings for each user.
///
/// **Handles**.  A handle that is passed in is borrowed; one that the object opened is its own, and is closed when the
/// object lets it go.  Functions without a handle argument use the object's.
/// **Printer data** is read and written through the four mandatory wrappers only.  They add to the spooler's calls:
/// - a queue whose data is *mirrored* (IsPrinterDataMirrored) keeps what the spooler does not know in
///   "PATH\Mirrored\KEY" of HKEY_LOCAL_MACHINE, PATH being GetRegPathForMirroredPrinterData; the flag "Mirroring" at
///   PATH says so, in the hive that the context selects, or else in the machine's;
/// - a client of a print server never changes "PrinterDriverData", which is the server's: the wrapper refuses with 5
///   and nothing is written.
/// **Blocks and values** that the spooler returns may come from another machine, so none is trusted past its size:
/// texts are terminated, sizes compared, and 16 MiB is the most that is taken.
/// **Threads**: one object by one thread at a time; static functions by any.
/// **Failure**: `ExceptionPrinterFailure` with the system's text, unless a function answers bool or a status: it then
/// answers false or the status after reporting why.
class VLM_API Printer {
public:
    static constexpr bool THROW = false, NO_THROW = true;
    /// Rights to a queue, as the system numbers them.
    static constexpr DWORD ACCESS_DEFAULT = 0, ACCESS_USE = 0x8, ACCESS_ALL = 0xF000C;
    /// The key that the family's values stand in.
    static constexpr const XCHAR* PRINTER_DRIVER_DATA = VTEXT("PrinterDriverData");
    /// The most calls that one read of a value that grows is made of.
    static constexpr int MAX_READ_ATTEMPTS = 5;

    // ---- handle ----

    Printer() noexcept = default;
    /// Borrows an open handle.
    explicit Printer(HANDLE hPrinter) noexcept;
    /// Opens a queue by its name.  @param fNoThrow NO_THROW: without a queue the object is left without a handle.
    Printer(const XCHAR* pszPrinterName, bool fNoThrow);
    virtual ~Printer();
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;

    /// Lets go of what the object knows of its queue, and borrows another handle (null: none).
    void SetPrinterHandle(HANDLE hPrinter) noexcept;
    HANDLE GetPrinterHandle() const noexcept { return m_hPrinter; }
    bool IsHandleOwned() const noexcept { return m_fOwned; }
    /// Opens the queue with the rights that every user has; the handle becomes the object's own.  Without a name: the
    /// object's own queue anew.
    HANDLE CreateHandle();
    HANDLE CreateHandle(const XCHAR* pszPrinterName);
    HANDLE CreateHandle(const XCHAR* pszPrinterName, DWORD dwAccess);
    /// @return false when the queue cannot be opened; the object is then as it was.
    bool TryToCreateHandle(const XCHAR* pszPrinterName, DWORD dwAccess) noexcept;
    /// With all rights, which administrators have.
    HANDLE CreateAllAccessHandle();
    HANDLE CreateAllAccessHandle(const XCHAR* pszPrinterName);
    /// With all rights, or where these are denied, with those to use the queue.
    HANDLE CreateGreatestAccessHandleAllowed(const XCHAR* pszPrinterName);
    /// Closes the handle if it is the object's own; a borrowed one is let go of.
    void ClosePrinterHandleIfOwned() noexcept;
    /// Neither null nor the system's "invalid handle".
    static bool IsValidHandle(HANDLE hPrinter) noexcept;
    bool IsValidHandle() const noexcept { return IsValidHandle(m_hPrinter); }
    /// Does the spooler know the handle?  @param rcsDetails after false: what can be learnt about it, for messages.
    static bool TestPrinterHandle(HANDLE hPrinter, CXString& rcsDetails) noexcept;

    // ---- names ----

    /// The queue's name as the spooler knows it; of a connection "\\server\name".
    CXString GetPrinterName();
    static CXString GetPrinterName(HANDLE hPrinter);
    CXString GetPrintDriverName();
    /// Empty when the queue is not shared.
    CXString GetShareName();
    /// "\\server"; empty when the queue is this machine's.
    CXString GetServerName();
    /// The queue's name as one component of a registry path: "\" becomes ",", control characters become "_", and a name
    /// of more than 200 units is cut there and gets "~" and its Hash32 in hexadecimal.
    bool GetPrinterNameInStandardFormForUseAsRegKey(CXString& rcsName) noexcept;
    static CXString GetPrinterNameInStandardFormForUseAsRegKey(const XCHAR* pszPrinterName);
    /// Is the queue one that the system made for itself, with a GUID in braces for its name?
    bool IsHiddenGuidPrinter();

    // ---- information ----

    /// Fetches the PRINTER_INFO_n block of a level, which replaces the object's last one.  A level 2 or 8 that fails is
    /// asked for again as the logged-on user where the thread acts for nobody (IPP queues need that).
    /// @return the block, GetPrinterInfoPtr.  Its texts lie within it and are terminated.
    const BYTE* GetPrinterInfo(DWORD dwLevel);
    const BYTE* GetPrinterInfo(HANDLE hPrinter, DWORD dwLevel);
    /// @return false instead of throwing; the buffer is then empty.
    static bool GetPrinterInfo(HANDLE hPrinter, DWORD dwLevel, ByteBuffer& rbbInfo) noexcept;
    /// The block last fetched; null and 0 before the first and after a failure.  Borrowed until the next fetch.
    const BYTE* GetPrinterInfoPtr() const noexcept { return m_bbPrinterInfo.getLpbyte(); }
    DWORD GetPrinterInfoSize() const noexcept { return m_bbPrinterInfo.GetLength(); }
    /// Hands a PRINTER_INFO_n block to the spooler.
    void SetPrinterInfo(DWORD dwLevel, const BYTE* pbyInfo);
    void SetPrinterInfo(HANDLE hPrinter, DWORD dwLevel, const BYTE* pbyInfo);
    /// @param dwCommand as SetPrinter takes it; 0: set the information.
    static bool SetPrinterInfo(HANDLE hPrinter, DWORD dwLevel, const BYTE* pbyInfo, DWORD dwCommand) noexcept;
    /// Fetches level 2 and makes the block of the other level from it, which becomes the object's block.
    const BYTE* GetPrinterInfo2AndConvertToPrinterInfo5();
    const BYTE* GetPrinterInfo2AndConvertToPrinterInfo9();
    /// The queue's default device mode (level 8), and the user's (level 9): dmSize + dmDriverExtra bytes of it.
    /// @return false when there is none.  @throws ExceptionPrinterFailure for a device mode of length 0.
    bool GetRawSystemDefaultDevmode(ByteBuffer& rbbDevmode);
    bool GetRawUserDefaultDevmode(ByteBuffer& rbbDevmode);
    /// Is the queue a connection to another machine's: with PRINTER_ATTRIBUTE_NETWORK and without
    /// PRINTER_ATTRIBUTE_LOCAL?  False, after a failed assertion, when the spooler does not tell.
    bool IsRemotePrinterConnection() noexcept { return IsRemotePrinterConnection(m_hPrinter); }
    static bool IsRemotePrinterConnection(HANDLE hPrinter) noexcept;
    static bool IsRemotePrinterConnection(const XCHAR* pszPrinterName) noexcept;
    /// Is the queue reached by IPP: named "\\http://…" or "\\https://…", or on a port "ipp://…"?
    bool IsIppPrinter() noexcept;
    /// Does the system print a page before each job?
    bool IsMSSeparatorPageSelected();
    /// The names of the trays that the driver published for the queue.  @return false when it published none.
    bool GetSupportedTrays(std::vector<CXString>& rvcsTrays) noexcept;

    // ---- printer data ----

    /// The mandatory wrappers: arguments and statuses are those of the spooler's functions.
    static DWORD GetPrinterDataExMandatoryWrapper(HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName,
                                                  DWORD* pdwType, BYTE* pbyData, DWORD cbData,
                                                  DWORD* pcbNeeded) noexcept;
    static DWORD SetPrinterDataExMandatoryWrapper(HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName,
                                                  DWORD dwType, const BYTE* pbyData, DWORD cbData) noexcept;
    /// @param pbyEnumValues receives PRINTER_ENUM_VALUES structures, with their texts and data behind them.
    static DWORD EnumPrinterDataExMandatoryWrapper(HANDLE hPrinter, const XCHAR* pszKeyName, BYTE* pbyEnumValues,
                                                   DWORD cbEnumValues, DWORD* pcbNeeded, DWORD* pcValues) noexcept;
    static DWORD DeletePrinterDataExMandatoryWrapper(HANDLE hPrinter, const XCHAR* pszKeyName,
                                                     const XCHAR* pszValueName) noexcept;
    /// Reads a value of any size, which may change while it is read: MAX_READ_ATTEMPTS calls in all.
    /// @param pdwType may be null.  @param rbbData its size is the room of the first call; the value after 0, else
    ///        empty.  @return the spooler's status; 13 for an answer that cannot be, 234 beyond 16 MiB.
    static DWORD CallGetPrinterDataExWithRetries(HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName,
                                                 DWORD* pdwType, ByteBuffer& rbbData) noexcept;
    /// A text of "PrinterDriverData".  @return false, with an empty text, when there is none.
    bool GetPrinterDataString(const XCHAR* pszValueName, CXString& rcsValue) noexcept;
    bool SetPrinterDataString(const XCHAR* pszValueName, const CXString& kcsValue) noexcept;
    static bool SetPrinterDataString(HANDLE hPrinter, const XCHAR* pszValueName, const CXString& kcsValue) noexcept;
    /// The value that the accessors without an output argument read last.  Borrowed until the next read.
    const BYTE* GetPrinterDataPtr() const noexcept { return m_bbPrinterData.getLpbyte(); }
    DWORD GetPrinterDataSize() const noexcept { return m_bbPrinterData.GetLength(); }
    DWORD GetPrinterDataType() const noexcept { return m_dwPrinterDataType; }
    /// A value of "PrinterDriverData" with a CRC-32: the payload, then 4 bytes CRC of it, little-endian.
    /// @return the payload, borrowed until the next read of this kind; null when the value is missing or damaged.
    void* GetCrc32PrinterData(HANDLE hPrinter, const XCHAR* kszPrinterFeatureName) noexcept;
    bool SetCrc32PrinterData(HANDLE hPrinter, const XCHAR* kszPrinterFeatureName, DWORD dwType, void* pPrinterData,
                             DWORD dwSize) noexcept;
    const BYTE* GetCrc32PrinterDataPtr() const noexcept { return m_bbCrc32PrinterData.getLpbyte(); }
    DWORD GetCrc32PrinterDataSize() const noexcept { return m_bbCrc32PrinterData.GetLength(); }
    /// The names of the keys below one (empty: the top).  @return the spooler's status.
    static DWORD EnumPrinterKeyW(HANDLE hPrinter, const XCHAR* pszKeyName, std::vector<CXString>& rvcsKeys) noexcept;
    /// Overwrites the bytes of the values last read with zeros; they keep their sizes.
    void ZeroOutPrinterData() noexcept;
    /// Forgets the values last read.
    void ClearPrinterData() noexcept;

    // The accessors that the spooler's names are mapped onto (PrinterDataNames.h): with the spooler's own arguments,
    // and into a buffer or a string, with retries.  Those without a key mean "PrinterDriverData".  Statuses throughout.
    static DWORD Kestrix_cannot_use_GetPrinterDataEx_use_GetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, DWORD* pdwType, BYTE* pbyData,
        DWORD cbData, DWORD* pcbNeeded) noexcept;
    static DWORD Kestrix_cannot_use_GetPrinterDataEx_use_GetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, ByteBuffer& rbbData) noexcept;
    static DWORD Kestrix_cannot_use_GetPrinterDataEx_use_GetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, CXString& rcsData) noexcept;
    /// Into the object, for GetPrinterDataPtr.
    DWORD Kestrix_cannot_use_GetPrinterDataEx_use_GetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
        const XCHAR* pszKeyName, const XCHAR* pszValueName) noexcept;
    static DWORD Kestrix_cannot_use_GetPrinterData_use_GetPrinterDataMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszValueName, DWORD* pdwType, BYTE* pbyData, DWORD cbData,
        DWORD* pcbNeeded) noexcept;
    static DWORD Kestrix_cannot_use_GetPrinterData_use_GetPrinterDataMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszValueName, ByteBuffer& rbbData) noexcept;
    static DWORD Kestrix_cannot_use_GetPrinterData_use_GetPrinterDataMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszValueName, CXString& rcsData) noexcept;
    DWORD Kestrix_cannot_use_GetPrinterData_use_GetPrinterDataMandatoryWrapper_in_Printer_class_instead(
        const XCHAR* pszValueName) noexcept;
    static DWORD Kestrix_cannot_use_SetPrinterDataEx_use_SetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, DWORD dwType, const BYTE* pbyData,
        DWORD cbData) noexcept;
    static DWORD Kestrix_cannot_use_SetPrinterDataEx_use_SetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, const ByteBuffer& kbbData) noexcept;
    static DWORD Kestrix_cannot_use_SetPrinterDataEx_use_SetPrinterDataExMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName, const CXString& kcsData) noexcept;
    static DWORD Kestrix_cannot_use_SetPrinterData_use_SetPrinterDataMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszValueName, DWORD dwType, const BYTE* pbyData, DWORD cbData) noexcept;
    static DWORD Kestrix_cannot_use_SetPrinterData_use_SetPrinterDataMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszValueName, const ByteBuffer& kbbData) noexcept;
    static DWORD Kestrix_cannot_use_SetPrinterData_use_SetPrinterDataMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszValueName, const CXString& kcsData) noexcept;
    static DWORD Kestrix_cannot_use_EnumPrinterDataEx_use_EnumPrinterDataExMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszKeyName, BYTE* pbyEnumValues, DWORD cbEnumValues, DWORD* pcbNeeded,
        DWORD* pcValues) noexcept;
    /// The structures, with what they point to, in a buffer that must stay as it is while they are used.
    static DWORD Kestrix_cannot_use_EnumPrinterDataEx_use_EnumPrinterDataExMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszKeyName, ByteBuffer& rbbEnumValues, DWORD& rcValues) noexcept;
    static DWORD
    Kestrix_cannot_use_DeletePrinterDataEx_use_DeletePrinterDataExMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszKeyName, const XCHAR* pszValueName) noexcept;
    static DWORD Kestrix_cannot_use_DeletePrinterData_use_DeletePrinterDataMandatoryWrapper_in_Printer_class_instead(
        HANDLE hPrinter, const XCHAR* pszValueName) noexcept;
    /// The names of a key's values.
    static DWORD EnumPrinterDataNames(HANDLE hPrinter, const XCHAR* pszKeyName,
                                      std::vector<CXString>& rvcsNames) noexcept;

    /// May the process write to the queue's "PrinterDriverData"?  Tried with a value that is deleted again.
    bool TestWritePermissionToPrinterDataFolder() noexcept {
        return TestWritePermissionToPrinterDataFolder(m_hPrinter);
    }
    static bool TestWritePermissionToPrinterDataFolder(HANDLE hPrinter) noexcept;

    // ---- mirrored printer data ----

    /// "Software\Velom\PrinterDriver\V5.0\QUEUE", QUEUE in standard form; empty for a handle without a name.
    static CXString GetRegPathForMirroredPrinterData(HANDLE hPrinter) noexcept;
    static bool IsPrinterDataMirrored(CXString csRegPath) noexcept;
    /// Sets or clears the flag "Mirroring", in the hive that the context selects.  Where "PreventInitOfMirroring" is
    /// set there it is not cleared.  What was mirrored is never deleted.  @return whether the flag is what was asked
    /// for.
    static bool SetFlagToEnablePrinterDriverDataMirroring(HANDLE hPrinter, bool fEnable) noexcept;

    // ---- restrictions of the process ----

    static void SetflagToRestrictPrinterDriverDataOnRendering(bool fRestrict) noexcept;
    static bool GetflagToRestrictPrinterDriverDataOnRendering() noexcept;
    /// Deliberate: the setter's name is spelled as its callers spell it.
    static void SetflagToRestrictPrinterDriverDatFromDeviceCapabilities(bool fRestrict) noexcept;
    static bool GetflagToRestrictPrinterDriverDataFromDeviceCapabilities() noexcept;

    // ---- identity ----

    /// "xProdUID", 3 or 4 characters.  @throws ExceptionPrinterFailure.
    CXString GetPrinterProductUniqueIdFromIniFile();
    /// "xModelId", two characters or more.  @throws ExceptionPrinterModelIdQueriedBeforeInitialized while it is "0",
    ///         ExceptionPrinterFailure.
    CXString GetPrinterModelIdFromIniFile();
    /// "xModelVersion": one to four decimal numbers of at most five digits, with dots between.
    /// @throws ExceptionPrinterFailure.
    CXString GetPrinterModelVersion();
    /// Is the driver the mobile one, "Roving Quill"?
    bool IsVelomRovingQuillDriver();

    // ---- port and device address ----

    /// The queue's port; asked for once, and kept.
    CXString GetPrinterPort();
    CXString GetPrinterPort(HANDLE hPrinter);
    /// Takes a new port into the cache: the one given, or the one that the spooler answers.
    void UpdatePortCacheAsPortChanged(const XCHAR* pszPort) noexcept;
    void UpdatePortCacheAsPortChanged() noexcept;
    /// The display name of the monitor that serves the queue's port.
    bool GetPortInfo(HANDLE hPrinter, CXString& rcsMonitor) noexcept;
    /// The registry path of a port below the monitors' key; empty when it cannot be opened.
    /// @param pszSubKey the monitor's key and the key of its ports ("Standard TCP/IP Port\Ports").
    CXString GetMonitorsSubKeyPath(const XCHAR* pszSubKey, const XCHAR* pszPort);
    /// Asks the system's TCP/IP monitor for the address behind a port: of this queue, of a port, of a server's port.
    bool GetIPOrHostNameFromTcpMon(CXString& rcsAddress) noexcept;
    static bool GetIPOrHostNameFromTcpMon(const XCHAR* pszPort, CXString& rcsAddress) noexcept;
    static bool GetIPOrHostNameFromTcpMon(const XCHAR* pszServer, const XCHAR* pszPort, CXString& rcsAddress) noexcept;
    /// The device's address; empty when it has none.
    CXString GetCurrentPrinterIPOrHost() noexcept;
    bool GetCurrentPrinterIPOrHost(CXString& rcsAddress) noexcept;
    /// The address behind a port, by the kind of its monitor.
    bool GetPrinterIPOrHostFromPort(const XCHAR* pszPort, CXString& rcsAddress) noexcept;
    bool GetPrinterIPOrHostFromPort(const XCHAR* pszMonitor, const XCHAR* pszPort, CXString& rcsAddress) noexcept;

    // ---- print processor ----

    bool IsPrintProcessorInstalled(const XCHAR* pszPrintProcessor) noexcept;
    static bool IsPrintProcessorInstalled(const XCHAR* pszServer, const XCHAR* pszPrintProcessor) noexcept;
    CXString GetPrintProcessorName();
    CXString GetPrintProcessorName(HANDLE hPrinter);
    bool GetPrintProcessorName(CXString& rcsPrintProcessor) noexcept;
    void SetPrintProcessorName(const XCHAR* pszPrintProcessor);
    void SetPrintProcessorName(HANDLE hPrinter, const XCHAR* pszPrintProcessor);
    bool SetPrintProcessorName(const XCHAR* pszPrintProcessor, bool fNoThrow);
    bool IsUsingVelomKestrixPrintProcessor() noexcept;
    bool IsUsingWinPrintPrintProcessor() noexcept;
    bool IsUsingMs_XpsPrintProcessor() noexcept;

    // ---- queues ----

    /// The queues of this machine, and with connections those of the user, as PRINTER_INFO_n structures whose texts lie
    /// in the same buffer.  Keep the buffer as it is while they are used.
    /// @param dwFlags as EnumPrinters takes them.  @return false when refused; the thread's last error tells why.
    static bool EnumeratePrinters(DWORD dwFlags, DWORD dwLevel, ByteBuffer& rbbPrinters, DWORD& rcPrinters) noexcept;
    static bool EnumeratePrintersForIPP(std::vector<CXString>& rvcsNames) noexcept;
    static bool EnumLocalPrinters(std::vector<CXString>& rvcsNames) noexcept;
    /// Level 4 structures of both kinds.  @return how many; 0 also after a failure.
    static int EnumLocalAndNetworkPrinters(ByteBuffer& rbbPrinters) noexcept;
    /// The names of both kinds.
    static bool EnumeratePrinterNames(std::vector<CXString>& rvcsNames) noexcept;
    /// Installs a queue and opens it; the handle becomes the object's own.
    bool AddLocalPrinter(const XCHAR* pszName, const XCHAR* pszDriver, const XCHAR* pszPort) noexcept;
    /// The same on the first USB port of the system without a queue.
    bool AddUSBPrinter(const XCHAR* pszName, const XCHAR* pszDriver) noexcept;
    bool SharePrinter(const XCHAR* pszShareName) noexcept { return SharePrinter(m_hPrinter, pszShareName); }
    static bool SharePrinter(HANDLE hPrinter, const XCHAR* pszShareName) noexcept;
    bool UnSharePrinter() noexcept { return UnSharePrinter(m_hPrinter); }
    static bool UnSharePrinter(HANDLE hPrinter) noexcept;
    bool IsPrinterShared() noexcept { return IsPrinterShared(m_hPrinter); }
    static bool IsPrinterShared(HANDLE hPrinter) noexcept;
    /// Does another queue use this one's driver?
    bool IsPrintDriverInstalledMultipleTimes();
    /// Asks the spooler to publish the queue anew, if it is published.
    bool RepublishInformation() noexcept { return RepublishInformation(m_hPrinter); }
    static bool RepublishInformation(HANDLE hPrinter) noexcept;
    static bool RepublishInformation(const XCHAR* pszPrinterName) noexcept;

    // ---- the device's settings ----

    /// "VlmDeviceSettings" of "PrinterDriverData": the settings that are stored with the queue, for all its users; what
    /// this family writes is a persistent-attributes block.  @return false when there are none.
    bool GetDeviceSettings(ByteBuffer& rbbSettings) noexcept;
    /// Stores them; every user's copy in the cache is stale then.
    void SetDeviceSettings(const ByteBuffer& kbbSettings);
    /// Deletes them.  @return whether there were any.
    bool ResetDeviceSettings();

    // ---- caches of the device's settings ----

    /// Makes the cache of the device's settings valid where it is not.  @return whether it is valid; a cache made in
    /// the second of the last change is not yet.
    bool EnsureThatDeviceCapabilitiesAndInfoNuggetCachesAreReady() noexcept;
    /// Gives the caches of print ticket providers a new generation (the number "PtPcCacheGeneration" in the storage).
    bool InvalidateAllPrintTicketProviderCaches() noexcept;
    /// @param fIsCacheCopy true: stores `bbData` as the user's cached copy, and the time; false: the device's settings
    ///        were just changed, so every older copy is stale.  @return false on a connection to another machine,
    ///        without a storage, and after a failure.
    bool SetCachedDeviceSettingsInRegistry(bool fIsCacheCopy, ByteBuffer bbData) noexcept;
    /// @return whether there is a valid copy: newer than the last change, of the printer data that there is now.
    bool GetCachedDeviceSettingsFromRegistry(ByteBuffer& rbbData) noexcept;
    /// Hash32 of "VlmDeviceSettings"; 0 when there is none.
    DWORD GetHashOfPrinterDriverDataVLMDeviceSettings() noexcept;
    /// Seconds since 1970-01-01 00:00 UTC.
    static LONGLONG GetCurrentTimeInSeconds() noexcept;
    /// @param fDefaultUser also the copy of the ".DEFAULT" user.  @return whether a copy was deleted.
    bool ClearDeviceSettingsCacheIfExists(bool fDefaultUser) noexcept;
    /// The queue's storage of the user; made at first use, null when there is no user or no queue.  Borrowed.
    LowRightsStorage* GetLowRightsStoragePtr() noexcept;
    /// The storage's name for a queue: "QUEUE.cache\DeviceSettings", QUEUE in standard form.
    static CXString GetLowRightsStorageName(const XCHAR* pszPrinterName);

private:
    /// Opens a queue in place of the present one, which stays after any failure.  @return the spooler's status.
    vlm::Status Open(const XCHAR* pszPrinterName, DWORD dwAccess);
    HANDLE OpenOrThrow(const XCHAR* pszPrinterName, DWORD dwAccess, DWORD dwLesserAccess);
    /// The host part of the address that an IPP queue of a print server is named by.
    bool GetPrinterIPOrHostNameForIPPPrintOnServer(CXString& rcsAddress) noexcept;

    HANDLE m_hPrinter = nullptr;
    bool m_fOwned = false;
    CXString m_csPrinterName;  ///< the spooler's, once it was asked
    CXString m_csPort;         ///< cached
    ByteBuffer m_bbPrinterInfo;
    ByteBuffer m_bbPrinterData;
    DWORD m_dwPrinterDataType = 0;
    ByteBuffer m_bbCrc32PrinterData;
    std::unique_ptr<LowRightsStorage> m_apoLowRightsStorage;
};
