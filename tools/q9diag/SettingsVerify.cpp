// settings verify: does a settings file say the same when the library writes it again?
#include <algorithm>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Files.h"
#include "Output.h"
#include "Settings.h"
#include "SettingsText.h"
#include "SettingsVerify.h"

namespace vlm::tool {

namespace {

// Bytes in front of the first record of each form, and of each name space's records: see the wire formats.
constexpr std::size_t PERSISTENT_HEADER = 16;
constexpr std::size_t NAME_SPACES_HEADER = 4 + 8 + 4 + 4;  // ABNS, version, ABIL, ABRL
constexpr std::size_t NAME_SPACE_HEADER = 1 + 4 + 1 + 1 + 1 + 4 + 4;

std::size_t HeaderBytes(Form eForm) noexcept {
    switch (eForm) {
        case Form::Persistent:
            return PERSISTENT_HEADER + NAME_SPACES_HEADER;
        case Form::NameSpaces:
            return NAME_SPACES_HEADER;
        case Form::Indexed:
            return 8;
        case Form::Raw:
            return 4;
        case Form::Record:
            break;
    }
    return 0;
}

/// The path of the attribute that holds a byte of the plain state; empty for a byte between attributes.
std::string AttributeAt(const Settings& rSettings, std::size_t uOffset) {
    std::size_t uAt = HeaderBytes(rSettings.eForm);
    for (const SettingsGroup& rGroup : rSettings.vGroups) {
        if (rSettings.HasNameSpaces()) uAt += NAME_SPACE_HEADER;
        for (const AttributeBytesSharedPtr& rshpoRecord : rGroup.vshpoRecords) {
            const std::size_t uNext = uAt + rshpoRecord->GetAttributeBytesStateSize();
            if (uOffset >= uAt && uOffset < uNext)
                return PathText(rGroup.olNameSpace, rshpoRecord->GetAttributeBytesId());
            uAt = uNext;
        }
    }
    return {};
}

std::string ByteText(const ByteBuffer& rbbState, std::size_t uOffset) {
    return uOffset < rbbState.size() ? Hex(rbbState[uOffset], 2) : "end";
}

int Report(const Settings& rSettings, const SettingsVerdict& rVerdict, Output& rOutput) {
    Json oDocument = {{"form", NameOf(rSettings.eForm)}, {"bytes", rVerdict.cBytes}, {"same", rVerdict.bSame}};
    if (rVerdict.bSame) {
        rOutput.Line(rOutput.Styled(Style::Good, "same") + " when written again: " + NameOf(rSettings.eForm) + ", " +
                     std::to_string(rVerdict.cBytes) + " bytes");
        rOutput.Document(std::move(oDocument));
        return EXIT_DONE;
    }
    rOutput.Line(rOutput.Styled(Style::Bad, "differs") + " at byte " + std::to_string(rVerdict.uOffset) + " of " +
                 std::to_string(rVerdict.cBytes) + ": " + rVerdict.strFound + " in the file, " + rVerdict.strWritten +
                 " when written again" + (rVerdict.strPath.empty() ? "" : " (" + rVerdict.strPath + ")"));
    oDocument["offset"] = rVerdict.uOffset;
    oDocument["found"] = rVerdict.strFound;
    oDocument["written"] = rVerdict.strWritten;
    oDocument["path"] = rVerdict.strPath.empty() ? Json() : JsonString(std::string_view(rVerdict.strPath));
    rOutput.Document(std::move(oDocument));
    return EXIT_ANSWER_NO;
}

int Verify(const std::string& strFile, Output& rOutput) {
    const ByteBuffer bbFile = ReadInput(strFile);
    const Settings oSettings = DecodeSettings(bbFile, strFile);
    return Report(oSettings, VerifySettings(bbFile, oSettings), rOutput);
}

}  // namespace

SettingsVerdict VerifySettings(const ByteBuffer& rbbFile, const Settings& rSettings) {
    const ByteBuffer bbFound = PlainState(rbbFile);
    // By way of JSON, so that lists in lists are taken apart, too, and the document is proved to say everything.
    const ByteBuffer bbWritten = PlainState(EncodeSettings(SettingsFromJson(ToJson(rSettings))));
    SettingsVerdict oVerdict;
    oVerdict.cBytes = bbFound.size();
    oVerdict.bSame = bbFound == bbWritten;
    if (oVerdict.bSame) return oVerdict;
    const auto itFound = std::mismatch(bbFound.begin(), bbFound.end(), bbWritten.begin(), bbWritten.end()).first;
    oVerdict.uOffset = static_cast<std::size_t>(itFound - bbFound.begin());
    oVerdict.strFound = ByteText(bbFound, oVerdict.uOffset);
    oVerdict.strWritten = ByteText(bbWritten, oVerdict.uOffset);
    oVerdict.strPath = AttributeAt(rSettings, oVerdict.uOffset);
    return oVerdict;
}

void AddSettingsVerify(CommandLine& rLine) {
    const auto shpoFile = std::make_shared<std::string>();
    rLine.Add("settings", "verify", "Decode, write again, compare, and report the first difference")
        .Argument("FILE", *shpoFile, "A settings file of any form; what is compared is freed from compression")
        .Run([shpoFile](Output& rOutput) { return Verify(*shpoFile, rOutput); });
}

}  // namespace vlm::tool
