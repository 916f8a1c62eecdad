// ini get, set, delete, sections and keys: INI files in UTF-8.
#include <vector>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "Output.h"
#include "environment/UTF8Ini.h"
#include "utilities/utilitiesdll/SimpleFile.h"

namespace vlm::tool {

namespace {

struct Options {
    std::string strFile;
    std::string strSection;
    std::string strKey;
    std::string strValue;
    bool bWholeSection = false;
};

/// The text of a file, as the editor takes it.
class IniText {
public:
    explicit IniText(const std::string& strFile) : bbText(ReadInput(strFile)) {}
    /// @param fNew a missing file is an empty one.
    IniText(const std::string& strFile, bool fNew) {
        const bool fExists =
            strFile == "-" || SimpleFile::DoesFileExist(CXString(FromUtf8(strFile, "file name").c_str()));
        if (fExists || !fNew) bbText = ReadInput(strFile);
    }

    const char* Data() const noexcept { return reinterpret_cast<const char*>(bbText.data()); }

    /// @return the offset of the value; UTF8Ini::NOT_FOUND.  @param rfSection whether there is the section.
    DWORD Find(const std::string& strSection, const std::string& strKey, bool& rfSection) const {
        DWORD dwSection = UTF8Ini::NOT_FOUND;
        const DWORD dwValue =
            UTF8Ini::GetWatermarkIniKeyA(Data(), bbText.GetLength(), strSection.c_str(), strKey.c_str(), dwSection);
        rfSection = dwSection != UTF8Ini::NOT_FOUND;
        return dwValue;
    }
    bool HasSection(const std::string& strSection) const {
        bool fSection = false;
        Find(strSection, "", fSection);
        return fSection;
    }
    /// A value to the end of its line; zeros at the end of the file are no part of it.
    std::string_view ValueAt(DWORD dwOffset) const {
        const std::string_view svRest(Data() + dwOffset, bbText.GetLength() - dwOffset);
        const std::string_view svLine = svRest.substr(0, svRest.find_first_of("\r\n"));
        const bool fLast = svLine.size() == svRest.size();
        return fLast ? svLine.substr(0, svLine.find_last_not_of('\0') + 1) : svLine;
    }

    ByteBuffer bbText;
};

/// Names of a list: each with a zero behind it.
template <typename List>
std::vector<std::string> NamesOf(const IniText& rText, List list) {
    std::string strNames(std::size_t{rText.bbText.GetLength()} + 2, '\0');
    strNames.resize(list(strNames.data(), static_cast<DWORD>(strNames.size())));
    std::vector<std::string> vNames;
    for (std::size_t uEnd = 0, uBegin = 0; uBegin < strNames.size(); uBegin = uEnd + 1) {
        uEnd = strNames.find('\0', uBegin);
        vNames.push_back(strNames.substr(uBegin, uEnd - uBegin));
    }
    return vNames;
}

Json NamesJson(const std::vector<std::string>& rvNames) {
    Json oNames = Json::array();
    for (const std::string& rName : rvNames)
        oNames.push_back(JsonString(std::string_view(rName)));
    return oNames;
}

Json PlaceJson(const Options& rOptions, bool fKey) {
    Json oDocument = {{"section", JsonString(std::string_view(rOptions.strSection))}};
    if (fKey) oDocument["key"] = JsonString(std::string_view(rOptions.strKey));
    return oDocument;
}

int NotThere(const char* pszRemark, Output& rOutput) {
    rOutput.Remark(pszRemark);
    return EXIT_ANSWER_NO;
}

int Get(const Options& rOptions, Output& rOutput) {
    const IniText oText(rOptions.strFile);
    bool fSection = false;
    const DWORD dwValue = oText.Find(rOptions.strSection, rOptions.strKey, fSection);
    const bool fExists = dwValue != UTF8Ini::NOT_FOUND;
    Json oDocument = PlaceJson(rOptions, true);
    oDocument["exists"] = fExists;
    if (fExists) {
        rOutput.Line(Printable(oText.ValueAt(dwValue)));
        oDocument["value"] = JsonString(oText.ValueAt(dwValue));
    }
    rOutput.Document(std::move(oDocument));
    if (fExists) return EXIT_DONE;
    return NotThere(fSection ? "there is no such key" : "there is no such section", rOutput);
}

/// Changes the text and puts it in the file's place.  @param pszKey, pszValue as the editor takes them.
void Edit(const Options& rOptions, IniText& rText, const char* pszKey, const char* pszValue, Output& rOutput) {
    if (UTF8Ini::EditWatermarkIniText(rText.bbText, rOptions.strSection.c_str(), pszKey, pszValue) == 0)
        RefuseInput(
            "the entry could not be read back: a section has no brackets and fewer than 258 bytes, a key no \"=\" and "
            "no \"[\" at its start, no part a line end, a line 2 to 1,024 bytes, and a file at most 64 MiB");
    WriteResult(rOptions.strFile, rText.bbText, rOutput);
}

int Set(const Options& rOptions, Output& rOutput) {
    RefuseBytesAmongJson(rOptions.strFile, rOutput);
    IniText oText(rOptions.strFile, true);
    Edit(rOptions, oText, rOptions.strKey.c_str(), rOptions.strValue.c_str(), rOutput);
    Json oDocument = PlaceJson(rOptions, true);
    oDocument["value"] = JsonString(std::string_view(rOptions.strValue));
    rOutput.Document(std::move(oDocument));
    return EXIT_DONE;
}

int Delete(const Options& rOptions, Output& rOutput) {
    RefuseBytesAmongJson(rOptions.strFile, rOutput);
    const bool fKey = !rOptions.bWholeSection;
    if (fKey == rOptions.strKey.empty())
        throw UsageError("KEY: name a key, or give --section for the section with all its entries");
    IniText oText(rOptions.strFile);
    bool fSection = false;
    const DWORD dwValue = oText.Find(rOptions.strSection, rOptions.strKey, fSection);
    const bool fExists = fKey ? dwValue != UTF8Ini::NOT_FOUND : fSection;
    if (fExists) {
        Edit(rOptions, oText, fKey ? rOptions.strKey.c_str() : nullptr, nullptr, rOutput);
    } else if (rOptions.strFile == "-") {
        WriteResult(rOptions.strFile, oText.bbText, rOutput);
    }
    Json oDocument = PlaceJson(rOptions, fKey);
    oDocument["deleted"] = fExists;
    rOutput.Document(std::move(oDocument));
    if (fExists) return EXIT_DONE;
    return NotThere(fSection ? "there is no such key" : "there is no such section", rOutput);
}

int Sections(const Options& rOptions, Output& rOutput) {
    const IniText oText(rOptions.strFile);
    const auto vNames = NamesOf(oText, [&](char* psz, DWORD dw) {
        return UTF8Ini::GetWatermarkIniSectionsA(oText.Data(), oText.bbText.GetLength(), psz, dw);
    });
    for (const std::string& rName : vNames)
        rOutput.Line(Printable(std::string_view(rName)));
    rOutput.Document({{"sections", NamesJson(vNames)}});
    return EXIT_DONE;
}

int Keys(const Options& rOptions, Output& rOutput) {
    const IniText oText(rOptions.strFile);
    const bool fExists = oText.HasSection(rOptions.strSection);
    const auto vNames = NamesOf(oText, [&](char* psz, DWORD dw) {
        return UTF8Ini::GetWatermarkIniKeysA(oText.Data(), oText.bbText.GetLength(), rOptions.strSection.c_str(), psz,
                                             dw);
    });
    for (const std::string& rName : vNames)
        rOutput.Line(Printable(std::string_view(rName)));
    Json oDocument = PlaceJson(rOptions, false);
    oDocument["exists"] = fExists;
    oDocument["keys"] = NamesJson(vNames);
    rOutput.Document(std::move(oDocument));
    return fExists ? EXIT_DONE : NotThere("there is no such section", rOutput);
}

using Body = int (*)(const Options&, Output&);

Command Describe(CommandLine& rLine, const char* pszVerb, const char* pszHelp, const std::shared_ptr<Options>& rshpo,
                 Body pfnBody) {
    Command oCommand = rLine.Add("ini", pszVerb, pszHelp);
    oCommand.Argument("FILE", rshpo->strFile, "The file");
    oCommand.Run([rshpo, pfnBody](Output& rOutput) { return pfnBody(*rshpo, rOutput); });
    return oCommand;
}

}  // namespace

void AddIni(CommandLine& rLine) {
    rLine.Noun("ini", "INI files in UTF-8");
    const auto shpo = std::make_shared<Options>();
    Describe(rLine, "get", "Print the value of an entry", shpo, &Get)
        .Argument("SECTION", shpo->strSection, "The section's name")
        .Argument("KEY", shpo->strKey, "The entry's key");
    Describe(rLine, "set", "Add or replace an entry; the file is made when it is missing", shpo, &Set)
        .Argument("SECTION", shpo->strSection, "The section's name")
        .Argument("KEY", shpo->strKey, "The entry's key")
        .Argument("VALUE", shpo->strValue, "Its new value");
    Describe(rLine, "delete", "Delete an entry, or a section", shpo, &Delete)
        .Argument("SECTION", shpo->strSection, "The section's name")
        .OptionalArgument("KEY", shpo->strKey, "The entry's key")
        .Flag("--section", shpo->bWholeSection, "The section with all its entries");
    Describe(rLine, "sections", "List the sections", shpo, &Sections);
    Describe(rLine, "keys", "List the keys of a section", shpo, &Keys)
        .Argument("SECTION", shpo->strSection, "The section's name");
}

}  // namespace vlm::tool
