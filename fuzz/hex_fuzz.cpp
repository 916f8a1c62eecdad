/// @file
/// Fuzz target: the decoded part of a hexadecimal text encodes to that part again, and bytes survive the way there and
/// back.
#include <vector>

#include "Fuzz.h"
#include "utilities/utilitiesdll/HexText.h"

using vlm::test::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    CXString csText;
    for (std::size_t u = 0; u < cBytes; ++u)
        csText += static_cast<XCHAR>(pby[u] < 0xFE ? pby[u] : pby[u] << 8 | 0x41);
    std::vector<BYTE> vTarget(cBytes / 2);
    const std::size_t cDecoded = HexText::DecodeTo(csText, vTarget.data());
    Require(cDecoded % 2 == 0 && cDecoded <= cBytes);
    if (cDecoded + 2 <= cBytes) {
        Require(HexText::ValueOf(csText[cDecoded]) < 0 || HexText::ValueOf(csText[cDecoded + 1]) < 0);
    }
    vTarget.resize(cDecoded / 2);
    Require(HexText::Encode(vTarget).CompareNoCase(csText.Left(static_cast<int>(cDecoded))) == 0);

    const std::vector<BYTE> vInput(pby, pby + cBytes);
    std::vector<BYTE> vBack(cBytes);
    Require(HexText::DecodeTo(HexText::Encode(vInput, cBytes % 2 == 0), vBack.data()) == cBytes * 2 && vBack == vInput);
    return 0;
}
