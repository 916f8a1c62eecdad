/// @file
/// Fuzzes reads and edits of UTF-8 INI files against the slow rules of IniModel.  The input is pieces between bytes 1:
/// the text, then one operation each.  An operation is a letter and its parts between bytes 2: "w" section, key, value;
/// "k" section, key (deletes); "s" section (deletes).  Of one input in 64 the first operation is made on a
/// file, too, which takes longer than all others.
#include <algorithm>
#include <string>
#include <vector>

#include "Fuzz.h"
#include "environment/UTF8Ini.h"
#include "support/FakePlatform.h"
#include "support/IniModel.h"

using vlm::test::Require;

namespace {

using vlm::test::IniModel;

const XCHAR* const PATH = VTEXT("C:\\file.ini");

std::vector<std::string> Split(const std::string& rText, char chBetween) {
    std::vector<std::string> vPieces(1);
    for (const char ch : rText) {
        if (ch == chBetween) {
            vPieces.emplace_back();
        } else {
            vPieces.back() += ch;
        }
    }
    return vPieces;
}

/// The parts of an operation, as C strings know them.
struct Operation {
    char chKind = 0;
    std::string section, key, value;

    explicit Operation(const std::string& rPiece) {
        if (rPiece.empty()) return;
        chKind = rPiece[0];
        std::vector<std::string> vParts = Split(rPiece.substr(1), '\2');
        vParts.resize(3);
        section = vParts[0].c_str();
        key = vParts[1].c_str();
        value = vParts[2].c_str();
    }
    bool IsOne() const { return chKind == 'w' || chKind == 'k' || chKind == 's'; }
    const char* Key() const { return chKind == 's' ? nullptr : key.c_str(); }
    const char* Value() const { return chKind == 'w' ? value.c_str() : nullptr; }
    /// @return what the editor is to answer.
    bool Model(IniModel& rModel) const {
        if (section.size() + 2 >= 260) return false;
        if (chKind == 'w') return rModel.Write(section, key, value);
        if (chKind == 'k') rModel.DeleteKey(section, key);
        if (chKind == 's') rModel.DeleteSection(section);
        return true;
    }
};

std::string TextOf(const ByteBuffer& rbb) {
    return IniModel(std::string(rbb.begin(), rbb.end())).text;
}

/// All that can be read of a text.
void CheckReads(const ByteBuffer& rbbText, const IniModel& rModel, const Operation& rOperation) {
    const char* const pch = reinterpret_cast<const char*>(rbbText.data());
    const DWORD dwLength = rbbText.GetLength();
    DWORD dwSection = 0;
    const DWORD dwValue =
        UTF8Ini::GetWatermarkIniKeyA(pch, dwLength, rOperation.section.c_str(), rOperation.key.c_str(), dwSection);
    const bool fShort = rOperation.section.size() + 2 < 260;
    const auto vSection = fShort ? rModel.Section(rOperation.section) : std::vector<IniModel::Line>();
    const auto oLine = fShort ? rModel.Entry(rOperation.section, rOperation.key) : std::nullopt;
    Require(dwSection == (vSection.empty() ? UTF8Ini::NOT_FOUND : vSection[0].cBegin), "the section is where it is");
    Require(dwValue == (oLine ? oLine->cBegin + rOperation.key.size() + 1 : UTF8Ini::NOT_FOUND), "so is the entry");
    std::string list(std::size_t{dwLength} + 2, '#');
    list.resize(UTF8Ini::GetWatermarkIniSectionsA(pch, dwLength, list.data(), static_cast<DWORD>(list.size())));
    Require(list == rModel.Names(), "all sections are listed");
    list.assign(std::size_t{dwLength} + 2, '#');
    list.resize(UTF8Ini::GetWatermarkIniKeysA(pch, dwLength, rOperation.section.c_str(), list.data(),
                                              static_cast<DWORD>(list.size())));
    Require(list == (fShort ? rModel.Keys(rOperation.section) : std::string()), "so are the keys");
}

/// The same operation on a file.
void CheckFile(const std::string& rText, const Operation& rOperation) {
    vlm::test::FakePlatform oFake;
    oFake.files.AddFile(PATH, std::vector<BYTE>(rText.begin(), rText.end()));
    const vlm::PlatformScope oScope(oFake.Get());
    UTF8Ini oIni;
    IniModel oModel(rText);
    const bool fDone = oIni.CustomWritePrivateProfileStringA(rOperation.section.c_str(), rOperation.Key(),
                                                             rOperation.Value(), PATH) == 1;
    Require(fDone == rOperation.Model(oModel), "a file is edited when a text is");
    const std::string after = fDone ? oModel.text : rText;
    Require(oFake.files.Contents(PATH) == std::vector<BYTE>(after.begin(), after.end()), "and in the same way");
    char szValue[1100];
    const DWORD dwCopied = oIni.CustomGetPrivateProfileStringA(rOperation.section.c_str(), rOperation.key.c_str(), "\1",
                                                               szValue, sizeof(szValue), PATH);
    const bool fShort = rOperation.section.size() + 2 < 260;
    const auto oValue = fShort ? oModel.Get(rOperation.section, rOperation.key) : std::nullopt;
    Require(std::string(szValue, dwCopied) == oValue.value_or("\1"), "and read");
    Require(oFake.files.OpenHandles() == 0, "no handle stays open");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const std::vector<std::string> vPieces = Split(std::string(pby, pby + cBytes), '\1');
    const std::string& rText = vPieces[0];
    ByteBuffer bbText(reinterpret_cast<const BYTE*>(rText.data()), rText.size());
    IniModel oModel(rText);
    if (vPieces.size() > 1) CheckReads(bbText, oModel, Operation(vPieces[1]));
    bool fFirst = true;
    for (std::size_t i = 1; i < std::min<std::size_t>(vPieces.size(), 21); ++i) {
        const Operation oOperation(vPieces[i]);
        if (!oOperation.IsOne()) continue;
        if (fFirst && cBytes % 64 == 0) CheckFile(rText, oOperation);
        fFirst = false;
        const bool fDone = UTF8Ini::EditWatermarkIniText(bbText, oOperation.section.c_str(), oOperation.Key(),
                                                         oOperation.Value()) == 1;
        Require(fDone == oOperation.Model(oModel), "what is refused, and nothing else");
        Require(TextOf(bbText) == oModel.text, "the text is the model's");
        if (fDone && oOperation.chKind == 'w')
            Require(oModel.Get(oOperation.section, oOperation.key) == oOperation.value, "what was written is found");
        CheckReads(bbText, oModel, oOperation);
    }
    return 0;
}
