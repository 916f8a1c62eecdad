// model list, show, find, lookup and pdl: what is known about printer models.
#include <algorithm>

#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "ModelSource.h"
#include "Output.h"

namespace vlm::tool {

namespace {

struct Options {
    ModelSource oSource;
    std::string strText;
    std::string strKey;
};

std::string Utf8(const CXString& kcsText) {
    return Printable(kcsText.View());
}

std::string ColorText(const MappingData& rRecord) {
    switch (ProductData::GetColorModeFromMappingData(rRecord)) {
        case DataModelIds::VAL_COLOR:
            return "color";
        case DataModelIds::VAL_MONOCHROME:
            return "monochrome";
        default:
            return "-";
    }
}

std::vector<std::string> Languages(const MappingData& rRecord) {
    const DWORD dwBits = ProductData::GetPDLsFromMappingData(rRecord);
    std::vector<std::string> vNames;
    for (const auto& [dwBit, pszName] : {std::pair{PDL_BIT_PSCRIPT, "pscript"}, std::pair{PDL_BIT_PCL5, "pcl5"},
                                         std::pair{PDL_BIT_PCL6, "pcl6"}, std::pair{PDL_BIT_XRASTER, "xraster"}})
        if (dwBits & dwBit) vNames.emplace_back(pszName);
    return vNames;
}

Json Document(const MappingData& rRecord) {
    Json oOids = Json::array();
    for (const CXString& rcsOid : rRecord.GetSysObjectIds())
        oOids.push_back(JsonString(rcsOid.View()));
    return {{"model", JsonString(rRecord.GetModel().View())},
            {"sysObjectIds", std::move(oOids)},
            {"color", ColorText(rRecord)},
            {"languages", Languages(rRecord)},
            {"mapData", JsonString(rRecord.GetMapData().View())}};
}

/// Prints records as a table.
int Show(const std::vector<MappingData>& rvoRecords, Output& rOutput) {
    std::vector<std::vector<std::string>> vRows = {{"model", "family", "color", "languages"}};
    Json oModels = Json::array();
    for (const MappingData& rRecord : rvoRecords) {
        std::string strLanguages;
        for (const std::string& rName : Languages(rRecord))
            strLanguages += (strLanguages.empty() ? "" : " ") + rName;
        vRows.push_back(
            {Utf8(rRecord.GetModel()), Utf8(rRecord.GetData(VTEXT("FAMPATH"))), ColorText(rRecord), strLanguages});
        oModels.push_back(Document(rRecord));
    }
    if (rvoRecords.empty())
        rOutput.Remark("there is no such model");
    else
        rOutput.Table(vRows, 0, {Style::Name});
    rOutput.Document({{"models", std::move(oModels)}});
    return rvoRecords.empty() ? EXIT_ANSWER_NO : EXIT_DONE;
}

/// Prints one record in full.
int ShowOne(const MappingData* pRecord, Output& rOutput) {
    if (!pRecord) {
        rOutput.Remark("there is no such model");
        rOutput.Document({{"exists", false}});
        return EXIT_ANSWER_NO;
    }
    std::vector<std::vector<std::string>> vRows = {{"model", Utf8(pRecord->GetModel())}};
    for (const CXString& rcsOid : pRecord->GetSysObjectIds())
        vRows.push_back({"sysObjectId", Utf8(rcsOid)});
    int iPosition = 0;
    for (;;) {
        const CXString csPair = pRecord->GetMapData().Tokenize(VTEXT(";"), iPosition);
        if (csPair.IsEmpty()) break;
        const int iEquals = csPair.Find(VTEXT('='));
        vRows.push_back({Utf8(csPair.Left(iEquals < 0 ? csPair.GetLength() : iEquals)),
                         iEquals < 0 ? "" : Utf8(csPair.Mid(iEquals + 1))});
    }
    rOutput.Table(vRows, 0, {Style::Name});
    Json oDocument = Document(*pRecord);
    oDocument["exists"] = true;
    rOutput.Document(std::move(oDocument));
    return EXIT_DONE;
}

template <class Matches>
const MappingData* First(const std::vector<MappingData>& rvoRecords, Matches&& matches) {
    const auto it = std::find_if(rvoRecords.begin(), rvoRecords.end(), matches);
    return it == rvoRecords.end() ? nullptr : &*it;
}

int ShowModel(const Options& rOptions, Output& rOutput) {
    if (rOptions.strText.empty()) {
        Printer oPrinter;
        ProductData oProductData;
        rOptions.oSource.Load(std::string(), oPrinter, oProductData);
        MappingData oRecord;
        const bool fFound = oProductData.FindMappingByModel(oProductData.GetModelName(), oRecord);
        return ShowOne(fFound ? &oRecord : nullptr, rOutput);
    }
    const XText strName = FromUtf8(rOptions.strText, "model name");
    const std::vector<MappingData> voRecords = rOptions.oSource.Read();
    const MappingData* const pRecord = First(voRecords, [&](const MappingData& r) { return r.MatchesModel(strName); });
    if (rOptions.strKey.empty() || !pRecord) return ShowOne(pRecord, rOutput);
    const CXString csValue = pRecord->GetData(FromUtf8(rOptions.strKey, "key"));
    if (csValue.IsEmpty())
        rOutput.Remark("the model has no such value");
    else
        rOutput.Line(Utf8(csValue));
    rOutput.Document({{"model", JsonString(pRecord->GetModel().View())},
                      {"key", JsonString(std::string_view(rOptions.strKey))},
                      {"exists", !csValue.IsEmpty()},
                      {"value", JsonString(csValue.View())}});
    return csValue.IsEmpty() ? EXIT_ANSWER_NO : EXIT_DONE;
}

int Find(const Options& rOptions, Output& rOutput) {
    const CXString csText{XStringView(FromUtf8(rOptions.strText, "text"))};
    std::vector<MappingData> voRecords = rOptions.oSource.Read();
    std::erase_if(voRecords, [&](const MappingData& r) { return r.GetModel().FindNoCase(csText) < 0; });
    return Show(voRecords, rOutput);
}

int Lookup(const Options& rOptions, Output& rOutput) {
    const XText strOid = FromUtf8(rOptions.strText, "sysObjectId");
    const std::vector<MappingData> voRecords = rOptions.oSource.Read();
    return ShowOne(First(voRecords, [&](const MappingData& r) { return r.MatchesSysObjectId(strOid); }), rOutput);
}

}  // namespace

void AddModel(CommandLine& rLine) {
    rLine.Noun("model", "Printer models: product data by name, by sysObjectId, by queue");
    const auto shpoList = std::make_shared<Options>();
    Command oList = rLine.Add("model", "list", "Print all models");
    shpoList->oSource.Describe(oList);
    oList.Run([shpoList](Output& rOutput) { return Show(shpoList->oSource.Read(), rOutput); });

    const auto shpoShow = std::make_shared<Options>();
    Command oShow = rLine.Add("model", "show", "Print a model in full, or one value of it");
    oShow.OptionalArgument("MODEL", shpoShow->strText, "Its name; else the queue's own")
        .OptionalArgument("KEY", shpoShow->strKey, "One key, FAMPATH for one");
    shpoShow->oSource.Describe(oShow);
    oShow.Run([shpoShow](Output& rOutput) { return ShowModel(*shpoShow, rOutput); });

    const auto shpoFind = std::make_shared<Options>();
    Command oFind = rLine.Add("model", "find", "Print the models with a text in their names");
    oFind.Argument("TEXT", shpoFind->strText, "In any letter case");
    shpoFind->oSource.Describe(oFind);
    oFind.Run([shpoFind](Output& rOutput) { return Find(*shpoFind, rOutput); });

    const auto shpoLookup = std::make_shared<Options>();
    Command oLookup = rLine.Add("model", "lookup", "Print the model of a device by its sysObjectId");
    oLookup.Argument("OID", shpoLookup->strText, "As the device answers it");
    shpoLookup->oSource.Describe(oLookup);
    oLookup.Run([shpoLookup](Output& rOutput) { return Lookup(*shpoLookup, rOutput); });
    AddModelPdl(rLine);
    AddModelCare(rLine);
}

}  // namespace vlm::tool
