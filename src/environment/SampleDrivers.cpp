/// @file
/// The sample queues' drivers: what they consist of, and how they are installed.
#include "environment/SampleDriversImpl.h"

#include <array>
#include <vector>

#include "platform/FilePort.h"
#include "platform/Platform.h"
#include "platform/PrinterDriverPort.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace vlm {

namespace {

constexpr char FILE_TEXT[] = "A sample of a driver's file; it holds nothing.\r\n";

constexpr const XCHAR* PCL_FILES[] = {VTEXT("q9rpcl073.dll"), VTEXT("q9core073.dll"), VTEXT("q9gui073.dll"),
                                      VTEXT("q9up073.dll"),   VTEXT("q9coms073.dll"), VTEXT("q9spl073.exe"),
                                      VTEXT("q9_q9a.dll"),    VTEXT("q9q9a073.cab"),  VTEXT("q9txt073.cab"),
                                      VTEXT("xkx000.ini"),    VTEXT("xkx000.cfg"),    VTEXT("xkx000.bud"),
                                      VTEXT("q8gmmp01.dll")};
constexpr const XCHAR* PS_FILES[] = {VTEXT("q9rps073.dll"),  VTEXT("q9core073.dll"), VTEXT("q9gui073.dll"),
                                     VTEXT("q9up073.dll"),   VTEXT("q9_q9b.dll"),    VTEXT("q9q9b073.cab"),
                                     VTEXT("q9gtxt073.cab"), VTEXT("xkx000p.ini"),   VTEXT("xkx000p.cfg")};

constexpr SampleValue PCL_VALUES[] = {
    {VTEXT("xPDL"), VTEXT("pclxl")},
    {VTEXT("xColor"), VTEXT("color")},
    {VTEXT("xInstallCompleted"), VTEXT("Phase2BDone")},
    {VTEXT("xPrintProc"), VTEXT("winprint")},
    {VTEXT("xInbox"), VTEXT("0")},
    {VTEXT("xResDll"), VTEXT("X")},
    {VTEXT("xProdUID"), VTEXT("q9a")},
    {VTEXT("xModelId"), VTEXT("KX 1002C")},
    {VTEXT("xModelVersion"), VTEXT("1.0")},
};
constexpr SampleValue PS_VALUES[] = {
    {VTEXT("xPDL"), VTEXT("postscript")},
    {VTEXT("xColor"), VTEXT("monochrome")},
    {VTEXT("xInstallCompleted"), VTEXT("Phase2BDone")},
    {VTEXT("xPrintProc"), VTEXT("winprint")},
    {VTEXT("xInbox"), VTEXT("0")},
    {VTEXT("xResDll"), VTEXT("GV")},
    {VTEXT("xProdUID"), VTEXT("q9b")},
    {VTEXT("xModelId"), VTEXT("KX 1004")},
    {VTEXT("xModelVersion"), VTEXT("2.0")},
};

constexpr SampleDriver PCL_DRIVER{VTEXT("Q9 Sample PCL6 Driver"),
                                  VTEXT("unidrv.dll"),
                                  VTEXT("xkx000.gpd"),
                                  VTEXT("unidrvui.dll"),
                                  PCL_FILES,
                                  VTEXT("q9q9a073.cab"),
                                  PCL_VALUES,
                                  1};
constexpr SampleDriver PS_DRIVER{VTEXT("Q9 Sample PS Driver"),
                                 VTEXT("pscript5.dll"),
                                 VTEXT("xkx000p.ppd"),
                                 VTEXT("ps5ui.dll"),
                                 PS_FILES,
                                 VTEXT("q9q9b073.cab"),
                                 PS_VALUES,
                                 2};

[[noreturn]] void Refuse(const SampleDriver& rDriver, Status status) {
    VLM_THROW(ExceptionPrintDriverFailure, VTEXT("The sample driver %s cannot be installed because %s"),
              rDriver.pszName, TextOfStatus(status));
}

/// The driver directory, all folders of it made.
Status PrepareDirectory(CXString& rcsDirectory) {
    std::array<XCHAR, 1024> achDirectory{};
    DWORD cbNeeded = 0;
    const Status status = GetPlatform().pDrivers->GetDriverDirectory(
        nullptr, SpoolerPort::ENVIRONMENT, 1, achDirectory.data(), sizeof(achDirectory), cbNeeded);
    if (status != Status::Success) return status;
    rcsDirectory = achDirectory.data();
    const XStringView svDirectory = rcsDirectory.View();
    for (std::size_t i = 0; i <= svDirectory.size(); ++i) {
        const bool bEnd = i == svDirectory.size();
        if (i == 0 || (!bEnd && svDirectory[i] != VTEXT('\\') && svDirectory[i] != VTEXT('/'))) continue;
        // What is there answers that it is; what cannot be made shows at the first file.
        GetPlatform().pFiles->CreateDirectoryAt(CXString(svDirectory.substr(0, i)).GetLpcwstr());
    }
    return Status::Success;
}

/// The files that were put to be installed from; they go with the object, since the spooler has its own copies.
class PutFiles {
public:
    PutFiles() = default;
    ~PutFiles() {
        for (const CXString& kcsFile : m_vcsFiles)
            GetPlatform().pFiles->Delete(kcsFile.GetLpcwstr());
    }
    PutFiles(const PutFiles&) = delete;
    PutFiles& operator=(const PutFiles&) = delete;

    /// Makes room, so that Add takes no memory.
    void Reserve() { m_vcsFiles.reserve(m_vcsFiles.size() + 1); }
    void Add(const CXString& kcsFile) { m_vcsFiles.push_back(kcsFile); }

private:
    std::vector<CXString> m_vcsFiles;
};

/// Writes a file to be installed from, unless one of its name is installed.
Status PutFile(const CXString& kcsDirectory, const XCHAR* pszFile, std::span<const BYTE> contents, PutFiles& rPut) {
    FilePort& rFiles = *GetPlatform().pFiles;
    DWORD dwAttributes = 0, dwWritten = 0;
    const CXString csInstalled = kcsDirectory + VTEXT("\\3\\") + pszFile;
    if (rFiles.GetAttributes(csInstalled.GetLpcwstr(), dwAttributes) == Status::Success) return Status::Success;
    const CXString csFile = kcsDirectory + VTEXT("\\") + pszFile;
    rPut.Reserve();
    HANDLE hFile = nullptr;
    Status status =
        rFiles.Open(csFile.GetLpcwstr(),
                    {.eAccess = FilePort::Access::ReadWrite, .eDisposition = FilePort::Disposition::CreateNew}, hFile);
    if (status == Status::FileExists) return Status::Success;
    if (status != Status::Success) return status;
    rPut.Add(csFile);
    status = rFiles.Write(hFile, contents.data(), static_cast<DWORD>(contents.size()), dwWritten);
    const Status statusClose = rFiles.Close(hFile);
    return status == Status::Success ? statusClose : status;
}

Status Register(const SampleDriver& rDriver) {
    CXString csName(rDriver.pszName), csEnvironment(SpoolerPort::ENVIRONMENT), csDriver(rDriver.pszDriverFile),
        csData(rDriver.pszDataFile), csConfig(rDriver.pszConfigFile);
    std::basic_string<XCHAR> dependent;
    for (const XCHAR* pszFile : rDriver.apszDependent)
        dependent.append(pszFile).append(1, 0);
    const auto Writable = [](const CXString& kcs) { return const_cast<XCHAR*>(kcs.GetLpcwstr()); };
    DriverInfo3 oInfo{.cVersion = PrinterDriverPort::DRIVER_VERSION,
                      .pName = Writable(csName),
                      .pEnvironment = Writable(csEnvironment),
                      .pDriverPath = Writable(csDriver),
                      .pDataFile = Writable(csData),
                      .pConfigFile = Writable(csConfig),
                      .pHelpFile = nullptr,
                      .pDependentFiles = dependent.data(),
                      .pMonitorName = nullptr,
                      .pDefaultDataType = nullptr};
    return GetPlatform().pDrivers->AddDriver(nullptr, 3, &oInfo, PrinterDriverPort::COPY_ALL);
}

}  // namespace

constinit const SampleDriver SAMPLE_PCL_DRIVER = PCL_DRIVER;
constinit const SampleDriver SAMPLE_PS_DRIVER = PS_DRIVER;

void InstallSampleDriver(const SampleDriver& rDriver, const ByteBuffer& kbbProductCab) {
    CXString csDirectory;
    PutFiles oPut;
    Status status = PrepareDirectory(csDirectory);
    std::vector<const XCHAR*> vpszFiles{rDriver.pszDriverFile, rDriver.pszDataFile, rDriver.pszConfigFile};
    vpszFiles.insert(vpszFiles.end(), rDriver.apszDependent.begin(), rDriver.apszDependent.end());
    for (const XCHAR* pszFile : vpszFiles) {
        const bool bCab = XStringView(pszFile) == rDriver.pszProductCab && !kbbProductCab.empty();
        const std::span<const BYTE> text(reinterpret_cast<const BYTE*>(FILE_TEXT), sizeof(FILE_TEXT) - 1);
        const std::span<const BYTE> cab(kbbProductCab.data(), kbbProductCab.size());
        if (status == Status::Success) status = PutFile(csDirectory, pszFile, bCab ? cab : text, oPut);
    }
    if (status == Status::Success) status = Register(rDriver);
    if (status != Status::Success) Refuse(rDriver, status);
}

void RemoveSampleDriver(const SampleDriver& rDriver) {
    PrinterDriverPort& rDrivers = *GetPlatform().pDrivers;
    const auto Delete = [&](DWORD dwFlags) {
        return rDrivers.DeleteDriver(nullptr, SpoolerPort::ENVIRONMENT, rDriver.pszName, dwFlags, 0);
    };
    // Not every spooler deletes files.
    if (Delete(PrinterDriverPort::DELETE_UNUSED_FILES) == Status::InvalidParameter) Delete(0);
}

}  // namespace vlm
