// queue show and data: what a print queue is, and the data that it keeps.
#include <optional>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Output.h"
#include "RegValue.h"
#include "environment/Printer.h"
#include "utilities/debuggingandexceptions/VelomException.h"

namespace vlm::tool {

namespace {

using Rows = std::vector<std::vector<std::string>>;

struct Options {
    std::string strQueue;
    std::string strKey = "PrinterDriverData";
    std::string strName;
    std::optional<std::string> ostrValue;
    bool bDelete = false;
    bool bKeys = false;
};

CXString Text(const std::string& strUtf8, const char* pszWhat) {
    return CXString(XStringView(FromUtf8(strUtf8, pszWhat)));
}

/// One line of `show`: the name of its JSON member, what people read, and its value.
class Facts {
public:
    explicit Facts(Output& rOutput) : m_rOutput(rOutput) {}
    void Add(const char* pszMember, const char* pszLabel, const CXString& kcsValue) {
        m_oDocument[pszMember] = JsonString(kcsValue.View());
        if (!kcsValue.IsEmpty()) m_vRows.push_back({pszLabel, Printable(kcsValue.View())});
    }
    void Add(const char* pszMember, const char* pszLabel, bool fValue) {
        m_oDocument[pszMember] = fValue;
        m_vRows.push_back({pszLabel, fValue ? "yes" : "no"});
    }
    /// What the installer stored, or why there is none.
    template <class Read>
    void AddStored(const char* pszMember, const char* pszLabel, Read&& read) {
        try {
            Add(pszMember, pszLabel, read());
        } catch (const VelomException&) {
            m_oDocument[pszMember] = nullptr;
            m_vRows.push_back({pszLabel, "(none, or not valid)"});
        }
    }
    void Print() {
        m_rOutput.Table(m_vRows, 0, {Style::Name});
        m_rOutput.Document(std::move(m_oDocument));
    }

private:
    Output& m_rOutput;
    Rows m_vRows;
    Json m_oDocument = Json::object();
};

int Show(const Options& rOptions, Output& rOutput) {
    Printer oPrinter(Text(rOptions.strQueue, "QUEUE"), Printer::THROW);
    Facts oFacts(rOutput);
    CXString csMonitor, csAddress;
    oPrinter.GetPortInfo(oPrinter.GetPrinterHandle(), csMonitor);
    oPrinter.GetCurrentPrinterIPOrHost(csAddress);
    oFacts.Add("name", "name", oPrinter.GetPrinterName());
    oFacts.Add("server", "server", oPrinter.GetServerName());
    oFacts.Add("share", "share", oPrinter.GetShareName());
    oFacts.Add("driver", "driver", oPrinter.GetPrintDriverName());
    oFacts.Add("port", "port", oPrinter.GetPrinterPort());
    oFacts.Add("monitor", "port monitor", csMonitor);
    oFacts.Add("address", "device address", csAddress);
    oFacts.Add("printProcessor", "print processor", oPrinter.GetPrintProcessorName());
    oFacts.Add("remote", "remote connection", oPrinter.IsRemotePrinterConnection());
    oFacts.Add("ipp", "by IPP", oPrinter.IsIppPrinter());
    oFacts.AddStored("productUniqueId", "product unique id",
                     [&] { return oPrinter.GetPrinterProductUniqueIdFromIniFile(); });
    oFacts.AddStored("modelId", "model id", [&] { return oPrinter.GetPrinterModelIdFromIniFile(); });
    oFacts.AddStored("modelVersion", "model version", [&] { return oPrinter.GetPrinterModelVersion(); });
    const CXString csMirror = Printer::GetRegPathForMirroredPrinterData(oPrinter.GetPrinterHandle());
    oFacts.Add("mirrored", "printer data mirrored", Printer::IsPrinterDataMirrored(csMirror));
    ByteBuffer bbSettings, bbCached;
    oFacts.Add("deviceSettings", "device settings", oPrinter.GetDeviceSettings(bbSettings));
    oFacts.Add("cacheValid", "user's cache valid", oPrinter.GetCachedDeviceSettingsFromRegistry(bbCached));
    oFacts.Print();
    return EXIT_DONE;
}

Json ValueDocument(XStringView svName, const RegValue& rValue) {
    return {{"name", JsonString(svName)},
            {"type", RegTypeName(rValue.dwType)},
            {"value", RegValueJson(rValue)},
            {"bytes", ToUtf8(rValue.bbData.getAsHexBinaryString().View())}};
}

/// @return false when there is no such value.
bool Read(HANDLE hPrinter, const CXString& kcsKey, const CXString& kcsName, RegValue& rValue) {
    const DWORD dwStatus =
        Printer::CallGetPrinterDataExWithRetries(hPrinter, kcsKey, kcsName, &rValue.dwType, rValue.bbData);
    if (dwStatus == ToDword(Status::FileNotFound)) return false;
    if (dwStatus != 0)
        RefusePrinter("cannot read the value " + Printable(kcsName.View()), static_cast<Status>(dwStatus));
    return true;
}

int ListKeys(HANDLE hPrinter, const CXString& kcsKey, Output& rOutput) {
    std::vector<CXString> vcsKeys;
    const DWORD dwStatus = Printer::EnumPrinterKeyW(hPrinter, kcsKey, vcsKeys);
    if (dwStatus != 0) RefusePrinter("cannot list the keys", static_cast<Status>(dwStatus));
    Json oKeys = Json::array();
    for (const CXString& rcsKey : vcsKeys) {
        rOutput.Line(Printable(rcsKey.View()));
        oKeys.push_back(JsonString(rcsKey.View()));
    }
    rOutput.Document({{"keys", std::move(oKeys)}});
    return EXIT_DONE;
}

int ListValues(HANDLE hPrinter, const CXString& kcsKey, Output& rOutput) {
    std::vector<CXString> vcsNames;
    const DWORD dwStatus = Printer::EnumPrinterDataNames(hPrinter, kcsKey, vcsNames);
    if (dwStatus != 0 && dwStatus != ToDword(Status::FileNotFound))
        RefusePrinter("cannot list the values", static_cast<Status>(dwStatus));
    Rows vRows;
    Json oValues = Json::array();
    for (const CXString& rcsName : vcsNames) {
        RegValue oValue;
        if (!Read(hPrinter, kcsKey, rcsName, oValue)) continue;  // gone meanwhile
        vRows.push_back({Printable(rcsName.View()), RegTypeName(oValue.dwType), RegValueInList(oValue)});
        oValues.push_back(ValueDocument(rcsName.View(), oValue));
    }
    rOutput.Table(vRows, 0, {Style::Name});
    rOutput.Document({{"exists", dwStatus == 0}, {"values", std::move(oValues)}});
    return dwStatus == 0 ? EXIT_DONE : EXIT_ANSWER_NO;
}

int PrintValue(HANDLE hPrinter, const CXString& kcsKey, const CXString& kcsName, Output& rOutput) {
    RegValue oValue;
    if (!Read(hPrinter, kcsKey, kcsName, oValue)) {
        rOutput.Remark("there is no such value");
        rOutput.Document({{"exists", false}});
        return EXIT_ANSWER_NO;
    }
    Json oDocument = ValueDocument(kcsName.View(), oValue);
    oDocument["exists"] = true;
    rOutput.Line(RegValueText(oValue));
    rOutput.Document(std::move(oDocument));
    return EXIT_DONE;
}

int Delete(HANDLE hPrinter, const CXString& kcsKey, const CXString& kcsName, Output& rOutput) {
    const DWORD dwStatus = Printer::DeletePrinterDataExMandatoryWrapper(hPrinter, kcsKey, kcsName);
    const bool fDeleted = dwStatus == 0;
    if (!fDeleted && dwStatus != ToDword(Status::FileNotFound))
        RefusePrinter("cannot delete the value", static_cast<Status>(dwStatus));
    if (fDeleted)
        rOutput.Line("deleted");
    else
        rOutput.Remark("there is no such value");
    rOutput.Document({{"deleted", fDeleted}});
    return fDeleted ? EXIT_DONE : EXIT_ANSWER_NO;
}

int Data(const Options& rOptions, Output& rOutput) {
    if (rOptions.bDelete && (rOptions.strName.empty() || rOptions.ostrValue))
        throw UsageError("--delete: needs the NAME of a value, and no VALUE");
    if (rOptions.bKeys && !rOptions.strName.empty()) throw UsageError("--keys: lists keys, and takes no NAME");
    if (rOptions.ostrValue && rOptions.strName.empty()) throw UsageError("NAME: a value that is written needs one");
    const bool fWrite = rOptions.bDelete || rOptions.ostrValue;
    Printer oPrinter;
    const CXString csQueue = Text(rOptions.strQueue, "QUEUE");
    if (fWrite)
        oPrinter.CreateAllAccessHandle(csQueue);
    else
        oPrinter.CreateHandle(csQueue);
    const HANDLE hPrinter = oPrinter.GetPrinterHandle();
    const CXString csKey = Text(rOptions.bKeys && rOptions.strKey == Options().strKey ? "" : rOptions.strKey, "KEY");
    const CXString csName = Text(rOptions.strName, "NAME");
    if (rOptions.bKeys) return ListKeys(hPrinter, csKey, rOutput);
    if (csName.IsEmpty()) return ListValues(hPrinter, csKey, rOutput);
    if (rOptions.bDelete) return Delete(hPrinter, csKey, csName, rOutput);
    if (!fWrite) return PrintValue(hPrinter, csKey, csName, rOutput);
    const RegValue oValue = ParseRegValue(*rOptions.ostrValue);
    const DWORD dwStatus = Printer::SetPrinterDataExMandatoryWrapper(
        hPrinter, csKey, csName, oValue.dwType, oValue.bbData.getLpbyte(), oValue.bbData.GetLength());
    if (dwStatus != 0)
        RefusePrinter("cannot write the value " + Printable(csName.View()), static_cast<Status>(dwStatus));
    return PrintValue(hPrinter, csKey, csName, rOutput);
}

}  // namespace

void AddQueueShow(CommandLine& rLine) {
    const auto shpoShow = std::make_shared<Options>();
    rLine.Add("queue", "show", "Print what a queue is: names, port, device, identity")
        .Argument("QUEUE", shpoShow->strQueue, "The queue's name; of a connection \\\\SERVER\\NAME")
        .Run([shpoShow](Output& rOutput) { return Show(*shpoShow, rOutput); });
    const auto shpoData = std::make_shared<Options>();
    rLine.Add("queue", "data", "Print, write or delete printer data")
        .Argument("QUEUE", shpoData->strQueue, "The queue's name")
        .OptionalArgument("NAME", shpoData->strName, "The value; else all values of the key")
        .OptionalArgument("VALUE", shpoData->ostrValue,
                          "What to write, as for reg set: string:, dword:, binary: and so on")
        .Option("--key", "KEY", shpoData->strKey, "Another key than PrinterDriverData")
        .Flag("--keys", shpoData->bKeys, "The keys below the queue, or with --key below that key")
        .Flag("--delete", shpoData->bDelete, "Delete the value")
        .Run([shpoData](Output& rOutput) { return Data(*shpoData, rOutput); });
}

}  // namespace vlm::tool
