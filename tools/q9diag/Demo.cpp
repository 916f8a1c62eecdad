// demo: a typical request told step by step on a sample queue, each step checked by the tool itself.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "CommandLine.h"
#include "Commands.h"
#include "DemoBytes.h"
#include "DemoListener.h"
#include "Files.h"
#include "LogSink.h"
#include "SettingsDiff.h"
#include "SettingsEdit.h"
#include "SettingsText.h"
#include "SettingsVerify.h"
#include "Story.h"
#include "environment/Printer.h"
#include "environment/ProductData.h"
#include "environment/SampleQueues.h"
#include "platform/StoreChoice.h"
#include "utilities/registry/ProcmonDiagnosticCounters.h"

namespace vlm::tool {

namespace {

constexpr const XCHAR* QUEUE = VTEXT("Q9 Sample PCL");
constexpr const XCHAR* MODEL = VTEXT("KX 1002C");
constexpr const XCHAR* MODEL_ID = VTEXT("xModelId");
constexpr const char* PATH = "1/feature:258";
constexpr const char* NEW_VALUE = "option:value:7";
constexpr const char* OTHER_VALUE = "option:value:8";  // where the attribute has the new value already

struct Options {
    std::string strFile;
    std::string strOutput;
    std::string strCategories = "utils,utildll";
};

/// The sample queues for as long as it lives; those that were there before stay.
class SampleGround {
public:
    SampleGround() : m_vQueues(SampleQueues::Install(SampleSettings(), SampleProductCab())) {}
    ~SampleGround() {
        const bool fOurs = std::all_of(m_vQueues.begin(), m_vQueues.end(), [](const auto& r) { return r.m_bAdded; });
        if (!fOurs) return;
        try {
            SampleQueues::Remove();
        } catch (const std::exception&) {
            return;  // reported; "queue sample --remove" tries again
        }
    }
    SampleGround(const SampleGround&) = delete;
    SampleGround& operator=(const SampleGround&) = delete;

    const std::vector<SampleQueues::Queue>& Queues() const noexcept { return m_vQueues; }

private:
    std::vector<SampleQueues::Queue> m_vQueues;
};

std::string Utf8(const CXString& kcsText) {
    return Printable(kcsText.View());
}

// ---- the queue and its model ----

void TellQueues(const SampleGround& rGround, Story& rStory) {
    for (const SampleQueues::Queue& rQueue : rGround.Queues())
        rStory.Tell(Utf8(rQueue.m_csName) + " (" + Utf8(rQueue.m_csKind) + ") on " + Utf8(rQueue.m_csPort) + ", " +
                    (rQueue.m_bAdded ? "added" : "was there"));
    rStory.Check(!rGround.Queues().empty(), "there are queues to work on");
}

void OpenQueue(Printer& rPrinter, Story& rStory) {
    rStory.Step("Open the queue: " + Utf8(CXString(QUEUE)));
    rPrinter.CreateHandle(QUEUE);
    const CXString csName = rPrinter.GetPrinterName();
    rStory.Tell("driver " + Utf8(rPrinter.GetPrintDriverName()) + ", port " + Utf8(rPrinter.GetPrinterPort()));
    rStory.Check(csName == QUEUE, "the spooler knows it by its name");
    rStory.Check(!rPrinter.IsRemotePrinterConnection(), "it is this computer's own");
}

void ReadIdentity(Printer& rPrinter, const MessageKeeper& rKeeper, Story& rStory) {
    rStory.Step("Read its identity, while \"xModelId\" grows between two calls");
    const CXString csProduct = rPrinter.GetPrinterProductUniqueIdFromIniFile();
    const GrowingValue oGrowing(MODEL_ID);
    const CXString csModel = rPrinter.GetPrinterModelIdFromIniFile();
    rStory.Tell("product " + Utf8(csProduct) + ", model " + Utf8(csModel) + ", read in " +
                std::to_string(oGrowing.Reads()) + " calls");
    rStory.Check(oGrowing.Reads() == 3, "the read that came too late was made again");
    rStory.Check(rKeeper.HasHeard("Retrying GetPrinterData(xModelId)"), "and that was said");
    rStory.Check(csProduct.GetLength() >= 3 && csModel == MODEL, "the identity is the installer's");
}

void FindModel(Printer& rPrinter, ProductData& rProduct, Story& rStory) {
    rStory.Step("Find the model in the map, after unpacking the driver's product data");
    const HANDLE hPrinter = rPrinter.GetPrinterHandle();
    bool fFound = rProduct.Initialize(hPrinter, CXString(), MT_PRINTER_INI_DATA, CXString());
    if (!fFound) {
        // A new queue has no records yet; its driver's data may be there from another queue.
        if (rProduct.HasProductCabBeenExtracted()) {
            rStory.Check(rProduct.UpdateRegistryMappings(CXString(), ProductData::OUTERMOST), "the map files are read");
        } else {
            rStory.Check(rProduct.UnpackProductCabFile(), "the product data is unpacked");
        }
        fFound = rProduct.Initialize(hPrinter, CXString(), MT_PRINTER_INI_DATA, CXString());
    }
    rStory.Check(fFound, "one of " + std::to_string(rProduct.GetMappings().size()) + " models is the queue's");
    if (!fFound) return;
    rStory.Tell(Utf8(rProduct.GetModelName()) + ": " + Utf8(rProduct.GetUserFriendlyProductName()) + ", " +
                (rProduct.IsColorCapable() ? "colour, " : "monochrome, ") + std::to_string(rProduct.GetRatedSpeed()) +
                " pages a minute, languages " + Utf8(rProduct.GetInfo(VTEXT("PRINTERLANG"))));
    std::vector<CXString> vcsOids;
    rProduct.GetSysObjectIdsFromModel(rProduct.GetModelName(), vcsOids);
    rStory.Check(
        !vcsOids.empty() && rProduct.GetModelFromSysObjectId(vcsOids[0] + VTEXT(".1.5")) == rProduct.GetModelName(),
        "a device of it is known by its sysObjectId");
    ByteBuffer bbCapabilities, bbCommand;
    rStory.Check(rProduct.LoadFile(PD_JCAP, bbCapabilities) && !bbCapabilities.empty(), "its data file is read");
    rStory.Check(rProduct.GetPDLCommand(VTEXT("MediaSize"), VTEXT("A4"), PdlType::PCL6, bbCommand, nullptr),
                 "it has a command for A4");
    rStory.Tell("the command for A4 in PCL 6: " + Utf8(bbCommand.getAsHexBinaryString()));
}

// ---- the stored settings ----

/// The value at a path as text; empty when absent.
std::string ValueAt(const Settings& rSettings, const SettingsPath& rPath) {
    for (const SettingsGroup& rGroup : rSettings.vGroups)
        for (const AttributeBytesSharedPtr& rshpoRecord : rGroup.vshpoRecords)
            if (rGroup.olNameSpace == rPath.olNameSpace && rshpoRecord->GetAttributeBytesId().IsEqual(*rPath.apoId))
                return TextOf(rshpoRecord->GetAttributeBytesValue());
    return {};
}

std::size_t CountRecords(const Settings& rSettings) {
    std::size_t cRecords = 0;
    for (const SettingsGroup& rGroup : rSettings.vGroups)
        cRecords += rGroup.vshpoRecords.size();
    return cRecords;
}

void TellSummary(const Settings& rSettings, Story& rStory) {
    rStory.Tell("form " + std::string(NameOf(rSettings.eForm)) + ", written by driver version " +
                ToUtf8(rSettings.oVersion.GetStringValue().View()));
    for (const SettingsGroup& rGroup : rSettings.vGroups)
        rStory.Tell("name space " + std::to_string(rGroup.olNameSpace.value_or(0)) + ": " +
                    std::to_string(rGroup.vshpoRecords.size()) + " attributes");
}

void CheckReadBack(const Settings& rBefore, const Settings& rAfter, const SettingsPath& rPath,
                   const std::string& strValue, Story& rStory, Output& rOutput) {
    const auto vDifferences = CompareSettings(rBefore, rAfter);
    PrintDifferences(vDifferences, rOutput);
    rStory.Check(ValueAt(rAfter, rPath) == strValue, std::string(PATH) + " is " + strValue);
    const bool fOne = vDifferences.size() == 1 && vDifferences[0].vpAdded.empty() &&
                      vDifferences[0].vpRemoved.empty() && vDifferences[0].vChanged.size() == 1 &&
                      vDifferences[0].vChanged[0].first->GetAttributeBytesId().IsEqual(*rPath.apoId);
    rStory.Check(fOne, "it is the only one of " + std::to_string(CountRecords(rBefore)) + " attributes that differs");
}

ByteBuffer StoredBlock(Printer& rPrinter, Story& rStory) {
    ByteBuffer bbStored;
    rStory.Check(rPrinter.GetDeviceSettings(bbStored), "the queue has stored settings");
    return bbStored;
}

/// Imports, changes, stores and restores the settings of a queue.  @param rPrinter with all rights.
void ChangeSettings(Printer& rPrinter, const Options& rOptions, Story& rStory, Output& rOutput) {
    rStory.Step("Import the stored settings");
    const ByteBuffer bbStored = StoredBlock(rPrinter, rStory);
    const Settings oBefore = DecodeSettings(bbStored, "the stored settings");
    rStory.Tell(std::to_string(bbStored.size()) + " bytes");
    TellSummary(oBefore, rStory);
    rStory.Check(VerifySettings(bbStored, oBefore).bSame, "written again they are the same, byte for byte");

    const SettingsPath oPath = ParsePath(PATH, oBefore);
    const std::string strOld = ValueAt(oBefore, oPath);
    const std::string strNew = strOld == NEW_VALUE ? OTHER_VALUE : NEW_VALUE;
    rStory.Step("Change one attribute: " + std::string(PATH) + " from " + (strOld.empty() ? "absent" : strOld) +
                " to " + strNew);
    rStory.Check(!strOld.empty(), "the attribute is there");
    Settings oChanged = oBefore;
    SetAttribute(oChanged, oPath, *ParseValue(strNew));

    rStory.Step("Store the settings with the queue again");
    const ByteBuffer bbNew = EncodeSettings(oChanged);
    rStory.Tell("the new block has " + std::to_string(bbNew.size()) + " bytes");
    if (!rOptions.strOutput.empty()) WriteResult(rOptions.strOutput, bbNew, rOutput);
    rPrinter.SetDeviceSettings(bbNew);
    rStory.Check(bbNew != bbStored, "it differs from the old one");

    rStory.Step("Read the new block back and compare");
    const Settings oAfter = DecodeSettings(StoredBlock(rPrinter, rStory), "the new block");
    CheckReadBack(oBefore, oAfter, oPath, strNew, rStory, rOutput);
    rStory.Check(oAfter.oVersion == oBefore.oVersion, "the driver version is the same");

    rStory.Step("Take the change back");
    Settings oRestored = oAfter;
    if (!strOld.empty()) SetAttribute(oRestored, oPath, *ParseValue(strOld));
    rStory.Check(PlainState(EncodeSettings(oRestored)) == PlainState(bbStored),
                 "the stored state is the old one again, byte for byte");
    rPrinter.SetDeviceSettings(bbStored);
}

// ---- what was said and counted ----

void TellMessages(const MessageKeeper& rKeeper, const Options& rOptions, Story& rStory) {
    constexpr std::size_t SHOWN = 8;
    const std::vector<std::string> vLines = rKeeper.Lines();
    rStory.Step("What the library said on the way, of the categories " + rOptions.strCategories);
    rStory.Check(!vLines.empty(), std::to_string(vLines.size()) + " debug messages");
    for (std::size_t i = 0; i < std::min(vLines.size(), SHOWN); ++i)
        rStory.Tell(vLines[i]);
    if (vLines.size() > SHOWN) rStory.Tell("... (--log shows all)");
}

void TellCounters(HANDLE hPrinter, DWORD dwBefore, Story& rStory) {
    using Counter = ProcmonDiagnosticCounter;
    rStory.Step("What was counted for the queue");
    const DWORD dwCount = Counter().IncrementProcmonDiagnosticCounter(hPrinter, Counter::PDC_IDMEnd, 0x7FFFFFFF);
    rStory.Tell("IDMStart " + std::to_string(Counter::GetCount(QUEUE, Counter::PDC_IDMStart)) + ", IDMEnd " +
                std::to_string(dwCount));
    rStory.Check(dwCount == 1 && dwBefore == 1, "each request is counted once at its start and once at its end");
}

int Tell(const Options& rOptions, Output& rOutput) {
    using Counter = ProcmonDiagnosticCounter;
    if (rOptions.strOutput == "-") throw UsageError("-o: standard output tells the story; name a file for the block");
    const DebugMessageCategories categories = ParseCategories(rOptions.strCategories, "--categories");
    ByteBuffer bbOther;
    if (!rOptions.strFile.empty()) {
        bbOther = ReadInput(rOptions.strFile);
        DecodeSettings(bbOther, rOptions.strFile);
    }
    const MessageKeeper oKeeper(categories);
    Story oStory(rOutput);

    oStory.Step("Set up sample queues");
    const SampleGround oGround;
    TellQueues(oGround, oStory);

    Printer oPrinter;
    OpenQueue(oPrinter, oStory);
    const DWORD dwStarted =
        Counter().IncrementProcmonDiagnosticCounter(oPrinter.GetPrinterHandle(), Counter::PDC_IDMStart, 0x7FFFFFFF);
    ReadIdentity(oPrinter, oKeeper, oStory);
    ProductData oProduct;
    FindModel(oPrinter, oProduct, oStory);

    Printer oWriter;
    oWriter.CreateAllAccessHandle(QUEUE);
    if (!rOptions.strFile.empty()) oWriter.SetDeviceSettings(bbOther);
    ChangeSettings(oWriter, rOptions, oStory, rOutput);

    TellCounters(oPrinter.GetPrinterHandle(), dwStarted, oStory);
    TellMessages(oKeeper, rOptions, oStory);
    return oStory.End();
}

}  // namespace

void AddDemo(CommandLine& rLine) {
    const auto shpoOptions = std::make_shared<Options>();
    rLine
        .Add("demo", nullptr,
             "Tell a typical request on a sample queue: its identity, its model, and a change of its settings")
        .Option("--from", "FILE", shpoOptions->strFile, "Another settings file with name spaces instead of the sample")
        .Option("-o,--output", "FILE", shpoOptions->strOutput, "Keep the new block in a file")
        .Option("--categories", "NAMES", shpoOptions->strCategories,
                "The debug messages to tell of; else utils,utildll")
        .Run([shpoOptions, &rLine](Output& rOutput) {
            // Where the spooler is embedded and nobody has named a store, the demo leaves none behind.
            const char* const pszStore = std::getenv("Q9_STORE");
            if (rLine.Globals().strStore.empty() && (pszStore == nullptr || *pszStore == 0)) ChooseStore(":memory:");
            return Tell(*shpoOptions, rOutput);
        });
}

}  // namespace vlm::tool
