/// @file
/// Fuzz target: what is accepted survives the way there and back; replacing always gives well-formed text.
#include <cstring>
#include <string>

#include "Fuzz.h"
#include "utilities/utilitiesdll/TextCodec.h"

using vlm::test::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const std::string strBytes(reinterpret_cast<const char*>(pby), cBytes);
    std::string strBack;
    CXString csText;
    for (const TextCodecRule eRule : {TCR_STRICT, TCR_KEEP_SURROGATES}) {
        std::size_t uBad = 0;
        if (TextCodec::Utf8ToUtf16(strBytes, csText, eRule, &uBad)) {
            Require(TextCodec::Utf16ToUtf8(csText, strBack, eRule) && strBack == strBytes);
        } else {
            Require(uBad < cBytes && TextCodec::IsWellFormedUtf8(strBytes) == false);
            // Everything before the place that is named is good.
            Require(TextCodec::Utf8ToUtf16(strBytes.substr(0, uBad), csText, eRule));
        }
    }
    Require(TextCodec::Utf8ToUtf16(strBytes, csText, TCR_STRICT) == TextCodec::IsWellFormedUtf8(strBytes));
    Require(TextCodec::IsWellFormed(TextCodec::Utf8ToUtf16(strBytes)));

    std::basic_string<XCHAR> strUnits(cBytes / 2, XCHAR());
    if (cBytes >= 2) std::memcpy(strUnits.data(), pby, cBytes / 2 * 2);
    Require(TextCodec::Utf16ToUtf8(strUnits, strBack, TCR_KEEP_SURROGATES));
    Require(TextCodec::Utf8ToUtf16(strBack, csText, TCR_KEEP_SURROGATES) && csText.View() == strUnits);
    Require(TextCodec::Utf16ToUtf8(strUnits, strBack, TCR_STRICT) == TextCodec::IsWellFormed(strUnits));
    Require(TextCodec::IsWellFormedUtf8(TextCodec::Utf16ToUtf8(strUnits)));
    return 0;
}
