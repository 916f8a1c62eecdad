// driver show, files, state: the installed printer drivers.
#include <array>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Output.h"
#include "Text.h"
#include "environment/PrintDriver.h"
#include "platform/Platform.h"
#include "platform/SpoolerBlocks.h"
#include "platform/ThreadPort.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/SimpleFile.h"

namespace vlm::tool {

namespace {

using FileType = PrintDriver::FileType;

struct Options {
    std::string strQueue;
    std::string strState;
};

/// The states that can be set, by their numbers from 1 on; the last one can only be read.
constexpr std::array<const char*, 5> STATES{"phase1started", "phase1done", "phase2adone", "phase2bdone", "phase2cdone"};

/// What each type of file is called here.
constexpr std::array<std::pair<FileType, const char*>, 26> FILE_TYPES{{
    {FileType::FT_DATA_FILE, "data file"},
    {FileType::FT_CONFIGURATION_FILE, "configuration file"},
    {FileType::FT_PCL_RENDERER, "PCL renderer"},
    {FileType::FT_PCLXL_RENDERER, "PCL XL renderer"},
    {FileType::FT_PS_RENDERER, "PostScript renderer"},
    {FileType::FT_USER_PROPERTIES, "user properties"},
    {FileType::FT_CORE, "core"},
    {FileType::FT_GUI, "user interface"},
    {FileType::FT_WORKFLOW, "workflow"},
    {FileType::FT_WORKFLOW_TU, "workflow TU"},
    {FileType::FT_WORKFLOW_WU, "workflow WU"},
    {FileType::FT_COMMUNICATION, "communication"},
    {FileType::FT_SPOOLER_HELPER, "spooler helper"},
    {FileType::FT_JOB_TRACKER, "job tracker"},
    {FileType::FT_THREAD_HELPER, "thread helper"},
    {FileType::FT_PRINT_PROCESSOR, "print processor"},
    {FileType::FT_PRINT_LIBRARY, "print library"},
    {FileType::FT_FILE_PRINT_BROKER, "file print broker"},
    {FileType::FT_FILE_PRINT_LIBRARY, "file print library"},
    {FileType::FT_INI_FILE, "INI file"},
    {FileType::FT_CFG_FILE, "CFG file"},
    {FileType::FT_COMPILED_DATA_FILE, "compiled data file"},
    {FileType::FT_PRODUCT_LIBRARY, "product library"},
    {FileType::FT_PRODUCT_CAB, "product CAB"},
    {FileType::FT_TEXT_RESOURCE_CAB, "text resource CAB"},
    {FileType::FT_JAVA_CLASS_PATH, "Java class path"},
}};

CXString QueueOf(const Options& rOptions) {
    if (rOptions.strQueue.empty()) throw UsageError("QUEUE: must not be empty");
    return CXString(XStringView(FromUtf8(rOptions.strQueue, "queue")));
}

XStringView ViewOf(const XCHAR* pszText) {
    return pszText ? XStringView(pszText) : XStringView();
}

int ShowAll(Output& rOutput) {
    ByteBuffer bbDrivers;
    DWORD cDrivers = 0;
    if (!PrintDriver::EnumeratePrinterDrivers(2, bbDrivers, &cDrivers, nullptr))
        RefusePrinter("the drivers cannot be listed", static_cast<Status>(GetPlatform().pThreads->LastError()));
    std::vector<std::vector<std::string>> vRows = {{"driver", "version", "environment", "data file"}};
    Json oDrivers = Json::array();
    for (DWORD i = 0; i < cDrivers; ++i) {
        const auto& rDriver = reinterpret_cast<const DriverInfo2*>(bbDrivers.data())[i];
        const XStringView svName = ViewOf(rDriver.pName), svEnvironment = ViewOf(rDriver.pEnvironment),
                          svDataFile = ViewOf(rDriver.pDataFile);
        vRows.push_back(
            {Printable(svName), std::to_string(rDriver.cVersion), Printable(svEnvironment), Printable(svDataFile)});
        oDrivers.push_back({{"name", JsonString(svName)},
                            {"version", rDriver.cVersion},
                            {"environment", JsonString(svEnvironment)},
                            {"driverFile", JsonString(ViewOf(rDriver.pDriverPath))},
                            {"dataFile", JsonString(svDataFile)},
                            {"configurationFile", JsonString(ViewOf(rDriver.pConfigFile))}});
    }
    if (cDrivers == 0) {
        rOutput.Line("No driver is installed.");
    } else {
        rOutput.Table(vRows, 0, {Style::Name});
    }
    rOutput.Document(
        {{"drivers", std::move(oDrivers)}, {"previousGeneration", PrintDriver::IsPreResetDriverInstalled()}});
    return EXIT_DONE;
}

/// What stands behind a bit of the capability word.
template <class Type, std::size_t N>
const char* WordOf(Type eType, const std::array<std::pair<Type, const char*>, N>& raoWords) {
    for (const auto& [eKnown, pszWord] : raoWords) {
        if (eKnown == eType) return pszWord;
    }
    return "unknown";
}

std::string BaseDriverOf(PrintDriver& rDriver, const CXString& kcsQueue) {
    using Base = PrintDriver::BaseDriverType;
    constexpr std::array<std::pair<Base, const char*>, 5> RENDERERS{{{Base::BASE_UNIDRV, "unidrv"},
                                                                     {Base::BASE_PSCRIPT5, "pscript5"},
                                                                     {Base::BASE_MXDW, "mxdwdrv"},
                                                                     {Base::BASE_PDF, "PDF"},
                                                                     {Base::BASE_NONE, "unknown renderer"}}};
    try {
        const Base eBase = rDriver.GetBaseDriverTypeFromDriverInfo2(kcsQueue);
        const bool fPs5Ui = (eBase & Base::BASE_UI_MASK) == Base::BASE_PS5UI;
        return std::string(WordOf(eBase & Base::BASE_RENDERER_MASK, RENDERERS)) + (fPs5Ui ? ", ps5ui" : ", unidrvui");
    } catch (const ExceptionPrintDriverFailure&) {
        return "unknown";  // a driver of somebody else's
    }
}

std::string VersionOf(PrintDriver& rDriver, const CXString& kcsQueue) {
    const CXString csVersion = rDriver.GetDisplayableDriverVersion(kcsQueue);
    return csVersion == VTEXT("0.0.0.0") ? "unknown" : Printable(csVersion.View());
}

std::string StateOf(PrintDriver& rDriver, const CXString& kcsQueue) {
    const WORD wState = rDriver.GetInstallationStateFromName(kcsQueue);
    return wState == PrintDriver::InstallationState::NotStarted ? "not started" : STATES[wState - 1U];
}

std::string CapabilitiesOf(PrintDriver& rDriver, const CXString& kcsQueue) {
    try {
        return "0x" + Hex(rDriver.GetCapabilities(kcsQueue), 16);
    } catch (const ExceptionPrintDriverFailure&) {
        return "unknown";
    }
}

int ShowOne(const Options& rOptions, Output& rOutput) {
    using Color = PrintDriver::ColorMode;
    using Inbox = PrintDriver::InboxMode;
    using Processor = PrintDriver::PrintProcessor;
    const CXString csQueue = QueueOf(rOptions);
    PrintDriver oDriver;
    const CXString csName = oDriver.GetDriverName(csQueue), csFolder = oDriver.GetDriverPathFromName(csQueue);
    constexpr std::array<std::pair<Color, const char*>, 2> COLORS{
        {{Color::COLOR_MODE_COLOR, "color"}, {Color::COLOR_MODE_MONOCHROME, "monochrome"}}};
    constexpr std::array<std::pair<Inbox, const char*>, 2> EDITIONS{
        {{Inbox::INBOX_MODE_INBOX, "inbox"}, {Inbox::INBOX_MODE_RETAIL, "the family's own"}}};
    constexpr std::array<std::pair<Processor, const char*>, 4> PROCESSORS{
        {{Processor::PRINT_PROCESSOR_NONE, "none of its own"},
         {Processor::PRINT_PROCESSOR_VELOM, "the family's"},
         {Processor::PRINT_PROCESSOR_WINPRINT, "winprint"},
         {Processor::PRINT_PROCESSOR_XPS, "the system's for XPS"}}};
    const std::array<std::pair<const char*, std::string>, 9> aoFacts{{
        {"version", VersionOf(oDriver, csQueue)},
        {"language", Printable(oDriver.GetDriverLanguageString(csQueue).View())},
        {"color", WordOf(oDriver.GetColorModeFromName(csQueue), COLORS)},
        {"edition", WordOf(oDriver.GetInboxModeFromName(csQueue), EDITIONS)},
        {"printProcessor", WordOf(oDriver.GetPrintProcessorInstalledFromName(csQueue), PROCESSORS)},
        {"baseDriver", BaseDriverOf(oDriver, csQueue)},
        {"colorSystem", oDriver.IsWcsSupported(csQueue) ? "yes" : "no"},
        {"capabilities", CapabilitiesOf(oDriver, csQueue)},
        {"installation", StateOf(oDriver, csQueue)},
    }};
    std::vector<std::vector<std::string>> vRows = {{"name", Printable(csName.View())},
                                                   {"folder", Printable(csFolder.View())}};
    Json oDocument = {{"queue", JsonString(csQueue.View())},
                      {"name", JsonString(csName.View())},
                      {"folder", JsonString(csFolder.View())}};
    for (const auto& [pszFact, strValue] : aoFacts) {
        vRows.push_back({pszFact, strValue});
        oDocument[pszFact] = strValue;
    }
    rOutput.Table(vRows, 0, {Style::Name});
    rOutput.Document(std::move(oDocument));
    return EXIT_DONE;
}

int ShowFiles(const Options& rOptions, Output& rOutput) {
    const CXString csQueue = QueueOf(rOptions);
    PrintDriver oDriver;
    std::vector<std::vector<std::string>> vRows = {{"type", "file", "there", "path"}};
    Json oFiles = Json::array(), oDependent = Json::array();
    for (const auto& [eType, pszName] : FILE_TYPES) {
        const CXString csFile = oDriver.GetDriverFiles(csQueue, eType);
        if (csFile.IsEmpty()) continue;
        const bool fPath = eType != FileType::FT_JAVA_CLASS_PATH;
        const bool fThere = fPath && SimpleFile::DoesFileExist(csFile);
        const auto dwType = static_cast<DWORD>(eType);
        vRows.push_back({std::to_string(dwType), pszName,
                         fThere  ? "yes"
                         : fPath ? "no"
                                 : "",
                         Printable(csFile.View())});
        oFiles.push_back({{"type", dwType}, {"name", pszName}, {"path", JsonString(csFile.View())}, {"there", fThere}});
    }
    for (const CXString& kcsFile : oDriver.GetDriverDependentFiles(csQueue)) {
        vRows.push_back(
            {"", "dependent", SimpleFile::DoesFileExist(kcsFile) ? "yes" : "no", Printable(kcsFile.View())});
        oDependent.push_back(JsonString(kcsFile.View()));
    }
    rOutput.Table(vRows, 0, {Style::Plain, Style::Name});
    rOutput.Document({{"queue", JsonString(csQueue.View())},
                      {"files", std::move(oFiles)},
                      {"dependentFiles", std::move(oDependent)},
                      {"productCabExtracted", oDriver.HasProductCabBeenExtracted(csQueue)}});
    return EXIT_DONE;
}

int ShowState(const Options& rOptions, Output& rOutput) {
    const CXString csQueue = QueueOf(rOptions);
    PrintDriver oDriver;
    std::string strState = StateOf(oDriver, csQueue);  // tells a queue that is not there from a refusal
    for (std::size_t i = 0; i < STATES.size() && !rOptions.strState.empty(); ++i) {
        if (rOptions.strState != STATES[i]) continue;
        if (!PrintDriver::SetInstallationState(csQueue, static_cast<WORD>(i + 1)))
            RefusePrinter("the state is not stored", Status::AccessDenied);
        strState = StateOf(oDriver, csQueue);
    }
    rOutput.Line(strState);
    rOutput.Document({{"queue", JsonString(csQueue.View())}, {"installation", strState}});
    return EXIT_DONE;
}

}  // namespace

void AddDriver(CommandLine& rLine) {
    const auto shpoOptions = std::make_shared<Options>();
    rLine.Noun("driver", "Installed printer drivers");
    rLine.Add("driver", "show", "Show the driver of a queue, or all that are installed")
        .OptionalArgument("QUEUE", shpoOptions->strQueue, "Name of the queue")
        .Run([shpoOptions](Output& rOutput) {
            return shpoOptions->strQueue.empty() ? ShowAll(rOutput) : ShowOne(*shpoOptions, rOutput);
        });
    rLine.Add("driver", "files", "Show the driver's files by type, and which of them are there")
        .Argument("QUEUE", shpoOptions->strQueue, "Name of the queue")
        .Run([shpoOptions](Output& rOutput) { return ShowFiles(*shpoOptions, rOutput); });
    rLine.Add("driver", "state", "Show or set how far the driver's installation has come")
        .Argument("QUEUE", shpoOptions->strQueue, "Name of the queue")
        .Choice("--set", shpoOptions->strState, {STATES.begin(), STATES.end() - 1}, "Store this state")
        .Run([shpoOptions](Output& rOutput) { return ShowState(*shpoOptions, rOutput); });
}

}  // namespace vlm::tool
