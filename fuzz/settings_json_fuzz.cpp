/// @file
/// Fuzz target: the settings JSON, both ways.  A document is refused with an exception of the family, or what it builds
/// prints a document that builds the same bytes; a state that decodes prints such a document, too.

#include "Fuzz.h"
#include "JsonText.h"
#include "Settings.h"
#include "SettingsText.h"
#include "utilities/debuggingandexceptions/VelomException.h"

using vlm::test::Require;

namespace {

using namespace vlm::tool;

/// Prints settings and builds them again: as many bytes (flags other than 0 and 1 become 1), and from then on the same
/// bytes and the same text.
void CheckRoundTrip(Settings oSettings) {
    if (oSettings.eForm == Form::Persistent)
        oSettings.eForm = Form::NameSpaces;  // the compressor has a target of its own
    oSettings.bCompressedState = false;
    ByteBuffer bbBytes;
    try {
        bbBytes = EncodeSettings(oSettings);
    } catch (const VelomException&) {  // an identifier that stands twice
        return;
    }
    const Settings oDecoded = DecodeSettings(bbBytes, "encoded");
    const std::string strText = WriteJson(ToJson(oDecoded));
    const Settings oRead = SettingsFromJson(ParseJson(strText));
    const ByteBuffer bbBuilt = EncodeSettings(oRead);
    Require(bbBuilt.size() == bbBytes.size());
    const Settings oAgain = DecodeSettings(bbBuilt, "built");
    Require(EncodeSettings(oAgain) == bbBuilt);
    Require(WriteJson(ToJson(oAgain)) == strText);
    for (const SettingsGroup& rGroup : oRead.vGroups) {
        for (const AttributeBytesSharedPtr& rshpoRecord : rGroup.vshpoRecords) {
            PathText(rGroup.olNameSpace, rshpoRecord->GetAttributeBytesId());
            TextOf(rshpoRecord->GetAttributeBytesValue(), 16);
        }
    }
}

void ReadDocument(std::string_view strText) {
    try {
        CheckRoundTrip(SettingsFromJson(ParseJson(strText)));
    } catch (const VelomException&) {
    }
}

void ReadState(std::string_view strBytes) {
    const ByteBuffer bbState(reinterpret_cast<const BYTE*>(strBytes.data()), strBytes.size());
    Settings oSettings;
    try {
        oSettings = DecodeSettings(bbState, "input");
    } catch (const VelomException&) {
        return;
    }
    CheckRoundTrip(oSettings);
}

void ReadPathAndValue(std::string_view strText) {
    const std::size_t uLine = strText.find('\n');
    try {
        const auto apoId = ParseId(strText.substr(0, uLine));
        ParseId(TextOf(*apoId));
    } catch (const VelomException&) {
    }
    try {
        ParseValue(uLine == std::string_view::npos ? strText : strText.substr(uLine + 1));
    } catch (const VelomException&) {
    }
}

}  // namespace

/// The first byte chooses: "b" a state, "p" a path and a value on two lines, anything else a document.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const std::string_view strInput(reinterpret_cast<const char*>(pby), cBytes);
    if (strInput.starts_with('b'))
        ReadState(strInput.substr(1));
    else if (strInput.starts_with('p'))
        ReadPathAndValue(strInput.substr(1));
    else
        ReadDocument(strInput);
    return 0;
}
