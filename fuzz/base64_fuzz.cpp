/// @file
/// Fuzz target: an accepted Base64 text is the encoding of its bytes, white space aside, and bytes survive the way
/// there and back.
#include <vector>

#include "Fuzz.h"
#include "utilities/utilitiesdll/Base64.h"

using vlm::test::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    CXString csText;
    for (std::size_t u = 0; u < cBytes; ++u)
        csText += static_cast<XCHAR>(pby[u]);
    std::vector<BYTE> vBytes;
    std::size_t uBad = 0;
    if (Base64::Decode(csText, vBytes, &uBad)) {
        CXString csBare;
        csText.Filter(VTEXT(" \t\n\v\f\r"), csBare, false, false);
        Require(Base64::Encode(vBytes) == csBare);
    } else {
        Require(vBytes.empty() && uBad <= cBytes);
    }
    const std::vector<BYTE> vInput(pby, pby + cBytes);
    const CXString csCoded = Base64::Encode(vInput);
    Require(csCoded.View().size() == Base64::GetEncodedLength(cBytes));
    Require(Base64::Decode(csCoded, vBytes) && vBytes == vInput);
    return 0;
}
